"""mvdpctl against a real panel: what it says must be what the panel's platform service did. What each command prints in
each format is in test_mvdpctl_formats.py."""

import json

import pytest

from mvdpctlrun import program, DONE, HASTY, NO_ANSWER, REFUSED, SEARCHING, USAGE, Result
from panel import ADDRESS, FACTORY_ADDRESS, GATEWAY, MAC, NETMASK
from waiting import PATIENCE
from xscreen import Screen

DESCRIPTION = "QM413-JD562"
MEMBERS = {"mac": MAC, "address": ADDRESS, "netmask": NETMASK, "prefix": 24, "gateway": GATEWAY,
           "version": "1.234.56.7", "description": DESCRIPTION, "source": ADDRESS, "interface": "eth0",
           "way": "unicast"}
RECORD = {**MEMBERS, "prefix": "24"}


@pytest.fixture(name="shared_panel", scope="module")
def fixture_shared_panel(module_panels):
    return module_panels(follows=True)


@pytest.fixture(name="ctl")
def fixture_ctl(panel):
    """Runs the tool across the wire from the panel."""
    def run(*arguments):
        searching = [] if "--rounds" in arguments else SEARCHING
        return Result(panel.tool.run([program(), *arguments, *searching], input=b"", capture_output=True,
                                     timeout=4 * PATIENCE))
    return run


@pytest.mark.parametrize("target", [MAC, ADDRESS, "jd562"])
def test_identify(ctl, target):
    assert f"Description  {DESCRIPTION}" in ctl("identify", target).lines
    assert ctl("identify", target, "--json").json == MEMBERS
    assert ctl("identify", target, "--csv").csv == [RECORD]


def test_reset_leads_to_the_factory_address(panel, ctl):
    assert ctl("reset-network", MAC, "--yes").code == DONE
    assert ctl("identify", MAC, "--json").json["address"] == FACTORY_ADDRESS


@pytest.mark.parametrize("target", [MAC, ADDRESS, DESCRIPTION])
def test_set(panel, ctl, target):
    result = ctl("set", target, "--address", "192.168.10.77", "--gateway", "0.0.0.0", "--yes")
    assert (result.code, result.out) == (DONE, f"{MAC} now has 192.168.10.77/24, no gateway.\n")
    assert panel.sim.state()["interfaces"]["eth0"]["ip_address"] == "192.168.10.77"
    again = ctl("set", MAC, "--address", "192.168.10.77", "--yes", "--json")
    assert again.json["result"] == "already so"
    back = ctl("set", MAC, "--address", ADDRESS, "--gateway", GATEWAY, "--yes", "--csv")
    assert back.csv == [{**RECORD, "result": "applied", "wantedAddress": ADDRESS, "wantedNetmask": NETMASK,
                         "wantedGateway": GATEWAY}]


def test_refused_set(panel, ctl):
    assert ctl("identify", MAC).code == DONE
    # The panel goes on telling what it knows, and cannot read what it would have to change.
    panel.sim.set_fault("getInterfaceConfig", "error")
    result = ctl("set", MAC, "--address", "192.168.10.77", "--yes", "--json")
    assert (result.code, result.json["result"]) == (REFUSED, "refused")
    assert panel.sim.state()["interfaces"]["eth0"]["ip_address"] == ADDRESS


NEAR = ["--address", "192.168.10.77"]
FAR = ["--address", "10.20.0.31", "--gateway", "10.20.0.1"]


