"""SSH and SFTP clients, which log in with a key."""

import os
import pwd
import shlex
import shutil
import socket
import tempfile

import namespace
import waiting
from clients import forging, hoarding, refusing, stalling
from clients.dialogue import Dialogue
from clients.relay import Relay

KEY = "/srv/client_key"
OPTIONS = ["-F", "none", "-o", "StrictHostKeyChecking=no", "-o", "UserKnownHostsFile=/dev/null"]


def allow(user):
    """Lets an account log in with the clients' key."""
    if not os.path.exists(KEY):
        namespace.run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", KEY)
    account = pwd.getpwnam(user)
    folder = f"{account.pw_dir}/.ssh"
    os.makedirs(folder, mode=0o700, exist_ok=True)
    shutil.copy(f"{KEY}.pub", f"{folder}/authorized_keys")
    for path in (folder, f"{folder}/authorized_keys"):
        os.chown(path, account.pw_uid, account.pw_gid)


def _master(control):
    if not control:
        return []
    if os.path.exists(control):
        os.unlink(control)  # of a master that was killed
    return ["-M", "-S", control]


def _sharing(control):
    return ["-o", f"ControlPath={control}"] if control else []


class Shell(Dialogue):
    """ssh with a terminal, at the shell's prompt. `control` is the path of a socket for more sessions."""

    def __init__(self, user, address, port=22, control=None):
        super().__init__(["ssh", *OPTIONS, "-i", KEY, "-p", str(port), *_master(control), "-tt", f"{user}@{address}"])
        self.send("echo re''ady")
        self.expect("ready")

    def terminal(self):
        """The name of the session's terminal on the server, such as "pts/1"."""
        self.send("echo =$(tty)=")
        self.expect("=/dev/")
        return self.expect("=")

    def pretend(self, name, title):
        """Starts a program of the user's own under the name and the title of a server's."""
        self.send(f"cp /bin/sleep ./{name}; (exec -a '{title}' ./{name} 1000) & echo star''ted")
        self.expect("started")


class Forwarding(Dialogue):
    """ssh that has logged in and asks for no session, as for port forwarding. `control` as for a Shell."""

    def __init__(self, user, address, port=22, control=None):
        # What -v says of each session would fill a terminal that nobody reads, and stop the client.
        self._log = tempfile.NamedTemporaryFile(prefix="ssh-log-")
        super().__init__(["ssh", *OPTIONS, "-i", KEY, "-p", str(port), *_master(control), "-N", "-v", "-E", self._log.name,
                          f"{user}@{address}"])
        try:
            waiting.until("ssh to log in", lambda: self._has_logged_in() or self.has_ended())
            if not self._has_logged_in():
                raise AssertionError(f"ssh never logged in, but: {namespace.read(self._log.name)}")
        except AssertionError:
            self.close()
            raise

    def close(self):
        super().close()
        self._log.close()

    def _has_logged_in(self):
        return "Entering interactive session" in namespace.read(self._log.name)


class Command(Dialogue):
    """ssh without a terminal, while its command runs."""

    def __init__(self, user, address, port=22, command="exec cat", options=()):
        super().__init__(["ssh", *OPTIONS, *options, "-i", KEY, "-p", str(port), "-T", f"{user}@{address}",
                          f"echo re''ady; {command}"])
        self.expect("ready")


class OverUnixSocket(Command):
    """The same, connected to the socket at `path`."""

    def __init__(self, user, path):
        connect = ("import socket; to = socket.socket(socket.AF_UNIX); "
                   f"to.connect(\"{path}\"); socket.send_fds(socket.socket(fileno=1), [b\".\"], [to.fileno()])")
        super().__init__(user, "fileserver", options=("-o", f"ProxyCommand=/usr/bin/python3 -c '{connect}'",
                                                      "-o", "ProxyUseFdpass=yes"))


class Held(Dialogue):
    """ssh that the server has let in, and whose session waits for a slow file of the user's."""

    def __init__(self, user, address):
        account = pwd.getpwnam(user)
        self._file = f"{account.pw_dir}/.pam_environment"
        os.mkfifo(self._file)
        os.chown(self._file, account.pw_uid, account.pw_gid)
        super().__init__(["ssh", *OPTIONS, "-i", KEY, "-v", "-T", f"{user}@{address}", "echo re''ady; exec cat"])
        self.expect("Authenticated to")

    def release(self):
        """Lets the session begin."""
        os.close(waiting.until("a reader of the file", self._writer))

    def has_begun(self):
        """Whether the session has begun."""
        self.has_ended()
        return "ready" in self.output

    def close(self):
        super().close()
        if os.path.exists(self._file):
            os.unlink(self._file)

    def _writer(self):
        try:
            return os.open(self._file, os.O_WRONLY | os.O_NONBLOCK)
        except OSError:  # nobody reads it yet
            return None


