#!/usr/bin/python3
"""Measures the daemon behind lighttpd against a plain CGI program behind the same lighttpd, as ratios of one run.

    serving_bench.py BUILD_FOLDER [SECONDS]

The server has 100 web logins and no Samba. Needs root, wrk, and the packages of tests/services/packages.sh.
"""

import json
import os
import re
import statistics
import subprocess
import sys
import threading
import time

_HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(_HERE, "../tests/daemon/system"), os.path.join(_HERE, "../tests/services")]

import namespace  # noqa: E402

BUILD = os.path.abspath(sys.argv[1])
SECONDS = float(sys.argv[2]) if len(sys.argv) > 2 else 3.0
ROUNDS = 3
CLIENTS = (1, 10, 50)
API = "/api/ZEVO.Core.CurrentConnection/1/"
CGI = "/cgi/"
MODULE = f"{BUILD}/modules/ZEVO.Core.CurrentConnection.so"
os.environ["CURRENTCONND"] = f"{BUILD}/bin/currentconnd"

namespace.enter()

import host_test  # noqa: E402
import processes  # noqa: E402
import waiting  # noqa: E402
from clients.ssh import Shell, allow  # noqa: E402
from daemons.daemon import Daemon  # noqa: E402
from daemons.openssh import OpenSsh  # noqa: E402
from daemons_of_host import Currentconnd, PAGE, PLAIN_PORT, PlainLighttpd, SESSIONS  # noqa: E402
from http_client import Client  # noqa: E402


class Lighttpd(PlainLighttpd):
    """lighttpd with the CGI program, the echo and a static file beside the daemon."""

    def configure(self):
        super().configure()
        text = namespace.read("/etc/currentconn/plain.conf")
        text += ('server.modules += ("mod_cgi", "mod_alias")\n'
                 'alias.url = ("/cgi/" => "/srv/cgi/")\n'
                 '$HTTP["url"] =~ "^/cgi/" { cgi.assign = ("" => "") }\n'
                 f'setenv.add-environment = ("BENCH_MODULE" => "{MODULE}")\n'
                 'scgi.server += ("/echo" => (("socket" => "/srv/echo.sock", "check-local" => "disable")))\n')
        namespace.write("/etc/currentconn/plain.conf", text.replace('server.username = "www-data"\n', "")
                        .replace('server.groupname = "www-data"\n', ""))
        os.makedirs("/srv/cgi", exist_ok=True)
        for method in ("list", "nothing"):
            os.path.exists(f"/srv/cgi/{method}") or os.symlink(f"{BUILD}/bench/plain_cgi", f"/srv/cgi/{method}")


class Echo(Daemon):
    """Answers with the bytes of a file."""

    name = "scgi-echo"

    def command(self):
        return [f"{BUILD}/bench/scgi_echo", "/srv/echo.sock", "/srv/answer.json"]


def add_logins(count):
    """Web logins from as many addresses, in the session file's syntax."""
    with open(SESSIONS, "a", encoding="utf-8") as file:
        for number in range(count):
            login = f"bench{number:038d}"
            file.write(f'"{login}":{{"1":"10.30.0.{number}","2":"alice","3":{1000 + number},"4":1795210000,"5":"Firefox"}}\n')
            open(f"{SESSIONS}.access.time/{login}", "w").close()


class Load:
    """One run of wrk: calls a second, and the latencies in milliseconds."""

    def __init__(self, path, clients, cookie=None, seconds=SECONDS):
        headers = ["-H", f"Cookie: {cookie}"] if cookie else []
        done = subprocess.run(["wrk", "--threads", "1", "--connections", str(clients), "--duration", f"{seconds:g}s",
                               "--latency", *headers, f"http://127.0.0.1:{PLAIN_PORT}{path}"],
                              capture_output=True, text=True, check=True, env=namespace.ENVIRONMENT)
        self.rate = float(re.search(r"Requests/sec:\s+([\d.]+)", done.stdout).group(1))
        value, unit = re.search(r"99%\s+([\d.]+)(us|ms|s)", done.stdout).groups()
        self.p99 = float(value) * {"us": 0.001, "ms": 1, "s": 1000}[unit]
        self.calls = int(re.search(r"(\d+) requests in", done.stdout).group(1))


def turned_away(daemon):
    """How many calls the daemon has rejected so far, as its log says a second later."""
    time.sleep(1.2)
    return sum(map(int, re.findall(r"status=503 .*calls=(\d+)", daemon.log_text())))


def median_rates(paths, clients, cookie, daemon):
    """The median rate of each path; the paths take turns, so that all share what else the machine does. Calls that the
    daemon rejected do not count."""
    rates = {path: [] for path in paths}
    so_far = turned_away(daemon)
    for _ in range(ROUNDS):
        for path in paths:
            load = Load(path, clients, cookie)
            refused = turned_away(daemon) - so_far if path.startswith(API) else 0
            so_far += refused
            if refused:
                show(f"{path} at {clients} clients: {refused} of {load.calls} calls were rejected")
            rates[path].append(load.rate * (1 - refused / load.calls))
    return {path: statistics.median(found) for path, found in rates.items()}


def show(text):
    print(text, flush=True)


def measure_throughput(cookie, daemon):
    static, echo = "/answer.json", "/echo"
    show(f"{'clients':>7} {'call':>9} {'daemon/s':>9} {'CGI/s':>9} {'echo/s':>9} {'static/s':>9} "
         f"{'daemon/CGI':>10} {'daemon/echo':>11}")
    for clients in CLIENTS:
        for method in ("list", "nothing"):
            rates = median_rates((API + method, CGI + method, echo, static), clients, cookie, daemon)
            ours, cgi = rates[API + method], rates[CGI + method]
            show(f"{clients:>7} {method:>9} {ours:>9.0f} {cgi:>9.0f} {rates[echo]:>9.0f} {rates[static]:>9.0f}"
                 f" {ours / cgi:>10.2f} {ours / rates[echo]:>11.2f}")
    show('("nothing" is a method that there is not; wanted: at least 3.00 times the CGI program\'s)')


