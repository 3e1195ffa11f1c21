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

# The panels here have no screen; a wink says so at its own time, from the other thread.
NO_SCREEN = "Cannot open the X display: no wink notice is shown"

# What stands behind these numbers: each operation on the platform tries to connect once.
OPERATIONS = {Command.ECHO: 1,              # refresh
              Command.DISCOVER: 4,          # refresh; version, refresh, description
              Command.IDENTIFY: 4,
              Command.SET_ADDRESS: 5,       # refresh; apply; version, refresh, description
              Command.RESTORE_RELATIVE: 6,  # refresh; reset, restart; version, refresh, description
              Command.WINK: 4,
              Command.RESET_NETWORK: 3,     # refresh; reset, restart
              Command.RESTORE: 3,
              Command.RESTART: 5}

RESTARTING = [Command.RESTART, Command.RESTORE_RELATIVE, Command.RESET_NETWORK, Command.RESTORE]


def warnings_since(panel, before):
    return [line for line in panel.warnings()[before:] if line != NO_SCREEN]


def unknown_panel(panel, **changes):
    return panel.expected_identity(**dict(UNKNOWN, **changes))


def test_the_service_is_found_on_the_system_bus_without_a_word(make_panel):
    panel = make_panel()
    assert panel.tool_at().ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == []


def test_the_first_call_is_one_that_starts_the_service(make_panel):
    """Nobody implements the method, so its failure means nothing; a bus starts a service for any call."""
    panel = make_panel()
    panel.tool_at().ask(DISCOVER)
    first, *others = panel.sim.calls()
    assert (first["path"], first["interface"], first["member"], first["arguments"]) == (
        "/", "", "q_autostart", [])
    assert "q_autostart" not in {call["member"] for call in others}


def test_every_call_goes_to_its_object(make_panel):
    panel = make_panel(state={"identity": {"manufactureCode": 503}})
    tool = panel.tool_at()
    tool.ask(DISCOVER)
    for command in (Command.SET_ADDRESS, Command.RESET_NETWORK):
        tool.ask(mvdp.request(command, mac=MAC, address=ADDRESS, netmask=NETMASK, gateway=GATEWAY))
    panel.sim.wait_for_calls("restartSystem")
    manager = ("/NetworkManager", "com.zelt.HWSD.NetworkManager")
    seen = {(call["path"], call["interface"], call["member"], call["signature"]) for call in panel.sim.calls()
            if not call["interface"].startswith("org.freedesktop.")}
    assert seen == {
        ("/", "", "q_autostart", ""), ("/", "com.zelt.HWSD", "restartSystem", ""),
        (*manager, "getInterfaceConfig", "s"), (*manager, "setInterfaceConfigJSON", "ss"),
        (*manager, "applyNewConfiguration", ""), (*manager, "resetConfiguration", ""),
        ("/MainOSInfo", "com.zelt.HWSD.PartitionInfo", "info", ""),
        ("/SystemInfo", "com.zelt.HWSD.SystemInfo", "manufactureCode", ""),
        ("/I2CSEEPROM", "com.zelt.HWSD.I2CSEEPROM", "readSlvAddr", "yyu")}


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


def test_without_a_system_bus_the_session_bus_serves_without_retries(make_panel):
    panel = make_panel(system_bus=False, session_bus=True, sim="session")
    assert panel.tool_at().ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == [NO_SYSTEM_BUS]


def test_a_service_on_the_session_bus_is_found_after_three_tries_on_the_system_bus(make_panel):
    panel = make_panel(session_bus=True, sim="session")
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == THREE_RETRIES + [FALL_BACK, FOUND_ON_SESSION_BUS]
    # Once found it is kept.
    tool.ask(mvdp.request(Command.RESTART, mac=MAC))
    assert len(panel.warnings()) == 5
    panel.sim.wait_for_calls("restartSystem")


def test_the_system_bus_comes_first(make_panel):
    panel = make_panel(session_bus=True)
    panel.start_sim("session")
    assert panel.tool_at().ask(DISCOVER).data == panel.expected_identity()
    assert panel.calls("session") == []
    assert panel.warnings() == []


@pytest.fixture(name="lonely_panel", scope="module")
def fixture_lonely_panel(module_panels):
    """Both buses, and no platform service on either."""
    return module_panels(session_bus=True, sim=None)


@pytest.mark.parametrize("command", OPERATIONS, ids=lambda command: command.name)
def test_without_the_service_each_operation_tries_both_buses_again(lonely_panel, command):
    tool = lonely_panel.tool_at()
    before = len(lonely_panel.warnings())
    datagram = mvdp.request(command, mac=NO_MAC, address=ADDRESS, netmask=NETMASK, gateway=GATEWAY)
    reply = tool.ask(datagram).data
    once = THREE_RETRIES + [FALL_BACK, NOWHERE]
    expected = once * OPERATIONS[command]
    if command == Command.RESTORE:
        expected[len(once):len(once)] = ["creation of file failed"]
    assert warnings_since(lonely_panel, before) == expected
    if command in (Command.DISCOVER, Command.IDENTIFY):
        assert reply == unknown_panel(lonely_panel, command=command)
    elif command == Command.ECHO:
        assert reply == datagram
    elif command == Command.SET_ADDRESS:
        # Nothing was applied; what was staged is all that is known.
        assert reply == unknown_panel(lonely_panel, command=command, packet_type=mvdp.NOT_APPLIED,
                                      address=ADDRESS, netmask=NETMASK, gateway=GATEWAY)
    else:
        assert reply[5] == mvdp.REPLY


