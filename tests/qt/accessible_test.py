#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The real program as a reader of the screen has it, by its accessibility bus alone.

Usage: accessible_test.py QUILLET QUILLET-SCRIPT DEMO-SERVER [TEST...]

What each screen tells is compared with accessible_tree.txt, which stands beside this file. After a
change that is meant, and a look at the difference, it is made anew by
    ACCESSIBLE_TREE=write accessible_test.py QUILLET QUILLET-SCRIPT DEMO-SERVER
"""
import difflib
import os
import re
import subprocess
import sys
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "scenarios")]

# pylint: disable=wrong-import-position
from gi.repository import Gio, GLib  # noqa: E402
import news_servers  # noqa: E402
import quillet_script  # noqa: E402

QUILLET, SCRIPT, DEMO_SERVER = (sys.argv.pop(1) for _ in range(3))
from accessible_session import Program, Session, read, wait_for  # noqa: E402

TREE = os.path.join(HERE, "accessible_tree.txt")
MAIN = "Quillet CE 1.14r3"
GROUP, EMPTY = "comp.test", "alt.empty"
HEAD = ("From: %s <%s@x.example>\r\nSubject: %s\r\nMessage-ID: <%s@x>\r\n"
        "Newsgroups: comp.test\r\nDate: Sat, 21 Nov 2020 10:00:00 GMT\r\n%s")
ARTICLES = {
    1: (HEAD % ("Ann", "ann", "Hello", "ann", ""),
        "See http://ann.example/?a=1&b=2 now.\r\n> quoted <b>\r\n"),
    2: (HEAD % ("Bob", "bob", "Re: Hello", "bob", "References: <ann@x>\r\n"), "Text of Bob.\r\n"),
    3: (HEAD % ("Cyd", "cyd", "Re: Hello", "cyd", "References: <ann@x> <bob@x>\r\n"), "Of Cyd.\r\n"),
    4: (HEAD % ("Dan", "dan", "A \u202eturned & <i>marked</i> one".encode().decode("latin-1"),
                "dan", ""), "Of Dan.\r\n"),
}
# What every item that is on display and lives has.
USUAL = {"enabled", "sensitive", "showing", "visible", "resizable", "transient",
         "manages-descendants"}


def setUpModule():
    global SESSION  # pylint: disable=global-statement
    SESSION = Session()


def tearDownModule():
    SESSION.close()


def quoted(text):
    """All of the text on one line, readable also where it is not Latin, without what each system has
    in another version."""
    text = re.sub(r"(Libraries in use:).*", r"\1 ...", text, flags=re.DOTALL)
    return "'%s'" % "".join(c if c.isprintable() else "\\u%04x" % ord(c) for c in text)


def line_of(item):
    """Role, name, states, description, value, text and actions."""
    words = sorted(item.states - USUAL) + ([] if "enabled" in item.states else ["disabled"])
    parts = ["%s %s" % (item.role, quoted(item.name)), ",".join(words)]
    if item.description:
        parts.append("description " + quoted(item.description))
    if item.value is not None:
        parts.append("value %d" % item.value)
    if item.text is not None:
        parts.append("text " + quoted(item.text))
    if "EditableText" in item.interfaces:
        parts.append("editable text")
    if item.actions:
        parts.append("[%s]" % " ".join(item.actions))
    return "; ".join(part for part in parts if part)


def lines_of(item, depth=0):
    yield "  " * depth + line_of(item)
    for child in item.children:
        yield from lines_of(child, depth + 1)


class Reading(unittest.TestCase):
    """A folder for the profile, and how to get a store without waiting for a window."""

    def setUp(self):
        self.profile = os.path.join(SESSION.folder.name, self.id())

    def prepare(self, groups, connects=True, **values):
        server = news_servers.NewsServer(groups)
        try:
            with quillet_script.Quillet(SCRIPT, self.profile, hold=True) as q:
                q.configure(servers=[server.address], groups=list(groups), fullname="Eve",
                            returnmailaddress="eve@x.example", **values)
                q.start()
                if connects:
                    q.connect()
        finally:
            server.close()

    def run_program(self, **environment):
        program = Program(SESSION, QUILLET, self.profile, **environment)
        self.addCleanup(program.__exit__, None)
        program.await_root()
        return program


class Tree(Reading):
    """The kept list. One run through all screens, since most of the time is the start."""

    def setUp(self):
        super().setUp()
        self.seen = []

    def settled(self, item):
        """What it tells, as soon as it tells the same twice."""
        before = None

        def same():
            nonlocal before
            now = list(lines_of(read(SESSION, item.address)))
            before, is_same = now, now == before
            return is_same and now
        return wait_for("a window that stays", same)

    def note(self, screen, item):
        """Keeps what the window, or a part of one, tells."""
        item = self.program.window(item) if isinstance(item, str) else item
        text = "\n".join(self.settled(item)).replace(SESSION.folder.name, "FOLDER")
        text = re.sub(r"(text|name) '\d{5}'", r"\1 'PORT'", text)
        text = re.sub(r"currently \d+% full", "currently N% full", text)
        self.seen.append("== %s\n%s\n" % (screen, text))

    def popup(self):
        menus = self.program.items("popup menu")
        return menus[-1] if menus else None

    def note_menus(self):
        for title in self.program.find("menu bar").children[:3]:
            name = title.name
            self.program.act("menu item", name, "ShowMenu")
            self.note("menu " + name, wait_for("menu", self.popup))
            self.program.act("menu item", name, "ShowMenu")
            wait_for("end of the menu", lambda: self.popup() is None)

    def close(self, name, button="Cancel"):
        next(item for item in self.program.window(name).all()
             if item.role == "push button" and item.name == button).do("Press")
        self.program.gone(name)

    def dialog(self, screen, name, *titles, button="Cancel"):
        self.program.choose(*titles)
        self.note(screen, name)
        self.close(name, button)

    def see_first_start(self):
        self.program = self.run_program()
        self.note("message box of the first start", "Quillet")
        self.close("Quillet")
        self.note("group list, empty", MAIN)
        self.program.choose("File", "Quick Setup")
        self.close("Quillet", "OK")
        name = wait_for("Quick Setup", lambda: [
            window.name for window in self.program.read().children if window.name != MAIN])[0]
        self.note("Quick Setup", name)
        self.close(name)

    def see_groups(self):
        self.program.act("list item", GROUP, "SetFocus")
        wait_for("focus", lambda: "focused" in self.program.find("list item", GROUP).states)
        self.note("group list, filled", MAIN)
        self.note_menus()
        self.dialog("new group", "Subscribe to newsgroup", "Group", "Groups", "New group")
        self.dialog("about", "About Quillet CE", "Help", "About...", button="OK")
        self.dialog("killfile entry", "Add to killfile", "Group", "Add to killfile")

    def see_preferences(self):
        self.program.choose("File", "Preferences")
        name = "Quillet CE Preferences"
        pages = [item.name for item in self.program.window(name).all() if item.role == "list item"]
        pane = self.program.find("layered pane", "Shown page")
        for page in pages:
            self.program.act("list item", page)
            wait_for(page, lambda page=page: [
                part for part in read(SESSION, pane.address).children if part.name == page])
            if page == "Connection":  # there is no network manager to ask
                self.close("Quillet", "OK")
            self.note("preferences, " + page, pane)
        self.close(name)

    def see_threads(self):
        self.program.act("list item", GROUP)
        self.program.find("tree item", "Hello")
        self.note("thread view, collapsed", MAIN)
        for row in ("Hello", "Ann", "Bob"):
            self.program.act("tree item", row, "Toggle")
        self.program.find("tree item", "Cyd")
        self.note("thread view, expanded", MAIN)
        self.program.act("tree item", "Cyd", "ShowMenu")
        self.note("menu of an article", wait_for("menu", self.popup))
        self.program.choose("Mark Unread")
        wait_for("end of the menu", lambda: self.popup() is None)

    def see_article(self):
        self.program.act("tree item", "Ann")
        self.program.find("document")
        self.note("article view", MAIN)
        self.note_menus()
        self.program.act("push button", "Subject: Hello")
        self.note("headers", "Message headers")
        self.close("Message headers", "OK")
        self.dialog("find", "Find", "Article", "Find")

    def see_editors(self):
        self.program.choose("Article", "Post", "Reply")
        self.note("simple editor", "Post Message")
        self.program.act("push button", "OK")
        self.program.gone("Post Message")
        self.program.act("page tab", "Newsgroups")
        self.program.find("label", "1 article queued")
        self.program.choose("Group", "Post", "View post queue")
        self.note("queue", "Pending Posts")
        self.close("Pending Posts")
        self.program.choose("Group", "Groups", "Remove groups")
        self.note("question", "Quillet confirmation")

    def test_each_screen_tells_what_is_kept(self):
        self.see_first_start()
        self.program.__exit__(None)
        self.profile += "-filled"
        self.prepare({GROUP: ARTICLES, EMPTY: {}})
        self.program = self.run_program()
        self.see_groups()
        self.see_preferences()
        self.see_threads()
        self.see_article()
        self.see_editors()
        self.program.__exit__(None)
        self.profile += "-full"
        self.prepare({GROUP: ARTICLES}, connects=False, simplepost=0)
        self.program = self.run_program()
        self.program.choose("Group", "Post", "New article")
        self.note("full editor", "Post Message")
        self.compare("\n".join(self.seen))

    def compare(self, seen):
        if os.environ.get("ACCESSIBLE_TREE") == "write":
            with open(TREE, "w", encoding="utf-8") as file:
                file.write(seen)
            return
        with open(TREE, encoding="utf-8") as file:
            kept = file.read()
        difference = "".join(difflib.unified_diff(
            kept.splitlines(True), seen.splitlines(True), "kept", "seen", n=6))
        self.assertEqual(difference, "")


class SlowServer(news_servers.NewsServer):
    """Waits a moment before each answer, as a server far away does."""

    def serve(self, client):
        send = client.sendall

        class Slow:
            recv = client.recv

            @staticmethod
            def sendall(data):
                time.sleep(0.01)
                send(data)
        super().serve(Slow)


class Operation(Reading):
    KINDS = {"accessible-name", "accessible-value", "accessible-description"}

    def setUp(self):
        super().setUp()
        self.heard = {}  # how often, by object and kind
        self.said = set()  # names and descriptions in the dialog

    def listen(self, program):
        """To what changes, as a reader of the screen does."""
        SESSION.ask([("org.a11y.atspi.Registry", "/org/a11y/atspi/registry",
                      "org.a11y.atspi.Registry", "RegisterEvent",
                      GLib.Variant("(sass)", ("object:property-change:" + kind, [], "")))
                     for kind in self.KINDS])

        def heard(_bus, _sender, path, _interface, _signal, parameters):
            kind = parameters.unpack()[0]
            self.heard[path, kind] = self.heard.get((path, kind), 0) + 1
        number = SESSION.bus.signal_subscribe(
            program.address[0], "org.a11y.atspi.Event.Object", "PropertyChange", None, None,
            Gio.DBusSignalFlags.NONE, heard)
        self.addCleanup(SESSION.bus.signal_unsubscribe, number)

    def look(self, program):
        """At the dialog; whether the connection has ended."""
        windows = program.read().children
        for window in windows:
            if window.name == "Progress":
                self.said |= {text for item in window.all() for text in (
                    "%s %s" % (item.role, item.name), "described " + item.description)}
        return len(windows) == 1 and program.items("list item", GROUP + ", 50 unread")

    def test_a_connection_is_told_as_it_goes_and_not_too_often(self):
        articles = {n: news_servers.article(n) for n in range(1, 51)}
        server = SlowServer({GROUP: articles})
        self.addCleanup(server.close)
        with quillet_script.Quillet(SCRIPT, self.profile, hold=True) as q:
            q.configure(servers=[server.address], groups=[GROUP])
        program = self.run_program()
        self.listen(program)
        started = time.monotonic()
        program.act("push button", "Connect")
        dialog = program.window("Progress")
        wait_for("end of the connection", lambda: self.look(program))
        seconds = time.monotonic() - started
        self.assertIn("Cancel", [item.name for item in dialog.all() if item.role == "push button"])
        self.assertEqual({kind for _, kind in self.heard}, self.KINDS)
        self.assertTrue([text for text in self.said if re.search("^label .*" + GROUP, text)],
                        self.said)
        self.assertTrue([text for text in self.said if re.search(
            "^described .*" + GROUP + r".*, \d+ %, article \d+", text)], self.said)
        # One at once and one a second at the most, however long it took here. What a dialog says
        # while it is made comes before.
        for source, count in self.heard.items():
            self.assertLessEqual(count, seconds + 4, (source, self.heard))
        self.assertIn(("progress bar", True), [(item.role, item.value is not None)
                                               for item in dialog.all()])


class Cycle(Reading):
    """Connect, open, read, answer and queue, all by what a reader of the screen can ask for."""

    NAME = "quillet.welcome"
    ANSWER = "Written without a key.\nÜber alles.\n"

    def setUp(self):
        super().setUp()
        self.server = subprocess.Popen(
            [DEMO_SERVER, "--articles", os.path.join(HERE, "..", "..", "demo", "articles"),
             "--die-with-parent"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.end_server)
        port = int(self.server.stdout.readline().rsplit(":", 1)[1])
        with quillet_script.Quillet(SCRIPT, self.profile, hold=True) as q:
            q.configure(servers=[("127.0.0.1", port)], groups=[self.NAME], fullname="Eve",
                        returnmailaddress="eve@x.example")

    def end_server(self):
        self.server.terminate()
        self.server.communicate(timeout=60)

    def test_connects_opens_reads_answers_and_queues(self):
        program = self.run_program()
        program.act("push button", "Connect")
        row = program.find("list item", self.NAME + ", 16 unread of 16 articles")
        self.assertIn("checked", row.states)
        wait_for("end of the dialog", lambda: len(program.read().children) == 1)
        program.act("list item", self.NAME)
        thread = program.find("tree item")
        thread.do("Toggle")
        article = wait_for("article", lambda: [
            item for item in program.items("tree item") if ", level 2" in item.name])[0]
        self.assertIn(", unread, ", article.name)
        article.do("Press")
        page = wait_for("text of the article", lambda: [
            item for item in program.items("document") if item.text])[0]
        self.assertEqual(page.interfaces & {"Text", "EditableText"}, {"Text"})
        program.choose("Article", "Post", "Reply")
        text = program.find("text", "Text of the article")
        self.assertIn("wrote:", text.text)
        text.set_text(self.ANSWER)
        wait_for("the answer", lambda: program.find(
            "text", "Text of the article").text == self.ANSWER)
        program.act("push button", "OK")
        program.gone("Post Message")
        program.act("page tab", "Newsgroups")
        program.find("label", "1 article queued for posting")
        program.find("list item", self.NAME + ", 15 unread of 16 articles")
        program.choose("File", "Close")
        self.assertEqual(program.process.wait(60), 0)
        with quillet_script.Quillet(SCRIPT, self.profile) as q:
            self.assertEqual([row[2] for row in q.groups()], ["15/16"])
            (post,) = q.queue()
        self.assertIn("Newsgroups: " + self.NAME, str(post))
        self.assertIn("Written without a key.", str(post))


class NoBus(Reading):
    def test_without_buses_the_program_runs_and_says_nothing(self):
        self.prepare({GROUP: ARTICLES}, connects=False)
        program = Program(SESSION, QUILLET, self.profile,
                          DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent",
                          AT_SPI_BUS_ADDRESS="unix:path=/nonexistent")
        self.addCleanup(program.__exit__, None)
        display = SESSION.environment

        def shown():
            return subprocess.run(["xdotool", "search", "--onlyvisible", "--name",
                                   "^" + MAIN + "$"], env=display, check=False,
                                  capture_output=True, text=True).stdout.split()
        wait_for("window", shown)
        program.process.terminate()
        _, errors = program.process.communicate(timeout=60)
        self.assertEqual((program.process.returncode, errors), (0, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
