"""Faults of the machine on the road of a datagram: what fails is survived, and all is exact once it works again."""

import errno
import itertools
import socket
import struct
import time

import pytest

import mvdp
from machinefaults import FOREVER, MachineFaults, descriptors, name_of
from mvdp import Command
from netns import join
from panel import ADDRESS, FAR_ADDRESS, MAC, STATE, Tool, lay_one_wire
from test_late_network import JOINED
from waiting import wait_for

DISCOVER = mvdp.request(Command.DISCOVER)
ECHO = mvdp.request(Command.ECHO)
# Another panel's interface, so that it shows which one the service takes.
SECOND_ADDRESS, NEIGHBOUR, SECOND_MAC = "10.20.0.5", "10.20.0.1", "00:1a:2b:3c:4d:5f"
SECOND_RECORD = {"name": "eth1", "label": "LAN", "mac_address": SECOND_MAC, "dhcp": False,
                 "actual_ip_address": SECOND_ADDRESS, "actual_netmask": "255.255.255.0", "actual_gateway_ip": ""}


def lay_two_wires(panel):
    lay_one_wire(panel)
    join(panel.namespace, "eth1", panel.tool, "eth1", first_mac=SECOND_MAC)
    panel.namespace.address("eth1", f"{SECOND_ADDRESS}/24")
    panel.tool.address("eth1", f"{NEIGHBOUR}/24")


@pytest.fixture(name="shared_panel", scope="module")
def fixture_shared_panel(module_panels):
    """With its faults as `panel.faults`; tests that start the service anew hand on their environment."""
    panel = module_panels(lay_wires=lay_two_wires, state={**STATE, "interfaces": {"eth1": SECOND_RECORD}}, start=False)
    panel.faults = MachineFaults(panel.folder)
    panel.start_service(environment=panel.faults.environment)
    yield panel
    panel.faults.close()


@pytest.fixture(name="faults")
def fixture_faults(panel):
    """Ends the test with a service that is as it was before."""
    check_exact(panel)
    before = descriptors(panel)
    yield panel.faults
    panel.faults.forget()
    check_exact(panel)
    wait_for(lambda: len(descriptors(panel)) == len(before), f"{len(before)} open descriptors")


def check_exact(panel):
    assert panel.tool_at().ask(DISCOVER).data == panel.expected_identity()
    assert neighbour(panel).ask(DISCOVER).data == panel.expected_identity(
        address=SECOND_ADDRESS, gateway="0.0.0.0", mac=SECOND_MAC)


def neighbour(panel):
    """A tool at the second interface."""
    return Tool(panel.tool.udp_socket(NEIGHBOUR), SECOND_ADDRESS)


def all_errors(*names):
    return pytest.mark.parametrize("error", names, ids=name_of)


# Sending


# What Linux gives for a datagram: a firewall, no route, a route that forbids, no memory or room in a queue, no room
# without waiting, a datagram too long for the way, an earlier one refused, an interface that went.
@all_errors(errno.EPERM, errno.ENETUNREACH, errno.EHOSTUNREACH, errno.EACCES, errno.EINVAL, errno.ENOMEM,
            errno.ENOBUFS, errno.EAGAIN, errno.EMSGSIZE, errno.ECONNREFUSED, errno.ENETDOWN, errno.ENODEV,
            errno.EADDRNOTAVAIL, errno.EINTR)
def test_a_reply_that_cannot_be_sent_is_lost_and_no_other(panel, faults, tool, error):
    faults.fail("sendto", error, times=1)
    tool.send(DISCOVER)
    assert tool.ask(mvdp.request(Command.DISCOVER, tag=1)).data == panel.expected_identity(tag=1)
    assert faults.failed("sendto") == 1
    # As a broadcast, it is sent to the group instead, whatever the reason.
    faults.fail("sendto", error, times=1)
    sock = panel.tool.udp_socket(FAR_ADDRESS)
    capture = panel.tool.capture("eth0")
    sock.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
    answer = capture.next(lambda packet: packet.destination_port == sock.getsockname()[1], "the answer")
    assert (answer.destination, faults.calls("sendto")) == (mvdp.GROUP, 2)


# Receiving


