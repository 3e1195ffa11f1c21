"""Every command of mvdpctl against a real panel: what it says must be what the panel's platform service did."""

import json

import pytest

from mvdpctlrun import program, DONE, NO_ANSWER, REFUSED, SEARCHING, Result, Watch
from panel import ADDRESS, FACTORY_ADDRESS, GATEWAY, MAC, NETMASK
from waiting import PATIENCE, wait_for
from xscreen import Screen

DESCRIPTION = "QM413-JD562"
MEMBERS = {"mac": MAC, "address": ADDRESS, "netmask": NETMASK, "prefix": 24, "gateway": GATEWAY,
           "version": "1.234.56.7", "description": DESCRIPTION, "source": ADDRESS, "interface": "eth0",
           "way": "unicast"}
RECORD = {**MEMBERS, "prefix": "24"}
ACTIONS = [(["wink"], "winks: its screen shows the notice for five seconds.", []),
           (["restart", "--yes"], "restarts.", ["restartSystem"]),
           (["reset-network", "--yes"], "resets its network settings and restarts.",
            ["resetConfiguration", "restartSystem"]),
           (["restore-defaults", "--yes"], "restores its defaults and restarts.",
            ["resetConfiguration", "restartSystem"]),
           (["restore-defaults", "--marker", "relative", "--yes"], "restores its defaults and restarts.",
            ["resetConfiguration", "restartSystem"])]


@pytest.fixture(name="ctl")
def fixture_ctl(panel):
    """Runs the tool across the wire from the panel."""
    def run(*arguments):
        searching = [] if "--rounds" in arguments else SEARCHING
        return Result(panel.tool.run([program(), *arguments, *searching], input=b"", capture_output=True,
                                     timeout=4 * PATIENCE))
    return run


def acting_calls(panel):
    """The calls that change something."""
    return [call[0] for call in panel.calls() if call[0] in
            ("setInterfaceConfigJSON", "applyNewConfiguration", "resetConfiguration", "restartSystem")]


def test_discover(ctl):
    result = ctl("discover")
    assert result.code == DONE
    assert result.lines[1] == f"{MAC}  {ADDRESS}/24  {GATEWAY}  1.234.56.7  {DESCRIPTION}"
    assert ctl("discover", "--json").json == {"panels": [{**MEMBERS, "marks": []}], "ignored": 0}
    assert ctl("discover", "--csv").csv == [{**RECORD, "marks": ""}]


@pytest.mark.parametrize("target", [MAC, ADDRESS, "jd562"])
def test_identify(ctl, target):
    assert f"Description  {DESCRIPTION}" in ctl("identify", target).lines
    assert ctl("identify", target, "--json").json == MEMBERS
    assert ctl("identify", target, "--csv").csv == [RECORD]


def test_echo(ctl):
    arguments = ["echo", MAC, "--count", "3", "--interval", "0.01", "--timeout", "60"]
    assert "3 sent, 3 came back, 0 lost (0 %)" in ctl(*arguments).lines
    assert ctl(*arguments, "--json").json["answered"] == 3
    assert ctl(*arguments, "--csv").csv[0]["answered"] == "3"


def test_raw(ctl):
    arguments = ["raw", "4", "--mac", MAC]
    assert f"  description '{DESCRIPTION}'" in ctl(*arguments, "--rounds", "1").lines
    assert ctl(*arguments, "--json", "--rounds", "1").json["replies"][0]["mac"] == MAC
    assert ctl(*arguments, "--csv", "--rounds", "1").csv[0]["mac"] == MAC


@pytest.mark.parametrize("words, said, calls", ACTIONS, ids=lambda value: "-".join(value) if value else "")
def test_actions(panel, ctl, words, said, calls):
    result = ctl(*words, MAC)
    # The answer to some is the panel's identity after the reset, with the address that it then has.
    assert result.code == DONE and result.out.endswith(f" {said}\n") and result.out.startswith(MAC)
    # The panel does not wait for the restart that it asks for, and answers before or after it is under way.
    wait_for(lambda: len(acting_calls(panel)) >= len(calls), "the panel to act")
    assert acting_calls(panel) == calls


@pytest.mark.parametrize("words, said, calls", ACTIONS, ids=lambda value: "-".join(value) if value else "")
def test_actions_in_json_and_csv(ctl, words, said, calls):  # pylint: disable=unused-argument
    document = ctl(*words, MAC, "--json").json
    assert (document["command"], document["result"], document["panel"]["mac"]) == (words[0], "done", MAC)
    (record,) = ctl(*words, MAC, "--csv").csv
    assert (record["command"], record["result"], record["mac"]) == (words[0], "done", MAC)


@pytest.mark.parametrize("marker, place", [("absolute", "mnt/data/hmi/restorecdsdefault.bin"),
                                           ("relative", "work/mntdatahmi\restorecdsdefault.bin")])
def test_markers(panel, ctl, marker, place):
    (panel.mnt / "data" / "hmi").mkdir(parents=True)
    assert ctl("restore-defaults", MAC, "--marker", marker, "--yes").code == DONE
    markers = [str(path.relative_to(panel.folder)) for folder in (panel.mnt, panel.working_folder)
               for path in folder.rglob("*") if path.is_file()]
    assert markers == [place]


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


def test_watch(panel):
    watch = Watch(panel.tool, "--json")
    assert watch.event()["event"] == "appeared"
    panel.sim.set_state({"interfaces": {"eth0": {"actual_ip_address": "192.168.10.99"}}})
    event = watch.event()
    assert (event["event"], event["before"]["address"], event["panel"]["address"]) == (
        "changed", ADDRESS, "192.168.10.99")
    assert watch.end() == (DONE, "Panels at the end: 1.\n")


def test_wink_is_seen_on_the_screen(make_panel, display):
    panel = make_panel(display=display)
    screen = Screen(display)
    try:
        result = panel.tool.run([program(), "wink", DESCRIPTION, *SEARCHING], input=b"", capture_output=True)
        assert result.returncode == DONE, result.stderr
        screen.wait_for_window(panel.process.pid)
    finally:
        screen.close()
