"""Runs mutants against the tests that reach them, several at a time."""

import queue
import threading
import time
from pathlib import Path

import store
from programs import Runner, Stopped

# What a mutant waits for.
UNIT, OTHERS, END = range(3)
# Seconds of tests, as measured without a mutant, that one round after the unit tests holds.
ROUNDS = [1.0, 4.0, 16.0, float("inf")]
# A mutant that does not end: this many times the normal time, and some for a busy machine.
SLOWER = 5.0
SPARE_SECONDS = 15.0


class TestBroken(Exception):
    """A test fails whatever the mutant: what it would say of mutants is worth nothing."""


class Campaign:
    def __init__(self, programs: dict, reach, reached_by: dict, results, work: Path):
        self.programs = programs
        self.reach = reach
        self.reached_by = reached_by
        self.results = results
        self.work = work
        self.runner = Runner()
        self.long_run = sum(reach.seconds(test) for test in {
            test.key: test for tests in reached_by.values() for test in tests
            if test.program != "unit"}.values())
        self._lock = threading.Lock()
        self._open, self._ended, self._spent = [0, 0], [0, 0], [0.0, 0.0]
        self._passed_on = 0  # from the unit tests to the others

    def tests_of(self, mutant) -> list:
        return self.reached_by.get(mutant.number, [])

    def run(self, mutants: list, jobs: int, seconds, tell, last=frozenset()):
        """Until all have run, or the seconds are over. tell(done, total, seconds left) after
        each. All go through the unit tests first, as those kill nearly all in no time; to
        the others, mutants whose ids are in `last` come after the rest."""
        waiting = queue.PriorityQueue()
        for place, mutant in enumerate(mutants):
            halfway = self.results.is_halfway(mutant, self.tests_of(mutant))
            order = place + len(mutants) if mutant.id in last else place
            waiting.put((OTHERS if halfway else UNIT, order, mutant))
            self._open[OTHERS if halfway else UNIT] += 1
        end = time.monotonic() + seconds if seconds else float("inf")
        done = queue.SimpleQueue()
        workers = [threading.Thread(target=self._work, args=(i, waiting, done, end), daemon=True)
                   for i in range(jobs)]
        for worker in workers:
            worker.start()
        count = 0
        try:
            while count < len(mutants):
                ended = not any(worker.is_alive() for worker in workers)
                try:
                    failure = done.get(timeout=0.0 if ended else 0.5)
                except queue.Empty:
                    if ended:
                        break
                    continue
                if failure is not None:
                    raise failure
                count += 1
                tell(count, len(mutants), self._seconds_left() / jobs)
            for _ in workers:
                waiting.put((END, 0, None))
            for worker in workers:
                worker.join()
        except BaseException:
            self.runner.stop()
            for worker in workers:
                worker.join(5.0)
            raise

    def _work(self, index: int, waiting, done, end: float):
        scratch = self.work / f"scratch{index}"
        scratch.mkdir(exist_ok=True)
        while time.monotonic() < end:
            try:
                stage, order, mutant = waiting.get(timeout=1.0)
            except queue.Empty:
                continue
            if stage == END:
                return
            try:
                begin = time.monotonic()
                settled = self._run_stage(stage, mutant, scratch)
                self._count(stage, settled, time.monotonic() - begin)
                if settled:
                    done.put(None)
                else:
                    waiting.put((OTHERS, order, mutant))
            except Stopped:
                return
            except Exception as failure:  # shown by the main thread
                done.put(failure)
                return

    def _run_stage(self, stage: int, mutant, scratch: Path) -> bool:
        """Whether that settles it."""
        tests = self.tests_of(mutant)
        groups = self._unit(tests) if stage == UNIT else self._rounds(tests)
        begin = time.monotonic()
        for group in groups:
            run, killer = self._run_group(mutant, group, scratch)
            if killer is not None:
                how = "time-out" if run.timed_out else "failure"
                self._put(mutant, store.KILLED, tests, killer, how, time.monotonic() - begin)
                return True
        if stage == UNIT and any(test.program != "unit" for test in tests):
            self._put(mutant, store.HALFWAY, tests)
            return False
        outcome = store.SURVIVED if tests else store.UNREACHED
        self._put(mutant, outcome, tests, None, "", time.monotonic() - begin)
        return True

    def _put(self, *arguments):
        with self._lock:
            self.results.put(*arguments)

    def _count(self, stage: int, settled: bool, seconds: float):
        with self._lock:
            self._open[stage] -= 1
            self._ended[stage] += 1
            self._spent[stage] += seconds
            if not settled:
                self._open[OTHERS] += 1
                self._passed_on += 1

    def _seconds_left(self) -> float:
        with self._lock:
            each = [spent / ended if ended else 0.0
                    for spent, ended in zip(self._spent, self._ended)]
            still = self._open[UNIT] * (self._passed_on / max(1, self._ended[UNIT]))
            return self._open[UNIT] * each[UNIT] + (self._open[OTHERS] + still) * (
                each[OTHERS] or self.long_run)

    @staticmethod
    def _unit(tests: list) -> list:
        unit = [test for test in tests if test.program == "unit"]
        return [unit] if unit else []

    def _rounds(self, tests: list):
        """All but the unit tests, the fastest first, in groups of one program's."""
        others = [test for test in tests if test.program != "unit"]
        for limit in ROUNDS:
            taken, spent = [], 0.0
            while others and (not taken or spent + self.reach.seconds(others[0]) <= limit):
                spent += self.reach.seconds(others[0])
                taken.append(others.pop(0))
            for name in self.programs:
                group = [test for test in taken if test.program == name]
                if group:
                    yield group

    def _check_passes_without(self, test, program, timeout: float, scratch: Path):
        """It did when its reach was recorded; what it needs may have been changed since."""
        if not program.run(self.runner, [test], {"TSPEC_MUTANT": "0"}, timeout, scratch).passed:
            raise TestBroken(f"{test.key} passed without a mutant before and fails now")

    def _run_group(self, mutant, group: list, scratch: Path):
        program = self.programs[group[0].program]
        normal = sum(self.reach.seconds(test) for test in group)
        timeout = SLOWER * normal + SPARE_SECONDS
        choice = {"TSPEC_MUTANT": str(mutant.number)}
        remaining = group
        while remaining:
            run = program.run(self.runner, remaining, choice, timeout, scratch)
            if run.passed:
                return run, None
            killer = next((t for t in remaining if t.name == run.failed_test), remaining[0])
            if killer.program == "unit":
                return run, killer
            # On a busy machine an end-to-end test may fail by itself: once more, alone.
            again = program.run(self.runner, [killer], choice, timeout, scratch)
            if not again.passed:
                self._check_passes_without(killer, program, timeout, scratch)
                return again, killer
            remaining = [t for t in remaining if t is not killer]
        return None, None
