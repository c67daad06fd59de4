# SPDX-License-Identifier: GPL-3.0-or-later
"""Importing saved archives in the window: what is stored and shown, what is refused, Cancel, and the
death of the program in the middle."""

import os
import time

from scenario import *
from quillet_script import quoted

IMPORT = 40060
NO_MBOX = "This file is not in mbox format."
DETERMINING = "An unexpected error (unknown (%d)) occurred in DetermineReturnCharacters."
IMPORTING = "An unexpected error (unknown (%d)) occurred in ImportMbox."


def message(number, groups="alt.test", body="Text.\n", head=""):
    return ("From somebody Sat Nov 21 12:00:00 2026\nFrom: A. Writer <a@example.org>\n"
            "Newsgroups: %s\nSubject: Number %d\nMessage-ID: <%d@import.example>\n%s\n%s"
            % (groups, number, number, head, body))


def identity(number):
    return "<%d@import.example>" % number


class Imports(Scenario):
    def setUp(self):
        super().setUp()
        self.file = self.profile.parent / (self.profile.name + ".mbox")
        self.addCleanup(lambda: self.file.is_fifo() and self.file.unlink())

    def write(self, text):
        self.file.write_bytes(text if isinstance(text, bytes) else text.encode("latin-1"))

    def start_import(self, q):
        q.do("expect-open " + quoted(str(self.file)))
        q.send("command %d" % IMPORT)
        while q.next_event()["event"] != "open-dialog":
            pass

    def run_import(self, q):
        self.start_import(q)
        q.do("wait")

    def box_texts(self, q):
        return [text for _, text, *_ in q.boxes()]

    def articles(self, q):
        """The Message-IDs of the tree that is shown."""
        return [row["id"] for row in q.tree()["rows"] if row["kind"] == "article"]

    def open(self, groups=("alt.test",), **keywords):
        return self.run_with(groups=list(groups), **keywords)


class Import(Imports):
    def test_an_archive_is_in_its_groups_at_once_and_after_a_restart(self):
        self.write(message(1) + message(2, "alt.test,de.test", head="References: %s\n" % identity(1)) +
                   message(3, "de.new,de.test") + message(4, "de.new", body="Caf\xe9\n"))
        with self.open() as q:
            self.run_import(q)
            self.assertEqual(q.of("open-dialog")[0]["title"], "Import file")
            shown = [("alt.test", "checked", "2/2"), ("de.new", "checked", "2/2")]
            self.assertEqual(q.groups(), shown)
            self.assertEqual(q.chain("alt.test"), [identity(2), identity(1)])
            self.assertEqual(q.chain("de.test"), [identity(3), identity(2)])
            q.open_group("alt.test")
            self.assertEqual(self.articles(q), [identity(1), identity(2)])
            stored = q.article(identity(4))
            self.assertEqual(stored["source"], "<import>")
            self.assert_silent(q)
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual(q.groups(), shown)
            self.run_import(q)
            self.assertEqual(q.groups(), shown)
            self.assert_silent(q)
        self.assert_fine(q)

    def test_boxes_stay_as_the_user_has_set_them(self):
        self.write(message(1, "de.new") + message(2, "b.group"))
        with self.open(groups=["a.group", "b.group"]) as q:
            q.do("untick a.group")
            self.run_import(q)
            self.assertEqual(q.groups(), [("a.group", "unchecked", "0/0"),
                                          ("b.group", "checked", "1/1"),
                                          ("de.new", "checked", "1/1")])
        self.assert_fine(q)
        self.assertEqual(self.read_back()["checked"][1], [0, 1, 1])

    def test_threads_that_are_shown_get_the_new_articles(self):
        self.write(message(1))
        with self.open() as q:
            self.run_import(q)
            q.open_group("alt.test")
            self.assertEqual(self.articles(q), [identity(1)])
            self.write(message(2))
            self.run_import(q)
            self.assertEqual(sorted(self.articles(q)), [identity(1), identity(2)])
        self.assert_fine(q)

    def test_a_cancelled_dialog_changes_nothing(self):
        with self.open() as q:
            q.do('expect-open ""')
            q.command(IMPORT)
            self.assertEqual(q.groups(), [("alt.test", "checked", "0/0")])
            self.assert_silent(q)
        self.assert_fine(q)

    def test_references_in_a_circle_can_be_opened(self):
        self.write("".join(message(n, head="References: %s\n" % identity(n % 3 + 1))
                           for n in (1, 2, 3)) + message(4, head="References: %s\n" % identity(4)))
        with self.open() as q:
            self.run_import(q)
            q.open_group("alt.test")
            self.assertEqual(sorted(self.articles(q)), [identity(n) for n in (1, 2, 3, 4)])
        self.assert_fine(q)


