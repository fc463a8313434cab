"""A client program that is talked to through a terminal, as a person would."""

import os
import pty
import select
import subprocess
import time

import namespace
import waiting


class Dialogue:
    """Runs a program on a new terminal. `output` is all that it has written so far."""

    def __init__(self, argv):
        self._argv = argv
        self.output = ""
        self._terminal, inner = pty.openpty()
        self.process = subprocess.Popen(argv, stdin=inner, stdout=inner, stderr=inner, env=namespace.ENVIRONMENT,
                                        start_new_session=True, cwd="/",
                                        preexec_fn=self._take_terminal)
        os.close(inner)

    @staticmethod
    def _take_terminal():
        # Programs ask for passwords on their controlling terminal; opening one makes it that of a new session.
        os.close(os.open(os.ttyname(0), os.O_RDWR))

    def expect(self, text):
        """Waits until the program writes a text, and takes the output up to there."""
        end = time.monotonic() + waiting.LIMIT_SECONDS
        while text not in self.output:
            if not self._read(max(0.0, end - time.monotonic())):
                self.close()
                raise AssertionError(f"{' '.join(self._argv)} never wrote {text!r}, but: {self.output!r}")
        before, self.output = self.output.split(text, 1)
        return before

    def send(self, line):
        """Types one line."""
        os.write(self._terminal, line.encode() + b"\n")

    def has_ended(self):
        """Whether the program has ended by itself, as most clients do when their connection is closed."""
        self._read(0)
        return self.process.poll() is not None

    def close(self):
        """Ends the program at once, so that its connection ends."""
        self.process.kill()
        self.process.wait()
        if self._terminal is not None:
            os.close(self._terminal)
            self._terminal = None

    def _read(self, seconds):
        ready, _, _ = select.select([self._terminal], [], [], seconds)
        if not ready:
            return False
        try:
            data = os.read(self._terminal, 65536)
        except OSError:  # nobody has it open: the program has ended, or login hangs it up before opening it anew
            time.sleep(0.01)
            return seconds > 0 and self.process.poll() is None
        self.output += data.decode(errors="replace")
        return bool(data)
