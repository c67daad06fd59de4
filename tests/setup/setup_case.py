# SPDX-License-Identifier: GPL-3.0-or-later
"""What the tests of quillet-setup share. Environment: QUILLET_SETUP, QUILLET_SCRIPT (programs)."""

import os
import pathlib
import sqlite3
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "scenarios"))

# pylint: disable=wrong-import-position
import quillet_script  # noqa: E402

SETUP = os.environ["QUILLET_SETUP"]
OWN_KEY = "Software\\Brindle\\Quillet"


def texts(*entries):
    """A MULTI_SZ value."""
    return 7, ("".join(entry + "\0" for entry in entries) + "\0").encode("utf-16-le")


def numbers(*entries):
    return 3, b"".join(entry.to_bytes(4, "little") for entry in entries)


def number(entry):
    return 4, entry.to_bytes(4, "little")


def text(entry):
    return 1, (entry + "\0").encode("utf-16-le")


class SetupCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="quillet-setup-test-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.profile = self.folder / "profile"

    def run_setup(self, *arguments, **more):
        return subprocess.run([SETUP, "--profile", self.profile, *arguments], check=False,
                              capture_output=True, text=True, timeout=60, **more)

    def assert_done(self, *arguments, **more):
        done = self.run_setup(*arguments, **more)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout

    def assert_refused(self, status, problem, *arguments, **more):
        """It says so in one line (with a hint behind it for wrong arguments), and writes nothing."""
        before = self.everything()
        done = self.run_setup(*arguments, **more)
        self.assertEqual(done.stderr.splitlines()[0], "quillet-setup: " + problem, arguments)
        self.assertEqual((done.returncode, done.stdout), (status, ""), arguments)
        self.assertEqual(self.everything(), before, arguments)

    def everything(self):
        """All values of all keys of the profile: {(key, name): (type, data)}; None without one."""
        if not (self.profile / "registry.db").exists():
            return None
        with sqlite3.connect("file:%s/registry.db?mode=ro" % self.profile, uri=True) as database:
            rows = database.execute(
                "SELECT path, name, type, data FROM registry_value "
                "JOIN registry_key ON registry_key.id = registry_value.key").fetchall()
        return {(path, name): (kind, bytes(data)) for path, name, kind, data in rows}

    def values(self, key=""):
        wanted = OWN_KEY + key
        return {name: value for (path, name), value in (self.everything() or {}).items()
                if path == wanted}

    def program(self, **more):
        return quillet_script.Quillet(profile=self.profile, **more)
