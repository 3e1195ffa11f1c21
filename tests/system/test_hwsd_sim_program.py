"""The simulated platform service: coming and going, the bus, the command line."""

import os
import signal
import subprocess

import pytest

from hwsdcatalogue import CATALOGUE, ROOT, SYSTEM
from hwsdclient import (  # noqa: F401: pytest finds the fixtures here
    connect, bus_fixture, client_fixture, shared_fixture, sim_fixture, start_fixture)
from hwsdsim import SERVICE_NAME, program_path, run_program
from privatebus import PrivateBus
from waiting import PATIENCE, wait_for


# Restart, disappearance, the bus

def test_restarts_are_counted(sim, client):
    assert client.value(ROOT, "restartSystem") == 0
    assert client.value(ROOT, "restartSystemWithImage", 1) == 0
    assert sim.restarts() == 2
    assert sim.present()


def test_restart_takes_the_service_away_and_back(start, bus):
    sim = start(options=["--restart-away", "50"])
    client = connect(bus)
    owner = client.service_owner()
    assert client.value(ROOT, "restartSystem") == 0
    wait_for(lambda: client.service_owner() not in (None, owner), "the service with a new connection")
    assert client.interface_config()["name"] == "eth0"
    assert sim.restarts() == 1


def test_restart_can_be_told_to_stay_away(start, bus):
    sim = start(state={"restartAwayMs": 0})
    client = connect(bus)
    assert client.value(ROOT, "restartSystem") == 0
    wait_for(lambda: not sim.present(), "the service to go")
    assert client.service_owner() is None
    sim.reappear()
    assert client.service_owner() is not None


def test_disappearance_is_done_when_the_control_call_returns(sim, client):
    for _ in range(20):
        sim.disappear()
        reply = client.call(SYSTEM, "day")
        assert reply.error == "org.freedesktop.DBus.Error.ServiceUnknown"
        sim.reappear()
        assert client.value(SYSTEM, "day") == 14


def test_disappearance_for_a_time(sim, client):
    sim.disappear(50)
    wait_for(sim.present, "the service to come back")
    assert client.value(SYSTEM, "day") == 14


def test_a_delayed_reply_does_not_outlive_a_disappearance(sim, client):
    sim.set_fault("day", "delay", ms=100)
    delayed = client.send(SYSTEM, "day")
    wait_for(lambda: sim.call_count("day") == 1, "the delayed call")
    sim.disappear()
    sim.reappear()
    reply, answered = client.receive()
    assert (reply.error, answered) == ("org.freedesktop.DBus.Error.NoReply", delayed)
    # The second call's delay ends after the first one's.
    assert client.value(SYSTEM, "day") == 14


def test_a_paused_service_answers_when_resumed(sim, client):
    sim.pause()
    ping = client.send("org.freedesktop.DBus.Peer", "Ping", path="/", signature="")
    # The bus's answer, sent for later, comes first.
    asked = client.send("org.freedesktop.DBus.Peer", "Ping", path="/", signature="", to="org.freedesktop.DBus")
    assert client.receive()[1] == asked
    sim.resume()
    assert client.receive()[1] == ping


def test_reappearing_fails_while_another_owns_the_name(sim, bus):
    sim.disappear()
    other = connect(bus)
    assert other.bus_call("RequestName", "su", SERVICE_NAME, 4).body == (1,)
    with pytest.raises(ValueError, match="Failed"):
        sim.reappear()
    assert not sim.present()
    assert other.bus_call("ReleaseName", "s", SERVICE_NAME).body == (1,)
    sim.reappear()
    assert sim.present()


