"""Each command from request to answer: its calls in their order, its marker file, its reply."""

import json
import os

import pytest

import mvdp
from mvdp import Command
from panel import ADDRESS, FACTORY_ADDRESS, GATEWAY, MAC, NETMASK

REFRESH, RESET, RESTART = ("getInterfaceConfig", "eth0"), ("resetConfiguration",), ("restartSystem",)
ROADS = {Command.DISCOVER: [REFRESH, REFRESH], Command.ECHO: [REFRESH], Command.IDENTIFY: [REFRESH, REFRESH],
         Command.RESTORE_RELATIVE: [REFRESH, RESET, RESTART, REFRESH], Command.WINK: [REFRESH, REFRESH],
         Command.RESET_NETWORK: [REFRESH, RESET, RESTART], Command.RESTORE: [REFRESH, RESET, RESTART],
         Command.RESTART: [REFRESH, RESTART, REFRESH]}
# The only byte of the request that differs in its answer.
TYPE_OF_SAME_DATAGRAM = {Command.ECHO: b"\x01", Command.RESET_NETWORK: b"\x02", Command.RESTORE: b"\x02"}
MARKERS = {Command.RESTORE_RELATIVE: ["work/mntdatahmi\restorecdsdefault.bin"],
           Command.RESTORE: ["mnt/data/hmi/restorecdsdefault.bin"]}

NEW = {"address": "192.168.10.20", "netmask": "255.255.254.0", "gateway": "192.168.11.254"}
# Every byte that is not interpreted has a different value.
NOISE = bytes(range(26, 256))


@pytest.fixture(autouse=True)
def cached_identity(tool, panel):
    """The identity is asked for once only, so that later calls do not depend on the tests' order."""
    tool.ask(mvdp.request(Command.DISCOVER))
    panel.sim.clear_calls()


def request(command, **fields):
    return mvdp.request(command, mac=MAC, tag=0xA7, rest=NOISE, **fields)


def calls_of(panel, tool, datagram):
    """The reply to a datagram and all calls that it made, including those whose answer is not waited for."""
    reply = tool.ask(datagram)
    tool.settle()
    *calls, settling = panel.calls()
    assert settling == REFRESH
    return reply, calls


@pytest.mark.parametrize("command", ROADS, ids=lambda command: command.name)
def test_a_command_makes_its_calls_and_is_answered(panel, tool, command):
    (panel.mnt / "data" / "hmi").mkdir(parents=True)
    datagram = request(command)
    reply, calls = calls_of(panel, tool, datagram)
    assert calls == ROADS[command]
    if command in TYPE_OF_SAME_DATAGRAM:
        assert reply.data == datagram[:5] + TYPE_OF_SAME_DATAGRAM[command] + datagram[6:]
    else:
        # Two of the identity replies report the settings in force after a reset.
        settings = {"address": FACTORY_ADDRESS, "gateway": "0.0.0.0"} if RESET in calls else {}
        assert reply.data == panel.expected_identity(command=command, tag=0xA7, **settings)
    assert panel.sim.restarts() == calls.count(RESTART)
    files = [os.path.join(folder, name) for place in (panel.mnt, panel.working_folder)
             for folder, _, names in os.walk(place) for name in names]
    assert [os.path.relpath(file, panel.folder) for file in files] == MARKERS.get(command, [])


@pytest.mark.parametrize("settings", [NEW, {"address": ADDRESS, "netmask": NETMASK, "gateway": GATEWAY}],
                         ids=["new", "in-force"])
def test_settings_are_read_sent_applied_and_read_again(panel, tool, settings):
    panel.sim.set_interface(label="Line \u00e9", dhcp=True)
    reply, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, **settings))
    assert [call[0] for call in calls] == [
        "getInterfaceConfig", "getInterfaceConfig", "setInterfaceConfigJSON", "applyNewConfiguration",
        "getInterfaceConfig"]
    assert json.loads(calls[2][2])["label"] == "Line \u00e9"
    assert reply.data == panel.expected_identity(command=Command.SET_ADDRESS, tag=0xA7, **settings)
    record = panel.sim.interface()
    assert (record["actual_ip_address"], record["dhcp"]) == (settings["address"], False)


@pytest.mark.parametrize("datagram", [b"x" * 300, mvdp.request(1, packet_type=mvdp.REPLY), mvdp.request(255),
                                      mvdp.request(4, mac="00:00:00:00:00:01")],
                         ids=["foreign", "reply", "unknown-command", "other-panel"])
def test_what_is_dropped_has_been_refreshed_for(panel, tool, datagram):
    """The settings are read before the header is looked at."""
    tool.expect_silence(datagram)
    assert panel.calls() == [REFRESH, REFRESH]
