"""On which bus the service finds the platform service, and what it says on the way."""

import os
import pathlib
import signal

import pytest
from jeepney import DBusAddress, new_method_call
from jeepney.io.blocking import open_dbus_connection

import mvdp
from hwsdsim import program_path
from mvdp import Command
from panel import ADDRESS, GATEWAY, MAC, NETMASK
from waiting import PATIENCE, wait_for

DISCOVER = mvdp.request(Command.DISCOVER)
NO_MAC = "00:00:00:00:00:00"
UNKNOWN = {"address": "0.0.0.0", "netmask": "0.0.0.0", "gateway": "0.0.0.0", "mac": NO_MAC,
           "partition_version": 0, "description": b""}

# The bus daemon's words for a name that nobody owns.
ABSENT = '"The name com.zelt.HWSD was not provided by any .service files"'
# A literal's own trailing blank and the stream's separator make two blanks.
THREE_RETRIES = [f"Error reaching dbus service:  {ABSENT}  -> retry # {attempt}" for attempt in (1, 2, 3)]
FALL_BACK = f"Error reaching dbus service:  {ABSENT}  -> try falling back to HWSD session bus"
FOUND_ON_SESSION_BUS = 'HWSD running in session bus!  ""'
NOWHERE = f"No HWSD service running !? {ABSENT}"
NO_SYSTEM_BUS = "Failed connecting to DBUS system bus -> try HWSD on session bus"
NO_SESSION_BUS = "Failed connecting to DBUS session bus -> trying loading HWSD plugin"
INVALID_PROXIES = ["Cannot get /SysteInfo object :  QDBusError(", "Cannot get /MainOSInfo object :  QDBusError(",
                   "Cannot get /m_networkManager object :  QDBusError(",
                   "Cannot get /I2CSEEPROM object :  QDBusError("]
NOT_UP_YET = "Waiting for all HWSD services up and running..."


def unknown_panel(panel, **changes):
    return panel.expected_identity(**dict(UNKNOWN, **changes))


def test_a_bus_can_start_the_service(make_panel):
    """The bus has the platform service in its list of those that it can start, and nobody has yet."""
    panel = make_panel(system_bus=False, sim=None, start=False)
    socket_path = pathlib.Path(panel.system_bus.address.removeprefix("unix:path="))
    services = panel.folder / "services"
    services.mkdir()
    (services / "com.zelt.HWSD.service").write_text(
        f"[D-BUS Service]\nName=com.zelt.HWSD\nExec={program_path()} --bus {panel.system_bus.address}\n",
        encoding="ascii")
    configuration = socket_path.with_name("bus.conf")
    text = configuration.read_text(encoding="ascii")
    assert "</busconfig>" in text
    configuration.write_text(text.replace("</busconfig>", f"<servicedir>{services}</servicedir></busconfig>"),
                             encoding="ascii")
    panel.system_bus.start()
    panel.start_service()
    try:
        assert panel.tool_at().ask(DISCOVER).data == panel.expected_identity()
        assert panel.warnings() == []
    finally:
        end_owner(panel.system_bus.address)


def end_owner(bus_address):
    """Ends the program that owns the service's name."""
    with open_dbus_connection(bus_address) as connection:
        bus = DBusAddress("/org/freedesktop/DBus", "org.freedesktop.DBus", "org.freedesktop.DBus")
        reply = connection.send_and_get_reply(
            new_method_call(bus, "GetConnectionUnixProcessID", "s", ("com.zelt.HWSD",)), timeout=PATIENCE)
        os.kill(reply.body[0], signal.SIGTERM)


def test_a_service_on_the_session_bus_is_found_after_three_tries_on_the_system_bus(make_panel):
    panel = make_panel(session_bus=True, sim="session")
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == THREE_RETRIES + [FALL_BACK, FOUND_ON_SESSION_BUS]
    # Once found it is kept.
    tool.ask(mvdp.request(Command.RESTART, mac=MAC))
    assert len(panel.warnings()) == 5
    panel.sim.wait_for_calls("restartSystem")


# Each operation on the platform tries to connect once: refresh, version, refresh and description for a discovery;
# a setting has the apply besides.
@pytest.mark.parametrize("command, operations, changes", [
    (Command.DISCOVER, 4, {}),
    # Nothing was applied; what was staged is all that is known.
    (Command.SET_ADDRESS, 5, {"packet_type": mvdp.NOT_APPLIED, "address": ADDRESS, "netmask": NETMASK,
                              "gateway": GATEWAY})], ids=["discover", "set-address"])
def test_without_the_service_each_operation_tries_both_buses_again(make_panel, command, operations, changes):
    panel = make_panel(session_bus=True, sim=None)
    datagram = mvdp.request(command, mac=NO_MAC, address=ADDRESS, netmask=NETMASK, gateway=GATEWAY)
    assert panel.tool_at().ask(datagram).data == unknown_panel(panel, command=command, **changes)
    assert panel.warnings() == (THREE_RETRIES + [FALL_BACK, NOWHERE]) * operations


# Buses without an address. D-Bus has a session bus launched by the program dbus-launch where there is a display.

LAUNCHES = "launches"


