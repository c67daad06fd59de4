#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What `cmake --install` puts where, and that what was installed stands on its own. Usage:
install_test.py BUILD-FOLDER REPOSITORY"""

import configparser
import os
import pathlib
import re
import shutil
import stat
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

BUILD = pathlib.Path(sys.argv.pop(1))
REPOSITORY = pathlib.Path(sys.argv.pop(1))
# Sanitizers name the sources.
SANITIZED = "\nQUILLET_SANITIZE:STRING=\n" not in (BUILD / "CMakeCache.txt").read_text()
PROGRAMS = ("quillet", "quillet-script", "quillet-setup")
ICON_SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)
PICTURES = ("threads-1280x800-light", "article-1280x800-light", "post-full-1280x800-light",
            "groups-240x320-light")
INSTALLED = {
    *("bin/" + program for program in PROGRAMS),
    *("share/man/man1/%s.1" % program for program in PROGRAMS),
    *("share/bash-completion/completions/" + program for program in PROGRAMS),
    *("share/zsh/site-functions/_" + program for program in PROGRAMS),
    *("share/fish/vendor_completions.d/%s.fish" % program for program in PROGRAMS),
    *("share/icons/hicolor/%dx%d/apps/quillet.png" % (size, size) for size in ICON_SIZES),
    "share/icons/hicolor/scalable/apps/quillet.svg",
    "share/applications/quillet.desktop",
    "share/metainfo/org.example.quillet.metainfo.xml",
    *("share/quillet/guide/%s.html" % page for page in ("user-guide", "mail", "registry")),
    "share/doc/quillet/copyright", "share/doc/quillet/COPYING",
    *("share/doc/quillet/pictures/%s.png" % picture for picture in PICTURES),
}


def run(*words, **more):
    return subprocess.run(words, check=True, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **more).stdout


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        made = cls.folder / "made here"
        run("cmake", "--install", BUILD, "--strip", "--prefix", made)
        # All that follows is true of a tree that was moved.
        cls.prefix = cls.folder / "prefix with blanks"
        shutil.move(made, cls.prefix)

    def path(self, name):
        return self.prefix / name

    def test_nothing_but_the_programs_and_what_a_desktop_needs_of_them(self):
        found = {str(path.relative_to(self.prefix)): stat.S_IMODE(path.stat().st_mode)
                 for path in self.prefix.rglob("*") if path.is_file() and "doc/quillet/guide/"
                 not in str(path)}
        self.assertEqual(set(found), INSTALLED)
        for name, mode in found.items():
            self.assertEqual(mode, 0o755 if name.startswith("bin/") else 0o644, name)

    def test_nothing_knows_where_it_was_built_or_put(self):
        for name in INSTALLED:
            if SANITIZED and name.startswith("bin/"):
                continue
            held = self.path(name).read_bytes()
            for place in (BUILD, REPOSITORY, self.folder):
                self.assertNotIn(os.fsencode(place), held, name)

    def test_the_programs_start_from_there(self):
        for program in PROGRAMS:
            said = run(self.path("bin/" + program), "--version",
                       env=dict(os.environ, QT_QPA_PLATFORM="offscreen"))
            self.assertEqual(said, program + " (Quillet CE) 1.14r3\n")

    def test_it_goes_below_another_root(self):
        root = self.folder / "root"
        run("cmake", "--install", BUILD, "--strip", "--prefix", "/opt/q",
            env=dict(os.environ, DESTDIR=str(root)))
        self.assertEqual(sorted(os.listdir(root)), ["opt"])
        self.assertTrue((root / "opt/q/bin/quillet").is_file())

    def test_documents_lead_to_the_guide(self):
        link = self.path("share/doc/quillet/guide")
        self.assertEqual(os.readlink(link), "../../quillet/guide")
        self.assertIn("<title>", (link / "user-guide.html").read_text(encoding="utf-8"))

    def test_the_desktop_entry_names_what_was_installed(self):
        path = self.path("share/applications/quillet.desktop")
        self.assertEqual(run("desktop-file-validate", path), "")
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(path, encoding="utf-8")
        self.assertEqual(entry.sections(), ["Desktop Entry"])
        names = ("Type", "Exec", "Icon", "MimeType", "StartupWMClass")
        self.assertEqual({name: entry["Desktop Entry"][name] for name in names},
                         {"Type": "Application", "Exec": "quillet %u", "Icon": "quillet",
                          "MimeType": "x-scheme-handler/news;x-scheme-handler/nntp;",
                          "StartupWMClass": "quillet"})

    def test_the_icon_is_there_in_every_size(self):
        root = xml.etree.ElementTree.parse(
            self.path("share/icons/hicolor/scalable/apps/quillet.svg")).getroot()
        self.assertEqual(root.tag, "{http://www.w3.org/2000/svg}svg")
        for size in ICON_SIZES:
            picture = self.path("share/icons/hicolor/%dx%d/apps/quillet.png" % (size, size))
            held = picture.read_bytes()
            self.assertEqual(held[:8], b"\x89PNG\r\n\x1a\n")
            self.assertEqual(struct.unpack(">II", held[16:24]), (size, size))

    def test_the_metainfo_is_valid_and_names_what_was_installed(self):
        path = self.path("share/metainfo/org.example.quillet.metainfo.xml")
        run("appstreamcli", "validate", "--no-net", "--pedantic", path)
        component = xml.etree.ElementTree.parse(path).getroot()
        self.assertEqual(component.findtext("launchable"), "quillet.desktop")
        self.assertEqual({one.text for one in component.iter("binary")}, set(PROGRAMS))
        self.assertEqual({one.text for one in component.iter("mediatype")},
                         {"x-scheme-handler/news", "x-scheme-handler/nntp"})
        self.assertEqual([one.attrib for one in component.iter("release")],
                         [{"version": "1.14r3", "date": "2026-11-22"}])
        shown = {image.text.rsplit("/", 1)[1]: (int(image.get("width")), int(image.get("height")))
                 for image in component.iter("image")}
        self.assertEqual(set(shown), {name + ".png" for name in PICTURES})
        for name, size in shown.items():
            held = self.path("share/doc/quillet/pictures/" + name).read_bytes()
            self.assertEqual(struct.unpack(">II", held[16:24]), size, name)

    def test_man_shows_the_pages(self):
        for program in PROGRAMS:
            page = self.path("share/man/man1/%s.1" % program)
            self.assertEqual(run("mandoc", "-Tlint", "-Wwarning", page), "")
            shown = run("man", "--warnings", "-l", page,
                        env=dict(os.environ, LC_ALL="C.UTF-8", MANPAGER="cat", MANWIDTH="80",
                                 MAN_KEEP_FORMATTING=""))
            self.assertIn(program + " - offline newsreader", " ".join(shown.split()))
            self.assertIn("Quillet CE 1.14r3", shown)
            told = run(self.path("bin/" + program), "--help").split("\n\n")[0]
            self.assertEqual(re.search("SYNOPSIS\n(.*?)\n\n", shown, re.DOTALL)[1].split(),
                             told.removeprefix("Usage: ").split())


if __name__ == "__main__":
    unittest.main()
