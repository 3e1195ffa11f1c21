"""The simulated platform service: its interfaces, measured against literals."""

import struct
import xml.etree.ElementTree

import pytest
from jeepney import DBusAddress, HeaderFields, MessageType, new_method_call

from hwsdcatalogue import CATALOGUE, METHODS, NETWORK, PARTITION, ROOT, SYSTEM
from hwsdclient import (  # noqa: F401: pytest finds the fixtures here
    Reply, bus_fixture, client_fixture, shared_fixture, sim_fixture, start_fixture)
from hwsdsim import SERVICE_NAME
from waiting import PATIENCE


# The twelve interfaces

def test_the_catalogue_here_is_whole():
    assert len(CATALOGUE) == 12
    assert len(METHODS) == 89


@pytest.mark.parametrize("path, interface, member, inputs, _names, output, arguments", METHODS,
                         ids=[f"{row[1]}.{row[2]}" for row in METHODS])
def test_method_replies_with_its_signature(shared, path, interface, member, inputs, _names, output, arguments):
    reply = shared.call(interface, member, *arguments, path=path, signature=inputs)
    assert reply.error is None, reply.body
    assert reply.signature == output


@pytest.mark.parametrize("path, interface, member, inputs, _names, _output, _arguments", METHODS,
                         ids=[f"{row[1]}.{row[2]}" for row in METHODS])
def test_method_refuses_other_arguments(shared, path, interface, member, inputs, _names, _output, _arguments):
    reply = shared.call(interface, member, 1, *[2] * len(inputs), path=path, signature="d" + "x" * len(inputs))
    assert reply.error == "org.freedesktop.DBus.Error.InvalidArgs"


@pytest.mark.parametrize("path, interface, methods", CATALOGUE, ids=[row[1] for row in CATALOGUE])
def test_introspection_tells_the_interface(shared, path, interface, methods):
    reply = shared.call("org.freedesktop.DBus.Introspectable", "Introspect", path=path, signature="")
    node = xml.etree.ElementTree.fromstring(reply.body[0])
    described = {each.get("name"): each for each in node.findall("interface")}
    assert set(described) == {interface}
    told = {}
    for method in described[interface].findall("method"):
        inputs = [arg for arg in method.findall("arg") if arg.get("direction") == "in"]
        outputs = [arg for arg in method.findall("arg") if arg.get("direction") == "out"]
        told[method.get("name")] = ("".join(arg.get("type") for arg in inputs),
                                    ",".join(arg.get("name") for arg in inputs),
                                    "".join(arg.get("type") for arg in outputs))
    assert told == {name: about[:3] for name, about in methods.items()}
    signals = {each.get("name"): each.find("arg").get("type") for each in described[interface].findall("signal")}
    expected = {} if interface == SYSTEM else {"error": "s"}
    if interface == ROOT:
        expected["mousePlugEvent"] = "i"
    assert signals == expected
    children = {"/" + each.get("name") for each in node.findall("node")}
    assert children == ({row[0] for row in CATALOGUE} - {"/"} if path == "/" else set())


def test_a_method_is_found_without_its_interface(sim, client):
    target = DBusAddress("/SystemInfo", bus_name=SERVICE_NAME)
    reply = client.connection.send_and_get_reply(new_method_call(target, "manufactureCode"), timeout=PATIENCE)
    assert reply.body == (struct.pack("<i", 506),)


def test_the_activating_call_is_refused_and_logged(sim, client):
    target = DBusAddress("/", bus_name=SERVICE_NAME)
    answer = client.connection.send_and_get_reply(new_method_call(target, "q_autostart"), timeout=PATIENCE)
    assert Reply(answer).error == "org.freedesktop.DBus.Error.UnknownMethod"
    assert sim.call_count("q_autostart") == 1
    assert sim.calls() == [{"serial": 1, "path": "/", "interface": "", "member": "q_autostart", "signature": "",
                            "arguments": []}]


def test_ping_is_answered(sim, client):
    reply = client.call("org.freedesktop.DBus.Peer", "Ping", path="/", signature="")
    assert (reply.error, reply.signature) == (None, "")


