"""The Wireshark dissector on the capture that make_capture.py writes: every field, text and remark."""

import json

import pytest

import make_capture
import tshark
from make_capture import CAPTURE
from tshark import FIELDS, REMARKS

INFO, PROTOCOL, REMARK = "_ws.col.Info", "_ws.col.Protocol", "_ws.expert.message"
NUMBERS = {frame.name: number for number, frame in enumerate(make_capture.FRAMES, start=1)}

ZEROS = "00"
REQUEST = {"request": "1", "magic": "5e130603", "version": "2", "type": "1", "tag": "0x00"}
REPLY = {"reply": "1", "magic": "5e130603", "version": "4", "type": "2", "tag": "0x00",
         "response_time": "0.002500000"}
IDENTITY = {"address": "192.168.10.5", "netmask": "255.255.255.0", "gateway": "192.168.10.1",
            "mac": "00:1a:2b:3c:4d:5e", "identity": "58020f278d01", "identity.1": "600", "identity.2": "9999",
            "identity.3": "397", "reserved32": "0000", "partition": "0x01ea3807", "partition.ww": "1",
            "partition.xxx": "234", "partition.yy": "56", "partition.z": "7", "reserved38": "0000",
            "fixed": "131072", "description": "QM413-JD562", "reserved108": ZEROS * 32, "reserved140": ZEROS * 116}
MAC = {"mac": "00:1a:2b:3c:4d:5e"}
BUT_MAC_UNUSED = {"unused": ZEROS * 12 + "|" + ZEROS * 230, **MAC}
AT_9 = {"address": "192.168.10.9", "netmask": "255.255.255.0", "gateway": "192.168.10.1"}


@pytest.fixture(name="frames", scope="module")
def fixture_frames():
    """For each frame's name what tshark makes of it; the names of the fields without "mvdp."."""
    # Two passes, so that a request knows its response.
    names = [f"mvdp.{name}" for name in FIELDS] + [INFO, PROTOCOL, REMARK, "frame.protocols"]
    found = tshark.fields(CAPTURE, names, "-2")
    assert len(found) == len(make_capture.FRAMES)
    return {name: {field.removeprefix("mvdp."): value for field, value in found[number - 1].items()}
            for name, number in NUMBERS.items()}


def own_fields(frame):
    return {name: value for name, value in frame.items() if name in FIELDS}


def frame_number(name):
    return str(NUMBERS[name])


def test_the_capture_can_be_made_again(tmp_path):
    make_capture.write_capture(tmp_path / "again.pcap")
    assert (tmp_path / "again.pcap").read_bytes() == CAPTURE.read_bytes()


def test_filter_names_stay():
    expected = ["mvdp"] + [f"mvdp.{name}" for name in FIELDS] + [f"mvdp.expert.{name}" for name in REMARKS]
    assert sorted(tshark.field_types()) == sorted(expected)


