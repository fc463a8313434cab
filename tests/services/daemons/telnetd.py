"""inetutils' telnetd, started for each connection by a small acceptor, as inetd does."""

import namespace
from daemons.daemon import Daemon

_ACCEPTOR = """\
import os, signal, socket
signal.signal(signal.SIGCHLD, signal.SIG_IGN)
listener = socket.create_server(("", 23), backlog=16)
while True:
    connection, _ = listener.accept()
    if os.fork() == 0:
        signal.signal(signal.SIGCHLD, signal.SIG_DFL)
        for descriptor in (0, 1, 2):
            os.dup2(connection.fileno(), descriptor)
        os.execv("/usr/sbin/telnetd", ["telnetd"])
    connection.close()
"""


class Telnetd(Daemon):
    """The real telnetd on port 23, behind a stand-in for inetd."""

    name = "telnet-acceptor"
    ports = (23,)

    def configure(self):
        namespace.write("/srv/telnet_acceptor.py", _ACCEPTOR)

    def command(self):
        return ["/usr/bin/python3", "/srv/telnet_acceptor.py"]
