"""mvdpctl asks who holds an address before it gives it to a panel: by ARP where it may, else as any user can."""

import contextlib

import pytest

from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, program, Result, DONE, MAC, MAC2, PANEL_ADDRESS, SEARCHING, TOOL_ADDRESS, USAGE,
    ENVIRONMENT)
from fakepanel import FakePanel, Identity
from netns import Namespace, join
from waiting import PATIENCE

STRANGER = "52:54:00:12:34:56"
STRANGERS_ADDRESS, FOREIGN_ADDRESS, ROUTED_ADDRESS = "192.168.10.20", "10.9.0.20", "10.20.0.20"
FREE, FREE_FOREIGN = "192.168.10.21", "10.9.0.21"
UNPRIVILEGED = ["setpriv", "--bounding-set=-all", "--inh-caps=-all", "--"]
RIGHTS = {"root": [], "user": UNPRIVILEGED}
HOW = {"root": "ARP", "user": "the neighbour table"}


@contextlib.contextmanager
def wires():
    """The namespaces (panel, tool, stranger, far) on one switch. The stranger also routes to the far one."""
    with Namespace("panel") as panel, Namespace("tool") as tool, Namespace("stranger") as stranger, \
            Namespace("switch") as switch, Namespace("far") as far:
        switch.ip("link add br0 type bridge mcast_snooping 0", "link set br0 up")
        for number, (namespace, mac) in enumerate(((panel, MAC), (tool, None), (stranger, STRANGER))):
            join(namespace, "eth0", switch, f"port{number}", first_mac=mac)
            switch.ip(f"link set port{number} master br0")
        panel.address("eth0", f"{PANEL_ADDRESS}/24", "10.9.0.5/24")
        tool.address("eth0", f"{TOOL_ADDRESS}/24")
        stranger.address("eth0", f"{STRANGERS_ADDRESS}/24", f"{FOREIGN_ADDRESS}/24")
        join(stranger, "eth1", far, "eth0")
        stranger.address("eth1", "10.20.0.1/24")
        far.address("eth0", f"{ROUTED_ADDRESS}/24")
        far.route("default via 10.20.0.1")
        stranger.call(_write, "/proc/sys/net/ipv4/ip_forward", "1")
        yield panel, tool, stranger, far


@pytest.fixture(name="wire", scope="module")
def fixture_wire():
    with wires() as namespaces:
        yield namespaces


def _write(path, text):
    with open(path, "w", encoding="ascii") as setting:
        setting.write(text)


def run_mvdpctl(tool, rights, *arguments):
    return Result(tool.run([*RIGHTS[rights], program(), *arguments], input=b"", capture_output=True,
                           timeout=4 * PATIENCE, env=ENVIRONMENT))


@pytest.fixture(name="mvdpctl")
def fixture_mvdpctl(wire):
    """Runs the tool with the rights of root or of a user, without what the kernel knew of neighbours."""
    def run(rights, *arguments, forget=True):
        if forget:
            wire[1].ip("neigh flush all")
        return run_mvdpctl(wire[1], rights, *arguments)
    return run


def set_to(address):
    return ["set", MAC, "--address", address, "--gateway", address.rpartition(".")[0] + ".1", "--yes", *SEARCHING]


@pytest.mark.parametrize("rights", RIGHTS)
@pytest.mark.parametrize("address", [STRANGERS_ADDRESS, FOREIGN_ADDRESS], ids=["own subnet", "foreign subnet"])
def test_address_of_a_stranger_is_given_by_force_only(fake, mvdpctl, rights, address):
    refused = mvdpctl(rights, *set_to(address))
    assert refused.code == USAGE
    assert (f"{address} was asked for by {HOW[rights]}: somebody answered.\n"
            f"mvdpctl: The address {address} is held by {STRANGER}, which is no panel that was found.\n") in refused.err
    assert Command.SET_ADDRESS not in fake.commands()
    assert mvdpctl(rights, *set_to(address), "--force").code == DONE


@pytest.mark.parametrize("rights", RIGHTS)
@pytest.mark.parametrize("address", [FREE, FREE_FOREIGN], ids=["own subnet", "foreign subnet"])
def test_free_address_is_given(fake, mvdpctl, rights, address):
    result = mvdpctl(rights, *set_to(address))
    assert result.code == DONE
    assert result.err == f"{address} was asked for by {HOW[rights]}: nobody answered.\n"
    assert fake.panels[0].address == address


@pytest.mark.parametrize("rights", RIGHTS)
def test_further_address_of_the_panel_itself_is_no_conflict(fake, mvdpctl, rights):
    result = mvdpctl(rights, *set_to("10.9.0.5"))
    assert (result.code, fake.panels[0].address) == (DONE, "10.9.0.5")
    assert "somebody answered" in result.err


