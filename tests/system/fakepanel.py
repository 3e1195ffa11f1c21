"""A simulated panel for the tool's tests: it answers requests as set, correctly or incorrectly.

It replaces the service in tests of the configuration tool, so that there can be any number of panels
with any content, hostile content included. It answers from its own thread on the protocol's port.
"""

import dataclasses
import select
import socket
import struct
import threading

import mvdp
from mvdp import Command
from waiting import wait_for

BROADCAST = "255.255.255.255"
_IP_PKTINFO = getattr(socket, "IP_PKTINFO", 8)
_IP_TRANSPARENT = getattr(socket, "IP_TRANSPARENT", 19)

# What the panel does with a new address.
APPLY, REFUSE, IGNORE, SILENT, APPLY_SILENTLY = "apply", "refuse", "ignore", "silent", "apply silently"
VANISH = "vanish"  # confirms the address and never answers again
VANISH_SILENTLY = "vanish silently"  # never answers again
TELL_ONLY, TELL_SILENTLY = "tell only", "tell silently"  # reports the new address, answers from the old one

_ONLY_TELLING = (TELL_ONLY, TELL_SILENTLY)
_UNANSWERED = (SILENT, APPLY_SILENTLY, TELL_SILENTLY, VANISH_SILENTLY)


@dataclasses.dataclass
class Identity:
    """What one panel tells of itself; `source` is the address its datagrams come from, if it is another one than it
    tells."""
    address: str = "192.168.10.5"
    netmask: str = "255.255.255.0"
    gateway: str = "192.168.10.1"
    mac: str = "02:00:5e:10:00:01"
    partition_version: int = 0x01EA3807
    description: bytes = b"QM316-44LRNA"
    source: str = ""

    def reply(self, command=Command.DISCOVER, **changes):
        facts = {**dataclasses.asdict(self), **changes}
        del facts["source"]
        return mvdp.identity(command=command, **facts)

    @property
    def answers_from(self):
        """The source address of replies; empty: the kernel chooses."""
        return self.source or (self.address if self.address != "0.0.0.0" else "")


def _bound_socket(interface, port):
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
    # Bound to the device, a broadcast needs no route.
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_BINDTODEVICE, interface.encode())
    membership = struct.pack("4s4si", socket.inet_aton(mvdp.GROUP), bytes(4), socket.if_nametoindex(interface))
    sock.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, membership)
    sock.setsockopt(socket.IPPROTO_IP, _IP_PKTINFO, 1)
    # A panel that has taken a new address answers from it, whether or not the namespace has it.
    sock.setsockopt(socket.IPPROTO_IP, _IP_TRANSPARENT, 1)
    sock.bind(("", port))
    return sock


class FakePanel:
    """Answers on the interface of a namespace. Attributes can be changed at any time:

    panels        the identities that answer, all from this one socket
    way           "unicast", "broadcast" or "group": how replies are addressed
    copies        how often each reply is sent
    on_set        what a new address does, see above; or a dictionary with that by MAC address, else APPLY
    unanswered    commands that are heard and not answered
    before        datagrams sent once, before the first reply to anything
    alter         a function over the bytes of every reply
    deliver       called as deliver(panel, answer, source, sender) in place of sending the answer
    """

    def __init__(self, namespace, interface, *panels):
        self.panels = list(panels) or [Identity()]
        self.way = "unicast"
        self.copies = 1
        self.on_set = APPLY
        self.unanswered = set()
        self.before = []
        self.alter = lambda data: data
        self.deliver = FakePanel.send_answer
        self.requests = []      # the bytes of each that came, in order
        self.destinations = []  # the address that each was sent to
        self._sock = namespace.call(_bound_socket, interface, mvdp.PORT)
        self._foreign = namespace.call(_bound_socket, interface, 0)
        self._stop, self._wake = socket.socketpair()
        self._thread = threading.Thread(target=self._run)
        self._thread.start()

    def close(self):
        self._wake.close()
        self._thread.join()
        for sock in (self._sock, self._foreign, self._stop):
            sock.close()

    def commands(self):
        """The command bytes that came, each datagram once."""
        return [request[6] for request in self.requests]

    def wait_for_command(self, command):
        wait_for(lambda: command in self.commands(), f"command {command}")

    def send(self, data, destination, source="", *, foreign_port=False):
        """Sends any bytes to an (address, port)."""
        information = struct.pack("i4s4s", 0, socket.inet_aton(source or "0.0.0.0"), bytes(4))
        control = [(socket.IPPROTO_IP, _IP_PKTINFO, information)] if source else []
        (self._foreign if foreign_port else self._sock).sendmsg([data], control, 0, destination)

    def _run(self):
        while True:
            ready, _, _ = select.select([self._sock, self._stop], [], [])
            if self._stop in ready:
                return
            data, control, _, sender = self._sock.recvmsg(2048, 256)
            for level, kind, content in control:
                if (level, kind) == (socket.IPPROTO_IP, _IP_PKTINFO):
                    self.destinations.append(socket.inet_ntoa(content[8:12]))
            self.requests.append(data)
            for answer, source in self._answers(data):
                self.deliver(self, answer, source, sender)

    def is_closing(self):
        return bool(select.select([self._stop], [], [], 0)[0])

    def send_answer(self, answer, source, sender):
        """Sends an answer, unless `deliver` is set."""
        address = {"unicast": sender[0], "broadcast": BROADCAST, "group": mvdp.GROUP}[self.way]
        junk, self.before = self.before, []
        for each in junk:
            self.send(each, (address, sender[1]))
        for _ in range(self.copies):
            self.send(self.alter(answer), (address, sender[1]), source)

    def _answers(self, request):
        command = request[6]
        if command in self.unanswered:
            return []
        if command == Command.ECHO:
            return [(request, "")]
        addressed = [panel for panel in self.panels
                     if command == Command.DISCOVER or mvdp.mac_bytes(panel.mac) == request[20:26]]
        if command in (Command.RESET_NETWORK, Command.RESTORE):
            return [(request[:5] + b"\2" + request[6:], panel.answers_from) for panel in addressed]
        if command == Command.SET_ADDRESS:
            return [answer for panel in addressed for answer in self._set(panel, request)]
        return [(panel.reply(command), panel.answers_from) for panel in addressed]

    def _set(self, panel, request):
        on_set = self.on_set.get(panel.mac, APPLY) if isinstance(self.on_set, dict) else self.on_set
        if on_set in _ONLY_TELLING:
            panel.source = panel.answers_from
        if on_set in (APPLY, APPLY_SILENTLY, *_ONLY_TELLING):
            panel.address, panel.netmask, panel.gateway = (
                ".".join(str(octet) for octet in reversed(request[start:start + 4])) for start in (8, 12, 16))
        answer = panel.reply(Command.SET_ADDRESS,
                             packet_type=mvdp.NOT_APPLIED if on_set == REFUSE else mvdp.REPLY)
        if on_set in (VANISH, VANISH_SILENTLY):
            self.panels = [each for each in self.panels if each is not panel]
        return [] if on_set in _UNANSWERED else [(answer, panel.answers_from)]
