"""currentconn without root's rights: everybody sees their own connections through the daemon."""

import json
import os
import shutil
import signal
import subprocess

import host_test
from host_test import HostTest, uid_of
import listing
import namespace
from clients import ssh
from clients.dialogue import Dialogue
from daemons.openssh import OpenSsh
from daemons_of_host import Currentconnd, PACKAGING

_BUILD = os.path.dirname(os.path.dirname(os.path.realpath(os.environ["CURRENTCONN"])))
_INSTALLED = "/srv/currentconn"


def as_user(name, *arguments):
    """Runs currentconn as a local account."""
    return subprocess.run([f"{_INSTALLED}/bin/currentconn", *arguments], user=uid_of(name), group=uid_of(name),
                          extra_groups=[], capture_output=True, text=True, timeout=60, stdin=subprocess.DEVNULL,
                          env=namespace.ENVIRONMENT, cwd="/")


class CommandLine(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        for name in ("alice", "bob"):
            ssh.allow(name)
        for folder in ("bin", "lib", "modules"):  # where accounts without rights can reach it
            shutil.copytree(f"{_BUILD}/{folder}", f"{_INSTALLED}/{folder}")
        namespace.run("chmod", "-R", "u=rwX,go=rX", _INSTALLED)
        cls.server(OpenSsh())

    def setUp(self):
        self.client(ssh.Shell, "alice", "10.20.0.2")
        self.client(ssh.Shell, "bob", "10.20.0.3")

    def test_everybody_sees_their_own_connections(self):
        daemon = Currentconnd().start()
        self.addCleanup(daemon.stop)
        for name, address in (("alice", "10.20.0.2"), ("bob", "10.20.0.3")):
            done = as_user(name, "mine", "--json")
            self.assertEqual((0, ""), (done.returncode, done.stderr))
            rows = [listing.row(item) for item in json.loads(done.stdout)["items"]]
            self.assertEqual([(name, address, "SSH")], [row[:3] for row in rows])
        daemon.wait_for_line('method="list_by_user" user="bob" .*')
        self.assertNotIn("the request was incomplete", daemon.log_text())

    def test_more_than_that_needs_root(self):
        daemon = Currentconnd().start()
        self.addCleanup(daemon.stop)
        for arguments in (("list",), ("mine", "--user", "bob"), ("kick", "--user", "bob", "--yes"),
                          ("disable", "bob", "--yes"), ("report", "-o", "-"), ("login-link",)):
            done = as_user("alice", *arguments)
            self.assertEqual((3, ""), (done.returncode, done.stdout), arguments)
            self.assertIn("needs root", done.stderr)

    def test_a_daemon_that_does_not_answer_is_not_waited_for_without_end(self):
        daemon = Currentconnd("call_seconds = 1").start()
        self.addCleanup(daemon.stop)
        daemon.process.send_signal(signal.SIGSTOP)
        self.addCleanup(daemon.process.send_signal, signal.SIGCONT)
        done = as_user("alice", "mine")
        self.assertEqual((1, ""), (done.returncode, done.stdout))
        self.assertIn("no answer came within 21 seconds", done.stderr)

    def test_without_the_daemon_it_says_what_is_missing(self):
        done = as_user("alice", "mine")
        self.assertEqual((3, ""), (done.returncode, done.stdout))
        self.assertIn("needs root, or currentconnd to be running", done.stderr)


class Completion(HostTest):
    """What bash offers after a command. The shell takes an offered word as it stands."""

    NAME = "$(touch${IFS}/srv/it_ran)`touch${IFS}/srv/it_ran`"
    SCRIPT = f"""source {PACKAGING}/currentconn.bash
        COMP_WORDS=(currentconn "$@") COMP_CWORD=$#
        _currentconn
        eval "printf '%s\\n' ${{COMPREPLY[*]}}"
        """

    def offered(self, *words):
        done = namespace.run("bash", "-c", self.SCRIPT, "bash", *words)
        self.assertFalse(os.path.exists("/srv/it_ran"), f"a name ran after {words}")
        return done.splitlines()

    def test_names_of_accounts_are_names_whatever_they_are(self):
        with open("/etc/passwd", "a", encoding="utf-8") as accounts:
            accounts.write(f"{self.NAME}:x:2999:2999::/:/bin/bash\n")
        for words in (("disable",), ("enable",), ("login-link",), ("kick", "--user"), ("mine", "--user")):
            self.assertIn(self.NAME, self.offered(*words, ""), words)
            self.assertEqual([self.NAME], self.offered(*words, "$("), words)
        self.assertIn("--dry-run", self.offered("disable", ""))
        self.assertEqual(["--yes"], self.offered("disable", "--y"))
        self.assertNotIn("root", self.offered("kick", ""))

    def test_names_of_files_are_names_whatever_they_are(self):
        os.makedirs("/srv/files")
        name = "file $(touch it_ran)"
        namespace.write(f"/srv/files/{name}", "")
        shell = self.client(Dialogue, ["bash", "--norc", "--noprofile", "-i"])
        shell.send(f"cd /srv/files; source {PACKAGING}/currentconn.bash; currentconn() {{ echo \"-[$3]-\"; }}; echo re''ady")
        shell.expect("ready")
        shell.send("currentconn report -o fi\t")
        self.assertEqual(name, (shell.expect("-["), shell.expect("]-"))[1])
        self.assertEqual([name], os.listdir("/srv/files"))


if __name__ == "__main__":
    host_test.main()
