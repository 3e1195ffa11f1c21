"""The Wireshark dissector on what the real service and the real tool send each other."""

import collections

import pytest

import make_capture
import mvdp
import tshark
from hwsdsim import build_folder
from mvdp import Command
from panel import ADDRESS, FAR_ADDRESS, GATEWAY, MAC, NETMASK
from recorder import Recorder
from waiting import PATIENCE

NEW_ADDRESS = "192.168.10.8"


@pytest.fixture(name="recorder")
def fixture_recorder(panel):
    recorder = Recorder(panel.tool)
    yield recorder
    recorder.close()


def write(recorder, path):
    recorder.read()
    make_capture.write_pcap(path, recorder.frames)


def dissect(recorder, folder):
    """(command, reply or not, linked or not) of each datagram, after checking that nothing is remarked on."""
    capture = folder / "exchange.pcap"
    write(recorder, capture)
    found = tshark.fields(capture, ["mvdp.command", "mvdp.reply", "mvdp.request_in", "mvdp.response_in",
                                    "_ws.expert.message"], "-2", "-Y", "mvdp")
    assert [frame for frame in found if "_ws.expert.message" in frame] == []
    return [(int(frame["mvdp.command"]), "mvdp.reply" in frame,
             "mvdp.request_in" in frame or "mvdp.response_in" in frame) for frame in found]


def test_every_command_and_its_answer(panel, tool, recorder, tmp_path):
    for destination in (ADDRESS, "192.168.10.255", mvdp.GROUP):
        tool.ask(mvdp.request(Command.DISCOVER), to=destination)
    tool.ask(mvdp.request(Command.ECHO, tag=7, rest=bytes(range(230))))
    tool.ask(mvdp.request(Command.SET_ADDRESS, mac=MAC, address=NEW_ADDRESS, netmask=NETMASK, gateway=GATEWAY))
    for command in (Command.IDENTIFY, Command.WINK, Command.RESTORE_RELATIVE, Command.RESET_NETWORK,
                    Command.RESTORE, Command.RESTART):
        tool.ask(mvdp.request(command, mac=MAC))
    expected = [1, 1, 1, 2, 5, 4, 7, 6, 14, 15, 102]
    assert dissect(recorder, tmp_path) == [(command, is_reply, True) for command in expected
                                           for is_reply in (False, True)]


def test_answers_through_the_group(panel, tool, recorder, tmp_path):
    far = panel.tool.udp_socket(FAR_ADDRESS, group=mvdp.GROUP)
    far.settimeout(PATIENCE)
    far.sendto(mvdp.request(Command.DISCOVER), (ADDRESS, mvdp.PORT))
    assert far.recv(4096) == panel.expected_identity()
    assert dissect(recorder, tmp_path) == [(1, False, True), (1, True, True)]


def test_what_an_earlier_datagram_left_in_the_panel_is_marked(panel, tool, recorder, tmp_path):
    """The echo comes back with the rest of the datagram before it, which the remark names."""
    tool.ask(mvdp.request(Command.ECHO, rest=bytes(100) + b"secret" + bytes(124)))
    tool.ask(mvdp.request(Command.ECHO, tag=1)[:20])
    capture = tmp_path / "stale.pcap"
    write(recorder, capture)
    found = tshark.fields(capture, ["mvdp.stale", "_ws.expert.message"], "-2", "-Y", "mvdp.reply && mvdp.tag == 1")
    request = tshark.fields(capture, ["frame.number"], "-Y", "mvdp.request && mvdp.tag == 1")[0]["frame.number"]
    assert found == [{"mvdp.stale": b"secret".hex(), "_ws.expert.message":
                      f"Stale bytes 126 to 131: the request in frame {request} had 20 bytes; an earlier datagram "
                      "left these in the panel's buffer"}]


def test_the_configuration_tool_gives_no_cause_for_remarks(panel, recorder, tmp_path):
    program = build_folder() / "tools" / "mvdpctl" / "mvdpctl"
    for arguments in (["discover"], ["echo", ADDRESS, "--count", "2", "--interval", "0.01"]):
        done = panel.tool.run([program, *arguments], capture_output=True)
        assert done.returncode == 0, done.stderr
    kinds = collections.Counter(dissect(recorder, tmp_path))
    assert kinds[(1, False, True)] and kinds[(1, True, True)]
    assert kinds[(2, False, True)] == kinds[(2, True, True)] == 2
