"""NFS-Ganesha, which serves NFS version 4 from user space."""

import os

import namespace
from daemons.daemon import Daemon

_EXPORTED = os.path.join(os.path.dirname(os.path.realpath(namespace.UNPACKED)), "exported")
_CONFIGURATION = """\
NFS_CORE_PARAM { Protocols = 4; NFS_Port = 2049; Enable_UDP = false; Enable_RQUOTA = false; Enable_NLM = false;
  Allow_Set_Io_Flusher_Fail = true; }
NFS_KRB5 { Active_krb5 = false; }
NFSv4 { RecoveryBackend = fs; Grace_Period = 1; Lease_Lifetime = 2; Graceless = true; }
EXPORT_DEFAULTS { Access_Type = RW; Squash = None; SecType = sys; }
EXPORT { Export_Id = 7; Path = /srv/nfs; Pseudo = /nfs; FSAL { Name = VFS; } }
LOG { Default_Log_Level = WARN; }
"""


class Ganesha(Daemon):
    """The real ganesha.nfsd on port 2049; it exports /nfs."""

    name = "ganesha"
    ports = (2049,)

    def configure(self):
        os.makedirs("/srv/nfs", exist_ok=True)
        # Its file handles need a file system that can find a file by its handle: an overlay cannot, and newer versions
        # pass over file systems in memory. The build's can.
        os.makedirs(_EXPORTED, exist_ok=True)
        namespace.run("mount", "--bind", _EXPORTED, "/srv/nfs")
        namespace.write("/srv/nfs/hello", "hello\n")
        # It finds the file system of an export through this table, which small installations do not have.
        if not os.path.exists("/etc/mtab"):
            os.symlink("/proc/self/mounts", "/etc/mtab")
        for folder in ("/run/ganesha", "/var/lib/nfs/ganesha", "/var/log/ganesha"):
            os.makedirs(folder, exist_ok=True)
        namespace.write("/etc/ganesha/test.conf", _CONFIGURATION)

    def command(self):
        return ["/usr/bin/ganesha.nfsd", "-F", "-f", "/etc/ganesha/test.conf", "-L", "STDOUT",
                "-p", "/run/ganesha/ganesha.pid"]
