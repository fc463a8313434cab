"""FTP clients over Python's ftplib."""

import ftplib

import namespace


class Ftp:
    """A session that has logged in. `folder` is entered afterwards."""

    def __init__(self, user, address, folder=None):
        self.session = ftplib.FTP(timeout=20)
        self.session.connect(address)
        self.session.login(user, namespace.PASSWORD)
        if folder:
            self.session.cwd(folder)

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