def start_service_without_addresses(panel, launch):
    """Starts the service on a machine without a system bus; `launch` is what dbus-launch does, as a shell command."""
    programs = panel.folder / "programs"
    programs.mkdir()
    launcher = programs / "dbus-launch"
    launcher.write_text(f"#!/bin/sh\necho once >> '{panel.folder / LAUNCHES}'\n{launch}\n", encoding="ascii")
    launcher.chmod(0o755)
    # The machine's own bus and launcher, if any, are hidden.
    hide = ("mount -t tmpfs none /run && if [ -e /usr/bin/dbus-launch ]; then mount --bind "
            f"'{launcher}' /usr/bin/dbus-launch; fi && exec \"$@\"")
    panel.start_service(prefix=["unshare", "--mount", "--", "sh", "-c", hide, "sh"],
                        environment={"DBUS_SYSTEM_BUS_ADDRESS": "", "DBUS_SESSION_BUS_ADDRESS": "",
                                     "DISPLAY": ":nowhere", "PATH": f"{programs}:{os.environ['PATH']}"})


def launches(panel):
    return (panel.folder / LAUNCHES).read_text(encoding="ascii").split()


def test_a_session_bus_is_launched_though_the_system_bus_was_not_to_be_had(make_panel):
    panel = make_panel(system_bus=False, session_bus=True, sim="session", start=False)
    # Address, process and window, as in dbus-launch --binary-syntax.
    start_service_without_addresses(
        panel, rf"printf '%s\0\1\0\0\0\0\0\0\0\0\0\0\0' '{panel.session_bus.address}'")
    assert panel.tool_at().ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == [NO_SYSTEM_BUS]
    assert launches(panel) == ["once"]


def test_a_bus_that_could_not_be_launched_is_not_launched_again(make_panel):
    panel = make_panel(system_bus=False, sim=None, start=False)
    start_service_without_addresses(panel, "exit 1")
    tool = panel.tool_at()
    for _ in range(3):
        tool.ask(mvdp.request(Command.ECHO))
    assert panel.warnings() == [NO_SYSTEM_BUS, NO_SESSION_BUS] * 3
    assert launches(panel) == ["once"]


def test_a_held_connection_works_when_the_service_comes(make_panel):
    """A system bus without the service, and no session bus: the connection is held all the same, with proxies that
    lead nowhere and no root proxy at all."""
    panel = make_panel(sim=None)
    tool = panel.tool_at()
    for _ in range(2):
        assert tool.ask(DISCOVER).data == unknown_panel(panel, description=b"HMI 0")
    *searching, _, _, _, _ = panel.warnings()
    assert searching == THREE_RETRIES + [FALL_BACK]
    assert all(line.startswith(start) for line, start in zip(panel.warnings()[4:], INVALID_PROXIES))
    assert tool.ask(mvdp.request(Command.RESTART, mac=NO_MAC)).packet_type == mvdp.REPLY
    assert panel.warnings()[8:] == [NOT_UP_YET] * 3

    panel.start_sim("system")
    # The description was decided while no service was there.
    assert tool.ask(DISCOVER).data == panel.expected_identity(description=b"HMI 0")
    assert tool.ask(mvdp.request(Command.RESTART, mac=MAC)).packet_type == mvdp.REPLY
    wait_for(lambda: panel.sim.restarts() == 1, "the restart")
    assert len(panel.warnings()) == 8 + 3


def test_a_bus_that_comes_up_later_is_found(make_panel):
    panel = make_panel(system_bus=False, sim=None)
    tool = panel.tool_at()
    for _ in range(3):
        assert tool.ask(DISCOVER).data == unknown_panel(panel)
    panel.system_bus.start()
    panel.start_sim()
    before = len(panel.warnings())
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert len(panel.warnings()) == before


def test_a_restarted_service_is_found_by_the_next_datagram(make_panel):
    panel = make_panel()
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.stop_sim()
    # The cached values are still in the answers.
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.start_sim(state={"interfaces": {"eth0": {"actual_ip_address": "192.168.10.66"}}})
    assert tool.ask(DISCOVER).data == panel.expected_identity(address="192.168.10.66")
    assert tool.ask(mvdp.request(Command.RESTART, mac=MAC)).packet_type == mvdp.REPLY
    panel.sim.wait_for_calls("restartSystem")
    assert panel.warnings() == []


def test_a_bus_that_goes_down_is_survived(make_panel):
    """A held connection is held for good: the cache goes on answering, whatever becomes of the bus."""
    panel = make_panel()
    tool = panel.tool_at()
    tool.ask(DISCOVER)
    panel.sims.pop("system").stop()
    panel.system_bus.stop()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert tool.ask(mvdp.request(Command.SET_ADDRESS, mac=MAC)).packet_type == mvdp.NOT_APPLIED
    panel.system_bus.start()
    panel.start_sim(state={"interfaces": {"eth0": {"actual_ip_address": "192.168.10.66"}}})
    for command in (Command.RESTART, Command.RESET_NETWORK):
        assert tool.ask(mvdp.request(command, mac=MAC)).packet_type == mvdp.REPLY
    panel.check_alive()


def test_a_service_that_is_slow_to_come_up_costs_a_retry(make_panel):
    """The name has an owner that answers nothing yet: the probe's two calls take five seconds each."""
    panel = make_panel()
    tool = panel.tool_at()
    panel.sim.pause()
    tool.send(DISCOVER)
    try:
        wait_for(lambda: panel.warnings(), "the first probe to fail")
    finally:
        panel.sim.resume()
    assert mvdp.Reply(tool.receive()).data == panel.expected_identity()
    (warning,) = panel.warnings()
    assert warning.startswith('Error reaching dbus service:  "')
    assert warning.endswith('"  -> retry # 1')
