"""Datagrams as frames, from any address and port, and what the panel sends as seen on the wire."""

import contextlib
import errno
import socket
import struct
import time

from netns import UdpPacket

_ETH_P_ALL, _ETH_P_IP = 0x0003, 0x0800
_SOL_PACKET, _PACKET_STATISTICS, _PACKET_IGNORE_OUTGOING = 263, 6, 23
_SO_RCVBUFFORCE = 33
_CAPTURE_BUFFER = 64 * 1024 * 1024
# Of the IP packets that a frame carries; fragments are multiples of 8 bytes.
_LARGEST_FRAGMENT = 1480


def _checksum(data):
    if len(data) % 2:
        data += b"\0"
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xffff) + (total >> 16)
    return ~total & 0xffff


def packets(source, port, destination, destination_port, payload, identifier):
    """The IP packet of a UDP datagram, or its fragments."""
    ends = socket.inet_aton(source), socket.inet_aton(destination)
    header = struct.pack("!HHHH", port, destination_port, 8 + len(payload), 0)
    pseudo = ends[0] + ends[1] + struct.pack("!BBH", 0, socket.IPPROTO_UDP, 8 + len(payload))
    checksum = _checksum(pseudo + header + payload) or 0xffff
    body = header[:6] + struct.pack("!H", checksum) + payload
    for offset in range(0, len(body), _LARGEST_FRAGMENT):
        part = body[offset:offset + _LARGEST_FRAGMENT]
        more = 0x2000 if offset + len(part) < len(body) else 0
        head = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(part), identifier, more | offset // 8, 64,
                           socket.IPPROTO_UDP, 0, *ends)
        yield head[:10] + struct.pack("!H", _checksum(head)) + head[12:] + part


class Wire:
    """An interface at which datagrams are put on the wire and the panel's are read."""

    def __init__(self, namespace, interface, mac):
        """`mac`: the panel's, at the other end."""
        self._sending = namespace.call(_packet_socket, interface, 0)
        self._hearing = namespace.call(_packet_socket, interface, _ETH_P_ALL)
        self._hearing.setsockopt(_SOL_PACKET, _PACKET_IGNORE_OUTGOING, 1)
        # In a user namespace only as much as anyone may have; that holds what comes between two looks at it.
        with contextlib.suppress(PermissionError):
            self._hearing.setsockopt(socket.SOL_SOCKET, _SO_RCVBUFFORCE, _CAPTURE_BUFFER)
        self._hearing.setblocking(False)
        self._own_mac = self._sending.getsockname()[4]
        self._mac = mac
        self._identifier = 0

    def send(self, source, port, destination, payload, destination_port):
        self._identifier = (self._identifier + 1) & 0xffff
        octets = socket.inet_aton(destination)
        if octets[3] == 255:
            mac = b"\xff" * 6
        elif octets[0] >= 224:
            mac = b"\x01\x00\x5e" + bytes((octets[1] & 0x7f,)) + octets[2:]
        else:
            mac = self._mac
        head = mac + self._own_mac + struct.pack("!H", _ETH_P_IP)
        for packet in packets(source, port, destination, destination_port, payload, self._identifier):
            self._send(head + packet)

    def _send(self, frame):
        while True:
            try:
                self._sending.send(frame)
                return
            except OSError as error:
                # The queue at the other end is full. Nothing is lost without a word.
                if error.errno != errno.ENOBUFS:
                    raise
                time.sleep(0.001)

    def heard(self, source_port):
        """The UDP packets from this port that came since the last call."""
        while True:
            try:
                frame = self._hearing.recv(65535)
            except BlockingIOError:
                break
            if frame[12:14] == b"\x08\x00" and UdpPacket.is_one(frame[14:]):
                packet = UdpPacket(frame[14:])
                if packet.source_port == source_port:
                    yield packet
        _, lost = struct.unpack("II", self._hearing.getsockopt(_SOL_PACKET, _PACKET_STATISTICS, 8))
        if lost:
            raise RuntimeError(f"{lost} packets on the wire were not read in time")

    def close(self):
        self._sending.close()
        self._hearing.close()


def _packet_socket(interface, protocol):
    sock = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(protocol))
    sock.bind((interface, protocol))
    return sock
