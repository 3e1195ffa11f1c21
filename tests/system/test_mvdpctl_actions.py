"""mvdpctl acts on panels: echo, set and raw."""

import re
import signal

import pytest

import fakepanel
import mvdp
from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, program, DONE, FAR_ADDRESS, HASTY, MAC, MAC2, NO_ANSWER,
    NO_MAC, OTHER_ADDRESS, PANEL_ADDRESS, PATIENT, REFUSED, SEARCHING, TOOL_ADDRESS, TROUBLE, USAGE)
from waiting import PATIENCE, wait_for


# echo

def test_echoes_are_counted(fake, mvdpctl):
    result = mvdpctl("echo", MAC, "--count", "3", "--interval", "0.01", "--json", *PATIENT)
    assert (result.code, result.json["answered"], result.json["lost"]) == (DONE, 3, 0)
    assert 0 < result.json["leastMs"] <= result.json["meanMs"] <= result.json["mostMs"]
    echoes = [request for request in fake.requests if request[6] == Command.ECHO]
    assert len(set(echoes)) == 3
    assert {(len(echo), echo[:7]) for echo in echoes} == {(256, mvdp.request(Command.ECHO)[:7])}
    # The panel answered the search by each of its ways; that is nothing to be reported.
    assert result.err == ""


def test_altered_echoes_are_neither_answers_nor_lost(fake, mvdpctl):
    fake.copies = 3
    fake.alter = lambda data: data[:200] + bytes((data[200] ^ 0x10,)) + data[201:]
    result = mvdpctl("echo", MAC, "--count", "2", "--interval", "0.3", "--json", *PATIENT)
    assert result.code == TROUBLE
    assert (result.json["sent"], result.json["answered"], result.json["lost"]) == (2, 0, 0)
    assert result.json["altered"] >= 2
    assert "sent back other bytes" in result.err


def test_second_copy_of_an_echo_is_no_answer_to_another(fake, mvdpctl):
    fake.copies = 2
    result = mvdpctl("echo", MAC, "--count", "2", "--interval", "0.5", "--json", *PATIENT)
    assert result.code == DONE
    assert result.json["answered"] == 2
    assert result.json["duplicates"] >= 1


def test_silence_of_a_panel_in_a_foreign_subnet_is_explained(wire, fake, mvdpctl):
    fake.panels = [Identity(address=FAR_ADDRESS, source=FAR_ADDRESS)]
    fake.way = "broadcast"
    fake.unanswered = {Command.ECHO}
    result = mvdpctl("echo", MAC, *SEARCHING)
    assert result.code == TROUBLE
    assert f"there is no route to {FAR_ADDRESS}\n" in result.err
    assert "its address, which is on no subnet of this computer" in result.err
    # It is reached although the routing table has no route.
    fake.unanswered = set()
    assert mvdpctl("echo", MAC, "--interface", "eth0", "--count", "1", *PATIENT).code == DONE
    fake.unanswered = {Command.ECHO}
    wire[1].route("10.9.0.0/24 dev eth0")
    try:
        result = mvdpctl("echo", MAC, "--count", "1", "--timeout", "0.2", *SEARCHING)
    finally:
        wire[1].ip("route delete 10.9.0.0/24")
    assert result.code == NO_ANSWER
    assert "its address, which is on no subnet of this computer" in result.err
    assert "cable" not in result.err


def test_interrupt_ends_with_the_statistics(wire, fake):
    process = wire[1].popen([program(), "echo", MAC, "--interval", "0.05", "--count", "1000000"],
                            stdout=-1, stderr=-1)
    wait_for(lambda: fake.commands().count(Command.ECHO) >= 3, "three echoes")
    process.send_signal(signal.SIGINT)
    out, _ = process.communicate(timeout=PATIENCE)
    assert process.returncode == DONE
    assert re.search(rb"\n\d+ sent, \d+ came back, ", out)


# set

NEW = ["--address", "192.168.10.7", "--netmask", "25", "--gateway", "192.168.10.100"]


