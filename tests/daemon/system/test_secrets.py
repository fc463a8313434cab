"""What stays of a password in the daemon's memory, and in what it writes."""

import os
import secrets
import socket

import host_test
from host_test import HostTest
import namespace
import processes
import scgi_client
import waiting
from daemons_of_host import Currentconnd, WEB_SOCKET

SECRET = f"Zebra-Quartz-{secrets.token_hex(8)}"
MARKER = "Agent-Of-The-Test"  # something of the same request that is not wiped: shows that the search finds what is there

_NOT_TO_BE_READ = ("[vvar]", "[vvar_vclock]", "[vsyscall]")


def places_of(text, pid):
    """Where a text lies in the memory of a process: the mapping, and what stands around it."""
    wanted, places = text.encode(), []
    with open(f"/proc/{pid}/mem", "rb") as memory:
        for line in namespace.read(f"/proc/{pid}/maps").splitlines():
            fields = line.split()
            if not fields[1].startswith("r") or fields[-1] in _NOT_TO_BE_READ:
                continue
            begin, end = (int(number, 16) for number in fields[0].split("-"))
            memory.seek(begin)
            held = memory.read(end - begin)
            at = held.find(wanted)
            while at >= 0:
                places.append((line, held[max(0, at - 64):at + 64]))
                at = held.find(wanted, at + 1)
    return places


class Secrets(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.daemon = cls.server(Currentconnd())

    def wait_in_login(self, name, password):
        """A refused login, and the process that waits before it answers."""
        connection = self.client(socket.socket, socket.AF_UNIX, socket.SOCK_STREAM)
        connection.connect(WEB_SOCKET)
        refusals = self.daemon.log_text().count("login refused")
        body = f'{{"name": "{name}", "password": "{password}"}}'.encode()
        connection.sendall(scgi_client.request(
            [("REQUEST_METHOD", "POST"), ("REQUEST_URI", "/api/login"), ("CONTENT_TYPE", "application/json"),
             ("REMOTE_ADDR", "10.20.0.2"), ("HTTP_HOST", "nas"), ("HTTP_USER_AGENT", MARKER)], body))
        waiting.until("the refusal", lambda: self.daemon.log_text().count("login refused") > refusals)
        children = [pid for pid in processes.titled("currentconnd") if pid != self.daemon.process.pid]
        self.assertEqual(1, len(children))
        return connection, children[0]

    def test_no_copy_of_a_password_stays_in_memory(self):
        if "libasan" in namespace.read(f"/proc/{self.daemon.process.pid}/maps"):
            self.skipTest("AddressSanitizer keeps what is freed; the release build is looked at")
        for name in ("alice", "nobody-of-that-name"):
            connection, child = self.wait_in_login(name, SECRET)
            self.assertNotEqual([], places_of(MARKER, child))
            self.assertEqual([], places_of(SECRET, child), name)
            self.assertEqual(401, scgi_client.parsed(scgi_client.received(connection)).status)
            waiting.until("its end", lambda child=child: not processes.runs(child))
        self.assertEqual([], places_of(SECRET, self.daemon.process.pid))

    def test_no_password_is_written(self):
        connection, child = self.wait_in_login("alice", SECRET)
        scgi_client.received(connection)
        waiting.until("its end", lambda: not processes.runs(child))
        for folder in ("/run", "/var/log", "/etc/currentconn"):
            for path, _, names in os.walk(folder):
                for name in names:
                    file = os.path.join(path, name)
                    if os.path.isfile(file):
                        with open(file, "rb") as opened:
                            self.assertFalse(SECRET.encode() in opened.read(), file)


if __name__ == "__main__":
    host_test.main()
