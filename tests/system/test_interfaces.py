"""Which of the panel's interfaces is asked about, and so answers: the one that reaches the sender."""

import pytest

import mvdp
from mvdp import Command
from netns import join
from panel import ADDRESS, MAC, NETMASK, TOOL_ADDRESS, Tool
from waiting import PATIENCE

DISCOVER = mvdp.request(Command.DISCOVER)
SECOND_MAC = "00:1a:2b:3c:4d:5f"
SECOND_ADDRESS = "10.20.0.5"
NEIGHBOUR = "10.20.0.1"
# On no interface's subnet.
STRANGER = "10.50.0.2"
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
    panel.neighbour.address("eth0", f"{NEIGHBOUR}/16", f"{STRANGER}/32")


@pytest.fixture(name="shared_panel", scope="module")
def fixture_shared_panel(module_panels):
    return module_panels(lay_wires=lay_two_wires, state={"interfaces": {"eth1": SECOND_RECORD}})


@pytest.fixture(name="namespace")
def fixture_namespace(panel):
    """The panel's namespace; what a test changes in it by `changed` is undone."""
    undo = []

    def changed(*pairs):
        for do, back in pairs:
            panel.namespace.ip(do)
            undo.append(back)

    panel.namespace.changed = changed
    yield panel.namespace
    for back in reversed(undo):
        panel.namespace.ip(back)


def asked_about(panel, source, *, through="neighbour"):
    """The interface that a datagram from this source makes the service ask about."""
    witness = panel.tool_at()
    witness.settle()
    panel.sim.clear_calls()
    if through == "neighbour":
        sock, destination = panel.neighbour.udp_socket(source), SECOND_ADDRESS
    else:
        sock, destination = panel.tool.udp_socket(source), ADDRESS
    sock.sendto(mvdp.request(0), (destination, mvdp.PORT))
    witness.settle()
    first, second = panel.calls()
    assert first[0] == "getInterfaceConfig"
    assert second[0] == "getInterfaceConfig"  # the witness's
    return first[1]


def test_the_answering_interface_is_the_one_on_the_senders_subnet(panel):
    tool = panel.tool_at()
    neighbour = Tool(panel.neighbour.udp_socket(NEIGHBOUR), SECOND_ADDRESS)
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert neighbour.ask(DISCOVER).data == panel.expected_identity(
        address=SECOND_ADDRESS, netmask="255.255.0.0", gateway="0.0.0.0", mac=SECOND_MAC)
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    names = [call[1] for call in panel.calls() if call[0] == "getInterfaceConfig"]
    assert names == ["eth0", "eth0", "eth1", "eth1", "eth0", "eth0"]


def test_the_target_address_is_that_of_the_answering_interface(panel):
    neighbour = Tool(panel.neighbour.udp_socket(NEIGHBOUR), SECOND_ADDRESS)
    neighbour.expect_silence(mvdp.request(Command.IDENTIFY, mac=MAC))
    assert neighbour.ask(mvdp.request(Command.IDENTIFY, mac=SECOND_MAC)).mac == SECOND_MAC


def test_settings_go_to_the_answering_interface(panel):
    neighbour = Tool(panel.neighbour.udp_socket(NEIGHBOUR), SECOND_ADDRESS)
    reply = neighbour.ask(mvdp.request(Command.SET_ADDRESS, mac=SECOND_MAC, address="10.20.0.6",
                                       netmask=NETMASK, gateway="10.20.0.1"))
    assert (reply.packet_type, reply.address, reply.netmask, reply.gateway) == (
        mvdp.REPLY, "10.20.0.6", NETMASK, "10.20.0.1")
    assert [call[1] for call in panel.calls() if call[0] == "setInterfaceConfigJSON"] == ["eth1"]
    assert panel.sim.interface("eth0")["actual_ip_address"] == ADDRESS


@pytest.mark.parametrize("source", ["10.20.0.0", "10.20.255.255", "10.20.77.1"])
def test_the_whole_subnet_counts_to_its_ends(panel, source):
    panel.neighbour.ip(f"address replace {source}/32 dev eth0")
    assert asked_about(panel, source) == "eth1"


@pytest.mark.parametrize("source", ["10.19.255.255", "10.21.0.0"])
def test_the_subnet_ends_there(panel, source):
    panel.neighbour.ip(f"address replace {source}/32 dev eth0")
    assert asked_about(panel, source) == "eth0"


def test_the_subnet_wins_over_the_routing_table(panel, namespace):
    """A host of eth0's subnet that is reached through eth1."""
    guest = "192.168.10.77"
    panel.neighbour.ip(f"address replace {guest}/32 dev eth0")
    namespace.changed((f"route add {guest}/32 dev eth1", f"route del {guest}/32 dev eth1"))
    assert asked_about(panel, guest) == "eth0"


