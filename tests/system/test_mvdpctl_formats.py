"""Every command of mvdpctl in text, JSON and CSV against real panels, to the letter.

A command runs in the three formats at once: in text at panel 0 of the row, in JSON at 1, in CSV at 2. Panel 3 is
nobody's, and must stay as it is.
"""

import concurrent.futures
import json
import os
import re
from typing import NamedTuple

import pytest

from fleet import Fleet
from mvdpctlrun import program, DONE, NO_ANSWER, SEARCHING, Result, Watch
from waiting import PATIENCE, wait_for

# raw waits it out, so that it is long enough on a loaded machine and no longer.
RAW_TIMEOUT = ["--timeout", "10"]
FORMATS = [[], ["--json"], ["--csv"]]
BYSTANDER = 3
ABSENT = "02:00:00:00:00:09"
COLUMNS = "mac,address,netmask,prefix,gateway,version,description,source,interface,way"
# What a panel tells after a reset: it then takes the tool for one of another subnet.
RESET = {"address": "192.168.0.1", "netmask": "255.255.255.0", "prefix": 24, "gateway": "0.0.0.0", "way": "multicast"}
CHANGING_CALLS = ("setInterfaceConfigJSON", "applyNewConfiguration", "resetConfiguration", "restartSystem")


@pytest.fixture(name="row", scope="module")
def fixture_row():
    """Panels that answer from where they were, whatever they tell: a reset must not take them out of hearing."""
    with Fleet(BYSTANDER + 1, follows=False) as fleet:
        yield fleet


@pytest.fixture(name="moving_row", scope="module")
def fixture_moving_row():
    with Fleet(BYSTANDER + 1) as fleet:
        yield fleet


def fresh(row):
    """The panels, reset."""
    for panel in row.panels:
        panel.reset()
        panel.check_alive()
    yield row
    for panel in row.panels:
        panel.check_alive()
    assert changes(row.panels[BYSTANDER]) == []


@pytest.fixture(name="fleet")
def fixture_fleet(row):
    yield from fresh(row)


@pytest.fixture(name="moving_fleet")
def fixture_moving_fleet(moving_row):
    """Panels that really take the addresses that they are given."""
    yield from fresh(moving_row)


def in_each_format(fleet, words):
    """The results of the command `words(number)` for the numbers 0 in text, 1 in JSON and 2 in CSV."""
    def run(number):
        return Result(fleet.tool.run([program(), *words(number), *FORMATS[number]], input=b"", capture_output=True,
                                     timeout=4 * PATIENCE, env={**os.environ, "LC_ALL": "C.UTF-8"}))
    with concurrent.futures.ThreadPoolExecutor(len(FORMATS)) as pool:
        return list(pool.map(run, range(len(FORMATS))))


def codes(results):
    return [result.code for result in results]


def mac(number):
    return f"02:00:5e:20:00:0{number}"


def members(number, **changed):
    """A panel in JSON; its members in the order of the columns."""
    return {"mac": mac(number), "address": f"192.168.9.{number}", "netmask": "255.255.248.0", "prefix": 21,
            "gateway": "192.168.8.1", "version": "1.234.56.7", "description": "QM413-JD562",
            "source": f"192.168.9.{number}", "interface": "eth0", "way": "unicast", **changed}


def record(number, **changed):
    """A panel in CSV."""
    return ",".join(str(value) for value in members(number, **changed).values())


def changes(panel):
    """The calls by which the panel has changed something: (member, argument, ...)."""
    return [call for call in panel.calls() if call[0] in CHANGING_CALLS]


def assert_settings_arrived(panel, number, address, gateway):
    """The panel was given them, once, and all else as it was."""
    (settings, apply) = changes(panel)
    assert settings[:2] == ("setInterfaceConfigJSON", "eth0")
    assert json.loads(settings[2]) == {
        "name": "eth0", "label": "WAN", "mac_address": mac(number), "ip_address": address, "netmask": "255.255.248.0",
        "gateway_ip": gateway, "dhcp": False, "configured": True, "readonly": False, "virtual": False, "hidden": False,
        "actual_netmask": "255.255.248.0", "actual_ip_address": f"192.168.9.{number}",
        "actual_gateway_ip": "192.168.8.1"}
    assert apply == ("applyNewConfiguration",)
    assert panel.sim.interface()["actual_ip_address"] == address