@pytest.mark.parametrize("settings", [NEAR, FAR], ids=["near", "far"])
def test_settings_that_are_only_told_are_not_in_force(panel, ctl, tmp_path, settings):
    """The panel cannot read its settings, so it goes on telling those that it was to take."""
    assert ctl("identify", MAC).code == DONE
    panel.sim.set_fault("getInterfaceConfig", "error")
    address = settings[1]
    for attempt in range(2):
        result = ctl("set", MAC, *settings, "--yes", "--json", "--timeout", "1")
        assert (result.code, result.json["result"]) == (REFUSED, "refused")
        told = result.json["panel"]
        assert (told["address"], told["source"]) == (address, ADDRESS)
        assert (f"{MAC} tells the address {address} but answered from {ADDRESS}" in result.err) == (attempt > 0)
    plan = tmp_path / "plan.csv"
    plan.write_text(f"mac,address\n{MAC},{address}\n")
    result = ctl("set", "--from", plan, "--yes", "--csv", "--timeout", "1")
    assert (result.code, result.csv[0]["result"]) == (REFUSED, "refused")
    assert f"(but answers from {ADDRESS})\n" in result.err
    panel.sim.clear_faults()
    assert ctl("set", MAC, *settings, "--yes", "--json").json["result"] == "applied"
    assert ctl("set", MAC, *settings, "--yes", "--json").json["result"] == "already so"


def test_panel_without_a_gateway_is_lost_with_a_warning_only(panel, ctl):
    settings = ["--address", "192.168.11.31", "--gateway", "0.0.0.0"]
    refused = ctl("set", MAC, *settings, "--yes")
    assert (refused.code, refused.out) == (USAGE, "")
    alone = "Without a gateway the panel is heard only by computers with an address in 192.168.11.0/24"
    assert f"{alone}, and this one has none on eth0.\n" in refused.err
    assert panel.sim.interface()["ip_address"] == ADDRESS

    forced = ctl("set", MAC, *settings, "--yes", "--force", "--timeout", "1", "--rounds", "4")
    assert forced.code == NO_ANSWER
    assert f"mvdpctl: warning: {alone}" in forced.err
    assert f"mvdpctl: {alone}: give this one such an address on eth0, and see with 'mvdpctl discover'.\n" in forced.err
    # What it was before is no news of it.
    assert "cable" not in forced.err and ADDRESS not in forced.out
    assert panel.sim.interface()["actual_ip_address"] == "192.168.11.31"

    assert ctl("discover", *HASTY).code == NO_ANSWER
    panel.tool.address("eth0", "192.168.11.1/24")
    try:
        assert ctl("identify", MAC, "--json").json["address"] == "192.168.11.31"
    finally:
        panel.tool.ip("address delete 192.168.11.1/24 dev eth0")


def test_set_that_the_platform_service_does_not_carry_out(panel, ctl):
    # The panel does not look at how this call ends: its answer says that all went well.
    panel.sim.set_fault("setInterfaceConfigJSON", "error")
    result = ctl("set", MAC, "--address", "192.168.10.77", "--yes", "--timeout", "0.1")
    assert result.code == REFUSED
    assert f"Address      {ADDRESS}" in result.lines
    assert "accepted 192.168.10.77/24, gateway 192.168.10.1 but still shows other settings" in result.err


def test_plan(panel, ctl, tmp_path):
    path = tmp_path / "plan.json"
    path.write_text(json.dumps([{"mac": MAC, "address": "192.168.10.78", "netmask": 25},
                                {"mac": "02:00:00:00:00:09", "address": "192.168.10.79"}]))
    result = ctl("set", "--from", path, "--yes", "--csv")
    assert result.code == NO_ANSWER
    assert [(record["mac"], record["result"]) for record in result.csv] == [("02:00:00:00:00:09", "not found"),
                                                                            (MAC, "applied")]
    assert panel.sim.state()["interfaces"]["eth0"]["ip_address"] == "192.168.10.78"


def test_wink_is_seen_on_the_screen(make_panel, display):
    panel = make_panel(display=display)
    screen = Screen(display)
    try:
        result = panel.tool.run([program(), "wink", DESCRIPTION, *SEARCHING], input=b"", capture_output=True)
        assert result.returncode == DONE, result.stderr
        screen.wait_for_window(panel.process.pid)
    finally:
        screen.close()
