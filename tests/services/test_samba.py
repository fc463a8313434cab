"""SMB sessions on a real smbd."""

import socket

import listing
import namespace
import processes
import waiting
from clients.smb import Smb
from daemons.samba import Samba
from listing import Row
from service_test import ServiceTest, add_users, main

CONFIGURATION = "/etc/currentconn/currentconn.toml"


def setUpModule():
    add_users("alice", "bob", "carol")
    daemon = Samba()
    daemon.configure()
    for name in ("alice", "bob", "carol"):
        daemon.add_user(name)


class SambaTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Samba())

    def test_a_session_with_two_shares_is_one_row(self):
        self.client(Smb, "alice", "10.20.0.2", "photos", "media")
        self.assertList([Row("alice", "10.20.0.2", "CIFS", "media, photos")])

    def test_a_session_that_holds_only_ipc_is_listed(self):
        self.client(Smb, "bob", "10.20.0.3", "IPC$")
        self.assertList([Row("bob", "10.20.0.3", "CIFS", "IPC$")])

    def test_ipc_beside_a_share_is_not_mentioned(self):
        self.client(Smb, "bob", "10.20.0.3", "music", "IPC$")
        self.assertList([Row("bob", "10.20.0.3", "CIFS", "music")])

    def test_sessions_of_one_user_from_two_addresses_are_two_rows(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.client(Smb, "alice", "fd20::2", "media")
        self.assertList([Row("alice", "10.20.0.2", "CIFS", "media"), Row("alice", "fd20::2", "CIFS", "media")])

    def test_two_users_of_one_connection_are_told_apart_in_its_one_row(self):
        self.client(Smb, "alice", "10.20.0.2", "media").log_on("bob", "photos")
        found = self._settled(lambda items: items and "bob" in items[0]["descr"], (), "list")
        self.assertEqual(["media (alice), photos (bob)"], [item["descr"] for item in found])
        self.assertEqual("10.20.0.2", found[0]["from"])
        self.assertIn(found[0]["who"], ("alice", "bob"))

    def test_a_connection_without_a_login_is_not_listed(self):
        connection = socket.create_connection(("10.20.0.4", 445))
        self.addCleanup(connection.close)
        waiting.until("smbd to accept", lambda: processes.established(445) == 1)
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.assertList([Row("alice", "10.20.0.2", "CIFS", "media")])

    def test_the_second_and_third_of_all_users_by_name(self):
        for name, address in (("carol", "10.20.0.4"), ("alice", "10.20.0.2"), ("bob", "10.20.0.3")):
            self.client(Smb, name, address, "media")
        self.assertEqual(3, len(self.assertList([Row("carol", "10.20.0.4", "CIFS", "media"),
                                                 Row("alice", "10.20.0.2", "CIFS", "media"),
                                                 Row("bob", "10.20.0.3", "CIFS", "media")])))
        found = listing.result("--filter", "cifs", "--sort-by", "who", "--asc", "--start", "1", "--limit", "2")
        self.assertEqual(3, found["total"])
        self.assertEqual([Row("bob", "10.20.0.3", "CIFS", "media"), Row("carol", "10.20.0.4", "CIFS", "media")],
                         [listing.row(item) for item in found["items"]])

    def test_a_filter_keeps_the_rows_that_contain_it(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.client(Smb, "bob", "10.20.0.3", "photos")
        self.assertList([Row("bob", "10.20.0.3", "CIFS", "photos")], "--filter", "PHOT")

    def test_a_user_sees_his_own_rows(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.client(Smb, "bob", "10.20.0.3", "photos")
        self.assertList([Row("bob", "10.20.0.3", "CIFS", "photos")], "--user", "bob", command="mine")

    def test_sigterm_to_the_rows_process_ends_the_session(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        found = self.assertList([Row("alice", "10.20.0.2", "CIFS", "media")])
        self.assertEndsAtOnce(found[0], 445)
        self.assertEmptiesAfterwards()


class SambasToolFailsTest(ServiceTest):
    """Without smbstatus the sessions still show, from processes and sockets, and the system log says why."""

    @classmethod
    def setUpClass(cls):
        cls.server(Samba())

    def setUp(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.addCleanup(namespace.write, CONFIGURATION, "")

    def _tool(self, script):
        namespace.write("/srv/smbstatus", "#!/bin/sh\n" + script, 0o755)
        namespace.write(CONFIGURATION, 'smbstatus = "/srv/smbstatus"\ntool_seconds = 1\n')

    def assertListedWithoutShare(self):
        found = self._settled(lambda items: len(items) == 1, (), "list")
        self.assertEqual([("unknown", "10.20.0.2", "CIFS")],
                         [(item["who"], item["from"], item["type"]) for item in found])
        self.assertIn("not known", found[0]["descr"])
        self._check_process(found[0])

    def test_the_tool_hangs(self):
        self._tool("exec sleep 600\n")
        self.assertListedWithoutShare()
        waiting.until("the tool to be ended", lambda: not processes.titled("sleep"))

    def test_the_tool_prints_garbage(self):
        self._tool("head -c 4096 /dev/urandom\n")
        self.assertListedWithoutShare()

    def test_the_tool_prints_nothing(self):
        self._tool("exit 0\n")
        self.assertListedWithoutShare()

    def test_the_tool_fails(self):
        self._tool("echo 'Failed to initialize' >&2\nexit 1\n")
        self.assertListedWithoutShare()

    def test_the_tool_never_stops_printing(self):
        self._tool("exec cat /dev/zero\n")
        self.assertListedWithoutShare()
        waiting.until("the tool to be ended", lambda: not processes.titled("cat"))

    def test_the_tool_is_missing(self):
        namespace.write(CONFIGURATION, 'smbstatus = "/srv/nowhere/smbstatus"\n')
        self.assertListedWithoutShare()


if __name__ == "__main__":
    main()
