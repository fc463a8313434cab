"""What ending connections or disabling accounts would do, and doing it, over HTTP."""

import json
import os
import re
import socket
import subprocess

import host_test
import listing
import namespace
import scgi_client
import waiting
from clients import ssh
from clients.console import Console
from clients.nfs import Nfs
from clients.smb import Smb
from daemons.ganesha import Ganesha
from daemons_of_host import LOCAL_SOCKET
from host_test import HostTest
from http_client import API, Client

PASSWORD = namespace.PASSWORD
NAMES = ("who", "from", "type", "pid")


def named(row):
    """The members by which a client names a row."""
    return {name: row[name] for name in NAMES}


def brief(rows):
    """Fate and reason of each row."""
    return [(row["fate"], row.get("reason", {}).get("reason")) for row in rows]


class PlanTest(HostTest):
    @classmethod
    def setUpClass(cls):
        samba, cls.daemon = host_test.start_file_server(cls)
        samba.add_user("bob")
        ssh.allow("root")
        ssh.allow("bob")

    def setUp(self):
        self.bob = Client("10.20.0.8")
        self.assertEqual(200, self.bob.log_in("bob", PASSWORD).status)
        self.addCleanup(lambda: self.bob.cookie and self.bob.post("/api/logout"))

    def rows(self, kind, count=1):
        """The rows of one service, once they are there."""
        waiting.until(f"{count} rows of {kind}", lambda: len(self._of(kind)) == count)
        return self._of(kind)

    def _of(self, kind):
        return [row for row in self.bob.get("list").data["items"] if row["type"] == kind]

    def plan(self, **task):
        answer = self.bob.post("/api/plan", task)
        self.assertEqual(200, answer.status, answer.body)
        return answer.data

    def perform(self, **task):
        answer = self.bob.post("/api/perform", task)
        self.assertEqual(200, answer.status, answer.body)
        return answer.data

    def plan_kick(self, *rows):
        return self.plan(action="kick", connections=[named(row) for row in rows])

    def kick(self, *rows):
        return self.perform(action="kick", connections=[named(row) for row in rows])["connections"]

    def test_users_of_one_smb_process_are_told_by_the_registry(self):
        os.makedirs("/srv/photos (bob)", mode=0o777, exist_ok=True)
        namespace.write("/etc/samba/smb.conf", namespace.read("/etc/samba/smb.conf")
                        + "[photos (bob)]\npath = /srv/photos (bob)\nread only = no\n")
        namespace.run("smbcontrol", "smbd", "reload-config")
        client = self.client(Smb, "alice", "10.20.0.2", "photos (bob)")
        row = self.rows("CIFS")[0]
        self.assertEqual("photos (bob)", row["descr"])
        self.assertEqual([], self.plan_kick(row)["ends"][0]["effects"])
        self.assertEqual([], self.plan(action="kick", select={"user": "bob", "type": "CIFS"})["ends"])
        client.log_on("bob", "media")
        waiting.until("bob's share", lambda: "media (bob)" in self.rows("CIFS")[0]["descr"])
        planned = self.plan(action="kick", select={"user": "bob", "type": "CIFS"})["ends"]
        self.assertEqual([{"alice", "bob"}],
                         [{end["who"]} | {effect["user"] for effect in end["effects"]} for end in planned])

    def test_open_files_are_told(self):
        namespace.write("/srv/media/a film.txt", "x", 0o666)
        client = self.client(Smb, "alice", "10.20.0.2", "media")
        row = self.rows("CIFS")[0]
        self.assertEqual({"total": 0, "names": []}, self.plan_kick(row)["ends"][0]["open_files"])
        self.assertIn("fnum", client.command('open "a film.txt"'))
        self.assertEqual({"total": 1, "names": ["/srv/media/a film.txt"]},
                         self.plan_kick(row)["ends"][0]["open_files"])

    def test_sftp_over_the_same_connection_ends_too(self):
        self.client(ssh.Sftp, "alice", "10.20.0.2")
        shell, sftp = self.rows("SSH")[0], self.rows("SFTP")[0]
        self.assertEqual([{"reason": "same_ssh_connection", "connection": sftp}],
                         self.plan_kick(shell)["ends"][0]["effects"])
        self.assertEqual([[], []], [end["effects"] for end in self.plan_kick(shell, sftp)["ends"]])
        self.assertEqual([[]], [end["effects"] for end in self.plan_kick(sftp)["ends"]])

    def test_further_web_logins_end_too_and_ones_own_is_told(self):
        self.assertEqual(200, Client("10.20.0.8").log_in("bob", PASSWORD).status)
        row = next(row for row in self._of("HTTP/HTTPS") if row["who"] == "bob")
        self.assertEqual([{"reason": "further_web_logins", "count": 1}, {"reason": "own_connection"}],
                         self.plan_kick(row)["ends"][0]["effects"])
        self.assertEqual([("ended", None)], brief(self.kick(row)))
        self.assertEqual(401, self.bob.get("/api/whoami").status)

    def test_rows_that_cannot_be_ended_stay_with_the_reason(self):
        self.server(Ganesha())
        self.client(Nfs, "10.20.0.5")
        console = self.client(Console, "alice")
        rows = self.rows("NFS") + self.rows("LOGIN")
        self.assertEqual([{"reason": "no_process"}, {"reason": "console"}],
                         [row["reason"] for row in self.plan_kick(*rows)["stays"]])
        self.assertEqual([("still_there", "no_process"), ("still_there", "console")], brief(self.kick(*rows)))
        self.assertFalse(console.has_ended())

    def test_a_row_that_is_gone_is_told_so(self):
        client = self.client(ssh.Shell, "alice", "10.20.0.2")
        row = self.rows("SSH")[0]
        client.close()
        self.rows("SSH", 0)
        self.assertEqual({"ends": [], "stays": [], "gone": [named(row)]}, self.plan_kick(row))
        self.assertEqual([named(row) | {"fate": "gone_before"}], self.kick(row))

    def test_a_login_is_followed_to_its_session(self):
        client = self.client(ssh.Held, "alice", "10.20.0.2")
        login = self.rows("SSH")[0]
        client.release()
        waiting.until("the session", client.has_begun)
        session = self.rows("SSH")[0]
        self.assertNotEqual(login["pid"], session["pid"])
        planned = self.plan_kick(login)
        self.assertEqual(([session["pid"]], []), ([end["pid"] for end in planned["ends"]], planned["gone"]))
        self.assertEqual([("ended", None)], brief(self.kick(login)))
        waiting.until("ssh to end", client.has_ended)

    def test_each_row_comes_to_its_fate_in_the_order_of_the_request(self):
        shells = [self.client(ssh.Shell, "alice", "10.20.0.2") for _ in range(3)]
        rows = self.rows("SSH", 3)
        missing = named(rows[0]) | {"pid": 4194303}
        fates = self.kick(rows[2], missing, rows[0], rows[2])
        self.assertEqual([rows[2]["pid"], 4194303, rows[0]["pid"]], [fate["pid"] for fate in fates])
        self.assertEqual(["ended", "gone_before", "ended"], [fate["fate"] for fate in fates])
        self.assertEqual([rows[1]["pid"]], [row["pid"] for row in self.rows("SSH")])
        self.assertEqual(2, sum(shell.has_ended() for shell in shells))

    def test_who_connects_again_is_told_with_the_new_process(self):
        self.client(ssh.Returning, "alice", "10.20.0.2")
        self.client(ssh.Sftp, "root", "10.20.0.3")  # takes the whole grace period, in which alice returns
        slow, alice = self.rows("SFTP")[0], next(row for row in self.rows("SSH", 2) if row["who"] == "alice")
        fates = self.kick(slow, alice)
        self.assertEqual(["ended", "connected_again"], [fate["fate"] for fate in fates])
        now = next(row for row in self._of("SSH") if row["who"] == "alice")
        self.assertEqual(now, fates[1]["now"])
        self.assertNotEqual(alice["pid"], now["pid"])

    def test_numbers_that_select_nothing_or_two_things_are_told(self):
        self.client(ssh.Shell, "alice", "10.20.0.2")
        pid = self.rows("SSH")[0]["pid"]
        plan = self.plan(action="kick", select={"pids": [pid, 4194303], "from": "::ffff:10.20.0.2"})
        self.assertEqual(([pid], [4194303], []),
                         ([end["pid"] for end in plan["ends"]], plan["missing_pids"], plan["ambiguous_pids"]))
        plan = self.plan(action="kick", select={"pids": [pid], "user": "alice", "type": "SSH", "filter": "10.20.0.2"})
        self.assertEqual([pid], [end["pid"] for end in plan["ends"]])

    def test_each_row_leaves_its_lines_also_when_the_caller_has_gone(self):
        self.client(ssh.Sftp, "root", "10.20.0.3")  # takes the whole grace period
        clients = [self.client(ssh.Shell, "alice", "10.20.0.2") for _ in range(3)]
        before = len(self.daemon.log_text())
        rows = self.rows("SFTP") + [row for row in self.rows("SSH", 4) if row["who"] == "alice"]
        body = json.dumps({"action": "kick", "connections": [named(row) for row in rows]}).encode()
        headers = [("REQUEST_METHOD", "POST"), ("REQUEST_URI", "/api/perform"), ("CONTENT_TYPE", "application/json")]
        with socket.socket(socket.AF_UNIX) as caller:
            caller.connect(LOCAL_SOCKET)
            caller.sendall(scgi_client.request(headers, body))
            waiting.until("a row to begin", lambda: '"kick_connection"' in self.daemon.log_text()[before:])
        done = 'method="perform" user="admin" from=local status=200 code=0\n'
        waiting.until("the call to end", lambda: done in self.daemon.log_text()[before:])
        lines = self.daemon.log_text()[before:]
        for row in rows:
            pattern = rf'method="kick_connection" user="admin" .* begins with .*"pid":{row["pid"]}\D'
            self.assertRegex(lines, pattern)
        ended = re.findall(r'method="kick_connection" user="admin" from=local status=200 code=0', lines)
        self.assertEqual(len(rows), len(ended))
        for client in clients:
            waiting.until("the client to be disconnected", client.has_ended)

    def test_ones_own_connection_comes_last(self):
        self.client(ssh.Sftp, "root", "10.20.0.3")  # takes the whole grace period
        self.client(ssh.Shell, "alice", "10.20.0.2")
        own = next(row for row in self._of("HTTP/HTTPS") if row["who"] == "bob")
        before = len(self.daemon.log_text())
        fates = self.kick(own, *self.rows("SFTP"), *self.rows("SSH", 2))
        self.assertEqual({"ended"}, {fate["fate"] for fate in fates})
        lines = [line for line in self.daemon.log_text()[before:].splitlines() if '"kick_connection"' in line]
        self.assertEqual(8, len(lines), lines)
        self.assertIn('begins with {"http_conn":', lines[6])

    def test_only_a_refresh_in_the_background_takes_a_list_that_is_there(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.rows("CIFS")
        namespace.write("/srv/counting", "#!/bin/sh\necho >>/run/test-runs\nexec /usr/bin/smbstatus \"$@\"\n", 0o755)
        self._restart('smbstatus = "/srv/counting"')
        self.addCleanup(self._restart)

        def runs_after(*headers):
            path = "/run/test-runs"
            before = os.path.getsize(path) if os.path.exists(path) else 0
            answer = scgi_client.call(LOCAL_SOCKET, "GET", f"{API}list", *headers)
            self.assertIn("CIFS", [row["type"] for row in answer.data["items"]])
            return os.path.getsize(path) - before

        def refreshes_alone():
            self.assertGreater(runs_after(), 0, "a list that somebody asks for is a new one")
            return runs_after(("HTTP_CURRENTCONN_BACKGROUND", "1")) == 0

        waiting.until("a refresh within two seconds of a list", refreshes_alone)

    def test_no_process_outlives_a_call_that_takes_too_long(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        row = self.rows("CIFS")[0]
        namespace.write("/srv/hanging", "#!/bin/sh\nsleep 600\n", 0o755)
        self._restart("call_seconds = 3", 'smbstatus = "/srv/hanging"')
        self.addCleanup(self._restart)
        answer = self.bob.post("/api/perform", {"action": "kick", "connections": [named(row)]})
        self.assertIn(answer.status, (500, 504))  # by the call itself or, where it comes too late, by the daemon
        waiting.until("the call's processes to end", lambda: self._processes() == [self.daemon.process.pid])

    def _restart(self, *lines):
        self.daemon.stop()
        self.daemon._lines = lines
        self.daemon.start()

    @staticmethod
    def _processes():
        return [int(pid) for pid in namespace.run("pgrep", "--exact", "currentconnd").split()]

    def test_a_request_that_makes_no_sense(self):
        row = {"who": "alice", "from": "10.20.0.2", "type": "SSH", "pid": 12}
        for task in ({}, {"action": "kick"}, {"action": "kick", "connections": []}, {"action": "end", "connections": [row]},
                     {"action": "kick", "connections": [row | {"pid": -1}]}, {"action": "kick", "connections": ["x"]},
                     {"action": "kick", "connections": [{"who": "alice"}]}, {"action": ["kick"], "connections": [row]},
                     {"action": "kick", "connections": [row], "users": ["alice"]}, {"action": "disable", "users": []},
                     {"action": "disable", "users": [""]}, {"action": "disable", "users": [{}]},
                     {"action": "disable", "connections": [row]}, {"action": "kick", "select": {}},
                     {"action": "kick", "select": {"user": ""}}, {"action": "kick", "select": {"who": "alice"}},
                     {"action": "kick", "select": {"pids": [0]}}, {"action": "kick", "select": {"pids": []}}):
            for path in ("/api/plan", "/api/perform"):
                self.assertEqual(400, self.bob.post(path, task).status, (path, task))
        self.assertEqual(400, self.bob.post("/api/perform", {"action": "kick", "select": {"user": "alice"}}).status)

    def test_no_more_accounts_than_there_is_time_for(self):
        users = [f"nobody-{number}" for number in range(251)]
        self.assertEqual(250, len(self.plan(action="disable", users=users[1:])["accounts"]))
        for path in ("/api/plan", "/api/perform"):
            self.assertEqual(400, self.bob.post(path, {"action": "disable", "users": users}).status, path)

    def test_a_page_of_another_origin_may_neither(self):
        task = {"action": "disable", "users": ["alice"]}
        for path in ("/api/plan", "/api/perform"):
            answer = self.bob.call("POST", path, task, {"Origin": "http://elsewhere.example"})
            self.assertEqual((403, 403), (answer.status, answer.code), path)

    def refusals(self, *users):
        """The reasons of plan and perform, which have to agree; nothing may have changed."""
        before = namespace.read("/etc/shadow")
        planned = self.plan(action="disable", users=users)
        performed = self.perform(action="disable", users=users)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.assertEqual(planned.get("refusal"), performed.get("refusal"))
        self.assertEqual([account.get("refusal", planned["refusal"]) for account in planned["accounts"]],
                         [account["reason"] for account in performed["accounts"]])
        return planned["refusal"]

    def test_what_the_guard_would_refuse_is_told_and_refused(self):
        for name, key in (("nobody-of-that-name", "unknown_account"), ("root", "root_account"), ("admin", "root_account"),
                          ("bob", "own_account"), ("alice@example", "directory_account"),
                          ("DOMAIN\\alice", "directory_account")):
            self.assertEqual({"reason": key, "user": name}, self.refusals("alice", name), name)
        self.assertFalse(self.plan(action="disable", users=["nobody-of-that-name"])["accounts"][0]["exists"])

    def test_the_last_administrator_is_refused(self):
        namespace.add_account("vera")
        namespace.run("gpasswd", "--add", "vera", "sudo")
        self.addCleanup(namespace.run, "gpasswd", "--delete", "vera", "sudo")
        vera = Client("10.20.0.7")
        self.assertEqual(200, vera.log_in("vera", PASSWORD).status)
        namespace.run("usermod", "--expiredate", "1970-01-02", "bob")
        self.addCleanup(namespace.run, "usermod", "--expiredate", "", "bob")
        answer = scgi_client.call(LOCAL_SOCKET, "POST", "/api/plan",
                                  body=json.dumps({"action": "disable", "users": ["vera"]}).encode())
        self.assertEqual("too_few_administrators", answer.data["refusal"]["reason"])
        answer = scgi_client.call(LOCAL_SOCKET, "POST", "/api/perform",
                                  body=json.dumps({"action": "disable", "users": ["vera"]}).encode())
        self.assertEqual("too_few_administrators", answer.data["accounts"][0]["reason"]["reason"])
        self.assertEqual(200, vera.get("/api/whoami").status)

    def test_accounts_and_connections_are_planned_and_disabled(self):
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", "alice")
        self.addCleanup(listing.run, "enable", "alice")
        namespace.run("chage", "--expiredate", "2099-01-31", "alice")
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        console = self.client(Console, "alice")
        ssh_row, console_row = self.rows("SSH")[0], self.rows("LOGIN")[0]
        plan = self.plan(action="disable", users=["alice"])
        self.assertEqual([ssh_row | {"effects": []}], plan["ends"])
        self.assertEqual([console_row | {"reason": {"reason": "console"}}], plan["stays"])
        account = plan["accounts"][0]
        self.assertEqual((True, False), (account["exists"], account["disabled"]))
        self.assertNotIn("refusal", plan)
        self.assertNotIn("let_in", [access["access"] for access in account["access"]])
        result = self.perform(action="disable", users=["alice"])
        waiting.until("the shell to end", shell.has_ended)
        self.assertEqual({"ended": ssh_row["pid"], "still_there": console_row["pid"]},
                         {fate["fate"]: fate["pid"] for fate in result["connections"]})
        account = result["accounts"][0]
        self.assertEqual((True, False, {"expiry_before": "2099-01-31"}),
                         (account["disabled"], account["already"], account["undo"]))
        self.assertFalse(console.has_ended())
        again = self.perform(action="disable", users=["alice"])["accounts"][0]
        self.assertEqual((True, True), (again["disabled"], again["already"]))
        self.assertEqual({"accounts": [{"user": "alice", "complete": True, "notes": []}]},
                         self.bob.post("/api/enable", {"users": ["alice"]}).data)

    def test_many_accounts_with_programs_left_are_answered_for_in_time(self):
        users = [f"pupil{number}" for number in range(100)]
        namespace.run("newusers", text="".join(
            f"{name}:{PASSWORD}:{7000 + number}:100::/srv:/bin/bash\n" for number, name in enumerate(users)))
        for number in range(len(users)):
            left = subprocess.Popen(["setpriv", f"--reuid={7000 + number}", "--regid=100", "--clear-groups",
                                     "sleep", "1000"])
            self.addCleanup(left.wait)
            self.addCleanup(left.kill)
        self._restart("call_seconds = 80")  # a second for each would be too long
        self.addCleanup(self._restart)
        waiting.until("their programs", lambda: self._left_running(self.plan(action="disable", users=users)) == {1})
        result = self.perform(action="disable", users=users)
        self.assertEqual({True}, {account["disabled"] for account in result["accounts"]})
        self.assertEqual({1}, self._left_running(result))

    @staticmethod
    def _left_running(answer):
        return {account["left_running"]["processes"] for account in answer["accounts"]}

    def test_logins_under_way_are_counted_and_logged(self):
        self.addCleanup(listing.run, "enable", "alice", "carol")
        self.client(ssh.PasswordPrompt, "alice", "10.20.0.2")
        self.client(ssh.PasswordPrompt, "alice", "10.20.0.3")
        bobs = self.client(ssh.PasswordPrompt, "bob", "10.20.0.4")
        accounts = self.perform(action="disable", users=["alice", "carol"])["accounts"]
        self.assertEqual({("alice", 2), ("carol", 0)}, {(one["user"], one["logins_ended"]) for one in accounts})
        self.assertEqual([[], []], [one["logins_left"] for one in accounts])
        self.assertEqual(2, self.daemon.log_text().count(' ended the SSH login of "alice" under way, pid '))
        bobs.send(PASSWORD)
        waiting.until("bob's session", lambda: [row["who"] for row in self.rows("SSH")] == ["bob"])

    def test_who_works_under_anothers_name_stays(self):
        client = self.client(Smb, "alice", "10.20.0.2", "media")
        client.log_on("bob", "photos")
        waiting.until("bob's share", lambda: "photos (bob)" in self.rows("CIFS")[0]["descr"])
        row = self.rows("CIFS")[0]
        other = "bob" if row["who"] == "alice" else "alice"
        answer = scgi_client.call(LOCAL_SOCKET, "POST", "/api/plan",
                                  body=json.dumps({"action": "disable", "users": [other]}).encode())
        self.assertEqual([row | {"reason": {"reason": "under_other_user", "user": other}}], answer.data["stays"])
        answer = scgi_client.call(LOCAL_SOCKET, "POST", "/api/plan",
                                  body=json.dumps({"action": "disable", "users": [row["who"]]}).encode())
        self.assertEqual([[{"reason": "same_process", "user": other}]], [end["effects"] for end in answer.data["ends"]])


if __name__ == "__main__":
    host_test.main()
