"""Requests that are not requests, and modules that no daemon should meet."""

import concurrent.futures
import contextlib
import fcntl
import json
import os
import select
import shutil
import signal
import socket
import subprocess
import time

import host_test
from host_test import HostTest, uid_of
import namespace
import processes
import scgi_client
import waiting
from daemons_of_host import Currentconnd, is_listening, LOCAL_SOCKET, PACKAGING, PlainLighttpd, WEB_SOCKET
from http_client import API, Client, check
from scgi_client import call, exchange, parsed, received, request

FROM_A_CLIENT = ("REMOTE_ADDR", "10.20.0.2")


class Requests(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.daemon = cls.server(Currentconnd())
        cls.server(PlainLighttpd())

    def tearDown(self):
        self.assertEqual(200, call(LOCAL_SOCKET, "GET", "/api/whoami").status, "the next honest call is served")

    def answer_to(self, sent):
        answer = parsed(exchange(WEB_SOCKET, sent))
        if answer:
            check("POST", "/api/login", answer)  # as any call is answered
        return answer.status if answer else None

    def test_bytes_that_are_no_scgi(self):
        for sent in (b"GET / HTTP/1.1\r\n\r\n", b"\0" * 100, b"5:abc,d,", b"-1:", b"00:,", b"3:a\0b,", os.urandom(4096),
                     b"24:CONTENT_LENGTH\x000\0SCGI\x002\0,", b"70000:", b"99999999999999999999:"):
            self.assertIn(self.answer_to(sent), (400, 413), sent[:40])

    def test_lengths_that_lie(self):
        good = request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", "/api/whoami"), FROM_A_CLIENT])
        self.assertEqual(401, self.answer_to(good))
        length, rest = good.split(b":", 1)
        self.assertEqual(400, self.answer_to(str(int(length) - 1).encode() + b":" + rest))
        self.assertEqual(400, self.answer_to(good + b"more"))

    def test_a_hundred_megabytes(self):
        head = request([("REQUEST_METHOD", "POST"), ("REQUEST_URI", "/api/login"), FROM_A_CLIENT])
        big = head.replace(b"CONTENT_LENGTH\x000\0", b"CONTENT_LENGTH\x00104857600\0")
        big = str(int(head.split(b":")[0]) + 8).encode() + b":" + big.split(b":", 1)[1]
        self.assertEqual(413, self.answer_to(big + b"x" * 104857600))

    def test_a_body_over_http_that_is_too_large(self):
        answer = Client().call("POST", "/api/login", b"x" * 2000000, {"Content-Type": "application/json"})
        self.assertEqual(413, answer.status)

    def test_names_that_stand_twice(self):
        for name in ("REMOTE_ADDR", "REQUEST_METHOD", "HTTP_COOKIE", "HTTP_ORIGIN"):
            twice = request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", "/api/whoami"), FROM_A_CLIENT,
                             (name, "x"), (name, "x")])
            self.assertEqual(400, self.answer_to(twice), name)

    def test_a_request_without_an_end_is_dropped_in_the_end(self):
        good = request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", "/api/whoami"), FROM_A_CLIENT], b"body")
        self.assertEqual(b"", exchange(WEB_SOCKET, good[:-2]))
        self.daemon.wait_for_line(r"method=- user=- from=web ms=\d+: the request was incomplete; dropped")

    def test_the_end_of_a_request_may_come_after_another_call(self):
        good = request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", "/api/whoami"), FROM_A_CLIENT])
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
            connection.settimeout(scgi_client.LIMIT_SECONDS)
            connection.connect(WEB_SOCKET)
            connection.sendall(good[:-2])
            self.assertEqual(401, self.answer_to(good))
            connection.sendall(good[-2:])
            self.assertEqual(401, parsed(received(connection)).status)

    def test_a_byte_a_second_is_dropped_in_ten_seconds(self):
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
            connection.connect(WEB_SOCKET)
            sent = request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", "/api/whoami"), ("HTTP_X", "x" * 100)])
            with self.assertRaises(BrokenPipeError):
                for byte in sent[:100]:
                    connection.sendall(bytes([byte]))
                    time.sleep(1)

    def test_a_get_with_header_lines_that_are_too_long(self):
        many = [(f"HTTP_X{number}", "x" * 1000) for number in range(70)]
        self.assertEqual(413, call(WEB_SOCKET, "GET", "/api/whoami", FROM_A_CLIENT, *many).status)

    def test_json_that_is_nested_deep_or_none(self):
        user = self._logged_in("alice")
        for body in (b'{"a":' + b"[" * 10000 + b"]" * 10000 + b"}", b"{" * 10000, b"[]", b"{", b'{"a":"\xff"}', b"\0"):
            answer = user.call("POST", API + "list_by_user", body, {"Content-Type": "application/json"})
            self.assertEqual(400, answer.status, body[:20])

    def test_paths_with_dots_and_escapes(self):
        user = self._logged_in("alice")
        for path in ("/api/../api/whoami", "/api/./whoami", "/api/%77hoami", "/api/whoami%00", "/api//whoami",
                     "/api/whoami/", "/api/ZEVO.Core.CurrentConnection/1/../1/list_by_user", "/api/%2e%2e/whoami"):
            answer = parsed(exchange(WEB_SOCKET, request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", path),
                                                          FROM_A_CLIENT, ("HTTP_COOKIE", user.cookie)])))
            self.assertEqual(404, answer.status, path)
            check("GET", path, answer)

    def test_cookies_by_the_thousand(self):
        user = self._logged_in("alice")
        many = "; ".join(f"c{number}=x" for number in range(2000))
        self.assertEqual(200, user.get("/api/whoami", headers={"Cookie": f"{many}; {user.cookie}"}).status)
        self.assertEqual(401, user.get("/api/whoami", headers={"Cookie": many}).status)
        self.assertEqual(401, user.get("/api/whoami", headers={"Cookie": f"{user.cookie}; {user.cookie}"}).status)

    def test_posts_from_other_sites(self):
        user = self._logged_in("alice")
        for path in ("/api/login", "/api/logout", API + "kick_connection", API + "list_by_user"):
            for headers in ({"Origin": "http://evil.example"}, {"Sec-Fetch-Site": "cross-site"},
                            {"Sec-Fetch-Site": "same-site"}, {"Origin": "null"}):
                answer = user.call("POST", path, {}, headers)
                self.assertEqual((403, 403), (answer.status, answer.code), (path, headers))
        self.assertEqual(200, user.post("list_by_user", headers={"Origin": "http://10.20.0.2:8088"}).status)
        form = user.call("POST", API + "kick_connection", b"a=1", {"Content-Type": "text/plain"})
        self.assertEqual(415, form.status)

    def test_five_hundred_connections_at_once(self):
        held = [socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) for _ in range(500)]
        for connection in held:
            connection.settimeout(scgi_client.LIMIT_SECONDS)
            connection.connect(WEB_SOCKET)
        self.assertEqual(200, call(LOCAL_SOCKET, "GET", "/api/whoami").status, "places are kept for the command line")
        sent = request([("REQUEST_METHOD", "GET"), ("REQUEST_URI", "/api/whoami"), FROM_A_CLIENT])
        statuses = []
        for connection in held:
            try:
                connection.sendall(sent)
            except BrokenPipeError:
                pass
            answer = parsed(received(connection))
            if answer:
                check("GET", "/api/whoami", answer)
            statuses.append(answer.status if answer else None)
            connection.close()
        self.assertEqual({401, 503}, set(statuses))
        self._turned_away("from=web")

    def test_one_local_user_does_not_keep_the_others_out(self):
        connected, held = os.pipe()
        asked, done = os.pipe()

        def hold():
            connections = [socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) for _ in range(40)]
            for connection in connections:
                connection.connect(LOCAL_SOCKET)
            status = call(LOCAL_SOCKET, "GET", "/api/whoami").status
            os.write(held, b"x")
            os.read(asked, 1)
            return status
        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            alices = pool.submit(scgi_client.as_user, uid_of("alice"), hold)
            os.read(connected, 1)
            carols = scgi_client.as_user(uid_of("carol"), lambda: call(LOCAL_SOCKET, "GET", "/api/whoami").status)
            os.write(done, b"x")
            self.assertEqual(503, alices.result())
        self.assertEqual(200, carols)
        self._turned_away(f"from=local uid={uid_of('alice')}")

    def test_nor_do_the_subordinate_ids_of_one(self):
        first = next(int(line.split(":")[1]) for line in namespace.read("/etc/subuid").splitlines() if "alice:" in line)
        with contextlib.ExitStack() as held:
            for uid in range(first, first + 40):
                connection = held.enter_context(socket.socket(socket.AF_UNIX, socket.SOCK_STREAM))
                os.seteuid(uid)
                try:
                    connection.connect(LOCAL_SOCKET)
                finally:
                    os.seteuid(0)
            carols = scgi_client.as_user(uid_of("carol"), lambda: call(LOCAL_SOCKET, "GET", "/api/whoami").status)
        self.assertEqual(200, carols)
        self._turned_away(f"from=local uid={first}")

    def test_logins_by_the_dozen_leave_the_page_alone(self):
        def log_in(_):
            return Client("10.20.0.7").log_in("alice", "wrong").status
        with concurrent.futures.ThreadPoolExecutor(24) as pool:
            tried = [pool.submit(log_in, number) for number in range(24)]
            time.sleep(0.5)
            self.assertEqual(401, Client().get("/api/whoami").status)
            self._logged_in("carol")  # one guesser does not keep the others out
            statuses = [attempt.result() for attempt in tried]
        self.assertLessEqual(set(statuses), {401, 503})

    def test_the_log_cannot_be_forged(self):
        Client("10.20.0.7").log_in("x\nlogin from 6.6.6.6: user \"root\"", "y")
        self.assertFalse([line for line in self.daemon.log_text().splitlines() if line.startswith("login from")])

    def _turned_away(self, caller):
        self.daemon.wait_for_line(
            rf"method=- user=- {caller} status=503 code=503 calls=\d+: no free place")

    def _logged_in(self, name):
        client = Client("10.20.0.2")
        self.assertEqual(200, client.log_in(name, namespace.PASSWORD).status)
        return client


