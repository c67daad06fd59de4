#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What quillet-setup refuses, and by which words; help and version."""

import os
import subprocess
import unittest

from setup_case import SETUP, SetupCase

FRESH = ("--server", "news.example.org", "--group", "misc.test")
WRONG, NOT_DONE = 2, 1


class WrongArguments(SetupCase):
    def test_each_is_named_and_nothing_is_made(self):
        for problem, *arguments in (
                ("--server is missing",),
                ("--server is missing", "--group", "g"),
                ("--group is missing", "--server", "s"),
                ("--server is missing", "--add"),
                ("--group is missing", "--replace", "--server", "s"),
                ('unknown argument "--nonsense"', *FRESH, "--nonsense"),
                ('unknown argument "news.example.org"', "news.example.org"),
                ("--server: needs a value", "--server"),
                ("--group: needs a value", "--group", "--add"),
                ("--add: takes no value", "--add=yes"),
                ("--server: is given twice", *FRESH, "--server", "t"),
                ('--port: "abc" is not a number from 1 to 65535', *FRESH, "--port", "abc"),
                ('--port: "0" is not a number from 1 to 65535', *FRESH, "--port", "0"),
                ('--port: "65536" is not a number from 1 to 65535', *FRESH, "--port", "65536"),
                ('--port: "-1" is not a number from 1 to 65535', *FRESH, "--port", "-1"),
                ('--port: "119 " is not a number from 1 to 65535', *FRESH, "--port=119 "),
                ('--port: "" is not a number from 1 to 65535', *FRESH, "--port", ""),
                ('--security: "ssl" is none of none, tls and starttls', *FRESH, "--security",
                 "ssl"),
                ('--number: "x" is not NAME=VALUE', *FRESH, "--number", "x"),
                ('--number: "=1" is not NAME=VALUE', *FRESH, "--number", "=1"),
                ('--number: "maxarticles=4294967296" does not end with a number from 0 to '
                 "4294967295", *FRESH, "--number", "maxarticles=4294967296"),
                ('--number: there is no setting "nonsense"', *FRESH, "--number", "nonsense=1"),
                # They size lists: with any other value the profile would be damaged.
                ('--number: there is no setting "numgroups"', *FRESH, "--number", "numgroups=5"),
                ('--number: there is no setting "groups"', *FRESH, "--number", "groups=5"),
                ("--number: maxstore is a number from 0 to 100", *FRESH, "--number",
                 "maxstore=101"),
                ("--number: retries is a number from 0 to 100", *FRESH, "--number", "retries=101"),
                ("--replace: --add and --replace exclude each other", *FRESH, "--add", "--replace"),
                ("--port needs --server", "--add", "--group", "g", "--port", "1"),
                ("--security needs --server", "--add", "--group", "g", "--security", "none"),
                ("--user needs --server", "--add", "--group", "g", "--user", "me"),
                ("--password-file needs --user", *FRESH, "--password-file", "/dev/null"),
                ("--password-prompt needs --user", *FRESH, "--password-prompt"),
                ("--password-file and --password-prompt exclude each other", *FRESH, "--user", "me",
                 "--password-file", "/dev/null", "--password-prompt"),
                ("--profile: is given twice", *FRESH, "--profile", "x")):
            self.assert_refused(WRONG, problem, *arguments)
        self.assertFalse(self.profile.exists())

    def test_a_password_among_the_arguments_is_not_taken(self):
        for arguments in (("--password", "secret"), ("--password=secret",), ("--password",)):
            self.assert_refused(
                WRONG, "--password: a password is not taken from the command line, where others can "
                "read it; give it by --password-file or --password-prompt", *FRESH, "--user", "me",
                *arguments)

    def test_the_hint_names_the_help(self):
        done = self.run_setup("--nonsense")
        self.assertEqual(done.stderr.splitlines()[1:], ["Try 'quillet-setup --help'."])

    def test_what_the_windows_refuse(self):
        for problem, *arguments in (
                ("--server: Please enter the name of the news server.", "--server", " ", "--group",
                 "g"),
                ("--server: The name of a news server cannot have blanks or control characters in "
                 "it.", "--server", "a b", "--group", "g"),
                ("--server: The name of a news server cannot have blanks or control characters in "
                 "it.", "--server", "a\nb", "--group", "g"),
                ("--server: The name of a news server cannot be longer than 253 characters.",
                 "--server", "s" * 254, "--group", "g"),
                ("--server: Some characters of this text cannot be used here: \u0416", "--server",
                 "\u0416.example", "--group", "g"),
                ("--group: Please enter the name of the newsgroup that you want to add.",
                 "--server", "s", "--group", "  "),
                ('--group: "a b" is not the name of a newsgroup, because it contains a blank. '
                 'Please enter the name without blanks, for example "misc.test".', "--server", "s",
                 "--group", "a b"),
                ('--group: "a,b" contains a comma. Please enter the name of one newsgroup only; '
                 "you can add more of them one after another.", "--server", "s", "--group", "g",
                 "--group", "a,b"),
                ("--group: The name contains a character that cannot be part of a newsgroup's "
                 "name. Please type the name anew.", "--server", "s", "--group", "a\x07"),
                ("--group: The name contains a character that cannot be part of a newsgroup's "
                 "name. Please type the name anew.", "--server", "s", "--group", "\ue000g"),
                ("--group: Some characters of this text cannot be used here: \u0416", "--server",
                 "s", "--group", "\u0416"),
                ('--group: The newsgroup "g" is already in your list.', "--server", "s", "--group",
                 "g", "--group", " g "),
                ("--full-name: This text is empty.", *FRESH, "--full-name", " "),
                ("--address: This text has a character in it that cannot be kept.", *FRESH,
                 "--address", "a@b\nBcc: c"),
                ("--user: This text has a character in it that cannot be kept.", *FRESH, "--user",
                 "\ue000me"),
                ("--address: This text has 1024 characters, but only 1023 can be kept. Please "
                 "shorten it.", *FRESH, "--address", "a" * 1024)):
            self.assert_refused(WRONG, problem, *arguments)
        self.assertFalse(self.profile.exists())

    def test_bytes_that_are_no_text_are_no_name(self):
        done = subprocess.run([os.fsencode(SETUP), b"--profile", os.fsencode(self.profile),
                               b"--server", b"s", b"--group", b"a\xff"], check=False,
                              capture_output=True, timeout=60)
        self.assertEqual(done.returncode, WRONG)
        self.assertIn(b"--group: Some characters of this text cannot be used here", done.stderr)
        self.assertFalse(self.profile.exists())


