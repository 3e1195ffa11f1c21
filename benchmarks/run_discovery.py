"""Measures the discovery of a panel that is like those of the system tests. Usage: run_discovery.py ROUNDS"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "system"))

from hwsdsim import build_folder  # noqa: E402
from panel import ADDRESS, Panel  # noqa: E402


def main():
    panel = Panel()
    try:
        result = panel.tool.run([build_folder() / "benchmarks" / "discovery-benchmark", ADDRESS,
                                 panel.system_bus.address, sys.argv[1]], timeout=600)
        return result.returncode
    finally:
        panel.close()


if __name__ == "__main__":
    sys.exit(main())
