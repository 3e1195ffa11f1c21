"""mvdpctl against a real panel: what it says must be what the panel's platform service did."""

import json

import pytest

from mvdp import Command
from mvdpctlrun import program, DONE, HASTY, NO_ANSWER, REFUSED, SEARCHING, USAGE, Result, Watch
from panel import ADDRESS, FACTORY_ADDRESS, GATEWAY, MAC, NETMASK
from waiting import PATIENCE, wait_for
from xscreen import Screen

DESCRIPTION = "QM413-JD562"
MEMBERS = {"mac": MAC, "address": ADDRESS, "netmask": NETMASK, "prefix": 24, "gateway": GATEWAY,
           "version": "1.234.56.7", "description": DESCRIPTION, "source": ADDRESS, "interface": "eth0",
           "way": "unicast", "name": None, "remark": None}


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


def test_identify(ctl):
    assert ctl("identify", MAC, "--json").json == MEMBERS


def test_echo(ctl):
    echoes = ctl("echo", MAC, "--count", "2", "--interval", "0.01", "--timeout", "60", "--json").json
    assert (echoes["sent"], echoes["answered"]) == (2, 2)


def test_raw(panel, ctl):
    result = ctl("raw", "5", "--mac", MAC, "--address", "192.168.10.77", "--netmask", "24", "--yes", "--json",
                 "--rounds", "1", "--timeout", "5")
    (reply,) = result.json["replies"]
    assert bytes.fromhex(reply["bytes"]) == panel.expected_identity(
        command=Command.SET_ADDRESS, address="192.168.10.77", gateway="0.0.0.0")
    assert panel.sim.interface()["actual_ip_address"] == "192.168.10.77"


def test_watch(panel):
    watch = Watch(panel.tool, "--json")
    event = watch.event()
    assert (event["event"], event["panel"]) == ("appeared", MEMBERS)
    panel.stop_service()
    try:
        assert watch.event()["event"] == "vanished"
    finally:
        panel.start_service()
    assert watch.event()["event"] == "appeared"
    assert watch.end()[0] == DONE


RESET = ["resetConfiguration", "restartSystem"]


@pytest.mark.parametrize("words, calls, markers", [
    (["wink"], [], []),
    (["restart"], ["restartSystem"], []),
    (["reset-network"], RESET, []),
    (["restore-defaults"], RESET, ["mnt/data/hmi/restorecdsdefault.bin"]),
    (["restore-defaults", "--marker", "relative"], RESET, ["work/mntdatahmi\restorecdsdefault.bin"])])
def test_action(panel, ctl, words, calls, markers):
    (panel.mnt / "data" / "hmi").mkdir(parents=True)
    assert ctl(*words, MAC, "--yes").code == DONE

    def changes():
        return [call[0] for call in panel.calls() if call[0] in (*RESET, "setInterfaceConfigJSON")]
    # The panel does not wait for the restart that it asks for, and answers before or after it is under way.
    wait_for(lambda: len(changes()) >= len(calls), "the panel to act")
    assert changes() == calls
    assert [str(path.relative_to(panel.folder)) for folder in (panel.mnt, panel.working_folder)
            for path in folder.rglob("*") if path.is_file()] == markers


def test_reset_leads_to_the_factory_address(panel, ctl):
    assert ctl("reset-network", MAC, "--yes").code == DONE
    assert ctl("identify", MAC, "--json").json["address"] == FACTORY_ADDRESS


def test_set(panel, ctl):
    result = ctl("set", MAC, "--address", "192.168.10.77", "--gateway", "0.0.0.0", "--yes")
    assert (result.code, result.out) == (DONE, f"{MAC} now has 192.168.10.77/24, no gateway.\n")
    assert panel.sim.state()["interfaces"]["eth0"]["ip_address"] == "192.168.10.77"
    again = ctl("set", MAC, "--address", "192.168.10.77", "--yes", "--json")
    assert again.json["result"] == "already so"


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
    assert f"mvdpctl: {alone}, and this one has none on eth0.\n" in refused.err
    assert "Give it a gateway with --gateway. --force sends" in refused.err
    assert panel.sim.interface()["ip_address"] == ADDRESS

    forced = ctl("set", MAC, *settings, "--yes", "--force", "--timeout", "1", "--rounds", "4")
    assert forced.code == NO_ANSWER
    assert f"mvdpctl: warning: {alone}" in forced.err
    assert f"mvdpctl: {alone}: give this one such an address on eth0, and see with 'mvdpctl discover'.\n" in forced.err
    # Its earlier state is not shown.
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
