"""Telnet on a real telnetd."""

from clients.telnet import LoginPrompt, Telnet
from daemons.telnetd import Telnetd
from listing import Row
from service_test import ServiceTest, add_users, main


def setUpModule():
    add_users("alice", "bob")


class TelnetdTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(Telnetd())

    def test_each_session_is_one_row_and_no_console_login(self):
        first = self.client(Telnet, "bob", "10.20.0.4")
        second = self.client(Telnet, "alice", "10.20.0.5")
        self.assertList([Row("bob", "10.20.0.4", "TELNET", first.terminal()),
                         Row("alice", "10.20.0.5", "TELNET", second.terminal())])

    def test_a_session_in_which_another_user_was_taken_on_is_still_the_first_users(self):
        client = self.client(Telnet, "bob", "10.20.0.4")
        terminal = client.terminal()
        client.become("alice")
        self.assertList([Row("bob", "10.20.0.4", "TELNET", terminal)])

    def test_logins_in_progress_are_not_listed(self):
        self.client(LoginPrompt, "10.20.0.4")
        asked = self.client(LoginPrompt, "10.20.0.5")
        asked.send("alice")
        asked.expect("Password: ")
        through = self.client(Telnet, "bob", "10.20.0.6")
        self.assertList([Row("bob", "10.20.0.6", "TELNET", through.terminal())])

    def test_sigterm_to_the_rows_process_ends_the_session(self):
        client = self.client(Telnet, "bob", "10.20.0.4")
        found = self.assertList([Row("bob", "10.20.0.4", "TELNET", client.terminal())])
        self.assertEndsAtOnce(found[0], 23)
        self.assertEmptiesAfterwards()


if __name__ == "__main__":
    main()