class NotDone(SetupCase):
    def test_settings_that_are_there_are_left_alone(self):
        self.assert_done(*FRESH)
        self.assert_refused(NOT_DONE, "there are servers or groups already; --add adds to them, "
                            "--replace takes their place", "--server", "second", "--group", "h")

    def test_what_is_there_already_is_not_added(self):
        self.assert_done(*FRESH)
        self.assert_refused(NOT_DONE, '--server: the news server "NEWS.example.org" is configured '
                            "already", "--add", "--server", "NEWS.example.org", "--group", "h")
        self.assert_refused(NOT_DONE, '--group: The newsgroup "misc.test" is already in your list.',
                            "--add", "--server", "t", "--group", "h", "--group", "misc.test")

    def test_not_while_the_program_runs(self):
        self.assert_done(*FRESH)
        for existing in ("--add", "--replace"):
            with self.program() as q:
                q.do("wait")
                self.assert_refused(
                    NOT_DONE, "Quillet CE runs with these settings and would write its own over "
                    "them; quit it first", existing, "--server", "t", "--group", "h")
            self.assertEqual((q.status, q.exit_code()), (0, 0))

    def test_damaged_settings_are_not_built_upon(self):
        with self.program(hold=True) as q:
            q.do('registry-set maxarticles string "many"')
        self.assert_refused(NOT_DONE, "some of the stored settings are damaged; start Quillet CE, "
                            "which says which, and mend them there", "--add", "--group", "h")

    def test_newer_settings_are_not_built_upon(self):
        with self.program(hold=True) as q:
            q.do("registry-set version dword 3")
        self.assert_refused(NOT_DONE, "these settings are newer than this program", "--replace",
                            *FRESH)

    def test_a_file_that_is_no_registry_is_kept_and_named(self):
        self.profile.mkdir()
        (self.profile / "registry.db").write_bytes(b"no registry " * 1000)
        done = self.run_setup(*FRESH)
        self.assertEqual(done.returncode, NOT_DONE)
        self.assertRegex(done.stderr, "^quillet-setup: the stored settings were damaged and are "
                         'kept as ".*registry.db.damaged-[0-9]{8}-[0-9]{6}"; bring them back from '
                         "a backup, or try again to begin anew\n$")
        self.assertEqual(self.values(), {})
        self.assert_done(*FRESH)

    def test_a_folder_that_cannot_be_made_is_named(self):
        self.profile.write_text("a file")
        done = self.run_setup(*FRESH)
        self.assertEqual(done.returncode, NOT_DONE)
        self.assertIn(str(self.profile), done.stderr)

    def test_a_full_disk_leaves_all_as_it_was(self):
        self.assert_done(*FRESH)
        groups = [word for i in range(300) for word in ("--group", "g%d" % i + 200 * "x")]
        before = self.everything()
        # Without room for the log of the registry.
        done = subprocess.run(["prlimit", "--fsize=65536", SETUP, "--profile", self.profile, "--add",
                               "--server", "t", "--security", "tls", *groups],
                              check=False, capture_output=True, text=True, timeout=60,
                              preexec_fn=ignore_file_size_signal)
        self.assertEqual((done.returncode, done.stderr),
                         (NOT_DONE, "quillet-setup: the settings could not be written; the disk may "
                          "be full or read-only\n"))
        self.assertEqual(self.everything(), before)


def ignore_file_size_signal():
    import signal  # pylint: disable=import-outside-toplevel
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)


class Help(SetupCase):
    def test_help_and_version_go_to_standard_output(self):
        done = self.run_setup("--help")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertTrue(done.stdout.startswith("Usage: quillet-setup --server NAME --group NAME"))
        self.assertTrue(all(len(line) <= 100 for line in done.stdout.splitlines()))
        done = self.run_setup("--version")
        self.assertEqual((done.returncode, done.stdout, done.stderr),
                         (0, "quillet-setup (Quillet CE) 1.14r3\n", ""))
        self.assertFalse(self.profile.exists())


if __name__ == "__main__":
    unittest.main()
