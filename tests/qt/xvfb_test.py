#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Real clicks and keys in the real program under a window manager on an X server in memory.

Usage: xvfb_test.py QUILLET QUILLET-SCRIPT. Exit status 77: Xvfb, xdotool or openbox is missing.
"""
import contextlib
import ctypes
import os
import shutil
import signal
import socket
import sqlite3
import struct
import subprocess
import sys
import tempfile
import threading
import time
import zlib

TESTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
sys.path[:0] = [os.path.join(TESTS, "scenarios"), os.path.join(TESTS, "support")]

# pylint: disable=wrong-import-position
import quillet_script  # noqa: E402
import side_by_side  # noqa: E402
from news_servers import NewsServer  # noqa: E402

QUILLET = sys.argv.pop(1) if len(sys.argv) > 1 else ""
SCRIPT = sys.argv.pop(1) if len(sys.argv) > 1 else ""
LIMIT = 60.0
STILL = 0.4  # seconds without a change on the screen after which the program has answered
GROUPS = ["first.group", "second.group", "third.group"]
THREADS = "comp.test"
HEAD = ("From: %s <%s@x.example>\r\nSubject: %s\r\nMessage-ID: <%s@x>\r\n"
        "Newsgroups: comp.test\r\nDate: Sat, 21 Nov 2026 10:00:00 GMT\r\n%s")
ARTICLES = {
    1: (HEAD % ("Ann", "ann", "Hello", "ann", ""), "Text of Ann.\r\n"),
    2: (HEAD % ("Bob", "bob", "Re: Hello", "bob", "References: <ann@x>\r\n"), "Text of Bob.\r\n"),
    3: (HEAD % ("Cyd", "cyd", "Other", "cyd", ""), "http://cyd.example/?a=1&b=2 is mine.\r\n"),
}
KEY = "software\\brindle\\quillet"


def wait_for(what, condition):
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.1)
    raise AssertionError("timeout: " + what)


class Registry:
    """The profile's registry, read and written while the program does not run."""

    def __init__(self, profile):
        self.path = os.path.join(profile, "registry.db")

    def run(self, statement, *values):
        with sqlite3.connect(self.path) as database:
            return database.execute(statement, values).fetchall()

    def set(self, name, kind, data):
        key = self.run("select id from registry_key where folded = ?", KEY)[0][0]
        self.run("insert or replace into registry_value values (?, ?, ?, ?, ?)",
                 key, name.lower(), name, kind, data)

    def get(self, name):
        rows = self.run("select data from registry_value where folded = ?", name.lower())
        return rows[0][0] if rows else None


