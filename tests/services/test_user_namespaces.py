"""What a user runs in namespaces of their own, or without its first thread, is still the user's."""

import os
import pwd
import signal
import subprocess

import listing
import namespace
import processes
import waiting
from clients.console import Console
from clients.telnet import Telnet
from daemons.telnetd import Telnetd
from listing import Row
from service_test import ServiceTest, add_users, main

# As another of the ids that useradd allots to each account, in a user namespace of alice's.
SUBORDINATE = "unshare --user --map-root-user --map-auto setpriv --reuid 1 --regid 1 --clear-groups"
# Ends its first thread, after which the kernel shows the process as a zombie, and continues in another one.
FIRST_THREAD_ENDED = """
import ctypes, threading, time

def go_on():
    while open("/proc/self/stat").read().rsplit(")", 1)[1].split()[0] != "Z":
        time.sleep(0.01)
    print("goes on", flush=True)
    time.sleep(1000)

threading.Thread(target=go_on).start()
ctypes.CDLL(None).pthread_exit(None)
"""
# In a process namespace besides, without a process outside it that waits for its end.
OWN_PROCESSES = "unshare --user --map-root-user --mount --pid --fork --mount-proc"


def setUpModule():
    add_users("alice")


def sleepers():
    """The ids of the running sleep programs."""
    return processes.named("sleep")


