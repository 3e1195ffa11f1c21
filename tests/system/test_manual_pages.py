"""The manual pages, as man shows them on 80 columns."""

import os
import pathlib
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = sorted(path.relative_to(ROOT) for folder in ("src", "tools") for path in (ROOT / folder).rglob("*.[1-8]"))


def test_every_program_has_one():
    assert [page.name for page in PAGES] == ["mvdpserver.8", "hwsd-sim.1", "mvdpctl.1"]


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_man_has_no_warning(page):
    done = subprocess.run(["man", "--warnings=w", "--local-file", ROOT / page], capture_output=True, check=True,
                          env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "80"})
    assert done.stderr.decode() == ""
    assert done.stdout
