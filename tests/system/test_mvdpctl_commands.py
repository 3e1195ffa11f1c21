"""mvdpctl has panels do something: wink, restart and the resets, however the panel is named, and never unasked."""

import pytest

import mvdp
from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, DONE, HASTY, MAC, MAC2, MAC3, NOBODY, NO_ANSWER, NO_MAC,
    OTHER_ADDRESS, PANEL_ADDRESS, SEARCHING, USAGE)

LABEL = f"{MAC} (192.168.10.5, QM316-44LRNA)"


def count(fake, command):
    return fake.commands().count(command)


@pytest.mark.parametrize("words, command", [
    (["wink"], Command.WINK), (["restart"], Command.RESTART), (["reset-network"], Command.RESET_NETWORK),
    (["restore-defaults"], Command.RESTORE), (["restore-defaults", "--marker", "absolute"], Command.RESTORE),
    (["restore-defaults", "--marker=relative"], Command.RESTORE_RELATIVE)])
def test_action_is_asked_for_once(fake, mvdpctl, words, command):
    fake.panels.append(Identity(mac=MAC2, address=OTHER_ADDRESS, source=OTHER_ADDRESS, description=b"other"))
    assert mvdpctl(*words, "qm316", "--yes", *SEARCHING).code == DONE
    assert [request for request in fake.requests if request[6] == command] == [mvdp.request(command, mac=MAC)]


@pytest.mark.parametrize("name, command, change, reason", [
    ("wink", Command.WINK, lambda data: data[:20] + mvdp.mac_bytes(MAC2) + data[26:], "of another panel"),
    ("reset-network", Command.RESET_NETWORK, lambda data: data[:30] + b"\x77" + data[31:], "no panel's reply")])
def test_wrong_answer_is_not_taken_for_done(fake, mvdpctl, name, command, change, reason):
    """The one is answered by the identity, the other by the request itself."""
    fake.alter = lambda data: change(data) if data[6] == command else data
    result = mvdpctl(name, MAC, "--yes", "--json", "--timeout", "0.5", "--rounds", "4")
    assert (result.code, result.json["result"]) == (NO_ANSWER, "no answer")
    assert f" {reason}.\n" in result.err
    assert f"{LABEL} did not answer to '{name}'" in result.err


# Repeating

def test_unanswered_wink_is_repeated_every_way(fake, mvdpctl):
    fake.unanswered = {Command.WINK}
    assert mvdpctl("wink", MAC, "--timeout", "0.2", "--rounds", "5").code == NO_ANSWER
    assert count(fake, Command.WINK) == 5


def test_destructive_request_is_not_repeated_by_itself(fake, mvdpctl):
    fake.unanswered = {Command.RESTART}
    result = mvdpctl("restart", MAC, "--yes", "--timeout", "0.5")
    assert result.code == NO_ANSWER
    assert "It may have carried it out all the same" in result.err
    assert count(fake, Command.RESTART) == 1
    assert mvdpctl("restart", MAC, "--yes", "--timeout", "0.2", "--rounds", "3").code == NO_ANSWER
    assert count(fake, Command.RESTART) == 4


def test_nothing_destructive_is_sent_down_a_way_that_leads_nowhere(fake, mvdpctl):
    fake.unanswered = {Command.IDENTIFY}  # the search finds the panel, the trial of the way does not
    result = mvdpctl("restart", MAC, "--yes", "--timeout", "0.2", "--rounds", "3")
    assert result.code == NO_ANSWER
    assert "is not heard any more; nothing was sent to it" in result.err
    assert count(fake, Command.RESTART) == 0


# Asking

@pytest.mark.parametrize("name", ["restart", "reset-network", "restore-defaults"])
def test_nothing_is_sent_without_a_terminal_to_ask_on(fake, mvdpctl, name):
    result = mvdpctl(name, MAC)
    assert (result.code, result.out) == (USAGE, "")
    assert f"'{name}' changes panels and there is no terminal to ask on" in result.err
    assert "--yes" in result.err
    assert fake.requests == []


@pytest.mark.parametrize("answer, code, restarts", [(b"y\n", DONE, 1), (b"no\n", USAGE, 0)])
def test_destructive_command_asks_on_a_terminal(wire, fake, answer, code, restarts):
    terminal = Terminal(wire[1], "restart", MAC, *SEARCHING)
    terminal.read_until(b"[y/N] ")
    assert count(fake, Command.RESTART) == 0
    terminal.type(answer)
    ended, lines = terminal.finish()
    assert ended == code
    # The panel stands in the question, so that a wrong fragment is noticed.
    assert lines[0].startswith(f"Restart {LABEL}? [y/N]")
    assert count(fake, Command.RESTART) == restarts


