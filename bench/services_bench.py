#!/usr/bin/python3
"""Times `currentconn list --json` as a whole process, side by side with what people use today.

Two comparisons, each in one interleaved run, as ratios of medians:
  - without Samba, against `ps -e -o pid,args`, with a few hundred idle processes;
  - with 100 SMB sessions on a real smbd, against a plain `smbstatus --json`.

Needs root and the packages of tests/services/packages.sh. CURRENTCONN names another program than the release build's.
Usage: services_bench.py [ROUNDS]
"""

import os
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/services"))
sys.dont_write_bytecode = True

import listing  # noqa: E402
import namespace  # noqa: E402
import waiting  # noqa: E402
from daemons.samba import Samba  # noqa: E402

SESSIONS = 100
IDLE_PROCESSES = 300


class SmbSessions:
    """Many SMB sessions of one client process, each a connection of its own."""

    def __init__(self, count, user, address, share):
        from samba import credentials
        from samba.samba3 import libsmb_samba_internal, param
        context = param.get_context()
        context.load("/etc/samba/smb.conf")
        who = credentials.Credentials()
        who.guess(context)
        who.set_username(user)
        who.set_password(namespace.PASSWORD)
        self._connections = [libsmb_samba_internal.Conn(address, share, lp=context, creds=who) for _ in range(count)]


def seconds(argv):
    """The wall-clock time of one run of a program, from its start until it is gone."""
    begin = time.perf_counter()
    done = subprocess.run(argv, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                          env=namespace.ENVIRONMENT)
    taken = time.perf_counter() - begin
    if done.returncode != 0:
        sys.exit(f"{' '.join(argv)} ended with {done.returncode}: {done.stderr.decode(errors='replace')}")
    return taken


def compare(title, subject, rival, rounds):
    """Prints both medians and their ratio; the two alternate, and which goes first alternates too."""
    taken = {"subject": [], "rival": []}
    programs = {"subject": subject, "rival": rival}
    for name in taken:
        seconds(programs[name])
    for turn in range(rounds):
        for name in sorted(taken, reverse=turn % 2 == 0):
            taken[name].append(seconds(programs[name]))
    ours, theirs = (statistics.median(taken[name]) for name in ("subject", "rival"))
    print(f"{title}: {ours * 1000:.1f} ms against {theirs * 1000:.1f} ms of `{' '.join(rival)}`, "
          f"ratio {ours / theirs:.2f} ({rounds} rounds, medians; fastest {min(taken['subject']) * 1000:.1f} and "
          f"{min(taken['rival']) * 1000:.1f} ms)", flush=True)


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 51
    namespace.enter()
    subject = [os.path.realpath(os.environ.get("CURRENTCONN", listing.DEFAULT_PROGRAM)), "list", "--json"]
    idle = [subprocess.Popen(["sleep", "infinity"]) for _ in range(IDLE_PROCESSES)]
    compare("no Samba", subject, ["ps", "-e", "-o", "pid,args"], rounds)
    for process in idle:
        process.kill()
        process.wait()

    namespace.add_account("alice")
    samba = Samba()
    samba.configure()
    samba.add_user("alice")
    samba.start()
    sessions = SmbSessions(SESSIONS, "alice", "10.20.0.2", "media")
    waiting.until(f"{SESSIONS} rows", lambda: listing.result()["total"] == SESSIONS)
    compare(f"{SESSIONS} SMB sessions", subject, ["smbstatus", "--json"], rounds)
    del sessions


if __name__ == "__main__":
    main()
