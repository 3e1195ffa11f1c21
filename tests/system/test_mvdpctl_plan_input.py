"""Where mvdpctl takes a plan from, what it carries of it into its result, and what it tells before it sends."""

import json

import pytest

from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Terminal, DONE, MAC, MAC2, MAC3, NO_ANSWER, SEARCHING, USAGE)

ABSENT = "02:00:5e:10:00:09"
GOOD = f"mac,address\n{MAC},192.168.10.21\n{MAC2},192.168.10.12\n"
MISSING = f"{GOOD}{ABSENT},192.168.10.29\n"
CLASHING = f"{MISSING}{MAC3},192.168.10.12\n"
RESULTS = {GOOD: ["already so", "would apply"], MISSING: ["already so", "not found", "would apply"],
           CLASHING: ["already so", "not found", "objected to", "would apply"]}


@pytest.fixture(name="panels", autouse=True)
def fixture_panels(fake):
    fake.panels = [Identity(mac=mac, address=f"192.168.10.{11 + number}")
                   for number, mac in enumerate((MAC, MAC2, MAC3))]


@pytest.fixture(name="plan")
def fixture_plan(tmp_path):
    def write(text, name="plan.csv"):
        path = tmp_path / name
        path.write_text(text, encoding="utf-8")
        return path
    return write


def is_untouched(fake):
    return Command.SET_ADDRESS not in fake.commands()


# --dry-run

@pytest.mark.parametrize("text, code", [(GOOD, DONE), (MISSING, NO_ANSWER), (CLASHING, USAGE)],
                         ids=["good", "missing", "clashing"])
def test_dry_run_tells_and_sends_nothing(fake, mvdpctl, plan, text, code):
    path = plan(text)
    shown = mvdpctl("set", "--from", path, "--dry-run", *SEARCHING)
    records = mvdpctl("set", "--from", path, "--dry-run", "--csv", *SEARCHING)
    document = mvdpctl("set", "--from", path, "--dry-run", "--json", "--quiet", *SEARCHING)
    assert [result.code for result in (shown, records, document)] == [code] * 3
    assert f"{MAC}  192.168.10.11/24        -> 192.168.10.21/24\n" in shown.out
    assert sorted(record["result"] for record in records.csv) == RESULTS[text]
    assert sorted(record["result"] for record in document.json["results"]) == RESULTS[text]
    objection = f"mvdpctl: {path}:5: {MAC3}: The address 192.168.10.12 would be that of {MAC2}, too.\n"
    assert [objection in result.err for result in (shown, records, document)] == [text == CLASHING] * 3
    assert ("1 not found: " in shown.err) == (text != GOOD)
    assert is_untouched(fake)


def test_dry_run_by_force_has_warnings(fake, mvdpctl, plan):
    result = mvdpctl("set", "--from", plan(CLASHING), "--dry-run", "--force", "--csv", *SEARCHING)
    assert result.code == NO_ANSWER
    assert f"{MAC3}: The address 192.168.10.12 would be that of {MAC2}, too.\n" in result.err
    assert sorted(record["result"] for record in result.csv) == [
        "already so", "not found", "would apply", "would apply"]
    assert is_untouched(fake)


@pytest.mark.parametrize("last, code, expected", [(21, DONE, "would apply"), (12, USAGE, "objected to"),
                                                  (11, DONE, "already so")])
def test_dry_run_for_one_panel(fake, mvdpctl, last, code, expected):
    words = ["set", MAC, "--address", f"192.168.10.{last}", "--dry-run", *SEARCHING]
    shown, document = mvdpctl(*words), mvdpctl(*words, "--json")
    assert (shown.code, document.code) == (code, code)
    if expected != "already so":
        assert shown.out == f"{MAC}  192.168.10.11/24        -> 192.168.10.{last}/24\n"
        assert ("No settings were sent.\n" if code == DONE else "mvdpctl: nothing was sent\n") in shown.err
    assert ("is held by the panel" in shown.err) == (expected == "objected to")
    assert document.json["result"] == expected
    assert is_untouched(fake)


# Without a terminal

def test_plan_is_shown_before_consent_is_refused(fake, mvdpctl, plan):
    result = mvdpctl("set", "--from", plan(GOOD), *SEARCHING)
    assert (result.code, result.out) == (USAGE, "")
    shown, refusal, advice = result.err.splitlines()[-3:]
    assert shown == f"{MAC}  192.168.10.11/24        -> 192.168.10.21/24"
    assert refusal == "mvdpctl: 'set' changes panels and there is no terminal to ask on"
    assert "--yes" in advice
    assert is_untouched(fake)


