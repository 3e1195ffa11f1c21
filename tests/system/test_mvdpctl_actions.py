"""mvdpctl acts on panels: echo, set and raw, the options, and what it ends with."""

import os
import re
import signal

import pytest

import fakepanel
import mvdp
from fakepanel import FakePanel, Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Result, Terminal, program, DONE, FAR_ADDRESS, HASTY, HEADINGS, LINE,
    MAC, MAC2, NOBODY, NO_ANSWER, NO_MAC, OTHER_ADDRESS, PANEL_ADDRESS, PANEL_COLUMNS, PANEL_MEMBERS, PATIENT, REFUSED,
    SEARCHING, TOOL_ADDRESS, TROUBLE, USAGE)
from netns import Namespace, join
from waiting import PATIENCE, wait_for


# echo

@pytest.mark.parametrize("target", [PANEL_ADDRESS, MAC, "QM316"])
def test_echoes_are_counted(fake, mvdpctl, target):
    result = mvdpctl("echo", target, "--count", "3", "--interval", "0.01", "--timeout", "60", *SEARCHING)
    assert result.code == DONE
    assert "3 sent, 3 came back, 0 lost (0 %)" in result.lines
    assert re.fullmatch(r"round trip [\d.]+ / [\d.]+ / [\d.]+ ms \(least, mean, most\)", result.lines[-1])
    echoes = [request for request in fake.requests if request[6] == Command.ECHO]
    assert len(set(echoes)) == 3
    # The panel answered the search by each of its ways; that is nothing to be reported.
    assert result.err == ""
    assert {(len(echo), echo[:7]) for echo in echoes} == {(256, mvdp.request(Command.ECHO)[:7])}


def test_altered_echo_is_found(fake, mvdpctl):
    fake.alter = lambda data: data[:200] + bytes((data[200] ^ 0x10,)) + data[201:]
    result = mvdpctl("echo", MAC, "--count", "2", "--interval", "0.01", "--json", *PATIENT)
    assert result.code == TROUBLE
    assert (result.json["sent"], result.json["answered"], result.json["altered"]) == (2, 0, 2)
    assert "sent back other bytes" in result.err


def test_altered_echoes_that_come_twice_are_not_less_than_none_lost(fake, mvdpctl):
    fake.copies = 3
    fake.alter = lambda data: data[:200] + bytes((data[200] ^ 0x10,)) + data[201:]
    result = mvdpctl("echo", MAC, "--count", "2", "--interval", "0.3", "--json", *PATIENT)
    assert result.code == TROUBLE
    assert (result.json["answered"], result.json["lost"]) == (0, 0)


def test_second_copy_of_an_echo_is_no_answer_to_another(fake, mvdpctl):
    fake.copies = 2
    result = mvdpctl("echo", MAC, "--count", "2", "--interval", "0.5", "--json", *PATIENT)
    assert result.code == DONE
    assert result.json["answered"] == 2
    assert result.json["duplicates"] >= 1


def test_lost_echoes_are_no_answer(fake, mvdpctl):
    fake.unanswered = {Command.ECHO}
    result = mvdpctl("echo", MAC, "--count", "2", "--interval", "0.01", "--timeout", "0.2", *SEARCHING)
    assert result.code == NO_ANSWER
    assert "2 sent, 0 came back, 2 lost (100 %)" in result.lines
    assert "no echo from 192.168.10.5" in result.err


def test_silence_of_a_panel_in_a_foreign_subnet_is_explained(wire, fake, mvdpctl):
    fake.panels = [Identity(address=FAR_ADDRESS, source=FAR_ADDRESS)]
    fake.way = "broadcast"
    fake.unanswered = {Command.ECHO}
    result = mvdpctl("echo", MAC, *SEARCHING)
    assert result.code == TROUBLE
    assert f"there is no route to {FAR_ADDRESS}\n" in result.err
    assert "its address, which is on no subnet of this computer" in result.err
    # Past the routing table it is reached.
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


