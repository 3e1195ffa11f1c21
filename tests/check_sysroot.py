"""Checks that a build for another machine used that machine's headers and libraries and none of this machine.

usage: check_sysroot.py NINJA READELF BUILD_FOLDER SYSROOT HEADER_FOLDER...

The header folders are others that may be used: the sources, and those of the compiler. Exit status 1 when a header is
elsewhere, or when a library that mvdpserver needs is not in the sysroot.
"""

import os
import pathlib
import re
import subprocess
import sys

# Where this machine keeps its own, whatever the compiler says.
OURS = ("/usr/include", "/usr/local/include")


def lines_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def is_below(path, folders):
    return any(path.startswith(folder.rstrip("/") + "/") for folder in folders)


def main(ninja, readelf, build, sysroot, *folders):
    allowed = [build, sysroot, *map(os.path.normpath, folders)]
    allowed = [folder for folder in allowed if folder not in OURS]
    headers = {os.path.normpath(os.path.join(build, line.strip()))
               for line in lines_of(ninja, "-C", build, "-t", "deps") if line.startswith("    ")}
    problems = [f"header of this machine: {header}" for header in sorted(headers) if not is_below(header, allowed)]
    if not any(is_below(header, [sysroot]) for header in headers):
        problems.append(f"no header of {sysroot} was used")

    dynamic = "\n".join(lines_of(readelf, "-d", os.path.join(build, "src", "mvdpserver")))
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)
    there = {path.name for path in pathlib.Path(sysroot).rglob("*.so*")}
    problems += [f"library that is not in {sysroot}: {name}" for name in needed if name not in there]
    if not needed:
        problems.append("mvdpserver needs no library")
    if re.search(r"\((RPATH|RUNPATH)\)", dynamic):
        problems.append("mvdpserver has a search path of the machine that built it")
    print(*problems, sep="\n")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