def test_discover(fleet):
    results = in_each_format(fleet, lambda number: ["discover", *SEARCHING])
    assert codes(results) == [DONE] * 3
    text, document, table = results
    assert text.lines == ["MAC ADDRESS        ADDRESS         GATEWAY      VERSION     DESCRIPTION",
                          "02:00:5e:20:00:00  192.168.9.0/21  192.168.8.1  1.234.56.7  QM413-JD562",
                          "02:00:5e:20:00:01  192.168.9.1/21  192.168.8.1  1.234.56.7  QM413-JD562",
                          "02:00:5e:20:00:02  192.168.9.2/21  192.168.8.1  1.234.56.7  QM413-JD562",
                          "02:00:5e:20:00:03  192.168.9.3/21  192.168.8.1  1.234.56.7  QM413-JD562"]
    assert document.json == {"panels": [{**members(number), "marks": []} for number in range(4)], "ignored": 0}
    assert table.lines == [f"{COLUMNS},marks", *(f"{record(number)}," for number in range(4))]


def test_identify(fleet):
    results = in_each_format(fleet, lambda number: ["identify", mac(number), *SEARCHING])
    assert codes(results) == [DONE] * 3
    text, document, table = results
    assert text.lines == ["MAC address  02:00:5e:20:00:00",
                          "Address      192.168.9.0",
                          "Netmask      255.255.248.0",
                          "Gateway      192.168.8.1",
                          "Version      1.234.56.7",
                          "Description  QM413-JD562",
                          "Answered     from 192.168.9.0 by unicast on eth0"]
    assert document.json == members(1)
    assert table.lines == [COLUMNS, record(2)]


def test_echo(fleet):
    results = in_each_format(fleet, lambda number: ["echo", mac(number), "--count", "2", "--interval", "0.01",
                                                    "--timeout", "60", *SEARCHING])
    assert codes(results) == [DONE] * 3
    text, document, table = results
    time = r"\d+\.\d\d"
    assert re.fullmatch(rf"192\.168\.9\.0: echo 1 after {time} ms\n"
                        rf"192\.168\.9\.0: echo 2 after {time} ms\n"
                        r"2 sent, 2 came back, 0 lost \(0 %\)\n"
                        rf"round trip {time} / {time} / {time} ms \(least, mean, most\)\n", text.out)
    echoes = document.json
    assert 0 < echoes.pop("leastMs") <= echoes.pop("meanMs") <= echoes.pop("mostMs")
    assert echoes == {"mac": mac(1), "address": "192.168.9.1", "sent": 2, "answered": 2, "lost": 0, "altered": 0,
                      "duplicates": 0}
    columns, echoes = table.lines
    assert columns == "mac,address,sent,answered,lost,altered,duplicates,leastMs,meanMs,mostMs"
    *counts, least, mean, most = echoes.split(",")
    assert counts == [mac(2), "192.168.9.2", "2", "2", "0", "0", "0"]
    assert 0 < float(least) <= float(mean) <= float(most)


def reply_bytes(command, number, address, gateway):
    """The 256 bytes of an answer in hexadecimal; the addresses as they stand in it, last byte first."""
    return (f"5e1306030402{command}00{address}00f8ffff{gateway}02005e20000{number}58020f278d0100000738ea010000"
            f"00000200{b'QM413-JD562'.hex()}").ljust(2 * 256, "0")


