"""Runs mvdpctl across a wire from simulated panels. Test modules import the fixtures by name."""

import csv
import fcntl
import io
import json
import os
import pty
import re
import select
import signal
import socket
import struct
import termios

import pytest

from fakepanel import FakePanel
from hwsdsim import build_folder
from netns import Namespace, join
from waiting import PATIENCE

PANEL_ADDRESS = "192.168.10.5"
OTHER_ADDRESS = "192.168.10.6"
FAR_ADDRESS = "10.9.0.2"  # on the same wire, in a subnet of its own
TOOL_ADDRESS = "192.168.10.1"
NOBODY = "192.168.10.99"
MAC, MAC2, MAC3 = ("02:00:5e:10:00:01", "02:00:5e:10:00:02", "02:00:5e:10:00:03")
NO_MAC = "00:00:00:00:00:00"
DONE, NO_ANSWER, USAGE, REFUSED, TROUBLE = range(5)
# For commands that end with the answer: on a loaded machine it comes late, but the test need not wait for it.
PATIENT = ["--timeout", "60"]
# For commands that search for all panels: it goes on until one answers, and ends soon after.
SEARCHING = ["--rounds", "100"]
# For commands that get no answer.
HASTY = ["--timeout", "0.2", "--rounds", "2"]
# No names of the user's who runs the tests.
ENVIRONMENT = {**{name: value for name, value in os.environ.items() if name != "NO_COLOR"}, "LC_ALL": "C.UTF-8",
               "XDG_CONFIG_HOME": "/nonexistent"}
# The table of discover where the usual panel is found.
HEADINGS = "MAC ADDRESS        ADDRESS          GATEWAY       VERSION     DESCRIPTION"
LINE = "02:00:5e:10:00:01  192.168.10.5/24  192.168.10.1  1.234.56.7  QM316-44LRNA"


def program():
    return build_folder() / "tools" / "mvdpctl" / "mvdpctl"


@pytest.fixture(name="wire", scope="module")
def fixture_wire():
    """The namespaces (panel, tool), joined by eth0 on either side."""
    with Namespace("panel") as panel, Namespace("tool") as tool:
        join(panel, "eth0", tool, "eth0", first_mac=MAC)
        panel.address("eth0", f"{PANEL_ADDRESS}/24", f"{OTHER_ADDRESS}/24", f"{FAR_ADDRESS}/24")
        tool.address("eth0", f"{TOOL_ADDRESS}/24")
        yield panel, tool


@pytest.fixture(name="fake")
def fixture_fake(wire):
    """A panel on the wire; a test can change it before it runs the tool."""
    panel = FakePanel(wire[0], "eth0")
    yield panel
    panel.close()


class Result:
    def __init__(self, completed):
        self.code = completed.returncode
        self.out = completed.stdout.decode()
        self.err = completed.stderr.decode()
        # Neither may contain control characters.
        assert not re.search(r"[\x00-\x09\x0b-\x1f\x7f-\x9f]", self.out + self.err)
        assert self.code in range(5), f"ended with {self.code}: {self.err}"

    @property
    def lines(self):
        return self.out.splitlines()

    @property
    def json(self):
        return json.loads(self.out)

    @property
    def csv(self):
        """The records as dictionaries."""
        records = list(csv.DictReader(io.StringIO(self.out), strict=True))
        assert all(None not in record and None not in record.values() for record in records), "ragged"
        return records


@pytest.fixture(name="mvdpctl")
def fixture_mvdpctl(wire):
    """Runs the tool to its end, away from any terminal."""
    def run(*arguments, locale="C.UTF-8", decode=True, stdin=b"", **environment):
        completed = wire[1].run([program(), *arguments], input=stdin, capture_output=True, timeout=4 * PATIENCE,
                                env={**ENVIRONMENT, "LC_ALL": locale, **environment})
        return Result(completed) if decode else completed
    return run


class Terminal:
    """The tool on a terminal of so many columns, with its user's input. Without colors unless `kind` names a terminal
    that has them."""

    def __init__(self, namespace, *arguments, columns=80, kind="dumb", **environment):
        self._terminal, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        self.process = namespace.popen([program(), *arguments], stdin=theirs, stdout=theirs, stderr=theirs,
                                       env={**ENVIRONMENT, "TERM": kind, **environment})
        os.close(theirs)
        self.bytes = b""

    def read_until(self, end):
        """Reads on until the text ends so; fails when the tool ends before or nothing comes for long."""
        while not self.bytes.endswith(end):
            assert self._read(), f"ended without {end}: {self.bytes}"

    def _read(self):
        assert select.select([self._terminal], [], [], 4 * PATIENCE)[0], f"nothing more after {self.bytes}"
        try:
            chunk = os.read(self._terminal, 4096)
        except OSError:  # the other side has closed it
            return False
        self.bytes += chunk
        return bool(chunk)

    def interrupt(self):
        self.process.send_signal(signal.SIGINT)

    def read_to_end(self):
        while self._read():
            pass
        os.close(self._terminal)

    def answer(self, prompt, text):
        """Waits for the prompt and types a line."""
        self.read_until(prompt)
        self.type(text + b"\n")
        assert self._read()  # the terminal shows what was typed, so that the same prompt is not taken twice

    def type(self, text):
        os.write(self._terminal, text)

    def finish(self):
        """Waits for the end; the code, and the lines that then stand on the screen."""
        self.read_to_end()
        # A line of progress is overwritten with blanks.
        lines = [re.split("\r *\r", line)[-1] for line in self.bytes.decode().split("\r\n")]
        assert not re.search(r"[\x00-\x1f\x7f-\x9f]", "".join(lines)), lines
        return self.process.wait(PATIENCE), lines[:-1] if lines[-1] == "" else lines


def process_state(process):
    """"S": it sleeps, waiting for something; "R": it runs or would like to."""
    with open(f"/proc/{process.pid}/stat", encoding="utf-8") as stat:
        return stat.read().rpartition(") ")[2][0]


class Watch:
    """A running `mvdpctl watch`; its lines as they come."""

    def __init__(self, namespace, *arguments, timeout="0.5"):
        ours, theirs = socket.socketpair()
        self.process = namespace.popen([program(), "watch", "--timeout", timeout, "--rounds", "8", *arguments],
                                       stdin=-3, stdout=theirs, stderr=-1)
        theirs.close()
        ours.settimeout(4 * PATIENCE)
        self._lines = ours.makefile("r", encoding="utf-8", newline="\n")
        ours.close()

    def line(self):
        line = self._lines.readline()
        assert line.endswith("\n"), f"ended: {line}"
        assert not re.search(r"[\x00-\x09\x0b-\x1f\x7f-\x9f]", line)
        return line[:-1]

    def event(self):
        return json.loads(self.line())

    def end(self, number=signal.SIGINT):
        """Interrupts it; the code, and its standard error."""
        self.process.send_signal(number)
        rest = self._lines.read()
        assert rest == "", f"more events: {rest}"
        self._lines.close()
        _, err = self.process.communicate(timeout=PATIENCE)
        return self.process.returncode, err.decode()
