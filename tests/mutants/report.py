"""What a run found, for a person: diffs, the table per file, the survivors."""

import difflib
from dataclasses import dataclass, field
from pathlib import Path

import yaml

import store


def diff_lines(text: bytes, mutant, context: int = 0) -> list:
    """The mutant as a unified diff of its file, headings left out."""
    changed = text[:mutant.begin] + mutant.replacement + text[mutant.end:]
    old = text.decode(errors="replace").splitlines()
    new = changed.decode(errors="replace").splitlines()
    return list(difflib.unified_diff(old, new, lineterm="", n=context))[3:]


def change_text(text: bytes, mutant) -> str:
    """The changed lines without their indentation: the same wherever the function moves."""
    return "\n".join(line[0] + line[1:].strip() for line in diff_lines(text, mutant))


def line_of(text: bytes, mutant) -> int:
    return text.count(b"\n", 0, mutant.begin) + 1


class Explained:
    """The checked-in list of mutants that change nothing that can be observed."""

    def __init__(self, path: Path):
        self._reasons = {}
        self._used = set()
        for entry in (yaml.safe_load(path.read_text()) if path.exists() else None) or []:
            for change in entry["changes"]:
                lines = "\n".join(line.strip() for line in change.strip().splitlines())
                key = (entry["file"], entry["function"], lines)
                self._reasons[key] = " ".join(entry["reason"].split())

    @staticmethod
    def _key(text: bytes, mutant) -> tuple:
        lines = "\n".join(line.strip() for line in change_text(text, mutant).splitlines())
        return mutant.file, mutant.function, lines

    def reason(self, text: bytes, mutant):
        key = self._key(text, mutant)
        if key in self._reasons:
            self._used.add(key)
        return self._reasons.get(key)

    def forget_known(self, text: bytes, mutants: list):
        """Notes which entries stand for a mutant of these."""
        for mutant in mutants:
            self.reason(text, mutant)

    def stale(self) -> list:
        return sorted(f"{file}: {function}: {change.splitlines()[0] if change else ''}"
                      for file, function, change in set(self._reasons) - self._used)


@dataclass
class Tally:
    killed: int = 0
    survived: int = 0
    unreached: int = 0
    explained: int = 0

    @property
    def total(self) -> int:
        return self.killed + self.survived + self.unreached + self.explained

    def share(self, explained_too: bool = True) -> float:
        of = self.total - (0 if explained_too else self.explained)
        return 100.0 * self.killed / of if of else 100.0


@dataclass
class Report:
    files: dict = field(default_factory=dict)  # name -> Tally
    survivors: list = field(default_factory=list)  # (mutant, outcome)
    kinds: dict = field(default_factory=dict)

    @property
    def all(self) -> Tally:
        tally = Tally()
        for part in self.files.values():
            tally.killed += part.killed
            tally.survived += part.survived
            tally.unreached += part.unreached
            tally.explained += part.explained
        return tally

    def add(self, mutant, result: dict, text: bytes, explained: Explained):
        for tally in (self.files.setdefault(mutant.file, Tally()),
                      self.kinds.setdefault(mutant.what, Tally())):
            if result["outcome"] == store.KILLED:
                tally.killed += 1
            elif explained.reason(text, mutant):
                tally.explained += 1
            elif result["outcome"] == store.UNREACHED:
                tally.unreached += 1
            else:
                tally.survived += 1
        if result["outcome"] != store.KILLED and not explained.reason(text, mutant):
            self.survivors.append((mutant, result["outcome"]))


def table(rows: dict, heading: str) -> str:
    width = max(len(name) for name in [heading, "all", *rows])
    lines = [f"{heading:<{width}}  mutants  killed  survived  not reached  explained  killed %"]
    for name, tally in rows.items():
        lines.append(f"{name:<{width}}  {tally.total:>7}  {tally.killed:>6}  {tally.survived:>8}"
                     f"  {tally.unreached:>11}  {tally.explained:>9}  {tally.share():>8.1f}")
    return "\n".join(lines)


def survivor_text(mutant, outcome: str, text: bytes) -> str:
    lines = "\n".join(f"    {line}" for line in diff_lines(text, mutant))
    return (f"{mutant.id}  src/{mutant.file}:{line_of(text, mutant)}  {mutant.function}  "
            f"{mutant.what}, {outcome}\n{lines}")
