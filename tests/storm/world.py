"""The real service on a real bus and wire: carries out the steps of a phase, calms everything, and checks."""

import mmap
import os
import pathlib
import signal
import struct
import time

from jeepney.bus_messages import message_bus
from jeepney.io.blocking import open_dbus_connection

import mvdp
from hwsdsim import SERVICE_NAME, build_folder
from model import Datagram, Identity, Phase, shown, version_of
from mvdp import Command
from netns import join
from panel import (ADDRESS, FACTORY_ADDRESS, FAR_ADDRESS, GATEWAY, NETMASK, TOOL_ADDRESS, UDP_PORT_IN_PROC, Panel,
                   Tool, Xvfb)
from steps import MAC, SECOND_MAC, SENDERS
from waiting import PATIENCE, wait_for
from wire import Wire
from xscreen import Screen

SECOND_ADDRESS, NEIGHBOUR = "10.20.0.5", "10.20.0.1"
STATE = {"interfaces": {"eth1": {"name": "eth1", "label": "LAN", "mac_address": SECOND_MAC, "dhcp": False,
                                 "actual_ip_address": SECOND_ADDRESS, "actual_netmask": "255.255.0.0",
                                 "actual_gateway_ip": ""}},
         "factory": {"interfaces": {"eth0": {"ip_address": FACTORY_ADDRESS}}}}
RECORDS = {"eth0": ((ADDRESS, NETMASK, GATEWAY), mvdp.mac_bytes(MAC)),
           "eth1": ((SECOND_ADDRESS, "255.255.0.0", "0.0.0.0"), mvdp.mac_bytes(SECOND_MAC))}
FACTORY = (FACTORY_ADDRESS, NETMASK, "0.0.0.0")
LEASES = {"eth0": ("192.168.10.105", NETMASK, "192.168.10.1"), "eth1": ("0.0.0.0", "0.0.0.0", "0.0.0.0")}
DESCRIPTION, EEPROM_TEXT, VERSION_TEXT = b"QM413-JD562", b"SIMULATED PANEL", "UN20HS_01234567"
VERSION = version_of(VERSION_TEXT)
# Another panel's platform service, which takes the place of ours.
OTHER_STATE = {"factory": STATE["factory"], "identity": {"manufactureCode": 501},
               "partition": {"version": "OTHER__02001003"},
               "interfaces": {"eth0": {"mac_address": "02:00:00:00:00:01", "actual_ip_address": "192.168.10.99",
                                       "actual_netmask": "255.255.255.128", "actual_gateway_ip": "1.2.3.4"}}}
OTHER_RECORD = (("192.168.10.99", "255.255.255.128", "1.2.3.4"), mvdp.mac_bytes("02:00:00:00:00:01"))
OTHER_DESCRIPTION, OTHER_VERSION = b"QM310-44LRNA", version_of("OTHER__02001003")

# Of a process: the phases until its pools are full, those of which the smallest counts, and how much it may grow after
# that, however many phases follow. What is allocated is exact. The kilobytes of the process are not: the allocator
# keeps pages when a record of megabytes has been freed, and a sanitizer what was freed.
WARM_UP, SAMPLE = 8, 4
GROWTH_KB, SANITIZED_GROWTH_KB = 32 * 1024, 64 * 1024
GROWTH_BLOCKS, GROWTH_BYTES = 200, 256 * 1024
SANITIZED_ADDRESS_SPACE_KB = 1 << 30

# The notice disappears by itself; that takes five seconds, so it is waited for now and then only.
PHASES_TO_HIDE = 100

# The kernel's default buffer holds some 200 kB, of which a datagram takes more than it is long.
SENDS_TO_LOOK, CROWDED, LONGEST_WAIT = 16, 80 * 1024, 0.05

# The C++ library, GLib and libdbus abort; what they missed is a null pointer.
ENDS_WITHOUT_MEMORY = (-signal.SIGABRT, -signal.SIGSEGV, -signal.SIGTRAP)

FIRST_PORT, PORTS = 10000, 30000


class Failure(Exception):
    """The service has not done what it must. `kind` tells failures apart when they are made smaller; `step` is how far
    the phase had come, `log` what the service wrote."""

    def __init__(self, kind, text):
        super().__init__(text)
        self.kind = kind
        self.step, self.log = 0, ""


