"""SSH and SFTP on a real sshd."""

import os
import signal
import threading
from concurrent import futures

import deep_folder
import listing
import namespace
import processes
import waiting
from clients import forging, hoarding, refusing, ssh, stalling
from daemons.openssh import EXTERNAL, OpenSsh, OpenSshOfUser, OpenSshOnUnixSocket, OpenSshWithoutEnvironment
from listing import Row
from service_test import ServiceTest, add_users, main

INTERNAL_PORT = 22
EXTERNAL_PORT = 2222
USERS_PORT = 2223
CONTROL = "/run/test-control"
# How long a list may take that waits for a tool's limit; one that waits for longer waits for a user.
HANG_SECONDS = 60
SERVER_TITLES = ("sshd: alice@internal-sftp", "sshd: alice [priv]", "sshd-session: alice@pts/9", "sftp-server: x",
                 "vsftpd: 10.20.0.9/bob: IDLE", "proftpd: bob - localhost: IDLE", "pure-ftpd: bob", "smbd: x",
                 "telnetd: x", "login: x", "afpd: x", "inetd: x")
FORGED_TITLES = ("sshd: bob [priv]", "sshd: root [priv]", "sshd: bob@pts/9", "sshd: bob")
SERVER_NAMES = ("vsftpd", "smbd", "telnetd", "afpd", "proftpd", "pure-ftpd")


def setUpModule():
    add_users("alice", "bob")
    for name in ("alice", "bob", "root"):
        ssh.allow(name)


def kill_guards():
    """Ends the processes above those that serve alice."""
    guards = waiting.until("guards", lambda: processes.titled("alice [priv]"))
    for pid in guards:
        os.kill(pid, signal.SIGKILL)
    waiting.until("the guards to end", lambda: not any(map(processes.runs, guards)))


def end_all(titles):
    """Ends every process of these titles."""
    for title in titles:
        for pid in processes.titled(title):
            os.kill(pid, signal.SIGKILL)


class OpenSshTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(OpenSsh(INTERNAL_PORT))
        cls.server(OpenSsh(EXTERNAL_PORT, EXTERNAL))

    def pretender(self, name, title):
        self.client(ssh.Pretender, "alice", "10.20.0.2", name, title)
        waiting.until(f"{title} to run", lambda: any(processes.status(pid, "Name") == name
                                                     for pid in processes.titled(title)))

    def close_later(self, client):
        """So that a list that hangs comes back and fails the test."""
        timer = threading.Timer(HANG_SECONDS, client.close)
        timer.start()
        self.addCleanup(timer.cancel)
        return timer

    def test_a_shell_shows_its_terminal(self):
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal())])

    def test_a_command_without_a_terminal_is_listed(self):
        self.client(ssh.Command, "alice", "10.20.0.3")
        self.assertList([Row("alice", "10.20.0.3", "SSH", "no terminal")])

    def test_a_connection_that_only_forwards_is_listed(self):
        self.client(ssh.Forwarding, "alice", "10.20.0.3")
        self.assertList([Row("alice", "10.20.0.3", "SSH", "no terminal")])

    def test_internal_sftp_is_a_row_beside_that_of_its_connection(self):
        self.client(ssh.Sftp, "bob", "10.20.0.4")
        self.assertList([Row("bob", "10.20.0.4", "SSH", "SFTP"), Row("bob", "10.20.0.4", "SFTP", "/home/bob")])

    def test_internal_sftp_in_a_folder_too_deep_to_name_is_listed(self):
        add_users("carol")
        ssh.allow("carol")
        folder = deep_folder.make("/home", "carol")
        self.addCleanup(os.close, folder)
        self.client(ssh.Sftp, "carol", "10.20.0.4")
        os.rename("/home/carol", "moved", dst_dir_fd=folder)
        self.assertList([Row("carol", "10.20.0.4", "SFTP", deep_folder.SHOWN), Row("carol", "10.20.0.4", "SSH", "SFTP")])

    def test_the_external_sftp_server_is_an_ssh_row_that_says_so(self):
        self.client(ssh.Sftp, "bob", "10.20.0.4", EXTERNAL_PORT)
        self.assertList([Row("bob", "10.20.0.4", "SSH", "SFTP (sftp-server)")])

    def test_root_is_shown_as_admin(self):
        shell = self.client(ssh.Shell, "root", "10.20.0.5")
        self.client(ssh.Sftp, "root", "10.20.0.6")
        self.assertList([Row("admin", "10.20.0.5", "SSH", shell.terminal()),
                         Row("admin", "10.20.0.6", "SSH", "SFTP"), Row("admin", "10.20.0.6", "SFTP", "/root")])

    def test_a_shell_and_sftp_over_one_connection_are_two_rows(self):
        shell = self.client(ssh.Shell, "alice", "10.20.0.2", control=CONTROL)
        self.client(ssh.Sftp, "alice", "10.20.0.2", control=CONTROL)
        self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal()),
                         Row("alice", "10.20.0.2", "SFTP", "/home/alice")])

    def test_a_client_over_ipv6_shows_its_address(self):
        shell = self.client(ssh.Shell, "alice", "fd20::2")
        self.assertList([Row("alice", "fd20::2", "SSH", shell.terminal())])

    def test_logins_in_progress_are_not_listed(self):
        self.client(ssh.Banner, "10.20.0.2")
        self.client(ssh.PasswordPrompt, "alice", "10.20.0.3")
        self.client(ssh.PasswordPrompt, "nobody-known", "10.20.0.4")
        shell = self.client(ssh.Shell, "bob", "10.20.0.5")
        self.assertList([Row("bob", "10.20.0.5", "SSH", shell.terminal())])

    def test_a_users_own_programs_pass_for_nothing(self):
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        shell.pretend("sshd", "sshd: root@pts/9")
        shell.pretend("sshd", "sshd: bob@internal-sftp")
        shell.pretend("smbd", "/usr/sbin/smbd")
        shell.pretend("vsftpd", "vsftpd: 10.20.0.9/bob: IDLE")
        shell.pretend("telnetd", "telnetd")
        shell.pretend("sftp-server", "/usr/lib/openssh/sftp-server")
        self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal())])

    def test_a_program_that_passes_for_internal_sftp_hides_and_forges_nothing(self):
        self.pretender("sshd", "sshd: alice@internal-sftp")
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal")])

    def test_a_users_own_program_called_sftp_server_is_a_command_like_any_other(self):
        self.pretender("sftp-server", "/usr/lib/openssh/sftp-server")
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal")])

    def test_processes_that_keep_every_reader_waiting_keep_no_list_waiting(self):
        reason = stalling.install(namespace.run)
        if reason:
            self.skipTest(reason)
        client = self.client(ssh.Stalling, "alice", "10.20.0.2", *SERVER_TITLES)
        freed = self.close_later(client)
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal")])
        self.assertEqual(0, listing.run("kick", "--yes", "--user", "alice").returncode)
        self.assertTrue(freed.is_alive(), "a list or a kick waited for the user's processes")
        waiting.until("ssh to end", client.has_ended)

    def test_neither_do_those_that_take_over_the_addresses_of_sshds_program(self):
        reason = stalling.install(namespace.run)
        if reason:
            self.skipTest(reason)
        forging.install()
        master = self.client(ssh.Forwarding, "alice", "10.20.0.2", control=CONTROL)
        image = ssh.image_of_sshd("alice", "10.20.0.2", CONTROL)
        client = self.client(ssh.Stalling, "alice", "10.20.0.2", *FORGED_TITLES, control=CONTROL, image=image)
        self.client(ssh.Sftp, "bob", "10.20.0.3")
        freed = self.close_later(client)
        bobs = [Row("bob", "10.20.0.3", "SSH", "SFTP"), Row("bob", "10.20.0.3", "SFTP", "/home/bob")]
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal"), *bobs])
        self.assertIn(" keeps readers of its title waiting; end it", listing.run("list").stderr)
        done = listing.run("kick", "--yes", "--user", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertTrue(freed.is_alive(), "a list or a kick waited for the user's processes")
        waiting.until("the connection to end", master.has_ended)
        self.assertList(bobs)

    def test_nor_do_these_make_rows_of_others(self):
        forging.install()
        self.client(ssh.Forwarding, "alice", "10.20.0.2", control=CONTROL)
        image = ssh.image_of_sshd("alice", "10.20.0.2", CONTROL)
        for title in FORGED_TITLES:
            self.client(ssh.Forging, "alice", "10.20.0.2", CONTROL, image, "10.20.0.7", title)
        self.client(ssh.Forging, "alice", "10.20.0.2", CONTROL, image, "10.20.0.8", "sshd: bob [priv]", "sshd: bob@pts/9")
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal")])

    def test_users_programs_that_root_may_not_look_at_leave_the_list_whole(self):
        reason = refusing.install(namespace.run)
        if reason:
            self.skipTest(reason)
        names = ("sshd", *SERVER_NAMES)
        titles = [f"/tmp/{name}" for name in names]
        self.addCleanup(end_all, titles)
        self.client(ssh.Refusing, "alice", "10.20.0.2", *names)
        waiting.until("the programs to run", lambda: all(map(processes.titled, titles)))
        self.assertRaises(PermissionError, os.stat, f"/proc/{processes.titled(titles[0])[0]}/exe")
        bobs = self.client(ssh.Command, "bob", "10.20.0.3")
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal"), Row("bob", "10.20.0.3", "SSH", "no terminal")])
        done = listing.run("kick", "--yes", "--user", "bob")
        self.assertNotIn("may be missing", done.stderr)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("ssh to end", bobs.has_ended)

    def test_users_processes_full_of_descriptors_keep_no_list_waiting(self):
        hoarding.install()
        client = self.client(ssh.Hoarding, "alice", "10.20.0.2", *SERVER_NAMES)
        freed = self.close_later(client)
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal")])
        self.assertTrue(freed.is_alive(), "a list looked at the descriptors of the user's processes")

    def test_short_sftp_batches_never_take_their_connection_off_the_list(self):
        self.client(ssh.Forwarding, "alice", "10.20.0.2", control=CONTROL)
        batches, stop = [], threading.Event()

        def run_batches():
            while not stop.is_set():
                ssh.sftp_batch("alice", "10.20.0.2", CONTROL)
                batches.append(1)

        with futures.ThreadPoolExecutor() as pool:
            running = pool.submit(run_batches)
            try:
                waiting.until("the first batch to end", lambda: batches)
                lists = [listing.rows() for _ in range(60)]
            finally:
                stop.set()
        running.result()  # fails where a batch did
        without = [rows for rows in lists if [row[:3] for row in rows].count(("alice", "10.20.0.2", "SSH")) != 1]
        self.assertEqual([], without)

    def test_a_kick_of_the_user_ends_a_master_with_sftp_over_it(self):
        master = self.client(ssh.Forwarding, "alice", "10.20.0.2", control=CONTROL)
        self.client(ssh.Sftp, "alice", "10.20.0.2", control=CONTROL)
        self.assertList([Row("alice", "10.20.0.2", "SSH", "SFTP"), Row("alice", "10.20.0.2", "SFTP", "/home/alice")])
        self.assertEqual(0, listing.run("kick", "--yes", "--user", "alice").returncode)
        waiting.until("the master to end", master.has_ended)
        self.assertList([])

    def test_sftp_can_be_ended_alone_and_leaves_its_connection(self):
        master = self.client(ssh.Forwarding, "alice", "10.20.0.2", control=CONTROL)
        sftp = self.client(ssh.Sftp, "alice", "10.20.0.2", control=CONTROL)
        done = listing.run("kick", "--yes", "--service", "sftp")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("sftp to end", sftp.has_ended)
        self.assertFalse(master.has_ended())
        self.assertList([Row("alice", "10.20.0.2", "SSH", "no terminal")])

    def test_sigterm_to_the_rows_process_ends_a_shell(self):
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        found = self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal())])
        self.assertEndsAtOnce(found[0], INTERNAL_PORT)
        self.assertEmptiesAfterwards()

    def test_sigterm_to_the_rows_process_ends_roots_shell(self):
        shell = self.client(ssh.Shell, "root", "10.20.0.2")
        found = self.assertList([Row("admin", "10.20.0.2", "SSH", shell.terminal())])
        self.assertEndsAtOnce(found[0], INTERNAL_PORT)
        self.assertEmptiesAfterwards()

    def test_sigterm_to_the_rows_process_ends_internal_sftp(self):
        self.client(ssh.Sftp, "bob", "10.20.0.4")
        found = self.assertList([Row("bob", "10.20.0.4", "SSH", "SFTP"), Row("bob", "10.20.0.4", "SFTP", "/home/bob")])
        self.assertEndsAtOnce(next(item for item in found if item["type"] == "SFTP"), INTERNAL_PORT)
        self.assertEmptiesAfterwards()

    def test_sigterm_to_the_rows_process_ends_external_sftp(self):
        self.client(ssh.Sftp, "bob", "10.20.0.4", EXTERNAL_PORT)
        found = self.assertList([Row("bob", "10.20.0.4", "SSH", "SFTP (sftp-server)")])
        self.assertEndsAtOnce(found[0], EXTERNAL_PORT)
        self.assertEmptiesAfterwards()

    def test_sessions_whose_guards_were_killed_are_listed_and_end_with_a_kick(self):
        clients, pids = self.unguarded()
        self.assertEqual(0, listing.run("kick", "--yes", "--user", "alice").returncode)
        self.assertEnded(clients, pids)

    def test_sessions_whose_guards_were_killed_end_where_their_user_is_disabled(self):
        clients, pids = self.unguarded()
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", "alice")
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertEnded(clients, pids)

    def test_what_is_left_of_a_login_in_progress_is_not_listed(self):
        self.client(ssh.PasswordPrompt, "alice", "10.20.0.2")
        kill_guards()
        self.assertEqual([], listing.rows())
        self.assertEqual(1, processes.established(INTERNAL_PORT))

    def unguarded(self):
        """Sessions of three kinds, of which only the processes of their user are left, and these processes' ids."""
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        clients = [shell, self.client(ssh.Forwarding, "alice", "10.20.0.3"),
                   self.client(ssh.Sftp, "alice", "10.20.0.4")]
        before = self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal()),
                                  Row("alice", "10.20.0.3", "SSH", "no terminal"),
                                  Row("alice", "10.20.0.4", "SSH", "SFTP"),
                                  Row("alice", "10.20.0.4", "SFTP", "/home/alice")])
        kill_guards()
        found = self.assertList([Row("alice", address, "SSH", "terminal not known")
                                 for address in ("10.20.0.2", "10.20.0.3", "10.20.0.4")])
        self.assertEqual({item["pid"] for item in before if item["type"] == "SSH"}, {item["pid"] for item in found})
        self.assertFalse(any(client.has_ended() for client in clients))
        return clients, [item["pid"] for item in before]

    def assertEnded(self, clients, pids):
        for client in clients:
            waiting.until("a client to end", client.has_ended)
        waiting.until("their processes to end", lambda: not any(map(processes.runs, pids)))
        self.assertEmptiesAfterwards()


