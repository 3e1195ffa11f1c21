"""The command line and what the process is made of."""

import re

import pytest

import mvdp
from mvdp import Command
from panel import GROUP_IN_PROC, MAC, UDP_PORT_IN_PROC, server_path
from waiting import PATIENCE, wait_for

BANNER = "MVDP Version 1.0.0.11"
# Takes the C library's output buffer away, so that a banner without a line end is seen at once.
UNBUFFERED = ("stdbuf", "-o0")


def test_the_version_is_printed_without_a_line_end_and_the_service_goes_on(panel):
    panel.restart_service(["--version"], prefix=UNBUFFERED)
    assert panel.stdout() == BANNER
    assert panel.tool_at().ask(mvdp.request(Command.DISCOVER)).packet_type == mvdp.REPLY
    assert panel.stdout() == BANNER


def test_the_version_may_be_followed_by_anything(panel):
    panel.restart_service(["--version", "x"], prefix=UNBUFFERED)
    assert panel.stdout() == BANNER


@pytest.mark.parametrize("arguments", [[], ["--VERSION"], ["x", "--version"], ["--versio"], ["--version "],
                                       ["-v"], ["version"], [""]], ids=str)
def test_other_arguments_print_nothing_and_are_ignored(panel, arguments):
    panel.restart_service(arguments, prefix=UNBUFFERED)
    assert panel.tool_at().ask(mvdp.request(Command.DISCOVER)).packet_type == mvdp.REPLY
    assert panel.stdout() == ""


def test_a_quiet_start_says_nothing(panel):
    panel.restart_service()
    panel.tool_at().settle()
    assert panel.warnings() == []


def test_the_service_runs_on_a_screen(make_panel, display):
    panel = make_panel(display=display)
    tool = panel.tool_at()
    assert tool.ask(mvdp.request(Command.DISCOVER)).data == panel.expected_identity()
    assert tool.ask(mvdp.request(Command.WINK, mac=MAC)).data == panel.expected_identity(command=Command.WINK)
    tool.settle()
    assert panel.warnings() == []


def test_a_missing_screen_is_reported_by_qt_and_ends_the_start(make_panel):
    panel = make_panel(display=":nowhere", start=False)
    panel.start_service(wait=False)
    wait_for(lambda: panel.process.poll() is not None, "the start to fail")
    assert "could not connect to display" in panel.stderr()
    panel.process = None


def test_without_a_platform_service_nothing_is_asked_before_the_first_datagram(make_panel):
    panel = make_panel(system_bus=False, sim=None)
    assert panel.warnings() == []


def test_two_services_share_no_port(panel):
    """A second service can neither take nor share the port: it waits for datagrams that never come."""
    panel.restart_service()
    with open(panel.folder / "second", "wb") as log:
        second = panel.namespace.popen([server_path()], env=panel.environment(), stdout=log, stderr=log)

    def in_namespace(path):
        return panel.namespace.run(["cat", path], capture_output=True, text=True).stdout

    # It has done with its socket when the group has a second member.
    wait_for(lambda: re.search(GROUP_IN_PROC + r"\s+2\b", in_namespace("/proc/net/igmp")), "the second service")
    assert in_namespace("/proc/net/udp").count(UDP_PORT_IN_PROC) == 1
    assert panel.tool_at().ask(mvdp.request(Command.DISCOVER), to=mvdp.GROUP).packet_type == mvdp.REPLY
    assert second.poll() is None
    second.kill()
    second.wait()


def test_the_end_of_the_process_is_quick_and_clean(panel):
    """There is no shutdown path: the usual signal ends it at once."""
    panel.restart_service()
    panel.tool_at().settle()
    panel.process.terminate()
    assert panel.process.wait(PATIENCE) == -15
    assert panel.warnings() == []
    panel.process = None
    panel.start_service()
