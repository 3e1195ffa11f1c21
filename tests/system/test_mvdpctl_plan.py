"""mvdpctl sets many panels by a plan in a file."""

import json
import re
import signal

import pytest

import fakepanel
from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, program, DONE, MAC, MAC2, MAC3, NO_ANSWER, NO_MAC,
    OTHER_ADDRESS, REFUSED, SEARCHING, USAGE)
from waiting import PATIENCE

MACS = [MAC, MAC2, MAC3]


def at(*last_bytes):
    """The panels 1, 2, 3... at 192.168.10.X."""
    return [Identity(mac=mac, address=f"192.168.10.{last}") for mac, last in zip(MACS, last_bytes)]


@pytest.fixture(name="plan")
def fixture_plan(tmp_path):
    """Writes a plan for the panels 1, 2, 3...: the last byte of each one's address."""
    def write(*last_bytes):
        path = tmp_path / "plan.csv"
        path.write_text("mac,address\n" + "".join(f"{mac},192.168.10.{last}\n" for mac, last in zip(MACS, last_bytes)))
        return path
    return write


def addresses(fake):
    return [int(panel.address.rsplit(".", 1)[1]) for panel in sorted(fake.panels, key=lambda panel: panel.mac)]


def order(fake):
    """The panels that were sent settings, each time one was: 1, 2 or 3."""
    return [request[25] for request in fake.requests if request[6] == Command.SET_ADDRESS]


def results(result):
    return [(record["mac"], record["result"]) for record in result.csv]


def test_plan_is_carried_out(fake, mvdpctl, tmp_path):
    fake.panels = at(11, 12, 13)
    path = tmp_path / "plan.json"
    path.write_text(json.dumps([{"mac": mac, "address": f"192.168.10.2{number}"} for number, mac in enumerate(MACS)]))
    result = mvdpctl("set", "--from", path, "--yes", *SEARCHING)
    assert result.code == DONE
    assert f"{MAC}  192.168.10.11/24        -> 192.168.10.20/24\n" in result.err
    assert result.err.endswith("3 of 3 panels are as planned.\n")
    assert addresses(fake) == [20, 21, 22]


def test_verbose_shows_the_panel_in_hand_alone(fake, mvdpctl, plan):
    fake.panels = at(11, 12)
    shown = mvdpctl("set", "--from", plan(21, 22), "--yes", "--verbose", *SEARCHING).err
    first, second = re.split(r"^(?=> .*\n.* command 5 )", shown, flags=re.MULTILINE)[1:]
    assert f"MAC address {MAC}\n" in first and f"MAC address {MAC2}\n" not in first
    assert f"MAC address {MAC2}\n" in second and f"MAC address {MAC}\n" not in second


def test_one_failure_does_not_stop_the_rest(fake, mvdpctl, plan):
    fake.panels = at(11, 12, 13)
    fake.on_set = {MAC: fakepanel.REFUSE}
    path = plan(21, 22, 23)
    result = mvdpctl("set", "--from", path, "--yes", "--csv", *SEARCHING)
    assert result.code == REFUSED
    assert results(result) == [(MAC, "refused"), (MAC2, "applied"), (MAC3, "applied")]
    assert "2 of 3 panels are as planned." in result.err
    assert "1 refused: " in result.err
    # What failed is done by the same command once its cause is gone; what was done is left alone.
    fake.on_set = fakepanel.APPLY
    fake.requests.clear()
    assert mvdpctl("set", "--from", path, "--yes", *SEARCHING).code == DONE
    assert set(order(fake)) == {1}
    assert addresses(fake) == [21, 22, 23]


def test_discovered_table_is_a_plan(fake, mvdpctl, tmp_path):
    fake.panels = [Identity(description=b'=1+1, "x"')]
    for kind in ("csv", "json"):
        path = tmp_path / f"plan.{kind}"
        path.write_text(mvdpctl("discover", f"--{kind}", *SEARCHING).out)
        result = mvdpctl("set", "--from", path, "--yes", "--csv", *SEARCHING)
        assert (result.code, results(result)) == (DONE, [(MAC, "already so")])


