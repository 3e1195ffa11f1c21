"""The wink notice, as the X server and an operator see it."""

import contextlib
import pathlib
import re
import subprocess
import time

import pytest

import mvdp
from machinefaults import MachineFaults
from mvdp import Command
from noticepicture import HAND, read_notice, read_texts
from panel import MAC, Xvfb
from waiting import wait_for
from xscreen import Screen

DISCOVER = mvdp.request(Command.DISCOVER)
WINK = mvdp.request(Command.WINK, mac=MAC)
NO_DISPLAY = "Cannot open the X display: no wink notice is shown"
LANDSCAPE, PORTRAIT = (420, 151), (330, 235)
SHOWN_FOR = 5


class WatchedScreen:
    """An X display of its own for one test; `parts` are ended with it, last one first."""

    def __init__(self, size, *options):
        self.parts = []
        self.server = Xvfb(f"{size}x24", *options)
        self.parts.append(self.server)
        self.name = self.server.display
        self.screen = Screen(self.name)
        self.parts.append(self.screen)

    def start_window_manager(self, folder):
        (folder / "rc.xml").write_text('<openbox_config xmlns="http://openbox.org/3.4/rc"/>', encoding="ascii")
        environment = {"DISPLAY": self.name, "HOME": str(folder), "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
        process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", "--", "openbox", "--sm-disable", "--config-file",
             folder / "rc.xml"], env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        self.parts.append(Program(process))
        self.screen.wait_for_window_manager()

    def close(self):
        while self.parts:
            self.parts.pop().close()


class Program:
    def __init__(self, process):
        self.process = process

    def close(self):
        self.process.kill()
        self.process.wait()


@pytest.fixture(name="make_screen")
def fixture_make_screen():
    """A function of a size, and options for the X server, that makes a WatchedScreen."""
    made = []

    def make(size, *options):
        made.append(WatchedScreen(size, *options))
        return made[-1]

    yield make
    for each in made:
        each.close()


@pytest.fixture(name="stage")
def fixture_stage(make_screen, make_panel):
    """A function that makes (panel, tool, screen) with a screen of the given size, and no wink yet."""
    # The panels are ended before their screens are.
    def make(size="800x480", environment=None):
        display = make_screen(size)
        panel = make_panel(display=display.name, start=False)
        panel.start_service(environment=environment)
        return panel, panel.tool_at(), display.screen

    return make


@pytest.fixture(name="winked")
def fixture_winked(stage):
    """The same, and the window of a notice that has just been asked for."""
    def make(*args, **kwargs):
        panel, tool, screen = stage(*args, **kwargs)
        return panel, tool, screen, shown_notice(panel, tool, screen)

    return make


def wink(tool):
    assert tool.ask(WINK).packet_type == mvdp.REPLY


def shown_notice(panel, tool, screen):
    """The window of a notice that is asked for until it is seen."""
    return keep_winking(tool, lambda: screen.find_window(panel.process.pid), "the notice to be visible")


def picture_with_hand(tool, screen, window):
    """The notice at a moment when the hand is shown."""
    def look():
        picture = screen.picture_of(window)
        return picture if picture.place_of(HAND) else None

    return keep_winking(tool, look, "the hand to be shown")


def keep_winking(tool, condition, what):
    """Waits while it repeats the wink, because the notice may disappear before a slow machine has looked."""
    def winked_condition():
        wink(tool)
        return condition()

    return wait_for(winked_condition, what)


# Where it is


@pytest.mark.parametrize("size, geometry", [
    ("800x480", (190, 164, *LANDSCAPE)),
    # Half of -10 and half of 5, rounded towards zero.
    ("320x240", (-5, 2, *PORTRAIT))], ids=["landscape", "portrait"])
def test_the_notice_is_in_the_middle_of_the_screen(winked, size, geometry):
    panel, _, screen, window = winked(size)
    assert screen.geometry(window) == geometry
    assert screen.frame(window) == geometry
    assert panel.warnings() == []


@pytest.mark.parametrize("environment", [
    {"QT_SCALE_FACTOR": "2"}, {"QT_SCREEN_SCALE_FACTORS": "2"}, {"QT_SCREEN_SCALE_FACTORS": "screen=2;2"},
    {"QT_DEVICE_PIXEL_RATIO": "2"}, {"QT_AUTO_SCREEN_SCALE_FACTOR": "1"}, {"QT_ENABLE_HIGHDPI_SCALING": "1"}],
    ids=lambda environment: " ".join(environment))
