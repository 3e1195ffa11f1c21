"""A platform service that breaks its contract must not break this one."""

import json

import pytest

import mvdp
from mvdp import Command
from panel import ADDRESS, GATEWAY, MAC, NETMASK

DISCOVER = mvdp.request(Command.DISCOVER)
NEW = {"address": "192.168.10.20", "netmask": "255.255.254.0", "gateway": "192.168.11.254"}
SET = mvdp.request(Command.SET_ADDRESS, mac=MAC, **NEW)

TEXTS = ["name", "label", "mac_address", "ip_address", "netmask", "gateway_ip", "actual_ip_address",
         "actual_netmask", "actual_gateway_ip"]
NUMBERS = ["metric", "actual_metric"]
FLAGS = ["dhcp", "readonly", "virtual", "hidden", "configured"]
WRONG_VALUES = ([(key, value) for key in TEXTS for value in (1, True, None, [], {}, ["x"])] +
                [(key, value) for key in NUMBERS for value in ("1", True, None, [], {})] +
                [(key, value) for key in FLAGS for value in ("true", 1, 0, None, [], {})])

MISTYPED = 'Mistyped value in the configuration of interface "eth0" Bad cast'

METHODS = ["getInterfaceConfig", "setInterfaceConfigJSON", "applyNewConfiguration", "resetConfiguration",
           "restartSystem", "info", "manufactureCode", "readSlvAddr"]
# Of a reply's arguments; "" is none at all.
SIGNATURES = ["", "s", "i", "u", "t", "y", "b", "o", "ay", "(yyyyay)", "(yyyy)", "(yyyyays)", "(yyyyy)", "(s)",
              "((((s))))", "iay", "ayi", "ii", "is", "sss", "iayiayiay"]
ALL_COMMANDS = [Command.DISCOVER, Command.ECHO, Command.IDENTIFY, Command.SET_ADDRESS,
                Command.RESTORE_RELATIVE, Command.WINK, Command.RESET_NETWORK, Command.RESTORE,
                Command.RESTART]


@pytest.fixture(autouse=True)
def known_cache(panel, tool):
    """What a failed reading leaves in place is the panel's own values."""
    if tool.ask(DISCOVER).data != panel.expected_identity():
        # The test before has made the service believe something else for good.
        panel.restart_service()
        assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.sim.clear_calls()


def reply_text(panel, text):
    path = panel.folder / "reply.json"
    path.write_text(text, encoding="utf-8")
    return {"file": str(path)}


def record(**changes):
    members = {"name": "eth0", "mac_address": MAC, "actual_ip_address": ADDRESS, "actual_netmask": NETMASK,
               "actual_gateway_ip": GATEWAY}
    return json.dumps(dict(members, **changes))


@pytest.mark.parametrize("key, value", WRONG_VALUES, ids=lambda each: repr(each))
def test_a_mistyped_member_spoils_the_whole_reading(panel, tool, key, value):
    """Nothing of such a record is taken, even what stands before the mistake."""
    text = record(**{"actual_ip_address": "9.9.9.9", "mac_address": "99:99:99:99:99:99", key: value})
    panel.sim.set_fault("getInterfaceConfig", "text", **reply_text(panel, text))
    before = len(panel.warnings())
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    for _ in range(3):
        assert tool.ask(DISCOVER).data == panel.expected_identity()
    # The two readings for each datagram say it once.
    assert panel.warnings()[before:] == [MISTYPED]
    # As for a setting: the answer's own reading works again, the two before do not.
    panel.sim.clear_faults()
    panel.sim.set_fault("getInterfaceConfig", "text", calls=2, **reply_text(panel, text))
    panel.sim.clear_calls()
    reply = tool.ask(SET)
    assert reply.data == panel.expected_identity(packet_type=3, command=Command.SET_ADDRESS)
    assert {call[0] for call in panel.calls()} == {"getInterfaceConfig"}


@pytest.mark.parametrize("text", [
    record(label="x" * 2000000), record(**{f"unknown{i}": i for i in range(50000)}),
    record(list=[[]] * 200000), record(deep=json.loads("[" * 60 + "]" * 60)), record(metric=10 ** 300),
    record(label="\u4e2d\u6587 \U0001f600"), record(unknown="\\u0000")], ids=lambda text: repr(text[150:190]))
def test_large_and_strange_but_good_records_are_read(panel, tool, text):
    panel.sim.set_fault("getInterfaceConfig", "text", **reply_text(panel, text))
    before = panel.warnings()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == before
    assert tool.ask(SET).packet_type == mvdp.REPLY


@pytest.mark.parametrize("text", [
    "x" * 2000000, "[" * 2000000, '{"name":' * 250000, '"' + "\\u" * 100000, "{" + '"a":1,' * 300000,
    '{"name":"' + "y" * 2000000, '{"metric":' + "9" * 2000000 + "}", '{"metric":-}', '{"metric":1e99999}',
    "\u4e2d" * 1000, " " * 2000000, "\ufeff{}"], ids=lambda text: repr(text[:30]))
