#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The Debian package: made, checked, installed into a fresh root, used there, removed without a trace.
Nothing is asked of the network, and an ordinary user may run it. Usage: package_test.py BUILD-FOLDER

Of this machine's packages dpkg is told only that they are installed, so that it looks after the
dependencies; everything else happens below temporary folders.
"""

import gzip
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

from installed_tree import DemoServer, Home, InstalledTree, run

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
DEPENDS = {"libgdbm6", "libc6", "libgmime-3.0-0", "libqt6core6", "libqt6gui6", "libqt6svg6",
           "libqt6widgets6", "libsqlite3-0", "libssl3", "libstdc++6", "libsystemd0", "libxcb1"}
RECOMMENDS = {"ca-certificates", "libbz2-1.0", "libsecret-1-0", "qt6-wayland", "xdg-utils"}
SUGGESTS = {"default-mta", "mail-transport-agent", "fonts-noto-core", "fonts-noto-cjk",
            "fonts-noto-color-emoji", "gnome-keyring", "gss-ntlmssp", "msmtp", "network-manager"}


class Root:
    """A folder that dpkg takes for the root of a machine with this one's packages, but for some."""

    def __init__(self, folder, without=()):
        self.path = pathlib.Path(folder)
        self.admin = self.path / "var/lib/dpkg"
        (self.admin / "info").mkdir(parents=True)
        (self.admin / "updates").mkdir()
        without = {"quillet", *without}
        listed = run("dpkg-query", "-W", "-f", "${Package} ${binary:Package}\\n").split("\n")
        for name, list_name in (line.split() for line in listed if line):
            if name not in without:
                (self.admin / "info" / (list_name + ".list")).write_text("/.\n")
        stanzas = pathlib.Path("/var/lib/dpkg/status").read_text(encoding="utf-8").split("\n\n")
        names = [re.match(r"\s*Package: (.*)", stanza) for stanza in stanzas]
        kept = [stanza for name, stanza in zip(names, stanzas) if name and name[1] not in without]
        (self.admin / "status").write_text("\n\n".join(kept) + "\n\n", encoding="utf-8")

    def dpkg(self, *words):
        """(exit status, what was said)."""
        path = os.environ["PATH"] + ":/usr/sbin:/sbin"
        done = subprocess.run(
            ["fakeroot", "dpkg", "--root", self.path, "--log", "/dev/null", *words], check=False,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120,
            env=dict(os.environ, PATH=path, LC_ALL="C.UTF-8"))
        return done.returncode, done.stdout

    def files(self):
        """All that is below the root but the notes of dpkg."""
        return {str(path.relative_to(self.path)) for path in self.path.rglob("*")
                if self.admin not in path.parents}


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="quillet-package-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        run("cpack", "-G", "DEB", "--config", BUILD / "CPackConfig.cmake", "-B", cls.folder / "made",
            "-D", "CPACK_DEBIAN_COMPRESSION_TYPE=gzip", cwd=BUILD)
        cls.package, = (cls.folder / "made").glob("quillet_*.deb")
        cls.root = Root(cls.folder / "root")
        cls.before = cls.root.files()
        cls.installed = cls.root.dpkg("--install", cls.package)

    def field(self, name):
        return run("dpkg-deb", "-f", self.package, name).strip()

    def packages_of(self, name):
        return {re.match(r"[a-z0-9.+-]+", word.strip())[0]
                for word in re.split("[,|]", self.field(name))}

    def test_the_package_is_named_by_its_version(self):
        architecture = run("dpkg", "--print-architecture").strip()
        self.assertEqual(self.package.name, "quillet_1.14r3_%s.deb" % architecture)
        self.assertEqual((self.field("Package"), self.field("Version"), self.field("Section")),
                         ("quillet", "1.14r3", "news"))

    def test_what_it_depends_on(self):
        # A build for tests may need the libraries of its instruments too.
        self.assertEqual(DEPENDS - self.packages_of("Depends"), set())
        self.assertEqual(self.packages_of("Recommends"), RECOMMENDS)
        self.assertEqual(self.packages_of("Suggests"), SUGGESTS)

    def test_lintian_finds_nothing(self):
        found = subprocess.run(["lintian", "--fail-on", "error,warning", "--tag-display-limit", "0",
                                self.package], check=False, stdout=subprocess.PIPE, text=True,
                               stderr=subprocess.DEVNULL, timeout=120)
        self.assertEqual((found.returncode, found.stdout), (0, ""))

    def test_its_files_belong_to_root_and_lie_below_usr(self):
        listed = run("dpkg-deb", "-c", self.package).splitlines()
        self.assertGreater(len(listed), 50)
        for line in listed:
            mode, owner, _, _, _, name = line.split(None, 5)
            self.assertEqual(owner, "root/root", line)
            self.assertRegex(name, r"^\./usr/")
            self.assertIn(mode, ("drwxr-xr-x", "-rw-r--r--", "-rwxr-xr-x", "lrwxrwxrwx"), line)

    def test_pages_and_changelog_are_compressed_without_a_date(self):
        for name in ("man/man1/quillet.1", "man/man1/quillet-script.1", "man/man1/quillet-setup.1",
                     "doc/quillet/changelog"):
            held = (self.root.path / "usr/share" / (name + ".gz")).read_bytes()
            self.assertEqual(held[4:8], b"\0\0\0\0", name)
            self.assertFalse((self.root.path / "usr/share" / name).exists())
        self.assertTrue(gzip.decompress(held).startswith(b"quillet (1.14r3) "))

    def test_it_is_installed_and_whole(self):
        self.assertEqual(self.installed[0], 0, self.installed[1])
        self.assertNotIn("warning", self.installed[1])
        self.assertEqual(self.root.dpkg("--verify", "quillet"), (0, ""))
        status, said = self.root.dpkg("--audit")
        self.assertNotIn("quillet", said)
        self.assertEqual(status, 0)

    def test_what_it_cannot_do_without_is_asked_for(self):
        root = Root(self.folder / "root without", without=("libgdbm6",))
        status, said = root.dpkg("--install", self.package)
        self.assertNotEqual(status, 0)
        self.assertIn("quillet depends on libgdbm6", said)

    def test_what_was_installed_fetches_and_shows_articles(self):
        tree = InstalledTree(self.root.path / "usr")
        with Home() as home, DemoServer(BUILD) as server:
            run(tree.program("quillet-setup"), "--server", "127.0.0.1", "--port", str(server.port),
                "--group", server.GROUP, env=home.environment())
            with tree.script(home) as q:
                q.connect()
                self.assertEqual(q.groups(), [(server.GROUP, "checked", "12/12")])
                self.assertEqual(q.boxes(), [])
            self.assertEqual((q.status, q.exit_code()), (0, 0))
            with tree.window(home) as window:
                window.wait_until_it_answers()
                self.assertEqual(window.end(signal.SIGTERM), (0, ""))
            self.assertEqual(home.files_of_others(), set())
            self.assertIn(".local/share/quillet/Quillet CE News/Quillet articles.gdb", home.files())

    def test_nothing_is_left_when_it_is_removed(self):
        root = Root(self.folder / "another root")
        before = root.files()
        notes = {path.name for path in (root.admin / "info").iterdir()}
        self.assertEqual(root.dpkg("--install", self.package)[0], 0)
        self.assertGreater(len(root.files()), len(before) + 50)
        with Home() as home:
            run(InstalledTree(root.path / "usr").program("quillet-setup"), "--server", "s",
                "--group", "g", env=home.environment())
            kept = home.files()
            status, said = root.dpkg("--purge", "quillet")
            self.assertEqual(status, 0, said)
            self.assertNotIn("warning", said)
            # What a user has read and written is no part of the package.
            self.assertEqual(home.files(), kept)
        self.assertEqual(root.files(), before)
        left = {path.name for path in (root.admin / "info").iterdir()} - notes
        self.assertEqual({name for name in left if "quillet" in name}, set())


if __name__ == "__main__":
    unittest.main()