class Modules(HostTest):
    """A daemon whose only module does what none should."""

    LINES = (f'module_folder = "{os.environ["CURRENTCONN_TEST_MODULES"]}"',)

    @classmethod
    def setUpClass(cls):
        cls.daemon = cls.server(Currentconnd(*cls.LINES))

    def tearDown(self):
        self.assertEqual(200, self.call("echo").status, "the daemon goes on")

    def call(self, method):
        return call(LOCAL_SOCKET, "POST", f"/api/Test/1/{method}", body=b"{}")

    def test_one_that_crashes_is_answered_for(self):
        for method in ("crash", "segfault"):
            answer = self.call(method)
            self.assertEqual((500, 500), (answer.status, answer.code), method)
        self.daemon.wait_for_line(r'method="crash" user="admin" from=local status=500 .*signal 6 before it answered')

    def test_one_that_exits_is_answered_for(self):
        for method in ("leave", "leave_at_once"):
            answer = self.call(method)
            self.assertEqual((500, 500), (answer.status, answer.code), method)
            self.assertNotIn(b"half an answer", answer.body)

    def test_one_that_prints_garbage_damages_no_answer(self):
        self.assertEqual("fine", self.call("print_garbage").data)
        self.assertEqual(500, self.call("print_garbage_as_answer").status)

    def test_one_that_prints_without_end_is_ended(self):
        self.assertEqual(500, self.call("print_without_end").status)
        self.daemon.wait_for_line(r'method="print_without_end" .* signal 25 before it answered')

    def test_one_that_throws_is_answered_for(self):
        for method in ("throw_something", "throw_exception", "record_nothing"):
            self.assertEqual(500, self.call(method).status, method)

    def test_calls_beside_one_that_hangs_are_served_at_once(self):
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as hanging:
            hanging.connect(LOCAL_SOCKET)
            hanging.sendall(request([("REQUEST_METHOD", "POST"), ("REQUEST_URI", "/api/Test/1/hang")]))
            self.assertEqual(200, self.call("echo").status)
            self.assertEqual([], select.select([hanging], [], [], 0)[0], "it hangs as before")
            for pid in set(processes.named("currentconnd")) - {self.daemon.process.pid}:
                with contextlib.suppress(ProcessLookupError):  # that of the other call, which ends by itself
                    os.kill(pid, signal.SIGKILL)
            self.assertEqual(500, parsed(received(hanging)).status)


