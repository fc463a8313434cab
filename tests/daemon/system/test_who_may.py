"""Who may do what: every method times every kind of caller, as one table."""

import concurrent.futures
import os
import re
import shutil
import tempfile
import time

import host_test
from host_test import HostTest, uid_of
import listing
import namespace
import scgi_client
import waiting
from daemons_of_host import Currentconnd, LOCAL_SOCKET, PlainLighttpd, SESSIONS, WEB_SOCKET
from http_client import API, Client

PASSWORD = namespace.PASSWORD
NOBODY, USER, ADMINISTRATOR, VIEWER = 401, "user", "administrator", "viewer"

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
    "view login": VIEWER,
    "ended view login": NOBODY,
    "view login of a changed password": NOBODY,
    "locked account": NOBODY,
    "account without a login shell": NOBODY,
    "changed password": NOBODY,
    "login past its greatest age": NOBODY,
    # Whose processes run, with a key or in the background, sees their own connections.
    "locked account over local.sock": USER,
}
LOCAL = [caller for caller in CALLERS if "local.sock" in caller]
# What each method answers to a user and to an administrator, to nobody where that is not 401, and to callers by name. The
# last ends logins.
METHODS = {
    ("GET", "list"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 200},
    ("POST", "list"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 200},
    ("GET", "get"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 200},
    ("POST", "get"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 200},
    ("GET", "list_by_user"): {USER: 200, ADMINISTRATOR: 200, VIEWER: 200},
    ("POST", "list_by_user"): {USER: 200, ADMINISTRATOR: 200, VIEWER: 200},
    ("GET", "download"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 403},
    ("POST", "download"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 403},
    ("POST", "kick_connection"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 403},
    ("POST", "disable_user"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 403},
    ("GET", "kick_connection"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    ("GET", "disable_user"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    ("GET", "no_such_method"): {USER: 404, ADMINISTRATOR: 404, VIEWER: 404, NOBODY: 404},
    ("POST", "no_such_method"): {USER: 404, ADMINISTRATOR: 404, VIEWER: 404, NOBODY: 404},
    ("GET", "/api/whoami"): {USER: 200, ADMINISTRATOR: 200, VIEWER: 200},
    ("POST", "/api/whoami"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    # Without names.
    ("POST", "/api/plan"): {USER: 403, ADMINISTRATOR: 400, VIEWER: 403},
    ("GET", "/api/plan"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    ("POST", "/api/perform"): {USER: 403, ADMINISTRATOR: 400, VIEWER: 403},
    ("GET", "/api/perform"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    ("POST", "/api/enable"): {USER: 403, ADMINISTRATOR: 400, VIEWER: 403},
    ("GET", "/api/enable"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    ("GET", "/api/disabled"): {USER: 403, ADMINISTRATOR: 200, VIEWER: 403},
    ("POST", "/api/disabled"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    ("GET", "/api/openapi.json"): {USER: 200, ADMINISTRATOR: 200, VIEWER: 200, NOBODY: 200},
    ("GET", "/api/login"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    # Without name and password; over local.sock nobody logs in.
    ("POST", "/api/login"): {USER: 400, ADMINISTRATOR: 400, VIEWER: 400, NOBODY: 400} | dict.fromkeys(LOCAL, 404),
    ("GET", "/api/logout"): {USER: 405, ADMINISTRATOR: 405, VIEWER: 405, NOBODY: 405},
    ("POST", "/api/logout"): {USER: 200, ADMINISTRATOR: 200, VIEWER: 403} | {
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

    def _changed(self, name, address, *change):
        """An administrator who logs in and whose account is changed then; its cookie."""
        namespace.add_account(name)
        namespace.run("gpasswd", "--add", name, "sudo")
        login = self._log_in(name, address)
        namespace.run(*change, name)
        return self._over_web(login.cookie)

    def _aged(self, address):
        """A login of bob that began 12 hours ago and was in use ever since."""
        login = self._log_in("bob", address)
        lines = namespace.read(SESSIONS).splitlines(keepends=True)
        began = re.compile(r'"4":\d+')
        namespace.write(SESSIONS, "".join(
            began.sub(f'"4":{int(time.time()) - 12 * 3600}', line) if f'"{address}"' in line else line
            for line in lines), 0o600)
        return self._over_web(login.cookie)

    def _view(self, address, name, end=None):
        """A login that was made by a link to view, with another end where one is given."""
        link = listing.run("login-link", "--view", name).stdout
        client = Client(address)
        login = client.post("/api/login", {"token": link.strip().split("#login=")[1]})
        self.assertEqual(200, login.status)
        if end is not None:
            lines = namespace.read(SESSIONS).splitlines(keepends=True)
            own = f'"8":{login.data["viewUntil"]}'
            namespace.write(SESSIONS, "".join(
                line.replace(own, f'"8":{end}') if f'"2":"{name}"' in line else line for line in lines), 0o600)
        return self._over_web(client.cookie)

    def _callers(self):
        namespace.add_account("vera")
        namespace.run("gpasswd", "--add", "vera", "sudo")
        changed_view = self._view("10.20.0.8", "vera")
        namespace.run("chpasswd", text="vera:another one\n")
        alice, bob = self._log_in("alice", "10.20.0.2"), self._log_in("bob", "10.20.0.3")
        ended, idle = self._log_in("bob", "10.20.0.4"), self._log_in("bob", "10.20.0.5")
        changed = {
            "disabled account": self._changed("dora", "10.20.0.6", "usermod", "--expiredate", "1970-01-02"),
            "locked account": self._changed("lena", "10.20.0.6", "passwd", "--lock"),
            "account without a login shell": self._changed("nora", "10.20.0.7", "usermod", "--shell", "/usr/sbin/nologin"),
            "changed password": self._changed("paul", "10.20.0.7", "usermod", "--password", "$y$j9T$other"),
            "login past its greatest age": self._aged("10.20.0.8"),
        }
        ended_cookie = ended.cookie
        ended.post("/api/logout")
        lines = namespace.read(SESSIONS).splitlines()
        idle_id = next(line[1:44] for line in lines if '"10.20.0.5"' in line)
        bobs_id = next(line[1:44] for line in lines if '"10.20.0.3"' in line)
        long_ago = time.time() - 3600
        os.utime(f"{SESSIONS}.access.time/{idle_id}", (long_ago, long_ago))
        address = ("REMOTE_ADDR", "10.20.0.2")
        return changed | {
            "nobody": self._over_web(None),
            "view login": self._view("10.20.0.8", "root"),
            "view login of a changed password": changed_view,
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
            "locked account over local.sock": self._over_socket(LOCAL_SOCKET, uid=uid_of("lena")),
            # The last one: any further login would sweep it.
            "ended view login": self._view("10.20.0.8", "bob", int(time.time())),
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

    def test_who_is_locked_or_has_no_login_shell_cannot_log_in(self):
        # PAM alone would take both: the rules decide before it is asked for anything but the password.
        rules = namespace.read("/etc/pam.d/currentconn")
        self.addCleanup(namespace.write, "/etc/pam.d/currentconn", rules)
        namespace.write("/etc/pam.d/currentconn", "auth required pam_permit.so\naccount required pam_permit.so\n")
        for name, *change in (("fritz", "passwd", "--lock"), ("gerd", "usermod", "--shell", "/usr/sbin/nologin"),
                              ("hans", "usermod", "--shell", "/opt/unlisted")):
            namespace.add_account(name)
            self.assertEqual(200, Client("10.20.0.7").log_in(name, PASSWORD).status)
            namespace.run(*change, name)
            self.assertEqual(401, Client("10.20.0.7").log_in(name, PASSWORD).status, name)

    def test_root_logs_in_by_link_alone(self):
        namespace.run("chpasswd", text=f"root:{PASSWORD}\n")
        self.assertEqual(401, Client("10.20.0.8").log_in("root", PASSWORD).status)
        self.assertEqual(401, Client("10.20.0.8").log_in("admin", PASSWORD).status)
        namespace.run("passwd", "--lock", "root")
        client = Client("10.20.0.8")
        token = listing.run("login-link").stdout.strip().split("#login=")[1]
        self.assertEqual("admin", client.post("/api/login", {"token": token}).data["user"])
        self.assertEqual(200, client.get("list").status)
        namespace.run("chpasswd", text=f"root:{PASSWORD}\n")
        self.assertEqual(401, client.get("list").status, "another password ends root's logins too")

    def test_a_link_does_not_outlive_the_password(self):
        namespace.add_account("ingo")
        links = [listing.run("login-link", *view, "ingo").stdout.strip() for view in ((), (), ("--view",))]
        tokens = [{"token": link.split("#login=")[1]} for link in links]
        self.assertEqual(200, Client("10.20.0.7").post("/api/login", tokens[0]).status)
        namespace.run("chpasswd", text="ingo:another one\n")
        for token in tokens[1:]:
            self.assertEqual(401, Client("10.20.0.7").post("/api/login", token).status)

    def test_a_login_under_way_does_not_outlive_the_password(self):
        # Its user can hold up some modules of PAM, such as one whose lock is a file of the account.
        namespace.add_account("jana")
        rules = namespace.read("/etc/pam.d/currentconn")
        self.addCleanup(namespace.write, "/etc/pam.d/currentconn", rules)
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        namespace.write(f"{folder}/hold", f"#!/bin/sh\n>{folder}/held\nuntil [ -e {folder}/go ]; do sleep 0.1; done\n", 0o755)
        namespace.write("/etc/pam.d/currentconn", f"auth required pam_unix.so\nauth required pam_exec.so quiet {folder}/hold\n"
                        "account required pam_unix.so\n")
        client = Client("10.20.0.7")
        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            login = pool.submit(client.log_in, "jana", PASSWORD)
            waiting.until("PAM to have taken the password", lambda: os.path.exists(f"{folder}/held"))
            namespace.run("chpasswd", text="jana:another one\n")
            namespace.write(f"{folder}/go", "")
            self.assertEqual(401, login.result().status)
        self.assertEqual(401, client.get("/api/whoami").status)

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