class UserNamespaceTest(ServiceTest):

    def setUp(self):
        self.addCleanup(listing.run, "enable", "alice")

    def hide(self, client, command=f"exec {SUBORDINATE} bash --norc"):
        """Goes on under another real user in a login's shell. Returns its terminal's name and its process."""
        client.send(command)
        client.send("echo =$(tty) $$=")
        client.expect("=/dev/")
        terminal, pid = client.expect("=").split()
        self.assertNotIn(str(pwd.getpwnam("alice").pw_uid), processes.status(pid, "Uid").split())
        return terminal, int(pid)

    def run_as(self, command, user="alice", output=subprocess.DEVNULL):
        """Starts a program of a user outside of any login, and returns its process."""
        account = pwd.getpwnam(user)
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, cwd="/",
                                   env=namespace.ENVIRONMENT, user=account.pw_uid, group=account.pw_gid,
                                   extra_groups=[], start_new_session=True)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def start(self, command, user="alice"):
        """Starts one more sleep program by a command of a user. Returns its id and the command's process."""
        before = set(sleepers())
        process = self.run_as(command.split(), user)
        pid, = waiting.until("it to run", lambda: set(sleepers()) - before)
        self.addCleanup(lambda: processes.runs(pid) and os.kill(pid, signal.SIGKILL))
        return pid, process

    def start_apart(self, command):
        """The same without the process outside the namespaces. Returns its id."""
        pid, outside = self.start(command)
        outside.kill()
        outside.wait()
        return pid

    def logins(self):
        """A Telnet login of alice and one at the console."""
        daemon = Telnetd()
        daemon.start()
        self.addCleanup(daemon.stop)
        return self.client(Telnet, "alice", "10.20.0.2"), self.client(Console, "alice")

    @staticmethod
    def keep_subordinate(client):
        """Makes a program that runs others under a subordinate id without a namespace. Returns its command."""
        first = next(line.split(":")[1] for line in namespace.read("/etc/subuid").splitlines() if "alice:" in line)
        client.send(f"cp --remove-destination /usr/bin/setpriv . && {SUBORDINATE.split(' setpriv')[0]} sh -c"
                    " 'chown 1 setpriv && chmod 4755 setpriv' && echo re''ady")
        client.expect("ready")
        return f"setpriv --reuid {first}"

    @staticmethod
    def program():
        """The program whose first thread ends."""
        path = "/srv/first_thread_ended.py"
        namespace.write(path, FIRST_THREAD_ENDED)
        return path

    @staticmethod
    def disable():
        """What disabling alice says, line by line."""
        return listing.run("disable", "--yes", "alice").stdout.splitlines()

    def test_a_telnet_login_under_a_subordinate_id_is_the_users_and_ends(self):
        daemon = Telnetd()
        daemon.start()
        self.addCleanup(daemon.stop)
        client = self.client(Telnet, "alice", "10.20.0.2")
        terminal, _ = self.hide(client)
        self.assertList([Row("alice", "10.20.0.2", "TELNET", terminal)])
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("the login to end", client.has_ended)
        self.assertList([])

    def test_so_is_one_that_keeps_the_id_outside_of_its_namespace(self):
        client = self.client(Console, "alice")
        subordinate = self.keep_subordinate(client)
        terminal, _ = self.hide(client, f"exec ./{subordinate} bash --norc -p")
        self.assertList([Row("alice", "", "LOGIN", terminal)])

    def test_so_are_those_in_a_namespace_that_was_made_under_the_id(self):
        telnet, console = self.logins()
        subordinate = self.keep_subordinate(console)
        command = f"{subordinate} unshare --user --map-root-user"
        there, _ = self.hide(telnet, f"exec ./{command} bash --norc -p")
        here, pid = self.hide(console, f"exec ./{command} bash --norc -p")
        left, _ = self.start(f"{pwd.getpwnam('alice').pw_dir}/{command} sleep 1000")
        self.assertList([Row("alice", "10.20.0.2", "TELNET", there), Row("alice", "", "LOGIN", here)])
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(1, done.returncode, done.stdout + done.stderr)
        self.assertIn(f"still there: LOGIN of alice, pid {pid}: ", done.stdout)
        waiting.until("the Telnet login to end", telnet.has_ended)
        namespace.run(*self.assertLeft(2).split())
        waiting.until("the rest to end", lambda: not processes.runs(left) and console.has_ended())

    def test_one_whose_first_thread_has_ended_goes_on(self):
        telnet, console = self.logins()
        rows = []
        for client, address, kind in ((telnet, "10.20.0.2", "TELNET"), (console, "", "LOGIN")):
            rows.append(Row("alice", address, kind, client.terminal()))
            client.send(f"exec python3 {self.program()}")
            client.expect("goes on")
        self.assertList(rows)
        left = self.run_as(["python3", self.program()], output=subprocess.PIPE)
        self.assertEqual(b"goes on\n", left.stdout.readline())
        left.stdout.close()
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("the logins to end", lambda: telnet.has_ended() and console.has_ended())
        subprocess.run(["sh", "-c", self.assertLeft(1)], env=namespace.ENVIRONMENT)
        left.wait(waiting.LIMIT_SECONDS)
        self.assertEqual([], [line for line in self.disable() if "still run" in line])

    def test_a_console_login_under_a_subordinate_id_is_the_users_and_is_named(self):
        terminal, pid = self.hide(self.client(Console, "alice"))
        self.assertList([Row("alice", "", "LOGIN", terminal)])
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(1, done.returncode, done.stdout + done.stderr)
        self.assertIn(f"still there: LOGIN of alice, pid {pid}: console logins cannot be ended from here",
                      done.stdout)

    def assertLeft(self, count):
        """Compares how much goes on, and returns the command that ends it."""
        said = [line for line in self.disable() if "of alice still run" in line]
        self.assertEqual(1, len(said), said)
        self.assertIn(f"{count} process", said[0])
        return said[0].split(" with: ")[1]

    def test_what_goes_on_is_counted_and_ended_by_the_printed_command(self):
        ordinary, _ = self.start("sleep 1000")
        subordinate, _ = self.start(f"{SUBORDINATE} sleep 1000")
        apart = self.start_apart(f"{OWN_PROCESSES} sleep 1000")
        further_apart = self.start_apart(f"{OWN_PROCESSES} unshare --user sleep 1000")
        command = self.assertLeft(4)
        subprocess.run(["sh", "-c", command], env=namespace.ENVIRONMENT)
        for pid in (ordinary, subordinate, apart, further_apart):
            waiting.until("it to end", lambda pid=pid: not processes.runs(pid))
        self.assertEqual([], [line for line in self.disable() if "still run" in line])

    def test_where_all_of_it_runs_in_namespaces_so_is_it(self):
        apart = self.start_apart(f"{OWN_PROCESSES} sleep 1000")
        namespace.run(*self.assertLeft(1).split())
        waiting.until("it to end", lambda: not processes.runs(apart))

    def test_what_the_same_number_runs_in_a_container_is_not_the_users(self):
        user = pwd.getpwnam("alice").pw_uid
        ordinary, _ = self.start("sleep 1000")
        theirs, _ = self.start(f"unshare --pid --fork --kill-child setpriv --reuid {user} --clear-groups"
                               f" {OWN_PROCESSES} sleep 1000", "root")
        namespace.run(*self.assertLeft(1).split())
        waiting.until("ours to end", lambda: not processes.runs(ordinary))
        self.assertTrue(processes.runs(theirs))


if __name__ == "__main__":
    main()
