"""mvdpctl finds panels: what it sends, what it believes, and what it prints."""

import pathlib
import re

import pytest

import mvdp
from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, DONE, FAR_ADDRESS, HASTY, HEADINGS, LINE, MAC, MAC2,
    MAC3, NOBODY, NO_ANSWER, NO_MAC, OTHER_ADDRESS, PANEL_ADDRESS, PANEL_COLUMNS, PANEL_MEMBERS, PATIENT,
    SEARCHING, TOOL_ADDRESS, TROUBLE)


# discover

@pytest.mark.parametrize("way, shown", [("unicast", "unicast"), ("broadcast", "broadcast"),
                                        ("group", "multicast")])
def test_panel_is_found_however_it_answers(fake, mvdpctl, way, shown):
    fake.way = way
    result = mvdpctl("discover", "--json", *SEARCHING)
    assert result.code == DONE
    assert [(panel["mac"], panel["way"]) for panel in result.json["panels"]] == [(MAC, shown)]


@pytest.mark.parametrize("way", ["broadcast", "group"])
def test_panel_of_a_foreign_subnet_is_found(fake, mvdpctl, way):
    fake.panels = [Identity(address=FAR_ADDRESS, source=FAR_ADDRESS, gateway="10.9.0.1")]
    fake.way = way
    result = mvdpctl("discover", *SEARCHING)
    assert result.code == DONE
    assert result.lines[1] == "02:00:5e:10:00:01  10.9.0.2/24 !  10.9.0.1  1.234.56.7  QM316-44LRNA"
    assert result.err == ("1 panel.\n! 1 panel is not on a subnet of the interface that hears it: this computer may "
                          "not reach it by its address.\n")


def test_table_is_as_promised(fake, mvdpctl):
    result = mvdpctl("discover", *SEARCHING)
    assert result.lines == [HEADINGS, LINE]
    assert result.err == "1 panel.\n"


def test_json_is_as_promised(fake, mvdpctl):
    assert mvdpctl("discover", "--json", *SEARCHING).json == {"panels": [{**PANEL_MEMBERS, "marks": []}], "ignored": 0}


def test_csv_is_as_promised(fake, mvdpctl):
    fake.panels.append(Identity(mac=MAC2, partition_version=0, description=b"=1+1,\"x\""))
    result = mvdpctl("discover", "--csv", *SEARCHING)
    assert result.csv == [
        {**PANEL_MEMBERS, "prefix": "24", "marks": "shared-address"},
        {**PANEL_MEMBERS, "prefix": "24", "mac": MAC2, "version": "", "description": "'=1+1,\"x\"",
         "marks": "shared-address unknown-version"}]
    assert result.columns == [*PANEL_COLUMNS, "marks"]


def test_requests_are_the_protocols_and_go_every_way(wire, fake, mvdpctl):
    capture = wire[0].capture("eth0")
    mvdpctl("discover", *SEARCHING)
    assert set(fake.requests) == {mvdp.request(Command.DISCOVER)}
    assert set(fake.destinations) == {"255.255.255.255", "192.168.10.255", mvdp.GROUP}
    to_group = capture.next(lambda packet: packet.destination == mvdp.GROUP, "a request to the group")
    assert (to_group.source, to_group.destination_port, to_group.ttl) == (TOOL_ADDRESS, mvdp.PORT, 16)


def test_duplicates_are_one_panel(fake, mvdpctl):
    fake.copies = 3
    result = mvdpctl("discover", "--json", *SEARCHING)
    assert len(result.json["panels"]) == 1
    assert result.json["ignored"] == 0


def test_panels_without_mac_address_are_told_apart(fake, mvdpctl):
    nothing = dict(mac=NO_MAC, address="0.0.0.0", netmask="0.0.0.0", gateway="0.0.0.0", partition_version=0,
                   description=b"")
    fake.panels = [Identity(**nothing, source=source) for source in (OTHER_ADDRESS, PANEL_ADDRESS)]
    result = mvdpctl("discover", *SEARCHING)
    assert result.lines[1:] == [f"{NO_MAC}  0.0.0.0/0  -        unknown  -"] * 2
    for source in (PANEL_ADDRESS, OTHER_ADDRESS):
        assert f"The panel at {source} does not know itself: its platform service is down.\n" in result.err


