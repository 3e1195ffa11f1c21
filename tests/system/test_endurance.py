"""A service that runs for years: nothing may grow with the number of datagrams."""

import os
import pathlib
import random

import pytest
from jeepney.bus_messages import message_bus
from jeepney.io.blocking import open_dbus_connection

import mvdp
from hwsdsim import SERVICE_NAME
from mvdp import Command
from panel import MAC
from waiting import wait_for

DISCOVER = mvdp.request(Command.DISCOVER)
# Fills the pools of Qt, the bus library and the allocator before the first measurement.
WARM_UP = 300
ROUNDS = 1000
# The allocator may still take a page now and then, when more memory than before is in use for a moment.
# 1000 rounds that each leak a connection, a pending call or a reply's text cost a megabyte and more.
ALLOWED_GROWTH_KB = 256
# The bus's signals of restarts have no flow control: on a loaded machine many wait in queues, and the
# allocator keeps the memory that they took. If none of them were freed, they would take ten times this.
RESTARTS = 3000
ALLOWED_BACKLOG_KB = 1024
# A sanitizer keeps what was freed for a while, to find its use: 8 MB of it, as the panel starts it.
ALLOWED_SANITIZED_GROWTH_KB = 16 * 1024
# What a sanitizer reserves at its start, at least.
SANITIZED_ADDRESS_SPACE_KB = 1 << 30


def status(panel, key):
    for line in pathlib.Path(f"/proc/{panel.process.pid}/status").read_text(encoding="utf-8").splitlines():
        if line.startswith(key + ":"):
            return int(line.split()[1])
    raise KeyError(key)


def descriptors(panel):
    return len(os.listdir(f"/proc/{panel.process.pid}/fd"))


def assert_steady(panel, one_round, rounds=ROUNDS, warm_up=WARM_UP, allowed=ALLOWED_GROWTH_KB):
    """Memory, descriptors and threads are the same after the rounds as before."""
    for _ in range(warm_up):
        one_round()
    before = status(panel, "VmRSS")
    threads, files = status(panel, "Threads"), descriptors(panel)
    for _ in range(rounds):
        one_round()
    if status(panel, "VmSize") > SANITIZED_ADDRESS_SPACE_KB:
        allowed = ALLOWED_SANITIZED_GROWTH_KB
    growth = status(panel, "VmRSS") - before
    print(f"grew by {growth} kB in {rounds} rounds")
    assert growth <= allowed
    assert status(panel, "Threads") == threads
    # A connection is closed by the bus library's own thread, after the answer has gone out.
    wait_for(lambda: descriptors(panel) <= files, f"no more than {files} open descriptors")


def test_discoveries_cost_nothing_for_good(make_panel):
    panel = make_panel()
    tool = panel.tool_at()

    def one_round():
        tool.send(DISCOVER)
        assert tool.receive() == expected
    expected = panel.expected_identity()
    assert_steady(panel, one_round)


def test_restarts_of_the_platform_service_cost_nothing_for_good(make_panel):
    """Each is signalled to every proxy, also when no datagram comes that could free anything."""
    panel = make_panel()
    panel.tool_at().ask(DISCOVER)
    panel.stop_sim()

    with open_dbus_connection(panel.system_bus.address) as bus:
        def one_round():
            bus.send_and_get_reply(message_bus.RequestName(SERVICE_NAME))
            bus.send_and_get_reply(message_bus.ReleaseName(SERVICE_NAME))
        assert_steady(panel, one_round, RESTARTS, allowed=ALLOWED_BACKLOG_KB)


def test_no_command_costs_anything_for_good(make_panel, display):
    """With a screen, so that winks are winks."""
    panel = make_panel(display=display)
    (panel.mnt / "data" / "hmi").mkdir(parents=True)
    tool = panel.tool_at()
    settings = {"address": "192.168.10.5", "netmask": "255.255.255.0", "gateway": "192.168.10.1"}
    requests = [mvdp.request(command, mac=MAC, **settings) for command in Command]

    def one_round():
        for request in requests:
            assert tool.ask(request).command == request[6]
        panel.sim.clear_calls()
    assert_steady(panel, one_round, rounds=100, warm_up=30)


def test_a_missing_bus_costs_nothing_for_good(make_panel):
    """Each discovery tries both buses four times."""
    panel = make_panel(system_bus=False, sim=None)
    tool = panel.tool_at()
    assert_steady(panel, lambda: tool.ask(DISCOVER))


def test_a_missing_service_costs_nothing_for_good(make_panel):
    """Each echo opens, asks and closes both buses."""
    panel = make_panel(session_bus=True, sim=None)
    tool = panel.tool_at()
    assert_steady(panel, lambda: tool.ask(mvdp.request(Command.ECHO)), rounds=300, warm_up=100)


def test_a_failing_service_costs_nothing_for_good(make_panel):
    panel = make_panel()
    tool = panel.tool_at()
    tool.ask(DISCOVER)
    panel.sim.set_fault("getInterfaceConfig", "text", text='{"name": 1}')
    assert_steady(panel, lambda: tool.ask(DISCOVER), rounds=300, warm_up=100)


@pytest.mark.parametrize("seed", range(3))
def test_noise_is_survived(make_panel, seed):
    """Datagrams of all lengths, with headers right and almost right. What one of them may do is allowed; in
    the end the panel is found."""
    panel = make_panel()
    tool = panel.tool_at()
    noise = random.Random(seed)
    for _ in range(20):
        for _ in range(25):
            tool.send(noisy_datagram(noise))
        # Its answer shows that the burst is through: no datagram of it is lost to a full buffer.
        wait_for_token(panel, noise.randbytes(16))
    panel.reset()
    assert tool_reply(panel) == panel.expected_identity()


def noisy_datagram(noise):
    length = noise.choice((noise.randrange(0, 12), noise.randrange(0, 400), 256, noise.randrange(0, 9000)))
    datagram = bytearray(noise.randbytes(length))
    for offset, content in ((0, mvdp.MAGIC), (4, b"\x02"), (5, b"\x01"),
                            (6, bytes((noise.choice(list(Command)),))), (20, mvdp.mac_bytes(MAC))):
        if noise.random() < 0.9 and length >= offset + len(content):
            datagram[offset:offset + len(content)] = content
    return bytes(datagram)


def wait_for_token(panel, token):
    sock = panel.tool.udp_socket()
    capture = panel.tool.capture("eth0")
    port = sock.getsockname()[1]
    sock.sendto(mvdp.request(Command.ECHO, rest=token + bytes(214)), ("192.168.10.5", mvdp.PORT))
    packet = capture.next(lambda p: p.destination_port == port, "the token's echo")
    assert packet.payload[26:42] == token


def tool_reply(panel):
    panel.restart_service()
    return panel.tool_at().ask(DISCOVER).data