def test_it_ends_with_1_when_the_bus_is_lost():
    with PrivateBus() as own:
        process = subprocess.Popen([program_path(), "--bus", own.address], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        assert process.stdout.readline() == f"hwsd-sim: ready on {own.address}\n"
        own.stop()
        _, errors = process.communicate(timeout=PATIENCE)
    assert process.returncode == 1
    assert "lost" in errors


# Command line

@pytest.mark.parametrize("option, variable, name", [
    ("--system", "DBUS_SYSTEM_BUS_ADDRESS", "the system bus"), (None, "DBUS_SYSTEM_BUS_ADDRESS", "the system bus"),
    ("--session", "DBUS_SESSION_BUS_ADDRESS", "the session bus"),
])
@pytest.mark.parametrize("end", [signal.SIGTERM, signal.SIGINT])
def test_it_finds_its_bus_and_ends_cleanly(bus, option, variable, name, end):
    environment = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nonexistent",
                       DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
    environment[variable] = bus.address
    process = subprocess.Popen([program_path()] + ([option] if option else []), stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, text=True, env=environment)
    assert process.stdout.readline() == f"hwsd-sim: ready on {name}\n"
    assert connect(bus).service_owner() is not None
    process.send_signal(end)
    _, errors = process.communicate(timeout=PATIENCE)
    assert (process.returncode, errors) == (0, "")


@pytest.mark.parametrize("options", [
    ["--nonsense"], ["stray"], ["--system", "--session"], ["--bus"], ["--address", "1.2.3"],
    ["--address", "1.2.3.4.5"], ["--netmask", "255.0.255.0"], ["--mac", "1:2:3:4:5:6"], ["--gateway", "x"],
    ["--manufacture-code", "many"], ["--partition-version", "more than twenty letters"], ["--restart-away", "-1"],
    ["--interface", ",dhcp"], ["--interface", "eth0,colour=red"], ["--interface", "eth0,metric=high"],
    ["--interface", "eth0,shiny"],
])
def test_misuse_ends_with_2(options):
    result = run_program(*options)
    assert (result.returncode, result.stdout) == (2, "")
    assert result.stderr.startswith("hwsd-sim: ")


@pytest.mark.parametrize("content", [
    b"", b"{", b"[]", b"\xff\xfe", b'{"identity":{"manufactureCode":"x"}}', b'{"unknown":1}', b"[" * 100000,
    b'{"interfaces":{"eth0":{"dhcp":"yes"}}}',
])
def test_a_bad_state_file_ends_with_1(tmp_path, content):
    file = tmp_path / "state.json"
    file.write_bytes(content)
    result = run_program("--print-state", "--state", file)
    assert (result.returncode, result.stdout) == (1, "")
    assert result.stderr.startswith(f"hwsd-sim: {file}: ")


def test_a_missing_state_file_ends_with_1():
    result = run_program("--print-state", "--state", "/nonexistent/state.json")
    assert (result.returncode, result.stdout) == (1, "")
    assert "/nonexistent/state.json" in result.stderr


def test_no_bus_ends_with_1():
    result = run_program("--bus", "unix:path=/nonexistent/bus")
    assert (result.returncode, result.stdout) == (1, "")
    assert result.stderr.startswith("hwsd-sim: unix:path=/nonexistent/bus: ")


def test_a_taken_name_ends_with_1(sim, bus):
    result = run_program("--bus", bus.address)
    assert (result.returncode, result.stdout) == (1, "")
    assert "is taken" in result.stderr
    assert sim.present()


def test_a_taken_service_name_ends_with_1(bus):
    other = connect(bus)
    assert other.bus_call("RequestName", "su", SERVICE_NAME, 4).body == (1,)
    result = run_program("--bus", bus.address)
    assert other.bus_call("ReleaseName", "s", SERVICE_NAME).body == (1,)
    assert (result.returncode, result.stdout) == (1, "")
    assert "com.zelt.HWSD is taken" in result.stderr


def test_help_tells_the_objects():
    result = run_program("--help")
    assert result.returncode == 0
    for path, interface, _ in CATALOGUE:
        assert f"  {path:20} {interface}\n" in result.stdout


def test_version():
    result = run_program("--version")
    assert result.returncode == 0
    assert result.stdout.startswith("hwsd-sim ")
