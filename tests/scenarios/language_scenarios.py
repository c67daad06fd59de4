# SPDX-License-Identifier: GPL-3.0-or-later
"""Articles of every language and encoding: decoded, raw, their attachments, and with it all off."""

import base64
import re

from reading import *
from settings import *

RAW_TEXT = 40080
DECODE = 1200

MIME = "MIME-Version: 1.0\r\n"
GREEK = MIME + ("Content-Type: text/plain; charset=UTF-8\r\n"
                "Content-Transfer-Encoding: quoted-printable\r\n")
PICTURE = bytes(range(256)) * 8
MIXED = ("--cut\r\nContent-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n"
         "\r\nSee the picture.\r\n"
         "--cut\r\nContent-Type: image/jpeg\r\n"
         "Content-Disposition: attachment; filename=\"photo.jpg\"\r\n"
         "Content-Transfer-Encoding: base64\r\n\r\n" +
         base64.encodebytes(PICTURE).decode("ascii").replace("\n", "\r\n") +
         "--cut\r\nContent-Type: text/x-trick\r\n"
         "Content-Disposition: attachment; filename=\"../../../etc/http://x/.passwd\"\r\n"
         "\r\ntrick\r\n"
         "--cut--\r\n")
SUBJECT = "=?utf-8?q?=CE=A9_caf=C3=A9?="

LANGUAGES = {
    1: post("ann", SUBJECT, body="=CE=A9=CE=BC=CE=AD=CE=B3=CE=B1, caf=C3=A9.\r\n..dots\r\n",
            extra=GREEK),
    2: post("bob", "Mixed", body=MIXED,
            extra=MIME + "Content-Type: multipart/mixed; boundary=\"cut\"\r\n"),
    3: post("carl", "Plain", body="Plain =C3=A9.\r\n"),
}
# As they are shown. The dots at a line's start were doubled on their way.
DECODED = "\u03a9\u03bc\u03ad\u03b3\u03b1, caf\u00e9.\r\n.dots"
ENCODED = "=CE=A9=CE=BC=CE=AD=CE=B3=CE=B1, caf=C3=A9.\r\n..dots"


def links(q):
    """[(target, text)] of the shown article's attachments."""
    return re.findall(r'<a href="(attachment:[^"]*)">([^<]*)</a>', q.viewer()["source"])


