"""vsftpd, with and without the process titles that show a session's user."""

import os

import namespace
from daemons.daemon import Daemon

_CONFIGURATION = """\
listen=NO
listen_ipv6=YES
background=NO
anonymous_enable=NO
local_enable=YES
write_enable=YES
pam_service_name=vsftpd
secure_chroot_dir=/run/vsftpd/empty
setproctitle_enable={titles}
session_support={utmp}
"""


class Vsftpd(Daemon):
    """The real vsftpd on port 21. `titles`: setproctitle_enable; `utmp`: session_support, both off as shipped."""

    name = "vsftpd"
    ports = (21,)

    def __init__(self, titles=False, utmp=False):
        super().__init__()
        self._titles = titles
        self._utmp = utmp

    def configure(self):
        os.makedirs("/run/vsftpd/empty", exist_ok=True)
        spelled = {True: "YES", False: "NO"}
        text = _CONFIGURATION.format(titles=spelled[self._titles], utmp=spelled[self._utmp])
        namespace.write("/etc/vsftpd-test.conf", text)

    def command(self):
        return ["/usr/sbin/vsftpd", "/etc/vsftpd-test.conf"]
