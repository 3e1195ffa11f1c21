"""Measures each step of a datagram's road through the service, on a panel with 2, 64 and 512 interfaces.

usage: run_road.py

Times are the processor's, medians of cases that take turns in random order: the machine may have other work. The two
calls of the platform service wait for another program, so theirs is the time that passes.
"""

import json
import sys

from benchpanel import PROGRAMS, BenchPanel

OPTIONS = ["--benchmark_format=json", "--benchmark_repetitions=9", "--benchmark_min_time=0.05",
           "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true"]
INTERFACES = [2, 64, 512]


def measure(panel, cases):
    completed = panel.namespace.run([PROGRAMS / "benchmark-road", *OPTIONS, "--benchmark_filter=" + cases],
                                    capture_output=True, timeout=600, env=panel.environment())
    if completed.returncode != 0:
        sys.exit(completed.stderr.decode())
    return [run for run in json.loads(completed.stdout)["benchmarks"] if run["aggregate_name"] == "median"]


def print_runs(runs, suffix=""):
    for run in runs:
        passing = any(word in run["run_name"] for word in ["call", "refresh"])
        time = run["real_time" if passing else "cpu_time"]
        print(f"{run['run_name'] + suffix:50}{time:12.1f}{run['allocations']:12.0f}", flush=True)


def main():
    panel = BenchPanel()
    try:
        print(f"{'':50}{'ns':>12}{'allocations':>12}")
        print_runs(measure(panel, "-interface"))
        for count in INTERFACES:
            panel.add_interfaces(count)
            print_runs(measure(panel, "interface"), f", of {count} interfaces")
    finally:
        panel.close()


if __name__ == "__main__":
    main()
