"""The test network itself must not falsify results."""

import pathlib

import mvdp
from netns import Namespace

LAST_TRACEROUTE_PORT = 33534


def test_no_port_that_the_kernel_picks_means_something():
    with Namespace("tool") as tool:
        setting = tool.call(pathlib.Path("/proc/sys/net/ipv4/ip_local_port_range").read_text, encoding="ascii")
        first, last = map(int, setting.split())
        assert LAST_TRACEROUTE_PORT < first < last < mvdp.PORT
        assert first <= tool.udp_socket().getsockname()[1] <= last