@pytest.mark.parametrize("path, interface, member, error", [
    ("/Nowhere", SYSTEM, "day", "UnknownObject"),
    ("/SystemInfo/deeper", SYSTEM, "day", "UnknownObject"),
    ("/SystemInfo", PARTITION, "version", "UnknownInterface"),
    ("/MainOSInfo", PARTITION, "moduleName", "UnknownMethod"),
    ("/MainOSInfo", "org.freedesktop.DBus.Properties", "Get", "UnknownMethod"),
])
def test_what_is_not_there_is_refused(shared, path, interface, member, error):
    reply = shared.call(interface, member, path=path, signature="")
    assert reply.error == "org.freedesktop.DBus.Error." + error


def test_mouse_notification_is_announced(sim, client):
    client.connection.send_and_get_reply(new_method_call(
        DBusAddress("/org/freedesktop/DBus", "org.freedesktop.DBus", "org.freedesktop.DBus"), "AddMatch", "s",
        ("type='signal',interface='com.zelt.HWSD',member='mousePlugEvent'",)), timeout=PATIENCE)
    client.send(ROOT, "mouseNotification", 1)
    while True:
        message = client.connection.receive(timeout=PATIENCE)
        if message.header.message_type == MessageType.signal \
                and message.header.fields[HeaderFields.member] == "mousePlugEvent":
            break
    assert message.body == (1,)


# Hostile callers

EXTREMES = {
    "s": ["", "x" * 100000, "\u00fc\U0001f600", "%1 %s {0}", "../../etc/passwd"],
    "i": [0, -1, 2**31 - 1, -2**31], "u": [0, 1, 2**32 - 1], "y": [0, 255], "b": [True, False],
    "ay": [b"", b"\0" * 300, b"\xff" * 100000],
    "(ssib)": [("", "", -2**31, True), ("x" * 100000, "y", 2**31 - 1, False)],
}


def test_extreme_arguments_are_answered(sim, client):
    for _, interface, member, inputs, _, _, _ in METHODS:
        types = ["(ssib)"] if inputs == "(ssib)" else \
            ["ay" if letter == "A" else letter for letter in inputs.replace("ay", "A")]
        for turn in range(5):
            arguments = [EXTREMES[each][turn % len(EXTREMES[each])] for each in types]
            reply = client.call(interface, member, *arguments)
            assert reply.error is None or reply.error.startswith("com.zelt.HWSD.Error."), (member, reply.body)
    assert sim.present()


def test_deep_and_odd_arguments_are_survived(sim, client):
    nested = ("i", 3)
    for _ in range(25):
        nested = ("v", nested)
    odd = [("v", (nested,)), ("ad", ([float("nan"), float("inf")],)), ("a{sa{sv}}", ({"a": {"b": nested}},)),
           ("(((i)))", ((((3,),),),)), ("og", ("/a", "a{sv}")), ("aay", ([b"x", b"y"],)), ("a(ii)", ([],)),
           ("as", (["a", "b"],)), ("x", (-2**63,)), ("t", (2**64 - 1,)), ("as", ([],))]
    for signature, arguments in odd:
        reply = client.call(SYSTEM, "day", *arguments, signature=signature)
        assert reply.error == "org.freedesktop.DBus.Error.InvalidArgs"
    assert len(sim.calls("day")) == len(odd)
    assert client.value(SYSTEM, "day") == 14


def test_the_log_is_bounded(sim, client):
    for _ in range(45):
        client.call(NETWORK, "getInterfaceConfig", "x" * 1000000)
    client.call(SYSTEM, "day")
    calls = sim.calls()
    assert 20 < len(calls) < 45
    assert calls[-1]["member"] == "day"
    assert sim.call_count("getInterfaceConfig") == 45


def test_a_caller_that_wants_no_reply_gets_none(sim, client):
    for interface, member in ((SYSTEM, "day"), (SYSTEM, "nothing")):
        call = new_method_call(DBusAddress("/SystemInfo", SERVICE_NAME, interface), member)
        call.header.flags |= 1
        client.connection.send(call)
    month = client.send(SYSTEM, "month")
    assert client.receive()[1] == month
    assert [each["member"] for each in sim.calls()] == ["day", "nothing", "month"]
