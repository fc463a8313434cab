"""What the tests of the daemon share."""

import os
import pwd
import sys
import unittest

_HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [_HERE, os.path.join(_HERE, "../../services")]

import namespace  # noqa: E402
from clients import ssh  # noqa: E402
from daemons.openssh import OpenSsh  # noqa: E402
from daemons.samba import Samba  # noqa: E402
from daemons_of_host import Currentconnd, PlainLighttpd  # noqa: E402


def add_accounts():
    """alice and carol are users, bob is an administrator."""
    for name in ("alice", "bob", "carol"):
        namespace.add_account(name)
    namespace.run("gpasswd", "--add", "bob", "sudo")


def uid_of(name):
    """The number of an account."""
    return pwd.getpwnam(name).pw_uid


def start_file_server(test_class):
    """Samba and SSH with alice as their user, and the page; returns Samba and the daemon."""
    add_accounts()
    samba = test_class.server(Samba())
    samba.add_user("alice")
    ssh.allow("alice")
    test_class.server(OpenSsh())
    daemon = test_class.server(Currentconnd())
    test_class.server(PlainLighttpd())
    return samba, daemon


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
