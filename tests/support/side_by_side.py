# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs the tests of a file side by side: for tests that mostly wait for another program.

All tests of the file run on threads of one process, so each needs folders, ports and displays of
its own. What takes minutes one after the other is written with `for_each`.
"""

import concurrent.futures
import functools
import os
import sys
import time
import unittest

WORKERS = int(os.environ.get("QUILLET_TEST_WORKERS", "12"))


def for_each(*cases):
    """Makes one test of every case: test_x becomes test_x_1, test_x_2... A case is the test's
    argument, a tuple all of its arguments."""
    def mark(test):
        test.cases = [case if isinstance(case, tuple) else (case,) for case in cases]
        return test
    return mark


def known_failing(reason):
    """Marks a test that fails until something is cured: its failure is expected and told with the
    reason; that it passes is an error, so that the mark goes with the cure."""
    def mark(test):
        test.known_failing = reason
        return unittest.expectedFailure(test)
    return mark


class Test(unittest.TestCase):
    """A test case whose methods may be marked with `for_each`. Those of a class with `alone` run one
    by one when all others are through."""

    alone = False

    def __init_subclass__(cls, **keywords):
        super().__init_subclass__(**keywords)
        for name, test in list(vars(cls).items()):
            cases = getattr(test, "cases", ())
            for number, case in enumerate(cases, start=1):
                setattr(cls, "%s_%d" % (name, number), _test_of(test, case))
            if cases:
                delattr(cls, name)


def _test_of(test, case):
    @functools.wraps(test)
    def run(self):
        with self.subTest(case):
            test(self, *case)
    return run


def _all_tests(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from _all_tests(test)
        else:
            yield test


def _run_one(test):
    result = unittest.TestResult()
    started = time.monotonic()
    test.run(result)
    return test, result, time.monotonic() - started


def _tell(test, result, seconds):
    """One line about a test, and all that is known about one that failed."""
    word, remark = "ok" if result.wasSuccessful() else "FAILED", ""
    if result.expectedFailures or result.unexpectedSuccesses:
        word = "known" if result.expectedFailures else "PASSED"
        remark = ", known to fail: " + getattr(test, test._testMethodName).known_failing
    elif result.skipped:
        word, remark = "skipped", ", " + result.skipped[0][1]
    print("%-7s %5.1f s  %s%s" % (word, seconds, test.id().removeprefix("__main__."), remark))
    for failed, report in result.errors + result.failures:
        print("%s\n%s" % (failed, report))  # it names the case
    sys.stdout.flush()


def _run_all(tests):
    """(test, result, seconds) of each, in their order."""
    with concurrent.futures.ThreadPoolExecutor(max_workers=WORKERS) as pool:
        yield from pool.map(_run_one, [test for test in tests if not test.alone])
    yield from map(_run_one, [test for test in tests if test.alone])


def main():
    """Runs the tests named as arguments one by one, or all of the file side by side."""
    if len(sys.argv) > 1:
        unittest.main(module="__main__", verbosity=2)
    tests = list(_all_tests(unittest.defaultTestLoader.loadTestsFromModule(sys.modules["__main__"])))
    failed = 0
    for test, result, seconds in _run_all(tests):
        _tell(test, result, seconds)
        failed += not result.wasSuccessful()
    print("%d tests, %d failed" % (len(tests), failed))
    sys.exit(1 if failed or not tests else 0)
