#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The installed program where much is missing: icons, fonts, buses, languages. Usage:
surroundings_test.py BUILD-FOLDER"""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

from installed_tree import DemoServer, Home, InstalledTree, Screen, exact_environment, run

# pylint: disable=wrong-import-order
import quillet_script

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
LOCALES = ({"LC_ALL": None}, {"LC_ALL": None, "LANG": "C"}, {"LC_ALL": "POSIX"},
           {"LC_ALL": "de_DE.ISO-8859-1"}, {"LC_ALL": None, "LANG": "no.such-locale@ever"})
BYTES = b"caf\xe9 \xff\xfe"  # no text in any of them


class Surroundings(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="quillet-tree-")
        cls.addClassCleanup(folder.cleanup)
        run("cmake", "--install", BUILD, "--strip", "--prefix", folder.name)
        cls.tree = InstalledTree(folder.name)

    def assert_starts(self, home, *arguments, told="", **environment):
        """`told` is a pattern of what the toolkit says of it on standard error."""
        with self.tree.window(home, *arguments, **environment) as window:
            window.wait_until_it_answers()
            status, said = window.end(signal.SIGTERM)
        self.assertEqual(status, 0, said)
        self.assertRegex(said, "^(%s)$" % told)

    def test_without_icons(self):
        with Home() as home:
            self.assert_starts(home, XDG_DATA_DIRS="/nonexistent", XDG_DATA_HOME=str(home.path / "d"),
                               XDG_CURRENT_DESKTOP="GNOME", QT_QPA_PLATFORMTHEME="gtk3")

    def test_without_fonts(self):
        with Home() as home:
            fonts = home.path / "fonts.conf"
            fonts.write_text('<?xml version="1.0"?>\n<fontconfig/>\n', encoding="ascii")
            self.assert_starts(home, told=r"(quillet: .*[Ff]ont.*\n?)*", FONTCONFIG_FILE=str(fonts),
                               QT_QPA_FONTDIR="/nonexistent")

    def test_without_a_bus_and_a_runtime_folder(self):
        with Home() as home:
            for address in ("unix:path=/nonexistent", "nonsense", ""):
                self.assert_starts(home, told=r"quillet: QStandardPaths: XDG_RUNTIME_DIR not set.*",
                                   DBUS_SESSION_BUS_ADDRESS=address, AT_SPI_BUS_ADDRESS=address, XDG_RUNTIME_DIR=None)

    def test_its_window_comes_up_without_the_bus_of_screen_readers(self):
        with Home() as home, Screen() as screen:
            environment = {"DISPLAY": screen.display, "QT_QPA_PLATFORM": "xcb",
                           "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                           "AT_SPI_BUS_ADDRESS": "unix:path=/nonexistent"}
            with self.tree.window(home, **environment) as window:
                window.wait_until_it_answers()
                shown = run("xdotool", "search", "--sync", "--onlyvisible", "--class", "quillet",
                            env=home.environment(**environment))
                self.assertRegex(shown, r"^\d+\n")
                self.assertEqual(window.end(signal.SIGTERM)[0], 0)

    def test_in_a_locale_without_unicode_and_with_names_that_are_bytes(self):
        for locale in LOCALES:
            with Home() as home:
                self.assert_starts(home, **locale)
                folder = os.fsencode(home.path) + b"/" + BYTES
                self.assert_starts(home, b"--profile", folder, **locale)
                self.assertIn(b"registry.db", os.listdir(folder))
                self.assertIn(b"Quillet CE News", os.listdir(folder + b"/data"))
                # Nothing was made under another reading of the name.
                self.assertEqual(set(os.listdir(os.fsencode(home.path))), {b"home", b"run", BYTES})
                self.assertEqual(home.files_of_others(), set())

    def test_the_other_programs_in_such_a_locale(self):
        with Home() as home, DemoServer(BUILD) as server:
            environment = home.environment(LC_ALL="C")
            profile = os.fsencode(home.path) + b"/" + BYTES
            run(os.fsencode(self.tree.program("quillet-setup")), b"--profile", profile, b"--server",
                b"127.0.0.1", b"--port", b"%d" % server.port, b"--group", b"bench.alpha",
                b"--full-name", "\u017bo\u00eb".encode(), env=environment)
            with quillet_script.Quillet(
                    self.tree.program("quillet-script"),
                    options=(b"--profile", profile), wrapper=exact_environment(environment)) as q:
                q.connect()
                self.assertEqual(q.groups(), [("bench.alpha", "checked", "12/12")])
                self.assertEqual(q.registry("fullname"), "\u017bo\u00eb")
            self.assertEqual((q.status, q.exit_code()), (0, 0))

    def test_arguments_that_are_no_text_are_refused_by_name(self):
        for program in ("quillet", "quillet-script", "quillet-setup"):
            with Home() as home:
                done = subprocess.run([self.tree.program(program), b"--\xff\xfe"], check=False,
                                      env=home.environment(LC_ALL="C"), capture_output=True,
                                      timeout=60)
                self.assertEqual(done.returncode, 2)
                self.assertTrue(done.stderr.startswith(
                    program.encode() + b": unknown argument "), done.stderr)
                self.assertEqual(home.files(), set())


if __name__ == "__main__":
    unittest.main()
