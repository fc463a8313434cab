"""Pure-FTPd with local accounts, or with virtual users that share one account."""

import os
import pwd

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
        # The accounts' own hashes serve: those of pure-pw make every login take seconds.
        hashes = dict(line.split(":")[:2] for line in namespace.read("/etc/shadow").splitlines())
        lines = ""
        for name, account in self._virtual.items():
            owner = pwd.getpwnam(account)
            lines += f"{name}:{hashes[account]}:{owner.pw_uid}:{owner.pw_gid}::{owner.pw_dir}/./" + ":" * 12 + "\n"
        namespace.write(_PASSWORDS, lines, 0o600)
        namespace.run("pure-pw", "mkdb", _DATABASE, "-f", _PASSWORDS)

    def command(self):
        login = f"puredb:{_DATABASE}" if self._virtual else "unix"
        return ["/usr/sbin/pure-ftpd", "--login", login, "--noanonymous", "--dontresolve", "--minuid", "1",
                "--ipv4only"]
