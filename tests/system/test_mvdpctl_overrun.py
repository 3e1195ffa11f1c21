"""mvdpctl finds every panel although more answers come at once than its computer takes."""

import json
import signal

from fakepanel import FakePanel, Identity
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_wire, process_state, program, DONE, SEARCHING)
from waiting import PATIENCE, wait_for

PANELS = 250


def _udp_drops():
    """How many datagrams all sockets of the namespace have dropped."""
    with open("/proc/thread-self/net/udp", encoding="ascii") as table:
        return sum(int(line.split()[-1]) for line in table.readlines()[1:])


def test_every_panel_is_found_after_an_overrun(wire, fake):
    """The tool sleeps while the first answers come, and junk behind them until its computer drops some."""
    fake.panels = [Identity(mac=f"02:00:5e:10:01:{number:02x}") for number in range(PANELS)]
    process = None

    def overrun(panel, answer, source, sender):
        panel.deliver = FakePanel.send_answer
        process.send_signal(signal.SIGSTOP)
        wait_for(lambda: process_state(process) == "T", "the tool to stop")
        while wire[1].call(_udp_drops) == 0:
            for _ in range(1000):
                panel.send(bytes(1400), sender)
        panel.send_answer(answer, source, sender)
        process.send_signal(signal.SIGCONT)

    fake.deliver = overrun
    process = wire[1].popen([program(), "discover", "--json", "--verbose", *SEARCHING], stdin=-3, stdout=-1, stderr=-1)
    out, err = process.communicate(timeout=4 * PATIENCE)
    assert process.returncode == DONE
    assert len(json.loads(out)["panels"]) == PANELS
    (told,) = [line for line in err.decode().splitlines() if "lost by this computer" in line]
    lost, size = [int(word) for word in told.split() if word.isdigit()]
    assert lost > 0 and size > 0