class HeldLoginTest(ServiceTest):
    """A user's slow file holds a login between the password and the session."""

    ROW = Row("alice", "10.20.0.2", "SSH", "logging in")

    @classmethod
    def setUpClass(cls):
        cls.server(OpenSsh())

    def assertRefused(self, client):
        waiting.until("ssh to end", client.has_ended)
        self.assertFalse(client.has_begun())
        self.assertEmptiesAfterwards()

    def test_it_is_listed_until_its_session_begins(self):
        client = self.client(ssh.Held, "alice", "10.20.0.2")
        before = self.assertList([self.ROW])
        client.release()
        waiting.until("the session", client.has_begun)
        after = self.assertList([self.ROW._replace(descr="no terminal")])
        self.assertEqual(before[0]["time"], after[0]["time"])

    def test_sigterm_to_the_rows_process_ends_it(self):
        client = self.client(ssh.Held, "alice", "10.20.0.2")
        self.assertEndsAtOnce(self.assertList([self.ROW])[0], INTERNAL_PORT)
        self.assertRefused(client)

    def test_a_kick_ends_it(self):
        client = self.client(ssh.Held, "alice", "10.20.0.2")
        self.assertList([self.ROW])
        self.assertEqual(0, listing.run("kick", "--yes", "--user", "alice").returncode)
        self.assertRefused(client)

    def test_it_ends_where_its_user_is_disabled(self):
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", "alice")
        client = self.client(ssh.Held, "alice", "10.20.0.2")
        self.assertList([self.ROW])
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        self.assertRefused(client)

    def test_a_login_in_progress_whose_helper_has_ended_is_not_listed(self):
        self.client(ssh.PasswordPrompt, "alice", "10.20.0.3")
        guard, = waiting.until("the guard", lambda: processes.titled("alice [priv]"))
        self.addCleanup(os.kill, guard, signal.SIGKILL)
        os.kill(guard, signal.SIGSTOP)  # so that it stays, as while PAM delays its answer to a wrong password
        helper, = processes.titled("alice [net]")
        os.kill(helper, signal.SIGKILL)
        waiting.until("the helper to end", lambda: not processes.runs(helper))
        self.assertEqual([], listing.rows())
        self.assertEqual(1, processes.established(INTERNAL_PORT))


