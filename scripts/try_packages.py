"""The work of try-packages: a Debian that boots in a container, and the packages on it."""

import contextlib
import fcntl
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "system"))

import mvdp  # noqa: E402
from mvdp import Command  # noqa: E402
from netns import Namespace, join  # noqa: E402
from panel import ADDRESS, GATEWAY, MAC, TOOL_ADDRESS, UDP_PORT_IN_PROC, Tool  # noqa: E402
from waiting import wait_for  # noqa: E402
from xscreen import Screen, read_bmp  # noqa: E402

PACKAGES = ["mvdpserver", "mvdpctl", "hwsd-sim", "wireshark-mvdp"]
UNIT = "mvdpserver.service"
PROGRAM = "/usr/sbin/mvdpserver"
# What the panel's maker provides: an X server with a font, and the folders that the marker and the device names are in.
OF_THE_PANEL = ["xvfb", "fonts-liberation"]
DISPLAY_UNIT = """[Unit]
Description=The panel's X server
[Service]
ExecStart=/usr/bin/Xvfb :0 -screen 0 800x480x24 -listen tcp
ExecStartPost=/bin/sh -c 'until [ -S /tmp/.X11-unix/X0 ]; do sleep 0.1; done'
"""
DEVICE_NAMES = "[Brand]\noptions\\devicename=506:Line 3 panel\n"
HIGHEST_EXPOSURE = 2.0
RELATIVE_MARKER = "var/lib/mvdpserver/mntdatahmi\restorecdsdefault.bin"
ABSOLUTE_MARKER = "mnt/data/hmi/restorecdsdefault.bin"
HAND = read_bmp(ROOT / "images" / "hand-icon.bmp")


def say(text):
    print(f"\n== {text}", flush=True)


def check(condition, text):
    """One thing that must be so."""
    if not condition:
        sys.exit(f"FAILED: {text}")
    print(f"   {text}", flush=True)


def is_first_of_its_kind(pid):
    """Whether a process is number 1 in a namespace of processes of its own."""
    try:
        status = pathlib.Path(f"/proc/{pid}/status").read_text()
    except OSError:
        return False
    return any(line.startswith("NSpid:") and line.split()[-1] == "1" for line in status.splitlines())


class Machine:
    """A Debian that is booted, with a wire from its eth0 to the place of a configuration tool."""

    def __init__(self, root, log):
        self.root = root
        self.panel, self.tool = Namespace("panel"), Namespace("tool")
        join(self.panel, "eth0", self.tool, "eth0", first_mac=MAC)
        self.panel.address("eth0", f"{ADDRESS}/24")
        self.panel.route(f"default via {GATEWAY}")
        self.tool.address("eth0", f"{TOOL_ADDRESS}/24")
        self._command = ["systemd-nspawn", "--quiet", "--boot", "--register=no", "--machine=panel", "--directory", root,
                         f"--network-namespace-path={self.panel.path}"]
        if not os.path.isdir("/run/systemd/system"):
            self._command.append("--keep-unit")  # there is nobody to ask for a unit
        self._log = log
        self.boot()

    def boot(self):
        self.process = self.panel.popen(self._command, stdin=subprocess.DEVNULL, stdout=self._log,
                                        stderr=subprocess.STDOUT)
        self.init = wait_for(self._find_init, "the container's first process")
        wait_for(self._is_up, "the container to boot")

    def power_off(self):
        self.process.terminate()
        try:
            self.process.wait(60)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()

    def _find_init(self):
        assert self.process.poll() is None, "the container ended"
        children = pathlib.Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text().split()
        return next((child for child in children if is_first_of_its_kind(child)), None)

    def _is_up(self):
        state = self.run("systemctl", "is-system-running", check=False).stdout.strip()
        return state in ("running", "degraded")

    def run(self, *command, check=True, tool=False):
        """Runs a command in it; with `tool` at the other end of its wire."""
        entering = ["nsenter", f"--target={self.init}", "--mount", "--uts", "--ipc", "--pid"]
        entering.append(f"--net={self.tool.path}" if tool else "--net")
        result = subprocess.run(
            [*entering, "--", "env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C.UTF-8",
             "DEBIAN_FRONTEND=noninteractive", *command],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
            timeout=600)
        if check and result.returncode != 0:
            sys.exit(f"FAILED: {' '.join(command)} ended with {result.returncode}:\n{result.stdout}")
        return result

    def property(self, name, unit=UNIT):
        return self.run("systemctl", "show", "--value", f"--property={name}", unit).stdout.strip()

    def files(self):
        """Everything on its disk, but what any installation and each start changes."""
        listing = self.run("find", "/", "-xdev", "-not", "-path", "/var/log/*", "-not", "-path", "/var/cache/*",
                           "-not", "-path", "/var/lib/dpkg/*", "-not", "-path", "/var/lib/apt/*",
                           "-not", "-path", "*-systemd-logind.service-*")
        return set(listing.stdout.splitlines())

    def listens(self):
        """Whether a service serves the port."""
        return UDP_PORT_IN_PROC in self.run("cat", "/proc/net/udp").stdout

    def close(self):
        self.power_off()
        self.panel.close()
        self.tool.close()