def test_without_any_bus_each_operation_says_so(make_panel):
    panel = make_panel(system_bus=False, sim=None)
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).data == unknown_panel(panel)
    assert panel.warnings() == [NO_SYSTEM_BUS, NO_SESSION_BUS] * 4
    tool.expect_silence(b"not one of ours")
    assert panel.warnings() == [NO_SYSTEM_BUS, NO_SESSION_BUS] * 6  # and the settling echo's


# Buses without an address. D-Bus has a session bus launched by the program dbus-launch where there is a display.

LAUNCHES = "launches"


def start_service_without_addresses(panel, launch):
    """Starts the service on a machine without a system bus; `launch` is what dbus-launch does, as a shell command."""
    programs = panel.folder / "programs"
    programs.mkdir()
    launcher = programs / "dbus-launch"
    launcher.write_text(f"#!/bin/sh\necho once >> '{panel.folder / LAUNCHES}'\n{launch}\n", encoding="ascii")
    launcher.chmod(0o755)
    # The machine's own bus and launcher, if it has them, are out of sight.
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


def test_without_a_system_bus_and_without_the_service_on_the_session_bus(make_panel):
    """The session bus is tried like a held bus, and then once more as the fall-back."""
    panel = make_panel(system_bus=False, session_bus=True, sim=None)
    panel.tool_at().ask(mvdp.request(Command.ECHO))
    assert panel.warnings() == [NO_SYSTEM_BUS] + THREE_RETRIES + [FALL_BACK, NOWHERE]


@pytest.fixture(name="half_connected_panel", scope="module")
def fixture_half_connected_panel(module_panels):
    """A system bus without the service, and no session bus: the connection is held all the same, with
    proxies that lead nowhere and no root proxy at all."""
    panel = module_panels(sim=None)
    panel.tool_at().settle()
    assert panel.warnings()[:4] == THREE_RETRIES + [FALL_BACK]
    rest = panel.warnings()[4:]
    assert len(rest) == 4
    assert [line.startswith(start) for line, start in zip(rest, INVALID_PROXIES)] == [True] * 4, rest
    return panel


@pytest.mark.parametrize("command", OPERATIONS, ids=lambda command: command.name)
def test_a_held_connection_without_the_service_answers_and_is_not_made_again(half_connected_panel, command):
    panel = half_connected_panel
    before = len(panel.warnings())
    tool = panel.tool_at()
    datagram = mvdp.request(command, mac=NO_MAC, address=ADDRESS, netmask=NETMASK, gateway=GATEWAY)
    reply = mvdp.Reply(tool.ask(datagram).data)
    if command in (Command.DISCOVER, Command.IDENTIFY):
        assert reply.data == unknown_panel(panel, command=command, description=b"HMI 0")
    assert reply.packet_type == {Command.ECHO: mvdp.REQUEST,
                                 Command.SET_ADDRESS: mvdp.NOT_APPLIED}.get(command, mvdp.REPLY)
    expected = ["creation of file failed"] if command == Command.RESTORE else []
    if command in RESTARTING:
        expected += [NOT_UP_YET] * 3
    assert warnings_since(panel, before) == expected


def test_a_held_connection_works_when_the_service_comes(make_panel):
    panel = make_panel(sim=None)
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).mac == NO_MAC
    panel.start_sim("system")
    reply = tool.ask(mvdp.request(Command.DISCOVER))
    # The description was decided when nobody could be asked.
    assert reply.data == panel.expected_identity(description=b"HMI 0")
    before = len(panel.warnings())
    (panel.mnt / "data" / "hmi").mkdir(parents=True)
    for command in RESTARTING:
        assert tool.ask(mvdp.request(command, mac=MAC)).packet_type == mvdp.REPLY
        wait_for(lambda: panel.sim.restarts() == 1, f"the restart by {command.name}")
        # No restart yet, and not the factory address that a reset leads to.
        panel.sim.set_state(panel.sim.initial_state)
    assert [call[0] for call in panel.calls()].count("resetConfiguration") == 3
    assert panel.warnings()[before:] == []


def test_a_service_that_goes_again_before_its_first_restart_is_waited_for(make_panel):
    panel = make_panel(sim=None)
    tool = panel.tool_at()
    tool.ask(DISCOVER)
    panel.start_sim("system")
    assert tool.ask(DISCOVER).mac == MAC
    panel.stop_sim()
    before = len(panel.warnings())
    assert tool.ask(mvdp.request(Command.RESTART, mac=MAC)).packet_type == mvdp.REPLY
    assert panel.warnings()[before:] == [NOT_UP_YET] * 3
    panel.start_sim("system")
    assert tool.ask(mvdp.request(Command.RESTART, mac=MAC)).packet_type == mvdp.REPLY
    wait_for(lambda: panel.sim.restarts() == 1, "the restart")
    assert len(panel.warnings()) == before + 3


@pytest.mark.parametrize("kind", ["system", "session"])
def test_a_bus_that_comes_up_later_is_found(make_panel, kind):
    panel = make_panel(system_bus=False, sim=None)
    tool = panel.tool_at()
    for _ in range(3):
        assert tool.ask(DISCOVER).data == unknown_panel(panel)
    panel.bus(kind).start()
    panel.start_sim(kind)
    before = len(panel.warnings())
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings()[before:] == ([] if kind == "system" else [NO_SYSTEM_BUS])


@pytest.mark.parametrize("kind", ["system", "session"])
def test_a_service_that_comes_up_later_is_found(make_panel, kind):
    panel = make_panel(session_bus=True, sim=None)
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).data == unknown_panel(panel)
    panel.start_sim(kind)
    assert tool.ask(DISCOVER).data == panel.expected_identity()


def test_a_restarted_service_is_found_by_the_next_datagram(make_panel):
    panel = make_panel()
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.stop_sim()
    # What was known is answered on.
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
