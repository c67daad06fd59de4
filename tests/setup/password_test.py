#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Where quillet-setup takes passwords from."""

import os
import pty
import select
import signal
import subprocess
import termios
import unittest

from setup_case import SETUP, SetupCase, numbers, texts

LOGIN = ("--server", "news.example.org", "--group", "g", "--user", "me")


class FromAFile(SetupCase):
    def file(self, held):
        path = self.folder / "password"
        path.write_bytes(held)
        return str(path)

    def test_its_first_line_is_the_password(self):
        for held, password in ((b"pw\n", "pw"), (b"p w \r\nmore\n", "p w "), (b"no end", "no end"),
                               ("\u017b\u20ac\n".encode(), "\u017b\u20ac")):
            self.profile = self.folder / ("profile %s" % password)
            self.assert_done(*LOGIN, "--password-file", self.file(held))
            values = self.values()
            self.assertEqual(values["useauths"], numbers(1))
            self.assertEqual(values["authusers"], texts("me"))
            self.assertEqual(values["authpasses"], texts(password))

    def test_standard_input_and_pipes_are_files(self):
        self.assert_done(*LOGIN, "--password-file", "-", input="from input\n")
        self.assertEqual(self.values()["authpasses"], texts("from input"))
        self.assert_done("--replace", *LOGIN, "--password-file", "/dev/stdin", input="again\n")
        self.assertEqual(self.values()["authpasses"], texts("again"))

    def test_what_is_none_is_refused(self):
        missing = str(self.folder / "missing")
        long = self.file(b"x" * 5000)
        for problem, name in (
                ("cannot be read: No such file or directory", missing),
                ("cannot be read: Is a directory", str(self.folder)),
                ("has no line that can be a password", long)):
            self.assert_refused(1, '--password-file: "%s" %s' % (name, problem), *LOGIN,
                                "--password-file", name)
        for held in (b"", b"\n", b"\r\npw\n"):
            name = self.file(held)
            self.assert_refused(1, '--password-file: "%s" has no password in its first line' % name,
                                *LOGIN, "--password-file", name)
        for held, problem in ((b"a\0b\n", "This text has a character in it that cannot be kept."),
                              (b"x" * 1024, "This text has 1024 characters, but only 1023 can be "
                               "kept. Please shorten it.")):
            self.assert_refused(1, "the password cannot be used: " + problem, *LOGIN,
                                "--password-file", self.file(held))
        self.assertFalse(self.profile.exists())


class AtTheTerminal(SetupCase):
    """With a terminal of its own, on which the program is the foreground."""

    def start(self):
        master, self.slave = pty.openpty()
        self.addCleanup(os.close, master)
        self.addCleanup(os.close, self.slave)
        self.process = subprocess.Popen(
            [SETUP, "--profile", self.profile, *LOGIN, "--password-prompt"], stdin=self.slave,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, start_new_session=True,
            preexec_fn=lambda: take_terminal(self.slave))
        self.addCleanup(self.process.stdout.close)
        self.addCleanup(self.process.stderr.close)
        self.shown = b""
        self.read_until(master, b": ")
        return master

    def read_until(self, master, end):
        while not self.shown.endswith(end):
            self.assertTrue(select.select([master], [], [], 30)[0], self.shown)
            self.shown += os.read(master, 1000)

    def echoes(self):
        return bool(termios.tcgetattr(self.slave)[3] & termios.ECHO)

    def test_it_is_asked_for_and_not_shown(self):
        master = self.start()
        self.assertEqual(self.shown, b"Password of me at news.example.org: ")
        self.assertFalse(self.echoes())
        os.write(master, b"se cret\n")
        self.read_until(master, b"\n")
        self.assertEqual(self.process.wait(30), 0)
        self.assertEqual(self.shown, b"Password of me at news.example.org: \r\n")
        self.assertTrue(self.echoes())
        self.assertEqual(self.values()["authpasses"], texts("se cret"))

    def test_a_signal_gives_the_terminal_its_echo_back(self):
        for number, cause in ((signal.SIGINT, b"\x03"), (signal.SIGTERM, None)):
            master = self.start()
            if cause:
                os.write(master, cause)
            else:
                self.process.send_signal(number)
            self.assertEqual(self.process.wait(30), -number)
            self.assertTrue(self.echoes())
            self.assertFalse(self.profile.exists())

    def test_nothing_typed_is_no_password(self):
        for typed in (b"\n", b"\x04"):
            master = self.start()
            os.write(master, typed)
            self.assertEqual(self.process.wait(30), 1)
            self.assertEqual(self.process.stderr.read(),
                             "quillet-setup: --password-prompt: no password was typed\n")
            self.assertFalse(self.profile.exists())

    def test_without_a_terminal_it_says_so(self):
        self.assert_refused(1, "--password-prompt: there is no terminal to ask at; use "
                            "--password-file", *LOGIN, "--password-prompt",
                            stdin=subprocess.DEVNULL, start_new_session=True)


def take_terminal(slave):
    import fcntl  # pylint: disable=import-outside-toplevel
    fcntl.ioctl(slave, termios.TIOCSCTTY, 0)


if __name__ == "__main__":
    unittest.main()