def test_settings_are_applied_and_seen(fake, mvdpctl):
    result = mvdpctl("set", MAC, *NEW, "--yes", *SEARCHING)
    assert (result.code, result.out) == (DONE, f"{MAC} now has 192.168.10.7/25, gateway 192.168.10.100.\n")
    settings = [request for request in fake.requests if request[6] == Command.SET_ADDRESS]
    assert settings == [mvdp.request(Command.SET_ADDRESS, mac=MAC, address="192.168.10.7",
                                     netmask="255.255.255.128", gateway="192.168.10.100")]
    # What the panel said is believed only when it is found so by a fresh question.
    assert fake.commands()[-1] == Command.IDENTIFY


@pytest.mark.parametrize("on_set, code, name, said", [
    (fakepanel.IGNORE, REFUSED, "unchanged", "accepted 192.168.10.7/25, gateway 192.168.10.100 but still shows"),
    (fakepanel.SILENT, NO_ANSWER, "no answer", "did not answer")])
def test_settings_that_do_not_take_are_told_plainly(fake, mvdpctl, on_set, code, name, said):
    fake.on_set = on_set
    result = mvdpctl("set", MAC, *NEW, "--yes", "--json", "--timeout", "1", "--rounds", "4")
    assert (result.code, result.json["result"], result.json["panel"]["address"]) == (code, name, PANEL_ADDRESS)
    assert said in result.err


def test_settings_that_are_there_already_are_not_sent(fake, mvdpctl):
    result = mvdpctl("set", MAC, "--address", PANEL_ADDRESS, "--yes", *SEARCHING)
    assert (result.code, result.out) == (DONE, f"{MAC} already has 192.168.10.5/24, gateway 192.168.10.1.\n")
    assert Command.SET_ADDRESS not in fake.commands()
    assert mvdpctl("set", MAC, "--address", PANEL_ADDRESS, "--yes", "--force", *SEARCHING).code == DONE
    assert Command.SET_ADDRESS in fake.commands()


@pytest.mark.parametrize("on_set, way, new", [
    (fakepanel.TELL_ONLY, "unicast", NEW),
    (fakepanel.TELL_SILENTLY, "group", ["--address", "10.20.0.31", "--gateway", "10.20.0.1"])], ids=["near", "far"])
def test_settings_that_are_only_told_are_not_in_force(fake, mvdpctl, on_set, way, new):
    fake.on_set = on_set
    fake.way = way
    for attempt in range(2):
        result = mvdpctl("set", MAC, *new, "--yes", "--json", "--timeout", "0.5", "--rounds", "4")
        assert (result.code, result.json["result"]) == (REFUSED, "elsewhere")
        assert (result.json["panel"]["address"], result.json["panel"]["source"]) == (new[1], PANEL_ADDRESS)
        assert "but answers from another address\n" in result.err
        warning = f"mvdpctl: {MAC} tells the address {new[1]} but answered from {PANEL_ADDRESS}: "
        assert (warning in result.err) == (attempt > 0)
    # Once it can, it is told them again.
    fake.on_set = fakepanel.APPLY
    fake.panels[0].source = ""
    fake.panels[0].address = PANEL_ADDRESS
    assert mvdpctl("set", MAC, *new, "--yes", *SEARCHING).code == DONE


@pytest.mark.parametrize("told, way", [(OTHER_ADDRESS, "unicast"), (FAR_ADDRESS, "group"), ("10.99.0.5", "unicast")],
                         ids=["second address", "second interface", "router"])
def test_panel_that_answers_from_elsewhere_for_a_reason_has_its_settings(fake, mvdpctl, told, way):
    """What is sent to the address that it tells reaches it, or a router between translates addresses: without one it
    would have answered to this computer, which is on another subnet, by the group."""
    fake.panels = [Identity(address=told, gateway="0.0.0.0", source=PANEL_ADDRESS)]
    fake.way = way
    result = mvdpctl("set", MAC, "--address", told, "--yes", "--json", "--timeout", "2", *SEARCHING)
    assert (result.code, result.json["result"]) == (DONE, "already so")


def test_settings_of_a_second_interface_are_applied(fake, mvdpctl):
    fake.panels = [Identity(address="10.9.0.9", gateway="10.9.0.1", source=PANEL_ADDRESS)]
    fake.way = "group"
    result = mvdpctl("set", MAC, "--address", FAR_ADDRESS, "--yes", "--json", "--timeout", "2", "--rounds", "20")
    assert (result.code, result.json["result"]) == (DONE, "applied")
    # It is asked there as soon as it tells the settings: forty rounds of searching are not waited for.
    commands = fake.commands()
    assert commands[commands.index(Command.SET_ADDRESS):].count(Command.DISCOVER) < 10


