#!/usr/bin/python3
"""Measures currentconn as whole processes against the programs that it stands for, as ratios of one run.

  - `currentconn list --json` in turns with what people use today: without Samba `ps -e -o pid,args`, with a few hundred
    idle processes; on a real smbd with no session and with 100 sessions a plain `smbstatus --json`;
  - the end of 60 and of 300 SMB sessions by one `currentconn kick`, and how often it ran Samba's tool;
  - the daemon while 50 pages refresh every five seconds, with 100 SMB sessions.

Needs root and the packages of tests/services/packages.sh. CURRENTCONN and CURRENTCONND name other programs than the
release build's. Usage: services_bench.py [ROUNDS]
"""

import json
import os
import resource
import statistics
import subprocess
import sys
import threading
import time

_HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(_HERE, "../tests/services"), os.path.join(_HERE, "../tests/daemon/system")]
sys.dont_write_bytecode = True
os.environ.setdefault("CURRENTCONN", os.path.join(_HERE, "../build/release/bin/currentconn"))
os.environ.setdefault("CURRENTCONND", os.path.join(os.path.dirname(os.environ["CURRENTCONN"]), "currentconnd"))

import listing  # noqa: E402
import namespace  # noqa: E402
import waiting  # noqa: E402
from daemons.samba import Samba  # noqa: E402

SESSIONS = 100
IDLE_PROCESSES = 300
PAGES = 50
REFRESH_SECONDS = 5
PAGES_SECONDS = 60
SUBJECT = [os.path.realpath(os.environ["CURRENTCONN"])]
RIVAL = ["smbstatus", "--json"]
CONFIGURATION = "/etc/currentconn/currentconn.toml"
RUNS = "/srv/smbstatus-runs"


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


def spent(argv):
    """Wall-clock and processor time of one run of a program and what it starts, until it is gone."""
    before, begin = resource.getrusage(resource.RUSAGE_CHILDREN), time.perf_counter()
    done = subprocess.run(argv, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                          env=namespace.ENVIRONMENT)
    taken, after = time.perf_counter() - begin, resource.getrusage(resource.RUSAGE_CHILDREN)
    if done.returncode != 0:
        sys.exit(f"{' '.join(argv)} ended with {done.returncode}: {done.stderr.decode(errors='replace')}")
    return taken, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def compare(title, rival, rounds, wanted=None):
    """Prints the medians of both times and their ratios; the two alternate, and which goes first alternates too.
    `wanted` is the most that the ratio of processor times may be."""
    programs = {"subject": [*SUBJECT, "list", "--json"], "rival": rival}
    found = {name: [] for name in programs}
    for name in programs:
        spent(programs[name])
    for turn in range(rounds):
        for name in sorted(programs, reverse=turn % 2 == 0):
            found[name].append(spent(programs[name]))
    print(f"{title}: list against `{' '.join(rival)}`, medians of {rounds} rounds", flush=True)
    for index, kind in enumerate(("wall clock", "processor time")):
        ours, theirs = (statistics.median(times[index] for times in found[name]) * 1000 for name in programs)
        limit = f" (wanted: at most {wanted})" if wanted and index == 1 else ""
        print(f"  {kind}: {ours:.1f} ms against {theirs:.1f} ms, ratio {ours / theirs:.2f}{limit}", flush=True)


def listed():
    """How many SMB sessions are listed."""
    return listing.result("--filter", "CIFS")["total"]


def connect(count):
    """SMB sessions, once those before have ended and all of these are listed."""
    waiting.until("the sessions before to end", lambda: listed() == 0, 120)
    sessions = SmbSessions(count, "alice", "10.20.0.2", "media")
    waiting.until(f"{count} rows", lambda: listed() == count, 120)
    return sessions


