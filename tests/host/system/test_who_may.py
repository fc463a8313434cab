"""Who may do what: every method times every kind of caller, as one table."""

import os
import time

import host_test
from host_test import HostTest, uid_of
import listing
import namespace
import scgi_client
from daemons_of_host import Currentconnd, LOCAL_SOCKET, PlainLighttpd, SESSIONS, WEB_SOCKET
from http_client import API, Client

PASSWORD = namespace.PASSWORD
NOBODY, USER, ADMINISTRATOR = 401, "user", "administrator"

# What each kind of caller gets: for those who are nobody, the same status everywhere.
CALLERS = {
    "nobody": NOBODY,
    "user": USER,
    "administrator": ADMINISTRATOR,
    "root over local.sock": ADMINISTRATOR,
    "user over local.sock": USER,
    "administrator's account over local.sock": USER,
    "web server's account over local.sock": USER,
    "cookie over local.sock": NOBODY,
    "client address over local.sock": NOBODY,
    "web.sock without cookie, as root": NOBODY,
    "expired session": NOBODY,
    "idle session": NOBODY,
    "foreign session id": NOBODY,
    "id out of the session file": NOBODY,
    "disabled account": NOBODY,
}
LOCAL = [caller for caller in CALLERS if "local.sock" in caller]
# What each method answers to a user and to an administrator, to nobody where that is not 401, and to callers by name. The
# last ends logins.
METHODS = {
    ("GET", "list"): {USER: 403, ADMINISTRATOR: 200},
    ("POST", "list"): {USER: 403, ADMINISTRATOR: 200},
    ("GET", "get"): {USER: 403, ADMINISTRATOR: 200},
    ("POST", "get"): {USER: 403, ADMINISTRATOR: 200},
    ("GET", "list_by_user"): {USER: 200, ADMINISTRATOR: 200},
    ("POST", "list_by_user"): {USER: 200, ADMINISTRATOR: 200},
    ("GET", "download"): {USER: 403, ADMINISTRATOR: 200},
    ("POST", "download"): {USER: 403, ADMINISTRATOR: 200},
    ("POST", "kick_connection"): {USER: 403, ADMINISTRATOR: 200},
    ("POST", "disable_user"): {USER: 403, ADMINISTRATOR: 200},
    ("GET", "kick_connection"): {USER: 405, ADMINISTRATOR: 405, NOBODY: 405},
    ("GET", "disable_user"): {USER: 405, ADMINISTRATOR: 405, NOBODY: 405},
    ("GET", "no_such_method"): {USER: 404, ADMINISTRATOR: 404, NOBODY: 404},
    ("POST", "no_such_method"): {USER: 404, ADMINISTRATOR: 404, NOBODY: 404},
    ("GET", "/api/whoami"): {USER: 200, ADMINISTRATOR: 200},
    ("POST", "/api/whoami"): {USER: 405, ADMINISTRATOR: 405, NOBODY: 405},
    # Without names.
    ("POST", "/api/enable"): {USER: 403, ADMINISTRATOR: 400},
    ("GET", "/api/enable"): {USER: 405, ADMINISTRATOR: 405, NOBODY: 405},
    ("GET", "/api/disabled"): {USER: 403, ADMINISTRATOR: 200},
    ("POST", "/api/disabled"): {USER: 405, ADMINISTRATOR: 405, NOBODY: 405},
    ("GET", "/api/openapi.json"): {USER: 200, ADMINISTRATOR: 200, NOBODY: 200},
    ("GET", "/api/login"): {USER: 405, ADMINISTRATOR: 405, NOBODY: 405},
    # Without name and password; over local.sock nobody logs in.
    ("POST", "/api/login"): {USER: 400, ADMINISTRATOR: 400, NOBODY: 400} | dict.fromkeys(LOCAL, 404),
    ("GET", "/api/logout"): {USER: 405, ADMINISTRATOR: 405, NOBODY: 405},
    ("POST", "/api/logout"): {USER: 200, ADMINISTRATOR: 200} | {
        caller: 404 for caller in LOCAL if CALLERS[caller] != NOBODY},
}


