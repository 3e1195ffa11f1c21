#!/usr/bin/env python3
"""Writes the capture that the dissector's tests read: captures/mvdp.pcap, or the file named on the command line.

Every datagram stands here as literal bytes, written down from the wire format. Nothing is computed by the
service, the tool or the other tests; the same program always writes the same file.

    tests/system/make_capture.py [FILE]
"""

import dataclasses
import pathlib
import socket
import struct
import sys

CAPTURE = pathlib.Path(__file__).resolve().parent / "captures" / "mvdp.pcap"

# The hosts on the wire: hardware address, IPv4 address.
TOOL = ("02 00 00 00 00 01", "192.168.10.1")
PANEL = ("00 1a 2b 3c 4d 5e", "192.168.10.5")
PANEL2 = ("00 1a 2b 3c 4d 5f", "192.168.10.6")
FAR_TOOL = ("02 00 00 00 00 02", "10.9.0.2")
MOVED_PANEL = (PANEL[0], "192.168.10.9")
EVERYBODY = ("ff ff ff ff ff ff", "255.255.255.255")
SUBNET = ("ff ff ff ff ff ff", "192.168.10.255")
GROUP = ("01 00 5e 00 05 80", "224.0.5.128")

MVDP = 58553


def request(header, rest="", size=256):
    """A header, what follows it, and zeros up to the size."""
    data = bytes.fromhex(header) + bytes.fromhex(rest)
    return data + bytes(size - len(data))


def identity(header, settings, mac="00 1a 2b 3c 4d 5e", version="07 38 ea 01", description=b"QM413-JD562"):
    return (bytes.fromhex(header) + bytes.fromhex(settings) + bytes.fromhex(mac) +
            bytes.fromhex("58 02 0f 27 8d 01" "00 00") + bytes.fromhex(version) +
            bytes.fromhex("00 00" "00 00 02 00") + description + bytes(64 - len(description)) + bytes(148))


# Address, netmask and gateway, each with its last octet first.
AT_5 = "05 0a a8 c0  00 ff ff ff  01 0a a8 c0"
AT_6 = "06 0a a8 c0  00 ff ff ff  01 0a a8 c0"
AT_9 = "09 0a a8 c0  00 ff ff ff  01 0a a8 c0"
WITH_HOLES = "07 00 00 0a  00 ff 00 ff  00 00 00 00"
NOWHERE = "00 00 00 00  00 00 00 00  00 00 00 00"
MAC = "00 1a 2b 3c 4d 5e"
MAC2 = "00 1a 2b 3c 4d 5f"

DISCOVER = request("5e130603 02 01 01 00")
DISCOVER_REPLY = identity("5e130603 04 02 01 00", AT_5)
# "Küche 7", and version text "00490567": XXX = 490 reaches into the byte of WW.
DISCOVER_REPLY2 = identity("5e130603 04 02 01 00", AT_6, MAC2, description=b"K\xfcche 7")
ECHO = request("5e130603 02 01 02 77", "".join(f"{byte:02x}" for byte in range(8, 256)))
IDENTITY = DISCOVER_REPLY
LEFT_OVER = "51 4d 34 31 33"  # of an earlier description


@dataclasses.dataclass
class Frame:
    """One frame: its name in the tests, sender, receiver, their ports, and its payload.

    With `protocol` it is not UDP: the payload is that of the Ethernet type ("arp") or IP protocol ("icmp").
    """
    name: str
    source: tuple
    source_port: int
    destination: tuple
    destination_port: int
    payload: bytes
    protocol: str = "udp"


def from_tool(name, payload, to=PANEL, port=40000, source=TOOL):
    return Frame(name, source, port, to, MVDP, payload)


def from_panel(name, payload, to=TOOL, port=40000, source=PANEL):
    return Frame(name, source, MVDP, to, port, payload)


DISCOVERIES = [
    from_tool("discover by broadcast", DISCOVER, EVERYBODY),
    from_panel("discover reply", DISCOVER_REPLY),
    from_panel("discover reply of another panel", DISCOVER_REPLY2, source=PANEL2),
    from_tool("discover by directed broadcast", request("5e130603 02 01 01 22"), SUBNET),
    from_panel("reply to directed broadcast", identity("5e130603 04 02 01 22", AT_5)),
    from_tool("discover by group", request("5e130603 03 01 01 33"), GROUP, 40003, FAR_TOOL),
    from_panel("reply by group", identity("5e130603 04 02 01 33", AT_5), GROUP, 40003),
    from_panel("reply by broadcast", identity("5e130603 04 02 01 33", AT_6, MAC2, "00 00 00 00", b""),
               EVERYBODY, 40003, PANEL2),
    from_panel("reply that nobody asked for", identity("5e130603 04 02 01 44", AT_5)),
]

