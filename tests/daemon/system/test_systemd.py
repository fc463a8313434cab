"""The daemon under systemd: sockets handed over, readiness, its lines in the journal, and the units."""

import os
import re
import shutil
import socket
import subprocess

import host_test
from host_test import HostTest, uid_of
import namespace
import scgi_client
import waiting
from daemons_of_host import PACKAGING
from http_client import API

JOURNAL = "/run/systemd/journal/socket"
NOTIFY = "/run/notify.sock"
FIRST_HANDED_OVER = 3


def bound(path, kind, mode):
    """A Unix socket as systemd would make it."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if os.path.exists(path):
        os.unlink(path)
    made = socket.socket(socket.AF_UNIX, kind)
    made.settimeout(20)
    made.bind(path)
    os.chmod(path, mode)
    return made


def start_handed_over(sockets, names):
    """Starts the daemon with open sockets and the environment that tells of them; its errors go to a journal stream."""
    shutil.copy(f"{PACKAGING}/pam/currentconn", "/etc/pam.d/currentconn")
    stream = open("/var/log/stream.log", "w", encoding="utf-8")
    status = os.fstat(stream.fileno())
    environment = namespace.ENVIRONMENT | {
        "LISTEN_FDS": str(len(sockets)), "LISTEN_FDNAMES": ":".join(names), "NOTIFY_SOCKET": NOTIFY,
        "JOURNAL_STREAM": f"{status.st_dev}:{status.st_ino}"}
    child = os.fork()
    if child == 0:
        os.dup2(stream.fileno(), 2)
        aside = [os.dup2(one.fileno(), 100 + place) for place, one in enumerate(sockets)]
        for place, number in enumerate(aside):
            os.dup2(number, FIRST_HANDED_OVER + place)
        os.closerange(FIRST_HANDED_OVER + len(sockets), 200)
        os.execve(os.environ["CURRENTCONND"], ["currentconnd"], environment | {"LISTEN_PID": str(os.getpid())})
    stream.close()
    return child


class HandedOver(HostTest):
    def setUp(self):
        host_test.add_accounts()
        self.notified = bound(NOTIFY, socket.SOCK_DGRAM, 0o600)
        self.journal = bound(JOURNAL, socket.SOCK_DGRAM, 0o666)
        self.web, self.local = (bound(f"/run/elsewhere/{name}.sock", socket.SOCK_STREAM, mode)
                                for name, mode in (("web", 0o660), ("local", 0o666)))
        for one in (self.web, self.local):
            one.listen()
        for one in (self.notified, self.journal, self.web, self.local):
            self.addCleanup(one.close)

    def start(self, *names):
        self.pid = start_handed_over((self.web, self.local), names)

    def end(self):
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])

    def test_it_serves_the_sockets_that_it_is_given_and_leaves_their_names(self):
        self.start("web", "local")
        self.assertEqual(b"READY=1", self.notified.recv(100))
        local = scgi_client.call("/run/elsewhere/local.sock", "GET", "/api/whoami")
        self.assertEqual(("admin", "local"), (local.data["user"], local.data["via"]))
        self.assertEqual(401, scgi_client.call("/run/elsewhere/web.sock", "GET", "/api/whoami",
                                               ("REMOTE_ADDR", "10.20.0.2")).status)
        self.assertFalse(os.path.exists("/run/currentconn/local.sock"))
        os.kill(self.pid, 15)
        self.assertEqual(b"STOPPING=1", self.notified.recv(100))
        self.assertEqual(0, self.end())
        self.assertTrue(os.path.exists("/run/elsewhere/local.sock"))

    def test_it_says_that_it_stops_before_the_calls_in_flight_have_ended(self):
        self.start("web", "local")
        self.assertEqual(b"READY=1", self.notified.recv(100))
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as slow:
            slow.connect("/run/elsewhere/local.sock")
            waiting.until("its call", self._children)
            os.kill(self.pid, 15)
            self.assertEqual(b"STOPPING=1", self.notified.recv(100))
            self.assertEqual((0, 0), os.waitpid(self.pid, os.WNOHANG))
            slow.sendall(scgi_client.request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", "/api/whoami")]))
            self.assertEqual(200, scgi_client.parsed(scgi_client.received(slow)).status)
        self.assertEqual(0, self.end())

    def test_a_socket_of_another_name_is_not_taken(self):
        self.start("web", "currentconnd-local.socket")
        self.assertEqual(1, self.end())
        self.assertIn('the socket "currentconnd-local.socket" from systemd is unknown: FileDescriptorName '
                      "must be web or local", namespace.read("/var/log/stream.log"))

    def test_the_journal_learns_whose_unit_an_authorisation_line_is_of(self):
        self.start("web", "local")
        self.notified.recv(100)
        body = b'{"name": "alice", "password": "wrong"}'
        scgi_client.call("/run/elsewhere/web.sock", "POST", "/api/login", ("REMOTE_ADDR", "10.20.0.2"),
                         ("HTTP_HOST", "nas"), body=body)
        lines = []
        while not any(line.startswith("MESSAGE=login refused") for line in lines):
            lines = self.journal.recv(65536).decode().splitlines()
        self.assertEqual(sorted(['MESSAGE=login refused from 10.20.0.2: user "alice": Authentication failure', "PRIORITY=4",
                                 "SYSLOG_FACILITY=10", "SYSLOG_IDENTIFIER=currentconnd", f"OBJECT_PID={self.pid}"]),
                         sorted(lines))
        waiting.until("the call's line with its priority", lambda: re.search(
            r'^<7>method="login" user=- from=10\.20\.0\.2 status=401 code=401 ms=\d+$',
            namespace.read("/var/log/stream.log"), re.MULTILINE))
        os.kill(self.pid, 15)
        self.assertEqual(0, self.end())

    def test_who_may_end_nothing_uses_up_no_level_of_the_authorisation_lines(self):
        # The journal drops lines of a unit that writes too many, counted by level.
        self.start("web", "local")
        self.notified.recv(100)
        kick = ("/run/elsewhere/local.sock", "POST", API + "kick_connection")
        self.assertEqual(403, scgi_client.as_user(uid_of("alice"), lambda: scgi_client.call(*kick, body=b"{}").status))
        self.assertEqual(200, scgi_client.call(*kick, body=b"{}").status)
        lines = [self.journal.recv(65536).decode() for _ in range(4)]  # before and after each call
        self.assertEqual([("alice", "7")] * 2 + [("admin", "5")] * 2, [
            (re.search(r'user="(\w+)"', line)[1], re.search("PRIORITY=(.)", line)[1]) for line in lines])
        os.kill(self.pid, 15)
        self.assertEqual(0, self.end())

    def _children(self):
        return namespace.read(f"/proc/{self.pid}/task/{self.pid}/children").split()


class Units(HostTest):
    def test_systemd_finds_nothing_wrong_with_the_units(self):
        os.makedirs("/etc/systemd/system", exist_ok=True)
        units = []
        for name in sorted(os.listdir(f"{PACKAGING}/systemd")):
            units.append(f"/etc/systemd/system/{name}")
            text = namespace.read(f"{PACKAGING}/systemd/{name}")
            # Only the place of a program that is not installed here is another one.
            namespace.write(units[-1], text.replace("/usr/lib/currentconn/bin/currentconnd", os.environ["CURRENTCONND"]))
        found = subprocess.run(["systemd-analyze", "verify", "--man=no", *units], capture_output=True, text=True,
                               env=namespace.ENVIRONMENT, timeout=60)
        self.assertEqual((0, "", ""), (found.returncode, found.stdout, found.stderr))

    def test_they_leave_little_to_whoever_breaks_in(self):
        for name, most in (("currentconnd", 3.0), ("currentconn-page", 2.0)):
            report = namespace.run("systemd-analyze", "security", "--offline=yes", "--no-pager",
                                   f"{PACKAGING}/systemd/{name}.service")
            score = re.search(r"Overall exposure level for .*: (\d+\.\d)", report)
            self.assertLessEqual(float(score[1]), most, report)


if __name__ == "__main__":
    host_test.main()
