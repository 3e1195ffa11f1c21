"""Measures mvdpserver beside two floors: bare programs that for each datagram make the same calls of the platform
service, and send the datagram back.

usage: run_service.py [ROUNDS]; 5000 without an argument.

ROUNDS is how many datagrams are timed one by one; the other numbers follow from it. All programs are in one panel's
namespace, on one bus, with one display, and take turns.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

from benchpanel import PROGRAMS, BenchPanel, record

import mvdp
from panel import ADDRESS, MAC, Xvfb, server_command
from waiting import wait_for
from xscreen import Screen

QT_FLOOR = PROGRAMS / "benchmark-floor-qtdbus"
SD_FLOOR = PROGRAMS / "benchmark-floor-sdbus"
FLOOR_PORTS = {QT_FLOOR: mvdp.PORT + 1, SD_FLOOR: mvdp.PORT + 2}
NAMES = ["service", "QtDBus", "sd-bus"]
# Enough to see a timer that runs once a second, and whether one runs every few seconds.
IDLE_SECONDS = 10
NOTICE_SECONDS = 5


class Bench:
    """The service in its panel, and both floors beside it."""

    def __init__(self):
        self.display = Xvfb("800x480x24")
        self.screen = Screen(self.display.display)
        self.panel = BenchPanel(self.display.display)
        self.floors = {}
        try:
            self.start_programs()
            self.check_answer()
        except BaseException:
            self.close()
            raise

    def start_programs(self):
        """The service and the floors, each with a fresh process."""
        self.stop_programs()
        self.panel.start_service()
        for program, port in FLOOR_PORTS.items():
            self.floors[program] = self.panel.namespace.popen([program, port], env=self.panel.environment())
        self.client("latency", "echo", 1)

    def check_answer(self):
        """A service that cannot call the platform service answers all the same, and sooner."""
        answer = self.panel.tool_at().ask(mvdp.request(mvdp.Command.DISCOVER))
        if (answer.address, answer.mac) != (ADDRESS, MAC):
            sys.exit(f"the service does not know the panel's settings:\n{answer}\n{self.panel.stderr()}")

    def stop_programs(self):
        if self.panel.process:
            self.panel.stop_service()
        for process in self.floors.values():
            process.kill()
            process.wait()
        self.floors = {}

    def processes(self):
        return [self.panel.process.pid, *(process.pid for process in self.floors.values())]

    def targets(self):
        return [f"{port}:{process}" for port, process in zip([mvdp.PORT, *FLOOR_PORTS.values()], self.processes())]

    def client(self, *arguments, targets=None):
        """What the client measured, a dict for each target."""
        command = [PROGRAMS / "benchmark-client", ADDRESS, *arguments, *(targets or self.targets())]
        if arguments[0] != "start":
            wait_for(self.all_listen, "the floors to listen")
        completed = self.panel.tool.run(command, capture_output=True, timeout=3600, env=self.panel.environment())
        if completed.returncode != 0:
            sys.exit(completed.stderr.decode() + self.panel.stderr())
        return [json.loads(line) for line in completed.stdout.splitlines()]

    def all_listen(self):
        listening = pathlib.Path(f"/proc/{self.panel.process.pid}/net/udp").read_text(encoding="ascii")
        return all(f":{port:04X} " in listening for port in [mvdp.PORT, *FLOOR_PORTS.values()])

    def switches(self):
        """How often the threads of each program have been switched out so far."""
        counts = []
        for process in self.processes():
            status = "".join(path.read_text(encoding="ascii")
                             for path in pathlib.Path(f"/proc/{process}/task").glob("*/status"))
            counts.append(sum(map(int, re.findall(r"voluntary_ctxt_switches:\s+(\d+)", status))))
        return counts

    def memory(self):
        """MB of each program: resident, and of that its own alone."""
        sizes = []
        for process in self.processes():
            rollup = pathlib.Path(f"/proc/{process}/smaps_rollup").read_text(encoding="ascii")
            kib = dict(re.findall(r"(\w+):\s+(\d+) kB", rollup))
            sizes.append((int(kib["Rss"]) / 1024,
                          (int(kib["Private_Clean"]) + int(kib["Private_Dirty"])) / 1024))
        return sizes

    def wink_and_wait(self):
        """Shows the notice; returns the memory while it stands, when it has gone."""
        self.panel.tool_at().ask(mvdp.request(mvdp.Command.WINK, mac=MAC))
        self.screen.wait_for_window(self.panel.process.pid)
        shown = self.memory()
        time.sleep(NOTICE_SECONDS + 1)
        return shown

    def idle_switches(self):
        before = self.switches()
        time.sleep(IDLE_SECONDS)
        return [after - start for start, after in zip(before, self.switches())]

    def close(self):
        self.panel.close()
        self.screen.close()
        self.display.close()


def heading(title, columns=(*NAMES, "x QtDBus", "x sd-bus")):
    print(f"\n{title:36}" + "".join(f"{column:>10}" for column in columns), flush=True)


def row(name, values, digits=1):
    service, qt_floor, sd_floor = values
    print(f"{name:36}" + "".join(f"{value:10.{digits}f}" for value in values)
          + f"{service / qt_floor:10.3f}{service / sd_floor:10.3f}", flush=True)


def print_exchanges(bench, rounds):
    for command in ["echo", "discover"]:
        runs = bench.client("latency", command, rounds)
        heading(f"{command}, {rounds} one by one")
        for key in ["p50", "p95", "p99"]:
            row(f"{key}, us", [run[key] for run in runs])
        row("processor time, us", [run["cpu"] for run in runs])
        row("context switches", [run["switches"] for run in runs], 2)
        runs = bench.client("throughput", command, 4 * rounds, 16)
        heading(f"{command}, 16 under way")
        row("datagrams a second", [run["rate"] for run in runs])
        row("processor time, us", [run["cpu"] for run in runs])
        row("context switches", [run["switches"] for run in runs], 2)


def print_memory(bench, rounds):
    bench.start_programs()
    heading("memory, MB")

    def print_both(when, sizes):
        row(f"resident, {when}", [size[0] for size in sizes])
        row(f"of that private, {when}", [size[1] for size in sizes], 2)

    print_both("at rest", bench.memory())
    bench.client("throughput", "discover", rounds, 16)
    print_both(f"{rounds} datagrams", bench.memory())
    heading(f"switches while idle, in {IDLE_SECONDS} s", NAMES)
    print(f"{'at rest':36}" + "".join(f"{count:10}" for count in bench.idle_switches()))
    first = bench.memory()[0]
    shown = bench.wink_and_wait()[0]
    print(f"{'after a wink':36}" + "".join(f"{count:10}" for count in bench.idle_switches()))

    heading("the service alone, kB", ["resident", "private"])

    def print_growth_of_both(what, before, after):
        print(f"{what:36}" + "".join(f"{(end - start) * 1024:10.0f}" for start, end in zip(before, after)))

    print_growth_of_both("grown by a wink", first, shown)
    more = 200 * rounds
    bench.client("throughput", "discover", rounds, 16, targets=bench.targets()[:1])
    first = bench.memory()[0]
    bench.client("throughput", "discover", more, 16, targets=bench.targets()[:1])
    print_growth_of_both(f"grown by {more} datagrams", first, bench.memory()[0])


def print_start(bench, rounds):
    bench.stop_programs()
    programs = [f"{mvdp.PORT}:{server_command()[-1]}", *(f"{port}:{path}" for path, port in FLOOR_PORTS.items())]
    runs = bench.client("start", max(5, rounds // 100), bench.panel.platform.pid, targets=programs)
    heading("start")
    row("to the first answer, ms", [run["start"] for run in runs])
    bench.start_programs()


def print_size():
    heading("size, kB")
    sizes = []
    with tempfile.TemporaryDirectory() as folder:
        for program in [server_command()[-1], QT_FLOOR, SD_FLOOR]:
            copy = pathlib.Path(shutil.copy(program, folder))
            subprocess.run(["strip", copy], check=True)
            sizes.append(copy.stat().st_size / 1000)
    row("stripped", sizes)


def print_growth(bench, rounds):
    heading("growth: echo, us")

    def print_echo(name):
        runs = bench.client("latency", "echo", rounds)
        row(f"{name}, p50", [run["p50"] for run in runs])
        row(f"{name}, processor time", [run["cpu"] for run in runs])

    for size in [0, 4096, 65536]:
        text = record(size)
        bench.panel.start_platform(text)
        print_echo(f"record of {len(text)} bytes")
    bench.panel.start_platform(record())
    for window in [1, 4, 16, 64]:
        runs = bench.client("throughput", "echo", 4 * rounds, window)
        row(f"{window} under way, each takes", [1e6 / run["rate"] for run in runs])
    for count in [2, 64, 512]:
        bench.panel.add_interfaces(count)
        print_echo(f"{count} interfaces")


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 5000
    bench = Bench()
    try:
        print_exchanges(bench, rounds)
        print_start(bench, rounds)
        print_memory(bench, rounds)
        print_size()
        print_growth(bench, rounds)
    finally:
        bench.close()


if __name__ == "__main__":
    main()
