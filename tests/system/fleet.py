"""Many whole panels on one switch, as in a row of cabinets."""

import concurrent.futures
import json
import os

from hwsdsim import build_folder
from netns import Namespace, join
from panel import Panel
from waiting import PATIENCE

TOOL_ADDRESS = "192.168.8.1"
PREFIX = 21
BROADCAST_ADDRESS = "192.168.15.255"
STARTED_AT_ONCE = 4


def address_of(number):
    """The address of panel 0, 1, ...: from 192.168.9.0 on, in the subnet of the tool."""
    return f"192.168.{9 + number // 256}.{number % 256}"


def mac_of(number):
    return f"02:00:5e:20:{number // 256:02x}:{number % 256:02x}"


class Fleet:
    """`size` panels, each with its own namespace, bus and platform service, and a tool's namespace, all on one
    bridge; up when the constructor returns. Panel 0 is `panels[0]`.

    `lay_tool_wire(tool, switch)` joins the tool's eth0 to the bridge's port "tool"; the default is a plain cable.
    `follows` is Panel's.
    """

    def __init__(self, size, lay_tool_wire=None, *, follows=True):
        self.panels = []
        self._follows = follows
        self._namespaces = []
        # The programs of a panel get a signal when the thread that started them ends, so these threads stay.
        self._starters = concurrent.futures.ThreadPoolExecutor(STARTED_AT_ONCE)
        try:
            self.switch = self._add_namespace("switch")
            # Forwards the group like a broadcast, as a switch without multicast snooping does.
            self.switch.ip("link add br0 type bridge mcast_snooping 0", "link set br0 up")
            self.tool = self._add_namespace("tool")
            (lay_tool_wire or _plain_cable)(self.tool, self.switch)
            self.switch.ip("link set tool master br0")
            self.tool.address("eth0", f"{TOOL_ADDRESS}/{PREFIX}")
            list(self._starters.map(self._make_panel, range(size)))
            self.panels.sort(key=lambda panel: panel.number)
        except BaseException:
            self.close()
            raise

    def _add_namespace(self, name):
        namespace = Namespace(name)
        self._namespaces.append(namespace)
        return namespace

    def _make_panel(self, number):
        def lay_wire(panel):
            join(panel.namespace, "eth0", self.switch, f"port{number}", first_mac=mac_of(number))
            self.switch.ip(f"link set port{number} master br0")
            panel.namespace.address("eth0", f"{address_of(number)}/{PREFIX}")
            panel.namespace.route(f"default via {TOOL_ADDRESS}")

        settings = {"ip_address": address_of(number), "netmask": "255.255.248.0", "gateway_ip": TOOL_ADDRESS}
        interface = {"mac_address": mac_of(number), **settings,
                     **{f"actual_{key}": value for key, value in settings.items()}}
        panel = Panel(lay_wires=lay_wire, state={"interfaces": {"eth0": interface}}, follows=self._follows)
        panel.number = number
        self.panels.append(panel)

    def expected(self):
        """The MAC and IP address of every panel, sorted."""
        return sorted((mac_of(number), address_of(number)) for number in range(len(self.panels)))

    def mvdpctl(self, *arguments, patience=4 * PATIENCE):
        """Runs the configuration tool in the tool's namespace; its exit code and output."""
        completed = self.tool.run([build_folder() / "tools" / "mvdpctl" / "mvdpctl", *arguments], input=b"",
                                  capture_output=True, timeout=patience, env={**os.environ, "LC_ALL": "C.UTF-8"})
        return completed.returncode, completed.stdout.decode(), completed.stderr.decode()

    def discover(self, *arguments):
        """What `mvdpctl discover` finds, as expected() has it."""
        code, out, err = self.mvdpctl("discover", "--json", *arguments)
        assert code == 0, f"ended with {code}: {err}"
        return sorted((panel["mac"], panel["address"]) for panel in json.loads(out)["panels"])

    def address_in_force(self, number):
        """The address of panel `number` by its platform service."""
        return self.panels[number].sim.interface()["actual_ip_address"]

    def memory_kib(self):
        """The memory of each panel's service, in the order of the panels. Pss: shared memory counts in equal parts."""
        def pss(process):
            with open(f"/proc/{process.pid}/smaps_rollup", encoding="ascii") as rollup:
                return next(int(line.split()[1]) for line in rollup if line.startswith("Pss:"))
        return [pss(panel.process) for panel in self.panels]

    def close(self):
        problems = []
        for panel in self.panels:
            try:
                panel.close()
            except AssertionError as problem:
                problems.append(str(problem))
        for namespace in self._namespaces:
            namespace.close()
        self._starters.shutdown()
        assert not problems, "\n".join(problems)

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()


def _plain_cable(tool, switch):
    join(tool, "eth0", switch, "tool")