class WhoMay(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.server(Currentconnd())
        cls.server(PlainLighttpd())

    def _log_in(self, name, address):
        client = Client(address)
        self.assertEqual(200, client.log_in(name, PASSWORD).status)
        return client

    def _over_web(self, cookie):
        def ask(method, path):
            client = Client("10.20.0.2")
            client.cookie = cookie
            return client.call(method, path, {} if method == "POST" else None).status
        return ask

    def _over_socket(self, socket_path, *headers, uid=0):
        def ask(method, path):
            body = b"{}" if method == "POST" else b""

            return scgi_client.as_user(
                uid, lambda: scgi_client.call(socket_path, method, path, *headers, body=body).status)
        return ask

    def _callers(self):
        alice, bob = self._log_in("alice", "10.20.0.2"), self._log_in("bob", "10.20.0.3")
        ended, idle = self._log_in("bob", "10.20.0.4"), self._log_in("bob", "10.20.0.5")
        namespace.add_account("dora")
        namespace.run("gpasswd", "--add", "dora", "sudo")
        disabled = self._log_in("dora", "10.20.0.6")
        namespace.run("usermod", "--expiredate", "1970-01-02", "dora")
        ended_cookie = ended.cookie
        ended.post("/api/logout")
        lines = namespace.read(SESSIONS).splitlines()
        idle_id = next(line[1:44] for line in lines if '"10.20.0.5"' in line)
        bobs_id = next(line[1:44] for line in lines if '"10.20.0.3"' in line)
        long_ago = time.time() - 3600
        os.utime(f"{SESSIONS}.access.time/{idle_id}", (long_ago, long_ago))
        address = ("REMOTE_ADDR", "10.20.0.2")
        return {
            "nobody": self._over_web(None),
            "user": self._over_web(alice.cookie),
            "administrator": self._over_web(bob.cookie),
            "root over local.sock": self._over_socket(LOCAL_SOCKET),
            "user over local.sock": self._over_socket(LOCAL_SOCKET, uid=uid_of("alice")),
            "administrator's account over local.sock": self._over_socket(LOCAL_SOCKET, uid=uid_of("bob")),
            "web server's account over local.sock": self._over_socket(LOCAL_SOCKET, uid=uid_of("www-data")),
            "cookie over local.sock": self._over_socket(LOCAL_SOCKET, ("HTTP_COOKIE", bob.cookie)),
            "client address over local.sock": self._over_socket(LOCAL_SOCKET, address),
            "web.sock without cookie, as root": self._over_socket(WEB_SOCKET, address),
            "expired session": self._over_web(ended_cookie),
            "idle session": self._over_web(idle.cookie),
            "foreign session id": self._over_web("currentconn=" + "f" * 43),
            "id out of the session file": self._over_web("currentconn=" + bobs_id),
            "disabled account": self._over_web(disabled.cookie),
        }

    def test_a_disabled_account_stays_out_whatever_pam_says(self):
        rules = namespace.read("/etc/pam.d/currentconn")
        self.addCleanup(namespace.write, "/etc/pam.d/currentconn", rules)
        namespace.write("/etc/pam.d/currentconn", "@include common-auth\naccount required pam_permit.so\n")
        namespace.add_account("erin")
        before = self._log_in("erin", "10.20.0.7")
        disabled = listing.run("disable", "--yes", "erin").stdout
        self.assertIn("disabled: erin", disabled)
        self.assertNotIn("the page", disabled)
        self.assertEqual(401, Client("10.20.0.7").log_in("erin", PASSWORD).status)
        self.assertEqual(401, before.call("GET", "/api/whoami").status)

    def test_every_method_for_every_caller(self):
        asked = self._callers()
        self.assertEqual(set(CALLERS), set(asked))
        expected, found = {}, {}
        for (method, name), statuses in METHODS.items():
            path = name if name.startswith("/") else API + name
            for caller, kind in CALLERS.items():
                expected[caller, method, name] = statuses.get(caller, statuses.get(kind, kind))
                found[caller, method, name] = asked[caller](method, path)
        self.assertEqual(expected, found)

    def test_a_stranger_cannot_reach_the_web_servers_socket(self):
        def status():
            try:
                scgi_client.call(WEB_SOCKET, "GET", "/api/whoami")
            except PermissionError:
                return 7
            return 8
        self.assertEqual(7, scgi_client.as_user(uid_of("alice"), status))

    def test_a_process_without_an_account_is_refused(self):
        def status():
            return scgi_client.call(LOCAL_SOCKET, "GET", "/api/whoami").status
        self.assertEqual(401, scgi_client.as_user(54321, status))


if __name__ == "__main__":
    host_test.main()
