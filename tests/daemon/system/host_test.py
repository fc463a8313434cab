"""What the tests of the daemon share."""

import os
import pwd
import sys
import unittest

_HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [_HERE, os.path.join(_HERE, "../../services")]

import namespace  # noqa: E402
from clients import ssh  # noqa: E402
from daemon_test import DaemonTest  # noqa: E402
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


class HostTest(DaemonTest):
    """A test against the real daemon."""

    def assertIsReport(self, answer):
        """The answer is the report as a file to keep, and names bob."""
        self.assertEqual(200, answer.status)
        self.assertEqual('attachment; filename="currentlog.html"', answer.headers["Content-Disposition"])
        self.assertTrue(answer.body.startswith(b"<html><head>\n"), answer.body[:80])
        self.assertTrue(answer.body.endswith(b"</table></body></html>"), answer.body[-80:])
        self.assertIn(b">bob</td>", answer.body)


class BehindWebServer:
    """Mixed into the test case of each packaged web server: the server with TLS in front of the daemon."""

    web_server = None

    @classmethod
    def setUpClass(cls):
        add_accounts()
        cls.server(Currentconnd())
        cls.server(cls.web_server())


def main():
    """Runs the tests of the calling file in a throw-away server."""
    namespace.enter()
    unittest.main(verbosity=2)
