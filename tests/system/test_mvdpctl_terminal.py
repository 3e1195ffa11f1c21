"""What mvdpctl shows on a terminal of 80 columns."""

import pytest

from fakepanel import Identity
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_wire, Terminal, DONE, FAR_ADDRESS, MAC, MAC2, MAC3, OTHER_ADDRESS, PANEL_ADDRESS, SEARCHING)


def show(wire, *arguments, code=DONE):
    ended, lines = Terminal(wire[1], *arguments, *SEARCHING).finish()
    assert ended == code, lines
    return lines


def test_table_fits(wire, fake):
    """With the longest that there can be in each column."""
    widest = {"address": "192.168.100.105", "gateway": "192.168.100.254"}
    fake.panels = [Identity(mac=MAC, **widest, partition_version=0xFFFFFFFF, description=b"x" * 64),
                   Identity(mac=MAC2, **widest, partition_version=0, description="Prüfstand".encode("latin-1") * 7)]
    lines = show(wire, "discover")
    assert len(lines) >= 4
    assert not [line for line in lines if len(line) > 80]


def test_sentences_and_errors_are_broken_between_words(wire, fake):
    fake.panels = [Identity(description=b"A press far at the end of the hall, near the gate to the yard")]
    for arguments, code in ([["wink", MAC], 0], [["restart", MAC, "--yes"], 0], [["wink", "nothing"], 1],
                            [["set", MAC, "--address", OTHER_ADDRESS, "--yes"], 0]):
        lines = show(wire, *arguments, code=code)
        assert max(map(len, lines)) <= 80, lines
        assert all(line.startswith(("mvdpctl: ", "  ", MAC)) for line in lines)


@pytest.mark.parametrize("columns", [80, 30])
def test_nothing_of_the_progress_stays(wire, fake, columns):
    assert fake
    terminal = Terminal(wire[1], "discover", *SEARCHING, columns=columns)
    _, lines = terminal.finish()
    assert lines[0].startswith("MAC ADDRESS")
    progress = b"searching, round 1 of at most 100, panels: 0"[:columns - 1]
    assert terminal.bytes.startswith(progress + b"\r" + b" " * len(progress) + b"\r")
    assert b"\x1b" not in terminal.bytes


def test_marks_are_explained(wire, fake):
    fake.panels = [Identity(mac=MAC), Identity(mac=MAC2),
                   Identity(mac=MAC3, address=FAR_ADDRESS, source=FAR_ADDRESS, gateway="10.9.0.1",
                            partition_version=0)]
    notes = " ".join(show(wire, "discover")[4:])
    assert f"3 panels. * 2 panels hold the address {PANEL_ADDRESS}" in notes
    assert "! 1 panel is not on a subnet of the interface" in notes
    assert "1 panel could not read its version." in notes
