"""Processes of a user, named as servers, that hold as many descriptors as the user may have.

As a program, to be run by a user: `hoarding.py NAME...` makes processes of these names in turn until all of them
together hold _DESCRIPTORS, writes "hoarding" and waits for the end of its input.
"""

import ctypes
import itertools
import os
import resource
import shutil
import signal
import sys

PROGRAM = "/srv/hoarding.py"

_DESCRIPTORS = 8_000_000  # minutes for whoever looks at each
_MOST_EACH = 20_000
_PR_SET_PDEATHSIG, _PR_SET_NAME = 1, 15
_libc = ctypes.CDLL(None)


def install():
    """Puts the program where users find it."""
    shutil.copy(__file__, PROGRAM)
    os.chmod(PROGRAM, 0o755)


def main(*names):
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    limit = min(hard, _MOST_EACH)
    resource.setrlimit(resource.RLIMIT_NOFILE, (limit, hard))
    while os.dup(0) < limit - 10:
        pass
    for name in itertools.islice(itertools.cycle(names), _DESCRIPTORS // limit):
        if os.fork() == 0:
            _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)
            _libc.prctl(_PR_SET_NAME, name.encode(), 0, 0, 0)
            signal.pause()
    print("hoarding", flush=True)
    sys.stdin.read()


if __name__ == "__main__":
    main(*sys.argv[1:])
