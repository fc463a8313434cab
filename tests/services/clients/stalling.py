"""Processes of a user whose command lines never come back to whoever reads them.

A command line is read through its process's memory, and the lock over that memory is the user's to hold: one thread
reads its own memory through /proc/self/mem where that is a file of a file system which this program serves itself, in a
user namespace, and never answers; another thread asks for more memory and so lets no further reader in. As a program,
to be run by a user: `stalling.py DEVICE IMAGE TITLE...` makes one such process for each title, all of them children of
the caller's parent and named as the titles begin, writes "stalling" and waits for the end of its input. IMAGE is
"own", or "CODE,STACK": the addresses of another program, which the processes take over (forging.py).
"""

import ctypes
import mmap
import os
import shutil
import signal
import socket
import stat
import struct
import sys
import threading
import time

PROGRAM = "/srv/stalling.py"
DEVICE = "/run/fuse"  # one that every user can open, as on most systems

_CLONE_PARENT, _CLONE_NEWNS, _CLONE_NEWUSER = 0x8000, 0x20000, 0x10000000
_SYS_CLONE = {"x86_64": 56, "aarch64": 220}
_PR_SET_PDEATHSIG, _PR_SET_NAME = 1, 15
_LOOKUP, _FORGET, _GETATTR, _OPEN, _READ, _INIT = 1, 2, 3, 14, 15, 26
_ROOT, _FILE = 1, 2
_ENOSYS = 38
_MNT_DETACH = 2
_libc = ctypes.CDLL(None, use_errno=True)


def install(run):
    """Puts the program and the device where users find them. Returns the reason where that cannot be had, else None.

    `run` runs a program to its end and raises RuntimeError where it fails.
    """
    shutil.copy(__file__, PROGRAM)
    os.chmod(PROGRAM, 0o755)
    try:
        if not os.path.exists(DEVICE):
            os.mknod(DEVICE, stat.S_IFCHR, os.makedev(10, 229))
            os.chmod(DEVICE, 0o666)
        os.close(os.open(DEVICE, os.O_RDWR))
        run("setpriv", "--reuid", "65534", "--clear-groups", "unshare", "--user", "--mount", "true")
    except (OSError, RuntimeError) as error:
        return f"no user can serve a file system here: {error}"
    return None


def main(device, image, *titles):
    ours, theirs = socket.socketpair()
    if os.fork() == 0:
        _check(_libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL))
        serve(device, theirs)
    theirs.close()
    _, (file,), _, _ = socket.recv_fds(ours, 1, 1)
    # What the servers' own processes have: a connection of their own.
    connection = socket.create_connection(("127.0.0.1", 22))
    processes = [clone_beside() or stall(title, file, image) for title in titles]
    while not all(map(is_stalled, processes)):
        time.sleep(0.05)
    print("stalling", flush=True)
    sys.stdin.read()
    connection.close()


def mount(device):
    """Mounts a file system that this program serves on /tmp, in a user namespace, and returns its connection."""
    ids = os.getuid(), os.getgid()
    _check(_libc.unshare(_CLONE_NEWUSER | _CLONE_NEWNS))
    for name, text in (("setgroups", "deny"), ("uid_map", f"0 {ids[0]} 1"), ("gid_map", f"0 {ids[1]} 1")):
        with open(f"/proc/self/{name}", "w", encoding="ascii") as file:
            file.write(text)
    connection = os.open(device, os.O_RDWR)
    options = f"fd={connection},rootmode=40000,user_id=0,group_id=0"
    _check(_libc.mount(b"stalling", b"/tmp", b"fuse", 0, options.encode()))
    return connection


def serve(device, asker):
    """Mounts a file system with one file, hands the file over, and answers all but reads for ever."""
    connection = mount(device)
    if os.fork() == 0:
        file = os.open("/tmp/memory", os.O_RDONLY)
        socket.send_fds(asker, [b"."], [file])
        os._exit(0)
    while True:
        answer(connection, os.read(connection, 1 << 18))


