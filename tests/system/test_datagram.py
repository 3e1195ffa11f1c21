"""The one buffer that all datagrams are received into: what a short one leaves out is what came before."""

import mvdp
from mvdp import Command

REFRESH = ("getInterfaceConfig", "eth0")


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
