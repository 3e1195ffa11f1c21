"""mvdpctl watches panels, whatever happens, until it is ended. What it shows is in test_mvdpctl_outputs.py."""

import contextlib
import os
import re
import signal

import pytest

import mvdp
from fakepanel import Identity
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_wire, process_state, program, Terminal, Watch, DONE, MAC, MAC2, TROUBLE)
from waiting import PATIENCE, wait_for


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_it_ends_in_order(wire, fake, number):
    watch = Watch(wire[1])
    assert f"appeared {MAC}" in watch.line()
    fake.panels.append(Identity(mac=MAC2, description=b"\x1b[2J\r\nx"))
    assert re.fullmatch(rf"\d\d:\d\d:\d\d appeared {MAC2} .* \?\[2J\?\?x", watch.line())
    assert watch.end(number) == (DONE, "Panels at the end: 2.\n")


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


def test_full_disk_ends_it(wire, fake):
    assert fake
    completed = wire[1].run(["sh", "-c", '"$0" watch >/dev/full', program()], capture_output=True, timeout=4 * PATIENCE)
    assert completed.returncode == TROUBLE
    assert b"mvdpctl: the result could not be written\n" in completed.stderr


def test_reader_that_stalls_does_not_keep_it_from_ending(wire, fake):
    unread, full = os.pipe()
    os.set_blocking(full, False)
    with contextlib.suppress(BlockingIOError):
        while True:
            os.write(full, bytes(4096))
    os.set_blocking(full, True)
    process = wire[1].popen([program(), "watch", "--csv"], stdin=-3, stdout=full, stderr=-1)
    os.close(full)
    # It has asked, and what it would do next is write its first line.
    fake.wait_for_command(mvdp.Command.DISCOVER)
    wait_for(lambda: process_state(process) == "S", "it to wait for its reader")
    process.send_signal(signal.SIGTERM)
    _, err = process.communicate(timeout=PATIENCE)
    os.close(unread)
    assert process.returncode == TROUBLE
    assert b"mvdpctl: the result could not be written\n" in err


def test_long_change_is_broken_between_words(wire, fake):
    terminal = Terminal(wire[1], "watch", "--timeout", "0.5", "--rounds", "8")
    terminal.read_until(b"QM316-44LRNA\r\n")
    fake.panels[0] = Identity(gateway="192.168.10.254", description=b"QM316-44LRNA at the far end of the row")
    terminal.read_until(b"row'\r\n")
    terminal.process.send_signal(signal.SIGINT)
    code, lines = terminal.finish()
    assert code == DONE
    assert all(len(line) <= 80 for line in lines)
    assert " ".join(line.strip() for line in lines[1:-1]).endswith(
        " description 'QM316-44LRNA' -> 'QM316-44LRNA at the far end of the row'")


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
    code, err = watch.end()
    assert code == DONE
    assert err.count("mvdpctl: nothing can be sent at the moment; still watching\n") == 1