def test_echoes_in_json_and_csv(fake, mvdpctl):
    arguments = ["echo", MAC, "--count", "2", "--interval", "0.01", *PATIENT]
    document = mvdpctl(*arguments, "--json").json
    times = {name: document.pop(name) for name in ("leastMs", "meanMs", "mostMs")}
    assert document == {
        "mac": MAC, "address": PANEL_ADDRESS, "sent": 2, "answered": 2, "lost": 0, "altered": 0, "duplicates": 0}
    assert 0 < times["leastMs"] <= times["meanMs"] <= times["mostMs"]
    result = mvdpctl(*arguments, "--csv")
    (record,) = result.csv
    assert result.columns == ["mac", "address", "sent", "answered", "lost", "altered", "duplicates", "leastMs",
                              "meanMs", "mostMs"]
    assert (record["mac"], record["sent"], record["answered"]) == (MAC, "2", "2")
    assert float(record["leastMs"]) > 0


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


@pytest.mark.parametrize("target", [MAC, PANEL_ADDRESS, "44lrna"])
def test_settings_are_applied_and_seen(fake, mvdpctl, target):
    result = mvdpctl("set", target, *NEW, "--yes", *SEARCHING)
    assert result.code == DONE
    assert result.out == f"{MAC} now has 192.168.10.7/25, gateway 192.168.10.100.\n"
    settings = [request for request in fake.requests if request[6] == Command.SET_ADDRESS]
    assert settings == [mvdp.request(Command.SET_ADDRESS, mac=MAC, address="192.168.10.7",
                                     netmask="255.255.255.128", gateway="192.168.10.100")]
    # What the panel said is believed only when a fresh search finds it so.
    assert fake.commands()[-1] == Command.DISCOVER


def test_only_the_given_setting_changes(fake, mvdpctl):
    assert mvdpctl("set", MAC, "--address", "192.168.10.7", "--yes", *SEARCHING).code == DONE
    assert fake.panels == [Identity(address="192.168.10.7")]


@pytest.mark.parametrize("on_set, code, name, said", [
    (fakepanel.REFUSE, REFUSED, "refused", "could not apply 192.168.10.7/25"),
    (fakepanel.IGNORE, REFUSED, "unchanged", "accepted 192.168.10.7/25, gateway 192.168.10.100 but still shows"),
    (fakepanel.VANISH, NO_ANSWER, "unverified", "but was not heard again"),
    (fakepanel.SILENT, NO_ANSWER, "no answer", "did not answer")])
def test_settings_that_do_not_take_are_told_plainly(fake, mvdpctl, on_set, code, name, said):
    fake.on_set = on_set
    result = mvdpctl("set", MAC, *NEW, "--yes", "--json", "--timeout", "1", "--rounds", "4")
    assert result.code == code
    assert result.json == {"mac": MAC, "result": name, "wantedAddress": "192.168.10.7",
                           "wantedNetmask": "255.255.255.128", "wantedGateway": "192.168.10.100",
                           "panel": PANEL_MEMBERS}
    assert said in result.err


def test_outcome_in_csv(fake, mvdpctl):
    result = mvdpctl("set", MAC, "--address", "192.168.10.7", "--yes", "--csv", *SEARCHING)
    assert result.csv == [{**PANEL_MEMBERS, "address": "192.168.10.7", "prefix": "24", "result": "applied",
                           "source": "192.168.10.7", "wantedAddress": "192.168.10.7", "wantedNetmask": "255.255.255.0",
                           "wantedGateway": "192.168.10.1"}]
    assert result.columns == ["mac", "result", "wantedAddress", "wantedNetmask", "wantedGateway", *PANEL_COLUMNS[1:]]


def test_failed_setting_shows_what_the_panel_has(fake, mvdpctl):
    fake.on_set = fakepanel.IGNORE
    result = mvdpctl("set", MAC, *NEW, "--yes", "--timeout", "0.5", "--rounds", "6")
    assert result.code == REFUSED
    assert "Address      192.168.10.5" in result.lines
    assert "It may need a restart" in result.err


def test_settings_that_are_there_already_are_not_sent(fake, mvdpctl):
    result = mvdpctl("set", MAC, "--address", PANEL_ADDRESS, "--yes", *SEARCHING)
    assert (result.code, result.out) == (DONE, f"{MAC} already has 192.168.10.5/24, gateway 192.168.10.1.\n")
    assert Command.SET_ADDRESS not in fake.commands()
    assert mvdpctl("set", MAC, "--address", PANEL_ADDRESS, "--yes", "--force", *SEARCHING).code == DONE
    assert Command.SET_ADDRESS in fake.commands()