def measure_kick(count, most_time, most_runs):
    """Ends `count` sessions by one command, beside the time of one smbstatus just before."""
    sessions = connect(count)
    rival = statistics.median(spent(RIVAL)[0] for _ in range(9))
    namespace.write(RUNS, "")
    begin = time.perf_counter()
    done = listing.run("kick", "--yes", "--user", "alice")
    taken = time.perf_counter() - begin
    runs = len(namespace.read(RUNS))
    left = listed()
    print(f"kick of {count} SMB sessions: {taken:.2f} s, {taken / rival:.0f} times the {rival * 1000:.0f} ms of one "
          f"`smbstatus --json` (wanted: at most {most_time}); {runs} runs of the tool (wanted: at most {most_runs}); "
          f"{left} left, exit status {done.returncode}", flush=True)
    del sessions


def processor_seconds(pid):
    """What a process and its ended children have used."""
    fields = namespace.read(f"/proc/{pid}/stat").rsplit(")", 1)[1].split()
    return sum(map(int, fields[11:15])) / os.sysconf("SC_CLK_TCK")


def show_page(call, delay, end, answers):
    """One open page: refreshes itself until `end`."""
    time.sleep(delay)
    while time.monotonic() < end:
        begin = time.monotonic()
        answers.append(call())
        time.sleep(max(0.0, begin + REFRESH_SECONDS - time.monotonic()))


def measure_pages():
    """The daemon's share of one core, its children and their tools included."""
    from daemons_of_host import Currentconnd, WEB_SOCKET
    import scgi_client
    host, sessions = ("HTTP_HOST", "fileserver"), connect(SESSIONS)
    daemon = Currentconnd().start()
    login = json.dumps({"name": "bob", "password": namespace.PASSWORD}).encode()
    client = ("REMOTE_ADDR", "10.20.0.3")
    answer = scgi_client.call(WEB_SOCKET, "POST", "/api/login", client, host, ("HTTP_SEC_FETCH_SITE", "same-origin"),
                              body=login)
    cookie = ("HTTP_COOKIE", answer.headers["Set-Cookie"].split(";")[0])

    def call():
        path = "/api/ZEVO.Core.CurrentConnection/1/list"
        return scgi_client.call(WEB_SOCKET, "GET", path, client, host, cookie, ("HTTP_CURRENTCONN_BACKGROUND", "1")).status

    answers, end = [], time.monotonic() + PAGES_SECONDS
    before, began = processor_seconds(daemon.process.pid), time.monotonic()
    pages = [threading.Thread(target=show_page, args=(call, REFRESH_SECONDS * number / PAGES, end, answers))
             for number in range(PAGES)]
    for page in pages:
        page.start()
    for page in pages:
        page.join()
    share = (processor_seconds(daemon.process.pid) - before) / (time.monotonic() - began)
    failed = sum(status != 200 for status in answers)
    print(f"{PAGES} pages refreshing every {REFRESH_SECONDS} s with {SESSIONS} SMB sessions: {share:.3f} of one core "
          f"(wanted: at most 0.15), {len(answers)} answers, {failed} of them failures", flush=True)
    daemon.stop()
    del sessions


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 51
    namespace.enter()
    idle = [subprocess.Popen(["sleep", "infinity"]) for _ in range(IDLE_PROCESSES)]
    compare("no Samba", ["ps", "-e", "-o", "pid,args"], rounds)
    for process in idle:
        process.kill()
        process.wait()

    for name in ("alice", "bob"):
        namespace.add_account(name)
    namespace.run("gpasswd", "--add", "bob", "sudo")
    samba = Samba()
    samba.configure()
    samba.add_user("alice")
    samba.start()
    compare("no SMB session", RIVAL, rounds, 1.2)
    sessions = connect(SESSIONS)
    compare(f"{SESSIONS} SMB sessions", RIVAL, rounds, 2.0)
    del sessions
    measure_pages()
    namespace.write("/srv/smbstatus", f"#!/bin/sh\nprintf x >>{RUNS}\nexec /usr/bin/smbstatus \"$@\"\n", 0o755)
    namespace.write(CONFIGURATION, 'smbstatus = "/srv/smbstatus"\n')
    measure_kick(60, 40, 12)
    measure_kick(300, 100, 50)


if __name__ == "__main__":
    main()
