"""A panel for benchmarks: as in the system tests, but with a platform service that costs next to nothing."""

import json
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests" / "system"))

from hwsdsim import build_folder  # noqa: E402
from panel import ADDRESS, GATEWAY, MAC, NETMASK, Panel  # noqa: E402

PROGRAMS = build_folder() / "benchmarks" / "service"
# The loopback and eth0.
FEWEST_INTERFACES = 2


def record(size=0):
    """The platform service's record of eth0, of so many bytes at least."""
    fields = {"name": "eth0", "label": "Plant network 0", "mac_address": MAC, "ip_address": ADDRESS,
              "netmask": NETMASK, "gateway_ip": GATEWAY, "metric": 10, "dhcp": False, "configured": True,
              "readonly": False, "virtual": False, "hidden": False, "actual_netmask": NETMASK,
              "actual_ip_address": ADDRESS, "actual_gateway_ip": GATEWAY, "actual_metric": 10}
    text = json.dumps(fields, indent="\t")
    fields["label"] += "x" * max(0, size - len(text))
    return json.dumps(fields, indent="\t")


class BenchPanel(Panel):
    """The service is not started yet."""

    def __init__(self, display=None):
        self.platform = None
        super().__init__(sim=None, display=display, start=False)
        self._interfaces = FEWEST_INTERFACES
        try:
            self.start_platform(record())
        except BaseException:
            self.close()
            raise

    def start_platform(self, text):
        """A platform service that answers with this record; it takes the place of the one before."""
        self.stop_platform()
        self.platform = self.namespace.popen([PROGRAMS / "benchmark-platform", self.system_bus.address, text],
                                             stdout=subprocess.PIPE)
        if self.platform.stdout.readline() != b"ready\n":
            raise RuntimeError("the platform service did not start")

    def stop_platform(self):
        if self.platform:
            self.platform.kill()
            self.platform.wait()

    def close(self):
        # Before its bus, or it would report the loss.
        self.stop_platform()
        super().close()

    def add_interfaces(self, wanted):
        """Pairs of interfaces, all up and with an address, until there are so many."""
        for number in range(self._interfaces, wanted, 2):
            place = f"10.{number // 256}.{number % 256}"
            self.namespace.ip(f"link add a{number} type veth peer name b{number}",
                              f"link set a{number} up", f"address add {place}.1/32 dev a{number}",
                              f"link set b{number} up", f"address add {place}.2/32 dev b{number}")
        self._interfaces = wanted