@pytest.mark.parametrize("name, expected", [
    ("discover by broadcast", {**REQUEST, "command": "1", "unused": ZEROS * 248}),
    ("discover reply", {**REPLY, **IDENTITY, "command": "1"}),
    ("discover reply of another panel",
     {**REPLY, **IDENTITY, "command": "1", "address": "192.168.10.6", "mac": "00:1a:2b:3c:4d:5f",
      "description": "Küche 7", "response_time": "0.005000000"}),
    ("discover by directed broadcast", {**REQUEST, "command": "1", "tag": "0x22", "unused": ZEROS * 248}),
    ("reply to directed broadcast", {**REPLY, **IDENTITY, "command": "1", "tag": "0x22"}),
    ("discover by group", {**REQUEST, "version": "3", "command": "1", "tag": "0x33", "unused": ZEROS * 248}),
    ("reply by group", {**REPLY, **IDENTITY, "command": "1", "tag": "0x33"}),
    ("identify", {**REQUEST, "command": "4", **BUT_MAC_UNUSED}),
    ("identify reply", {**REPLY, **IDENTITY, "command": "4"}),
    ("wink", {**REQUEST, "command": "7", "tag": "0x01", **BUT_MAC_UNUSED}),
    ("wink reply", {**REPLY, **IDENTITY, "command": "7", "tag": "0x01"}),
    ("set address", {**REQUEST, "command": "5", "tag": "0x53", **AT_9, **MAC, "unused": ZEROS * 230}),
    ("set address reply", {**REPLY, **IDENTITY, **AT_9, "command": "5", "tag": "0x53"}),
    ("set address refused", {**REQUEST, "command": "5", "tag": "0x51", "address": "10.0.0.7", **MAC,
                             "netmask": "255.0.255.0", "gateway": "0.0.0.0", "unused": ZEROS * 230}),
    ("not applied", {**REPLY, **IDENTITY, "type": "3", "command": "5", "tag": "0x51"}),
    ("restore relative", {**REQUEST, "command": "6", **BUT_MAC_UNUSED}),
    ("restore relative reply", {**REPLY, **IDENTITY, "command": "6"}),
    ("restart", {**REQUEST, "command": "102", **BUT_MAC_UNUSED}),
    ("restart reply", {**REPLY, **IDENTITY, "command": "102"}),
    ("echo", {**REQUEST, "command": "2", "tag": "0x77", "payload": bytes(range(8, 256)).hex()}),
    ("echo reply", {**REPLY, "version": "2", "type": "1", "command": "2", "tag": "0x77",
                    "payload": bytes(range(8, 256)).hex()}),
    ("reset network", {**REQUEST, "command": "14", **BUT_MAC_UNUSED}),
    ("reset network reply", {**REPLY, "version": "2", "command": "14", **BUT_MAC_UNUSED}),
    ("restore", {**REQUEST, "version": "7", "command": "15", **BUT_MAC_UNUSED}),
    ("restore reply", {**REPLY, "version": "7", "command": "15", **BUT_MAC_UNUSED}),
])
def test_every_field_of_a_good_datagram(frames, name, expected):
    found = own_fields(frames[name])
    found.pop("response_in", None)
    found.pop("request_in", None)
    assert found == expected
    assert frames[name][PROTOCOL] == "MVDP"


def test_an_unknown_version_and_an_empty_description(frames):
    found = own_fields(frames["reply by broadcast"])
    assert found["partition"] == "0x00000000"
    assert not {"partition.ww", "description"} & found.keys()


def test_what_was_cut_off_is_shown_as_cut(frames):
    found = own_fields(frames["short reply"])
    assert (found["reserved32"], found["cut"]) == ("0000", "0738")
    assert not {"partition", "reserved38", "fixed", "description", "reserved108", "excess"} & found.keys()
    assert own_fields(frames["restore without whole MAC"])["cut"] == "001a"


def test_bytes_beyond_256_are_shown_apart(frames):
    assert frames["long request"]["unused"] == ZEROS * 248
    assert frames["long request"]["excess"] == ZEROS * 44
    assert frames["long reply"]["excess"] == "aa"


@pytest.mark.parametrize("name, expected", [
    ("discover by broadcast", "Discover request"),
    ("discover reply", "Discover reply 192.168.10.5 00:1a:2b:3c:4d:5e QM413-JD562"),
    ("discover reply of another panel", "Discover reply 192.168.10.6 00:1a:2b:3c:4d:5f Küche 7"),
    ("reply by broadcast", "Discover reply 192.168.10.6 00:1a:2b:3c:4d:5f"),
    ("identify", "Identify request 00:1a:2b:3c:4d:5e"),
    ("identify reply", "Identify reply 192.168.10.5 00:1a:2b:3c:4d:5e QM413-JD562"),
    ("wink", "Wink request 00:1a:2b:3c:4d:5e"),
    ("wink reply", "Wink reply 192.168.10.5 00:1a:2b:3c:4d:5e QM413-JD562"),
    ("set address",
     "Set address request 00:1a:2b:3c:4d:5e to 192.168.10.9/24 gateway 192.168.10.1"),
    ("set address reply", "Set address reply 192.168.10.9 00:1a:2b:3c:4d:5e QM413-JD562"),
    ("set address refused",
     "Set address request 00:1a:2b:3c:4d:5e to 10.0.0.7 netmask 255.0.255.0 gateway 0.0.0.0"),
    ("not applied", "Set address reply NOT APPLIED 192.168.10.5 00:1a:2b:3c:4d:5e QM413-JD562"),
    ("restore relative", "Restore defaults (relative marker) request 00:1a:2b:3c:4d:5e"),
    ("restore relative reply",
     "Restore defaults (relative marker) reply 192.168.10.5 00:1a:2b:3c:4d:5e QM413-JD562"),
    ("restart", "Restart request 00:1a:2b:3c:4d:5e"),
    ("restart reply", "Restart reply 192.168.10.5 00:1a:2b:3c:4d:5e QM413-JD562"),
    ("echo", "Echo request"),
    ("echo reply", "Echo reply"),
    ("reset network", "Reset network request 00:1a:2b:3c:4d:5e"),
    ("reset network reply", "Reset network reply 00:1a:2b:3c:4d:5e"),
    ("restore", "Restore defaults request 00:1a:2b:3c:4d:5e"),
    ("restore reply", "Restore defaults reply 00:1a:2b:3c:4d:5e"),
    ("short echo", "Echo request [too short: 20 bytes]"),
    ("restore without whole MAC", "Restore defaults request [too short: 22 bytes]"),
    ("long request", "Discover request [too long: 300 bytes]"),
    ("short reply", "Discover reply 192.168.10.5 00:1a:2b:3c:4d:5e [too short: 36 bytes]"),
    ("bad magic", "Bad header"),
    ("bad magic from the port", "Bad header [too short: 5 bytes]"),
    ("six bytes", "Incomplete header [too short: 6 bytes]"),
    ("type 9", "Discover of unknown type 9"),
    ("command 3", "Unknown command 3 request"),
    ("echo from the port itself", "Echo request"),
    ("echo to the port itself", "Echo reply"),
])
def test_the_line_in_the_packet_list(frames, name, expected):
    assert frames[name][INFO] == expected


