"""Programs of a user, named as servers, on a file system of the user's that refuses root.

As a program, to be run by a user: `refusing.py DEVICE NAME...` serves a file system in a user namespace and runs a
program in it under each of these names, as an orphan. It writes "refusing" and serves until it is killed.
"""

import os
import shutil
import sys

from clients import stalling

PROGRAM = "/srv/refusing.py"


def install(run):
    """As stalling.install(), which it needs."""
    reason = stalling.install(run)
    os.makedirs("/srv/clients", exist_ok=True)
    shutil.copy(stalling.PROGRAM, "/srv/clients/stalling.py")
    shutil.copy(__file__, PROGRAM)
    os.chmod(PROGRAM, 0o755)
    return reason


def main(device, *names):
    connection = stalling.mount(device)
    with open("/bin/sleep", "rb") as file:
        program = file.read()
    for name in names:
        if os.fork() == 0:
            _orphan(f"/tmp/{name}")
    print("refusing", flush=True)
    while True:
        stalling.answer(connection, os.read(connection, 1 << 18), program)


def _orphan(path):
    """Runs a program that no process waits for."""
    os.setsid()
    if os.fork() == 0:
        os.execv(path, [path, "1000"])
    os._exit(0)


if __name__ == "__main__":
    main(*sys.argv[1:])
