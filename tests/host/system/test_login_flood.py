"""Guessers at many addresses, and whether the others still get in."""

import threading
import time

import host_test
from host_test import HostTest
import namespace
from daemons_of_host import Currentconnd, PlainLighttpd
from http_client import Client

ADDRESSES = [f"10.30.0.{number}" for number in range(1, 201)]
AT_ONCE = 40


class Flood(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        for address in ADDRESSES:
            namespace.run("ip", "address", "add", f"{address}/32", "dev", "lo")
        cls.server(Currentconnd())
        cls.server(PlainLighttpd())

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
            statuses = [Client(f"10.20.0.{2 + number % 7}").log_in("alice", namespace.PASSWORD).status
                        for number in range(12)]
            self.assertGreater(len(self.refusals), before, "nobody guessed meanwhile")
        finally:
            self.is_over.set()
            for guesser in guessers:
                guesser.join()
        self.assertEqual([200] * 12, statuses)


if __name__ == "__main__":
    host_test.main()
