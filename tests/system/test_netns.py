"""The test network itself must not falsify results."""

import pathlib

import mvdp
from netns import Namespace


def test_a_tools_socket_never_gets_the_panels_port_by_chance():
    """Its requests on the wire would look like the panels' replies."""
    with Namespace("tool") as tool:
        ports = range(mvdp.PORT - 1, mvdp.PORT + 3)
        tool.call(pathlib.Path("/proc/sys/net/ipv4/ip_local_port_range").write_text,
                  f"{ports[0]} {ports[-1]}", encoding="ascii")
        # All ports but one.
        sockets = [tool.udp_socket() for _ in ports[1:]]
        assert {sock.getsockname()[1] for sock in sockets} == set(ports) - {mvdp.PORT}
