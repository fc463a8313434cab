"""The daemon with exactly the rights that its unit leaves it."""

import os
import re

import host_test
import namespace
import waiting
from clients import ssh
from clients.ftp import Ftp
from clients.smb import Smb
from daemons.openssh import EXTERNAL, OpenSsh
from daemons.samba import Samba
from daemons.vsftpd import Vsftpd
from daemons_of_host import Currentconnd, PACKAGING, PlainLighttpd, SOURCES
from host_test import HostTest
from http_client import Client

PASSWORD = namespace.PASSWORD
UNIT = f"{PACKAGING}/systemd/currentconnd.service"
# What systemd does for ProtectSystem=strict, ProtectHome=read-only and PrivateTmp=yes.
_CONFINE = """\
set -e
for folder in "$@"; do
  if [ "$folder" = -- ]; then break; fi
  if [ -e "$folder" ]; then mount --bind "$folder" "$folder"; fi
done
while [ "$1" != -- ]; do shift; done
shift
for folder in / /var /home; do mount -o remount,bind,ro "$folder"; done
mount -t tmpfs tmpfs /tmp
umask 0077
exec "$@"
"""


def settings(name):
    """All values of one setting of the daemon's unit."""
    return [value for line in re.findall(rf"(?m)^{name}=(.*)$", namespace.read(UNIT)) for value in line.split()]


def number(path, pattern):
    """The one that a file has there."""
    return int(re.search(pattern, namespace.read(path), re.MULTILINE)[1])


def capabilities():
    """Those that the unit leaves, as setpriv names them."""
    return [name.removeprefix("CAP_").lower() for name in settings("CapabilityBoundingSet")]


# The counter of an account is a file of that account's.
_FAILLOCK = """\
auth required pam_faillock.so preauth
auth sufficient pam_unix.so
auth [default=die] pam_faillock.so authfail
account required pam_faillock.so
account required pam_unix.so
"""


class ConfinedDaemon(Currentconnd):
    """The daemon as systemd would confine it, without the capability `without`."""

    def __init__(self, without=None):
        super().__init__()
        self._rights = [name for name in capabilities() if name != without]

    def command(self):
        writable = [path.removeprefix("-") for path in settings("ReadWritePaths")] + ["/var/lib/currentconn"]
        os.makedirs("/var/lib/currentconn", mode=0o700, exist_ok=True)
        return ["unshare", "--mount", "sh", "-c", _CONFINE, "sh", *writable, "--",
                "setpriv", "--no-new-privs", "--inh-caps=-all",
                "--bounding-set=-all," + ",".join(f"+{name}" for name in self._rights), *super().command()]


class UnitLimits(HostTest):
    TOOLS = 7  # the process that reads the list, those that it starts, and some in reserve

    def test_the_processes_of_all_calls_fit(self):
        calls = number(f"{PACKAGING}/currentconn.toml", r"^#?max_calls = (\d+)")
        children = number(f"{SOURCES}/calls/child_calls.h", r"kMostChildren = (\d+)")
        self.assertEqual([str(calls * (1 + children + self.TOOLS))], settings("TasksMax"))


class UnitRights(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        samba = cls.server(Samba())
        for name in ("alice", "carol"):
            samba.add_user(name)
            ssh.allow(name)
        cls.server(OpenSsh(subsystem=EXTERNAL))
        cls.server(Vsftpd())
        cls.server(PlainLighttpd())

    def confined(self, without=None):
        daemon = ConfinedDaemon(without).start()
        self.addCleanup(daemon.stop)
        bob = Client("10.20.0.8")
        self.assertEqual(200, bob.log_in("bob", PASSWORD).status)
        return bob

    def rows(self, page):
        return sorted((row["who"], row["type"]) for row in page.get("list").data["items"] if row["type"] != "HTTP/HTTPS")

    def test_everything_works(self):
        page = self.confined()
        clients = {}
        for name in ("alice", "carol"):
            clients[name] = [self.client(Smb, name, "10.20.0.2", "media"), self.client(ssh.Shell, name, "10.20.0.3"),
                             self.client(ssh.Sftp, name, "10.20.0.3"), self.client(Ftp, name, "10.20.0.4")]
        expected = sorted((name, kind) for name in clients for kind in ("CIFS", "SSH", "SSH", "FTP"))
        waiting.until("all connections", lambda: self.rows(page) == expected)
        answer = page.get("list")
        self.assertNotIn("warnings", answer.json)
        resources = {row["type"]: row["descr"] for row in answer.data["items"] if row["who"] == "alice"}
        self.assertEqual("media", resources["CIFS"])
        self.assertEqual("/home/alice", resources["FTP"])

        carol = [row for row in answer.data["items"] if row["who"] == "carol"]
        for row in carol:
            keys = {key: row[key] for key in ("pid", "who", "from", "type")}
            self.assertEqual(200, page.post("kick_connection", {"service_conn": [keys]}).status)
        for client in clients["carol"]:
            waiting.until("carol's connections to end", client.has_ended)

        before = namespace.read("/etc/shadow")
        answer = page.post("disable_user", {"users": ["alice"]})
        self.assertEqual((200, None), (answer.status, answer.json.get("warnings")))
        for client in clients["alice"]:
            waiting.until("alice's connections to end", client.has_ended)
        self.assertIn("D", self.samba_flags("alice"))
        self.assertNotEqual(before, namespace.read("/etc/shadow"))
        self.assertEqual(200, page.post("/api/enable", {"users": ["alice"]}).status)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertNotIn("D", self.samba_flags("alice"))

    def test_logins_that_fail_are_counted_for_each_account(self):
        namespace.write("/etc/security/faillock.conf", "deny = 2\ndir = /run/faillock\nunlock_time = 600\n")
        self.addCleanup(namespace.write, "/etc/security/faillock.conf", "")
        page = self.confined()
        namespace.write("/etc/pam.d/currentconn", _FAILLOCK)
        for _ in range(2):
            self.assertEqual(401, Client("10.20.0.5").log_in("carol", "wrong").status)
        self.assertEqual(host_test.uid_of("carol"), os.stat("/run/faillock/carol").st_uid)
        self.assertEqual(401, Client("10.20.0.6").log_in("carol", PASSWORD).status)
        self.assertEqual(200, page.get("list").status)

    def test_a_label_of_a_module_that_is_not_active_hinders_no_disabling(self):
        page = self.confined()
        self.label("security.selinux", b"system_u:object_r:shadow_t:s0")
        self.assertEqual(200, page.post("disable_user", {"users": ["carol"]}).status)
        self.assertEqual(200, page.post("/api/enable", {"users": ["carol"]}).status)

    def test_an_attribute_that_it_may_not_keep_is_named_and_nothing_changes(self):
        page = self.confined()
        self.label("security.other", b"kept")
        self.addCleanup(os.removexattr, "/etc/shadow", "security.other")
        before = namespace.read("/etc/shadow")
        answer = page.post("disable_user", {"users": ["carol"]})
        self.assertEqual((500, 117), (answer.status, answer.code))
        self.assertIn("security.other", str(answer.json["causes"]))
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertEqual(b"kept", os.getxattr("/etc/shadow", "security.other"))

    def label(self, attribute, value):
        try:
            os.setxattr("/etc/shadow", attribute, value)
        except OSError as error:
            self.skipTest(f"{attribute} cannot be set here: {error}")

    def samba_flags(self, name):
        return re.search(r"Account Flags:\s*\[(.*?)\]", namespace.run("pdbedit", "-v", name))[1]


if __name__ == "__main__":
    host_test.main()
