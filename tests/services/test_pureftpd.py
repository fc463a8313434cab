"""FTP on a real Pure-FTPd."""

from clients.ftp import Ftp
from daemons.pureftpd import PureFtpd
from ftp_test import FtpBehaviour, prepare_accounts
from listing import Row
from service_test import ServiceTest, main
from transfer_test import TransferBehaviour, keep_buffers_small, prepare_folder


def setUpModule():
    prepare_accounts()
    prepare_folder("/home/alice", "alice")
    keep_buffers_small()


class PureFtpdTest(FtpBehaviour, TransferBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.daemon = cls.server(PureFtpd())


class VirtualUsersTest(ServiceTest):
    """Users of Pure-FTPd's own that share one account of the system."""

    @classmethod
    def setUpClass(cls):
        cls.server(PureFtpd({"vera": "bob"}))

    def test_the_row_names_the_virtual_user(self):
        self.client(Ftp, "vera", "10.20.0.2")
        self.assertList([Row("vera", "10.20.0.2", "FTP", "/home/bob")])


if __name__ == "__main__":
    main()