def test_a_description_cannot_steer_a_terminal(frames):
    shown = r"\x1b[2J\x0d\x0a\x7f\x9b31m" + "x" * 53
    assert frames["description that steers a terminal"][INFO].endswith(" " + shown)
    # Among fields tshark doubles the backslashes.
    assert frames["description that steers a terminal"]["description"].replace("\\\\", "\\") == shown


@pytest.mark.parametrize("name, expected", [
    ("not applied", {"not_applied": "The panel could not apply the settings"}),
    ("not in force", {"not_in_force": "Accepted, but the settings asked for are not in force (yet)"}),
    ("bad magic", {"bad_header": "Not an MVDP header: it begins otherwise, and panels drop it"}),
    ("bad magic from the port", {"bad_header": "Not an MVDP header: it begins otherwise, and panels drop it"}),
    ("three bytes", {"too_short": "Too short: 3 of 256 bytes; a panel completes it with what an earlier datagram "
                                  "left behind"}),
    ("six bytes", {"too_short": "Too short: 6 of 256 bytes; a panel completes it with what an earlier datagram "
                                "left behind"}),
    ("short echo", {"too_short": "Too short: 20 of 256 bytes; a panel completes it with what an earlier datagram "
                                 "left behind"}),
    ("short reply", {"too_short": "Too short: 36 bytes, and panels send 256"}),
    ("long request", {"too_long": "Too long: of 300 bytes a panel takes the first 256"}),
    ("long reply", {"too_long": "Too long: 257 bytes, and panels send 256"}),
    ("version 1", {"bad_version": "Protocol version below 2: panels drop it"}),
    ("identity reply of version 3", {"bad_version": "Protocol version not 4, as in every identity reply"}),
    ("type 9", {"bad_type": "Unknown packet type: panels drop it"}),
    ("type 3 to a discovery", {"bad_type": "Type 3 answers only command 5"}),
    ("echo of type 2", {"bad_type": "An echo comes back with type 1"}),
    ("command 3", {"bad_command": "Unknown command: panels drop it"}),
    ("identity reply with another fixed identity", {"fixed": "Not the bytes of an identity reply"}),
    ("identity reply with other fixed bytes 40", {"fixed": "Not the bytes of an identity reply"}),
])
def test_remarks(frames, remarked, name, expected):
    ((remark, text),) = expected.items()
    assert frames[name][REMARK] == text
    assert remarked[name] == {remark}


@pytest.fixture(name="remarked", scope="module")
def fixture_remarked():
    """For each frame's name the filter names of the remarks on it."""
    found = tshark.fields(CAPTURE, [f"mvdp.expert.{name}" for name in REMARKS], "-2")
    return {name: {field.removeprefix("mvdp.expert.") for field in found[number - 1]}
            for name, number in NUMBERS.items()}


IN_REQUEST = "without meaning here, perhaps left of an earlier datagram; panels ignore them"
IN_IDENTITY = "an identity reply has zeros here"
UNKNOWN_ORIGIN = "without meaning here; the request's own, or left of an earlier datagram"


