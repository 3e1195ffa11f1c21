"""The dissector's statistics "MVDP panels", in tshark and as Wireshark gets them."""

import pytest

import make_capture
import mvdp
import tshark
from make_capture import CAPTURE, FAR_TOOL, PANEL, PANEL2, TOOL, from_panel

TITLE = "MVDP panels"
HEADINGS = ["MAC address", "IPv4 address", "Source", "Last answer", "Frame", "Description"]
STARTED = "2024-01-01 00:00:00"

# Plays the part of Wireshark, whose Lua has menus and windows: `-z test` chooses the first entry of Statistics. Each
# text that the window shows is printed; what is printed last is there when the program ends.
WIRESHARK = """
local Window = {}
Window.__index = Window
function Window:set(text) io.write("in the window:\\n", text) end
function Window:set_atclose(close) self.close = close end
local chosen
_G.gui_enabled = function() return true end
_G.retap_packets = function() end
_G.TextWindow = { new = function(title) io.write(title, " opens\\n") return setmetatable({}, Window) end }
_G.register_menu = function(name, action, group)
    assert(group == MENU_STAT_UNSORTED)
    io.write(name, " stands in the menu\\n")
    chosen = chosen or action
end
register_stat_cmd_arg("test", function() chosen() end)
"""


def table(lines):
    """The cells of the lines, which are the headings and one line for each panel."""
    starts = [lines[0].index(heading) for heading in HEADINGS]
    cells = [[line[start:end].rstrip() for start, end in zip(starts, [*starts[1:], None])] for line in lines]
    assert cells[0] == HEADINGS
    return cells[1:]


def panels(capture, statistics="mvdp,panels"):
    title, *lines = tshark.run("-q", "-r", capture, "-z", statistics).splitlines()
    assert title == TITLE
    return table(lines)


def number_of(name):
    return str(1 + [frame.name for frame in make_capture.FRAMES].index(name))


def test_every_panel_of_a_capture_has_a_line():
    """The description is the last that was not empty. An echo does not say whose it is."""
    assert panels(CAPTURE) == [
        ["00:1a:2b:3c:4d:5e", "192.168.10.5", "192.168.10.5", STARTED, number_of("reply on another port"),
         "QM413-JD562"],
        ["00:1a:2b:3c:4d:5f", "192.168.10.6", "192.168.10.6", STARTED, number_of("reply by broadcast"), "Küche 7"]]


def test_a_filter_may_follow():
    found = panels(CAPTURE, f"mvdp,panels,frame.number < {number_of('reply by group')}")
    assert [line[4] for line in found] == [number_of("reply to directed broadcast"),
                                           number_of("discover reply of another panel")]


def test_a_capture_without_panels_has_none(tmp_path):
    capture = tmp_path / "capture.pcap"
    make_capture.write_pcap(capture, [make_capture.packet(make_capture.DISCOVERIES[0])])
    assert panels(capture) == []


def test_a_filter_that_is_none_is_refused():
    with pytest.raises(AssertionError, match="mvdp,panels: (?s:.*)'nonsense' does not exist"):
        panels(CAPTURE, "mvdp,panels,nonsense(")


def test_the_last_answer_counts(tmp_path):
    """Of a panel that got another address, a reset one that sent the request back, and two that do not know their MAC
    address."""
    def reply(source, address, **fields):
        return from_panel("", mvdp.identity(command=1, tag=0, packet_type=2, address=address, netmask="255.255.255.0",
                                            gateway="192.168.10.1", partition_version=0, **fields), source=source)
    nobody = {"mac": "00:00:00:00:00:00", "description": b"nobody"}
    known = {"mac": "00:1a:2b:3c:4d:5e", "description": b"first"}
    frames = [
        reply(PANEL, "192.168.10.5", **known), reply(PANEL, "192.168.10.9", **known),
        reply(FAR_TOOL, "192.168.10.9", **{**known, "description": b"second"}),
        from_panel("", make_capture.request("5e130603 02 02 0e 00", make_capture.NOWHERE + make_capture.MAC2),
                   source=PANEL2),
        reply(PANEL2, "192.168.10.7", **nobody), reply(TOOL, "192.168.10.8", **nobody),
        reply(PANEL2, "192.168.10.8", **nobody),
    ]
    capture = tmp_path / "capture.pcap"
    make_capture.write_pcap(capture, map(make_capture.packet, frames), step=1_500_000)
    assert panels(capture) == [
        ["00:00:00:00:00:00", "192.168.10.8", "192.168.10.1", "2024-01-01 00:00:07", "6", "nobody"],
        ["00:00:00:00:00:00", "192.168.10.8", "192.168.10.6", "2024-01-01 00:00:09", "7", "nobody"],
        ["00:1a:2b:3c:4d:5e", "192.168.10.9", "10.9.0.2", "2024-01-01 00:00:03", "3", "second"],
        ["00:1a:2b:3c:4d:5f", "-", "192.168.10.6", "2024-01-01 00:00:04", "4", "-"]]


def test_what_an_icmp_error_quotes_is_no_answer(tmp_path):
    quote = next(frame for frame in make_capture.FRAMES if frame.name == "ICMP port unreachable")
    capture = tmp_path / "capture.pcap"
    make_capture.write_pcap(capture, [make_capture.packet(quote)])
    assert panels(capture) == []


def test_wireshark_shows_them_from_its_menu(tmp_path):
    script = tmp_path / "wireshark.lua"
    script.write_text(WIRESHARK, encoding="ascii")
    shown = tshark.run("-X", f"lua_script:{script}", "-q", "-r", CAPTURE, "-z", "test").splitlines()
    assert shown[:3] == [f"{TITLE} stands in the menu", f"{TITLE} opens", "in the window:"]
    assert table(shown[3:]) == panels(CAPTURE)
