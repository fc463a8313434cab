"""FTP on a real vsftpd, in each way of showing its sessions."""

import os
import pwd
import threading

import deep_folder
import listing
import namespace
from clients import stalling
from clients.ftp import Ftp, Greeted
from daemons.vsftpd import Vsftpd
from ftp_test import FtpBehaviour, prepare_accounts
from listing import Row
from service_test import ServiceTest, main

# How long a list may take; one that takes longer waits for a user.
HANG_SECONDS = 60
FILE = "large"
FILE_SIZE = 1 << 30  # bytes, more than the kernel keeps on the way
# So many that a look-up of one behind them takes long enough to be seen.
SLOW_ACCOUNTS = 200_000


def setUpModule():
    prepare_accounts()
    folder = deep_folder.make("/home/alice", "alice")
    file = os.open(FILE, os.O_CREAT | os.O_WRONLY, 0o644, dir_fd=folder)
    os.ftruncate(file, FILE_SIZE)
    os.close(file)
    os.close(folder)


class DeepFolderBehaviour:

    def test_a_session_in_a_folder_too_deep_to_name_is_one_row(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        for _ in range(deep_folder.STEPS):
            client.session.cwd(deep_folder.STEP)
        self.assertList([Row("alice", "10.20.0.2", "FTP", deep_folder.SHOWN)])

    def test_a_transfer_in_a_folder_too_deep_to_name_is_listed_and_ends(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        for _ in range(deep_folder.STEPS):
            client.session.cwd(deep_folder.STEP)
        client.session.voidcmd("TYPE I")
        data = client.session.transfercmd(f"RETR {FILE}")
        self.addCleanup(data.close)
        self.assertNotEqual(b"", data.recv(1))
        found = [(row.who, row.address, row.type) for row in listing.rows()]
        self.assertEqual([("alice", "10.20.0.2", "FTP")], found)
        done = listing.run("kick", "--yes", "--user", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertLess(len(b"".join(iter(lambda: data.recv(1 << 20), b""))), FILE_SIZE)


class VsftpdAsShippedTest(DeepFolderBehaviour, FtpBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Vsftpd())


class VsftpdWithTitlesTest(DeepFolderBehaviour, FtpBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Vsftpd(titles=True))


class VsftpdThatWritesUtmpTest(FtpBehaviour, ServiceTest):
    """Its entries in utmp are no console logins."""

    @classmethod
    def setUpClass(cls):
        cls.server(Vsftpd(titles=True, utmp=True))


class VsftpdWithAnEmptyFolderForAllTest(ServiceTest):
    """Its users are confined as its own helpers are: in an empty folder of root's."""

    @classmethod
    def setUpClass(cls):
        os.makedirs("/srv/empty", mode=0o777, exist_ok=True)
        cls.server(Vsftpd(utmp=True, settings={"chroot_local_user": "YES", "local_root": "/srv/empty",
                                               "allow_writeable_chroot": "YES"}))

    def test_a_session_is_one_row(self):
        self.client(Ftp, "alice", "10.20.0.2")
        self.assertList([Row("alice", "10.20.0.2", "FTP", "/srv/empty")])


class LoginsOnTheirWayTest(ServiceTest):
    """Each process of a session begins as root's and looks up the account that it works for from then on."""

    def setUp(self):
        before = namespace.read("/etc/passwd")
        self.addCleanup(namespace.write, "/etc/passwd", before)
        others = "".join(f"other{number}:x:{SLOW_ACCOUNTS + number}:100::/:/bin/false\n" for number in range(SLOW_ACCOUNTS))
        namespace.write("/etc/passwd", others + before)
        daemon = Vsftpd()
        daemon.start()
        self.addCleanup(daemon.stop)

    def test_are_nobodys_rows(self):
        stop = threading.Event()

        def come_and_go(make, *arguments):
            while not stop.is_set():
                make(*arguments).close()

        threads = [threading.Thread(target=come_and_go, args=client)
                   for client in ((Greeted, "10.20.0.4"), (Ftp, "alice", "10.20.0.2"))]
        for thread in threads:
            thread.start()
        found = set().union(*(listing.rows() for _ in range(10)))
        stop.set()
        for thread in threads:
            thread.join()
        self.assertLessEqual(found, {Row("alice", "10.20.0.2", "FTP", "/home/alice")})


class VsftpdThatConfinesItsUsersTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Vsftpd(utmp=True, settings={"chroot_local_user": "YES", "allow_writeable_chroot": "YES"}))

    def test_a_file_system_of_a_user_that_never_answers_keeps_no_list_waiting(self):
        reason = stalling.install(namespace.run)
        if reason:
            self.skipTest(reason)
        bob = pwd.getpwnam("bob")
        folder = stalling.Folder(bob.pw_dir, bob.pw_uid, bob.pw_gid)
        self.addCleanup(folder.close)
        self.client(Ftp, "bob", "10.20.0.3")
        folder.stall()
        # A list that hangs comes back and fails the test.
        timer = threading.Timer(HANG_SECONDS, folder.close)
        timer.start()
        self.addCleanup(timer.cancel)
        self.assertEqual([Row("bob", "10.20.0.3", "FTP", "/home/bob")], listing.rows())
        self.assertTrue(timer.is_alive(), "the list waited for the user's file system")


if __name__ == "__main__":
    main()