def test_panels_are_sorted_by_address_and_shared_addresses_noted(fake, mvdpctl):
    fake.panels = [Identity(mac=MAC3, address="192.168.10.10", source=OTHER_ADDRESS), Identity(mac=MAC2),
                   Identity(mac=MAC)]
    result = mvdpctl("discover", *SEARCHING)
    assert [line.split()[0] for line in result.lines[1:]] == [MAC, MAC2, MAC3]
    assert "* 2 panels hold the address 192.168.10.5: give each its own with 'mvdpctl set MAC'.\n" in result.err
    assert f"{MAC3} tells the address 192.168.10.10 but answered from {OTHER_ADDRESS}.\n" in result.err


def test_forty_panels_are_all_found(fake, mvdpctl):
    fake.panels = [Identity(mac=f"02:00:5e:10:01:{number:02x}", address=f"192.168.10.{100 + number}")
                   for number in range(40)]
    assert len(mvdpctl("discover", "--json", *SEARCHING).json["panels"]) == 40


def test_panel_whose_answers_get_lost_is_found_all_the_same(fake, mvdpctl):
    """Of the second panel nothing comes through in two whole rounds, in each of which it answers three requests."""
    fake.panels.append(Identity(mac=MAC2, address=OTHER_ADDRESS))
    lost = []

    def lose(panel, answer, source, sender):
        if answer[20:26] == mvdp.mac_bytes(MAC2) and len(lost) < 6:
            lost.append(answer)
        else:
            panel.send_answer(answer, source, sender)
    fake.deliver = lose
    found = [panel["mac"] for panel in mvdpctl("discover", "--json", *SEARCHING).json["panels"]]
    assert (found, len(lost)) == ([MAC, MAC2], 6)


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
    result = mvdpctl("discover", *HASTY)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "no panel answered" in result.err
    assert "--source-port" in result.err
    assert mvdpctl("discover", "--json", *HASTY).json == {"panels": [], "ignored": 0}


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

@pytest.mark.parametrize("description", [
    b"\x1b[2J\x1b[1;1H", b"a\r\n" + LINE.encode()[:50], b"\x1b]0;title\x07", b"\x9b31m\x90\x85", b"\x08" * 64,
    b"\x7f" * 64, bytes(range(1, 65)), bytes(range(128, 192))])
def test_description_cannot_steer_the_terminal_or_forge_a_line(fake, mvdpctl, description):
    fake.panels = [Identity(description=description)]
    result = mvdpctl("discover", PANEL_ADDRESS, *PATIENT)  # the reader looks for control characters
    assert result.code == DONE
    assert len(result.lines) == 2
    result = mvdpctl("identify", MAC, "--verbose", *PATIENT)
    assert len(result.lines) == 7
    assert [line.split()[0] for line in result.lines] == [
        "MAC", "Address", "Netmask", "Gateway", "Version", "Description", "Answered"]
    assert not re.search(r"[\x00-\x1f\x7f-\x9f]", mvdpctl("identify", MAC, "--json", *PATIENT).json["description"])


@pytest.mark.parametrize("locale, shown", [("C.UTF-8", "Prüfstand".encode()), ("C", b"Pr?fstand")])
def test_description_fits_the_locale(fake, mvdpctl, locale, shown):
    fake.panels = [Identity(description="Prüfstand".encode("latin-1"))]
    assert shown in mvdpctl("discover", PANEL_ADDRESS, *PATIENT, locale=locale, decode=False).stdout
    assert "Prüfstand".encode() in mvdpctl("discover", PANEL_ADDRESS, "--json", *PATIENT, locale=locale,
                                           decode=False).stdout


def changed(offset, value):
    data = bytearray(Identity(mac=MAC3, address=OTHER_ADDRESS).reply())
    data[offset] = value
    return bytes(data)


FALSE_REPLIES = {
    "empty": b"", "one byte": b"\x5e", "255 bytes": changed(0, 0x5E)[:255], "257 bytes": changed(0, 0x5E) + b"\0",
    "1400 bytes": changed(0, 0x5E) * 5, "magic": changed(3, 4), "version 3": changed(4, 3),
    "version 5": changed(4, 5), "request": changed(5, 1), "not applied": changed(5, 3), "type 0": changed(5, 0),
    "other command": changed(6, Command.IDENTIFY), "zeros": bytes(256), "ones": b"\xff" * 256}


