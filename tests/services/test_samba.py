"""SMB sessions on a real smbd."""

import os
import signal
import socket
import time

import listing
import namespace
import processes
import waiting
from clients.smb import Smb
from daemons.samba import OtherSamba, Samba
from listing import Row
from service_test import ServiceTest, add_users, main

CONFIGURATION = "/etc/currentconn/currentconn.toml"
# After this time a client of whom smbstatus knows nothing is listed.
LOGIN_SECONDS = 10


def setUpModule():
    add_users("alice", "bob", "carol")
    daemon = Samba()
    daemon.configure()
    for name in ("alice", "bob", "carol"):
        daemon.add_user(name)


def smbds():
    """The ids of the processes named smbd, or smbd[ADDRESS] as on Debian 13 those with a client."""
    return {pid for pid in processes.pids() if (processes.status(pid, "Name") or "").split("[")[0] == "smbd"}


class SmbTest(ServiceTest):

    def assertUnknownAndEnded(self, address):
        """The only row is one of an unknown user, and a kick ends it."""
        found = self.assertList([Row("unknown", address, "CIFS", "share not known")])
        done = listing.run("kick", "--yes", str(found[0]["pid"]))
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        # Its connection is closed before it is gone.
        waiting.until("its process to end", lambda: not processes.runs(found[0]["pid"]))
        self.assertEmptiesAfterwards()


class SambaTest(SmbTest):

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

    def test_a_client_who_may_still_be_logging_in_is_not_listed(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.assertList([Row("alice", "10.20.0.2", "CIFS", "media")])
        # A machine that is too busy for one list within the time gets another try.
        for _ in range(10):
            begin = time.monotonic()
            with socket.create_connection(("10.20.0.4", 445)):
                waiting.until("smbd to accept", lambda: processes.established(445) == 2)
                found = listing.rows()
            if time.monotonic() - begin < LOGIN_SECONDS:
                break
            waiting.until("smbd to end it", lambda: processes.established(445) == 1)
        else:
            self.skipTest(f"no list within {LOGIN_SECONDS} s of a connection in ten tries: the machine is too busy")
        self.assertEqual([Row("alice", "10.20.0.2", "CIFS", "media")], found)

    def test_a_client_whose_login_hangs_is_listed_and_can_be_ended(self):
        before = smbds()
        connection = socket.create_connection(("10.20.0.4", 445))
        self.addCleanup(connection.close)
        pid = waiting.until("smbd to accept", lambda: smbds() - before).pop()
        os.kill(pid, signal.SIGSTOP)
        self.assertUnknownAndEnded("10.20.0.4")
        self.assertEqual(b"", connection.recv(1))

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


class OtherDatabasesTest(SmbTest):
    """Sessions of smbds whose databases smbstatus does not read, beside the system's smbd."""

    @classmethod
    def setUpClass(cls):
        cls.server(Samba(["interfaces = 10.20.0.2 10.20.0.3", "bind interfaces only = yes"]))
        for name, port in (("other", 445), ("third", 1445)):
            cls.server(OtherSamba(name, port, "10.20.0.5")).add_user("carol")

    def test_on_the_same_port_of_another_address(self):
        client = self.client(Smb, "carol", "10.20.0.5", "media")
        self.assertUnknownAndEnded("10.20.0.5")
        self.assertTrue(client.has_ended())

    def test_on_a_port_of_its_own(self):
        client = self.client(Smb, "carol", "10.20.0.5", "media", port=1445)
        self.assertUnknownAndEnded("10.20.0.5")
        self.assertTrue(client.has_ended())

    def test_beside_sessions_that_are_known(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.client(Smb, "carol", "10.20.0.5", "media")
        self.assertList([Row("alice", "10.20.0.2", "CIFS", "media"),
                         Row("unknown", "10.20.0.5", "CIFS", "share not known")])


class OnlyOtherDatabasesTest(SmbTest):
    """The same without an smbd of the system."""

    @classmethod
    def setUpClass(cls):
        cls.server(OtherSamba("other", 445, "10.20.0.5")).add_user("carol")

    def test_its_session_is_listed_and_can_be_ended(self):
        self.client(Smb, "carol", "10.20.0.5", "media")
        self.assertUnknownAndEnded("10.20.0.5")


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
