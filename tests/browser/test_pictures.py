"""The pictures of the README: the page and the terminal, with a real client of every kind connected.

CURRENTCONN_PICTURES names the folder for them; without it they go where the other pictures of the tests are.
"""

import os
import pty
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.realpath(os.path.join(HERE, "../.."))
sys.path.insert(0, os.path.join(HERE, "../services"))

import listing  # noqa: E402
import namespace  # noqa: E402
import one_of_each  # noqa: E402
from served_page import ServedPage  # noqa: E402
from service_test import ServiceTest, main  # noqa: E402

FOLDER = os.environ.get("CURRENTCONN_PICTURES", os.path.join(ROOT, "build/browser/pictures"))
PNG = b"\x89PNG\r\n"
LIMIT_SECONDS = 120


def setUpModule():
    one_of_each.add_accounts()


def on_terminal(*arguments):
    """What the program prints on a terminal, colours included."""
    outer, inner = pty.openpty()
    environment = namespace.ENVIRONMENT | {"TERM": "xterm-256color"}
    with subprocess.Popen([listing.program(), *arguments], env=environment, stdin=inner, stdout=inner, stderr=inner):
        os.close(inner)
        output = b""
        try:
            while part := os.read(outer, 65536):
                output += part
        except OSError:
            pass  # the program has ended
    os.close(outer)
    return output.decode()


class PicturesTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        one_of_each.start_servers(cls)

    def test_they_are_taken(self):
        self.assertList(one_of_each.connect(self))
        self._take("page", CURRENTCONN_LINK=ServedPage(self).link())
        commands = [("list",), ("kick", "--user", "alice", "--yes")]
        screen = "".join(f"# currentconn {' '.join(command)}\r\n{on_terminal(*command)}\r\n" for command in commands)
        self._take("terminal", CURRENTCONN_SCREEN=screen)

    def _take(self, name, **of_what):
        environment = namespace.ENVIRONMENT | of_what | {"CURRENTCONN_PICTURES": FOLDER}
        done = subprocess.run(["node", f"{HERE}/served/pictures.mjs", name], env=environment, capture_output=True, text=True,
                              timeout=LIMIT_SECONDS)
        self.assertEqual(0, done.returncode, f"{done.stdout}\n{done.stderr}")
        with open(f"{FOLDER}/readme-{name}.png", "rb") as picture:
            self.assertEqual(PNG, picture.read(len(PNG)), name)


if __name__ == "__main__":
    main()
