"""mvdpctl against a real panel: what it says must be what the panel's platform service did. What each command prints in
each format is in test_mvdpctl_formats.py."""

import json

import pytest

from mvdpctlrun import program, DONE, NO_ANSWER, REFUSED, SEARCHING, Result
from panel import ADDRESS, FACTORY_ADDRESS, GATEWAY, MAC, NETMASK
from waiting import PATIENCE
from xscreen import Screen

DESCRIPTION = "QM413-JD562"
MEMBERS = {"mac": MAC, "address": ADDRESS, "netmask": NETMASK, "prefix": 24, "gateway": GATEWAY,
           "version": "1.234.56.7", "description": DESCRIPTION, "source": ADDRESS, "interface": "eth0",
           "way": "unicast"}
RECORD = {**MEMBERS, "prefix": "24"}


@pytest.fixture(name="ctl")
def fixture_ctl(panel):
    """Runs the tool across the wire from the panel."""
    def run(*arguments):
        return Result(panel.tool.run([program(), *arguments, *SEARCHING], input=b"", capture_output=True,
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
