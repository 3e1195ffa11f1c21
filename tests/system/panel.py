"""A whole panel: mvdpserver in a network namespace of its own, with its buses, its platform service, its
/mnt and its screen; and across the wire the place where a configuration tool would be."""

import os
import pathlib
import shlex
import shutil
import signal
import socket
import subprocess
import tempfile

import mvdp
from hwsdsim import HwsdSim, build_folder
from netns import Namespace, join
from privatebus import ENDS_WITH_US, PrivateBus
from waiting import PATIENCE, wait_for

MAC = "00:1a:2b:3c:4d:5e"
ADDRESS = "192.168.10.5"
NETMASK = "255.255.255.0"
GATEWAY = "192.168.10.1"
TOOL_ADDRESS = "192.168.10.1"
# On the same wire, but on a subnet that is none of the panel's.
FAR_ADDRESS = "10.9.0.2"

# The settings after a reset; on the tool's subnet, so that a tool receives the panel's answers afterwards.
FACTORY_ADDRESS = "192.168.10.9"
STATE = {"factory": {"interfaces": {"eth0": {"ip_address": FACTORY_ADDRESS}}}}

UDP_PORT_IN_PROC = f":{mvdp.PORT:04X} "
GROUP_IN_PROC = "800500E0"
RTMGRP_IPV4_ROUTE = 0x40
# Sanitized programs: the reports come on stderr, where `check_alive` looks for them.
SUPPRESSIONS = pathlib.Path(__file__).resolve().parents[1] / "tsan.supp"
SANITIZER_ENVIRONMENT = {"ASAN_OPTIONS": "detect_leaks=0:verify_asan_link_order=0:quarantine_size_mb=8",
                         "UBSAN_OPTIONS": "print_stacktrace=1",
                         "TSAN_OPTIONS": f"suppressions={SUPPRESSIONS}"}
SANITIZER_REPORTS = ("ERROR: AddressSanitizer", "runtime error:", "ERROR: LeakSanitizer",
                     "WARNING: ThreadSanitizer")


def server_command():
    """How the service is started; MVDP_SERVER, a command line, names another one, for example in an emulator."""
    return shlex.split(os.environ.get("MVDP_SERVER", "")) or [build_folder() / "src" / "mvdpserver"]


class Xvfb:
    """An X display without a screen, ready when the constructor returns."""

    def __init__(self, geometry="1280x800x24", *options):
        read_end, write_end = os.pipe()
        try:
            self.process = subprocess.Popen(
                [*ENDS_WITH_US, "Xvfb", "-displayfd", str(write_end), "-screen", "0", geometry, "-nolisten", "tcp",
                 "-noreset", *options],
                pass_fds=[write_end], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL)
        finally:
            os.close(write_end)
        with os.fdopen(read_end, "rb") as announcement:
            number = announcement.readline().decode().strip()
        if not number:
            self.close()
            raise RuntimeError("Xvfb did not start")
        self.display = ":" + number

    def pause(self):
        """The server hangs until resume()."""
        self.process.send_signal(signal.SIGSTOP)
        os.waitid(os.P_PID, self.process.pid, os.WSTOPPED)

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    def close(self):
        self.process.terminate()
        self.resume()
        self.process.wait()


