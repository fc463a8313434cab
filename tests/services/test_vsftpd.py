"""FTP on a real vsftpd, in each way of showing its sessions."""

from daemons.vsftpd import Vsftpd
from ftp_test import FtpBehaviour, prepare_accounts
from service_test import ServiceTest, main

setUpModule = prepare_accounts


class VsftpdAsShippedTest(FtpBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Vsftpd())


class VsftpdWithTitlesTest(FtpBehaviour, ServiceTest):

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