def test_raw(fleet):
    results = in_each_format(fleet, lambda number: ["raw", "4", "--mac", mac(number), *RAW_TIMEOUT])
    assert codes(results) == [DONE] * 3
    text, document, table = results
    assert text.lines == ["Reply from 192.168.9.0 by unicast on eth0",
                          "  magic 5e130603, version 4, type 2 (reply), command 4 (identify), tag 00",
                          "  address 192.168.9.0, netmask 255.255.248.0, gateway 192.168.8.1",
                          "  MAC address 02:00:5e:20:00:00",
                          "  fixed identity 58 02 0f 27 8d 01, partition version 1.234.56.7",
                          "  fixed bytes 40: 00 00 02 00",
                          "  description 'QM413-JD562'",
                          "    0  5e 13 06 03 04 02 04 00 00 09 a8 c0 00 f8 ff ff",
                          "   16  01 08 a8 c0 02 00 5e 20 00 00 58 02 0f 27 8d 01",
                          "   32  00 00 07 38 ea 01 00 00 00 00 02 00 51 4d 34 31",
                          "   48  33 2d 4a 44 35 36 32 00 00 00 00 00 00 00 00 00",
                          "   64  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
                          "  *",
                          "  240  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"]
    assert document.json == {"ignored": 0, "replies": [{**members(1), "command": 4, "type": 2,
                                                        "bytes": reply_bytes("04", 1, "0109a8c0", "0108a8c0")}]}
    assert table.lines == [f"command,type,bytes,{COLUMNS}",
                           f"4,2,{reply_bytes('04', 2, '0209a8c0', '0108a8c0')},{record(2)}"]


def test_raw_that_changes_the_panel(fleet):
    results = in_each_format(fleet, lambda number: [
        "raw", "5", "--mac", mac(number), "--address", f"192.168.9.7{number}", "--netmask", "21", "--yes",
        *RAW_TIMEOUT])
    assert codes(results) == [DONE] * 3
    text, document, table = results
    assert text.lines[:3] == ["Reply from 192.168.9.0 by unicast on eth0",
                              "  magic 5e130603, version 4, type 2 (reply), command 5 (set address), tag 00",
                              "  address 192.168.9.70, netmask 255.255.248.0, gateway 0.0.0.0"]
    assert document.json["replies"] == [{**members(1, address="192.168.9.71", gateway="0.0.0.0"), "command": 5,
                                         "type": 2, "bytes": reply_bytes("05", 1, "4709a8c0", "00000000")}]
    assert table.lines == [f"command,type,bytes,{COLUMNS}",
                           f"5,2,{reply_bytes('05', 2, '4809a8c0', '00000000')},"
                           f"{record(2, address='192.168.9.72', gateway='0.0.0.0')}"]
    for number in range(3):
        assert_settings_arrived(fleet.panels[number], number, f"192.168.9.7{number}", "0.0.0.0")


class Action(NamedTuple):
    words: list
    sentence: str
    calls: list
    told: dict = {}
    factory_settings: bool = False
    markers: list = []


ACTIONS = [
    Action(["wink"], "(192.168.9.0, QM413-JD562) winks: its screen shows the notice for five seconds.", []),
    Action(["restart"], "(192.168.9.0, QM413-JD562) restarts.", [("restartSystem",)]),
    Action(["reset-network"], "(192.168.9.0, QM413-JD562) resets its network settings and restarts.",
           [("resetConfiguration",), ("restartSystem",)], factory_settings=True),
    Action(["restore-defaults"], "(192.168.9.0, QM413-JD562) restores its defaults and restarts.",
           [("resetConfiguration",), ("restartSystem",)], factory_settings=True,
           markers=["mnt/data/hmi/restorecdsdefault.bin"]),
    Action(["restore-defaults", "--marker", "absolute"],
           "(192.168.9.0, QM413-JD562) restores its defaults and restarts.",
           [("resetConfiguration",), ("restartSystem",)], factory_settings=True,
           markers=["mnt/data/hmi/restorecdsdefault.bin"]),
    # Only this one is answered with what the panel is after the reset.
    Action(["restore-defaults", "--marker", "relative"],
           "(192.168.0.1, QM413-JD562) restores its defaults and restarts.",
           [("resetConfiguration",), ("restartSystem",)], told=RESET, factory_settings=True,
           markers=["work/mntdatahmi\restorecdsdefault.bin"]),
]


def markers(panel):
    return [str(path.relative_to(panel.folder)) for folder in (panel.mnt, panel.working_folder)
            for path in folder.rglob("*") if path.is_file()]


