"""Services of containers, and of this server in namespaces of their own."""

import os
import pwd
import subprocess

import listing
import namespace
import waiting
from clients import ssh
from clients.ftp import Ftp
from clients.smb import Smb
from daemons.container import ADDRESS, CLIENT_ADDRESS, Container
from daemons.openssh import OpenSsh
from daemons.samba import OtherSamba
from daemons.vsftpd import Vsftpd
from listing import Row
from service_test import ServiceTest, add_users, main

OWN_MOUNTS_PORT = 2201
OWN_NETWORK_PORT = 2202
OTHER_MOUNTS_PORT = 2203

# What a user can do in namespaces of their own: a process named like a server that serves a client there.
PRETENDER = """\
import socket, subprocess, sys
subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
listener = socket.create_server(("127.0.0.1", 21))
client = socket.create_connection(("127.0.0.1", 21))
served, _ = listener.accept()
print("ready", flush=True)
sys.stdin.read()
"""


class ConfinedSsh(OpenSsh):
    """sshd of this server, started by unshare with options."""

    def __init__(self, port, *options):
        super().__init__(port)
        self._options = options

    def command(self):
        return ["unshare", *self._options, *super().command()]


class ConfinedFtp(Vsftpd):
    """vsftpd of this server, in a mount namespace of its own."""

    def command(self):
        return ["unshare", "--mount", *super().command()]


def setUpModule():
    add_users("alice", "bob")
    for name in ("alice", "bob"):
        ssh.allow(name)


class ContainerTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(OpenSsh())
        cls.container = cls.server(Container(OpenSsh(), Vsftpd()))

    def inContainer(self, user):
        return f"{user}@{self.container.label}"

    def shell(self):
        """bob's shell in the container and its row."""
        shell = self.client(ssh.Shell, "bob", ADDRESS)
        return shell, Row(self.inContainer("bob"), CLIENT_ADDRESS, "SSH", shell.terminal())

    def kick(self, *arguments):
        done = listing.run("kick", "--yes", *arguments)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)

    def test_its_users_are_not_this_servers_and_have_their_addresses(self):
        _, expected = self.shell()
        item = self.assertList([expected])[0]
        self.assertFalse(item["user_can_be_disabled"])
        self.assertTrue(item["can_be_kicked"])

    def test_who_is_known_by_number_only_is_unknown(self):
        self.client(Ftp, "bob", ADDRESS)
        self.assertList([Row(self.inContainer("unknown"), CLIENT_ADDRESS, "FTP", "/srv/container/bob")])

    def test_a_kick_ends_them(self):
        shell, expected = self.shell()
        ftp = self.client(Ftp, "bob", ADDRESS)
        self.assertList([expected, Row(self.inContainer("unknown"), CLIENT_ADDRESS, "FTP", "/srv/container/bob")])
        self.kick("--user", self.inContainer("bob"))
        waiting.until("the shell to end", shell.has_ended)
        self.assertFalse(ftp.has_ended())
        self.kick("--user", self.inContainer("unknown"))
        waiting.until("the FTP session to end", ftp.has_ended)
        self.assertEmptiesAfterwards()

    def test_disabling_this_servers_bob_leaves_the_containers_bob_alone(self):
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", "bob")
        theirs, expected = self.shell()
        ours = self.client(ssh.Shell, "bob", "10.20.0.2")
        self.assertList([expected, Row("bob", "10.20.0.2", "SSH", ours.terminal())])
        done = listing.run("disable", "--yes", "bob")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("this server's bob to be disconnected", ours.has_ended)
        self.assertList([expected])
        self.assertFalse(theirs.has_ended())

    def test_what_a_user_lays_out_in_namespaces_of_their_own_is_no_row(self):
        account = pwd.getpwnam("alice")
        program = f"{account.pw_dir}/vsftpd"
        namespace.run("cp", os.path.realpath("/usr/bin/python3"), program)
        user = {"user": account.pw_uid, "group": account.pw_gid, "extra_groups": []}
        command = ["unshare", "--map-root-user", "--net", "--mount", "--pid", "--fork", "--kill-child"]
        if subprocess.run([*command, "true"], capture_output=True, **user).returncode != 0:
            self.skipTest("users cannot make namespaces here")
        process = subprocess.Popen([*command, program, "-c", PRETENDER], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, env=namespace.ENVIRONMENT, cwd="/", **user)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stdin.close)
        self.assertEqual(b"ready\n", process.stdout.readline())
        _, expected = self.shell()
        self.assertList([expected])


