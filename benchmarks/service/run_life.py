"""A day of a busy network in an hour, and whether the service is afterwards what it was at first.

usage: run_life.py [TURNS]; 1000 without an argument.

In each turn the service gets 10,000 datagrams, half of them discoveries, while its platform service is killed and
started ten times, and a wink. Latency is printed beside that of a bare QtDBus program that gets nothing else to do, so
that other work of the machine shows in both.
"""

import os
import subprocess
import sys
import time

from benchpanel import PROGRAMS, record
from run_service import Bench

import mvdp
from panel import ADDRESS, MAC

DATAGRAMS_A_TURN = 10000
RESTARTS_A_TURN = 10
UNDER_WAY = 16
LATENCY_DATAGRAMS = 2000
# What Qt, the bus library and the allocator keep is there after so many turns.
WARM_UP = 10
ROWS = 20


class Life:
    def __init__(self, bench):
        self._bench = bench
        self._panel = bench.panel
        self._tool = bench.panel.tool_at()
        self.datagrams = self.restarts = self.winks = 0

    def turn(self):
        floods = [self._flood(command) for command in ["discover", "echo"]]
        for _ in range(RESTARTS_A_TURN):
            self._panel.start_platform(record())
            self.restarts += 1
        for flood in floods:
            if flood.wait() != 0:
                sys.exit("a datagram was not answered:\n" + self._panel.stderr()[-2000:])
            self.datagrams += DATAGRAMS_A_TURN // 2
        self._tool.ask(mvdp.request(mvdp.Command.WINK, mac=MAC))
        self.winks += 1
        self._bench.check_answer()

    def _flood(self, command):
        return self._panel.tool.popen([PROGRAMS / "benchmark-client", ADDRESS, "throughput", command,
                                       DATAGRAMS_A_TURN // 2, UNDER_WAY, self._bench.targets()[0]],
                                      stdout=subprocess.DEVNULL)

    def print_row(self, start):
        process = self._panel.process.pid
        runs = self._bench.client("latency", "discover", LATENCY_DATAGRAMS, targets=self._bench.targets()[:2])
        service, floor = [run["p50"] for run in runs]
        resident, private = self._bench.memory()[0]
        print(f"{time.monotonic() - start:8.0f}{self.datagrams:12}{self.restarts:10}{self.winks:8}"
              f"{resident * 1024:12.0f}{private * 1024:10.0f}{len(os.listdir(f'/proc/{process}/fd')):8}"
              f"{len(os.listdir(f'/proc/{process}/task')):8}{service:8.0f}{service / floor:8.2f}", flush=True)


def main():
    turns = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
    bench = Bench()
    try:
        life, start = Life(bench), time.monotonic()
        print(f"{'seconds':>8}{'datagrams':>12}{'restarts':>10}{'winks':>8}{'resident kB':>12}{'private':>10}"
              f"{'files':>8}{'threads':>8}{'us':>8}{'x floor':>8}", flush=True)
        for turn in range(turns):
            if turn == min(WARM_UP, turns // 2) or turn % -(-turns // ROWS) == 0:
                life.print_row(start)
            life.turn()
        life.print_row(start)
    finally:
        bench.close()


if __name__ == "__main__":
    main()