@pytest.mark.parametrize("action", ACTIONS, ids=lambda action: "-".join(action.words))
def test_actions(fleet, action):
    for panel in fleet.panels:
        (panel.mnt / "data" / "hmi").mkdir(parents=True)
    results = in_each_format(fleet, lambda number: [*action.words, mac(number), "--yes", *SEARCHING])
    assert codes(results) == [DONE] * 3
    text, document, table = results
    assert text.lines == [f"02:00:5e:20:00:00 {action.sentence}"]
    assert document.json == {"command": action.words[0], "result": "done", "panel": members(1, **action.told)}
    assert table.lines == [f"command,result,{COLUMNS}", f"{action.words[0]},done,{record(2, **action.told)}"]
    for number, panel in enumerate(fleet.panels[:BYSTANDER]):
        # The panel does not wait for the restart that it asks for, and answers before or after it is under way.
        wait_for(lambda at=panel: len(changes(at)) >= len(action.calls), "the panel to act")
        assert changes(panel) == action.calls
        assert fleet.address_in_force(number) == ("192.168.0.1" if action.factory_settings else f"192.168.9.{number}")
        assert markers(panel) == action.markers


SET_COLUMNS = f"mac,result,wantedAddress,wantedNetmask,wantedGateway,{COLUMNS[len('mac,'):]}"


def outcome(number, result, address, gateway, panel):
    return {"mac": mac(number), "result": result, "wantedAddress": address, "wantedNetmask": "255.255.248.0",
            "wantedGateway": gateway, "panel": panel}


def outcome_record(number, result, address, gateway, panel):
    return f"{mac(number)},{result},{address},255.255.248.0,{gateway},{panel[len(mac(number)) + 1:]}"


def test_set(moving_fleet):
    results = in_each_format(moving_fleet, lambda number: [
        "set", mac(number), "--address", f"192.168.9.7{number}", "--gateway", "192.168.8.9", "--yes", *SEARCHING])
    assert codes(results) == [DONE] * 3
    text, document, table = results
    assert text.lines == ["02:00:5e:20:00:00 now has 192.168.9.70/21, gateway 192.168.8.9."]
    new = {"address": "192.168.9.71", "gateway": "192.168.8.9"}
    assert document.json == outcome(1, "applied", **new, panel=members(1, **new, source="192.168.9.71"))
    new = {"address": "192.168.9.72", "gateway": "192.168.8.9"}
    assert table.lines == [SET_COLUMNS, outcome_record(2, "applied", **new,
                                                       panel=record(2, **new, source="192.168.9.72"))]
    for number in range(3):
        assert_settings_arrived(moving_fleet.panels[number], number, f"192.168.9.7{number}", "192.168.8.9")


def test_set_by_a_plan(moving_fleet, tmp_path):
    """Of three panels one gets settings, one has them already and one is not there."""
    def words(number):
        plan = tmp_path / f"{number}.csv"
        plan.write_text("mac,address,gateway\n"
                        f"{mac(number)},192.168.9.7{number},0.0.0.0\n"
                        f"{mac(BYSTANDER)},192.168.9.3,\n"
                        f"{ABSENT},192.168.9.9,\n", encoding="ascii")
        return ["set", "--from", plan, "--yes", *SEARCHING]
    results = in_each_format(moving_fleet, words)
    assert codes(results) == [NO_ANSWER] * 3
    text, document, table = results
    assert text.lines == ["02:00:5e:20:00:03  already so  192.168.9.3/21, gateway 192.168.8.1",
                          "02:00:00:00:00:09  not found",
                          "02:00:5e:20:00:00  applied     192.168.9.70/21, no gateway"]
    assert text.err.splitlines() == [
        "02:00:5e:20:00:03  192.168.9.3/21          already as planned",
        "02:00:00:00:00:09  not found",
        "02:00:5e:20:00:00  192.168.9.0/21          -> 192.168.9.70/21",
        "                   gateway 192.168.8.1     -> 0.0.0.0",
        "2 of 3 panels are as planned.",
        "mvdpctl: 1 not found: Check its power and cable, and its MAC address in the plan; see 'mvdpctl discover'."]
    assert document.json == {"ignored": 0, "results": [
        outcome(BYSTANDER, "already so", "192.168.9.3", "192.168.8.1", members(BYSTANDER)),
        {"mac": ABSENT, "result": "not found", "wantedAddress": "192.168.9.9", "wantedNetmask": None,
         "wantedGateway": None, "panel": None},
        outcome(1, "applied", "192.168.9.71", "0.0.0.0",
                members(1, address="192.168.9.71", gateway="0.0.0.0", source="192.168.9.71"))]}
    assert table.lines == [
        SET_COLUMNS,
        outcome_record(BYSTANDER, "already so", "192.168.9.3", "192.168.8.1", record(BYSTANDER)),
        f"{ABSENT},not found,192.168.9.9,,,,,,,,,,,",
        outcome_record(2, "applied", "192.168.9.72", "0.0.0.0",
                       record(2, address="192.168.9.72", gateway="0.0.0.0", source="192.168.9.72"))]
    for number in range(3):
        assert_settings_arrived(moving_fleet.panels[number], number, f"192.168.9.7{number}", "0.0.0.0")


