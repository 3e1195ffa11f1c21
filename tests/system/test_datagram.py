"""The bytes of requests and replies, and which datagrams are answered at all."""

import pytest

import mvdp
from mvdp import Command
from panel import ADDRESS, FACTORY_ADDRESS, MAC

# A discovery and its answer, byte for byte, as they were on the wire.
DISCOVERY = bytes.fromhex(
    "5e130603"  # magic
    "02"        # protocol version
    "01"        # request
    "01"        # discover
    "5a"        # tag, comes back
) + bytes(248)
DISCOVERY_REPLY = bytes.fromhex(
    "5e130603"      # magic
    "04"            # protocol version
    "02"            # reply
    "01"            # discover
    "5a"            # tag
    "050aa8c0"      # address 192.168.10.5, last octet first
    "00ffffff"      # netmask 255.255.255.0
    "010aa8c0"      # gateway 192.168.10.1
    "001a2b3c4d5e"  # MAC address, in its own order
    "58020f278d01"  # fixed identity
    "0000"
    "0738ea01"      # partition version 0x01EA3807: "01" "234" "56" "7"
    "0000"
    "00000200"      # fixed bytes 40
    "514d3431332d4a44353632"  # "QM413-JD562"
) + bytes(53) + bytes(148)    # the rest of the description's 64 bytes; the rest of the datagram

SILENT_COMMANDS = [0, 3, *range(8, 14), *range(16, 102), *range(103, 256)]
TARGETED = [Command.IDENTIFY, Command.SET_ADDRESS, Command.RESTORE_RELATIVE, Command.WINK,
            Command.RESET_NETWORK, Command.RESTORE, Command.RESTART]
OTHER_MAC = "00:1a:2b:3c:4d:5f"


def test_discovery_is_answered_byte_for_byte(tool):
    assert len(DISCOVERY_REPLY) == 256
    assert tool.ask(DISCOVERY).data == DISCOVERY_REPLY
    assert tool.sender == (ADDRESS, 58553)


def test_identify_answers_like_discover(tool):
    reply = tool.ask(mvdp.request(Command.IDENTIFY, mac=MAC, tag=0x5A)).data
    assert reply == DISCOVERY_REPLY[:6] + b"\x04" + DISCOVERY_REPLY[7:]


def test_whatever_a_discovery_holds_is_overwritten(tool):
    noise = bytes(range(8, 256))
    assert tool.ask(DISCOVERY[:8] + noise).data == DISCOVERY_REPLY
    assert tool.ask(DISCOVERY[:8] + b"\xff" * 248).data == DISCOVERY_REPLY


def test_echo_comes_back_unchanged(tool):
    datagram = DISCOVERY[:6] + bytes((Command.ECHO,)) + bytes(range(7, 256))
    assert tool.ask(datagram).data == datagram


@pytest.mark.parametrize("version", [2, 3, 4, 127, 128, 255])
def test_versions_from_2_are_accepted(tool, version):
    assert tool.ask(mvdp.request(Command.DISCOVER, version=version)).version == 4


@pytest.mark.parametrize("version", [0, 1])
def test_older_versions_are_dropped(tool, version):
    tool.expect_silence(mvdp.request(Command.DISCOVER, version=version))


@pytest.mark.parametrize("packet_type", [0, 2, 3, 255])
def test_what_is_no_request_is_dropped(tool, packet_type):
    tool.expect_silence(mvdp.request(Command.DISCOVER, packet_type=packet_type))


@pytest.mark.parametrize("magic", ["5e130604", "5e130703", "5e140603", "5f130603", "0306135e", "00000000"])
def test_another_magic_is_dropped(tool, magic):
    tool.expect_silence(mvdp.request(Command.DISCOVER, magic=bytes.fromhex(magic)))


def test_all_other_commands_are_silent_and_without_effect(panel, tool):
    assert len(SILENT_COMMANDS) + 9 == 256
    for command in SILENT_COMMANDS:
        tool.expect_silence(mvdp.request(command, mac=MAC))
    assert panel.calls() == [("getInterfaceConfig", "eth0")] * (2 * len(SILENT_COMMANDS))