# Panels that exchange addresses

def test_addresses_are_given_up_before_they_are_taken(fake, mvdpctl, plan):
    fake.panels = at(11, 12, 13)
    assert mvdpctl("set", "--from", plan(12, 13, 11), "--yes", *SEARCHING).code == DONE
    assert order(fake) == [1, 3, 2]
    assert addresses(fake) == [12, 13, 11]


def test_address_that_was_not_given_up_is_not_taken(fake, mvdpctl, plan):
    fake.panels = at(11, 12)
    fake.on_set = {MAC2: fakepanel.REFUSE}
    result = mvdpctl("set", "--from", plan(12, 22), "--yes", "--csv", *SEARCHING)
    assert result.code == REFUSED
    assert results(result) == [(MAC2, "refused"), (MAC, "blocked")]
    assert addresses(fake) == [11, 12]
    assert "1 blocked: " in result.err


def test_address_that_was_only_told_to_be_given_up_is_not_taken(fake, mvdpctl, plan):
    fake.panels = at(11, 12)
    fake.on_set = {MAC2: fakepanel.TELL_ONLY}
    path = plan(12, 22)
    for _ in range(2):
        result = mvdpctl("set", "--from", path, "--yes", "--csv", "--timeout", "0.5", "--rounds", "6")
        assert result.code == REFUSED
        assert results(result) == [(MAC2, "elsewhere"), (MAC, "blocked")]
        assert "0 of 2 panels are as planned.\n" in result.err
    assert f"{MAC2}  192.168.10.22/24        (but answers from 192.168.10.12)\n" in result.err
    only_first = mvdpctl("set", "--from", plan(12), "--yes", *SEARCHING)
    assert only_first.code == USAGE
    assert f"The address 192.168.10.12 would be that of {MAC2}, too." in only_first.err


def test_silence_of_panels_without_a_gateway_is_explained(fake, mvdpctl, tmp_path):
    fake.panels = at(11, 12, 13)
    fake.on_set = dict(zip(MACS, (fakepanel.VANISH, fakepanel.VANISH_SILENTLY, fakepanel.VANISH)))
    path = tmp_path / "plan.csv"
    path.write_text("mac,address,gateway\n" + "".join(f"{mac},{address},0.0.0.0\n" for mac, address in zip(
        MACS, ("192.168.11.21", "192.168.11.22", "192.168.10.23"))))
    result = mvdpctl("set", "--from", path, "--yes", "--force", "--timeout", "0.3", "--rounds", "4")
    assert result.code == NO_ANSWER
    for outcome in ("unverified", "no answer"):
        assert (f"1 {outcome}: Without a gateway the panel is heard only by computers with an address in "
                "192.168.11.0/24: " in result.err)
    assert "1 unverified: Look for it" in result.err


def test_exchange_that_fails_half_way_is_told_plainly(fake, mvdpctl, plan):
    fake.panels = at(11, 12)
    fake.on_set = {MAC2: fakepanel.REFUSE}
    result = mvdpctl("set", "--from", plan(12, 11), "--yes", "--csv", *SEARCHING)
    assert result.code == REFUSED
    assert results(result) == [(MAC, "applied"), (MAC2, "refused")]
    assert f"{MAC} now shares the address 192.168.10.12 with another panel" in result.err


