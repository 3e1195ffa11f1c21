"""The scripts in a build folder that somebody has configured by hand before."""

import pathlib
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def configure_by_hand(folder, *options):
    subprocess.run(["cmake", "--preset", "release", "-S", ROOT, "-B", folder, *options], check=True,
                   stdout=subprocess.DEVNULL)


def with_the_preset(folder, _):
    configure_by_hand(folder)


def for_less(folder, _):
    configure_by_hand(folder, "-DMVDP_TOOLS=OFF", "-DBUILD_TESTING=OFF")


def for_another_generator(folder, _):
    configure_by_hand(folder, "-G", "Ninja Multi-Config")


def for_a_compiler_that_is_gone(folder, scratch):
    compiler = scratch / "compiler"
    compiler.symlink_to("/usr/bin/g++")
    configure_by_hand(folder, f"-DCMAKE_CXX_COMPILER={compiler}")
    compiler.unlink()


@pytest.mark.parametrize("before", [with_the_preset, for_less, for_another_generator, for_a_compiler_that_is_gone])
def test_a_folder_that_was_configured_before_serves(before, tmp_path):
    folder = tmp_path / "build"
    before(folder, tmp_path)
    subprocess.run(["bash", "-ec", '. "$1/scripts/common.sh"; configure_tree release "$2"', "-", ROOT, folder],
                   check=True)
    targets = subprocess.run(["ninja", "-C", folder, "-t", "targets", "all"], check=True, capture_output=True,
                             text=True).stdout.splitlines()
    for target in ("mvdpserver", "hwsd-sim", "mvdpctl", "serversockettest"):
        assert f"{target}: phony" in targets
