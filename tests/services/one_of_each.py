"""A server with every service, and one client of every kind that is connected to it."""

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
from service_test import add_users

USERS = ("alice", "bob", "carol")


def add_accounts():
    """Makes the accounts of the clients, known to Samba and SSH."""
    add_users(*USERS)
    samba = Samba()
    samba.configure()
    for name in USERS:
        samba.add_user(name)
        ssh.allow(name)


def start_servers(test_class):
    """Starts the servers for all tests of a class."""
    for daemon in (Samba(), OpenSsh(), OpenSsh(2222, EXTERNAL), Vsftpd(), Telnetd(), Ganesha(), AfpdStandIn()):
        test_class.server(daemon)


def connect(test):
    """Connects the clients for one test; gives the rows of the list."""
    test.client(Smb, "alice", "10.20.0.2", "media", "photos")
    shell = test.client(ssh.Shell, "alice", "10.20.0.3")
    test.client(ssh.Command, "bob", "10.20.0.3")
    test.client(ssh.Sftp, "bob", "10.20.0.4")
    test.client(ssh.Sftp, "carol", "10.20.0.4", 2222)
    test.client(Ftp, "alice", "10.20.0.5")
    telnet = test.client(Telnet, "bob", "10.20.0.6")
    test.client(Nfs, "10.20.0.7")
    test.client(Afp, "carol", "10.20.0.8")
    return [Row("alice", "10.20.0.2", "CIFS", "media, photos"),
            Row("alice", "10.20.0.3", "SSH", shell.terminal()),
            Row("bob", "10.20.0.3", "SSH", "no terminal"),
            Row("bob", "10.20.0.4", "SSH", "SFTP"),
            Row("bob", "10.20.0.4", "SFTP", "/home/bob"),
            Row("carol", "10.20.0.4", "SSH", "SFTP (sftp-server)"),
            Row("alice", "10.20.0.5", "FTP", "/home/alice"),
            Row("bob", "10.20.0.6", "TELNET", telnet.terminal()),
            Row("", "10.20.0.7", "NFS", "NFS"),
            Row("carol", "10.20.0.8", "AFP", "")]
