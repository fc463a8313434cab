"""The page as ./run serve serves it."""

import os
import subprocess

import namespace

_ROOT = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../.."))
_BUILD = os.environ.get("CURRENTCONN_BUILD", os.path.join(_ROOT, "build/release"))


class ServedPage:
    """A daemon and a web server out of the build, until the test ends."""

    def __init__(self, test):
        self._test = test
        self._served = subprocess.Popen([f"{_ROOT}/packaging/serve.sh", _BUILD], env=namespace.ENVIRONMENT,
                                        stdout=subprocess.PIPE, text=True)
        test.addCleanup(self._served.wait)
        test.addCleanup(self._served.terminate)
        test.addCleanup(self._served.stdout.close)

    def link(self):
        """The link that logs the administrator in, once the page can be visited."""
        for line in self._served.stdout:
            if "#login=" in line:
                return line.strip()
        return self._test.fail("no login link was printed")