def left_in_buffer(request, size):
    return (f"the request in frame {frame_number(request)} had {size} bytes; an earlier datagram left these in "
            "the panel's buffer")


@pytest.mark.parametrize("name, expected", [
    # The first byte of the MAC address, at 20, is a zero.
    ("stale echo reply",
     [("1a2b3c4d5e58020f278d01", "Stale bytes 21 to 31: " + left_in_buffer("short echo", 20))]),
    ("stale reset reply", [("514d343133", "Stale bytes 44 to 48: " + left_in_buffer("short reset", 26))]),
    ("restore reply with stale MAC",
     [("2b3c4d5e", "Stale bytes 22 to 25: " + left_in_buffer("restore without whole MAC", 22))]),
    ("resent reply with rests", [("050aa8c000ffffff010aa8c0", "Stale bytes 8 to 19: " + UNKNOWN_ORIGIN),
                                 ("ff", "Stale byte 255: " + UNKNOWN_ORIGIN)]),
    ("discover with rests", [("514d343133", "Stale bytes 44 to 48: " + IN_REQUEST)]),
    ("wink with rests", [("050aa8c000ffffff010aa8c0", "Stale bytes 8 to 19: " + IN_REQUEST),
                         ("58020f278d01", "Stale bytes 26 to 31: " + IN_REQUEST)]),
    ("set address with rests", [("58020f278d01", "Stale bytes 26 to 31: " + IN_REQUEST)]),
    ("identity reply with rests",
     [("32", "Stale byte 32: " + IN_IDENTITY), ("39", "Stale byte 39: " + IN_IDENTITY),
      ("514d", "Stale bytes 60 to 61: " + IN_IDENTITY),
      ("01" + ZEROS * 144 + "02", "Stale bytes 110 to 255: " + IN_IDENTITY)]),
])
def test_rests_of_earlier_datagrams(frames, remarked, name, expected):
    assert frames[name]["stale"].split("|") == [data for data, _ in expected]
    assert frames[name][REMARK].split("|") == [text for _, text in expected]
    assert remarked[name] == {"stale"}


def test_nothing_else_is_remarked_on(remarked):
    good = [frame.name for group in (make_capture.DISCOVERIES, make_capture.COMMANDS, make_capture.TANGLED,
                                     make_capture.ELSEWHERE) for frame in group]
    assert {name: remarked[name] for name in good if remarked[name]} == {
        "not applied": {"not_applied"}, "not in force": {"not_in_force"}}


@pytest.mark.parametrize("request_name, replies", [
    ("discover by broadcast", ["discover reply", "discover reply of another panel"]),
    ("discover by directed broadcast", ["reply to directed broadcast"]),
    ("discover by group", ["reply by group", "reply by broadcast"]),
    ("identify", ["identify reply"]),
    ("set address refused", ["not applied"]),
    ("set address", ["set address reply"]),
    ("restart", ["restart reply"]),
    ("echo", ["echo reply"]),
    ("short echo", ["stale echo reply"]),
    ("reset network", ["reset network reply"]),
    ("restore without whole MAC", ["restore reply with stale MAC"]),
    ("long request", ["reply to long request"]),
    ("echo to one panel", ["echo of one panel"]),
    ("echo to another panel", ["echo of another panel"]),
    ("echo from the port itself", ["echo to the port itself"]),
    ("request on another port", ["reply on another port"]),
])
def test_requests_and_replies_name_each_other(frames, request_name, replies):
    assert frames[request_name]["response_in"].split("|") == [frame_number(reply) for reply in replies]
    for reply in replies:
        assert frames[reply]["request_in"] == frame_number(request_name)
        waited = (NUMBERS[reply] - NUMBERS[request_name]) * 2500
        assert frames[reply]["response_time"] == f"0.{waited:06d}000"


@pytest.mark.parametrize("name", ["reply that nobody asked for", "echo of one panel once more",
                                  "echo with other bytes", "echo that fits the first only", "version 1",
                                  "identity reply of version 3"])
def test_what_belongs_to_nothing_is_not_linked(frames, name):
    assert not {"response_in", "request_in", "response_time"} & frames[name].keys()


def test_replies_are_linked_in_a_single_pass_too():
    found = tshark.fields(CAPTURE, ["mvdp.request_in"])
    assert found[NUMBERS["reply by broadcast"] - 1] == {"mvdp.request_in": frame_number("discover by group")}


