"""What each command does: its calls in their order, its files, its answer."""

import json
import os

import pytest

import mvdp
from mvdp import Command
from panel import ADDRESS, FACTORY_ADDRESS, GATEWAY, MAC, NETMASK

REFRESH = ("getInterfaceConfig", "eth0")
RELATIVE_MARKER = "mntdatahmi\restorecdsdefault.bin"
NEW = {"address": "192.168.10.20", "netmask": "255.255.254.0", "gateway": "192.168.11.254"}
# Every byte that is not interpreted has a value of its own.
NOISE = bytes(range(26, 256))


@pytest.fixture(autouse=True)
def cached_identity(tool, panel):
    """The identity is asked for once only, so that later calls do not depend on the tests' order."""
    tool.ask(mvdp.request(Command.DISCOVER))
    panel.sim.clear_calls()


def request(command, **fields):
    return mvdp.request(command, mac=MAC, tag=0xA7, rest=NOISE, **fields)


def calls_of(panel, tool, datagram):
    """The reply to a datagram and all calls that it made, also those whose answer is not waited for."""
    reply = tool.ask(datagram)
    tool.settle()
    *calls, settling = panel.calls()
    assert settling == REFRESH
    return reply, calls


@pytest.mark.parametrize("command", [Command.DISCOVER, Command.IDENTIFY, Command.WINK])
def test_an_identity_takes_two_refreshes_and_nothing_else(panel, tool, command):
    reply, calls = calls_of(panel, tool, request(command))
    assert calls == [REFRESH, REFRESH]
    assert reply.data == panel.expected_identity(command=command, tag=0xA7)


def test_an_echo_takes_one_refresh(panel, tool):
    reply, calls = calls_of(panel, tool, request(Command.ECHO))
    assert calls == [REFRESH]
    assert reply.data == request(Command.ECHO)


@pytest.mark.parametrize("datagram", [
    b"x", b"x" * 256, b"x" * 300, mvdp.request(1, version=1), mvdp.request(1, packet_type=2), mvdp.request(0),
    mvdp.request(4, mac="00:00:00:00:00:01"), mvdp.request(255)],
    ids=["one-byte", "foreign", "long", "version", "type", "command-0", "not-targeted", "command-255"])
def test_what_is_dropped_has_been_refreshed_for(panel, tool, datagram):
    """The settings are read before the header is looked at."""
    tool.expect_silence(datagram)
    assert panel.calls() == [REFRESH, REFRESH]


def test_new_settings_are_read_sent_applied_and_read_again(panel, tool):
    reply, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, **NEW))
    assert [call[0] for call in calls] == [
        "getInterfaceConfig", "getInterfaceConfig", "setInterfaceConfigJSON", "applyNewConfiguration",
        "getInterfaceConfig"]
    assert reply.data == panel.expected_identity(command=Command.SET_ADDRESS, tag=0xA7, **NEW)
    assert panel.sim.interface()["actual_ip_address"] == NEW["address"]


def test_the_settings_in_force_may_be_set_again(panel, tool):
    same = {"address": ADDRESS, "netmask": NETMASK, "gateway": GATEWAY}
    reply, _ = calls_of(panel, tool, request(Command.SET_ADDRESS, **same))
    assert reply.data == panel.expected_identity(command=Command.SET_ADDRESS, tag=0xA7)


def test_the_configured_values_are_replaced_and_all_others_kept(panel, tool):
    panel.sim.set_interface(label="Line \u00e9", metric=7, actual_metric=9, hidden=True, virtual=True,
                            configured=True, dhcp=True, ip_address="1.1.1.1", netmask="2.2.2.2",
                            gateway_ip="3.3.3.3")
    _, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, **NEW))
    ((_, interface, text),) = [call for call in calls if call[0] == "setInterfaceConfigJSON"]
    assert interface == "eth0"
    # The members' order is part of it.
    assert list(json.loads(text).items()) == [
        ("name", "eth0"), ("label", "Line \u00e9"), ("mac_address", MAC), ("ip_address", NEW["address"]),
        ("netmask", NEW["netmask"]), ("gateway_ip", NEW["gateway"]), ("metric", 7), ("dhcp", False),
        ("configured", True), ("readonly", False), ("virtual", True), ("hidden", True),
        ("actual_netmask", NETMASK), ("actual_ip_address", ADDRESS), ("actual_gateway_ip", GATEWAY),
        ("actual_metric", 9)]


