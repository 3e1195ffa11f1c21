"""Checks that our libraries include only what they link.

Usage: check_includes.py TABLE

TABLE is a JSON object: for each library its sources and what it links, as CMake has them. A file may include a header
of its own library, and a header of a library that its own links, directly or by way of public links. Where a library
names public headers, others may include these alone. A header that no library lists belongs to the library of its
folder, if there is one only.
"""

import json
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]', re.MULTILINE)


class Library:
    def __init__(self, name, entry):
        self.name = name
        self.links = entry["links"]
        self.public_links = entry["public_links"]
        self.include_folders = [pathlib.Path(folder) for folder in entry["include_folders"]]
        folder = pathlib.Path(entry["folder"]).resolve()
        self.public_headers = {(folder / header).resolve() for header in entry["public_headers"]}
        paths = [(folder / source).resolve() for source in entry["sources"] if source]
        # Generated files are left out.
        self.sources = {path for path in paths if folder in path.parents}
        self.folders = {path.parent for path in self.sources}
        self.build_folder = pathlib.Path(entry["build_folder"]).resolve()
        self.forms = {path.stem for path in self.sources if path.suffix == ".ui"}


def headers_by_library(libraries):
    """Each header's library, by path; and the headers that several libraries may own."""
    owners, candidates = {}, {}
    for library in libraries.values():
        owners.update((path, library) for path in library.sources if path.suffix == ".h")
        for folder in library.folders | {library.build_folder}:
            candidates.setdefault(folder, []).append(library)
    strays = []
    for folder, possible in candidates.items():
        unlisted = [header for header in folder.glob("*.h") if header not in owners]
        if len(possible) == 1:
            owners.update((header, possible[0]) for header in unlisted)
        else:
            strays += unlisted
    return owners, strays


def visible_libraries(library, libraries):
    visible = {library.name}
    pending = list(library.links)
    while pending:
        name = pending.pop()
        if name in libraries and name not in visible:
            visible.add(name)
            pending += libraries[name].public_links
    return visible


def find_header(name, quoted, source, library):
    folders = ([source.parent] if quoted else []) + library.include_folders
    for folder in folders:
        if (folder / name).is_file():
            return (folder / name).resolve()
    return None


def fault_of(name, quoted, source, library, libraries, owners):
    """What is wrong with an include, or None."""
    if quoted and name.startswith("ui_") and name[3:-2] in library.forms:
        return None
    header = find_header(name, quoted, source, library)
    owner = owners.get(header)
    if not owner:
        return f'no library has "{name}"' if quoted else None
    if owner is library:
        return None
    if owner.name not in visible_libraries(library, libraries):
        return f'"{name}" is of {owner.name}, which {library.name} does not link'
    if owner.public_headers and header not in owner.public_headers:
        return f'"{name}" is no public header of {owner.name}'
    return None


def main():
    with open(sys.argv[1], encoding="utf-8") as table:
        libraries = {name: Library(name, entry) for name, entry in json.load(table).items()}
    owners, strays = headers_by_library(libraries)
    faults = [f"{header}: no library lists it" for header in strays]
    count = 0
    for library in libraries.values():
        sources = {path for path in library.sources if path.suffix == ".cpp"}
        # Generated headers are not checked.
        sources |= {path for path, owner in owners.items() if owner is library and path.parent in library.folders}
        for source in sorted(sources):
            text = source.read_text(encoding="utf-8")
            for match in INCLUDE.finditer(text):
                count += 1
                fault = fault_of(match[2], match[1] == '"', source, library, libraries, owners)
                if fault:
                    line = text.count("\n", 0, match.start(2)) + 1
                    faults.append(f"{source}:{line}: {fault}")
    for fault in faults:
        print(fault)
    print(f"{count} includes in {len(libraries)} libraries, {len(faults)} faults")
    sys.exit(1 if faults or not count else 0)


if __name__ == "__main__":
    main()
