"""How the platform service's interface record becomes the reply's fields, and how it is sent back."""

import json

import pytest

import mvdp
from mvdp import Command
from panel import ADDRESS, GATEWAY, MAC, NETMASK

DISCOVER = mvdp.request(Command.DISCOVER)
NEW = {"address": "192.168.10.20", "netmask": "255.255.254.0", "gateway": "192.168.11.254"}

PARSE = "Parse error in network interface json "
# The text's own trailing blank and the stream's.
SCAN = "Scan error in network interface json  "


@pytest.fixture(autouse=True)
def known_cache(panel, tool):
    """What a failed reading leaves in place is the panel's own values."""
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.sim.clear_calls()


@pytest.fixture(name="ask")
def fixture_ask(panel):
    """Asks from the panel's subnet and takes the answer from the wire: with odd settings the panel may think
    that the tool is far away."""
    sock = panel.tool.udp_socket()
    port = sock.getsockname()[1]

    def ask(datagram):
        capture = panel.tool.capture("eth0")
        sock.sendto(datagram, (ADDRESS, mvdp.PORT))
        return mvdp.Reply(capture.next(lambda p: p.destination_port == port, "the answer").payload)
    return ask


def record(**changes):
    """The text of a record with members changed, or with None left out."""
    members = {"name": "eth0", "mac_address": MAC, "actual_ip_address": ADDRESS, "actual_netmask": NETMASK,
               "actual_gateway_ip": GATEWAY}
    members.update(changes)
    return json.dumps({name: value for name, value in members.items() if value is not None})


ADDRESS_TEXTS = [
    ("10.20.30.40", "10.20.30.40"), ("255.255.255.255", "255.255.255.255"), ("0.0.0.0", "0.0.0.0"),
    ("", "0.0.0.0"), ("1.2.3", "0.0.0.0"), ("1.2.3.4.5", "0.0.0.0"), ("010.1.1.1", "10.1.1.1"),
    ("001.002.003.004", "1.2.3.4"), ("0x1.2.3.4", "0.0.0.0"), ("1", "0.0.0.0"), ("4294967295", "0.0.0.0"),
    ("::ffff:1.2.3.4", "0.0.0.0"), ("fd00::1", "0.0.0.0"), (" 1.2.3.4 ", "1.2.3.4"), ("256.1.1.1", "0.0.0.0"),
    ("1.2.3.256", "0.0.0.0"), ("1..2.3", "0.0.0.0"), (".1.2.3", "0.0.0.0"), ("1.2.3.", "0.0.0.0"),
    ("1.2.3.4.", "0.0.0.0"), ("-1.2.3.4", "0.0.0.0"), ("+1.2.3.4", "0.0.0.0"), ("1.2.3.4/24", "0.0.0.0"),
    ("a.b.c.d", "0.0.0.0"), ("localhost", "0.0.0.0"), ("1.2.3.99999999999999999999", "0.0.0.0"),
    ("\u0661.2.3.4", "0.0.0.0"), ("9" * 100000, "0.0.0.0"), ("1." * 100000, "0.0.0.0")]


@pytest.mark.parametrize("text, value", ADDRESS_TEXTS, ids=lambda text: repr(text[:24]))
def test_only_four_decimal_parts_are_an_address(panel, ask, text, value):
    panel.sim.set_interface(actual_ip_address=text, actual_netmask=text, actual_gateway_ip=text)
    assert ask(DISCOVER).data == panel.expected_identity(address=value, netmask=value, gateway=value)


def test_the_values_in_force_count_and_not_the_configured_ones(panel, tool):
    panel.sim.set_interface(ip_address="1.1.1.1", netmask="2.2.2.2", gateway_ip="3.3.3.3",
                            actual_gateway_ip="192.168.10.254")
    assert tool.ask(DISCOVER).data == panel.expected_identity(gateway="192.168.10.254")