@pytest.mark.parametrize("on_set, name", [(fakepanel.REFUSE_BUT_TELL, "refused"), (fakepanel.TELL_ONLY, "elsewhere"),
                                          (fakepanel.TELL_SILENTLY, "elsewhere")])
@pytest.mark.parametrize("way, new", [
    ("unicast", NEW), ("group", ["--address", "10.20.0.31", "--gateway", "10.20.0.1"])], ids=["near", "far"])
def test_settings_that_are_only_told_are_not_in_force(fake, mvdpctl, on_set, name, way, new):
    fake.on_set = on_set
    fake.way = way
    for attempt in range(2):
        result = mvdpctl("set", MAC, *new, "--yes", "--json", "--timeout", "0.5", "--rounds", "4")
        assert (result.code, result.json["result"]) == (REFUSED, name)
        assert (result.json["panel"]["address"], result.json["panel"]["source"]) == (new[1], PANEL_ADDRESS)
        warning = f"mvdpctl: {MAC} tells the address {new[1]} but answered from {PANEL_ADDRESS}: "
        assert (warning in result.err) == (attempt > 0)
    # Once it can, it is told them again.
    fake.on_set = fakepanel.APPLY
    fake.panels[0].source = ""
    fake.panels[0].address = PANEL_ADDRESS
    assert mvdpctl("set", MAC, *new, "--yes", *SEARCHING).code == DONE


def test_panel_that_is_elsewhere_is_told_plainly(fake, mvdpctl):
    fake.on_set = fakepanel.TELL_ONLY
    result = mvdpctl("set", MAC, "--address", "192.168.10.7", "--yes", "--timeout", "0.5", "--rounds", "6")
    assert result.code == REFUSED
    assert "Answered     from 192.168.10.5 by unicast on eth0" in result.lines
    assert (f"mvdpctl: {MAC} tells 192.168.10.7/24, gateway 192.168.10.1 but answers from another address\n"
            in result.err)
    assert "now has" not in result.out


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
    # One way at a time, so that no request is carried out thrice.
    sent_to = [destination for destination, command in zip(fake.destinations, fake.commands())
               if command == Command.SET_ADDRESS]
    assert sent_to == ["255.255.255.255", mvdp.GROUP, PANEL_ADDRESS]


