"""What the page does: lighttpd, the daemon, PAM, and real services behind them."""

import os
import re
import subprocess
import time

import host_test
from host_test import HostTest
import namespace
import processes
import waiting
from clients.smb import Smb
from clients.ssh import Shell, allow
from daemons_of_host import SESSIONS
from http_client import Client

PASSWORD = namespace.PASSWORD


class PageCalls(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.samba, cls.daemon = host_test.start_file_server(cls)

    def setUp(self):
        self.bob = Client("10.20.0.8")
        self.assertEqual(200, self.bob.log_in("bob", PASSWORD).status)
        self.addCleanup(lambda: self.bob.cookie and self.bob.post("/api/logout"))

    def rows(self, client=None, method="list", query=""):
        answer = (client or self.bob).get(method + query)
        self.assertEqual(200, answer.status, answer.body)
        return answer.data["items"]

    def row_of(self, kind, user="alice"):
        return waiting.until(f"a {kind} row of {user}",
                             lambda: next((row for row in self.rows() if (row["type"], row["who"]) == (kind, user)), None))

    def test_a_login_sees_itself(self):
        self.assertEqual({"user": "bob", "isAdmin": True, "via": "web", "address": "10.20.0.8", "idleMinutes": 15},
                         self.bob.get("/api/whoami").data)
        own = [row for row in self.rows() if row["type"] == "HTTP/HTTPS"]
        self.assertEqual([("bob", "10.20.0.8")], [(row["who"], row["from"]) for row in own])

    def test_a_login_that_moved_is_shown_where_it_was_made(self):
        moved = Client("10.20.0.5")
        moved.cookie = self.bob.cookie
        own = [row["from"] for row in self.rows(moved) if (row["type"], row["who"]) == ("HTTP/HTTPS", "bob")]
        self.assertEqual(["10.20.0.8"], own)
        self.assertEqual("10.20.0.8", moved.get("/api/whoami").data["address"])

    def test_the_list_is_filtered_and_paged(self):
        self.client(Smb, "alice", "10.20.0.2", "photos")
        self.row_of("CIFS")
        self.assertEqual({"CIFS"}, {row["type"] for row in self.rows(query="?filter=ciFs")})
        everybody = sorted(row["who"] for row in self.rows())
        answer = self.bob.get("list?limit=1&start=1&sort_by=who&sort_direction=ASC").data
        self.assertEqual((everybody[1:2], len(everybody)), ([row["who"] for row in answer["items"]], answer["total"]))
        self.assertEqual([], self.rows(query="?filter=nothing%20like%20it"))

    def test_an_smb_client_is_ended(self):
        self.client(Smb, "alice", "10.20.0.2", "photos")
        row = self.row_of("CIFS")
        self.assertEqual(200, self.bob.post("kick_connection", {"service_conn": [row]}).status)
        self.assertFalse(processes.runs(row["pid"]))
        self.assertNotIn("CIFS", {row["type"] for row in self.rows()})
        waiting.until("the connection to end", lambda: processes.established(445) == 0)

    def test_an_ssh_client_is_ended(self):
        self.client(Shell, "alice", "10.20.0.3")
        row = self.row_of("SSH")
        self.assertEqual(200, self.bob.post("kick_connection", {"service_conn": [row]}).status)
        waiting.until("the connection to end", lambda: processes.established(22) == 0)

    def test_a_process_that_has_another_program_by_now_is_left_alone(self):
        self.client(Shell, "alice", "10.20.0.3")
        row = self.row_of("SSH")
        other = subprocess.Popen(["sleep", "600"])
        self.addCleanup(other.wait)
        self.addCleanup(other.kill)
        stale = row | {"pid": other.pid}
        self.assertEqual(200, self.bob.post("kick_connection", {"service_conn": [stale]}).status)
        self.assertIsNone(other.poll())
        self.assertEqual(row, self.row_of("SSH"))

    def test_ending_the_same_connection_again_harms_nothing(self):
        self.client(Shell, "alice", "10.20.0.3")
        row = self.row_of("SSH")
        stays = self.client(Shell, "alice", "10.20.0.4")
        for _ in range(2):
            self.assertEqual(200, self.bob.post("kick_connection", {"service_conn": [row]}).status)
        self.assertEqual("10.20.0.4", self.row_of("SSH")["from"])
        self.assertFalse(stays.has_ended())

    def test_ones_own_second_browser_at_another_address_is_ended(self):
        second = Client("10.20.0.5")
        second.log_in("bob", PASSWORD)
        self.assertEqual(200, second.get("/api/whoami").status)
        kick = {"http_conn": [{"who": "bob", "from": "10.20.0.5"}]}
        self.assertEqual(200, self.bob.post("kick_connection", kick).status)
        self.assertEqual(401, second.get("/api/whoami").status)
        self.assertEqual(200, self.bob.get("/api/whoami").status)

    def test_a_user_is_disabled_and_out(self):
        namespace.add_account("dora")
        dora = Client("10.20.0.4")
        self.assertEqual(200, dora.log_in("dora", PASSWORD).status)
        self.assertEqual(200, self.bob.post("disable_user", {"users": ["dora"]}).status)
        self.assertEqual(401, dora.get("/api/whoami").status)
        self.assertEqual(401, dora.log_in("dora", PASSWORD).status)

    def test_all_connections_and_logins_of_a_disabled_user_end_and_nobody_elses(self):
        namespace.add_account("fred")
        self.samba.add_user("fred")
        allow("fred")
        freds = [self.client(Smb, "fred", "10.20.0.2", "photos"), self.client(Smb, "fred", "10.20.0.3", "photos"),
                 self.client(Shell, "fred", "10.20.0.2"), self.client(Shell, "fred", "10.20.0.3")]
        alices = self.client(Shell, "alice", "10.20.0.2")
        logins = [Client("10.20.0.4"), Client("10.20.0.5")]
        for login in logins:
            self.assertEqual(200, login.log_in("fred", PASSWORD).status)

        def kinds():
            return sorted(row["type"] for row in self.rows() if row["who"] == "fred")

        waiting.until("six rows of fred", lambda: kinds() == ["CIFS"] * 2 + ["HTTP/HTTPS"] * 2 + ["SSH"] * 2)
        self.assertEqual(200, self.bob.post("disable_user", {"users": ["fred"]}).status)
        self.assertEqual([], kinds())
        for client in freds:
            waiting.until(f"{type(client).__name__} to be disconnected", client.has_ended)
        for login in logins:
            self.assertEqual(401, login.get("/api/whoami").status)
        self.assertFalse(alices.has_ended())

    def test_an_account_that_expired_is_out_at_its_next_call(self):
        namespace.add_account("erik")
        erik = Client("10.20.0.4")
        self.assertEqual(200, erik.log_in("erik", PASSWORD).status)
        namespace.run("usermod", "--expiredate", "1970-01-02", "erik")
        self.assertEqual(401, erik.get("list_by_user").status)

    def test_root_is_not_disabled(self):
        answer = self.bob.post("disable_user", {"users": ["root"]})
        self.assertEqual((409, 7100), (answer.status, answer.code))

    def test_the_report_is_downloaded(self):
        self.assertIsReport(self.bob.get("download"))

    def test_a_user_sees_only_himself(self):
        alice = Client("10.20.0.6")
        alice.log_in("alice", PASSWORD)
        self.assertEqual({"alice"}, {row["who"] for row in self.rows(alice, "list_by_user")})
        for method in ("list", "get", "download"):
            self.assertEqual((403, 105), (alice.get(method).status, alice.get(method).code), method)
        alice.post("/api/logout")

    def test_a_logout_ends_the_login(self):
        client = Client("10.20.0.6")
        client.log_in("alice", PASSWORD)
        cookie = client.cookie
        self.assertEqual(200, client.post("/api/logout").status)
        self.assertIsNone(client.cookie)
        client.cookie = cookie
        self.assertEqual(401, client.get("/api/whoami").status)

    def test_an_idle_login_has_ended(self):
        client = Client("10.20.0.6")
        client.log_in("alice", PASSWORD)
        line = next(line for line in namespace.read(SESSIONS).splitlines() if '"10.20.0.6"' in line)
        path = f"{SESSIONS}.access.time/{line[1:44]}"
        then = time.time() - 14 * 60
        os.utime(path, (then, then))
        self.assertEqual(200, client.get("/api/whoami", headers={"Currentconn-Background": "1"}).status)
        self.assertAlmostEqual(then, os.stat(path).st_mtime, delta=1, msg="a refresh of the page is no activity")
        used = time.time()
        self.assertEqual(200, client.get("/api/whoami").status)
        self.assertGreaterEqual(os.stat(path).st_mtime, used - 1)
        os.utime(path, (then - 60, then - 60))
        self.assertEqual(401, client.get("/api/whoami").status)

    def test_the_session_file_does_not_hold_the_cookie(self):
        token = self.bob.cookie.split("=")[1]
        self.assertNotIn(token, namespace.read(SESSIONS))
        self.assertEqual(0o600, os.stat(SESSIONS).st_mode & 0o7777)

    def test_wrong_logins_are_answered_alike_and_logged(self):
        answers = []
        for name, password in (("alice", "wrong"), ("mallory", PASSWORD), ("root", "wrong"), ("nobody", "x")):
            answer = Client("10.20.0.7").log_in(name, password)
            answers.append((answer.status, answer.body))
        self.assertEqual(1, len(set(answers)), answers)
        refused = re.findall(r'login refused from 10\.20\.0\.7: user "(.*?)"', self.daemon.log_text())
        self.assertEqual(["alice", "mallory", "root", "nobody"], refused)

    def test_a_link_logs_in_once(self):
        made = subprocess.run([os.environ["CURRENTCONN"], "login-link", "--url", "http://nas/"], capture_output=True,
                              text=True, env=namespace.ENVIRONMENT, check=True).stdout
        token = re.fullmatch(r"http://nas/#login=([A-Za-z0-9_-]{43})\n", made).group(1)
        client = Client("10.20.0.6")
        answer = client.post("/api/login", {"token": token})
        self.assertEqual(("admin", True), (answer.data["user"], answer.data["isAdmin"]))
        self.assertEqual(200, client.get("list").status)
        self.assertEqual(401, Client("10.20.0.6").post("/api/login", {"token": token}).status)
        client.post("/api/logout")

    def test_a_call_leaves_a_line_in_the_log(self):
        self.bob.get("list?filter=nothing")
        self.daemon.wait_for_line(r'method="list" user="bob" from=10\.20\.0\.8 status=200 code=0 ms=\d+')
        Client("10.20.0.7").get("list")
        self.daemon.wait_for_line(r'method="list" user=- from=10\.20\.0\.7 status=401 code=401 ms=\d+')

    def test_the_log_says_why_a_call_failed(self):
        before = namespace.read(SESSIONS)
        self.addCleanup(namespace.write, SESSIONS, before, 0o600)
        namespace.write(SESSIONS, before + "garbage\n", 0o600)
        answer = self.bob.get("list")
        self.assertEqual((500, 117), (answer.status, answer.code))
        cause = f"cannot read {SESSIONS}:{before.count(chr(10)) + 1}: the line is not a login record"
        self.assertEqual([cause], answer.json["causes"])
        self.daemon.wait_for_line(
            rf'method="list" user="bob" from=10\.20\.0\.8 status=500 code=117 ms=\d+: {re.escape(cause)}')

    def test_ending_something_leaves_a_line_for_the_authorisation_log(self):
        self.bob.post("kick_connection", {"http_conn": [{"who": "zoe", "from": "10.9.9.9"}]})
        self.daemon.wait_for_line(
            r'method="kick_connection" user="bob" from=10\.20\.0\.8 begins with .*10\.9\.9\.9.*')

    def test_the_page_is_served_with_its_security_headers(self):
        answer = Client().get("/")
        self.assertEqual(200, answer.status)
        policy = answer.headers["Content-Security-Policy"]
        self.assertIn("script-src 'self';", policy)
        self.assertNotIn("unsafe", policy)
        self.assertEqual("nosniff", answer.headers["X-Content-Type-Options"])

    def test_the_api_describes_itself(self):
        self.assertEqual("3.1.0", Client().get("/api/openapi.json").json["openapi"])


if __name__ == "__main__":
    host_test.main()
