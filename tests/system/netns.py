"""Network namespaces, made without names: each is held by a thread of this process and ends with it.

A namespace's thread leaves the process's network (and, if asked, its mounts) behind for good; sockets that
it opens and programs that it starts belong to the namespace, and the sockets can then be used from anywhere.
So nothing outlives the process, however it ends: programs get a kill signal when their thread goes, and the
kernel drops a namespace together with the last thing in it.

    panel, tool = Namespace("panel", mnt=some_directory), Namespace("tool")
    join(panel, "eth0", tool, "eth0")
    panel.address("eth0", "192.168.10.5/24")
    tool.address("eth0", "192.168.10.1/24")
    tool.run(["ping", "-c1", "192.168.10.5"])
    sock = tool.udp_socket("192.168.10.1")
    ...
    tool.close(); panel.close()
"""

import concurrent.futures
import ctypes
import fcntl
import os
import socket
import struct
import subprocess
import threading

from waiting import PATIENCE, wait_for

_CLONE_NEWNS = 0x00020000
_CLONE_NEWNET = 0x40000000
_MS_BIND = 0x1000
_MS_REC = 0x4000
_MS_PRIVATE = 0x40000
_SIOCGIFFLAGS = 0x8913
_IFF_RUNNING = 0x40
_ETH_P_ALL = 0x0003

_libc = ctypes.CDLL(None, use_errno=True)


def _checked(result, what):
    if result != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"{what}: {os.strerror(number)}")


def _bind_mount(source, target):
    _checked(_libc.mount(os.fsencode(source), os.fsencode(target), None, _MS_BIND | _MS_REC, None),
             f"mounting {source} on {target}")