def lay_wires(panel):
    """eth0 leads to `tool`, which also has a far address; eth1 to `neighbour`."""
    panel.tool = panel.add_namespace("tool")
    panel.neighbour = panel.add_namespace("neighbour")
    join(panel.namespace, "eth0", panel.tool, "eth0", first_mac=MAC)
    join(panel.namespace, "eth1", panel.neighbour, "eth0", first_mac=SECOND_MAC)
    panel.tool.address("eth0", f"{TOOL_ADDRESS}/24", f"{FAR_ADDRESS}/24")
    panel.neighbour.address("eth0", f"{NEIGHBOUR}/16")
    put_network_back(panel)


def put_network_back(panel):
    """Links, addresses and routes of the panel as they are in calm."""
    listed = panel.namespace.run(["ip", "-oneline", "link", "show"], capture_output=True, text=True).stdout
    links = [line.split(": ")[1].split("@")[0] for line in listed.splitlines()]
    panel.namespace.ip(*(f"link delete {name}" for name in links if name not in ("lo", "eth0", "eth1")),
                       "address flush dev lo", "address flush dev eth0", "address flush dev eth1",
                       "link set lo up", "link set eth0 up", "link set eth1 up", "address add 127.0.0.1/8 dev lo",
                       f"address add {ADDRESS}/24 brd + dev eth0", f"address add {SECOND_ADDRESS}/16 brd + dev eth1",
                       f"route replace default via {GATEWAY}")
    for interface in ("eth0", "eth1"):
        panel.namespace.wait_running(interface)


class Figures:
    """What is counted over a whole run."""

    def __init__(self):
        self.phases = self.steps = self.sent = self.dropped = self.answered = 0
        self.sim_starts = self.bus_starts = self.service_starts = 0
        self.ends_without_memory = self.deaf_without_memory = 0
        self.commands, self.kinds = {}, {}
        # After each phase: kB, and blocks that are allocated; descriptors and threads of the last process.
        self.memory, self.blocks, self.files, self.threads = [], [], 0, 0

    def short(self):
        return (f"{self.phases} phases, {self.steps} steps, {self.sent} datagrams sent, {self.answered} answered, "
                f"{self.memory[-1] if self.memory else 0} kB")

    def text(self, seconds):
        commands = ", ".join(f"{Command(code).name.lower()} {count}" for code, count in sorted(self.commands.items()))
        kinds = ", ".join(f"{kind} {count}" for kind, count in sorted(self.kinds.items()))
        first, last = (self.memory[0], self.memory[-1]) if self.memory else (0, 0)
        blocks = f"{self.blocks[0]} and {self.blocks[-1]}" if self.blocks and self.blocks[0] else "not counted"
        return (f"{self.phases} phases in {seconds:.0f} s, {self.steps} steps\n"
                f"{self.sent} datagrams sent, {self.answered} answered, {self.dropped} found no room\n"
                f"answered: {commands}\nsteps: {kinds}\n"
                f"starts of the platform service {self.sim_starts}, of a bus {self.bus_starts}, of mvdpserver "
                f"{self.service_starts}; winks {self.commands.get(Command.WINK, 0)}\n"
                f"ended by a lack of memory {self.ends_without_memory}, made deaf by it {self.deaf_without_memory}\n"
                f"memory after the first phase {first} kB, after the last {last} kB, at most "
                f"{max(self.memory, default=0)} kB; blocks then {blocks}; descriptors {self.files}, threads "
                f"{self.threads}")


class Machine:
    """The clock and the memory of the service's machine; machine.c has the layout, and tells more."""

    LAYOUT = struct.Struct("=6q")
    FIELDS = ("clock_ahead_seconds", "until_failure", "to_fail", "failed", "live_blocks", "live_bytes")

    def __init__(self, path):
        self.environment = {"LD_PRELOAD": str(build_folder() / "storm" / "machine.so"),
                            "MVDP_STORM_MACHINE": str(path)}
        path.write_bytes(bytes(self.LAYOUT.size))
        with open(path, "r+b") as file:
            self._memory = mmap.mmap(file.fileno(), self.LAYOUT.size)

    def get(self, field):
        return self.LAYOUT.unpack(self._memory[:])[self.FIELDS.index(field)]

    def set(self, **fields):
        """One field after the other: the service changes the rest meanwhile."""
        for field, value in fields.items():
            struct.pack_into("=q", self._memory, 8 * self.FIELDS.index(field), value)


