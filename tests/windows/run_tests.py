#!/usr/bin/env python3
"""Runs the Windows tests, some test classes at a time, each class in a process with a display of its own.

   run_tests.py [WORD...]     only the tests whose full name contains one of the words

A skipped test counts neither as passed nor as failed. With NELTO_ARCH=x86 it is the 32-bit program that runs, and only those tests
that start a program.
"""

import concurrent.futures
import os
import subprocess
import sys
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), *(str(HERE.parents[1] / folder) for folder in ("tools", "doubles", "packaging"))]
import harness  # noqa: E402
import wine_env  # noqa: E402

RING = {"x64": "windows", "x86": "x86"}[wine_env.ARCH]
PARALLEL = 2 * os.cpu_count()  # mostly they wait for the program, and the program for its clock
CLASS_TIMEOUT = 1800


def belongs_here(test, words):
    if wine_env.ARCH == "x86" and isinstance(test, harness.FileTestCase):
        return False
    return not words or any(word in test.id() for word in words)


class Result(unittest.TextTestResult):
    passed = 0

    def addSuccess(self, test):  # noqa: N802
        super().addSuccess(test)
        self.passed += 1


def run_group(names):
    """The worker process: runs the named tests; its last line holds the two numbers."""
    wine_env.exit_on_signals()
    runner = unittest.TextTestRunner(verbosity=2, stream=sys.stdout, resultclass=Result)
    result = runner.run(unittest.defaultTestLoader.loadTestsFromNames(names))
    faults = [test for test, _ in result.failures + result.errors] + result.unexpectedSuccesses
    broken = len({getattr(test, "test_case", test) for test in faults})  # a test counts once, however many of its parts fail
    print(f"{result.passed} {broken}")


def start_group(names):
    try:
        worker = subprocess.run([sys.executable, __file__, "--group", *names], stdin=subprocess.DEVNULL, timeout=CLASS_TIMEOUT,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        output, numbers = worker.stdout.rstrip().rpartition("\n")[::2]
        passed, broken = map(int, numbers.split())
    except (subprocess.TimeoutExpired, ValueError) as fault:
        output, passed, broken = f"{names}: {fault}\n{getattr(fault, 'stdout', '') or ''}", 0, len(names)
    print(output, flush=True)
    return passed, broken


def main(words):
    if words[:1] == ["--group"]:
        return run_group(words[1:])
    classes = [tests for module in unittest.defaultTestLoader.discover(str(HERE)) for tests in module]
    groups = [[test.id() for test in tests if belongs_here(test, words)] for tests in classes]
    groups.sort(key=len, reverse=True)  # a long one at the end would run alone
    wine_env.make_template()
    with concurrent.futures.ThreadPoolExecutor(PARALLEL) as pool:
        results = list(pool.map(start_group, filter(None, groups)))
    passed, broken = (sum(numbers) for numbers in zip(*results, strict=True)) if results else (0, 0)
    print(f"{RING}: {passed} passed, {broken} failed")
    return 1 if broken or not passed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
