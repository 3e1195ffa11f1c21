"""Winks and discoveries side by side while the platform service comes and goes.

What this is for shows in a build with the thread sanitizer (`cmake --preset tsan`): its reports are on the service's
stderr, where each round looks for them. In any other build the service must merely come through it.
MVDP_STRESS_SECONDS is how long it lasts; the default suits a run among all other tests.
"""

import itertools
import os
import time

import pytest

import mvdp
from mvdp import Command
from panel import ADDRESS, FAR_ADDRESS, MAC, TOOL_ADDRESS, Xvfb
from xscreen import Screen

SECONDS = float(os.environ.get("MVDP_STRESS_SECONDS", "5"))
# The MAC address from a service that has not reached the platform service yet.
NO_MAC = "00:00:00:00:00:00"


class Stage:
    """A panel with a screen, and two tools that ask it one thing after the other without waiting."""

    def __init__(self, panel, screen):
        self.panel, self._screen = panel, screen
        self._sockets = [panel.tool.udp_socket(address) for address in (TOOL_ADDRESS, FAR_ADDRESS)]

    def talk(self, mac=MAC, times=4):
        """Returns when the panel has done with all of it; few enough for its socket to hold."""
        for _ in range(times):
            for command in (Command.WINK, Command.DISCOVER, Command.IDENTIFY):
                for sock in self._sockets:
                    sock.sendto(mvdp.request(command, mac=mac), (ADDRESS, mvdp.PORT))
        self.panel.tool_at().settle()

    def wait_for_notice(self):
        """The first notice of a process is when its GUI thread asks the facade, too."""
        self._screen.wait_for_window(self.panel.process.pid)


def platform_is_there(stage):
    stage.panel.start_service()
    stage.talk()
    stage.wait_for_notice()


def platform_takes_its_time(stage):
    """Both threads ask for the description, and only one of them can be the first to get it."""
    stage.panel.sim.set_fault("manufactureCode", "delay", ms=30)
    stage.panel.start_service()
    stage.talk()
    stage.wait_for_notice()
    stage.panel.sim.clear_faults()
    stage.talk()


def platform_comes_late(stage):
    """Both threads try to reach it, and both do when it comes."""
    stage.panel.sim.disappear()
    stage.panel.start_service()
    stage.talk(NO_MAC, times=1)
    stage.panel.sim.reappear()
    stage.talk()
    stage.wait_for_notice()


def platform_comes_and_goes(stage):
    stage.panel.start_service()
    for _ in range(3):
        stage.panel.sim.disappear()
        stage.talk(NO_MAC, times=1)
        stage.talk()
        stage.panel.sim.reappear()
        stage.talk()
    stage.wait_for_notice()


@pytest.fixture(name="screen")
def fixture_screen():
    server = Xvfb()
    screen = Screen(server.display)
    yield screen
    screen.close()
    server.close()


def test_winks_and_discoveries_side_by_side(screen, make_panel):
    # With a session bus on which it is not, a missing platform service is looked for again by every call.
    panel = make_panel(display=screen.name, session_bus=True, start=False)
    stage = Stage(panel, screen)
    rounds = (platform_is_there, platform_takes_its_time, platform_comes_late, platform_comes_and_goes)
    started = time.monotonic()
    for number, play in enumerate(itertools.cycle(rounds), 1):
        play(stage)
        panel.stop_service()
        if number >= len(rounds) and time.monotonic() - started >= SECONDS:
            break
    print(f"{number} rounds")
