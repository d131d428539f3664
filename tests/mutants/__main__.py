"""Mutation testing of the daemon: see script/mutants --help."""

import argparse
import os
import random
import shutil
import sys
import time
from pathlib import Path

import report
import store
from campaign import Campaign, TestBroken
from programs import GoogleTests, Runner, Scenarios
from reach import Reach
from tree import Tree, run

CHECKOUT = Path(__file__).resolve().parents[2]
TO_REACH = 95.0


def arguments():
    parser = argparse.ArgumentParser(
        prog="script/mutants",
        description="Makes small changes to src/ and sees whether the tests notice. Without "
                    "options: a sample of 200 by seed 1. Results are kept in build/mutants, so "
                    "that runs add up and one that was stopped goes on where it was.")
    parser.add_argument("--all", action="store_true", help="all mutants")
    parser.add_argument("--sample", type=int, metavar="N", help="N mutants, chosen by the seed")
    parser.add_argument("--seed", type=int, default=1, metavar="N")
    parser.add_argument("--only", action="append", metavar="FILE", default=[],
                        help="the mutants of this file or folder of src/ alone (repeatable)")
    parser.add_argument("--seconds", type=float, metavar="N",
                        help="start no mutant after this time")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1, metavar="N")
    parser.add_argument("--fresh", action="store_true", help="forget all earlier results first")
    parser.add_argument("--list", action="store_true",
                        help="list the mutants and what is known of them; run none (what builds and "
                             "recorded runs of the tests they need is made first)")
    parser.add_argument("--show", metavar="ID", help="show one mutant and its result; as --list")
    parser.add_argument("--build", type=Path, metavar="DIR",
                        help="a build of the tests to use in place of the release preset's")
    return parser.parse_args()


class Progress:
    """A line that is written over on a terminal, one a half minute elsewhere."""

    def __init__(self):
        self.terminal = sys.stdout.isatty()
        self.begin = time.monotonic()
        self.last = self.begin

    def tell(self, what: str, done: int, total: int, left=None):
        """left: seconds, where they are not those of the others so far."""
        now = time.monotonic()
        if now - self.last < (0.5 if self.terminal else 30.0) and done < total:
            return
        self.last = now
        if left is None:
            left = (now - self.begin) / done * (total - done)
        text = f"{what} {done}/{total}, {int(left // 60)} min {int(left % 60):2} s left"
        if self.terminal:
            columns = shutil.get_terminal_size().columns
            print("\r" + text[:columns - 1].ljust(columns - 1), end="", flush=True)
            if done == total:
                print()
        else:
            print(text, flush=True)


def test_programs(options, tree: Tree) -> dict:
    """Builds the tests. The unit tests are linked once more, around the mutated rooms."""
    folder = options.build or CHECKOUT / "build" / "release"
    mutated = f"-DTSPEC_MUTATED_BUILD={tree.build}"
    if options.build is None:
        run(["cmake", "--preset", "release", "-DTSPEC_BUILD_TESTS=ON", mutated], CHECKOUT)
    else:
        run(["cmake", "-B", str(folder), mutated], CHECKOUT)
    run(["cmake", "--build", str(folder), "--parallel", str(options.jobs), "--target",
         "unit_tests_mutated", "e2e_tests", "kernel_fault_tests", "differential_test",
         "tspec-sim", "tspec-sim-driver", "tspec-daemon", "tspec-cli"], CHECKOUT)
    daemon = {"TSPEC_DAEMON": str(tree.daemon)}
    programs = [
        GoogleTests("unit", folder / "bin" / "unit_tests_mutated", CHECKOUT, {}),
        Scenarios(folder / "bin" / "tspec-sim", CHECKOUT, daemon),
        GoogleTests("e2e", folder / "bin" / "e2e_tests", CHECKOUT, daemon),
        GoogleTests("faults", folder / "bin" / "kernel_fault_tests", CHECKOUT, daemon),
        GoogleTests("differential", folder / "bin" / "differential_test", CHECKOUT, daemon),
    ]
    return {program.name: program for program in programs}


def chosen(options, mutants: list) -> list:
    """In an order given by the seed, so that what a bounded run covers is a fair sample."""
    wanted = [only.removeprefix("src/").rstrip("/") for only in options.only]
    selected = [m for m in mutants
                if not wanted or any(m.file == w or m.file.startswith(w + "/") for w in wanted)]
    if not selected:
        raise SystemExit(f"mutants: none in {' '.join(options.only)}")
    selected.sort(key=lambda mutant: mutant.id)
    random.Random(options.seed).shuffle(selected)
    if options.sample:
        return selected[:options.sample]
    return selected if options.all or options.only else selected[:200]


def record_reach(options, tree: Tree, programs: dict, work: Path) -> tuple:
    """(Reach, all tests)"""
    reach = Reach(work, tree.source_hash, tree.map_size)
    tests = [test for program in programs.values() for test in program.tests(work)]
    missing = reach.missing(tests)
    if missing:
        progress = Progress()
        reach.record(programs, missing, Runner(), work, options.jobs,
                     lambda done, total: progress.tell("recording what tests reach", done, total))
    for test in tests:
        if not reach.passed(test):
            print(f"left out, as it fails without a mutant: {test.key}")
    return reach, tests


