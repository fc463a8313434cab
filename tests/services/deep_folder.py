"""Folders so deep that no path can name them: the kernel's paths end at 4,096 bytes."""

import os
import pwd

STEP = "d" * 200  # the name of each folder in the one above
STEPS = 25
SHOWN = "directory not known"  # what the list says about one


def make(path, user):
    """Makes folders of a user below an existing one. Returns an open descriptor of the deepest."""
    account = pwd.getpwnam(user)
    folder = os.open(path, os.O_RDONLY | os.O_DIRECTORY)
    for _ in range(STEPS):
        os.mkdir(STEP, dir_fd=folder)
        os.chown(STEP, account.pw_uid, account.pw_gid, dir_fd=folder)
        below = os.open(STEP, os.O_RDONLY | os.O_DIRECTORY, dir_fd=folder)
        os.close(folder)
        folder = below
    return folder