@pytest.mark.parametrize("rights", RIGHTS)
def test_holder_behind_a_router_is_found(wire, fake, mvdpctl, rights):
    wire[1].route(f"10.20.0.0/24 via {STRANGERS_ADDRESS}")
    try:
        result = mvdpctl(rights, *set_to(ROUTED_ADDRESS))
    finally:
        wire[1].ip("route delete 10.20.0.0/24")
    assert result.code == USAGE
    assert f"{ROUTED_ADDRESS} was asked for by {HOW[rights]} and a routed datagram: somebody answered.\n" in result.err
    assert (f"mvdpctl: The address {ROUTED_ADDRESS} is held by something that answers there and is no panel that was "
            "found.\n") in result.err
    assert Command.SET_ADDRESS not in fake.commands()


@pytest.mark.parametrize("rights", RIGHTS)
def test_wire_is_asked_for_an_address_that_is_routed_elsewhere(wire, fake, mvdpctl, rights):
    """A new panel often has an address of the plant's network, which the engineer's computer reaches by a gateway."""
    wire[1].route("default via 192.168.10.254")
    try:
        result = mvdpctl(rights, *set_to(FOREIGN_ADDRESS))
    finally:
        wire[1].ip("route delete default")
    assert result.code == USAGE
    assert f"The address {FOREIGN_ADDRESS} is held by {STRANGER}," in result.err
    assert Command.SET_ADDRESS not in fake.commands()


def test_router_that_knows_no_such_host_is_no_holder(wire, fake, mvdpctl):
    """It says so by an ICMP error of its own."""
    wire[2].ip("route add unreachable 10.30.0.0/24")
    wire[1].route(f"10.30.0.0/24 via {STRANGERS_ADDRESS}")
    try:
        result = mvdpctl("user", *set_to("10.30.0.9"))
    finally:
        wire[1].ip("route delete 10.30.0.0/24")
        wire[2].ip("route delete unreachable 10.30.0.0/24")
    assert (result.code, fake.panels[0].address) == (DONE, "10.30.0.9")
    assert "a routed datagram: nobody answered." in result.err


def test_neighbour_of_long_ago_is_no_answer(wire, fake, mvdpctl):
    """A user cannot have the kernel ask again; root asks by itself."""
    old = f"neigh replace {FREE} lladdr {STRANGER} dev eth0 nud stale"
    wire[1].ip(old)
    result = mvdpctl("user", *set_to(FREE), forget=False)
    assert result.code == DONE
    assert f"mvdpctl: Whether {FREE} is held by anything but panels could not be found out.\n" == result.err
    fake.panels = [Identity()]
    wire[1].ip(old)
    assert "nobody answered" in mvdpctl("root", *set_to(FREE), forget=False).err


def test_old_neighbour_is_found_where_users_may_ping():
    """It answers no other datagrams."""
    with wires() as (panel, tool, stranger, _):
        tool.call(_write, "/proc/sys/net/ipv4/ping_group_range", "0 0")
        stranger.ip(f"rule add to {STRANGERS_ADDRESS} ipproto udp blackhole prio 0")
        tool.ip(f"neigh replace {STRANGERS_ADDRESS} lladdr {STRANGER} dev eth0 nud stale")
        fake = FakePanel(panel, "eth0")
        try:
            result = run_mvdpctl(tool, "user", *set_to(STRANGERS_ADDRESS))
        finally:
            fake.close()
    assert result.code == USAGE
    assert "was asked for by the neighbour table and ping: somebody answered.\n" in result.err
    assert f"is held by {STRANGER}," in result.err


@pytest.mark.parametrize("rights", RIGHTS)
def test_plan_asks_for_all_its_addresses_at_once(fake, mvdpctl, tmp_path, rights):
    fake.panels = [Identity(), Identity(mac=MAC2, address="192.168.10.30")]
    plan = tmp_path / "plan.csv"
    plan.write_text(f"mac,address\n{MAC},{STRANGERS_ADDRESS}\n{MAC2},{FREE}\n")
    result = mvdpctl(rights, "set", "--from", plan, "--yes", *SEARCHING)
    assert result.code == USAGE
    assert result.err.startswith(f"2 addresses were asked for by {HOW[rights]}: 1 answered.\n")
    assert f"{MAC}: The address {STRANGERS_ADDRESS} is held by {STRANGER}, which is no panel that was found.\n" in (
        result.err)
    assert Command.SET_ADDRESS not in fake.commands()
