"""Names that the user gives to panels, and the tour that takes them down."""

import os
import stat

import pytest

from fakepanel import Identity
from mvdp import Command, mac_bytes
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, DONE, MAC, MAC2, MAC3, NO_ANSWER, OTHER_ADDRESS, SEARCHING,
    USAGE)

NAMES = f"""mac,name,remark
{MAC},Cabinet 1,"left, below"
{MAC2},Cabinet 12,
{MAC3},Küche,
"""


@pytest.fixture(name="names")
def fixture_names(tmp_path):
    """A file of names, where the tool looks for the user's own."""
    path = tmp_path / "mvdpctl" / "names.csv"
    path.parent.mkdir()
    path.write_text(NAMES, encoding="utf-8")
    return path


@pytest.fixture(name="row")
def fixture_row(fake):
    """Two look-alike panels."""
    fake.panels = [Identity(mac=MAC), Identity(mac=MAC2, address=OTHER_ADDRESS)]
    return fake


def winks(fake):
    return [request[20:26] for request in fake.requests if request[6] == Command.WINK]


def tour(wire, *arguments, home="/nonexistent", columns=80):
    return Terminal(wire[1], "tour", *arguments, *SEARCHING, columns=columns, XDG_CONFIG_HOME=str(home))


# Names

def test_names_are_shown(row, mvdpctl, names):
    own = {"XDG_CONFIG_HOME": str(names.parents[1])}
    lines = mvdpctl("discover", *SEARCHING, **own).lines
    assert lines[0].split() == ["MAC", "ADDRESS", "ADDRESS", "GATEWAY", "VERSION", "NAME", "DESCRIPTION"]
    assert ["Cabinet 1 " in lines[1], "Cabinet 12" in lines[2]] == [True, True]
    record = mvdpctl("identify", MAC, "--json", *SEARCHING, **own).json
    assert (record["name"], record["remark"]) == ("Cabinet 1", "left, below")
    assert mvdpctl("discover", "--csv", *SEARCHING, **own).csv[0]["remark"] == "left, below"
    assert mvdpctl("identify", MAC, *SEARCHING, **own).lines[:2] == ["Name         Cabinet 1",
                                                                     "Remark       left, below"]


@pytest.mark.parametrize("words, macs", [
    (["cabinet 1"], [MAC]), (["CABINET 12"], [MAC2]), (["cabinet 12", "Cabinet 1"], [MAC2, MAC]),
    (["cabinet", "--all"], [MAC, MAC2])], ids=str)
def test_names_name_panels(row, mvdpctl, names, words, macs):
    assert mvdpctl("wink", *words, "--names", names, *SEARCHING).code == DONE
    assert winks(row) == [mac_bytes(mac) for mac in macs]


def test_panel_with_a_name_that_is_silent_is_told_so(row, mvdpctl, names):
    result = mvdpctl("wink", "küche", "--names", names, "--rounds", "2", "--timeout", "0.2")
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "the panel with the name 'küche' did not answer\n" in result.err
    result = mvdpctl("wink", "Kuche", "--names", names, *SEARCHING, locale="C")
    assert (result.code, winks(row)) == (NO_ANSWER, [])


def test_set_takes_and_tells_names(row, mvdpctl, names):
    result = mvdpctl("set", "cabinet 12", "--address", "192.168.10.66/24", "--names", names, "--yes", "--csv",
                     *SEARCHING)
    assert (result.code, result.csv[0]["name"], row.panels[1].address) == (DONE, "Cabinet 12", "192.168.10.66")


@pytest.mark.parametrize("text, place", [
    (f"mac,name\n{MAC},one\n{MAC},two\n", "names.csv:3:1: "), ("mac,name\n02:00,one\n", "names.csv:2:1: "),
    (f"mac,name\n{MAC},{MAC2}\n", "names.csv:2:19: "), (f"mac,name\n{MAC}\n", "names.csv:2"),
    (f'mac,name\n{MAC},"one\n', "names.csv:2:19: "), ("name\none\n", "names.csv:1"),
    (f"mac,name\n{MAC},\x1b[2J\n", "names.csv:2:19: ")])
@pytest.mark.parametrize("command", [["discover"], ["wink", MAC], ["watch"]], ids=" ".join)
def test_mistake_in_the_file_is_told_with_its_place(row, mvdpctl, tmp_path, command, text, place):
    path = tmp_path / "names.csv"
    path.write_text(text)
    result = mvdpctl(*command, "--names", path)
    assert (result.code, result.out) == (USAGE, "")
    assert place in result.err
    assert row.requests == []


def test_missing_file_of_names_is_told(row, mvdpctl, tmp_path):
    result = mvdpctl("discover", "--names", tmp_path / "names.csv")
    assert (result.code, result.out) == (USAGE, "")
    assert "names.csv" in result.err
    assert row.requests == []


# Tour

def test_tour_takes_down_names(wire, row, tmp_path):
    terminal = tour(wire, home=tmp_path)
    terminal.answer(b"Name> ", b" Cabinet 7 ")
    assert winks(row) == [mac_bytes(MAC)]
    terminal.answer(b"Name> ", "Küche".encode())
    ended, lines = terminal.finish()
    path = tmp_path / "mvdpctl" / "names.csv"
    assert (ended, winks(row)) == (DONE, [mac_bytes(MAC), mac_bytes(MAC2)])
    assert path.read_text(encoding="utf-8") == f"mac,name,remark\n{MAC},Cabinet 7,\n{MAC2},Küche,\n"
    assert [line.split("  ")[:2] for line in lines if line.startswith("02:")] == [[MAC, "named"], [MAC2, "named"]]
    assert f"1 of 2: {MAC} (192.168.10.5, QM316-44LRNA)" in lines