COMMANDS = [
    from_tool("identify", request("5e130603 02 01 04 00", NOWHERE + MAC)),
    from_panel("identify reply", identity("5e130603 04 02 04 00", AT_5)),
    from_tool("wink", request("5e130603 02 01 07 01", NOWHERE + MAC)),
    from_panel("wink reply", identity("5e130603 04 02 07 01", AT_5)),
    from_tool("set address refused", request("5e130603 02 01 05 51", WITH_HOLES + MAC)),
    from_panel("not applied", identity("5e130603 04 03 05 51", AT_5)),
    from_tool("set address not in force", request("5e130603 02 01 05 52", AT_9 + MAC)),
    from_panel("not in force", identity("5e130603 04 02 05 52", AT_5)),
    from_tool("set address", request("5e130603 02 01 05 53", AT_9 + MAC)),
    from_panel("set address reply", identity("5e130603 04 02 05 53", AT_9), source=MOVED_PANEL),
    from_tool("restore relative", request("5e130603 02 01 06 00", NOWHERE + MAC)),
    from_panel("restore relative reply", identity("5e130603 04 02 06 00", AT_5)),
    from_tool("restart", request("5e130603 02 01 66 00", NOWHERE + MAC)),
    from_panel("restart reply", identity("5e130603 04 02 66 00", AT_5)),
    from_tool("echo", ECHO),
    from_panel("echo reply", ECHO),
    from_tool("reset network", request("5e130603 02 01 0e 00", NOWHERE + MAC)),
    from_panel("reset network reply", request("5e130603 02 02 0e 00", NOWHERE + MAC)),
    from_tool("restore", request("5e130603 07 01 0f 00", NOWHERE + MAC)),
    from_panel("restore reply", request("5e130603 07 02 0f 00", NOWHERE + MAC)),
]

# A panel's answers to less than 256 bytes, and bytes that should be zero.
STALE = [
    from_tool("short echo", request("5e130603 02 01 02 20", size=20)),
    from_panel("stale echo reply", request("5e130603 02 01 02 20", NOWHERE + MAC + "58 02 0f 27 8d 01")),
    from_tool("short reset", request("5e130603 02 01 0e 21", NOWHERE + MAC, size=26)),
    from_panel("stale reset reply",
               request("5e130603 02 02 0e 21", NOWHERE + MAC + "00" * 18 + LEFT_OVER)),
    from_tool("restore without whole MAC", request("5e130603 02 01 0f 22", NOWHERE + "00 1a", size=22)),
    from_panel("restore reply with stale MAC", request("5e130603 02 02 0f 22", NOWHERE + MAC)),
    from_panel("resent reply with rests", request("5e130603 02 02 0e 23", AT_5 + MAC + "00" * 229 + "ff")),
    from_tool("discover with rests", request("5e130603 02 01 01 24", "00" * 36 + LEFT_OVER)),
    from_tool("wink with rests", request("5e130603 02 01 07 25", AT_5 + MAC + "58 02 0f 27 8d 01")),
    from_tool("set address with rests", request("5e130603 02 01 05 26", AT_9 + MAC + "58 02 0f 27 8d 01")),
    from_panel("identity reply with rests",
               IDENTITY[:32] + b"\x32\x00" + IDENTITY[34:38] + b"\x00\x39" + IDENTITY[40:60] + b"\x51\x4d" +
               IDENTITY[62:110] + b"\x01" + IDENTITY[111:255] + b"\x02"),
    from_panel("identity reply with another fixed identity", IDENTITY[:30] + b"\x8e" + IDENTITY[31:]),
    from_panel("identity reply with other fixed bytes 40", IDENTITY[:42] + b"\x03" + IDENTITY[43:]),
]

MALFORMED = [
    from_tool("bad magic", request("5e130604 02 01 01 00")),
    from_panel("bad magic from the port", bytes.fromhex("68 65 6c 6c 6f")),  # "hello"
    from_tool("three bytes", bytes.fromhex("5e 13 06")),
    from_tool("six bytes", bytes.fromhex("5e 13 06 03 02 01")),
    from_tool("empty", b""),
    from_tool("version 1", request("5e130603 01 01 01 00")),
    from_panel("identity reply of version 3", identity("5e130603 03 02 01 00", AT_5)),
    from_tool("type 9", request("5e130603 02 09 01 00")),
    from_tool("command 3", request("5e130603 02 01 03 00")),
    from_panel("type 3 to a discovery", identity("5e130603 04 03 01 00", AT_5)),
    from_panel("echo of type 2", request("5e130603 02 02 02 00")),
    from_tool("long request", request("5e130603 02 01 01 30", size=300)),
    from_panel("reply to long request", identity("5e130603 04 02 01 30", AT_5)),
    from_panel("long reply", identity("5e130603 04 02 01 31", AT_5) + b"\xaa"),
    from_panel("short reply", identity("5e130603 04 02 01 32", AT_5)[:36]),
    from_panel("description that steers a terminal",
               identity("5e130603 04 02 01 33", AT_5, description=b"\x1b[2J\r\n\x7f\x9b31m" + b"x" * 53)),
]

