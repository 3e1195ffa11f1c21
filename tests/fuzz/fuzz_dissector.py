#!/usr/bin/env python3
"""Random captures through tshark with the dissector, compared with a reading of the same bytes from the protocol's
description: fuzz_dissector.py [--seconds N] [--seed S] [--captures N] [--artifact-prefix TEXT]

Whole conversations of tools and panels are made from the seed, with datagrams that are damaged, cut, lengthened,
random or captured in part only. Each has to give just the fields and remarks that its bytes call for, and each reply
that a panel would give to a request has to be linked to it. A capture that does not is kept under the prefix. The same
seed makes the same captures."""

import argparse
import pathlib
import random
import re
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "system"))

import make_capture  # noqa: E402
import mvdp  # noqa: E402
import tshark  # noqa: E402
from dissectormodel import COMMANDS, FOR_ALL, SENT_BACK, Reading, is_mvdp, panel_takes  # noqa: E402
from make_capture import EVERYBODY, GROUP, SUBNET, Frame  # noqa: E402
from tshark import FIELDS, REMARKS  # noqa: E402

FRAMES = 1500  # of a capture
ETHERNET_IP_UDP = 42
TOOLS = [(f"02 00 00 00 00 0{number}", f"192.168.10.{number}") for number in (1, 2, 3)]
PANELS = [(f"00 1a 2b 3c 4d 5{number}", f"192.168.10.{number}") for number in (5, 6, 7)]


class Mismatch(Exception):
    """What the dissector says is not what the bytes say."""


# --- Captures

class Conversation:
    """Frames in the order of a capture; `answers` has the frames that must be linked, reply to request, by number."""

    def __init__(self, source):
        self.source = source
        self.frames = []
        self.answers = {}
        self.next_port = 20000

    def add(self, frame):
        self.frames.append(frame)
        return len(self.frames)

    def request(self, command, mac):
        source = self.source
        address = ".".join(str(source.randrange(256)) for _ in range(4))
        return mvdp.request(command, version=source.choice((2, 2, 3, 4, 255)), tag=source.randrange(256),
                            address=address, netmask=source.choice(("255.255.255.0", "255.0.255.0", "0.0.0.0")),
                            gateway=source.choice(("0.0.0.0", "192.168.10.1")), mac=mac.replace(" ", ":"),
                            rest=source.choice((bytes(230), bytes(230), source.randbytes(230))))

    def identity(self, request, panel, packet_type=2):
        source = self.source
        text = source.choice((b"QM413-JD562", b"K\xfcche \\ 7", b"", source.randbytes(64), b"\x1b[2J\r\n\x9b",
                              b"x" * 64))
        return mvdp.identity(packet_type=packet_type, command=request[6], tag=request[7], address=panel[1],
                             netmask="255.255.255.0", gateway="192.168.10.1", mac=panel[0].replace(" ", ":"),
                             partition_version=source.choice((0, 0x01EA3807, source.getrandbits(32))),
                             description=text.split(b"\0")[0])

    def clean_exchange(self):
        """A request from a port of its own, and its answers."""
        source, tool = self.source, self.source.choice(TOOLS)
        panel = source.choice(PANELS)
        command = source.choice(COMMANDS)
        request = self.request(command, panel[0])
        to_many = source.random() < 0.5
        destination = source.choice((EVERYBODY, SUBNET, GROUP)) if to_many else panel
        self.next_port += 1
        port = self.next_port
        number = self.add(Frame("", tool, port, destination, make_capture.MVDP, request))
        answering = PANELS if to_many and command in FOR_ALL else [panel]
        for answerer in source.sample(answering, source.randrange(len(answering) + 1)):
            if command in SENT_BACK:
                reply = bytearray(request)
                reply[5] = 1 if command == 2 else 2
            else:
                reply = self.identity(request, answerer, source.choice((2, 2, 3)) if command == 5 else 2)
            to = source.choice((tool, tool, EVERYBODY, GROUP))
            frame = Frame("", answerer, make_capture.MVDP, to, port, bytes(reply))
            self.answers[self.add(frame)] = number
            if source.random() < 0.2:
                self.add(frame)  # a copy, which answers nothing
            if source.random() < 0.3:
                self.damaged()

    def damaged(self):
        """A datagram that was one once, or is none at all."""
        source = self.source
        panel = source.choice(PANELS)
        request = self.request(source.choice(COMMANDS), panel[0])
        payload = bytearray(source.choice((
            request, self.identity(request, panel), source.randbytes(source.randrange(600)),
            mvdp.MAGIC + source.randbytes(source.randrange(300)),
            mvdp.MAGIC + bytes((source.randrange(2, 256), source.randrange(1, 4), source.choice(COMMANDS))) +
            source.randbytes(source.randrange(300)))))
        for _ in range(source.choice((0, 0, 1, 2, 5))):
            if payload:
                place = source.randrange(min(len(payload), source.choice((8, 48, 600))))
                payload[place] = source.choice((0, 1, 2, 3, 255, source.randrange(256)))
        change = source.random()
        if change < 0.3:
            del payload[source.choice((source.randrange(300), source.randrange(9), 8, 26, 44, 108)):]
        elif change < 0.4:
            payload += source.randbytes(source.randrange(1, 300))
        ports = source.choice(((40000, make_capture.MVDP), (make_capture.MVDP, 40000), (40001, 50001),
                               (make_capture.MVDP, make_capture.MVDP)))
        ends = source.choice(((source.choice(TOOLS), panel), (panel, source.choice(TOOLS)),
                              (source.choice(TOOLS), source.choice((EVERYBODY, GROUP, SUBNET)))))
        self.add(Frame("", ends[0], ports[0], ends[1], ports[1], bytes(payload)))


