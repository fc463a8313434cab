"""ProFTPD with its scoreboard where its own tools look for it."""

import os

import namespace
from daemons.daemon import Daemon

_CONFIGURATION = """\
ServerName "test"
ServerType standalone
DefaultServer on
Port 21
UseIPv6 on
User nobody
Group nogroup
UseReverseDNS off
AuthOrder {auth_order}
RequireValidShell off
WtmpLog off
TransferLog none
PidFile /run/proftpd.pid
ScoreboardFile /run/proftpd.scoreboard
DelayEngine off
AllowOverwrite on
"""


class Proftpd(Daemon):
    """The real proftpd on port 21. `auth_order`: the modules that are asked about a login."""

    name = "proftpd"
    ports = (21,)

    def __init__(self, auth_order="mod_auth_unix.c"):
        super().__init__()
        self._auth_order = auth_order

    def configure(self):
        os.makedirs("/run/proftpd", exist_ok=True)
        # Debian 13 has in files of their own what Debian 12 has in the program.
        modules = [f"LoadModule mod_{name}.c\n" for name in ("delay", "ls", "xfer")
                   if os.path.exists(f"/usr/lib/proftpd/mod_{name}.so")]
        namespace.write("/etc/proftpd/proftpd.conf", "".join(modules) + _CONFIGURATION.format(auth_order=self._auth_order))

    def command(self):
        return ["/usr/sbin/proftpd", "--nodaemon", "--quiet", "--config", "/etc/proftpd/proftpd.conf"]
