"""The simulated platform service: faults and the call log."""

import struct

import pytest

from hwsdcatalogue import NETWORK, PARTITION, ROOT, SEEPROM, SYSTEM
from hwsdclient import (  # noqa: F401: pytest finds the fixtures here
    bus_fixture, client_fixture, shared_fixture, sim_fixture, start_fixture)

A_LONG_TIME_MS = 3600 * 1000


# Faults

def test_error_fault(sim, client):
    sim.set_fault("getInterfaceConfig", "error", name="org.example.Broken", message="out of order")
    reply = client.call(NETWORK, "getInterfaceConfig", "eth0")
    assert (reply.error, reply.body) == ("org.example.Broken", ("out of order",))
    sim.clear_faults()
    assert client.interface_config()["name"] == "eth0"


def test_a_call_that_fails_has_no_effect(sim, client):
    sim.set_fault("NetworkManager.resetConfiguration", "error")
    assert client.call(NETWORK, "resetConfiguration").error == "com.zelt.HWSD.Error.Simulated"
    assert client.interface_config()["actual_ip_address"] == "192.168.10.5"


def test_a_fault_is_good_for_the_calls_given(sim, client):
    sim.set_fault("restartSystem", "error", calls=2)
    errors = [client.call(ROOT, "restartSystem").error for _ in range(4)]
    assert errors == ["com.zelt.HWSD.Error.Simulated"] * 2 + [None] * 2
    assert sim.restarts() == 2
    assert sim.faults() == []


@pytest.mark.parametrize("key, first, second", [
    ("info", True, True), ("PartitionInfo.info", True, False), (SYSTEM + ".info", False, True), ("*", True, True),
])
def test_a_fault_meets_what_its_key_means(sim, client, key, first, second):
    sim.set_fault(key, "error")
    assert (client.call(PARTITION, "info").error is not None) == first
    assert (client.call(SYSTEM, "info").error is not None) == second


def test_delayed_service_stays_responsive(sim, client):
    sim.set_fault("manufactureCode", "delay", ms=A_LONG_TIME_MS)
    client.send(SYSTEM, "manufactureCode")
    prompt = client.send(SYSTEM, "moduleName")
    assert client.receive()[1] == prompt


def test_delayed_reply_comes_and_is_right(sim, client):
    sim.set_fault("manufactureCode", "delay", ms=50)
    assert client.value(SYSTEM, "manufactureCode") == struct.pack("<i", 506)


def test_delay_goes_with_another_fault(sim, client):
    sim.set_fault("manufactureCode", "delay", ms=20)
    sim.set_fault("manufactureCode", "error", name="a.b")
    assert client.call(SYSTEM, "manufactureCode").error == "a.b"


def test_silence_lasts(sim, client):
    sim.set_fault("resetConfiguration", "silence")
    silent = client.send(NETWORK, "resetConfiguration")
    assert client.interface_config()["actual_ip_address"] == "192.168.10.5"
    # Only the end of the service ends the wait.
    sim.disappear()
    reply, answered = client.receive()
    assert (reply.error, answered) == ("org.freedesktop.DBus.Error.NoReply", silent)


@pytest.mark.parametrize("member, interface, signature, expected", [
    ("getInterfaceConfig", NETWORK, None, "i"), ("manufactureCode", SYSTEM, None, "s"),
    ("info", PARTITION, None, "s"), ("info", PARTITION, "(yyyyay)s", "(yyyyay)s"),
    ("info", PARTITION, "(yyyy(ay)b)tou", "(yyyy(ay)b)tou"), ("getInterfaceConfig", NETWORK, "ay", "ay"),
])
def test_wrong_type_fault(sim, client, member, interface, signature, expected):
    parameters = {"signature": signature} if signature else {}
    sim.set_fault(member, "wrong-type", **parameters)
    arguments = ("eth0",) if member == "getInterfaceConfig" else ()
    reply = client.call(interface, member, *arguments)
    assert (reply.error, reply.signature) == (None, expected)


def test_no_arguments_fault(sim, client):
    sim.set_fault("info", "no-arguments")
    reply = client.call(PARTITION, "info")
    assert (reply.error, reply.signature, reply.body) == (None, "", ())


def test_short_array_fault(sim, client):
    sim.set_fault("*", "short-array", bytes=3)
    assert client.value(SYSTEM, "manufactureCode") == b"\xfa\x01\x00"
    assert client.call(SEEPROM, "readSlvAddr", 0x50, 0x55, 20).body == (0, b"SIM")
    reply = client.call(PARTITION, "info")
    assert (reply.signature, reply.body[0][4]) == ("(yyyyay)", b"UN2")
    sim.set_fault("*", "short-array", bytes=0)
    assert client.value(PARTITION, "info")[4] == b""


@pytest.mark.parametrize("text", ["", "{", '{"name":3}', "\u00fc\u20ac\U0001f600", '"' * 1000])
def test_text_fault(sim, client, text):
    sim.set_fault("getInterfaceConfig", "text", text=text)
    assert client.value(NETWORK, "getInterfaceConfig", "eth0") == text


def test_text_fault_of_two_megabytes(sim, client):
    sim.set_fault("getInterfaceConfig", "text", text="[1,", size=2000000)
    assert client.value(NETWORK, "getInterfaceConfig", "eth0") == ("[1," * 666667)[:2000000]


