"""Writes all mutants of a file into one text, in which a number chooses one at run time."""

from mutant import STATEMENT, FilePlaces


def _test(mutant) -> bytes:
    call = b"tspec_mutant_runs_here" if mutant.in_constexpr else b"tspec_mutant_runs"
    return b"%s(%d)" % (call, mutant.number)


def _groups(found: FilePlaces) -> list:
    """[begin, end, mutants], outer before inner; those that would cut each other are left out."""
    groups = {}
    for mutant in found.mutants:
        groups.setdefault((mutant.begin, mutant.end), []).append(mutant)
    for begin, end in found.erased:
        groups[(begin, end)] = []
    ordered = sorted(groups.items(), key=lambda item: (item[0][0], -item[0][1]))
    kept, open_ends = [], []
    for (begin, end), mutants in ordered:
        while open_ends and open_ends[-1] <= begin:
            open_ends.pop()
        if open_ends and end > open_ends[-1]:
            continue
        open_ends.append(end)
        kept.append((begin, end, mutants))
    return kept


def woven_mutants(found: FilePlaces) -> list:
    """The mutants that weave() takes, in the order of the text."""
    return [mutant for _, _, mutants in _groups(found) for mutant in mutants]


def _render(text: bytes, begin: int, end: int, groups: list) -> bytes:
    """text[begin:end] with the groups in it woven in; takes those off the list."""
    parts = []
    at = begin
    while groups and groups[0][1] <= end and groups[0][0] < end:
        group_begin, group_end, mutants = groups.pop(0)
        parts.append(text[at:group_begin])
        inner = _render(text, group_begin, group_end, groups)
        parts.append(_choice(inner, mutants))
        at = group_end
    parts.append(text[at:end])
    return b"".join(parts)


def _choice(original: bytes, mutants: list) -> bytes:
    if not mutants:
        return b""
    if mutants[0].kind == STATEMENT:
        choices = b"".join(b"if (" + _test(m) + b") { " + m.replacement + b" } else "
                           for m in mutants)
        return b"{ " + choices + original + b" }"
    choices = b"".join(_test(m) + b" ? (" + m.replacement + b") : " for m in mutants)
    return b"(" + choices + b"(" + original + b"))"


def weave(found: FilePlaces, name: str) -> bytes:
    """The file's text with its mutants; they must have their numbers."""
    body = _render(found.text, 0, len(found.text), _groups(found))
    return b'#include "mutant_runtime.h"\n#line 1 "' + name.encode() + b'"\n' + body