class Tool:
    """A configuration tool's socket. One datagram is handled after the other, so an answer to a later one
    proves that an earlier one is done with."""

    def __init__(self, sock, panel_address=ADDRESS):
        self._socket = sock
        self._panel = (panel_address, mvdp.PORT)
        self._echoes = 0
        self.port = sock.getsockname()[1]

    def send(self, datagram, to=None):
        self._socket.sendto(datagram, (to, mvdp.PORT) if to else self._panel)

    def receive(self, patience=PATIENCE):
        """The next datagram's bytes; the sender is left in `self.sender`."""
        self._socket.settimeout(patience)
        try:
            data, self.sender = self._socket.recvfrom(4096)
        except socket.timeout:
            raise AssertionError(f"no datagram came within {patience:g} s") from None
        return data

    def ask(self, datagram, to=None):
        """Sends a datagram and returns the one that comes back."""
        self.send(datagram, to)
        return mvdp.Reply(self.receive())

    def settle(self):
        """Returns when all that was sent before is handled; fails if any answer to it is still to be read."""
        self._echoes += 1
        token = mvdp.request(mvdp.Command.ECHO, rest=b"settled" + bytes(215) + self._echoes.to_bytes(8, "big"))
        assert self.ask(token).data == token, "an answer came that nobody waited for"

    def expect_silence(self, datagram, to=None):
        """Sends a datagram that must not be answered."""
        self.send(datagram, to)
        self.settle()


