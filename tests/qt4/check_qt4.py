"""Whether the service still keeps to Qt 4.8, on a machine that has none: every declaration of Qt that the service uses
must be in the list qt48.txt beside this script. Takes the folder of a Qt 5 build, which must be complete.

The sources are parsed as that build compiles them, as C++11. What stands behind `#if QT_VERSION >= 0x05...` is left
out. Not seen is what stands behind `#if QT_VERSION < 0x050000`, except its includes and macros, and what a template of
ours does with objects of its parameters.
"""

import collections
import ctypes
import functools
import json
import multiprocessing
import pathlib
import re
import shlex
import sys
import tempfile
import xml.etree.ElementTree

from clang import cindex
from clang.cindex import CursorKind

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIST = pathlib.Path(__file__).with_name("qt48.txt")
FOLDERS = [ROOT / "src", ROOT / "HWSDProxy", ROOT / "images"]

WHAT_TO_DO = f"""
Not in {LIST.relative_to(ROOT)}. Write it with what Qt 4.8 has too. If Qt 4.8 has just this, add the line to the list,
below the header of Qt 4.8 in which you have seen it. If only newer Qt needs it, put it behind #if QT_VERSION."""

LIBRARY = cindex.conf.lib
INCLUDE = "#include "
# Qt's headers define them on the way, or for systems that are not ours.
NO_MACROS_OF_QT = {"for", "main", "True", "False"}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
             CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE}
TYPES = {CursorKind.CLASS_DECL: "class", CursorKind.STRUCT_DECL: "class", CursorKind.UNION_DECL: "class",
         CursorKind.CLASS_TEMPLATE: "class", CursorKind.ENUM_DECL: "enum", CursorKind.TYPEDEF_DECL: "type",
         CursorKind.TYPE_ALIAS_DECL: "type", CursorKind.TYPE_ALIAS_TEMPLATE_DECL: "type"}
NAMELESS = {CursorKind.NAMESPACE, CursorKind.PARM_DECL, CursorKind.TEMPLATE_TYPE_PARAMETER,
            CursorKind.TEMPLATE_NON_TYPE_PARAMETER}


def overridden_by(cursor):
    found, count = ctypes.POINTER(cindex.Cursor)(), ctypes.c_uint()
    LIBRARY.clang_getOverriddenCursors(cursor, ctypes.byref(found), ctypes.byref(count))
    for i in range(count.value):
        base = found[i]
        base._tu = cursor._tu
        yield base


def copies(cursor):
    """Whether it copies or moves its own class: where Qt 5 moves, Qt 4.8 copies."""
    if cursor.spelling != "operator=":
        return cursor.is_copy_constructor() or cursor.is_move_constructor()
    (source,) = cursor.type.argument_types()
    return source.get_pointee().get_declaration() == cursor.semantic_parent


def pattern(cursor):
    """The template that this is made from, or itself."""
    while True:
        template = LIBRARY.clang_getSpecializedCursorTemplate(cursor)
        if template is None or template.kind.is_invalid():
            return cursor
        cursor = template


def qualified(cursor):
    names = []
    while cursor is not None and cursor.kind != CursorKind.TRANSLATION_UNIT:
        if cursor.kind == CursorKind.CONVERSION_FUNCTION:
            names.append(f"operator {cursor.result_type.spelling}")
        elif cursor.kind == CursorKind.CONSTRUCTOR:
            names.append(cursor.spelling.split("<")[0])
        elif cursor.spelling and not (cursor.kind == CursorKind.ENUM_DECL and names and not cursor.is_scoped_enum()):
            names.append(cursor.spelling)
        cursor = cursor.semantic_parent
    return "::".join(reversed(names))


def spelt(declaration):
    """How the list spells a declaration of Qt 5."""
    cursor = pattern(declaration)
    name = qualified(cursor)
    if cursor.kind in TYPES:
        return f"{TYPES[cursor.kind]} {name}"
    if cursor.kind not in FUNCTIONS:
        return name
    parameters = [parameter.spelling for parameter in cursor.type.argument_types()]
    result = ""
    if cursor.kind not in (CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR, CursorKind.CONVERSION_FUNCTION):
        result = cursor.result_type.spelling + " "
    constant = " const" if cursor.is_const_method() else ""
    return f"{result}{name}({', '.join(parameters)}){constant}"


def without_comments(text):
    """C++ without comments and literals, with all its lines."""
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', lambda found: "\n" * found[0].count("\n"), text,
                  flags=re.S)


def newer_only(text):
    """The numbers of the lines that Qt 4 does not compile."""
    lines, conditions = set(), []
    for number, line in enumerate(text.splitlines(), 1):
        if directive := re.match(r"\s*#\s*(if|elif|else|endif)(.*)", line):
            if directive[1] != "if":
                conditions.pop()
            if directive[1] != "endif":
                conditions.append(bool(re.match(r"\s*QT_VERSION\s*>=?\s*0x0[5-9]", directive[2])))
        elif any(conditions):
            lines.add(number)
    return lines


def own(name):
    return any(folder in pathlib.Path(name).parents for folder in FOLDERS)


def files(*suffixes):
    return [path for folder in FOLDERS for path in folder.rglob("*") if path.suffix in suffixes]


@functools.lru_cache(maxsize=None)
def lines_for_qt4(name):
    """The lines of a file of ours, or of what Qt 5's compiler makes of a form; empty where Qt 4 does not compile."""
    path = pathlib.Path(name)
    if not own(path) and not path.name.startswith("ui_"):
        return []
    text = path.read_text(encoding="utf-8")
    skipped = newer_only(text)
    return ["" if number in skipped else line for number, line in enumerate(text.splitlines(), 1)]


