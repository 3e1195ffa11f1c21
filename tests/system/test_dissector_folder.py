"""What stands beside the dissector: the table of fields and the colouring rules. And what loading it twice does."""

import re

import pytest

import make_capture
import tshark
from make_capture import CAPTURE

COLOURS = tshark.FOLDER / "colorfilters"
NAME, FILTER = "frame.coloring_rule.name", "frame.coloring_rule.string"
# As Wireshark writes such a file: name, filter, background and foreground.
RULE = re.compile(r"@(?P<name>[^@]+)@(?P<filter>[^@]+)@\[\d+,\d+,\d+\]\[\d+,\d+,\d+\]")


def test_the_table_of_fields_is_complete():
    text = (tshark.FOLDER / "README.md").read_text(encoding="utf-8")
    rows = re.findall(r"^\| `(mvdp[a-z0-9._]*)` \| ([^|]+) \| [^|]+ \|$", text, re.MULTILINE)
    assert sorted(rows) == sorted(tshark.field_types().items())


@pytest.fixture(name="coloured", scope="module")
def fixture_coloured():
    """Name and filter of the rule by which tshark colours each frame; None when none fits."""
    found = tshark.fields(CAPTURE, [NAME, FILTER], "--color", "-2", copies=[(COLOURS, ".")])
    return {frame.name: (rules[NAME], rules[FILTER]) if rules else None
            for frame, rules in zip(make_capture.FRAMES, found)}


def test_every_rule_colours_a_frame(coloured):
    lines = COLOURS.read_text(encoding="ascii").splitlines()
    rules = [RULE.fullmatch(line) for line in lines if not line.startswith("#")]
    assert all(rules), lines
    assert set(coloured.values()) - {None} == {(rule["name"], rule["filter"]) for rule in rules}


@pytest.mark.parametrize("name, rule", [
    ("discover by broadcast", "MVDP: request"),
    ("discover reply", "MVDP: reply"),
    ("echo", "MVDP: request"),
    ("wink", "MVDP: request"),
    ("set address", "MVDP: request that changes a panel"),
    ("set address reply", "MVDP: reply"),
    ("restore relative", "MVDP: request that changes a panel"),
    ("reset network", "MVDP: request that changes a panel"),
    ("restore", "MVDP: request that changes a panel"),
    ("restart", "MVDP: request that changes a panel"),
    ("not applied", "MVDP: not applied"),
    ("not in force", "MVDP: remark"),
    ("stale echo reply", "MVDP: remark"),
    ("long request", "MVDP: remark"),
    ("short reply", "MVDP: remark"),
    ("identity reply with other fixed bytes 40", "MVDP: remark"),
    ("bad magic", "MVDP: panels drop it or never send it"),
    ("version 1", "MVDP: panels drop it or never send it"),
    ("type 9", "MVDP: panels drop it or never send it"),
    ("command 3", "MVDP: panels drop it or never send it"),
])
def test_a_frame_has_the_colour_of_what_it_is(coloured, name, rule):
    assert coloured[name][0] == rule


@pytest.mark.parametrize("name", ["DNS query", "ARP request", "unknown command on another port"])
def test_other_traffic_keeps_its_colour(coloured, name):
    assert coloured[name] is None


@pytest.mark.parametrize("options, copies", [
    (["-X", f"lua_script:{tshark.DISSECTOR}"], []),
    ([], [(tshark.DISSECTOR, tshark.PLUGIN_FOLDER)]),
], ids=["twice by the command line", "plugin folder and command line"])
def test_loading_it_twice_changes_nothing(options, copies):
    """`tshark.run` fails on a Lua error, and loads it once itself."""
    arguments = ["-r", CAPTURE, "-V", "-z", "mvdp,panels"]
    assert tshark.run(*options, *arguments, copies=copies) == tshark.run(*arguments)
