"""How often one client may call, and try passwords, through each packaged web server."""

import concurrent.futures
import time

import host_test
from host_test import BehindWebServer, HostTest
import namespace
import waiting
from daemons_of_host import Apache, Lighttpd, Nginx, TLS_PORT
from http_client import Client

SIDE_BY_SIDE = 16  # as many as the page ends connections at once


def browser(address):
    """A browser at this address."""
    return Client(address, TLS_PORT, tls=True)


def own_browser(address):
    """A browser at an address that this server gets for it."""
    namespace.add_client_address_v6(address)
    return browser(address)


def statuses(count, at_once, call):
    """What `count` calls were answered."""
    with concurrent.futures.ThreadPoolExecutor(at_once) as pool:
        return [answer.status for answer in pool.map(lambda _: call(), range(count))]


class Limited(BehindWebServer):
    """Mixed into the test case of each server. Each test has a client of its own, whose calls none other has used up."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.patient = browser("10.20.0.5")
        cls.try_until_refused()
        cls.refused_at = time.monotonic()

    @classmethod
    def try_until_refused(cls):
        waiting.until("a refusal", lambda: cls.patient.post("/api/login", {}).status == 503)

    def test_passwords_cannot_be_tried_without_end(self):
        guesser = browser("10.20.0.3")
        began = time.monotonic()
        tried = [guesser.post("/api/login", {}).status for _ in range(14)]
        self.assertEqual({400, 503}, set(tried))
        self.assertEqual([400] * 6, tried[:6])
        self.assertLessEqual(tried.count(400), 6 + (time.monotonic() - began) / 5 + 1)
        self.assertEqual(401, guesser.get("/api/whoami").status, "its other calls go on")
        self.assertEqual(200, browser("10.20.0.4").log_in("bob", namespace.PASSWORD).status, "others log in")

    def is_refused_with(self, first, second):
        """Whether the address `second` is refused as soon as `first` is."""
        tried = []
        while len(tried) < 50 and 503 not in tried:
            tried.append(own_browser(first).post("/api/login", {}).status)
        self.assertEqual({400, 503}, set(tried))
        return own_browser(second).post("/api/login", {}).status == 503

    def test_the_addresses_of_an_ipv6_network_are_one_client(self):
        # Each network with two addresses whose "::" stands for other groups.
        for first, second in (("fd20:0:0:5::1", "fd20::5:1:2:3:4"), ("fd20::9", "fd20::1:2:3:4"),
                              ("fd20:1::1", "fd20:1:0:0:1::"), ("fd20:1:2::1", "fd20:1:2:0:1:2:3:4"),
                              ("fd20:1:2:3::1", "fd20:1:2:3:4:5:6:7")):
            # Every few seconds another try is allowed.
            self.assertTrue(any(self.is_refused_with(first, second) for _ in range(3)), second)
        self.assertEqual(400, own_browser("fd20:1:2:4::1").post("/api/login", {}).status, "another network")

    def test_calls_cannot_be_made_without_end(self):
        flooder = browser("10.20.0.6")
        began = time.monotonic()
        answered = statuses(300, 8, lambda: flooder.get("/api/whoami"))
        most = 65 + 20 * (time.monotonic() - began + 1)
        if most >= 300:
            self.skipTest("300 calls took so long that none had to be refused: the machine is too busy")
        self.assertEqual({401, 503}, set(answered))
        self.assertTrue(64 <= answered.count(401) <= most, f"{answered.count(401)} of at most {most:.0f}")
        self.assertEqual(401, browser("10.20.0.7").get("/api/whoami").status, "others call")

    def test_an_honest_page_is_never_refused(self):
        page = browser("10.20.0.8")
        self.assertEqual(200, page.log_in("bob", namespace.PASSWORD).status)
        kick = {"http_conn": [{"who": "zoe", "from": "10.9.9.9"}]}
        self.assertEqual([200] * SIDE_BY_SIDE,
                         statuses(SIDE_BY_SIDE, SIDE_BY_SIDE, lambda: page.post("kick_connection", kick)))
        self.assertEqual([200] * 10, statuses(10, 1, lambda: page.get("list")))
        self.assertEqual(200, page.get("/").status)

    def test_calls_from_other_sites_are_refused_and_not_counted(self):
        visitor = own_browser("fd20:2::1")
        for site in ("cross-site", "same-site"):
            for method, path in (("POST", "/api/login"), ("GET", "/api/whoami")):
                answered = statuses(100, 8, lambda: visitor.call(method, path, headers={"Sec-Fetch-Site": site}))
                self.assertEqual({403}, set(answered), (site, path))
        self.assertEqual([400] * 6, [visitor.post("/api/login", {}).status for _ in range(6)])
        for site in ("same-origin", "none"):
            self.assertEqual(401, visitor.get("/api/whoami", headers={"Sec-Fetch-Site": site}).status, site)
        link = {"Sec-Fetch-Site": "cross-site", "Sec-Fetch-Mode": "navigate"}
        self.assertEqual(200, visitor.get("/", headers=link).status, "a link to the page")

    def test_whoever_waits_may_try_again(self):
        time.sleep(max(0, self.refused_at + 6 - time.monotonic()))
        self.assertEqual(400, self.patient.post("/api/login", {}).status)
        self.try_until_refused()


class ByLighttpd(Limited, HostTest):
    web_server = Lighttpd


class ByNginx(Limited, HostTest):
    web_server = Nginx


class ByApache(Limited, HostTest):
    web_server = Apache


if __name__ == "__main__":
    host_test.main()