@all_errors(errno.EINTR, errno.EAGAIN, errno.ECONNREFUSED, errno.ENETDOWN, errno.ENOMEM, errno.ENOBUFS, errno.EBADF)
def test_a_receive_that_fails_time_and_again_keeps_no_core_busy(panel, faults, tool, error):
    """There is a pause of 10 ms each time; a busy machine can only make it longer."""
    faults.fail("recvfrom", error)
    # The service may be waiting for this one already.
    tool.send(ECHO)
    faults.wait_for_failed("recvfrom")
    begin, first = time.monotonic(), faults.failed("recvfrom")
    faults.wait_for_failed("recvfrom", first + 20)
    assert time.monotonic() - begin >= 0.01 * 18
    tool.send(DISCOVER)
    faults.clear()
    assert [tool.receive(), tool.receive()] == [ECHO, panel.expected_identity()]


def test_each_datagram_costs_one_receive(panel, faults, tool):
    faults.count("recvfrom")
    for _ in range(20):
        tool.settle()
    # The one for the first datagram may have begun before, and the one after the last has begun or will.
    assert 19 <= faults.calls("recvfrom") <= 21


# The list of addresses, by which the interface is chosen


def change_addresses(panel):
    """The list that the service keeps is of no use any more."""
    panel.namespace.ip("address add 10.77.0.1/32 dev lo", "address del 10.77.0.1/32 dev lo")


def asked_about(panel, tool):
    """The interface whose settings are read for a datagram of the tool; a reply need not arrive."""
    panel.sim.clear_calls()
    tool.send(ECHO)
    (call, *_) = panel.sim.wait_for_calls("getInterfaceConfig")
    panel.tool_at().settle()
    return call["arguments"][0]


@all_errors(errno.EMFILE, errno.ENFILE, errno.ENOMEM, errno.ENOBUFS)
def test_while_the_addresses_cannot_be_listed_eth0_is_taken(panel, faults, error):
    tool = neighbour(panel)
    faults.fail("getifaddrs", error)
    change_addresses(panel)
    assert asked_about(panel, tool) == "eth0"
    faults.clear()
    assert asked_about(panel, tool) == "eth1"


@pytest.mark.parametrize("function", ["socket", "bind"])
@all_errors(errno.EMFILE, errno.ENOMEM, errno.EPERM)
def test_while_changes_cannot_be_watched_the_addresses_are_listed_for_each_datagram(panel, faults, error, function):
    tool = neighbour(panel)
    faults.fail(function, error, kind=socket.AF_NETLINK)
    faults.count("getifaddrs")
    change_addresses(panel)
    assert [asked_about(panel, tool) for _ in range(2)] == ["eth1"] * 2
    assert faults.calls("getifaddrs") == 4
    # Then once more, and again only with a change.
    faults.clear()
    assert [asked_about(panel, tool) for _ in range(2)] == ["eth1"] * 2
    assert faults.calls("getifaddrs") == 5


@all_errors(errno.ENOBUFS, errno.ENOMEM, errno.EINTR, errno.EAGAIN)
def test_a_watch_that_fails_is_made_anew_and_one_that_is_silent_keeps_the_list(panel, faults, error):
    """The kernel promises not to be silent; should it be, each known interface is still answered for."""
    elsewhere = "10.30.0.5"
    panel.tool.address("eth1", "10.30.0.1/24")
    tool = Tool(panel.tool.udp_socket("10.30.0.1"), elsewhere)
    faults.fail("recv", error)
    panel.namespace.address("eth1", f"{elsewhere}/24")
    try:
        assert asked_about(panel, tool) == ("eth0" if error == errno.EAGAIN else "eth1")
        check_exact(panel)
        faults.clear()
        assert asked_about(panel, tool) == "eth1"
    finally:
        panel.namespace.ip(f"address del {elsewhere}/24 dev eth1")
        panel.tool.ip("address del 10.30.0.1/24 dev eth1")


# Descriptors


@pytest.mark.parametrize("command", [Command.RESTORE, Command.RESTORE_RELATIVE], ids=lambda command: command.name)
def test_without_descriptors_no_marker_is_left_and_all_else_is_done(panel, faults, tool, command):
    (panel.mnt / "data" / "hmi").mkdir(parents=True)
    marker = {Command.RESTORE: panel.mnt / "data" / "hmi" / "restorecdsdefault.bin",
              Command.RESTORE_RELATIVE: panel.working_folder / "mntdatahmi\restorecdsdefault.bin"}[command]
    before = len(panel.warnings())
    faults.take_descriptors()
    check_exact(panel)
    assert tool.ask(mvdp.request(command, mac=MAC)).packet_type == mvdp.REPLY
    faults.clear()
    assert not marker.exists()
    tool.settle()
    assert [call[0] for call in panel.calls() if call[0].startswith("re")] == ["resetConfiguration", "restartSystem"]
    assert panel.warnings()[before:] == (["creation of file failed"] if command == Command.RESTORE else [])
    assert tool.ask(mvdp.request(command, mac=MAC)).packet_type == mvdp.REPLY
    assert marker.exists()
    panel.reset()


