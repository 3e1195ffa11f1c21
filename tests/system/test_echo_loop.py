"""An echo that panels send back and forth, what ends it, and the firewall rules that keep it from starting."""

import pathlib
import re

import pytest

import mvdp
from fleet import TOOL_ADDRESS, Fleet, address_of
from mvdp import Command
from panel import FAR_ADDRESS, Tool
from waiting import wait_for

RULES = pathlib.Path(__file__).resolve().parents[2] / "packaging" / "nftables" / "mvdpserver.nft"
ECHO = mvdp.request(Command.ECHO, rest=b"round and round".ljust(230, b"\0"))
# So often no echo comes by that ends by itself.
ENDLESS = 500
# Forty times what the rules let through at once.
FLOOD = 2000


@pytest.fixture(name="fleet")
def fixture_fleet():
    """Two panels and a tool that has an address on a far subnet, too."""
    with Fleet(2) as fleet:
        fleet.tool.address("eth0", f"{FAR_ADDRESS}/24")
        yield fleet


def send_loop(fleet):
    """A request from the panels' port and another subnet is answered to the group; the other panel hears it."""
    with fleet.tool.udp_socket(FAR_ADDRESS, mvdp.PORT) as sock:
        sock.sendto(ECHO, (address_of(0), mvdp.PORT))


def refreshes(fleet):
    """How many datagrams each panel has handled: each costs a refresh."""
    return [panel.sim.call_count("getInterfaceConfig") for panel in fleet.panels]


def tools(fleet):
    return [Tool(fleet.tool.udp_socket(TOOL_ADDRESS), address_of(number)) for number in range(2)]


def load_rules(panel):
    loaded = panel.namespace.run(["/usr/sbin/nft", "-f", RULES], capture_output=True)
    assert loaded.returncode == 0, loaded.stderr.decode()


def dropped(panel, rule):
    """How many packets the rule with this text has dropped."""
    command = ["/usr/sbin/nft", "list", "table", "inet", "mvdpserver"]
    listed = panel.namespace.run(command, capture_output=True, text=True)
    (count,) = re.findall(rf"{rule}.* counter packets (\d+) ", listed.stdout)
    return int(count)


def settle(each):
    for tool in each:
        tool.settle()


def test_an_echo_between_panels_goes_round_until_it_is_lost(fleet):
    each = tools(fleet)
    send_loop(fleet)
    wait_for(lambda: min(refreshes(fleet)) > ENDLESS, "the echo to go round")
    settle(each)
    fleet.panels[1].stop_service()
    # What the first panel had to handle before this one, it has sent to nobody.
    settle(each[:1])
    fleet.panels[1].start_service()
    settle(each)
    before = refreshes(fleet)
    settle(each)
    assert refreshes(fleet) == [count + 1 for count in before]


def test_the_firewall_keeps_an_echo_from_going_round(fleet):
    each = tools(fleet)
    for panel in fleet.panels:
        load_rules(panel)
    settle(each)
    before = refreshes(fleet)
    send_loop(fleet)
    settle(each)
    # The tools alone have been heard.
    assert refreshes(fleet) == [count + 1 for count in before]
    assert [dropped(panel, "sport 58553") for panel in fleet.panels] == [1, 0]
    assert fleet.discover() == fleet.expected()


def test_the_firewall_ends_an_echo_that_goes_round(fleet):
    each = tools(fleet)
    send_loop(fleet)
    wait_for(lambda: min(refreshes(fleet)) > ENDLESS, "the echo to go round")
    for panel in fleet.panels:
        load_rules(panel)
    wait_for(lambda: sum(dropped(panel, "sport 58553") for panel in fleet.panels) == 1, "the echo to be dropped")
    settle(each)
    before = refreshes(fleet)
    settle(each)
    assert refreshes(fleet) == [count + 1 for count in before]


def test_the_firewall_limits_what_a_panel_handles(fleet):
    """Loaded twice: the second copy replaces the first."""
    tool, _ = tools(fleet)
    panel = fleet.panels[0]
    load_rules(panel)
    load_rules(panel)
    # The kernel drops some of a flood to an address that it has yet to resolve.
    tool.settle()
    before, _ = refreshes(fleet)
    for _ in range(FLOOD):
        tool.send(ECHO)
    wait_for(lambda: refreshes(fleet)[0] - before + dropped(panel, "limit rate") == FLOOD,
             "each to be handled or held back")
    assert dropped(panel, "limit rate") > FLOOD / 2
    wait_for(lambda: fleet.discover() == fleet.expected(), "the panel to be found again")
