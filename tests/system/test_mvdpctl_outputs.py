"""What mvdpctl prints on standard output, byte for byte as recorded in outputs/: every command in text, JSON and CSV.

Scripts rely on these bytes: a change of a file there is a change of what the manual promises. A command runs in the
three formats at once; where it changes a panel, each format has a panel of its own.
"""

import concurrent.futures
import copy
import pathlib
import re
from typing import NamedTuple

import pytest

import fakepanel
from fakepanel import Identity
from mvdp import Command
from mvdpctlrun import (  # noqa: F401: pytest finds the fixtures here
    fixture_fake, fixture_wire, program, DONE, FAR_ADDRESS, HASTY, MAC, MAC2, MAC3, NO_ANSWER, NO_MAC, OTHER_ADDRESS,
    PATIENT, REFUSED, SEARCHING, Result, Watch, ENVIRONMENT)
from waiting import PATIENCE

RECORDED = pathlib.Path(__file__).resolve().with_name("outputs")
FORMATS = {"txt": [], "json": ["--json"], "csv": ["--csv"]}
# The panel that a format has for itself.
MACS = [MAC, MAC2, MAC3]
BYSTANDER, UNABLE, ABSENT = "02:00:5e:10:00:04", "02:00:5e:10:00:05", "02:00:5e:10:00:09"
# Round-trip times and times of day differ from run to run and are recorded as "~".
CLOCK, DATE = r"\d\d:\d\d:\d\d", r"\d\d\d\d-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d)"
VARYING = re.compile("|".join([
    rf"^{CLOCK}(?= )", rf'(?<="time":"){DATE}(?=")', rf"^{DATE}(?=,)",
    r"(?<= after )\d+\.\d\d(?= ms$)", r"(?<=^round trip )\d+\.\d\d / \d+\.\d\d / \d+\.\d\d(?= ms)",
    r'(?<=Ms": )[\d.e-]+', r"\d+\.\d\d ms *(?=  192)",
    r"(?<=,2,2,0,0,0,)[\d.e-]+,[\d.e-]+,[\d.e-]+(?=,)"]), re.MULTILINE)


def panels():
    """One for each format."""
    return [Identity(mac=mac, address=f"192.168.10.{5 + number}") for number, mac in enumerate(MACS)]


class Case(NamedTuple):
    words: list  # {mac} and {number} are those of the format's own panel, {plan} is the file with the plan
    code: int = DONE
    said: str = ""  # on standard error, as text
    played: dict = {"panels": panels()}  # attributes of the played panel
    plan: str = ""