def test_on_a_scaled_desktop_the_notice_keeps_its_pixels(winked, environment):
    _, tool, screen, window = winked(environment=environment)
    assert screen.geometry(window) == (190, 164, *LANDSCAPE)
    # The hand is found only at its natural size.
    read_notice(picture_with_hand(tool, screen, window))


@pytest.mark.parametrize("resources, options, environment", [
    (None, (), {"QT_FONT_DPI": "192"}),
    (192, (), {}),
    (192, (), {"QT_AUTO_SCREEN_SCALE_FACTOR": "1", "QT_ENABLE_HIGHDPI_SCALING": "1"}),
    (None, ("-dpi", "133"), {})],
    ids=["environment", "resources", "resources-and-scaling", "server"])
def test_on_a_screen_of_many_dots_per_inch_the_letters_keep_their_pixels_too(
        make_screen, make_panel, resources, options, environment):
    dense, plain = make_screen("800x480", *options), make_screen("800x480")
    if resources:
        dense.screen.set_dots_per_inch(resources)
    panel = make_panel(start=False)

    def picture(display, settings):
        panel.start_service(environment={"DISPLAY": display.name, "QT_QPA_PLATFORM": "xcb", **settings})
        tool = panel.tool_at()
        window = shown_notice(panel, tool, display.screen)
        assert display.screen.geometry(window) == (190, 164, *LANDSCAPE)
        seen = picture_with_hand(tool, display.screen, window)
        panel.stop_service()
        return seen

    assert picture(dense, environment).same_as(picture(plain, {}))


def test_the_notice_needs_no_opengl(winked):
    """A renderer in software would take more memory than all the rest."""
    panel, _, _, _ = winked(environment={"QT_XCB_GL_INTEGRATION": "xcb_glx"})
    maps = pathlib.Path(f"/proc/{panel.process.pid}/maps").read_text(encoding="utf-8")
    loaded = {line.split("/")[-1] for line in maps.splitlines() if "/" in line}
    assert not [name for name in loaded if re.search("glx-integration|egl-integration|_dri|LLVM|gallium", name)]


# What it shows


@pytest.mark.parametrize("size", ["800x480", "480x800"], ids=["landscape", "portrait"])
def test_the_notice_shows_all_texts_and_a_hand_that_blinks(winked, size):
    _, tool, screen, window = winked(size)
    shown = read_notice(picture_with_hand(tool, screen, window)).parts
    hand = shown["hand"]

    def without_hand():
        picture = screen.picture_of(window)
        return picture if picture.is_white(*hand) else None

    hidden = keep_winking(tool, without_hand, "the hand to be hidden")
    assert read_texts(hidden, hand[:2]).parts == shown
    assert read_notice(picture_with_hand(tool, screen, window)).parts == shown


@pytest.mark.parametrize("size", ["800x480", "480x800"], ids=["landscape", "portrait"])
def test_a_part_that_goes_missing_is_noticed(winked, size):
    """Checks that the test above can fail."""
    _, tool, screen, window = winked(size)
    picture = picture_with_hand(tool, screen, window)
    parts = read_notice(picture).parts
    assert len(parts) == 6
    for name, place in parts.items():
        with pytest.raises(AssertionError):
            read_notice(picture.painted(*place))
            pytest.fail(f"the {name} was not missed")
    left, top, _, _ = parts["hand"]
    with pytest.raises(AssertionError, match="the hand is missing"):
        read_notice(picture.painted(left + 64, top + 64, left + 65, top + 65))
    with pytest.raises(AssertionError, match="no frame"):
        read_notice(picture.painted(0, 70, 1, 71))


# When it is there


def test_the_notice_is_up_until_five_seconds_after_the_last_wink_and_comes_again(stage):
    panel, tool, screen = stage()
    screen.watch()
    wink(tool)
    assert screen.next_change() == "shown"
    first = time.monotonic()
    wait_for(lambda: time.monotonic() >= first + 3, "the time of the second wink")
    second = time.monotonic()
    wink(tool)
    assert screen.next_change() == "hidden"
    if time.monotonic() - second < SHOWN_FOR:
        # On a machine that stood still the notice had gone when the second wink came, and is shown once more.
        assert screen.next_change() == "shown"
        assert screen.next_change() == "hidden"
        assert time.monotonic() - second >= SHOWN_FOR
    # The process has not ended with its last window.
    assert tool.ask(mvdp.request(Command.DISCOVER)).packet_type == mvdp.REPLY
    shown_notice(panel, tool, screen)
    screen.wait_for_no_window(panel.process.pid)
    assert panel.warnings() == []


# Among other windows


