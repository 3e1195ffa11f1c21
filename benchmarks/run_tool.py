"""Measures what mvdpctl needs for its tasks with many real panels: time, and datagrams at the tool's eth0.

usage: run_tool.py [PANELS...]; 64 and 250 without an argument. The first number is for all tasks, each further one for
`discover` alone.

Each task is done on a clean wire and on a lossy one. Two ratios stand beside it:

- to a bare client that sends only what the task cannot do without: one broadcast to find all panels, one request to
  each panel that is set or winks, and one broadcast more after a plan. It repeats what was not answered within half a
  second.
- on the clean wire also to the bare client with the requests that mvdpctl had sent, the same number to the same panels,
  each followed by its answers. The rest of mvdpctl's time is its waiting for others that might still answer.
"""

import dataclasses
import json
import pathlib
import socket
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "system"))

import mvdp  # noqa: E402
from fleet import BROADCAST_ADDRESS, TOOL_ADDRESS, Fleet, address_of, mac_of  # noqa: E402
from lossywire import LossyWire  # noqa: E402
from mvdp import Command  # noqa: E402
from netns import UdpPacket  # noqa: E402
from recorder import Recorder  # noqa: E402

LOSS, DELAY, DOUBLED = 0.1, 0.01, 0.02
RUNS = 3  # of which the median counts; mvdpctl does once what it does panel by panel
REPEAT_AFTER = 0.5
# For the frames of a whole task, which are read when it is done.
ROOM = 64 << 20
# mvdpctl asks for a socket of this size.
BUFFER = 1 << 20
PATIENCE = 3600  # with a plan on the lossy wire
LIMITED_BROADCAST = "255.255.255.255"
NETMASK = "255.255.248.0"


@dataclasses.dataclass
class Cost:
    seconds: float
    sent: list  # the datagrams of MVDP that left the tool's eth0, as UdpPacket
    received: list
    done: int = 0  # panels

    @property
    def datagrams(self):
        return len(self.sent) + len(self.received)


class BareClient:
    """Sends requests, waits for the answers, and does nothing else."""

    def __init__(self, fleet):
        self._sock = fleet.tool.udp_socket(TOOL_ADDRESS, group=mvdp.GROUP)
        self._sock.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, BUFFER)
        self._tag = 0

    def ask(self, request, destination, panels):
        """Sends until each of these panels, by MAC address, has answered."""
        self._tag = self._tag % 255 + 1
        request = request[:7] + bytes((self._tag,)) + request[8:]
        missing = set(panels)
        while missing:
            self._sock.sendto(request, (destination, mvdp.PORT))
            self._take_answers(request, missing, time.monotonic() + REPEAT_AFTER)

    def _take_answers(self, request, missing, deadline):
        while missing and (left := deadline - time.monotonic()) > 0:
            self._sock.settimeout(left)
            try:
                reply = mvdp.Reply(self._sock.recv(4096))
            except TimeoutError:
                return
            if (reply.command, reply.tag) == (request[6], self._tag):
                missing.discard(reply.mac)

    def ask_again(self, packets, panels):
        """Sends what mvdpctl has sent. The limited broadcast has no route here and becomes that of the subnet."""
        for packet in packets:
            to = BROADCAST_ADDRESS if packet.destination == LIMITED_BROADCAST else packet.destination
            mac = ":".join(f"{octet:02x}" for octet in packet.payload[20:26])
            self.ask(packet.payload, to, panels if packet.payload[6] == Command.DISCOVER else {mac})


