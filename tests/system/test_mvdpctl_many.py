"""mvdpctl with several panels at once, chosen by words and by --all."""

import pytest

from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, DONE, MAC, MAC2, MAC3, NOBODY, NO_ANSWER, NO_MAC,
    OTHER_ADDRESS, PANEL_ADDRESS, SEARCHING, TROUBLE, USAGE)
from mvdp import mac_bytes

THIRD_ADDRESS = "192.168.10.7"
ACTIONS = [("wink", Command.WINK), ("restart", Command.RESTART), ("reset-network", Command.RESET_NETWORK),
           ("restore-defaults", Command.RESTORE)]


@pytest.fixture(name="three")
def fixture_three(fake):
    """Two presses and an oven."""
    fake.panels = [Identity(mac=MAC, description=b"Press 1"),
                   Identity(mac=MAC2, address=OTHER_ADDRESS, source=OTHER_ADDRESS, description=b"Press 2"),
                   Identity(mac=MAC3, address=THIRD_ADDRESS, source=PANEL_ADDRESS, description=b"Oven")]
    return fake


def told(fake, command):
    """The panels that were sent the command, in their order."""
    return [request[20:26] for request in fake.requests if request[6] == command]


def only(*macs):
    return [mac_bytes(mac) for mac in macs]


@pytest.mark.parametrize("name, command", ACTIONS)
@pytest.mark.parametrize("words, macs", [
    ([MAC, "oven"], [MAC, MAC3]), (["press", "--all"], [MAC, MAC2]), (["--all"], [MAC, MAC2, MAC3]),
    ([OTHER_ADDRESS, MAC, MAC], [MAC2, MAC]), (["Press 2", "press", "--all"], [MAC2, MAC])], ids=str)
def test_each_selected_panel_is_told_once(three, mvdpctl, name, command, words, macs):
    result = mvdpctl(name, *words, "--yes", *SEARCHING)
    assert result.code == DONE
    assert [line.split()[:2] for line in result.lines] == [[mac, "done"] for mac in macs]
    assert told(three, command) == only(*macs)


@pytest.mark.parametrize("words, fault", [
    (["press", "oven"], "'press' fits 2 panels"), ([], "name a panel, or give --all"),
    (["oven", "press 1", "--to", PANEL_ADDRESS], "--to goes with one panel"),
    (["--all", "--to", PANEL_ADDRESS], "--to goes with one panel"),
    (["oven", "02:00:5e:10:00:1"], f"The nearest of those that answered is {MAC} ("),
    (["oven", "192.168.10.300", "--all"], "'192.168.10.300' is no IPv4 address"),
    (["oven", "192.168.10.255"], "192.168.10.255 is not the address of one panel"), (["oven", ""], "an empty word"),
    (["oven", "\x1b[2J"], "a word with control characters")])
def test_unclear_selection_does_nothing(three, mvdpctl, words, fault):
    result = mvdpctl("restart", *words, "--yes", *SEARCHING)
    assert (result.code, result.out) == (USAGE, "")
    assert fault in result.err
    assert set(three.commands()) <= {Command.DISCOVER}


def test_word_that_fits_none_does_not_stop_the_others(three, mvdpctl):
    result = mvdpctl("wink", "oven", NOBODY, "--json", *SEARCHING)
    assert result.code == NO_ANSWER
    assert [(each["word"], each["result"], each["panel"] and each["panel"]["mac"])
            for each in result.json["results"]] == [("oven", "done", MAC3), (NOBODY, "not found", None)]
    assert told(three, Command.WINK) == only(MAC3)


def test_selection_that_fits_none_is_no_answer(three, mvdpctl):
    result = mvdpctl("wink", "pres 1", "kiln", *SEARCHING)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "has 'pres 1' in its description or name: did you mean 'Press 1'?" in result.err
    assert "none of the 3 panels that answered fits" in result.err
    assert told(three, Command.WINK) == []


def test_worst_status_counts(three, mvdpctl):
    three.alter = lambda data: data[:7] + b"\x77" + data[8:] if data[6] == Command.ECHO else data
    three.unanswered = {Command.WINK}
    assert mvdpctl("echo", "--all", "--count", "1", "--timeout", "1", *SEARCHING).code in (NO_ANSWER, TROUBLE)
    result = mvdpctl("wink", MAC, "oven", "--timeout", "0.3", "--rounds", "3", "--csv")
    assert result.code == NO_ANSWER
    assert [each["result"] for each in result.csv] == ["no answer", "no answer"]


