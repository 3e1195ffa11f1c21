"""The simulated platform service: the panel behind it."""

import json
import pathlib
import struct

import pytest

from hwsdcatalogue import NETWORK, PARTITION, SEEPROM, SYSTEM
from hwsdclient import (  # noqa: F401: pytest finds the fixtures here
    connect, bus_fixture, client_fixture, shared_fixture, sim_fixture, start_fixture)
from hwsdsim import run_program
from netns import Namespace, join


# The panel

def test_defaults_are_a_believable_panel(sim, client):
    assert client.value(SYSTEM, "manufactureCode") == b"\xfa\x01\x00\x00"
    info = client.value(PARTITION, "info")
    assert len(info) == 5 and len(info[4]) == 20
    text = info[4].split(b"\0")[0]
    assert len(text) >= 12 and text.endswith(b"01234567")
    assert info[:3] == tuple(client.value(PARTITION, each) for each in ("day", "month", "year"))
    assert client.value(PARTITION, "version") == info[4]
    config = client.interface_config()
    assert set(config) == {
        "name", "label", "mac_address", "ip_address", "netmask", "gateway_ip", "metric", "dhcp", "configured",
        "readonly", "virtual", "hidden", "actual_netmask", "actual_ip_address", "actual_gateway_ip",
        "actual_metric"}
    assert config["name"] == "eth0"
    assert (config["readonly"], config["virtual"], config["hidden"]) == (False, False, False)
    assert len(client.value(SYSTEM, "serialNo")) == 3
    assert len(client.value(SYSTEM, "moduleName")) == 5
    whole = client.value(SYSTEM, "info")
    assert [len(whole[i]) for i in (3, 4, 7)] == [3, 5, 2]


def test_command_line_makes_the_panel(start, bus):
    start(options=["--address", "10.1.2.3", "--netmask", "255.255.0.0", "--gateway", "10.1.0.1",
                   "--mac", "02:00:00:00:00:01", "--interface", "lan0",
                   "--interface", "lan1,address=10.9.0.1,netmask=255.255.255.0,gateway=,metric=7,readonly,label=B",
                   "--manufacture-code", "-517", "--partition-version", "V1.2.3.4-99888776", "--eeprom", "Line 3"])
    client = connect(bus)
    first = client.interface_config("lan0")
    assert (first["ip_address"], first["actual_ip_address"]) == ("10.1.2.3", "10.1.2.3")
    assert (first["netmask"], first["actual_netmask"]) == ("255.255.0.0", "255.255.0.0")
    assert (first["gateway_ip"], first["actual_gateway_ip"]) == ("10.1.0.1", "10.1.0.1")
    assert first["mac_address"] == "02:00:00:00:00:01"
    assert first["dhcp"] is False
    second = client.interface_config("lan1")
    assert (second["actual_ip_address"], second["actual_gateway_ip"]) == ("10.9.0.1", "")
    assert (second["metric"], second["readonly"], second["label"]) == (7, True, "B")
    assert client.interface_config("eth0")["name"] == "eth0"
    assert client.value(SYSTEM, "manufactureCode") == struct.pack("<i", -517)
    assert client.value(PARTITION, "version") == b"V1.2.3.4-99888776\0\0\0"
    assert client.call(SEEPROM, "readSlvAddr", 0x50, 0x55, 7).body == (0, b"Line 3\0")


def test_dhcp_panel_starts_with_its_lease(start, bus):
    start(options=["--dhcp", "--address", "10.1.2.3", "--netmask", "255.255.255.0"])
    client = connect(bus)
    assert client.interface_config()["dhcp"] is True
    assert client.interface_config()["actual_ip_address"] == "10.1.2.3"
    assert client.set_interface_config(dhcp=False, ip_address="10.1.2.99").body == (0,)
    client.value(NETWORK, "applyNewConfiguration")
    assert client.interface_config()["actual_ip_address"] == "10.1.2.99"
    assert client.set_interface_config(dhcp=True).body == (0,)
    client.value(NETWORK, "applyNewConfiguration")
    assert client.interface_config()["actual_ip_address"] == "10.1.2.3"


def test_state_file_makes_the_panel(start, bus):
    start(state={"identity": {"manufactureCode": 532}, "interfaces": {"eth0": {"actual_ip_address": "rubbish"}}})
    client = connect(bus)
    assert client.value(SYSTEM, "manufactureCode") == struct.pack("<i", 532)
    assert client.interface_config()["actual_ip_address"] == "rubbish"


