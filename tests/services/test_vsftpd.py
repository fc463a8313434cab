"""FTP on a real vsftpd, in each way of showing its sessions."""

import os

import deep_folder
from clients.ftp import Ftp
from daemons.vsftpd import Vsftpd
from ftp_test import FtpBehaviour, prepare_accounts
from listing import Row
from service_test import ServiceTest, main


def setUpModule():
    prepare_accounts()
    os.close(deep_folder.make("/home/alice", "alice"))


class DeepFolderBehaviour:

    def test_a_session_in_a_folder_too_deep_to_name_is_one_row(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        for _ in range(deep_folder.STEPS):
            client.session.cwd(deep_folder.STEP)
        self.assertList([Row("alice", "10.20.0.2", "FTP", deep_folder.SHOWN)])


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


if __name__ == "__main__":
    main()