def test_text_fault_from_a_file(sim, client, tmp_path):
    file = tmp_path / "reply.json"
    file.write_text('{"name": "gr\u00fcn"}', encoding="utf-8")
    sim.set_fault("getInterfaceConfig", "text", file=str(file))
    file.unlink()
    assert client.value(NETWORK, "getInterfaceConfig", "eth0") == '{"name": "gr\u00fcn"}'


def test_disappearing_in_a_call(sim, client):
    sim.set_fault("getInterfaceConfig", "disappear", calls=1)
    assert client.call(NETWORK, "getInterfaceConfig", "eth0").error == "org.freedesktop.DBus.Error.NoReply"
    assert not sim.present()
    sim.reappear()
    assert client.interface_config()["name"] == "eth0"


@pytest.mark.parametrize("method, kind, parameters", [
    ("getInterfaceConfig", "slowness", {}), ("nothingLikeIt", "error", {}), ("", "error", {}),
    ("getInterfaceConfig", "delay", {}), ("getInterfaceConfig", "delay", {"ms": -1}),
    ("getInterfaceConfig", "delay", {"ms": 1.5}), ("getInterfaceConfig", "delay", {"ms": "5"}),
    ("getInterfaceConfig", "delay", {"ms": 1e300}), ("getInterfaceConfig", "delay", {"ms": 5, "s": 1}),
    ("getInterfaceConfig", "error", {"name": "no dots"}), ("getInterfaceConfig", "error", {"name": "a..b"}),
    ("getInterfaceConfig", "error", {"message": "a\0b"}), ("getInterfaceConfig", "text", {"text": "a\0b"}),
    ("getInterfaceConfig", "text", {"file": "/nonexistent/file"}), ("getInterfaceConfig", "text", {"file": "/tmp"}),
    ("getInterfaceConfig", "text", {"size": 70000000}), ("restartSystem", "text", {"text": "no text there"}),
    ("getInterfaceConfig", "short-array", {"bytes": 1}), ("info", "wrong-type", {"signature": "(y"}),
    ("info", "wrong-type", {"signature": "a{sv}"}), ("info", "wrong-type", {"signature": "()"}),
    ("info", "wrong-type", {"signature": "y)"}), ("info", "wrong-type", {"signature": "(" * 40 + "y" + ")" * 40}),
])
def test_an_impossible_fault_is_refused(sim, client, method, kind, parameters):
    with pytest.raises(ValueError, match="InvalidArgs"):
        sim.set_fault(method, kind, **parameters)
    assert sim.faults() == []


def test_faults_are_listed_replaced_and_cleared(sim):
    sim.set_fault("day", "delay", ms=1)
    sim.set_fault("day", "error", calls=3)
    sim.set_fault("day", "delay", ms=2)
    sim.set_fault("month", "silence")
    assert sim.faults() == [{"method": "day", "kind": "error", "parameters": {}, "calls": 3},
                            {"method": "day", "kind": "delay", "parameters": {"ms": 2}, "calls": 0},
                            {"method": "month", "kind": "silence", "parameters": {}, "calls": 0}]
    sim.clear_fault("day")
    assert [fault["method"] for fault in sim.faults()] == ["month"]
    sim.clear_faults()
    assert sim.faults() == []


# The call log

def test_calls_are_logged_in_order_with_their_arguments(sim, client):
    client.call(SEEPROM, "readSlvAddr", 0x50, 0x55, 20)
    client.call(SEEPROM, "write", 3, b"\x00\xff")
    client.call(NETWORK, "getInterfaceConfig", "gr\u00fcn \"x\"")
    client.call(ROOT, "downloadImage", "a", "b", "c", True)
    client.call("com.zelt.HWSD.TimeMgr", "setTimeZoneInfo", ("Z", "UTC0", -1, True))
    client.call(SYSTEM, "day", {"k": ("ai", [1, 2])}, signature="a{sv}")
    logged = [(call["serial"], call["interface"], call["member"], call["arguments"]) for call in sim.calls()]
    assert logged == [
        (1, SEEPROM, "readSlvAddr", [80, 85, 20]),
        (2, SEEPROM, "write", [3, "00ff"]),
        (3, NETWORK, "getInterfaceConfig", ["gr\u00fcn \"x\""]),
        (4, ROOT, "downloadImage", ["a", "b", "c", True]),
        (5, "com.zelt.HWSD.TimeMgr", "setTimeZoneInfo", [["Z", "UTC0", -1, True]]),
        (6, SYSTEM, "day", [[["k", [1, 2]]]]),
    ]


def test_the_log_is_cleared_and_counted(sim, client):
    for _ in range(3):
        client.call(PARTITION, "info")
    client.call(SYSTEM, "info")
    assert sim.call_count("info") == 4
    assert sim.call_count("PartitionInfo.info") == 3
    assert sim.call_count(SYSTEM + ".info") == 1
    assert sim.call_count("*") == 4
    sim.clear_calls()
    assert (sim.calls(), sim.call_count("info")) == ([], 0)
    client.call(SYSTEM, "info")
    assert [call["serial"] for call in sim.calls("info")] == [5]


def test_refused_calls_are_logged(sim, client):
    client.call(SYSTEM, "nothing", 3, path="/Nowhere", signature="i")
    assert sim.calls() == [{"serial": 1, "path": "/Nowhere", "interface": SYSTEM, "member": "nothing",
                            "signature": "i", "arguments": [3]}]
