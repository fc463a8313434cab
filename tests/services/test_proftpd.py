"""FTP on a real ProFTPD."""

from daemons.proftpd import Proftpd
from ftp_test import FtpBehaviour, prepare_accounts
from service_test import ServiceTest, main
from transfer_test import TransferBehaviour, keep_buffers_small, prepare_folder


def setUpModule():
    prepare_accounts()
    prepare_folder("/home/alice", "alice")
    keep_buffers_small()


class ProftpdTest(FtpBehaviour, TransferBehaviour, ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.daemon = cls.server(Proftpd())


if __name__ == "__main__":
    main()
