"""Measures the resident memory of mvdpserver after a discovery, and after a wink.

usage: run_footprint.py; MVDP_SERVER names the program, as in the system tests.

Of a program in an emulator only what lies in its own address space counts, and nothing of qemu: its code as far as
it was read to be translated, its data, and the libraries' files. The emulator is told where to put that space.
"""

import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "system"))

import mvdp  # noqa: E402
from panel import MAC, Panel, Xvfb, server_command  # noqa: E402
from xscreen import Screen  # noqa: E402

GUEST_BASE = 1 << 44
GUEST_SIZE = 1 << 40
IS_64_BIT = 2  # byte 4 of an ELF file


def emulator_options():
    program = pathlib.Path(server_command()[-1])
    options = {"QEMU_GUEST_BASE": hex(GUEST_BASE)}
    if program.read_bytes()[4] == IS_64_BIT:  # qemu reserves all that a 32-bit program can have by itself
        options["QEMU_RESERVED_VA"] = hex(GUEST_SIZE)
    return options


def resident_kib(pid):
    emulated = "qemu" in pathlib.Path(f"/proc/{pid}/exe").resolve().name
    total = 0
    begin = 0
    for line in pathlib.Path(f"/proc/{pid}/smaps").read_text(encoding="utf-8").splitlines():
        if place := re.match("([0-9a-f]+)-[0-9a-f]+ ", line):
            begin = int(place[1], 16)
        elif line.startswith("Rss:") and (not emulated or GUEST_BASE <= begin < GUEST_BASE + GUEST_SIZE):
            total += int(line.split()[1])
    return total


def main():
    display = Xvfb("800x480x24")
    screen = Screen(display.display)
    panel = Panel(display=display.display, start=False)
    try:
        panel.start_service(environment=emulator_options())
        tool = panel.tool_at()
        tool.ask(mvdp.request(mvdp.Command.DISCOVER))
        print(f"after a discovery {resident_kib(panel.process.pid) / 1024:.1f} MB")
        tool.ask(mvdp.request(mvdp.Command.WINK, mac=MAC))
        screen.wait_for_window(panel.process.pid)
        print(f"after a wink      {resident_kib(panel.process.pid) / 1024:.1f} MB")
    finally:
        panel.close()
        screen.close()
        display.close()


if __name__ == "__main__":
    main()
