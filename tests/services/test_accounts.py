"""Which accounts may be disabled, and undoing it."""

import json
import os
import signal
import subprocess

import listing
import namespace
import waiting
from clients.smb import Smb
from daemons.samba import Samba
from service_test import ServiceTest, add_users, main

_DIRECTORY = "/var/lib/extrausers"
_CONFIGURATION = "/etc/currentconn/currentconn.toml"
_RECORD = "/var/lib/currentconn/disabled"


def setUpModule():
    add_users("alice", "bob", "carol")


def shadow_line(name):
    """An account's line in the shadow file."""
    return next(line for line in namespace.read("/etc/shadow").splitlines() if line.startswith(f"{name}:"))


def samba_flags(name):
    """The account flags of an entry in Samba's database, such as "[DU         ]"."""
    return namespace.run("pdbedit", "--list", "--smbpasswd-style", f"--user={name}").split(":")[4]


class AccountTest(ServiceTest):
    """Each test begins with three accounts that nobody has disabled."""

    def setUp(self):
        for name in ("alice", "bob", "carol"):
            namespace.run("chage", "--expiredate", "-1", name)
        if os.path.exists(_RECORD):
            os.remove(_RECORD)

    def currentconn(self, *arguments, status=0):
        done = listing.run(*arguments)
        self.assertEqual(status, done.returncode, done.stdout + done.stderr)
        return done

    def disable(self, *names, status=0):
        return self.currentconn("disable", "--yes", *names, status=status)

    def enable(self, *names, status=0):
        return self.currentconn("enable", *names, status=status)

    def disabled(self):
        return json.loads(self.currentconn("disabled", "--json").stdout)["items"]


