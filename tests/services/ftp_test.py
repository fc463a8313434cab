"""What every FTP server's test asks for."""

import os
import pwd

from clients.ftp import Ftp, Greeted
from listing import Row
from service_test import add_users

FOLDER = "My Files (x): 100%"


def prepare_accounts():
    """The accounts of the FTP tests; alice has a folder whose name is hard to read."""
    add_users("alice", "bob")
    path = f"/home/alice/{FOLDER}"
    os.makedirs(path, exist_ok=True)
    account = pwd.getpwnam("alice")
    os.chown(path, account.pw_uid, account.pw_gid)


class FtpBehaviour:
    """Mixed into the test case of each server, in each of its ways of running."""

    def test_each_session_is_one_row_with_its_current_folder(self):
        self.client(Ftp, "alice", "10.20.0.2", FOLDER)
        self.client(Ftp, "bob", "10.20.0.3")
        self.assertList([Row("alice", "10.20.0.2", "FTP", f"/home/alice/{FOLDER}"),
                         Row("bob", "10.20.0.3", "FTP", "/home/bob")])

    def test_a_session_that_receives_a_file_is_one_row(self):
        client = self.client(Ftp, "bob", "10.20.0.3")
        upload = client.session.transfercmd("STOR file")
        self.addCleanup(upload.close)
        upload.sendall(b"some bytes")
        self.assertList([Row("bob", "10.20.0.3", "FTP", "/home/bob")])

    def test_two_sessions_of_one_user_are_two_rows(self):
        self.client(Ftp, "bob", "10.20.0.3")
        self.client(Ftp, "bob", "10.20.0.3")
        self.assertList([Row("bob", "10.20.0.3", "FTP", "/home/bob")] * 2)

    def test_logins_in_progress_are_not_listed(self):
        self.client(Greeted, "10.20.0.4")
        self.client(Greeted, "10.20.0.5", "alice")
        self.client(Ftp, "bob", "10.20.0.3")
        self.assertList([Row("bob", "10.20.0.3", "FTP", "/home/bob")])

    def test_sigterm_to_the_rows_process_ends_the_session(self):
        self.client(Ftp, "alice", "10.20.0.2")
        found = self.assertList([Row("alice", "10.20.0.2", "FTP", "/home/alice")])
        self.assertEndsAtOnce(found[0], 21)
        self.assertEmptiesAfterwards()
