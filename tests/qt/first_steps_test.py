#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""From an empty profile to the first read article with the window alone: by keys, and by mouse.

The links of the list lead; the news server is the demonstration's. Nothing is waited for by the
clock, and all of it has a minute.

Usage: first_steps_test.py QUILLET QUILLET-SCRIPT DEMO-SERVER ARTICLES. Exit status 77: Xvfb, xdotool or
openbox is missing.
"""
import os
import shutil
import struct
import subprocess
import sys
import time

SERVER, ARTICLES = sys.argv.pop(3), sys.argv.pop(3)

# pylint: disable=wrong-import-position
import xvfb_test  # noqa: E402
from xvfb_test import SCRIPT, UnderX, quillet_script, side_by_side, wait_for  # noqa: E402

GROUP = "quillet.welcome"
WELCOME, SETUP, NEW_GROUP = "Quillet", "Quillet CE Quick Setup", "Subscribe to newsgroup"
MAIN = "Quillet CE 1.14r3"
BUDGET = 60.0  # seconds, from the start of the program to its end
LINK = (0, 0, 255)  # the colour of links on a light ground


class DemoServer:
    def __init__(self):
        self.process = subprocess.Popen(
            [SERVER, "--articles", ARTICLES, "--die-with-parent"], stdout=subprocess.PIPE, text=True)
        self.port = self.process.stdout.readline().rsplit(":", 1)[1].strip()

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()


class Screen:
    """The pixels of the screen in memory: a file with a header of words, high byte first."""

    WIDTH, HEIGHT, BYTES_A_LINE, COLOURS = 4, 5, 12, 19
    COLOUR_SIZE = 12

    def __init__(self, path):
        with open(path, "rb") as file:
            data = file.read()
        words = struct.unpack(">25I", data[:100])
        self.width, self.height = words[self.WIDTH], words[self.HEIGHT]
        self.stride = words[self.BYTES_A_LINE]
        self.pixels = data[words[0] + words[self.COLOURS] * self.COLOUR_SIZE:]

    def runs(self, colour, least):
        """Where lines of one colour begin and end: (y, x of the first pixel, behind the last)."""
        pixel = bytes(reversed(colour))
        for y in range(self.height):
            row = self.pixels[y * self.stride:y * self.stride + 4 * self.width]
            x = 0
            while x < self.width:
                begin = x
                while x < self.width and row[4 * x:4 * x + 3] == pixel:
                    x += 1
                if x - begin >= least:
                    yield y, begin, x
                x += 1


class FirstSteps(UnderX):
    def setUp(self):
        super().setUp()
        self.news = DemoServer()

    def tearDown(self):
        self.news.close()
        super().tearDown()

    def await_focus(self, title, other_than=None):
        """The window of that title, once it has the keyboard."""
        def focused():
            window = self.tool("getwindowfocus")
            shown = " ".join(self.tool("getwindowname", *window)) if window else ""
            return window if shown == title and window != other_than else None
        return wait_for("focus of " + title, focused)

    def launch_within_budget(self):
        """From now on a minute counts."""
        self.deadline = time.monotonic() + BUDGET
        self.program = subprocess.Popen([xvfb_test.QUILLET, "--profile", self.profile],
                                        env=self.environment)

    def await_articles(self):
        """The connection is over: its window has gone, and the steps with it."""
        wait_for("end of the download", lambda: self.shown_windows() == 1 and not self.links())
        self.await_focus(MAIN)
        self.settle()

    def links(self):
        """Where the links stand on the screen, from the top: in the middle of their underlines."""
        screen = Screen(os.path.join(self.folder.name, "Xvfb_screen0"))
        places = {}
        for y, begin, end in screen.runs(LINK, 24):
            # Letters with descenders cut an underline; it may be thick.
            near = next((other for other in places if abs(other - y) < 6), y)
            places.setdefault(near, ((begin + end) // 2, y - 4))
        return [places[y] for y in sorted(places)]

    def assert_read_in_time(self):
        self.close()
        self.assertLess(time.monotonic(), self.deadline)
        with quillet_script.Quillet(SCRIPT, self.profile) as q:
            name, box, counts = q.groups()[0]
            unread, total = map(int, counts.split("/"))
            self.assertEqual((name, box, unread), (GROUP, "checked", total - 1))
            read = [i for i in q.chain(GROUP) if q.article(i)["read"] == 1]
            self.assertEqual(len(read), 1)
            self.assertTrue(q.article(read[0])["body"])

    def test_by_keys(self):
        self.launch_within_budget()
        self.await_focus(WELCOME)
        self.tool("key", "Return")
        first = self.await_focus(SETUP)
        self.settle()
        self.tool("type", "127.0.0.1\t%s\t\tAnn Example\tann@example.org" % self.news.port)
        self.tool("key", "Return")  # Next >>
        self.await_focus(SETUP, other_than=first)
        self.tool("key", "Return")  # Done
        self.await_focus(WELCOME)  # that's all
        self.tool("key", "Return")
        self.await_focus(MAIN)
        self.settle()
        self.tool("key", "Tab", "Tab", "Return")  # the second link
        self.await_focus(NEW_GROUP)
        self.tool("type", GROUP)
        self.tool("key", "Return")
        self.await_focus(MAIN)
        self.settle()
        self.do("key", "Tab")  # the third
        self.tool("key", "space")
        self.await_articles()
        self.do("key", "Down", "Return")  # the group
        self.await_focus(MAIN)
        self.do("key", "Home", "Return")  # the first thread
        self.assert_read_in_time()

    def click(self, window, place):
        self.point(window[0], *place)
        self.tool("click", 1)

    def write(self, window, place, text):
        self.click(window, place)
        self.tool("key", "ctrl+a")
        self.tool("type", text)

    def follow(self, step):
        """Clicks on a link, once all three stand on the screen."""
        places = wait_for("the links", lambda: self.links() if len(self.links()) == 3 else None)
        self.tool("mousemove", *places[step], "click", 1)

    def test_by_mouse(self):
        self.launch_within_budget()
        welcome = self.await_focus(WELCOME)
        self.settle()
        self.click(welcome, (-137, -25))  # OK
        setup = self.await_focus(SETUP)
        self.settle()
        for place, text in (((131, 42), "127.0.0.1"), ((92, 69), self.news.port),
                            ((131, 148), "Ann Example"), ((131, 196), "ann@example.org")):
            self.write(setup, place, text)
        self.click(setup, (-137, -26))  # Next >>
        second = self.await_focus(SETUP, other_than=setup)
        self.settle()
        self.click(second, (-137, -26))  # Done
        done = self.await_focus(WELCOME)  # that's all
        self.settle()
        self.click(done, (-51, -25))  # OK
        self.await_focus(MAIN)
        self.follow(1)
        group = self.await_focus(NEW_GROUP)
        self.settle()
        self.write(group, (137, 40), GROUP)
        self.click(group, (-137, -22))  # OK
        main = self.await_focus(MAIN)
        self.settle()
        self.follow(2)
        self.await_articles()
        for _ in range(2):  # the first row below menu and headings, then below menu and caption
            self.point(main[0], 100, 57)
            self.do("click", "--repeat", 2, "--delay", 60, 1)
        self.assert_read_in_time()


if __name__ == "__main__":
    if not all(map(shutil.which, ("Xvfb", "xdotool", "openbox"))):
        print("Xvfb, xdotool or openbox is missing: skipped")
        sys.exit(77)
    side_by_side.main()
