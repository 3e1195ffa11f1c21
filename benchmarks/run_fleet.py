"""Measures discovery of many panels on one switch, each with its own platform service, all on this machine.

usage: run_fleet.py [PANELS...]; 1, 64 and 250 without an argument.

The floor of a row is the first row's time for one panel, times the panels, shared among this machine's cores: no more
can be had as long as each panel does what one does alone.
"""

import os
import pathlib
import statistics
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "system"))

import mvdp  # noqa: E402
from fleet import BROADCAST_ADDRESS, Fleet  # noqa: E402

ROUNDS = 30
RUNS = 3
# A round that lost a datagram is left out, not waited for.
PATIENCE = 5.0


def broadcast_round(sock, tag, panels):
    """Seconds from one broadcast to the last panel's answer, or None when one is missing."""
    start = time.perf_counter()
    sock.sendto(mvdp.request(mvdp.Command.DISCOVER, tag=tag), (BROADCAST_ADDRESS, mvdp.PORT))
    answered = set()
    while len(answered) < panels:
        try:
            reply = mvdp.Reply(sock.recv(4096))
        except TimeoutError:
            return None
        if reply.tag == tag:
            answered.add(reply.mac)
    return time.perf_counter() - start


def measure(panels):
    with Fleet(panels) as fleet:
        sock = fleet.tool.udp_socket()
        sock.settimeout(PATIENCE)
        fleet.discover()  # the panels' first questions to their platform services are behind them
        rounds = [broadcast_round(sock, tag, panels) for tag in range(1, ROUNDS + 1)]
        times = [each for each in rounds if each is not None]
        runs = []
        for _ in range(RUNS):
            start = time.perf_counter()
            found = fleet.discover()
            runs.append(time.perf_counter() - start)
            assert found == fleet.expected(), f"{len(found)} of {panels} panels found"
        memory = statistics.median(fleet.memory_kib())
    return statistics.median(times), len(times), statistics.median(runs), memory


def main(sizes):
    cores = len(os.sched_getaffinity(0))
    print(f"{'panels':>6} {'last answer':>12} {'x floor':>8} {'complete':>9} {'mvdpctl discover':>17} "
          f"{'memory each':>12}")
    single = None
    for panels in sizes:
        last, complete, tool, memory = measure(panels)
        single = single or last / panels
        floor = last if panels == 1 else single * panels / cores
        print(f"{panels:6} {last * 1000:9.1f} ms {last / floor:8.1f} {complete:3} of {ROUNDS} {tool:15.2f} s "
              f"{memory / 1024:9.1f} MB", flush=True)


if __name__ == "__main__":
    main([int(argument) for argument in sys.argv[1:]] or [1, 64, 250])
