"""SMB clients."""

import namespace
import waiting
from clients.dialogue import Dialogue

_PROMPT = "smb: \\> "


class Smb(Dialogue):
    """smbclient at its prompt, connected to the first share of `shares`, with the others in the same session. The user
    "" is an anonymous one."""

    def __init__(self, user, address, *shares, port=445):
        super().__init__(["smbclient", f"//{address}/{shares[0]}", "-p", str(port),
                          "-U", f"{user}%{namespace.PASSWORD if user else ''}"])
        self.expect(_PROMPT)
        for share in shares[1:]:
            self.command(f"tcon {share}")

    def command(self, line):
        """Types one command and returns what it printed."""
        self.send(line)
        return self.expect(_PROMPT)

    def has_ended(self):
        """Whether the server has closed the connection: smbclient says so when asked, and ends by itself in time."""
        if super().has_ended():
            return True
        self.send("ls")
        waiting.until("smbclient to answer", lambda: Dialogue.has_ended(self) or _PROMPT in self.output)
        answer, self.output = self.output, ""
        return Dialogue.has_ended(self) or "NT_STATUS_CONNECTION" in answer

    def log_on(self, user, share):
        """Adds a session of another user, with one share, to the same connection."""
        self.command(f"logon {user} {namespace.PASSWORD}")
        return self.command(f"tcon {share}")