def test_tour_goes_back_and_again(wire, row, tmp_path):
    terminal = tour(wire, home=tmp_path)
    for prompt, answer in [("Name> ", "again"), ("Name> ", "one"), ("Name> ", "BACK"), ("Name [one]> ", "first"),
                           ("Name> ", "back"), ("Name [first]> ", ""), ("Name> ", "skip")]:
        terminal.answer(prompt.encode(), answer.encode())
    ended, lines = terminal.finish()
    assert ended == DONE
    assert winks(row) == [mac_bytes(mac) for mac in (MAC, MAC, MAC2, MAC, MAC2, MAC, MAC2)]
    assert (tmp_path / "mvdpctl" / "names.csv").read_text() == f"mac,name,remark\n{MAC},first,\n"
    assert [line.split("  ")[1] for line in lines if line.startswith("02:")] == ["named", "skipped"]


@pytest.mark.parametrize("last", [b"stop\n", None, b"\x04"], ids=["stop", "interrupt", "Ctrl-D"])
def test_tour_that_ends_early_keeps_what_was_named(wire, row, tmp_path, last):
    path = tmp_path / "plant" / "names.csv"
    terminal = tour(wire, "--names", path)
    terminal.answer(b"Name> ", b"Cabinet 7")
    terminal.read_until(b"Name> ")
    assert path.read_text() == f"mac,name,remark\n{MAC},Cabinet 7,\n"
    if last:
        terminal.type(last)
    else:
        terminal.interrupt()
    ended, lines = terminal.finish()
    assert ended == DONE
    assert [line.split("  ")[1] for line in lines if line.startswith("02:")] == ["named", "skipped"]


def test_tour_asks_again_for_what_is_no_name(wire, row, tmp_path):
    terminal = tour(wire, home=tmp_path)
    for answer in [b"192.168.10.5", b"x" * 65, b"x" * 5000, b"a\x1b[2Jb", b"Cabinet 7"]:
        terminal.answer(b"Name> ", answer)
    terminal.answer(b"Name> ", b"Cabinet 7")  # of two panels: it is told
    ended, lines = terminal.finish()
    assert ended == DONE
    assert f"mvdpctl: 'Cabinet 7' is also the name of {MAC}: give one of them another" in " ".join(
        line.strip() for line in lines)
    assert (tmp_path / "mvdpctl" / "names.csv").read_text().count("Cabinet 7") == 2


def test_tour_of_those_that_fit(wire, row, names):
    terminal = tour(wire, "cabinet 12", "--json", home=names.parents[1])
    terminal.answer(b"Name [Cabinet 12]> ", b"Cabinet 13")
    ended, _ = terminal.finish()
    assert (ended, winks(row)) == (DONE, [mac_bytes(MAC2)])
    assert names.read_text(encoding="utf-8") == NAMES.replace("12", "13")


def test_tour_without_a_terminal_is_refused(row, mvdpctl):
    result = mvdpctl("tour", stdin=b"Cabinet 7\n")
    assert (result.code, result.out) == (USAGE, "")
    assert "no terminal to ask on" in result.err
    assert row.requests == []


def test_tour_tells_of_a_silent_panel(wire, row, tmp_path):
    row.unanswered = {Command.WINK}
    terminal = Terminal(wire[1], "tour", "--timeout", "0.2", "--rounds", "3", XDG_CONFIG_HOME=str(tmp_path))
    terminal.answer(b"Name> ", b"")
    terminal.answer(b"Name> ", b"Cabinet 7")
    ended, lines = terminal.finish()
    assert ended == NO_ANSWER
    assert lines.count("mvdpctl: it does not answer, so no screen shows its notice") == 2


def test_tour_that_cannot_write_ends(wire, row, tmp_path):
    (tmp_path / "mvdpctl").write_text("in the way")
    for options, said in ([], "cannot be made"), (["--names", "/proc/names.csv"], "cannot be written"):
        ended, lines = tour(wire, *options, home=tmp_path).finish()
        assert (ended, winks(row)) == (USAGE, [])
        assert said in " ".join(lines)


def test_tour_leaves_a_device_alone(wire, row, tmp_path):
    device = tmp_path / "names.csv"
    os.mknod(device, 0o666 | stat.S_IFCHR, os.makedev(1, 3))
    ended, lines = tour(wire, "--names", device).finish()
    assert (ended, winks(row), device.is_char_device()) == (USAGE, [], True)
    assert "is no ordinary file" in " ".join(lines)


def test_tour_keeps_what_others_write_meanwhile(wire, row, names):
    terminal = tour(wire, home=names.parents[1])
    terminal.read_until(b"Name [Cabinet 1]> ")
    names.write_text(NAMES.replace("left, below", "right"), encoding="utf-8")
    terminal.answer(b"Name [Cabinet 1]> ", b"\xff")
    terminal.answer(b"Name [Cabinet 1]> ", b"one")
    terminal.answer(b"Name [Cabinet 12]> ", b"stop")
    terminal.read_to_end()
    assert terminal.process.wait() == DONE
    assert names.read_text(encoding="utf-8") == NAMES.replace("left, below", "right").replace("Cabinet 1,", "one,")


def test_interrupted_wink_ends_the_tour(wire, row, tmp_path):
    row.unanswered = {Command.WINK}
    terminal = Terminal(wire[1], "tour", "--timeout", "1000", XDG_CONFIG_HOME=str(tmp_path))
    row.wait_for_command(Command.WINK)
    terminal.interrupt()
    ended, lines = terminal.finish()
    assert ended == NO_ANSWER
    assert not [line for line in lines if line.startswith("Name")]
