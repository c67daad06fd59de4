#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What ./run and ./test make of their arguments. Usage: commands_test.py REPOSITORY

The scripts are copied into a folder in which everything they call only tells that it was called.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

REPOSITORY = pathlib.Path(sys.argv.pop(1))
TELL = '#!/bin/sh\necho "%s in $PWD:" "$@"\n'
COMMON = '''
ensure_packages() { echo "packages: $*"; }
configure() { mkdir -p "$1"; echo "configure: $1"; }
build() { echo "build: $1"; }
'''


class Commands(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve() / "source"
        self.here = self.root.parent / "where the user is"
        self.here.mkdir()
        for name in ("store", "nntp", "port", "inn"):
            self.write("tests/%s/CMakeLists.txt" % name, "")
        self.write("scripts/common.sh", COMMON)
        for name in ("run", "test"):
            shutil.copy(REPOSITORY / name, self.root / name)
        for name in ("build/release/qt/quillet", "demo/run_demo.sh", "tests/inn/fetch.sh",
                     "bin/ninja", "bin/ctest", "bin/gcovr", "bin/python3",
                     "build/quick/tests/kill/quillet-kill-store"):
            self.write(name, TELL % pathlib.Path(name).name)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)

    def call(self, *words):
        done = subprocess.run([self.root / words[0], *words[1:]], cwd=self.here, text=True,
                              env=dict(os.environ, PATH="%s/bin:/usr/bin:/bin" % self.root),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        self.errors = done.stderr
        self.said = done.stdout.splitlines()
        return done.returncode

    def assert_refused(self, word, *words):
        self.assertEqual((self.call(*words), self.said), (2, []), self.errors)
        self.assertIn(word, self.errors)

    def ran(self, program):
        """The arguments of every call of the program."""
        return [line.split(":", 1)[1].strip() for line in self.said
                if line.startswith(program + " in ")]


class Run(Commands):
    def assert_started(self, arguments, *words):
        self.assertEqual(self.call("run", *words), 0, self.errors)
        self.assertEqual(self.said[-1].rstrip(), "quillet in %s: %s" % (self.here, arguments))

    def test_a_profile_is_given_to_the_program_and_means_a_folder_from_here(self):
        self.assert_started("--profile some/dir", "--profile", "some/dir")
        self.assert_started("--profile=some/dir", "--yes", "--profile=some/dir")
        self.assert_started("--profile a AppRunAtTime", "--profile", "a", "--", "AppRunAtTime")
        self.assert_started("--profile b", "--", "--profile", "b")

    def test_without_arguments_the_program_gets_none(self):
        self.assertEqual(self.call("run"), 0)
        self.assertEqual(self.said, ["packages: 0 build run", "build: build/release",
                                     "quillet in %s:" % self.here])

    def test_a_profile_needs_a_folder(self):
        for words in (["--profile"], ["--profile", ""], ["--profile", "--yes"], ["--profile="]):
            self.assert_refused("usage: ./run", "run", *words)

    def test_the_demo_has_a_profile_of_its_own(self):
        self.assertEqual(self.call("run", "--demo"), 0)
        self.assertEqual(self.ran("run_demo.sh"), ["build/release"])
        self.assert_refused("--demo has a profile of its own", "run", "--demo", "--profile", "x")
        self.assert_refused("--demo has a profile of its own", "run", "--demo", "--", "x")

    def test_what_it_does_not_know_is_refused(self):
        self.assert_refused("usage: ./run", "run", "--quick")
        self.assert_refused("usage: ./run", "run", "profile")


class Test(Commands):
    def assert_runs(self, folder, targets, choice, *words):
        self.assertEqual(self.call("test", *words), 0, self.errors)
        self.assertIn("configure: build/" + folder, self.said)
        self.assertEqual(self.ran("ninja"), [("-C build/%s %s" % (folder, targets)).strip()])
        self.assertTrue(self.ran("ctest")[0].endswith(choice), self.said)

    def test_everything_or_the_unit_tests_alone(self):
        self.assert_runs("test", "", "-j %d" % os.cpu_count())
        self.assertEqual(self.ran("fetch.sh"), ["build/inn"])
        self.assert_runs("quick", "tests-kind-unit", "-L ^unit$|^layers$", "--quick")
        self.assertEqual(self.ran("fetch.sh"), [])

    def test_single_folders(self):
        self.assert_runs("test", "tests-folder-store", "-L ^layers$|^folder-store$",
                         "--only", "store")
        self.assertEqual(self.ran("fetch.sh"), [])
        self.assert_runs("quick", "tests-folder-store tests-folder-nntp",
                         "-L ^layers$|^folder-store$|^folder-nntp$",
                         "--only", "tests/store/", "--quick", "--only", "nntp")
        self.assert_runs("quick", "tests-folder-port", "-L ^layers$|^folder-port$",
                         "--quick", "--only", "port/linux")
        self.assert_runs("quick", "tests-folder-inn", "-L ^layers$|^folder-inn$",
                         "--quick", "--only", "inn")
        self.assertEqual(self.ran("fetch.sh"), ["build/inn"])

    def test_a_folder_without_tests_is_named_with_those_that_have_some(self):
        for words in (["--only", "res"], ["--only", ""], ["--only"], ["--only", ".."],
                      ["--only", "."]):
            self.assert_refused("Folders with tests: inn nntp port store\n", "test", *words)

    def test_arguments_for_ctest(self):
        self.assert_runs("quick", "tests-kind-unit", "-L ^unit$|^layers$ -R name",
                         "--quick", "--", "-R", "name")

    def test_a_choice_without_tests_is_no_success(self):
        self.call("test", "--quick")
        self.assertIn("--no-tests=error", self.ran("ctest")[0])

    def test_a_table_of_the_lines_that_were_run(self):
        self.write("bin/gcovr", "#!/bin/sh\nprintf '%s\\n' filename,lines,hit store/a.cpp,30,20 "
                                "store/b.cpp,10,10 port/linux/c.cpp,3,0\n")
        self.assert_runs("coverage", "tests-kind-unit", "-L ^unit$|^layers$", "--coverage")
        self.assertEqual(self.said[-2:], ["  0.0 %       0 of      3 lines  port/linux",
                                          " 75.0 %      30 of     40 lines  store"])

    def test_kills_of_the_store_are_ten_times_those_of_the_program(self):
        self.assertEqual(self.call("test", "--kill", "7", "--", "--seed", "3"), 0, self.errors)
        self.assertEqual(self.ran("ninja"),
                         ["-C build/quick quillet-kill-store quillet-script quillet-store-check"])
        self.assertEqual(self.ran("quillet-kill-store"), ["--keep build/kill --seed 3 70"])
        self.assertEqual(self.ran("python3"), ["-B tests/kill/program_kills.py --seed 3 7",
                                               "-B tests/kill/writing_kills.py --seed 3 7"])
        self.write("build/quick/tests/kill/quillet-kill-store", "#!/bin/sh\nexit 1\n")
        self.assertEqual(self.call("test", "--kill", "7"), 1)
        self.assertEqual(self.ran("python3"), ["-B tests/kill/program_kills.py 7",
                                               "-B tests/kill/writing_kills.py 7"])

    def test_what_does_not_go_together_is_refused(self):
        for words in (["--quick", "--coverage"], ["--quick", "--tsan"], ["--only", "store", "--lint"],
                      ["--fuzz"], ["--fuzz", "x"], ["--kill"], ["--kill", "0"],
                      ["--quick", "--kill", "3"], ["--slow"]):
            self.assert_refused("usage: ./test", "test", *words)


if __name__ == "__main__":
    unittest.main()
