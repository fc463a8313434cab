"""FTP on a real ProFTPD."""

from daemons.proftpd import Proftpd
from ftp_test import FtpBehaviour, prepare_accounts
from service_test import ServiceTest, main

setUpModule = prepare_accounts


class ProftpdTest(FtpBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Proftpd())


if __name__ == "__main__":
    main()
