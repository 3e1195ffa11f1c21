"""What mvdpctl shows on a terminal of 80 columns."""

import pytest

from fakepanel import Identity
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_wire, Terminal, DONE, FAR_ADDRESS, MAC, MAC2, MAC3, OTHER_ADDRESS, PANEL_ADDRESS, SEARCHING)

# The longest that there can be in each column.
WIDE = [Identity(mac=MAC, address="192.168.100.105", gateway="192.168.100.254", partition_version=0xFFFFFFFF,
                 description=b"x" * 64),
        Identity(mac=MAC2, address="192.168.100.105", gateway="192.168.100.254", partition_version=0,
                 description="Prüfstand".encode("latin-1") * 7)]
# Forty as they are in practice.
FORTY = [Identity(mac=f"02:00:5e:10:01:{number:02x}", address=f"192.168.10.{100 + number}") for number in range(40)]


def show(wire, *arguments, columns=80, code=DONE):
    ended, lines = Terminal(wire[1], *arguments, *SEARCHING, columns=columns).finish()
    assert ended == code, lines
    return lines


@pytest.mark.parametrize("panels", [[Identity()], WIDE, FORTY], ids=["one", "wide", "forty"])
def test_table_fits(wire, fake, panels):
    fake.panels = panels
    lines = show(wire, "discover")
    assert len(lines) >= len(panels) + 2
    assert not [line for line in lines if len(line) > 80]


def test_sentences_and_errors_are_broken_between_words(wire, fake):
    fake.panels = [Identity(description=b"A press far at the end of the hall, near the gate to the yard")]
    for arguments, code in ([["wink", MAC], 0], [["restart", MAC, "--yes"], 0], [["wink", "nothing"], 1],
                            [["set", MAC, "--address", OTHER_ADDRESS, "--yes"], 0]):
        lines = show(wire, *arguments, code=code)
        assert max(map(len, lines)) <= 80, lines
        assert all(line.startswith(("mvdpctl: ", "  ", MAC)) for line in lines)


def test_nothing_of_the_progress_stays(wire, fake):
    lines = show(wire, "discover")
    assert lines[0].startswith("MAC ADDRESS")
    terminal = Terminal(wire[1], "discover", *SEARCHING)
    terminal.finish()
    assert b"searching, round 1 of at most 100, panels: 0" in terminal.bytes


def test_progress_fits_a_narrow_terminal(wire, fake):
    terminal = Terminal(wire[1], "discover", *SEARCHING, columns=30)
    terminal.finish()
    progress = [part for part in terminal.bytes.split(b"\r\x1b[K") if part.startswith(b"searching")]
    assert progress and max(map(len, progress)) < 30


def test_marks_are_seen_at_a_glance(wire, fake):
    fake.panels = [Identity(mac=MAC), Identity(mac=MAC2),
                   Identity(mac=MAC3, address=FAR_ADDRESS, source=FAR_ADDRESS, gateway="10.9.0.1",
                            partition_version=0)]
    lines = show(wire, "discover")
    assert lines[:4] == [
        "MAC ADDRESS        ADDRESS            GATEWAY       VERSION     DESCRIPTION",
        "02:00:5e:10:00:03  10.9.0.2/24 !      10.9.0.1      unknown     QM316-44LRNA",
        "02:00:5e:10:00:01  192.168.10.5/24 *  192.168.10.1  1.234.56.7  QM316-44LRNA",
        "02:00:5e:10:00:02  192.168.10.5/24 *  192.168.10.1  1.234.56.7  QM316-44LRNA"]
    notes = " ".join(lines[4:])
    assert f"* 2 panels hold the address {PANEL_ADDRESS}" in notes
    assert "! 1 panel is not on a subnet of the interface" in notes
    assert "1 panel could not read its version." in notes