class UnixSocketTest(ServiceTest):
    """A client on this machine, or a virtual machine's host, has no address."""

    @classmethod
    def setUpClass(cls):
        cls.server(OpenSshOnUnixSocket())

    def test_its_connections_end_with_a_kick(self):
        client = self.client(ssh.OverUnixSocket, "alice", OpenSshOnUnixSocket.path)
        self.assertList([Row("alice", "unknown", "SSH", "no terminal")])
        done = listing.run("kick", "--yes", "--user", "alice", "--from", "unknown")
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("ssh to end", client.has_ended)
        self.assertEmptiesAfterwards()


class NoRoomForTitlesTest(ServiceTest):
    """sshd's titles stand where its arguments and environment were."""

    # Debian 13's sshd-session has more room than Debian 12's sshd, by the length of its path.
    LONG_NAME = "bartholomew-the-long-winded"

    @classmethod
    def setUpClass(cls):
        add_users(cls.LONG_NAME)
        ssh.allow(cls.LONG_NAME)
        cls.server(OpenSshWithoutEnvironment())

    def test_its_sessions_are_those_of_their_accounts_and_end_where_these_are_disabled(self):
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", self.LONG_NAME)
        self.client(ssh.PasswordPrompt, self.LONG_NAME, "10.20.0.8")
        shell = self.client(ssh.Shell, self.LONG_NAME, "10.20.0.2")
        servers = processes.named("sshd") + processes.named("sshd-session")
        self.assertNotIn(self.LONG_NAME, "".join(map(processes.title, servers)))
        clients = [shell, self.client(ssh.Command, self.LONG_NAME, "10.20.0.3"),
                   self.client(ssh.Forwarding, self.LONG_NAME, "10.20.0.4"), self.client(ssh.Sftp, self.LONG_NAME, "10.20.0.5")]
        root = self.client(ssh.Command, "root", "10.20.0.6")
        addresses = [f"10.20.0.{number}" for number in range(2, 6)]
        self.assertList([Row("admin", "10.20.0.6", "SSH", "no terminal")]
                        + [Row(self.LONG_NAME, address, "SSH", "no terminal") for address in addresses])
        done = listing.run("disable", "--yes", self.LONG_NAME)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        for client in clients:
            waiting.until("a client to end", client.has_ended)
        self.assertFalse(root.has_ended())


