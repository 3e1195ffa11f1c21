"""The Wireshark dissector on malformed and unusual datagrams. `tshark.run` fails on a Lua error."""

import random

import pytest

import make_capture
import tshark
from make_capture import MVDP, PANEL, TOOL, Frame

LONGEST_UDP = 65507
MAGIC = bytes.fromhex("5e130603")
COMMANDS = [1, 2, 4, 5, 6, 7, 14, 15, 102, 3, 255]


def both_ways(payloads):
    """Each datagram to the port, from it, and on other ports."""
    for index, payload in enumerate(payloads):
        tool, panel = [(40000, MVDP), (40000, 50001)][index % 2]
        yield make_capture.packet(Frame("", TOOL, tool, PANEL, panel, payload))
        yield make_capture.packet(Frame("", PANEL, panel, TOOL, tool, payload))
    yield from (make_capture.packet(Frame("", TOOL, MVDP, PANEL, MVDP, payload)) for payload in payloads)


def dissected(tmp_path, packets, longest=65535):
    """How many of the packets are MVDP. All are shown in all detail at first sight, and looked at again."""
    capture = tmp_path / "hostile.pcap"
    make_capture.write_pcap(capture, packets, longest=longest)
    tshark.run("-r", capture, "-V")
    return len(tshark.fields(capture, ["frame.number"], "-2", "-Y", "mvdp"))


@pytest.mark.parametrize("command", COMMANDS)
def test_every_length(tmp_path, command):
    """Of a request and both kinds of reply, from one byte to more than there should be."""
    content = bytes(range(8, 256)) + bytes(44)
    payloads = [(MAGIC + bytes((4, packet_type, command, 0)) + content)[:length]
                for packet_type in (1, 2, 3) for length in range(1, 300)]
    packets = list(both_ways(payloads))
    # On other ports only what has a whole header with a known command.
    assert dissected(tmp_path, packets) >= len(packets) * 2 // 3


def test_longest_datagrams(tmp_path):
    fills = (b"\0", b"\xff", b"x")
    payloads = [(MAGIC + bytes((4, packet_type, 1, 0))).ljust(length, fill)
                for packet_type in (1, 2) for fill in fills for length in (257, 9000, LONGEST_UDP - 1, LONGEST_UDP)]
    packets = list(both_ways(payloads))
    assert dissected(tmp_path, packets) == len(packets)


def test_random_datagrams(tmp_path):
    """All bytes random; the magic right; the whole header right."""
    source = random.Random(20240101)
    payloads = [source.randbytes(source.choice((8, 20, 26, 44, 108, 255, 256, 257, 512)) - source.randrange(3))
                for _ in range(600)]
    payloads += [MAGIC + payload for payload in payloads[:300]]
    payloads += [MAGIC + bytes((source.randrange(2, 256), source.randrange(1, 4), source.choice(COMMANDS[:9]))) +
                 payload for payload in payloads[:300]]
    packets = list(both_ways(payloads))
    assert dissected(tmp_path, packets) >= len(packets) // 2


def test_text_of_every_byte(tmp_path):
    """Whatever a description holds, nothing that steers a terminal comes out."""
    source = random.Random(20240102)
    start = MAGIC + bytes((4, 2, 1, 0)) + bytes(36)
    texts = [bytes((byte,)) * 64 for byte in range(1, 256)] + [source.randbytes(64) for _ in range(100)]
    capture = tmp_path / "texts.pcap"
    make_capture.write_pcap(capture, list(both_ways([start + text + bytes(148) for text in texts])))
    for options in ([], ["-V"], ["-T", "json"], ["-T", "fields", "-e", "mvdp.description"]):
        shown = tshark.run("-r", capture, *options)
        assert not [character for character in shown
                    if character not in "\n\t" and (character < " " or "\x7f" <= character < "\xa0")]


@pytest.mark.parametrize("longest", [42, 43, 46, 49, 50, 60, 64, 68, 76, 86, 150, 297])
def test_captures_that_keep_the_beginning_of_each_packet(tmp_path, longest):
    """Bytes that were not captured are not remarked on as missing."""
    whole = {frame.name for group in (make_capture.DISCOVERIES, make_capture.COMMANDS) for frame in group}
    packets = [make_capture.packet(frame) for frame in make_capture.FRAMES]
    dissected(tmp_path, packets, longest)
    found = tshark.fields(tmp_path / "hostile.pcap", ["mvdp.expert.too_short", "mvdp.expert.too_long",
                                                      "mvdp.expert.stale", "mvdp.expert.fixed",
                                                      "mvdp.expert.bad_header"])
    assert [frame.name for frame, remarks in zip(make_capture.FRAMES, found)
            if frame.name in whole and remarks] == []


def test_one_request_and_very_many_replies(tmp_path):
    """A thousand of them are listed."""
    request = make_capture.packet(make_capture.DISCOVERIES[0])
    replies = [make_capture.packet(Frame("", (PANEL[0], f"10.1.{index // 250}.{index % 250 + 1}"), MVDP, TOOL, 40000,
                                         make_capture.DISCOVER_REPLY)) for index in range(1500)]
    capture = tmp_path / "many.pcap"
    make_capture.write_pcap(capture, [request, *replies], step=10)
    found = tshark.fields(capture, ["mvdp.response_in", "mvdp.request_in"], "-2")
    assert found[0]["mvdp.response_in"].split("|") == [str(number) for number in range(2, 1002)]
    assert all(reply == {"mvdp.request_in": "1"} for reply in found[1:])


def test_an_answer_after_minutes_belongs_to_nothing(tmp_path):
    frames = make_capture.DISCOVERIES[:2]
    capture = tmp_path / "late.pcap"
    make_capture.write_pcap(capture, [make_capture.packet(frame) for frame in frames], step=121_000_000)
    assert tshark.fields(capture, ["mvdp.request_in"], "-2") == [{}, {}]
    make_capture.write_pcap(capture, [make_capture.packet(frame) for frame in frames], step=119_000_000)
    assert tshark.fields(capture, ["mvdp.request_in", "mvdp.response_time"], "-2") == [
        {}, {"mvdp.request_in": "1", "mvdp.response_time": "119.000000000"}]