def processor_seconds(pid, with_own):
    """What the ended children of a process have used, with or without the process itself."""
    fields = namespace.read(f"/proc/{pid}/stat").rsplit(")", 1)[1].split()
    own, children = fields[11:13], fields[13:15]
    return sum(map(int, children + (own if with_own else []))) / os.sysconf("SC_CLK_TCK")


def measure_processor_time(daemon, lighttpd, cookie):
    """Processor time of a call without the web server's own: it holds on a machine that does other things too."""
    for method in ("list", "nothing"):
        spent = {}
        for path, pid, with_own in ((API, daemon.process.pid, True), (CGI, lighttpd.process.pid, False)):
            before = processor_seconds(pid, with_own)
            calls = Load(path + method, 4, cookie, 5 * SECONDS).rate * 5 * SECONDS
            time.sleep(0.5)
            spent[path] = (processor_seconds(pid, with_own) - before) / calls * 1000
        show(f"processor time of {method}: {spent[API]:.2f} ms of the daemon's, {spent[CGI]:.2f} ms of the CGI program's,"
             f" ratio {spent[CGI] / spent[API]:.2f}")


def measure_latency_beside_a_kick(client):
    allow("alice")
    OpenSsh().start()
    ratios = []
    for _ in range(ROUNDS):
        shell = Shell("alice", "10.20.0.3")
        row = waiting.until("the SSH row", lambda: next(
            (row for row in client.get("list").data["items"] if row["type"] == "SSH"), None))
        os.kill(row["pid"], 19)  # a stopped process does not end by SIGTERM: the kick waits its five seconds
        before = Load(API + "list", 10, client.cookie, 4).p99
        kick = threading.Thread(target=client.post, args=("kick_connection", {"service_conn": [row]}))
        began = time.monotonic()
        kick.start()
        during = Load(API + "list", 10, client.cookie, 4).p99
        kick.join()
        show(f"99th percentile of list at 10 clients: {before:.1f} ms alone, {during:.1f} ms beside a kick of"
             f" {time.monotonic() - began:.1f} s, ratio {during / before:.2f}")
        ratios.append(during / before)
        shell.close()
        waiting.until("the connection to end", lambda: processes.established(22) == 0)
    show(f"median ratio {statistics.median(ratios):.2f} (wanted: at most 1.5)")


def footprint(pid):
    """Memory in kB and open descriptors, once no call is in flight any more."""
    time.sleep(3)
    return (int(processes.status(pid, "VmRSS").split()[0]), len(os.listdir(f"/proc/{pid}/fd")))


def measure_endurance(daemon, cookie, calls=100_000):
    pid, lists, others = daemon.process.pid, 0, 0
    Load(API + "nothing", 10, None, 1)
    before = footprint(pid)
    while lists + others < calls:
        lists += Load(API + "list", 10, cookie, 2).calls
        others += Load(API + "nothing", 10, None, 8).calls
    after = footprint(pid)
    show(f"after {lists + others} calls, {lists} of them lists: {before[0]} kB and {before[1]} descriptors before,"
         f" {after[0]} kB and {after[1]} after (wanted: the same)")


def measure_page():
    first = 1000 * float(subprocess.run(
        ["curl", "-s", "-o", "/dev/null", "-w", "%{time_starttransfer}", f"http://127.0.0.1:{PLAIN_PORT}/"],
        capture_output=True, text=True, check=True, env=namespace.ENVIRONMENT).stdout)
    total = packed = 0
    for folder, _, names in os.walk(PAGE):
        for name in names:
            path = os.path.join(folder, name)
            if name in ("package.json", "answer.json") or ("/texts/" in path and name != "en.json"):
                continue
            total += os.path.getsize(path)
            answer = subprocess.run(["curl", "-s", "--compressed", "-o", "/dev/null", "-w", "%{size_download}",
                                     f"http://127.0.0.1:{PLAIN_PORT}{path.removeprefix(PAGE)}"],
                                    capture_output=True, text=True, check=True, env=namespace.ENVIRONMENT)
            packed += int(answer.stdout)
    show(f"page: {first:.1f} ms to its first byte, {total / 1000:.0f} kB in all, {packed / 1000:.0f} kB as sent (wanted:"
         " under 150 kB in all)")


def main():
    host_test.add_accounts()
    daemon = Currentconnd().start()
    add_logins(100)
    lighttpd = Lighttpd().start()
    client = Client()
    client.log_in("bob", namespace.PASSWORD)
    answer = client.get("list")
    show(f"{answer.data['total']} connections, {len(answer.body)} bytes a list; {os.cpu_count()} processors,"
         f" load {os.getloadavg()[0]:.1f} when begun")
    with open("/srv/answer.json", "wb") as file:
        file.write(answer.body)
    os.symlink("/srv/answer.json", f"{PAGE}/answer.json")
    Echo().start()
    measure_page()
    cgi = json.loads(subprocess.run(["curl", "-s", f"http://127.0.0.1:{PLAIN_PORT}{CGI}list"], capture_output=True,
                                    text=True, check=True).stdout)
    assert cgi["data"]["total"] == answer.data["total"], cgi
    measure_processor_time(daemon, lighttpd, client.cookie)
    measure_throughput(client.cookie, daemon)
    measure_latency_beside_a_kick(client)
    measure_endurance(daemon, client.cookie)


main()