def test_plan_without_changes_needs_no_consent(mvdpctl, plan):
    result = mvdpctl("set", "--from", plan(f"mac,address\n{MAC2},192.168.10.12\n"), *SEARCHING)
    assert (result.code, result.err) == (DONE, f"{MAC2}  192.168.10.12/24        already as planned\n"
                                               "1 of 1 panels are as planned.\n")


# Standard input

@pytest.mark.parametrize("form, text", [
    ("csv", GOOD), ("json", json.dumps([{"mac": MAC, "address": "192.168.10.21/24"}]))], ids=["csv", "json"])
def test_plan_is_read_from_standard_input(fake, mvdpctl, form, text):
    words = ["set", "--from", "-", "--format", form, *SEARCHING]
    refused = mvdpctl(*words, stdin=text.encode())
    assert refused.code == USAGE
    assert f"{MAC}  192.168.10.11/24        -> 192.168.10.21/24\n" in refused.err
    assert "mvdpctl: the plan came on standard input, so no question can be answered there\n" in refused.err
    assert is_untouched(fake)
    assert mvdpctl(*words, "--yes", stdin=text.encode()).code == DONE
    assert fake.panels[0].address == "192.168.10.21"


def test_mistakes_on_standard_input_are_told_so(fake, mvdpctl):
    result = mvdpctl("set", "--from", "-", "--format", "csv", "--yes", stdin=b"mac,address\nx,y\n\xff")
    assert result.code == USAGE
    assert result.err.startswith("mvdpctl: standard input:3:1: here the file is not in UTF-8")
    result = mvdpctl("set", "--from", "-", "--format", "csv", "--yes", stdin=b"mac,address\nx,y\n")
    assert result.err.splitlines()[:2] == ["mvdpctl: standard input:2:1: 'x' is no MAC address",
                                           "mvdpctl: standard input:2:3: 'y' is no address"]
    assert fake.requests == []


def test_format_is_told_for_any_name(mvdpctl, plan):
    path = plan(GOOD, "plan.txt")
    assert mvdpctl("set", "--from", path, "--format", "csv", "--dry-run", *SEARCHING).code == DONE
    refused = mvdpctl("set", "--from", path, "--dry-run")
    assert (refused.code, refused.err.splitlines()[0]) == (
        USAGE, f"mvdpctl: '{path}' ends in neither .csv nor .json")


@pytest.mark.parametrize("words, complaint", [
    (["--from", "-"], "standard input has no name that says how the plan is written"),
    (["--from", "-", "--format", "xml"], "--format takes csv or json, not 'xml'"),
    ([MAC, "--address", "192.168.10.9", "--format", "csv"], "--format goes with --from")])
def test_wrong_words_are_told(fake, mvdpctl, words, complaint):
    result = mvdpctl("set", *words, "--yes")
    assert (result.code, result.err.splitlines()[0]) == (USAGE, f"mvdpctl: {complaint}")
    assert fake.requests == []


# What is carried along

def test_unknown_columns_are_warned_of(mvdpctl, plan):
    path = plan(f"mac,adress,address,Slot,result\n{MAC2},x,192.168.10.12,7,refused\n")
    warning = f"mvdpctl: {path}: these columns are passed on and not used: 'adress', 'Slot'\n"
    assert mvdpctl("set", "--from", path, "--dry-run", *SEARCHING).err.count(warning) == 1
    quiet = mvdpctl("set", "--from", path, "--yes", "--quiet", "--csv", *SEARCHING)
    assert (quiet.code, quiet.err) == (DONE, "")
    assert [(record["adress"], record["Slot"], record["result"]) for record in quiet.csv] == [("x", "7", "already so")]


@pytest.mark.parametrize("columns", [80, 50])
def test_plan_fits_the_terminal(wire, plan, columns):
    path = plan(f"mac,address,gateway,name,remark\n{MAC},192.168.110.121/24,192.168.110.254,Cabinet 7,left door\n"
                f"{MAC2},192.168.10.12,,Gate,far from all others at the end of the hall\n{ABSENT},192.168.10.9,,,\n")
    for words in (["--dry-run"], ["--yes"]):
        code, lines = Terminal(wire[1], "set", "--from", path, *words, *SEARCHING, columns=columns).finish()
        assert code == NO_ANSWER
        assert max(map(len, lines)) <= columns, lines
        text = " ".join(line.strip() for line in lines)
        assert "192.168.110.121/24" in text and "192.168.110.254" in text and "Cabinet 7" in text
