"""What the service must answer, what it may answer and what it must not.

A datagram is judged against every content that the service's one receive buffer may have, and every state that the
platform service may have told. Where both are certain, one answer is right, byte for byte.

Time is counted in steps. What a step changes on the platform service is in force from that step on, and may have been
read by any datagram that was unanswered then. What a datagram changes is in force for every later datagram.
"""

import re

import mvdp
from mvdp import Command

ANSWERED_UNCHANGED = {Command.RESET_NETWORK, Command.RESTORE}
FOR_ONE_PANEL = {Command.IDENTIFY, Command.SET_ADDRESS, Command.RESTORE_RELATIVE, Command.WINK, Command.RESET_NETWORK,
                 Command.RESTORE, Command.RESTART}
RESETTING = {Command.RESTORE_RELATIVE, Command.RESET_NETWORK, Command.RESTORE}
COMMANDS = set(Command)
ZERO_TRIPLE = ("0.0.0.0", "0.0.0.0", "0.0.0.0")
ZERO_MAC = bytes(6)
# In the place of a triple: a setting of which not all bytes are known.
ANY = ("any", "any", "any")
# More contents of the buffer than this count as any content at all.
MOST_BUFFERS = 64
NEVER = 1 << 60


def number(address):
    return int.from_bytes(mvdp.address_bytes(address), "little")


def is_mask(address):
    zeros = ~number(address) & 0xffffffff
    return zeros & (zeros + 1) == 0


def is_local(triple, peer):
    return (number(triple[0]) ^ number(peer)) & number(triple[1]) == 0


def version_of(text):
    """The partition version in a version text."""
    def digits(part):
        return int(part) if part.isdecimal() else 0
    if len(text) <= 8:
        return 0
    last = text[-8:]
    return digits(last[:2]) << 24 | digits(last[2:5]) << 16 | digits(last[5:7]) << 8 | digits(last[7:])


def shown(payload):
    """Bytes for a report: without the zeros at the end."""
    return f"{len(payload)} bytes: {payload.rstrip(bytes(1))[:300].hex(' ')}"


class Datagram:
    """One that was sent. `certain`: the network brought it to the service's socket, as long as that had room."""

    def __init__(self, source, port, payload, step, interface, certain):
        self.source, self.port, self.payload = source, port, payload
        self.step, self.interface, self.certain = step, interface, certain
        self.replies = []
        # For a report: what was possible when it was judged.
        self.possible = None

    def __repr__(self):
        return f"{self.source}:{self.port} at step {self.step}, {shown(self.payload)}"


class Seen:
    """A packet of the panel's; `step` is the first step before which it had been seen."""

    def __init__(self, destination, payload, step):
        self.destination, self.payload, self.step = destination, payload, step


class Change:
    """A value that the platform service tells of an interface. It came into force between two steps; with `order`,
    by the datagram of this number. An uncertain one may not have come into force."""

    def __init__(self, value, earliest, latest, order=None, certain=True):
        self.value, self.earliest, self.latest = value, earliest, latest
        self.order, self.certain = order, certain

    def is_before(self, other):
        if self.order is not None and other.order is not None:
            return self.order < other.order
        return self.latest < other.earliest


class Identity:
    """What one process of the service finds out once and keeps: description and version."""

    def __init__(self, description, version, doubtful):
        self.expected = (description, version)
        self.description, self.version = None, None
        # Whether the platform service may have told something else than expected since the process started.
        self.doubtful = doubtful
        self.descriptions, self.versions = {description, b""}, {version, 0}

    def accepts(self, description, version):
        if self.description is None:
            right = description == self.expected[0] or self.doubtful and (
                description in self.descriptions or re.fullmatch(rb"HMI -?\d{1,10}", description))
        else:
            right = description == self.description
        if self.version is None:
            return right and (version == self.expected[1] or self.doubtful and version in self.versions)
        return right and version == self.version

    def note(self, description, version):
        if description:
            self.description = description
        if version:
            self.version = version


