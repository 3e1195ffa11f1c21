"""A storm on the service, made from a seed; README.md tells what it is. scripts/run-storm starts it."""

import argparse
import json
import os
import pathlib
import resource
import signal
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "system"))

import steps  # noqa: E402
from hwsdsim import build_folder  # noqa: E402
from panel import SANITIZER_ENVIRONMENT  # noqa: E402
from shrink import shrunk  # noqa: E402
from waiting import PATIENCE  # noqa: E402
from world import Failure, Figures, World  # noqa: E402

# A user namespace of our own makes network namespaces and mounts possible without root.
UNSHARE = ["unshare", "--user", "--map-root-user", "--mount", "--net", "--"]
REPORT_EVERY = 60
# While a failure is made smaller, patience is a matter of many runs.
SHRINKING_PATIENCE = 5
TRIES = 3
MOST_PHASES_BACK = 16
MOST_STEPS_PRINTED = 30
CALM = {"do": "calm"}


def main():
    options = parsed_options()
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    if os.geteuid() != 0:
        os.execvp(UNSHARE[0], UNSHARE + [sys.executable, *sys.argv])
    # For hwsd-sim; the service has it from the panel.
    os.environ.update(SANITIZER_ENVIRONMENT)
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (min(most, 65536), most))
    if options.replay:
        return replay(options)
    return storm(options)


def parsed_options():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--seconds", type=float, default=60, help="how long it blows; default 60")
    parser.add_argument("--seed", default="1", help="what it is made from: any text; default 1")
    parser.add_argument("--replay", metavar="FILE", help="carry out the steps of a failure again, instead")
    parser.add_argument("--shrink-seconds", type=float, default=120,
                        help="how long to look for fewer steps that fail; default 120")
    parser.add_argument("--failures", default=str(build_folder() / "storm"), metavar="FOLDER",
                        help="where the steps of a failure are written")
    parser.add_argument("--verbose", action="store_true", help="a line for each phase")
    return parser.parse_args()


def storm(options):
    figures = Figures()
    begin = told = time.monotonic()
    played = []
    number, failure = 0, None
    world = World(figures)
    try:
        while time.monotonic() - begin < options.seconds and not failure:
            number += 1
            plan = steps.phase(options.seed, number)
            if not world.is_long_lived:
                played = []
            played.append(plan)
            try:
                world.play(plan)
            except Failure as problem:
                failure = problem
            if options.verbose:
                print(f"  phase {number}: {len(plan)} steps, {sorted({step['do'] for step in plan})}, "
                      f"{figures.memory[-1]} kB", flush=True)
            elif time.monotonic() - told > REPORT_EVERY:
                told = time.monotonic()
                print(f"  {told - begin:.0f} s: {figures.short()}", flush=True)
    finally:
        world.close()
    print(figures.text(time.monotonic() - begin))
    if failure:
        tell(failure, f"seed {options.seed}, phase {number}", played[-1])
        if failure.kind == "memory":
            # It takes many phases to be seen.
            print(f"Again: scripts/run-storm --seed {options.seed}")
        else:
            make_smaller(options, failure, played, number)
    print(f"{figures.phases} passed, {1 if failure else 0} failed", flush=True)
    return 1 if failure else 0


def tell(failure, where, plan):
    print(f"FAILED: {where}: {failure.kind}\n{failure}\nThe last steps:")
    print_steps(plan[:failure.step][-8:])
    print(f"The service's log:\n{failure.log[-4000:]}", flush=True)


def print_steps(plan):
    for step in plan[:MOST_STEPS_PRINTED]:
        text = json.dumps(step)
        print("  " + (text if len(text) < 240 else text[:237] + "..."))
    if len(plan) > MOST_STEPS_PRINTED:
        print("  ...")


class Laboratory:
    """Panels on which steps are tried. One that has not failed is used again. `is_slow`: one datagram is done with
    before the next step."""

    def __init__(self, patience, is_slow):
        self._patience, self.is_slow = patience, is_slow
        self._world = None

    def failure_of(self, plan):
        """The failure that these steps have, or None."""
        phases = [[]]
        for step in plan:
            if step == CALM:
                phases.append([])
            else:
                phases[-1].append(step)
        self._world = self._world or World(Figures(), self._patience, self.is_slow)
        try:
            for each in phases:
                self._world.play(each)
        except Failure as failure:
            self.close()
            return failure
        return None

    def close(self):
        if self._world:
            self._world.close()
        self._world = None


def make_smaller(options, failure, played, number):
    """Looks for the fewest steps with a failure of the same kind, and writes them to a file."""
    deadline = time.monotonic() + options.shrink_seconds
    # Slow steps fail again more surely, when they do.
    for is_slow in (True, False):
        laboratory = Laboratory(SHRINKING_PATIENCE, is_slow)

        def is_failing(plan):
            again = laboratory.failure_of(plan)
            return again is not None and again.kind == failure.kind

        try:
            plan, found = with_what_came_before(played, is_failing, deadline, tries=1 if is_slow else TRIES)
            if found:
                plan = shrunk(plan, is_failing, deadline)
        finally:
            laboratory.close()
        if found:
            break
    if found:
        manner = "one after the other" if is_slow else "at once"
        print(f"The fewest steps that were found to fail, {manner}: {len(plan)}")
        print_steps(plan)
    else:
        print("On another panel these steps did not fail again.")
    folder = pathlib.Path(options.failures)
    folder.mkdir(parents=True, exist_ok=True)
    path = folder / f"failure-{options.seed}-{number}.json"
    path.write_text(json.dumps({"kind": failure.kind, "slow": is_slow, "steps": plan}, indent=0), encoding="ascii")
    print(f"Again, in full: scripts/run-storm --seed {options.seed}\n"
          f"Again, these steps: scripts/run-storm --replay {path}", flush=True)


def with_what_came_before(played, is_failing, deadline, tries):
    """The steps of the last phase, or of as many as it takes to fail; and whether they do."""
    count = 1
    while True:
        plan = [step for each in played[-count:] for step in (CALM, *each)][1:]
        for _ in range(tries):
            if time.monotonic() > deadline:
                return plan, False
            if is_failing(plan):
                return plan, True
        if count >= min(len(played), MOST_PHASES_BACK):
            return plan, False
        count *= 2


def replay(options):
    saved = json.loads(pathlib.Path(options.replay).read_text(encoding="ascii"))
    plan = saved["steps"]
    for attempt in range(1, TRIES + 1):
        laboratory = Laboratory(PATIENCE, saved["slow"])
        try:
            failure = laboratory.failure_of(plan)
        finally:
            laboratory.close()
        if failure:
            tell(failure, f"{options.replay}, attempt {attempt}", plan)
            print("0 passed, 1 failed")
            return 1
    print(f"These steps did not fail in {TRIES} attempts.\n1 passed, 0 failed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
