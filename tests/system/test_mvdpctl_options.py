"""What all commands of mvdpctl have in common: options, interfaces and ports, what they say of trouble."""

import re

import pytest

import mvdp
from fakepanel import FakePanel, Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_mvdpctl, fixture_wire, Result, program, DONE, HASTY, HEADINGS, LINE, MAC, MAC2, NOBODY,
    NO_ANSWER, PANEL_ADDRESS, PATIENT, SEARCHING, TROUBLE, USAGE, ENVIRONMENT)
from netns import Namespace, join
from waiting import PATIENCE

SETTINGS = ["--address", "192.168.10.7"]


@pytest.mark.parametrize("arguments", [
    [], ["re"], ["disco-ver"], ["discover", "--colour"], ["--json"], ["--frob", "discover"], ["-i"],
    ["discover", "--rounds", "0"],
    ["discover", "--json", "--csv"], ["watch", MAC], ["identify"], ["echo"], ["wink"], ["raw"], ["identify", ""],
    ["identify", PANEL_ADDRESS, "--to", NOBODY], ["echo", "224.0.5.128"], ["echo", "192.168.10.255"],
    ["echo", PANEL_ADDRESS, "--count", "0"],
    ["set"], ["set", MAC, "--yes"], ["set", " ", *SETTINGS, "--yes"], ["set", MAC, "--address", "x", "--yes"],
    ["set", MAC, *SETTINGS], ["set", "--from", "/nonexistent.csv", "--yes"], ["set", "--from", "x.csv", MAC, "--yes"],
    ["set", "--from", "x.csv", "--netmask", "24", "--yes"], ["wink", "", "--yes"],
    ["restore-defaults", MAC, "--marker", "both", "--yes"], ["raw", "256"], ["raw", "-1"], ["raw", "one"],
    ["raw", "1", "--length", "0"], ["raw", "1", "--length", "257"],
    ["raw", "1", "--hex", "5"], ["raw", "1", "--hex", "xx"], ["raw", "1", "--hex", "255:0102"],
    ["raw", "1", "--hex", "-1:01"], ["raw", "1", "--hex", ""]])
def test_usage_errors_send_nothing(fake, mvdpctl, arguments):
    result = mvdpctl(*arguments)
    assert (result.code, result.out) == (USAGE, "")
    assert result.err.count("mvdpctl: ") >= 2, "no advice"
    assert fake.requests == []


@pytest.mark.parametrize("first", ["help", "--help", "-h"])
def test_help_of_a_named_command(mvdpctl, first):
    assert mvdpctl(first, "set").out == mvdpctl("set", "--help").out
    assert mvdpctl(first, "nothing").code == USAGE


def test_requests_of_its_own_are_not_heard_on_the_panels_port(wire, mvdpctl):
    assert wire
    result = mvdpctl("raw", "2", "--source-port", str(mvdp.PORT), "--timeout", "0.3")
    assert (result.code, result.out) == (NO_ANSWER, "")


def test_general_help_and_version(mvdpctl):
    assert mvdpctl("--help").lines[0] == "Usage: mvdpctl COMMAND [ARGUMENTS] [OPTIONS]"
    assert re.fullmatch(r"mvdpctl [\d.]+\n", mvdpctl("--version").out)


def test_missing_interface_is_network_trouble(mvdpctl):
    result = mvdpctl("discover", "--interface", "eth9")
    assert result.code == TROUBLE
    assert "Choose one of: lo, eth0." in result.err


@pytest.mark.parametrize("words", [["-i", "eth0", "-j", "discover"], ["-ji", "eth0", "disc"],
                                   ["--rounds", "100", "--interface=eth0", "di", "-j"]], ids=" ".join)
def test_options_may_stand_before_an_abbreviated_command(fake, mvdpctl, words):
    assert fake
    result = mvdpctl(*words)
    assert (result.code, [panel["mac"] for panel in result.json["panels"]]) == (DONE, [MAC])


@pytest.mark.parametrize("words, said", [
    (["dicsover"], "there is no command 'dicsover': did you mean 'discover'?"),
    (["re", MAC], "'re' is the beginning of several commands: restart, reset-network, restore-defaults"),
    (["discover", "--jsno"], "there is no option '--jsno': did you mean '--json'?"),
    (["--interfce", "eth0", "discover"], "there is no option '--interfce': did you mean '--interface'?"),
    (["set", MAC, "--adress", "10.0.0.1"], "there is no option '--adress': did you mean '--address'?"),
    (["set", MAC, "--address", "10.0.0.1/24", "--netmask", "25", "--yes"], "contradict each other")])
