"""The mutation tool on a source of a few lines, whose mutants can be counted by hand."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))

import changes  # noqa: E402
import places  # noqa: E402
import report  # noqa: E402
import store  # noqa: E402
import syntax  # noqa: E402
import weave  # noqa: E402
from campaign import Campaign, TestBroken  # noqa: E402
from programs import Run, Test  # noqa: E402

HERE = Path(__file__).resolve().parent

SOURCE = b"""\
#include <cstdio>
#define PORT 7
#define SAY(text, number) do { std::printf(text, number); } while (false)

static constexpr int SIZE = 3;
static constexpr const char *NAMES[] = {"one"};
static_assert(SIZE == 3);

static int calls = 0;

static bool small(int value)
{
    return value < SIZE;
}

int main()
{
    int table[SIZE] = {4, 5, 6};
    calls += 1;
    if (small(2) && !small(3)) {
        SAY("%d small\\n", calls);
    }
    switch (table[0]) {
    case 4:
        std::puts(NAMES[0]);
        break;
    default:
        break;
    }
    std::printf("%d %d\\n", PORT, -1);
}
"""

EXPECTED = [
    ("text altered", b'"one"', b'"ooe"'),
    ("constant off by one", b"0", b"1"),
    ("comparison turned", b"value < SIZE", b"value <= SIZE"),
    ("comparison turned", b"value < SIZE", b"value >= SIZE"),
    ("constant off by one", b"SIZE", b"decltype(SIZE)(SIZE + 1)"),
    ("constant off by one", b"4", b"5"),
    ("constant off by one", b"4", b"3"),
    ("constant off by one", b"5", b"6"),
    ("constant off by one", b"5", b"4"),
    ("constant off by one", b"6", b"7"),
    ("constant off by one", b"6", b"5"),
    ("statement dropped", b"calls += 1;", b";"),
    ("operator swapped", b"calls += 1", b"calls -= 1"),
    ("constant off by one", b"1", b"2"),
    ("constant off by one", b"1", b"0"),
    ("operator swapped", b"small(2) && !small(3)", b"small(2) || !small(3)"),
    ("condition dropped", b"small(2) && !small(3)", b"!!(small(2))"),
    ("condition dropped", b"small(2) && !small(3)", b"!!(!small(3))"),
    ("constant off by one", b"2", b"3"),
    ("constant off by one", b"2", b"1"),
    ("condition negated", b"!small(3)", b"!!(small(3))"),
    ("constant off by one", b"3", b"4"),
    ("constant off by one", b"3", b"2"),
    ("statement dropped", b'SAY("%d small\\n", calls);', b";"),
    ("text altered", b'"%d small\\n"', b'"%d smbll\\n"'),
    ("constant off by one", b"0", b"1"),
    ("statement dropped", b"std::puts(NAMES[0]);", b";"),
    ("constant off by one", b"0", b"1"),
    ("statement dropped", b"break;", b";"),
    ("statement dropped", b'std::printf("%d %d\\n", PORT, -1);', b";"),
    ("text altered", b'"%d %d\\n"', b'"%d_%d\\n"'),
    ("constant off by one", b"PORT", b"PORT + 1"),
    ("constant off by one", b"-1", b"-2"),
    ("constant off by one", b"-1", b"-0"),
]


def found_in(source: bytes):
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "tiny.cpp"
        path.write_bytes(source)
        return places.find_places(
            Path(folder), "tiny.cpp",
            ["-std=c++20", "-resource-dir", syntax.resource_directory()])


def numbered(found):
    mutants = weave.woven_mutants(found)
    for number, mutant in enumerate(mutants, 1):
        mutant.number = number
    return mutants


class Places(unittest.TestCase):
    def test_every_change_of_a_small_source(self):
        mutants = weave.woven_mutants(found_in(SOURCE))
        actual = [(m.what, SOURCE[m.begin:m.end], m.replacement) for m in mutants]
        self.assertCountEqual(actual, EXPECTED)

    def test_identity_is_that_of_the_function(self):
        moved = SOURCE.replace(b"static int calls", b"// A line more.\nstatic int calls")
        other = SOURCE.replace(b"value < SIZE", b"value < SIZE + 1")

        def ids(source, function):
            return {m.id for m in found_in(source).mutants if m.function == function}

        self.assertEqual(ids(SOURCE, "small"), ids(moved, "small"))
        self.assertTrue(ids(SOURCE, "small").isdisjoint(ids(other, "small")))
        self.assertEqual(ids(SOURCE, "main"), ids(other, "main"))


class Woven(unittest.TestCase):
    def test_a_number_chooses_the_mutant_and_its_place_is_recorded(self):
        found = found_in(SOURCE)
        mutants = numbered(found)
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            runtime = (HERE / "runtime.inc").read_bytes().replace(b"TSPEC_MUTANTS_SIZE", b"4096")
            (folder / "tiny.cpp").write_bytes(weave.weave(found, "tiny.cpp") + runtime)
            (folder / "mutant_runtime.h").write_bytes((HERE / "runtime.h").read_bytes())
            subprocess.run(["c++", "-std=c++20", "-w", "-I", name, "-o", f"{name}/tiny",
                            f"{name}/tiny.cpp"], check=True)

            def run(number, **more):
                return subprocess.run([f"{name}/tiny"], stdout=subprocess.PIPE, check=False,
                                      env={"TSPEC_MUTANT": str(number), **more}).stdout

            original = b"1 small\none\n7 -1\n"
            self.assertEqual(run(0), original)

            def of(text, replacement):
                return next(m.number for m in mutants
                            if (SOURCE[m.begin:m.end], m.replacement) == (text, replacement))

            self.assertEqual(run(of(b'"one"', b'"ooe"')), b"1 small\nooe\n7 -1\n")
            self.assertEqual(run(of(b"calls += 1", b"calls -= 1")), b"-1 small\none\n7 -1\n")
            self.assertEqual(run(of(b"value < SIZE", b"value >= SIZE")), b"one\n7 -1\n")
            self.assertEqual(run(of(b"PORT", b"PORT + 1")), b"1 small\none\n8 -1\n")
            self.assertEqual(run(of(b"std::puts(NAMES[0]);", b";")), b"1 small\n7 -1\n")

            marks = folder / "marks"
            marks.write_bytes(bytes(4096))
            self.assertEqual(run(0, TSPEC_MUTANTS_REACHED=str(marks)), original)
            reached = marks.read_bytes()
            self.assertEqual(reached[of(b"break;", b";")], 1)
            self.assertEqual(sum(reached), len(mutants))


class Changes(unittest.TestCase):
    def test_numbers(self):
        self.assertEqual(changes.off_by_one(b"0"), [b"1"])
        self.assertEqual(changes.off_by_one(b"0x1eU"), [b"31U", b"29U"])
        self.assertEqual(changes.off_by_one(b"017"), [b"16", b"14"])
        self.assertEqual(changes.off_by_one(b"1.5"), [])

    def test_texts(self):
        self.assertEqual(changes.altered_text(b'"z"'), b'"y"')
        self.assertEqual(changes.altered_text(b'"%s:%2.2x\\r\\n"'), b'"%s_%2.2x\\r\\n"')
        self.assertEqual(changes.altered_text(b'"ab" "cd"'), b'"ab" "dd"')
        self.assertIsNone(changes.altered_text(b'"%d"'))


class FakeProgram:
    def __init__(self, name, kills):
        self.name = name
        self.kills = kills  # (number, test) -> how many of its runs fail
        self.runs = []

    def run(self, runner, tests, environment, timeout, scratch):
        number = int(environment["TSPEC_MUTANT"])
        self.runs.append((number, [test.name for test in tests]))
        for test in tests:
            left = self.kills.get((number, test.name), 0)
            if left > 0:
                self.kills[(number, test.name)] = left - 1
                return Run(False, False, test.name)
        return Run(True)


class FakeReach:
    def seconds(self, test):
        return float(test.name[1:])


class Runs(unittest.TestCase):
    def run_campaign(self, unit, e2e, tests):
        found = found_in(SOURCE)
        mutants = numbered(found)[:1]
        with tempfile.TemporaryDirectory() as name:
            results = store.Store(Path(name) / "results.jsonl")
            campaign = Campaign({"unit": unit, "e2e": e2e}, FakeReach(), {1: tests}, results,
                                Path(name))
            told = []
            campaign.run(mutants, 2, None, lambda *at: told.append(at))
            self.assertEqual([state[:2] for state in told], [(1, 1)])
            by_key = {test.key: test for test in tests}
            again = store.Store(Path(name) / "results.jsonl")
            return again.get(mutants[0], tests, by_key), again, mutants[0]

    def test_unit_tests_come_first_and_the_first_kill_ends_it(self):
        unit, e2e = FakeProgram("unit", {(1, "u2"): 9}), FakeProgram("e2e", {})
        tests = [Test("e2e", "t1", "e", "h"), Test("unit", "u2", "u", "h")]
        result, _, _ = self.run_campaign(unit, e2e, tests)
        self.assertEqual((result["outcome"], result["by"]), (store.KILLED, "unit:u2"))
        self.assertEqual(e2e.runs, [])

    def test_the_others_follow_in_rounds(self):
        unit, e2e = FakeProgram("unit", {}), FakeProgram("e2e", {(1, "t3"): 9})
        tests = [Test("e2e", f"t{n}", "e", "h") for n in (1, 2, 3, 99)]
        result, _, _ = self.run_campaign(unit, e2e, tests)
        self.assertEqual(result["by"], "e2e:t3")
        self.assertEqual(e2e.runs, [(1, ["t1"]), (1, ["t2"]), (1, ["t3"]), (1, ["t3"]), (0, ["t3"])])

    def test_a_failure_that_does_not_come_again_kills_nothing(self):
        e2e = FakeProgram("e2e", {(1, "t1"): 1})
        result, _, _ = self.run_campaign(FakeProgram("unit", {}), e2e,
                                         [Test("e2e", "t1", "e", "h")])
        self.assertEqual(result["outcome"], store.SURVIVED)

    def test_a_test_that_fails_without_a_mutant_too_kills_nothing(self):
        e2e = FakeProgram("e2e", {(1, "t1"): 9, (0, "t1"): 9})
        with self.assertRaises(TestBroken):
            self.run_campaign(FakeProgram("unit", {}), e2e, [Test("e2e", "t1", "e", "h")])

    def test_what_passed_the_unit_tests_goes_on_from_there(self):
        unit, e2e = FakeProgram("unit", {}), FakeProgram("e2e", {(1, "t1"): 9})
        tests = [Test("e2e", "t1", "e", "h"), Test("unit", "u2", "u", "h")]
        mutants = numbered(found_in(SOURCE))[:1]
        with tempfile.TemporaryDirectory() as name:
            results = store.Store(Path(name) / "results.jsonl")
            results.put(mutants[0], store.HALFWAY, tests)
            self.assertIsNone(results.get(mutants[0], tests, {}))
            campaign = Campaign({"unit": unit, "e2e": e2e}, FakeReach(), {1: tests}, results,
                                Path(name))
            campaign.run(mutants, 1, None, lambda *state: None)
            self.assertEqual(results.get(mutants[0], tests, {tests[0].key: tests[0]})["by"],
                             "e2e:t1")
        self.assertEqual(unit.runs, [])

    def test_without_a_test_it_is_not_reached(self):
        result, _, _ = self.run_campaign(FakeProgram("unit", {}), FakeProgram("e2e", {}), [])
        self.assertEqual(result["outcome"], store.UNREACHED)

    def test_results_hold_while_the_tests_are_the_same(self):
        kept = Test("unit", "u1", "u", "h")
        changed = Test("unit", "u1", "u", "other")
        _, results, mutant = self.run_campaign(FakeProgram("unit", {(1, "u1"): 9}),
                                               FakeProgram("e2e", {}), [kept])
        added = Test("unit", "u9", "v", "h")
        self.assertIsNotNone(results.get(mutant, [kept, added], {kept.key: kept}))
        self.assertIsNone(results.get(mutant, [changed], {changed.key: changed}))
        _, results, mutant = self.run_campaign(FakeProgram("unit", {}), FakeProgram("e2e", {}),
                                               [kept])
        self.assertIsNotNone(results.get(mutant, [kept], {}))
        self.assertIsNone(results.get(mutant, [kept, added], {}))


class Reports(unittest.TestCase):
    def test_an_explanation_holds_wherever_the_function_stands(self):
        listed = ("- file: tiny.cpp\n  function: small\n  reason: for the test\n  changes:\n"
                  "    - |-\n      -return value < SIZE;\n      +return value <= SIZE;\n")
        moved = b"// A line more.\n" + SOURCE
        with tempfile.NamedTemporaryFile("w", suffix=".yaml", delete=False) as file:
            file.write(listed)
        self.addCleanup(os.unlink, file.name)
        for source in (SOURCE, moved):
            explained = report.Explained(Path(file.name))
            self.assertEqual(len(explained.stale()), 1)
            found = report.Report()
            for mutant in weave.woven_mutants(found_in(source)):
                found.add(mutant, {"outcome": store.SURVIVED}, source, explained)
            self.assertEqual(found.all.explained, 1)
            self.assertEqual(found.all.survived, len(EXPECTED) - 1)
            self.assertEqual(explained.stale(), [])

    def test_a_survivor_is_shown_as_a_diff(self):
        mutant = next(m for m in weave.woven_mutants(found_in(SOURCE))
                      if m.replacement == b"value <= SIZE")
        text = report.survivor_text(mutant, store.SURVIVED, SOURCE)
        self.assertEqual(text.splitlines()[1:],
                         ["    -    return value < SIZE;", "    +    return value <= SIZE;"])
        self.assertIn("src/tiny.cpp:13  small  comparison turned, survived", text)


if __name__ == "__main__":
    unittest.main()
