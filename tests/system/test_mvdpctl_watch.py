"""mvdpctl watches panels appear, change and vanish."""

import re
import signal

import pytest

import mvdp
from fakepanel import Identity
from mvdpctlrun import (  # pylint: disable=unused-import
    fixture_fake, fixture_wire, Watch, DONE, MAC, MAC2, OTHER_ADDRESS, PANEL_ADDRESS, PANEL_COLUMNS, PANEL_MEMBERS)

TIME = r"\d\d\d\d-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d)"

@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_events_are_lines(wire, fake, number):
    watch = Watch(wire[1])
    assert re.fullmatch(rf"\d\d:\d\d:\d\d appeared  {MAC}  192\.168\.10\.5/24     1\.234\.56\.7  QM316-44LRNA",
                        watch.line())
    fake.panels[0].address = OTHER_ADDRESS
    assert re.fullmatch(rf"\d\d:\d\d:\d\d changed   {MAC}  192\.168\.10\.5/24 -> 192\.168\.10\.6/24", watch.line())
    fake.panels.append(Identity(mac=MAC2, description=b"\x1b[2J\r\nx"))
    assert re.fullmatch(rf"\d\d:\d\d:\d\d appeared  {MAC2}  .*  \?\[2J\?\?x", watch.line())
    del fake.panels[0]
    assert re.fullmatch(rf"\d\d:\d\d:\d\d vanished  {MAC}  192\.168\.10\.6/24     .*", watch.line())
    assert watch.end(number) == (DONE, "Panels at the end: 1.\n")


def test_events_in_json(wire, fake):
    watch = Watch(wire[1], "--json", "--quiet")
    event = watch.event()
    assert re.fullmatch(TIME, event.pop("time"))
    assert event == {"event": "appeared", "panel": PANEL_MEMBERS}
    fake.panels[0].description = b"Pr\xfcfstand"
    event = watch.event()
    assert re.fullmatch(TIME, event.pop("time"))
    assert event == {"event": "changed", "panel": {**PANEL_MEMBERS, "description": "Prüfstand"},
                     "before": PANEL_MEMBERS}
    fake.panels.clear()
    event = watch.event()
    assert (event["event"], event["panel"]["mac"]) == ("vanished", MAC)
    assert watch.end() == (DONE, "")


def test_events_in_csv(wire, fake):
    watch = Watch(wire[1], "--csv")
    assert watch.line() == ",".join(["time", "event", *PANEL_COLUMNS])
    fields = watch.line().split(",")
    assert re.fullmatch(TIME, fields[0])
    assert fields[1:4] == ["appeared", MAC, PANEL_ADDRESS]
    assert watch.end()[0] == DONE


def test_nobody_is_watched_for_as_well(wire):
    capture = wire[0].capture("eth0")
    watch = Watch(wire[1], timeout="3600")
    capture.next(lambda packet: packet.destination_port == mvdp.PORT, "the first request")
    # No wait for the end of an hour's round.
    assert watch.end() == (DONE, "Panels at the end: 0.\n")


def test_flood_does_not_keep_it_from_ending(wire, fake):
    def flood(panel, answer, source, sender):
        panel.send(b"junk", sender)
        panel.send_answer(answer, source, sender)
        while not panel.is_closing():
            panel.send(b"junk", sender)
    fake.deliver = flood
    watch = Watch(wire[1])
    assert "appeared" in watch.line()
    code, err = watch.end()
    assert code == DONE
    assert "of the wrong length" in err


def test_cable_that_is_pulled_is_watched_on(wire, fake):
    watch = Watch(wire[1])
    assert "appeared" in watch.line()
    wire[1].ip("link set eth0 down")
    try:
        assert "vanished" in watch.line()
    finally:
        wire[1].ip("link set eth0 up")
        wire[1].wait_running("eth0")
    assert "appeared" in watch.line()
    assert watch.end()[0] == DONE
