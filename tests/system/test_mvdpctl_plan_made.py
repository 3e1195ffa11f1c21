"""mvdpctl makes a plan that gives panels the addresses of a range."""

import pytest

from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, DONE, HASTY, MAC, MAC2, MAC3, NO_ANSWER, NO_MAC,
    SEARCHING, USAGE)

FACTORY = "192.168.1.1"


def made(result):
    assert result.code == DONE, result.err
    return [(record["mac"], record["address"]) for record in result.csv]


@pytest.fixture(name="panels", autouse=True)
def fixture_panels(fake):
    """Two with the address of the factory, and one in the range. Their namespace answers by ARP for PANEL_ADDRESS and
    OTHER_ADDRESS, 192.168.10.5 and 6, which no panel tells."""
    fake.panels = [Identity(mac=MAC, address=FACTORY, gateway="192.168.1.254", description=b"QM9"),
                   Identity(mac=MAC2, address=FACTORY, gateway="192.168.1.254", description=b"QM316"),
                   Identity(mac=MAC3, address="192.168.10.4", description=b"=QM10")]


@pytest.fixture(name="names")
def fixture_names(tmp_path):
    path = tmp_path / "names.csv"
    path.write_text(f"mac,name,remark\n{MAC},Cabinet 10,\n{MAC2},Cabinet 9,left door\n", encoding="ascii")
    return ["--names", path]


@pytest.mark.parametrize("form", ["csv", "json"])
def test_made_plan_is_one_to_carry_out(fake, mvdpctl, form):
    words = ["plan", "--range", "192.168.10.1-9/24", "--gateway", "192.168.10.3", f"--{form}", *SEARCHING]
    plan = mvdpctl(*words)
    assert (plan.code, plan.err) == (DONE, "")
    assert Command.SET_ADDRESS not in fake.commands()
    result = mvdpctl("set", "--from", "-", "--format", form, "--yes", *SEARCHING, stdin=plan.out.encode())
    assert result.code == DONE, result.err
    # Not those of this computer, the gateway, the panel that keeps its own, and the strangers.
    assert [panel.address for panel in fake.panels] == ["192.168.10.2", "192.168.10.7", "192.168.10.4"]
    assert {panel.gateway for panel in fake.panels} == {"192.168.10.3"}
    assert mvdpctl(*words).out == plan.out


def test_plan_is_a_table_to_read(mvdpctl):
    result = mvdpctl("plan", "--range", "192.168.10.1-9", "--gateway", "192.168.10.1", *SEARCHING)
    assert result.code == DONE
    assert result.lines == [f"{MAC}  192.168.1.1/24          -> 192.168.10.2/24",
                            "                   gateway 192.168.1.254   -> 192.168.10.1",
                            f"{MAC2}  192.168.1.1/24          -> 192.168.10.3/24",
                            "                   gateway 192.168.1.254   -> 192.168.10.1",
                            f"{MAC3}  192.168.10.4/24         already as planned"]
    # The seven that no panel and not this computer has; the strangers answer.
    assert result.err.splitlines()[0] == "7 addresses were asked for by ARP: 2 answered."
    assert "2 of 3 panels would be changed. " in result.err


def test_columns_are_for_reading_too(mvdpctl, names):
    result = mvdpctl("plan", "=qm10", "cabinet 9", *names, "--range", "192.168.10.21-29", "--csv", *SEARCHING)
    assert result.lines == ["mac,address,netmask,gateway,version,description,name,remark",
                            f"{MAC2},192.168.10.21,255.255.255.0,,1.234.56.7,QM316,Cabinet 9,left door",
                            f"{MAC3},192.168.10.22,255.255.255.0,,1.234.56.7,'=QM10,,"]


@pytest.mark.parametrize("words, expected", [
    ([], [(MAC, "192.168.10.21"), (MAC2, "192.168.10.22"), (MAC3, "192.168.10.23")]),
    (["--order", "model"], [(MAC3, "192.168.10.21"), (MAC, "192.168.10.22"), (MAC2, "192.168.10.23")]),
    (["--order", "names"], [(MAC2, "192.168.10.21"), (MAC, "192.168.10.22"), (MAC3, "192.168.10.23")]),
    (["cabinet"], [(MAC, "192.168.10.21"), (MAC2, "192.168.10.22")]),
    (["qm316"], [(MAC2, "192.168.10.21")]),
    ([MAC3, FACTORY], [(MAC, "192.168.10.21"), (MAC2, "192.168.10.22"), (MAC3, "192.168.10.23")])])
