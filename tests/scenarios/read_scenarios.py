# SPDX-License-Identifier: GPL-3.0-or-later
"""Opening groups, walking through articles, what reading does to the counts, changing views."""

from reading import *


def titles(q):
    """The titles of the progress dialogs so far."""
    return [text for control, text in q.progress_texts() if control == 1020]


class Opening(Reading):
    def test_the_tree_of_a_downloaded_group(self):
        with self.download() as q:
            titles(q)
            q.open_group(GROUP)
            self.assertEqual(titles(q), ["Threading..."])
            tree = self.assert_tree_true(q)
            self.assertEqual([(r["depth"], r["text"]) for r in tree["rows"]], ROWS)
            self.assertEqual((tree["name"], tree["font"], tree["font_size"]),
                             ("thread tree", "Tahoma", 3))
            self.assertEqual((tree["caption"], tree["focused"], q.tab()),
                             ("comp.test: 0 on server", True, "thread"))
            self.assertFalse(any(row["expanded"] for row in tree["rows"]))
            self.assertEqual(self.names(q), ORDER)
        self.assert_fine(q)
        self.assert_silent(q)

    def test_the_same_from_key_tab_and_click(self):
        for lines in (["activate comp.test"], ["select comp.test", "key Return"],
                      ["select comp.test", "tab thread"]):
            self.use_profile("-" + lines[-1].split()[1])
            with self.subTest(lines), self.download() as q:
                for line in lines:
                    q.do(line)
                self.assertEqual([text[:2] for text in q.texts()], ROWS)
            self.assert_fine(q)

    def test_without_threading_every_article_is_a_thread(self):
        with self.download(values={"usethreading": 0}) as q:
            titles(q)
            q.open_group(GROUP)
            self.assertEqual(titles(q), ["Building article list..."])
            self.assertEqual([text[:2] for text in q.texts()], [
                (0, "Hello"), (1, author("ann")), (0, "Re: Hello"), (1, author("bob")),
                (0, "Re: Hello"), (1, author("carl")), (0, "Other"), (1, author("dora")),
                (0, "RE: re:  Hello"), (1, author("eve")), (0, "Last"), (1, author("finn"))])
            self.assert_tree_true(q)

    def test_reversed_at_every_level(self):
        articles = dict(ARTICLES)
        articles[7] = post("gus", "Re: Hello", "<ann@x>")
        with self.open(articles, values={"reversethread": 1}) as q:
            self.assertEqual([text[:2] for text in q.texts()], [
                (0, "Last"), (1, author("finn")),
                (0, "5/5 RE: re:  Hello"), (1, author("eve")), (1, author("ann")),
                (2, author("gus")), (2, author("bob")), (3, author("carl")),
                (0, "Other"), (1, author("dora"))])
            self.assert_tree_true(q)

    def test_a_reply_is_below_its_nearest_forerunner_that_is_there(self):
        articles = {
            1: post("ann", "Hello"),
            2: post("bob", "Re: Hello", "<ann@x>"),
            3: post("carl", "Something else", "<ann@x> <bob@x> <gone@x>"),
            4: post("dora", "Another thing", "<ann@x>\r\n <bob@x>\r\n\t<carl@x>")}
        for on, texts in ((1, [(0, "4/4 Hello"), (1, author("ann")), (2, author("bob")),
                               (3, author("carl")), (4, author("dora"))]),
                          (0, [(0, "3/3 Hello"), (1, author("ann")), (2, author("bob")),
                               (2, author("dora")), (0, "Something else"), (1, author("carl"))])):
            self.use_profile("-%d" % on)
            with self.subTest(on), \
                    self.open(articles, values={"Extensions\\ancestors": on}) as q:
                self.assertEqual([text[:2] for text in q.texts()], texts)
                self.assert_tree_true(q)
            self.assert_fine(q)

    def test_without_kept_headers_the_stored_parent_counts(self):
        articles = {1: post("ann", "Hello"),
                    2: post("bob", "Other", "<ann@x> <gone@x>"),
                    3: post("carl", "More", "<gone@x> <ann@x>")}
        with self.open(articles, values={"keepheaders": 0}) as q:
            self.assertEqual([text[:2] for text in q.texts()], [
                (0, "2/2 Hello"), (1, author("ann")), (2, author("carl")),
                (0, "Other"), (1, author("bob"))])
        self.assert_fine(q)

    def test_opening_again_keeps_the_tree_and_what_is_expanded(self):
        with self.open() as q:
            fills = q.tree()["fills"]
            q.do("expand 1 1.1")
            q.key("Escape")
            titles(q)
            q.open_group(GROUP)
            self.assertEqual(titles(q), [])
            tree = q.tree()
            self.assertEqual(tree["fills"], fills)
            self.assertEqual([r["path"] for r in tree["rows"] if r["expanded"]], ["1", "1.1"])

    def test_rethreading_keeps_what_is_expanded_and_selected(self):
        with self.open() as q:
            q.do("expand 1 1.1")
            q.select_node("<bob@x>")
            before = q.tree()
            titles(q)
            q.command("Thread/Rethread")
            self.assertEqual(titles(q), ["Threading..."])
            after = self.assert_tree_true(q)
            self.assertGreater(after["fills"], before["fills"])
            for member in ("rows", "selected", "caption"):
                self.assertEqual(after[member], before[member])

    def test_another_group_takes_the_place(self):
        groups = {"a.one": {1: post("ann", "Hello", group="a.one")},
                  "a.two": {1: post("bob", "Other", group="a.two")}}
        with self.download(groups=groups) as q:
            for group, name in (("a.one", "ann"), ("a.two", "bob"), ("a.one", "ann")):
                q.open_group(group)
                self.assertEqual(self.names(q), [name])
                self.assertEqual(q.caption(), group + ": 0 on server")
                self.assert_tree_true(q)

    def test_a_group_without_articles(self):
        groups = {"a.one": {1: post("ann", "Hello", group="a.one")}, "a.none": {}}
        with self.download(groups=groups) as q:
            for group in ("a.none", "a.one", "a.none"):
                q.open_group(group)
                self.assertEqual(q.tab(), "thread")
            self.assertEqual((q.texts(), q.caption()),
                             ([], "No threads, or no current group selected"))
            for command in (MARK_READ, MARK_UNREAD, DELETE_SELECTED, DELETE_THREAD):
                q.command(command)
        self.assert_fine(q)
        self.assert_silent(q)

    def download_a_cross_post(self, **keywords):
        """In a.two the article of a.one, and a reply to it."""
        both = post("ann", "Hello", group="a.one,a.two")
        groups = {"a.one": {1: both}, "a.two": {
            7: both, 8: post("bob", "Re: Hello", "<ann@x>", group="a.two")}}
        return self.download(groups=groups, **keywords)

    def test_a_cross_post_is_one_article_in_both_groups(self):
        with self.download_a_cross_post() as q:
            self.assertEqual(self.counts(q), ["1/1", "2/2"])
            for group, names in (("a.one", ["ann"]), ("a.two", ["ann", "bob"])):
                q.open_group(group)
                self.assertEqual(self.names(q), names)
                self.assert_tree_true(q)
            self.assertEqual([text[:2] for text in q.texts()], [
                (0, "2/2 Hello"), (1, author("ann")), (2, author("bob"))])
            # Read in one group it is read in the other, whose counts follow when it is opened.
            q.open_group("a.one")
            q.open_node("<ann@x>")
            self.assertEqual(self.counts(q), ["0/1", "2/2"])
            q.open_group("a.two")
            self.assertEqual(self.bold(q), ["1/2 Hello", author("bob")])
            self.assert_tree_true(q)
            self.assertEqual(self.counts(q), ["0/1", "1/2"])
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["0/1", "1/2"])
        self.assert_fine(q)
        self.assert_silent(q)

    def test_a_cross_post_deleted_in_one_group_goes_from_the_other_at_its_next_opening(self):
        with self.download_a_cross_post() as q:
            q.open_group("a.one")
            q.do("select-node <ann@x>")
            q.expect("Really delete selected article?", "yes")
            q.command(DELETE_SELECTED)
            self.assertEqual(self.counts(q), ["0/0", "2/2"])
            q.open_group("a.two")
            self.assertEqual(self.names(q), ["bob"])
            self.assert_tree_true(q)
            self.assertEqual(self.counts(q), ["0/0", "1/1"])
        self.assert_fine(q)

    def test_without_the_extension_replies_to_a_crosspost_of_another_group_stand_alone(self):
        with self.download_a_cross_post(values={"Extensions\\crossposts": 0}) as q:
            self.assertEqual(self.counts(q), ["1/1", "1/1"])
            for group, names in (("a.one", ["ann"]), ("a.two", ["bob"])):
                q.open_group(group)
                self.assertEqual(self.names(q), names)
                self.assert_tree_true(q)
        self.assert_fine(q)

    def test_what_a_later_download_brings_is_shown(self):
        with self.open() as q:
            q.do("expand 1")
            q.open_node("<bob@x>")
            self.server.groups[GROUP][7] = post("gus", "Re: Hello", "<bob@x>")
            q.do("tab group")
            q.connect()
            q.do("tab thread")
            self.assertEqual(self.names(q), ["ann", "bob", "carl", "gus", "eve", "dora", "finn"])
            tree = self.assert_tree_true(q)
            self.assertEqual(tree["selected"], "1.1.1", "bob is the current article")
            self.assertEqual(self.bold(q)[0], "4/5 Hello")
        self.assert_fine(q)

    def test_a_record_that_has_gone_heals_when_threading(self):
        with self.download() as q:
            q.do("delete-stored <bob@x>")
            self.assertEqual(len(q.chain(GROUP)), 6)
            q.open_group(GROUP)
            self.assertEqual(self.names(q), ["ann", "carl", "eve", "dora", "finn"])
            self.assertEqual(len(q.chain(GROUP)), 5)
            self.assertEqual(self.counts(q), ["5/5"])
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["5/5"])
        self.assert_fine(q)

    def test_odd_articles_are_shown_and_can_be_opened(self):
        articles = {
            1: post("ann", "re: RE: Re:"),
            2: post("bob", "", "<bob@x>"),                      # its own parent
            3: post("carl", "round", "<dora@x>"),
            4: post("dora", "round", "<carl@x>"),               # a circle
            5: post("eve", "x" * 3000),
            6: post("finn", "<b>bold</b> & \x81\x8d\xa4", body="<script>alert(1)</script>\r\n"),
        }
        # Without decoding, rows and header bar are what is stored.
        values = {"maxarticlesize": 100, "Extensions\\decodemime": 0}
        with self.open(articles, values=values) as q:
            self.assertEqual(sorted(self.names(q)), ["ann", "bob", "carl", "dora", "eve", "finn"])
            self.assert_tree_true(q)
            for name in ("ann", "bob", "carl", "dora", "eve", "finn"):
                q.open_node("<%s@x>" % name)
                self.assertEqual(self.shown(q), name)
                q.key("Escape")
            q.open_node("<finn@x>")
            self.assertIn("&lt;script&gt;alert(1)&lt;/script&gt;", q.viewer()["source"])
            self.assertEqual(q.header()[0], "Subject: <b>bold</b> & \x81\x8d\xa4")
        self.assert_fine(q)

    def test_control_characters_of_a_subject_are_shown_harmless(self):
        articles = {1: post("finn", "bold \x1b[1m \x81\xa4")}
        with self.open(articles) as q:
            self.assertEqual(q.texts()[0][1], "bold \ufffd[1m \ufffd\xa4")
            q.open_node("<finn@x>")
            self.assertEqual(q.header()[0], "Subject: bold \ufffd[1m \ufffd\xa4")
        self.assert_fine(q)


