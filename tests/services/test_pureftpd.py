"""FTP on a real Pure-FTPd."""

from clients.ftp import Ftp
from daemons.pureftpd import PureFtpd
from ftp_test import FtpBehaviour, prepare_accounts
from listing import Row
from service_test import ServiceTest, main

setUpModule = prepare_accounts


class PureFtpdTest(FtpBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(PureFtpd())


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