class Plant:
    """A fleet, and the tasks that are done with it: with mvdpctl, which gives the number of panels for which a task was
    done, and with the bare client."""

    def __init__(self, fleet, folder):
        self.fleet = fleet
        self.size = len(fleet.panels)
        self.macs = {mac_of(number) for number in range(self.size)}
        self.recorder = Recorder(fleet.tool, room=ROOM)
        self.client = BareClient(fleet)
        self._plan = folder / "plan.csv"
        self._names = folder / "names.csv"
        self._block = 0

    def cost(self, work):
        self.recorder.clear()
        start = time.perf_counter()
        done = work()
        seconds = time.perf_counter() - start
        self.recorder.read()
        packets = [UdpPacket(frame[14:]) for frame in self.recorder.frames if UdpPacket.is_one(frame[14:])]
        return Cost(seconds, [packet for packet in packets if packet.destination_port == mvdp.PORT],
                    [packet for packet in packets if packet.source_port == mvdp.PORT], done)

    def addresses(self):
        """For each panel its address by the last plan."""
        return [address_of(self._block * self.size + number) for number in range(self.size)]

    def next_plan(self):
        """Writes a plan in which each panel gets an address that none had before."""
        self._block += 1
        self._plan.write_text("mac,address\n" + "".join(
            f"{mac_of(number)},{address}\n" for number, address in enumerate(self.addresses())), encoding="ascii")

    # With mvdpctl

    def discover(self):
        return len(self._json("discover")["panels"])

    def carry_out_plan(self):
        return self._results("applied")

    def carry_out_plan_again(self):
        return self._results("already so")

    def wink(self):
        return sum(each["result"] == "done" for each in self._json("wink", "--all")["results"])

    def tour(self):
        """Answers each prompt with a name."""
        from mvdpctlrun import Terminal  # which needs pytest
        terminal = Terminal(self.fleet.tool, "tour", "--names", self._names)
        for number in range(self.size):
            terminal.read_until(b"> ")
            terminal.bytes = b""
            terminal.type(b"Cabinet %d\n" % number)
        code, lines = terminal.finish()
        assert code == 0, lines
        return self._names.read_text(encoding="utf-8").count("Cabinet")

    def _json(self, *arguments):
        _, out, err = self.fleet.mvdpctl(*arguments, "--json", patience=PATIENCE)
        assert out, err
        return json.loads(out)

    def _results(self, wanted):
        results = self._json("set", "--from", self._plan, "--yes")["results"]
        applied = [self.fleet.address_in_force(number) for number in range(self.size)] == self.addresses()
        return sum(each["result"] == wanted for each in results) if applied else 0

    # With the bare client

    def bare_discover(self):
        self.client.ask(mvdp.request(Command.DISCOVER), BROADCAST_ADDRESS, self.macs)

    def bare_plan(self):
        """By broadcast, since a panel whose answer was lost is not at its old address any more."""
        self.next_plan()
        self.bare_discover()
        for number, address in enumerate(self.addresses()):
            mac = mac_of(number)
            self.client.ask(mvdp.request(Command.SET_ADDRESS, mac=mac, address=address, netmask=NETMASK,
                                         gateway=TOOL_ADDRESS), BROADCAST_ADDRESS, {mac})
        self.bare_discover()

    def bare_wink(self):
        for number, address in enumerate(self.addresses()):
            self.client.ask(mvdp.request(Command.WINK, mac=mac_of(number)), address, {mac_of(number)})


# For each task: its name, what comes before it, mvdpctl's way, the bare client's, and how often.
TASKS = [
    ("`discover`", None, Plant.discover, Plant.bare_discover, RUNS),
    ("a plan: new addresses for all", Plant.next_plan, Plant.carry_out_plan, Plant.bare_plan, 1),
    ("the same plan again", None, Plant.carry_out_plan_again, Plant.bare_discover, RUNS),
    ("`wink --all`", None, Plant.wink, Plant.bare_wink, 1),
    ("`tour`", None, Plant.tour, Plant.bare_wink, 1),
]


def measure(plant, task, clean):
    name, prepare, with_mvdpctl, with_bare_client, runs = task

    def median(work, runs=runs):
        costs = [plant.cost(work) for _ in range(runs)]
        return sorted(costs, key=lambda cost: cost.seconds)[len(costs) // 2]

    if prepare:
        prepare(plant)
    tool = median(lambda: with_mvdpctl(plant))
    assert tool.done == plant.size or not clean, f"{name}: {tool.done} of {plant.size}"
    again = median(lambda: plant.client.ask_again(tool.sent, plant.macs)) if clean else None
    bare = median(lambda: with_bare_client(plant), RUNS)
    cells = [name, plant.size, "clean" if clean else "lossy", tool.done, f"{tool.seconds:.2f} s", len(tool.sent),
             len(tool.received), f"{bare.seconds * 1000:.0f} ms", f"{tool.seconds / bare.seconds:.1f}",
             f"{tool.datagrams / bare.datagrams:.1f}", f"{tool.seconds / again.seconds:.1f}" if again else "-"]
    print(f"| {' | '.join(map(str, cells))} |", flush=True)


def measure_all(size, tasks, clean):
    wires = []

    def lay_lossy(tool, switch):
        wires.append(LossyWire(tool, "eth0", switch, "tool"))

    with tempfile.TemporaryDirectory() as folder, Fleet(size, None if clean else lay_lossy) as fleet:
        fleet.discover("--rounds", "100")  # the panels' first questions to their platform services are behind them
        for wire in wires:
            wire.loss, wire.delay, wire.duplicate = LOSS, DELAY, DOUBLED
        plant = Plant(fleet, pathlib.Path(folder))
        for task in tasks:
            measure(plant, task, clean)
    for wire in wires:
        wire.close()


def main(sizes):
    print(f"On the lossy wire {LOSS:.0%} of all frames are lost each way, the others come up to {DELAY * 1000:.0f} ms "
          f"late, and {DOUBLED:.0%} twice.\n")
    print("| task | panels | wire | done for | time | sent | received | bare client | x its time | x its datagrams "
          "| x the same requests |")
    print("|---|---|---|---|---|---|---|---|---|---|---|")
    for size in sizes:
        for clean in (True, False):
            measure_all(size, TASKS if size == sizes[0] else TASKS[:1], clean)


if __name__ == "__main__":
    main([int(argument) for argument in sys.argv[1:]] or [64, 250])