class SshWithMappedIds(OpenSsh):
    """sshd in namespaces as of an unprivileged container: its root is the id FIRST of this server."""

    FIRST = 100000
    _OPTIONS = ["--user", "--map-users", f"{FIRST},0,65536", "--map-groups", f"{FIRST},0,65536", "--setuid", "0",
                "--setgid", "0", "--mount", "--pid", "--fork", "--kill-child"]

    def configure(self):
        super().configure()
        path, key = f"/etc/ssh/test_{self.ports[0]}_config", "/srv/mapped_host_key"
        namespace.run("install", "-m", "0600", "-o", str(self.FIRST), "/etc/ssh/test_host_key", key)
        text = namespace.read(path).replace("UsePAM yes", "UsePAM no\nStrictModes no")
        namespace.write(path, text.replace("/etc/ssh/test_host_key", key))
        os.chown("/run/sshd", self.FIRST, self.FIRST)
        for file in ("subuid", "subgid"):
            namespace.write(f"/etc/{file}", f"root:{self.FIRST}:65536\n")
        bob = pwd.getpwnam("bob")
        namespace.run("chown", "--recursive", f"{self.FIRST + bob.pw_uid}:{self.FIRST + bob.pw_gid}", bob.pw_dir)

    def command(self):
        return ["unshare", *self._OPTIONS, *super().command()]


class MappedIdsTest(ServiceTest):
    """A container whose root has no rights on this server, made by this server's root."""

    def setUp(self):
        super().setUp()
        bob = pwd.getpwnam("bob")
        self.addCleanup(namespace.run, "chown", "--recursive", f"{bob.pw_uid}:{bob.pw_gid}", bob.pw_dir)
        self.addCleanup(os.chown, "/run/sshd", 0, 0)
        self.server(SshWithMappedIds(OWN_MOUNTS_PORT))

    def test_its_sessions_are_listed_and_end(self):
        client = self.client(ssh.Command, "bob", "10.20.0.3", OWN_MOUNTS_PORT)
        (who, *rest), = listing.rows()
        self.assertEqual(["10.20.0.3", "SSH", "no terminal"], rest)
        self.assertRegex(who, "^bob@[0-9]+$")
        ours = listing.run("disable", "--yes", "bob")
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", "bob")
        self.assertEqual(0, ours.returncode, ours.stdout + ours.stderr)
        self.assertFalse(client.has_ended())
        done = listing.run("kick", "--yes", "--user", who)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("the session to end", client.has_ended)

    def test_a_user_who_has_the_id_vouches_for_nothing(self):
        namespace.run("useradd", "--uid", str(SshWithMappedIds.FIRST), "--no-create-home", "mapped")
        self.addCleanup(namespace.run, "userdel", "--force", "mapped")
        self.client(ssh.Command, "bob", "10.20.0.3", OWN_MOUNTS_PORT)
        self.assertEqual([], listing.rows())


class SambaOfContainerTest(ServiceTest):
    """This server's smbstatus knows nothing of it, so its users have no names."""

    @classmethod
    def setUpClass(cls):
        samba = OtherSamba("contained", 445, ADDRESS)
        cls.container = cls.server(Container(samba))
        samba.add_user("bob")

    def test_its_session_is_listed_and_ended(self):
        client = self.client(Smb, "bob", ADDRESS, "media")
        who = f"unknown@{self.container.label}"
        item = self.assertList([Row(who, CLIENT_ADDRESS, "CIFS", "share not known")])[0]
        self.assertFalse(item["user_can_be_disabled"])
        done = listing.run("kick", "--yes", "--user", who)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertTrue(client.has_ended())
        self.assertEmptiesAfterwards()


class ConfinedServiceTest(ServiceTest):

    def test_a_service_with_a_mount_namespace_of_its_own_serves_this_servers_accounts(self):
        self.server(ConfinedSsh(OWN_MOUNTS_PORT, "--mount"))
        shell = self.client(ssh.Shell, "bob", "10.20.0.2", OWN_MOUNTS_PORT)
        item = self.assertList([Row("bob", "10.20.0.2", "SSH", shell.terminal())])[0]
        self.assertTrue(item["user_can_be_disabled"])

    def test_so_does_an_ftp_server(self):
        self.server(ConfinedFtp())
        client = self.client(Ftp, "bob", "10.20.0.2")
        self.assertList([Row("bob", "10.20.0.2", "FTP", "/home/bob")])
        self.addCleanup(listing.run, "enable", "bob")
        done = listing.run("disable", "--yes", "bob")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertTrue(client.has_ended())

    def test_while_accounts_are_added_its_users_stay_this_servers(self):
        self.server(ConfinedSsh(OTHER_MOUNTS_PORT, "--mount"))
        shell = self.client(ssh.Shell, "bob", "10.20.0.2", OTHER_MOUNTS_PORT)
        add_users("carol")
        self.assertList([Row("bob", "10.20.0.2", "SSH", shell.terminal())])


if __name__ == "__main__":
    main()
