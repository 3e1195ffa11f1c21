"""A wire that loses, delays and doubles frames, for kernels with and without a network emulator of their own."""

import array
import fcntl
import heapq
import random
import select
import socket
import struct
import threading
import time

from netns import Namespace, join

_ETH_P_ALL = 0x0003
_SOL_PACKET = 263
_PACKET_IGNORE_OUTGOING = 23
_SIOCETHTOOL = 0x8946
_ETHTOOL_STXCSUM = 0x17


class LossyWire:
    """Joins interfaces of two namespaces. Each frame, either way, is lost with the probability `loss`, else delivered
    after a random time of at most `delay` seconds (so frames overtake each other), and with the probability
    `duplicate` once more. The choices come from `seed`; which frame gets which choice depends on the machine.

    All three may be changed while it runs. `lost` and `doubled` count frames.
    """

    def __init__(self, first, first_interface, second, second_interface, *, loss=0.0, delay=0.0, duplicate=0.0, seed=1):
        self.loss, self.delay, self.duplicate = loss, delay, duplicate
        self.lost = self.doubled = 0
        self._random = random.Random(seed)
        self._waiting = []  # (when, number, socket, frame), soonest first
        self._frames = 0
        self._wire = Namespace("wire")
        for namespace, interface, end in ((first, first_interface, "end0"), (second, second_interface, "end1")):
            join(namespace, interface, self._wire, end)
            # Without offload: no hardware behind this interface would fill in the checksum.
            namespace.call(_write_checksums, interface)
        self._ends = [self._wire.call(_open_end, end) for end in ("end0", "end1")]
        self._stop, self._stopped = socket.socketpair()
        self._thread = threading.Thread(target=self._run, name="lossy wire", daemon=True)
        self._thread.start()

    def close(self):
        self._stop.close()
        self._thread.join()
        for sock in (*self._ends, self._stopped):
            sock.close()
        self._wire.close()

    def _run(self):
        while True:
            patience = max(0.0, self._waiting[0][0] - time.monotonic()) if self._waiting else None
            readable = select.select([*self._ends, self._stopped], [], [], patience)[0]
            if self._stopped in readable:
                return
            for sock in readable:
                self._take(sock.recv(65535), self._ends[1 - self._ends.index(sock)])
            while self._waiting and self._waiting[0][0] <= time.monotonic():
                _, _, sock, frame = heapq.heappop(self._waiting)
                sock.send(frame)

    def _take(self, frame, towards):
        if self._random.random() < self.loss:
            self.lost += 1
            return
        copies = 1
        if self._random.random() < self.duplicate:
            self.doubled += 1
            copies = 2
        for _ in range(copies):
            self._frames += 1
            due = time.monotonic() + self._random.random() * self.delay
            heapq.heappush(self._waiting, (due, self._frames, towards, frame))


def _open_end(interface):
    sock = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(_ETH_P_ALL))
    # Frames that are delivered here must not be captured again as arrivals.
    sock.setsockopt(_SOL_PACKET, _PACKET_IGNORE_OUTGOING, 1)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4 << 20)
    sock.bind((interface, _ETH_P_ALL))
    return sock


def _write_checksums(interface):
    value = array.array("B", struct.pack("II", _ETHTOOL_STXCSUM, 0))
    request = struct.pack("16sP16x", interface.encode(), value.buffer_info()[0])
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        fcntl.ioctl(sock, _SIOCETHTOOL, request)
