"""Requests straight to the daemon's sockets, well-formed or not."""

import os
import socket

from http_client import Answer, check

LIMIT_SECONDS = 100  # whatever takes longer hangs


def request(headers, body=b""):
    """A well-formed SCGI request."""
    block = b"".join(name.encode() + b"\0" + value.encode() + b"\0" for name, value in
                     [("CONTENT_LENGTH", str(len(body))), ("SCGI", "1"), *headers])
    return str(len(block)).encode() + b":" + block + b"," + body


def exchange(path, sent, limit=LIMIT_SECONDS):
    """Sends bytes to the socket at `path` and returns all that comes back."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
        connection.settimeout(limit)
        connection.connect(path)
        try:
            connection.sendall(sent)
        except BrokenPipeError:
            pass  # it was answered before it was read to its end
        return received(connection)


def received(connection):
    """All that comes until the other side closes."""
    parts = []
    while True:
        part = connection.recv(65536)
        if not part:
            return b"".join(parts)
        parts.append(part)


def parsed(answer):
    """The answer in what an SCGI program has sent; None where that is nothing."""
    if not answer:
        return None
    head, body = answer.split(b"\r\n\r\n", 1)
    pairs = (line.split(":", 1) for line in head.decode().split("\r\n"))
    headers = {name: value.strip() for name, value in pairs}
    return Answer(int(headers["Status"].split()[0]), headers, body)


def call(socket_path, method, path, *more, body=b""):
    """One call; `more` are further headers."""
    headers = [("REQUEST_METHOD", method), ("REQUEST_URI", path), ("CONTENT_TYPE", "application/json"), *more]
    answer = parsed(exchange(socket_path, request(headers, body)))
    check(method, path.split("?")[0], answer)
    return answer


def as_user(uid, function):
    """Runs function() in a process of this user and returns the number that it returned; -1 where it failed."""
    reading, writing = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            os.setgroups([])
            os.setresgid(uid, uid, uid)
            os.setresuid(uid, uid, uid)
            os.write(writing, str(function()).encode())
        finally:
            os._exit(0)
    os.close(writing)
    with os.fdopen(reading) as pipe:
        result = pipe.read()
    os.waitpid(child, 0)
    return int(result or "-1")
