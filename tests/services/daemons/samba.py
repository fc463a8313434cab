"""smbd with the shares media, photos and music, and its accounts."""

import os

import namespace
from daemons.daemon import Daemon

SHARES = ("media", "photos", "music")


class Samba(Daemon):
    """The real smbd on port 445. `global_lines` go into smb.conf's [global]."""

    name = "smbd"
    ports = (445,)

    def __init__(self, global_lines=()):
        super().__init__()
        self._global_lines = global_lines

    def configure(self):
        lines = ["[global]", "server role = standalone server", "disable netbios = yes", "smb ports = 445",
                 "load printers = no", "printing = bsd", "printcap name = /dev/null", "log level = 0",
                 "max log size = 0", "passdb backend = tdbsam", *self._global_lines]
        for share in SHARES:
            os.makedirs(f"/srv/{share}", exist_ok=True)
            os.chmod(f"/srv/{share}", 0o777)
            lines += [f"[{share}]", f"path = /srv/{share}", "read only = no"]
        namespace.write("/etc/samba/smb.conf", "\n".join(lines) + "\n")

    def command(self):
        return ["/usr/sbin/smbd", "--foreground", "--no-process-group", "--debug-stdout"]

    @staticmethod
    def add_user(name):
        """Gives an account of the server a Samba password. Needs a written configuration."""
        namespace.run("smbpasswd", "-s", "-a", name, text=f"{namespace.PASSWORD}\n{namespace.PASSWORD}\n")
