"""The example policies on a bus that, as a system bus does, refuses what no policy allows."""

import os
import pathlib
import re
import subprocess

import pytest

import mvdp
from hwsdsim import HwsdSim
from mvdp import Command
from panel import MAC
from privatebus import PrivateBus
from waiting import wait_for

POLICIES = pathlib.Path(__file__).resolve().parents[2] / "packaging" / "dbus"
SERVICE_POLICY = POLICIES / "com.zelt.HWSD-mvdpserver.conf"
SIMULATOR_POLICY = POLICIES / "org.mvdpserver.HwsdSim.conf"
# What a system bus allows to everybody.
SYSTEM_BUS = f"""
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
  <include>{SERVICE_POLICY}</include>
  <include>{SIMULATOR_POLICY}</include>"""

SERVICE, SIMULATOR, SOMEBODY = 64101, 64102, 64103
ACCOUNTS = f"""root:x:0:0::/:/bin/sh
mvdpserver:x:{SERVICE}:{SERVICE}::/:/bin/sh
hwsd-sim:x:{SIMULATOR}:{SIMULATOR}::/:/bin/sh
somebody:x:{SOMEBODY}:{SOMEBODY}::/:/bin/sh
"""
# A model that neither the factory nor the built-in table knows is looked up in the EEPROM, the last of the methods.
STATE = {"identity": {"manufactureCode": 999}, "factory": {"interfaces": {"eth0": {"ip_address": "192.168.10.9"}}}}


def may_change_users():
    with open("/proc/self/uid_map", encoding="ascii") as users:
        return os.geteuid() == 0 and int(users.read().split()[2]) > SOMEBODY


pytestmark = pytest.mark.skipif(not may_change_users(), reason="needs root, to be several users")


def as_user(number):
    """Runs a program as a user of this number, who may still reach a build folder in somebody's home."""
    return ["setpriv", f"--reuid={number}", f"--regid={number}", "--clear-groups", "--inh-caps=+dac_read_search",
            "--ambient-caps=+dac_read_search", "--"]


def give(path, user):
    """Gives a folder and all that is in it to a user."""
    for folder, _, files in os.walk(path):
        for each in (folder, *(os.path.join(folder, name) for name in files)):
            os.chown(each, user, user)


@pytest.fixture(name="bus")
def fixture_bus(tmp_path):
    accounts = tmp_path / "passwd"
    accounts.write_text(ACCOUNTS, encoding="ascii")
    # With user names of our own.
    prefix = ["unshare", "--mount", "sh", "-ec", 'mount --bind "$1" /etc/passwd; shift; exec "$@"', "-", accounts]
    with PrivateBus("system", policies=SYSTEM_BUS, prefix=prefix) as bus:
        pathlib.Path(bus.address.removeprefix("unix:path=")).parent.chmod(0o755)
        yield bus


@pytest.fixture(name="sim")
def fixture_sim(bus):
    with HwsdSim(bus.address, state=STATE, prefix=as_user(SIMULATOR)) as sim:
        yield sim


def call(bus, user, path, member):
    """What dbus-send says about a call of the platform service by a user."""
    return subprocess.run([*as_user(user), "dbus-send", f"--bus={bus.address}", "--print-reply",
                           "--dest=com.zelt.HWSD", path, member], capture_output=True, text=True, check=False)


def test_every_command_needs_what_the_policy_allows_and_nothing_else(make_panel, bus, sim):
    panel = make_panel(system_bus=False, sim=None, start=False)
    panel.folder.chmod(0o755)
    for folder in ("work", "home", "runtime"):
        give(panel.folder / folder, SERVICE)
    panel.start_service(prefix=as_user(SERVICE), environment={"DBUS_SYSTEM_BUS_ADDRESS": bus.address})
    tool = panel.tool_at()
    for command in Command:
        tool.ask(mvdp.request(command, mac=MAC, address="192.168.10.5", netmask="255.255.255.0"))
    tool.settle()
    # There is no screen, and the marker's folder is missing. The first is told by the thread of the notice, some time
    # after the answer.
    wait_for(lambda: len(panel.warnings()) >= 2, "both warnings")
    assert sorted(panel.warnings()) == ["Cannot open the X display: no wink notice is shown", "creation of file failed"]
    allowed = set(re.findall(r'send_member="(\w+)"', SERVICE_POLICY.read_text(encoding="ascii")))
    assert {each["member"] for each in sim.calls()} | {"Ping", "q_autostart"} == allowed


def test_only_the_services_user_may_restart_the_panel(bus, sim):
    refused = call(bus, SOMEBODY, "/", "com.zelt.HWSD.restartSystem")
    assert (refused.returncode, "AccessDenied" in refused.stderr) == (1, True), refused
    assert sim.restarts() == 0
    allowed = call(bus, SERVICE, "/", "com.zelt.HWSD.restartSystem")
    assert allowed.returncode == 0, allowed
    assert sim.restarts() == 1


def test_the_services_user_may_not_call_other_methods(bus, sim):
    refused = call(bus, SERVICE, "/", "com.zelt.HWSD.clearTimeCounters")
    assert (refused.returncode, "AccessDenied" in refused.stderr) == (1, True), refused
    assert sim.calls("clearTimeCounters") == []


def test_only_the_simulators_user_may_take_its_place(bus):
    with pytest.raises(RuntimeError):
        HwsdSim(bus.address, prefix=as_user(SOMEBODY))