@pytest.mark.parametrize("command", TARGETED)
@pytest.mark.parametrize("position", range(6))
def test_one_wrong_byte_in_the_target_address_silences(panel, tool, command, position):
    target = bytearray(mvdp.mac_bytes(MAC))
    target[position] ^= 0x80
    tool.expect_silence(mvdp.request(command, mac=target.hex(":"), address="10.1.1.1"))
    assert {call[0] for call in panel.calls()} == {"getInterfaceConfig"}
    assert not list(panel.working_folder.iterdir())
    assert not list(panel.mnt.rglob("*"))


@pytest.mark.parametrize("command", [Command.DISCOVER, Command.ECHO])
def test_discover_and_echo_ask_for_no_target(tool, command):
    assert tool.ask(mvdp.request(command, mac=OTHER_MAC)).command == command


def test_a_longer_datagram_is_cut_to_256_bytes(tool):
    datagram = mvdp.request(Command.ECHO, rest=bytes(range(230)))
    assert tool.ask(datagram + b"\xee" * 1000).data == datagram
    # Nor is the tail taken for a datagram of its own.
    tool.expect_silence(mvdp.request(0) + mvdp.request(Command.DISCOVER))


def test_an_empty_datagram_is_ignored(panel, tool):
    tool.expect_silence(b"")
    assert panel.calls() == [("getInterfaceConfig", "eth0")]  # the settling echo's own


# The receive buffer is not cleared: what a short request leaves out is what came before.

FULL = mvdp.request(0, mac=OTHER_MAC, rest=bytes(range(26, 256)))


def test_a_short_echo_comes_back_with_the_tail_of_the_datagram_before(tool):
    tool.send(FULL)
    short = mvdp.request(Command.ECHO, tag=9)[:20]
    assert tool.ask(short).data == short + FULL[20:]


@pytest.mark.parametrize("command", [Command.RESET_NETWORK, Command.RESTORE])
def test_a_short_reset_is_completed_by_the_datagram_before(panel, tool, command):
    # Even the target address may be the earlier datagram's.
    full = mvdp.request(0, mac=MAC, rest=bytes(range(26, 256)))
    tool.send(full)
    short = mvdp.request(command, tag=9)[:20]
    reply = tool.ask(short).data
    assert reply == short[:5] + b"\x02" + short[6:] + full[20:]
    tool.settle()
    assert "restartSystem" in {call[0] for call in panel.calls()}


@pytest.mark.parametrize("command", [Command.IDENTIFY, Command.SET_ADDRESS, Command.WINK, Command.RESTART,
                                     Command.RESTORE_RELATIVE])
def test_other_short_requests_are_answered_without_stale_bytes(panel, tool, command):
    tool.send(mvdp.request(0, mac=MAC, rest=b"\xee" * 230))
    reply = tool.ask(mvdp.request(command, tag=0x5A, address="192.168.10.5", netmask="255.255.255.0",
                                  gateway="192.168.10.1")[:20])
    # Restoring the defaults has changed the settings.
    settings = {"address": FACTORY_ADDRESS, "gateway": "0.0.0.0"} if command == Command.RESTORE_RELATIVE else {}
    assert reply.data == panel.expected_identity(command=command, tag=0x5A, **settings)


def test_a_short_discovery_is_answered_in_full(tool):
    tool.send(FULL)
    assert tool.ask(DISCOVERY[:8]).data == DISCOVERY_REPLY


def test_a_short_header_is_completed_too(tool):
    # Seven bytes and even one are a request, when the datagram before was one.
    tool.ask(DISCOVERY)
    # The reply in the buffer has type 2, so a single byte is no request any more.
    tool.expect_silence(b"\x5e")
    tool.ask(mvdp.request(Command.ECHO))
    assert tool.ask(b"\x5e").command == Command.ECHO


@pytest.mark.parametrize("length", [1, 4, 5, 6])
def test_a_short_foreign_datagram_is_dropped(tool, length):
    tool.expect_silence(b"\x00" * length)
