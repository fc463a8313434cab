"""Disabled accounts cannot come back, over any service."""

import os
import signal

import listing
import namespace
import processes
import waiting
from clients import ssh
from clients.console import Console
from clients.dialogue import Dialogue
from clients.ftp import Ftp
from clients.smb import Smb
from clients.telnet import LoginPrompt, Telnet
from daemons.openssh import OpenSsh, OpenSshWith
from daemons.proftpd import Proftpd
from daemons.samba import Samba
from daemons.telnetd import Telnetd
from daemons.vsftpd import Vsftpd
from listing import Row
from service_test import ServiceTest, add_users, main

CONFIGURATION = "/etc/currentconn/currentconn.toml"
# What Samba needs to ask the system's account rules; without it, it knows only its own.
SAMBA_ASKS_PAM = ("obey pam restrictions = yes",)


def setUpModule():
    add_users("alice", "bob")
    for name in ("alice", "bob"):
        ssh.allow(name)


def shadow_line(name):
    """An account's line in the shadow file."""
    return next(line for line in namespace.read("/etc/shadow").splitlines() if line.startswith(f"{name}:"))


class DisableTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        for daemon in (Samba(SAMBA_ASKS_PAM), OpenSsh(), Vsftpd(), Telnetd()):
            cls.server(daemon)
        for name in ("alice", "bob"):
            Samba().add_user(name)

    def setUp(self):
        self.addCleanup(listing.run, "enable", "alice")

    def disable(self, *names):
        done = listing.run("disable", "--yes", *names)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        return done.stdout

    def test_it_waits_only_where_there_is_something_to_wait_for(self):
        self.assertNotIn("waiting", listing.run("disable", "--yes", "alice").stderr)
        self.assertEqual(0, listing.run("enable", "alice").returncode)
        self.client(Ftp, "alice", "10.20.0.2")
        self.assertIn("waiting for connections to end", listing.run("disable", "--yes", "alice").stderr)

    def test_the_open_connections_of_the_account_end_and_those_of_others_stay(self):
        alices = [self.client(Smb, "alice", "10.20.0.2", "media"), self.client(ssh.Shell, "alice", "10.20.0.2"),
                  self.client(Ftp, "alice", "10.20.0.2"), self.client(Telnet, "alice", "10.20.0.2")]
        bobs = self.client(Ftp, "bob", "10.20.0.3")
        bobs_line = shadow_line("bob")
        self.disable("alice")
        for client in alices:
            waiting.until(f"{type(client).__name__} to be disconnected", client.has_ended)
        self.assertFalse(bobs.has_ended())
        self.assertEqual(bobs_line, shadow_line("bob"))

    def test_a_master_with_sftp_over_it_ends(self):
        master = self.client(ssh.Forwarding, "alice", "10.20.0.2", control="/run/test-control")
        self.client(ssh.Sftp, "alice", "10.20.0.2", control="/run/test-control")
        self.disable("alice")
        waiting.until("the master to end", master.has_ended)
        self.assertList([])

    def test_ssh_with_a_key_is_refused(self):
        self.client(ssh.Shell, "alice", "10.20.0.2").close()
        self.disable("alice")
        with self.assertRaises(AssertionError):
            self.client(ssh.Shell, "alice", "10.20.0.2")
        self.client(ssh.Shell, "bob", "10.20.0.2")

    def test_ssh_with_a_password_is_refused(self):
        self.disable("alice")
        prompt = self.client(ssh.PasswordPrompt, "alice", "10.20.0.2")
        prompt.send(namespace.PASSWORD)
        waiting.until("ssh to be refused", prompt.has_ended)

    def test_ftp_is_refused(self):
        self.client(Ftp, "alice", "10.20.0.2").close()
        self.disable("alice")
        with self.assertRaisesRegex(Exception, "530"):
            self.client(Ftp, "alice", "10.20.0.2")
        self.client(Ftp, "bob", "10.20.0.2")

    def test_telnet_is_refused(self):
        self.disable("alice")
        prompt = self.client(LoginPrompt, "10.20.0.2")
        prompt.send("alice")
        prompt.expect("Password: ")
        prompt.send(namespace.PASSWORD)
        prompt.expect("expired")

    def test_the_console_is_refused(self):
        self.disable("alice")
        prompt = self.client(Dialogue, ["/bin/login"])
        prompt.expect("login: ")
        prompt.send("alice")
        prompt.expect("Password: ")
        prompt.send(namespace.PASSWORD)
        prompt.expect("expired")
        self.client(Console, "bob")

    def test_samba_that_asks_the_system_refuses(self):
        self.client(Smb, "alice", "10.20.0.2", "media").close()
        self.disable("alice")
        with self.assertRaisesRegex(AssertionError, "NT_STATUS_"):
            self.client(Smb, "alice", "10.20.0.2", "media")
        self.client(Smb, "bob", "10.20.0.2", "media")

    def test_the_command_that_it_prints_undoes_it(self):
        before = shadow_line("alice")
        printed = self.disable("alice").splitlines()
        undo = next(line.split() for line in printed if "to undo it" in line)
        self.assertEqual("currentconn", undo[-3])
        self.assertEqual(0, listing.run(*undo[-2:]).returncode)
        self.assertEqual(before, shadow_line("alice"))
        self.client(Ftp, "alice", "10.20.0.2")

    def test_enabling_lets_in_over_samba_after_the_expiry_alone_was_taken_back(self):
        self.disable("alice")
        namespace.run("chage", "--expiredate", "-1", "alice")
        self.disable("alice")
        self.assertEqual(0, listing.run("enable", "alice").returncode)
        self.client(Smb, "alice", "10.20.0.2", "media")


