"""A login at the machine itself."""

from clients.dialogue import Dialogue


class Console(Dialogue):
    """The real login program on a terminal of its own, at the user's prompt."""

    def __init__(self, user):
        super().__init__(["/bin/login", "-f", user])
        # What is typed before the prompt, login may throw away.
        self.expect("$ ")
        self.send("echo re''ady")
        self.expect("ready")

    def terminal(self):
        """The name of the terminal, such as "pts/1"."""
        self.send("echo =$(tty)=")
        self.expect("=/dev/")
        return self.expect("=")