def test_lost_reply_to_applied_settings_does_no_harm(fake, mvdpctl):
    fake.on_set = fakepanel.APPLY_SILENTLY
    assert mvdpctl("set", MAC, *NEW, "--yes", "--timeout", "1", "--rounds", "3").code == DONE
    # One way at a time, so that no request is carried out several times.
    sent_to = [destination for destination, command in zip(fake.destinations, fake.commands())
               if command == Command.SET_ADDRESS]
    assert sent_to == ["255.255.255.255", mvdp.GROUP, PANEL_ADDRESS]


@pytest.mark.parametrize("settings, objection", [
    (["--netmask", "255.0.255.0"], "has holes"),
    (["--address", OTHER_ADDRESS], f"held by the panel {MAC2}"),
    (["--address", TOOL_ADDRESS, "--gateway", "0.0.0.0"], "this computer's own, on eth0")])
def test_settings_that_cannot_work_are_sent_by_force_only(fake, mvdpctl, settings, objection):
    fake.panels.append(Identity(mac=MAC2, address=OTHER_ADDRESS, source=OTHER_ADDRESS))
    refused = mvdpctl("set", MAC, *settings, "--yes", *SEARCHING)
    assert refused.code == USAGE
    assert objection in refused.err
    assert "--force" in refused.err
    assert Command.SET_ADDRESS not in fake.commands()
    fake.on_set = fakepanel.IGNORE  # nobody can answer from some of these
    forced = mvdpctl("set", MAC, *settings, "--yes", "--force", "--timeout", "0.5", "--rounds", "6")
    assert forced.code == REFUSED
    assert objection in forced.err
    assert "mvdpctl: warning: " in forced.err
    assert Command.SET_ADDRESS in fake.commands()


def test_gateway_that_is_kept_is_pointed_out(fake, mvdpctl):
    # Not where another gateway would not help.
    assert "with --gateway" not in mvdpctl("set", MAC, "--address", "127.0.0.1", "--yes", *SEARCHING).err
    result = mvdpctl("set", MAC, "--address", "10.20.0.31", "--yes", *SEARCHING)
    assert result.code == USAGE
    assert "The gateway 192.168.10.1 is outside the subnet 10.20.0.0/24 of the new address." in result.err
    assert "give another with --gateway, 0.0.0.0 for none" in result.err
    told = mvdpctl("set", MAC, "--address", "10.20.0.31", "--gateway", "192.168.10.1", "--yes", *SEARCHING)
    assert "give another with --gateway" not in told.err
    assert Command.SET_ADDRESS not in fake.commands()


def test_panel_that_goes_on_as_before_is_not_taken_for_deaf(fake, mvdpctl):
    fake.on_set = fakepanel.SILENT
    result = mvdpctl("set", MAC, "--address", "192.168.11.31", "--gateway", "0.0.0.0", "--yes", "--force", "--timeout",
                     "0.5", "--rounds", "6")
    assert result.code == NO_ANSWER
    assert "Address      192.168.10.5" in result.lines
    assert result.err.count("heard only by computers") == 1
    assert "See with 'mvdpctl discover' which settings it has now" in result.err


def test_two_devices_of_one_mac_are_not_set(fake, mvdpctl):
    fake.panels.append(Identity(address=OTHER_ADDRESS, source=OTHER_ADDRESS))
    result = mvdpctl("set", MAC, "--address", "192.168.10.7", "--yes", *SEARCHING)
    assert result.code == USAGE
    assert "two devices may share this MAC address" in result.err
    assert Command.SET_ADDRESS not in fake.commands()


@pytest.mark.parametrize("answer, code", [(b"y\n", DONE), (b"yes\n", DONE), (b"n\n", USAGE), (b"\n", USAGE),
                                          (b"\x04", USAGE)])
