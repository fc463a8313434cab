"""The page's calls made with curl, and the examples of docs/http.md as they stand there."""

import email
import json
import re
import subprocess
import sys
import tempfile

import host_test
from host_test import HostTest, uid_of
import http_client
import namespace
import processes
import scgi_client
import waiting
from clients.smb import Smb
from clients.ssh import Shell, allow
from daemons_of_host import CERTIFICATE, Currentconnd, Lighttpd, PLAIN_PORT, SOURCES, TLS_PORT
from http_client import API, Answer, Client

ADDRESS = "10.20.0.8"
EXAMPLES = f"{SOURCES}/docs/http.md"


class Curl:
    """One user of curl, with a cookie jar, whose calls come from `address`."""

    def __init__(self, address):
        self._address = address
        self._folder = tempfile.TemporaryDirectory()

    def call(self, path, body=None):
        """GET, or POST where there is a body."""
        options = ()
        if body is not None:
            options = ("--header", "Content-Type: application/json", "--data", json.dumps(body))
        jar, head, content = (f"{self._folder.name}/{name}" for name in ("jar", "head", "content"))
        status = namespace.run("curl", "--silent", "--show-error", "--interface", self._address, "--cookie", jar,
                               "--cookie-jar", jar, "--dump-header", head, "--output", content,
                               "--write-out", "%{http_code}", *options, f"http://127.0.0.1:{PLAIN_PORT}{path}")
        headers = email.message_from_string(namespace.read(head).split("\n", 1)[1])
        with open(content, "rb") as file:
            answer = Answer(int(status), headers, file.read())
        http_client.check("GET" if body is None else "POST", path.split("?")[0], answer)
        return answer

    def close(self):
        """Forgets the cookies."""
        self._folder.cleanup()

    def log_in(self, name):
        """POST /api/login."""
        return self.call("/api/login", body={"name": name, "password": namespace.PASSWORD})


