"""What /proc and the kernel's socket tables say, read on their own, without the code under test."""

import os

from namespace import read

_LISTEN = "0A"
_ESTABLISHED = "01"


def pids():
    """The ids of all processes of this server."""
    return [int(name) for name in os.listdir("/proc") if name.isdigit()]


def status(pid, key):
    """The value of one line of /proc/<pid>/status, or None where the process is gone."""
    try:
        lines = read(f"/proc/{pid}/status").splitlines()
    except (FileNotFoundError, ProcessLookupError):
        return None
    return next((line[len(key) + 1:].strip() for line in lines if line.startswith(key + ":")), None)


def title(pid):
    """The first argument of a process, which is its title where it sets one; empty where it is gone."""
    try:
        return read(f"/proc/{pid}/cmdline").split("\0")[0]
    except (FileNotFoundError, ProcessLookupError):
        return ""


def titled(text):
    """The ids of the processes whose title contains a text."""
    return [pid for pid in pids() if text in title(pid)]


def named(name):
    """The ids of the processes of a name that are no zombies."""
    return [pid for pid in pids() if status(pid, "Name") == name and runs(pid)]


def runs(pid):
    """Whether a process is there and no zombie."""
    state = status(pid, "State")
    return state is not None and not state.startswith("Z")


def listens(port, process="self"):
    """Whether somebody accepts TCP connections on a port, in the network namespace of a process."""
    return any(state == _LISTEN for _, state in _sockets(port, process))


def established(port, process="self"):
    """The number of connections that the server's end of a port holds."""
    return sum(state == _ESTABLISHED for _, state in _sockets(port, process))


def _sockets(port, process):
    for table in ("tcp", "tcp6"):
        for line in read(f"/proc/{process}/net/{table}").splitlines()[1:]:
            fields = line.split()
            if int(fields[1].rsplit(":", 1)[1], 16) == port:
                yield fields[1], fields[3]