def test_mistyped_command_line_is_told_what_it_may_mean(fake, mvdpctl, words, said):
    result = mvdpctl(*words)
    assert (result.code, result.out) == (USAGE, "")
    assert said in result.err
    assert fake.requests == []


def test_silence_about_an_unknown_code_is_explained(fake, mvdpctl):
    fake.unanswered = {99}
    result = mvdpctl("raw", "99", "--timeout", "0.2")
    assert (result.code, result.out) == (NO_ANSWER, "")
    assert "Panels are silent about codes that they do not know, as 99." in result.err
    assert "silent about" not in mvdpctl("raw", "1", "--to", NOBODY, "--timeout", "0.2").err


def test_taken_source_port_is_network_trouble(wire, mvdpctl):
    taken = wire[1].udp_socket("", 40124)
    result = mvdpctl("discover", "--source-port", "40124")
    taken.close()
    assert result.code == TROUBLE
    assert "UDP port 40124 cannot be used" in result.err


def test_unreachable_address_is_network_trouble(mvdpctl):
    result = mvdpctl("discover", "203.0.113.1", *HASTY)
    assert result.code == TROUBLE
    assert "nothing can be sent to 203.0.113.1: there is no route to it" in result.err


def two_cables(request, *subnets):
    """A tool with two cables and a panel at the end of each: a function that runs it, its namespace, the panels."""
    tool = Namespace("tool")
    request.addfinalizer(tool.close)
    panels = []
    for number, (mac, subnet) in enumerate(zip((MAC, MAC2), subnets), start=1):
        far = Namespace(f"panel {number}")
        request.addfinalizer(far.close)
        join(far, "eth0", tool, f"eth{number}")
        far.address("eth0", f"{subnet}.{4 + number}/24")
        tool.address(f"eth{number}", f"{subnet}.1/24")
        panels.append(FakePanel(far, "eth0", Identity(mac=mac, address=f"{subnet}.{4 + number}")))
        request.addfinalizer(panels[-1].close)
    return lambda *words: Result(tool.run([program(), *words], capture_output=True)), tool, panels


def found(run, *options):
    """The panels that it finds, each with the interface that hears it."""
    return [(panel["mac"], panel["interface"])
            for panel in run("discover", "--json", *options, *SEARCHING).json["panels"]]


def test_group_is_heard_on_interfaces_of_one_address(request):
    run, _, panels = two_cables(request, "192.168.1", "192.168.1")
    for panel in panels:
        panel.way = "group"
    assert [mac for mac, _ in found(run)] == [MAC, MAC2]
    assert [mac for mac, _ in found(run, "--interface", "eth1")] == [MAC]
    assert [mac for mac, _ in found(run, "--interface", "eth2")] == [MAC2]


def test_only_the_chosen_interface_is_used(request):
    run, _, panels = two_cables(request, "192.168.1", "192.168.2")
    assert found(run) == [(MAC, "eth1"), (MAC2, "eth2")]
    panels[0].requests.clear()
    assert found(run, "--interface", "eth2") == [(MAC2, "eth2")]
    assert panels[0].requests == []


def test_address_of_another_cable_is_objected_to(request, tmp_path):
    run, _, panels = two_cables(request, "192.168.1", "192.168.2")
    plan = tmp_path / "plan.csv"
    plan.write_text(f"mac,address,gateway\n{MAC2},192.168.1.66,192.168.1.1\n")
    for words in (["--from", plan], [MAC2, "--address", "192.168.1.66", "--gateway", "192.168.1.1"],
                  ["--interface", "eth2", "--from", plan]):
        result = run("set", *words, "--yes", *SEARCHING)
        assert (result.code, result.out) == (USAGE, "")
        assert "192.168.1.66 is in the subnet of eth1, but the panel is connected to eth2.\n" in result.err
    assert Command.SET_ADDRESS not in panels[1].commands()


def test_panel_on_both_cables_may_have_an_address_of_either(request):
    run, _, panels = two_cables(request, "192.168.1", "192.168.2")
    panels[1].panels = panels[0].panels
    for subnet in ("192.168.2", "192.168.1"):
        result = run("set", MAC, "--address", f"{subnet}.66", "--gateway", f"{subnet}.1", "--yes", *SEARCHING)
        assert (result.code, result.err) == (DONE, f"{subnet}.66 was asked for by ARP: nobody answered.\n")


