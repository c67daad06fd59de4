"""What all scenarios share: a private profile each, and looking at what a run left behind.

A scenario mostly waits for the program, so the scenarios of a file run side by side on threads of
one process. What takes minutes one after the other is written with `for_each`.
"""

import concurrent.futures
import functools
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import quillet_script

PROGRAM = os.environ.get("QUILLET_SCRIPT", "quillet-script")
DEMO_SERVER = os.environ.get("QUILLET_DEMO_SERVER", "quillet-demo-server")
FOLDER = pathlib.Path(os.environ.get("QUILLET_SCENARIOS") or tempfile.mkdtemp(prefix="quillet-"))

# No scenario reaches the user's own settings, session bus or user manager.
os.environ["XDG_CONFIG_HOME"] = str(FOLDER / "config")
for variable in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"):
    os.environ.pop(variable, None)

WORKERS = int(os.environ.get("QUILLET_SCENARIO_WORKERS", "12"))

ARTICLES = "Quillet articles.gdb"
NEWSGROUPS = "Quillet newsgroups.gdb"
PENDING_POSTS = "Quillet pending posts.gdb"
DATABASES = (ARTICLES, NEWSGROUPS, PENDING_POSTS)

CONNECT, PREFERENCES, ABOUT, CLOSE = 40008, 40009, 40010, 40001


def for_each(*cases):
    """Makes one scenario of every case: test_x becomes test_x_1, test_x_2..., side by side and with
    a profile each. A case is the test's argument, a tuple all of its arguments."""
    def mark(test):
        test.cases = [case if isinstance(case, tuple) else (case,) for case in cases]
        return test
    return mark


def known_failing(reason):
    """Marks a scenario that fails until something is cured: its failure is expected and told with
    the reason; that it passes is an error, so that the mark goes with the cure."""
    def mark(test):
        test.known_failing = reason
        return unittest.expectedFailure(test)
    return mark


def scenario_of(test, case):
    @functools.wraps(test)
    def run(self):
        with self.subTest(case):
            test(self, *case)
    return run


def file_size_limit(size):
    """A wrapper for runs in which no file can grow beyond that size: the write fails."""
    return ["prlimit", "--fsize=%d:%d" % (size, size), "env", "--ignore-signal=XFSZ"]


def remove_profile(profile):
    if profile.exists():
        for folder, _, _ in os.walk(profile):
            os.chmod(folder, 0o700)
        shutil.rmtree(profile)


class Scenario(unittest.TestCase):
    """One private, empty profile for every test."""

    maxDiff = None
    _filled = {}  # profiles that are filled once and copied, by name
    _filling = threading.Lock()

    def __init_subclass__(cls, **keywords):
        super().__init_subclass__(**keywords)
        for name, test in list(vars(cls).items()):
            cases = getattr(test, "cases", ())
            for number, case in enumerate(cases, start=1):
                setattr(cls, "%s_%d" % (name, number), scenario_of(test, case))
            if cases:
                delattr(cls, name)

    def setUp(self):
        self.use_profile("")

    def use_profile(self, name):
        """From now on a fresh profile of that name is used."""
        self.profile = FOLDER / (self.id().replace("__main__.", "") + name)
        remove_profile(self.profile)
        self.profile.parent.mkdir(parents=True, exist_ok=True)

    def use_filled_profile(self, name, fill):
        """The profile is a copy of the one that `fill` made when this name was first asked for."""
        own = self.profile
        with self._filling:
            if name not in self._filled:
                self.profile = FOLDER / "filled" / name
                remove_profile(self.profile)
                fill()
                self._filled[name] = self.profile
        self.profile = own
        shutil.copytree(self._filled[name], own)

    @property
    def news_folder(self):
        return self.profile / "data" / "Quillet CE News"

    def run_quillet(self, *arguments, **keywords):
        return quillet_script.Quillet(PROGRAM, self.profile, arguments, **keywords)

    def run_with(self, *arguments, servers=(), groups=(), values=None, **keywords):
        """A run that starts with these servers, groups and registry values."""
        q = self.run_quillet(*arguments, hold=True, **keywords)
        q.configure(servers=servers, groups=groups, **(values or {}))
        q.start()
        return q

    def start_expecting(self, prefix, answer, *more):
        """A run that asks this question when it starts."""
        q = self.run_quillet(hold=True)
        q.expect(prefix, answer, *more)
        q.start()
        return q

    def prepare(self, **keywords):
        """Starts and ends the program once with a configuration: the profile is then complete."""
        with self.run_with(**keywords) as q:
            q.do("wait")
        self.assertEqual(q.status, 0, q.events)

    def assert_silent(self, q):
        """Nothing was shown that had to be answered."""
        self.assertEqual(q.boxes(), [])

    def assert_fine(self, q):
        self.assertEqual((q.status, q.failure(), q.errors()), (0, None, ""))

    def read_back(self):
        """{name: (type, value, hex)} of the profile's registry, without starting the program."""
        with self.run_quillet(hold=True) as q:
            dump = q.registry_dump()
        self.assert_fine(q)
        return dump


def all_tests(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from all_tests(test)
        else:
            yield test


def run_one(test):
    result = unittest.TestResult()
    started = time.monotonic()
    test.run(result)
    return test, result, time.monotonic() - started


def tell(test, result, seconds):
    """One line about a scenario, and all that is known about one that failed."""
    word = "ok" if result.wasSuccessful() else "FAILED"
    remark = ""
    if result.expectedFailures or result.unexpectedSuccesses:
        remark = ": " + getattr(test, test._testMethodName).known_failing
        word = "known" if result.expectedFailures else "PASSED"
    elif result.skipped:
        word, remark = "skipped", ": " + result.skipped[0][1]
    print("%-7s %5.1f s  %s%s" % (word, seconds, test.id().removeprefix("__main__."), remark))
    for _, report in result.errors + result.failures:
        print(report)
    sys.stdout.flush()


def main():
    """Runs the scenarios named as arguments one by one, or all of the file side by side."""
    if len(sys.argv) > 1:
        unittest.main(module="__main__", verbosity=2)
    tests = list(all_tests(unittest.defaultTestLoader.loadTestsFromModule(sys.modules["__main__"])))
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=WORKERS) as pool:
        for test, result, seconds in pool.map(run_one, tests):
            tell(test, result, seconds)
            failed += not result.wasSuccessful()
    print("%d scenarios, %d failed" % (len(tests), failed))
    sys.exit(1 if failed or not tests else 0)