def word_at(cursor):
    """(word, place): what our text has there. For what a macro expands to that is the macro's name; for its arguments,
    the argument. No word outside our text, and where Qt 4 does not compile."""
    file, line, column = cindex.c_object_p(), ctypes.c_uint(), ctypes.c_uint()
    LIBRARY.clang_getFileLocation(cursor.location, ctypes.byref(file), ctypes.byref(line), ctypes.byref(column), None)
    if not file:
        return "", ""
    name = cindex.File(file).name
    lines = lines_for_qt4(name)
    text = lines[line.value - 1][column.value - 1:] if lines else ""
    return re.match(r"\w+|.?", text)[0], f"{name}:{line.value}"


class Build:
    """How the Qt 5 build compiles the service, with the options of all its sources put together."""

    def __init__(self, folder):
        self.sources, options = [], []
        for entry in json.loads((folder / "compile_commands.json").read_text(encoding="utf-8")):
            if own(entry["file"]):
                self.sources.append(entry["file"])
                words = iter(shlex.split(entry["command"]))
                options += [word + next(words) if word in ("-isystem", "-I") else word
                            for word in words if word.startswith(("-isystem", "-I", "-D"))]
        self.options = [*dict.fromkeys(options), "-std=c++11", "-pedantic-errors"]
        missing = {str(path) for path in files(".cpp")} - set(self.sources)
        if missing:
            sys.exit(f"{folder} does not compile {', '.join(sorted(missing))}")
        (core,) = {option for option in options if option.endswith("/QtCore")}
        self.qt = core.removeprefix("-isystem").removesuffix("QtCore")
        self.macros = macros_of(self.qt)

    def precompile(self, folder, includes):
        """These headers of Qt, once for all sources; without those that only Qt 4 has."""
        header = pathlib.Path(folder) / "qt.h"
        header.write_text("".join(f"#if __has_include({name})\n#include {name}\n#endif\n" for name in includes),
                          encoding="utf-8")
        unit = cindex.Index.create().parse(str(header), [*self.options, "-xc++-header"],
                                           options=cindex.TranslationUnit.PARSE_INCOMPLETE)
        unit.save(f"{header}.pch")
        self.options += ["-include-pch", f"{header}.pch"]

    def is_of_qt(self, cursor):
        return (cursor is not None and cursor.kind not in NAMELESS and cursor.location.file is not None
                and cursor.location.file.name.startswith(self.qt) and not copies(cursor))

    def uses(self, source):
        """(uses, complaints): what a source uses of Qt, as {spelling: places}, and what the compiler says."""
        uses = collections.defaultdict(set)
        unit = cindex.Index.create(excludeDecls=True).parse(source, self.options)
        complaints = [str(said) for said in unit.diagnostics if said.severity >= cindex.Diagnostic.Error]

        def visit(cursor):
            word, place = word_at(cursor)
            # What a macro of Qt uses is Qt's business.
            if word and word not in self.macros:
                for target in (cursor.referenced, *overridden_by(cursor)):
                    if self.is_of_qt(target):
                        uses[spelt(target)].add(place)
            for child in cursor.get_children():
                visit(child)

        for declaration in unit.cursor.get_children():
            if lines_for_qt4(declaration.location.file.name):
                visit(declaration)
        return dict(uses), complaints


def macros_of(qt):
    names = set()
    for header in pathlib.Path(qt).rglob("*.h"):
        names.update(re.findall(r"^\s*#\s*define\s+(\w+)", header.read_text(encoding="latin-1"), flags=re.M))
    return names - NO_MACROS_OF_QT


def text_uses(macros):
    """The includes and macros of Qt in our sources, and what the forms and the list of pictures are made of."""
    uses = collections.defaultdict(set)
    for path in files(".h", ".cpp"):
        text = path.read_text(encoding="utf-8")
        skipped = newer_only(text)
        for number, line in enumerate(without_comments(text).splitlines(), 1):
            if number in skipped:
                continue
            if include := re.match(r"\s*#\s*include\s*(<[Qq].*>)", line):
                uses[INCLUDE + include[1]].add(f"{path}:{number}")
            for name in macros.intersection(re.findall(r"\w+", line)):
                uses[f"#define {name}"].add(f"{path}:{number}")
    for path in files(".ui", ".qrc"):
        for element in xml.etree.ElementTree.parse(path).iter():
            for name in (element.tag, *(f"{element.tag} {attribute}" for attribute in element.attrib)):
                uses[f"<{name}>"].add(str(path))
    return uses


def known():
    return {line.split("  ; ")[0] for line in LIST.read_text(encoding="utf-8").splitlines()}


def main():
    build = Build(pathlib.Path(sys.argv[1]).resolve())
    uses = text_uses(build.macros)
    complaints = set()
    with tempfile.TemporaryDirectory() as folder:
        build.precompile(folder, [use.removeprefix(INCLUDE) for use in uses if use.startswith(INCLUDE)])
        with multiprocessing.Pool() as pool:
            for found, said in pool.imap_unordered(build.uses, build.sources):
                complaints.update(said)
                for name, places in found.items():
                    uses[name] |= places
    listed = known()
    for complaint in sorted(complaints):
        print(complaint)
    new = sorted(uses.keys() - listed)
    for name in new:
        print(f"{min(uses[name])}: {name}".removeprefix(f"{ROOT}/"))
    if new:
        print(WHAT_TO_DO)
    sys.exit(bool(complaints or new))


if __name__ == "__main__":
    main()