ECHO = ["echo", MAC, "--count", "2", "--interval", "0.01"]
SETTINGS = ["set", "{mac}", "--address", "192.168.10.7{number}", "--gateway", "192.168.10.9", "--yes"]
NAMES = f'mac,name,remark\n{MAC},Oven,"left, below"\n{MAC3},Prüfstand 9,\n'
CASES = {
    "discover": Case(["discover", *SEARCHING], DONE, "4 panels.\n", {"panels": [
        Identity(description=b"=1+1,\"x\""),
        Identity(mac=MAC2, netmask="255.0.255.0", partition_version=0, description="Prüfstand".encode("latin-1")),
        Identity(mac=MAC3, address=FAR_ADDRESS, source=FAR_ADDRESS, gateway="10.9.0.1"),
        Identity(mac=NO_MAC, address="0.0.0.0", netmask="0.0.0.0", gateway="0.0.0.0", partition_version=0,
                 description=b"", source=OTHER_ADDRESS)]}),
    "discover-nobody": Case(["discover", *HASTY], NO_ANSWER, "mvdpctl: no panel answered\n", {"panels": []}),
    "identify": Case(["identify", MAC, *PATIENT]),
    "echo": Case([*ECHO, *PATIENT]),
    "echo-lost": Case([*ECHO, "--timeout", "0.2", *SEARCHING], NO_ANSWER, "mvdpctl: no echo from 192.168.10.5\n",
                      {"panels": panels(), "unanswered": {Command.ECHO}}),
    "wink": Case(["wink", MAC, *SEARCHING]),
    "wink-unanswered": Case(["wink", MAC, "--timeout", "0.2", "--rounds", "9"], NO_ANSWER, "did not answer to 'wink'\n",
                            {"panels": panels(), "unanswered": {Command.WINK}}),
    "restart": Case(["restart", MAC, "--yes", *SEARCHING]),
    "reset-network": Case(["reset-network", MAC, "--yes", *SEARCHING]),
    "restore-defaults": Case(["restore-defaults", MAC, "--yes", *SEARCHING]),
    "set": Case([*SETTINGS, *SEARCHING]),
    "set-refused": Case([*SETTINGS, *SEARCHING], REFUSED, "could not apply 192.168.10.70/24, gateway 192.168.10.9\n",
                        {"panels": panels(), "on_set": fakepanel.REFUSE}),
    "set-unverified": Case([*SETTINGS, "--timeout", "1", "--rounds", "4"], NO_ANSWER, "but was not heard again\n",
                           {"panels": panels(), "on_set": fakepanel.VANISH}),
    "set-plan": Case(["set", "--from", "{plan}", "--yes", *SEARCHING], REFUSED,
                     "mvdpctl: 1 not found: Check its power and cable",
                     {"panels": [*panels(), Identity(mac=BYSTANDER, address="192.168.10.8"),
                                 Identity(mac=UNABLE, address="192.168.10.9")],
                      "on_set": {UNABLE: fakepanel.REFUSE}},
                     "mac,address,gateway,name,remark,Slot\n"
                     f"{{mac}},192.168.10.7{{number}},0.0.0.0,Cabinet {{number}},,7\n"
                     f"{BYSTANDER},192.168.10.8/24,,Gate,\"left,\ndoor\",\n"
                     f"{ABSENT},192.168.10.99,,,at the store,\n{UNABLE},192.168.10.98,,,,'=1\n"),
    "discover-named": Case(["discover", "--names", "{plan}", *SEARCHING], DONE, "3 panels.\n", plan=NAMES),
    "identify-several": Case(["identify", "oven", MAC2, "--names", "{plan}", *SEARCHING], DONE, "2 of 3 panels.\n",
                             plan=NAMES),
    "wink-several": Case(["wink", "kiln", "--all", "oven", MAC2, "--names", "{plan}", *SEARCHING], NO_ANSWER,
                         "2 of 3 done.\n", plan=NAMES),
    "echo-several": Case(["echo", "oven", MAC2, "--count", "2", "--interval", "0.01", "--names", "{plan}", *SEARCHING],
                         DONE, "2 of 2 sent echoes back.\n", plan=NAMES),
    "plan": Case(["plan", "--range", "192.168.10.6-59/24", "--order", "names", "--names", "{plan}", *SEARCHING], DONE,
                 "1 of 3 panels would be changed.", plan=NAMES),
    "set-dry-run": Case(["set", "--from", "{plan}", "--dry-run", *SEARCHING], NO_ANSWER,
                        "1 of 2 panels would be changed; no settings were sent.\n",
                        plan=f"mac,address,Slot\n{MAC},192.168.10.70/25,7\n{ABSENT},192.168.10.71,8\n"),
    "raw": Case(["raw", "4", "--mac", MAC, "--timeout", "5"]),
    "raw-nobody": Case(["raw", "4", "--mac", ABSENT, "--timeout", "0.2"], NO_ANSWER, "mvdpctl: no answer\n"),
}


def assert_is_recorded(name, number, out):
    path = (RECORDED / name).with_suffix("." + list(FORMATS)[number])
    assert VARYING.sub("~", out).encode() == path.read_bytes()


@pytest.mark.parametrize("name", CASES)
def test_output_is_as_recorded(wire, fake, tmp_path, name):
    case = CASES[name]
    for attribute, value in copy.deepcopy(case.played).items():
        setattr(fake, attribute, value)

    def run(number):
        own = {"mac": MACS[number], "number": number}
        plan = tmp_path / f"{number}.csv"
        plan.write_text(case.plan.format(**own), encoding="utf-8")
        return Result(wire[1].run(
            [program(), *(word.format(plan=plan, **own) for word in case.words), *list(FORMATS.values())[number]],
            input=b"", capture_output=True, timeout=4 * PATIENCE, env=ENVIRONMENT))

    with concurrent.futures.ThreadPoolExecutor(len(FORMATS)) as pool:
        results = list(pool.map(run, range(len(FORMATS))))
    assert [result.code for result in results] == [case.code] * len(FORMATS)
    assert case.said in results[0].err
    if case.code == DONE:  # what is a note on the text is no news to scripts
        assert [result.err for result in results[1:]] == ["", ""]
    for number, result in enumerate(results):
        assert_is_recorded(name, number, result.out)


def test_watched_events_are_as_recorded(wire, fake):
    watches = [Watch(wire[1], *option) for option in FORMATS.values()]
    outs = [[], [], [watches[2].line()]]

    def take_events():
        for out, watch in zip(outs, watches):
            out.append(watch.line())
    take_events()  # it appears
    fake.panels[0].address = OTHER_ADDRESS
    take_events()
    fake.panels.clear()
    take_events()
    assert [watch.end() for watch in watches] == [(DONE, "Panels at the end: 0.\n")] * len(FORMATS)
    for number, out in enumerate(outs):
        assert_is_recorded("watch", number, "".join(line + "\n" for line in out))
