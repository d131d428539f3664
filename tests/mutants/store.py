"""Results of runs, kept so that runs add up.

A mutant is known by its file, its function's whole text and its change. That one is killed
holds as long as that text and the file of the test that killed it are the same; that one
survives, as long as that text and the files of all tests that reach it are."""

import hashlib
import json
from pathlib import Path

KILLED = "killed"
SURVIVED = "survived"
UNREACHED = "not reached"
HALFWAY = "passes the unit tests"


class Store:
    def __init__(self, path: Path):
        self._path = path
        self._results = {}
        if path.exists():
            for line in path.read_text().splitlines():
                try:
                    result = json.loads(line)
                except ValueError:  # cut off by a power failure
                    continue
                self._results[result["id"]] = result

    def forget(self):
        self._results = {}
        self._path.unlink(missing_ok=True)

    def put(self, mutant, outcome: str, tests: list, killer=None, how: str = "",
            seconds: float = 0.0):
        result = {"id": mutant.id, "file": mutant.file, "outcome": outcome,
                  "seconds": round(seconds, 2)}
        if killer is not None:
            result |= {"by": killer.key, "by_hash": killer.file_hash, "how": how}
        else:
            result["tests"] = tests_hash(tests)
        self._results[mutant.id] = result
        with open(self._path, "a", encoding="utf-8") as file:
            file.write(json.dumps(result) + "\n")

    def get(self, mutant, tests: list, tests_by_key: dict):
        """The result that still holds, or None. tests: those that reach the mutant."""
        result = self._results.get(mutant.id)
        if result is None or result["outcome"] == HALFWAY:
            return None
        if result["outcome"] == KILLED:
            killer = tests_by_key.get(result["by"])
            holds = killer is not None and killer.file_hash == result["by_hash"]
        else:
            holds = result["tests"] == tests_hash(tests)
        return result if holds else None

    def is_halfway(self, mutant, tests: list) -> bool:
        """Whether it passed the unit tests, and was to go on with the others."""
        result = self._results.get(mutant.id, {})
        return result.get("outcome") == HALFWAY and result["tests"] == tests_hash(tests)


def tests_hash(tests: list) -> str:
    text = "\n".join(sorted(f"{test.key} {test.file_hash}" for test in tests))
    return hashlib.sha256(text.encode()).hexdigest()[:16]
