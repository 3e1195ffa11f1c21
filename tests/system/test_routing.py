"""How a request reaches the panel, and where the answer goes."""

import pytest

import mvdp
from mvdp import Command
from netns import join
from panel import ADDRESS, FAR_ADDRESS, GATEWAY, MAC, NETMASK, TOOL_ADDRESS
from waiting import PATIENCE

DISCOVER = mvdp.request(Command.DISCOVER)
MULTICAST_TTL = 16
ORDINARY_TTL = 64


def answers(panel, source, destination=ADDRESS):
    """All that the panel sends through the tool's interface in answer to a discovery from this address."""
    sock, witness = panel.tool.udp_socket(source), panel.tool_at()
    capture = panel.tool.capture("eth0")
    sock.sendto(DISCOVER, (destination, mvdp.PORT))
    witness.settle()
    found = []
    while True:
        packet = capture.next(lambda p: p.source_port == mvdp.PORT, "the witness's answer")
        if packet.destination_port == witness.port:
            return found
        if packet.destination_port == sock.getsockname()[1]:
            found.append(packet)


def heard_by(sock, destination):
    """The answer to a discovery, as the requesting socket receives it from the panel."""
    sock.settimeout(PATIENCE)
    sock.sendto(DISCOVER, (destination, mvdp.PORT))
    data, sender = sock.recvfrom(4096)
    assert sender == (ADDRESS, mvdp.PORT)
    return data


@pytest.mark.parametrize("destination", [ADDRESS, "192.168.10.255", "255.255.255.255", mvdp.GROUP],
                         ids=["unicast", "directed-broadcast", "limited-broadcast", "group"])
def test_a_tool_on_the_subnet_is_answered_by_unicast(panel, destination):
    (answer,) = answers(panel, TOOL_ADDRESS, destination)
    assert (answer.source, answer.destination, answer.ttl) == (ADDRESS, TOOL_ADDRESS, ORDINARY_TTL)
    assert answer.payload == panel.expected_identity()


@pytest.mark.parametrize("destination", [ADDRESS, "255.255.255.255", mvdp.GROUP],
                         ids=["unicast", "limited-broadcast", "group"])
def test_a_tool_on_another_subnet_is_answered_through_the_group(panel, destination):
    """The broadcast that comes first in line is refused by the kernel: nothing is seen of it."""
    (answer,) = answers(panel, FAR_ADDRESS, destination)
    assert (answer.source, answer.destination, answer.ttl) == (ADDRESS, mvdp.GROUP, MULTICAST_TTL)
    assert answer.payload == panel.expected_identity()


def test_a_netmask_of_zero_makes_every_tool_local(panel):
    panel.sim.set_interface(actual_netmask="")
    (answer,) = answers(panel, FAR_ADDRESS)
    assert (answer.destination, answer.ttl) == (FAR_ADDRESS, ORDINARY_TTL)


@pytest.mark.parametrize("netmask, is_local", [("255.255.255.252", False), ("255.255.255.248", True),
                                               ("255.255.255.251", True), ("255.255.0.255", False)])
def test_local_is_what_the_platform_service_says(panel, netmask, is_local):
    """.1 and .5 differ in the bit of value 4; the mask may have holes."""
    sock = panel.tool.udp_socket(TOOL_ADDRESS)
    capture = panel.tool.capture("eth0")
    panel.sim.set_interface(actual_netmask=netmask)
    sock.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    answer = capture.next(lambda p: p.destination_port == sock.getsockname()[1], "the answer")
    assert answer.destination == (TOOL_ADDRESS if is_local else mvdp.GROUP)


def test_a_new_address_counts_for_the_answer_already(panel):
    sock = panel.tool.udp_socket(TOOL_ADDRESS)
    far = panel.tool.udp_socket(FAR_ADDRESS)
    capture = panel.tool.capture("eth0")
    request = mvdp.request(Command.SET_ADDRESS, mac=MAC, address="10.9.0.5", netmask=NETMASK, gateway="10.9.0.1")
    # From the old subnet: the answer goes to the group now.
    sock.sendto(request, (ADDRESS, mvdp.PORT))
    answer = capture.next(lambda p: p.destination_port == sock.getsockname()[1], "the answer")
    expected = panel.expected_identity(command=Command.SET_ADDRESS, address="10.9.0.5", gateway="10.9.0.1")
    assert (answer.destination, answer.payload) == (mvdp.GROUP, expected)
    # And the far tool has become a local one.
    far.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    answer = capture.next(lambda p: p.destination_port == far.getsockname()[1], "the answer")
    assert answer.destination == FAR_ADDRESS


def test_a_member_of_the_group_on_another_subnet_hears_the_answer(panel):
    sock = panel.tool.udp_socket(FAR_ADDRESS, group=mvdp.GROUP)
    assert heard_by(sock, mvdp.GROUP) == panel.expected_identity()


def test_a_member_of_the_group_on_the_panel_itself_hears_the_answer(panel, tool):
    """The platform service does not know the loopback: the answer tells of the interface before."""
    tool.ask(DISCOVER)
    sock = panel.namespace.udp_socket(group=mvdp.GROUP)
    assert heard_by(sock, "127.0.0.1") == panel.expected_identity()


def lay_wire_without_routes(panel):
    panel.tool = panel.add_namespace("tool")
    join(panel.namespace, "eth0", panel.tool, "eth0")
    panel.namespace.address("eth0", f"{ADDRESS}/24")
    panel.tool.address("eth0", f"{TOOL_ADDRESS}/24", f"{FAR_ADDRESS}/24")


def test_without_any_route_a_far_answer_is_lost_and_the_service_goes_on(make_panel):
    panel = make_panel(lay_wires=lay_wire_without_routes)
    assert answers(panel, FAR_ADDRESS) == []
    assert panel.sim.call_count("info") == 1
    # Nor is the group joined without a route to it.
    assert answers(panel, TOOL_ADDRESS, mvdp.GROUP) == []
    assert panel.tool_at().ask(DISCOVER).data == panel.expected_identity(gateway=GATEWAY)


def test_a_route_to_the_group_alone_is_enough(make_panel):
    def lay(panel):
        lay_wire_without_routes(panel)
        panel.namespace.route("224.0.0.0/4 dev eth0")
    (answer,) = answers(make_panel(lay_wires=lay), FAR_ADDRESS)
    assert (answer.destination, answer.ttl) == (mvdp.GROUP, MULTICAST_TTL)


def test_an_echo_of_the_panel_itself_is_not_answered_again(panel):
    """From the panel's own port on another subnet: the answer is a request, and the panel is a member of the group."""
    echo = mvdp.request(Command.ECHO)
    witness = panel.tool_at()
    witness.settle()
    far = panel.tool.udp_socket(FAR_ADDRESS, mvdp.PORT)
    capture = panel.tool.capture("eth0")
    panel.sim.clear_calls()
    far.sendto(echo, (ADDRESS, mvdp.PORT))
    capture.next(lambda p: p.destination == mvdp.GROUP and p.payload == echo, "the answer to the group")
    far.close()
    witness.settle()
    witness.settle()
    # One refresh for the echo and one for each time the witness settled.
    assert panel.calls() == [("getInterfaceConfig", "eth0")] * 3
