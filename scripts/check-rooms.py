#!/usr/bin/env python3
"""Reads the include lines of all sources and says which of them point to a room that theirs stands below or beside,
and which room has no tests that run. ctest runs it as "rooms".

usage: scripts/check-rooms.py [FOLDER]     (default: the project that holds this script)
"""
import os
import pathlib
import re
import sys

# From the ground up: a room, the folder in tests/ where it is tested, and the rooms it may include from besides itself.
ROOMS = {
    "core/automation": ("automation", ()),
    "resulttext": ("resulttext", ("core/automation",)),
    "trend/core": ("trend", ()),
    "core": ("core", ("core/automation",)),
    "trend/picture": ("trend", ("trend/core", "core")),
    "trend/files": ("trend", ("trend/picture", "trend/core", "resulttext", "core/automation")),
    "commandline": ("system", ("core/automation",)),
    "velsqllib/transport": ("velsqllib", ()),
    "velsqllib": ("velsqllib", ("core/automation",)),
    "additem": ("additem", ("core", "core/automation")),
    "perfcheck": ("perfcheck", ("core", "core/automation")),
    "history": ("history", ("resulttext", "core", "core/automation")),
    "batchwrite": ("batchwrite", ("core", "core/automation")),
    "scripttool": ("scripttool", ("core", "core/automation")),
    "remote": ("remote", ("commandline", "velsqllib", "core/automation")),
    "scripttool/velsqlscript": ("velsqlscript", ("commandline", "resulttext", "velsqllib", "core/automation")),
    "guide": ("guide", ("core", "core/automation")),
    "controller": ("controller", ("additem", "core", "core/automation")),
    "item": ("item", ("perfcheck", "core", "core/automation")),
    "mainwindow": ("mainwindow", ("controller", "item", "additem", "perfcheck", "history", "batchwrite", "scripttool",
                                  "guide", "core", "core/automation")),
    "server/log": ("server", ("velsqllib", "core/automation")),
    "server/worker": ("server", ("server/log", "core/automation")),
    "server/sources": ("server", ("velsqllib", "core/automation")),
    "server/plant": ("server", ("server/sources", "velsqllib", "core/automation")),
    "server/sources/simulated": ("server", ("server/plant", "server/sources", "velsqllib", "core/automation")),
    "server/sources/replay": ("server", ("server/sources/simulated", "server/worker", "server/plant", "server/sources", "velsqllib",
                                         "core/automation")),
    "server/sources/modbus": ("server", ("server/plant", "server/sources", "server/worker", "server/log", "velsqllib",
                                         "core/automation")),
    "server/sources/mqtt": ("server", ("server/worker", "server/log", "server/plant", "server/sources", "resulttext",
                                       "velsqllib", "core/automation")),
    "server/protocols": ("server", ("server/sources/modbus", "server/sources/mqtt", "server/sources/replay",
                                    "server/sources", "core/automation")),
    "server/definition": ("server", ("server/sources/replay", "server/sources", "server/plant", "velsqllib",
                                     "core/automation")),
    "server/database": ("server", ("server/log", "server/plant", "velsqllib", "core/automation")),
    "server/spool": ("server", ("server/database", "server/log", "server/plant", "velsqllib", "core/automation")),
    "server/postgreshistory": ("server", ("server/database", "server/log", "server/plant", "velsqllib",
                                          "core/automation")),
    "server/sqlitehistory": ("server", ("server/database", "server/log", "server/worker", "server/plant", "core/automation")),
    "server/history": ("server", ("server/sqlitehistory", "server/postgreshistory", "server/spool", "server/database",
                                  "server/log", "server/worker", "server/plant", "velsqllib", "core/automation")),
    "server/publishing": ("server", ("server/spool", "server/database", "server/log", "server/worker", "server/plant",
                                     "server/sources", "resulttext", "velsqllib", "core/automation")),
    "server/plantfile": ("server", ("server/publishing", "server/protocols", "server/sources/replay", "server/sources/simulated",
                                    "server/sources", "server/definition", "server/history", "server/database",
                                    "server/plant", "velsqllib", "core/automation")),
    "server/added": ("server", ("server/plantfile", "server/definition", "server/log", "server/plant", "velsqllib",
                                "core/automation")),
    "server/reading": ("server", ("server/history", "server/postgreshistory", "server/database", "server/plant", "velsqllib",
                                  "core/automation")),
    "server/rpc": ("server", ("server/reading", "server/history", "server/log", "server/plant", "velsqllib",
                              "core/automation")),
    "server/commands": ("server", ("server/sources", "server/rpc", "server/history", "server/plant", "velsqllib",
                                   "core/automation")),
    "server": ("server", ("server/commands", "server/rpc", "server/added", "server/plantfile", "server/definition",
                          "server/history", "server/sqlitehistory", "server/log", "server/worker", "server/plant",
                          "server/sources/modbus", "server/sources", "remote", "commandline", "velsqllib",
                          "core/automation")),
    "trend/data": ("trend", ("trend/core", "velsqllib", "core/automation")),
    "trend/export": ("trend", ("trend/data", "trend/files", "trend/core", "velsqllib", "core/automation")),
    "trend/window": ("trend", ("guide", "trend/export", "trend/data", "trend/files", "trend/picture", "trend/core", "core",
                               "resulttext", "velsqllib", "core/automation")),
    "trend/app": ("system", ("trend/window", "trend/export", "trend/data", "trend/files", "trend/core", "commandline", "core",
                             "velsqllib", "core/automation")),
    "app": ("system", ("mainwindow", "commandline", "velsqllib", "core", "core/automation")),
}
# These stand beside the house and may include from every room.
BESIDE = ("tests/", "bench/", "scripts/", "cmake/")

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">\n]+)[">]', re.MULTILINE)
FORM_HEADER = re.compile(r'<header( location="global")?>([^<]+)</header>')
TEST = re.compile(r"^TEST(_F|_P)?\(", re.MULTILINE)
GENERATED = re.compile(r"ui_\w+\.h|\w+\.moc|moc_\w+\.cpp")
# Whoever knows the wire may know how it is waited for.
TRANSPORT = "velsqllib/transport"
WIRE = re.compile(r"(capnp|kj)/.*")