class HangingModules(HostTest):
    """A daemon with the same module, where calls may take three seconds."""

    def test_one_that_hangs_is_ended(self):
        self.server(Currentconnd(*Modules.LINES, "call_seconds = 3"))
        for method in ("hang", "hang_in_child"):
            self.assertEqual(504, call(LOCAL_SOCKET, "POST", f"/api/Test/1/{method}", body=b"{}").status)
        waiting.until("what it started to end", lambda: len(processes.titled("currentconnd")) == 1)
        echo = ("POST", "/api/Test/1/echo")
        waiting.until("the daemon to go on", lambda: call(LOCAL_SOCKET, *echo, body=b"{}").status == 200)


class Log(HostTest):
    """A daemon whose standard error nobody takes."""

    def daemon_with(self, stderr):
        shutil.copy(f"{PACKAGING}/pam/currentconn", "/etc/pam.d/currentconn")
        namespace.write("/etc/currentconn/currentconn.toml", f'module_folder = "{os.environ["CURRENTCONN_TEST_MODULES"]}"\n')
        daemon = subprocess.Popen([os.environ["CURRENTCONND"]], stdin=subprocess.DEVNULL, stderr=stderr,
                                  env=namespace.ENVIRONMENT)
        self.addCleanup(daemon.wait)
        self.addCleanup(daemon.terminate)
        waiting.until("its sockets", lambda: is_listening(LOCAL_SOCKET))
        return daemon

    def crash_and_ask(self, times):
        for _ in range(times):
            self.assertEqual(500, call(LOCAL_SOCKET, "POST", "/api/Test/1/crash", body=b"{}").status)
            self.assertEqual(200, call(LOCAL_SOCKET, "GET", "/api/whoami").status)
            # It may change something, so it has a line before it begins.
            self.assertEqual(200, call(LOCAL_SOCKET, "POST", "/api/Test/1/echo", body=b"{}").status)

    def test_a_reader_that_has_gone_does_not_end_the_daemon(self):
        reader, writer = os.pipe()
        daemon = self.daemon_with(writer)
        os.close(reader)
        os.close(writer)
        self.crash_and_ask(3)
        self.assertIsNone(daemon.poll())

    def test_a_file_of_any_length_takes_its_lines(self):
        with open("/var/log/long.log", "wb") as log:
            log.truncate(300 * 1024 * 1024)
        with open("/var/log/long.log", "ab") as log:
            self.daemon_with(log)
        self.crash_and_ask(1)
        with open("/var/log/long.log", "rb") as log:
            log.seek(300 * 1024 * 1024)
            self.assertRegex(log.read().decode(), r'method="echo" .* status=200')

    def test_a_reader_that_does_not_read_does_not_stop_the_daemon(self):
        reader, writer = os.pipe()
        self.addCleanup(os.close, reader)
        fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
        self.daemon_with(writer)
        os.set_blocking(writer, False)
        while True:
            try:
                os.write(writer, b"x" * 512)
            except BlockingIOError:
                break
        os.set_blocking(writer, True)
        os.close(writer)
        self.crash_and_ask(5)


