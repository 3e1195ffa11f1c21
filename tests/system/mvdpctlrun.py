"""Runs mvdpctl across a wire from panels that the test plays. Test modules import the fixtures by name."""

import json
import os
import re

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
# For commands that are to wait in vain.
HASTY = ["--timeout", "0.2", "--rounds", "2"]
# The table of discover where the usual panel is found.
HEADINGS = "MAC ADDRESS        ADDRESS          GATEWAY       VERSION     DESCRIPTION"
LINE = "02:00:5e:10:00:01  192.168.10.5/24  192.168.10.1  1.234.56.7  QM316-44LRNA"


def program():
    return build_folder() / "tools" / "mvdpctl" / "mvdpctl"


@pytest.fixture(name="wire", scope="module")
def fixture_wire():
    """The namespaces (panel, tool), joined by eth0 on either side."""
    with Namespace("panel") as panel, Namespace("tool") as tool:
        join(panel, "eth0", tool, "eth0")
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
        # Neither may ever steer a terminal.
        assert not re.search(r"[\x00-\x09\x0b-\x1f\x7f-\x9f]", self.out + self.err)
        assert self.code in range(5), f"ended with {self.code}: {self.err}"

    @property
    def lines(self):
        return self.out.splitlines()

    @property
    def json(self):
        return json.loads(self.out)


@pytest.fixture(name="mvdpctl")
def fixture_mvdpctl(wire):
    """Runs the tool to its end, away from any terminal."""
    def run(*arguments, locale="C.UTF-8", decode=True):
        completed = wire[1].run([program(), *arguments], input=b"", capture_output=True, timeout=4 * PATIENCE,
                                env={**os.environ, "LC_ALL": locale})
        return Result(completed) if decode else completed
    return run
