"""Importing mbox files: from the file dialog to the articles that are read."""

import os

from settings import *

IMPORT = 40060
NO_MBOX = "This file is not in mbox format."


def message(name, groups=GROUP, subject="Hello", body=None, extra=""):
    """A message of <name@x>, lines ended by LF."""
    head = "From: %s <%s@x.example>\nSubject: %s\nMessage-ID: <%s@x>\n" % (
        name.capitalize(), name, subject, name)
    if groups is not None:
        head += "Newsgroups: %s\n" % groups
    return "From nobody Sat Nov 21 10:00:00 2026\n%s%s\n%s" % (
        head, extra, "Text of %s.\n" % name if body is None else body)


class Import(Settings):
    def setUp(self):
        super().setUp()
        self.file = self.profile.parent / (self.profile.name + ".mbox")

    def write(self, data):
        self.file.write_bytes(data.encode("latin-1") if isinstance(data, str) else data)

    def import_file(self, q, path=None):
        q.do("expect-open " + quillet_script.quoted(str(path or self.file)))
        q.command(IMPORT)

    def started(self, **keywords):
        return self.run_with(groups=[GROUP, "rec.gardens"], **keywords)

    @for_each("\n", "\r\n", "\r")
    def test_articles_are_in_their_groups_and_can_be_read(self, end):
        self.write((message("ann") + message("bob", GROUP + ",rec.gardens", "Re: Hello",
                                             extra="References: <ann@x>\n")).replace("\n", end))
        with self.started() as q:
            q.do("untick rec.gardens")
            self.import_file(q)
            dialog = q.of("open-dialog")[-1]
            self.assertEqual((dialog["title"], dialog["filter_text"], dialog["filter_pattern"]),
                             ("Import file", "All files (*.*)", "*.*"))
            self.assertEqual(q.groups(), [(GROUP, "checked", "2/2"),
                                          ("rec.gardens", "unchecked", "1/1")])
            self.assertEqual(q.article("<bob@x>")["body"].strip(), "Text of bob.")
            self.assertEqual(q.article("<bob@x>")["source"], "<import>")
            q.open_group(GROUP)
            self.assertEqual(q.texts(), [(0, "2/2 Hello", True), (1, author("ann"), True),
                                         (2, author("bob"), True)])
            self.assert_silent(q)
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual(q.groups(), [(GROUP, "checked", "2/2"),
                                          ("rec.gardens", "unchecked", "1/1")])
        self.assert_fine(q)

    def test_what_is_here_already_is_left_out(self):
        self.write(message("ann") + message("bob"))
        with self.started() as q:
            self.import_file(q)
            self.write(message("ann", body="Another text.\n") + message("carl"))
            self.import_file(q)
            self.assertEqual(q.groups()[0], (GROUP, "checked", "3/3"))
            self.assertEqual(q.article("<ann@x>")["body"].strip(), "Text of ann.")
        self.assert_fine(q)

    def test_an_unknown_group_is_added_only_when_no_group_is_known(self):
        self.write(message("ann", "new.one,new.two") + message("bob", "new.three," + GROUP)
                   + message("carl", None))
        with self.started() as q:
            self.import_file(q)
            self.assertEqual(q.groups(), [(GROUP, "checked", "1/1"),
                                          ("rec.gardens", "checked", "0/0"),
                                          ("new.one", "checked", "1/1")])
            self.assertIsNotNone(q.article("<carl@x>"), "stored, in no group")
        self.assert_fine(q)

    def test_a_line_that_begins_with_from_begins_a_message(self):
        self.write(message("ann", body="One.\n>From here\nFrom there\nNo: head\n\nmore\n"))
        with self.started() as q:
            self.import_file(q)
            self.assertEqual(q.article("<ann@x>")["body"].strip(), "One.\r\n>From here")
        self.assert_fine(q)

    @for_each(b"", b"no mbox\n", b"from nobody\n", b"From", b"\x00\x01\x02\xff" * 1000,
              b"\n\nFrom nobody\n")
    def test_what_is_no_mbox_is_said(self, data):
        self.write(data)
        with self.started() as q:
            self.import_file(q)
            self.assertEqual(q.boxes(), [("Quillet", NO_MBOX, "ok")])
            self.assertEqual([counts for _, _, counts in q.groups()], ["0/0", "0/0"])
        self.assert_fine(q)

    def test_a_cancelled_dialog_imports_nothing(self):
        with self.started() as q:
            q.do('expect-open ""')
            q.command(IMPORT)
            self.assert_silent(q)
        self.assert_fine(q)

    @for_each("gone", "folder", "pipe")
    def test_what_cannot_be_read_as_a_file_is_an_error(self, kind):
        path = self.profile.parent / (self.profile.name + "." + kind)
        if path.is_dir():
            path.rmdir()
        path.unlink(missing_ok=True)
        if kind == "folder":
            path.mkdir()
        if kind == "pipe":
            os.mkfifo(path)
        with self.started() as q:
            self.import_file(q, path)
            for caption, text, _ in q.boxes():
                self.assertEqual(caption, "Quillet")
                self.assertRegex(text, r"^An unexpected error \(unknown \(\d+\)\) occurred in "
                                       r"(DetermineReturnCharacters|ImportMbox)\.$|^%s$" % NO_MBOX)
            self.assertGreater(len(q.boxes()), 0)
            self.assertEqual([counts for _, _, counts in q.groups()], ["0/0", "0/0"])
        self.assert_fine(q)

    def test_a_large_file_can_be_cancelled_and_finished_later(self):
        count = 400
        self.write("".join(message("n%d" % n, body="x" * 70 + "\n" + "y" * 4000 + "\n")
                           for n in range(count)))
        with self.started() as q:
            q.do("cancel-progress after 3")
            self.import_file(q)
            self.assertEqual(q.progress_texts()[0], (1020, "Importing"))
            stored = len(q.chain(GROUP))
            self.assertLess(stored, count)
            self.assertEqual(q.groups()[0], (GROUP, "checked", "%d/%d" % (stored, stored)))
            q.do("cancel-progress never")
            self.import_file(q)
            self.assertEqual(q.groups()[0], (GROUP, "checked", "%d/%d" % (count, count)))
            self.assert_silent(q)
        self.assert_fine(q)

    def test_without_the_extension_there_is_no_progress(self):
        self.write("".join(message("n%d" % n, body="y" * 4000 + "\n") for n in range(400)))
        with self.run_quillet(hold=True) as q:
            q.configure(servers=[SOME_SERVER], groups=[GROUP])
            q.do("registry-set Extensions\\\\importprogress dword 0".replace("\\\\", "\\"))
            q.start()
            self.import_file(q)
            self.assertEqual(q.progress_texts(), [])
            self.assertEqual(q.groups(), [(GROUP, "checked", "400/400")])
        self.assert_fine(q)


if __name__ == "__main__":
    main()