def room_of(path):
    """The innermost room of a path, None outside. The wire's own headers count as the lowest room that knows it."""
    if WIRE.fullmatch(path):
        return TRANSPORT
    return next((str(folder) for folder in pathlib.PurePosixPath(path).parents if str(folder) in ROOMS), None)


def complaint(file, target, angled):
    """What is wrong with a file including a path; None when nothing is."""
    origin, room = room_of(file), room_of(target)
    if file.startswith(BESIDE) or GENERATED.fullmatch(target) or (angled and not room):
        return None
    if not room:
        return f'{file} includes "{target}", which is not written from the root'
    if not origin:
        return f"{file} belongs to no room and includes {room}"
    below = ROOMS[origin][1]
    if origin != room and room not in below and not (room == TRANSPORT and {origin, *below} & {"velsqllib"}):
        return f'{file} includes "{target}", but {origin} may not include {room}'
    return None


def complaints_about(file, text):
    if file.endswith(".ui"):
        found = ((match[2], bool(match[1])) for match in FORM_HEADER.finditer(text))
    else:
        found = ((match[2], match[1] == "<") for match in INCLUDE.finditer(text))
    return [said for said in (complaint(file, target, angled) for target, angled in found) if said]


def sources_below(root):
    """The sources as paths from the root; neither build trees nor hidden folders."""
    for folder, folders, files in os.walk(root):
        folders[:] = sorted(name for name in folders if not name.startswith(("build", ".")))
        for name in sorted(files):
            if name.endswith((".h", ".cpp", ".ui")):
                yield pathlib.Path(folder, name).relative_to(root).as_posix()


def complaints_about_tests(root):
    """Rooms without tests, and tests that no CMakeLists.txt names: they would never run."""
    house = root / "tests"
    added = re.search(r"foreach\(room ([^)]*)\)", (house / "CMakeLists.txt").read_text())[1].split()
    tests = [file for file in sorted(house.rglob("*.cpp")) if TEST.search(file.read_text(encoding="utf-8"))]
    tested = {test.relative_to(house).parts[0] for test in tests}.intersection(added)
    for room, (folder, _) in ROOMS.items():
        if folder not in tested:
            yield f"{room} has no tests in tests/{folder} that run"
    for test in tests:
        lists = next(folder / "CMakeLists.txt" for folder in test.parents if (folder / "CMakeLists.txt").exists())
        if test.relative_to(lists.parent).as_posix() not in re.findall(r"[^\s()]+", lists.read_text()):
            yield f"{test.relative_to(root)} is not in {lists.relative_to(root)}"


def check_itself():
    """Arrows that must be refused, so that a slip in an expression above does not let everything through."""
    for file, line in (
            ("core/automation/Variant.cpp", '#include "core/modMain.h"'),
            ("core/modMain.cpp", "#include <mainwindow/frmMDI.h>"),
            ("core/modMain.cpp", '#pragma once\n  #  include\t"modMain.h" // not from the root'),
            ("mainwindow/frmMDI.cpp", "#include <kj/async-io.h>"),
            ("item/frmItem.cpp", '#include "../perfcheck/frmPerfChk.h"'),
            ("item/frmItem.ui", "<header>history/ResultGrid.h</header>"),
            ("item/frmItem.ui", '<header location="global">history/ResultGrid.h</header>'),
            ("scripttool/frmScriptTool.cpp", '#include "velsqllib/RemoteLibrary.h"'),
            ("stray/Stray.cpp", '#include "core/modMain.h"')):
        if not complaints_about(file, line):
            yield f"this script lets {line!r} through in {file}"


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent).resolve()
    said = list(check_itself())
    unseen = set(ROOMS)
    for file in sources_below(root):
        unseen.discard(room_of(file))
        said += complaints_about(file, (root / file).read_text(encoding="utf-8"))
    said += [f"{room} has no sources" for room in sorted(unseen)]
    said += complaints_about_tests(root)
    print("\n".join(said) or f"{len(ROOMS)} rooms, every arrow points downwards.")
    return 1 if said else 0


sys.exit(main())