class UndoingTest(AccountTest):

    def test_an_earlier_expiry_comes_back(self):
        namespace.run("chage", "--expiredate", "2030-01-31", "alice")
        before = namespace.read("/etc/shadow")
        done = self.disable("alice", "bob")
        self.assertIn("disabled: alice; to undo it: currentconn enable alice\n", done.stdout)
        self.assertIn(":1:", shadow_line("alice"))
        self.assertEqual("enabled: alice\nenabled: bob\n", self.enable("alice", "bob").stdout)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertEqual([], self.disabled())

    def test_an_account_that_had_expired_before_is_not_said_to_be_let_in(self):
        namespace.run("chage", "--expiredate", "2020-01-31", "alice")
        before = namespace.read("/etc/shadow")
        self.disable("alice")
        self.assertEqual("enabled: alice\n  it had expired before it was disabled, on 2020-01-31, and remains expired\n",
                         self.enable("alice").stdout)
        self.assertEqual(before, namespace.read("/etc/shadow"))

    def test_the_disabled_accounts_are_listed(self):
        self.assertEqual("no account is disabled\n", self.currentconn("disabled").stdout)
        namespace.run("chage", "--expiredate", "2030-01-31", "alice")
        self.disable("alice", "bob")
        namespace.run("chage", "--expiredate", "2031-01-31", "bob")
        alice, bob = self.disabled()
        time = alice.pop("time")
        self.assertRegex(time, r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d$")
        self.assertEqual({"user": "alice", "by": "root", "from": "local", "expiry_before": "2030-01-31",
                          "state": "disabled"}, alice)
        self.assertEqual((None, "changed"), (bob["expiry_before"], bob["state"]))
        table = self.currentconn("disabled").stdout.splitlines()
        self.assertEqual(["USER", "DISABLED", "BY", "FROM", "EXPIRY", "BEFORE", "NOW"], table[0].split())
        self.assertEqual(["alice", *time.split(), "root", "local", "2030-01-31", "disabled"], table[1].split())
        self.assertEqual("2 accounts are disabled", table[-1])

    def test_the_record_names_who_became_root(self):
        namespace.ENVIRONMENT["SUDO_USER"] = "carol"
        self.addCleanup(namespace.ENVIRONMENT.pop, "SUDO_USER")
        self.disable("alice")
        self.assertEqual("carol", self.disabled()[0]["by"])

    def test_the_record_is_roots_alone(self):
        self.disable("alice")
        self.assertEqual(0o600, os.stat(_RECORD).st_mode & 0o7777)
        self.assertEqual(0o700, os.stat(os.path.dirname(_RECORD)).st_mode & 0o7777)

    def test_disabling_twice_keeps_the_first_expiry(self):
        namespace.run("chage", "--expiredate", "2030-01-31", "alice")
        before = shadow_line("alice")
        self.disable("alice")
        self.assertIn("already disabled: alice; to undo it", self.disable("alice").stdout)
        self.enable("alice")
        self.assertEqual(before, shadow_line("alice"))

    def test_who_keeps_the_account_files_locked_is_named(self):
        # Root's rights and alice's real user, as in a passwd that alice has stopped.
        editor = subprocess.Popen(["setpriv", "--ruid", "alice", "vipw", "--shadow"], stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, env=namespace.ENVIRONMENT | {"VISUAL": "sleep 600 #"})
        self.addCleanup(editor.wait)
        self.addCleanup(editor.kill)
        waiting.until("the lock", lambda: f" {editor.pid} " in namespace.read("/proc/locks"))
        editor.send_signal(signal.SIGSTOP)
        before = namespace.read("/etc/shadow")
        done = self.disable("bob", status=1)
        self.assertIn(f"cannot lock /etc/.pwd.lock: process {editor.pid} (vipw of alice) holds it; end that process and try "
                      "again\n", done.stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        editor.kill()
        editor.wait()
        self.disable("bob")

    def test_an_account_that_was_not_disabled_here_is_refused_and_so_are_the_others(self):
        namespace.run("chage", "--expiredate", "1", "bob")
        self.disable("alice")
        before = namespace.read("/etc/shadow")
        done = self.enable("alice", "bob", status=1)
        self.assertIn('"bob" was not disabled here, so there is nothing to undo', done.stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))

    def test_an_expiry_that_somebody_has_set_since_stays(self):
        self.disable("alice")
        namespace.run("chage", "--expiredate", "2031-01-31", "alice")
        before = shadow_line("alice")
        self.assertIn("its expiry was changed after it was disabled and is kept: 2031-01-31",
                      self.enable("alice").stdout)
        self.assertEqual(before, shadow_line("alice"))
        self.assertEqual([], self.disabled())

    def test_a_damaged_record_stops_everything_and_stays(self):
        self.disable("alice")
        damaged = namespace.read(_RECORD) + "{}\n"
        namespace.write(_RECORD, damaged, 0o600)
        before = namespace.read("/etc/shadow")
        for command in (("disable", "--yes", "bob"), ("enable", "alice"), ("disabled",)):
            self.assertIn(f"cannot read {_RECORD}:2: the line is not a record of a disabled account; repair or remove it",
                          self.currentconn(*command, status=1).stderr)
        self.assertEqual((before, damaged), (namespace.read("/etc/shadow"), namespace.read(_RECORD)))

    def test_others_than_root_may_neither_enable_nor_look(self):
        self.disable("alice")
        program = os.environ.get("CURRENTCONN", listing.DEFAULT_PROGRAM)
        for words in ("enable alice", "disabled"):
            done = listing.subprocess.run(["setpriv", "--reuid", "bob", "--clear-groups", program, *words.split()],
                                          capture_output=True, text=True, env=namespace.ENVIRONMENT)
            self.assertEqual(3, done.returncode, done.stderr)
            self.assertIn(f"needs root: run 'sudo currentconn {words.split()[0]}'", done.stderr)


class SambaTest(AccountTest):
    """A Samba that asks nobody but its own database."""

    @classmethod
    def setUpClass(cls):
        cls.samba = cls.server(Samba(("obey pam restrictions = no",)))
        for name in ("alice", "bob"):
            cls.samba.add_user(name)
            cls.addClassCleanup(namespace.run, "pdbedit", "--delete", f"--user={name}")

    def setUp(self):
        super().setUp()
        for name in ("alice", "bob"):
            namespace.run("smbpasswd", "-e", name)
        self.addCleanup(namespace.write, _CONFIGURATION, "")

    def tool(self, script, seconds=1):
        """Puts a script in the place of pdbedit, which has `seconds` to answer."""
        namespace.write("/srv/pdbedit", "#!/bin/sh\n" + script, 0o755)
        namespace.write(_CONFIGURATION, f'pdbedit = "/srv/pdbedit"\ntool_seconds = {seconds}\n')

    def assertRefused(self, name):
        with self.assertRaisesRegex(AssertionError, "NT_STATUS_ACCOUNT_DISABLED|NT_STATUS_LOGON_FAILURE"):
            self.client(Smb, name, "10.20.0.2", "media")

    def test_a_disabled_account_does_not_come_back_until_it_is_enabled(self):
        namespace.run("chage", "--expiredate", "2030-01-31", "alice")
        namespace.run("pdbedit", "--user=alice", "--account-control=[X]")
        before = shadow_line("alice"), samba_flags("alice")
        client = self.client(Smb, "alice", "10.20.0.2", "media")
        self.disable("alice")
        waiting.until("the session to end", client.has_ended)
        self.assertRefused("alice")
        self.client(Smb, "bob", "10.20.0.3", "media")
        self.enable("alice")
        self.assertEqual(before, (shadow_line("alice"), samba_flags("alice")))
        self.client(Smb, "alice", "10.20.0.2", "media")

    def test_an_entry_whose_name_is_in_capitals_is_the_accounts(self):
        self.samba.add_user("CAROL")
        self.addCleanup(namespace.run, "pdbedit", "--delete", "--user=CAROL")
        self.assertIn("CAROL:", namespace.run("pdbedit", "--list"))
        client = self.client(Smb, "carol", "10.20.0.2", "media")
        self.disable("carol")
        waiting.until("the session to end", client.has_ended)
        for name in ("carol", "CAROL"):
            self.assertRefused(name)
        self.assertEqual("enabled: carol\n", self.enable("carol").stdout)
        self.client(Smb, "carol", "10.20.0.2", "media")

    def test_an_entry_that_was_disabled_before_stays_disabled(self):
        namespace.run("smbpasswd", "-d", "alice")
        self.disable("alice")
        self.assertEqual("enabled: alice\n  its entry in Samba's database was disabled before, so nothing was undone there\n",
                         self.enable("alice").stdout)
        self.assertIn("D", samba_flags("alice"))

    def test_nothing_changes_where_sambas_tool_does_not_work(self):
        before = namespace.read("/etc/shadow")
        for script, cause in (("exit 1\n", "ended with status 1"), ("kill -KILL $$\n", "was ended by signal 9"),
                              ("exec sleep 600\n", "did not answer within 1 s"), ("echo :; echo x\n", "gave an unreadable list")):
            self.tool(script)
            done = self.disable("alice", "bob", status=1)
            self.assertIn("no account was disabled", done.stderr)
            self.assertIn(cause, done.stderr)
            self.assertEqual(before, namespace.read("/etc/shadow"))
            self.assertEqual([], self.disabled())
        self.assertNotIn("D", samba_flags("alice"))

    def test_an_entry_that_fails_after_the_shadow_file_is_named(self):
        # The real tool has to answer within the limit, however busy the machine is.
        for script, cause in (("exit 1\n", "ended with status 1"), ("exec sleep 600\n", "did not answer within 10 s")):
            self.tool('case $1 in --list) exec /usr/bin/pdbedit "$@" ;; esac\n' + script, seconds=10)
            client = self.client(Smb, "alice", "10.20.0.2", "media")
            done = self.disable("alice", "bob", status=1)
            waiting.until("the session to end", client.has_ended)
            self.assertIn("disabled: alice; to undo it: currentconn enable alice\n", done.stdout)
            self.assertIn("the accounts are disabled, but not everywhere:\n"
                          f'  Samba still lets "alice" in: Samba\'s /srv/pdbedit {cause}; '
                          "disable the account again\n", done.stderr)
            self.assertNotIn("D", samba_flags("alice"))
            self.assertIn(":1:", shadow_line("alice"))
            namespace.write(_CONFIGURATION, "")
            self.disable("alice", "bob")
            self.assertRefused("alice")
            self.enable("alice", "bob")

    def test_nothing_is_undone_where_sambas_tool_does_not_work(self):
        self.disable("alice")
        self.tool("exit 1\n")
        before = namespace.read("/etc/shadow")
        self.assertIn("ended with status 1", self.enable("alice", status=1).stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertEqual(["alice"], [item["user"] for item in self.disabled()])

    def test_the_account_stays_recorded_until_sambas_flag_is_taken_too(self):
        self.disable("alice")
        self.tool('case $1 in --list) exec /usr/bin/pdbedit "$@" ;; esac\nexit 1\n')
        self.assertIn("Samba still refuses it", self.enable("alice", status=1).stdout)
        namespace.write(_CONFIGURATION, "")
        self.assertEqual("enabled: alice\n", self.enable("alice").stdout)
        self.client(Smb, "alice", "10.20.0.2", "media")

    def test_a_tool_that_is_not_where_it_should_be_is_named_since_samba_may_be_open(self):
        namespace.write(_CONFIGURATION, 'pdbedit = "/srv/nowhere/pdbedit"\n')
        self.assertIn("Samba may still let alice in: there is no /srv/nowhere/pdbedit", self.disable("alice").stdout)
        self.enable("alice")


class DirectoryTest(AccountTest):
    """The administrators' group comes from a directory, a second source of the name service."""

    def setUp(self):
        super().setUp()
        before = namespace.read("/etc/nsswitch.conf")
        self.addCleanup(namespace.write, "/etc/nsswitch.conf", before)
        namespace.write("/etc/nsswitch.conf", before.replace(": files", ": files extrausers"))
        self.directory("alice,bob")
        self.addCleanup(namespace.run, "gpasswd", "--members", "", "sudo")

    def directory(self, administrators, shadow=""):
        """dora is an account of the directory alone."""
        namespace.write(f"{_DIRECTORY}/passwd", "dora:x:7001:7001::/home/dora:/bin/bash\n")
        namespace.write(f"{_DIRECTORY}/group", f"administrators:x:7000:{administrators}\ndora:x:7001:\n")
        namespace.write(f"{_DIRECTORY}/shadow", shadow, 0o640)

    def test_its_last_administrators_are_kept(self):
        before = namespace.read("/etc/shadow")
        done = self.disable("alice", "bob", status=4)
        self.assertIn("administrator", done.stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.disable("alice")
        self.disable("bob", status=4)

    def test_while_the_directory_cannot_be_asked_nobody_is_disabled(self):
        for name in ("passwd", "group", "shadow"):
            os.unlink(f"{_DIRECTORY}/{name}")
        before = namespace.read("/etc/shadow")
        done = self.disable("alice", status=1)
        self.assertIn("cannot determine the administrators", done.stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))

    def test_a_member_of_a_local_group_that_is_not_asked_is_nobodys_last_administrator(self):
        namespace.run("gpasswd", "--members", "carol", "sudo")
        self.disable("carol")

    def test_an_administrator_of_the_directory_who_can_log_in_counts(self):
        self.directory("alice,dora", "dora:$y$j9T$x$y:19000:0:99999:7:::\n")
        self.disable("alice")

    def test_an_administrator_of_the_directory_who_is_expired_does_not_count(self):
        self.directory("alice,dora", "dora:$y$j9T$x$y:19000:0:99999:7::1:\n")
        self.disable("alice", status=4)

    def test_an_account_of_the_directory_is_not_disabled(self):
        self.directory("alice", "dora:$y$j9T$x$y:19000:0:99999:7:::\n")
        self.assertIn("is not a local account", self.disable("dora", status=1).stderr)


if __name__ == "__main__":
    main()