class Panel:
    """Everything is up and the service listens when the constructor returns, unless told otherwise.

    system_bus, session_bus: True is a running bus, False an address at which there is none (yet: see the
        buses' own start()).
    sim: the bus on which the platform service is, "system", "session" or None; more with `start_sim`.
    state: what is laid over the simulated panel's built-in state.
    display: an X display's name, or None for Qt's offscreen platform.
    lay_wires: a function of the panel that makes its network; the default is one wire to `tool`.
    follows: True lets its real eth0 follow the settings that the platform service applies, as on a panel; without it
        only what the platform service tells changes, and the panel answers from where it was.
    start: False leaves starting the service to the test.
    """

    def __init__(self, *, system_bus=True, session_bus=False, sim="system", state=STATE, display=None,
                 lay_wires=None, start=True, machine_ini=None, follows=False):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="mvdp-panel-"))
        self.process = None
        self.sims = {}
        self._namespaces = []
        self._buses = []
        self._starts = 0
        self._display = display
        self._follows = follows
        try:
            self._build(system_bus, session_bus, sim, state, lay_wires or lay_one_wire, machine_ini)
            if start:
                self.start_service()
        except BaseException:
            self.close()
            raise

    def _build(self, system_bus, session_bus, sim, state, lay_wires, machine_ini):
        self.mnt = self.folder / "mnt"
        self.working_folder = self.folder / "work"
        for folder in (self.mnt, self.working_folder, self.folder / "home", self.folder / "runtime"):
            folder.mkdir(mode=0o700)
        if machine_ini is not None:
            self.write_machine_ini(machine_ini)
        self.namespace = self.add_namespace("panel", mnt=self.mnt)
        lay_wires(self)
        self.system_bus = self._add_bus("system", system_bus)
        self.session_bus = self._add_bus("session", session_bus)
        if sim:
            self.start_sim(sim, state)

    def add_namespace(self, name, mnt=None):
        """One more place in the network; it is closed together with the panel."""
        namespace = Namespace(name, mnt)
        self._namespaces.append(namespace)
        return namespace

    def _add_bus(self, kind, start):
        bus = PrivateBus(kind, start=start)
        self._buses.append(bus)
        return bus

    def bus(self, kind):
        return {"system": self.system_bus, "session": self.session_bus}[kind]

    # The platform service

    @property
    def sim(self):
        """The platform service, when there is only one."""
        (only,) = self.sims.values()
        return only

    def start_sim(self, kind="system", state=STATE, options=(), prefix=()):
        if self._follows:
            options = [*options, "--apply-to-kernel"]
            prefix = ["nsenter", f"--net={self.namespace.path}", *prefix]
        sim = HwsdSim(self.bus(kind).address, options=options, state=state, prefix=prefix)
        sim.initial_state = sim.state()
        self.sims[kind] = sim
        return sim

    def stop_sim(self, kind="system"):
        assert self.sims.pop(kind).stop() == 0

    def reset(self):
        """The platform services without faults, with the state that they began with, and their calls
        forgotten; nothing in /mnt and the working folder. What the service itself has cached stays."""
        for folder in (self.mnt, self.working_folder):
            for entry in folder.iterdir():
                if entry.is_dir():
                    shutil.rmtree(entry)
                else:
                    entry.unlink()
        for sim in self.sims.values():
            sim.resume()
            sim.clear_faults()
            if not sim.present():
                sim.reappear()
            added = sim.state()["interfaces"].keys() - sim.initial_state["interfaces"].keys()
            sim.set_state({"interfaces": {name: None for name in added}})
            sim.set_state(sim.initial_state)
            sim.clear_calls()
            if self._follows:
                self._put_eth0_back(sim.interface())

    def _put_eth0_back(self, record):
        """Sets the real interface as in the platform service's record."""
        prefix = bin(int.from_bytes(socket.inet_aton(record["actual_netmask"]), "big")).count("1")
        self.namespace.ip("address flush dev eth0")
        self.namespace.address("eth0", f"{record['actual_ip_address']}/{prefix}")
        self.namespace.route(f"default via {record['actual_gateway_ip']}")

    def expected_identity(self, **changes):
        """The identity reply of the built-in panel, with fields changed."""
        fields = {"address": ADDRESS, "netmask": NETMASK, "gateway": GATEWAY, "mac": MAC,
                  "partition_version": 0x01EA3807, "description": b"QM413-JD562"}
        fields.update(changes)
        return mvdp.identity(**fields)

    # The factory's file

    def write_machine_ini(self, content):
        """Latin-1 text or bytes for /mnt/factory/machine.ini; None takes it away."""
        folder = self.mnt / "factory"
        folder.mkdir(exist_ok=True)
        if content is None:
            (folder / "machine.ini").unlink(missing_ok=True)
        else:
            (folder / "machine.ini").write_bytes(content if isinstance(content, bytes)
                                                 else content.encode("latin-1"))

    # The service

    def environment(self):
        """The service's whole environment: nothing of the caller's desktop is passed on."""
        environment = {"PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": str(self.folder / "home"),
                       "XDG_RUNTIME_DIR": str(self.folder / "runtime"), "LC_ALL": "C.UTF-8",
                       "DBUS_SYSTEM_BUS_ADDRESS": self.system_bus.address,
                       "DBUS_SESSION_BUS_ADDRESS": self.session_bus.address,
                       "QT_FORCE_STDERR_LOGGING": "1"}
        environment.update(SANITIZER_ENVIRONMENT)
        for variable in ("ASAN_SYMBOLIZER_PATH", "LD_LIBRARY_PATH", "QT_PLUGIN_PATH"):
            if variable in os.environ:
                environment[variable] = os.environ[variable]
        if self._display is None:
            environment["QT_QPA_PLATFORM"] = "offscreen"
        else:
            environment.update({"DISPLAY": self._display, "QT_QPA_PLATFORM": "xcb"})
        return environment

    def start_service(self, arguments=(), *, prefix=(), environment=None, wait=True):
        """Starts mvdpserver; with `wait` returns when it listens, and to the group if there is a way to it."""
        assert self.process is None
        self._starts += 1
        self.stdout_path = self.folder / f"stdout.{self._starts}"
        self.stderr_path = self.folder / f"stderr.{self._starts}"
        with open(self.stdout_path, "wb") as out, open(self.stderr_path, "wb") as err:
            self.process = self.namespace.popen(
                [*prefix, *server_command(), *arguments], cwd=self.working_folder, stdin=subprocess.DEVNULL,
                stdout=out, stderr=err, env=dict(self.environment(), **(environment or {})))
        if wait:
            self.wait_listening()

    def wait_listening(self):
        wait_for(self._listens, "mvdpserver to listen")

    def _listens(self):
        self.check_alive()
        if UDP_PORT_IN_PROC not in self._proc("net/udp"):
            return False
        return not self._can_join or GROUP_IN_PROC in self._proc("net/igmp")

    @property
    def _can_join(self):
        # A group is joined through the interface that the routing table gives for it.
        if not hasattr(self, "_group_route"):
            found = self.namespace.run(["ip", "route", "get", mvdp.GROUP], capture_output=True)
            self._group_route = found.returncode == 0
        return self._group_route

    def wait_in_group(self):
        """Returns when the service is a member of the group, whatever it was at its start."""
        wait_for(lambda: GROUP_IN_PROC in self._proc("net/igmp"), "mvdpserver to join the group")

    def watches_routes(self):
        """Whether the service holds a socket on which the kernel tells of changes of the routes."""
        # Columns: address, protocol (0 is routing), port identity, groups; the inode is the last.
        lines = [line.split() for line in self._proc("net/netlink").splitlines()[1:]]
        watching = {f"socket:[{fields[-1]}]" for fields in lines
                    if fields[1] == "0" and int(fields[3], 16) & RTMGRP_IPV4_ROUTE}
        folder = pathlib.Path(f"/proc/{self.process.pid}/fd")
        return any(os.readlink(link) in watching for link in folder.iterdir())

    def _proc(self, name):
        try:
            return pathlib.Path(f"/proc/{self.process.pid}/{name}").read_text(encoding="ascii")
        except OSError:
            return ""

    def check_alive(self):
        """Fails when the service has ended or a sanitizer has found something."""
        assert self.process.poll() is None, (
            f"mvdpserver ended with {self.process.returncode}:\n{self.stderr()}")
        reports = [line for line in self.stderr().splitlines()
                   if any(report in line for report in SANITIZER_REPORTS)]
        assert not reports, f"{reports}\n{self.stderr()}"

    def stop_service(self):
        """Ends a service that must still be alive."""
        self.check_alive()
        self._kill_service()

    def _kill_service(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        self.process = None

    def restart_service(self, *arguments, **options):
        """Starts a new service, with empty caches."""
        self.stop_service()
        self.start_service(*arguments, **options)

    def stderr(self):
        return self.stderr_path.read_text(encoding="utf-8", errors="replace")

    def stdout(self):
        return self.stdout_path.read_text(encoding="utf-8", errors="replace")

    def warnings(self):
        """The service's lines on stderr. Qt versions differ in a blank at a line's end, so it is dropped."""
        return [line.rstrip(" ") for line in self.stderr().splitlines()]

    # Talking to it

    def tool_at(self, address=TOOL_ADDRESS, panel_address=ADDRESS):
        """A new tool's socket in the namespace `tool`, with one of its addresses."""
        return Tool(self.tool.udp_socket(address), panel_address)

    def calls(self, kind=None):
        """(member, argument, ...) of every call that the platform service got, without Qt's own calls."""
        sim = self.sims[kind] if kind else self.sim
        return [(call["member"], *call["arguments"]) for call in sim.calls()
                if not call["interface"].startswith("org.freedesktop.DBus.")]

    def close(self):
        """Ends everything. The service must be alive until then, unless the test has ended it itself."""
        try:
            if self.process is not None:
                self.check_alive()
        finally:
            if self.process is not None:
                self._kill_service()
            for sim in self.sims.values():
                sim.stop()
            for bus in self._buses:
                bus.close()
            for namespace in self._namespaces:
                namespace.close()
            shutil.rmtree(self.folder, ignore_errors=True)


def lay_one_wire(panel):
    """The panel's eth0 on a wire with the tool's, which has an address on the panel's subnet and a far one."""
    panel.tool = panel.add_namespace("tool")
    join(panel.namespace, "eth0", panel.tool, "eth0", first_mac=MAC)
    panel.namespace.address("eth0", f"{ADDRESS}/24")
    panel.tool.address("eth0", f"{TOOL_ADDRESS}/24", f"{FAR_ADDRESS}/24")
    panel.namespace.route(f"default via {GATEWAY}")
