"""What `cmake --install` puts where: each component alone, and that nothing belongs to none of them."""

import subprocess

import pytest

from hwsdsim import build_folder

COMPONENTS = {
    "server": ["sbin/mvdpserver", "share/man/man8/mvdpserver.8"],
    "tool": [
        "bin/mvdpctl",
        "share/bash-completion/completions/mvdpctl",
        "share/fish/vendor_completions.d/mvdpctl.fish",
        "share/man/man1/mvdpctl.1",
        "share/zsh/site-functions/_mvdpctl",
    ],
    "simulator": ["bin/hwsd-sim", "share/man/man1/hwsd-sim.1"],
    "dissector": [f"share/mvdpserver/wireshark/{name}" for name in ("README.md", "colorfilters", "mvdp.lua")],
}


def installed(prefix, *options):
    subprocess.run(["cmake", "--install", build_folder(), "--prefix", prefix, *options], check=True,
                   stdout=subprocess.DEVNULL)
    return sorted(str(path.relative_to(prefix)) for path in prefix.rglob("*") if not path.is_dir())


@pytest.mark.parametrize("component", COMPONENTS)
def test_a_component_is_installed_alone(component, tmp_path):
    assert installed(tmp_path, "--component", component) == COMPONENTS[component]


def test_every_file_belongs_to_a_component(tmp_path):
    assert installed(tmp_path) == sorted(sum(COMPONENTS.values(), []))
