"""A container with an account bob of its own: other mount, process, network and host-name namespaces."""

import os
import secrets
import shutil
import subprocess

import namespace
import processes
import waiting

# The two ends of the cable between server and container.
CLIENT_ADDRESS = "10.30.0.1"
ADDRESS = "10.30.0.2"
_BOB = 1777
_FOLDER = "/srv/container"
_HOME = f"{_FOLDER}/bob"
_CGROUPS = "/run/test-cgroups"
_LOG = "/var/log/currentconn-test-container.log"
_NAMESPACES = ("unshare", "--mount", "--pid", "--net", "--uts", "--fork", "--kill-child")
_START = f"""\
set -e
mount --make-rprivate /
mount -t proc proc /proc
for file in passwd group shadow; do mount --bind {_FOLDER}/$file /etc/$file; done
ip link set lo up
until ip address add {ADDRESS}/24 dev inside 2>/dev/null; do sleep 0.1; done
ip link set inside up
for daemon in "$@"; do $daemon & done
exec sleep infinity
"""


class Container:
    """Runs daemons in a container. `label` is what the list writes behind its users."""

    def __init__(self, *daemons):
        self._daemons = daemons
        self._process = None
        self._cgroup = None
        self.init = None
        self.label = None

    def start(self):
        """Returns the container itself once its daemons listen."""
        self._make_accounts()
        self._make_cgroup()
        for daemon in self._daemons:
            daemon.configure()
        commands = [" ".join(daemon.command()) for daemon in self._daemons]
        with open(_LOG, "ab") as log:
            self._process = subprocess.Popen(
                [*_NAMESPACES, "sh", "-c", _START, "sh", *commands], stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                env=namespace.ENVIRONMENT, cwd="/", preexec_fn=self._join_cgroup)
        self.init = waiting.until("the container's first process", self._find_init)
        self._plug_cable()
        self.label = self.label or str(os.stat(f"/proc/{self.init}/ns/pid").st_ino)
        for daemon in self._daemons:
            for port in daemon.ports:
                waiting.until(f"{daemon.name} to listen in the container",
                              lambda port=port: processes.listens(port, self.init))
        return self

    def stop(self):
        """Ends the container with all that runs in it."""
        self._process.kill()
        self._process.wait()
        if self._cgroup:
            waiting.until("the container's cgroup to be empty", self._remove_cgroup)
            namespace.run("umount", _CGROUPS)

    def _make_accounts(self):
        os.makedirs(f"{_HOME}/.ssh", mode=0o700, exist_ok=True)
        shutil.copy("/srv/client_key.pub", f"{_HOME}/.ssh/authorized_keys")
        for path in (_HOME, f"{_HOME}/.ssh", f"{_HOME}/.ssh/authorized_keys"):
            os.chown(path, _BOB, _BOB)
        for file, kept in (("passwd", f"bob:x:{_BOB}:{_BOB}::{_HOME}:/bin/bash"), ("group", f"bob:x:{_BOB}:"),
                           ("shadow", self._line("/etc/shadow", "bob"))):
            others = [line for line in namespace.read(f"/etc/{file}").splitlines()
                      if line.split(":")[0] not in ("alice", "bob")]
            mode = 0o600 if file == "shadow" else 0o644
            namespace.write(f"{_FOLDER}/{file}", "\n".join([*others, kept]) + "\n", mode)

    @staticmethod
    def _line(path, name):
        return next(line for line in namespace.read(path).splitlines() if line.startswith(f"{name}:"))

    def _make_cgroup(self):
        identity = secrets.token_hex(32)
        os.makedirs(_CGROUPS, exist_ok=True)
        try:
            namespace.run("mount", "-t", "cgroup2", "cgroup2", _CGROUPS)
            os.mkdir(f"{_CGROUPS}/docker-{identity}.scope")
        except (RuntimeError, OSError) as error:
            print(f"no cgroups can be had, so the container has a number instead of a name: {error}")
            return
        self._cgroup = f"{_CGROUPS}/docker-{identity}.scope"
        self.label = identity[:12]

    def _join_cgroup(self):
        if self._cgroup:
            with open(f"{self._cgroup}/cgroup.procs", "w", encoding="ascii") as file:
                file.write("0")

    def _remove_cgroup(self):
        try:
            os.rmdir(self._cgroup)
        except OSError:
            return False
        return True

    def _find_init(self):
        parent = str(self._process.pid)
        return next((pid for pid in processes.pids() if processes.status(pid, "PPid") == parent), None)

    def _plug_cable(self):
        namespace.run("ip", "link", "add", "outside", "type", "veth", "peer", "name", "inside", "netns", str(self.init))
        namespace.run("ip", "address", "add", f"{CLIENT_ADDRESS}/24", "dev", "outside")
        namespace.run("ip", "link", "set", "outside", "up")
