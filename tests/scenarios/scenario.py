"""What all scenarios share: a private profile each, and looking at what a run left behind."""

import os
import pathlib
import shutil
import sys
import unittest

import quillet_script

PROGRAM = os.environ.get("QUILLET_SCRIPT", "quillet-script")
FOLDER = pathlib.Path(os.environ.get("QUILLET_SCENARIOS", "/tmp/quillet-scenarios"))

ARTICLES = "Quillet articles.gdb"
NEWSGROUPS = "Quillet newsgroups.gdb"
PENDING_POSTS = "Quillet pending posts.gdb"
DATABASES = (ARTICLES, NEWSGROUPS, PENDING_POSTS)

CONNECT, PREFERENCES, ABOUT, CLOSE = 40008, 40009, 40010, 40001


class Scenario(unittest.TestCase):
    """One private, empty profile for every test."""

    maxDiff = None

    def setUp(self):
        self.profile = FOLDER / self.id().replace("__main__.", "")
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


def main():
    sys.exit(unittest.main(module="__main__", verbosity=2))
