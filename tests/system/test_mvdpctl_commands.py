"""mvdpctl has panels do something: wink, restart and the resets, however the panel is named, and never unasked."""

import pytest

import mvdp
from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, DONE, HASTY, MAC, MAC2, MAC3, NOBODY, NO_ANSWER, NO_MAC,
    OTHER_ADDRESS, PANEL_ADDRESS, PANEL_COLUMNS, PANEL_MEMBERS, SEARCHING, USAGE)

LABEL = f"{MAC} (192.168.10.5, QM316-44LRNA)"
# Command line, code on the wire, name in the output, what is said when it is done.
ACTIONS = {
    "wink": (["wink"], Command.WINK, "wink", "winks: its screen shows the notice for five seconds."),
    "restart": (["restart", "--yes"], Command.RESTART, "restart", "restarts."),
    "reset-network": (["reset-network", "--yes"], Command.RESET_NETWORK, "reset-network",
                      "resets its network settings and restarts."),
    "restore-defaults": (["restore-defaults", "--yes"], Command.RESTORE, "restore-defaults",
                         "restores its defaults and restarts."),
    "restore-defaults absolute": (["restore-defaults", "--marker", "absolute", "--yes"], Command.RESTORE,
                                  "restore-defaults", "restores its defaults and restarts."),
    "restore-defaults relative": (["restore-defaults", "--marker=relative", "--yes"], Command.RESTORE_RELATIVE,
                                  "restore-defaults", "restores its defaults and restarts."),
}
DESTRUCTIVE = [name for name in ACTIONS if name != "wink"]


@pytest.fixture(name="action", params=ACTIONS)
def fixture_action(request):
    return ACTIONS[request.param]


def count(fake, command):
    return fake.commands().count(command)


@pytest.mark.parametrize("target", [MAC, PANEL_ADDRESS, "qm316"])
def test_action_is_asked_for_once_and_reported(fake, mvdpctl, action, target):
    fake.panels.append(Identity(mac=MAC2, address=OTHER_ADDRESS, source=OTHER_ADDRESS, description=b"other"))
    words, command, _, done = action
    result = mvdpctl(*words, target, *SEARCHING)
    assert (result.code, result.out) == (DONE, f"{LABEL} {done}\n")
    assert [request for request in fake.requests if request[6] == command] == [mvdp.request(command, mac=MAC)]


def test_action_in_json_and_csv(fake, mvdpctl, action):
    words, _, name, _ = action
    assert mvdpctl(*words, MAC, "--json", *SEARCHING).json == {
        "command": name, "result": "done", "panel": PANEL_MEMBERS}
    result = mvdpctl(*words, MAC, "--csv", *SEARCHING)
    assert result.csv == [{**PANEL_MEMBERS, "prefix": "24", "command": name, "result": "done"}]
    assert result.columns == ["command", "result", *PANEL_COLUMNS]


@pytest.mark.parametrize("way", ["unicast", "broadcast", "group"])
def test_answer_is_heard_by_any_way(fake, mvdpctl, action, way):
    fake.way = way
    assert mvdpctl(*action[0], MAC, *SEARCHING).code == DONE


# An answer that is not the panel's own is none.

def altered(command, change):
    """An alteration of the answers to this command, and of no others."""
    return lambda data: change(data) if data[6] == command else data


WRONG_ANSWERS = {
    "another panel's": lambda data: data[:20] + mvdp.mac_bytes(MAC2) + data[26:],
    "to another command": lambda data: data[:6] + bytes([Command.IDENTIFY]) + data[7:],
    "a request": lambda data: data[:5] + b"\1" + data[6:],
    "not applied": lambda data: data[:5] + b"\3" + data[6:],
    "cut off": lambda data: data[:255],
    "magic": lambda data: b"\0" + data[1:],
}


@pytest.mark.parametrize("wrong", WRONG_ANSWERS)
@pytest.mark.parametrize("name", ["wink", "reset-network"])  # answered by the identity, and by the request itself
def test_wrong_answer_is_not_taken_for_done(fake, mvdpctl, name, wrong):
    words, command, _, done = ACTIONS[name]
    fake.alter = altered(command, WRONG_ANSWERS[wrong])
    result = mvdpctl(*words, MAC, "--json", *HASTY)
    assert result.code == NO_ANSWER
    assert result.json["result"] == "no answer"
    assert f"{LABEL} did not answer to '{name}'" in result.err
    assert done not in result.out


def test_answer_to_the_request_of_another_is_not_taken(fake, mvdpctl):
    fake.alter = altered(Command.RESET_NETWORK, lambda data: data[:30] + b"\x77" + data[31:])
    result = mvdpctl("reset-network", MAC, "--yes", *HASTY)
    assert result.code == NO_ANSWER
    assert "ignored: " in result.err


# Repeating

def test_unanswered_wink_is_repeated_every_way(fake, mvdpctl):
    fake.unanswered = {Command.WINK}
    assert mvdpctl("wink", MAC, "--timeout", "0.2", "--rounds", "5").code == NO_ANSWER
    assert count(fake, Command.WINK) == 5


