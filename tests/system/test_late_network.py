"""A panel that starts before its network: it joins the group as soon as there is a way to it."""

import pytest

import mvdp
from mvdp import Command
from netns import join
from panel import ADDRESS, GATEWAY, MAC, TOOL_ADDRESS
from waiting import wait_for

DISCOVER = mvdp.request(Command.DISCOVER)
GROUP_ROUTE = "224.0.0.0/4 dev eth0"
DEFAULT_ROUTE = f"default via {GATEWAY}"
NOT_JOINED = 'Cannot join multicast group 224.0.5.128: "No such device"'
JOINED = "Joined multicast group 224.0.5.128"


def lay_no_wire(panel):
    panel.tool = panel.add_namespace("tool")


def lay_wire(panel):
    join(panel.namespace, "eth0", panel.tool, "eth0", first_mac=MAC)
    panel.tool.address("eth0", f"{TOOL_ADDRESS}/24")


def lay_bare_wire(panel):
    lay_no_wire(panel)
    lay_wire(panel)


def lay_addressed_wire(panel):
    lay_bare_wire(panel)
    panel.namespace.address("eth0", f"{ADDRESS}/24")


def lay_wire_that_is_down(panel):
    lay_addressed_wire(panel)
    panel.namespace.ip("link set eth0 down")


def lay_wire_without_carrier(panel):
    """Its routes are there, and the kernel does not use them while the cable is out."""
    lay_addressed_wire(panel)
    panel.namespace.call(ignore_routes_without_carrier)
    panel.tool.ip("link set eth0 down")
    panel.namespace.route(GROUP_ROUTE)


def ignore_routes_without_carrier():
    for interface in ("all", "eth0"):
        with open(f"/proc/sys/net/ipv4/conf/{interface}/ignore_routes_with_linkdown", "w",
                  encoding="ascii") as setting:
            setting.write("1")


def lay_wire_with_a_table_aside(panel):
    lay_addressed_wire(panel)
    panel.namespace.route(f"{GROUP_ROUTE} table 100")


def bring_interface(panel):
    lay_wire(panel)
    bring_address(panel)


def bring_link(panel):
    panel.namespace.ip("link set eth0 up")
    panel.namespace.route(DEFAULT_ROUTE)


def bring_address(panel):
    panel.namespace.address("eth0", f"{ADDRESS}/24")
    panel.namespace.route(DEFAULT_ROUTE)


WAYS = {
    "interface": (lay_no_wire, bring_interface),
    "link": (lay_wire_that_is_down, bring_link),
    "carrier": (lay_wire_without_carrier, lambda panel: panel.tool.ip("link set eth0 up")),
    "address": (lay_bare_wire, bring_address),
    "default-route": (lay_addressed_wire, lambda panel: panel.namespace.route(DEFAULT_ROUTE)),
    "group-route": (lay_addressed_wire, lambda panel: panel.namespace.route(GROUP_ROUTE)),
    "rule": (lay_wire_with_a_table_aside, lambda panel: panel.namespace.ip(f"rule add to {mvdp.GROUP} table 100")),
}


@pytest.mark.parametrize("lay_wires, bring", WAYS.values(), ids=WAYS)
def test_the_group_is_heard_as_soon_as_there_is_a_way_to_it(make_panel, lay_wires, bring):
    panel = make_panel(lay_wires=lay_wires)
    wait_for(panel.warnings, "the warning")
    assert panel.warnings() == [NOT_JOINED]
    bring(panel)
    panel.wait_in_group()
    assert panel.tool_at().ask(DISCOVER, to=mvdp.GROUP).data == panel.expected_identity()
    assert panel.warnings() == [NOT_JOINED, JOINED]


def test_until_then_all_else_is_answered(make_panel):
    panel = make_panel(lay_wires=lay_addressed_wire)
    tool = panel.tool_at()
    for address in (ADDRESS, "192.168.10.255", "255.255.255.255"):
        assert tool.ask(DISCOVER, to=address).data == panel.expected_identity()
    tool.expect_silence(DISCOVER, to=mvdp.GROUP)
    assert panel.warnings() == [NOT_JOINED]


def test_the_network_is_watched_only_until_then(make_panel):
    panel = make_panel(lay_wires=lay_addressed_wire)
    wait_for(panel.warnings, "the warning")
    assert panel.watches_routes()
    panel.namespace.route(GROUP_ROUTE)
    panel.wait_in_group()
    wait_for(lambda: not panel.watches_routes(), "the watch to end")


def test_with_a_way_from_the_start_nothing_is_said_or_watched(make_panel):
    panel = make_panel()
    assert panel.tool_at().ask(DISCOVER, to=mvdp.GROUP).data == panel.expected_identity()
    assert panel.warnings() == []
    assert not panel.watches_routes()


def test_a_flood_of_changes_keeps_neither_datagrams_nor_the_group_waiting(make_panel):
    panel = make_panel(lay_wires=lay_addressed_wire)
    tool = panel.tool_at()
    flood = "while :; do yes 'address add 10.77.0.1/32 dev eth0\naddress del 10.77.0.1/32 dev eth0' | head -n 20000" \
            " | ip -batch - || exit; done"
    process = panel.namespace.popen(["sh", "-c", flood])
    for _ in range(200):
        tool.settle()
    assert panel.warnings() == [NOT_JOINED]
    panel.namespace.route(GROUP_ROUTE)
    panel.wait_in_group()
    assert tool.ask(DISCOVER, to=mvdp.GROUP).data == panel.expected_identity()
    assert process.poll() is None
    assert panel.warnings() == [NOT_JOINED, JOINED]