@pytest.mark.parametrize("function, error", [("socket", errno.EMFILE), ("connect", errno.ENOMEM)],
                         ids=["socket", "connect"])
@pytest.mark.parametrize("times", [1, FOREVER], ids=["once", "until-it-works"])
def test_a_connection_that_cannot_be_made_is_made_later(panel, faults, tool, function, error, times):
    """Each operation on the platform service tries to connect; the identity reply needs the later ones."""
    for spared in itertools.count():
        panel.restart_service(environment=faults.environment)
        faults.fail(function, error, kind=socket.AF_UNIX, spared=spared, times=times)
        answer = tool.ask(DISCOVER).data
        failed = faults.failed(function, kind=socket.AF_UNIX)
        assert (answer == panel.expected_identity()) == (times == 1 or not failed)
        faults.clear()
        check_exact(panel)
        if not failed:
            break
    # The look whether there is a bus, and the connection itself.
    assert spared == 2


# At the start


def test_a_socket_that_is_not_to_be_had_at_the_start_is_waited_for(panel, faults, tool):
    panel.stop_service()
    faults.fail("socket", errno.ENOMEM, kind=socket.AF_INET, times=2)
    panel.start_service(environment=faults.environment)
    assert panel.warnings() == ['Cannot open a UDP socket: "Cannot allocate memory"', "Opened a UDP socket"]
    assert faults.calls("socket", kind=socket.AF_INET) == 3
    assert tool.ask(DISCOVER, to=mvdp.GROUP).data == panel.expected_identity()


def test_a_group_that_there_was_no_memory_for_is_joined_without_a_change_of_the_network(panel, faults, tool):
    panel.stop_service()
    faults.fail("setsockopt", errno.ENOBUFS, kind=socket.IP_ADD_MEMBERSHIP)
    panel.start_service(environment=faults.environment, wait=False)
    wait_for(panel.warnings, "the warning")
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    faults.clear()
    panel.wait_in_group()
    assert tool.ask(DISCOVER, to=mvdp.GROUP).data == panel.expected_identity()
    assert panel.warnings() == ['Cannot join multicast group 224.0.5.128: "No buffer space available"', JOINED]


def test_a_port_that_is_free_again_is_taken_by_the_next_service(panel, faults, tool):
    """The one that found it taken has said so and waits, without end."""
    panel.stop_service()
    holder = panel.namespace.udp_socket(port=mvdp.PORT)
    faults.count("bind", kind=socket.AF_INET)
    faults.count("recvfrom")
    panel.start_service(environment=faults.environment, wait=False)
    wait_for(lambda: faults.calls("recvfrom"), "the first receive")
    assert [line[:34] for line in panel.warnings()] == ['Cannot listen on UDP port 58553: "']
    tool.send(ECHO)
    assert holder.recv(256) == ECHO
    holder.close()
    tool.send(ECHO)
    # Still free.
    panel.namespace.udp_socket(port=mvdp.PORT).close()
    assert (faults.calls("bind", kind=socket.AF_INET), faults.calls("recvfrom")) == (1, 1)
    panel.restart_service(environment=faults.environment)
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == []


# Replies that the kernel holds


def send_forged(panel, source, payload):
    """A datagram from an address that nobody has."""
    length = 8 + len(payload)
    header = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + length, 0, 0, 64, socket.IPPROTO_UDP, 0,
                         socket.inet_aton(source), socket.inet_aton(ADDRESS))
    with panel.tool.call(socket.socket, socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW) as sock:
        sock.sendto(header + struct.pack("!HHHH", 40000, mvdp.PORT, length, 0) + payload, (ADDRESS, 0))


def test_with_short_queues_neighbours_that_are_not_there_hold_up_no_reply(make_panel):
    """The kernel keeps replies while it asks for a neighbour's hardware address, and they take up the socket's send
    buffer. Here it would ask for minutes."""
    panel = make_panel()
    panel.namespace.call(set_neighbours, retrans_time_ms="60000", unres_qlen_bytes="0")
    tool = panel.tool_at()
    for number in range(100, 104):
        for _ in range(100):
            send_forged(panel, f"192.168.10.{number}", ECHO[:8])
        tool.settle()


def set_neighbours(**settings):
    for name, value in settings.items():
        with open(f"/proc/sys/net/ipv4/neigh/eth0/{name}", "w", encoding="ascii") as setting:
            setting.write(value)