def test_large_and_strange_texts_without_a_record_are_survived(panel, tool, text):
    panel.sim.set_interface(actual_netmask="255.255.255.0")
    panel.sim.set_fault("getInterfaceConfig", "text", **reply_text(panel, text))
    reply = tool.ask(DISCOVER)
    assert (reply.address, reply.netmask, reply.gateway) == ("0.0.0.0", "0.0.0.0", "0.0.0.0")
    panel.sim.clear_faults()
    assert tool.ask(DISCOVER).data == panel.expected_identity()


@pytest.mark.parametrize("kind, parameters", [
    ("error", {}), ("error", {"name": "org.freedesktop.DBus.Error.NoReply"}), ("error", {"message": "x" * 100000}),
    ("no-arguments", {}), ("wrong-type", {}), ("wrong-type", {"signature": "ay"}),
    ("wrong-type", {"signature": "o"}), ("wrong-type", {"signature": "(s)"}),
    ("wrong-type", {"signature": "is"})], ids=lambda each: repr(each)[:60])
def test_a_reading_without_a_text_is_a_failed_one(panel, tool, kind, parameters):
    panel.sim.set_interface(actual_ip_address="9.9.9.9")
    panel.sim.set_fault("getInterfaceConfig", kind, **parameters)
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.sim.clear_faults()
    panel.sim.set_interface(actual_ip_address=ADDRESS)
    panel.sim.set_fault("getInterfaceConfig", kind, calls=2, **parameters)
    panel.sim.clear_calls()
    assert tool.ask(SET).data == panel.expected_identity(packet_type=3, command=Command.SET_ADDRESS)
    assert {call[0] for call in panel.calls()} == {"getInterfaceConfig"}


@pytest.mark.parametrize("method", METHODS)
def test_replies_of_any_form_are_survived(panel, method):
    for signature in SIGNATURES:
        prepare_to_be_asked(panel)
        if signature:
            panel.sim.set_fault(method, "wrong-type", signature=signature)
        else:
            panel.sim.set_fault(method, "no-arguments")
        answer_everything(panel)
        assert panel.sim.call_count(method) > 0


def prepare_to_be_asked(panel):
    """A fresh service, which asks for all that it asks for once only, and a panel without a model."""
    panel.restart_service()
    panel.reset()
    panel.sim.set_state({"identity": {"manufactureCode": 503}})


def answer_everything(panel):
    """Every command is answered; where to does not matter here."""
    sock = panel.tool.udp_socket()
    port = sock.getsockname()[1]
    capture = panel.tool.capture("eth0")
    for command in ALL_COMMANDS:
        # The target is the address that the panel believes to have just now.
        sock.sendto(DISCOVER, (ADDRESS, mvdp.PORT))
        mac = mvdp.Reply(next_to(capture, port)).mac
        sock.sendto(mvdp.request(command, mac=mac, **NEW), (ADDRESS, mvdp.PORT))
        assert mvdp.Reply(next_to(capture, port)).command == command
    panel.check_alive()


def next_to(capture, port):
    return capture.next(lambda packet: packet.destination_port == port, "the answer").payload


@pytest.mark.parametrize("method", ["info", "manufactureCode", "readSlvAddr"])
def test_short_arrays_are_survived(panel, method):
    for size in (0, 1, 2, 3, 4, 5, 19, 20, 21):
        prepare_to_be_asked(panel)
        panel.sim.set_fault(method, "short-array", bytes=size)
        answer_everything(panel)


@pytest.mark.parametrize("method", METHODS)
def test_a_service_that_goes_in_the_middle_of_a_call_is_found_again(panel, tool, method):
    prepare_to_be_asked(panel)
    panel.sim.set_fault(method, "disappear", calls=1)
    command = {"setInterfaceConfigJSON": Command.SET_ADDRESS, "applyNewConfiguration": Command.SET_ADDRESS,
               "resetConfiguration": Command.RESET_NETWORK, "restartSystem": Command.RESTART}.get(method)
    datagram = mvdp.request(command, mac=MAC, **NEW) if command else DISCOVER
    assert tool.ask(datagram).command == datagram[6]
    assert not panel.sim.present()
    panel.sim.reappear()
    panel.sim.clear_faults()
    assert tool.ask(DISCOVER).data[:6] == mvdp.MAGIC + b"\x04\x02"
    assert tool.ask(mvdp.request(Command.IDENTIFY, mac=MAC)).mac == MAC


def test_a_slow_service_delays_but_loses_nothing(panel, tool):
    """Datagrams wait in the socket's buffer meanwhile and are answered in their order."""
    panel.sim.set_fault("getInterfaceConfig", "delay", ms=200)
    for tag in range(1, 6):
        tool.send(mvdp.request(Command.DISCOVER, tag=tag))
    assert [mvdp.Reply(tool.receive()).data for _ in range(5)] == [panel.expected_identity(tag=tag)
                                                                   for tag in range(1, 6)]


def test_a_silent_service_costs_the_buss_time_out_and_is_asked_again(panel, tool):
    """Half a minute at most, and then as after an error."""
    panel.sim.set_interface(actual_gateway_ip="1.1.1.1")
    panel.sim.set_fault("getInterfaceConfig", "silence", calls=1)
    tool.send(mvdp.request(Command.ECHO, tag=1))
    tool.send(DISCOVER)
    assert mvdp.Reply(tool.receive(patience=120)).tag == 1
    assert mvdp.Reply(tool.receive()).data == panel.expected_identity(gateway="1.1.1.1")
