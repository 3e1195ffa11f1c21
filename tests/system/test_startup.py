"""The command line and what the process is made of."""

import pathlib
import subprocess

import pytest

import mvdp
from mvdp import Command
from panel import server_command
from waiting import PATIENCE, wait_for

BANNER = "MVDP Version 1.0.0.11"
# Takes the C library's output buffer away, so that a banner without a line end is seen at once.
UNBUFFERED = ("stdbuf", "-o0")


@pytest.mark.parametrize("arguments, output", [
    (["--version"], BANNER), (["--version", "x"], BANNER), ([], ""), (["--VERSION"], ""), (["x", "--version"], ""),
    (["--version "], "")], ids=str)
def test_the_version_is_printed_without_a_line_end_and_the_service_starts(panel, arguments, output):
    """All other arguments are ignored."""
    panel.restart_service(arguments, prefix=UNBUFFERED)
    assert panel.tool_at().ask(mvdp.request(Command.DISCOVER)).packet_type == mvdp.REPLY
    assert panel.stdout() == output


def test_the_manuals_way_to_ask_for_the_version_needs_no_screen(make_panel):
    manual = (pathlib.Path(__file__).resolve().parents[2] / "src" / "mvdpserver.8").read_text(encoding="ascii")
    (line,) = [line for line in manual.splitlines() if line.startswith("QT_QPA_PLATFORM=offscreen ")]
    # Without the limit that a reader has: a slow machine may take longer.
    command = line.replace("\\-", "-").replace(" timeout 2 ", " ").removesuffix(" 2>/dev/null").split()
    place = command.index("mvdpserver")
    command[place:place + 1] = server_command()
    panel = make_panel(system_bus=False, sim=None, start=False)
    environment = panel.environment()
    del environment["QT_QPA_PLATFORM"]
    process = panel.namespace.popen(["env", *command], env=environment, stdout=subprocess.PIPE,
                                    stderr=subprocess.DEVNULL)
    with process.stdout:
        assert process.stdout.read(len(BANNER)) == BANNER.encode()
    process.kill()
    process.wait()


def test_a_missing_screen_is_reported_by_qt_and_ends_the_start(make_panel):
    panel = make_panel(display=":nowhere", start=False)
    panel.start_service(wait=False)
    wait_for(lambda: panel.process.poll() is not None, "the start to fail")
    assert "could not connect to display" in panel.stderr()
    panel.process = None


def test_without_a_platform_service_nothing_is_asked_before_the_first_datagram(make_panel):
    panel = make_panel(system_bus=False, sim=None)
    assert panel.warnings() == []


def test_a_second_service_names_the_first_and_goes_on_without_the_port(panel):
    # A launcher's name, where one starts the service.
    name = pathlib.Path(f"/proc/{panel.process.pid}/comm").read_text(encoding="ascii").strip()
    log = panel.folder / "second"
    with open(log, "wb") as output:
        second = panel.namespace.popen(server_command(), env=panel.environment(), stdout=output, stderr=output)
    wait_for(lambda: log.read_text(encoding="utf-8").endswith("\n"), "the second service to warn")
    assert log.read_text(encoding="utf-8").splitlines() == [
        'Cannot listen on UDP port 58553: "Address already in use" '
        f"by process {panel.process.pid} ({name}) of user 0"]
    assert panel.tool_at().ask(mvdp.request(Command.DISCOVER)).packet_type == mvdp.REPLY
    assert second.poll() is None
    second.kill()
    second.wait()


def test_a_log_without_a_reader_is_survived(make_panel):
    """The D-Bus library ignores SIGPIPE from its first connection on, and there is no bus here."""
    panel = make_panel(system_bus=False, sim=None, start=False)
    panel.stderr_path = panel.folder / "nothing"
    panel.stderr_path.touch()
    panel.process = panel.namespace.popen(server_command(), env=panel.environment(), cwd=panel.working_folder,
                                          stdin=subprocess.DEVNULL, stderr=subprocess.PIPE)
    panel.process.stderr.close()
    panel.wait_listening()
    tool = panel.tool_at()
    for _ in range(2):
        # What cannot be written down is that there is no bus.
        tool.settle()


def test_the_end_of_the_process_is_quick_and_clean(panel):
    """There is no shutdown path: the usual signal ends it at once."""
    panel.restart_service()
    panel.tool_at().settle()
    panel.process.terminate()
    assert panel.process.wait(PATIENCE) == -15
    assert panel.warnings() == []
    panel.process = None
    panel.start_service()
