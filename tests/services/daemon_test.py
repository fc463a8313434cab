"""A test against real daemons."""

import unittest


class DaemonTest(unittest.TestCase):
    """Whatever the class starts or a test connects ends with it."""

    maxDiff = None

    @classmethod
    def server(cls, daemon):
        """Starts a daemon for all tests of the class."""
        daemon.start()
        cls.addClassCleanup(daemon.stop)
        return daemon

    def client(self, make, *arguments, **options):
        """Connects a client for one test."""
        client = make(*arguments, **options)
        self.addCleanup(client.close)
        return client
