#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Who has the keyboard and what is in front, under the window managers that users have.

Usage: window_managers_test.py MANAGER QUILLET QUILLET-SCRIPT, the manager being openbox, xfwm4 or
metacity. What the test needs and does not find is an error.
"""
import os
import shutil
import subprocess
import sys
import threading
import time

MANAGER = sys.argv.pop(1) if len(sys.argv) > 1 else "openbox"

# pylint: disable=wrong-import-position
import xvfb_test  # noqa: E402
from xvfb_test import ARTICLES, LIMIT, THREADS, UnderX, wait_for  # noqa: E402
import quillet_script  # noqa: E402
import side_by_side  # noqa: E402
from x_windows import XWindows  # noqa: E402
from news_servers import NewsServer  # noqa: E402

# The second and third of them keep their settings on a message bus, here one of their own.
COMMANDS = {
    "openbox": ["openbox", "--sm-disable", "--startup", "touch ready"],
    "xfwm4": ["dbus-run-session", "--", "xfwm4", "--compositor=off", "--sm-client-disable"],
    "metacity": ["dbus-run-session", "--", "metacity", "--no-composite", "--sm-disable"],
}
NEEDED = ("Xvfb", "xdotool", "dbus-run-session", MANAGER)
MAIN = "Quillet CE 1.14r3"
SUBSCRIBE = "Subscribe to newsgroup"
QUESTION = "Quillet confirmation"
NEAR = 8  # pixels: frames of dialogs are not always those of windows


class HeldServer(NewsServer):
    """Greets when it is told to."""

    def __init__(self, groups):
        self.go = threading.Event()
        super().__init__(groups)

    def serve(self, client):
        self.go.wait(LIMIT)
        super().serve(client)


class Managed(UnderX):
    SCREEN = "1024x768x24"

    def start_manager(self):
        home = os.path.join(self.folder.name, "home")
        os.mkdir(home)
        nothing = os.path.join(self.folder.name, "nothing")
        os.mkdir(nothing)
        self.environment.update(
            HOME=home, XDG_CONFIG_HOME=home, XDG_CACHE_HOME=home, GSETTINGS_BACKEND="memory",
            XDG_CURRENT_DESKTOP="X-None")
        self.environment.pop("DESKTOP_STARTUP_ID", None)
        self.environment.pop("DBUS_SESSION_BUS_ADDRESS", None)
        self.manager = subprocess.Popen(COMMANDS[MANAGER], env=self.environment, cwd=home,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        # Asked of whoever manages windows; the first one says so before it does.
        wait_for("window manager", lambda: self.tool("get_num_desktops"))
        if MANAGER == "openbox":
            wait_for("its start", lambda: os.path.exists(os.path.join(home, "ready")))
        self.windows = XWindows(self.environment["DISPLAY"])
        # No guide is opened from here.
        self.environment["PATH"] = nothing

    def tearDown(self):
        self.windows.close()  # before its server ends, which would end this process
        super().tearDown()

    def tool(self, *arguments):
        command = [shutil.which("xdotool"), *map(str, arguments)]
        result = subprocess.run(command, env=self.environment, capture_output=True, text=True,
                                timeout=LIMIT, check=False)
        return result.stdout.split()

    def focused(self):
        return self.tool("getwindowfocus")

    def await_focus(self, window):
        wait_for("the keyboard in " + window, lambda: self.focused() == [window])

    def configure(self, address=("127.0.0.1", 9), groups=(THREADS,)):
        with quillet_script.Quillet(xvfb_test.SCRIPT, self.profile, hold=True) as q:
            q.configure(servers=[address], groups=list(groups))

    def launch_aside(self):
        """The program, its window away from the middle of the screen."""
        self.program = subprocess.Popen([xvfb_test.QUILLET, "--profile", self.profile],
                                        env=self.environment)
        window = self.await_shown(MAIN)
        # The window manager may still be starting itself.
        wait_for("the keyboard", lambda: self.tool("windowactivate", window)
                 or self.focused() == [window])

        def stands_aside():
            # Again: at first the program itself fits its window to the new frame.
            # And a window as large as the screen may have been maximized for it.
            self.windows.restore(int(window))
            self.tool("windowsize", window, 560, 420)
            self.tool("windowmove", window, 60, 280)
            self.settle()
            _, top, *size = self.inside(window)
            return top > 270 and size == [560, 420]
        wait_for("its place", stands_aside)
        return window

    def await_shown(self, title):
        return wait_for(title, lambda: self.named(title))[0]

    def await_gone(self, title):
        wait_for("end of " + title, lambda: not self.named(title))

    def inside(self, window):
        return self.windows.inside(int(window))

    def middle(self, window):
        return self.windows.middle(int(window))

    def key(self, *keys):
        self.tool("key", *keys)

    def click(self, x, y):
        self.tool("mousemove", "--sync", x, y)
        self.tool("click", 1)

    def click_main(self, window):
        """Into the list, beside what lies over the middle of the window."""
        left, top, _, height = self.inside(window)
        self.click(left + 20, top + height - 80)

    def assert_in_front(self, window, other):
        wait_for("%s above %s" % (window, other),
                 lambda: self.windows.is_above(int(window), int(other)))

    def assert_centred(self, window, over):
        """It takes its place before it is seen, and keeps it."""
        self.settle()
        place, wanted = self.middle(window), self.middle(over)
        for a, b in zip(place, wanted):
            self.assertLessEqual(abs(a - b), NEAR, (place, wanted))

    def open_subscribe(self, main):
        self.key("alt+g", "g", "n")
        dialog = self.await_shown(SUBSCRIBE)
        self.await_focus(dialog)
        self.assert_centred(dialog, main)
        return dialog

    def subscribe(self, name):
        """By keys that go where the keyboard is."""
        self.tool("type", "--delay", 15, name)
        self.key("Return")
        self.await_gone(SUBSCRIBE)

    def end_by_key(self, main):
        self.await_focus(main)
        self.close()

    def groups(self):
        with quillet_script.Quillet(xvfb_test.SCRIPT, self.profile) as q:
            return q.groups()


class Blocked(Managed):
    """The main window cannot be used while something lies over it."""

    def test_a_click_into_it_leaves_the_keyboard_in_the_dialog(self):
        self.configure()
        main = self.launch_aside()
        dialog = self.open_subscribe(main)
        self.click_main(main)
        self.settle()
        self.await_focus(dialog)
        self.assert_in_front(dialog, main)
        self.subscribe("some.group")
        self.end_by_key(main)
        self.assertIn("some.group", [row[0] for row in self.groups()])

    def test_boxes_are_in_its_middle_and_in_front_after_a_click(self):
        self.configure()
        main = self.launch_aside()
        self.key("alt+g", "g", "r")  # a question that nothing owns
        question = self.await_shown(QUESTION)
        self.await_focus(question)
        self.assert_centred(question, main)
        self.click_main(main)
        self.settle()
        self.await_focus(question)
        self.assert_in_front(question, main)
        self.key("Escape")
        self.await_gone(QUESTION)
        self.await_focus(main)
        dialog = self.open_subscribe(main)
        self.tool("windowmove", dialog, 450, 60)
        wait_for("the place", lambda: self.inside(dialog)[1] < 200)
        self.key("F1")  # no program shows it here: a box over the dialog says so
        box = self.await_shown("Quillet")
        self.await_focus(box)
        self.assert_centred(box, dialog)
        self.key("Return")
        self.await_gone("Quillet")
        self.await_focus(dialog)
        self.key("Escape")
        self.await_gone(SUBSCRIBE)
        self.end_by_key(main)

    def test_a_click_leaves_a_question_over_an_editor_in_front(self):
        self.configure()
        main = self.launch_aside()
        self.key("ctrl+n")
        editor = self.await_shown("Post Message")
        self.await_focus(editor)
        self.tool("type", "x")
        self.settle()
        self.key("Escape")
        question = wait_for("question", lambda: self.named("Quillet.*confirmation"))[0]
        self.await_focus(question)
        self.assert_centred(question, editor)
        self.tool("windowactivate", main)
        self.click_main(main)
        self.settle()
        self.await_focus(question)
        self.assert_in_front(question, main)
        self.key("Return")
        wait_for("end of the editor", lambda: not self.named("Post Message"))
        self.tool("windowactivate", main)
        self.end_by_key(main)


class SecondStart(Managed):
    def test_a_second_start_brings_the_dialog_forward(self):
        self.configure()
        main = self.launch_aside()
        dialog = self.open_subscribe(main)
        # Something else that the user has gone to.
        other = subprocess.Popen(
            [xvfb_test.QUILLET, "--profile", os.path.join(self.folder.name, "other")],
            env=self.environment)
        try:
            box = self.await_shown("Quillet")
            wait_for("the keyboard elsewhere", lambda: self.tool("windowactivate", box)
                     or self.focused() == [box])
            now = int(time.monotonic() * 1000) % 2**32  # the clock of the X server
            subprocess.run([xvfb_test.QUILLET, "--profile", self.profile], check=True,
                           timeout=LIMIT,
                           env=dict(self.environment,
                                    DESKTOP_STARTUP_ID="launcher-1_TIME%d" % now))
            self.await_focus(dialog)
            self.assert_in_front(dialog, main)
        finally:
            other.terminate()
            other.wait(LIMIT)
        self.subscribe("other.group")
        self.end_by_key(main)
        self.assertIn("other.group", [row[0] for row in self.groups()])


class AfterProgress(Managed):
    def test_the_main_window_has_the_keyboard_without_a_click(self):
        server = HeldServer({THREADS: ARTICLES})
        try:
            self.configure(server.address)
            main = self.launch_aside()
            self.key("Down", "ctrl+1")  # the keyboard is in the list
            wait_for("connection", lambda: server.connections > 0)
            progress = wait_for("progress dialog", lambda: self.named("Progress"))[0]
            self.await_focus(progress)
            self.assert_centred(progress, main)
            self.click_main(main)
            self.settle()
            self.await_focus(progress)
            self.assert_in_front(progress, main)
            server.go.set()
            self.await_gone("Progress")
            self.await_focus(main)
            self.key("space")  # the box of the row that was selected
            self.end_by_key(main)
        finally:
            server.close()
        self.assertEqual(self.groups(), [(THREADS, "unchecked", "3/3")])


if __name__ == "__main__":
    missing = [name for name in NEEDED if shutil.which(name) is None]
    if missing:
        sys.exit("missing: " + ", ".join(missing))
    side_by_side.main()
