"""Each packaged web server, with TLS, in front of the daemon."""

import os
import ssl

import host_test
from host_test import BehindWebServer, HostTest
import namespace
from daemons_of_host import Apache, Lighttpd, Nginx, PAGE, TLS_PORT
from http_client import Client

_HEADERS = {
    "X-Content-Type-Options": "nosniff",
    "X-Frame-Options": "DENY",
    "Referrer-Policy": "no-referrer",
    "Cross-Origin-Opener-Policy": "same-origin",
    "Cross-Origin-Resource-Policy": "same-origin",
    "Strict-Transport-Security": "max-age=31536000",
}


class BehindTls(BehindWebServer):
    """Mixed into the test case of each server."""

    def browser(self, address="10.20.0.2"):
        return Client(address, TLS_PORT, tls=True)

    def test_the_page_comes_with_its_security_headers(self):
        for path in ("/", "/api/whoami", "/api/openapi.json"):
            answer = self.browser().get(path)
            self.assertEqual(_HEADERS, {name: answer.headers[name] for name in _HEADERS}, path)
            policy = answer.headers["Content-Security-Policy"]
            self.assertIn("default-src 'none'; script-src 'self';", policy)
            self.assertNotIn("unsafe", policy)

    def test_every_file_of_the_page_has_its_type(self):
        kinds = {".html": "text/html", ".js": "(text|application)/javascript", ".css": "text/css",
                 ".json": "application/json", ".svg": r"image/svg\+xml"}
        for folder, _, names in os.walk(PAGE):
            for name in names:
                path = os.path.join(folder, name).removeprefix(PAGE)
                answer = self.browser().get(path)
                self.assertEqual(200, answer.status, path)
                self.assertRegex(answer.headers["Content-Type"], "^" + kinds[os.path.splitext(name)[1]])

    def test_a_browser_keeps_assets_for_good_and_asks_for_the_document(self):
        names = os.listdir(f"{PAGE}/assets")
        self.assertIn("json", {name.rsplit(".")[-1] for name in names})
        for name in names:
            self.assertRegex(self.browser().get(f"/assets/{name}").headers["Cache-Control"], r"max-age=3\d{7}", name)
        for path in ("/", "/index.html"):
            self.assertRegex(self.browser().get(path).headers["Cache-Control"], "max-age=0|no-cache")

    def test_a_login_is_a_cookie_that_stays_here(self):
        client = self.browser()
        answer = client.log_in("bob", namespace.PASSWORD)
        self.assertRegex(answer.headers["Set-Cookie"],
                         r"^__Host-currentconn=[A-Za-z0-9_-]{43}; Path=/; HttpOnly; SameSite=Strict; Secure$")
        self.assertEqual(("bob", "10.20.0.2"), (answer.data["user"], answer.data["address"]))
        self.assertEqual(200, client.get("list?filter=http").status)
        self.assertEqual(200, client.get("download").status)
        self.assertEqual(200, client.post("kick_connection", {"http_conn": [{"who": "zoe", "from": "10.9.9.9"}]}).status)
        self.assertEqual(200, client.post("/api/logout").status)
        self.assertEqual(401, client.get("/api/whoami").status)

    def test_an_unencrypted_page_may_not_call(self):
        headers = {"Origin": f"http://10.20.0.2:{TLS_PORT}"}
        self.assertEqual(403, self.browser().call("POST", "/api/login", {"name": "bob", "password": "x"}, headers).status)
        headers = {"Origin": f"https://10.20.0.2:{TLS_PORT}"}
        answer = self.browser().call("POST", "/api/login", {"name": "bob", "password": namespace.PASSWORD}, headers)
        self.assertEqual(200, answer.status, answer.body)

    def test_a_client_cannot_name_its_own_address(self):
        for name in ("X-Forwarded-For", "Forwarded", "X-Real-IP", "Remote-Addr", "Client-IP"):
            client = self.browser("10.20.0.3")
            credentials = {"name": "alice", "password": namespace.PASSWORD}
            self.assertEqual(200, client.post("/api/login", credentials, headers={name: "6.6.6.6"}).status, name)
            self.assertEqual("10.20.0.3", client.get("/api/whoami", headers={name: "6.6.6.6"}).data["address"], name)

    def test_a_client_over_ipv6_is_served(self):
        answer = self.browser(namespace.CLIENT_ADDRESS_V6).log_in("alice", namespace.PASSWORD)
        self.assertEqual((200, namespace.CLIENT_ADDRESS_V6), (answer.status, answer.data["address"]))

    def test_answers_and_files_are_compressed(self):
        for path in ("/", "/api/openapi.json"):
            plain = self.browser().get(path)
            packed = self.browser().get(path, headers={"Accept-Encoding": "gzip"})
            self.assertEqual("gzip", packed.headers["Content-Encoding"], path)
            self.assertEqual(plain.body, packed.body, path)

    def test_a_body_that_is_too_large_is_refused(self):
        try:
            answer = self.browser().call("POST", "/api/login", b"x" * 1200000, {"Content-Type": "application/json"})
            self.assertEqual(413, answer.status)
        except (ssl.SSLError, ConnectionError):
            pass  # it closed the connection rather than read on
        self.assertEqual(401, self.browser().get("/api/whoami").status)

    def test_escaped_paths_lead_nowhere(self):
        for path in ("/api/%77hoami", "/api/../api/nothing", "/..%2f..%2fetc/passwd", "/api/ZEVO.Core.CurrentConnection/1/%6cist"):
            self.assertIn(self.browser().get(path).status, (400, 401, 403, 404), path)


class BehindLighttpd(BehindTls, HostTest):
    web_server = Lighttpd


class BehindNginx(BehindTls, HostTest):
    web_server = Nginx


class BehindApache(BehindTls, HostTest):
    web_server = Apache


if __name__ == "__main__":
    host_test.main()