class Calls(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.start_file_server(cls)

    def setUp(self):
        self.bob = self.client(Curl, ADDRESS)
        self.assertEqual(200, self.bob.log_in("bob").status)
        self.addCleanup(self.bob.call, "/api/logout", body={})

    def rows(self, query=""):
        answer = self.bob.call(f"{API}list{query}")
        self.assertEqual(200, answer.status, answer.body)
        return answer.data["items"]

    def row_of(self, kind):
        return waiting.until(f"a row of {kind}",
                             lambda: next((row for row in self.rows() if row["type"] == kind), None))

    def test_a_login_sees_itself(self):
        self.assertEqual(("bob", ADDRESS), tuple(self.bob.call("/api/whoami").data[key] for key in ("user", "address")))
        self.assertEqual([("bob", ADDRESS)], [(row["who"], row["from"]) for row in self.rows("?filter=http")])

    def test_a_logout_ends_the_login(self):
        alice = self.client(Curl, "10.20.0.4")
        alice.log_in("alice")
        self.assertEqual(200, alice.call("/api/whoami").status)
        self.assertEqual(200, alice.call("/api/logout", body={}).status)
        self.assertEqual(401, alice.call("/api/whoami").status)

    def test_the_list_is_filtered(self):
        self.client(Smb, "alice", "10.20.0.2", "photos")
        self.client(Shell, "alice", "10.20.0.3")
        self.row_of("CIFS")
        self.row_of("SSH")
        self.assertEqual([("CIFS", "alice", "10.20.0.2")],
                         [(row["type"], row["who"], row["from"]) for row in self.rows("?filter=cifs")])
        self.assertEqual(["SSH"], [row["type"] for row in self.rows("?filter=10.20.0.3")])
        self.assertEqual([], self.rows("?filter=nothing%20like%20it"))

    def test_an_smb_client_is_ended(self):
        smb = self.client(Smb, "alice", "10.20.0.2", "photos")
        shell = self.client(Shell, "alice", "10.20.0.3")
        row = self.row_of("CIFS")
        self.assertEqual(200, self.bob.call(f"{API}kick_connection", body={"service_conn": [row]}).status)
        waiting.until("the connection to end", lambda: processes.established(445) == 0)
        self.assertTrue(smb.has_ended())
        self.assertFalse(shell.has_ended())
        self.assertNotIn("CIFS", [row["type"] for row in self.rows()])

    def test_ones_own_second_browser_falls_back_to_the_login(self):
        second = self.client(Curl, "10.20.0.5")
        second.log_in("bob")
        self.assertEqual(200, second.call(f"{API}list").status)
        kick = {"http_conn": [{"who": "bob", "from": "10.20.0.5"}]}
        self.assertEqual(200, self.bob.call(f"{API}kick_connection", body=kick).status)
        self.assertEqual(401, second.call(f"{API}list").status)
        self.assertEqual(200, self.bob.call("/api/whoami").status)

    def test_a_user_is_disabled_and_out(self):
        namespace.add_account("dora")
        allow("dora")
        dora = self.client(Curl, "10.20.0.4")
        self.assertEqual(200, dora.log_in("dora").status)
        shell = self.client(Shell, "dora", "10.20.0.6")
        self.row_of("SSH")
        self.assertEqual(200, self.bob.call(f"{API}disable_user", body={"users": ["dora"]}).status)
        waiting.until("the shell to end", shell.has_ended)
        self.assertEqual(401, dora.call("/api/whoami").status)
        self.assertEqual(401, dora.log_in("dora").status)

    def test_the_report_is_downloaded(self):
        self.assertIsReport(self.bob.call(f"{API}download"))


class Examples(HostTest):
    """The document's code, with the password alone put in; its host "files" is this server."""

    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        cls.server(Currentconnd())
        cls.server(Lighttpd())
        namespace.write("/etc/hosts", f"{namespace.read('/etc/hosts')}10.20.0.8 files\n")

    def example(self, language):
        """The only block of code in this language."""
        blocks = re.findall(rf"^```{language}\n(.*?)^```$", namespace.read(EXAMPLES), re.MULTILINE | re.DOTALL)
        self.assertEqual(1, len(blocks))
        return blocks[0]

    def test_with_curl(self):
        code = self.example("sh")
        self.assertEqual(1, code.count("…"))
        with tempfile.TemporaryDirectory() as folder:
            environment = namespace.ENVIRONMENT | {"CURL_CA_BUNDLE": CERTIFICATE}
            done = subprocess.run(["bash", "-e", "-c", code.replace("…", namespace.PASSWORD)], cwd=folder, timeout=60,
                                  capture_output=True, text=True, env=environment)
        self.assertEqual(0, done.returncode, done.stderr)
        whoami, listed = (json.loads(line)["data"] for line in done.stdout.splitlines())
        self.assertEqual(("alice", False), (whoami["user"], whoami["isAdmin"]))
        self.assertEqual([("alice", "10.20.0.8", "HTTP/HTTPS")],
                         [(row["who"], row["from"], row["type"]) for row in listed["items"]])

    def test_in_python(self):
        code = self.example("python") + "\nimport sys; sys.stdout.buffer.write(answer)\n"
        self.assertEqual(200, Client("10.20.0.5", TLS_PORT, tls=True).log_in("carol", namespace.PASSWORD).status)
        for name, connections in (("root", []), ("carol", [("carol", "10.20.0.5")])):
            done = subprocess.run([sys.executable, "-c", code], cwd="/", timeout=60, capture_output=True,
                                  env=namespace.ENVIRONMENT, user=uid_of(name), group=uid_of(name), extra_groups=[])
            self.assertEqual(b"", done.stderr)
            answer = scgi_client.parsed(done.stdout)
            self.assertEqual(connections, [(row["who"], row["from"]) for row in answer.data["items"]], name)


if __name__ == "__main__":
    host_test.main()
