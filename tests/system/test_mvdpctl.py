"""mvdpctl finds panels: what it sends, and what it believes."""

import pathlib
import re

import pytest

import mvdp
from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, DONE, FAR_ADDRESS, HASTY, HEADINGS, LINE, MAC, MAC2, MAC3, NOBODY,
    NO_ANSWER, OTHER_ADDRESS, PANEL_ADDRESS, PATIENT, SEARCHING, TOOL_ADDRESS, TROUBLE)


# discover

@pytest.mark.parametrize("way, source, shown", [("unicast", PANEL_ADDRESS, "unicast"),
                                                ("broadcast", FAR_ADDRESS, "broadcast"),
                                                ("group", FAR_ADDRESS, "multicast")])
def test_panel_is_found_however_it_answers(fake, mvdpctl, way, source, shown):
    fake.panels = [Identity(address=source, source=source)]
    fake.way = way
    result = mvdpctl("discover", "--json", *SEARCHING)
    assert result.code == DONE
    assert [(panel["mac"], panel["source"], panel["way"]) for panel in result.json["panels"]] == [(MAC, source, shown)]


def test_requests_are_the_protocols_and_go_every_way(wire, fake, mvdpctl):
    capture = wire[0].capture("eth0")
    mvdpctl("discover", *SEARCHING)
    assert set(fake.requests) == {mvdp.request(Command.DISCOVER)}
    assert set(fake.destinations) == {"255.255.255.255", "192.168.10.255", mvdp.GROUP}
    to_group = capture.next(lambda packet: packet.destination == mvdp.GROUP, "a request to the group")
    assert (to_group.source, to_group.destination_port, to_group.ttl) == (TOOL_ADDRESS, mvdp.PORT, 16)


@pytest.mark.parametrize("of_first, of_second", [((), range(6)), ((3, 6), range(9))])
def test_panel_whose_answers_get_lost_is_found_all_the_same(fake, mvdpctl, of_first, of_second):
    """Of the second panel nothing comes through in two whole rounds of three requests each; or in three, but then an
    answer of the first is lost in two of them: a sign that the search must go on."""
    fake.panels.append(Identity(mac=MAC2, address=OTHER_ADDRESS))
    lost = {mvdp.mac_bytes(MAC): of_first, mvdp.mac_bytes(MAC2): of_second}
    answers = {mac: [] for mac in lost}

    def lose(panel, answer, source, sender):
        mac = answer[20:26]
        if len(answers[mac]) not in lost[mac]:
            panel.send_answer(answer, source, sender)
        answers[mac].append(answer)
    fake.deliver = lose
    assert [panel["mac"] for panel in mvdpctl("discover", "--json", *SEARCHING).json["panels"]] == [MAC, MAC2]


def test_address_is_asked_directly(fake, mvdpctl):
    result = mvdpctl("discover", PANEL_ADDRESS, *PATIENT)
    assert result.lines == [HEADINGS, LINE]
    assert set(fake.destinations) == {PANEL_ADDRESS}


def test_silent_address_is_named(fake, mvdpctl):
    result = mvdpctl("discover", PANEL_ADDRESS, NOBODY, *HASTY)
    assert result.code == NO_ANSWER
    assert f"mvdpctl: no panel answered at {NOBODY}\n" in result.err
    assert len(result.lines) == 2


def test_nobody_at_all_is_no_answer(wire, mvdpctl):
    assert wire
    result = mvdpctl("discover", *HASTY)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "no panel answered" in result.err
    assert "--source-port" in result.err


def test_reverse_path_filter_is_pointed_out(wire, mvdpctl):
    def set_filter(value):
        with open("/proc/sys/net/ipv4/conf/eth0/rp_filter", "w", encoding="ascii") as setting:
            setting.write(value)
    assert "rp_filter" not in mvdpctl("discover", *HASTY).err
    wire[1].call(set_filter, "1")
    try:
        assert "rp_filter is not 0 for: eth0" in mvdpctl("discover", *HASTY).err
    finally:
        wire[1].call(set_filter, "0")


def test_interface_without_address_is_pointed_out(wire, mvdpctl):
    assert "left out" not in mvdpctl("discover", *HASTY).err
    wire[1].ip("link add spare1 type veth peer name spare2", "link set spare1 up", "link set spare2 up")
    try:
        wire[1].wait_running("spare1")
        wire[1].wait_running("spare2")
        assert re.search(r"an IPv4 address were left out: spare[12], spare[12]\.", mvdpctl("discover", *HASTY).err)
        assert "left out" not in mvdpctl("discover", "--interface", "eth0", *HASTY).err
        result = mvdpctl("discover", "--interface", "spare1", *HASTY)
        assert result.code == TROUBLE
        assert "the interface 'spare1' has no IPv4 address" in result.err
        wire[1].ip("link set spare1 down")
        result = mvdpctl("discover", "--interface", "spare1", *HASTY)
        assert result.code == TROUBLE
        assert "there is no interface 'spare1' that is up" in result.err
    finally:
        wire[1].ip("link delete spare1")


