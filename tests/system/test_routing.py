"""How a request reaches the panel, and where the answer goes."""

import pytest

import mvdp
from mvdp import Command
from netns import join
from panel import ADDRESS, FAR_ADDRESS, GATEWAY, MAC, NETMASK, TOOL_ADDRESS, lay_one_wire
from waiting import PATIENCE, wait_for

DISCOVER = mvdp.request(Command.DISCOVER)
MULTICAST_TTL = 16
ORDINARY_TTL = 64


class Watch:
    """Everything that the panel sends through a tool's interface to one socket's port."""

    def __init__(self, panel, sock, witness):
        self._capture = panel.tool.capture("eth0")
        self._port = sock.getsockname()[1]
        self._witness = witness

    def answers(self):
        """All until now; the witness, another tool, marks the end."""
        self._witness.settle()
        found = []
        while True:
            packet = self._capture.next(lambda p: p.source_port == mvdp.PORT, "the witness's answer")
            if packet.destination_port == self._witness.port:
                return found
            if packet.destination_port == self._port:
                found.append(packet)


@pytest.fixture(name="far_socket")
def fixture_far_socket(panel):
    """A socket of a tool on the panel's wire, but not on its subnet."""
    return panel.tool.udp_socket(FAR_ADDRESS)


@pytest.mark.parametrize("destination", [ADDRESS, "192.168.10.255", "255.255.255.255", mvdp.GROUP],
                         ids=["unicast", "directed-broadcast", "limited-broadcast", "group"])
def test_a_tool_on_the_subnet_is_answered_by_unicast(panel, tool, destination):
    sock = panel.tool.udp_socket(TOOL_ADDRESS)
    watch = Watch(panel, sock, tool)
    sock.sendto(DISCOVER, (destination, mvdp.PORT))
    (answer,) = watch.answers()
    assert (answer.source, answer.destination) == (ADDRESS, TOOL_ADDRESS)
    assert answer.ttl == ORDINARY_TTL
    assert answer.payload == panel.expected_identity()


@pytest.mark.parametrize("destination", [ADDRESS, "255.255.255.255", mvdp.GROUP],
                         ids=["unicast", "limited-broadcast", "group"])
def test_a_tool_on_another_subnet_is_answered_through_the_group(panel, tool, far_socket, destination):
    """The broadcast that comes first in line is refused by the kernel: nothing is seen of it."""
    watch = Watch(panel, far_socket, tool)
    far_socket.sendto(DISCOVER, (destination, mvdp.PORT))
    (answer,) = watch.answers()
    assert (answer.source, answer.destination) == (ADDRESS, mvdp.GROUP)
    assert answer.ttl == MULTICAST_TTL
    assert answer.payload == panel.expected_identity()


def test_an_echo_takes_the_same_way(panel, tool, far_socket):
    datagram = mvdp.request(Command.ECHO, rest=bytes(range(230)))
    watch = Watch(panel, far_socket, tool)
    far_socket.sendto(datagram, (ADDRESS, mvdp.PORT))
    (answer,) = watch.answers()
    assert (answer.destination, answer.payload) == (mvdp.GROUP, datagram)


@pytest.mark.parametrize("actual_netmask", ["0.0.0.0", "", "nonsense"])
def test_a_netmask_of_zero_makes_every_tool_local(panel, tool, far_socket, actual_netmask):
    panel.sim.set_interface(actual_netmask=actual_netmask)
    watch = Watch(panel, far_socket, tool)
    far_socket.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    (answer,) = watch.answers()
    assert (answer.destination, answer.ttl) == (FAR_ADDRESS, ORDINARY_TTL)
    assert answer.payload == panel.expected_identity(netmask="0.0.0.0")


@pytest.mark.parametrize("netmask, is_local", [("255.255.255.252", False), ("255.255.255.248", True),
                                               ("255.255.255.251", True), ("255.255.0.255", False)])
def test_local_is_what_the_platform_service_says(panel, tool, netmask, is_local):
    """.1 and .5 differ in the bit of value 4; the mask may have holes."""
    sock = panel.tool.udp_socket(TOOL_ADDRESS)
    watch = Watch(panel, sock, tool)
    panel.sim.set_interface(actual_netmask=netmask)
    sock.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    # The witness must be local whatever the mask: it asks once more with the old one.
    wait_for(lambda: panel.sim.call_count("getInterfaceConfig") >= 2, "the discovery to be handled")
    panel.sim.set_interface(actual_netmask=NETMASK)
    (answer,) = watch.answers()
    assert answer.destination == (TOOL_ADDRESS if is_local else mvdp.GROUP)
    assert answer.payload == panel.expected_identity(netmask=netmask)
    assert tool.ask(DISCOVER).netmask == NETMASK


