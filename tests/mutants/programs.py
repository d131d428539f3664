"""The test programs: which tests they hold, and how some of them are run."""

import hashlib
import json
import os
import re
import signal
import subprocess
import threading
from dataclasses import dataclass
from pathlib import Path

# A mutant must not take the machine with it: memory and file size in KiB and 512-byte blocks.
LIMITS = "ulimit -c 0; ulimit -v 4000000; ulimit -f 400000; ulimit -t {cpu}; exec \"$@\""
# A run in the background of a script has SIGINT ignored, and tests that end a process by
# it would inherit that.
SIGNALS = ["env", "--default-signal=INT"]
LOG_TAIL = 1 << 16


@dataclass(frozen=True)
class Test:
    program: str
    name: str
    file: str  # that it is written in, relative to the checkout
    file_hash: str

    @property
    def key(self) -> str:
        return f"{self.program}:{self.name}"


@dataclass
class Run:
    """How a run of some tests ended."""

    passed: bool
    timed_out: bool = False
    failed_test: str = ""  # the first, where the output tells
    seconds: float = 0.0  # by the test's own clock, of a run of one test


class Stopped(Exception):
    """Somebody asked for the end."""


class Runner:
    """Starts the processes, each with a group of its own, and ends them all on stop()."""

    def __init__(self):
        self._running = set()
        self._lock = threading.Lock()
        self._stopped = False

    def stop(self):
        with self._lock:
            self._stopped = True
            for process in self._running:
                _kill_group(process)

    def run(self, command: list, environment: dict, timeout: float, log: Path) -> tuple:
        """(status, whether the time ran out, the end of the output)."""
        script = LIMITS.format(cpu=int(timeout) + 1)
        with open(log, "wb") as output:
            with self._lock:
                if self._stopped:
                    raise Stopped()
                process = subprocess.Popen([*SIGNALS, "/bin/sh", "-c", script, "sh", *command],
                                           env={**os.environ, **environment},
                                           stdin=subprocess.DEVNULL, stdout=output,
                                           stderr=subprocess.STDOUT, start_new_session=True)
                self._running.add(process)
            timed_out = False
            try:
                status = process.wait(timeout)
            except subprocess.TimeoutExpired:
                timed_out = True
                status = -signal.SIGKILL
            finally:
                _kill_group(process)
                process.wait()
                with self._lock:
                    self._running.discard(process)
        if self._stopped:
            raise Stopped()
        if status in (-signal.SIGXCPU, 128 + signal.SIGXCPU):
            timed_out = True
        return status, timed_out, _tail(log)


def _kill_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def _tail(path: Path) -> str:
    with open(path, "rb") as file:
        file.seek(0, os.SEEK_END)
        file.seek(max(0, file.tell() - LOG_TAIL))
        return file.read().decode(errors="replace")


def _hash_of(path: Path) -> str:
    return hashlib.sha256(path.read_bytes()).hexdigest()[:12] if path.exists() else ""


class GoogleTests:
    """A GoogleTest program. Its tests run in one process, up to the first that fails."""

    together = True

    def __init__(self, name: str, executable: Path, checkout: Path, environment: dict):
        self.name = name
        self.executable = executable
        self.checkout = checkout
        self.environment = environment

    def tests(self, scratch: Path) -> list:
        listing = scratch / f"{self.name}.json"
        subprocess.run([str(self.executable), "--gtest_list_tests",
                        f"--gtest_output=json:{listing}"], check=True,
                       stdout=subprocess.DEVNULL)
        found = []
        hashes = {}
        for suite in json.loads(listing.read_text())["testsuites"]:
            for test in suite["testsuite"]:
                name = f"{suite['name']}.{test['name']}"
                # The compiler may have been told to shorten paths.
                file = "tests/" + test["file"].rpartition("/tests/")[2]
                if file not in hashes:
                    hashes[file] = _hash_of(self.checkout / file)
                if "DISABLED_" not in name:
                    found.append(Test(self.name, name, file, hashes[file]))
        return found

    def run(self, runner: Runner, tests: list, environment: dict, timeout: float,
            scratch: Path) -> Run:
        flags = scratch / "flags"
        flags.write_text("--gtest_filter=" + ":".join(test.name for test in tests) + "\n")
        status, timed_out, output = runner.run(
            [str(self.executable), f"--gtest_flagfile={flags}", "--gtest_color=no",
             "--gtest_fail_fast", "--gtest_catch_exceptions=1"],
            {**self.environment, **environment}, timeout, scratch / "log")
        failed = re.findall(r"\[  FAILED  \] (\S+?)(?:,| \()", output)
        begun = re.findall(r"\[ RUN      \] (\S+)", output)
        spent = re.findall(r"\[       OK \] \S+ \((\d+) ms\)", output)
        ran = re.search(r"\[==========\] \d+ tests? from", output) is not None
        return Run(status == 0 and ran, timed_out,
                   failed[0] if failed else begun[-1] if begun else tests[0].name,
                   sum(map(int, spent)) / 1000)


class Scenarios:
    """The scenarios, each a process of its own."""

    together = False

    def __init__(self, executable: Path, checkout: Path, environment: dict):
        self.name = "scenario"
        self.executable = executable
        self.checkout = checkout
        self.environment = environment

    def tests(self, scratch: Path) -> list:
        return [Test(self.name, path.stem, f"scenarios/{path.name}", _hash_of(path))
                for path in sorted((self.checkout / "scenarios").glob("*.yaml"))]

    def run(self, runner: Runner, tests: list, environment: dict, timeout: float,
            scratch: Path) -> Run:
        for test in tests:
            status, timed_out, _ = runner.run(
                [str(self.executable), "run", "--no-colour", str(self.checkout / test.file)],
                {**self.environment, **environment}, timeout, scratch / "log")
            if status != 0:
                return Run(False, timed_out, test.name)
        return Run(True)