class Refused(Imports):
    @for_each("", "\x7fELF\0\x01\xff\r\n", "Subject: x\n\nFrom a\n")
    def test_what_is_no_mbox_is_told(self, content):
        self.write(content)
        with self.open() as q:
            self.run_import(q)
            self.assertEqual(self.box_texts(q), [NO_MBOX])
            self.assertEqual(q.groups(), [("alt.test", "checked", "0/0")])
        self.assert_fine(q)

    def test_a_file_that_has_gone_is_told_twice(self):
        self.write("x")
        with self.open() as q:
            q.do("expect-open " + quoted(str(self.file)))
            self.file.unlink()
            q.command(IMPORT)
            self.assertEqual(self.box_texts(q), [DETERMINING % 2, IMPORTING % 2])
        self.assert_fine(q)

    @for_each("folder", "pipe", "device")
    def test_what_is_no_file_is_refused_at_once(self, kind):
        path = self.file.with_suffix("." + kind)
        if kind == "folder":
            path.mkdir(exist_ok=True)
        elif kind == "pipe":
            if not path.exists():
                os.mkfifo(path)
        else:
            path = pathlib.Path("/dev/zero")
        with self.open() as q:
            q.do("expect-open " + quoted(str(path)))
            q.command(IMPORT)
            self.assertEqual(self.box_texts(q), [DETERMINING % 5, IMPORTING % 5])
        self.assert_fine(q)

    def test_a_head_without_a_line_ends_the_import(self):
        self.write(message(1) + "From here\n\nx\n" + message(2))
        with self.open() as q:
            self.run_import(q)
            self.assertEqual(self.box_texts(q),
                             ["The import file is corrupt. Bailing out after 1 articles."])
            self.assertEqual(q.groups(), [("alt.test", "checked", "1/1")])
        self.assert_fine(q)

    def test_a_message_that_no_record_takes_is_refused_alone(self):
        self.write(message(1, body="x" * 70_000_000 + "\n") + message(2))
        with self.open(timeout=240) as q:
            self.run_import(q)
            self.assertEqual(self.box_texts(q), ["Error inserting GDBM article."])
            self.assertEqual(q.chain("alt.test"), [identity(2)])
        self.assert_fine(q)


class Large(Imports):
    COUNT = 400

    def write_large(self):
        self.write("".join(message(n, body=("%d " % n + "x" * 60 + "\n") * 80)
                           for n in range(1, self.COUNT + 1)))

    def assert_whole(self, q, fewer=True):
        chain = q.chain("alt.test")
        self.assertEqual(chain, [identity(n) for n in range(len(chain), 0, -1)])
        self.assertEqual(q.groups()[0][2], "%d/%d" % (len(chain), len(chain)))
        for number in (1, len(chain)):
            if chain:
                self.assertEqual(q.article(identity(number))["body"].count("\n"), 80)
        if fewer:
            self.assertLess(len(chain), self.COUNT)
        return len(chain)

    def assert_completed(self):
        with self.run_quillet(timeout=240) as q:
            self.run_import(q)
            self.assertEqual(self.assert_whole(q, fewer=False), self.COUNT)
            self.assert_silent(q)
        self.assert_fine(q)

    def test_its_progress_is_shown(self):
        self.write_large()
        with self.open(timeout=240) as q:
            self.run_import(q)
            texts = q.progress_texts()
            self.assertEqual(texts[0], (1020, "Importing"))
            self.assertRegex(texts[-1][1], r"^\d+ articles$")
            self.assertEqual(self.assert_whole(q, fewer=False), self.COUNT)
        self.assert_fine(q)

    def test_switched_off_there_is_none(self):
        self.write_large()
        with self.open(timeout=240, values={"Extensions\\importprogress": 0}) as q:
            self.run_import(q)
            self.assertEqual(q.progress_texts(), [])
            self.assertEqual(self.assert_whole(q, fewer=False), self.COUNT)
        self.assert_fine(q)

    @for_each(0, 1, 3, 10)
    def test_a_cancelled_one_keeps_what_was_stored(self, changes):
        self.write_large()
        with self.open(timeout=240) as q:
            q.do("cancel-progress " + ("after %d" % changes if changes else "0"))
            self.run_import(q)
            self.assertGreater(self.assert_whole(q), 0)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assert_completed()

    def test_the_end_of_the_session_in_the_middle_loses_nothing(self):
        self.write_large()
        with self.open(timeout=240) as q:
            self.start_import(q)
            time.sleep(0.02)
            q.terminate()
            q.await_end()
        self.assertEqual(q.status, 0, q.events)
        self.assert_completed()

    @for_each(0.002, 0.01, 0.02, 0.03, 0.05)
    def test_kill_9_in_the_middle_loses_nothing(self, seconds):
        self.write_large()
        q = self.open(timeout=240)
        self.start_import(q)
        time.sleep(seconds)
        q.kill()
        with self.run_quillet(timeout=240) as q:
            self.assert_whole(q, fewer=False)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assert_completed()


if __name__ == "__main__":
    main()