def test_computer_without_an_address_is_told_so(request):
    run, tool, _ = two_cables(request, "192.168.1", "192.168.2")
    for interface in ("eth1", "eth2"):
        tool.ip(f"address flush dev {interface}")
    result = run("discover")
    assert (result.code, result.out) == (TROUBLE, "")
    assert "no network interface has an IPv4 address\n" in result.err
    assert "Give one to eth1 or eth2" in result.err


def test_port_stays_although_a_datagram_cannot_be_sent(fake, mvdpctl):
    ports = []
    fake.deliver = lambda panel, answer, source, sender: ports.append(sender[1])
    result = mvdpctl("discover", PANEL_ADDRESS, "203.0.113.1", "--source-port", "40125", "--rounds", "4", "--timeout",
                     "0.2")
    assert result.code == NO_ANSWER
    assert ports == [40125] * 4


def test_proxy_of_the_environment_is_not_for_panels(wire, fake):
    assert fake
    proxy = "socks5://127.0.0.1:1"
    completed = wire[1].run([program(), "discover", *SEARCHING], capture_output=True, timeout=4 * PATIENCE,
                            env={**ENVIRONMENT, "all_proxy": proxy, "http_proxy": proxy, "https_proxy": proxy})
    assert (completed.returncode, completed.stdout.decode().splitlines()) == (DONE, [HEADINGS, LINE])


def test_full_send_buffer_is_waited_for(fake, mvdpctl):
    """Datagrams to addresses that nobody holds lie there until the kernel gives up to look for them."""
    assert fake
    everybody = [f"192.168.10.{last}" for last in range(2, 255)]
    result = mvdpctl("discover", *everybody, "--rounds", "1")
    assert result.code == NO_ANSWER
    assert LINE in result.lines
    assert "nothing can be sent" not in result.err


def test_quiet_leaves_the_result_alone(fake, mvdpctl):
    fake.before = [b"junk"]
    result = mvdpctl("discover", "--quiet", *SEARCHING)
    assert (result.lines, result.err) == ([HEADINGS, LINE], "")


def test_verbose_shows_each_datagram(fake, mvdpctl):
    result = mvdpctl("identify", MAC, "--to", PANEL_ADDRESS, "--verbose", *PATIENT)
    assert "> to 192.168.10.5:58553, 256 bytes\n" in result.err
    assert "< from 192.168.10.5:58553 on eth0 by unicast, 256 bytes\n" in result.err
    assert "  address 192.168.10.5, netmask 255.255.255.0, gateway 192.168.10.1\n" in result.err
    assert "   16  01 0a a8 c0 02 00 5e 10 00 01 58 02 0f 27 8d 01\n" in result.err


@pytest.mark.parametrize("words", [["identify", "QM316"], ["echo", MAC, "--count", "1"],
                                   ["set", PANEL_ADDRESS, "--address", "192.168.10.7", "--yes"]], ids=" ".join)
def test_verbose_shows_the_datagrams_of_the_panel_alone(fake, mvdpctl, words):
    fake.panels += [Identity(mac=f"02:00:5e:10:01:{number:02x}", address=f"192.168.10.{100 + number}",
                             description=b"other") for number in range(20)]
    fake.before = [b"junk"]
    result = mvdpctl(*words, "--verbose", *SEARCHING)
    assert result.code == DONE
    assert "\n> to 255.255.255.255:58553 on eth0, 256 bytes\n" in "\n" + result.err
    blocks = re.split(r"^(?=[<>] )", result.err, flags=re.MULTILINE)
    received = [block for block in blocks if block.startswith("< ")]
    assert received
    assert all(f"MAC address {MAC}\n" in block or "(echo)" in block or " 4 bytes" in block for block in received)
    assert "of another panel" not in "".join(received)
    # All the same they are counted.
    assert "\n1 other datagram was ignored: 1 of the wrong length.\n" in result.err


@pytest.mark.parametrize("arguments", [["--json"], []])
def test_result_that_cannot_be_written_is_trouble(wire, fake, arguments):
    assert fake
    completed = wire[1].run(["sh", "-c", '"$0" discover "$@" >/dev/full', program(), *arguments, *SEARCHING],
                            capture_output=True, timeout=4 * PATIENCE)
    assert completed.returncode == TROUBLE
    assert b"mvdpctl: the result could not be written\n" in completed.stderr
