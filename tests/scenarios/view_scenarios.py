# SPDX-License-Identifier: GPL-3.0-or-later
"""The article view: what the viewer is given, toggles, headers, finding, saving."""

from reading import *

LINK = ('<a href="http://www.example.org/a?b=1&c=">http://www.example.org/a?b=1&amp;c=</a>'
        '&lt;2&gt;.')
DORA = ('<FONT FACE="Arial" SIZE="2">Look at ' + LINK + '&nbsp;<br><FONT COLOR="#C02020">'
        '&gt; quoted</FONT>&nbsp;<br>A "needle" &amp; more.&nbsp;<br>-- &nbsp;<br>'
        'Dora&nbsp;<br></FONT>')


def kept(stored):
    """The stored header lines, all with their ends."""
    return stored["headers"].rstrip("\r\n") + "\r\n"


def hit(text):
    return '<b><span style="background: #FFFF00">' + text + '</span></b>'


class Showing(Reading):
    def test_links_quotes_and_signs(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            viewer = q.viewer()
            self.assertEqual(viewer["source"], DORA)
            self.assertEqual((viewer["plain_text"], viewer["additions"], viewer["ended"],
                              viewer["focused"]), (False, 1, True, True))
        self.assert_fine(q)

    def test_fonts_and_colours_follow_the_preferences(self):
        values = {"font": "<default>", "fontsize": 8, "colorquoted": 0,
                  "articleheaderfont": "Courier", "articleheaderfontsize": 8}
        with self.open(values=values) as q:
            q.open_node("<dora@x>")
            source = q.viewer()["source"]
            self.assertTrue(source.startswith('<FONT SIZE="8">Look at '), source)
            self.assertIn("&nbsp;<br>&gt; quoted&nbsp;<br>", source)
            header = q.ask("header")
            self.assertEqual((header["font"], header["pixels"]), ("Courier", 24))

    def test_with_all_headers(self):
        with self.open(values={"showheaders": 1}) as q:
            q.open_node("<bob@x>")
            stored = q.article("<bob@x>")
            text = ("Subject: Re: Hello\r\nDate: Sat, 21 Nov 2026 10:00:00 GMT\r\n"
                    "From: Bob &lt;bob@x.example&gt;\r\nReply-To: Bob &lt;bob@x.example&gt;\r\n"
                    "Message-ID: &lt;bob@x&gt;\r\n" +
                    kept(stored).replace("<", "&lt;").replace(">", "&gt;") +
                    "\r\nText of bob.")
            self.assertIn("References: &lt;ann@x&gt;", text)
            self.assertEqual(q.viewer()["source"], html(text))
        self.assert_fine(q)

    def test_rot13_turns_the_text_until_another_article_is_opened(self):
        with self.open() as q:
            q.open_node("<ann@x>")
            q.key("Ctrl+2")
            self.assertEqual(q.viewer()["source"], html("Grkg bs naa."))
            q.command(ROT13)
            self.assertEqual(q.viewer()["source"], html("Text of ann."))
            q.command(ROT13)
            q.command(NEXT_ARTICLE)
            self.assertEqual(q.viewer()["source"], html("Text of bob."))
            q.command(PREVIOUS_ARTICLE)
            self.assertEqual(q.viewer()["source"], html("Text of ann."))
            self.assertEqual(q.article("<ann@x>")["body"], "Text of ann.")

    def test_rot13_turns_the_headers_as_well(self):
        with self.open(values={"showheaders": 1}) as q:
            q.open_node("<ann@x>")
            q.command(ROT13)
            self.assertIn("Fhowrpg: Uryyb&nbsp;<br>", q.viewer()["source"])

    def test_lines_are_joined_on_demand_and_the_choice_is_kept(self):
        articles = {1: post("ann", "Lines", body="one\r\ntwo\r\n\r\nthree\r\n> four\r\n"
                                                 "-- \r\nsig\r\nsig\r\n")}
        plain = "one\r\ntwo\r\n\r\nthree\r\n&gt; four\r\n-- \r\nsig\r\nsig"
        # The line before the signature's mark is joined with it; what follows the mark is not.
        joined = "one  two\r\n\r\nthree\r\n&gt; four  -- \r\nsig\r\nsig"
        values = {"colorquoted": 0}
        with self.open(articles, values=values) as q:
            q.open_node("1")
            self.assertEqual(q.viewer()["source"], html(plain))
            q.key("Ctrl+Shift+C")
            self.assertEqual(q.viewer()["source"], html(joined))
            self.assertNotEqual(q.registry("removecrs"), 1, "written with the others")
        self.assertEqual(self.read_back()["removecrs"][1], 1)
        with self.run_quillet() as q:
            q.open_group(GROUP)
            q.open_node("1")
            self.assertEqual(q.viewer()["source"], html(joined))

    def test_the_plain_text_flag_goes_with_every_article(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            q.command(PLAIN_TEXT)
            self.assertEqual((q.viewer()["source"], q.viewer()["plain_text"]), (DORA, True))
            q.command(NEXT_ARTICLE)
            self.assertTrue(q.viewer()["plain_text"])
            q.command(PREVIOUS_ARTICLE)
            q.command(PLAIN_TEXT)
            self.assertFalse(q.viewer()["plain_text"])

    def test_the_headers_dialog(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            stored = q.article("<bob@x>")
            for line in ("tap-header", "command %d" % SHOW_HEADERS,
                         'command "Article/Show headers"'):
                dialog = self.dialog(q, line, HEADERS_DIALOG)
                self.assertEqual(dialog["caption"], "Message headers")
                self.assertEqual(
                    self.control(dialog, 1009)["text"],
                    "Subject: Re: Hello\r\nFrom: Bob <bob@x.example>\r\n"
                    "Date: Sat, 21 Nov 2026 10:00:00 GMT\r\nReply-To: Bob <bob@x.example>\r\n"
                    "Message-ID: <bob@x>\r\n" + kept(stored) +
                    "X-Quillet-ParentID: <ann@x>\r\nX-Quillet-ServerName: 127.0.0.1\r\n"
                    "X-Quillet-ServerID: 2\r\nX-Quillet-CompressedSavings: 0%\r\n")
                q.do("press 1" if line == "tap-header" else "key Escape")
                q.do("wait")
            self.assertEqual(len(q.of("dialog-closed")) - len(
                [d for d in q.of("dialog-closed") if d["form"] == PROGRESS_DIALOG]), 3)
            self.assertEqual(q.tab(), "article", "Escape closed the dialog only")
        self.assert_fine(q)

    def test_a_reply_to_of_its_own_is_not_in_the_dialog(self):
        articles = {1: post("ann", "Hello", extra="Reply-To: Zoe <zoe@x.example>\r\n")}
        with self.open(articles) as q:
            q.open_node("1")
            dialog = self.dialog(q, "tap-header", HEADERS_DIALOG)
            self.assertNotIn("\r\nReply-To: Zoe", self.control(dialog, 1009)["text"])
            q.do("press 2")


class Finding(Reading):
    def find(self, q, text, tick=(), untick=()):
        dialog = self.dialog(q, "key Ctrl+F", FIND_DIALOG)
        q.do("set 1005 " + quillet_script.quoted(text))
        for control in tick:
            q.do("tick %d" % control)
        for control in untick:
            q.do("untick %d" % control)
        q.do("press 1")
        q.do("wait")
        return dialog

    def test_hits_are_highlighted_and_the_choices_kept(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            first = self.find(q, "o", tick=[1006])
            texts = [c["text"] for c in first["controls"]]
            for text in ("Enter search text:", "&Match case", "Match &whole word",
                         "Search in &headers"):
                self.assertIn(text, texts)
            buttons = {c["id"]: c["text"].replace("&", "") for c in first["controls"]
                       if c["kind"] == "button"}
            self.assertEqual(buttons, {1: "Search", 2: "Cancel"})
            self.assertEqual((first["caption"], self.control(first, 1005)["text"]), ("Find", ""))
            source = q.viewer()["source"]
            self.assertIn("L" + hit("o") + hit("o") + "k at ", source)
            self.assertIn('<a href="http://www.example.org/a?b=1&c=">http://www.example.'
                          + hit("o") + "rg/a", source)
            self.assertIn("D" + hit("o") + "ra&nbsp;<br></FONT>", source)
            again = self.find(q, "no such text")
            self.assertEqual(self.control(again, 1005)["text"], "o")
            self.assertTrue(self.control(again, 1005)["text_selected"])
            self.assertEqual([self.control(again, c)["checked"] for c in (1006, 1007, 1008)],
                             [True, False, False])
            self.assertEqual(q.viewer()["source"], DORA, "no hit, no mark")
        self.assert_fine(q)
        self.assert_silent(q)

    def test_case_and_words_count_when_they_shall(self):
        cases = [("NEEDLE", [], [1006, 1007], 1), ("NEEDLE", [1006], [1007], 0),
                 ("needle", [1006, 1007], [], 1), ("needl", [1007], [1006], 0),
                 ("quoted\r\nA", [], [1006, 1007], 1)]
        with self.open() as q:
            q.open_node("<dora@x>")
            for text, tick, untick, count in cases:
                self.find(q, text, tick, untick)
                self.assertEqual(q.viewer()["source"].count(hit("")[:8]), count, text)

    def test_a_cancelled_search_changes_nothing(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            self.find(q, "needle")
            source = q.viewer()["source"]
            self.dialog(q, "key Ctrl+F", FIND_DIALOG)
            q.do("set 1005 other")
            q.do("press 2")
            q.do("wait")
            self.assertEqual(q.viewer()["source"], source)
            dialog = self.dialog(q, "key Ctrl+F", FIND_DIALOG)
            self.assertEqual(self.control(dialog, 1005)["text"], "needle")
            q.do("key Escape")
            q.do("wait")
            self.assertEqual(q.tab(), "article")

    def test_find_again_goes_on_to_the_last_article(self):
        with self.open() as q:
            q.open_node("1")
            self.find(q, "text OF")
            seen = [self.shown(q)]
            for _ in range(4):
                q.key("Ctrl+3")
                seen.append(self.shown(q))
                self.assertEqual(q.viewer()["source"],
                                 html(hit("Text of") + " %s." % seen[-1]))
            self.assertEqual(seen, ["ann", "bob", "carl", "eve", "finn"], "dora has no such text")
            self.assert_silent(q)
            q.command(FIND_AGAIN)
            self.assertEqual(q.boxes(), [("Quillet", "Search string not found.", "ok")])
            self.assertEqual((self.shown(q), q.tab()), ("finn", "article"))
            self.assertEqual(self.counts(q), ["1/6"], "what was found was read")
        self.assert_fine(q)

    def test_without_a_text_find_again_does_nothing(self):
        with self.open() as q:
            q.open_node("1")
            q.key("Ctrl+3")
            self.find(q, "Text")
            self.find(q, "")
            self.assertEqual(q.viewer()["source"], html("Text of ann."))
            q.key("Ctrl+3")
            self.assertEqual(self.shown(q), "ann")
        self.assert_fine(q)
        self.assert_silent(q)

    def test_from_the_tree_the_search_begins_at_the_first_article(self):
        with self.open() as q:
            self.find(q, "of ann")
            self.assertEqual((q.tab(), self.shown(q)), ("article", "ann"))
            self.assertEqual(q.viewer()["source"], html("Text " + hit("of ann") + "."))
            q.key("Escape")
            self.find(q, "of ann")
            self.assertEqual(q.boxes(), [("Quillet", "Search string not found.", "ok")])
            self.assertEqual(q.tab(), "thread")
        self.assert_fine(q)

    def test_headers_are_searched_when_they_shall_be(self):
        with self.open() as q:
            self.find(q, "carl@x.example")
            self.assertEqual(len(q.boxes()), 1)
            self.find(q, "carl@x.example", tick=[1008])
            self.assertEqual(self.shown(q), "carl")
            self.assertEqual(q.viewer()["source"], html("Text of carl."))
            q.key("Escape")
            self.find(q, "<gone@x>")
            self.assertEqual(self.shown(q), "eve")

    def test_a_search_passes_over_what_has_gone(self):
        with self.open() as q:
            q.do("delete-stored <bob@x>")
            q.open_node("<ann@x>")
            self.find(q, "text")
            q.key("Ctrl+3")
            self.assertEqual(self.shown(q), "carl")
        self.assert_fine(q)
        self.assert_silent(q)


class Saving(Reading):
    def test_a_new_file_with_exactly_the_text(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            path = self.profile / "dora.txt"
            q.expect_save(str(path))
            q.key("Ctrl+S")
            traits = q.of("save-dialog")[0]
            self.assertEqual(
                [traits[member] for member in ("title", "default_name", "filter_text",
                                               "filter_pattern", "default_extension")],
                ["Save article as", "Other.txt", "Text (*.txt)", "*.txt", "txt"])
            stored = q.article("<dora@x>")
            text = ("Subject: Other\r\nDate: Sat, 21 Nov 2026 10:00:00 GMT\r\n"
                    "From: Dora <dora@x.example>\r\nReply-To: Dora <dora@x.example>\r\n"
                    "Message-ID: <dora@x>\r\n" + kept(stored) + "\r\n" + stored["body"])
            self.assertEqual(path.read_bytes().decode("latin-1"), text)
        self.assert_fine(q)
        self.assert_silent(q)

    def test_an_existing_file_is_never_replaced(self):
        with self.open() as q:
            q.open_node("1")
            path = self.profile / "kept.txt"
            for _ in range(2):
                q.expect_save(str(path))
                q.command(SAVE_AS)
                before = path.read_bytes()
            q.command(NEXT_ARTICLE)
            q.expect_save(str(path))
            q.command(SAVE_AS)
            self.assertEqual(path.read_bytes(), before)
        self.assert_fine(q)
        self.assertEqual(q.boxes(), 2 * [
            ("Quillet", "An unexpected error (already exists) occurred in SaveAsFile.", "ok")])

    def test_names_with_a_final_dot_and_of_the_device(self):
        with self.open() as q:
            q.open_node("1")
            for answer in (str(self.profile / "a."), "\\b.txt", "\\\\c.txt"):
                q.expect_save(answer)
                q.command(SAVE_AS)
            for path in (self.profile / "a.txt", self.profile / "data" / "b.txt",
                         self.profile / "data" / "c.txt"):
                self.assertTrue(path.exists(), path)
        self.assert_fine(q)
        self.assert_silent(q)

    def test_what_cannot_be_written_is_told_with_its_number(self):
        with self.open() as q:
            q.open_node("1")
            q.expect_save(str(self.profile / "none" / "a.txt"))
            q.command(SAVE_AS)
            self.assertRegex(q.boxes()[0][1], r"^An unexpected error \(unknown \([23]\)\) "
                                              r"occurred in SaveAsFile\.$")
            q.expect_save("")
            q.command(SAVE_AS)
            self.assertEqual(len(q.boxes()), 1, "cancelled")
        self.assert_fine(q)

    def test_default_names_come_from_the_subject(self):
        subjects = {"Re: a/b": "Re__a_b.txt", "A subject longer than sixteen": "A_subject_longer.txt"}
        articles = {number: post("p%d" % number, subject)
                    for number, subject in enumerate(subjects, 1)}
        with self.open(articles) as q:
            for number in range(1, len(subjects) + 1):
                q.open_node("<p%d@x>" % number)
                q.expect_save("")
                q.command(SAVE_AS)
                q.key("Escape")
        self.assertEqual([e["default_name"] for e in q.of("save-dialog")], list(subjects.values()))

    def test_a_turned_article_is_saved_as_it_is_shown(self):
        with self.open() as q:
            q.open_node("<ann@x>")
            q.command(ROT13)
            path = self.profile / "turned.txt"
            q.expect_save(str(path))
            q.command(SAVE_AS)
            text = path.read_bytes()
            self.assertTrue(text.startswith(b"Fhowrpg: Uryyb\r\n"), text)
            self.assertTrue(text.endswith(b"\r\nGrkg bs naa."), text)


if __name__ == "__main__":
    main()
