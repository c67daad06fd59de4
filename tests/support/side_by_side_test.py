#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How a file of tests that run side by side ends, and what it says. Each test here writes one."""

import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
FILE = '''
import sys, threading
sys.path.insert(0, %r)
from side_by_side import Test, for_each, known_failing, main
class Some(Test):
%s
if __name__ == "__main__":
    main()
'''


class SideBySide(unittest.TestCase):
    def run_file(self, body, *arguments, workers=4):
        """Sets `said`; returns the exit status."""
        body = "\n".join("    " + line for line in body.strip().splitlines())
        with tempfile.NamedTemporaryFile("w", suffix=".py", encoding="utf-8") as file:
            file.write(FILE % (HERE, body))
            file.flush()
            done = subprocess.run([sys.executable, "-B", file.name, *arguments], text=True,
                                  env=dict(os.environ, QUILLET_TEST_WORKERS=str(workers)),
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.said = done.stdout
        return done.returncode

    def words(self):
        """{test: word} of the lines about tests."""
        lines = [line.split() for line in self.said.splitlines() if " s  Some." in line]
        return {line[3].removeprefix("Some.test_").rstrip(","): line[0] for line in lines}

    def test_one_failure_fails_the_file_and_is_shown(self):
        status = self.run_file("""
def test_good(self): pass
def test_wrong(self): self.assertEqual(1, 2)
def test_broken(self): raise KeyError("what")
def test_skipped(self): self.skipTest("no display")
""")
        self.assertEqual((status, self.words()), (1, {
            "good": "ok", "wrong": "FAILED", "broken": "FAILED", "skipped": "skipped"}))
        for text in ("1 != 2", "KeyError: 'what'", "no display", "4 tests, 2 failed"):
            self.assertIn(text, self.said)

    def test_a_file_without_tests_fails(self):
        self.assertEqual(self.run_file("pass"), 1)

    def test_every_case_is_a_test(self):
        status = self.run_file("""
@for_each(1, (2,), 3)
def test_odd(self, number): self.assertEqual(number % 2, 1)
@for_each((1, 2), (3, 4))
def test_pair(self, one, other): self.assertEqual(one + 1, other)
""")
        self.assertEqual((status, self.words()), (1, {
            "odd_1": "ok", "odd_2": "FAILED", "odd_3": "ok", "pair_1": "ok", "pair_2": "ok"}))
        self.assertIn("(2,)", self.said)

    def test_tests_run_at_the_same_time(self):
        body = """
meeting = threading.Barrier(2)
@for_each(1, 2)
def test_meet(self, number): self.meeting.wait(%d)
"""
        self.assertEqual(self.run_file(body % 20, workers=2), 0, self.said)
        self.assertEqual(self.run_file(body % 1, workers=1), 1, self.said)

    def test_one_that_must_be_alone_comes_last(self):
        status = self.run_file("""
others = []
@for_each(1, 2, 3)
def test_other(self, number): self.others.append(number)
class Last(Test):
    alone = True
    def test_alone(self): self.assertEqual(len(Some.others), 3)
""")
        self.assertEqual(status, 0, self.said)

    def test_a_known_failure_is_told_and_no_failure(self):
        status = self.run_file("""
@known_failing("the cure comes next")
def test_known(self): self.fail()
@for_each(1, 2)
@known_failing("both")
def test_each(self, number): self.fail()
""")
        self.assertEqual((status, self.words()),
                         (0, {"known": "known", "each_1": "known", "each_2": "known"}))
        self.assertIn("known to fail: the cure comes next", self.said)

    def test_a_known_failure_that_passes_fails(self):
        body = """
@known_failing("the cure has come")
def test_cured(self): pass
"""
        self.assertEqual((self.run_file(body), self.words()), (1, {"cured": "PASSED"}))
        self.assertIn("the cure has come", self.said)
        self.assertNotEqual(self.run_file(body, "Some.test_cured"), 0)

    def test_single_tests_by_name(self):
        body = """
def test_good(self): pass
def test_wrong(self): self.fail()
"""
        self.assertEqual(self.run_file(body, "Some.test_good"), 0)
        self.assertNotEqual(self.run_file(body, "-k", "wrong"), 0)


if __name__ == "__main__":
    unittest.main()
