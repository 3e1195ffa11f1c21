"""Fixtures of the system tests, and the way to run them without root."""

import os
import signal
import subprocess
import sys

import pytest

from panel import Panel, Xvfb

# A user namespace of our own makes network namespaces and mounts possible without root.
UNSHARE = ["unshare", "--user", "--map-root-user", "--mount", "--net", "--"]

_panels = []


def pytest_configure(config):
    # As an interrupt from the keyboard, so that a run that is ended removes its programs and folders.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    if os.geteuid() == 0:
        return
    if subprocess.run(UNSHARE + ["true"], capture_output=True, check=False).returncode != 0:
        pytest.exit("the system tests need root, or unprivileged user namespaces", returncode=4)
    config.pluginmanager.getplugin("capturemanager").stop_global_capturing()
    sys.stdout.flush()
    os.execvp(UNSHARE[0], UNSHARE + [sys.executable, "-m", "pytest", *config.invocation_params.args])


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    """Shows the service's output when a test fails."""
    report = (yield).get_result()
    if report.failed:
        for panel in _panels:
            if hasattr(panel, "stderr_path"):
                report.sections.append(("mvdpserver's stderr", panel.stderr()[-4000:]))


def _maker():
    made = []

    def make(**options):
        panel = Panel(**options)
        made.append(panel)
        _panels.append(panel)
        return panel

    yield make
    problems = []
    for panel in made:
        _panels.remove(panel)
        try:
            panel.close()
        except AssertionError as problem:
            problems.append(str(problem))
    assert not problems, "\n".join(problems)


@pytest.fixture(scope="session")
def display():
    """The name of an X display that all tests may share."""
    server = Xvfb()
    yield server.display
    server.close()


@pytest.fixture(name="make_panel")
def fixture_make_panel():
    """A function that makes a panel for one test; its arguments are Panel's."""
    yield from _maker()


@pytest.fixture(name="module_panels", scope="module")
def fixture_module_panels():
    """The same for panels that a module's tests share."""
    yield from _maker()


@pytest.fixture(name="shared_panel", scope="module")
def fixture_shared_panel(module_panels):
    return module_panels()


@pytest.fixture(name="panel")
def fixture_panel(shared_panel):
    """The module's panel, reset; see Panel.reset. `panel.restart_service()` empties the service's caches too."""
    shared_panel.reset()
    shared_panel.check_alive()
    yield shared_panel
    shared_panel.check_alive()


@pytest.fixture(name="tool")
def fixture_tool(panel):
    """A tool on the panel's subnet."""
    return panel.tool_at()