# The same command to two panels from one port, copies of a reply, both ends on the port of the protocol.
TANGLED = [
    from_tool("echo to one panel", request("5e130603 02 01 02 40"), PANEL, 40040),
    from_tool("echo to another panel", request("5e130603 02 01 02 40"), PANEL2, 40040),
    from_panel("echo of one panel", request("5e130603 02 01 02 40"), port=40040),
    from_panel("echo of another panel", request("5e130603 02 01 02 40"), port=40040, source=PANEL2),
    from_panel("echo of one panel once more", request("5e130603 02 01 02 40"), port=40040),
    from_tool("echo with other bytes", request("5e130603 02 01 02 40 01"), PANEL, 40040),
    from_panel("echo that fits the first only", request("5e130603 02 01 02 40 02"), port=40040),
    from_tool("echo from the port itself", request("5e130603 02 01 02 41"), PANEL, MVDP),
    from_panel("echo to the port itself", request("5e130603 02 01 02 41"), TOOL, MVDP),
]

ELSEWHERE = [
    Frame("request on another port", TOOL, 50000, PANEL, 50001, request("5e130603 02 01 01 00")),
    Frame("reply on another port", PANEL, 50001, TOOL, 50000, identity("5e130603 04 02 01 00", AT_5)),
    Frame("unknown command on another port", TOOL, 50000, PANEL, 50001, request("5e130603 02 01 03 00")),
    Frame("unknown type on another port", TOOL, 50000, PANEL, 50001, request("5e130603 02 04 01 00")),
    Frame("version 1 on another port", TOOL, 50000, PANEL, 50001, request("5e130603 01 01 01 00")),
    Frame("other magic on another port", TOOL, 50000, PANEL, 50001, request("5e130604 02 01 01 00")),
    Frame("seven bytes on another port", TOOL, 50000, PANEL, 50001, bytes.fromhex("5e130603 02 01 01")),
    # A query for the address of "panel", from a port that happens to be that of MVDP.
    Frame("DNS query", TOOL, MVDP, PANEL, 53,
          bytes.fromhex("12 34 01 00 00 01 00 00 00 00 00 00  05 70 61 6e 65 6c 00  00 01 00 01")),
    # Who has 192.168.10.5? Tell 192.168.10.1.
    Frame("ARP request", TOOL, 0, EVERYBODY, 0,
          bytes.fromhex("00 01 08 00 06 04 00 01  02 00 00 00 00 01 c0 a8 0a 01  00 00 00 00 00 00 c0 a8 0a 05"),
          "arp"),
    # A tool that has ended: its machine returns the beginning of the late reply.
    Frame("ICMP port unreachable", TOOL, 0, PANEL, 0,
          bytes.fromhex("03 03 00 00 00 00 00 00"
                        "45 00 01 1c 00 00 40 00 40 11 a4 7a c0 a8 0a 05 c0 a8 0a 01"
                        "e4 b9 9c 40 01 08 00 00") + IDENTITY[:48], "icmp"),
]

FRAMES = [*DISCOVERIES, *COMMANDS, *STALE, *MALFORMED, *TANGLED, *ELSEWHERE]

# 2024-01-01 00:00:00 UTC; frames follow each other by 2.5 ms.
START, STEP = 1704067200, 2500


def checksum(data):
    """The Internet checksum of an even number of bytes."""
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    total = (total & 0xFFFF) + (total >> 16)
    return ~(total + (total >> 16)) & 0xFFFF


def ipv4(frame, protocol, payload):
    def header(check):
        return struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(payload), 0, 0x4000, 64, protocol, check,
                           socket.inet_aton(frame.source[1]), socket.inet_aton(frame.destination[1]))
    return header(checksum(header(0))) + payload


def packet(frame):
    """The bytes on the Ethernet. A UDP checksum of 0 says that there is none."""
    ethernet = bytes.fromhex(frame.destination[0]) + bytes.fromhex(frame.source[0])
    if frame.protocol == "arp":
        return ethernet + b"\x08\x06" + frame.payload
    if frame.protocol == "icmp":
        payload = frame.payload[:2] + checksum(frame.payload).to_bytes(2, "big") + frame.payload[4:]
        return ethernet + b"\x08\x00" + ipv4(frame, socket.IPPROTO_ICMP, payload)
    udp = struct.pack("!HHHH", frame.source_port, frame.destination_port, 8 + len(frame.payload), 0)
    return ethernet + b"\x08\x00" + ipv4(frame, socket.IPPROTO_UDP, udp + frame.payload)


def write_pcap(path, packets, step=STEP, longest=65535):
    """Writes packets, `step` microseconds apart; each is cut to the `longest` bytes that were captured."""
    # Magic number for microseconds, version 2.4, UTC, longest packet, Ethernet.
    content = [struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1)]
    for index, data in enumerate(packets):
        seconds, microseconds = divmod(index * step, 1_000_000)
        captured = data[:longest]
        content += [struct.pack("<IIII", START + seconds, microseconds, len(captured), len(data)), captured]
    pathlib.Path(path).write_bytes(b"".join(content))


def write_capture(path):
    write_pcap(path, [packet(frame) for frame in FRAMES])


if __name__ == "__main__":
    write_capture(sys.argv[1] if len(sys.argv) > 1 else CAPTURE)
