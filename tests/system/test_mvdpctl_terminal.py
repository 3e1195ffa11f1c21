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
        assert all(line.startswith(("mvdpctl: ", "  ", MAC, OTHER_ADDRESS)) for line in lines)


@pytest.mark.parametrize("columns", [80, 30])
def test_nothing_of_the_progress_stays(wire, fake, columns):
    assert fake
    terminal = Terminal(wire[1], "discover", *SEARCHING, columns=columns)
    _, lines = terminal.finish()
    assert lines[0].startswith("MAC ADDRESS")
    progress = b"searching, round 1 of at most 100, panels: 0"[:columns - 1]
    assert terminal.bytes.startswith(progress + b"\r" + b" " * len(progress) + b"\r")
    assert b"\x1b" not in terminal.bytes


@pytest.mark.parametrize("kind, environment, options, is_colored", [
    ("xterm", {}, [], True), ("dumb", {}, [], False), ("xterm", {"NO_COLOR": "1"}, [], False),
    ("xterm", {"NO_COLOR": ""}, [], True), ("xterm", {}, ["--color", "never"], False),
    ("dumb", {"NO_COLOR": "1"}, ["--color=always"], True), ("xterm", {}, ["--json"], False)])
def test_marks_are_colored(wire, fake, kind, environment, options, is_colored):
    fake.panels = [Identity(mac=MAC), Identity(mac=MAC2)]
    terminal = Terminal(wire[1], "discover", *options, *SEARCHING, kind=kind, **environment)
    assert terminal.process.wait() == DONE
    terminal.read_to_end()
    assert (b"\x1b[31m*\x1b[0m" in terminal.bytes) == is_colored
    assert (b"\x1b" in terminal.bytes) == is_colored


@pytest.mark.parametrize("arguments", [["discover"], ["discover", "cabinet"], ["identify", "--all"], ["wink", "--all"],
                                       ["echo", "--all", "--count", "1"], ["restart", "--all", "--yes"]],
                         ids=" ".join)
def test_lines_fit_fifty_columns(wire, fake, tmp_path, arguments):
    names = tmp_path / "names.csv"
    names.write_text(f"mac,name\n{MAC},Cabinet 7 at the gate\n{MAC2},8\n")
    widest = {"address": "192.168.100.105", "source": PANEL_ADDRESS, "gateway": "192.168.100.254"}
    fake.panels = [Identity(mac=MAC, **widest, partition_version=0xFFFFFFFF, description=b"x" * 64),
                   Identity(mac=MAC2, **widest, partition_version=0)]
    ended, lines = Terminal(wire[1], *arguments, "--names", names, *SEARCHING, columns=50).finish()
    assert ended == DONE
    assert not [line for line in lines if len(line) > 50], lines
    assert any(MAC in line for line in lines)


def test_interrupted_search_shows_what_was_found(wire, fake):
    fake.panels = [Identity(mac=MAC), Identity(mac=MAC2, address=OTHER_ADDRESS, source=OTHER_ADDRESS)]
    terminal = Terminal(wire[1], "discover", "--timeout", "3600")
    terminal.read_until(b"panels: 2")
    terminal.interrupt()
    ended, lines = terminal.finish()
    assert (ended, lines[-2:]) == (DONE, ["2 panels.", "Interrupted; there may be more."])
    assert [line[:17] for line in lines[-5:-2]] == ["MAC ADDRESS      ", MAC, MAC2]


def test_marks_are_explained(wire, fake):
    fake.panels = [Identity(mac=MAC), Identity(mac=MAC2),
                   Identity(mac=MAC3, address=FAR_ADDRESS, source=FAR_ADDRESS, gateway="10.9.0.1",
                            partition_version=0)]
    notes = " ".join(show(wire, "discover")[4:])
    assert f"3 panels. * 2 panels hold the address {PANEL_ADDRESS}" in notes
    assert "! 1 panel is not on a subnet of the interface" in notes
    assert "1 panel could not read its version." in notes