@pytest.mark.parametrize("text, cached", [
    ("00:1a:2B:3c:4d:5e", "00:1a:2b:3c:4d:5e"), ("AA:BB:CC:DD:EE:FF", "aa:bb:cc:dd:ee:ff"),
    ("0:1:2:3:4:5", "00:01:02:03:04:05"), ("zz:11:22:33:44:55", "00:11:22:33:44:55"),
    ("11::22:33:44:55", "11:00:22:33:44:55"), ("1ff:11:22:33:44:55", "ff:11:22:33:44:55"),
    ("ffffffffff:11:22:33:44:55", "00:11:22:33:44:55"),
    # Too few parts leave the later bytes as they were.
    ("77:88:99:aa:bb", "77:88:99:aa:bb:5e"), ("77", "77:1a:2b:3c:4d:5e"), ("", "00:1a:2b:3c:4d:5e"),
    ("\u00a01:2\u00a0: 3:4 :5\0:\0", "01:02:03:04:00:00"),
    ("77-88-99-aa-bb-cc", "00:1a:2b:3c:4d:5e"), ("77:88:", "77:88:00:3c:4d:5e"),
    # Too many are not looked at.
    ("11:22:33:44:55:66:77", "11:22:33:44:55:66"), (":".join(["ab"] * 4000), "ab:ab:ab:ab:ab:ab")],
    ids=lambda text: repr(text[:26]))
def test_a_hardware_address_is_read_part_by_part(panel, tool, text, cached):
    panel.sim.set_interface(mac_address=text)
    assert tool.ask(DISCOVER).data == panel.expected_identity(mac=cached)
    assert tool.ask(mvdp.request(Command.IDENTIFY, mac=cached)).command == Command.IDENTIFY


def test_a_failing_read_leaves_the_old_values(panel, tool):
    panel.sim.set_interface(actual_gateway_ip="1.1.1.1")
    panel.sim.set_fault("getInterfaceConfig", "error")
    before = panel.warnings()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    panel.sim.clear_faults()
    assert tool.ask(DISCOVER).data == panel.expected_identity(gateway="1.1.1.1")
    assert panel.warnings() == before


def test_an_interface_that_the_service_does_not_know_leaves_the_old_values(panel, tool):
    panel.sim.set_state({"interfaces": {"eth0": None}})
    assert tool.ask(DISCOVER).data == panel.expected_identity()


@pytest.mark.parametrize("text, warning", [
    ("", "Trying to parse empty network interface json!"),
    ("{}", "Cannot find interface name in json"),
    ('{"label": "no name"}', "Cannot find interface name in json"),
    ('{"name": "", "actual_ip_address": "1.2.3.4"}', "Empty interface name in json"),
    ("{", PARSE + "Unexpected end of token stream"), ("[]", PARSE + "Unexpected token: ["),
    ('{"name": "eth0"', PARSE + "Unexpected end of token stream"),
    ('{"name": "eth0",}', PARSE + "Unexpected token: }"),
    ('{"name": "eth0"} x', SCAN + "Unexpected character in stream: x"),
    ('{"name": "eth0", "name": "eth1"}', PARSE + "Duplicate object member token: name"),
    ("[" * 200000, PARSE + "Unexpected token: ["), ('{"a":' + "[" * 200000, PARSE + "Nesting too deep"),
    ('{"a":' * 200000, PARSE + "Nesting too deep"), ("nonsense", SCAN + "Expected string: null"),
    ("{'name': 'eth0'}", SCAN + "Unexpected character in stream: '"),
    ('{"name": "eth0', SCAN + 'Expected string: "')], ids=lambda text: repr(text[:30]))
def test_a_text_without_a_record_counts_as_an_empty_one(panel, tool, text, warning):
    """Every address is 0 then; only the hardware address's first byte is touched."""
    panel.sim.set_interface(mac_address="77:1a:2b:3c:4d:5e")
    tool.settle()
    before = len(panel.warnings())
    panel.sim.set_fault("getInterfaceConfig", "text", **text_parameter(panel, text))
    reply = tool.ask(DISCOVER)
    assert reply.data == panel.expected_identity(address="0.0.0.0", netmask="0.0.0.0", gateway="0.0.0.0",
                                                 mac="00:1a:2b:3c:4d:5e")
    assert panel.warnings()[before:] == [warning] * 2  # of the two refreshes


def text_parameter(panel, text):
    """Long texts go by a file: the control interface takes them, but logs of failures are read by people."""
    path = panel.folder / "reply.json"
    path.write_text(text, encoding="utf-8")
    return {"file": str(path)}


# What a setting sends back.

GOLDEN_RECORD = """\
{
\t"name" : "eth0",
\t"label" : "WAN",
\t"mac_address" : "00:1a:2b:3c:4d:5e",
\t"ip_address" : "192.168.10.20",
\t"netmask" : "255.255.254.0",
\t"gateway_ip" : "192.168.11.254",
\t"dhcp" : false,
\t"configured" : true,
\t"readonly" : false,
\t"virtual" : false,
\t"hidden" : false,
\t"actual_netmask" : "255.255.255.0",
\t"actual_ip_address" : "192.168.10.5",
\t"actual_gateway_ip" : "192.168.10.1"
}"""


