"""A storm on the service, made from a seed. See README.md."""

import argparse
import os
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "system"))

import steps  # noqa: E402
from world import Failure, Figures, World  # noqa: E402


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--seed", default="1")
    options = parser.parse_args()
    figures = Figures()
    begin = time.monotonic()
    world = World(figures)
    number = 0
    try:
        while time.monotonic() - begin < options.seconds:
            number += 1
            plan = steps.phase(options.seed, number)
            t = time.monotonic()
            try:
                world.play(plan)
            except Failure as failure:
                print(f"FAILED: seed {options.seed}, phase {number}: {failure}")
                print(plan[-5:])
                return 1
            kinds = {s["do"] for s in plan}
            print(number, len(plan), f"{time.monotonic() - t:.2f}s", sorted(kinds), figures.memory[-1], flush=True)
    finally:
        world.close()
    print(vars(figures))
    return 0


if __name__ == "__main__":
    sys.exit(main())