class EscapedTitlesTest(ServiceTest):
    """sshd's titles escape a backslash and what is no ASCII."""

    NAMES = ("jürgen", "EXAMPLE\\dora")

    @classmethod
    def setUpClass(cls):
        add_users(*cls.NAMES)
        for name in cls.NAMES:
            ssh.allow(name)
        cls.server(OpenSsh())

    def test_their_users_have_their_own_names(self):
        for name in self.NAMES:
            client = self.client(ssh.Shell, name, "10.20.0.2")
            self.assertList([Row(name, "10.20.0.2", "SSH", client.terminal())])
            done = listing.run("kick", "--yes", "--user", name)
            self.assertEqual(0, done.returncode, done.stdout + done.stderr)
            waiting.until(f"{name} to be disconnected", client.has_ended)

    def test_disabling_their_accounts_ends_their_connections(self):
        name = self.NAMES[0]
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", name)
        client = self.client(ssh.Shell, name, "10.20.0.2")
        done = listing.run("disable", "--yes", name)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)
        waiting.until("its user to be disconnected", client.has_ended)


class ServerOfAUserTest(ServiceTest):
    """A user can run the very program of root's server, and kill its processes."""

    def test_what_is_left_of_its_sessions_is_none_of_this_server(self):
        self.server(OpenSshOfUser("alice", USERS_PORT))
        client = self.client(ssh.Shell, "alice", "10.20.0.2", USERS_PORT)
        self.assertEqual([], listing.rows())
        kill_guards()
        self.assertEqual([], listing.rows())
        self.assertFalse(client.has_ended())


if __name__ == "__main__":
    main()
