"""Telnet clients."""

import namespace
from clients.dialogue import Dialogue


class LoginPrompt(Dialogue):
    """telnet that waits for a name: a login in progress."""

    def __init__(self, address):
        super().__init__(["telnet", address])
        self.expect("login: ")


class Telnet(LoginPrompt):
    """telnet at the shell's prompt."""

    def __init__(self, user, address):
        super().__init__(address)
        self.send(user)
        self.expect("Password: ")
        self.send(namespace.PASSWORD)
        self.expect("$ ")

    def terminal(self):
        """The name of the session's terminal on the server, such as "pts/1"."""
        self.send("echo =$(tty)=")
        self.expect("=/dev/")
        return self.expect("=")

    def become(self, user):
        """Goes on as another user within the session."""
        self.send(f"su {user}")
        self.expect("Password: ")
        self.send(namespace.PASSWORD)
        self.expect(f"{user}@")
