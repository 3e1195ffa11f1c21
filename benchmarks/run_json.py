"""Runs json-benchmark and prints its medians as a table. Usage: run_json.py PROGRAM

Times are the processor's, and the cases take turns in random order: the machine may have other work.
"""

import json
import subprocess
import sys

OPTIONS = ["--benchmark_format=json", "--benchmark_repetitions=15", "--benchmark_min_time=0.1",
           "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true"]
DOCUMENTS = ["record", "document of 1", "document of 16", "document of 256"]
LIBRARIES = ["own", "nlohmann", "RapidJSON"]


def medians(program):
    report = json.loads(subprocess.run([program, *OPTIONS], check=True, stdout=subprocess.PIPE).stdout)
    return {run["run_name"]: run for run in report["benchmarks"] if run["aggregate_name"] == "median"}


def print_times(runs, operation):
    print(f"{operation:24}{'own ns':>12}{'nlohmann ns':>13}{'RapidJSON ns':>14}{'own/nlohmann':>14}"
          f"{'own ns/byte':>13}")
    for document in DOCUMENTS:
        own, nlohmann, rapid = (runs[f"{operation}/{document}/{library}"] for library in LIBRARIES)
        print(f"{document:24}{own['cpu_time']:12.0f}{nlohmann['cpu_time']:13.0f}{rapid['cpu_time']:14.0f}"
              f"{own['cpu_time'] / nlohmann['cpu_time']:14.2f}{1e9 / own['bytes_per_second']:13.2f}")
    print()


def print_allocations(runs):
    print(f"{'allocations, record':24}" + "".join(f"{name:>13}" for name in LIBRARIES))
    for operation in ["parse", "write"]:
        counts = (runs[f"{operation}/record/{name}"]["allocations"] for name in LIBRARIES)
        print(f"{operation:24}" + "".join(f"{count:13.0f}" for count in counts))


def main():
    runs = medians(sys.argv[1])
    for operation in ["parse", "write"]:
        print_times(runs, operation)
    print_allocations(runs)


if __name__ == "__main__":
    main()
