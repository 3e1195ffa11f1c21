"""A discovery as literal bytes; and the one buffer, in which a short datagram leaves what came before."""

import mvdp
from mvdp import Command

REFRESH = ("getInterfaceConfig", "eth0")


def test_discovery_is_answered_byte_for_byte(tool):
    """All other tests take their bytes from mvdp.py; these literals check it and the service against the layout."""
    request = bytes.fromhex("5e130603 02 01 01 5a") + bytes(248)
    assert tool.ask(request).data == bytes.fromhex(
        "5e130603"      # magic
        "04 02 01 5a"   # version, packet type, command, tag
        "050aa8c0"      # address 192.168.10.5, last octet first
        "00ffffff"      # netmask 255.255.255.0
        "010aa8c0"      # gateway 192.168.10.1
        "001a2b3c4d5e"  # MAC address, in transmission order
        "58020f278d01"  # fixed identity
        "0000"          # reserved 32
        "0738ea01"      # partition version 1.234.56.7
        "0000"          # reserved 38
        "00000200"      # fixed bytes 40
        "514d3431332d4a44353632"  # description "QM413-JD562"
    ) + bytes(53) + bytes(148)    # the rest of the description; reserved 108
    assert tool.sender == ("192.168.10.5", mvdp.PORT)


def test_an_empty_datagram_is_ignored(panel, tool):
    tool.settle()
    panel.sim.clear_calls()
    tool.expect_silence(b"")
    assert panel.calls() == [REFRESH]  # the settling echo's own


def test_a_short_request_is_completed_by_the_datagram_before(tool):
    full = mvdp.request(0, mac="00:1a:2b:3c:4d:5f", rest=bytes(range(26, 256)))
    tool.send(full)
    short = mvdp.request(Command.ECHO, tag=9)[:20]
    assert tool.ask(short).data == short + full[20:]


def test_a_short_header_is_completed_too(tool):
    """A single byte is a request when the datagram before was one, and when no reply has taken its place."""
    tool.ask(mvdp.request(Command.DISCOVER))
    tool.expect_silence(b"\x5e")
    tool.ask(mvdp.request(Command.ECHO))
    assert tool.ask(b"\x5e").command == Command.ECHO
