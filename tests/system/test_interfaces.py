"""The interface that reaches the sender is the one whose settings are read, set and reported."""

import fcntl
import socket
import struct

import pytest

import mvdp
from mvdp import Command
from netns import join
from panel import ADDRESS, FAR_ADDRESS, MAC, NETMASK, TOOL_ADDRESS, Tool

DISCOVER = mvdp.request(Command.DISCOVER)
SECOND_MAC = "00:1a:2b:3c:4d:5f"
SECOND_ADDRESS = "10.20.0.5"
NEIGHBOUR = "10.20.0.1"
SECOND_RECORD = {"name": "eth1", "label": "LAN", "mac_address": SECOND_MAC, "dhcp": False,
                 "actual_ip_address": SECOND_ADDRESS, "actual_netmask": "255.255.0.0",
                 "actual_gateway_ip": ""}


def lay_two_wires(panel):
    """eth0 leads to `tool`, eth1 to `neighbour`; no route but to the two subnets."""
    panel.tool = panel.add_namespace("tool")
    panel.neighbour = panel.add_namespace("neighbour")
    join(panel.namespace, "eth0", panel.tool, "eth0", first_mac=MAC)
    join(panel.namespace, "eth1", panel.neighbour, "eth0", first_mac=SECOND_MAC)
    panel.namespace.address("eth0", f"{ADDRESS}/24")
    panel.namespace.address("eth1", f"{SECOND_ADDRESS}/16")
    panel.tool.address("eth0", f"{TOOL_ADDRESS}/24")
    panel.neighbour.address("eth0", f"{NEIGHBOUR}/16")


@pytest.fixture(name="shared_panel", scope="module")
def fixture_shared_panel(module_panels):
    return module_panels(lay_wires=lay_two_wires, state={"interfaces": {"eth1": SECOND_RECORD}})


def test_the_answering_interface_is_the_one_on_the_senders_subnet(panel):
    tool = panel.tool_at()
    neighbour = Tool(panel.neighbour.udp_socket(NEIGHBOUR), SECOND_ADDRESS)
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert neighbour.ask(DISCOVER).data == panel.expected_identity(
        address=SECOND_ADDRESS, netmask="255.255.0.0", gateway="0.0.0.0", mac=SECOND_MAC)
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    names = [call[1] for call in panel.calls() if call[0] == "getInterfaceConfig"]
    assert names == ["eth0", "eth0", "eth1", "eth1", "eth0", "eth0"]


def test_settings_are_those_of_the_answering_interface(panel):
    neighbour = Tool(panel.neighbour.udp_socket(NEIGHBOUR), SECOND_ADDRESS)
    new = {"address": "10.20.0.6", "netmask": NETMASK, "gateway": "10.20.0.1"}
    neighbour.expect_silence(mvdp.request(Command.SET_ADDRESS, mac=MAC, **new))
    reply = neighbour.ask(mvdp.request(Command.SET_ADDRESS, mac=SECOND_MAC, **new))
    assert reply.data == panel.expected_identity(command=Command.SET_ADDRESS, mac=SECOND_MAC, **new)
    assert [call[1] for call in panel.calls() if call[0] == "setInterfaceConfigJSON"] == ["eth1"]
    assert panel.sim.interface("eth0")["actual_ip_address"] == ADDRESS


SIOCSIFFLAGS, SIOCSIFADDR = 0x8914, 0x8916
IFF_UP = 1
ELSEWHERE = "172.20.0.5"
BESIDE_FAR = "10.9.0.5"


def change_interface(request, name, value):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        fcntl.ioctl(sock, request, struct.pack("16s16s", name.encode(), value))


def set_address(name, address):
    change_interface(SIOCSIFADDR, name, struct.pack("=HH4s", socket.AF_INET, 0, socket.inet_aton(address)))


def set_up(name, is_up):
    change_interface(SIOCSIFFLAGS, name, struct.pack("=H", IFF_UP if is_up else 0))


def test_change_right_before_a_datagram_is_seen_a_thousand_times(make_panel):
    panel = make_panel(lay_wires=lay_two_wires, state={"interfaces": {"eth1": SECOND_RECORD}})
    panel.tool.address("eth0", f"{FAR_ADDRESS}/24")
    far, near = panel.tool_at(FAR_ADDRESS), panel.tool_at()
    # The far peer is on the subnet of eth1, or else on none, so that the first interface is taken.
    changes = [(set_address, BESIDE_FAR, "eth1"), (set_up, False, "eth0"), (set_up, True, "eth1"),
               (set_address, ELSEWHERE, "eth0")]
    echo = mvdp.request(Command.ECHO)
    panel.sim.clear_calls()
    for _ in range(250):
        for change, value, _ in changes:
            panel.namespace.call(change, "eth1", value)
            far.send(echo)
            near.settle()
    asked = [call[1] for call in panel.calls() if call[0] == "getInterfaceConfig"]
    assert asked[0::2] == [name for _, _, name in changes] * 250
    assert asked[1::2] == ["eth0"] * 1000


def lay_unaddressed_wire(panel):
    """One interface, not called eth0, with an IPv6 address only; not even the loopback is up."""
    panel.tool = panel.add_namespace("tool")
    join(panel.namespace, "lan0", panel.tool, "eth0")
    panel.namespace.ip("link set lo down", "address add fd00::5/64 dev lan0 nodad")
    panel.tool.address("eth0", f"{TOOL_ADDRESS}/24")


def test_without_any_ipv4_interface_eth0_is_asked_about(make_panel):
    panel = make_panel(lay_wires=lay_unaddressed_wire)
    sock = panel.tool.udp_socket(TOOL_ADDRESS)
    sock.sendto(DISCOVER, ("255.255.255.255", mvdp.PORT))
    panel.sim.wait_for_calls("getInterfaceConfig", 2)
    assert {tuple(call["arguments"]) for call in panel.sim.calls("getInterfaceConfig")} == {("eth0",)}