class Namespace:
    """One network namespace; with `mnt` also a mount namespace in which that directory stands at /mnt."""

    def __init__(self, name, mnt=None):
        self.name = name
        self._processes = []
        self._sockets = []
        self._thread = concurrent.futures.ThreadPoolExecutor(max_workers=1, thread_name_prefix=name)
        self.path = self.call(self._enter, mnt)
        self.ip("link set lo up")

    def _enter(self, mnt):
        _checked(_libc.unshare(_CLONE_NEWNET | (_CLONE_NEWNS if mnt else 0)), "unshare")
        if mnt:
            _checked(_libc.mount(None, b"/", None, _MS_REC | _MS_PRIVATE, None), "making mounts private")
            _bind_mount(mnt, "/mnt")
        # The ports that the kernel picks. Outside are the panels' own, since requests from there would look like
        # replies, and those by which Wireshark takes a datagram for a traceroute.
        with open("/proc/sys/net/ipv4/ip_local_port_range", "w", encoding="ascii") as setting:
            setting.write("40000 58000")
        return f"/proc/{os.getpid()}/task/{threading.get_native_id()}/ns/net"

    def call(self, function, *args, **kwargs):
        """The result of the function, run inside the namespace. It should not take long: calls queue."""
        return self._thread.submit(function, *args, **kwargs).result()

    # Interfaces, addresses, routes

    def ip(self, *commands):
        """Runs the ip(8) commands, each written as on its command line without the leading `ip`."""
        result = self.run(["ip", "-batch", "-"], input="\n".join(commands) + "\n", text=True,
                          capture_output=True)
        assert result.returncode == 0, f"ip {commands} in {self.name}: {result.stderr}"
        return result.stdout

    def address(self, interface, *addresses):
        """Gives an interface addresses of the form 192.168.10.5/24."""
        self.ip(*(f"address add {each} brd + dev {interface}" if not each.endswith("/0")
                  else f"address add {each} dev {interface}" for each in addresses))

    def route(self, *routes):
        """Adds routes, for example "default via 192.168.10.1"."""
        self.ip(*(f"route add {each}" for each in routes))

    def wait_running(self, interface):
        """Waits until the kernel sends through the interface."""
        wait_for(lambda: self.call(_is_running, interface), f"{interface} in {self.name} to run")

    # Programs

    def popen(self, argv, **kwargs):
        """Starts a program inside; it is killed when the namespace is closed, or with this process."""
        process = self.call(subprocess.Popen, ["setpriv", "--pdeathsig", "KILL", "--", *map(str, argv)],
                            **kwargs)
        self._processes.append(process)
        return process

    def run(self, argv, *, input=None, capture_output=False, timeout=120, **kwargs):
        """subprocess.run inside. Does not hold up other calls while the program runs."""
        if capture_output:
            kwargs.update(stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if input is not None:
            kwargs["stdin"] = subprocess.PIPE
        process = self.popen(argv, **kwargs)
        try:
            out, err = process.communicate(input, timeout=timeout)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise
        finally:
            self._processes.remove(process)
        return subprocess.CompletedProcess(process.args, process.returncode, out, err)

    # Sockets

    def udp_socket(self, address="", port=0, *, group=None):
        """A UDP socket that may broadcast; with `group`, a member of that multicast group through `address`."""
        return self._open(_udp_socket, address, port, group)

    def capture(self, interface):
        """A Capture of what passes through the interface from now on."""
        return Capture(self._open(_packet_socket, interface))

    def _open(self, function, *args):
        sock = self.call(function, *args)
        self._sockets.append(sock)
        return sock

    def close(self):
        """Ends what runs inside, then the namespace. Harmless when repeated."""
        for process in self._processes:
            process.kill()
            process.wait()
        for sock in self._sockets:
            sock.close()
        self._processes, self._sockets = [], []
        self._thread.shutdown()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def join(first, first_interface, second, second_interface, *, first_mac=None, second_mac=None):
    """Lays a cable: a pair of interfaces, one in each namespace, both up and running."""
    first.ip(f"link add {first_interface} {_hardware(first_mac)} type veth "
             f"peer name {second_interface} {_hardware(second_mac)} netns {second.path}",
             f"link set {first_interface} up")
    second.ip(f"link set {second_interface} up")
    first.wait_running(first_interface)
    second.wait_running(second_interface)
    # Packets from a peer without a route back must still be received.
    for namespace, interface in ((first, first_interface), (second, second_interface)):
        namespace.call(_accept_any_source, interface)


def _hardware(mac):
    return f"address {mac}" if mac else ""


def _is_running(interface):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as query:
        request = fcntl.ioctl(query, _SIOCGIFFLAGS, struct.pack("16sH22x", interface.encode(), 0))
    return bool(struct.unpack_from("H", request, 16)[0] & _IFF_RUNNING)


def _accept_any_source(interface):
    # Where the kernel shows this depends on the namespace of the thread that asks.
    for each in ("all", interface):
        path = f"/proc/sys/net/ipv4/conf/{each}/rp_filter"
        with open(path, encoding="ascii") as setting:
            if setting.read().strip() == "0":
                continue
        with open(path, "w", encoding="ascii") as setting:
            setting.write("0")


def _udp_socket(address, port, group):
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
    if group:
        membership = socket.inet_aton(group) + socket.inet_aton(address or "0.0.0.0")
        sock.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, membership)
        if address:
            sock.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(address))
        # Bound to its own address a socket would not hear the group.
        address = ""
    sock.bind((address, port))
    return sock


def _packet_socket(interface):
    sock = socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM, socket.htons(_ETH_P_ALL))
    sock.bind((interface, _ETH_P_ALL))
    return sock


class UdpPacket:
    """An IPv4 UDP packet as it stood on the wire; the headers are read here, by hand."""

    def __init__(self, packet):
        header_length = (packet[0] & 0x0F) * 4
        self.ttl = packet[8]
        self.source = socket.inet_ntoa(packet[12:16])
        self.destination = socket.inet_ntoa(packet[16:20])
        self.source_port, self.destination_port, length = struct.unpack_from("!HHH", packet, header_length)
        self.payload = packet[header_length + 8:header_length + length]

    @staticmethod
    def is_one(packet):
        return len(packet) >= 28 and packet[0] >> 4 == 4 and packet[9] == socket.IPPROTO_UDP


class Capture:
    """Reads an AF_PACKET socket; `next` skips what the caller does not look for."""

    def __init__(self, sock):
        self._sock = sock

    def next(self, wanted, what, patience=PATIENCE):
        """The first UDP packet for which `wanted(packet)` holds."""
        self._sock.settimeout(patience)
        while True:
            try:
                data = self._sock.recv(65535)
            except socket.timeout:
                raise AssertionError(f"{what} was not seen on the wire") from None
            if UdpPacket.is_one(data):
                packet = UdpPacket(data)
                if wanted(packet):
                    return packet