def test_the_example_is_the_built_in_panel():
    example = pathlib.Path(__file__).resolve().parents[2] / "tools/hwsd-sim/examples/panel.json"
    built_in = run_program("--print-state")
    assert built_in.returncode == 0
    assert json.loads(built_in.stdout) == json.loads(example.read_text(encoding="utf-8"))
    assert run_program("--print-state", "--state", example).stdout == built_in.stdout


def test_state_can_be_changed_and_read(sim, client):
    before = sim.state()
    sim.set_state({"identity": {"manufactureCode": 501}})
    assert client.value(SYSTEM, "manufactureCode") == struct.pack("<i", 501)
    before["identity"]["manufactureCode"] = 501
    assert sim.state() == before


def test_an_interface_comes_and_goes_with_the_state(sim, client):
    sim.set_state({"interfaces": {"wlan0": {"ip_address": "10.0.0.1"}}})
    assert client.interface_config("wlan0")["name"] == "wlan0"
    assert client.interface_config("wlan0")["actual_ip_address"] == ""
    sim.set_state({"interfaces": {"wlan0": None}})
    assert client.call(NETWORK, "getInterfaceConfig", "wlan0").error == "com.zelt.HWSD.Error.UnknownInterface"


@pytest.mark.parametrize("patch", [
    {"identify": {}}, {"identity": {"manufactureCode": "506"}}, {"identity": {"manufactureCode": 1.5}},
    {"identity": {"manufactureCode": 1e10}}, {"interfaces": {"eth0": {"adress": ""}}}, {"interfaces": []},
    {"interfaces": {"eth0": 3}}, {"identity": None}, [], 3, "",
])
def test_a_bad_state_changes_nothing(sim, patch):
    before = sim.state()
    with pytest.raises(ValueError, match="InvalidArgs"):
        sim.set_state(patch)
    assert sim.state() == before


# EEPROM

def test_eeprom_holds_the_identification_text(sim, client):
    sim.set_state({"eeprom": {"text": "\u00e9\u0001"}})
    reply = client.call(SEEPROM, "readSlvAddr", 0x50, 0x55, 5)
    assert reply.body == (0, b"\xe9\x01\x00\xff\xff")
    assert client.call(SEEPROM, "read", 0x54, 3).body == (0, b"\xff\xe9\x01")


def test_eeprom_takes_what_is_written(sim, client):
    assert client.value(SEEPROM, "writeSlvAddr", 0x50, 0xfe, b"abcd") == 0
    assert client.call(SEEPROM, "read", 0xfd, 6).body == (0, b"\xffabcd\xff")
    sim.set_state({"eeprom": {"text": "fresh"}})
    assert client.call(SEEPROM, "read", 0x55, 6).body == (0, b"fresh\0")
    assert client.call(SEEPROM, "read", 0xfe, 2).body == (0, b"\xff\xff")


@pytest.mark.parametrize("slave, length", [(0x51, 4), (0x50, 65537), (0x50, 0xffffffff)])
def test_eeprom_refuses_other_chips_and_endless_reads(sim, client, slave, length):
    assert client.call(SEEPROM, "readSlvAddr", slave, 0, length).body == (-1, b"")


# Network manager

def test_configuration_takes_effect_when_applied(sim, client):
    before = client.interface_config()
    reply = client.set_interface_config(ip_address="10.0.0.7", netmask="255.0.0.0", gateway_ip="10.0.0.1", metric=3,
                                        actual_ip_address="9.9.9.9", mac_address="00:00:00:00:00:00")
    assert (reply.error, reply.body) == (None, (0,))
    between = client.interface_config()
    assert between["ip_address"] == "10.0.0.7"
    assert between["actual_ip_address"] == before["actual_ip_address"]
    assert sim.state()["pending"] == ["eth0"]
    assert client.value(NETWORK, "applyNewConfiguration") == 0
    after = client.interface_config()
    assert after["actual_ip_address"] == "10.0.0.7"
    assert after["actual_netmask"] == "255.0.0.0"
    assert after["actual_gateway_ip"] == "10.0.0.1"
    assert after["actual_metric"] == 3
    assert after["mac_address"] == before["mac_address"]
    assert sim.state()["pending"] == []


def test_applying_touches_no_interface_that_was_not_configured(sim, client):
    sim.set_state({"interfaces": {"eth1": {"ip_address": "1.1.1.1", "actual_ip_address": "2.2.2.2"}}})
    client.set_interface_config(ip_address="10.0.0.7")
    client.value(NETWORK, "applyNewConfiguration")
    assert client.interface_config("eth1")["actual_ip_address"] == "2.2.2.2"


