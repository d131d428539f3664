"""What script/held, script/format and the tally of the tests say where something is wrong."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# A program that holds three places, and script/held beside it, in a network and a /tmp
# that nobody else has.
HELD = """
mount -t tmpfs tmpfs /tmp
exec python3 -c '
import socket, subprocess
port = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
port.bind(("", 57774))
name = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
name.bind("\\0tspec-cli".ljust(108, "\\0"))
path = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
path.bind("/tmp/tspec_dman_config")
raise SystemExit(subprocess.run(["script/held"]).returncode)'
"""


def run(*words, **environment):
    return subprocess.run(words, cwd=ROOT, env={**os.environ, **environment}, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


class Scripts(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def program(self, name: str, text: str):
        path = self.folder / name
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)

    def path_with_programs(self) -> str:
        return f"{self.folder}:{os.environ['PATH']}"

    def test_held_places_are_named_with_the_program(self):
        if run("script/namespaces").returncode != 0:
            self.skipTest("the kernel grants no namespaces")
        result = run("unshare", "--user", "--map-root-user", "--net", "--mount", "sh", "-c", HELD)
        self.assertEqual(result.returncode, 1, result.stdout)
        for place in ("UDP port 57774", 'the abstract name "tspec-cli"',
                      "/tmp/tspec_dman_config"):
            self.assertRegex(result.stdout, f"(?m)^{place} is held by python3, process [0-9]+$")

    def test_another_release_formats_nothing(self):
        self.program("clang-format-14", "echo clang-format version 19.1.7")
        result = run("script/format", "tests/precompiled.cpp", PATH=self.path_with_programs())
        self.assertEqual(result.returncode, 1)
        self.assertIn("clang-format 19, 14 decides", result.stdout)

    def test_a_process_that_ended_without_results_is_a_failure(self):
        (self.folder / "results").mkdir()
        (self.folder / "results.xml").write_text(
            '<testsuite><testcase name="good" status="run"/>'
            '<testcase name="shard" status="run"/>'
            '<testcase name="crashed" status="fail"><system-out>why</system-out></testcase>'
            "</testsuite>")
        (self.folder / "results" / "shard.xml").write_text(
            '<testsuites><testsuite><testcase name="A" classname="B" status="run"/>'
            '<testcase name="C" classname="B" status="run"><skipped message="x"/></testcase>'
            '<testcase name="D" classname="B" status="notrun"/></testsuite></testsuites>')
        result = run(sys.executable, "tests/tally.py", str(self.folder))
        self.assertEqual(result.stdout,
                         "failed: crashed, fail\n    why\nskipped: B.C: x\n3 1\n")


if __name__ == "__main__":
    unittest.main()
