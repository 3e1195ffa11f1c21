#!/usr/bin/python3
"""Runs clang-tidy over the sources that are named, of a tree that is configured in the build folder named first.

Most of clang-tidy's time goes into the headers of Qt, which it reads and matches once for each file. So sources that
are compiled alike are put one after the other into one file, as far as their file-local names allow it."""

import collections
import concurrent.futures
import itertools
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

# More would leave a core without work at the end.
LARGEST_BATCH = 12


def compile_flags(build_folder):
    """Each source's compiler flags, without the names of its own input and output."""
    flags = {}
    for entry in json.loads((build_folder / "compile_commands.json").read_text()):
        words = shlex.split(entry["command"])
        flags[entry["file"]] = tuple(words[1:words.index("-o")])
    return flags


class Batch:
    """Sources that are compiled alike, as one file."""

    _numbers = itertools.count()

    def __init__(self, folder, flags):
        self.sources = []
        self._flags = flags
        self._folder = folder

    def write(self):
        """The line in the whole at which each source begins is left in `starts`."""
        self.file = pathlib.Path(self._folder) / f"batch{next(self._numbers)}.cpp"
        self.starts = []
        whole = []
        for source in self.sources:
            self.starts.append(len(whole) + 1)
            whole += pathlib.Path(source).read_text().splitlines()
        self.file.write_text("\n".join(whole) + "\n")

    def place(self, line):
        """The source and its line at a line of the whole."""
        index = max(i for i, start in enumerate(self.starts) if start <= line)
        return self.sources[index], line - self.starts[index] + 1

    def arguments(self):
        """Quoted includes are looked for beside each source first, as the compiler does."""
        folders = dict.fromkeys(os.path.dirname(source) for source in self.sources)
        return [*self._flags, *(f"-iquote{folder}" for folder in folders)]

    def clashing(self):
        """The sources that do not compile after those before them; empty if all do."""
        self.write()
        outcome = subprocess.run(["clang++", "-fsyntax-only", "-w", "-ferror-limit=0", *self.arguments(), self.file],
                                 capture_output=True, text=True)
        lines = re.findall(rf"^{re.escape(str(self.file))}:(\d+):\d+: (?:fatal )?error:", outcome.stderr, re.M)
        if outcome.returncode and not lines:
            return self.sources[1:]
        return sorted({self.place(int(line))[0] for line in lines})

    def check(self):
        """What clang-tidy says, with the places in the sources, and whether it is content."""
        outcome = subprocess.run(["clang-tidy", "--quiet", self.file, "--", *self.arguments()],
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        return re.sub(rf"{re.escape(str(self.file))}:(\d+)",
                      lambda found: "{}:{}".format(*self.place(int(found[1]))), outcome.stdout), not outcome.returncode


def batches_of(folder, flags, sources):
    """Splits sources of the same flags into batches in which no name clashes."""
    batches = []
    while sources:
        batch = Batch(folder, flags)
        batch.sources, rest = sources[:LARGEST_BATCH], sources[LARGEST_BATCH:]
        while len(batch.sources) > 1 and (clashing := batch.clashing()):
            # The first one that clashes with nothing before it stays; an error in the source itself is clang-tidy's.
            moved = [source for source in clashing if source != batch.sources[0]] or batch.sources[1:]
            batch.sources = [source for source in batch.sources if source not in moved]
            rest = moved + rest
        batch.write()
        batches.append(batch)
        sources = rest
    return batches


def main():
    build_folder, *names = sys.argv[1:]
    flags = compile_flags(pathlib.Path(build_folder))
    alike = collections.defaultdict(list)
    for name in names:
        source = os.path.abspath(name)
        alike[flags[source]].append(source)
    good = True
    root = pathlib.Path(__file__).resolve().parents[1]
    # Beside it is the configuration that clang-tidy looks for.
    with tempfile.TemporaryDirectory(prefix="tidy-", dir=build_folder) as folder, \
            concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        (pathlib.Path(folder) / ".clang-tidy").symlink_to(root / ".clang-tidy")
        groups = pool.map(lambda item: batches_of(folder, *item), alike.items())
        batches = [batch for group in groups for batch in group]
        for text, content in pool.map(Batch.check, batches):
            print(text, end="")
            good = good and content
        print(f"{len(names)} sources in {len(batches)} batches")
    sys.exit(not good)


if __name__ == "__main__":
    main()
