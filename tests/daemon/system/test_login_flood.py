"""Guessers at many addresses, and whether the others still get in."""

import functools
import http.client
import itertools
import json
import socket
import threading
import time

import host_test
from host_test import HostTest
import namespace
import processes
import waiting
from daemons_of_host import Currentconnd, PLAIN_PORT, PlainLighttpd
from http_client import Client

ADDRESSES = [f"10.30.0.{number}" for number in range(1, 201)]
AT_ONCE = 40
NETWORK = "10.40.0.0/16"  # of a guesser who tries from no address twice
HONEST = [f"10.20.0.{2 + number % 7}" for number in range(12)]


def try_from(address):
    """Tries a wrong password from this address, and returns the status."""
    connection = http.client.HTTPConnection("127.0.0.1", PLAIN_PORT, timeout=60, source_address=(address, 0))
    try:
        connection.request("POST", "/api/login", json.dumps({"name": "bob", "password": "wrong"}),
                           {"Content-Type": "application/json"})
        return connection.getresponse().status
    finally:
        connection.close()


class Shared:
    """An iterator that several threads take from."""

    def __init__(self, values):
        self._values = iter(values)
        self._lock = threading.Lock()

    def __iter__(self):
        return self

    def __next__(self):
        with self._lock:
            return next(self._values)


class Flood(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        for address in ADDRESSES:
            namespace.run("ip", "address", "add", f"{address}/32", "dev", "lo")
        namespace.run("ip", "route", "add", "local", NETWORK, "dev", "lo")
        cls.server(PlainLighttpd())

    def setUp(self):
        daemon = Currentconnd().start()  # one that remembers no client
        self.addCleanup(daemon.stop)

    def guess(self, addresses):
        """Tries passwords from all of these in turn, until the test is over."""
        unrefused = set(addresses)
        while not self.is_over.is_set():
            for address in addresses:
                if Client(address).log_in("bob", "wrong").status == 401:
                    unrefused.discard(address)
                    self.refusals.append(address)
                else:
                    time.sleep(0.05)
            if not unrefused:
                self.all_refused.release()
                unrefused = set(addresses)

    def test_whoever_was_not_refused_logs_in_past_200_guessers(self):
        self.is_over, self.all_refused, self.refusals = threading.Event(), threading.Semaphore(0), []
        guessers = [threading.Thread(target=self.guess, args=(ADDRESSES[number::AT_ONCE],))
                    for number in range(AT_ONCE)]
        for guesser in guessers:
            guesser.start()
        try:
            for _ in guessers:
                self.assertTrue(self.all_refused.acquire(timeout=300), "a guesser was never refused")
            before = len(self.refusals)
            statuses = [Client(address).log_in("alice", namespace.PASSWORD).status for address in HONEST]
            self.assertGreater(len(self.refusals), before, "nobody guessed meanwhile")
        finally:
            self.is_over.set()
            for guesser in guessers:
                guesser.join()
        self.assertEqual([200] * 12, statuses)

    def logins_during(self, addresses):
        """What the honest are answered while wrong passwords come from these, each used once."""
        is_over, turned_away = threading.Event(), []

        def guess():
            for address in addresses:
                if is_over.is_set():
                    return
                if try_from(address) == 503:
                    turned_away.append(address)
                    time.sleep(0.05)
        guessers = [threading.Thread(target=guess) for _ in range(AT_ONCE)]
        for guesser in guessers:
            guesser.start()
        try:
            waiting.until("as many guesses as are let in", lambda: len(turned_away) > AT_ONCE)
            return [Client(address).log_in("alice", namespace.PASSWORD).status for address in HONEST]
        finally:
            is_over.set()
            for guesser in guessers:
                guesser.join()

    def test_whoever_has_logged_in_before_does_so_past_a_guesser_with_endless_addresses(self):
        for address in HONEST[:7]:
            self.assertEqual(200, Client(address).log_in("alice", namespace.PASSWORD).status)
        fresh = Shared(f"10.40.{block}.{number}" for block, number in itertools.product(range(256), range(1, 255)))
        self.assertEqual([200] * 12, self.logins_during(fresh))

    def test_who_holds_up_pam_keeps_nobody_out(self):
        # As alice can by a lock on the counter that pam_faillock keeps for her, in a file of hers.
        rules = namespace.read("/etc/pam.d/currentconn")
        self.addCleanup(namespace.write, "/etc/pam.d/currentconn", rules)
        namespace.write("/run/hold", '#!/bin/sh\n[ "$PAM_USER" != alice ] || sleep 300\n', 0o755)
        namespace.write("/etc/pam.d/currentconn", f"auth required pam_exec.so quiet /run/hold\n{rules}")
        held = [socket.create_connection(("127.0.0.1", PLAIN_PORT), source_address=(address, 0))
                for address in HONEST[:4] for _ in range(4)]
        body = json.dumps({"name": "alice", "password": namespace.PASSWORD})
        for one in held:
            self.addCleanup(one.close)
            one.sendall(b"POST /api/login HTTP/1.1\r\nHost: nas\r\nContent-Type: application/json\r\n"
                        b"Content-Length: %d\r\n\r\n%b" % (len(body), body.encode()))
        log_in = functools.partial(Client("10.20.0.8").log_in, "bob", namespace.PASSWORD)
        waiting.until("as many logins as are let in", lambda: len(processes.named("sleep")) >= 12)
        waiting.until("a place", lambda: log_in().status == 200)

    def test_a_user_of_this_machine_is_one_guesser(self):
        fresh = Shared(f"127.{block}.1.{number}" for block, number in itertools.product(range(256), range(1, 255)))
        self.assertEqual([200] * 12, self.logins_during(fresh))


if __name__ == "__main__":
    host_test.main()
