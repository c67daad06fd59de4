#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""That shells complete the options that the programs have, no more and no fewer. Usage:
completion_test.py REPOSITORY PROGRAM..."""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

REPOSITORY = pathlib.Path(sys.argv.pop(1)).resolve()
PROGRAMS = [pathlib.Path(name).resolve() for name in sys.argv[1:]]
FILES = REPOSITORY / "packaging/completion"

# What completes the word in the middle of a command line, one proposal a line.
ASK = """. "$1"; shift
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
function=$(complete -p "$1" | sed 's/.* -F \\([^ ]*\\) .*/\\1/')
$function "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\\n' "${COMPREPLY[@]}"
"""


def run(*words, **more):
    return subprocess.run(words, check=False, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, timeout=30, **more)


def proposals(program, *words, **more):
    done = run("bash", "--norc", "-c", ASK, "bash", FILES / (program.name + ".bash"), program.name,
               *words, **more)
    assert done.stderr == "", done.stderr
    return set(done.stdout.splitlines()) - {""}


def options_of(program):
    """{option: whether it has a value}, as the program's help tells."""
    told = run(program, "--help").stdout
    return {option: bool(value) for option, value in
            re.findall(r"^  (--[a-z-]+)( [A-Z][A-Za-z=]*)?(?:  |$)", told, re.MULTILINE)}


class Completion(unittest.TestCase):
    def test_the_help_tells_the_options_that_the_program_takes(self):
        for program in PROGRAMS:
            options = options_of(program)
            self.assertGreaterEqual(len(options), 3)
            for option, has_value in options.items():
                if has_value:
                    done = run(program, option)
                    self.assertEqual(done.returncode, 2, option)
                    self.assertRegex(done.stderr, r"needs a (value|folder)", option)
            done = run(program, "--nonsense")
            self.assertEqual(done.returncode, 2)
            self.assertRegex(done.stderr, "^%s: unknown argument .--nonsense." % program.name)

    def test_every_option_is_proposed_and_nothing_else(self):
        for program in PROGRAMS:
            options = options_of(program)
            words = {"AppRunAtTime"} if program.name != "quillet-setup" else set()
            self.assertEqual(proposals(program, ""), set(options) | words, program)
            self.assertEqual(proposals(program, "--p"),
                             {option for option in options if option.startswith("--p")})
            for shell, pattern in (("zsh", r"[\])*'\"](--[a-z-]+)\["), ("fish", r" -l ([a-z-]+) ")):
                held = (FILES / ("%s.%s" % (program.name, shell))).read_text(encoding="utf-8")
                found = {"--" + name.removeprefix("--") for name in re.findall(pattern, held)}
                self.assertEqual(found, set(options), (program, shell))

    def test_behind_an_option_its_values_are_proposed(self):
        for program in PROGRAMS:
            with tempfile.TemporaryDirectory() as folder:
                (pathlib.Path(folder) / "a folder").mkdir()
                (pathlib.Path(folder) / "a_file").touch()
                self.assertEqual(proposals(program, "--profile", "a", cwd=folder), {"a folder"})
                files = {"quillet-script": "--log", "quillet-setup": "--password-file"}
                if program.name in files:
                    self.assertIn("a_file",
                                  proposals(program, files[program.name], "a_", cwd=folder))
            for option, has_value in options_of(program).items():
                if has_value:
                    self.assertFalse({word for word in proposals(program, option, "")
                                      if word.startswith("--")}, option)
        setup = next(program for program in PROGRAMS if program.name == "quillet-setup")
        self.assertEqual(proposals(setup, "--security", ""), {"none", "tls", "starttls"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
