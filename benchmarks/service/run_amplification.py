"""Measures what one datagram causes, and how much of it a panel can be made to do in a second.

usage: run_amplification.py

Bytes are payloads on the wire, calls are those that the platform service gets. The rates are this machine's.
"""

import json
import time

from benchpanel import PROGRAMS, BenchPanel

import mvdp
from fleet import Fleet
from mvdp import Command
from panel import ADDRESS, FAR_ADDRESS, MAC, TOOL_ADDRESS, Panel
from waiting import wait_for

SECONDS = 5
DATAGRAMS = 20000
UNDER_WAY = 16
FLEETS = [2, 4, 8]
OTHER_MAC = "00:1a:2b:3c:4d:5f"


def addressed(command, mac=MAC):
    return mvdp.request(command, mac=mac, address=ADDRESS, netmask="255.255.255.0", gateway=TOOL_ADDRESS)


EXCHANGES = [
    ("discover", TOOL_ADDRESS, addressed(Command.DISCOVER)),
    ("echo", TOOL_ADDRESS, addressed(Command.ECHO)),
    ("one byte after an echo", TOOL_ADDRESS, mvdp.MAGIC[:1]),
    ("six bytes after a discovery", TOOL_ADDRESS, addressed(Command.DISCOVER)[:6]),
    ("identify", TOOL_ADDRESS, addressed(Command.IDENTIFY)),
    ("set address", TOOL_ADDRESS, addressed(Command.SET_ADDRESS)),
    ("wink", TOOL_ADDRESS, addressed(Command.WINK)),
    ("restore defaults, relative marker", TOOL_ADDRESS, addressed(Command.RESTORE_RELATIVE)),
    ("reset network", TOOL_ADDRESS, addressed(Command.RESET_NETWORK)),
    ("restore defaults", TOOL_ADDRESS, addressed(Command.RESTORE)),
    ("restart", TOOL_ADDRESS, addressed(Command.RESTART)),
    ("wink for another panel", TOOL_ADDRESS, addressed(Command.WINK, OTHER_MAC)),
    ("one byte that is no request", TOOL_ADDRESS, b"x"),
    ("discover from another subnet", FAR_ADDRESS, addressed(Command.DISCOVER)),
]


def caused(panel, source, datagram):
    """Payload bytes that go out, and calls of the platform service."""
    panel.reset()
    before = Command.DISCOVER if len(datagram) == 6 else Command.ECHO
    panel.tool_at().ask(mvdp.request(before))
    sock, witness = panel.tool.udp_socket(source), panel.tool_at()
    panel.sim.clear_calls()
    capture = panel.tool.capture("eth0")
    sock.sendto(datagram, (ADDRESS, mvdp.PORT))
    # Datagrams are handled in turn.
    witness.settle()
    sent = 0
    while (packet := capture.next(lambda p: p.source_port == mvdp.PORT, "an answer")).destination_port != witness.port:
        sent += len(packet.payload)
    return sent, len(panel.calls()) - 1


def print_exchanges():
    panel = Panel(follows=True)
    try:
        (panel.mnt / "data" / "hmi").mkdir(parents=True)
        panel.tool_at().ask(mvdp.request(Command.DISCOVER))
        print(f"{'one datagram':36}{'bytes in':>10}{'bytes out':>10}{'out / in':>10}{'calls':>10}")
        for name, source, datagram in EXCHANGES:
            sent, calls = caused(panel, source, datagram)
            print(f"{name:36}{len(datagram):10}{sent:10}{sent / len(datagram):10.1f}{calls:10}", flush=True)
    finally:
        panel.close()


def print_rates():
    """With a platform service that costs next to nothing."""
    panel = BenchPanel()
    try:
        panel.start_service()
        print(f"\n{'at most, a second':36}{'datagrams':>10}{'calls':>10}")
        for command, calls in [("echo", 1), ("discover", 2)]:
            client = [PROGRAMS / "benchmark-client", ADDRESS, "throughput", command, DATAGRAMS, UNDER_WAY,
                      f"{mvdp.PORT}:{panel.process.pid}"]
            completed = panel.tool.run(client, capture_output=True)
            completed.check_returncode()
            rate = json.loads(completed.stdout)["rate"]
            print(f"{command:36}{rate:10.0f}{calls * rate:10.0f}", flush=True)
    finally:
        panel.close()


def print_loop(size):
    """An echo from the panels' own port on another subnet, to all of them at once."""
    with Fleet(size) as fleet:
        fleet.tool.address("eth0", f"{FAR_ADDRESS}/24")
        fleet.tool.route(f"{mvdp.GROUP} dev eth0")

        def handled():
            return [panel.sim.call_count("getInterfaceConfig") for panel in fleet.panels]

        with fleet.tool.udp_socket(FAR_ADDRESS, mvdp.PORT) as sock:
            sock.sendto(mvdp.request(Command.ECHO), (mvdp.GROUP, mvdp.PORT))
        wait_for(lambda: min(handled()) > 100, "the echo to go round")
        before, start = handled(), time.monotonic()
        time.sleep(SECONDS)
        rate = (sum(handled()) - sum(before)) / (time.monotonic() - start)
        print(f"{f'{size} panels':36}{rate:10.0f}{rate / size:10.0f}", flush=True)


def main():
    print_exchanges()
    print_rates()
    print(f"\n{'an echo that goes round, a second':36}{'datagrams':>10}{'a panel':>10}")
    for size in FLEETS:
        print_loop(size)


if __name__ == "__main__":
    main()
