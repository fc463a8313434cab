"""A session file that is none: the calls fail and say why, and nobody's login ends by it."""

import os
import shutil

import host_test
from host_test import HostTest
import namespace
import scgi_client
from daemons_of_host import Currentconnd, LOCAL_SOCKET, PlainLighttpd, SESSIONS
from http_client import API, Client

KICK = b'{"action":"kick","connections":[{"pid":3000000,"who":"alice","from":"10.20.0.2","type":"SSH"}]}'
ASIDE = f"{SESSIONS}.aside"


class SessionFile(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.daemon = cls.server(Currentconnd())
        cls.server(PlainLighttpd())

    def setUp(self):
        self.bob = Client("10.20.0.3")
        self.assertEqual(200, self.bob.log_in("bob", namespace.PASSWORD).status)
        os.rename(SESSIONS, ASIDE)
        self.addCleanup(os.rename, ASIDE, SESSIONS)

    def assertFails(self):
        """Every way to the file ends in 117 with its line, and the login is there again with the file."""
        path = API + "list"
        self.assertEqual(117, scgi_client.call(LOCAL_SOCKET, "GET", path).code)
        self.daemon.wait_for_line(f'method="list" user="admin" from=local status=500 code=117 .*cannot use {SESSIONS}: .*')
        self.assertEqual(117, self.bob.get("list").code)
        self.daemon.wait_for_line(rf'method="list" user=- from=10\.20\.0\.3 status=500 code=117 .*cannot read {SESSIONS}: .*')
        self.assertEqual(117, Client("10.20.0.3").log_in("bob", namespace.PASSWORD).code)
        self.daemon.wait_for_line(rf'method="login" user=- from=10\.20\.0\.3 status=500 code=117 .*cannot use {SESSIONS}: .*')

    def test_a_folder(self):
        os.mkdir(SESSIONS)
        self.addCleanup(shutil.rmtree, SESSIONS)
        self.assertFails()

    def test_a_pipe(self):
        os.mkfifo(SESSIONS)
        self.addCleanup(os.unlink, SESSIONS)
        self.assertFails()

    def test_a_damaged_line(self):
        namespace.write(SESSIONS, "damaged\n", 0o600)
        self.addCleanup(os.unlink, SESSIONS)
        cause = f"cannot read {SESSIONS}:1: the line is not a login record"
        for method, path, body in (("GET", API + "list", b""), ("POST", "/api/plan", KICK), ("POST", "/api/perform", KICK)):
            answer = scgi_client.call(LOCAL_SOCKET, method, path, body=body)
            self.assertEqual((117, [cause]), (answer.code, answer.json["causes"]), path)
            self.daemon.wait_for_line(f'method="{os.path.basename(path)}" user="admin" from=local status=500 code=117 .*: {cause}')

    def tearDown(self):
        self.doCleanups()
        self.assertEqual(200, self.bob.get("/api/whoami").status)


if __name__ == "__main__":
    host_test.main()