def test_reset_returns_to_the_factory_settings(sim, client):
    client.set_interface_config(ip_address="10.0.0.7")
    assert client.value(NETWORK, "resetConfiguration") == 0
    config = client.interface_config()
    assert (config["ip_address"], config["actual_ip_address"]) == ("192.168.0.1", "192.168.0.1")
    assert (config["gateway_ip"], config["actual_gateway_ip"]) == ("", "")
    assert config["mac_address"] == "00:1a:2b:3c:4d:5e"
    assert json.loads(client.value(NETWORK, "getConfigJSON"))["dns"] == {"servers": [], "search": []}
    assert sim.state()["pending"] == []


@pytest.mark.parametrize("name, text", [
    ("eth0", ""), ("eth0", "{"), ("eth0", "[]"), ("eth0", "{}"), ("eth0", '{"name":"eth1"}'),
    ("eth0", '{"name":"eth0","metric":"3"}'), ("eth0", '{"name":"eth0","dhcp":1}'),
    ("eth0", '{"name":"eth0","ip_address":"1.2.3"}'), ("eth0", '{"name":"eth0","ip_address":"1.2.3.256"}'),
    ("eth0", '{"name":"eth0","ip_address":" 1.2.3.4"}'), ("eth0", '{"name":"eth0","netmask":"255.0.255.0"}'),
    ("eth0", '{"name":"eth0","gateway_ip":"gateway"}'), ("eth7", '{"name":"eth7"}'), ("", '{"name":""}'),
])
def test_garbage_configuration_is_refused(sim, client, name, text):
    before = sim.state()
    reply = client.call(NETWORK, "setInterfaceConfigJSON", name, text)
    assert reply.error in ("com.zelt.HWSD.Error.Network", "com.zelt.HWSD.Error.UnknownInterface")
    assert sim.state() == before


def test_a_read_only_interface_is_not_configured(sim, client):
    sim.set_interface(readonly=True)
    assert client.set_interface_config(ip_address="10.0.0.7").error == "com.zelt.HWSD.Error.Network"
    assert client.interface_config()["ip_address"] == "192.168.10.5"


def test_the_whole_document_is_read_and_taken(sim, client):
    document = json.loads(client.value(NETWORK, "getConfigJSON"))
    assert set(document) == {"version", "hostname", "dns", "bridge", "interfaces"}
    assert document["version"] == 1
    assert document["dns"]["servers"] == [{"ip": "192.168.10.1"}]
    assert document["interfaces"] == [client.interface_config()]
    document["hostname"] = "mixer"
    document["interfaces"][0]["ip_address"] = "10.0.0.8"
    assert client.value(NETWORK, "setConfigJSON", json.dumps(document)) == 0
    assert client.interface_config()["actual_ip_address"] == "192.168.10.5"
    client.value(NETWORK, "applyNewConfiguration")
    assert client.interface_config()["actual_ip_address"] == "10.0.0.8"
    assert json.loads(client.value(NETWORK, "getConfigJSON"))["hostname"] == "mixer"


def test_the_document_as_the_service_writes_it_is_taken(sim, client):
    document = pathlib.Path(__file__).resolve().parents[1] / "unit" / "networkdocument.json"
    text = document.read_text(encoding="utf-8")
    sim.set_state({"interfaces": {"eth1": {"name": "eth1"}}})
    assert client.value(NETWORK, "setConfigJSON", text) == 0
    written, taken = json.loads(text), json.loads(client.value(NETWORK, "getConfigJSON"))
    assert [taken[key] for key in ("hostname", "dns", "bridge")] == [
        written[key] for key in ("hostname", "dns", "bridge")]
    assert taken["interfaces"][0].items() >= {"ip_address": "192.168.10.6", "metric": 10, "dhcp": False}.items()


@pytest.mark.parametrize("text", [
    "", "[]", "{}", '{"version":"1"}', '{"version":1,"interfaces":{}}', '{"version":1,"interfaces":[3]}',
    '{"version":1,"interfaces":[{"name":"eth0"},{"name":"eth0"}]}', '{"version":1,"dns":{"servers":1}}',
    '{"version":1,"bridge":{"enabled":1}}', '{"version":1,"interfaces":[{"name":"eth9"}],"hostname":"x"}',
])
def test_a_garbage_document_is_refused(sim, client, text):
    before = sim.state()
    assert client.call(NETWORK, "setConfigJSON", text).error == "com.zelt.HWSD.Error.Network"
    assert sim.state() == before


# The other interfaces' state

@pytest.mark.parametrize("interface, setter, getter, value, refused", [
    ("com.zelt.HWSD.Backlight", "setBrightness", "getBrightness", 33, 256),
    ("com.zelt.HWSD.Buzzer", "SetBuzzerMode", "GetBuzzerMode", 2, 3),
    ("com.zelt.HWSD", "setScreenOrientation", "getScreenOrientation", 270, 45),
])
def test_a_set_number_is_got(sim, client, interface, setter, getter, value, refused):
    assert client.value(interface, setter, value) == 0
    assert client.value(interface, getter) == value
    assert client.value(interface, setter, refused) == -1
    assert client.value(interface, getter) == value