def test_set_asks_on_a_terminal(wire, fake, answer, code):
    terminal = Terminal(wire[1], "set", MAC, "--address", "192.168.10.7", *SEARCHING)
    terminal.read_until(b"[y/N] ")
    assert Command.SET_ADDRESS not in fake.commands()
    terminal.type(answer)
    ended, lines = terminal.finish()
    assert ended == code
    assert " ".join(lines).startswith(
        f"192.168.10.7 was asked for by ARP: nobody answered. Change {MAC} (192.168.10.5, QM316-44LRNA) from "
        "192.168.10.5/24,   gateway 192.168.10.1 to 192.168.10.7/24,")
    assert (Command.SET_ADDRESS in fake.commands()) == (code == DONE)


def test_link_that_goes_after_the_answer_is_no_refusal(wire, fake, mvdpctl):
    def answer_and_go(panel, answer, source, sender):
        panel.send_answer(answer, source, sender)
        if answer[6] == Command.SET_ADDRESS:
            wire[1].ip("link set eth0 down")
    fake.deliver = answer_and_go
    try:
        result = mvdpctl("set", MAC, *NEW, "--yes", "--json", "--timeout", "0.5", "--rounds", "4")
    finally:
        wire[1].ip("link set eth0 up")
        wire[1].wait_running("eth0")
    assert (result.code, result.json["result"]) == (NO_ANSWER, "unverified")


def test_panel_without_a_mac_address_is_not_taken_for_another(fake, mvdpctl):
    """Two that do not know themselves: one has the settings already that the other is to get, and does not take."""
    fake.panels = [Identity(mac=NO_MAC, source=PANEL_ADDRESS),
                   Identity(mac=NO_MAC, address=OTHER_ADDRESS, source=OTHER_ADDRESS)]
    fake.on_set = fakepanel.IGNORE
    result = mvdpctl("set", OTHER_ADDRESS, "--address", PANEL_ADDRESS, "--force", "--yes", *HASTY)
    assert result.code not in (DONE, USAGE)
    assert "now has" not in result.out


def test_address_of_a_panel_that_does_not_know_itself_is_held(fake, mvdpctl):
    fake.panels = [Identity(mac=MAC, address="192.168.10.11"),
                   Identity(mac=NO_MAC, address="0.0.0.0", netmask="0.0.0.0", gateway="0.0.0.0",
                            source=OTHER_ADDRESS)]
    result = mvdpctl("set", MAC, "--address", OTHER_ADDRESS, "--yes", *SEARCHING)
    assert result.code == USAGE
    assert f"The address {OTHER_ADDRESS} is held by the panel {NO_MAC}" in result.err
    assert all(request[6] != Command.SET_ADDRESS for request in fake.requests)


# raw

def test_raw_sends_what_it_is_told(fake, mvdpctl):
    assert mvdpctl("raw", "4", "--mac", MAC, "--hex", "7:a5", "--hex", "255:ff", "--to", PANEL_ADDRESS).code == DONE
    expected = bytearray(mvdp.request(Command.IDENTIFY, mac=MAC, tag=0xA5))
    expected[255] = 0xFF
    assert fake.requests == [bytes(expected)]
    assert fake.destinations == [PANEL_ADDRESS]


def test_raw_goes_out_once_by_broadcast(fake, mvdpctl):
    assert mvdpctl("raw", "7", "--mac", MAC, "--length", "30").code == DONE
    assert fake.requests == [mvdp.request(Command.WINK, mac=MAC)[:30]]
    assert fake.destinations == ["255.255.255.255"]


def test_refused_raw_setting_shows_in_the_exit_status(fake, mvdpctl):
    fake.on_set = fakepanel.REFUSE
    assert mvdpctl("raw", "5", "--mac", MAC, "--address", OTHER_ADDRESS, "--yes").code == REFUSED


@pytest.mark.parametrize("arguments", [["102"], ["1", "--hex", "6:66"], ["1", "--length", "6"]])
def test_destructive_commands_are_not_sent_unasked(fake, mvdpctl, arguments):
    result = mvdpctl("raw", *arguments, "--mac", MAC)
    assert (result.code, result.out) == (USAGE, "")
    assert "--yes" in result.err
    assert fake.requests == []


def test_destructive_commands_ask_on_a_terminal(wire, fake):
    terminal = Terminal(wire[1], "raw", "102", "--mac", MAC)
    terminal.read_until(b"command 102 (restart) changes the panel: send it? [y/N] ")
    assert fake.requests == []
    terminal.type(b"y\n")
    assert terminal.finish()[0] == DONE
    assert fake.commands() == [102]
