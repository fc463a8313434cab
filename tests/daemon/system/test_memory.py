"""The greatest memory of a call, which the limits of the daemon's unit follow from."""

import json
import re
import sys

import host_test
import namespace
from daemons_of_host import Currentconnd, LOCAL_SOCKET, SOURCES, WEB_SOCKET
from host_test import HostTest
from http_client import API
from scgi_client import call

MOST_VALUES = 65536
LONGEST_BODY = 1024 * 1024
FROM_A_CLIENT = (("REMOTE_ADDR", "10.20.0.2"), ("HTTP_HOST", "nas"))
# A process that starts another one hands on the memory that it has itself, so a small one starts the daemon.
_MEASURE = """\
import os, signal, sys
child = os.fork()
if child == 0:
    os.execv(sys.argv[1], sys.argv[1:])
signal.signal(signal.SIGTERM, lambda *_: os.kill(child, signal.SIGTERM))
print("greatest:", os.wait4(child, 0)[2].ru_maxrss)
"""


class MeasuredDaemon(Currentconnd):
    """A daemon that tells at its end the memory that any of its calls has had at most."""

    def command(self):
        return [sys.executable, "-IS", "-c", _MEASURE, *super().command()]

    def greatest_megabytes(self):
        """Ends it; in millions of bytes."""
        self.process.terminate()
        self.process.wait()
        return int(re.findall(r"(?m)^greatest: (\d+)$", self.log_text())[-1]) * 1024 / 1e6


def stated(what):
    """The number of megabytes that the document states."""
    return int(re.search(rf"\b{what} uses (?:at most )?(\d+) MB", namespace.read(f"{SOURCES}/docs/http.md"))[1])


def filled(name, element, **more):
    """A body with as many elements as are taken: each is one value, and one more for each member."""
    values = 1 + len(element(0)) if isinstance(element(0), dict) else 1
    count = (MOST_VALUES - 3 - len(more)) // values
    return json.dumps({name: [element(number) for number in range(count)], **more}, separators=(",", ":"))


def name(number):
    """Of an account."""
    return f"u{number}"


def row(number):
    """A connection that is not there."""
    return {"pid": 3000000 + number, "who": f"a{number}", "from": "10.20.0.2", "type": "SSH"}


# The worst that were found: many objects with texts that are as long as they can be, and many names.
WORST = (
    (API + "kick_connection", filled("http_conn", lambda number: {"who": f"a{number:012}", "from": "b" * 13})),
    (API + "kick_connection", filled("service_conn", lambda number: {"who": f"a{number:09}", "from": "b" * 10, "type": "SSH"})),
    (API + "disable_user", filled("users", name)),
    ("/api/plan", filled("connections", row, action="kick")),
    ("/api/perform", filled("connections", row, action="kick")),
    ("/api/plan", filled("users", name, action="disable")),
    ("/api/perform", filled("users", name, action="disable")),
)


class Memory(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()

    def assertTakes(self, least, what, daemon):
        greatest = daemon.greatest_megabytes()
        self.assertTrue(least < greatest <= stated(what), f"{what} took {greatest:.1f} MB, stated are {stated(what)}")

    def test_no_body_makes_a_call_take_more_than_is_stated(self):
        daemon = MeasuredDaemon().start()
        for path, body in WORST:
            self.assertLessEqual(len(body), LONGEST_BODY)
            self.assertIn(call(LOCAL_SOCKET, "POST", path, body=body.encode()).status, (200, 400, 500), path)
        self.assertTakes(25, "A call", daemon)

    def test_a_login_takes_no_more_than_is_stated(self):
        daemon = MeasuredDaemon().start()
        body = json.dumps({"name": "alice", "password": namespace.PASSWORD}).encode()
        self.assertEqual(200, call(WEB_SOCKET, "POST", "/api/login", *FROM_A_CLIENT, body=body).status)
        self.assertTakes(10, "A login", daemon)


if __name__ == "__main__":
    host_test.main()
