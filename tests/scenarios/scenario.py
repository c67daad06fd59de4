"""What all scenarios share: a private profile each, and looking at what a run left behind."""

import concurrent.futures
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import quillet_script

PROGRAM = os.environ.get("QUILLET_SCRIPT", "quillet-script")
DEMO_SERVER = os.environ.get("QUILLET_DEMO_SERVER", "quillet-demo-server")
# Inherited by the processes that run single scenarios.
FOLDER = pathlib.Path(os.environ.get("QUILLET_SCENARIOS") or tempfile.mkdtemp(prefix="quillet-"))

os.environ["QUILLET_SCENARIOS"] = str(FOLDER)

# No scenario reaches the user's own settings, session bus or user manager.
os.environ["XDG_CONFIG_HOME"] = str(FOLDER / "config")
for variable in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"):
    os.environ.pop(variable, None)

WORKERS = int(os.environ.get("QUILLET_SCENARIO_WORKERS", "6"))

ARTICLES = "Quillet articles.gdb"
NEWSGROUPS = "Quillet newsgroups.gdb"
PENDING_POSTS = "Quillet pending posts.gdb"
DATABASES = (ARTICLES, NEWSGROUPS, PENDING_POSTS)

CONNECT, PREFERENCES, ABOUT, CLOSE = 40008, 40009, 40010, 40001


class Scenario(unittest.TestCase):
    """One private, empty profile for every test."""

    maxDiff = None

    def setUp(self):
        self.use_profile("")

    def use_profile(self, name):
        """From now on a fresh profile of that name is used."""
        self.profile = FOLDER / (self.id().replace("__main__.", "") + name)
        if self.profile.exists():
            for folder, _, _ in os.walk(self.profile):
                os.chmod(folder, 0o700)
            shutil.rmtree(self.profile)
        self.profile.parent.mkdir(parents=True, exist_ok=True)

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


def test_ids(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from test_ids(test)
        else:
            yield test.id().removeprefix("__main__.")


def run_one(test_id):
    done = subprocess.run([sys.executable, "-B", sys.argv[0], test_id], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False)
    return test_id, done.returncode, done.stdout.decode("utf-8", "replace")


def main():
    """Runs the named scenarios, or all of the file at the same time: they mostly wait."""
    if len(sys.argv) > 1:
        unittest.main(module="__main__", verbosity=2)
    ids = list(test_ids(unittest.defaultTestLoader.loadTestsFromModule(sys.modules["__main__"])))
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=WORKERS) as pool:
        for test_id, status, output in pool.map(run_one, ids):
            print("%s %s" % ("ok    " if status == 0 else "FAILED", test_id), flush=True)
            if status != 0:
                failed += 1
                print(output, flush=True)
    print("%d scenarios, %d failed" % (len(ids), failed))
    sys.exit(1 if failed or not ids else 0)
