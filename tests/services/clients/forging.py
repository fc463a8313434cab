"""A user's process that looks as if sshd had forked it: it has the addresses of sshd's program, its name and a title.

As a program, to be run by a user: `forging.py CODE STACK ADDRESS TITLE...` takes them, makes a connection of its own from
ADDRESS, writes "forged" and waits for the end of its input. With more than one title there is a process for each, every
one the parent of the next. The addresses are start_code and start_stack in
/proc/PID/stat, which the user's own internal SFTP server gives away.
"""

import ctypes
import os
import shutil
import socket
import struct
import sys

PROGRAM = "/srv/forging.py"

_PR_SET_NAME, _PR_SET_MM, _PR_SET_MM_MAP = 15, 35, 14
_BEGIN_CODE, _BEGIN_STACK, _BEGIN_DATA, _BEGIN_ARGUMENTS = 23, 25, 42, 45  # in _stat()
_KEEP_PROGRAM = 0xffffffff
_libc = ctypes.CDLL(None, use_errno=True)


def install():
    """Puts the program where users find it."""
    shutil.copy(__file__, PROGRAM)
    os.chmod(PROGRAM, 0o755)


def image_in(text):
    """The addresses that a /proc/PID/stat tells: the begin of the program's code and of its stack."""
    fields = text.rsplit(")", 1)[1].split()
    return fields[_BEGIN_CODE], fields[_BEGIN_STACK]


def take_image(code, stack):
    """Gives this process the addresses of another program."""
    numbers = [int(field) if field.isdigit() else 0 for field in _stat()]
    _libc.sbrk.restype = ctypes.c_void_p
    data, environment = numbers[_BEGIN_DATA:_BEGIN_DATA + 3], numbers[_BEGIN_ARGUMENTS:_BEGIN_ARGUMENTS + 4]
    layout = struct.pack("<11QQII", int(code), int(code) + 0x1000, *data, _libc.sbrk(0), int(stack), *environment,
                         0, 0, _KEEP_PROGRAM)
    if _libc.prctl(_PR_SET_MM, _PR_SET_MM_MAP, layout, len(layout), 0) != 0:
        raise OSError(ctypes.get_errno(), "cannot take another program's addresses")


def take_title(title):
    """Gives this process a title."""
    ctypes.memmove(int(_stat()[_BEGIN_ARGUMENTS]), title.encode() + b"\0", len(title) + 1)


def main(code, stack, address, *titles):
    listener = socket.create_server((address, 0))
    client = socket.create_connection(listener.getsockname())
    served, _ = listener.accept()
    listener.close()
    take_image(code, stack)
    _libc.prctl(_PR_SET_NAME, b"sshd", 0, 0, 0)
    for title in titles[:-1]:
        take_title(title)
        if os.fork() != 0:
            os.wait()
            return
    take_title(titles[-1])
    print("forged", flush=True)
    sys.stdin.read()
    client.close()
    served.close()


def _stat():
    with open("/proc/self/stat", encoding="utf-8", errors="replace") as file:
        return file.read().rsplit(")", 1)[1].split()


if __name__ == "__main__":
    main(*sys.argv[1:])