@pytest.mark.parametrize("run", range(4))
def test_free_source_port_is_never_the_panels_own(wire, fake, mvdpctl, run):
    """Replies to all would reach the panels there."""
    assert fake and run < 4
    ports = pathlib.Path("/proc/sys/net/ipv4/ip_local_port_range")
    usual = wire[1].call(ports.read_text, encoding="ascii")
    wire[1].call(ports.write_text, f"{mvdp.PORT - 1} {mvdp.PORT}", encoding="ascii")
    try:
        capture = wire[0].capture("eth0")
        assert mvdpctl("discover", *SEARCHING).code == DONE
        request = capture.next(lambda packet: packet.destination_port == mvdp.PORT, "a request")
        assert request.source_port == mvdp.PORT - 1
    finally:
        wire[1].call(ports.write_text, usual, encoding="ascii")


def test_source_port_is_used_and_heard_on(wire, fake, mvdpctl):
    capture = wire[0].capture("eth0")
    fake.way = "broadcast"
    assert mvdpctl("discover", "--source-port", "40123", *SEARCHING).code == DONE
    assert capture.next(lambda packet: packet.destination_port == mvdp.PORT, "a request").source_port == 40123


# What comes from the network is not trusted

@pytest.mark.parametrize("description", [b"\x1b[2J\r\n" + LINE.encode()[:40] + b"%1 %n", bytes(range(128, 192))])
def test_description_cannot_steer_the_terminal_or_forge_a_line(fake, mvdpctl, description):
    """Each run is searched for control characters, see Result."""
    fake.panels = [Identity(description=description)]
    assert len(mvdpctl("discover", PANEL_ADDRESS, *PATIENT).lines) == 2
    assert len(mvdpctl("identify", MAC, "--verbose", *PATIENT).lines) == 7
    assert len(mvdpctl("wink", MAC, *SEARCHING).lines) == 1
    assert len(mvdpctl("wink", MAC, "--csv", *SEARCHING).lines) == 2
    fake.panels.append(Identity(mac=MAC2))
    ambiguous = mvdpctl("wink", PANEL_ADDRESS, *SEARCHING)
    assert [line[:9] for line in ambiguous.err.splitlines()] == ["mvdpctl: "] * 5


@pytest.mark.parametrize("locale, shown", [("C.UTF-8", "Prüfstand".encode()), ("C", b"Pr?fstand")])
def test_description_fits_the_locale(fake, mvdpctl, locale, shown):
    fake.panels = [Identity(description="Prüfstand".encode("latin-1"))]
    assert shown in mvdpctl("discover", PANEL_ADDRESS, *PATIENT, locale=locale, decode=False).stdout
    assert "Prüfstand".encode() in mvdpctl("discover", PANEL_ADDRESS, "--json", *PATIENT, locale=locale,
                                           decode=False).stdout


def test_false_replies_are_counted_and_ignored(fake, mvdpctl):
    false = Identity(mac=MAC3)
    fake.before = [b"", false.reply()[:255], false.reply() + b"\0", 5 * false.reply(), bytes(256),
                   false.reply(Command.IDENTIFY)]

    def forge(panel, answer, source, sender):
        panel.send(false.reply(), sender, foreign_port=True)
        panel.send_answer(answer, source, sender)
    fake.deliver = forge
    result = mvdpctl("discover", PANEL_ADDRESS, "--json", *PATIENT)
    assert [panel["mac"] for panel in result.json["panels"]] == [MAC]
    assert result.json["ignored"] == 7
    assert ("7 other datagrams were ignored: 4 of the wrong length, 2 no panel's reply, 1 answering another command.\n"
            in result.err)


def test_endless_junk_does_not_hold_the_tool(fake, mvdpctl):
    def flood(panel, _answer, _source, sender):
        while not panel.is_closing():
            panel.send(b"junk", sender)
    fake.deliver = flood
    result = mvdpctl("discover", PANEL_ADDRESS, *HASTY)
    assert result.code == NO_ANSWER
    assert "of the wrong length" in result.err


@pytest.mark.parametrize("target", [MAC.upper(), PANEL_ADDRESS, "qm316"])
def test_panel_is_found_by_its_name(fake, mvdpctl, target):
    fake.panels.append(Identity(mac=MAC2, address=OTHER_ADDRESS, description=b"other"))
    result = mvdpctl("identify", target, "--json", *SEARCHING)
    assert (result.code, result.json["mac"]) == (DONE, MAC)
    if target == PANEL_ADDRESS:  # it is asked there and nobody else is
        assert (set(fake.destinations), set(fake.commands())) == ({PANEL_ADDRESS}, {Command.DISCOVER})
    else:
        assert fake.requests[-1] == mvdp.request(Command.IDENTIFY, mac=MAC)
