"""Logins at the machine itself, made by the real login program."""

from clients import ssh
from clients.console import Console
from daemons.openssh import OpenSsh
from listing import Row
from service_test import ServiceTest, add_users, main


def setUpModule():
    add_users("alice", "bob")
    ssh.allow("bob")


class ConsoleTest(ServiceTest):

    def test_a_login_is_one_row_without_an_address(self):
        console = self.client(Console, "alice")
        self.assertList([Row("alice", "", "LOGIN", console.terminal())])

    def test_a_login_that_ended_is_not_listed(self):
        ended = Console("alice")
        ended.send("exit")
        ended.process.wait(20)
        ended.close()
        console = self.client(Console, "bob")
        self.assertList([Row("bob", "", "LOGIN", console.terminal())])

    def test_terminals_of_ssh_are_no_logins(self):
        self.server(OpenSsh())
        console = self.client(Console, "alice")
        shell = self.client(ssh.Shell, "bob", "10.20.0.2")
        self.assertList([Row("alice", "", "LOGIN", console.terminal()),
                         Row("bob", "10.20.0.2", "SSH", shell.terminal())])


if __name__ == "__main__":
    main()
