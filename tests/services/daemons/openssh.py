"""sshd with internal-sftp on port 22; a second one, on port 2222, starts the external sftp-server."""

import os
import socket
import subprocess
import threading

import namespace
from daemons.daemon import Daemon

INTERNAL = "internal-sftp"
EXTERNAL = "/usr/lib/openssh/sftp-server"
_CONFIGURATION = """\
Port {port}
HostKey /etc/ssh/test_host_key
PidFile none
UsePAM yes
PermitRootLogin yes
PasswordAuthentication yes
KbdInteractiveAuthentication no
PrintMotd no
MaxStartups 100
LoginGraceTime 300
Subsystem sftp {subsystem}
"""


class OpenSsh(Daemon):
    """The real sshd. `subsystem` is what serves SFTP."""

    def __init__(self, port=22, subsystem=INTERNAL):
        self.name = f"sshd-{port}"
        self.ports = (port,)
        self._subsystem = subsystem
        super().__init__()

    def configure(self):
        os.makedirs("/run/sshd", mode=0o755, exist_ok=True)
        if not os.path.exists("/etc/ssh/test_host_key"):
            namespace.run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", "/etc/ssh/test_host_key")
        text = _CONFIGURATION.format(port=self.ports[0], subsystem=self._subsystem)
        namespace.write(f"/etc/ssh/test_{self.ports[0]}_config", text)
        # Debian 12's rules let it read ~/.pam_environment while it opens a session, Debian 13's do not.
        rules = namespace.read("/etc/pam.d/sshd")
        namespace.write("/etc/pam.d/sshd", rules.replace("pam_env.so envfile=", "pam_env.so user_readenv=1 envfile="))

    def command(self):
        return ["/usr/sbin/sshd", "-D", "-e", "-f", f"/etc/ssh/test_{self.ports[0]}_config"]


class OpenSshWith(OpenSsh):
    """The real sshd with a setting in place of the usual one."""

    def __init__(self, port, setting):
        super().__init__(port)
        self._setting = setting

    def configure(self):
        super().configure()
        path = f"/etc/ssh/test_{self.ports[0]}_config"
        namespace.write(path, f"{self._setting}\n{namespace.read(path)}")  # the first one counts


class OpenSshOnUnixSocket:
    """The real sshd, started for each connection to a Unix socket, as systemd's sshd-unix-local.socket does."""

    path = "/run/test-ssh.sock"

    def __init__(self):
        self._sshd = OpenSsh()
        self._sessions = []

    def start(self):
        self._sshd.configure()
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(self.path)
        self._listener.listen()
        self._accepting = threading.Thread(target=self._accept)
        self._accepting.start()

    def stop(self):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._accepting.join()
        self._listener.close()
        os.unlink(self.path)
        for session in self._sessions:
            session.wait()

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:  # stopped
                return
            with client, open(self._sshd.log, "ab") as log:
                command = [*self._sshd.command(), "-i"]
                self._sessions.append(subprocess.Popen(command, stdin=client, stdout=client, stderr=log,
                                                       env=namespace.ENVIRONMENT, start_new_session=True, cwd="/"))


class OpenSshWithoutEnvironment(OpenSsh):
    """The real sshd with as little as can be before its titles."""

    def configure(self):
        super().configure()
        namespace.write("/etc/ssh/sshd_config", namespace.read(f"/etc/ssh/test_{self.ports[0]}_config"))

    def command(self):
        return ["env", "-i", "/usr/sbin/sshd", "-D"]


class OpenSshOfUser(OpenSsh):
    """The same program, run by a user who can log in as nobody else."""

    def __init__(self, user, port):
        super().__init__(port)
        self._user = user

    def configure(self):
        super().configure()
        self._key = f"/home/{self._user}/host_key"
        if not os.path.exists(self._key):
            namespace.run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self._key)
        namespace.run("chown", self._user, self._key)

    def command(self):
        return ["setpriv", f"--reuid={self._user}", f"--regid={self._user}", "--init-groups", *super().command(),
                "-h", self._key, "-o", "UsePAM=no"]