def test_under_a_window_manager_the_notice_is_frameless_and_stays_on_top(make_screen, make_panel, tmp_path):
    display = make_screen("800x480")
    display.start_window_manager(tmp_path)
    screen = display.screen
    other = screen.open_window(100, 100, 600, 300)
    screen.wait_until_managed(other)
    # This manager does decorate.
    assert screen.frame(other) != screen.geometry(other)
    panel = make_panel(display=display.name)
    tool = panel.tool_at()
    window = shown_notice(panel, tool, screen)
    screen.wait_until_managed(window)
    keep_winking(tool, lambda: screen.geometry(window) == (190, 164, *LANDSCAPE), "the notice in the middle")
    assert screen.frame(window) == screen.geometry(window)
    keep_winking(tool, lambda: screen.is_above(window, other), "the notice to be on top")
    screen.raise_window(other)
    keep_winking(tool, lambda: screen.is_above(window, other), "the notice to be on top again")
    read_notice(picture_with_hand(tool, screen, window))


@pytest.mark.parametrize("manager", [False, True], ids=["no-window-manager", "window-manager"])
def test_each_wink_brings_the_notice_above_a_program_that_fills_the_screen(make_screen, make_panel, tmp_path, manager):
    display = make_screen("800x480")
    screen = display.screen
    if manager:
        display.start_window_manager(tmp_path)
    panel = make_panel(display=display.name)
    tool = panel.tool_at()
    for before in ("never shown", "shown", "hidden"):
        if before == "hidden":
            screen.wait_for_no_window(panel.process.pid)
        screen.raise_window(screen.open_window(0, 0, 800, 480, full_screen=True))
        wait_for(lambda: screen.picture().is_filled(screen.COLOUR), f"a program to fill the screen, {before}")

        window = shown_notice(panel, tool, screen)
        keep_winking(tool, lambda: screen.geometry(window) == (190, 164, *LANDSCAPE), "the notice in the middle")
        read_notice(picture_with_hand(tool, screen, window))


# Without a display


def test_without_a_display_winks_are_one_warning_and_the_service_goes_on(make_panel):
    panel = make_panel()
    tool = panel.tool_at()
    for _ in range(3):
        assert tool.ask(WINK).data == panel.expected_identity(command=Command.WINK)
        wait_for(panel.warnings, "the warning")
    assert panel.warnings() == [NO_DISPLAY]


@pytest.fixture(name="hanging")
def fixture_hanging(make_screen, make_panel):
    """(panel, tool, X server, screen): the server may be paused when the test ends."""
    display = make_screen("800x480")
    panel = make_panel(display=display.name)
    display.screen.watch()
    yield panel, panel.tool_at(), display.server, display.screen
    display.server.resume()


def test_while_the_display_hangs_discovery_goes_on_and_then_the_notice_goes(hanging):
    panel, tool, server, screen = hanging
    wink(tool)
    assert screen.next_change() == "shown"
    server.pause()
    begin = time.monotonic()

    def answered_for_the_notices_time():
        assert tool.ask(DISCOVER).data == panel.expected_identity()
        return time.monotonic() >= begin + SHOWN_FOR

    wait_for(answered_for_the_notices_time, "the end of the notice")
    server.resume()
    assert screen.next_change() == "hidden"
    assert panel.warnings() == []


def test_a_notice_that_the_display_hangs_for_is_shown_when_it_goes_on(hanging):
    panel, tool, server, screen = hanging
    server.pause()
    for _ in range(3):
        wink(tool)
        assert tool.ask(DISCOVER).data == panel.expected_identity()
    server.resume()
    assert [screen.next_change(), screen.next_change()] == ["shown", "hidden"]
    assert panel.warnings() == []


def test_without_descriptors_no_notice_is_shown_and_later_it_is(stage, tmp_path):
    faults = MachineFaults(tmp_path)
    with contextlib.closing(faults):
        panel, tool, screen = stage(environment=faults.environment)
        tool.ask(DISCOVER)
        faults.take_descriptors()
        wink(tool)
        wait_for(panel.warnings, "the warning")
        faults.clear()
        shown_notice(panel, tool, screen)
        assert panel.warnings() == [NO_DISPLAY]


@pytest.mark.parametrize("method", ["getInterfaceConfig", "info"])
def test_a_display_that_goes_while_the_platform_service_is_asked_ends_the_process(make_panel, make_screen, method):
    """So that somebody can start it again, and before D-Bus gives the call up, after 25 s."""
    display = make_screen("800x480")
    panel = make_panel(display=display.name)
    panel.sim.set_fault(method, "silence")
    panel.tool_at().send(mvdp.request(Command.DISCOVER))
    panel.sim.wait_for_calls(method)
    display.close()
    assert panel.process.wait(20) > 0
    panel.process = None