@contextlib.contextmanager
def fresh_copy(work):
    """A root that is like the minimal one, and is gone afterwards."""
    layers = pathlib.Path(tempfile.mkdtemp(dir=work))
    for name in ("upper", "scratch", "root"):
        (layers / name).mkdir()
    subprocess.run(["mount", "-t", "overlay", "overlay", "-o",
                    f"lowerdir={work}/base,upperdir={layers}/upper,workdir={layers}/scratch", layers / "root"],
                   check=True)
    try:
        yield layers / "root"
    finally:
        subprocess.run(["umount", layers / "root"], check=True)
        shutil.rmtree(layers)


def fetch(root, packages):
    """Has all packages ready to install, since the machine has no way out once it is booted. Returns what to install
    first, and then ours."""
    def chroot(*command):
        return subprocess.run(["chroot", root, *command], check=True, stdin=subprocess.DEVNULL, text=True,
                              stdout=subprocess.PIPE, env=dict(os.environ, DEBIAN_FRONTEND="noninteractive")).stdout

    for package in packages:
        shutil.copy(package, root / "root")
    shutil.copy("/etc/resolv.conf", root / "etc")
    ours = [f"/root/{package.name}" for package in packages]
    chroot("apt-get", "-qq", "update")
    install = ["apt-get", "-qqy", "--no-install-recommends", "install", *OF_THE_PANEL, *ours]
    planned = chroot(*install, "--simulate")
    chroot(*install, "--download-only")
    first = [line.split()[1] for line in planned.splitlines() if line.startswith("Inst ")]
    return [name for name in first if name not in PACKAGES], ours


def provide_panel(machine):
    """What a panel has before the service comes."""
    (machine.root / "etc/systemd/system/display-manager.service").write_text(DISPLAY_UNIT)
    (machine.root / "mnt/factory").mkdir(parents=True)
    (machine.root / "mnt/factory/machine.ini").write_text(DEVICE_NAMES)
    (machine.root / "mnt/data/hmi").mkdir(parents=True)
    machine.run("systemctl", "daemon-reload")
    machine.run("systemctl", "add-wants", "graphical.target", "display-manager.service")
    machine.run("systemctl", "start", "display-manager.service")


def try_unit(machine):
    say("Under the limits of its unit")
    wait_for(machine.listens, "the service to listen")
    check(machine.property("ActiveState") == "active", "the service runs after its installation")
    pid = machine.property("MainPID")
    status = dict(line.split(":\t", 1) for line in machine.run("cat", f"/proc/{pid}/status").stdout.splitlines()
                  if ":\t" in line)
    user = machine.run("id", "-u", "mvdpserver").stdout.strip()
    check(status["Uid"].split() == [user] * 4, "it runs as the user mvdpserver")
    check(int(status["CapEff"], 16) == int(status["CapBnd"], 16) == 0, "it has no capabilities")
    check((status["NoNewPrivs"], status["Seccomp"]) == ("1", "2"), "it is under a filter of system calls")
    verified = machine.run("systemd-analyze", "verify", "--man=no", UNIT)
    check(verified.stdout == "", "systemd finds nothing wrong with the unit")
    analysis = json.loads(machine.run("systemd-analyze", "security", "--json=short", UNIT).stdout)
    exposure = machine.run("systemd-analyze", "security", UNIT).stdout.splitlines()[-1].split()
    number = next(float(word) for word in exposure if word.replace(".", "").isdigit())
    print(*(f"      {entry['exposure']} {entry['description']}" for entry in analysis if entry["exposure"]), sep="\n")
    check(number <= HIGHEST_EXPOSURE, f"systemd-analyze security: {number}, at most {HIGHEST_EXPOSURE}")


