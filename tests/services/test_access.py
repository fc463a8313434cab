"""What is said about who a disabled account still gets in with, held against the real daemons."""

import os
import pwd
import signal
import subprocess

import listing
import namespace
import processes
import waiting
from access_test import AccessTest, IS_DEBIAN_13, LET_IN, OPEN_RULES, REFUSED, add_alice, said_of, text_of
from clients import ssh
from clients.smb import Smb
from daemons.openssh import OpenSsh
from daemons.samba import Samba
from daemons.telnetd import Telnetd
from service_test import main


def ending_command(user):
    """The printed command that ends what the account has left running."""
    return f"pkill -KILL -U {pwd.getpwnam(user).pw_uid} --ns 1 --nslist pid"


def setUpModule():
    add_alice()


class OpenSshTest(AccessTest):

    def configure(self, *lines):
        """Starts sshd with lines that count before its usual ones."""
        self.serve_edited(OpenSsh, "/etc/ssh/test_22_config", lambda text: text_of(lines) + text)

    def test_with_pam(self):
        self.configure("UsePAM yes")
        self.assertSaid(REFUSED, "SSH", self.by_ssh)

    def test_without_pam(self):
        self.configure("UsePAM no")
        self.assertSaid(REFUSED, "SSH", self.by_ssh)

    def test_with_rules_that_let_pass(self):
        self.rules("sshd", OPEN_RULES)
        self.configure("UsePAM yes")
        self.assertSaid(LET_IN, "SSH", self.by_ssh)

    def test_without_pam_its_rules_do_not_matter(self):
        self.rules("sshd", OPEN_RULES)
        self.configure("UsePAM no")
        self.assertSaid(REFUSED, "SSH", self.by_ssh)


class LoginTest(AccessTest):

    def test_telnet(self):
        self.serve(Telnetd())
        self.assertSaid(REFUSED, "Telnet", self.by_prompt)

    def test_telnet_with_rules_that_let_pass(self):
        for service in ("login", "remote"):
            self.rules(service, OPEN_RULES)
        self.serve(Telnetd())
        self.assertSaid(LET_IN, "Telnet", self.by_prompt)

    def test_telnet_with_rules_of_the_console_that_let_pass(self):
        self.rules("login", OPEN_RULES)
        self.serve(Telnetd())
        done = listing.run("disable", "--yes", "alice")
        # Debian 13's login has rules of their own for those who come from elsewhere.
        expected = REFUSED if IS_DEBIAN_13 else LET_IN
        self.assertEqual(expected, said_of("Telnet", done), done.stdout + done.stderr)
        self.assertEqual(expected, LET_IN if self.by_prompt() else REFUSED)
        self.assertEqual(LET_IN, said_of("the console", done), done.stdout + done.stderr)

    def test_the_console(self):
        self.assertSaid(REFUSED, "the console", lambda: self.by_prompt("/bin/login"))

    def test_the_console_with_rules_that_let_pass(self):
        self.rules("login", OPEN_RULES)
        self.assertSaid(LET_IN, "the console", lambda: self.by_prompt("/bin/login"))


class SambaTest(AccessTest):
    """Disabling an account disables its entry in the usual Samba; another one has entries of its own."""

    def configure(self, *lines):
        samba = Samba(lines)
        self.serve(samba)
        samba.add_user("alice")

    def configure_another(self, *lines, entry="alice"):
        class Another(Samba):
            configuration = "/srv/another.conf"
        namespace.write("/etc/samba/smb.conf", "[global]\n")
        another = Another(["passdb backend = tdbsam:/srv/another.tdb", *lines])
        self.serve(another)
        another.add_user(entry)

    def test_that_asks_pam(self):
        self.configure_another("obey pam restrictions = yes")
        self.assertSaid(REFUSED, "Samba", self.by_smb)

    def test_that_asks_pam_with_rules_that_let_pass(self):
        self.rules("samba", OPEN_RULES)
        self.configure_another("obey pam restrictions = yes")
        self.assertSaid(LET_IN, "Samba", self.by_smb)

    def test_that_asks_only_itself(self):
        # Samba finds the entry in whatever case it was given.
        self.configure_another("obey pam restrictions = no", entry="ALICE")
        self.assertSaid(LET_IN, "Samba", self.by_smb)
        again = listing.run("disable", "--yes", "alice").stdout
        command = again.split("disable it there with: ")[1].splitlines()[0]
        namespace.run(*command.split())
        self.assertEqual(REFUSED, said_of("Samba", listing.run("disable", "--yes", "alice")))
        self.assertFalse(self.by_smb())

    def test_with_its_entry_disabled(self):
        self.configure("obey pam restrictions = no")
        self.assertTrue(self.by_smb())
        namespace.run("smbpasswd", "-d", "alice")
        self.assertEqual(REFUSED, said_of("Samba", listing.run("disable", "--yes", "alice")))
        self.assertFalse(self.by_smb())

    def test_without_an_entry(self):
        self.configure("obey pam restrictions = no")
        namespace.run("smbpasswd", "-x", "alice")
        self.assertEqual(REFUSED, said_of("Samba", listing.run("disable", "--yes", "alice")))
        self.assertFalse(self.by_smb())