def test_a_new_address_counts_for_the_answer_already(panel):
    sock = panel.tool.udp_socket(TOOL_ADDRESS)
    far = panel.tool.udp_socket(FAR_ADDRESS)
    capture = panel.tool.capture("eth0")
    request = mvdp.request(Command.SET_ADDRESS, mac=MAC, address="10.9.0.5", netmask="255.255.255.0",
                           gateway="10.9.0.1")
    # From the old subnet: the answer goes to the group now.
    sock.sendto(request, (ADDRESS, mvdp.PORT))
    answer = capture.next(lambda p: p.destination_port == sock.getsockname()[1], "the answer")
    expected = panel.expected_identity(command=Command.SET_ADDRESS, address="10.9.0.5", gateway="10.9.0.1")
    assert (answer.destination, answer.payload) == (mvdp.GROUP, expected)
    # And the far tool has become a local one.
    far.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    answer = capture.next(lambda p: p.destination_port == far.getsockname()[1], "the answer")
    assert answer.destination == FAR_ADDRESS


def test_a_member_of_the_group_on_another_subnet_hears_the_answer(make_panel):
    panel = make_panel(lay_wires=lay_wire_to_a_far_tool)
    sock = panel.tool.udp_socket(FAR_ADDRESS, group=mvdp.GROUP)
    sock.settimeout(PATIENCE)
    sock.sendto(DISCOVER, (mvdp.GROUP, mvdp.PORT))
    data, sender = sock.recvfrom(4096)
    assert sender == (ADDRESS, mvdp.PORT)
    assert data == panel.expected_identity()


def lay_wire_to_a_far_tool(panel):
    panel.tool = panel.add_namespace("tool")
    join(panel.namespace, "eth0", panel.tool, "eth0")
    panel.namespace.address("eth0", f"{ADDRESS}/24")
    panel.tool.address("eth0", f"{FAR_ADDRESS}/24")
    panel.tool.route("default dev eth0")
    panel.namespace.route("default dev eth0")


def lay_wire_without_routes(panel):
    panel.tool = panel.add_namespace("tool")
    join(panel.namespace, "eth0", panel.tool, "eth0")
    panel.namespace.address("eth0", f"{ADDRESS}/24")
    panel.tool.address("eth0", f"{TOOL_ADDRESS}/24", f"{FAR_ADDRESS}/24")


def test_without_any_route_an_answer_is_lost_and_the_service_goes_on(make_panel):
    panel = make_panel(lay_wires=lay_wire_without_routes)
    tool = panel.tool_at()
    far_socket = panel.tool.udp_socket(FAR_ADDRESS)
    watch = Watch(panel, far_socket, tool)
    far_socket.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    assert watch.answers() == []
    assert panel.calls()[:5] == [("q_autostart",), ("getInterfaceConfig", "eth0"), ("info",),
                                 ("getInterfaceConfig", "eth0"), ("manufactureCode",)]
    assert tool.ask(DISCOVER).data == panel.expected_identity(gateway=GATEWAY)


def test_a_route_to_the_group_alone_is_enough(make_panel):
    def lay(panel):
        lay_wire_without_routes(panel)
        panel.namespace.route("224.0.0.0/4 dev eth0")
    panel = make_panel(lay_wires=lay)
    tool = panel.tool_at()
    far_socket = panel.tool.udp_socket(FAR_ADDRESS)
    watch = Watch(panel, far_socket, tool)
    far_socket.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    (answer,) = watch.answers()
    assert (answer.destination, answer.ttl) == (mvdp.GROUP, MULTICAST_TTL)


def lay_one_wire_and_a_second_interface(panel):
    """The second interface is none that the platform service knows."""
    lay_one_wire(panel)
    panel.namespace.ip("link add eth1 type veth peer name far1", "link set eth1 up")
    panel.namespace.address("eth1", "10.20.0.1/24")


@pytest.mark.parametrize("own_address", ["127.0.0.1", "10.20.0.1"], ids=["loopback", "second-interface"])
def test_a_member_of_the_group_on_the_panel_itself_hears_the_answer(make_panel, own_address):
    panel = make_panel(lay_wires=lay_one_wire_and_a_second_interface)
    panel.tool_at().ask(DISCOVER)
    sock = panel.namespace.udp_socket(group=mvdp.GROUP)
    sock.settimeout(PATIENCE)
    sock.sendto(DISCOVER, (own_address, mvdp.PORT))
    data, sender = sock.recvfrom(4096)
    assert sender == (ADDRESS, mvdp.PORT)
    assert data == panel.expected_identity()


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
