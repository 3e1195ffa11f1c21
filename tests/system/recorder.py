"""What passes through an interface, frame by frame."""

import socket
import struct

_ETH_P_ALL = 0x0003
_SO_RCVBUFFORCE = 33
_SOL_PACKET = 263
_PACKET_STATISTICS = 6
_PACKET_OUTGOING = 4


class Recorder:
    """Collects the frames that pass through a namespace's interface, Ethernet headers and all: `sent` are those that
    left it, `frames` all in their order.

    They wait in the kernel until they are read. `room` is how many bytes of the kernel's memory they may take there, of
    which a datagram of MVDP needs about 1,300; more than the system's limit is for root only.
    """

    def __init__(self, namespace, interface="eth0", *, room=None):
        self._sock = namespace.call(_open, interface, room)
        self.frames, self.sent = [], []

    def read(self):
        """Takes what has come. A datagram that a socket has received was here before it."""
        lost = self._take()
        assert lost == 0, f"{lost} frames did not fit"

    def clear(self):
        """Forgets what has come so far."""
        self._take()
        self.frames, self.sent = [], []

    def _take(self):
        """The number of frames that were lost meanwhile."""
        while True:
            try:
                frame, (_, _, packet_type, *_) = self._sock.recvfrom(65535)
            except BlockingIOError:
                break
            self.frames.append(frame)
            if packet_type == _PACKET_OUTGOING:
                self.sent.append(frame)
        return struct.unpack("II", self._sock.getsockopt(_SOL_PACKET, _PACKET_STATISTICS, 8))[1]

    def close(self):
        self._sock.close()


def _open(interface, room):
    sock = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(_ETH_P_ALL))
    if room:
        sock.setsockopt(socket.SOL_SOCKET, _SO_RCVBUFFORCE, room)
    sock.bind((interface, _ETH_P_ALL))
    sock.setblocking(False)
    return sock
