"""Where the marker files should go: folders that are missing, full or not to be written."""

import pytest

import mvdp
from mvdp import Command
from panel import MAC

MARKER = "restorecdsdefault.bin"
INSIDE = "/mnt/data/hmi"  # as the panel's programs see it


@pytest.fixture(name="hmi")
def fixture_hmi(panel):
    """The path of the marker's folder; its parent is there."""
    (panel.mnt / "data").mkdir()
    return panel.mnt / "data" / "hmi"


def restore(panel, tool):
    """Carries command 15 out, which must restart the panel in any case; what was warned of."""
    before = len(panel.warnings())
    request = mvdp.request(Command.RESTORE, mac=MAC)
    assert tool.ask(request).data == request[:5] + b"\2" + request[6:]
    panel.sim.wait_for_calls("restartSystem")
    return panel.warnings()[before:]


def make_file(hmi):
    hmi.write_text("", encoding="ascii")


def make_dangling_link(hmi):
    hmi.symlink_to("/mnt/data/elsewhere")


def make_link_to_itself(hmi):
    hmi.symlink_to("hmi")


@pytest.mark.parametrize("make", [make_file, make_dangling_link, make_link_to_itself])
def test_a_folder_that_is_something_else_is_warned_of(panel, tool, hmi, make):
    make(hmi)
    assert restore(panel, tool) == ["creation of file failed"]
    assert [path.name for path in (panel.mnt / "data").iterdir()] == ["hmi"]


@pytest.mark.parametrize("options", ["nr_inodes=1", "ro"], ids=["full", "read-only"])
def test_a_file_system_that_takes_no_file_is_warned_of(panel, tool, hmi, options):
    hmi.mkdir()
    with mounted(panel, options):
        assert restore(panel, tool) == ["creation of file failed"]
    assert restore(panel, tool) == []
    assert (hmi / MARKER).exists()


def test_on_a_file_system_without_room_for_content_the_empty_marker_is_left(panel, tool, hmi):
    hmi.mkdir()
    with mounted(panel, "size=4k"):
        fill = panel.namespace.run(["dd", "if=/dev/zero", f"of={INSIDE}/content"], capture_output=True)
        assert b"No space left" in fill.stderr
        assert restore(panel, tool) == []
        assert panel.namespace.run(["test", "-e", f"{INSIDE}/{MARKER}"]).returncode == 0


class mounted:
    """A file system in memory, at the place of the marker's folder, that only the panel sees."""

    def __init__(self, panel, options):
        self._panel, self._options = panel, options

    def __enter__(self):
        self._run("mount", "-t", "tmpfs", "-o", self._options, "none", INSIDE)

    def __exit__(self, *exception):
        self._run("umount", INSIDE)

    def _run(self, *command):
        assert self._panel.namespace.run(command).returncode == 0


def test_a_marker_that_is_a_dangling_link_is_left_where_it_leads(panel, tool, hmi):
    hmi.mkdir()
    (hmi / MARKER).symlink_to("../target")
    assert restore(panel, tool) == []
    assert (panel.mnt / "data" / "target").exists()


def test_without_a_working_folder_all_but_its_marker_is_as_ever(panel, tool):
    before = len(panel.warnings())
    panel.working_folder.rmdir()
    try:
        assert tool.ask(mvdp.request(Command.RESTORE_RELATIVE, mac=MAC)).packet_type == mvdp.REPLY
        panel.sim.wait_for_calls("restartSystem")
        panel.sim.wait_for_calls("resetConfiguration")
        assert panel.warnings()[before:] == []
    finally:
        panel.working_folder.mkdir()
        panel.restart_service()
    assert list(panel.working_folder.iterdir()) == []