@pytest.mark.parametrize("name, protocols", [
    ("empty", "eth:ethertype:ip:udp"),
    ("unknown command on another port", "eth:ethertype:ip:udp:data"),
    ("unknown type on another port", "eth:ethertype:ip:udp:data"),
    ("version 1 on another port", "eth:ethertype:ip:udp:data"),
    ("other magic on another port", "eth:ethertype:ip:udp:data"),
    ("seven bytes on another port", "eth:ethertype:ip:udp:data"),
    ("DNS query", "eth:ethertype:ip:udp:dns"),
    ("ARP request", "eth:ethertype:arp"),
])
def test_other_traffic_is_not_claimed(frames, name, protocols):
    assert frames[name]["frame.protocols"] == protocols
    assert not own_fields(frames[name])


def test_what_an_icmp_error_quotes_is_read_and_not_judged(frames):
    quote = frames["ICMP port unreachable"]
    assert quote["frame.protocols"] == "eth:ethertype:ip:icmp:ip:udp:mvdp"
    assert (quote["mac"], quote["reply"]) == ("00:1a:2b:3c:4d:5e", "1")
    assert not {"request_in", REMARK} & quote.keys()


def test_partition_version_is_split_in_clear_text():
    shown = tshark.run("-r", CAPTURE, "-Y", f"frame.number == {frame_number('discover reply')}", "-O", "mvdp")
    lines = [line.strip() for line in shown.splitlines()]
    begin = lines.index("Partition version: 0x01ea3807 (1.234.56.7)")
    assert lines[begin + 1:begin + 5] == ["WW: 1 (may hold upper bits of XXX)", "XXX: 234 (or 490)", "YY: 56",
                                          "Z: 7"]
    assert "Packet type: reply (2)" in lines and "Command: Discover (1)" in lines


@pytest.mark.parametrize("display_filter, names", [
    ("mvdp.address == 192.168.10.9 && mvdp.reply", ["set address reply"]),
    ("mvdp.netmask == 255.0.255.0", ["set address refused"]),
    ("mvdp.mac == 00:1a:2b:3c:4d:5f", ["discover reply of another panel", "reply by broadcast"]),
    ('mvdp.description contains "che 7"', ["discover reply of another panel"]),
    ("mvdp.expert.not_applied", ["not applied"]),
    ("mvdp.type == 3 && mvdp.command == 5", ["not applied"]),
    ("mvdp && udp.port == 50000", ["request on another port", "reply on another port"]),
])
def test_filters_find_what_they_name(display_filter, names):
    found = tshark.fields(CAPTURE, ["frame.number"], "-Y", display_filter)
    assert [frame["frame.number"] for frame in found] == [frame_number(name) for name in names]


def test_json_has_fields_under_their_filter_names():
    (packet,) = json.loads(tshark.run("-r", CAPTURE, "-Y",
                                      f"frame.number == {frame_number('discover reply')}", "-T", "json"))
    layer = packet["_source"]["layers"]["mvdp"]
    assert layer["mvdp.gateway"] == "192.168.10.1"
    assert layer["mvdp.description"] == "QM413-JD562"


class TestPreferences:
    def test_another_port(self):
        found = tshark.fields(CAPTURE, ["frame.number", PROTOCOL], "-o", "mvdp.port:50001")
        protocols = {name: found[number - 1][PROTOCOL] for name, number in NUMBERS.items()}
        assert protocols["unknown command on another port"] == "MVDP"
        # That port has no special meaning now.
        assert protocols["discover reply"] == "MVDP"
        assert protocols["bad magic"] == "UDP"

    @pytest.mark.parametrize("port", [0, 65536, 4294967295])
    def test_a_port_that_is_none_leaves_the_usual_one(self, port):
        found = tshark.fields(CAPTURE, [PROTOCOL], "-o", f"mvdp.port:{port}")
        assert found[NUMBERS["bad magic"] - 1][PROTOCOL] == "MVDP"

    def test_datagrams_without_the_header_can_be_left_alone(self):
        found = tshark.fields(CAPTURE, [PROTOCOL], "-o", "mvdp.report_foreign:FALSE")
        assert found[NUMBERS["bad magic"] - 1][PROTOCOL] == "UDP"
        assert found[NUMBERS["six bytes"] - 1][PROTOCOL] == "MVDP"
