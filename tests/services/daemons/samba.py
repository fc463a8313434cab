"""smbd with the shares media, photos and music, and its accounts."""

import os

import namespace
from daemons.daemon import Daemon

SHARES = ("media", "photos", "music")


class Samba(Daemon):
    """The real smbd on port 445. `global_lines` go into smb.conf's [global]."""

    name = "smbd"
    ports = (445,)
    configuration = "/etc/samba/smb.conf"

    def __init__(self, global_lines=()):
        super().__init__()
        self._global_lines = global_lines

    def configure(self):
        lines = ["[global]", "server role = standalone server", "disable netbios = yes",
                 f"smb ports = {' '.join(map(str, self.ports))}",
                 "load printers = no", "printing = bsd", "printcap name = /dev/null", "log level = 0",
                 "max log size = 0", "passdb backend = tdbsam", *self._global_lines]
        for share in SHARES:
            os.makedirs(f"/srv/{share}", exist_ok=True)
            os.chmod(f"/srv/{share}", 0o777)
            lines += [f"[{share}]", f"path = /srv/{share}", "read only = no"]
        namespace.write(self.configuration, "\n".join(lines) + "\n")

    def command(self):
        return ["/usr/sbin/smbd", "--foreground", "--no-process-group", "--debug-stdout", "-s", self.configuration]

    def add_user(self, name):
        """Gives an account of the server a Samba password. Needs a written configuration."""
        namespace.run("smbpasswd", "-c", self.configuration, "-s", "-a", name,
                      text=f"{namespace.PASSWORD}\n{namespace.PASSWORD}\n")


class OtherSamba(Samba):
    """An smbd beside the system's, with databases of its own, which the system's smbstatus does not know."""

    _FOLDERS = ("lock directory", "state directory", "cache directory", "private dir", "pid directory", "ncalrpc dir")

    def __init__(self, name, port, address):
        self._folder = f"/srv/smbd-{name}"
        self.name = f"smbd-{name}"
        self.configuration = f"{self._folder}/smb.conf"
        self.ports = (port,)
        folders = [f"{option} = {self._folder}/{option.split()[0]}" for option in self._FOLDERS]
        super().__init__([*folders, f"interfaces = {address}", "bind interfaces only = yes"])

    def configure(self):
        for option in self._FOLDERS:
            os.makedirs(f"{self._folder}/{option.split()[0]}", exist_ok=True)
        super().configure()