# Naming panels

# The one is looked for until it answers, the others among all panels.
TARGETED = [["identify"], ["set", "--yes", "--gateway", "0.0.0.0"], ["restart", "--yes"]]


def only_searched(fake):
    """Nothing but questions that every panel answers has been sent."""
    return set(fake.commands()) <= {Command.DISCOVER}


# An address is asked directly by identify, and only one panel hears that.
@pytest.mark.parametrize("words, target", [(words, target) for words in TARGETED for target in ("QM", PANEL_ADDRESS)
                                           if (words, target) != (["identify"], PANEL_ADDRESS)],
                         ids=lambda value: value if isinstance(value, str) else value[0])
def test_ambiguous_name_lists_the_candidates(fake, mvdpctl, words, target):
    fake.panels = [Identity(), Identity(mac=MAC2), Identity(mac=MAC3, address="192.168.10.8", description=b"x",
                                                            source=OTHER_ADDRESS)]
    result = mvdpctl(*words, target, *SEARCHING)
    assert (result.code, result.out) == (USAGE, "")
    assert f"'{target}' fits 2 panels" in result.err
    assert f"  {LABEL}\n" in result.err and f"  {MAC2} (" in result.err and MAC3 not in result.err
    rest = "." if words[0] == "set" else ", or give --all for all of them."
    assert f"Name the panel by its MAC address, for example {MAC}{rest}" in result.err
    assert only_searched(fake)


@pytest.mark.parametrize("words", TARGETED, ids=lambda words: words[0])
@pytest.mark.parametrize("target, said", [("nothing", "no panel that answered has 'nothing' in its description"),
                                          (NOBODY, f"no panel with the address {NOBODY} answered")])
def test_name_that_fits_none_says_what_was_found(fake, mvdpctl, words, target, said):
    result = mvdpctl(*words, target, *SEARCHING)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert said in result.err
    assert f"  {LABEL}\n" in result.err
    assert only_searched(fake)


@pytest.mark.parametrize("words", TARGETED, ids=lambda words: words[0])
def test_unknown_mac_is_no_answer(fake, mvdpctl, words):
    result = mvdpctl(*words, MAC2, *HASTY)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert f"no panel with the MAC address {MAC2} answered: did you mean {LABEL}?\n" in result.err
    assert set(fake.commands()) <= {Command.DISCOVER, Command.IDENTIFY}


def test_name_where_nobody_answers_says_what_to_look_at(wire, mvdpctl):
    assert wire
    result = mvdpctl("wink", "QM316", *HASTY)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "Check power and cable" in result.err


def test_many_candidates_are_cut_short(fake, mvdpctl):
    fake.panels = [Identity(mac=f"02:00:5e:10:01:{number:02x}") for number in range(30)]
    result = mvdpctl("wink", "QM316", *SEARCHING)
    assert "fits 30 panels" in result.err
    assert result.err.count("QM316-44LRNA)") == 20
    assert "and 10 more" in result.err


def test_panel_without_mac_address_is_reached_by_its_address_alone(fake, mvdpctl):
    nothing = dict(mac=NO_MAC, address="0.0.0.0", netmask="0.0.0.0", gateway="0.0.0.0", partition_version=0,
                   description=b"")
    fake.panels = [Identity(**nothing, source=OTHER_ADDRESS)]
    assert mvdpctl("wink", OTHER_ADDRESS, *SEARCHING).code == DONE
    winks = [destination for destination, command in zip(fake.destinations, fake.commands())
             if command == Command.WINK]
    assert winks == [OTHER_ADDRESS]


def test_panel_behind_a_router_is_reached_at_its_address(fake, mvdpctl):
    assert mvdpctl("wink", MAC, "--to", PANEL_ADDRESS, *SEARCHING).code == DONE
    assert set(fake.destinations) == {PANEL_ADDRESS}


def test_two_devices_of_one_mac_are_warned_of(fake, mvdpctl):
    fake.panels.append(Identity(address=OTHER_ADDRESS, source=OTHER_ADDRESS))
    result = mvdpctl("restart", MAC, "--yes", *SEARCHING)
    assert result.code == DONE
    assert "warning: 02:00:5e:10:00:01 answered from 2 addresses" in result.err