@pytest.mark.parametrize("name", DESTRUCTIVE)
def test_destructive_request_is_not_repeated_by_itself(fake, mvdpctl, name):
    words, command, _, _ = ACTIONS[name]
    fake.unanswered = {command}
    result = mvdpctl(*words, MAC, "--timeout", "0.5")
    assert result.code == NO_ANSWER
    assert "It may have carried it out all the same" in result.err
    assert count(fake, command) == 1
    assert mvdpctl(*words, MAC, "--timeout", "0.2", "--rounds", "3").code == NO_ANSWER
    assert count(fake, command) == 4


def test_nothing_destructive_is_sent_down_a_way_that_leads_nowhere(fake, mvdpctl):
    fake.unanswered = {Command.IDENTIFY}  # the search finds the panel, the trial of the way does not
    result = mvdpctl("restart", MAC, "--yes", "--timeout", "0.2", "--rounds", "3")
    assert result.code == NO_ANSWER
    assert "is not heard any more; nothing was sent to it" in result.err
    assert count(fake, Command.RESTART) == 0


# Asking

@pytest.mark.parametrize("name", DESTRUCTIVE)
def test_nothing_is_sent_without_a_terminal_to_ask_on(fake, mvdpctl, name):
    words, _, shown, _ = ACTIONS[name]
    result = mvdpctl(*(word for word in words if word != "--yes"), MAC)
    assert (result.code, result.out) == (USAGE, "")
    assert f"'{shown}' changes the panel and there is no terminal to ask on" in result.err
    assert "--yes" in result.err
    assert fake.requests == []


@pytest.mark.parametrize("name", DESTRUCTIVE)
@pytest.mark.parametrize("answer, code", [(b"y\n", DONE), (b"no\n", USAGE), (b"\n", USAGE)])
def test_destructive_command_asks_on_a_terminal(wire, fake, name, answer, code):
    words, command, _, done = ACTIONS[name]
    terminal = Terminal(wire[1], *(word for word in words if word != "--yes"), MAC, *SEARCHING)
    terminal.read_until(b"[y/N] ")
    assert count(fake, command) == 0
    terminal.type(answer)
    ended, lines = terminal.finish()
    assert ended == code
    # The panel stands in the question, so that a wrong fragment is noticed.
    assert MAC in lines[0]
    assert (done in " ".join(lines).replace("   ", " ")) == (code == DONE)
    assert count(fake, command) == (1 if code == DONE else 0)


def test_wink_does_not_ask(wire, fake):
    code, lines = Terminal(wire[1], "wink", MAC, *SEARCHING).finish()
    assert code == DONE
    assert "[y/N]" not in " ".join(lines)
    assert count(fake, Command.WINK) == 1


# Naming panels

TARGETED = [["identify"], ["echo", "--count", "1"], ["set", "--yes", "--gateway", "0.0.0.0"], ["wink"],
            ["restart", "--yes"], ["reset-network", "--yes"], ["restore-defaults", "--yes"]]


def only_searched(fake):
    """Nothing but questions that every panel answers has been sent."""
    return set(fake.commands()) <= {Command.DISCOVER}


@pytest.mark.parametrize("words", TARGETED, ids=lambda words: words[0])
@pytest.mark.parametrize("target", ["QM", PANEL_ADDRESS])
def test_ambiguous_name_lists_the_candidates(fake, mvdpctl, words, target):
    fake.panels = [Identity(), Identity(mac=MAC2), Identity(mac=MAC3, address="192.168.10.8", description=b"x",
                                                            source=OTHER_ADDRESS)]
    result = mvdpctl(*words, target, *SEARCHING)
    assert (result.code, result.out) == (USAGE, "")
    assert f"'{target}' fits 2 panels" in result.err
    assert f"  {LABEL}\n" in result.err and f"  {MAC2} (" in result.err and MAC3 not in result.err
    assert f"Name the panel by its MAC address, for example {MAC}." in result.err
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
def test_name_where_nobody_answers_says_what_to_look_at(wire, mvdpctl, words):
    result = mvdpctl(*words, "QM316", *HASTY)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "Check power and cable" in result.err


def test_many_candidates_are_cut_short(fake, mvdpctl):
    fake.panels = [Identity(mac=f"02:00:5e:10:01:{number:02x}") for number in range(30)]
    result = mvdpctl("wink", "QM316", *SEARCHING)
    assert "fits 30 panels" in result.err
    assert result.err.count("QM316-44LRNA)") == 20
    assert "and 10 more" in result.err


@pytest.mark.parametrize("description", [b"\x1b[2J\r\nmvdpctl: done", b"a\r\n" + LABEL.encode()[:40],
                                         b"x" * 64, b"%1 %2 %n", b"\x9b31m"], ids=range(5))
def test_hostile_description_cannot_forge_a_line(fake, mvdpctl, description):
    fake.panels = [Identity(description=description)]
    assert len(mvdpctl("wink", MAC, *SEARCHING).lines) == 1
    assert len(mvdpctl("wink", MAC, "--csv", *SEARCHING).csv) == 1
    assert mvdpctl("wink", MAC, "--json", *SEARCHING).json["panel"]["mac"] == MAC
    fake.panels.append(Identity(mac=MAC2))
    ambiguous = mvdpctl("wink", PANEL_ADDRESS, *SEARCHING)
    assert [line[:9] for line in ambiguous.err.splitlines()] == ["mvdpctl: "] * 5


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