class Phase:
    """The model of one phase. Records are (triple, mac) by interface, as they are at its beginning."""

    def __init__(self, records, factory, leases, identity, buffer, is_fresh):
        self.triples = {name: [Change(record[0], -1, -1)] for name, record in records.items()}
        self.macs = {name: [Change(record[1], -1, -1)] for name, record in records.items()}
        self.factory, self.leases = factory, leases
        self.datagrams, self.by_port = [], {}
        self.problems = []
        # By number of the first datagram: the process's identity, and its buffer at the beginning.
        self.eras = {0: (identity, buffer)}
        self.identity = identity
        self._troubles, self._blind_steps = [], []
        # Whether the service may not have read a record yet.
        self._is_fresh = is_fresh
        # Whether links, addresses or routes are others than in calm.
        self.network_is_changed = False
        self._own_echoes = set()
        self.counts = {}

    # What happens

    def sent(self, datagram):
        self.datagrams.append(datagram)
        self.by_port.setdefault(datagram.port, []).append(datagram)

    def seen(self, destination, port, payload, step):
        if port not in self.by_port:
            self.problems.append(("stray", f"a datagram to {destination}:{port} that nobody asked for: "
                                  f"{shown(payload)}"))
            return
        self.by_port[port][0].replies.append(Seen(destination, payload, step))

    def told(self, interface, triple, mac, step):
        """The platform service tells another record from this step on."""
        self.triples.setdefault(interface, []).append(Change(triple, step, step))
        self.macs.setdefault(interface, []).append(Change(mac, step, step))

    def trouble_begins(self, step):
        """From now on a reading may fail, or give an empty record."""
        self.identity.doubtful = True
        if not self._troubles or self._troubles[-1][1] != NEVER:
            self._troubles.append([step, NEVER])

    def trouble_ends(self, step):
        if self._troubles and self._troubles[-1][1] == NEVER:
            self._troubles[-1][1] = step

    def network_changes(self, step):
        """Datagrams and replies of this moment may be lost, and any interface may be the answering one."""
        self.network_is_changed = True
        self._blind_steps.append(step)
        for datagram in self.datagrams:
            datagram.certain = datagram.certain and bool(datagram.replies)

    def process_begins(self, identity):
        """A new process: what the one before had not answered is lost."""
        for datagram in self.datagrams:
            datagram.certain = False
        self.identity = identity
        self._is_fresh = True
        self.eras[len(self.datagrams)] = (identity, bytes(mvdp.SIZE))

    # What may be read

    def _is_troubled(self, first, last):
        return (any(start <= last and first < end for start, end in self._troubles) or
                bool(self._blind_steps) and first <= self._blind_steps[-1] and self._blind_steps[0] <= last)

    def _possible(self, timelines, order, datagram, last):
        """The values that the reading for a datagram, answered before step `last`, may have given."""
        if self._is_troubled(datagram.step, last):
            return {change.value for changes in timelines.values() for change in changes
                    if change.earliest <= last} | self._of_failures(timelines)
        reading = Change(None, datagram.step, last, order)
        past = [change for change in timelines.get(datagram.interface, ()) if not reading.is_before(change)]
        return {change.value for change in past
                if not any(change.is_before(later) and later.is_before(reading) and later.certain for later in past)}

    def _of_failures(self, timelines):
        if timelines is self.triples:
            return {ZERO_TRIPLE}
        values = {change.value for changes in timelines.values() for change in changes}
        # A text without a MAC address is one part, which is no number; the other bytes stay.
        return {b"\0" + value[1:] for value in values} | ({ZERO_MAC} if self._is_fresh else set())

    # Judging

    def judge(self, drops, last):
        """The problems of the phase, as (kind, text); `drops` is how many datagrams found no room, `last` the step
        after it."""
        buffers, missing = None, []
        for order, datagram in enumerate(self.datagrams):
            if order in self.eras:
                self.identity, buffer = self.eras[order]
                buffers = {buffer}
                self._own_echoes = set()
            buffers = self._judge_one(order, datagram, buffers, drops > 0, last, missing)
        for port, datagrams in self.by_port.items():
            for seen in datagrams[0].replies:
                self.problems.append(("answer", f"an answer that is not owed: {datagrams[-1]}\n"
                                      f"  got at step {seen.step} to {seen.destination}: {shown(seen.payload)}\n"
                                      f"{datagrams[-1].possible or ''}"))
        if len(missing) > drops:
            self.problems.append(("missing", f"{len(missing)} datagrams are not answered and {drops} found no room; "
                                  f"the first: {missing[0]}"))
        return self.problems

    def _judge_one(self, order, datagram, buffers, may_drop, last, missing):
        if not datagram.payload:
            return buffers
        queue = self.by_port[datagram.port][0].replies
        seen = queue[0] if queue else None
        end = seen.step if seen else last
        macs = self._possible(self.macs, order, datagram, end)
        data = datagram.payload[:mvdp.SIZE]
        fulls = {None} if buffers is None and len(data) < mvdp.SIZE else {
            data + buffer[len(data):] for buffer in (buffers or {bytes(mvdp.SIZE)}) | self._own_echoes}
        silent_buffers, owed, answered = set(), bool(fulls), []
        for full in fulls:
            command = self._command(full, data)
            may_be_silent = command in (None, "any") or command in FOR_ONE_PANEL and macs != {full[20:26]}
            may_answer = command is not None and (
                command == "any" or command not in FOR_ONE_PANEL or full[20:26] in macs)
            if may_answer and seen and self._is_answer(order, datagram, full, command, seen, data):
                answered.append(full)
            if may_be_silent:
                silent_buffers.add(full if command not in FOR_ONE_PANEL else full[:5] + b"\2" + full[6:])
                owed = False
        if answered:
            queue.pop(0)
            return self._note_answer(order, datagram, answered, seen)
        if owed and datagram.certain:
            missing.append(datagram)
        if seen:
            datagram.possible = self._explanation(order, datagram, macs, seen)
        # Unanswered: it was lost, or its answer was, or there is none.
        if owed or None in silent_buffers or not datagram.certain:
            self._note_lost(order, datagram, fulls, last)
            return None
        if may_drop:
            silent_buffers |= buffers or {None}
        return silent_buffers if len(silent_buffers) <= MOST_BUFFERS and None not in silent_buffers else None

    def _explanation(self, order, datagram, macs, seen):
        triples = sorted(self._possible(self.triples, order, datagram, seen.step))
        return (f"  possible: {triples[:20]}, MAC {[mac.hex(':') for mac in macs]}, description "
                f"{self.identity.description}, version {self.identity.version}, expected {self.identity.expected}")

    @staticmethod
    def _command(full, data):
        """The command that a buffer holds, None for what is dropped, "any" where it cannot be known."""
        if full is None:
            header = data[:7]
            if (not mvdp.MAGIC.startswith(header[:4]) or header[4:5] in (b"\0", b"\1") or
                    header[5:6] not in (b"", b"\1")):
                return None
            return "any" if header[6:7] == b"" or header[6] in COMMANDS else None
        if full[:4] != mvdp.MAGIC or full[5] != mvdp.REQUEST or full[4] < 2 or full[6] not in COMMANDS:
            return None
        return Command(full[6])

    def _is_answer(self, order, datagram, full, command, seen, data):
        answer = seen.payload
        if len(answer) != mvdp.SIZE:
            return False
        if command == "any":
            # What stands behind a short datagram is unknown; its own bytes are not.
            if answer[6] not in COMMANDS or answer[5] not in (1, 2, 3) or data[6:8] != answer[6:8][:len(data[6:8])]:
                return False
            command = Command(answer[6])
            if command == Command.ECHO or command in ANSWERED_UNCHANGED:
                packet_type = mvdp.REQUEST if command == Command.ECHO else mvdp.REPLY
                came_back = answer[:5] + b"\1" + answer[6:]
                return (answer[5] == packet_type and came_back.startswith(data) and
                        self._is_routed(order, datagram, seen))
            full = answer
        if command == Command.ECHO:
            return answer == full and self._is_routed(order, datagram, seen)
        if command in ANSWERED_UNCHANGED:
            return answer == full[:5] + b"\2" + full[6:] and self._is_routed(order, datagram, seen)
        return self._is_identity(order, datagram, full, command, seen)

    def _is_routed(self, order, datagram, seen):
        triples = self._possible(self.triples, order, datagram, seen.step)
        ways = {True, False} if ANY in triples else {is_local(triple, datagram.source) for triple in triples}
        return (seen.destination == datagram.source and True in ways or
                seen.destination == mvdp.GROUP and False in ways)

    def _is_identity(self, order, datagram, full, command, seen):
        reply = mvdp.Reply(seen.payload)
        triple = (reply.address, reply.netmask, reply.gateway)
        mac = seen.payload[20:26]
        troubled = self._is_troubled(datagram.step, seen.step)
        if reply.packet_type != mvdp.REPLY and not (
                troubled and command == Command.SET_ADDRESS and reply.packet_type == mvdp.NOT_APPLIED):
            return False
        triples = self._possible(self.triples, order, datagram, seen.step)
        for interface, changed, certain in self._changed_by(datagram, full, command, seen.step):
            if interface == datagram.interface:
                # Beside a change by a step, either may be the later one.
                triples = changed if certain and len(triples) == 1 else triples | changed
        expected = mvdp.identity(
            packet_type=reply.packet_type, command=command, tag=full[7], address=reply.address, netmask=reply.netmask,
            gateway=reply.gateway, mac=reply.mac, partition_version=reply.partition_version,
            description=reply.description)
        destination = datagram.source if is_local(triple, datagram.source) else mvdp.GROUP
        return (seen.payload == expected and seen.destination == destination and
                (triple in triples or ANY in triples) and
                mac in self._possible(self.macs, order, datagram, seen.step) and
                self.identity.accepts(reply.description, reply.partition_version))

    def _changed_by(self, datagram, full, command, last):
        """What a request changes: (interface, possible triples, whether it is surely one of them); nothing, or one."""
        if command in RESETTING:
            interface, triple = "eth0", self.factory
        elif command == Command.SET_ADDRESS:
            request = mvdp.Reply(full)
            interface, triple = datagram.interface, (request.address, request.netmask, request.gateway)
        else:
            return []
        if self._is_troubled(datagram.step, last):
            # A setting that is refused is in the cache until a reading goes well.
            return [(interface, {triple, self.leases[interface]}, False)]
        if command == Command.SET_ADDRESS and not is_mask(triple[1]):
            return []
        if any(datagram.step <= change.earliest <= last for change in self.triples[interface] if change.order is None):
            # The record was changed while this was put into force; then its DHCP may be on.
            return [(interface, {triple, self.leases[interface]}, False)]
        return [(interface, {triple}, True)]

    def _note_answer(self, order, datagram, fulls, seen):
        """`fulls`: the contents of the buffer that would have had this answer."""
        answer = seen.payload
        command = Command(answer[6])
        self.counts[command] = self.counts.get(command, 0) + 1
        if command != Command.ECHO and command not in ANSWERED_UNCHANGED:
            reply = mvdp.Reply(answer)
            self.identity.note(reply.description, reply.partition_version)
        for full in fulls:
            self._note_changes(order, datagram, full or answer, command, seen.step, len(fulls) == 1)
        if datagram.port == mvdp.PORT and seen.destination == mvdp.GROUP:
            # The kernel gives it to the service's own socket again, which drops it after it stands in the buffer.
            self._own_echoes.add(answer)
        return {answer}

    def _note_lost(self, order, datagram, fulls, last):
        for full in fulls:
            data = datagram.payload[:mvdp.SIZE]
            command = self._command(full, data)
            if command is None:
                continue
            if full is not None:
                self._note_changes(order, datagram, full, command, last, False)
                continue
            if data[6:7] == b"" or data[6] in RESETTING:
                # What stands behind it may have been this panel's MAC address.
                for triple in (self.factory, self.leases["eth0"]):
                    self.triples["eth0"].append(Change(triple, datagram.step, last, order, False))
            if data[6:7] in (b"", bytes((Command.SET_ADDRESS,))):
                change = Change(ANY, datagram.step, last, order, False)
                if len(data) >= 20:
                    request = mvdp.Reply(data + bytes(mvdp.SIZE - len(data)))
                    change.value = (request.address, request.netmask, request.gateway)
                self.triples[datagram.interface].append(change)

    def _note_changes(self, order, datagram, full, command, latest, certain):
        for interface, triples, surely in self._changed_by(datagram, full, command, latest):
            for triple in triples:
                self.triples[interface].append(Change(triple, datagram.step, latest, order, certain and surely))
