"""The work of run-panel: a panel as the system tests have it, on a screen, with mvdpctl across the wire."""

import argparse
import pathlib
import re
import signal
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "system"))

from hwsdsim import build_folder  # noqa: E402
from panel import MAC, Panel, Xvfb  # noqa: E402
from waiting import wait_for  # noqa: E402
from xscreen import Screen, read_bmp  # noqa: E402

MVDPCTL = build_folder() / "tools" / "mvdpctl" / "mvdpctl"
PICTURE = build_folder() / "wink.png"
NEW_ADDRESS = "192.168.10.77"
HAND = read_bmp(ROOT / "images" / "hand-icon.bmp")


def screen_size(text):
    if not re.fullmatch(r"[1-9][0-9]{1,4}x[1-9][0-9]{1,4}", text):
        raise argparse.ArgumentTypeError(f"{text!r} is not of the form 800x480")
    return text


def say(text):
    print(f"\n== {text}", flush=True)


def mvdpctl(panel, *arguments):
    print("$ mvdpctl", *arguments, flush=True)
    result = panel.tool.run([MVDPCTL, *arguments])
    if result.returncode != 0:
        sys.exit(f"mvdpctl ended with {result.returncode}")


def take_picture(display):
    """Waits until the notice shows its hand, which a blink may hide for a second at a time."""
    screen = Screen(display)

    def picture_with_hand():
        picture = screen.picture()
        return picture if picture.place_of(HAND) else None

    try:
        wait_for(picture_with_hand, "the notice to be shown").save_png(PICTURE)
    finally:
        screen.close()


def show(panel, display):
    say("Which panels are there?")
    mvdpctl(panel, "discover")
    say("Give it another address")
    mvdpctl(panel, "set", MAC, "--address", NEW_ADDRESS, "--yes")
    say("And now?")
    mvdpctl(panel, "discover")
    say("Wink, so that somebody in front of it sees which one it is")
    mvdpctl(panel, "wink", MAC)
    take_picture(display)
    print(f"The notice on its screen: {PICTURE.relative_to(ROOT)}")


def keep(panel, display):
    say("The panel stays up until Ctrl-C. From another terminal, as root:")
    print(f"  the tool's place in the network:  nsenter --net={panel.tool.path} {MVDPCTL} discover")
    print(f"  the panel's:                      nsenter --net={panel.namespace.path} ip address")
    print(f"  its screen:                       DISPLAY={display}, for example for xwd or x11vnc")
    print(f"  its platform service:             DBUS_SESSION_BUS_ADDRESS={panel.system_bus.address}")
    print(f"  its log:                          {panel.stderr_path}", flush=True)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    try:
        signal.pause()
    except KeyboardInterrupt:
        print()


def main():
    parser = argparse.ArgumentParser(prog="run-panel")
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--screen", type=screen_size, default="800x480")
    arguments = parser.parse_args()

    screen = Xvfb(arguments.screen + "x24")
    try:
        panel = Panel(sim=None, display=screen.display, start=False)
        try:
            panel.start_sim(options=["--apply-to-kernel"], prefix=["nsenter", f"--net={panel.namespace.path}"])
            panel.start_service()
            show(panel, screen.display)
            if arguments.keep:
                keep(panel, screen.display)
        finally:
            panel.close()
    finally:
        screen.close()


if __name__ == "__main__":
    main()