@pytest.mark.parametrize("answer, code, macs", [(b"y", DONE, [MAC, MAC2]), (b"n", USAGE, [])])
def test_one_question_lists_them(wire, three, answer, code, macs):
    terminal = Terminal(wire[1], "restart", "press", "kiln", "--all", *SEARCHING)
    terminal.answer(b"[y/N] ", answer)
    ended, lines = terminal.finish()
    assert ended == (NO_ANSWER if macs else code)
    assert lines[:4] == ["mvdpctl: no panel that answered has 'kiln' in its description or name",
                         f"{MAC} (192.168.10.5, Press 1)", f"{MAC2} (192.168.10.6, Press 2)", "not found: kiln"]
    assert lines[4].startswith("Restart these 2 panels? [y/N]")
    assert told(three, Command.RESTART) == only(*macs)


def test_panels_without_a_mac_address_are_left_out(three, mvdpctl):
    """Each of them would carry out what any of them is told."""
    three.panels.append(Identity(mac=NO_MAC, address="0.0.0.0", source=THIRD_ADDRESS, description=b"Press 3"))
    result = mvdpctl("restart", "--all", "--yes", *SEARCHING)
    assert (result.code, "3 of 4 done." in result.err) == (NO_ANSWER, True)
    assert [line.split("  ")[1] for line in result.lines] == ["no MAC", "done", "done", "done"]
    assert told(three, Command.RESTART) == only(MAC, MAC2, MAC3)
    assert mvdpctl("restart", "press 3", "--all", *SEARCHING, "--yes").code == NO_ANSWER
    assert mvdpctl("restart", THIRD_ADDRESS, "--wait", "--yes", *SEARCHING).code == USAGE


def test_several_are_identified_in_a_table(three, mvdpctl):
    result = mvdpctl("identify", "press", "--all", *SEARCHING)
    assert result.code == DONE
    assert [line[:17].strip() for line in result.lines] == ["MAC ADDRESS", MAC, MAC2]
    assert result.err == "2 of 3 panels.\n"
    assert told(three, Command.IDENTIFY) == only(MAC, MAC2)
    records = mvdpctl("identify", MAC, "oven", "--json", *SEARCHING).json["panels"]
    assert [record["mac"] for record in records] == [MAC, MAC3]


def test_echoes_of_several_are_counted_for_each(three, mvdpctl):
    result = mvdpctl("echo", "press", "kiln", "--all", "--count", "3", "--interval", "0.01", "--json", *SEARCHING)
    assert result.code == NO_ANSWER
    assert [(each["mac"], each["word"], each["sent"], each["answered"]) for each in result.json["results"]] == [
        (MAC, "press", 3, 3), (MAC2, "press", 3, 3), (None, "kiln", 0, 0)]


@pytest.mark.parametrize("words, macs", [
    (["press"], [MAC, MAC2]), (["oven", MAC], [MAC, MAC3]), ([OTHER_ADDRESS, "oven"], [MAC2, MAC3])], ids=str)
def test_discover_shows_those_that_fit(three, mvdpctl, words, macs):
    result = mvdpctl("discover", *words, *SEARCHING)
    assert (result.code, [line[:17] for line in result.lines[1:]]) == (DONE, macs)
    assert result.err.startswith(f"{len(macs)} of 3 panels.\n")


def test_discover_tells_what_fits_none(three, mvdpctl):
    result = mvdpctl("discover", "press", "kiln", *SEARCHING)
    assert (result.code, len(result.lines)) == (NO_ANSWER, 3)
    assert "no panel that answered has 'kiln' in its description or name\n" in result.err
    result = mvdpctl("discover", "press", "02:00:5e:10:00:1", *SEARCHING)
    assert (result.code, result.out) == (USAGE, "")
    assert "is no MAC address" in result.err


def test_interrupted_run_tells_what_was_not_tried(wire, three):
    three.unanswered = {Command.RESTART}
    terminal = Terminal(wire[1], "restart", "--all", "--yes", "--timeout", "2")
    three.wait_for_command(Command.RESTART)
    terminal.interrupt()
    ended, lines = terminal.finish()
    assert ended == NO_ANSWER
    assert [line.split("  ")[1] for line in lines if line.startswith("02:")] == ["no answer", "not tried", "not tried"]