def make_frames(source, count):
    conversation = Conversation(source)
    while len(conversation.frames) < count:
        source.choice((conversation.clean_exchange, conversation.damaged))()
    return conversation


# --- The comparison

class Judge:
    def __init__(self, conversation, found, longest):
        self.frames = conversation.frames
        self.answers = conversation.answers
        self.found = found
        self.captured = [frame.payload[:max(0, longest - ETHERNET_IP_UDP)] for frame in self.frames]

    def check(self):
        if len(self.found) != len(self.frames):
            raise Mismatch(f"{len(self.frames)} frames, {len(self.found)} shown")
        for index in range(len(self.frames)):
            try:
                self.check_frame(index)
            except Mismatch as mismatch:
                raise Mismatch(f"frame {index + 1}, {self.frames[index]}: {mismatch}") from None

    def said(self, index, name):
        return self.found[index].get(f"mvdp.{name}")

    def check_frame(self, index):
        frame, captured = self.frames[index], self.captured[index]
        taken, whole = is_mvdp(make_capture.MVDP in (frame.source_port, frame.destination_port), captured)
        reading = Reading(captured, len(frame.payload))
        if whole:
            self.read(index, reading)
        elif taken:
            reading.bad_header()
        expected = {name: tshark.SEVERAL.join(texts) for name, texts in reading.several.items()}
        shown = {name: self.said(index, name) for name in FIELDS if self.said(index, name) is not None}
        for name in ("request_in", "response_in", "response_time"):
            shown.pop(name, None)
        # Among fields tshark doubles some backslashes.
        for texts in (shown, expected):
            if "description" in texts:
                texts["description"] = re.sub(r"\\+", r"\\", texts["description"])
        # A text that is empty is shown as a field that is not there.
        expected = {name: text for name, text in expected.items() if text}
        if shown != expected:
            raise Mismatch("\n".join(f"{name}: {shown.get(name)}, not {expected.get(name)}"
                                     for name in FIELDS if shown.get(name) != expected.get(name)))
        remarks = {name for name in REMARKS if self.said(index, f"expert.{name}")} - {"not_in_force"}
        if remarks != reading.remarks:
            raise Mismatch(f"remarks {sorted(remarks)}, not {sorted(reading.remarks)}")
        # At what the panel drops there is a remark, and none of these where it acts.
        drops = {"bad_header", "bad_type", "bad_version", "bad_command"}
        if whole and self.said(index, "request") and panel_takes(captured) == bool(remarks & drops):
            raise Mismatch(f"the panel {'acts' if panel_takes(captured) else 'drops it'}, {sorted(remarks)}")

    def read(self, index, reading):
        frame, captured = self.frames[index], self.captured[index]
        packet_type, command = captured[5], captured[6]
        from_panel = packet_type in (2, 3)
        if packet_type == 1 and command == 2:
            from_port, to_port = (port == make_capture.MVDP for port in (frame.source_port, frame.destination_port))
            # Between alike ports an echo is an answer when there is a question.
            from_panel = from_port if from_port != to_port else self.said(index, "request_in") is not None
        asked = self.check_links(index, from_panel)
        is_identity, command = reading.header(from_panel)
        if is_identity:
            reading.identity()
        else:
            reading.request(command, None if asked is None else len(self.frames[asked].payload))

    def check_links(self, index, from_panel):
        """The request's index, when the reply is linked to one."""
        asked = self.said(index, "request_in")
        if index + 1 in self.answers and self.answers[index + 1] != int(asked or 0):
            raise Mismatch(f"an answer to frame {self.answers[index + 1]}, linked to {asked}")
        listed = self.said(index, "response_in")
        answers = [int(answer) - 1 for answer in listed.split(tshark.SEVERAL)] if listed else []
        for answer in answers:
            if self.said(answer, "request_in") != str(index + 1):
                raise Mismatch(f"has a response in {answer + 1}, which has another request")
        panels = [(self.frames[answer].source, self.captured[answer][20:26]) for answer in answers]
        if len(set(panels)) < len(panels):
            raise Mismatch(f"one panel has answered twice, in {[answer + 1 for answer in answers]}")
        if asked is None:
            return None
        asked = int(asked) - 1
        request, reply = self.captured[asked], self.captured[index]
        end = min(len(request), len(reply), mvdp.SIZE)
        fits = (from_panel and asked < index and self.said(asked, "request") and request[6:8] == reply[6:8] and
                self.frames[asked].source_port == self.frames[index].destination_port and
                (reply[6] not in SENT_BACK or request[6:end] == reply[6:end]) and
                (reply[6] in FOR_ALL or len(request) < 26 or request[20:26] == reply[20:26]))
        if not fits:
            raise Mismatch(f"linked to frame {asked + 1}, {self.frames[asked]}")
        seconds = (index - asked) * make_capture.STEP / 1e6
        if abs(float(self.said(index, "response_time")) - seconds) > 1e-6:
            raise Mismatch(f"a response time of {self.said(index, 'response_time')}, not {seconds}")
        if str(index + 1) not in (self.said(asked, "response_in") or "").split(tshark.SEVERAL):
            raise Mismatch(f"frame {asked + 1} does not know its response")
        return asked


