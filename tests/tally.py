"""What a run of ctest came to, counted in tests and not in the processes that ran them.

    tally.py BUILD_FOLDER

Reads results.xml (ctest --output-junit) and what each GoogleTest process wrote into
results/. Prints what failed, with its words, and what was skipped, with the reason; the
last line is "PASSED FAILED". A process that ended without results counts as one failure.
"""

import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

MOST_LINES = 120  # of what one failure printed


def cut(text: str) -> str:
    lines = text.strip().splitlines()
    left_out = len(lines) - MOST_LINES
    if left_out > 0:
        lines = [f"({left_out} lines before these)", *lines[-MOST_LINES:]]
    return "".join(f"    {line}\n" for line in lines)


def tally_process(name: str, tests: list, skips: dict) -> tuple:
    """(passed, failed) of the tests in one process; adds names to those of their reason."""
    failed = 0
    for test in tests:
        full_name = f"{test.get('classname')}.{test.get('name')}"
        failures = test.findall("failure")
        skipped = test.find("skipped")
        if failures:
            failed += 1
            print(f"failed: {full_name} ({name})")
            print(cut("\n".join(failure.text or "" for failure in failures)), end="")
        elif skipped is not None:
            reason = (skipped.get("message") or "").strip().splitlines()
            skips.setdefault(reason[-1] if reason else "", []).append(full_name)
    return len(tests) - failed, failed


def results_of(path: Path) -> list:
    try:
        return ElementTree.parse(path).getroot().findall("testsuite/testcase")
    except (FileNotFoundError, ElementTree.ParseError):
        return []


def main(folder: Path):
    passed = failed = 0
    skips = {}
    for process in ElementTree.parse(folder / "results.xml").getroot().findall("testcase"):
        name = process.get("name")
        good = process.get("status") == "run"
        tests = [test for test in results_of(folder / "results" / f"{name}.xml")
                 if test.get("status") == "run"]
        process_passed, process_failed = tally_process(name, tests, skips)
        if not tests and good:
            process_passed = 1
        if not good and process_failed == 0:  # ended in the middle, or later
            process_failed = 1
            print(f"failed: {name}, {process.get('status')}")
            print(cut(process.findtext("system-out") or ""), end="")
        passed += process_passed
        failed += process_failed
    for reason, names in skips.items():
        more = f" and {len(names) - 1} more" if len(names) > 1 else ""
        print(f"skipped: {names[0]}{more}: {reason}")
    print(passed, failed)


main(Path(sys.argv[1]))
