"""mvdpctl --wait: for panels that restart, before they show their new settings or because they were told to."""

import re
import signal

import pytest

import fakepanel
from fakepanel import FakePanel, Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, program, DONE, MAC, MAC2, NO_ANSWER, OTHER_ADDRESS,
    PANEL_ADDRESS)
from waiting import PATIENCE, wait_for

# The usual time for the new settings is 0.4 seconds.
IMPATIENT = ["--timeout", "0.2", "--rounds", "2", "--yes"]
NEW = "192.168.10.7"
# So many searches go unanswered, three requests each, five searches in a second.
RESTART = 3 * 15


def settings_sent(fake):
    return Command.SET_ADDRESS in fake.commands()


@pytest.fixture(name="restarting")
def fixture_restarting(fake):
    """A panel that is silent for some seconds after its settings."""
    def deliver(panel, answer, source, sender):
        if not settings_sent(panel):
            panel.send_answer(answer, source, sender)
        elif panel.commands()[::-1].index(Command.SET_ADDRESS) > RESTART:
            panel.deliver = FakePanel.send_answer
    fake.deliver = deliver
    return fake


def test_panel_that_restarts_is_waited_for(restarting, mvdpctl):
    assert mvdpctl("set", MAC, "--address", NEW, *IMPATIENT).code == NO_ANSWER
    restarting.panels[0].address = PANEL_ADDRESS
    restarting.requests.clear()
    result = mvdpctl("set", MAC, "--address", NEW, "--wait", *IMPATIENT)
    assert result.code == DONE
    assert re.fullmatch(rf"{MAC} now has {NEW}/24, gateway 192\.168\.10\.1\. It took \d+\.\d s\.\n", result.out)


@pytest.mark.parametrize("form", ["json", "csv", "text"])
def test_plan_waits_for_each(restarting, mvdpctl, tmp_path, form):
    assert restarting
    plan = tmp_path / "plan.csv"
    plan.write_text(f"mac,address\n{MAC},{NEW}\n")
    result = mvdpctl("set", "--from", plan, "--wait", *IMPATIENT, *([] if form == "text" else ["--" + form]))
    assert result.code == DONE
    if form == "text":
        assert re.fullmatch(rf"{MAC}  applied     {NEW}/24, gateway 192\.168\.10\.1, took \d+\.\d s\n", result.out)
        return
    record = result.json["results"][0] if form == "json" else result.csv[0]
    # Fifteen searches of a fifth of a second; the panel's silence ends with a request, so some may be lost.
    assert 1 < float(record["seconds"]) < PATIENCE


def test_interrupt_ends_the_wait_with_what_is_known(wire, fake):
    fake.on_set = fakepanel.VANISH
    process = wire[1].popen([program(), "set", MAC, "--address", NEW, "--wait", "--json", *IMPATIENT],
                            stdin=-3, stdout=-1, stderr=-1)
    fake.wait_for_command(Command.SET_ADDRESS)
    seen = len(fake.requests)
    wait_for(lambda: len(fake.requests) > seen + RESTART, "the wait")
    process.send_signal(signal.SIGINT)
    out, err = process.communicate(timeout=PATIENCE)
    assert process.returncode == NO_ANSWER
    assert b'"result": "unverified"' in out and b'"seconds": null' in out
    assert b"was not heard again" in err


# restart and the resets

@pytest.fixture(name="rebooting")
def fixture_rebooting(fake):
    """Two panels that are silent for a while once the last of them was told to restart, or for good."""
    fake.panels = [Identity(), Identity(mac=MAC2, address=OTHER_ADDRESS, source=OTHER_ADDRESS)]
    fake.told = 1  # so many have to be told
    fake.silence = 20  # so many requests go unanswered

    def deliver(panel, answer, source, sender):
        commands = panel.commands()
        since = commands[::-1].index(Command.RESTART) if commands.count(Command.RESTART) >= panel.told else 0
        if since == 0 or since > panel.silence:
            panel.send_answer(answer, source, sender)
    fake.deliver = deliver
    return fake


def test_restart_waits_until_the_panel_is_back(rebooting, mvdpctl):
    result = mvdpctl("restart", MAC, "--wait", "--yes")
    assert result.code == DONE
    assert re.fullmatch(rf"{MAC} \(192\.168\.10\.5, QM316-44LRNA\) is back after \d+\.\d s\.\n", result.out)
    assert rebooting.commands().count(Command.RESTART) == 1
    record = mvdpctl("restart", MAC, "--wait", "--yes", "--json").json
    assert record["result"] == "back"
    assert 1 < record["seconds"] < PATIENCE


def test_restart_of_several_waits_for_all(rebooting, mvdpctl):
    rebooting.told = 2
    result = mvdpctl("restart", "--all", "--wait", "--yes")
    assert result.code == DONE
    assert sorted(re.sub(r"after \d+\.\d s", "after", line) for line in result.lines) == [
        f"{MAC}  back        QM316-44LRNA     after  192.168.10.5",
        f"{MAC2}  back        QM316-44LRNA     after  192.168.10.6"]
    assert "2 of 2 done." in result.err


@pytest.mark.parametrize("words", [[MAC], [MAC, MAC2]], ids=len)
def test_interrupted_wait_for_a_restart_tells_who_is_missing(wire, rebooting, words):
    rebooting.silence, rebooting.told = 1000000, len(words)
    process = wire[1].popen([program(), "restart", *words, "--wait", "--yes", "--csv"], stdin=-3, stdout=-1, stderr=-1)
    wait_for(lambda: rebooting.commands().count(Command.RESTART) == len(words), "the restart")
    seen = len(rebooting.requests)
    wait_for(lambda: len(rebooting.requests) > seen + 12, "the wait")
    process.send_signal(signal.SIGINT)
    out, _ = process.communicate(timeout=PATIENCE)
    assert process.returncode == NO_ANSWER
    assert out.count(b"restart,not awaited,") == len(words)
