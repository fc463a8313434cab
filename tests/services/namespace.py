#!/usr/bin/python3
"""A throw-away server to run daemons on their standard ports, with nothing of the machine changed.

enter() moves the running program into mount, process, network and host-name namespaces of its own: a fresh /proc and
/dev/pts, an empty /run, overlays in memory over /etc, /var, /home, /root and /srv, the unpacked servers in /usr, and a
loopback interface with a few client addresses. When the program ends, everything that it started ends with it.

As a program: `namespace.py COMMAND…` runs one command in such a server.
"""

import os
import pwd
import re
import socket
import subprocess
import sys

import waiting

INSIDE = "CURRENTCONN_INSIDE_NAMESPACE"
UNPACKED = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../build/service-packages/root")
OVERLAID = ("/etc", "/var", "/home", "/root", "/srv")
# A client that connects to one of these comes from it too, since the kernel picks the same address as its source.
CLIENT_ADDRESSES = ("10.20.0.2", "10.20.0.3", "10.20.0.4", "10.20.0.5", "10.20.0.6", "10.20.0.7", "10.20.0.8")
CLIENT_ADDRESS_V6 = "fd20::2"
PASSWORD = "Correct-Horse-7"
# Of the started programs: nothing of the caller's but how the tested ones are watched.
ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8", "HOME": "/root", "TERM": "xterm"} | {
    key: value for key, value in os.environ.items() if key.startswith(("ASAN_", "UBSAN_", "LSAN_"))}


def enter():
    """Returns inside the namespaces, in a process whose end ends all of it. Stops with a sentence when not root."""
    if os.environ.get(INSIDE) != "1":
        _leave_for_namespaces()
    del os.environ[INSIDE]
    _prepare()
    child = os.fork()
    if child == 0:
        return
    # The first process of a process namespace inherits the orphans; without this loop they would stay as zombies.
    while True:
        pid, status = os.wait()
        if pid == child:
            os._exit(os.waitstatus_to_exitcode(status) & 0xFF)


def add_account(name, password=PASSWORD):
    """Makes a local account with a home folder and a login shell, in place of one of that name."""
    if any(line.startswith(f"{name}:") for line in read("/etc/passwd").splitlines()):
        run("userdel", "--force", name)
    # As directories do for "DOMAIN\user". OpenSSH 10 reads the path of a user's keys as a pattern, where \ is an escape.
    home = "/home/" + name.replace("\\", "/")
    os.makedirs(os.path.dirname(home), exist_ok=True)
    usual = [] if re.fullmatch("[a-z][a-z0-9-]*", name) else ["--badname"]
    run("useradd", *usual, "--create-home", "--home-dir", home, "--shell", "/bin/bash", name)
    account = pwd.getpwnam(name)
    os.chown(home, account.pw_uid, account.pw_gid)
    run("chpasswd", text=f"{name}:{password}\n")


def add_client_address_v6(address):
    """Makes one more address that clients can come from. Nothing happens where it is there already."""
    if not _is_routed(address):
        run("ip", "address", "add", f"{address}/128", "dev", "lo", "nodad")
        # The kernel makes the route a moment later, on a busy machine long after `ip` has ended.
        waiting.until(f"a route to {address}", lambda: _is_routed(address))


def run(*argv, text=None):
    """Runs a program to its end and returns its output; a failure is an error that shows what it printed."""
    done = subprocess.run(argv, input=text, capture_output=True, text=True, env=ENVIRONMENT, timeout=60)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(argv)} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout


def _is_routed(address):
    return run("ip", "-6", "route", "show", "table", "local", address) != ""


def read(path):
    """The text of a whole file."""
    with open(path, encoding="utf-8", errors="surrogateescape") as file:
        return file.read()


def write(path, text, mode=0o644):
    """Writes a whole file, its folders included."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    os.chmod(path, mode)


def _leave_for_namespaces():
    if os.geteuid() != 0:
        sys.exit("the service tests start daemons in namespaces and need root; run them as root")
    kept = {key: value for key, value in os.environ.items() if key.startswith("CURRENTCONN")}
    command = ["unshare", "--mount", "--pid", "--net", "--uts", "--fork", "--kill-child", sys.executable]
    os.execvpe("unshare", command + sys.argv, ENVIRONMENT | kept | {INSIDE: "1"})


def _prepare():
    run("mount", "--make-rprivate", "/")
    run("mount", "-t", "proc", "proc", "/proc")
    run("mount", "-t", "devpts", "-o", "newinstance,ptmxmode=0666,mode=0620,gid=5", "devpts", "/dev/pts")
    run("mount", "--bind", "/dev/pts/ptmx", "/dev/ptmx")
    _overlay()
    run("ip", "link", "set", "lo", "up")
    for address in CLIENT_ADDRESSES:
        run("ip", "address", "add", f"{address}/32", "dev", "lo")
    add_client_address_v6(CLIENT_ADDRESS_V6)
    socket.sethostname("fileserver")
    write("/etc/hosts", "127.0.0.1 localhost\n::1 localhost\n127.0.1.1 fileserver\n")
    write("/etc/nsswitch.conf", "passwd: files\ngroup: files\nshadow: files\nhosts: files\nservices: files\n")
    write("/run/utmp", "", 0o664)


def _overlay():
    # The memory file system is only needed by its overlays, so it goes out of sight once they hold it.
    run("mount", "-t", "tmpfs", "-o", "mode=0755", "tmpfs", "/mnt")
    unpacked = os.path.realpath(UNPACKED)
    for path in OVERLAID:
        upper, work, lower = f"/mnt/upper{path}", f"/mnt/work{path}", f"{unpacked}{path}"
        os.makedirs(upper)
        os.makedirs(work)
        lowers = f"{lower}:{path}" if os.path.isdir(lower) else path
        run("mount", "-t", "overlay", "-o", f"lowerdir={lowers},upperdir={upper},workdir={work}", "overlay", path)
    run("umount", "--lazy", "/mnt")
    run("mount", "-t", "overlay", "-o", f"lowerdir={unpacked}/usr:/usr", "overlay", "/usr")
    # What the machine's own daemons keep here (logins, Samba's state) is not this server's.
    run("mount", "-t", "tmpfs", "-o", "mode=0755", "tmpfs", "/run")
    os.makedirs("/run/lock")


if __name__ == "__main__":
    enter()
    sys.exit(subprocess.run(sys.argv[1:]).returncode)
