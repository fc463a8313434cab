"""SSH and SFTP on a real sshd."""

from clients import ssh
from daemons.openssh import EXTERNAL, OpenSsh
from listing import Row
from service_test import ServiceTest, add_users, main

INTERNAL_PORT = 22
EXTERNAL_PORT = 2222


def setUpModule():
    add_users("alice", "bob")
    for name in ("alice", "bob", "root"):
        ssh.allow(name)


class OpenSshTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(OpenSsh(INTERNAL_PORT))
        cls.server(OpenSsh(EXTERNAL_PORT, EXTERNAL))

    def test_a_shell_shows_its_terminal(self):
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal())])

    def test_a_command_without_a_terminal_is_listed(self):
        self.client(ssh.Command, "alice", "10.20.0.3")
        self.assertList([Row("alice", "10.20.0.3", "SSH", "no terminal")])

    def test_a_connection_that_only_forwards_is_listed(self):
        self.client(ssh.Forwarding, "alice", "10.20.0.3")
        self.assertList([Row("alice", "10.20.0.3", "SSH", "no terminal")])

    def test_internal_sftp_is_one_row_of_its_own_kind(self):
        self.client(ssh.Sftp, "bob", "10.20.0.4")
        self.assertList([Row("bob", "10.20.0.4", "SFTP", "/home/bob")])

    def test_the_external_sftp_server_is_an_ssh_row_that_says_so(self):
        self.client(ssh.Sftp, "bob", "10.20.0.4", EXTERNAL_PORT)
        self.assertList([Row("bob", "10.20.0.4", "SSH", "SFTP (sftp-server)")])

    def test_root_is_shown_as_admin(self):
        shell = self.client(ssh.Shell, "root", "10.20.0.5")
        self.client(ssh.Sftp, "root", "10.20.0.6")
        self.assertList([Row("admin", "10.20.0.5", "SSH", shell.terminal()),
                         Row("admin", "10.20.0.6", "SFTP", "/root")])

    def test_a_shell_and_sftp_over_one_connection_are_two_rows(self):
        shell = self.client(ssh.Shell, "alice", "10.20.0.2", control="/run/test-control")
        self.client(ssh.Sftp, "alice", "10.20.0.2", control="/run/test-control")
        self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal()),
                         Row("alice", "10.20.0.2", "SFTP", "/home/alice")])

    def test_a_client_over_ipv6_shows_its_address(self):
        shell = self.client(ssh.Shell, "alice", "fd20::2")
        self.assertList([Row("alice", "fd20::2", "SSH", shell.terminal())])

    def test_logins_in_progress_are_not_listed(self):
        self.client(ssh.Banner, "10.20.0.2")
        self.client(ssh.PasswordPrompt, "alice", "10.20.0.3")
        self.client(ssh.PasswordPrompt, "nobody-known", "10.20.0.4")
        self.client(ssh.Sftp, "bob", "10.20.0.5")
        self.assertList([Row("bob", "10.20.0.5", "SFTP", "/home/bob")])

    def test_a_users_own_programs_pass_for_nothing(self):
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        shell.pretend("sshd", "sshd: root@pts/9")
        shell.pretend("sshd", "sshd: bob@internal-sftp")
        shell.pretend("smbd", "/usr/sbin/smbd")
        shell.pretend("vsftpd", "vsftpd: 10.20.0.9/bob: IDLE")
        shell.pretend("telnetd", "telnetd")
        self.assertList([Row("alice", "10.20.0.2", "SSH", shell.terminal())])

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
        found = self.assertList([Row("bob", "10.20.0.4", "SFTP", "/home/bob")])
        self.assertEndsAtOnce(found[0], INTERNAL_PORT)
        self.assertEmptiesAfterwards()

    def test_sigterm_to_the_rows_process_ends_external_sftp(self):
        self.client(ssh.Sftp, "bob", "10.20.0.4", EXTERNAL_PORT)
        found = self.assertList([Row("bob", "10.20.0.4", "SSH", "SFTP (sftp-server)")])
        self.assertEndsAtOnce(found[0], EXTERNAL_PORT)
        self.assertEmptiesAfterwards()


if __name__ == "__main__":
    main()