class Languages(Reading):
    def open(self, values=None, **keywords):
        return super().open(LANGUAGES, values={"maxarticlesize": 50000, **(values or {})},
                            **keywords)

    def read(self, q, node):
        if q.tab() == "article":
            q.key("Escape")
        q.open_node(node)

    def test_texts_are_decoded_and_the_raw_text_is_one_key_away(self):
        with self.open() as q:
            self.read(q, "<ann@x>")
            self.assertEqual(q.viewer()["source"], html(DECODED))
            self.assertEqual(q.header()[0], "Subject: \u03a9 caf\u00e9")
            for line in ("key Ctrl+Shift+R", 'command "Article/Raw text"', "command %d" % RAW_TEXT):
                q.do(line)
                self.assertEqual(q.viewer()["source"], html(ENCODED))
                q.do(line)
                self.assertEqual(q.viewer()["source"], html(DECODED))
        self.assert_fine(q)
        self.assert_silent(q)

    def find(self, q, text):
        self.dialog(q, "key Ctrl+F", FIND_DIALOG)
        q.do("set 1005 " + quillet_script.quoted(text))
        q.do("press 1")
        q.do("wait")

    def test_hits_are_marked_in_the_text_that_is_shown(self):
        def hit(text):
            return '<b><span style="background: #FFFF00">' + text + '</span></b>'
        with self.open() as q:
            self.read(q, "<ann@x>")
            self.find(q, "\u039c\u0388\u0393\u0391")
            self.assertIn(">\u03a9" + hit("\u03bc\u03ad\u03b3\u03b1") + ", caf",
                          q.viewer()["source"])
            self.find(q, "=CE")
            self.assertNotIn("<span", q.viewer()["source"])
            q.command(RAW_TEXT)
            self.find(q, "=CE=A9")
            self.assertIn(hit("=CE=A9") + "=CE=BC", q.viewer()["source"])
            self.read(q, "<bob@x>")
            self.find(q, "photo.jpg")
            self.assertRegex(q.viewer()["source"],
                             r'<a href="attachment:\d+">Attachment: ' + re.escape(hit("photo.jpg")))
        self.assert_fine(q)
        self.assert_silent(q)

    def test_another_article_begins_decoded(self):
        with self.open() as q:
            self.read(q, "<bob@x>")
            q.command(RAW_TEXT)
            self.assertIn("--cut&nbsp;<br>", q.viewer()["source"])
            self.assertEqual(links(q), [])
            self.read(q, "<ann@x>")
            self.assertEqual(q.viewer()["source"], html(DECODED))
            self.read(q, "<bob@x>")
            self.assertEqual(len(links(q)), 2)
        self.assert_fine(q)

    def test_an_article_without_encodings_is_shown_as_ever(self):
        with self.open() as q:
            self.read(q, "<carl@x>")
            self.assertEqual(q.viewer()["source"], html("Plain =C3=A9."))

    def test_an_attachment_is_followed_and_saved(self):
        with self.open() as q:
            self.read(q, "<bob@x>")
            (picture, line), (trick, trick_line) = links(q)
            self.assertRegex(line, r"^Attachment: photo\.jpg, image/jpeg, 2\.0K$")
            self.assertNotIn("http://x", re.sub(r"<a .*?</a>", "", q.viewer()["source"]))
            path = self.profile / "my photo.jpg"
            q.expect_save(str(path))
            q.do("follow " + picture)
            q.do("wait")
            self.assertEqual(path.read_bytes(), PICTURE)
            q.expect_save("")
            q.do("follow " + trick)
            q.do("wait")
            first, second = q.of("save-dialog")
            self.assertEqual((first["title"], first["default_name"], first["default_extension"]),
                             ("Save attachment as", "photo.jpg", ""))
            self.assertNotRegex(second["default_name"], r"^\.|[/\\]")
            self.assertEqual(q.of("link"), [], "nothing is opened")
        self.assert_fine(q)
        self.assert_silent(q)

    def test_an_attachment_never_replaces_a_file(self):
        with self.open() as q:
            self.read(q, "<bob@x>")
            path = self.profile / "kept"
            path.write_bytes(b"mine")
            q.expect_save(str(path))
            q.do("follow " + links(q)[0][0])
            q.do("wait")
            self.assertEqual(path.read_bytes(), b"mine")
        self.assertEqual(q.boxes(), [
            ("Quillet", "An unexpected error (already exists) occurred in SaveAsFile.", "ok")])

    def test_an_attachment_that_the_article_does_not_have(self):
        with self.open() as q:
            self.read(q, "<ann@x>")
            q.do("link attachment:1")
            q.do("wait")
        self.assertEqual(q.boxes(), [
            ("Quillet", "The article that is shown has no such attachment any more. Please open "
                        "the article again.", "ok")])

    def test_the_headers_dialog_shows_what_was_sent(self):
        with self.open() as q:
            self.read(q, "<ann@x>")
            dialog = self.dialog(q, "command %d" % SHOW_HEADERS, HEADERS_DIALOG)
            self.assertTrue(self.control(dialog, 1009)["text"].startswith(
                "Subject: " + SUBJECT + "\r\n"))
            q.do("press 1")

    def test_a_saved_article_is_what_was_sent(self):
        with self.open() as q:
            self.read(q, "<ann@x>")
            path = self.profile / "ann.txt"
            q.expect_save(str(path))
            q.command(SAVE_AS)
            self.assertEqual(q.of("save-dialog")[0]["default_name"], "__caf_.txt")
            saved = path.read_bytes()
            self.assertTrue(saved.startswith(b"Subject: " + SUBJECT.encode("ascii") + b"\r\n"))
            self.assertTrue(saved.endswith(b"\r\n\r\n" + ENCODED.encode("ascii")))

    def test_with_decoding_off_everything_is_as_it_was_sent(self):
        with self.open(values={"Extensions\\decodemime": 0}) as q:
            self.read(q, "<ann@x>")
            self.assertEqual(q.viewer()["source"], html(ENCODED))
            self.assertEqual(q.header()[0], "Subject: " + SUBJECT)
            q.command(RAW_TEXT)
            self.assertEqual(q.viewer()["source"], html(ENCODED))
            self.read(q, "<bob@x>")
            self.assertEqual(links(q), [])
            self.assertEqual(q.viewer()["source"].count("--cut"), MIXED.count("--cut"))
        self.assert_fine(q)
        self.assert_silent(q)

    def test_the_switch_on_the_page_is_seen_at_once(self):
        with self.open() as q:
            self.read(q, "<ann@x>")
            for line, text, label in (("untick", ENCODED, SUBJECT),
                                      ("tick", DECODED, "\u03a9 caf\u00e9")):
                q.do('command "File/Preferences"')
                q.do('page "Extensions"')
                q.do("%s %d" % (line, DECODE))
                q.do("press 1")
                q.do("wait")
                self.assertEqual(q.viewer()["source"], html(text))
                self.assertEqual(q.header()[0], "Subject: " + label)
                q.do("key Escape")
                self.assertIn((0, label), [row[:2] for row in q.texts()])
                q.do("tab article")
        self.assert_fine(q)


if __name__ == "__main__":
    main()
