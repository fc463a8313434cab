"""What the tests of the services share: servers, clients, and the comparison of whole lists."""

import os
import re
import signal
import sys
import time
import unittest

import listing
import namespace
import processes
import waiting
from clients.dialogue import Dialogue
from daemon_test import DaemonTest

# The names that a connection's process may have before it is signalled.
_PROCESS_NAMES = {"CIFS": "smbd", "AFP": "afpd", "FTP": "ftpd", "TELNET": "telnetd", "SSH": "sshd"}
_PACKAGES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "packages.sh")
_LOADED_AT = time.time()  # before any connection of a test began
_TIME = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d")


class ServiceTest(DaemonTest):
    """A test of what the command line lists of the daemons."""

    def assertList(self, expected, *arguments, command="list"):
        """Compares the whole list, in any order, once clients and daemons have settled; checks every process."""
        expected = sorted(expected)
        found = self._settled(lambda items: sorted(map(listing.row, items)) == expected, arguments, command)
        self.assertEqual(expected, sorted(map(listing.row, found)))
        for item in found:
            self._check_process(item)
            self._check_time(item)
        return found

    def agree(self, change, *arguments):
        """Runs a command that asks, and agrees after `change`; returns its exit code and what it says then."""
        question = self.client(Dialogue, [listing.program(), *arguments])
        question.expect("[y/N]")
        change()
        question.send("y")
        waiting.until(f"{arguments} to end", question.has_ended)
        return question.process.returncode, question.output

    def assertEndsAtOnce(self, item, port):
        """Ends one connection by SIGTERM to its process and waits until the server's end is closed."""
        before = processes.established(port)
        os.kill(item["pid"], signal.SIGTERM)
        waiting.until(f"{listing.row(item)} to end", lambda: processes.established(port) < before)

    def assertEmptiesAfterwards(self):
        """Waits until nobody is connected."""
        self.assertList([])

    def _settled(self, fits, arguments, command):
        end = time.monotonic() + waiting.LIMIT_SECONDS
        while True:
            answer = listing.result(*arguments, command=command)
            if fits(answer["items"]) or time.monotonic() > end:
                return answer["items"]

    def _check_process(self, item):
        pid, kind = item["pid"], item["type"]
        if kind == "NFS":
            self.assertEqual(0, pid, item)
            return
        name = processes.status(pid, "Name")
        self.assertIsNotNone(name, f"no process serves {item}")
        if kind == "SFTP":
            served = "sftpd" in name or ("sshd" in name and "internal-sftp" in processes.title(pid))
            self.assertTrue(served, f"process {name!r} titled {processes.title(pid)!r} serves {item}")
        elif kind in _PROCESS_NAMES:
            self.assertIn(_PROCESS_NAMES[kind], name, item)

    def _check_time(self, item):
        if item["time"] == "" and item["type"] == "NFS":
            return  # a user-space server tells no time
        self.assertRegex(item["time"], _TIME)
        age = time.time() - time.mktime(time.strptime(item["time"], "%Y-%m-%d %H:%M:%S"))
        oldest = time.time() - _LOADED_AT
        self.assertTrue(-2 <= age <= oldest + 2, f"{item} began {age:.0f} s ago, the tests {oldest:.0f} s")


def add_users(*names):
    """Makes the accounts of a test file."""
    for name in names:
        namespace.add_account(name)


def main():
    """Runs the tests of the calling file in a throw-away server; stops with a sentence where a package is missing."""
    namespace.enter()
    missing = namespace.run(_PACKAGES, "--missing").split()
    if missing:
        sys.exit(f"packages are missing for the tests of services: {' '.join(missing)}; run {_PACKAGES} as root")
    unittest.main(verbosity=2)
