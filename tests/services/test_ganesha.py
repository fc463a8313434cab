"""NFS on a real NFS-Ganesha."""

from clients.nfs import Nfs
from daemons.ganesha import Ganesha
from listing import Row
from service_test import ServiceTest, main


class GaneshaTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Ganesha())

    def test_each_client_is_one_row_without_a_user(self):
        self.client(Nfs, "10.20.0.5")
        self.client(Nfs, "10.20.0.6", b"client\xff\x01name")
        self.assertList([Row("", "10.20.0.5", "NFS", "NFS"), Row("", "10.20.0.6", "NFS", "NFS")])

    def test_two_mounts_of_one_client_are_one_row(self):
        self.client(Nfs, "10.20.0.5", b"one")
        self.client(Nfs, "10.20.0.5", b"two")
        self.assertList([Row("", "10.20.0.5", "NFS", "NFS")])

    def test_a_client_that_went_is_not_listed(self):
        Nfs("10.20.0.7").close()
        self.client(Nfs, "10.20.0.5")
        self.assertList([Row("", "10.20.0.5", "NFS", "NFS")])


if __name__ == "__main__":
    main()
