"""Ending transfers of a real vsftpd, in each way in which its processes share the work."""

import os
import pwd
import signal
import socket
import subprocess

import listing
import namespace
import processes
import waiting
from clients.ftp import Ftp
from clients.ftp_transfer import Download
from daemons.vsftpd import TLS, VIRTUAL, Vsftpd
from service_test import ServiceTest, add_users, main
from transfer_test import TransferBehaviour, keep_buffers_small, prepare_folder

_VIRTUAL_HOME = "/srv/virtual"


def setUpModule():
    add_users("alice", "virtual")
    namespace.run("usermod", "--home", _VIRTUAL_HOME, "virtual")
    prepare_folder("/home/alice", "alice")
    prepare_folder(_VIRTUAL_HOME, "virtual")
    keep_buffers_small()


class VsftpdTransferTest(TransferBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.daemon = cls.server(Vsftpd())

    def download(self, runs=True):
        client = self.connected("10.20.0.2")
        return client, self.client(Download, client, runs)

    def assertKickEnds(self, transfer):
        self.assertList([self.row("10.20.0.2")])
        self.kick()
        self.assertList([])
        self.assertEnded(transfer)
        self.assertNoSessionIsLeft()

    def test_a_client_who_closes_the_control_connection_stays_listed_while_data_flows(self):
        client, transfer = self.download()
        client.session.sock.shutdown(socket.SHUT_RDWR)
        client.close()
        self.assertKickEnds(transfer)

    def test_a_client_who_closes_one_way_of_the_data_connection_is_ended_too(self):
        _, transfer = self.download()
        socket.socket.shutdown(transfer.socket, socket.SHUT_WR)
        self.assertKickEnds(transfer)

    def test_a_transfer_whose_parent_is_gone_is_listed_and_can_be_ended(self):
        _, transfer = self.download()
        self._kill_parent()
        self.assertKickEnds(transfer)

    def test_a_stalled_transfer_whose_parent_is_gone_is_listed_and_can_be_ended(self):
        _, transfer = self.download(runs=False)
        self._kill_parent()
        self.assertKickEnds(transfer)

    def test_a_transfer_whose_parent_hung_up_is_listed_and_can_be_ended(self):
        """At SIGTERM the parent shuts the control connection down, at SIGKILL it cannot."""
        _, transfer = self.download()
        self._kill_parent(signal.SIGTERM)
        self.assertKickEnds(transfer)

    def test_a_transfer_that_has_lost_its_control_connection_is_listed_and_can_be_ended(self):
        client, transfer = self.download()
        self._kill_parent(signal.SIGTERM)
        client.session.sock.close()
        waiting.until("the control connection to end", lambda: processes.established(21) == 0)
        self.assertKickEnds(transfer)

    def test_a_session_ends_although_a_transfer_begins_while_the_question_is_open(self):
        client = self.connected("10.20.0.2")
        transfers = []
        self.assertAgreeingEndsIt(lambda: transfers.append(self.client(Download, client, True)))
        self.assertEnded(transfers[0])

    def test_a_session_ends_although_its_transfer_ends_while_the_question_is_open(self):
        _, transfer = self.download()
        self.assertAgreeingEndsIt(transfer.close)

    def assertAgreeingEndsIt(self, change):
        """`change` makes the session one of another process."""
        before = self.assertList([self.row("10.20.0.2")])[0]["pid"]

        def change_and_wait():
            change()
            found = self._settled(lambda items: items and items[0]["pid"] != before, (), "list")
            self.assertNotIn(before, [item["pid"] for item in found])
            self.assertEqual(1, len(found))

        code, output = self.agree(change_and_wait, "kick", "--user", "alice")
        self.assertEqual(0, code, output)
        self.assertNotIn("already gone", output)
        self.assertList([])
        self.assertNoSessionIsLeft()

    def _kill_parent(self, how=signal.SIGKILL):
        """Ends the process above those that move the data."""
        moving = self.assertList([self.row("10.20.0.2")])[0]["pid"]
        os.kill(int(processes.status(moving, "PPid")), how)
        waiting.until("the process to be an orphan", lambda: processes.status(moving, "PPid") == "1")


class VsftpdTransferOverTlsTest(VsftpdTransferTest):
    options = {"tls": True}

    @classmethod
    def setUpClass(cls):
        cls.daemon = cls.server(Vsftpd(settings=TLS | {"force_local_data_ssl": "NO"}))

    def test_a_transfer_in_the_clear_beside_tls_ends(self):
        client = self.connected("10.20.0.2")
        client.session.prot_c()
        self.assertKickEnds(self.client(Download, client, True))

    def test_sigterm_to_an_idle_sessions_process_ends_it(self):
        self.connected("10.20.0.2")
        self.assertEndsAtOnce(self.assertList([self.row("10.20.0.2")])[0], 21)
        self.assertNoSessionIsLeft()


class VsftpdTransferOfVirtualUsersTest(TransferBehaviour, ServiceTest):
    """Without titles nothing but the account that serves all of them is known."""

    login = "vera"
    shown = "virtual"
    folder = _VIRTUAL_HOME
    descr = f"{_VIRTUAL_HOME} (virtual user)"

    @classmethod
    def setUpClass(cls):
        cls.daemon = cls.server(Vsftpd(settings=VIRTUAL | {
            "virtual_use_local_privs": "YES", "allow_writeable_chroot": "YES", "chroot_local_user": "YES"}))


class VsftpdTransferOfVirtualUsersWithTitlesTest(VsftpdTransferOfVirtualUsersTest):
    shown = "vera"
    descr = _VIRTUAL_HOME

    @classmethod
    def setUpClass(cls):
        cls.daemon = cls.server(Vsftpd(titles=True, settings=VIRTUAL | {
            "virtual_use_local_privs": "YES", "allow_writeable_chroot": "YES", "chroot_local_user": "YES"}))


class OrphanOfAnEndedServerTest(ServiceTest):

    def test_a_transfer_that_outlives_the_whole_server_is_listed_and_can_be_ended(self):
        daemon = Vsftpd().start()
        self.addCleanup(daemon.stop)
        transfer = self.client(Download, self.client(Ftp, "alice", "10.20.0.2"), True)
        for pid in processes.named("vsftpd"):
            if processes.status(pid, "Uid").split()[0] != str(pwd.getpwnam("alice").pw_uid):
                os.kill(pid, signal.SIGKILL)
        row = listing.Row("alice", "10.20.0.2", "FTP", "/home/alice")
        self.assertList([row])
        self.assertEqual(0, listing.run("kick", "--yes", "--user", "alice").returncode)
        self.assertList([])
        transfer.ended_after()
        waiting.until("the last process to end", lambda: not processes.named("vsftpd"))


class ServerOfAUserTest(ServiceTest):
    """A user can run the very program of root's server."""

    def test_its_sessions_are_none_of_this_server(self):
        os.makedirs("/home/alice/public", exist_ok=True)
        account = pwd.getpwnam("alice")
        namespace.write("/home/alice/vsftpd.conf", "listen=YES\nlisten_port=2121\nbackground=NO\n"
                        "run_as_launching_user=YES\nanon_root=/home/alice\nno_anon_password=YES\n")
        os.chown("/home/alice/vsftpd.conf", account.pw_uid, account.pw_gid)
        server = subprocess.Popen(["/usr/sbin/vsftpd", "/home/alice/vsftpd.conf"], user=account.pw_uid,
                                  group=account.pw_gid, extra_groups=[], start_new_session=True)
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        waiting.until("alice's server", lambda: processes.listens(2121))
        transfer = self.client(Download, self.client(Ftp, "anonymous", "10.20.0.2", port=2121), True)
        self.assertEqual([], listing.rows())
        server.kill()
        self.assertEqual([], listing.rows())
        self.assertGreater(transfer.bytes, 0)


if __name__ == "__main__":
    main()