class World:
    """One panel. A phase is `play(steps)`; whatever is wrong is a Failure."""

    def __init__(self, figures, patience=PATIENCE, is_slow=False):
        """`is_slow`: each datagram is done with before the next step, as far as anything answers."""
        self.figures = figures
        self._patience = patience
        self._is_slow = is_slow
        # A platform service that does not answer costs D-Bus's time-out; it is ended before this begins.
        self._settling = 4 * patience
        self.screen_server = Xvfb()
        self.screen = Screen(self.screen_server.display)
        self.panel = None
        try:
            self.panel = Panel(lay_wires=lay_wires, state=STATE, display=self.screen_server.display, start=False)
            self._machine = Machine(self.panel.folder / "machine")
            self.wires = {"near": Wire(self.panel.tool, "eth0", mvdp.mac_bytes(MAC)),
                          "neighbour": Wire(self.panel.neighbour, "eth0", mvdp.mac_bytes(SECOND_MAC))}
            self.wires["far"] = self.wires["near"]
            self._calm_state = self.panel.sim.initial_state
            neighbour = self.panel.neighbour.udp_socket(NEIGHBOUR)
            self._tools = [(self.panel.tool_at(), "eth0"), (Tool(neighbour, SECOND_ADDRESS), "eth1")]
            self._next_port = self._sends = 0
            self._step = 0
            self._covers = []
            self._name_holder = None
            self.phase = None
            self._start_service(doubtful=False)
        except BaseException:
            self.close()
            raise

    def close(self):
        try:
            if self.panel:
                if self.panel.process is not None:
                    self.panel._kill_service()
                self.panel.close()
        finally:
            self.screen.close()
            self.screen_server.close()

    # The service

    def _start_service(self, doubtful):
        self._machine.set(**dict.fromkeys(Machine.FIELDS, 0))
        self._lacked_memory = False
        self.panel.start_service(wait=False, environment=self._machine.environment)
        # Without a route to it the group is joined later.
        if self.phase and self.phase.network_is_changed:
            wait_for(lambda: UDP_PORT_IN_PROC in self.panel._proc("net/udp"), "mvdpserver to listen")
        else:
            self.panel.wait_listening()
        self.figures.service_starts += 1
        self._identity = Identity(DESCRIPTION, VERSION, doubtful)
        self._identity.descriptions |= {EEPROM_TEXT, OTHER_DESCRIPTION}
        self._identity.versions |= {OTHER_VERSION, *(version_of(VERSION_TEXT[:n]) for n in range(21)),
                                    *(version_of("OTHER__02001003"[:n]) for n in range(21))}
        self._is_stopped = False
        self._files = self._threads = None
        self._last_buffer = bytes(mvdp.SIZE)

    def _check_alive(self):
        try:
            self.panel.check_alive()
        except AssertionError as problem:
            raise Failure("ended", str(problem)) from None

    def _look_after_service(self):
        """As an init system would. Only a lack of memory may end it."""
        code = self.panel.process.poll()
        if code is None:
            return
        if not self._lacked_memory or code not in ENDS_WITHOUT_MEMORY:
            self._check_alive()
        self.figures.ends_without_memory += 1
        self.panel.process = None
        self._begin_process()

    def _begin_process(self):
        self._start_service(doubtful=self._is_troubled)
        self.phase.process_begins(self._identity)
        self._drops_before = 0

    def _end_service(self, how):
        """Sends a signal that may end the service, and starts it again as an init system would."""
        process = self.panel.process
        process.send_signal(how)
        if how in (signal.SIGHUP, signal.SIGUSR1, signal.SIGTERM, signal.SIGKILL):
            process.send_signal(signal.SIGCONT)
            process.wait(PATIENCE)
            if process.returncode != -how and not self._lacked_memory:
                raise Failure("ended", f"the service ended with {process.returncode} at {how.name}")
            self.panel.process = None
            self._begin_process()

    def _status(self, key):
        for line in pathlib.Path(f"/proc/{self.panel.process.pid}/status").read_text(encoding="utf-8").splitlines():
            if line.startswith(key + ":"):
                return int(line.split()[1])
        raise KeyError(key)

    def _descriptors(self):
        return len(os.listdir(f"/proc/{self.panel.process.pid}/fd"))

    def _socket(self):
        """Of the service's socket: bytes of the buffer that are taken, and how many datagrams found no room in it."""
        for line in self.panel._proc("net/udp").splitlines()[1:]:
            fields = line.split()
            if fields[1].endswith(f":{mvdp.PORT:04X}"):
                return int(fields[4].split(":")[1], 16), int(fields[-1])
        return 0, 0

    def _drops(self):
        return self._socket()[1]

    # A phase

    def play(self, steps):
        """Carries out the steps, calms, and checks."""
        self._step = 0
        try:
            self._play(steps)
        except AssertionError as problem:
            self._fail(Failure("late", str(problem)))
        except Failure as failure:
            self._fail(failure)
        self.figures.phases += 1
        self.figures.steps += len(steps)

    def _fail(self, failure):
        failure.step, failure.log = self._step, self.panel.stderr()
        raise failure from None

    def _play(self, steps):
        self._begin()
        for step in steps:
            self._step += 1
            self.figures.kinds[step["do"]] = self.figures.kinds.get(step["do"], 0) + 1
            getattr(self, "_do_" + step["do"])(step)
            self._read_wires()
            self._look_after_service()
        self._calm()
        self._judge()
        if self._bus_is_doubtful or self._lacked_memory:
            # It holds the first bus that it found for as long as it lives, and a library that has lacked memory once
            # owes nothing.
            self.panel.stop_service()
            self._start_service(doubtful=False)
        self._check_exactly()
        if not self.is_long_lived:
            # What a new process opens at first, it has opened by now.
            self._take_baseline()
            self._check_exactly()
        self._check_size()

    @property
    def is_long_lived(self):
        """Whether the service has lived through a phase."""
        return self._files is not None

    def _begin(self):
        self._is_troubled = self._bus_is_doubtful = False
        self._read_wires()
        self.phase = Phase(RECORDS, FACTORY, LEASES, self._identity, self._last_buffer,
                           is_fresh=not self.is_long_lived)
        self._drops_before = self._drops()

    def _trouble(self):
        self._is_troubled = True
        self.phase.trouble_begins(self._step)

    def _read_wires(self):
        for name in ("near", "neighbour"):
            for packet in self.wires[name].heard(mvdp.PORT):
                if self.phase:
                    self.phase.seen(packet.destination, packet.destination_port, packet.payload, self._step)

    def _send(self, sender, destination, payload, own_port=False):
        port = mvdp.PORT if own_port else FIRST_PORT + self._next_port % PORTS
        self._next_port += 1
        source, interface, _ = SENDERS[sender]
        datagram = Datagram(source, port, payload, self._step, interface, not self.phase.network_is_changed)
        self.phase.sent(datagram)
        self.wires[sender].send(source, port, destination, payload, mvdp.PORT)
        self.figures.sent += 1
        return datagram

    def _do_send(self, step):
        self._send(step["from"], step["to"], bytes.fromhex(step["data"]), step["own_port"])
        self._sends += 1
        if self._is_slow:
            self._answers(self._send_token(), LONGEST_WAIT)
        elif self._sends % SENDS_TO_LOOK == 0:
            # Only a flood is to be lost. But a service that is not to answer now is not waited for.
            deadline = time.monotonic() + LONGEST_WAIT
            while self._socket()[0] > CROWDED and time.monotonic() < deadline:
                self._read_wires()
                time.sleep(0.001)

    def _do_flood(self, step):
        for number in range(step["times"]):
            self._send(step["from"], step["to"], bytes.fromhex(step["data"]), step["own_port"])
            if number % SENDS_TO_LOOK == 0:
                self._read_wires()

    def _do_pause(self, step):
        time.sleep(step["ms"] / 1000)

    # The platform service

    @property
    def _sim(self):
        """The platform service, when it runs and its bus does."""
        return self.panel.sims.get("system") if self.panel.system_bus.running else None

    def _usable_sim(self):
        sim = self._sim
        return sim if sim and not self._sim_is_paused and sim.process.poll() is None else None

    _sim_is_paused = False

    def _do_state(self, step):
        sim = self._usable_sim()
        if not sim or self._other_sim:
            return
        interface = step["interface"]
        mac = step["mac"] or SENDERS["near" if interface == "eth0" else "neighbour"][2]
        self.phase.told(interface, (step["address"], step["netmask"], step["gateway"]), mvdp.mac_bytes(mac), self._step)
        sim.set_interface(interface, actual_ip_address=step["address"], actual_netmask=step["netmask"],
                          actual_gateway_ip=step["gateway"], mac_address=mac, dhcp=step["dhcp"], label=step["label"])

    def _do_fault(self, step):
        self._trouble()
        if sim := self._usable_sim():
            try:
                sim.set_fault(step["method"], step["kind"], step["calls"], **step["parameters"])
            except ValueError:
                pass  # a fault that this method cannot show

    def _do_clear_faults(self, _):
        if sim := self._usable_sim():
            sim.clear_faults()

    def _do_sim_kill(self, _):
        self._trouble()
        self._kill_sim()

    def _kill_sim(self):
        sim = self.panel.sims.pop("system", None)
        if sim:
            sim.process.kill()
            sim.stop()
        self._sim_is_paused = False

    _other_sim = False

    def _do_sim_start(self, step):
        if not self.panel.system_bus.running:
            return
        self._trouble()
        self._kill_sim()
        self._give_name_back()
        self._other_sim = step["other"]
        if step["other"]:
            self.phase.told("eth0", *OTHER_RECORD, self._step)
        else:
            for name, record in RECORDS.items():
                self.phase.told(name, *record, self._step)
        self._start_sim(OTHER_STATE if step["other"] else STATE, step["follows"])
        if step["follows"]:
            self.phase.network_changes(self._step)

    def _start_sim(self, state, follows=False):
        options = ["--apply-to-kernel"] if follows else []
        prefix = ["nsenter", f"--net={self.panel.namespace.path}"] if follows else []
        self.panel.start_sim(state=state, options=options, prefix=prefix)
        self.figures.sim_starts += 1

    def _do_sim_pause(self, _):
        if sim := self._usable_sim():
            self._trouble()
            sim.pause()
            self._sim_is_paused = True

    def _do_sim_resume(self, _):
        if self._sim and self._sim_is_paused:
            self._sim.resume()
            self._sim_is_paused = False

    def _do_disappear(self, step):
        if sim := self._usable_sim():
            self._trouble()
            sim.disappear(step["ms"])

    def _do_name_taken(self, _):
        """By a program that answers nothing."""
        if not self.panel.system_bus.running or self._name_holder:
            return
        self._trouble()
        self._kill_sim()
        self._name_holder = open_dbus_connection(self.panel.system_bus.address)
        self._name_holder.send_and_get_reply(message_bus.RequestName(SERVICE_NAME))

    def _do_name_given_back(self, _):
        self._give_name_back()

    def _give_name_back(self):
        if self._name_holder:
            self._name_holder.close()
            self._name_holder = None

    def _do_bus_stop(self, step):
        self._trouble()
        self._bus_is_doubtful = True
        if step["bus"] == "system":
            self._kill_sim()
            self._give_name_back()
        self.panel.bus(step["bus"]).stop()

    def _do_bus_start(self, step):
        self._trouble()
        self._bus_is_doubtful = True
        self.panel.bus(step["bus"]).start()
        self.figures.bus_starts += 1

    # The network

    def _change_network(self, command):
        self.phase.network_changes(self._step)
        # A command may have nothing to change any more.
        self.panel.namespace.run(["ip", *command.split()], capture_output=True)
        self.phase.network_changes(self._step)

    def _do_link(self, step):
        self._change_network(f"link set {step['interface']} {'up' if step['up'] else 'down'}")

    def _do_address(self, step):
        self._change_network(f"address {'add' if step['add'] else 'delete'} {step['address']} dev {step['interface']}")

    def _do_route(self, step):
        self._change_network(f"route {'replace' if step['add'] else 'delete'} default via {GATEWAY}")

    def _do_extra_link(self, step):
        if not step["add"]:
            self._change_network(f"link delete {step['name']}")
            return
        self._change_network(f"link add {step['name']} type dummy")
        self._change_network(f"address add {step['address']} dev {step['name']}")
        self._change_network(f"link set {step['name']} up")

    # The machine

    def _do_cover(self, _):
        if len(self._covers) < 20:
            self._covers.append(self.screen.open_window(0, 0, self.screen.width, self.screen.height))

    def _do_uncover(self, _):
        if self._covers:
            self._covers.pop().destroy()

    def _do_stop_service(self, _):
        self.panel.process.send_signal(signal.SIGSTOP)

    def _do_continue_service(self, _):
        self.panel.process.send_signal(signal.SIGCONT)

    def _do_signal(self, step):
        self._end_service(getattr(signal, step["signal"]))

    def _in_panel(self, *command):
        self.panel.namespace.run(command, capture_output=True)

    def _do_disk_full(self, _):
        """A file system in memory, with no room for another file."""
        self._in_panel("mkdir", "-p", "/mnt/data/hmi")
        self._in_panel("mount", "-t", "tmpfs", "-o", "size=4k,nr_inodes=1", "none", "/mnt/data/hmi")

    def _do_disk_gone(self, _):
        self._in_panel("umount", "-l", "/mnt/data/hmi")
        self._in_panel("rm", "-rf", "/mnt/data")

    def _do_marker_folder(self, _):
        """There is a folder where the marker should be."""
        self._in_panel("mkdir", "-p", "/mnt/data/hmi/restorecdsdefault.bin")

    def _do_factory_file(self, step):
        self.panel.write_machine_ini(step["text"])

    def _do_clock(self, step):
        self._machine.set(clock_ahead_seconds=step["ahead"])

    def _do_no_memory(self, step):
        if self._machine.get("live_blocks"):
            self._trouble()
            self._lacked_memory = True
            self._machine.set(until_failure=step["after"], to_fail=step["times"])

    # Calm

    def _calm(self):
        """Everything is put back; returns when the service has answered all that came before."""
        self._step += 1
        self.panel.process.send_signal(signal.SIGCONT)
        self._machine.set(to_fail=0, clock_ahead_seconds=0)
        # What a method was told to do later must not be done to the next phase.
        if self._is_troubled:
            self._kill_sim()
        was_changed = self.phase.network_is_changed
        if was_changed:
            self._put_network_back()
        while self._covers:
            self._covers.pop().destroy()
        self.screen.root.get_geometry()
        while self.panel.namespace.run(["umount", "/mnt/data/hmi"], capture_output=True).returncode == 0:
            pass
        self.panel.session_bus.stop()
        self._give_name_back()
        self.panel.system_bus.start()
        if not self._usable_sim():
            self._start_sim(STATE)
        self._other_sim = False
        self._settle(was_changed)
        self._read_wires()
        self.panel.wait_in_group()
        # Datagrams of the storm may have changed the state before it was read at the start.
        self.panel.sim.initial_state = self._calm_state
        self.panel.reset()

    def _put_network_back(self):
        put_network_back(self.panel)
        self.phase.network_changes(self._step)
        self.phase.network_is_changed = False

    def _settle(self, network_was_changed):
        begin = time.monotonic()
        deadline = begin + self._settling
        # A token finds no room while a flood is worked off.
        patience = 0.2
        while True:
            self._step += 1
            datagram = self._send_token()
            if self._answers(datagram, patience):
                self._last_buffer = datagram.payload
                return
            patience *= 1.5
            if network_was_changed:
                # A program that the platform service had started may have been the last to change it.
                self._put_network_back()
            if self._lacked_memory and time.monotonic() > begin + self._patience:
                # Where an allocation fails in the middle of a call, the library waits for its answer without end.
                self.figures.deaf_without_memory += 1
                self.panel._kill_service()
                self._begin_process()
            if time.monotonic() > deadline:
                raise Failure("silent", f"no echo came back for {self._settling:g} s after everything was put back")

    def _send_token(self):
        """An echo that is like no other."""
        return self._send("near", ADDRESS, mvdp.request(
            Command.ECHO, rest=self._next_port.to_bytes(8, "big") + os.urandom(8) + bytes(214)))

    def _answers(self, datagram, patience):
        """Whether the datagram is answered in time."""
        deadline = time.monotonic() + patience
        while not datagram.replies and time.monotonic() < deadline:
            self._read_wires()
            self._look_after_service()
            time.sleep(0.001)
        return bool(datagram.replies)

    def _judge(self):
        drops = max(0, self._drops() - self._drops_before)
        self.figures.dropped += drops
        problems = self.phase.judge(drops, self._step + 1)
        for command, count in self.phase.counts.items():
            self.figures.commands[command] = self.figures.commands.get(command, 0) + count
            self.figures.answered += count
        self.phase = None
        if problems:
            kind, _ = problems[0]
            raise Failure(kind, "\n".join(text for _, text in problems[:3]))

    def _check_exactly(self):
        """What is answered now, and what not, is certain."""
        try:
            for tool, interface in self._tools:
                (address, netmask, gateway), mac = RECORDS[interface]
                own, other = (MAC, SECOND_MAC) if interface == "eth0" else (SECOND_MAC, MAC)
                for command in (Command.DISCOVER, Command.IDENTIFY, Command.WINK):
                    reply = tool.ask(mvdp.request(command, mac=own, tag=command))
                    expected = mvdp.identity(command=command, tag=command, address=address, netmask=netmask,
                                             gateway=gateway, mac=own, partition_version=reply.partition_version,
                                             description=reply.description)
                    assert reply.data == expected, f"{shown(reply.data)} instead of {shown(expected)}"
                    assert self._identity.accepts(reply.description, reply.partition_version), repr(reply)
                    self._identity.note(reply.description, reply.partition_version)
                for command in (Command.IDENTIFY, Command.WINK, Command.SET_ADDRESS, Command.RESTART):
                    tool.expect_silence(mvdp.request(command, mac=other))
                tool.expect_silence(b"")
                tool.expect_silence(mvdp.request(3, mac=own))
            self._check_notice()
            self._last_buffer = mvdp.request(Command.ECHO, rest=bytes(230))
            assert self._tools[0][0].ask(self._last_buffer).data == self._last_buffer
            self._check_alive()
        except AssertionError as problem:
            raise Failure("calm", f"after the calm: {problem}") from None

    def _check_notice(self):
        """A wink puts the notice above what covers the screen."""
        tool, pid = self._tools[0][0], self.panel.process.pid
        if self.figures.phases % PHASES_TO_HIDE == PHASES_TO_HIDE - 1:
            self.screen.wait_for_no_window(pid)
        cover = self.screen.open_window(0, 0, self.screen.width, self.screen.height)
        try:
            tool.ask(mvdp.request(Command.WINK, mac=MAC))
            wait_for(lambda: self._is_notice_above(pid, cover), "the notice above all", self._patience)
        finally:
            cover.destroy()

    def _is_notice_above(self, pid, cover):
        notice = self.screen.find_window(pid)
        return notice and self.screen.is_above(notice, cover)

    # Size

    def _take_baseline(self):
        self._files, self._threads = self._descriptors(), self._status("Threads")
        self._kilobytes, self._blocks, self._bytes = [], [], []

    def _check_size(self):
        memory = self._status("VmRSS")
        self.figures.memory.append(memory)
        self.figures.files, self.figures.threads = self._descriptors(), self._status("Threads")
        try:
            # A connection is closed by the bus library's own thread, after the answer has gone out.
            wait_for(lambda: self._descriptors() <= self._files, f"no more than {self._files} open descriptors",
                     self._patience)
            wait_for(lambda: self._status("Threads") <= self._threads, f"no more than {self._threads} threads",
                     self._patience)
        except AssertionError as problem:
            raise Failure("size", f"{problem}, but there are {self._descriptors()} descriptors and "
                          f"{self._status('Threads')} threads") from None
        blocks = self._machine.get("live_blocks")
        self.figures.blocks.append(blocks)
        is_sanitized = self._status("VmSize") > SANITIZED_ADDRESS_SPACE_KB
        self._kilobytes.append(memory)
        self._blocks.append(blocks)
        self._bytes.append(self._machine.get("live_bytes"))
        self._check_growth(self._kilobytes, SANITIZED_GROWTH_KB if is_sanitized else GROWTH_KB, "kB")
        self._check_growth(self._blocks, GROWTH_BLOCKS, "blocks allocated")
        self._check_growth(self._bytes, GROWTH_BYTES, "bytes allocated")

    @staticmethod
    def _check_growth(sizes, allowed, unit):
        if len(sizes) < WARM_UP + SAMPLE:
            return
        growth = min(sizes[-SAMPLE:]) - min(sizes[WARM_UP:WARM_UP + SAMPLE])
        if growth > allowed:
            raise Failure("memory", f"{growth} {unit} more than {len(sizes) - WARM_UP} phases before; {allowed} are "
                          "allowed")