@pytest.mark.parametrize("name", FALSE_REPLIES)
def test_false_reply_is_counted_and_ignored(fake, mvdpctl, name):
    fake.before = [FALSE_REPLIES[name]]
    result = mvdpctl("discover", PANEL_ADDRESS, "--json", *PATIENT)
    assert [panel["mac"] for panel in result.json["panels"]] == [MAC]
    assert result.json["ignored"] == 1
    assert "1 other datagram was ignored: 1 " in result.err


def test_reply_from_another_port_is_ignored(fake, mvdpctl):
    def forge(panel, answer, source, sender):
        panel.send(Identity(mac=MAC3).reply(), sender, foreign_port=True)
        panel.send_answer(answer, source, sender)
    fake.deliver = forge
    result = mvdpctl("discover", PANEL_ADDRESS, "--json", *PATIENT)
    assert [panel["mac"] for panel in result.json["panels"]] == [MAC]


def test_a_thousand_junk_datagrams_change_nothing(fake, mvdpctl):
    kinds = list(FALSE_REPLIES.values())
    fake.before = [kinds[index % len(kinds)] for index in range(1000)]
    result = mvdpctl("discover", *SEARCHING)
    assert result.code == DONE
    assert result.lines == [HEADINGS, LINE]
    assert re.search(r"\d+ other datagrams were ignored: ", result.err)


def test_endless_junk_does_not_hold_the_tool(fake, mvdpctl):
    def flood(panel, _answer, _source, sender):
        while not panel.is_closing():
            panel.send(b"junk", sender)
    fake.deliver = flood
    result = mvdpctl("discover", PANEL_ADDRESS, *HASTY)
    assert result.code == NO_ANSWER
    assert "of the wrong length" in result.err


def test_answer_of_another_panel_is_not_taken(fake, mvdpctl):
    fake.alter = lambda data: data[:20] + mvdp.mac_bytes(MAC2) + data[26:]
    result = mvdpctl("identify", MAC, *HASTY)
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "of another panel" in result.err


# identify

@pytest.mark.parametrize("target", [MAC, MAC.upper(), MAC.replace(":", "-"), MAC.replace(":", ""), PANEL_ADDRESS,
                                    "QM316-44LRNA", "qm316"])
def test_identity_is_shown(fake, mvdpctl, target):
    result = mvdpctl("identify", target, *SEARCHING)
    assert result.code == DONE
    assert result.lines == [
        "MAC address  02:00:5e:10:00:01", "Address      192.168.10.5", "Netmask      255.255.255.0",
        "Gateway      192.168.10.1", "Version      1.234.56.7", "Description  QM316-44LRNA",
        "Answered     from 192.168.10.5 by unicast on eth0"]
    assert fake.requests[-1] == mvdp.request(Command.IDENTIFY, mac=MAC)


def test_one_of_many_is_identified(fake, mvdpctl):
    fake.panels = [Identity(), Identity(mac=MAC2, description=b"second"), Identity(mac=MAC3)]
    fake.way = "broadcast"
    assert mvdpctl("identify", MAC2, "--json", *PATIENT).json["description"] == "second"


def test_unknown_mac_is_no_answer(fake, mvdpctl):
    result = mvdpctl("identify", MAC2, *HASTY)
    assert result.code == NO_ANSWER
    assert f"no panel with the MAC address {MAC2} answered" in result.err


def test_identify_can_be_sent_to_one_address(fake, mvdpctl):
    assert mvdpctl("identify", MAC, "--to", PANEL_ADDRESS, *PATIENT).code == DONE
    assert set(fake.destinations) == {PANEL_ADDRESS}


def test_identity_in_json_and_csv(fake, mvdpctl):
    assert mvdpctl("identify", MAC, "--json", *PATIENT).json == PANEL_MEMBERS
    result = mvdpctl("identify", MAC, "--csv", *PATIENT)
    assert result.csv == [{**PANEL_MEMBERS, "prefix": "24"}]
    assert result.columns == PANEL_COLUMNS