def restarts(machine):
    answer = machine.run("busctl", "call", "org.mvdpserver.HwsdSim", "/org/mvdpserver/HwsdSim",
                         "org.mvdpserver.HwsdSim1", "Restarts").stdout
    return int(answer.split()[1])


def try_commands(machine):
    say("Every command, across the wire")
    # A reset takes the panel to another subnet; its answers then come to the group.
    tool = Tool(machine.tool.udp_socket(TOOL_ADDRESS, group=mvdp.GROUP))

    def ask(command, **fields):
        return tool.ask(mvdp.request(command, mac=MAC, **fields))

    check(ask(Command.DISCOVER).description == b"Line 3 panel", "discover; the bus started the platform service, and "
          "the factory's file is read")
    check(ask(Command.ECHO).packet_type == mvdp.REQUEST, "echo")
    check(ask(Command.IDENTIFY).address == ADDRESS, "identify")
    reply = ask(Command.SET_ADDRESS, address="192.168.10.77", netmask="255.255.255.0", gateway=GATEWAY)
    check((reply.packet_type, reply.address) == (mvdp.REPLY, "192.168.10.77"), "set address")
    check(ask(Command.RESTORE_RELATIVE).packet_type == mvdp.REPLY, "restore defaults with the relative marker")
    check((machine.root / RELATIVE_MARKER).exists(), "its marker is in /var/lib/mvdpserver")
    check(ask(Command.RESTORE).packet_type == mvdp.REPLY, "restore defaults with the absolute marker")
    wait_for(lambda: restarts(machine) == 2, "two restarts")
    check(not (machine.root / ABSOLUTE_MARKER).exists(), "its marker is missing: the user may not write the folder")
    check("creation of file failed" in machine.run("journalctl", "--unit", UNIT).stdout, "the journal says so")
    machine.run("chgrp", "mvdpserver", "/mnt/data/hmi")
    machine.run("chmod", "g+w", "/mnt/data/hmi")
    ask(Command.RESTORE)
    check((machine.root / ABSOLUTE_MARKER).exists(), "its marker is there when the user may write the folder")
    (machine.root / ABSOLUTE_MARKER).unlink()  # as what looks for it does
    ask(Command.RESET_NETWORK)
    ask(Command.RESTART)
    wait_for(lambda: restarts(machine) == 5, "five restarts")
    check(True, "reset network, restart: five restarts by now")


def try_tool(machine, screen):
    say("The packaged tool")
    found = machine.run("mvdpctl", "discover", tool=True).stdout
    print(found, end="")
    check(MAC in found and "Line 3 panel" in found, "mvdpctl finds the panel")
    print(machine.run("mvdpctl", "wink", MAC, tool=True).stdout, end="")
    window = screen.wait_for_window(int(machine.property("MainPID")))
    wait_for(lambda: screen.picture_of(window).place_of(HAND), "the hand of the notice")
    check(True, "the notice is on the screen")
    print(f"   resident memory after it: {machine.run('sh', '-c', RESIDENT).stdout.strip()}; the unit's: "
          f"{machine.property('MemoryCurrent')} bytes of {machine.property('MemoryMax')}")
    manual = machine.run("sh", "-c", "ls /usr/share/man/man*/mvdp* /usr/share/man/man*/hwsd*").stdout.split()
    check(len(manual) == 3, f"manual pages: {' '.join(manual)}")
    protocols = machine.run("tshark", "-G", "protocols").stdout
    check("\tmvdp\n" in protocols, "tshark knows the dissector")


RESIDENT = "grep VmRSS /proc/$(systemctl show --value --property=MainPID mvdpserver)/status"


def try_strangers(machine):
    say("Others on the bus")
    before = restarts(machine)
    machine.run("useradd", "--system", "somebody")
    refused = machine.run("runuser", "-u", "somebody", "--", "busctl", "call", "com.zelt.HWSD", "/", "com.zelt.HWSD",
                          "restartSystem", check=False)
    check(refused.returncode != 0 and "denied" in refused.stdout, f"another user is refused: {refused.stdout.strip()}")
    check(restarts(machine) == before, "and nothing was restarted")


