"""Pseudo terminals with and without an entry in utmp, as terminal emulators make them.

As a program, to be run by a user: `terminals.py WAY ADDRESS` makes a terminal, writes "=TERMINAL PID=" and waits for the
end of its input. The ways:

    shell    enters it in utmp as coming from ADDRESS, and runs a program of the user's on it, which PID is
    entered  only enters it, and lets it go when a line is read, so that the next one gets its name; PID is its own
    plain    runs a program on a terminal that nobody enters
"""

import glob
import os
import pwd
import shutil
import signal
import subprocess
import sys

import namespace
import waiting

PROGRAM = "/srv/terminals.py"
_HELPERS = "/usr/lib/*/utempter/utempter"  # gives any user an entry for a terminal that the user has


def install():
    """Puts the program where users find it, and the file of logins into the hands of the helper's group."""
    shutil.copy(__file__, PROGRAM)
    for module in (namespace, waiting):
        shutil.copy(module.__file__, os.path.dirname(PROGRAM))
    shutil.chown("/run/utmp", group="utmp")


class Terminal:
    """The program at work for a user. `name` is the terminal's, `pid` the process that it wrote."""

    def __init__(self, user, way, address=""):
        account = pwd.getpwnam(user)
        self.process = subprocess.Popen(
            ["/usr/bin/python3", PROGRAM, way, address], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
            env=namespace.ENVIRONMENT, cwd="/", user=user, group=account.pw_gid, extra_groups=[], start_new_session=True)
        self.name, pid = self.process.stdout.readline().strip("=\n").split()
        self.pid = int(pid)

    def let_go(self):
        """Frees the terminal of the way "entered"."""
        self.process.stdin.write("\n")
        self.process.stdin.flush()
        self.process.stdout.readline()

    def close(self):
        """Ends the program, and what runs on the terminal with it."""
        self.process.kill()
        self.process.communicate()


def main(way, address):
    outer, inner = os.openpty()
    name = os.ttyname(inner)
    if way != "plain":
        subprocess.run(glob.glob(_HELPERS) + ["add", address], stdin=outer, stdout=outer, check=True)
    pid = os.getpid() if way == "entered" else run_on(name, outer)
    os.close(inner)
    print(f"={name.removeprefix('/dev/')} {pid}=", flush=True)
    if sys.stdin.readline():
        os.close(outer)
        print("let go", flush=True)
        sys.stdin.read()


def run_on(name, outer):
    """Runs a program that leads a session on a terminal. It ends when nobody holds the terminal's outer side any more."""
    ready, writer = os.pipe()
    pid = os.fork()
    if pid != 0:
        os.close(writer)
        os.read(ready, 1)
        return pid
    os.close(outer)
    os.setsid()
    os.close(os.open(name, os.O_RDWR))  # which makes it the session's
    os.write(writer, b".")
    signal.pause()


if __name__ == "__main__":
    main(*sys.argv[1:])