TIME = r"\d\d\d\d-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d)"


def text_event(line):
    """A line without its time, which must be one; so the others."""
    time, event = line.split(" ", 1)
    assert re.fullmatch(r"\d\d:\d\d:\d\d", time)
    return event


def json_event(line):
    event = json.loads(line)
    assert re.fullmatch(TIME, event.pop("time"))
    return event


def csv_event(line):
    time, event = line.split(",", 1)
    assert re.fullmatch(TIME, time)
    return event


def test_watch(fleet):
    text, document, table = watches = [Watch(fleet.tool, *each) for each in FORMATS]
    # Which panel is heard first is anybody's guess.
    assert sorted(text_event(text.line()) for _ in fleet.panels) == [
        "appeared 02:00:5e:20:00:00 192.168.9.0/21     1.234.56.7 QM413-JD562",
        "appeared 02:00:5e:20:00:01 192.168.9.1/21     1.234.56.7 QM413-JD562",
        "appeared 02:00:5e:20:00:02 192.168.9.2/21     1.234.56.7 QM413-JD562",
        "appeared 02:00:5e:20:00:03 192.168.9.3/21     1.234.56.7 QM413-JD562"]
    appeared = [json_event(document.line()) for _ in fleet.panels]
    assert sorted(appeared, key=lambda event: event["panel"]["mac"]) == [
        {"event": "appeared", "panel": members(number)} for number in range(4)]
    assert table.line() == f"time,event,{COLUMNS}"
    assert sorted(csv_event(table.line()) for _ in fleet.panels) == [
        f"appeared,{record(number)}" for number in range(4)]

    fleet.panels[0].sim.set_interface(actual_ip_address="192.168.9.70")
    assert text_event(text.line()) == "changed  02:00:5e:20:00:00 192.168.9.0/21 -> 192.168.9.70/21"
    assert json_event(document.line()) == {"event": "changed", "before": members(0),
                                           "panel": members(0, address="192.168.9.70")}
    assert csv_event(table.line()) == f"changed,{record(0, address='192.168.9.70')}"

    fleet.panels[0].stop_service()
    try:
        assert text_event(text.line()) == "vanished 02:00:5e:20:00:00 192.168.9.70/21    1.234.56.7 QM413-JD562"
        assert json_event(document.line()) == {"event": "vanished", "panel": members(0, address="192.168.9.70")}
        assert csv_event(table.line()) == f"vanished,{record(0, address='192.168.9.70')}"
    finally:
        fleet.panels[0].start_service()
    assert text_event(text.line()) == "appeared 02:00:5e:20:00:00 192.168.9.70/21    1.234.56.7 QM413-JD562"
    assert json_event(document.line()) == {"event": "appeared", "panel": members(0, address="192.168.9.70")}
    assert csv_event(table.line()) == f"appeared,{record(0, address='192.168.9.70')}"
    assert [watch.end() for watch in watches] == [(DONE, "Panels at the end: 4.\n")] * 3