class UnderX(side_by_side.Test):
    """A screen of its own for each test, and what a user does there."""

    SCREEN = "800x600x24"
    MANAGED = True

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.profile = os.path.join(self.folder.name, "profile")
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", self.SCREEN, "-nolisten", "tcp",
             "-noreset", "-fbdir", self.folder.name],
            pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as number:  # to its line end: it comes in pieces
            display = number.readline().strip()
        self.environment = dict(os.environ, DISPLAY=":" + display, QT_QPA_PLATFORM="xcb",
                                XDG_RUNTIME_DIR=self.folder.name, QT_SCALE_FACTOR="1")
        self.environment.pop("WAYLAND_DISPLAY", None)
        self.program = self.manager = None
        wait_for("X server", lambda: self.tool("getdisplaygeometry"))
        if self.MANAGED:
            self.start_manager()

    def start_manager(self):
        # What it runs once it has started: windows shown before are lost.
        ready = os.path.join(self.folder.name, "managed")
        self.manager = subprocess.Popen(
            ["openbox", "--sm-disable", "--startup", "touch " + ready], env=self.environment,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for("window manager", lambda: os.path.exists(ready))

    def tearDown(self):
        for process in (self.program, self.manager, self.server):
            if process is not None and process.poll() is None:
                process.terminate()  # the server removes its lock and socket
            if process is not None:
                process.wait(LIMIT)
        self.folder.cleanup()

    def tool(self, *arguments):
        result = subprocess.run(["xdotool", *map(str, arguments)], env=self.environment,
                                capture_output=True, text=True, timeout=LIMIT, check=False)
        return result.stdout.split()

    def picture(self):
        """What the screen shows, as a number; the mouse pointer belongs to it."""
        with open(os.path.join(self.folder.name, "Xvfb_screen0"), "rb") as screen:
            return zlib.crc32(screen.read())

    def settle(self):
        """Waits until the screen stays as it is."""
        picture, since = self.picture(), time.monotonic()

        def is_still():
            nonlocal picture, since
            now = self.picture()
            if now != picture:
                picture, since = now, time.monotonic()
            return time.monotonic() - since >= STILL
        wait_for("a still picture", is_still)

    def await_answer(self, before):
        wait_for("a change on the screen", lambda: self.picture() != before)
        self.settle()

    def do(self, *arguments):
        """Sends keys or clicks that change what is shown, and waits until that has happened."""
        before = self.picture()
        self.tool(*arguments)
        self.await_answer(before)

    def point(self, window, x, y):
        """To a place in the window; what is negative counts from its right and its bottom."""
        if x < 0 or y < 0:
            _, _, width, height = self.place(window)
            x, y = x % width, y % height
        self.tool("mousemove", "--window", window, x, y)
        self.settle()

    def named(self, title):
        return self.tool("search", "--onlyvisible", "--name", "^%s$" % title)

    def await_window(self, title):
        """The window of that title, when it has the focus and stands still."""
        window = wait_for(title, lambda: self.named(title))[0]
        self.tool("windowfocus", "--sync", window)
        self.settle()
        return window

    def has_server(self):
        with contextlib.suppress(sqlite3.OperationalError):
            count = Registry(self.profile).get("numservers")
            return count is not None and count != bytes(4)
        return False

    def start(self):
        """Starts the program; without a server Quick Setup is declined."""
        configured = self.has_server()
        window = self.launch()
        if not configured:
            self.await_window("Quillet")
            self.tool("key", "Escape")
            wait_for("end of the box", lambda: not self.named("Quillet"))
            self.tool("windowfocus", "--sync", window)
            self.settle()
        return window

    def launch(self):
        before = self.picture()
        self.program = subprocess.Popen([QUILLET, "--profile", self.profile], env=self.environment)
        window = wait_for("window", lambda: self.tool(
            "search", "--onlyvisible", "--name", "^Quillet CE 1.14r3$"))[0]
        self.tool("windowfocus", "--sync", window)
        self.await_answer(before)
        return window

    def end(self):
        self.assertEqual(self.program.wait(LIMIT), 0)

    def place(self, window):
        """Left, top, width and height on the screen, without the frame."""
        self.tool("mousemove", "--sync", "--window", window, 0, 0)  # what it says itself is off by the frame
        where = dict(line.split("=") for line in self.tool("getmouselocation", "--shell"))
        size = dict(line.split("=") for line in self.tool("getwindowgeometry", "--shell", window))
        return int(where["X"]), int(where["Y"]), int(size["WIDTH"]), int(size["HEIGHT"])

    def close(self):
        # The focus may still be on its way.
        def ended():
            self.tool("key", "ctrl+w")
            return self.program.poll() is not None
        wait_for("end after Ctrl+W", ended)
        self.end()

    def shown_windows(self):
        return len(self.tool("search", "--onlyvisible", "--pid", self.program.pid))

    def prepare_groups(self):
        self.start()
        self.close()
        registry = Registry(self.profile)
        registry.set("groups", 7, "".join(name + "\0" for name in GROUPS + [""]).encode("utf-16-le"))
        registry.set("numgroups", 4, struct.pack("<I", len(GROUPS)))
        registry.set("checked", 3, struct.pack("<3I", 0, 0, 0))
        return registry

    def prepare_articles(self):
        """A profile with two threads, of two articles and of one."""
        server = NewsServer({THREADS: ARTICLES})
        try:
            with quillet_script.Quillet(SCRIPT, self.profile, hold=True) as q:
                q.configure(servers=[server.address], groups=[THREADS])
                q.start()
                q.connect()
        finally:
            server.close()
        self.assertEqual(self.counts(), "3/3")

    def counts(self):
        """Unread and all articles of the group, while the program does not run."""
        with quillet_script.Quillet(SCRIPT, self.profile) as q:
            return q.groups()[0][2]

    def open_threads(self):
        window = self.start()
        self.do("key", "Down", "Return")
        return window


class WithoutManager(UnderX):
    MANAGED = False

    def test_accelerator_closes_the_program(self):
        self.start()
        self.close()


class Frame(UnderX):
    def test_window_with_its_frame_is_no_larger_than_the_screen(self):
        window = self.start()
        left, top, width, height = self.place(window)
        self.assertGreater(top, 10)  # below its title
        self.assertGreaterEqual(left, 0)
        self.assertEqual(left + width + left, 800)
        # As high as a handheld leaves free below its own menu bar, and its title within that.
        below = 600 - 26 - (top + height)
        self.assertIn(below, range(1, 10))
        self.close()


class SlowServer:
    """Takes one connection and says nothing for a while."""

    SILENCE = 3.0

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.address = self.listener.getsockname()
        self.greeted = False
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def serve(self):
        with self.listener, self.listener.accept()[0] as client:
            time.sleep(self.SILENCE)
            self.greeted = True
            with contextlib.suppress(OSError):
                client.sendall(b"200 here at last\r\n")
                client.recv(1)


class Closing(UnderX):
    def test_close_button_during_an_operation_cancels_and_closes(self):
        server = SlowServer()
        with quillet_script.Quillet(SCRIPT, self.profile, hold=True) as q:
            q.configure(servers=[server.address], groups=[THREADS])
        window = self.start()
        left, top, width, _ = self.place(window)
        windows = self.shown_windows()
        self.do("key", "ctrl+1")
        wait_for("progress dialog", lambda: self.shown_windows() > windows)
        self.assertFalse(server.greeted)
        self.tool("mousemove", left + width - 8, top // 2)  # the right end of the title
        self.tool("click", 1)
        self.end()


class Layouts(UnderX):
    """Accelerators on keyboards whose keys carry another level or script."""

    def use(self, layout):
        subprocess.run(["setxkbmap", layout], env=self.environment, check=True, timeout=LIMIT)

    def test_digit_of_a_french_keyboard_needs_no_shift(self):
        self.use("fr")
        self.start()
        self.do("key", "ctrl+ampersand")  # the key of the 1: no groups yet, a box says so
        wait_for("box", lambda: self.tool("search", "--onlyvisible", "--name", "^Quillet$"))
        self.do("key", "Return")
        self.close()

    def test_letter_of_a_cyrillic_keyboard_is_known_by_its_place(self):
        self.use("ru")
        self.start()

        def ended():
            self.tool("key", "ctrl+Cyrillic_tse")  # the key of the W
            return self.program.poll() is not None
        wait_for("end", ended)
        self.end()

    def test_menus_by_f10(self):
        self.start()
        windows = self.shown_windows()
        self.do("key", "F10")
        self.assertGreater(self.shown_windows(), windows)
        self.do("key", "Escape")
        self.close()


class FocusRequests:
    """What windows send to the window manager when they ask for the focus."""

    CLIENT_MESSAGE = 33
    SUBSTRUCTURE_NOTIFY = 1 << 19
    # In units of a long: type, serial, sent, display, window, message type, format, data.
    MESSAGE_TYPE, DATA, EVENT_LONGS = 5, 7, 24

    def __init__(self, display):
        self.x = ctypes.CDLL("libX11.so.6")
        pointer, number = ctypes.c_void_p, ctypes.c_ulong
        self.x.XOpenDisplay.restype = pointer
        self.x.XDefaultRootWindow.argtypes = [pointer]
        self.x.XDefaultRootWindow.restype = number
        self.x.XInternAtom.argtypes = [pointer, ctypes.c_char_p, ctypes.c_int]
        self.x.XInternAtom.restype = number
        self.x.XSelectInput.argtypes = [pointer, number, ctypes.c_long]
        self.x.XPending.argtypes = [pointer]
        self.x.XNextEvent.argtypes = [pointer, pointer]
        self.display = self.x.XOpenDisplay(display.encode())
        self.atom = self.x.XInternAtom(self.display, b"_NET_ACTIVE_WINDOW", 0)
        self.x.XSelectInput(self.display, self.x.XDefaultRootWindow(self.display),
                            self.SUBSTRUCTURE_NOTIFY)
        self.x.XPending(self.display)
        self.seen = []

    def times(self):
        """The times in milliseconds of the server."""
        event = (ctypes.c_ulong * self.EVENT_LONGS)()
        while self.x.XPending(self.display):
            self.x.XNextEvent(self.display, event)
            kind = event[0] & 0xFFFFFFFF
            if kind == self.CLIENT_MESSAGE and event[self.MESSAGE_TYPE] == self.atom:
                self.seen.append(event[self.DATA + 1])
        return self.seen


class SecondStart(UnderX):
    def start_again(self, *arguments, **environment):
        subprocess.run([QUILLET, "--profile", self.profile, *arguments], check=True, timeout=LIMIT,
                       env=dict(self.environment, **environment))

    def configure(self):
        with quillet_script.Quillet(SCRIPT, self.profile, hold=True) as q:
            q.configure(servers=[("127.0.0.1", 9)])

    def test_link_asks_in_the_running_program_with_no_in_front(self):
        self.configure()
        window = self.start()
        for keys in (["Return"], ["Tab", "Return"]):
            self.start_again("--", "news:a.b")
            self.await_window("Quillet confirmation")
            self.tool("key", *keys)
            wait_for("end of the question", lambda: not self.named("Quillet confirmation"))
        self.tool("windowfocus", "--sync", window)
        self.close()
        with quillet_script.Quillet(SCRIPT, self.profile) as q:
            self.assertEqual(q.groups(), [("a.b", "checked", "0/0")])

    def test_link_reaches_the_running_program_without_a_display(self):
        self.configure()
        window = self.start()
        self.start_again("news:a.b", DISPLAY="", QT_QPA_PLATFORM="")
        self.await_window("Quillet confirmation")
        self.tool("key", "Escape")
        wait_for("end of the question", lambda: not self.named("Quillet confirmation"))
        self.tool("windowfocus", "--sync", window)
        self.close()

    def test_link_that_is_not_taken_is_said(self):
        self.configure()
        self.start()
        os.kill(self.program.pid, signal.SIGSTOP)
        ended = subprocess.run(
            [QUILLET, "--profile", self.profile, "news:a.b"], capture_output=True, text=True,
            env=dict(self.environment, DISPLAY="", QT_QPA_PLATFORM=""), check=False, timeout=LIMIT)
        os.kill(self.program.pid, signal.SIGCONT)
        self.assertEqual((ended.returncode, ended.stderr),
                         (1, "quillet: the running program has not taken the link\n"))
        # It was only late.
        self.await_window("Quillet confirmation")
        self.program.terminate()
        self.end()

    def test_link_of_the_first_start_asks_as_well(self):
        self.configure()
        self.program = subprocess.Popen([QUILLET, "--profile", self.profile, "news:a.b"],
                                        env=self.environment)
        self.await_window("Quillet confirmation")
        self.tool("key", "Escape")
        wait_for("end of the question", lambda: not self.named("Quillet confirmation"))
        self.close()
        with quillet_script.Quillet(SCRIPT, self.profile) as q:
            self.assertEqual(q.groups(), [])

    def test_window_asks_for_the_focus_with_the_time_of_the_users_act(self):
        self.start()
        requests = FocusRequests(self.environment["DISPLAY"])
        now = int(time.monotonic() * 1000) % 2**32  # the clock of the X server
        self.start_again(DESKTOP_STARTUP_ID="launcher-1_TIME%d" % now)
        wait_for("request", lambda: now in requests.times())
        self.close()


class DisplayLost(UnderX):
    """The connection to the screen breaks: what has changed is saved."""

    def lose_display(self):
        self.server.kill()
        self.server.wait(LIMIT)
        self.assertEqual(self.program.wait(LIMIT), 1)

    def test_ticks_are_saved(self):
        registry = self.prepare_groups()
        self.start()
        self.do("key", "ctrl+a")
        self.lose_display()
        self.assertEqual(struct.unpack("<3I", registry.get("checked")), (1, 1, 1))

    def test_open_box_is_answered(self):
        registry = self.prepare_groups()
        self.start()
        self.do("key", "ctrl+a")
        self.tool("key", "ctrl+1")  # no server yet: a box says so
        wait_for("box", lambda: self.tool("search", "--onlyvisible", "--name", "^Quillet CE not configured$"))
        self.lose_display()
        self.assertEqual(struct.unpack("<3I", registry.get("checked")), (1, 1, 1))

    def test_next_start_finds_the_store_whole(self):
        self.prepare_articles()
        self.open_threads()
        self.do("key", "Home", "Return")
        self.lose_display()
        self.assertEqual(self.counts(), "2/3")


class Reading(UnderX):
    def test_click_on_a_box_is_saved(self):
        registry = self.prepare_groups()
        window = self.start()
        # The second row's box: below the menu bar, the headings and one row.
        self.point(window, 11, 69)
        self.do("click", 1)
        self.close()
        checked = struct.unpack("<3I", registry.get("checked"))
        self.assertEqual(sum(checked), 1, checked)

    def test_space_and_select_all_by_keyboard(self):
        registry = self.prepare_groups()
        self.start()
        self.do("key", "ctrl+a")
        self.do("key", "Down", "space")
        self.close()
        self.assertEqual(struct.unpack("<3I", registry.get("checked")), (0, 1, 1))

    def test_about_box_by_the_menu_and_escape(self):
        window = self.start()
        self.tool("key", "alt")  # the menu bar, which does not show it
        self.tool("key", "Left")  # round to its last menu
        self.do("key", "Down", "Return")
        if not self.about():
            self.tool("key", "Return")
        about = wait_for("about box", self.about)[0]
        self.tool("windowfocus", "--sync", about)
        self.tool("key", "Escape")
        wait_for("no about box", lambda: not self.about())
        self.tool("windowfocus", "--sync", window)
        self.close()

    def test_termination_answers_the_open_box_and_saves(self):
        registry = self.prepare_groups()
        self.start()
        self.do("key", "ctrl+a")
        self.tool("key", "ctrl+1")  # no server yet: a box says so
        wait_for("box", lambda: self.tool("search", "--onlyvisible", "--name", "^Quillet CE not configured$"))
        self.program.terminate()
        self.end()
        self.assertEqual(struct.unpack("<3I", registry.get("checked")), (1, 1, 1))

    def test_menu_of_a_thread_by_its_key(self):
        self.prepare_articles()
        self.open_threads()
        self.do("key", "Down", "Menu")
        self.do("key", "Escape")  # closes the menu and goes no further back
        self.do("key", "shift+F10")
        self.do("key", "Down", "Down", "Return")  # from the first entry to the third
        self.close()
        self.assertEqual(self.counts(), "1/3")

    def test_menu_of_a_thread_by_right_click(self):
        self.prepare_articles()
        window = self.open_threads()
        # The second row: below the menu bar, the caption and one row.
        self.point(window, 100, 69)
        self.do("click", 3)
        self.do("key", "Down", "Down", "Down", "Return")
        self.close()
        self.assertEqual(self.counts(), "2/3")

    def test_termination_closes_an_open_menu(self):
        self.prepare_articles()
        self.open_threads()
        before = self.shown_windows()
        self.tool("key", "Down", "Menu")
        wait_for("menu", lambda: self.shown_windows() > before)
        self.program.terminate()
        self.end()
        self.assertEqual(self.counts(), "3/3")

    def test_double_click_reads_an_article(self):
        self.prepare_articles()
        window = self.open_threads()
        self.point(window, 100, 69)
        self.do("click", "--repeat", 2, "--delay", 60, 1)
        self.do("key", "Escape")  # back to the threads
        self.close()
        self.assertEqual(self.counts(), "2/3")

    def opened_links(self):
        try:
            with open(os.path.join(self.folder.name, "links"), encoding="utf-8") as links:
                return links.read().split()
        except FileNotFoundError:
            return []

    def collect_links(self):
        """Whatever opens links only writes them down."""
        programs = os.path.join(self.folder.name, "bin")
        os.mkdir(programs)
        stub = os.path.join(programs, "xdg-open")
        with open(stub, "w", encoding="utf-8") as script:
            script.write('#!/bin/sh\nprintf "%%s\\n" "$1" >> "%s/links"\n' % self.folder.name)
        os.chmod(stub, 0o755)
        self.environment["PATH"] = programs + ":" + self.environment["PATH"]

    def test_reads_on_by_keys_and_clicks(self):
        self.prepare_articles()
        self.collect_links()
        window = self.open_threads()
        self.do("key", "Home", "Return")  # the thread's first article
        self.do("key", "ctrl+Right", "Page_Down", "ctrl+Right")
        self.point(window, 100, 32)  # the header bar
        self.tool("click", 1)
        wait_for("headers", lambda: self.tool(
            "search", "--onlyvisible", "--name", "^Message headers$"))
        self.tool("key", "Escape")
        wait_for("end of the headers", lambda: not self.tool(
            "search", "--onlyvisible", "--name", "^Message headers$"))
        # The first line of the third article: below the menu bar and the two lines of the header.
        self.point(window, 40, 70)
        self.tool("click", 1)
        self.assertEqual(wait_for("link", self.opened_links), ["http://cyd.example/?a=1&b=2"])
        self.do("key", "Escape")
        self.do("key", "Escape")
        self.close()
        self.assertEqual(self.counts(), "0/3")

    def editor(self):
        return self.tool("search", "--onlyvisible", "--name", "^Post Message$")

    def question(self):
        return self.tool("search", "--onlyvisible", "--name", "^Quillet confirmation$")

    def begin_answer(self):
        """Opens an article and answers it; the windows of program and editor."""
        window = self.open_threads()
        self.do("key", "Home", "Return")
        self.tool("key", "ctrl+r")
        editor = wait_for("editor", self.editor)[0]
        self.tool("windowfocus", "--sync", editor)
        self.settle()
        return window, editor

    def queue(self):
        with quillet_script.Quillet(SCRIPT, self.profile) as q:
            return q.queue()

    def test_writes_an_answer_by_keys(self):
        self.prepare_articles()
        window, _ = self.begin_answer()
        self.tool("key", "ctrl+End")
        self.tool("type", "Tab")
        self.tool("key", "Tab", "Return")
        self.do("type", "End")
        self.tool("key", "ctrl+Return")
        wait_for("end of the editor", lambda: not self.editor())
        self.tool("windowfocus", "--sync", window)
        self.close()
        posts = self.queue()
        self.assertEqual(len(posts), 1)
        self.assertTrue(posts[0]["body"].endswith("Tab\t\r\nEnd"), posts[0]["body"])

    def test_question_over_the_editor_takes_the_input_of_all(self):
        self.prepare_articles()
        window, _ = self.begin_answer()
        self.do("type", "x")
        self.tool("key", "Escape")
        wait_for("question", self.question)
        self.settle()
        self.tool("windowactivate", window)
        self.tool("key", "--window", window, "ctrl+w")
        self.tool("key", "ctrl+w")
        self.settle()
        self.assertIsNone(self.program.poll(), "nothing below is closed")
        question = wait_for("question", self.question)[0]
        self.tool("windowfocus", "--sync", question)
        self.tool("key", "Return")
        wait_for("end of the editor", lambda: not self.editor())
        self.tool("windowfocus", "--sync", window)
        self.close()
        self.assertEqual(self.queue(), [])

    def about(self):
        return self.tool("search", "--onlyvisible", "--name", "^About Quillet CE$")


class Newcomer(UnderX):
    """From an empty profile to the articles of a group, with nothing but the window."""

    SETUP = "Quillet CE Quick Setup"
    PREFERENCES = "Quillet CE Preferences"

    def setUp(self):
        super().setUp()
        self.news = NewsServer({THREADS: ARTICLES})

    def tearDown(self):
        self.news.close()
        super().tearDown()

    def await_no(self, title):
        wait_for("end of " + title, lambda: not self.named(title))

    def press(self, *keys):
        """Keys that change what is shown."""
        self.do("key", *keys)

    def write(self, text):
        self.do("type", "--delay", 20, text)

    def assert_filled(self):
        """What the newcomer has come to; the program has ended."""
        with quillet_script.Quillet(SCRIPT, self.profile) as q:
            self.assertEqual(q.groups(), [(THREADS, "checked", "3/3")])
            for name, value in {"servers": ["127.0.0.1"], "fullname": "Ann Example",
                                "returnmailaddress": "ann@example.org",
                                "conxmethod": "<none>"}.items():
                self.assertEqual(q.registry(name), value, name)

    def click(self, window, place, times=1):
        self.point(window, *place)
        self.do("click", "--repeat", times, "--delay", 60, 1)

    def click_away(self, title, place):
        """Clicks on what closes the window of that title."""
        self.point(self.await_window(title), *place)
        self.tool("click", 1)
        self.await_no(title)
        self.settle()

    def click_menu(self, *places):
        """Clicks from menu to entry, on places of the screen; the last one opens a window."""
        for x, y in places:
            self.tool("mousemove", x, y)
            self.do("click", 1)

    def await_download(self):
        wait_for("download", lambda: self.news.connections > 0)
        wait_for("end of the download", lambda: self.shown_windows() == 1)
        self.settle()

    def test_comes_to_a_filled_group_list_by_mouse(self):
        """Texts come from an on-screen keyboard, which has no key but letters here."""
        main = self.launch()
        self.click_away("Quillet", (-137, -25))  # welcome: OK
        setup = self.await_window(self.SETUP)
        for place, text in (((131, 42), "127.0.0.1"), ((131, 148), "Ann Example"),
                            ((131, 196), "ann@example.org")):
            self.click(setup, place)
            self.write(text)
        self.click(setup, (-137, -26))  # Next >>
        self.click_away(self.SETUP, (-137, -26))  # Done
        self.click_away("Quillet", (-51, -25))  # that's all: OK
        self.click_menu((20, 30), (69, 122))  # File, Preferences
        preferences = self.await_window(self.PREFERENCES)
        self.click(preferences, (281, 106), times=2)  # selects the port
        self.write(str(self.news.port))
        self.click_away(self.PREFERENCES, (-137, -22))  # OK
        self.click_menu((63, 30), (91, 54), (269, 54))  # Group, Groups, New group
        group = self.await_window("Subscribe to newsgroup")
        self.click(group, (137, 40))
        self.write(THREADS)
        self.click_away("Subscribe to newsgroup", (-137, -22))  # OK
        self.tool("mousemove", 763, 30)  # the button Connect
        self.tool("click", 1)
        self.await_download()
        self.tool("windowfocus", "--sync", main)
        self.close()
        self.assert_filled()

    def test_comes_to_a_filled_group_list_by_keys(self):
        self.launch()
        self.await_window("Quillet")  # welcome
        self.tool("key", "Return")
        self.await_window(self.SETUP)
        self.write("127.0.0.1")
        for _ in range(3):  # past port and security
            self.press("Tab")
        self.write("Ann Example")
        self.press("Tab")
        self.write("ann@example.org")
        self.press("Return")  # Next >>
        self.press("Return")  # Done
        self.await_no(self.SETUP)
        self.await_window("Quillet")  # that's all
        self.tool("key", "Return")
        self.await_no("Quillet")
        self.settle()
        # The port of this server is another than usual.
        self.press("F10")
        self.tool("key", "p")
        self.await_window(self.PREFERENCES)
        self.press("Tab")
        self.press("Tab")
        self.press("Tab")
        self.press("Tab")
        self.write(str(self.news.port))
        self.tool("key", "Return")
        self.await_no(self.PREFERENCES)
        self.settle()
        self.press("F10")
        self.press("Right")
        self.press("Right")
        self.tool("key", "n")
        self.await_window("Subscribe to newsgroup")
        self.write(THREADS)
        self.tool("key", "Return")
        self.await_no("Subscribe to newsgroup")
        self.settle()
        self.tool("key", "ctrl+1")
        self.await_download()
        self.close()
        self.assert_filled()


if __name__ == "__main__":
    if not all(map(shutil.which, ("Xvfb", "xdotool", "openbox"))):
        print("Xvfb, xdotool or openbox is missing: skipped")
        sys.exit(77)
    side_by_side.main()
