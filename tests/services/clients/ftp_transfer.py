"""FTP transfers that last until somebody ends them."""

import os
import socket
import threading
import time

import waiting

# What the buffers of both ends may still hold when the server's process has ended.
BUFFERED_BYTES = 64 * 1024 * 1024
_LIMIT_SECONDS = 20.0
_CHUNK = 4096
_PAUSE_SECONDS = 0.001  # so that what runs for long stays small


class Download:
    """A client who takes data of `command`: all the time where it runs, else no more than the first bytes."""

    def __init__(self, client, runs, command="RETR endless"):
        client.session.voidcmd("TYPE I")
        self.socket = client.session.transfercmd(command)
        self.socket.settimeout(_LIMIT_SECONDS)
        self.bytes = len(self.socket.recv(_CHUNK))
        self._failure = None
        self._pause = _PAUSE_SECONDS
        self._thread = _started(self._read) if runs else None

    def ended_after(self):
        """How many bytes came from now on until the server's end was closed; an error where that never comes."""
        before = self.bytes
        self._pause = 0
        self._thread = self._thread or _started(self._read)
        while self._thread.is_alive():
            self._thread.join(0.05)
            if self.bytes - before > BUFFERED_BYTES:
                break
        if self._failure:
            raise AssertionError(f"the server's end is still open: {self._failure}")
        return self.bytes - before

    def close(self):
        _close(self.socket, self._thread)

    def _read(self):
        try:
            while received := len(self.socket.recv(_CHUNK)):
                self.bytes += received
                time.sleep(self._pause)
        except TimeoutError as error:
            self._failure = error
        except OSError:
            pass  # reset by the server's end


class Upload:
    """A client who sends into the file `path`: all the time where it runs, else no more than the first bytes."""

    def __init__(self, client, runs, path):
        client.session.voidcmd("TYPE I")
        self._path = path
        self.socket = client.session.transfercmd(f"STOR {os.path.basename(path)}")
        self.socket.settimeout(_LIMIT_SECONDS)
        self.socket.sendall(b"x" * _CHUNK)
        # Until then the server may not have begun.
        waiting.until("the first bytes to be stored", lambda: os.path.getsize(path) > 0)
        self._failure = None
        self._thread = _started(self._write) if runs else None

    def ended_after(self):
        """By how many bytes the file grew from now on until the server's end was closed."""
        before = os.path.getsize(self._path)
        self._thread = self._thread or _started(self._write)
        self._thread.join(_LIMIT_SECONDS)
        if self._failure or self._thread.is_alive():
            raise AssertionError(f"the server's end is still open: {self._failure}")
        return os.path.getsize(self._path) - before

    def close(self):
        _close(self.socket, self._thread)

    def _write(self):
        try:
            while True:
                self.socket.sendall(b"x" * _CHUNK)
                time.sleep(_PAUSE_SECONDS)
        except TimeoutError as error:
            self._failure = error
        except OSError:
            pass


def _started(work):
    thread = threading.Thread(target=work, daemon=True)
    thread.start()
    return thread


def _close(connection, thread):
    try:
        connection.shutdown(socket.SHUT_RDWR)
    except OSError:
        pass  # ended already
    connection.close()
    if thread:
        thread.join(_LIMIT_SECONDS)
