"""The packaged block "Behind a proxy" of each web server: whose word counts for the client's address."""

import host_test
from host_test import HostTest
import namespace
from daemons_of_host import Apache, Currentconnd, Lighttpd, Nginx, TLS_PORT
from http_client import Client

PROXY = "10.20.0.7"
BROWSER = "10.20.0.9"  # known from the header line alone
FORGED = "6.6.6.6"


def via(address, forwarded, **more):
    """Header lines of a request that `address` hands on, and a browser there to send it."""
    return Client(address, TLS_PORT, tls=True), {"X-Forwarded-For": forwarded, **more}


class BehindProxy:
    """Mixed into the test case of each server."""

    web_server = None

    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.server(Currentconnd())
        cls.server(cls.web_server(PROXY))

    def logged_in(self, address, forwarded, **more):
        """A login through `address`: the client, the header lines, and the answer."""
        client, headers = via(address, forwarded, **more)
        answer = client.call("POST", "/api/login", {"name": "bob", "password": namespace.PASSWORD}, headers)
        self.assertEqual(200, answer.status, answer.body)
        self.addCleanup(client.post, "/api/logout")
        return client, headers, answer

    def assertSeenAt(self, expected, address, forwarded):
        client, headers, answer = self.logged_in(address, forwarded)
        self.assertEqual(expected, answer.data["address"])
        self.assertEqual(expected, client.get("/api/whoami", headers=headers).data["address"])
        rows = [row for row in client.get("list", headers=headers).data["items"] if row["type"] == "HTTP/HTTPS"]
        self.assertEqual([("bob", expected)], [(row["who"], row["from"]) for row in rows])

    def test_the_named_proxy_tells_the_clients_address(self):
        self.assertSeenAt(BROWSER, PROXY, BROWSER)

    def test_from_anybody_else_the_header_is_ignored(self):
        self.assertSeenAt("10.20.0.6", "10.20.0.6", FORGED)

    def test_what_the_client_forged_does_not_count(self):
        self.assertSeenAt(BROWSER, PROXY, f"{FORGED}, {BROWSER}")

    def test_a_proxy_that_the_client_invents_does_not_count(self):
        self.assertSeenAt(BROWSER, PROXY, f"{FORGED}, {PROXY}, {BROWSER}")

    def test_a_second_hop_over_a_named_proxy_is_looked_through(self):
        self.assertSeenAt(BROWSER, PROXY, f"{BROWSER}, {PROXY}")

    def test_logins_are_counted_by_client(self):
        def tried(address):
            client, headers = via(PROXY, address)
            return [client.call("POST", "/api/login", {}, headers).status for _ in range(14)]
        self.assertEqual({400, 503}, set(tried("10.20.0.10")))
        self.assertEqual([400] * 6, tried("10.20.0.11")[:6])

    def test_nobody_else_says_that_it_is_not_encrypted(self):
        for address in ("10.20.0.6", "10.20.0.8"):
            _, _, answer = self.logged_in(address, FORGED, **{"X-Forwarded-Proto": "http"})
            self.assertRegex(answer.headers["Set-Cookie"], "^__Host-.*; Secure$")

    def test_a_page_behind_the_proxy_may_call(self):
        named = {"X-Forwarded-Proto": "https", "Host": "nas.example", "Origin": "https://nas.example"}
        _, _, answer = self.logged_in(PROXY, BROWSER, **named)
        self.assertRegex(answer.headers["Set-Cookie"], "^__Host-.*; Secure$")
        client, headers = via(PROXY, BROWSER, **named | {"Origin": "http://nas.example"})
        self.assertEqual(403, client.call("POST", "/api/login", {}, headers).status)


class BehindProxyByLighttpd(BehindProxy, HostTest):
    web_server = Lighttpd


class BehindProxyByNginx(BehindProxy, HostTest):
    web_server = Nginx


class BehindProxyByApache(BehindProxy, HostTest):
    web_server = Apache


if __name__ == "__main__":
    host_test.main()