def test_dhcp_is_turned_off(panel, tool):
    panel.sim.set_interface(dhcp=True)
    reply, _ = calls_of(panel, tool, request(Command.SET_ADDRESS, **NEW))
    assert reply.address == NEW["address"]
    assert panel.sim.interface()["dhcp"] is False


def test_implausible_settings_are_passed_on_as_they_are(panel, tool):
    """Such a setting is the platform service's to judge; here it refuses the netmask's holes."""
    reply, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, address="0.0.0.0", netmask="255.0.255.0",
                                                 gateway="255.255.255.255"))
    (sent,) = [json.loads(call[2]) for call in calls if call[0] == "setInterfaceConfigJSON"]
    assert (sent["ip_address"], sent["netmask"], sent["gateway_ip"]) == (
        "0.0.0.0", "255.0.255.0", "255.255.255.255")
    assert reply.data == panel.expected_identity(command=Command.SET_ADDRESS, tag=0xA7)


def test_settings_that_cannot_be_read_are_not_applied(panel, tool):
    """The refresh and the apply's own reading fail; the answer's refresh works again."""
    panel.sim.set_fault("getInterfaceConfig", "error", calls=2)
    reply, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, **NEW))
    assert calls == [REFRESH, REFRESH, REFRESH]
    assert reply.data == panel.expected_identity(packet_type=3, command=Command.SET_ADDRESS, tag=0xA7)


def test_without_any_reading_the_reply_holds_what_was_staged(panel, tool):
    """The cache is all there is then: its address fields are the request's."""
    panel.sim.set_fault("getInterfaceConfig", "error", calls=3)
    reply, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, **NEW))
    assert calls == [REFRESH, REFRESH, REFRESH]
    assert reply.data == panel.expected_identity(packet_type=3, command=Command.SET_ADDRESS, tag=0xA7, **NEW)


def test_a_refused_setting_is_not_applied_though_the_reply_says_done(panel, tool):
    panel.sim.set_fault("setInterfaceConfigJSON", "error")
    reply, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, **NEW))
    assert [call[0] for call in calls] == ["getInterfaceConfig", "getInterfaceConfig",
                                           "setInterfaceConfigJSON", "getInterfaceConfig"]
    assert reply.data == panel.expected_identity(command=Command.SET_ADDRESS, tag=0xA7)


def test_a_failing_apply_is_not_noticed(panel, tool):
    panel.sim.set_fault("applyNewConfiguration", "error")
    reply, calls = calls_of(panel, tool, request(Command.SET_ADDRESS, **NEW))
    assert calls[3] == ("applyNewConfiguration",)
    assert reply.data == panel.expected_identity(command=Command.SET_ADDRESS, tag=0xA7)


def test_the_relative_marker_lies_in_the_working_directory(panel, tool):
    (panel.mnt / "data" / "hmi").mkdir(parents=True)
    reply, calls = calls_of(panel, tool, request(Command.RESTORE_RELATIVE))
    assert calls == [REFRESH, ("resetConfiguration",), ("restartSystem",), REFRESH]
    assert reply.data == panel.expected_identity(command=Command.RESTORE_RELATIVE, tag=0xA7,
                                                 address=FACTORY_ADDRESS, gateway="0.0.0.0")
    assert len(RELATIVE_MARKER) == 31
    assert os.listdir(panel.working_folder) == [RELATIVE_MARKER]
    assert (panel.working_folder / RELATIVE_MARKER).read_bytes() == b""
    assert not list((panel.mnt / "data" / "hmi").iterdir())
    assert panel.sim.restarts() == 1


def test_an_existing_relative_marker_is_left_as_it_is(panel, tool):
    marker = panel.working_folder / RELATIVE_MARKER
    marker.write_bytes(b"content")
    calls_of(panel, tool, request(Command.RESTORE_RELATIVE))
    assert marker.read_bytes() == b"content"


def test_a_relative_marker_that_cannot_be_made_is_not_reported(panel, tool):
    (panel.working_folder / RELATIVE_MARKER).mkdir()
    before = panel.warnings()
    _, calls = calls_of(panel, tool, request(Command.RESTORE_RELATIVE))
    assert calls == [REFRESH, ("resetConfiguration",), ("restartSystem",), REFRESH]
    assert panel.warnings() == before


