"""Ending connections of real clients from the command line."""

import os
import subprocess

import listing
import namespace
import processes
import waiting
from clients import ssh
from clients.afp import Afp
from clients.ftp import Ftp
from clients.nfs import Nfs
from clients.smb import Smb
from clients.telnet import Telnet
from daemons.afpd import AfpdStandIn
from daemons.ganesha import Ganesha
from daemons.openssh import EXTERNAL, OpenSsh
from daemons.proftpd import Proftpd
from daemons.samba import Samba
from daemons.telnetd import Telnetd
from daemons.vsftpd import Vsftpd
from listing import Row
from service_test import ServiceTest, add_users, main

CONFIGURATION = "/etc/currentconn/currentconn.toml"


def setUpModule():
    add_users("alice", "bob")
    samba = Samba()
    samba.configure()
    for name in ("alice", "bob"):
        samba.add_user(name)
    for name in ("alice", "bob", "root"):
        ssh.allow(name)


class KickTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        for daemon in (Samba(), OpenSsh(), OpenSsh(2222, EXTERNAL), Vsftpd(), Telnetd(), AfpdStandIn(), Ganesha()):
            cls.server(daemon)

    def kick(self, *arguments):
        """Runs kick without questions and returns what it printed."""
        done = listing.run("kick", "--yes", *arguments)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        return done.stdout

    def connectEverywhere(self, user, address):
        """One client of each kind that can be ended."""
        return [self.client(Smb, user, address, "media", "photos"),
                self.client(ssh.Shell, user, address),
                self.client(ssh.Sftp, user, address),
                self.client(ssh.Sftp, user, address, 2222),
                self.client(Ftp, user, address),
                self.client(Telnet, user, address),
                self.client(Afp, user, address)]

    def assertEnded(self, clients):
        for client in clients:
            waiting.until(f"{type(client).__name__} to be disconnected", client.has_ended)

    def test_one_command_ends_all_that_a_user_has_and_nothing_of_another(self):
        alices = self.connectEverywhere("alice", "10.20.0.2")
        bobs = self.connectEverywhere("bob", "10.20.0.3")
        before = {row for row in listing.rows() if row.who == "bob"}
        self.assertEqual(len(bobs) + 1, len(before))  # internal SFTP is a row besides that of its connection
        self.kick("--user", "alice")
        self.assertEnded(alices)
        self.assertList(before)
        for client in bobs:
            self.assertFalse(client.has_ended(), type(client).__name__)

    def test_a_process_that_ignores_sigterm_is_killed_in_the_end(self):
        client = self.client(ssh.Sftp, "root", "10.20.0.2")
        found = self.assertList([Row("admin", "10.20.0.2", "SSH", "SFTP"), Row("admin", "10.20.0.2", "SFTP", "/root")])
        pid = next(item["pid"] for item in found if item["type"] == "SFTP")
        self.kick("--service", "sftp")
        self.assertFalse(processes.runs(pid))
        self.assertEnded([client])

    def test_who_connects_again_is_named_with_the_new_pid(self):
        self.client(ssh.Returning, "alice", "10.20.0.2")
        self.client(ssh.Sftp, "root", "10.20.0.3")  # takes the whole grace period, in which alice returns
        pids = {(item["who"], item["type"]): item["pid"]
                for item in self._settled(lambda items: len(items) == 3, (), "list")}
        before = pids["alice", "SSH"]
        done = listing.run("kick", "--yes", str(before), str(pids["admin", "SFTP"]))
        after = [item["pid"] for item in listing.result()["items"] if item["who"] == "alice"]
        self.assertEqual(1, len(after), done.stdout)
        self.assertIn(f"connected again, pid {after[0]}: SSH of alice from 10.20.0.2, pid {before}", done.stdout)
        self.assertEqual(1, done.returncode, done.stderr)

    def test_a_dry_run_ends_nothing(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        expected = self.assertList([Row("alice", "10.20.0.2", "FTP", "/home/alice")])
        done = listing.run("kick", "--dry-run", "--user", "alice")
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertIn("10.20.0.2", done.stdout)
        self.assertFalse(client.has_ended())
        self.assertList(map(listing.row, expected))

    def test_conditions_together_mean_and(self):
        gone = self.client(Ftp, "alice", "10.20.0.2")
        self.client(Ftp, "alice", "10.20.0.3")
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        self.kick("--user", "alice", "--from", "10.20.0.2", "--service", "ftp")
        self.assertEnded([gone])
        self.assertList([Row("alice", "10.20.0.3", "FTP", "/home/alice"),
                         Row("alice", "10.20.0.2", "SSH", shell.terminal())])

    def test_a_process_that_serves_no_connection_is_left_alone(self):
        process = subprocess.Popen(["sleep", "600"])
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        done = listing.run("kick", "--yes", str(process.pid))
        self.assertEqual(1, done.returncode, done.stdout + done.stderr)
        self.assertIsNone(process.poll())

    def test_nothing_is_signalled_where_proc_shows_the_pids_of_another_namespace(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        row = Row("alice", "10.20.0.2", "FTP", "/home/alice")
        pid = self.assertList([row])[0]["pid"]
        # A process that has the session's pid, but in the namespace inside.
        victim = f"until sleep 600 & disown; [ $! -ge {pid} ]; do kill -KILL $!; done; victim=$!"
        for command in (f"kick --yes {pid}", "kick --yes --user alice", "disable --yes alice"):
            with self.subTest(command):
                inside = f'{victim}; "$0" {command}; echo "exit $?"; [ $victim = {pid} ] && kill $victim && echo "victim alive"'
                done = subprocess.run(["unshare", "--pid", "--fork", "--kill-child", "bash", "-c", inside, listing.program()],
                                      capture_output=True, text=True, timeout=90, stdin=subprocess.DEVNULL,
                                      env=namespace.ENVIRONMENT)
                self.assertEqual("exit 1\nvictim alive\n", done.stdout, done.stderr)
                self.assertRegex(done.stderr, r"/proc is that of another pid namespace: .* mount a /proc of this pid namespace")
        self.assertFalse(client.has_ended())
        self.assertList([row])

    def test_a_second_kick_of_the_same_row_harms_nothing(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        pid = self.assertList([Row("alice", "10.20.0.2", "FTP", "/home/alice")])[0]["pid"]
        self.kick(str(pid))
        self.assertEnded([client])
        again = listing.run("kick", "--yes", str(pid))
        self.assertEqual(1, again.returncode, again.stdout + again.stderr)
        self.assertList([])

    def test_other_users_of_an_smb_process_are_named_before_they_go_too(self):
        client = self.client(Smb, "alice", "10.20.0.2", "media")
        client.log_on("bob", "photos")
        self._settled(lambda items: items and "bob" in items[0]["descr"], (), "list")
        output = self.kick("--service", "cifs")
        self.assertIn("alice", output)
        self.assertIn("bob", output)
        self.assertEnded([client])

    def test_a_user_is_found_on_the_smb_process_of_another(self):
        client = self.client(Smb, "alice", "10.20.0.2", "media")
        client.log_on("bob", "photos")
        found = self._settled(lambda items: items and "bob" in items[0]["descr"], (), "list")
        other = "bob" if found[0]["who"] == "alice" else "alice"
        output = self.kick("--user", other)
        self.assertRegex(output, rf"note: pid {found[0]['pid']} serves (alice and bob|bob and alice); the connections of both end")
        self.assertEnded([client])

    def test_a_share_with_a_users_name_misleads_nobody(self):
        os.makedirs("/srv/photos (bob)", mode=0o777, exist_ok=True)
        namespace.write("/etc/samba/smb.conf", namespace.read("/etc/samba/smb.conf")
                        + "[photos (bob)]\npath = /srv/photos (bob)\nread only = no\n")
        namespace.run("smbcontrol", "smbd", "reload-config")
        client = self.client(Smb, "alice", "10.20.0.2", "photos (bob)")
        self.assertList([Row("alice", "10.20.0.2", "CIFS", "photos (bob)")])
        done = listing.run("kick", "--yes", "--user", "bob")
        self.assertEqual((1, "currentconn: nothing to end\n"), (done.returncode, done.stderr))
        self.assertFalse(client.has_ended())
        self.assertNotIn("bob;", self.kick("--user", "alice"))

    def test_a_connection_whose_user_is_unknown_by_now_is_not_called_gone(self):
        namespace.write("/srv/tool", '#!/bin/sh\ntest ! -e /srv/fails && exec smbstatus "$@"\n', 0o755)
        namespace.write(CONFIGURATION, 'smbstatus = "/srv/tool"\n')
        self.addCleanup(os.remove, CONFIGURATION)
        self.addCleanup(os.remove, "/srv/fails")
        client = self.client(Smb, "alice", "10.20.0.2", "media")
        self.assertList([Row("alice", "10.20.0.2", "CIFS", "media")])
        code, output = self.agree(lambda: namespace.write("/srv/fails", ""), "kick", "--user", "alice")
        self.assertEqual(1, code, output)
        self.assertNotIn("already gone", output)
        self.assertIn("still there", output)
        self.assertFalse(client.has_ended())

    def test_open_files_are_named_before_they_are_closed(self):
        namespace.write("/srv/media/a film.txt", "x", 0o666)
        client = self.client(Smb, "alice", "10.20.0.2", "media")
        client.command('open "a film.txt"')
        self._settled(lambda items: len(items) == 1, (), "list")
        self.assertIn("1 file open: /srv/media/a film.txt\n", self.kick("--user", "alice"))

    def test_a_pid_that_is_not_there_fails_after_the_rest(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        pid = self.assertList([Row("alice", "10.20.0.2", "FTP", "/home/alice")])[0]["pid"]
        done = listing.run("kick", "--yes", str(pid), "4194303")
        self.assertEqual(1, done.returncode, done.stdout)
        self.assertIn("no connection with pid 4194303 matches\n", done.stdout)
        self.assertEnded([client])

    def test_ones_own_connection_comes_last(self):
        own = self.client(ssh.Shell, "root", "10.20.0.4")
        self.client(ssh.Sftp, "root", "10.20.0.3")  # takes the whole grace period
        rows = self._settled(lambda items: len(items) == 3, (), "list")
        pid = next(row["pid"] for row in rows if row["from"] == "10.20.0.4")
        slow = next(row["pid"] for row in rows if row["type"] == "SFTP")
        own.send(f"{listing.program()} kick --yes {pid} {slow}")
        own.expect("is your own connection")
        waiting.until("the own connection to end", own.has_ended)
        self.assertFalse(processes.runs(slow))

    def test_a_client_of_nfs_stays_and_the_reason_is_given(self):
        self.client(Nfs, "10.20.0.5")
        row = Row("", "10.20.0.5", "NFS", "NFS")
        self.assertList([row])
        done = listing.run("kick", "--yes", "--from", "10.20.0.5")
        self.assertEqual(1, done.returncode, done.stdout)
        self.assertIn("cannot be ended", done.stdout)
        self.assertList([row])


class KickOnProftpdTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Proftpd())

    def test_its_sessions_end(self):
        client = self.client(Ftp, "alice", "10.20.0.2")
        self.assertList([Row("alice", "10.20.0.2", "FTP", "/home/alice")])
        done = listing.run("kick", "--yes", "--user", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("the client to be disconnected", client.has_ended)


if __name__ == "__main__":
    main()