class Returning(Dialogue):
    """ssh without a terminal that logs in again whenever its connection ends."""

    def __init__(self, user, address):
        login = shlex.join(["ssh", *OPTIONS, "-i", KEY, "-T", f"{user}@{address}", "echo re''ady; exec sleep 1000"])
        super().__init__(["sh", "-c", f"trap 'kill $!; exit' TERM; while :; do {login} & wait; done"])
        self.expect("ready")

    def close(self):
        """Ends the one that logs in again before it can."""
        self.process.terminate()
        self.process.wait(waiting.LIMIT_SECONDS)
        super().close()


class Pretender(Command):
    """ssh whose command is a program of the user's own under the name and the title of a server's."""

    def __init__(self, user, address, name, title):
        super().__init__(user, address, command=f"cp /bin/sleep ./{name} && exec -a '{title}' ./{name} 1000")


class Stalling(Dialogue):
    """ssh whose command makes processes with these titles that keep whoever reads a title waiting for ever."""

    def __init__(self, user, address, *titles, control=None, image=None):
        command = ["/usr/bin/python3", stalling.PROGRAM, stalling.DEVICE, ",".join(image or ["own"]), *titles]
        super().__init__(["ssh", *OPTIONS, "-i", KEY, *_sharing(control), "-T", f"{user}@{address}",
                          f"exec {shlex.join(command)}"])
        self.expect("stalling")


class Forging(Dialogue):
    """ssh over a Shell's connection whose command pretends to be a process of sshd (forging.py)."""

    def __init__(self, user, address, control, image, pretended, *titles):
        command = shlex.join(["/usr/bin/python3", forging.PROGRAM, *image, pretended, *titles])
        super().__init__(["ssh", *OPTIONS, *_sharing(control), "-T", f"{user}@{address}", f"exec {command}"])
        self.expect("forged")


def image_of_sshd(user, address, control):
    """The addresses of sshd's program, which its internal SFTP server gives away over a Shell's connection."""
    copy = "/run/test-stat"
    namespace.run("sftp", *OPTIONS, *_sharing(control), "-b", "-", f"{user}@{address}",
                  text=f"get /proc/self/stat {copy}\n")
    return forging.image_in(namespace.read(copy))


class Refusing(Dialogue):
    """ssh whose command runs programs with these names on a file system of the user's that refuses root."""

    def __init__(self, user, address, *names):
        command = " ".join(["exec", "/usr/bin/python3", refusing.PROGRAM, stalling.DEVICE, *names])
        super().__init__(["ssh", *OPTIONS, "-i", KEY, "-T", f"{user}@{address}", command])
        self.expect("refusing")


class Hoarding(Dialogue):
    """ssh whose command makes processes with these names and with all descriptors that the user may have."""

    def __init__(self, user, address, *names):
        command = " ".join(["exec", "/usr/bin/python3", hoarding.PROGRAM, *names])
        super().__init__(["ssh", *OPTIONS, "-i", KEY, "-T", f"{user}@{address}", command])
        self.expect("hoarding")


class Sftp(Dialogue):
    """sftp at its prompt. `control` takes the connection of a Shell."""

    def __init__(self, user, address, port=22, control=None):
        super().__init__(["sftp", *OPTIONS, "-i", KEY, "-P", str(port), *_sharing(control), f"{user}@{address}"])
        self.expect("sftp> ")

    def has_ended(self):
        """Whether the connection has ended; sftp stays at its prompt and finds out when it has work to do."""
        if not super().has_ended():
            self.send("ls")
        return super().has_ended()


def sftp_batch(user, address, control):
    """Runs a short batch of sftp over the connection of a master."""
    namespace.run("sftp", *OPTIONS, "-o", f"ControlPath={control}", "-b", "-", f"{user}@{address}", text="pwd\n")


class PasswordPrompt(Dialogue):
    """ssh that has named its user and waits for the password: a login in progress."""

    def __init__(self, user, address, port=22):
        super().__init__(["ssh", *OPTIONS, "-o", "PubkeyAuthentication=no", "-p", str(port), f"{user}@{address}"])
        self.expect("password:")


class Parked(Dialogue):
    """ssh that has given the password to PAM, whose account rules have passed, and does not confirm what sshd says."""

    def __init__(self, user, address, port):
        self._relay = Relay((address, port))
        super().__init__(["ssh", *OPTIONS, "-o", "PreferredAuthentications=keyboard-interactive", "-tt",
                          "-p", str(self._relay.port), f"{user}@127.0.0.1"])
        self.expect("assword:")
        self._relay.hold_after_an_answer()
        self.send(namespace.PASSWORD)
        waiting.until("sshd's answer to the password", self._relay.holds)

    def go_on(self):
        """Confirms it, and types a command for the shell."""
        self._relay.go_on()
        self.send("echo re''ady")

    def has_begun(self):
        """Whether it has a shell."""
        self.has_ended()
        return "ready" in self.output

    def close(self):
        super().close()
        self._relay.close()


class Banner:
    """A connection that has only read the server's first line: nobody is named yet."""

    def __init__(self, address, port=22):
        self._socket = socket.create_connection((address, port), timeout=20)
        if not self._socket.recv(64).startswith(b"SSH-2.0-"):
            raise AssertionError("sshd sent no banner")

    def close(self):
        self._socket.close()