def test_passwords_are_checked_and_changed(sim, client):
    security = "com.zelt.HWSD.Security"
    assert client.value(security, "checkPassword", "admin", "wrong") == -1
    assert client.value(security, "changePassword", "admin", "wrong", "x") == -1
    assert client.value(security, "changePassword", "nobody", "", "x") == -1
    assert client.value(security, "changePassword", "admin", "admin", "better") == 0
    assert client.value(security, "checkPassword", "admin", "better") == 0


def test_the_time_zone_is_kept(sim, client):
    zone = ("Asia/Tokyo", "JST-9", 540, False)
    assert client.value("com.zelt.HWSD.TimeMgr", "setTimeZoneInfo", zone) == 0
    assert client.value("com.zelt.HWSD.TimeMgr", "getTimeZoneInfo") == zone


# The kernel's interface

@pytest.fixture
def namespace():
    with Namespace("panel") as panel, Namespace("tool") as tool:
        join(panel, "eth0", tool, "eth0")
        panel.address("eth0", "192.168.10.5/24")
        panel.route("224.0.0.0/4 dev eth0")
        yield panel


def kernel_state(namespace):
    shown = namespace.run(["ip", "-json", "-4", "address", "show", "dev", "eth0"], capture_output=True)
    infos = [info for link in json.loads(shown.stdout) for info in link.get("addr_info", [])]
    routes = json.loads(namespace.run(["ip", "-json", "-4", "route"], capture_output=True).stdout)
    return ([(info["local"], info["prefixlen"], info.get("broadcast")) for info in infos],
            [route.get("gateway") for route in routes if route["dst"] == "default"],
            any(route["dst"] == "224.0.0.0/4" for route in routes))


@pytest.mark.parametrize("address, netmask, gateway, expected", [
    ("10.20.30.40", "255.255.0.0", "10.20.0.1", ([("10.20.30.40", 16, "10.20.255.255")], ["10.20.0.1"])),
    ("192.168.10.77", "255.255.255.0", "", ([("192.168.10.77", 24, "192.168.10.255")], [])),
    ("192.168.10.5", "255.255.255.128", "0.0.0.0", ([("192.168.10.5", 25, "192.168.10.127")], [])),
    ("192.168.10.5", "255.255.255.0", "172.16.0.1", ([("192.168.10.5", 24, "192.168.10.255")], ["172.16.0.1"])),
    ("10.0.0.1", "255.255.255.255", "", ([("10.0.0.1", 32, None)], [])),
])
def test_applying_changes_the_real_interface(namespace, start, bus, address, netmask, gateway, expected):
    start(options=["--apply-to-kernel"], popen=namespace.popen)
    client = connect(bus)
    assert client.set_interface_config(ip_address=address, netmask=netmask, gateway_ip=gateway).body == (0,)
    assert kernel_state(namespace)[0] == [("192.168.10.5", 24, "192.168.10.255")]
    assert client.value(NETWORK, "applyNewConfiguration") == 0
    # The multicast route, which needs no address, is still there.
    assert kernel_state(namespace) == expected + (True,)
    assert client.interface_config()["actual_ip_address"] == address


def test_resetting_changes_the_real_interface(namespace, start, bus):
    start(options=["--apply-to-kernel"], popen=namespace.popen)
    assert connect(bus).value(NETWORK, "resetConfiguration") == 0
    assert kernel_state(namespace) == ([("192.168.0.1", 24, "192.168.0.255")], [], True)


def test_without_the_option_the_real_interface_stays(namespace, start, bus):
    start(popen=namespace.popen)
    assert connect(bus).value(NETWORK, "resetConfiguration") == 0
    assert kernel_state(namespace) == ([("192.168.10.5", 24, "192.168.10.255")], [], True)


def test_what_the_kernel_refuses_is_not_in_effect(namespace, start, bus):
    sim = start(options=["--apply-to-kernel", "--interface", "lan9,address=10.0.0.1"], popen=namespace.popen)
    client = connect(bus)
    assert client.set_interface_config("lan9", ip_address="10.0.0.2", netmask="255.0.0.0").body == (0,)
    assert client.call(NETWORK, "applyNewConfiguration").error == "com.zelt.HWSD.Error.Network"
    assert client.interface_config("lan9")["actual_ip_address"] == "10.0.0.1"
    assert sim.state()["pending"] == ["lan9"]
