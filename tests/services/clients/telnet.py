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