def test_panels_and_their_order_are_chosen(mvdpctl, names, words, expected):
    assert made(mvdpctl("plan", *words, *names, "--range", "192.168.10.21-29", "--csv", *SEARCHING)) == expected


def test_address_of_a_panel_that_stays_is_not_given(mvdpctl):
    assert made(mvdpctl("plan", "qm9", "--range", "192.168.10.4-8", "--csv", *SEARCHING)) == [(MAC, "192.168.10.7")]


def test_gateway_of_a_panel_is_not_given(fake, mvdpctl):
    fake.panels[2].gateway = "192.168.10.21"
    assert made(mvdpctl("plan", "qm9", "--range", "192.168.10.21-29", "--csv", *SEARCHING)) == [(MAC, "192.168.10.22")]


def test_panel_without_a_mac_address_is_left_out(fake, mvdpctl):
    fake.panels.append(Identity(mac=NO_MAC, address="192.168.10.21"))
    result = mvdpctl("plan", "--range", "192.168.10.21-29", "--csv", *SEARCHING)
    assert [address for _, address in made(result)] == ["192.168.10.22", "192.168.10.23", "192.168.10.24"]
    assert "mvdpctl: left out: 1 without a MAC address" in result.err


def test_too_few_addresses_make_no_plan(mvdpctl):
    # Four addresses for three panels, but strangers have two of them.
    result = mvdpctl("plan", "--range", "192.168.10.4-7", "--csv", *SEARCHING)
    assert (result.code, result.out) == (USAGE, "")
    assert ("mvdpctl: the range is too small: it has addresses for 2 of 3 panels, so 1 more are needed\n"
            in result.err)


@pytest.mark.parametrize("words, complaint", [
    ([], "--range is missing"),
    (["--range", "192.168.10.20-300"],
     "the range '192.168.10.20-300', character 15: '300' is neither an IPv4 address nor a number from 0 to 255"),
    (["--range", "192.168.10.20-29/24", "--netmask", "16"],
     "--netmask 16 is another netmask than that of the range 192.168.10.20-29/24"),
    (["--range", "10.77.0.20-29"], "the netmask is missing, and this computer has no address in the same subnet"),
    (["--range", "192.168.10.20-29", "--gateway", "10.0.0.1"],
     "no panel can have an address of the range: The gateway 10.0.0.1 is outside the subnet 192.168.10.0/24 of the new "
     "address."),
    (["--range", "192.168.10.20-29", "--order", "size"], "--order takes mac, names or model, not 'size'"),
    (["--range", "192.168.10.20-29", ""], "an empty word names no panel")])
def test_mistakes_are_told_before_anything_is_sent(fake, mvdpctl, words, complaint):
    result = mvdpctl("plan", *words)
    assert (result.code, result.out, result.err.splitlines()[0]) == (USAGE, "", f"mvdpctl: {complaint}")
    assert fake.requests == []


def test_nobody_to_plan_for(fake, mvdpctl):
    misfit = mvdpctl("plan", "qm9", "winch", "--range", "192.168.10.20-29", *SEARCHING)
    assert (misfit.code, misfit.out) == (NO_ANSWER, "")
    assert misfit.err.startswith("mvdpctl: no panel that answered has 'winch' in its description or name")
    fake.panels = []
    silence = mvdpctl("plan", "--range", "192.168.10.20-29", *HASTY)
    assert (silence.code, silence.err.splitlines()[0]) == (NO_ANSWER, "mvdpctl: no panel answered")


@pytest.mark.parametrize("columns", [80, 50])
def test_plan_fits_the_terminal(wire, columns):
    code, lines = Terminal(wire[1], "plan", "--range", "192.168.110.120-190", "--netmask", "24", "--gateway",
                           "192.168.110.254", *SEARCHING, columns=columns).finish()
    assert code == DONE
    assert max(map(len, lines)) <= columns, lines
    assert "-> 192.168.110.122/24" in " ".join(lines)
