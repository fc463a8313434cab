"""FTP clients over Python's ftplib."""

import ftplib
import select

import namespace


class Ftp:
    """A session that has logged in, over TLS with `tls`. `folder` is entered afterwards."""

    def __init__(self, user, address, folder=None, *, tls=False, port=ftplib.FTP_PORT):
        self.session = ftplib.FTP_TLS(timeout=20) if tls else ftplib.FTP(timeout=20)
        self.session.connect(address, port)
        try:
            self.session.login(user, namespace.PASSWORD)
        except ftplib.Error:
            self.session.close()
            raise
        if tls:
            self.session.prot_p()
        if folder:
            self.session.cwd(folder)

    def has_ended(self):
        """Whether the server has closed the connection, with or without a last word."""
        ready, _, _ = select.select([self.session.sock], [], [], 0)
        return bool(ready) and (self.session.sock.recv(4096) == b"" or self.has_ended())

    def close(self):
        self.session.close()


class Greeted:
    """A connection that has read the greeting and has named nobody yet; `user` sends the name without a password."""

    def __init__(self, address, user=None):
        self.session = ftplib.FTP(timeout=20)
        self.session.connect(address)
        if user:
            self.session.sendcmd(f"USER {user}")

    def close(self):
        self.session.close()