def show(mutant, result, texts: dict, explained):
    text = texts[mutant.file]
    print(f"{mutant.id}  src/{mutant.file}:{report.line_of(text, mutant)}  {mutant.function}  "
          f"{mutant.what}")
    print("\n".join(report.diff_lines(text, mutant, 3)))
    print(describe(result) if result else "has not run")
    reason = explained.reason(text, mutant)
    if reason:
        print(f"explained: {reason}")


def describe(result: dict) -> str:
    if result is None:
        return "-"
    by = f" by {result['by']} ({result['how']})" if "by" in result else ""
    return f"{result['outcome']}{by} in {result['seconds']} s"


def list_mutants(mutants: list, results: dict, texts: dict):
    for mutant in sorted(mutants, key=lambda m: (m.file, m.begin)):
        line = report.line_of(texts[mutant.file], mutant)
        print(f"{mutant.id}  src/{mutant.file}:{line}  {mutant.function}  {mutant.what}  "
              f"{describe(results.get(mutant.id))}")


def summary(mutants: list, results: dict, texts: dict, explained, work: Path) -> report.Report:
    found = report.Report()
    for mutant in sorted(mutants, key=lambda m: (m.file, m.begin)):
        if results.get(mutant.id):
            found.add(mutant, results[mutant.id], texts[mutant.file], explained)
    rows = {**found.files, "all": found.all}
    parts = [report.table(rows, "file"), "",
             report.table(dict(sorted(found.kinds.items())), "change"), ""]
    parts += [report.survivor_text(mutant, outcome, texts[mutant.file])
              for mutant, outcome in found.survivors]
    text = "\n".join(parts)
    print(text)
    (work / "report.txt").write_text(text + "\n")
    return found


def main() -> int:
    options = arguments()
    work = CHECKOUT / "build" / "mutants"
    work.mkdir(parents=True, exist_ok=True)
    results = store.Store(work / "results.jsonl")
    if options.fresh:
        results.forget()
    tree = Tree(CHECKOUT, work)
    tree.weave()
    print(f"{len(tree.mutants)} mutants in src/; building them", flush=True)
    tree.compile(options.jobs)
    programs = test_programs(options, tree)
    reach, tests = record_reach(options, tree, programs, work)
    campaign = Campaign(programs, reach, reach.by_mutant(tests), results, work)
    by_key = {test.key: test for test in tests if reach.passed(test)}
    texts = {m.file: (CHECKOUT / "src" / m.file).read_bytes() for m in tree.mutants}
    explained = report.Explained(Path(__file__).parent / "equivalent.yaml")

    def known() -> dict:
        return {m.id: results.get(m, campaign.tests_of(m), by_key) for m in tree.mutants}

    if options.show:
        mine = [m for m in tree.mutants if m.id.startswith(options.show)]
        for mutant in mine:
            show(mutant, known()[mutant.id], texts, explained)
        return 0 if mine else 2
    selected = chosen(options, tree.mutants)
    if options.list:
        list_mutants(selected, known(), texts)
        return 0
    before = known()
    waiting = [m for m in selected if before[m.id] is None]
    print(f"{len(selected)} mutants chosen, {len(selected) - len(waiting)} with a result that "
          f"holds", flush=True)
    return run_mutants(options, campaign, selected, waiting, known, texts, explained, work)


def run_mutants(options, campaign, selected, waiting, known, texts, explained, work) -> int:
    progress = Progress()
    begin = time.monotonic()
    stopped = False
    try:
        campaign.run(waiting, options.jobs, options.seconds,
                     lambda *state: progress.tell("mutants", *state),
                     {m.id for m in waiting if explained.reason(texts[m.file], m)})
    except KeyboardInterrupt:
        stopped = True
        print("\nstopped; what has run is kept")
    except TestBroken as broken:
        raise SystemExit(f"mutants: {broken}; what has run is kept") from None
    found = summary(selected, known(), texts, explained, work)
    tally = found.all
    if len(selected) > tally.total:
        print(f"{len(selected) - tally.total} of {len(selected)} mutants have not run")
    if options.all and not options.only:
        for mutant in selected:
            explained.reason(texts[mutant.file], mutant)
        for entry in explained.stale():
            print(f"explained, but no mutant any more: {entry}")
    minutes, seconds = divmod(int(time.monotonic() - begin), 60)
    print(f"{tally.killed} of {tally.total} mutants killed ({tally.share():.1f} %; "
          f"{tally.share(False):.1f} % without the {tally.explained} explained), "
          f"{minutes} min {seconds} s")
    if stopped:
        return 130
    return 0 if tally.share() >= TO_REACH else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        print("\nstopped; what has run is kept")
        sys.exit(130)
