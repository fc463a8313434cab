"""The daemon's start: what its configuration names must be there, or it says where that is configured and what to do."""

import fcntl
import os
import re
import shutil
import socket
import subprocess

import host_test
from host_test import HostTest
import namespace
import scgi_client
import waiting
from daemons_of_host import Currentconnd, LOCAL_SOCKET, PACKAGING, WEB_SOCKET

CONFIGURATION = "/etc/currentconn/currentconn.toml"
SERVICE = "/etc/pam.d/currentconn"
ROOM = "/srv/start"
PATH_OF_ITS_OWN = "use another path"


def program(name, *arguments):
    """Runs a program that is to end."""
    return subprocess.run([os.environ[name], *arguments], capture_output=True, text=True, timeout=60,
                          stdin=subprocess.DEVNULL, env=namespace.ENVIRONMENT, cwd="/")


def desert(path):
    """Leaves the name of a socket on which nobody listens."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as gone:
        gone.bind(path)


class Start(HostTest):
    def setUp(self):
        shutil.copy(f"{PACKAGING}/pam/currentconn", SERVICE)
        shutil.rmtree(ROOM, ignore_errors=True)
        shutil.rmtree("/run/currentconn", ignore_errors=True)
        os.makedirs(ROOM)

    def refused(self, *lines):
        """What the daemon says as it does not start: the line of the configuration, and the rest."""
        namespace.write(CONFIGURATION, "\n".join(lines) + "\n")
        done = program("CURRENTCONND")
        self.assertEqual((1, ""), (done.returncode, done.stdout), done.stderr)
        for path in (WEB_SOCKET, LOCAL_SOCKET):
            self.assertFalse(os.path.exists(path))
        place, line, sentence = done.stderr.removesuffix("\n").split(":", 3)[1:]
        self.assertEqual(f" {CONFIGURATION}", place, done.stderr)
        return int(line), sentence.strip()

    def test_the_group_of_administrators_must_be_there(self):
        self.assertEqual((2, 'there is no group "admns"; set administrators_group to a group of this server, or to "" for '
                             "the first of administrators, sudo and wheel that exists"),
                         self.refused("#", 'administrators_group = "admns"'))

    def test_the_language_must_have_texts(self):
        self.assertEqual((1, 'there are no texts in the language "klingon"; the languages are de, en, es, fr, ja, zh_CN'),
                         self.refused('language = "klingon"'))

    def test_the_pam_service_must_be_in_the_folder_that_is_named(self):
        for folder in ("/nonexistent", ROOM):
            self.assertEqual((3, f"cannot open {folder}/currentconn: No such file or directory; install the PAM service there, "
                                 'or set pam_folder to "" for the system\'s directories'),
                             self.refused("", "max_calls = 64", f'pam_folder = "{folder}"'))

    def test_the_session_file_must_be_one_that_can_be_made(self):
        self.assertEqual((1, "cannot create /proc/nowhere: No such file or directory"),
                         self.refused('session_file = "/proc/nowhere/sessions"'))
        self.assertEqual((1, f"cannot use {ROOM}: it is not a regular file; remove it"), self.refused(f'session_file = "{ROOM}"'))
        self.assertFalse(os.path.exists(f"{ROOM}.access.time"))

    def test_another_programs_file_is_no_session_file_and_stays_as_it_is(self):
        foreign = f"{ROOM}/passwd"
        shutil.copy("/etc/passwd", foreign)
        before = os.stat(foreign)
        self.assertEqual((1, f"cannot use {foreign}: its line 1 is not a login record, so the file may belong to another "
                             "program; give a file that is used for sessions only"), self.refused(f'session_file = "{foreign}"'))
        self.assertEqual(namespace.read("/etc/passwd"), namespace.read(foreign))
        after = os.stat(foreign)
        self.assertEqual((before.st_ino, before.st_mtime_ns, before.st_mode), (after.st_ino, after.st_mtime_ns, after.st_mode))
        self.assertEqual(["passwd"], os.listdir(ROOM))

    def test_the_sockets_must_have_paths_of_their_own(self):
        self.assertEqual((2, "web_socket and local_socket are the same; give each a path of its own"),
                         self.refused(f'web_socket = "{ROOM}/a"', f'local_socket = "{ROOM}/a"'))
        namespace.write(f"{ROOM}/file", "precious")
        self.assertEqual((2, f"cannot listen on {ROOM}/file: a file that is not a socket is there; {PATH_OF_ITS_OWN}"),
                         self.refused("", f'local_socket = "{ROOM}/file"'))
        self.assertEqual("precious", namespace.read(f"{ROOM}/file"))
        self.assertEqual(["file"], os.listdir(ROOM))
        self.assertEqual((1, f"cannot listen on {ROOM}: a directory is there; {PATH_OF_ITS_OWN}"),
                         self.refused(f'web_socket = "{ROOM}"'))

    def test_the_socket_of_another_daemon_stays_its_own(self):
        daemon = Currentconnd(f'local_socket = "{LOCAL_SOCKET}"').start()
        self.addCleanup(daemon.stop)
        done = program("CURRENTCONND")
        self.assertEqual((1, f"currentconnd: cannot listen on {WEB_SOCKET}: Address already in use; is another currentconnd "
                             "running?\n"), (done.returncode, done.stderr))
        self.assertEqual(200, scgi_client.call(LOCAL_SOCKET, "GET", "/api/whoami").status)

    def test_a_reason_comes_with_the_place_where_to_mend_it(self):
        path = f"{ROOM}/{'x' * 120}"
        self.assertEqual((2, f"cannot listen on {path}: File name too long"), self.refused("", f'web_socket = "{path}"'))
        self.assertEqual((1, 'there is no group "nobodies"; set web_group to the group of the web server'),
                         self.refused('web_group = "nobodies"'))
        self.assertEqual((3, f"cannot find a module in {ROOM}: there is no *.so; set another module directory"),
                         self.refused("", "", f'module_folder = "{ROOM}"'))

    def test_what_has_its_default_is_told_without_a_place(self):
        namespace.write(CONFIGURATION, "")
        namespace.write("/run/currentconn/local.sock/file", "")
        done = program("CURRENTCONND")
        self.assertEqual((1, f"currentconnd: cannot listen on {LOCAL_SOCKET}: a directory is there; {PATH_OF_ITS_OWN}\n"),
                         (done.returncode, done.stderr))

    def test_pids_of_another_namespace_stop_it(self):
        namespace.write(CONFIGURATION, "")
        done = subprocess.run(["unshare", "--pid", "--fork", "--kill-child", os.environ["CURRENTCONND"]],
                              capture_output=True, text=True, timeout=60, stdin=subprocess.DEVNULL,
                              env=namespace.ENVIRONMENT, cwd="/")
        self.assertEqual((1, ""), (done.returncode, done.stdout), done.stderr)
        self.assertRegex(done.stderr, r"^currentconnd: /proc is that of another pid namespace: this process is 1, and \d+ "
                                      r"there, so a signal would reach another process; mount a /proc of this pid namespace")
        self.assertFalse(os.path.exists(WEB_SOCKET))

    def test_a_system_without_the_pam_service_is_told_which_file_to_install(self):
        told = 'there is no PAM service "currentconn": install /etc/pam.d/currentconn, or'
        for is_there in (True, False):
            daemon = Currentconnd()
            daemon.log = f"{ROOM}/log-{is_there}"
            if not is_there:
                daemon.configure = lambda: os.unlink(SERVICE)
            daemon.start()
            daemon.stop()
            self.assertEqual(0 if is_there else 1, daemon.log_text().count(told), daemon.log_text())

    def test_of_two_daemons_that_start_at_once_the_second_gives_way(self):
        namespace.write(CONFIGURATION, "")
        os.makedirs("/run/currentconn")
        desert(WEB_SOCKET)
        with open(f"{WEB_SOCKET}.lock", "w", encoding="utf-8") as lock, \
                socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as first:
            fcntl.flock(lock, fcntl.LOCK_EX)
            second = subprocess.Popen([os.environ["CURRENTCONND"]], stderr=subprocess.PIPE, stdin=subprocess.DEVNULL,
                                      env=namespace.ENVIRONMENT, text=True, cwd="/")
            self.addCleanup(second.kill)
            waiting.until("the second to wait for the first", lambda: re.search(
                rf"-> FLOCK +ADVISORY +WRITE {second.pid} ", namespace.read("/proc/locks")))
            os.unlink(WEB_SOCKET)
            first.bind(WEB_SOCKET)
            first.listen()
            fcntl.flock(lock, fcntl.LOCK_UN)
            told = second.communicate(timeout=20)[1]
            self.assertEqual((1, f"currentconnd: cannot listen on {WEB_SOCKET}: Address already in use; is another "
                                 "currentconnd running?\n"), (second.returncode, told))


class CommandLine(HostTest):
    """What it shares with the daemon stops it as well; what is the daemon's alone does not."""

    def test_a_language_or_group_that_is_not_there_stops_it(self):
        for line, told in (('language = "klingon"', 'there are no texts in the language "klingon"; the languages are de, '),
                           ('administrators_group = "admns"', 'there is no group "admns"; set administrators_group to ')):
            namespace.write(CONFIGURATION, f"#\n{line}\n")
            done = program("CURRENTCONN", "list")
            self.assertEqual((2, ""), (done.returncode, done.stdout))
            self.assertTrue(done.stderr.startswith(f"currentconn: {CONFIGURATION}:2: {told}"), done.stderr)

    def test_what_is_the_daemons_alone_does_not_stop_it(self):
        namespace.write(CONFIGURATION, "\n".join((
            'pam_folder = "/nonexistent"', 'module_folder = "/nonexistent"', 'web_group = "nobodies"', 'web_socket = "/etc"',
            'local_socket = "/etc"')))
        done = program("CURRENTCONN", "list", "--json")
        self.assertEqual((0, ""), (done.returncode, done.stderr))


if __name__ == "__main__":
    host_test.main()
