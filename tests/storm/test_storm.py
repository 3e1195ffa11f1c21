"""The storm's own parts, without a panel: its steps, what it holds answers to, and how it makes failures smaller."""

import pathlib
import sys

sys.path[:0] = [str(pathlib.Path(__file__).resolve().parent),
                str(pathlib.Path(__file__).resolve().parents[1] / "system")]

import mvdp  # noqa: E402
import steps  # noqa: E402
from model import Datagram, Identity, Phase, version_of  # noqa: E402
from mvdp import Command  # noqa: E402
from shrink import shrunk  # noqa: E402

OWN, OTHER = "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5f"
NEAR, FAR = "192.168.10.1", "10.9.0.2"
TRIPLE = ("192.168.10.5", "255.255.255.0", "192.168.10.1")
FACTORY = ("192.168.10.9", "255.255.255.0", "0.0.0.0")
LEASE = ("192.168.10.105", "255.255.255.0", "192.168.10.1")
NEW = ("192.168.10.20", "255.255.255.0", "192.168.10.2")


class Scene:
    """A phase whose datagrams are answered by hand."""

    def __init__(self, doubtful=False):
        self.phase = Phase({"eth0": (TRIPLE, mvdp.mac_bytes(OWN))}, FACTORY, {"eth0": LEASE},
                           Identity(b"MODEL", 7, doubtful), bytes(mvdp.SIZE), is_fresh=False)
        self.step = 0

    def send(self, payload, *answers, source=NEAR, to=None, certain=True):
        """A datagram, and what comes back before the next step."""
        self.step += 1
        port = 10000 + self.step
        self.phase.sent(Datagram(source, port, payload, self.step, "eth0", certain))
        for answer in answers:
            self.phase.seen(to or source, port, answer, self.step)
        return self

    def problems(self, drops=0):
        return [kind for kind, _ in self.phase.judge(drops, self.step + 1)]


def identity(command=Command.DISCOVER, triple=TRIPLE, mac=OWN, **changes):
    address, netmask, gateway = triple
    fields = {"partition_version": 7, "description": b"MODEL", **changes}
    return mvdp.identity(command=command, address=address, netmask=netmask, gateway=gateway, mac=mac, **fields)


def setting(triple, mac=OWN):
    address, netmask, gateway = triple
    return mvdp.request(Command.SET_ADDRESS, mac=mac, address=address, netmask=netmask, gateway=gateway)


DISCOVER, ECHO = mvdp.request(Command.DISCOVER), mvdp.request(Command.ECHO, rest=bytes(range(230)))


def test_the_same_seed_gives_the_same_steps():
    phases = [steps.phase("a", n) for n in range(1, 121)]
    assert [steps.phase("a", n) for n in range(1, 21)] == phases[:20]
    assert steps.phase("b", 1) != phases[0]
    kinds = {step["do"] for phase in phases for step in phase}
    assert kinds >= {"send", "flood", "fault", "sim_kill", "bus_stop", "signal", "link", "no_memory", "clock"}


def test_right_answers_are_no_problem():
    scene = Scene().send(DISCOVER, identity()).send(ECHO, ECHO).send(mvdp.request(Command.IDENTIFY, mac=OTHER))
    scene.send(mvdp.request(Command.RESTART, mac=OWN), identity(Command.RESTART))
    assert scene.problems() == []


def test_a_wrong_byte_of_an_identity_is_a_problem():
    for at in range(mvdp.SIZE):
        wrong = bytearray(identity())
        wrong[at] ^= 1
        assert "answer" in Scene().send(DISCOVER, bytes(wrong)).problems(), at


def test_a_missing_answer_is_a_problem_unless_it_found_no_room():
    assert Scene().send(DISCOVER).problems() == ["missing"]
    assert Scene().send(DISCOVER).problems(drops=1) == []
    assert Scene().send(DISCOVER, certain=False).problems() == []


def test_what_must_be_silent_may_not_be_answered():
    for payload in (mvdp.request(Command.IDENTIFY, mac=OTHER), mvdp.request(3), mvdp.request(1, version=1),
                    mvdp.request(1, packet_type=2), b"", bytes(256)):
        assert Scene().send(payload).problems() == []
        assert Scene().send(payload, identity()).problems() == ["answer"]


def test_a_second_answer_and_a_stray_one_are_problems():
    assert Scene().send(DISCOVER, identity(), identity()).problems() == ["answer"]
    scene = Scene()
    scene.phase.seen(NEAR, 9, identity(), 1)
    assert scene.problems() == ["stray"]


def test_an_answer_must_go_where_its_netmask_says():
    assert Scene().send(DISCOVER, identity(), to=mvdp.GROUP).problems() != []
    assert Scene().send(DISCOVER, identity(), source=FAR, to=mvdp.GROUP).problems() == []
    assert Scene().send(DISCOVER, identity(), source=FAR).problems() != []


