"""What every FTP server's test asks for while data flows."""

import os
import pwd

import listing
import processes
import waiting
from clients.ftp import Ftp
from clients.ftp_transfer import BUFFERED_BYTES, Download, Upload
from listing import Row

_ENDLESS_BYTES = 1 << 40  # a hole: it takes no room
_LONG_NAMES = 2000


def prepare_folder(path, account):
    """Makes a folder with a file that no client reads to its end and a folder that takes long to list."""
    names = os.path.join(path, "names")
    os.makedirs(names, exist_ok=True)
    for number in range(_LONG_NAMES):
        with open(os.path.join(names, f"{number:0200}"), "wb"):
            pass
    with open(os.path.join(path, "endless"), "wb") as file:
        file.truncate(_ENDLESS_BYTES)
    owner = pwd.getpwnam(account)
    os.chown(path, owner.pw_uid, owner.pw_gid)


def keep_buffers_small():
    """Keeps the kernel from taking a whole listing off a server whose client does not read."""
    for name in ("tcp_rmem", "tcp_wmem"):
        with open(f"/proc/sys/net/ipv4/{name}", "w", encoding="ascii") as file:
            file.write("4096 16384 65536")


class TransferBehaviour:
    """Mixed into the test case of each server, in each of its ways of running; the class starts one `daemon`."""

    login = "alice"  # who logs in
    shown = "alice"  # who the rows say it is
    folder = "/home/alice"
    descr = "/home/alice"
    options = {}  # of the client

    def test_a_kick_ends_transfers_in_passive_mode_that_run(self):
        self._transfers_end(runs=True, passive=True)

    def test_a_kick_ends_transfers_in_passive_mode_whose_client_has_stalled(self):
        self._transfers_end(runs=False, passive=True)

    def test_a_kick_ends_transfers_in_active_mode_that_run(self):
        self._transfers_end(runs=True, passive=False)

    def connected(self, address, passive=True):
        client = self.client(Ftp, self.login, address, **self.options)
        client.session.set_pasv(passive)
        return client

    def row(self, address):
        return Row(self.shown, address, "FTP", self.descr)

    def kick(self):
        done = listing.run("kick", "--yes", "--user", self.shown)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)

    def assertEnded(self, transfer):
        """That the server's end is closed; what still came from a server was on its way before."""
        rest = transfer.ended_after()
        self.assertLessEqual(rest, BUFFERED_BYTES if isinstance(transfer, Download) else 0)

    def assertNoSessionIsLeft(self):
        def others():
            return [pid for pid in processes.named(self.daemon.name) if pid != self.daemon.process.pid]
        waiting.until(f"the processes of {self.daemon.name} to end", lambda: not others())

    def _transfers_end(self, runs, passive):
        # Some servers enter the directory that they list.
        lister = self.connected("10.20.0.4", passive)
        lister.session.cwd("names")
        transfers = [
            self.client(Download, self.connected("10.20.0.2", passive), runs),
            self.client(Upload, self.connected("10.20.0.3", passive), runs, f"{self.folder}/received"),
            # A listing that is read comes to its end by itself.
            self.client(Download, lister, False, "LIST"),
        ]
        listing_row = self.row("10.20.0.4")._replace(descr=self.descr.replace(self.folder, f"{self.folder}/names"))
        self.assertList([self.row("10.20.0.2"), self.row("10.20.0.3"), listing_row])
        self.kick()
        self.assertList([])
        for transfer in transfers:
            self.assertEnded(transfer)
        self.assertNoSessionIsLeft()