def test_a_reset_answers_with_the_request(panel, tool):
    datagram = request(Command.RESET_NETWORK, address="1.2.3.4")
    reply, calls = calls_of(panel, tool, datagram)
    assert calls == [REFRESH, ("resetConfiguration",), ("restartSystem",)]
    assert reply.data == datagram[:5] + b"\x02" + datagram[6:]
    assert panel.sim.interface()["actual_ip_address"] == FACTORY_ADDRESS
    assert not os.listdir(panel.working_folder) and not os.listdir(panel.mnt)


def test_the_absolute_marker_is_made(panel, tool):
    folder = panel.mnt / "data" / "hmi"
    folder.mkdir(parents=True)
    before = panel.warnings()
    datagram = request(Command.RESTORE, address="1.2.3.4")
    reply, calls = calls_of(panel, tool, datagram)
    assert calls == [REFRESH, ("resetConfiguration",), ("restartSystem",)]
    assert reply.data == datagram[:5] + b"\x02" + datagram[6:]
    assert os.listdir(folder) == ["restorecdsdefault.bin"]
    assert (folder / "restorecdsdefault.bin").read_bytes() == b""
    assert not os.listdir(panel.working_folder)
    assert panel.warnings() == before


def test_an_existing_absolute_marker_is_left_as_it_is(panel, tool):
    folder = panel.mnt / "data" / "hmi"
    folder.mkdir(parents=True)
    (folder / "restorecdsdefault.bin").write_bytes(b"content")
    calls_of(panel, tool, request(Command.RESTORE))
    assert (folder / "restorecdsdefault.bin").read_bytes() == b"content"


def test_an_absolute_marker_that_cannot_be_made_is_reported(panel, tool):
    """There is no /mnt/data/hmi: the defaults are restored all the same."""
    before = panel.warnings()
    datagram = request(Command.RESTORE)
    reply, calls = calls_of(panel, tool, datagram)
    assert calls == [REFRESH, ("resetConfiguration",), ("restartSystem",)]
    assert reply.data == datagram[:5] + b"\x02" + datagram[6:]
    assert panel.warnings() == before + ["creation of file failed"]
    assert not os.listdir(panel.mnt)


def test_a_restart_is_asked_for_before_the_answer(panel, tool):
    reply, calls = calls_of(panel, tool, request(Command.RESTART))
    assert calls == [REFRESH, ("restartSystem",), REFRESH]
    assert reply.data == panel.expected_identity(command=Command.RESTART, tag=0xA7)
    assert panel.sim.restarts() == 1


@pytest.mark.parametrize("method", ["resetConfiguration", "restartSystem"])
@pytest.mark.parametrize("command", [Command.RESTORE_RELATIVE, Command.RESET_NETWORK, Command.RESTORE])
def test_a_failing_reset_or_restart_changes_nothing_about_the_answer(panel, tool, command, method):
    panel.sim.set_fault(method, "error")
    reply, calls = calls_of(panel, tool, request(command))
    assert [call[0] for call in calls][1:3] == ["resetConfiguration", "restartSystem"]
    assert (reply.packet_type, reply.command, reply.tag) == (mvdp.REPLY, command, 0xA7)


def test_the_restart_is_not_waited_for(panel, tool):
    panel.sim.set_fault("restartSystem", "silence")
    panel.sim.set_fault("applyNewConfiguration", "silence")
    assert tool.ask(request(Command.RESTART)).packet_type == mvdp.REPLY
    assert tool.ask(request(Command.SET_ADDRESS, **NEW)).packet_type == mvdp.REPLY


def test_two_winks_in_a_row_are_both_answered(panel, tool):
    first, second = request(Command.WINK), mvdp.request(Command.WINK, mac=MAC, tag=1)
    tool.send(first)
    tool.send(second)
    assert mvdp.Reply(tool.receive()).tag == 0xA7
    assert mvdp.Reply(tool.receive()).tag == 1


def test_the_target_of_a_new_interface_record_is_the_new_hardware_address(panel, tool):
    """The target is compared with what the refresh of this very datagram has read."""
    panel.sim.set_interface(mac_address="02:00:00:00:00:01")
    tool.expect_silence(request(Command.IDENTIFY))
    assert tool.ask(mvdp.request(Command.IDENTIFY, mac="02:00:00:00:00:01")).mac == "02:00:00:00:00:01"
