"""Which tests reach which mutants, and how long each takes: from one run of each test."""

import json
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from programs import Runner

TIMEOUT = 120.0


class Reach:
    """Kept by the hash of the sources, and for each test by that of the file it is in."""

    def __init__(self, work: Path, source_hash: str, map_size: int):
        folder = work / "reach"
        folder.mkdir(parents=True, exist_ok=True)
        self._path = folder / f"{source_hash[:16]}.json"
        self._map_size = map_size
        self._records = {}
        if self._path.exists():
            self._records = json.loads(self._path.read_text())

    def missing(self, tests: list) -> list:
        return [test for test in tests
                if self._records.get(test.key, {}).get("file_hash") != test.file_hash]

    def record(self, programs: dict, tests: list, runner: Runner, work: Path, jobs: int, tell):
        """Runs the tests one by one; those that fail with no mutant chosen are left out of
        everything that follows."""
        free = [work / f"scratch{i}" for i in range(jobs)]
        for scratch in free:
            scratch.mkdir(exist_ok=True)

        def one(test):
            scratch = free.pop()
            try:
                self._records[test.key] = self._run(programs[test.program], test, runner, scratch)
            finally:
                free.append(scratch)

        try:
            with ThreadPoolExecutor(jobs) as pool:
                futures = [pool.submit(one, test) for test in tests]
                try:
                    for count, future in enumerate(futures):
                        future.result()
                        tell(count + 1, len(tests))
                except BaseException:
                    runner.stop()
                    pool.shutdown(cancel_futures=True)
                    raise
        finally:
            self.save()

    def _run(self, program, test, runner: Runner, scratch: Path) -> dict:
        marks = scratch / "reached"
        marks.write_bytes(bytes(self._map_size))
        recording = {"TSPEC_MUTANTS_REACHED": str(marks), "TSPEC_MUTANT": "0"}
        begin = time.monotonic()
        run = program.run(runner, [test], recording, TIMEOUT, scratch)
        seconds = run.seconds or time.monotonic() - begin
        if not run.passed:  # some count the system calls that recording adds to
            run = program.run(runner, [test], {"TSPEC_MUTANT": "0"}, TIMEOUT, scratch)
        numbers = [i for i, mark in enumerate(marks.read_bytes()) if mark]
        return {"file_hash": test.file_hash, "seconds": round(seconds, 3), "passed": run.passed,
                "reached": numbers}

    def save(self):
        part = self._path.with_suffix(".part")
        part.write_text(json.dumps(self._records))
        part.replace(self._path)

    def passed(self, test) -> bool:
        return self._records[test.key]["passed"]

    def seconds(self, test) -> float:
        return self._records[test.key]["seconds"]

    def by_mutant(self, tests: list) -> dict:
        """number -> the tests that reach it and pass without it, the fastest first."""
        table = {}
        for test in sorted(tests, key=self.seconds):
            if self.passed(test):
                for number in self._records[test.key]["reached"]:
                    table.setdefault(number, []).append(test)
        return table
