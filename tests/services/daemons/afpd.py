"""A stand-in for netatalk's afpd, for which Debian has no package.

It shows what a server of that name shows: a listener on port 548 and one process of that name for each connection,
which takes the effective ids of the user once he has logged in. It speaks no AFP: a client sends its name and a line
break, and reads one line break when the process has become that user.
"""

import shutil

import namespace
from daemons.daemon import Daemon

_PROGRAM = "/srv/afpd"
_SERVER = """\
import os, pwd, signal, socket
signal.signal(signal.SIGCHLD, signal.SIG_IGN)
listener = socket.create_server(("", 548), backlog=16)
while True:
    connection, _ = listener.accept()
    if os.fork() == 0:
        listener.close()
        name = connection.makefile().readline().strip()
        if name:
            account = pwd.getpwnam(name)
            os.initgroups(name, account.pw_gid)
            os.setegid(account.pw_gid)
            os.seteuid(account.pw_uid)
            os.chdir(account.pw_dir)
            connection.sendall(b"\\n")
            connection.recv(1)
        os._exit(0)
    connection.close()
"""


class AfpdStandIn(Daemon):
    """A process named afpd on port 548."""

    name = "afpd"
    ports = (548,)

    def configure(self):
        # A process is named after the file that it was started from.
        shutil.copy("/usr/bin/python3", _PROGRAM)
        namespace.write("/srv/afpd_server.py", _SERVER)

    def command(self):
        return [_PROGRAM, "/srv/afpd_server.py"]
