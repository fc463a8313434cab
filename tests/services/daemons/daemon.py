"""One daemon in the foreground, with its output kept for the message of a failure."""

import subprocess

import namespace
import processes
import waiting


class Daemon:
    """Base of all servers. A subclass names its `ports` and its argument vector."""

    name = ""
    ports = ()

    def __init__(self):
        self.process = None
        self.log = f"/var/log/currentconn-test-{self.name}.log"

    def configure(self):
        """Writes the configuration files; nothing by default."""

    def command(self):
        """The argument vector of the daemon, which stays in the foreground."""
        raise NotImplementedError

    def start(self):
        """Returns the daemon itself once it accepts connections on its ports."""
        self.configure()
        command = self.command()
        try:
            with open(self.log, "ab") as log:
                self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                                env=namespace.ENVIRONMENT, start_new_session=True, cwd="/")
        except FileNotFoundError:
            raise AssertionError(f"{command[0]} is missing; tests/services/packages.sh installs it") from None
        waiting.until(f"{self.name} to listen on {self.ports}", self._listens)
        return self

    def stop(self):
        """Ends the daemon with SIGTERM, and with SIGKILL where that takes longer than a few seconds."""
        self.process.terminate()
        try:
            self.process.wait(5)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait(waiting.LIMIT_SECONDS)

    def _listens(self):
        if self.process.poll() is not None:
            output = namespace.read(self.log)[-2000:]
            raise AssertionError(f"{self.name} ended at once with {self.process.returncode}: {output}")
        return all(processes.listens(port) for port in self.ports)
