"""Clients that take their time, and clients by the hundred, in front of the packaged web servers."""

import concurrent.futures
import contextlib
import socket
import ssl
import subprocess
import unittest

import host_test
from host_test import HostTest
import namespace
import waiting
from daemons_of_host import Apache, Currentconnd, Lighttpd, Nginx, PACKAGING, PLAIN_PORT, PlainLighttpd, TLS_PORT
from http_client import Client

PORTS = {"lighttpd": TLS_PORT, "nginx": 9443, "apache": 10443}
REQUEST = b"GET /api/whoami HTTP/1.1\r\nHost: files\r\nConnection: close\r\n"
FIREWALL = f"{PACKAGING}/nftables/currentconn.nft"
MOST_OF_ONE_ADDRESS = 64
HANG_SECONDS = 100


def connected(address, port):
    """A connection over TLS."""
    context = ssl._create_unverified_context()
    return context.wrap_socket(socket.create_connection((address, port), timeout=HANG_SECONDS))


def slowly(port, sent, trickled):
    """Sends the second part a byte a second. What came back, empty where nothing did; None where the server waits on."""
    with connected("10.20.0.3", port) as connection:
        try:
            connection.sendall(sent)
            answer = answer_within(1, connection)
            for byte in trickled:
                if answer is not None:
                    break
                connection.sendall(bytes([byte]))
                answer = answer_within(1, connection)
            if answer is None:
                answer = answer_within(HANG_SECONDS, connection)
        except OSError:
            answer = b""
        return answer


def answer_within(seconds, connection):
    """What the server sent, empty where it closed the connection; None where it did neither in this time."""
    connection.settimeout(seconds)
    try:
        return connection.recv(65536)
    except TimeoutError:
        return None


def status_of(answer):
    """The status line's number; None where nothing was answered."""
    return int(answer.split()[1]) if answer else None


class Slow(HostTest):
    """The slow clients of all tests begin together."""

    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.server(Currentconnd())
        cls.server(Lighttpd())
        cls.server(Nginx(port=PORTS["nginx"]))
        cls.server(Apache(port=PORTS["apache"]))
        pool = concurrent.futures.ThreadPoolExecutor(100)
        cls.addClassCleanup(pool.shutdown)
        cls.with_an_end = {name: pool.submit(slowly, port, REQUEST, b"X: a\r\n\r\n") for name, port in PORTS.items()}
        cls.without_end = {name: pool.submit(slowly, PORTS[name], REQUEST, b"X" * 16) for name in ("nginx", "apache")}
        cls.silent = {name: pool.submit(slowly, port, REQUEST, b"") for name, port in PORTS.items()}

    def test_a_byte_a_second_is_answered_where_it_has_an_end(self):
        for name, client in self.with_an_end.items():
            self.assertEqual(401, status_of(client.result()), name)

    def test_a_byte_a_second_holds_up_nobody(self):
        for name, port in PORTS.items():
            waiting.until(f"{name} to answer while they send", lambda: self._answers_beside_slow_ones(port), HANG_SECONDS)

    def test_header_lines_without_end_are_dropped(self):
        for name, client in self.without_end.items():
            self.assertDropped(name, client.result())

    def test_one_that_falls_silent_is_dropped(self):
        for name, client in self.silent.items():
            self.assertDropped(name, client.result())

    def assertDropped(self, name, answer):
        self.assertIsNotNone(answer, f"{name} still waits")
        self.assertIn(status_of(answer), (None, 408), name)

    def _answers_beside_slow_ones(self, port):
        """Whether another client is answered before any of the slow ones has been dropped."""
        with contextlib.ExitStack() as open_connections:
            crowd = [open_connections.enter_context(connected("10.20.0.3", port)) for _ in range(20)]
            for connection in crowd:
                connection.sendall(REQUEST)
            for _ in range(2):
                for connection in crowd:
                    connection.sendall(b"X")
                self.assertEqual(401, Client("10.20.0.8", port, tls=True).get("/api/whoami").status)
            return all(answer_within(0.01, connection) is None for connection in crowd)


class Firewall(HostTest):
    @classmethod
    def setUpClass(cls):
        if subprocess.run(["nft", "list", "ruleset"], capture_output=True, env=namespace.ENVIRONMENT).returncode != 0:
            raise unittest.SkipTest("this kernel has no nf_tables")
        host_test.add_accounts()
        cls.server(Currentconnd())
        cls.server(Lighttpd())
        for _ in range(2):
            namespace.run("nft", "-f", FIREWALL)  # loading it again replaces it
        cls.addClassCleanup(namespace.run, "nft", "flush", "ruleset")

    def held(self, address, count):
        connections = []
        for _ in range(count):
            try:
                connections.append(self.client(socket.create_connection, (address, TLS_PORT), timeout=HANG_SECONDS))
            except ConnectionError:
                pass
        return connections

    def assertServed(self, address):
        self.assertEqual(401, Client(address, TLS_PORT, tls=True).get("/api/whoami").status)

    def assertLimited(self, address, same, other):
        """`same` counts as the address does, `other` on its own."""
        held = self.held(address, MOST_OF_ONE_ADDRESS + 20)
        self.assertEqual(MOST_OF_ONE_ADDRESS, len(held))
        self.assertServed(other)
        self.assertRaises(ConnectionError, self.assertServed, same)
        for connection in held[:8]:
            connection.close()
        waiting.until("the firewall to forget them", lambda: self.held(same, 1))

    def test_one_address_holds_no_more_than_its_share(self):
        self.assertLimited("10.20.0.3", "10.20.0.3", "10.20.0.4")

    def test_the_addresses_of_one_ipv6_client_share_it(self):
        for address in ("fd20::3", "fd21::2"):
            namespace.add_client_address_v6(address)
        self.assertLimited(namespace.CLIENT_ADDRESS_V6, "fd20::3", "fd21::2")


class Many(HostTest):
    def test_five_hundred_connections_at_once_are_answered(self):
        host_test.add_accounts()
        self.server(Currentconnd())
        self.server(PlainLighttpd())
        addresses = namespace.CLIENT_ADDRESSES
        held = [self.client(socket.create_connection, (addresses[number % len(addresses)], PLAIN_PORT), timeout=HANG_SECONDS)
                for number in range(500)]
        for connection in held:
            connection.sendall(REQUEST + b"\r\n")
        statuses = [status_of(connection.recv(65536)) for connection in held]
        self.assertLessEqual({401}, set(statuses))
        self.assertLessEqual(set(statuses), {401, 503})
        self.assertEqual(401, waiting.until("an answer", lambda: self._served()).status)

    def _served(self):
        answer = Client("10.20.0.2").get("/api/whoami")
        return answer if answer.status != 503 else None


if __name__ == "__main__":
    host_test.main()