class Folder:
    """A file system of a user's on a folder of everybody's, as with "user_allow_other" in /etc/fuse.conf."""

    def __init__(self, path, uid, gid):
        self._path = path
        self._connection = os.open(DEVICE, os.O_RDWR)
        options = f"fd={self._connection},rootmode=40000,user_id={uid},group_id={gid},allow_other"
        _check(_libc.mount(b"stalling", path.encode(), b"fuse", 0, options.encode()))
        self._server = os.fork()
        if self._server == 0:
            _check(_libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL))
            while True:
                answer(self._connection, os.read(self._connection, 1 << 18))

    def stall(self):
        """Answers nothing any more."""
        os.kill(self._server, signal.SIGSTOP)

    def close(self):
        """Ends it; a second call does nothing."""
        if self._server is None:
            return
        os.kill(self._server, signal.SIGKILL)
        os.waitpid(self._server, 0)
        self._server = None
        os.close(self._connection)  # whoever still waits gets an error
        _check(_libc.umount2(self._path.encode(), _MNT_DETACH))


def answer(connection, request, content=None):
    """Answers one request; a read with `content`, and never where there is none."""
    _, code, unique, node = struct.unpack_from("<IIQQ", request)
    size = mmap.PAGESIZE if content is None else len(content)
    attributes = struct.pack("<6Q10I", _ROOT, size, 8, 0, 0, 0, 0, 0, 0, *(
        (stat.S_IFDIR | 0o755, 2) if node == _ROOT and code == _GETATTR else (stat.S_IFREG | 0o555, 1)), 0, 0, 0, 4096, 0)
    bodies = {_INIT: struct.pack("<IIIIHHIIHHI7I", 7, 31, 0, 0, 0, 0, 1 << 16, 1, 16, 0, *[0] * 8),
              _LOOKUP: struct.pack("<4Q2I", _FILE, 0, 1000, 1000, 0, 0) + attributes,
              _GETATTR: struct.pack("<Q2I", 1000, 0, 0) + attributes,
              _OPEN: struct.pack("<Q2I", 1, 0, 0)}
    if code == _READ and content is not None:
        begin, = struct.unpack_from("<Q", request, 48)
        length, = struct.unpack_from("<I", request, 56)
        bodies[_READ] = content[begin:begin + length]
    elif code in (_READ, _FORGET):
        return
    body = bodies.get(code, b"")
    os.write(connection, struct.pack("<IiQ", 16 + len(body), 0 if code in bodies else -_ENOSYS, unique) + body)


def clone_beside():
    """As fork(); the new process is a child of the parent of this one, though."""
    number = _SYS_CLONE[os.uname().machine]
    return _check(_libc.syscall(number, _CLONE_PARENT | signal.SIGCHLD, 0, 0, 0, 0))


def stall(title, file, image):
    """Takes a title and the name in it, and then lets nobody look at this process's memory any more."""
    name = title.split(":")[0].split("/")[-1].encode()
    _check(_libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL))
    if image != "own":
        import forging  # beside this program
        forging.take_image(*image.split(","))
    _check(_libc.prctl(_PR_SET_NAME, name, 0, 0, 0))
    ctypes.memmove(int(_stat("self")[45]), title.encode() + b"\0", len(title) + 1)
    address = _map(mmap.MAP_PRIVATE, file)
    memory = os.open("/proc/self/mem", os.O_RDONLY)
    threading.Thread(target=lambda: os.pread(memory, 1, address)).start()
    while True:
        _libc.munmap(ctypes.c_void_p(_map(mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS, -1)), mmap.PAGESIZE)


def is_stalled(process):
    """Whether the process waits for its own memory, as two looks see it."""
    for _ in range(2):
        if _stat(process)[0] != b"D":
            return False
        time.sleep(0.05)
    return True


def _map(flags, file):
    _libc.mmap.restype = ctypes.c_void_p
    return _libc.mmap(None, ctypes.c_size_t(mmap.PAGESIZE), mmap.PROT_READ, flags, file, ctypes.c_long(0))


def _stat(process):
    """The fields of /proc/<process>/stat behind the name."""
    with open(f"/proc/{process}/stat", "rb") as file:
        return file.read().rsplit(b")", 1)[1].split()


def _check(result):
    if result < 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))
    return result


if __name__ == "__main__":
    main(*sys.argv[1:])
