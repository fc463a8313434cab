"""A login at the machine itself."""

import os
import pwd
import time

import namespace
from clients.dialogue import Dialogue

SESSIONS = "/run/systemd/sessions"


class Console(Dialogue):
    """The real login program on a terminal of its own, at the user's prompt."""

    def __init__(self, user):
        self._record = None
        super().__init__(["/bin/login", "-f", user])
        # What is typed before the prompt, login may throw away.
        self.expect("$ ")
        self.send("echo re''ady")
        self.expect("ready")
        if not self._is_in_utmp():
            self._record = f"{SESSIONS}/{self.process.pid}"
            self._write_record(user)

    def terminal(self):
        """The name of the terminal, such as "pts/1"."""
        self.send("echo =$(tty)=")
        self.expect("=/dev/")
        return self.expect("=")

    def close(self):
        super().close()
        if self._record:
            os.unlink(self._record)
            self._record = None

    def _is_in_utmp(self):
        with open("/run/utmp", "rb") as utmp:
            return f"{self.terminal()}\0".encode() in utmp.read()

    def _write_record(self, user):
        # Debian 13's login makes no entry in utmp: logind alone knows of it, and there is none in these namespaces.
        namespace.write(self._record, f"UID={pwd.getpwnam(user).pw_uid}\nUSER={user}\nSTATE=active\nTTY={self.terminal()}\n"
                                      f"TYPE=tty\nCLASS=user\nSERVICE=login\nLEADER={self.process.pid}\n"
                                      f"REALTIME={int(time.time() * 1e6)}\n")
