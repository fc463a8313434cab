"""What the tests of the daemon share."""

import os
import pwd
import sys
import unittest

_HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [_HERE, os.path.join(_HERE, "../../services")]

import namespace  # noqa: E402


def add_accounts():
    """alice and carol are users, bob is an administrator."""
    for name in ("alice", "bob", "carol"):
        namespace.add_account(name)
    namespace.run("gpasswd", "--add", "bob", "sudo")


def uid_of(name):
    """The number of an account."""
    return pwd.getpwnam(name).pw_uid


class HostTest(unittest.TestCase):
    """A test against the real daemon; what the class starts ends with it."""

    maxDiff = None

    @classmethod
    def server(cls, daemon):
        """Starts a daemon for all tests of the class."""
        daemon.start()
        cls.addClassCleanup(daemon.stop)
        return daemon

    def client(self, make, *arguments, **options):
        """Connects a client for one test."""
        client = make(*arguments, **options)
        self.addCleanup(client.close)
        return client


def main():
    """Runs the tests of the calling file in a throw-away server."""
    namespace.enter()
    unittest.main(verbosity=2)
