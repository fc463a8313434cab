"""AFP with a stand-in for netatalk's afpd."""

from clients.afp import Afp, Connected
from daemons.afpd import AfpdStandIn
from listing import Row
from service_test import ServiceTest, add_users, main


def setUpModule():
    add_users("alice", "bob")


class AfpdTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        cls.server(AfpdStandIn())

    def test_each_session_is_one_row(self):
        self.client(Afp, "alice", "10.20.0.2")
        self.client(Afp, "bob", "10.20.0.3")
        self.assertList([Row("alice", "10.20.0.2", "AFP", ""), Row("bob", "10.20.0.3", "AFP", "")])

    def test_logins_in_progress_are_not_listed(self):
        self.client(Connected, "10.20.0.4")
        self.client(Afp, "bob", "10.20.0.3")
        self.assertList([Row("bob", "10.20.0.3", "AFP", "")])

    def test_sigterm_to_the_rows_process_ends_the_session(self):
        self.client(Afp, "alice", "10.20.0.2")
        found = self.assertList([Row("alice", "10.20.0.2", "AFP", "")])
        self.assertEndsAtOnce(found[0], 548)
        self.assertEmptiesAfterwards()


if __name__ == "__main__":
    main()