def try_endings(machine):
    say("It comes back")
    for what, command in (("when it is killed", 'kill -KILL "$1"'),
                          ("when the X server goes", "systemctl restart display-manager.service")):
        pid = machine.property("MainPID")
        machine.run("sh", "-c", command, "-", pid)
        wait_for(lambda: machine.property("MainPID") not in (pid, "0") and machine.listens(), f"a new service {what}")
        check(True, what)
    machine.power_off()
    machine.boot()
    wait_for(machine.listens, "the service after a restart of the machine")
    check(machine.property("NRestarts") == "0", "when the machine starts: after the display, at the first try")
    log = machine.run("journalctl", "--boot", "--unit", UNIT, "--output=cat").stdout.splitlines()
    check([line for line in log if "mvdpserver.service" not in line] == [], "and with nothing to say")


def try_init_script(machine):
    say("The init script, without systemd's part in it")
    # Or Debian's functions hand over to systemd.
    script = ["env", "SYSTEMCTL_SKIP_REDIRECT=yes", "/etc/init.d/mvdpserver"]

    def pids():
        return machine.run("pidof", PROGRAM, check=False).stdout.split()

    machine.run("systemctl", "stop", UNIT)
    check(not machine.listens(), "the unit is stopped")
    (machine.root / "run-of-another").write_text("1\n")
    machine.run("mv", "/run-of-another", "/run/mvdpserver.pid")
    check(machine.run(*script, "status", check=False).returncode == 3, "another process's number is not ours")
    machine.run(*script, "start")
    wait_for(machine.listens, "the service to listen")
    machine.run(*script, "status")
    (pid,) = pids()
    check(machine.run("stat", "--format=%U", f"/proc/{pid}").stdout == "mvdpserver\n", "it runs as the user mvdpserver")
    machine.run("sh", "-c", f"kill -KILL {pid}")
    wait_for(lambda: pids() not in ([], [pid]) and machine.listens(), "a new service")
    check(True, "it comes back when it is killed")
    machine.run("sh", "-c", 'for i in 1 2 3; do "$@" restart & done; wait', "-", *script)
    wait_for(machine.listens, "the service to listen")
    check(len(pids()) == 1, "three restarts at once leave one")
    machine.run(*script, "stop")
    left = machine.run("find", "/proc", "-maxdepth", "1", "-user", "mvdpserver").stdout
    check(left == "" and machine.run(*script, "status", check=False).returncode == 3, "it stops as a whole")


def try_purge(machine, before):
    say("Purged")
    machine.run("apt-get", "-qqy", "purge", *PACKAGES)
    left = sorted(machine.files() - before)
    check(not left, f"no file is left behind {left}")
    accounts = machine.run("cat", "/etc/passwd", "/etc/group").stdout
    check("mvdp" not in accounts and "hwsd" not in accounts, "no user is left behind")
    check(machine.run("stat", "--format=%G", "/mnt/data/hmi").stdout == "root\n", "no right is left to their numbers")
    check(machine.run("pidof", "mvdpserver", "hwsd-sim", check=False).stdout == "", "no process is left behind")


def main():
    work = pathlib.Path(sys.argv[1])
    # One at a time on a machine: where no systemd runs, two containers would manage the same control groups.
    lock = open("/run/mvdpserver-try-packages.lock", "w", encoding="ascii")
    fcntl.flock(lock, fcntl.LOCK_EX)
    packages = [path for path in (ROOT / "build/packages").glob("*.deb") if "-dbgsym_" not in path.name]
    check(sorted(path.name.split("_")[0] for path in packages) == sorted(PACKAGES), "the packages are built")
    with fresh_copy(work) as root, open(work / "boot.log", "w", encoding="utf-8") as log:
        first, ours = fetch(root, packages)
        machine = Machine(root, log)
        try:
            say("Installed")
            machine.run("apt-get", "-qqy", "--no-install-recommends", "install", *first)
            provide_panel(machine)
            before = machine.files()
            machine.run("apt-get", "-qqy", "--no-install-recommends", "install", *ours)
            try_unit(machine)
            screen = machine.panel.call(Screen, "127.0.0.1:0")
            try_commands(machine)
            try_tool(machine, screen)
            try_strangers(machine)
            try_endings(machine)
            try_init_script(machine)
            try_purge(machine, before)
        finally:
            machine.close()


if __name__ == "__main__":
    main()