@pytest.mark.parametrize("route, interface", [(f"{STRANGER}/32 via {TOOL_ADDRESS}", "eth0"),
                                              (f"{STRANGER}/32 via {NEIGHBOUR}", "eth1"),
                                              (f"default via {NEIGHBOUR}", "eth1")])
def test_a_stranger_is_reached_by_the_routes_source_address(panel, namespace, route, interface):
    namespace.changed((f"route add {route}", f"route del {route}"))
    assert asked_about(panel, STRANGER) == interface


def test_a_stranger_is_reached_by_the_source_address_that_a_route_prescribes(panel, namespace):
    route = f"{STRANGER}/32 via {NEIGHBOUR} src {ADDRESS}"
    namespace.changed((f"route add {route}", f"route del {route}"))
    assert asked_about(panel, STRANGER) == "eth0"


def test_without_a_route_the_first_interface_is_taken(panel):
    assert asked_about(panel, STRANGER) == "eth0"


def test_without_a_route_only_127_0_0_1_is_passed_over(panel, namespace):
    namespace.changed(("address add 10.77.0.1/32 dev lo", "address del 10.77.0.1/32 dev lo"))
    assert asked_about(panel, STRANGER) == "lo"


def test_a_netmask_of_zero_matches_every_sender_when_it_comes_first(panel, namespace):
    namespace.changed(("address add 172.16.0.1/0 dev eth0 noprefixroute",
                       "address del 172.16.0.1/0 dev eth0"))
    assert asked_about(panel, NEIGHBOUR) == "eth0"
    assert asked_about(panel, STRANGER) == "eth0"


def test_a_netmask_of_zero_does_not_win_when_it_comes_later(panel, namespace):
    namespace.changed(("address add 172.16.0.1/0 dev eth1 noprefixroute",
                       "address del 172.16.0.1/0 dev eth1"))
    assert asked_about(panel, TOOL_ADDRESS, through="tool") == "eth0"
    assert asked_about(panel, STRANGER) == "eth1"


def test_an_interface_that_is_down_is_never_chosen(panel, namespace):
    """Of two on one subnet it would be the first."""
    namespace.ip("link add spare0 index 500 type veth peer name spare0peer",
                 "link add spare1 index 600 type veth peer name spare1peer",
                 "address add 10.50.0.9/24 dev spare0", "address add 10.50.0.8/24 dev spare1",
                 "link set spare1 up")
    try:
        assert asked_about(panel, STRANGER) == "spare1"
        namespace.ip("link set spare0 up")
        assert asked_about(panel, STRANGER) == "spare0"
    finally:
        namespace.ip("link del spare0", "link del spare1")


def test_the_loopback_is_its_own_subnet(panel):
    panel.tool_at().settle()
    panel.sim.clear_calls()
    sock = panel.namespace.udp_socket("127.0.0.1")
    sock.settimeout(PATIENCE)
    echo = mvdp.request(Command.ECHO)
    panel.sim.set_state({"interfaces": {"lo": {"name": "lo", "actual_ip_address": "127.0.0.1",
                                               "actual_netmask": "255.0.0.0"}}})
    sock.sendto(echo, ("127.0.0.1", mvdp.PORT))
    assert sock.recvfrom(4096) == (echo, ("127.0.0.1", mvdp.PORT))
    assert panel.calls() == [("getInterfaceConfig", "lo")]


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


def test_the_name_follows_the_interface(make_panel):
    panel = make_panel(lay_wires=lay_unaddressed_wire)
    panel.namespace.address("lan0", f"{ADDRESS}/24")
    panel.sim.set_state({"interfaces": {"lan0": {"name": "lan0", "actual_ip_address": ADDRESS,
                                                 "actual_netmask": NETMASK}}})
    reply = panel.tool_at().ask(DISCOVER)
    assert (reply.address, reply.netmask, reply.mac) == (ADDRESS, NETMASK, "00:00:00:00:00:00")
    assert {tuple(call["arguments"]) for call in panel.sim.calls("getInterfaceConfig")} == {("lan0",)}


def test_a_group_is_not_joined_without_a_way_to_it(panel):
    """Where there is no route to the group when the service starts, it is reached by other addresses only."""
    sock = panel.tool.udp_socket(TOOL_ADDRESS)
    sock.sendto(DISCOVER, (mvdp.GROUP, mvdp.PORT))
    tool = panel.tool_at()
    tool.settle()
    sock.setblocking(False)
    with pytest.raises(BlockingIOError):
        sock.recv(4096)
    sock.sendto(DISCOVER, ("255.255.255.255", mvdp.PORT))
    tool.settle()
    assert sock.recv(4096) == panel.expected_identity()
