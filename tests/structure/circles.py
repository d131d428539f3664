#!/usr/bin/python3
"""Holds the daemon's sources to their shape: no circle among the pairs of .h and .cpp that
include each other, and no function that comes back to itself, through a table or a pointer
either.

    tests/structure/circles.py [FOLDER]

FOLDER is src unless it is given. Exit status 1 names each circle."""

import re
import sys
from concurrent.futures import ProcessPoolExecutor
from pathlib import Path

from clang.cindex import CursorKind, Index

ROOT = Path(__file__).resolve().parents[2]
FUNCTIONS = (CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
             CursorKind.DESTRUCTOR, CursorKind.FUNCTION_TEMPLATE)


def includes(source: Path) -> dict:
    """The files, each without its ending, that each one includes from the folder."""
    edges = {}
    for file in [*source.rglob("*.h"), *source.rglob("*.cpp")]:
        unit = str(file.relative_to(source).with_suffix(""))
        named = re.findall(r'^#include "(.+)\.h"', file.read_text(), re.MULTILINE)
        edges.setdefault(unit, set()).update(
            name for name in named if name != unit and (source / f"{name}.h").exists())
    return edges


def is_table(cursor) -> bool:
    return cursor.kind == CursorKind.VAR_DECL and cursor.storage_class.name == "STATIC"


def collect(cursor, owner, edges: dict, source: str):
    """What is named below the cursor counts as used by the owner: a function or a table."""
    if cursor.kind in FUNCTIONS or is_table(cursor):
        user = cursor.get_usr()
        if owner is not None and is_table(cursor):
            edges.setdefault(owner, set()).add(user)
        owner = user
        edges.setdefault(owner, set())
    named = cursor.referenced if cursor.kind.is_expression() else None
    if named is not None and owner is not None and (named.kind in FUNCTIONS or is_table(named)):
        edges[owner].add(named.get_usr())
    for child in cursor.get_children():
        place = child.location.file
        if place is None or place.name.startswith(source):
            collect(child, owner, edges, source)


def uses(arguments) -> dict:
    file, source = arguments
    unit = Index.create().parse(str(file), ["-std=c++20", "-DNDEBUG", f"-I{source}",
                                            f"-I{ROOT / 'include'}"])
    errors = [str(note) for note in unit.diagnostics if note.severity >= 3]
    if errors:
        raise SystemExit(f"{file}: {errors[0]}")
    edges = {}
    collect(unit.cursor, None, edges, str(source))
    return edges


def circles(edges: dict) -> list:
    """A circle for each node that the search meets again on its own path."""
    found, done = [], set()

    def visit(node, path):
        if node in path:
            found.append([*path[path.index(node):], node])
        elif node not in done:
            for other in sorted(edges.get(node, ())):
                visit(other, [*path, node])
            done.add(node)

    for start in sorted(edges):
        visit(start, [])
    return found


def readable(usr: str) -> str:
    """A function's name from clang's own for it: c:@F@name#..., c:file.cpp@F@name#..."""
    return re.sub(r"^c:.*@F@([^#]+).*$", r"\1", usr)


def main() -> int:
    source = (ROOT / "src" if len(sys.argv) < 2 else Path(sys.argv[1])).resolve()
    calls = {}
    with ProcessPoolExecutor() as pool:
        for edges in pool.map(uses, [(file, source) for file in sorted(source.rglob("*.cpp"))]):
            for user, used in edges.items():
                calls.setdefault(user, set()).update(used)
    found = [f"include each other: {' -> '.join(circle)}" for circle in circles(includes(source))]
    found += [f"calls itself: {' -> '.join(map(readable, circle))}" for circle in circles(calls)]
    print("\n".join(found) or "no circles")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