class Walking(Reading):
    def test_through_all_articles_and_back(self):
        with self.open() as q:
            q.open_node("1.1")
            positions = [q.header()]
            for name in ORDER[1:]:
                q.command(NEXT_ARTICLE)
                self.assertEqual(self.shown(q), name)
                positions.append(q.header())
            self.assertEqual(positions, [
                ("Subject: Hello", "Thread 1/3", "From: " + author("ann"), "Article 0/4"),
                ("Subject: Re: Hello", "Thread 1/3", "From: " + author("bob"), "Article 1/4"),
                ("Subject: Re: Hello", "Thread 1/3", "From: " + author("carl"), "Article 2/4"),
                ("Subject: RE: re:  Hello", "Thread 1/3", "From: " + author("eve"), "Article 3/4"),
                ("Subject: Other", "Thread 2/3", "From: " + author("dora"), "Article 0/1"),
                ("Subject: Last", "Thread 3/3", "From: " + author("finn"), "Article 0/1")])
            for name in reversed(ORDER[:-1]):
                q.command(PREVIOUS_ARTICLE)
                self.assertEqual(self.shown(q), name)
                self.assertEqual(q.header(), positions[ORDER.index(name)])
        self.assert_fine(q)
        self.assert_silent(q)

    def test_keys_and_toolbar_do_the_same(self):
        ways = {
            "keys": ["key Ctrl+Right", "key Ctrl+Down", "key Ctrl+Up", "key Action",
                     "key Ctrl+Left"],
            "toolbar": ['tool "Next Article"', 'tool "Next Thread"', 'tool "Previous Thread"',
                        'tool "Next Article"', 'tool "Previous Article"'],
            "menu": ['command "Article/Navigate/Next article"',
                     'command "Article/Navigate/Next thread"',
                     'command "Article/Navigate/Previous thread"',
                     'command "Article/Navigate/Next article"',
                     'command "Article/Navigate/Previous article"'],
        }
        for way, lines in ways.items():
            self.use_profile("-" + way)
            with self.subTest(way), self.open() as q:
                q.open_node("1")
                seen = [self.shown(q)]
                for line in lines:
                    q.do(line)
                    q.do("wait")
                    seen.append(self.shown(q))
                self.assertEqual(seen, ["ann", "bob", "dora", "ann", "bob", "ann"])
            self.assert_fine(q)

    def test_moves_beyond_the_ends_lead_back_to_the_tree(self):
        with self.open() as q:
            for node, commands in (("<ann@x>", (PREVIOUS_ARTICLE, PREVIOUS_THREAD)),
                                   ("<finn@x>", (NEXT_ARTICLE, NEXT_THREAD))):
                for command in commands:
                    q.open_node(node)
                    q.command(command)
                    self.assertEqual(q.tab(), "thread")
                    self.assertEqual(q.ask("viewer")["source"], "")
        self.assert_fine(q)
        self.assert_silent(q)

    def test_threads_begin_with_their_first_article(self):
        with self.open() as q:
            q.open_node("<carl@x>")
            seen = []
            for command in (NEXT_THREAD, NEXT_THREAD, PREVIOUS_THREAD, PREVIOUS_THREAD):
                q.command(command)
                seen.append(self.shown(q))
            self.assertEqual(seen, ["dora", "finn", "dora", "ann"])

    def test_a_subject_opens_its_first_article(self):
        with self.open() as q:
            for path, name in (("1", "ann"), ("2", "dora"), ("3", "finn")):
                q.open_node(path)
                self.assertEqual(self.shown(q), name)
                q.key("Escape")

    def test_arrows_walk_the_tree_and_return_opens(self):
        with self.open() as q:
            for key in ("Home", "Right", "Right", "Right", "Down", "Return"):
                q.key(key)
            self.assertEqual(self.shown(q), "bob")
            q.key("Escape")
            self.assertEqual(q.tree()["selected"], "1.1.1")
            for key in ("Left", "Left", "Left", "Left", "Down", "Right", "Down", "Return"):
                q.key(key)
            self.assertEqual(self.shown(q), "dora")
        self.assert_fine(q)

    def test_keys_scroll_when_they_are_released(self):
        with self.open() as q:
            q.open_node("1")
            for key in ("PageDown", "Down", "PageUp", "Up", "End", "Home", "Left", "Return"):
                q.key(key)
            self.assertEqual(q.viewer()["scrolls"],
                             ["page-down", "page-down", "page-up", "page-up", "bottom", "top"])
            self.assertEqual(self.shown(q), "ann")
            q.key("Ctrl+C")
            self.assertEqual(q.viewer()["copies"], 1)

    def test_space_reads_everything_there_is(self):
        long = "line\r\n" * 30
        groups = {GROUP: {**ARTICLES, 7: post("gus", "Long", body=long)},
                  "comp.more": {1: post("hal", "More", group="comp.more")}}
        with self.download(groups=groups) as q:
            q.open_group(GROUP)
            q.key("N")
            read = [self.shown(q)]
            for _ in range(7):
                q.key("Space")
                read.append(self.shown(q))
            self.assertEqual(read, ORDER + ["gus", "gus"])
            self.assertEqual(q.viewer()["line"], 11)
            q.key("Space")
            self.assertEqual(self.shown(q), "hal")
            self.assertEqual(q.viewer()["notice"], "")
            q.key("Space")
            self.assertEqual((self.shown(q), q.viewer()["notice"]),
                             ("hal", "All articles are read."))
            self.assertEqual(self.counts(q), ["0/7", "0/1"])
        self.assert_fine(q)

    def test_the_next_run_begins_where_this_one_ended(self):
        with self.open() as q:
            q.open_node("<dora@x>")
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual((q.tab(), self.shown(q)), ("article", "dora"))
            q.key("Escape")
            self.assertEqual(q.tree()["selected"], "2.1")
            q.do("tab group")
        with self.run_quillet() as q:
            self.assertEqual((q.tab(), q.current()["exists"]), ("group", False))
            q.set_dword("Extensions\\restoreplace", 0)
        self.assert_fine(q)

    def test_a_switched_off_date_goes_at_once(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            self.assertRegex(q.ask("header")["lines"][1]["aside"],
                             r"^(Fri|Sat|Sun) 2[012] Nov 2026 \d\d:\d\d$")
            for line in ("command 40009", 'page "Extensions"', "untick 1228", "press 1"):
                q.do(line)
            self.assertEqual(q.ask("header")["lines"][1]["aside"], "")
            self.assertEqual(q.header()[2], "From: " + author("dora"))
        self.assert_fine(q)

    def test_without_its_extensions_there_is_neither(self):
        with self.open() as q:
            q.open_node("1")
            for name in ("readon", "restoreplace"):
                q.set_dword("Extensions\\" + name, 0)
            for key in ("Space", "Shift+Space", "N"):
                q.key(key)
            self.assertEqual((self.shown(q), q.viewer()["scrolls"]), ("ann", []))
        with self.run_quillet() as q:
            self.assertEqual((q.tab(), q.current()["exists"]), ("group", False))
            kept = q.ask("registry Extensions\\Place\\article")
            self.assertEqual(kept["hex"], "", "kept when the group was opened, and not since")
        self.assert_fine(q)

    def test_keys_of_a_walk_do_not_scroll(self):
        with self.open() as q:
            q.open_node("1")
            for key in ("Ctrl+Down", "Ctrl+Up"):
                q.key(key)
            self.assertEqual(q.viewer()["scrolls"], [])

    def test_the_toolbar_is_as_it_should_be(self):
        with self.open() as q:
            self.assertEqual(q.ask("toolbar")["buttons"], [], "made on first use")
            q.open_node("1")
            buttons = q.ask("toolbar")["buttons"]
            self.assertEqual(
                [(b.get("command"), b.get("image"), b.get("tooltip")) for b in buttons],
                [(40018, 0, "Previous Thread"), (40017, 1, "Previous Article"),
                 (40019, 2, "Next Article"), (40016, 3, "Next Thread"), (None, None, None),
                 (40048, 4, "Find"), (None, None, None), (40011, 5, "Delete Article"),
                 (40028, 6, "Delete Thread")])

    def test_an_article_that_has_gone_says_so_and_the_walk_goes_on(self):
        with self.open() as q:
            q.do("delete-stored <bob@x>")
            q.open_node("<ann@x>")
            q.command(NEXT_ARTICLE)
            self.assertEqual(len(q.boxes()), 1)
            self.assertEqual(q.viewer()["plain_text"], True)
            self.assertEqual(q.viewer()["source"],
                             "Quillet error: there is no current article")
            q.key("Escape")
            self.assertEqual(q.tab(), "thread")
            q.open_node("<carl@x>")
            self.assertEqual(self.shown(q), "carl")
            q.key("Escape")
            q.command(RETHREAD)
            self.assertEqual(self.names(q), ["ann", "carl", "eve", "dora", "finn"])
            self.assert_tree_true(q)
        self.assert_fine(q)


class Counts(Reading):
    def test_reading_keeps_all_counts_in_step(self):
        with self.open() as q:
            q.open_node("1")
            for read in range(1, len(ORDER) + 1):
                self.assertEqual(self.shown(q), ORDER[read - 1])
                self.assertEqual(q.article("<%s@x>" % ORDER[read - 1])["read"], 1)
                self.assertEqual(q.groups(), [(GROUP, "checked", "%d/6" % (6 - read))])
                q.do("tab thread")
                self.assert_tree_true(q)
                if read < len(ORDER):
                    q.do("tab article")
                    q.command(NEXT_ARTICLE)
            self.assertEqual(self.bold(q), [])
            self.assertEqual([text for depth, text, _ in q.texts() if depth == 0],
                             ["0/4 Hello", "Other", "Last"])
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["0/6"])
            q.open_group(GROUP)
            self.assert_tree_true(q)
            self.assertEqual(self.bold(q), [])
        self.assert_fine(q)

    def test_a_partly_read_group_after_a_restart(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            q.key("Escape")
            self.assertEqual(self.bold(q), [
                "3/4 Hello", author("ann"), author("carl"), author("eve"), "Other",
                author("dora"), "Last", author("finn")])
            texts = q.texts()
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["5/6"])
            q.open_group(GROUP)
            self.assertEqual(q.texts(), texts)
            self.assert_tree_true(q)

    def test_after_a_kill_nothing_read_is_lost(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            q.open_group(GROUP)
            q.kill()
        with self.run_quillet() as q:
            q.open_group(GROUP)
            self.assertEqual(q.article("<bob@x>")["read"], 1)
            self.assert_tree_true(q)
        self.assert_fine(q)

    def test_an_article_without_a_body_stays_unread_and_says_so(self):
        with self.open(values={"downloadfull": 0}) as q:
            for _ in range(2):
                q.open_node("1")
                text = "Quillet notification: body not downloaded.\r\n"
                self.assertEqual(q.viewer()["source"], html(text))
                q.command(NEXT_ARTICLE)
                q.key("Escape")
            self.assertEqual(len(self.bold(q)), 9)
            self.assert_tree_true(q)
            self.assertEqual(self.counts(q), ["6/6"])
        self.assert_fine(q)
        self.assert_silent(q)

    def test_marked_unread_it_stays_shown(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            q.key("Ctrl+U")
            self.assertEqual((self.shown(q), q.tab()), ("bob", "article"))
            self.assertEqual(q.groups(), [(GROUP, "checked", "6/6")])
            q.key("Escape")
            self.assertEqual(len(self.bold(q)), 9)
            self.assert_tree_true(q)
            q.open_node("<bob@x>")
            self.assertEqual(q.groups(), [(GROUP, "checked", "5/6")])
        self.assert_fine(q)

    def test_opening_a_read_article_again_changes_nothing(self):
        with self.open() as q:
            for _ in range(3):
                q.open_node("<bob@x>")
                q.key("Escape")
            self.assert_tree_true(q)
            self.assertEqual(self.counts(q), ["5/6"])


class ChangingViews(Reading):
    def test_escape_goes_back_one_view_at_a_time(self):
        with self.open() as q:
            q.open_node("<carl@x>")
            q.key("Escape")
            self.assertEqual(q.tab(), "thread")
            tree = q.tree()
            self.assertEqual((tree["selected"], tree["focused"]), ("1.1.1.1", True))
            q.key("Escape")
            self.assertEqual(q.tab(), "group")
            q.key("Escape")
            self.assertEqual(q.tab(), "group")

    def test_the_silent_key_is_like_escape(self):
        with self.open() as q:
            q.open_node("1")
            q.key("F24")
            self.assertEqual(q.tab(), "thread")

    def test_from_the_tree_the_article_tab_opens_what_is_selected(self):
        with self.open() as q:
            q.select_node("<dora@x>")
            q.do("tab article")
            self.assertEqual((self.shown(q), q.tab()), ("dora", "article"))
            q.do("tab thread")
            q.select_node("1")
            q.do("tab article")
            self.assertEqual(self.shown(q), "ann")

    def test_with_nothing_selected_the_article_tab_says_so(self):
        with self.open() as q:
            q.do("tab article")
            viewer = q.viewer()
            self.assertEqual((viewer["source"], viewer["plain_text"]),
                             ("Quillet error: there is no current article", True))
            self.assertEqual(q.header()[0::2], ("", ""))

    def test_the_article_is_still_there_after_a_look_at_the_groups(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            source = q.viewer()["source"]
            q.do("tab group")
            q.do("tab article")
            self.assertEqual((self.shown(q), q.viewer()["source"]), ("dora", source))

    def test_commands_without_an_article_do_nothing(self):
        with self.open() as q:
            q.do("tab article")
            for command in (NEXT_ARTICLE, PREVIOUS_ARTICLE, NEXT_THREAD, PREVIOUS_THREAD, FIND,
                            MARK_UNREAD, DELETE_SHOWN, DELETE_THREAD, ROT13, SHOW_HEADERS,
                            SAVE_AS, FIND_AGAIN, KILLFILE, 40066, PLAIN_TEXT, REMOVE_CRS):
                q.command(command)
            self.assertEqual([d for d in q.of("dialog") if d["form"] != PROGRESS_DIALOG], [])
            self.assertEqual((q.of("save-dialog"), q.tab()), ([], "article"))
        self.assert_fine(q)
        self.assert_silent(q)

    def test_links_of_the_article_are_opened_by_the_desktop(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            q.do('follow "http://www.example.org/a?b=1&c="')
            q.do("wait")
            self.assertEqual([(e["target"], e["opened"]) for e in q.of("link")],
                             [("http://www.example.org/a?b=1&c=", True)])
            self.assertEqual(q.tab(), "article")
        self.assert_fine(q)

    def test_groups_removed_while_they_are_shown(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            q.do("tab group")
            q.expect("Really delete the checked groups?", "yes")
            q.command(40021)
            self.assertEqual(q.groups(), [])
            q.do("tab thread")
            self.assertEqual((q.texts(), q.caption()),
                             ([], "No threads, or no current group selected"))
            q.do("tab article")
            self.assertIsNone(self.shown(q))
            self.assertEqual(q.current()["group"], -1)
        self.assert_fine(q)

    def test_the_views_of_every_size(self):
        for area in ("240x320", "1280x800"):
            self.use_profile("-" + area)
            with self.subTest(area), self.open(work_area=area) as q:
                q.open_node("1")
                window = q.ask("window")
                self.assertEqual(window["tab_area"]["height"], window["inside"]["height"] - 26)
                q.key("Escape")
                window = q.ask("window")
                self.assertEqual(window["tab_area"], window["inside"])


if __name__ == "__main__":
    main()