class FrozenDisk(HostTest):
    """The session file lies on a file system that stops writing for a while, as for a snapshot."""

    FOLDER = "/srv/frozen"

    def setUp(self):
        host_test.add_accounts()
        os.makedirs(self.FOLDER)
        image = "/run/frozen.img"
        try:
            namespace.run("truncate", "--size=8M", image)
            namespace.run("mkfs.ext4", "-q", image)
            namespace.run("mount", "-o", "loop", image, self.FOLDER)
        except RuntimeError as failure:
            self.skipTest(f"no loop device: {failure}")
        self.addCleanup(namespace.run, "umount", self.FOLDER)

    def test_a_call_whose_process_cannot_die_is_answered_in_time(self):
        daemon = Currentconnd(f'session_file = "{self.FOLDER}/state/sessions"', "call_seconds = 2").start()
        self.addCleanup(daemon.stop)
        namespace.run("fsfreeze", "--freeze", self.FOLDER)
        try:
            body = json.dumps({"name": "alice", "password": namespace.PASSWORD}).encode()
            answer = call(WEB_SOCKET, "POST", "/api/login", FROM_A_CLIENT, ("HTTP_HOST", "nas"), body=body)
            self.assertEqual(504, answer.status)
            self.assertEqual(["D"], [processes.status(pid, "State")[0] for pid in processes.titled("currentconnd")
                                     if pid != daemon.process.pid])
        finally:
            namespace.run("fsfreeze", "--unfreeze", self.FOLDER)
        waiting.until("its process to end", lambda: processes.titled("currentconnd") == [daemon.process.pid])


class Ending(HostTest):
    def test_sigterm_waits_for_the_calls_in_flight(self):
        host_test.add_accounts()
        daemon = Currentconnd().start()
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as calling:
            calling.connect(LOCAL_SOCKET)
            calling.sendall(request([("REQUEST_METHOD", "POST"), ("REQUEST_URI", API + "kick_connection"),
                                     ("CONTENT_TYPE", "application/json")], b"{}"))
            time.sleep(0.3)
            daemon.process.terminate()
            self.assertEqual({"data": None}, json.loads(parsed(received(calling)).body))
        self.assertEqual(0, daemon.process.wait(waiting.LIMIT_SECONDS))
        self.assertFalse(os.path.exists(WEB_SOCKET) or os.path.exists(LOCAL_SOCKET))


if __name__ == "__main__":
    host_test.main()
