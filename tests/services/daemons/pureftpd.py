"""Pure-FTPd with local accounts, or with virtual users that share one account."""

import os

import namespace
from daemons.daemon import Daemon

_PASSWORDS = "/etc/pure-ftpd.passwd"
_DATABASE = "/etc/pure-ftpd.pdb"


class PureFtpd(Daemon):
    """The real pure-ftpd on port 21. `virtual` maps names of virtual users to the account that they share."""

    name = "pure-ftpd"
    ports = (21,)

    def __init__(self, virtual=None):
        super().__init__()
        self._virtual = virtual or {}

    def configure(self):
        os.makedirs("/run/pure-ftpd", exist_ok=True)
        if not self._virtual:
            return
        for name, account in self._virtual.items():
            # -C and -M make the password's hash a cheap one: a login would take seconds otherwise.
            namespace.run("pure-pw", "useradd", name, "-u", account, "-d", f"/home/{account}", "-f", _PASSWORDS,
                          "-C", "100", "-M", "64", text=f"{namespace.PASSWORD}\n{namespace.PASSWORD}\n")
        namespace.run("pure-pw", "mkdb", _DATABASE, "-f", _PASSWORDS)

    def command(self):
        login = f"puredb:{_DATABASE}" if self._virtual else "unix"
        return ["/usr/sbin/pure-ftpd", "--login", login, "--noanonymous", "--dontresolve", "--minuid", "1",
                "--ipv4only"]
