#!/usr/bin/python3
"""What `cmake --install` puts where. Usage: install_test.py BUILD-FOLDER"""

import configparser
import os
import pathlib
import stat
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

BUILD = pathlib.Path(sys.argv.pop(1))
INSTALLED = {
    "bin/quillet": 0o755,
    "share/applications/quillet.desktop": 0o644,
    "share/icons/hicolor/scalable/apps/quillet.svg": 0o644,
    "share/man/man1/quillet.1": 0o644,
}


def run(*words, **more):
    return subprocess.run(words, check=True, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **more).stdout


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.prefix = pathlib.Path(folder.name) / "prefix with blanks"
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)

    def path(self, name):
        return self.prefix / name

    def test_nothing_but_the_program_and_what_a_desktop_needs_of_it(self):
        found = {str(path.relative_to(self.prefix)): stat.S_IMODE(path.stat().st_mode)
                 for path in self.prefix.rglob("*") if path.is_file()}
        self.assertEqual(found, INSTALLED)

    def test_the_program_starts_from_there(self):
        said = run(self.path("bin/quillet"), "--version",
                   env=dict(os.environ, QT_QPA_PLATFORM="offscreen"))
        self.assertEqual(said, "quillet (Quillet CE) 1.14r3\n")

    def test_the_desktop_entry_names_what_was_installed(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.path("share/applications/quillet.desktop"), encoding="utf-8")
        self.assertEqual(entry.sections(), ["Desktop Entry"])
        self.assertEqual({name: entry["Desktop Entry"][name] for name in ("Type", "Exec", "Icon")},
                         {"Type": "Application", "Exec": "quillet", "Icon": "quillet"})

    def test_the_icon_is_a_picture(self):
        root = xml.etree.ElementTree.parse(
            self.path("share/icons/hicolor/scalable/apps/quillet.svg")).getroot()
        self.assertEqual(root.tag, "{http://www.w3.org/2000/svg}svg")

    def test_man_shows_the_page(self):
        shown = run("man", "--warnings", "-l", self.path("share/man/man1/quillet.1"),
                    env=dict(os.environ, LC_ALL="C.UTF-8", MANPAGER="cat", MANWIDTH="200",
                             MAN_KEEP_FORMATTING=""))
        self.assertIn("quillet - offline newsreader", shown)
        self.assertIn("Quillet CE 1.14r3", shown)


if __name__ == "__main__":
    unittest.main()
