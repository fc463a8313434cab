"""Runs the program under test and turns its answer into rows."""

import json
import os
import subprocess
from typing import NamedTuple

import namespace

_HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_PROGRAM = os.path.join(_HERE, "../../build/release/bin/currentconn")
_LIMIT_SECONDS = 90


class Row(NamedTuple):
    """What the list says about one connection, but its process and its time."""

    who: str
    address: str
    type: str
    descr: str


def program():
    """The path of the program under test."""
    return os.path.realpath(os.environ.get("CURRENTCONN", DEFAULT_PROGRAM))


def run(*arguments):
    """Runs currentconn with arguments to its end, however it ends."""
    return subprocess.run([program(), *arguments], capture_output=True, text=True, timeout=_LIMIT_SECONDS,
                          stdin=subprocess.DEVNULL, env=namespace.ENVIRONMENT)


def result(*arguments, command="list"):
    """The method's whole result as currentconn prints it with --json."""
    done = run(command, "--json", *arguments)
    if done.returncode != 0:
        raise AssertionError(f"currentconn {command} ended with {done.returncode}: {done.stderr}{done.stdout}")
    return json.loads(done.stdout)


def row(item):
    """The part of one item that a test can know beforehand."""
    return Row(item["who"], item["from"], item["type"], item["descr"])


def rows(*arguments, command="list"):
    """The rows of the list in the order in which they come."""
    return [row(item) for item in result(*arguments, command=command)["items"]]
