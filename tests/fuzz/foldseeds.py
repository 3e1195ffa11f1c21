#!/usr/bin/env python3
"""Writes inputs into a table that the build unfolds again: foldseeds.py --most BYTES TABLE SEEDS INPUTS

TABLE gets a line for each file of the folder INPUTS whose content is in no file of the folder SEEDS but those that
came from such a table: the bytes, with the escapes of the JSON reader's tables. The smallest stand first; what would
make the table larger than BYTES is left out. Without any the table is removed."""

import argparse
import pathlib

PLAIN = {ord("\n"): b"\\n", ord("\t"): b"\\t", ord("\r"): b"\\r", ord("\\"): b"\\\\", ord('"'): b'"'}


def escaped(data):
    return b"".join(PLAIN.get(byte) or (bytes((byte,)) if 0x20 <= byte < 0x7f else b"\\%03o" % byte) for byte in data)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--most", type=int, required=True)
    for name in ("table", "seeds", "inputs"):
        parser.add_argument(name, type=pathlib.Path)
    arguments = parser.parse_args()

    by_hand = {path.read_bytes() for path in arguments.seeds.iterdir()
               if not path.name.startswith(arguments.table.stem + "-")}
    found = {path.read_bytes() for path in arguments.inputs.iterdir()} - by_hand
    lines, size = [], 0
    for data in sorted(found, key=lambda data: (len(data), data)):
        line = escaped(data) + b"\n"
        size += len(line)
        if size <= arguments.most:
            lines.append(line)
    arguments.table.unlink(missing_ok=True)
    if lines:
        arguments.table.write_bytes(b"".join(lines))
    print(f"    {len(lines)} of {len(found)} that the other seeds do not make up for are in {arguments.table}, "
          f"{sum(map(len, lines))} bytes")


if __name__ == "__main__":
    main()