class LoginUnderWayTest(ServiceTest):
    """sshd checks the account before it waits for the client, which may be disabled meanwhile.

    With keyboard-interactive, PAM's account rules come before the client's last message; without PAM, sshd looks at the
    account before it asks for the password."""

    PORT = 2224
    PORT_WITHOUT_PAM = 2225

    @classmethod
    def setUpClass(cls):
        cls.server(OpenSshWith(cls.PORT, "KbdInteractiveAuthentication yes"))
        cls.server(OpenSshWith(cls.PORT_WITHOUT_PAM, "UsePAM no"))

    def setUp(self):
        self.addCleanup(listing.run, "enable", "alice")

    def parked(self, user):
        """A login under way, and its process."""
        client = self.client(ssh.Parked, user, "10.20.0.2", self.PORT)
        return client, processes.titled(f": {user} [priv]")[0]

    def test_it_ends_and_those_of_others_go_on(self):
        alices, process = self.parked("alice")
        bobs, _ = self.parked("bob")
        self.assertList([])
        done = listing.run("disable", "--yes", "alice")
        self.assertFalse(processes.runs(process))
        waiting.until("alice to be disconnected", alices.has_ended)
        bobs.go_on()
        waiting.until("bob's shell", bobs.has_begun)
        self.assertFalse(alices.has_begun())
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertIn("ended 1 SSH login of alice that was under way\n", done.stdout)

    def test_it_ends_at_its_password(self):
        prompt = self.client(ssh.PasswordPrompt, "alice", "10.20.0.2", self.PORT_WITHOUT_PAM)
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        prompt.send(namespace.PASSWORD)
        waiting.until("alice to be disconnected", prompt.has_ended)

    def test_one_that_has_begun_to_work_is_none(self):
        client, _ = self.parked("alice")
        client.go_on()
        waiting.until("alice's shell", client.has_begun)
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertNotIn("under way", done.stdout)

    def test_one_that_cannot_be_ended_is_named(self):
        _, process = self.parked("alice")
        os.kill(process, signal.SIGSTOP)
        self.addCleanup(os.kill, process, signal.SIGCONT)
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(1, done.returncode, done.stdout + done.stderr)
        self.assertIn(f"an SSH login of alice is still under way, pid {process}", done.stderr)


class LeftBehindTest(ServiceTest):
    """What disabling cannot end, or cannot even see, is no success."""

    @classmethod
    def setUpClass(cls):
        cls.server(Samba(SAMBA_ASKS_PAM))
        Samba().add_user("alice")

    def disable_in_vain(self):
        self.addCleanup(listing.run, "enable", "alice")
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(1, done.returncode, done.stdout + done.stderr)
        self.assertIn("disabled: alice", done.stdout)
        return done

    def test_a_login_at_the_console_is_named_with_the_reason(self):
        console = self.client(Console, "alice")
        pid = self.assertList([Row("alice", "", "LOGIN", console.terminal())])[0]["pid"]
        done = self.disable_in_vain()
        self.assertIn(f"still there: LOGIN of alice, pid {pid}: console logins cannot be ended from here",
                      done.stdout)
        self.assertFalse(console.has_ended())

    def test_it_says_that_it_could_not_look_where_smbstatus_fails(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        namespace.write(CONFIGURATION, 'smbstatus = "/bin/false"\n')
        self.addCleanup(namespace.write, CONFIGURATION, "")
        done = self.disable_in_vain()
        self.assertIn("it is not known whether alice is connected over SMB:\n", done.stderr)


class LastAdministratorTest(ServiceTest):

    def setUp(self):
        groups = namespace.read("/etc/group").splitlines()
        if not any(line.startswith("administrators:") for line in groups):
            namespace.run("groupadd", "administrators")
        namespace.run("gpasswd", "--members", "alice", "administrators")
        self.addCleanup(namespace.run, "gpasswd", "--members", "", "administrators")

    def test_the_only_administrator_is_kept_with_a_sentence(self):
        before = namespace.read("/etc/shadow")
        done = listing.run("disable", "--yes", "alice", "bob")
        self.assertEqual(4, done.returncode, done.stdout + done.stderr)
        self.assertIn("administrator", done.stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertDryRunSaysTheSame(done, "alice", "bob")

    def test_an_unknown_account_is_named_and_nobody_is_disabled(self):
        before = namespace.read("/etc/shadow")
        done = listing.run("disable", "--yes", "bob", "nobody-of-that-name")
        self.assertEqual(1, done.returncode, done.stdout + done.stderr)
        self.assertIn('there is no account "nobody-of-that-name"\n', done.stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertDryRunSaysTheSame(done, "bob", "nobody-of-that-name")

    def assertDryRunSaysTheSame(self, done, *names):
        foreseen = listing.run("disable", "--dry-run", *names)
        self.assertEqual((done.returncode, done.stdout, done.stderr),
                         (foreseen.returncode, foreseen.stdout, foreseen.stderr))


class DisableOnProftpdTest(ServiceTest):
    """Debian 13's mod_auth_unix.c overlooks the expiry of an account, so PAM has the last word."""

    @classmethod
    def setUpClass(cls):
        cls.server(Proftpd("mod_auth_pam.c* mod_auth_unix.c"))

    def test_its_logins_are_refused(self):
        self.addCleanup(listing.run, "enable", "alice")
        self.client(Ftp, "alice", "10.20.0.2").close()
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        with self.assertRaisesRegex(Exception, "530"):
            self.client(Ftp, "alice", "10.20.0.2")
        self.client(Ftp, "bob", "10.20.0.2")


if __name__ == "__main__":
    main()
