"""The page as ./run serve serves it: a real daemon, web server, login and module, with real clients to end."""

import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "../services"))

import namespace  # noqa: E402
import processes  # noqa: E402
import waiting  # noqa: E402
from clients import ssh  # noqa: E402
from clients.smb import Smb  # noqa: E402
from daemons.openssh import OpenSsh  # noqa: E402
from daemons.samba import Samba  # noqa: E402
from served_page import ServedPage  # noqa: E402
from service_test import ServiceTest, add_users, main  # noqa: E402

VISIT_SECONDS = 180


def setUpModule():
    add_users("alice", "carol", "dora")
    namespace.run("usermod", "--append", "--groups", "sudo", "dora")
    samba = Samba()
    samba.configure()
    samba.add_user("alice")
    ssh.allow("carol")


def expiry(name):
    """The day on which an account expires, as the shadow file says it."""
    line = next(line for line in namespace.read("/etc/shadow").splitlines() if line.startswith(f"{name}:"))
    return line.split(":")[7]


class ServedPageTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        for daemon in (Samba(), OpenSsh()):
            cls.server(daemon)

    def test_a_visit_ends_connections_and_disables_an_account(self):
        link = ServedPage(self).link()
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.client(ssh.Shell, "carol", "10.20.0.3")
        self._visit(link)
        for port in (445, 22):
            waiting.until(f"the connection on port {port} to end", lambda port=port: processes.established(port) == 0)
        self.assertEqual({"alice": "", "carol": "1"}, {name: expiry(name) for name in ("alice", "carol")})

    def _visit(self, link):
        environment = namespace.ENVIRONMENT | {"CURRENTCONN_LINK": link, "CURRENTCONN_PASSWORD": namespace.PASSWORD}
        visit = subprocess.run(["node", f"{HERE}/served/journey.mjs"], env=environment, capture_output=True, text=True,
                               timeout=VISIT_SECONDS)
        self.assertEqual(0, visit.returncode, f"{visit.stdout}\n{visit.stderr}")


if __name__ == "__main__":
    main()
