"""Clients of the stand-in for afpd."""

import select
import socket


class Connected:
    """A connection that has named nobody: a login in progress."""

    def __init__(self, address):
        self._socket = socket.create_connection((address, 548), timeout=20)

    def close(self):
        self._socket.close()


class Afp(Connected):
    """A session that has logged in."""

    def __init__(self, user, address):
        super().__init__(address)
        self._socket.sendall(user.encode() + b"\n")
        if self._socket.recv(1) != b"\n":
            raise AssertionError(f"the stand-in for afpd did not let {user} in")

    def has_ended(self):
        """Whether the server has closed the connection."""
        ready, _, _ = select.select([self._socket], [], [], 0)
        return bool(ready)
