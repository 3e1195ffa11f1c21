"""Prints what the unit tests of an instrumented build executed of the records and the JSON library.

usage: coverage_report.py BUILD_FOLDER PROFILES_FOLDER

Branches are those of the source's conditions. Exit status 1 when a line was not executed or too few branches were.
"""

import json
import pathlib
import subprocess
import sys

LEAST_LINES = 100.0
LEAST_BRANCHES = 95.0


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def test_programs(build):
    """The programs that the tests run and that the build made; not Python."""
    folder = pathlib.Path(build).resolve()
    tests = json.loads(output_of("ctest", "--test-dir", build, "--show-only=json-v1"))["tests"]
    programs = {test["command"][0] for test in tests}
    return sorted(program for program in programs if folder in pathlib.Path(program).parents)


def summaries(build, profiles):
    """The figures of each source file, by its path below src/."""
    merged = profiles / "merged.profdata"
    subprocess.run(["llvm-profdata", "merge", "-sparse", "-o", merged, *profiles.glob("*.profraw")], check=True)
    first, *others = test_programs(build)
    objects = [argument for program in others for argument in ("-object", program)]
    # On stderr llvm-cov only warns of functions such as main(), which differ between the programs.
    exported = subprocess.run(
        ["llvm-cov", "export", "-summary-only", "-instr-profile", merged, first, *objects],
        check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
    source = pathlib.Path(__file__).resolve().parent.parent / "src"
    found = {}
    for file in json.loads(exported)["data"][0]["files"]:
        path = pathlib.Path(file["filename"])
        if path.is_relative_to(source):
            found[str(path.relative_to(source))] = file["summary"]
    return found


def is_watched(name):
    return name.startswith("json/") or "config" in name or name.startswith("jsonfields")


def share(figures):
    return 100.0 * figures["covered"] / figures["count"] if figures["count"] else 100.0


def total(files, kind):
    return {key: sum(summary[kind][key] for summary in files.values()) for key in ("count", "covered")}


def row(name, lines, branches):
    def text(figures):
        return f"{figures['covered']:5} of {figures['count']:5} {share(figures):6.1f} %"
    return f"{name:32} {text(lines)}  {text(branches)}"


def main(build, profiles):
    files = {name: summary for name, summary in summaries(build, pathlib.Path(profiles)).items() if is_watched(name)}
    lines, branches = total(files, "lines"), total(files, "branches")
    print(f"{'Executed by the unit tests, in src':32} {'lines':>20} {'branches':>22}")
    for name in sorted(files):
        print(row(name, files[name]["lines"], files[name]["branches"]))
    print(row("all of these", lines, branches))
    enough = bool(files) and share(lines) >= LEAST_LINES and share(branches) >= LEAST_BRANCHES
    if not enough:
        print(f"Too little: {LEAST_LINES:g} % of lines and {LEAST_BRANCHES:g} % of branches are asked for.")
    return 0 if enough else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
