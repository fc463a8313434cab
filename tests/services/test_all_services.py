"""One client of every kind, connected at once."""

import listing
from clients import ssh
from clients.afp import Afp
from clients.ftp import Ftp
from clients.nfs import Nfs
from clients.smb import Smb
from clients.telnet import Telnet
from daemons.afpd import AfpdStandIn
from daemons.ganesha import Ganesha
from daemons.openssh import EXTERNAL, OpenSsh
from daemons.samba import Samba
from daemons.telnetd import Telnetd
from daemons.vsftpd import Vsftpd
from listing import Row
from service_test import ServiceTest, add_users, main

USERS = ("alice", "bob", "carol")


def setUpModule():
    add_users(*USERS)
    samba = Samba()
    samba.configure()
    for name in USERS:
        samba.add_user(name)
        ssh.allow(name)


class AllServicesTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        for daemon in (Samba(), OpenSsh(), OpenSsh(2222, EXTERNAL), Vsftpd(), Telnetd(), Ganesha(), AfpdStandIn()):
            cls.server(daemon)

    def test_nobody_is_connected_to_idle_servers(self):
        self.assertEqual([], listing.rows())
        self.assertIn("nobody is connected", listing.run("list").stdout.lower())

    def test_each_is_listed_exactly_once(self):
        self.client(Smb, "alice", "10.20.0.2", "media", "photos")
        shell = self.client(ssh.Shell, "alice", "10.20.0.3")
        self.client(ssh.Command, "bob", "10.20.0.3")
        self.client(ssh.Sftp, "bob", "10.20.0.4")
        self.client(ssh.Sftp, "carol", "10.20.0.4", 2222)
        self.client(Ftp, "alice", "10.20.0.5")
        telnet = self.client(Telnet, "bob", "10.20.0.6")
        self.client(Nfs, "10.20.0.7")
        self.client(Afp, "carol", "10.20.0.8")
        expected = [Row("alice", "10.20.0.2", "CIFS", "media, photos"),
                    Row("alice", "10.20.0.3", "SSH", shell.terminal()),
                    Row("bob", "10.20.0.3", "SSH", "no terminal"),
                    Row("bob", "10.20.0.4", "SSH", "SFTP"),
                    Row("bob", "10.20.0.4", "SFTP", "/home/bob"),
                    Row("carol", "10.20.0.4", "SSH", "SFTP (sftp-server)"),
                    Row("alice", "10.20.0.5", "FTP", "/home/alice"),
                    Row("bob", "10.20.0.6", "TELNET", telnet.terminal()),
                    Row("", "10.20.0.7", "NFS", "NFS"),
                    Row("carol", "10.20.0.8", "AFP", "")]
        self.assertList(expected)
        self.assertTable(expected)

    def assertTable(self, expected):
        """The table for people has one line for each row, with the same texts."""
        lines = listing.run("list").stdout.splitlines()
        for row in expected:
            holding = [line for line in lines if all(text in line for text in row)]
            self.assertEqual(1, len(holding), f"{row} in {lines}")


if __name__ == "__main__":
    main()