def test_a_short_echo_carries_what_the_buffer_held():
    short = ECHO[:20]
    full = short + identity()[20:]
    assert Scene().send(DISCOVER, identity()).send(short, full).problems() == []
    assert Scene().send(DISCOVER, identity()).send(short, short + bytes(236)).problems() != []
    # What had no answer stands in the buffer as it was; if it may have been lost, either content is right.
    for silent, certain, right in ((bytes(range(256)), True, False), (bytes(range(256)), False, True)):
        scene = Scene().send(DISCOVER, identity()).send(silent, certain=certain).send(short, full)
        assert (scene.problems() == []) == right


def test_of_an_unknown_buffer_only_the_own_bytes_are_known():
    for command, packet_type in ((Command.ECHO, 1), (Command.RESTORE, 2)):
        answer = mvdp.request(command, packet_type=packet_type, mac=OWN, rest=bytes(range(230)))
        for short, right in ((answer[:3], True), (answer[:5] + b"\1" + answer[6:30], True), (b"\x5e\x14", False),
                             (answer[:5] + b"\1" + answer[6:30] + b"\xff", False)):
            scene = Scene().send(DISCOVER, certain=False).send(short, answer)
            assert (scene.problems() == []) == right, (command, short)


def test_a_setting_counts_from_its_answer_on():
    scene = Scene().send(setting(NEW), identity(Command.SET_ADDRESS, NEW)).send(DISCOVER, identity(triple=NEW))
    assert scene.problems() == []
    assert Scene().send(setting(NEW), identity(Command.SET_ADDRESS)).problems() != []
    scene = Scene().send(setting(NEW), identity(Command.SET_ADDRESS, NEW)).send(DISCOVER, identity())
    assert scene.problems() != []
    scene = Scene().send(mvdp.request(Command.RESET_NETWORK, mac=OWN), mvdp.request(
        Command.RESET_NETWORK, mac=OWN, packet_type=2)).send(DISCOVER, identity(triple=FACTORY))
    assert scene.problems() == []


def test_a_short_reset_that_was_lost_may_have_reset():
    """What stood behind it in an unknown buffer may have been this panel's MAC address."""
    short = mvdp.request(Command.RESET_NETWORK)[:8]
    for lost, right in ((short, True), (short[:6], True), (ECHO[:8], False)):
        scene = Scene().send(DISCOVER, certain=False).send(lost, certain=False)
        assert (scene.send(DISCOVER, identity(triple=FACTORY)).problems() == []) == right, lost


def test_a_change_of_the_platform_service_is_in_force_for_what_is_sent_after_it():
    def told(answer, sent_before):
        scene = Scene()
        if not sent_before:
            scene.phase.told("eth0", NEW, mvdp.mac_bytes(OWN), 1)
            scene.step = 1
        scene.send(DISCOVER)
        if sent_before:
            scene.phase.told("eth0", NEW, mvdp.mac_bytes(OWN), 2)
        scene.step = 2
        scene.phase.seen(NEAR, 10000 + (1 if sent_before else 2), answer, 2)
        return scene.problems() == []
    assert told(identity(triple=NEW), sent_before=False)
    assert not told(identity(), sent_before=False)
    assert told(identity(triple=NEW), sent_before=True)
    assert told(identity(), sent_before=True)


def test_in_trouble_an_old_state_may_be_told_and_an_invented_one_not():
    def in_trouble(answer):
        scene = Scene()
        scene.phase.told("eth0", NEW, mvdp.mac_bytes(OWN), 0)
        scene.phase.trouble_begins(0)
        return scene.send(DISCOVER, answer).problems() == []
    assert in_trouble(identity())
    assert in_trouble(identity(triple=NEW))
    assert in_trouble(identity(triple=("0.0.0.0",) * 3, mac="00" + OWN[2:]))
    assert not in_trouble(identity(triple=FACTORY))
    assert not in_trouble(identity(mac=OTHER))


def test_a_description_stays_for_the_life_of_the_process():
    def seen(*descriptions):
        scene = Scene(doubtful=True)
        scene.phase.trouble_begins(0)
        for each in descriptions:
            scene.send(DISCOVER, identity(description=each))
        return scene.problems() == []
    assert seen(b"", b"HMI 0", b"HMI 0")
    assert not seen(b"HMI 0", b"MODEL")
    assert not seen(b"somebody else")


def test_the_version_is_read_from_the_last_eight_characters():
    assert version_of("UN20HS_01234567") == 0x01EA3807
    assert version_of("01234567") == 0


def test_a_failure_is_made_as_small_as_can_be():
    assert shrunk(list(range(100)), lambda items: {17, 63, 64} <= set(items)) == [17, 63, 64]
    assert shrunk(list(range(7)), lambda items: True) == []
    ticks = iter(range(1000))
    assert {17, 63} <= set(shrunk(list(range(100)), lambda items: {17, 63} <= set(items), 5, lambda: next(ticks)))