def test_plan_that_cannot_work_is_sent_by_force_only(fake, mvdpctl, plan):
    fake.panels = at(11, 12)
    path = plan(12)
    objection = f"{path}:2: {MAC}: The address 192.168.10.12 would be that of {MAC2}, too.\n"
    refused = mvdpctl("set", "--from", path, "--yes", *SEARCHING)
    assert (refused.code, refused.out) == (USAGE, "")
    assert f"mvdpctl: {objection}" in refused.err
    assert "--force" in refused.err
    assert order(fake) == []
    forced = mvdpctl("set", "--from", path, "--yes", "--force", *SEARCHING)
    assert forced.code == DONE
    assert f"mvdpctl: warning: {objection}" in forced.err
    assert order(fake) == [1]


# Files

@pytest.mark.parametrize("name, content", [
    ("hostile.csv", f"mac,address\n{MAC},\x1b[2J\n\"\r\nmvdpctl: done\",x\n".encode()),
    ("noise.json", b"\xff{[" * 100)])
def test_broken_file_is_refused_before_anything_is_sent(fake, mvdpctl, tmp_path, name, content):
    path = tmp_path / name
    path.write_bytes(content)
    result = mvdpctl("set", "--from", path, "--yes")
    assert (result.code, result.out) == (USAGE, "")
    assert all(line.startswith("mvdpctl: ") for line in result.err.splitlines())
    assert fake.requests == []


# On a terminal

@pytest.mark.parametrize("answer, code, expected", [(b"y\n", DONE, [22, 12]), (b"n\n", USAGE, [11, 12])])
def test_plan_is_shown_and_asked_about_once(wire, fake, plan, answer, code, expected):
    fake.panels = at(11, 12)
    terminal = Terminal(wire[1], "set", "--from", plan(22, 12), *SEARCHING)
    terminal.read_until(b"[y/N] ")
    assert order(fake) == []
    terminal.type(answer)
    ended, lines = terminal.finish()
    assert ended == code
    assert lines[:4] == ["192.168.10.22 was asked for by ARP: nobody answered.",
                         f"{MAC2}  192.168.10.12/24        already as planned",
                         f"{MAC}  192.168.10.11/24        -> 192.168.10.22/24",
                         f"Change 1 panel? [y/N] {answer.decode().strip()}"]
    assert " ".join(lines).count("[y/N]") == 1
    assert addresses(fake) == expected


def test_nothing_is_asked_when_nothing_is_to_be_done(wire, fake, plan):
    fake.panels = at(11)
    code, lines = Terminal(wire[1], "set", "--from", plan(11), *SEARCHING).finish()
    assert code == DONE
    assert "[y/N]" not in " ".join(lines)


def test_interrupted_plan_finishes_its_panel_and_reports_all(wire, fake, plan):
    fake.panels = at(11, 12, 13)
    process = None

    def interrupt_at_first_setting(panel, answer, source, sender):
        if answer[6] == Command.SET_ADDRESS and answer[25] == 1:
            process.send_signal(signal.SIGINT)
        panel.send_answer(answer, source, sender)

    fake.deliver = interrupt_at_first_setting
    process = wire[1].popen([program(), "set", "--from", plan(21, 22, 23), "--yes", "--csv", *SEARCHING],
                            stdin=-3, stdout=-1, stderr=-1)
    out, err = process.communicate(timeout=4 * PATIENCE)
    assert process.returncode == NO_ANSWER
    assert [line.split(",")[:2] for line in out.decode().splitlines()[1:]] == [
        [MAC, "applied"], [MAC2, "not tried"], [MAC3, "not tried"]]
    assert b"2 not tried: " in err
    assert addresses(fake) == [21, 12, 13]


def test_address_of_a_panel_that_does_not_know_itself_is_held(fake, mvdpctl, plan):
    fake.panels = [*at(11), Identity(mac=NO_MAC, address="0.0.0.0", netmask="0.0.0.0", gateway="0.0.0.0",
                                     source=OTHER_ADDRESS)]
    result = mvdpctl("set", "--from", plan(6), "--yes", *SEARCHING)
    assert result.code == USAGE
    assert f"The address {OTHER_ADDRESS} would be that of {NO_MAC}, too." in result.err
    assert order(fake) == []
