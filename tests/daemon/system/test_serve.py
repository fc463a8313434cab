"""./run serve: the page for a first look, which leaves nothing behind."""

import glob
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile

import host_test
from host_test import HostTest, uid_of
import namespace
import processes
import waiting
from daemons_of_host import BUILD, PACKAGING
from http_client import Client

COMMAND = [f"{PACKAGING}/serve.sh", BUILD]


def folders():
    """What a run keeps its files in."""
    return glob.glob("/run/currentconn-serve.*")


class Serve(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()

    def setUp(self):
        self.addCleanup(lambda: self.assertEqual(([], []), (folders(), processes.titled("currentconnd"))))

    def start(self, *arguments):
        """A run in a process group of its own, as a terminal makes it, and its link."""
        served = subprocess.Popen([*COMMAND, *arguments], env=namespace.ENVIRONMENT, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True, start_new_session=True)
        self.addCleanup(served.communicate)
        self.addCleanup(served.terminate)
        for line in served.stdout:
            if "#login=" in line:
                return served, line.strip()
        return self.fail(served.stderr.read())

    def test_the_link_logs_in_and_ctrl_c_leaves_nothing(self):
        before = sorted(os.listdir("/run"))
        served, link = self.start()
        port, token = re.fullmatch(r"http://127\.0\.0\.1:(\d+)/#login=([\w-]{43})", link).groups()
        self.assertEqual("8088", port)
        client = Client()
        self.assertEqual("admin", client.post("/api/login", {"token": token}).data["user"])
        self.assertEqual(200, client.get("list").status)
        self.assertEqual(200, client.get("/").status)
        os.killpg(served.pid, signal.SIGINT)
        self.assertEqual(0, served.wait(20))
        self.assertFalse(processes.listens(8088))
        self.assertEqual(before, sorted(os.listdir("/run")))

    def test_a_terminal_that_is_closed_leaves_nothing_either(self):
        served, _ = self.start("8099")
        self.assertTrue(processes.listens(8099))
        os.killpg(served.pid, signal.SIGHUP)
        self.assertEqual(0, served.wait(20))
        self.assertFalse(processes.listens(8099))

    def test_a_port_that_is_taken_is_left_to_who_has_it(self):
        served, _ = self.start()
        second = subprocess.run(COMMAND, env=namespace.ENVIRONMENT, capture_output=True, text=True, timeout=60)
        self.assertEqual((1, ""), (second.returncode, second.stdout))
        self.assertEqual("currentconn: port 8088 is taken; end what listens there, or run './run serve PORT'\n",
                         second.stderr)
        self.assertEqual(200, Client().get("/").status)
        served.terminate()
        self.assertEqual(0, served.wait(20))

    def test_no_link_is_given_to_whoever_was_quicker_at_the_port(self):
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        # Another one listens just before lighttpd does.
        namespace.write(f"{folder}/listener", "import os, socket, time\n"
                        "listening = socket.create_server(('127.0.0.1', 8088))\n"
                        "print(os.getpid(), flush=True)\ntime.sleep(60)\n")
        namespace.write(f"{folder}/lighttpd", "#!/bin/bash\n"
                        f"{sys.executable} {folder}/listener >{folder}/pid 2>/dev/null &\n"
                        f"until [[ -s {folder}/pid ]]; do sleep 0.1; done\nsleep 1\n"
                        "exec /usr/sbin/lighttpd \"$@\"\n", 0o755)
        environment = namespace.ENVIRONMENT | {"PATH": f"{folder}:{namespace.ENVIRONMENT['PATH']}"}
        done = subprocess.run(COMMAND, env=environment, capture_output=True, text=True, timeout=60)
        os.kill(int(namespace.read(f"{folder}/pid")), signal.SIGKILL)
        self.assertEqual((1, ""), (done.returncode, done.stdout))
        self.assertIn("currentconn: port 8088 is taken; end what listens there", done.stderr)

    def test_a_server_that_ends_takes_the_other_along(self):
        served, _ = self.start()
        os.kill(processes.titled("lighttpd")[0], signal.SIGKILL)
        self.assertEqual(1, served.wait(20))
        self.assertIn("a server ended by itself", served.stderr.read())
        waiting.until("the daemon to end", lambda: not processes.titled("currentconnd"))

    def test_it_says_that_it_needs_root(self):
        done = subprocess.run(["/bin/bash", "-s", "--", *COMMAND[1:]], env=namespace.ENVIRONMENT, capture_output=True,
                              text=True, timeout=60, user=uid_of("alice"), group=uid_of("alice"), extra_groups=[],
                              input=namespace.read(COMMAND[0]), cwd="/")
        self.assertEqual(1, done.returncode)
        self.assertIn("needs root: run 'sudo ./run serve'", done.stderr)


if __name__ == "__main__":
    host_test.main()
