"""Undoing the disabling of accounts over HTTP."""

import host_test
from daemons_of_host import Currentconnd, PlainLighttpd
from host_test import HostTest
import namespace
from http_client import Client

PASSWORD = namespace.PASSWORD


class Enable(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.server(Currentconnd())
        cls.server(PlainLighttpd())

    def setUp(self):
        self.bob = Client("10.20.0.8")
        self.assertEqual(200, self.bob.log_in("bob", PASSWORD).status)

    def test_what_the_page_disables_it_can_enable(self):
        before = namespace.read("/etc/shadow")
        self.assertEqual(200, self.bob.post("disable_user", {"users": ["alice", "carol"]}).status)
        listed = self.bob.get("/api/disabled").data
        self.assertEqual(2, listed["total"])
        alice = listed["items"][0]
        del alice["time"]
        self.assertEqual({"user": "alice", "by": "bob", "from": "10.20.0.8", "expiry_before": None,
                          "state": "disabled"}, alice)
        answer = self.bob.post("/api/enable", {"users": ["alice", "carol"]})
        self.assertEqual({"accounts": [{"user": name, "complete": True, "notes": []} for name in ("alice", "carol")]},
                         answer.data)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertEqual({"total": 0, "items": []}, self.bob.get("/api/disabled").data)

    def test_an_account_that_was_not_disabled_is_a_conflict(self):
        answer = self.bob.post("/api/enable", {"users": ["alice"]})
        self.assertEqual((409, 409), (answer.status, answer.code))
        self.assertEqual(['"alice" was not disabled here, so there is nothing to undo'], answer.json["causes"])

    def test_a_request_that_names_nobody_is_malformed(self):
        for body in ({}, {"users": []}, {"users": "alice"}, {"users": [""]}, {"users": [1]},
                     {"users": ["alice"], "more": 1}):
            self.assertEqual(400, self.bob.post("/api/enable", body).status, body)

    def test_a_page_of_another_origin_enables_nobody(self):
        answer = self.bob.call("POST", "/api/enable", {"users": ["alice"]}, {"Origin": "http://elsewhere.example"})
        self.assertEqual((403, 403), (answer.status, answer.code))

    def test_users_may_do_neither(self):
        carol = Client("10.20.0.4")
        self.assertEqual(200, carol.log_in("carol", PASSWORD).status)
        self.assertEqual((403, 105), (lambda a: (a.status, a.code))(carol.get("/api/disabled")))
        self.assertEqual(403, carol.post("/api/enable", {"users": ["alice"]}).status)


if __name__ == "__main__":
    host_test.main()
