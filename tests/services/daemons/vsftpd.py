"""vsftpd, in each way in which it serves its users and shows them."""

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
_KEY = "/etc/vsftpd-test.pem"
TLS = {"ssl_enable": "YES", "rsa_cert_file": _KEY, "require_ssl_reuse": "NO"}
VIRTUAL = {"guest_enable": "YES", "guest_username": "virtual", "pam_service_name": "vsftpd-virtual"}


class Vsftpd(Daemon):
    """The real vsftpd on port 21. `titles`: setproctitle_enable; `utmp`: session_support, both off as shipped.

    `settings` are added: TLS for TLS, VIRTUAL for virtual users, whom it lets in with any password.
    """

    name = "vsftpd"
    ports = (21,)

    def __init__(self, titles=False, utmp=False, settings=None):
        super().__init__()
        self._settings = settings or {}
        self._titles = titles
        self._utmp = utmp

    def configure(self):
        os.makedirs("/run/vsftpd/empty", exist_ok=True)
        spelled = {True: "YES", False: "NO"}
        text = _CONFIGURATION.format(titles=spelled[self._titles], utmp=spelled[self._utmp])
        text += "".join(f"{key}={value}\n" for key, value in self._settings.items())
        namespace.write("/etc/vsftpd-test.conf", text)
        namespace.write("/etc/pam.d/vsftpd-virtual", "auth required pam_permit.so\naccount required pam_permit.so\n")
        if "ssl_enable" in self._settings:
            namespace.run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", _KEY, "-out", _KEY,
                          "-subj", "/CN=fileserver", "-days", "2")

    def command(self):
        return ["/usr/sbin/vsftpd", "/etc/vsftpd-test.conf"]
