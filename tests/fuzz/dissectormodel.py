"""What the dissector has to say of a datagram: fields and remarks, from the protocol's description and the bytes alone.

`tests/system` must be among Python's folders."""

import collections

import mvdp

COMMANDS = [int(command) for command in mvdp.Command]
SENT_BACK = {2, 14, 15}  # the reply is the request
FOR_ALL = {1, 2}
TYPES = {1, 2, 3}
# What a panel fills in, by offset.
FIXED = {26: mvdp.FIXED_IDENTITY, 40: mvdp.FIXED_40}


def dotted(octets):
    return ".".join(str(octet) for octet in reversed(octets))


def number(octets):
    return int.from_bytes(octets, "little")


def visible(octets):
    """Latin-1 up to the first zero, control characters as \\x1b."""
    text = bytes(octets).split(b"\0")[0].decode("latin-1")
    return "".join(f"\\x{ord(character):02x}" if ord(character) < 32 or 127 <= ord(character) < 160 else character
                   for character in text)


def versions(octets):
    """The partition version, and its four numbers unless it is unknown."""
    fields = {"partition": f"0x{number(octets):08x}"}
    if number(octets):
        fields.update(zip(("partition.z", "partition.yy", "partition.xxx", "partition.ww"), map(str, octets)))
    return fields


# Fields that are shown when they were captured whole: offset, size, and what becomes of their bytes.
WHOLE = {
    "address": (8, 4, lambda octets: {"address": dotted(octets)}),
    "netmask": (12, 4, lambda octets: {"netmask": dotted(octets)}),
    "gateway": (16, 4, lambda octets: {"gateway": dotted(octets)}),
    "mac": (20, 6, lambda octets: {"mac": octets.hex(":")}),
    "identity": (26, 6, lambda octets: {"identity": octets.hex(), "identity.1": str(number(octets[0:2])),
                                        "identity.2": str(number(octets[2:4])),
                                        "identity.3": str(number(octets[4:6]))}),
    "partition": (34, 4, versions),
    "fixed": (40, 4, lambda octets: {"fixed": str(number(octets))}),
}
# Fields of which any part is shown: offset and end.
PART = {"reserved32": (32, 34), "reserved38": (38, 40), "reserved108": (108, 140), "reserved140": (140, 256)}
SETTINGS = ["address", "netmask", "gateway"]


class Reading:
    """The expected fields of a datagram, as (name, text) pairs in `several`, and the remarks."""

    def __init__(self, captured, length):
        self.captured = captured
        self.length = length
        self.several = collections.defaultdict(list)
        self.remarks = set()

    def whole(self, *names):
        for name in names:
            offset, size, show = WHOLE[name]
            octets = self.captured[offset:offset + size]
            if len(octets) == size:
                for field, text in show(octets).items():
                    self.several[field].append(text)
            elif octets:
                self.several["cut"].append(octets.hex())

    def part(self, name, first, end):
        octets = self.captured[first:end]
        if octets:
            self.several[name].append(octets.hex())

    def stale(self, first, end):
        octets = self.captured[first:end]
        if octets.strip(b"\0"):
            self.several["stale"].append(octets.strip(b"\0").hex())
            self.remarks.add("stale")

    def judge_length(self):
        if self.length < mvdp.SIZE:
            self.remarks.add("too_short")
        if self.length > mvdp.SIZE:
            self.remarks.add("too_long")

    def bad_header(self):
        is_magic = mvdp.MAGIC.startswith(self.captured[:4])
        self.part("magic", 0, 4)
        self.part("payload", 4, len(self.captured))
        if is_magic:
            self.judge_length()
        else:
            self.remarks.add("bad_header")

    def header(self, from_panel):
        version, packet_type, command, tag = self.captured[4:8]
        self.part("magic", 0, 4)
        for name, text in (("version", str(version)), ("type", str(packet_type)), ("command", str(command)),
                           ("tag", f"0x{tag:02x}")):
            self.several[name].append(text)
        if from_panel or packet_type == mvdp.REQUEST:
            self.several["reply" if from_panel else "request"].append("1")
        is_identity = from_panel and command not in SENT_BACK
        if version < 2 or is_identity and version != 4:
            self.remarks.add("bad_version")
        if packet_type == mvdp.NOT_APPLIED and command == 5:
            self.remarks.add("not_applied")
        elif packet_type not in (mvdp.REQUEST, mvdp.REPLY) or packet_type == mvdp.REPLY and command == 2:
            self.remarks.add("bad_type")
        if command not in COMMANDS:
            self.remarks.add("bad_command")
        self.judge_length()
        self.part("excess", mvdp.SIZE, len(self.captured))
        return is_identity, command

    def identity(self):
        self.whole(*SETTINGS, "mac", "identity", "partition", "fixed")
        for name, (first, end) in PART.items():
            self.part(name, first, end)
        text = self.captured[44:108]
        if text:
            self.several["description"].append(visible(text))
        self.stale(32, 34)
        self.stale(38, 40)
        if b"\0" in text:
            self.stale(44 + text.index(b"\0"), 108)
        self.stale(108, mvdp.SIZE)
        if not all(fixed.startswith(self.captured[offset:offset + len(fixed)]) for offset, fixed in FIXED.items()):
            self.remarks.add("fixed")

    def request(self, command, asked_length):
        """With the length of the request that a panel has sent back, what lies behind it is stale."""
        if command == 2 or command not in COMMANDS:
            self.part("payload", 8, mvdp.SIZE)
            meaningless = []
        elif command == 1:
            self.part("unused", 8, mvdp.SIZE)
            meaningless = [(8, mvdp.SIZE)]
        else:
            if command == 5:
                self.whole(*SETTINGS)
            else:
                self.part("unused", 8, 20)
            self.whole("mac")
            self.part("unused", 26, mvdp.SIZE)
            meaningless = [(26, mvdp.SIZE)] if command == 5 else [(8, 20), (26, mvdp.SIZE)]
        if asked_length is not None:
            meaningless = [(asked_length, mvdp.SIZE)]
        for first, end in meaningless:
            self.stale(first, end)


def is_mvdp(on_the_port, captured):
    """Whether the dissector takes the datagram, and whether its header can be read."""
    whole = len(captured) >= 8 and captured.startswith(mvdp.MAGIC)
    if on_the_port:
        return bool(captured), whole
    known = whole and captured[4] >= 2 and captured[5] in TYPES and captured[6] in COMMANDS
    return known, known


def panel_takes(data):
    """What a panel's own test of a header asks for, and its table of commands."""
    return data[:4] == mvdp.MAGIC and data[4] >= 2 and data[5] == 1 and data[6] in COMMANDS