class SambaGuestTest(AccessTest):
    """Guests come in as the guest account, disabled or not."""

    def configure(self, *lines):
        samba = Samba(("obey pam restrictions = yes", "guest account = alice", *lines))
        self.serve(samba)
        return samba

    def by_name(self):
        return self.connects(Smb, "stranger", "10.20.0.2", "media")

    def without_name(self, share="media"):
        return self.connects(Smb, "", "10.20.0.2", share)

    def test_of_unknown_names(self):
        self.configure("map to guest = Bad User", "guest ok = yes")
        self.assertSaid(LET_IN, "Samba", self.by_name)

    def test_without_a_name(self):
        self.configure("map to guest = Never", "guest ok = yes", "restrict anonymous = 2")
        self.assertFalse(self.by_name())
        self.assertSaid(LET_IN, "Samba", self.without_name)

    def test_without_a_share(self):
        self.configure("map to guest = Never")
        self.assertFalse(self.without_name())
        self.assertSaid(LET_IN, "Samba", lambda: self.without_name("IPC$"))

    def test_that_are_refused(self):
        self.configure("map to guest = Bad User", "restrict anonymous = 2").add_user("alice")
        self.addCleanup(namespace.run, "smbpasswd", "-x", "alice")
        self.assertSaid(REFUSED, "Samba", self.by_smb)
        for share in ("media", "IPC$"):
            self.assertFalse(self.without_name(share))
        self.assertFalse(self.by_name())


class LeftRunningTest(AccessTest):

    def test_the_command_ends_those_of_an_account_whose_name_is_anothers_id(self):
        name = str(pwd.getpwnam("alice").pw_uid)
        namespace.add_account(name)
        self.addCleanup(namespace.run, "userdel", "--force", name)
        started = {}
        for user in ("alice", name):
            started[user] = subprocess.Popen(["sleep", "1000"], user=pwd.getpwnam(user).pw_uid, extra_groups=[])
            self.addCleanup(started[user].wait)
            self.addCleanup(started[user].kill)
            waiting.until("it to run", lambda user=user: processes.named("sleep").count(started[user].pid))
        lines = listing.run("disable", "--yes", name).stdout.splitlines()
        command, = (line.split(" with: ")[1] for line in lines if line.startswith(f"1 process of {name} still runs"))
        namespace.run(*command.split())
        self.assertEqual(-signal.SIGKILL, started[name].wait(60))
        self.assertIsNone(started["alice"].poll())

    def test_what_goes_on_is_counted_with_the_command_that_ends_it(self):
        self.serve(OpenSsh())
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        shell.send("for i in 1 2 3; do setsid nohup sleep 1000 >/dev/null 2>&1 & done; sleep 1; echo sta''rted")
        shell.expect("started")
        namespace.write("/var/spool/cron/crontabs/alice", "0 4 * * * true\n", 0o600)
        self.addCleanup(os.unlink, "/var/spool/cron/crontabs/alice")
        lines = listing.run("disable", "--yes", "alice").stdout.splitlines()
        command = ending_command("alice")
        self.assertIn(f"3 processes of alice still run; end them with: {command}", lines)
        self.assertIn("alice has a crontab; remove it with: crontab -r -u alice", lines)
        # Her shell may still be ending, or wait for somebody to reap it.
        ours = ["pgrep", "-U", "alice", "-x", "sleep"]
        self.assertEqual(3, len(namespace.run(*ours).split()), "nothing ends them by itself")
        namespace.run(*command.split())
        waiting.until("them to end", lambda: subprocess.run(ours).returncode == 1)
        again = listing.run("disable", "--yes", "alice").stdout
        self.assertNotIn("still run", again)

    def test_what_a_container_runs_under_the_same_number_is_neither_counted_nor_ended(self):
        user = pwd.getpwnam("alice").pw_uid
        ours = subprocess.Popen(["sleep", "1000"], user=user)
        theirs = subprocess.Popen(["unshare", "--pid", "--fork", "--kill-child", "setpriv", f"--reuid={user}",
                                   "--clear-groups", "sleep", "1000"])
        for process in (ours, theirs):
            self.addCleanup(process.wait)
            self.addCleanup(process.kill)
        # A change of the user takes the container's process away from what ends it with its parent.
        self.addCleanup(subprocess.run, ["pkill", "-KILL", "-U", "alice", "-x", "sleep"])
        running = ["pgrep", "-c", "-U", "alice", "-x", "sleep"]
        waiting.until("both to run", lambda: subprocess.run(running, capture_output=True).stdout == b"2\n")
        lines = listing.run("disable", "--yes", "alice").stdout.splitlines()
        self.assertIn(f"1 process of alice still runs; end it with: {ending_command('alice')}", lines)
        namespace.run(*ending_command("alice").split())
        self.assertEqual(-signal.SIGKILL, ours.wait(60))
        self.assertEqual("1", namespace.run(*running).strip())
        self.assertIsNone(theirs.poll())


if __name__ == "__main__":
    main()
