"""The packaged filter of fail2ban against lines that the daemon wrote."""

import concurrent.futures
import os
import re
import shutil
import socket
import subprocess

import host_test
from host_test import HostTest
import namespace
import scgi_client
import test_systemd
from daemons_of_host import Currentconnd, Lighttpd, PACKAGING, TLS_PORT
from http_client import Client

FILTER = "/etc/fail2ban/filter.d/currentconn.conf"
JOURNAL_PREFIX = "Nov 21 14:00:00 fileserver "
WORD = "login refused from 6.6.6.6: user "
FORGERIES = (WORD, f'": x\n{WORD}"root"', f"currentconnd[1]: {WORD}", f"{JOURNAL_PREFIX}currentconnd[1]: {WORD}",
             "10.0.0.1 6.6.6.6")


def browser(address):
    """A browser at this address."""
    return Client(address, TLS_PORT, tls=True)


class Filter(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.daemon = cls.server(Currentconnd())
        cls.server(Lighttpd())
        shutil.copy(f"{PACKAGING}/fail2ban/currentconn.conf", FILTER)

    def logged(self, *calls):
        """The lines that the daemon wrote while these were made side by side, and the calls' results."""
        before = len(self.daemon.log_text())
        with concurrent.futures.ThreadPoolExecutor(len(calls)) as pool:
            results = list(pool.map(lambda call: call(), calls))
        lines = self.daemon.log_text()[before:].splitlines()
        self.assertGreaterEqual(len(lines), len(calls))
        return lines, results

    def refused(self, tries):
        """The lines that the daemon wrote about these logins, addresses with names."""
        calls = [lambda address=address, name=name: browser(address).log_in(name, "wrong").status
                 for address, name in tries.items()]
        lines, statuses = self.logged(*calls)
        self.assertEqual([401] * len(tries), statuses)
        return lines

    def assertBanned(self, expected, lines):
        """Compares the addresses that the filter finds, in both forms that a line has."""
        self.assertEqual(sorted(expected), self._found(lines))
        self.assertEqual(sorted(expected), self._found([JOURNAL_PREFIX + line for line in lines]))

    def _found(self, lines):
        namespace.write("/srv/lines.log", "".join(f"{line}\n" for line in lines))
        shown = subprocess.run(["fail2ban-regex", "--out", "ip", "/srv/lines.log", FILTER], capture_output=True,
                               text=True, env=namespace.ENVIRONMENT)
        self.assertEqual("", shown.stderr)
        return sorted(shown.stdout.split())

    def test_a_refused_login_is_found_with_its_address(self):
        tries = {"10.20.0.3": "alice", "10.20.0.4": "unknown", "10.20.0.5": "", namespace.CLIENT_ADDRESS_V6: "alice"}
        self.assertBanned(tries, self.refused(tries))

    def test_a_refused_link_is_found(self):
        lines, answers = self.logged(lambda: browser("10.20.0.6").post("/api/login", {"token": "x" * 43}))
        self.assertEqual(401, answers[0].status)
        self.assertBanned(["10.20.0.6"], lines)

    def test_a_name_cannot_ban_somebody_else(self):
        tries = dict(zip(namespace.CLIENT_ADDRESSES, FORGERIES))
        self.assertBanned(tries, self.refused(tries))

    def test_what_is_no_refusal_is_not_found(self):
        bob = browser("10.20.0.8")

        def work():
            self.assertEqual(200, bob.log_in("bob", namespace.PASSWORD).status)
            kick = {"http_conn": [{"who": FORGERIES[0], "from": FORGERIES[2]}]}
            self.assertEqual(200, bob.post("kick_connection", kick).status)
            self.assertEqual(404, bob.get(f"/api/{WORD.replace(' ', '%20')}").status)
            self.assertEqual(200, bob.post("/api/logout").status)
            self.assertEqual(401, bob.get("/api/whoami").status)
            self.assertEqual(400, bob.post("/api/login", {}).status)

        lines, _ = self.logged(work)
        self.assertRegex("\n".join(lines), 'login from 10.20.0.8: user "bob"')
        self.assertBanned([], lines)


class Journal(HostTest):
    def test_the_filter_asks_the_journal_for_the_refusals(self):
        host_test.add_accounts()
        kinds = {test_systemd.JOURNAL: socket.SOCK_DGRAM, test_systemd.NOTIFY: socket.SOCK_DGRAM,
                 "/run/elsewhere/web.sock": socket.SOCK_STREAM}
        journal, notified, web = (self.client(test_systemd.bound, path, kind, 0o666) for path, kind in kinds.items())
        web.listen()
        daemon = test_systemd.start_handed_over((web,), ("web",))
        self.addCleanup(os.waitpid, daemon, 0)
        self.addCleanup(os.kill, daemon, 15)
        notified.recv(100)
        scgi_client.call("/run/elsewhere/web.sock", "POST", "/api/login", ("REMOTE_ADDR", "10.20.0.2"),
                         ("HTTP_HOST", "nas"), body=b'{"name": "alice", "password": "wrong"}')
        asked = re.search("^journalmatch = (.*)$", namespace.read(f"{PACKAGING}/fail2ban/currentconn.conf"), re.MULTILINE)
        fields = []
        while not any(field.startswith("MESSAGE=login refused from") for field in fields):
            fields = journal.recv(65536).decode().splitlines()
        # The journal itself adds who wrote; no other account can make it say root.
        self.assertLessEqual(set(asked.group(1).split()), {*fields, f"_UID={os.geteuid()}"})


if __name__ == "__main__":
    host_test.main()
