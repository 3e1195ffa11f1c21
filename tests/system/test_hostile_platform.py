"""A platform service that breaks its contract must not break this one."""

import json

import pytest

import mvdp
from mvdp import Command
from panel import ADDRESS, GATEWAY, MAC, NETMASK

DISCOVER = mvdp.request(Command.DISCOVER)
NEW = {"address": "192.168.10.20", "netmask": "255.255.254.0", "gateway": "192.168.11.254"}
SET = mvdp.request(Command.SET_ADDRESS, mac=MAC, **NEW)
MISTYPED = 'Mistyped value in the configuration of interface "eth0" Bad cast'
LARGE = 2000000

METHODS = ["getInterfaceConfig", "setInterfaceConfigJSON", "applyNewConfiguration", "resetConfiguration",
           "restartSystem", "info", "manufactureCode", "readSlvAddr"]
# Of a reply's arguments; "" is none at all.
SIGNATURES = ["", "s", "i", "u", "t", "y", "b", "o", "ay", "(yyyyay)", "(yyyy)", "(yyyyays)", "(yyyyy)", "(s)",
              "((((s))))", "iay", "ayi", "ii", "is", "sss", "iayiayiay"]


@pytest.fixture(autouse=True)
def known_cache(panel, tool):
    """What a failed reading leaves in place is the panel's own values."""
    if tool.ask(DISCOVER).data != panel.expected_identity():
        # The test before has made the service believe something else for good.
        panel.restart_service()
        assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.sim.clear_calls()


def answer_text(panel, text, **fault):
    """Long texts go by a file: the control interface takes them, but logs of failures are read by people."""
    path = panel.folder / "reply.json"
    path.write_text(text, encoding="utf-8")
    panel.sim.set_fault("getInterfaceConfig", "text", file=str(path), **fault)


def record(**changes):
    members = {"name": "eth0", "mac_address": MAC, "actual_ip_address": ADDRESS, "actual_netmask": NETMASK,
               "actual_gateway_ip": GATEWAY}
    return json.dumps(dict(members, **changes))


def test_a_mistyped_member_spoils_the_whole_reading(panel, tool):
    """Nothing of such a record is taken, even what stands before the mistake."""
    text = record(actual_ip_address="9.9.9.9", configured=[])
    answer_text(panel, text)
    before = len(panel.warnings())
    for _ in range(3):
        assert tool.ask(DISCOVER).data == panel.expected_identity()
    # The two readings for each datagram say it once.
    assert panel.warnings()[before:] == [MISTYPED]
    # As for a setting: the answer's own reading works again, the two before do not.
    panel.sim.clear_faults()
    answer_text(panel, text, calls=2)
    assert tool.ask(SET).data == panel.expected_identity(packet_type=3, command=Command.SET_ADDRESS)
    assert panel.sim.call_count("setInterfaceConfigJSON") == 0


def test_a_large_record_is_read_and_sent_back(panel, tool):
    answer_text(panel, record(label="x" * LARGE))
    assert tool.ask(SET).data == panel.expected_identity(command=Command.SET_ADDRESS)
    tool.settle()
    assert panel.sim.interface()["label"] == "x" * LARGE


def test_a_large_text_without_a_record_counts_as_an_empty_one(panel, tool):
    answer_text(panel, "[" * LARGE)
    reply = tool.ask(DISCOVER)
    assert (reply.address, reply.netmask, reply.gateway) == ("0.0.0.0", "0.0.0.0", "0.0.0.0")
    panel.sim.clear_faults()
    assert tool.ask(DISCOVER).data == panel.expected_identity()


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

    def answer_to(datagram):
        sock.sendto(datagram, (ADDRESS, mvdp.PORT))
        return mvdp.Reply(capture.next(lambda packet: packet.destination_port == port, "the answer").payload)

    for command in (*Command, Command.SET_ADDRESS):
        # The target is the address that the panel believes to have just now.
        mac = answer_to(DISCOVER).mac
        assert answer_to(mvdp.request(command, mac=mac, **NEW)).command == command
    panel.check_alive()


@pytest.mark.parametrize("methods", [METHODS[:1], METHODS[1:]], ids=["the-record", "all-others"])
@pytest.mark.parametrize("signature", SIGNATURES)
def test_replies_of_any_form_are_survived(panel, methods, signature):
    """The record has a separate case, because no setting goes on without it. Of two settings only the first gets the
    odd reply, so that the second is applied."""
    prepare_to_be_asked(panel)
    for method in methods:
        calls = 1 if method == "setInterfaceConfigJSON" else 0
        if signature:
            panel.sim.set_fault(method, "wrong-type", calls, signature=signature)
        else:
            panel.sim.set_fault(method, "no-arguments", calls)
    answer_everything(panel)
    assert all(panel.sim.call_count(method) > 0 for method in methods)


@pytest.mark.parametrize("size", [0, 1, 2, 3, 4, 5, 19, 20, 21])
def test_short_arrays_are_survived(panel, size):
    prepare_to_be_asked(panel)
    for method in ("info", "manufactureCode", "readSlvAddr"):
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
    assert [tool.receive() for _ in range(5)] == [panel.expected_identity(tag=tag) for tag in range(1, 6)]


def test_a_silent_service_costs_the_buss_time_out_and_is_asked_again(panel, tool):
    """Half a minute at most, and then as after an error."""
    panel.sim.set_interface(actual_gateway_ip="1.1.1.1")
    panel.sim.set_fault("getInterfaceConfig", "silence", calls=1)
    tool.send(mvdp.request(Command.ECHO, tag=1))
    tool.send(DISCOVER)
    assert mvdp.Reply(tool.receive(patience=120)).tag == 1
    assert mvdp.Reply(tool.receive()).data == panel.expected_identity(gateway="1.1.1.1")
