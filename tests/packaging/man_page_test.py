#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The man pages made from the documents. Usage: man_page_test.py REPOSITORY"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

REPOSITORY = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(REPOSITORY / "packaging"))

# pylint: disable=wrong-import-position
import documents  # noqa: E402
import make_man_page  # noqa: E402

DAY = "2026-01-31"
PAGES = {"quillet": "user-guide", "quillet-script": "script-front", "quillet-setup": "setup"}


def formatted(text):
    """(what a terminal 200 columns wide shows, what the formatter complains of)."""
    done = subprocess.run(["groff", "-man", "-ww", "-Tascii", "-P-c", "-rLL=200n"], input=text,
                          text=True, check=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          env=dict(os.environ, GROFF_NO_SGR="1", LC_ALL="C"))
    shown = []
    for line in done.stdout.splitlines():
        while "\b" in line:  # bold and underlined letters are overstruck
            at = line.index("\b")
            line = line[:at - 1] + line[at + 1:]
        shown.append(line)
    return "\n".join(shown), done.stderr


class ManPage(unittest.TestCase):
    def shown(self, guide):
        """The lines below DESCRIPTION, without blanks in front."""
        text, complaints = formatted(make_man_page.page("quillet", guide, "1.0", DAY))
        self.assertEqual(complaints, "")
        body = text.split("DESCRIPTION\n", 1)[1].rsplit("\n", 2)[0]
        return [line.strip() for line in body.splitlines() if line.strip()]

    def test_each_document_becomes_a_page_without_a_complaint(self):
        for program, document in PAGES.items():
            source = (REPOSITORY / "docs" / (document + ".md")).read_text(encoding="utf-8")
            page = make_man_page.page(program, source, "1.14r3", DAY)
            text, complaints = formatted(page)
            self.assertEqual(complaints, "")
            for heading in source.splitlines():
                if heading.startswith("## "):
                    self.assertIn("\n%s\n" % heading[3:].upper(), text)
            self.assertNotIn("**", text)
            self.assertNotIn("](", text)
            checked = subprocess.run(["mandoc", "-Tlint", "-Wwarning"], input=page, text=True,
                                     check=False, stdout=subprocess.PIPE)
            self.assertEqual((checked.returncode, checked.stdout), (0, ""))

    def test_the_page_names_program_version_and_day(self):
        page = make_man_page.page("quillet-script", "Text.\n", "1.0", DAY)
        self.assertIn('.TH QUILLET\\-SCRIPT 1 2026-01-31 "Quillet CE 1.0" "User Commands"\n', page)
        self.assertIn("\n.SH NAME\nquillet\\-script \\- ", page)

    def test_fenced_code_has_no_mark_up(self):
        text, complaints = formatted(make_man_page.page(
            "quillet", "Do\n\n```python\n**a** `b`\n\n# c\n```\n\ndone.\n", "1.0", DAY))
        self.assertEqual(complaints, "")
        self.assertIn("           **a** `b`\n\n           # c\n", text)

    def test_a_bar_in_a_cell_is_text(self):
        self.assertEqual(self.shown("| a | b |\n|---|---|\n| `x on\\|off` | switch |\n"),
                         ["x on|off", "switch"])

    def test_headings_paragraphs_and_inline_marks(self):
        self.assertEqual(
            self.shown("# Title\n\nSome *soft* and **hard** `code`,\n[a link](x.md#y).\n\n## One\n\n"
                       "### Two\n\nText.\n"),
            ["Some soft and hard code, a link.", "ONE", "Two", "Text."])

    def test_what_roff_would_take_for_its_own_is_shown_as_it_is(self):
        self.assertEqual(
            self.shown(".so starts like a request.\n\n'tis too, \\fB and \\e are text.\n\n"
                       "A \"b\" 'c' --d `~/.x ^ \\y`\n\n## A \"b\"\n\nEnd.\n"),
            [".so starts like a request.", "'tis too, \\fB and \\e are text.",
             "A \"b\" 'c' --d ~/.x ^ \\y", "A \"B\"", "End."])

    def test_lists_with_bullets_numbers_and_messages(self):
        self.assertEqual(
            self.shown("- one\n  more\n- two\n\n1. first\n2. second\n\n"
                       "- **Something is \u2026 wrong.**\n  Mend it.\n"),
            ["o  one more", "o  two", "1. first", "2. second",
             "Something is ... wrong.", "Mend it."])

    def test_tables_become_entries_in_which_further_columns_are_named(self):
        self.assertEqual(
            self.shown("| key | goes to |\n|---|---|\n| `Ctrl+A` | start |\n\n"
                       "| | where | what |\n|---|---|---|\n| Compact | *Page* | smaller |\n"),
            ["Ctrl+A start", "Compact", "where: Page", "what: smaller"])

    def test_code_keeps_its_lines_and_blanks(self):
        text, _ = formatted(make_man_page.page("quillet", "Do\n\n    a  -b\n    .c\n\ndone.\n", "1.0", DAY))
        self.assertIn("           a  -b\n           .c\n", text)

    def test_what_it_does_not_know_is_an_error(self):
        for guide in ("> quoted", "<b>", "![picture](x.png)", "#### Deep", "caf\u00e9", "* bullet",
                      "```\nno end"):
            with self.assertRaises(documents.Unknown, msg=guide):
                make_man_page.page("quillet", guide + "\n", "1.0", DAY)

    def test_a_page_that_cannot_be_made_fails_the_build(self):
        with tempfile.TemporaryDirectory() as folder:
            guide = pathlib.Path(folder) / "guide.md"
            guide.write_text("> quoted\n", encoding="utf-8")
            done = subprocess.run([sys.executable, REPOSITORY / "packaging/make_man_page.py", 
                                   "quillet", guide, REPOSITORY / "debian/changelog",
                                   guide.with_suffix(".1")], check=False,
                                  stderr=subprocess.PIPE, text=True)
            self.assertNotEqual(done.returncode, 0)
            self.assertIn("> quoted", done.stderr)
            self.assertFalse(guide.with_suffix(".1").exists())


if __name__ == "__main__":
    unittest.main()