def run(source, capture):
    """Makes a capture and reads it; how many frames it has."""
    conversation = make_frames(source, FRAMES)
    longest = source.choice((65535, 65535, 65535, source.randrange(42, 400)))
    make_capture.write_pcap(capture, [make_capture.packet(frame) for frame in conversation.frames], longest=longest)
    names = [f"mvdp.{name}" for name in FIELDS] + [f"mvdp.expert.{name}" for name in REMARKS]
    Judge(conversation, tshark.fields(capture, names, "-2"), longest).check()
    return len(conversation.frames)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=float, default=8)
    parser.add_argument("--captures", type=int, default=0, help="so many, however long it takes")
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(2 ** 32))
    parser.add_argument("--artifact-prefix", default="")
    arguments = parser.parse_args()
    print(f"INFO: Seed: {arguments.seed}", flush=True)
    source = random.Random(arguments.seed)
    start, captures, frames = time.monotonic(), 0, 0
    with tempfile.TemporaryDirectory(prefix="mvdp-dissector-") as folder:
        capture = pathlib.Path(folder) / "random.pcap"
        while captures < (arguments.captures or 1) or \
                not arguments.captures and time.monotonic() - start < arguments.seconds:
            try:
                frames += run(source, capture)
            except (Mismatch, AssertionError) as failure:
                kept = pathlib.Path(f"{arguments.artifact_prefix}{arguments.seed}-{captures}.pcap")
                kept.write_bytes(capture.read_bytes())
                print(f"{failure}\nTest unit written to {kept}\n"
                      f"Again: {__file__} --seed {arguments.seed} --captures {captures + 1}")
                return 1
            captures += 1
    print(f"stat::number_of_executed_units: {frames}\n"
          f"stat::average_exec_per_sec:     {round(frames / (time.monotonic() - start))}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