@pytest.mark.parametrize("settings, objection", [
    (["--netmask", "255.0.255.0"], "has holes"),
    (["--address", "192.168.10.0"], "the network's own address"),
    (["--address", "192.168.10.255"], "the broadcast address"),
    (["--address", "127.0.0.1"], "a loopback address"),
    (["--address", "224.0.5.128"], "a multicast address"),
    (["--gateway", "10.0.0.1"], "outside the subnet"),
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


@pytest.mark.parametrize("settings", [["--address", "192.168.11.31", "--gateway", "0.0.0.0"],
                                      ["--netmask", "30", "--gateway", "0.0.0.0"]], ids=["address", "netmask"])
def test_settings_that_make_a_panel_deaf_are_sent_by_force_only(fake, mvdpctl, settings):
    refused = mvdpctl("set", MAC, *settings, "--yes", *SEARCHING)
    assert refused.code == USAGE
    assert re.search(r"^mvdpctl: Without a gateway the panel is heard only by computers with an address in [\d./]+, "
                     r"and this one has none on eth0\.$", refused.err, re.MULTILINE)
    assert "Give it a gateway with --gateway. --force sends" in refused.err
    assert Command.SET_ADDRESS not in fake.commands()
    assert mvdpctl("set", MAC, *settings, "--yes", "--force", *SEARCHING).code == DONE


@pytest.mark.parametrize("on_set", [fakepanel.VANISH, fakepanel.VANISH_SILENTLY])
def test_silence_of_a_panel_without_a_gateway_is_explained(fake, mvdpctl, on_set):
    fake.on_set = on_set
    result = mvdpctl("set", MAC, "--address", "192.168.11.31", "--gateway", "0.0.0.0", "--yes", "--force", "--timeout",
                     "0.5", "--rounds", "6")
    assert result.code == NO_ANSWER
    assert ("heard only by computers with an address in 192.168.11.0/24: give this one such an address on eth0"
            in result.err)
    assert result.lines == []


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


def test_setting_an_absent_panel_is_no_answer(fake, mvdpctl):
    result = mvdpctl("set", MAC2, *NEW, "--yes", *SEARCHING)
    assert result.code == NO_ANSWER
    assert f"no panel with the MAC address {MAC2} answered" in result.err
    assert f"{MAC} (192.168.10.5, QM316-44LRNA)" in result.err
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
        f"Change {MAC} (192.168.10.5, QM316-44LRNA) from 192.168.10.5/24,   gateway 192.168.10.1 to 192.168.10.7/24,")
    assert (Command.SET_ADDRESS in fake.commands()) == (code == DONE)


# raw

def test_raw_shows_the_reply_byte_by_byte(fake, mvdpctl):
    result = mvdpctl("raw", "4", "--mac", MAC, "--hex", "7:a5", "--hex", "255:ff", "--to", PANEL_ADDRESS)
    assert result.code == DONE
    expected = bytearray(mvdp.request(Command.IDENTIFY, mac=MAC, tag=0xA5))
    expected[255] = 0xFF
    assert fake.requests == [bytes(expected)]
    assert result.lines[0] == "Reply from 192.168.10.5 by unicast on eth0"
    assert "    0  5e 13 06 03 04 02 04 00 05 0a a8 c0 00 ff ff ff" in result.lines
    assert "  description 'QM316-44LRNA'" in result.lines


def test_raw_json_has_the_bytes(fake, mvdpctl):
    replies = mvdpctl("raw", "1", "--json").json["replies"]
    assert [reply["bytes"] for reply in replies] == [Identity().reply().hex()]
    assert (replies[0]["command"], replies[0]["type"], replies[0]["mac"]) == (1, 2, MAC)


def test_raw_csv_has_the_bytes(fake, mvdpctl):
    result = mvdpctl("raw", "1", "--csv")
    assert result.csv == [{**PANEL_MEMBERS, "prefix": "24", "command": "1", "type": "2",
                           "bytes": Identity().reply().hex()}]
    assert result.columns == ["command", "type", "bytes", *PANEL_COLUMNS]


def test_raw_goes_out_once_by_broadcast(fake, mvdpctl):
    assert mvdpctl("raw", "7", "--mac", MAC).code == DONE
    assert fake.requests == [mvdp.request(Command.WINK, mac=MAC)]
    assert fake.destinations == ["255.255.255.255"]


def test_raw_can_be_cut_short(fake, mvdpctl):
    assert mvdpctl("raw", "1", "--length", "20").code == DONE
    assert fake.requests == [mvdp.request(Command.DISCOVER)[:20]]


@pytest.mark.parametrize("command", [Command.RESET_NETWORK, Command.RESTORE])
def test_reset_is_answered_by_the_request_itself(fake, mvdpctl, command):
    result = mvdpctl("raw", str(int(command)), "--mac", MAC, "--yes", "--json")
    assert result.code == DONE
    request = mvdp.request(command, mac=MAC)
    assert [reply["bytes"] for reply in result.json["replies"]] == [(request[:5] + b"\2" + request[6:]).hex()]


def test_refused_raw_setting_shows_in_the_exit_status(fake, mvdpctl):
    fake.on_set = fakepanel.REFUSE
    assert mvdpctl("raw", "5", "--mac", MAC, "--address", OTHER_ADDRESS, "--yes").code == REFUSED


@pytest.mark.parametrize("arguments", [["5"], ["6"], ["14"], ["15"], ["102"], ["1", "--hex", "6:66"],
                                       ["1", "--length", "6"]])
def test_destructive_commands_are_not_sent_unasked(fake, mvdpctl, arguments):
    result = mvdpctl("raw", *arguments, "--mac", MAC)
    assert (result.code, result.out) == (USAGE, "")
    assert "--yes" in result.err
    assert fake.requests == []


@pytest.mark.parametrize("answer, code, commands", [(b"y\n", DONE, [102]), (b"n\n", USAGE, []),
                                                    (b"\n", USAGE, [])])
def test_destructive_commands_ask_on_a_terminal(wire, fake, answer, code, commands):
    terminal = Terminal(wire[1], "raw", "102", "--mac", MAC)
    terminal.read_until(b"[y/N] ")
    assert b"command 102 (restart) changes the panel" in terminal.bytes
    assert fake.requests == []
    terminal.type(answer)
    assert terminal.finish()[0] == code
    assert fake.commands() == commands


# Options, usage and exit codes

@pytest.mark.parametrize("arguments", [
    [], ["disco"], ["discover", "--colour"], ["discover", "192.168.10"], ["discover", "--rounds", "0"],
    ["discover", "--timeout", "-1"], ["discover", "--source-port", "65536"], ["discover", "--interface", ""],
    ["discover", "--json", "--csv"], ["watch", MAC],
    ["identify"], ["identify", ""], ["identify", MAC, MAC2], ["identify", PANEL_ADDRESS, "--to", NOBODY],
    ["echo"], ["echo", "224.0.5.128"], ["echo", "192.168.10.255"], ["echo", PANEL_ADDRESS, "--count", "0"],
    ["set"], ["set", "--yes"], ["set", MAC, "--yes"], ["set", " ", *NEW, "--yes"],
    ["set", MAC, "--address", "x", "--yes"], ["set", MAC, "--netmask", "33", "--yes"], ["set", MAC, *NEW],
    ["set", "--from", "/nonexistent.csv", "--yes"], ["set", "--from", "x.csv", MAC, "--yes"],
    ["set", "--from", "x.csv", "--netmask", "24", "--yes"],
    ["wink"], ["wink", "", "--yes"], ["restart", MAC], ["reset-network", MAC], ["restore-defaults", MAC],
    ["restore-defaults", MAC, "--marker", "both", "--yes"], ["raw"], ["raw", "256"], ["raw", "-1"], ["raw", "one"],
    ["raw", "1", "--hex", "5"], ["raw", "1", "--hex", "xx"], ["raw", "1", "--hex", "255:0102"],
    ["raw", "1", "--hex", "-1:01"], ["raw", "1", "--hex", ""], ["raw", "1", "--length", "0"]])
def test_usage_errors_send_nothing(fake, mvdpctl, arguments):
    result = mvdpctl(*arguments)
    assert (result.code, result.out) == (USAGE, "")
    assert result.err.count("mvdpctl: ") >= 2, "no advice"
    assert fake.requests == []


@pytest.mark.parametrize("command", ["discover", "watch", "identify", "echo", "set", "wink", "restart",
                                     "reset-network", "restore-defaults", "raw"])
def test_help_of_each_command(mvdpctl, command):
    result = mvdpctl(command, "--help")
    assert (result.code, result.err) == (DONE, "")
    assert result.lines[0].startswith(f"Usage: mvdpctl {command} ")
    assert "  --csv " in result.out


@pytest.mark.parametrize("first", ["help", "--help", "-h"])
def test_help_of_a_named_command(mvdpctl, first):
    assert mvdpctl(first, "set").out == mvdpctl("set", "--help").out
    assert mvdpctl(first, "nothing").code == USAGE


def test_requests_of_its_own_are_not_heard_on_the_panels_port(wire, mvdpctl):
    assert wire
    result = mvdpctl("raw", "2", "--source-port", str(mvdp.PORT), "--timeout", "0.3")
    assert (result.code, result.out) == (NO_ANSWER, "")


def test_general_help_and_version(mvdpctl):
    assert mvdpctl("--help").lines[0] == "Usage: mvdpctl COMMAND [ARGUMENTS] [OPTIONS]"
    assert re.fullmatch(r"mvdpctl [\d.]+\n", mvdpctl("--version").out)


def test_missing_interface_is_network_trouble(mvdpctl):
    result = mvdpctl("discover", "--interface", "eth9")
    assert result.code == TROUBLE
    assert "Choose one of: lo, eth0." in result.err


def test_taken_source_port_is_network_trouble(wire, mvdpctl):
    taken = wire[1].udp_socket("", 40124)
    result = mvdpctl("discover", "--source-port", "40124")
    taken.close()
    assert result.code == TROUBLE
    assert "UDP port 40124 cannot be used" in result.err


def test_unreachable_address_is_network_trouble(mvdpctl):
    result = mvdpctl("discover", "203.0.113.1", *HASTY)
    assert result.code == TROUBLE
    assert "nothing can be sent to 203.0.113.1: there is no route to it" in result.err


def two_cables(request, *subnets):
    """A tool with two cables, a panel at the end of each."""
    tool = Namespace("tool")
    request.addfinalizer(tool.close)
    panels = []
    for number, (mac, subnet) in enumerate(zip((MAC, MAC2), subnets), start=1):
        far = Namespace(f"panel {number}")
        request.addfinalizer(far.close)
        join(far, "eth0", tool, f"eth{number}")
        far.address("eth0", f"{subnet}.{4 + number}/24")
        tool.address(f"eth{number}", f"{subnet}.1/24")
        panels.append(FakePanel(far, "eth0", Identity(mac=mac, address=f"{subnet}.{4 + number}")))
        request.addfinalizer(panels[-1].close)
    return tool, panels


def test_group_is_heard_on_interfaces_of_one_address(request):
    tool, panels = two_cables(request, "192.168.1", "192.168.1")
    for panel in panels:
        panel.way = "group"
    for options, macs in (([], [MAC, MAC2]), (["--interface", "eth1"], [MAC]), (["--interface", "eth2"], [MAC2])):
        result = Result(tool.run([program(), "discover", "--json", *options, *SEARCHING], capture_output=True))
        assert [panel["mac"] for panel in result.json["panels"]] == macs


def test_only_the_chosen_interface_is_used(request):
    tool, panels = two_cables(request, "192.168.1", "192.168.2")

    def found(*options):
        result = Result(tool.run([program(), "discover", "--json", *options, *SEARCHING], capture_output=True))
        return [(panel["mac"], panel["interface"]) for panel in result.json["panels"]]

    assert found() == [(MAC, "eth1"), (MAC2, "eth2")]
    for panel in panels:
        panel.requests.clear()
    assert found("--interface", "eth2") == [(MAC2, "eth2")]
    assert panels[0].requests == []


def test_address_of_another_cable_is_objected_to(request, tmp_path):
    tool, panels = two_cables(request, "192.168.1", "192.168.2")
    plan = tmp_path / "plan.csv"
    plan.write_text(f"mac,address,gateway\n{MAC2},192.168.1.66,192.168.1.1\n")
    objection = "The address 192.168.1.66 is in the subnet of eth1, but the panel is connected to eth2.\n"
    for words in (["set", "--from", plan], ["set", MAC2, "--address", "192.168.1.66", "--gateway", "192.168.1.1"],
                  ["set", "--interface", "eth2", "--from", plan]):
        result = Result(tool.run([program(), *words, "--yes", *SEARCHING], capture_output=True))
        assert (result.code, result.out) == (USAGE, "")
        assert objection in result.err
    assert Command.SET_ADDRESS not in panels[1].commands()
    forced = Result(tool.run([program(), "set", "--from", plan, "--yes", "--force", *SEARCHING], capture_output=True))
    assert forced.code == DONE
    assert f"warning: line 2, {MAC2}: {objection}" in forced.err


def test_panel_on_both_cables_may_have_an_address_of_either(request):
    tool, panels = two_cables(request, "192.168.1", "192.168.2")
    panels[1].panels = panels[0].panels
    for subnet in ("192.168.2", "192.168.1"):
        result = Result(tool.run([program(), "set", MAC, "--address", f"{subnet}.66", "--gateway", f"{subnet}.1",
                                  "--yes", *SEARCHING], capture_output=True))
        assert (result.code, result.err) == (DONE, "")


def test_computer_without_an_address_is_told_so(request):
    tool, _ = two_cables(request, "192.168.1", "192.168.2")
    for interface in ("eth1", "eth2"):
        tool.ip(f"address flush dev {interface}")
    result = Result(tool.run([program(), "discover"], capture_output=True))
    assert (result.code, result.out) == (TROUBLE, "")
    assert "no network interface has an IPv4 address\n" in result.err
    assert "Give one to eth1 or eth2" in result.err


def test_port_stays_although_a_datagram_cannot_be_sent(fake, mvdpctl):
    ports = []
    fake.deliver = lambda panel, answer, source, sender: ports.append(sender[1])
    result = mvdpctl("discover", PANEL_ADDRESS, "203.0.113.1", "--source-port", "40125", "--rounds", "4", "--timeout",
                     "0.2")
    assert result.code == NO_ANSWER
    assert ports == [40125] * 4


def test_proxy_of_the_environment_is_not_for_panels(wire, fake):
    assert fake
    proxy = "socks5://127.0.0.1:1"
    completed = wire[1].run([program(), "discover", *SEARCHING], capture_output=True, timeout=4 * PATIENCE,
                            env={**os.environ, "all_proxy": proxy, "http_proxy": proxy, "https_proxy": proxy})
    assert (completed.returncode, completed.stdout.decode().splitlines()) == (DONE, [HEADINGS, LINE])


def test_full_send_buffer_is_waited_for(fake, mvdpctl):
    """Datagrams to addresses that nobody holds lie there until the kernel gives up to look for them."""
    assert fake
    everybody = [f"192.168.10.{last}" for last in range(2, 255)]
    result = mvdpctl("discover", *everybody, "--rounds", "1")
    assert result.code == NO_ANSWER
    assert LINE in result.lines
    assert "nothing can be sent" not in result.err


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


def test_quiet_leaves_the_result_alone(fake, mvdpctl):
    fake.before = [b"junk"]
    result = mvdpctl("discover", "--quiet", *SEARCHING)
    assert (result.lines, result.err) == ([HEADINGS, LINE], "")


def test_verbose_shows_each_datagram(fake, mvdpctl):
    result = mvdpctl("identify", MAC, "--to", PANEL_ADDRESS, "--verbose", *PATIENT)
    assert "> to 192.168.10.5:58553, 256 bytes\n" in result.err
    assert "< from 192.168.10.5:58553 on eth0 by unicast, 256 bytes\n" in result.err
    assert "  address 192.168.10.5, netmask 255.255.255.0, gateway 192.168.10.1\n" in result.err
    assert "   16  01 0a a8 c0 02 00 5e 10 00 01 58 02 0f 27 8d 01\n" in result.err


@pytest.mark.parametrize("words", [["identify", PANEL_ADDRESS], ["identify", "QM316"], ["identify", MAC],
                                   ["set", PANEL_ADDRESS, "--address", "192.168.10.7", "--yes"],
                                   ["echo", MAC, "--count", "1"], ["wink", PANEL_ADDRESS]],
                         ids=" ".join)
def test_verbose_shows_the_datagrams_of_the_panel_alone(fake, mvdpctl, words):
    fake.panels += [Identity(mac=f"02:00:5e:10:01:{number:02x}", address=f"192.168.10.{100 + number}",
                             description=b"other") for number in range(20)]
    fake.before = [b"junk"]
    result = mvdpctl(*words, "--verbose", *SEARCHING)
    assert result.code == DONE
    assert "\n> to 255.255.255.255:58553 on eth0, 256 bytes\n" in "\n" + result.err
    blocks = re.split(r"^(?=[<>] )", result.err, flags=re.MULTILINE)
    received = [block for block in blocks if block.startswith("< ")]
    assert received
    assert all(f"MAC address {MAC}\n" in block or "(echo)" in block or " 4 bytes" in block for block in received)
    assert "of another panel" not in "".join(received)
    # All the same they are counted.
    assert "1 of the wrong length" in result.err


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


@pytest.mark.parametrize("arguments", [["--json"], ["--csv"], []])
def test_result_that_cannot_be_written_is_trouble(wire, fake, arguments):
    assert fake
    completed = wire[1].run(["sh", "-c", '"$0" discover "$@" >/dev/full', program(), *arguments, *SEARCHING],
                            capture_output=True, timeout=4 * PATIENCE)
    assert completed.returncode == TROUBLE
    assert b"mvdpctl: the result could not be written\n" in completed.stderr


@pytest.mark.parametrize("arguments", [["set", MAC, "--address", "192.168.10.7", "--address", "192.168.10.8"],
                                       ["discover", "--interface", "eth0", "--interface", "eth9"]])
def test_option_that_is_there_twice_is_refused(fake, mvdpctl, arguments):
    result = mvdpctl(*arguments, "--yes")
    assert result.code == USAGE
    assert "is there more than once" in result.err
    assert fake.requests == []
