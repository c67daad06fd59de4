# SPDX-License-Identifier: GPL-3.0-or-later
"""What all scenarios share: a private profile each, and looking at what a run left behind."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import threading

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))

# pylint: disable=wrong-import-position
from side_by_side import Test, for_each, known_failing, main  # noqa: E402,F401
import quillet_script  # noqa: E402

PROGRAM = os.environ.get("QUILLET_SCRIPT", "quillet-script")
DEMO_SERVER = os.environ.get("QUILLET_DEMO_SERVER", "quillet-demo-server")
FOLDER = pathlib.Path(os.environ.get("QUILLET_SCENARIOS") or tempfile.mkdtemp(prefix="quillet-"))

# No scenario reaches the user's own settings, contacts, mail, session bus or user manager.
os.environ["HOME"] = str(FOLDER / "home")
os.environ["XDG_CONFIG_HOME"] = str(FOLDER / "config")
os.environ["XDG_DATA_HOME"] = str(FOLDER / "share")
for variable in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"):
    os.environ.pop(variable, None)

ARTICLES = "Quillet articles.gdb"
NEWSGROUPS = "Quillet newsgroups.gdb"
PENDING_POSTS = "Quillet pending posts.gdb"
DATABASES = (ARTICLES, NEWSGROUPS, PENDING_POSTS)

CONNECT, PREFERENCES, ABOUT, CLOSE = 40008, 40009, 40010, 40001

WELCOME = "Welcome to Quillet CE!"

# In profiles of which the servers do not matter. Without any the program begins with Quick Setup.
SOME_SERVER = ("news.example.org", 119)


def file_size_limit(size):
    """A wrapper for runs in which no file can grow beyond that size: the write fails."""
    return ["prlimit", "--fsize=%d:%d" % (size, size), "env", "--ignore-signal=XFSZ"]


def remove_profile(profile):
    if profile.exists():
        for folder, _, _ in os.walk(profile):
            os.chmod(folder, 0o700)
        shutil.rmtree(profile)


class Scenario(Test):
    """One private, empty profile for every test."""

    maxDiff = None
    _filled = {}  # profiles that are filled once and copied, by name
    _filling = threading.Lock()

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

    def run_quillet(self, *arguments, hold=False, **keywords):
        """A run. One that starts by itself in a fresh profile finds a server there."""
        if not (hold or arguments or os.path.lexists(self.profile / "registry.db")):
            with quillet_script.Quillet(PROGRAM, self.profile, hold=True) as q:
                q.configure(servers=[SOME_SERVER])
        return quillet_script.Quillet(PROGRAM, self.profile, arguments, hold=hold, **keywords)

    def run_with(self, *arguments, servers=(SOME_SERVER,), groups=(), values=None, **keywords):
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
