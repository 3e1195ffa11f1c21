"""The 256 bytes of the discovery protocol, as a tool on the network sees them.

Written from the wire format alone: a mistake in the service's own codec must not be found here again.

    offset  bytes  field
         0      4  magic 5E 13 06 03
         4      1  protocol version (replies: 4)
         5      1  packet type: 1 request, 2 reply, 3 reply to a setting that was not applied
         6      1  command
         7      1  tag, comes back
         8      4  IPv4 address, least significant byte first
        12      4  netmask, likewise
        16      4  gateway, likewise
        20      6  MAC address, in transmission order
        26      6  fixed identity 58 02 0F 27 8D 01
        32      2  reserved 32, zero
        34      4  partition version, least significant byte first
        38      2  reserved 38, zero
        40      4  fixed bytes 40: 00 00 02 00
        44     64  description, Latin-1, filled with zeros
       108    148  reserved 108, zero
"""

import enum

SIZE = 256
PORT = 58553
GROUP = "224.0.5.128"
MAGIC = bytes.fromhex("5e130603")
FIXED_IDENTITY = bytes.fromhex("58020f278d01")
FIXED_40 = bytes.fromhex("00000200")
REQUEST, REPLY, NOT_APPLIED = 1, 2, 3


class Command(enum.IntEnum):
    DISCOVER = 1
    ECHO = 2
    IDENTIFY = 4
    SET_ADDRESS = 5
    RESTORE_RELATIVE = 6
    WINK = 7
    RESET_NETWORK = 14
    RESTORE = 15
    RESTART = 102


def address_bytes(text):
    """The four octets of a dotted address, last one first."""
    return bytes(int(part) for part in reversed(text.split(".")))


def mac_bytes(text):
    return bytes(int(part, 16) for part in text.split(":"))


def request(command, *, magic=MAGIC, version=2, packet_type=REQUEST, tag=0, address="0.0.0.0",
            netmask="0.0.0.0", gateway="0.0.0.0", mac="00:00:00:00:00:00", rest=bytes(230)):
    """A request of 256 bytes; `rest` is what stands from byte 26 on."""
    assert len(rest) == SIZE - 26
    return (magic + bytes((version, packet_type, command, tag)) + address_bytes(address) +
            address_bytes(netmask) + address_bytes(gateway) + mac_bytes(mac) + rest)


def _address(octets):
    return ".".join(str(octet) for octet in reversed(octets))


class Reply:
    """The fields of a datagram that came back, with `data` the bytes themselves."""

    def __init__(self, data):
        assert len(data) == SIZE, f"{len(data)} bytes came back: {data.hex(' ')}"
        self.data = data
        self.magic = data[0:4]
        self.version = data[4]
        self.packet_type = data[5]
        self.command = data[6]
        self.tag = data[7]
        self.address = _address(data[8:12])
        self.netmask = _address(data[12:16])
        self.gateway = _address(data[16:20])
        self.mac = ":".join(f"{octet:02x}" for octet in data[20:26])
        self.partition_version = data[34] | data[35] << 8 | data[36] << 16 | data[37] << 24
        self.description = data[44:108].rstrip(b"\0")

    def __repr__(self):
        return self.data.hex(" ")


def identity(*, packet_type=REPLY, command=Command.DISCOVER, tag=0, address, netmask, gateway, mac,
             partition_version, description):
    """The identity reply that a panel with these properties gives; `description` is bytes."""
    fields = ((0, MAGIC), (4, bytes((4, packet_type, command, tag))), (8, address_bytes(address)),
              (12, address_bytes(netmask)), (16, address_bytes(gateway)), (20, mac_bytes(mac)),
              (26, FIXED_IDENTITY),
              (34, bytes(partition_version >> shift & 0xff for shift in (0, 8, 16, 24))),
              (40, FIXED_40), (44, description))
    data = bytearray(SIZE)
    for offset, content in fields:
        data[offset:offset + len(content)] = content
    return bytes(data)
