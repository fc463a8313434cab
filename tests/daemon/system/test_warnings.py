"""A source that cannot be read costs its own rows, and whoever asks is told."""

import json
import os
import shutil
import subprocess

import host_test
import listing
import namespace
import scgi_client
import waiting
from clients import ssh
from clients.smb import Smb
from daemons.openssh import OpenSsh
from daemons.samba import Samba
from daemons_of_host import Currentconnd, LOCAL_SOCKET
from host_test import HostTest, uid_of

UTMP = "/run/utmp"
_API = "/api/ZEVO.Core.CurrentConnection/1"
_BUILD = os.path.dirname(os.path.dirname(os.path.realpath(os.environ["CURRENTCONN"])))
_INSTALLED = "/srv/currentconn"
_ROWS = [("alice", "10.20.0.2", "CIFS"), ("alice", "10.20.0.3", "SSH")]


def make_long():
    with open(UTMP, "wb") as file:
        file.truncate(100_000_000)


def make_torn():
    with open(UTMP, "wb") as file:
        file.write(b"\x07" * 500)


BROKEN = {"a directory": lambda: os.mkdir(UTMP),
          "a pipe": lambda: os.mkfifo(UTMP),
          "a link to itself": lambda: os.symlink(UTMP, UTMP),
          "a file that fails to be read": lambda: os.symlink("/proc/self/mem", UTMP),
          "100 MB long": make_long,
          "torn": make_torn}


def remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        os.rmdir(path)
    else:
        os.unlink(path)


class Warnings(HostTest):
    @classmethod
    def setUpClass(cls):
        host_test.add_accounts()
        samba = cls.server(Samba())
        samba.add_user("alice")
        ssh.allow("alice")
        cls.server(OpenSsh())
        for folder in ("bin", "lib", "modules"):  # where accounts without rights can reach it
            shutil.copytree(f"{_BUILD}/{folder}", f"{_INSTALLED}/{folder}")
        namespace.run("chmod", "-R", "u=rwX,go=rX", _INSTALLED)
        cls.server(Currentconnd())

    def setUp(self):
        self.client(Smb, "alice", "10.20.0.2", "media")
        self.client(ssh.Command, "alice", "10.20.0.3")
        waiting.until("both connections to be listed", lambda: self.rows(listing.result()) == _ROWS)

    def breakUtmp(self, make):
        remove(UTMP)
        make()
        self.addCleanup(self.restore)

    @staticmethod
    def restore():
        if os.path.lexists(UTMP):
            remove(UTMP)
        namespace.write(UTMP, "", 0o664)

    @staticmethod
    def rows(page):
        return sorted((item["who"], item["from"], item["type"]) for item in page["items"])

    @staticmethod
    def daemon(uid, method):
        """The daemon's whole answer to a local account."""
        def ask():
            answer = scgi_client.call(LOCAL_SOCKET, "GET", f"{_API}/{method}")
            namespace.write(f"/run/lock/answer-{uid}", answer.body.decode())
            return answer.status
        os.chmod("/run/lock", 0o1777)
        if scgi_client.as_user(uid, ask) != 200:
            raise AssertionError(f"{method} failed: {namespace.read(f'/run/lock/answer-{uid}')}")
        return json.loads(namespace.read(f"/run/lock/answer-{uid}"))

    @staticmethod
    def mine(name, *arguments):
        """Runs "currentconn mine" as a local account, which asks the daemon."""
        return subprocess.run([f"{_INSTALLED}/bin/currentconn", "mine", *arguments], user=uid_of(name),
                              group=uid_of(name), extra_groups=[], capture_output=True, text=True, timeout=60,
                              stdin=subprocess.DEVNULL, env=namespace.ENVIRONMENT, cwd="/")

    def test_nothing_is_said_where_nothing_is_missing(self):
        self.assertEqual("", listing.run("list").stderr)
        self.assertEqual(["data"], list(self.daemon(0, "list")))
        self.assertEqual("", self.mine("alice").stderr)

    def test_whatever_utmp_is_the_rest_is_listed_on_the_command_line(self):
        for name, make in BROKEN.items():
            with self.subTest(name):
                self.breakUtmp(make)
                done = listing.run("list")
                self.assertEqual(0, done.returncode, done.stderr)
                self.assertRegex(done.stderr, rf"\Acurrentconn: LOGIN connections may be missing: .*{UTMP}.*\n\Z")
                for row in _ROWS:
                    self.assertEqual(1, sum(all(text in line for text in row) for line in done.stdout.splitlines()))
                self.restore()

    def test_json_keeps_its_shape_and_warns_beside_it(self):
        self.breakUtmp(BROKEN["a directory"])
        done = listing.run("list", "--json")
        self.assertEqual(0, done.returncode)
        self.assertEqual({"items", "systime", "total"}, set(json.loads(done.stdout)))
        warnings = json.loads(done.stderr)["warnings"]
        self.assertEqual([("connections_missing", "LOGIN")], [(one["code"], one["service"]) for one in warnings])

    def test_the_daemon_tells_an_administrator_the_cause(self):
        for name, make in BROKEN.items():
            with self.subTest(name):
                self.breakUtmp(make)
                answer = self.daemon(0, "list")
                self.assertEqual(_ROWS, self.rows(answer["data"]))
                self.assertEqual([{"code", "service", "detail"}], [set(warning) for warning in answer["warnings"]])
                self.assertEqual(("connections_missing", "LOGIN"),
                                 (answer["warnings"][0]["code"], answer["warnings"][0]["service"]))
                self.assertIn(UTMP, answer["warnings"][0]["detail"])
                self.restore()

    def test_the_daemon_tells_a_user_no_more_than_the_service(self):
        self.breakUtmp(BROKEN["a directory"])
        answer = self.daemon(uid_of("alice"), "list_by_user")
        self.assertEqual(_ROWS, self.rows(answer["data"]))
        self.assertEqual([{"code": "connections_missing", "service": "LOGIN"}], answer["warnings"])
        done = self.mine("alice")
        self.assertEqual((0, "currentconn: LOGIN connections may be missing\n"), (done.returncode, done.stderr))
        self.assertIn("10.20.0.2", done.stdout)

    def test_sambas_failing_tool_is_a_warning_of_its_own(self):
        configuration = "/etc/currentconn/currentconn.toml"
        before = namespace.read(configuration)
        self.addCleanup(namespace.write, configuration, before)
        namespace.write(configuration, f'{before}smbstatus = "/bin/false"\n')
        done = listing.run("list", "--json")
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertEqual([("alice", "10.20.0.3", "SSH"), ("unknown", "10.20.0.2", "CIFS")],
                         self.rows(json.loads(done.stdout)))
        warnings = json.loads(done.stderr)["warnings"]
        self.assertEqual([("details_missing", "CIFS")], [(one["code"], one["service"]) for one in warnings])
        self.assertIn("/bin/false", warnings[0]["detail"])


if __name__ == "__main__":
    host_test.main()
