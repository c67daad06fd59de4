#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""That the users' guide explains everything the program says. Usage: guide_test.py REPOSITORY

Read are the texts in the sources: what is handed to the functions that show a message or write a line
into the error log, and every other text of four words or more, so that those which come from a table
are not missed. What changes from case to case ("%ls") is an ellipsis in the guide.
"""

import pathlib
import re
import sys
import unittest

REPOSITORY = pathlib.Path(sys.argv.pop(1))
FOLDERS = ("app", "article", "base", "groups", "killfile", "mime", "nntp", "post", "store", "thread",
           "util", "port/common", "port/linux")
SHOWING = re.compile(r"\b(ShowMessage|ConfirmAction|AskYesNo|AskOkCancel|ReportError|"
                     r"ReportCriticalError|LogError|ShowBox)\(")
TEXT = re.compile(r'\bu"(?:[^"\\\n]|\\.)*"(?:\s*u"(?:[^"\\\n]|\\.)*")*')

# Texts that are no messages: they stand in windows that explain themselves.
ELSEWHERE = [
    # labels and entries of windows
    "Kill if author contains:", "Require author to contain:", "Kill if subject contains:",
    "Require subject to contain:", "--- Begin body here ---",
    # titles and lines of the progress window
    "Deleting \u2026 articles in selected groups...", "Deleting \u2026 articles in \u2026...",
    "Scanning group for article \u2026 (found \u2026)", "Article \u2026 does not exist on the server",
    "Downloading from group \u2026", "Skipping large article \u2026 (\u2026k)",
    "skipping large article \u2026: \u2026k (this may take some time)",
    "Marking articles in checked groups as read...",
    "Marking articles in checked groups as unread...",
    # captions of boxes and file dialogs
    "Save trans log as",
    "Quillet CE not configured", "Finished marking server(s) read/unread",
    # the first steps in an empty group list
    "1. Tell Quillet your news server",
    # the status line
    "\u2026 article\u2026 queued for posting", "\u2026 new article\u2026 in \u2026 group\u2026",
    ", refused by the server",
    # the line below an article or above the threads
    "All articles are read.", "All other articles are read.",
    # the pages of the preferences
    "Store is currently \u2026% full.", "Loaded GDBMce.dll version: '\u2026'",
    "Give posts a &Message-ID", "An article whose posting was cut off is posted once, not twice.",
    "Use the desktop's pass&word store",
    "Passwords of news servers are kept there instead of in the settings.",
    "Show the pro&gress of imports", "The import of a file above 1 MB can be watched and cancelled.",
    "Articles of every language and encoding are shown as they were written, with their attachments.",
    "Write in every &language", "What is not plain ASCII is posted and mailed as UTF-8.",
    "number of seconds without an answer", "number of attempts after a lost connection",
    "A news server that is silent for so long has gone. 0: it is waited for without end.",
    "After 5, 15 and then every 45 seconds. 0: the connection ends there.",
    "Log in when the server as&ks for it",
    "If a user name is set, the program logs in whenever the server wants it.",
    "&Try all addresses of a server", "IPv6 too. Off: only the first IPv4 address.",
    "Show &cross-posts in every group",
    "An article that is stored already is added to each group that it was posted to.",
    "Where an article is missing, its answers stay below the one before it.",
    "&Begin where I left off", "The program opens the last group again, at the same place.",
    "Show the &first steps",
    "While there is nothing to read, the group list says what to do next.",
    "Show s&peed and time left",
    "A connection shows how far it is, how fast, and how long it will take.",
    "&Read on with Space and N",
    "Space pages on and opens the next unread article at the end, N opens it at once.",
    "Show dat&es where there is room",
    "The thread list has columns for author and date, the article its date.",
    # the first steps in the empty list of groups
    "1. Tell Quillet your news server", "2. Add a newsgroup",
    # the About box
    "Version \u2026\r\n\r\nLicence: GPL-3.0-or-later. This is free software: you may use it, change it and pass "
    "it on under the terms of the GNU General Public License, version 3 or later. There is no "
    "warranty.\r\n\r\nHelp: F1 opens the user guide, as \"man quillet\" does in a terminal.\r\n\r\n"
    "Libraries in use:",
    # the waits between two connections
    "The connection was lost. Trying again in 1 second...",
    "The connection was lost. Trying again in \u2026 seconds...",
    # pieces of what is said of certificates
    "A certificate that vouches for", "\u2026 \u2026 has expired on \u2026.",
    "\u2026 \u2026 is not valid before \u2026.",
    "\u2026 \u2026 has a key or a signature that is too weak.", "\u2026 \u2026 has been revoked.",
    "\u2026 \u2026 has a wrong signature.",
    # what is written, not shown
    "In message $i, $a wrote:",
    # names of files
    "Quillet databases in use", "Quillet deleted cross-posts",
]
# Signatures, mark-up, header lines, paths and names of files.
WRITTEN = re.compile(r"^(-- \r\n)?Posted with Quillet |<|^From: |^(Software)?\\|\.gdb(\.copy)?$")


def without_comments(source):
    return re.sub(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*', lambda match: match.group(1) or "", source)


def text_of(literal):
    """A literal, in however many pieces, as the guide writes it."""
    text = "".join(re.findall(r'"((?:[^"\\\n]|\\.)*)"', literal))
    text = text.replace("\\r", "\r").replace("\\n", "\n").replace('\\"', '"').replace("\\\\", "\\")
    text = text.replace("%%", "\0")
    text = re.sub(r"%(lu|ls|d|u|x|s|c)", "\u2026", text).replace("\0", "%")
    text = re.sub("\u2026+", "\u2026", text)
    return text if text.startswith("-- ") else text.strip("\r\n ")


def argument_of(source, start):
    """What stands between the bracket before `start` and its counterpart."""
    depth, at = 1, start
    while depth:
        match = re.compile(r'"(?:[^"\\\n]|\\.)*"|[()]').search(source, at)
        depth += {"(": 1, ")": -1}.get(match.group(), 0)
        at = match.end()
    return source[start:at - 1]


def texts_of(source):
    """(texts that are shown, all texts) of a source; comments are gone already."""
    shown = {text_of(text) for call in SHOWING.finditer(source)
             for text in TEXT.findall(argument_of(source, call.end()))}
    return shown, {text_of(match.group()) for match in TEXT.finditer(source)}


def is_prose(text):
    return len(re.findall(r"[A-Za-z']{2,}", text)) >= 4


class Guide(unittest.TestCase):
    maxDiff = None

    # Put together from several texts, or kept in 8-bit characters.
    IN_PIECES = [
        "Quillet CE had to end: the file \"\u2026\" was made shorter by another program or cannot be "
        "read any more.",
        "Some characters of this text cannot be used here: \u2026",
        "Some characters of this text cannot be used here: \u2026. In the article that waits to be "
        "posted each of them is a \"?\".",
        "Quillet notification: message exceeds maximum size.",
        "Quillet notification: message has no body",
        *(start + end for start in ("The certificate of \u2026 ",
                                    "A certificate that vouches for \u2026 ")
          for end in ("has expired on \u2026.", "is not valid before \u2026.", "has been revoked.",
                      "has a key or a signature that is too weak.", "has a wrong signature.")),
    ]

    @classmethod
    def setUpClass(cls):
        cls.guide = (REPOSITORY / "docs/user-guide.md").read_text(encoding="utf-8")
        cls.unwrapped = re.sub(r"\n  (?=\S)", " ", cls.guide)
        cls.messages = set(re.findall(r"\*\*(.+?)\*\*", cls.unwrapped))
        cls.reasons = {reason for message in cls.messages for reason in
                       re.findall(r"An? (?:unexpected|critical) error \((.*)\) occurred", message)}
        cls.sources = {}
        for folder in FOLDERS:
            for path in sorted((REPOSITORY / folder).rglob("*.cpp")) + sorted(
                    (REPOSITORY / folder).rglob("*.h")):
                cls.sources[str(path.relative_to(REPOSITORY))] = without_comments(
                    path.read_text(encoding="utf-8"))

    def explained(self, text):
        """As a message of its own, as the reason of an error, or in a sentence. A text that begins
        with a full stop is the end of a message."""
        return (text in self.messages or text in self.reasons
                or text.startswith(". ") and any(one.endswith(text) for one in self.messages)
                or not text.endswith((".", "?", "!")) and text in self.unwrapped)

    def test_every_message_of_the_program_is_explained(self):
        missing = {}
        for name, source in self.sources.items():
            shown, texts = texts_of(source)
            wanted = {text for text in shown if re.search("[A-Za-z]{2}", text)}
            wanted |= {text for text in texts if is_prose(text)}
            for text in wanted:
                if (text not in ELSEWHERE and not WRITTEN.search(text)
                        and not re.fullmatch(r"[A-Z]\w+", text) and not self.explained(text)):
                    missing.setdefault(name, []).append(text)
        self.assertEqual(missing, {}, "docs/user-guide.md does not explain these")

    def test_every_message_that_is_explained_is_said(self):
        texts = set().union(*(texts_of(source)[1] for source in self.sources.values()))
        entries = re.findall(r"^- \*\*(.+?)\*\*$", self.guide, re.MULTILINE)
        self.assertGreater(len(entries), 150)
        self.assertEqual(sorted({one for one in entries if entries.count(one) > 1}), [])
        for entry in entries:
            error = re.fullmatch(r"(An? \w+ error \()(.*)(\) occurred in )(.*)\.", entry)
            if error:
                self.assertIn(error[1] + "\u2026" + error[3] + "\u2026.", texts)
                self.assertIn(error[4], texts | {"\u2026"}, entry)
                self.assertIn(error[2], texts | {"\u2026", "\u2026: \u2026"}, entry)
            elif entry not in texts:
                # In pieces, or not in the program's own character set.
                self.assertIn(entry, self.IN_PIECES)

    def test_the_sources_were_read(self):
        shown = set().union(*(texts_of(source)[0] for source in self.sources.values()))
        for text in ("Discard this article?", "Unable to find host \u2026.", "RAS error \u2026",
                     "Databases already exist in new location.  Replace with old databases?"):
            self.assertIn(text, shown)
        self.assertGreater(len(shown), 100)

    def test_exceptions_that_nothing_says_any_more_are_gone(self):
        texts = set().union(*(texts_of(source)[1] for source in self.sources.values()))
        self.assertEqual([text for text in ELSEWHERE if text not in texts], [])

    def test_how_texts_are_found(self):
        shown, texts = texts_of(without_comments(
            'f(); // ShowMessage(u"no")\n'
            'ShowMessage(FormatWide(u"a \\"%ls\\" (b)"\n   u", c %d%%\\r\\n", g(")")), u"d");\n'
            'constexpr auto kText = u"one (two) three";\n'))
        self.assertEqual(shown, {'a "\u2026" (b), c \u2026%', "d"})
        self.assertEqual(texts, shown | {"one (two) three"})

    def test_links_of_the_documents_lead_somewhere(self):
        def anchors_of(path):
            headings = re.findall(r"^#+ (.*)$", path.read_text(encoding="utf-8"), re.MULTILINE)
            return {re.sub(r"[^a-z0-9 -]", "", heading.lower()).replace(" ", "-")
                    for heading in headings}

        documents = [REPOSITORY / "README.md", *(REPOSITORY / "docs").glob("*.md")]
        links = 0
        for document in documents:
            for target in re.findall(r"\]\(([^)\s]+)\)", document.read_text(encoding="utf-8")):
                path, _, anchor = target.partition("#")
                found = document.parent / path if path else document
                self.assertTrue(found.exists(), (document.name, target))
                if anchor:
                    self.assertIn(anchor, anchors_of(found), (document.name, target))
                links += 1
        self.assertGreater(links, 20)


if __name__ == "__main__":
    unittest.main()