def sent_text(panel, tool, mac=MAC):
    tool.ask(mvdp.request(Command.SET_ADDRESS, mac=mac, **NEW))
    tool.settle()
    ((_, interface, text),) = [call for call in panel.calls() if call[0] == "setInterfaceConfigJSON"]
    assert interface == "eth0"
    return text


def test_the_record_is_sent_in_its_own_layout(panel, tool):
    assert sent_text(panel, tool) == GOLDEN_RECORD


def sent_members(panel, tool, text, mac=MAC):
    """What is sent back when this is what was read."""
    panel.sim.set_fault("getInterfaceConfig", "text", **text_parameter(panel, text))
    try:
        return json.loads(sent_text(panel, tool, mac))
    finally:
        panel.sim.clear_faults()


@pytest.mark.parametrize("read, sent", [(3.9, 3), (-3.9, -3), (0.9, None), (0, None), (-1, -1), (1e10, 2147483647),
                                        (-1e10, -2147483648), (1e300, 2147483647), (2147483647, 2147483647)])
def test_metrics_are_whole_numbers_and_zero_is_not_sent(panel, tool, read, sent):
    members = sent_members(panel, tool, record(metric=read, actual_metric=read))
    assert (members.get("metric"), members.get("actual_metric")) == (sent, sent)


def test_what_was_not_read_is_not_sent(panel, tool):
    members = sent_members(panel, tool, '{"name": "eth0", "mac_address": "%s"}' % MAC)
    assert list(members.items()) == [
        ("name", "eth0"), ("mac_address", MAC), ("ip_address", NEW["address"]), ("netmask", NEW["netmask"]),
        ("gateway_ip", NEW["gateway"]), ("dhcp", False), ("configured", False), ("readonly", True),
        ("virtual", True), ("hidden", True)]


def test_unknown_members_are_lost(panel, tool):
    members = sent_members(panel, tool, record(speed=1000, nested={"a": [1, {}, None]}, label="x"))
    assert members["label"] == "x"
    assert not members.keys() & {"speed", "nested"}


@pytest.mark.parametrize("label", ["umlauts \u00e4\u00f6\u00fc", 'quotes " and \\ and /',
                                   "lines\n\tand tabs", "uuu"])
def test_texts_come_back_as_they_were_read(panel, tool, label):
    assert sent_members(panel, tool, record(label=label))["label"] == label


@pytest.mark.parametrize("text", ["{}", "", "nonsense"])
def test_settings_are_sent_even_when_no_record_could_be_read(panel, tool, text):
    """The answer of the reading is not judged: the record that is sent has an empty name."""
    panel.sim.set_fault("getInterfaceConfig", "text", **text_parameter(panel, text))
    reply = tool.ask(mvdp.request(Command.SET_ADDRESS, mac=MAC, **NEW))
    panel.sim.clear_faults()
    tool.settle()
    assert reply.packet_type == mvdp.REPLY
    (call,) = [call for call in panel.calls() if call[0] == "setInterfaceConfigJSON"]
    assert json.loads(call[2]) == {"name": "", "ip_address": NEW["address"], "netmask": NEW["netmask"],
                                   "gateway_ip": NEW["gateway"], "dhcp": False, "configured": False,
                                   "readonly": True, "virtual": True, "hidden": True}


def test_the_kernel_has_no_say_in_the_settings(panel, tool):
    """Only the route to the sender is the kernel's business."""
    panel.namespace.ip("address add 192.168.10.200/24 dev eth0")
    try:
        assert tool.ask(DISCOVER, to="192.168.10.200").data == panel.expected_identity()
    finally:
        panel.namespace.ip("address del 192.168.10.200/24 dev eth0")


def test_the_new_address_is_the_panels_when_the_service_really_sets_it(make_panel):
    panel = make_panel(sim=None)
    panel.start_sim(options=["--apply-to-kernel"], prefix=["nsenter", f"--net={panel.namespace.path}"])
    tool = panel.tool_at()
    request = mvdp.request(Command.SET_ADDRESS, mac=MAC, address="192.168.10.20", netmask=NETMASK,
                           gateway=GATEWAY)
    assert tool.ask(request).address == "192.168.10.20"
    found = panel.namespace.run(["ip", "-4", "-o", "address", "show", "dev", "eth0"], capture_output=True,
                                text=True).stdout
    assert "192.168.10.20/24" in found and ADDRESS not in found
    assert tool.ask(DISCOVER, to="192.168.10.20").address == "192.168.10.20"
