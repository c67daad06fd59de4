# SPDX-License-Identifier: GPL-3.0-or-later
"""Deleting, marking and killing from every view, cancelled operations, a store that changes."""

from reading import *

BIG = 300  # articles: enough for every operation to be cancelled in its middle


def thread_of(count, group=GROUP):
    """Articles in threads of three."""
    articles = {}
    for number in range(1, count + 1):
        first = number - (number - 1) % 3
        references = "" if number == first else "<p%d@x>" % first
        articles[number] = post("p%d" % number, "Thread %d" % first, references, group=group)
    return articles


class Deleting(Reading):
    def test_in_the_article_view_the_next_article_follows(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            q.expect("Really delete this article?", "yes")
            q.key("Ctrl+Alt+A")
            box = q.of("box")[0]
            self.assertEqual((box["buttons"], box["caption"]), ("yesno", "Quillet confirmation"))
            self.assertEqual((self.shown(q), q.tab()), ("carl", "article"))
            self.assertEqual(q.header()[1::2], ("Thread 1/3", "Article 1/3"))
            q.key("Escape")
            tree = self.assert_tree_true(q)
            self.assertEqual([(r["path"], r["text"]) for r in tree["rows"][:4]], [
                ("1", "2/3 Hello"), ("1.1", author("ann")), ("1.1.1", author("carl")),
                ("1.2", author("eve"))])
            self.assertEqual(tree["selected"], "1.1.1")
            self.assertIsNone(q.article("<bob@x>"))
            self.assertEqual(self.counts(q), ["4/5"])
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["4/5"])
            q.open_group(GROUP)
            self.assertEqual(self.names(q), ["ann", "carl", "eve", "dora", "finn"])
            self.assert_tree_true(q)
        self.assert_fine(q)

    def test_no_keeps_the_article(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            for key, question in (("Ctrl+Alt+A", "Really delete this article?"),
                                  ("Ctrl+Alt+T", "Really delete this thread?")):
                q.expect(question, "no")
                q.key(key)
            self.assertEqual(self.shown(q), "bob")
            self.assertEqual(self.names(q), ORDER)
            self.assert_tree_true(q)
        self.assert_fine(q)

    def test_without_verifications_it_goes_at_once(self):
        with self.open(values={"skipverifications": 1}) as q:
            q.open_node("<ann@x>")
            q.do('tool "Delete Article"')
            q.do("wait")
            self.assertEqual(self.shown(q), "bob")
            q.do('tool "Delete Thread"')
            q.do("wait")
            self.assertEqual(self.shown(q), "dora")
            self.assertEqual(self.names(q), ["dora", "finn"])
            q.key("Escape")
            q.command(DELETE_SELECTED)
            q.command(DELETE_ALL)
            self.assertEqual(q.texts(), [])
            self.assertEqual(self.counts(q), ["0/0"])
        self.assert_fine(q)
        self.assert_silent(q)

    def test_the_children_of_a_deleted_first_article_move_up(self):
        with self.open(values={"skipverifications": 1}) as q:
            q.open_node("<ann@x>")
            q.command(DELETE_SHOWN)
            rows = [(r["depth"], r["text"]) for r in self.assert_tree_true(q)["rows"][:4]]
            self.assertEqual(rows, [(0, "2/3 Hello"), (1, author("bob")), (2, author("carl")),
                                    (1, author("eve"))])

    def test_after_the_last_article_the_view_is_left(self):
        with self.open(values={"skipverifications": 1}) as q:
            for path, command in (("<finn@x>", DELETE_SHOWN), ("<dora@x>", DELETE_THREAD),
                                  ("<eve@x>", DELETE_THREAD)):
                q.open_node(path)
                q.command(command)
                self.assertEqual((q.tab(), self.shown(q)), ("thread", None))
                self.assert_tree_true(q)
            self.assertEqual((q.texts(), q.caption()),
                             ([], "No threads, or no current group selected"))
            self.assertEqual(q.groups(), [(GROUP, "checked", "0/0")])
            self.assertEqual(q.chain(GROUP), [])
        self.assert_fine(q)

    def test_in_the_tree_what_follows_becomes_current_and_stays_unread(self):
        with self.open() as q:
            q.expect("Really delete selected article?", "yes")
            q.context_menu("<bob@x>", "Delete Article")
            self.assertEqual((q.tab(), self.shown(q)), ("thread", "carl"))
            tree = self.assert_tree_true(q)
            self.assertEqual(tree["selected"], "1.1.1")
            self.assertEqual(tree["rows"][0]["text"], "3/3 Hello")
            q.do("tab article")
            self.assertEqual(self.shown(q), "carl")
        self.assert_fine(q)

    def test_a_thread_from_each_place_of_the_tree(self):
        for node, entry in (("1", "Delete Article"), ("1", "Delete Thread"),
                            ("<carl@x>", "Delete Thread"), ("1", "Ctrl+Alt+T"),
                            ("<eve@x>", "Ctrl+Alt+T"), ("1", "Ctrl+Alt+A")):
            self.use_profile("-" + node.strip("<>") + entry)
            with self.subTest(node=node, entry=entry), \
                    self.open(values={"skipverifications": 1}) as q:
                if entry.startswith("Ctrl"):
                    q.select_node(node)
                    q.key(entry)
                else:
                    q.context_menu(node, entry)
                self.assertEqual((self.names(q), self.shown(q), q.tab()),
                                 (["dora", "finn"], "dora", "thread"))
                self.assertEqual(self.assert_tree_true(q)["selected"], "1.1")
            self.assert_fine(q)

    def test_each_question_of_the_tree(self):
        questions = {DELETE_SELECTED: "Really delete selected article?",
                     DELETE_THREAD: "Really delete selected thread?",
                     DELETE_READ: "Really delete all read articles?",
                     DELETE_ALL: "Really delete all articles?"}
        with self.open() as q:
            q.select_node("<bob@x>")
            for command, question in questions.items():
                q.expect(question, "no")
                q.command(command)
                self.assertEqual(q.of("box")[-1]["text"], question)
            self.assertEqual(self.names(q), ORDER)
        self.assert_fine(q)

    def test_read_articles_of_the_shown_group(self):
        with self.open(values={"skipverifications": 1}) as q:
            q.open_node("<bob@x>")
            q.command(NEXT_THREAD)
            q.key("Escape")
            q.command(DELETE_READ)
            self.assertEqual(self.names(q), ["ann", "carl", "eve", "finn"])
            self.assert_tree_true(q)
            self.assertIsNone(self.shown(q), "dora was read and is gone")
            self.assertEqual(self.counts(q), ["4/4"])
        self.assert_fine(q)

    def test_from_the_group_view_the_shown_tree_follows(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            q.do("tab group")
            q.expect("Really delete read articles in checked groups?", "yes")
            q.command(DELETE_READ)
            self.assertEqual(q.groups(), [(GROUP, "checked", "5/5")])
            q.do("tab thread")
            self.assertEqual(self.names(q), ["ann", "carl", "eve", "dora", "finn"])
            self.assert_tree_true(q)
            q.do("tab group")
            q.expect("Really delete all articles in checked groups?", "yes")
            q.command(DELETE_ALL)
            q.do("tab thread")
            self.assertEqual(q.texts(), [])
            q.do("tab article")
            self.assertIsNone(self.shown(q))
        self.assert_fine(q)

    def test_the_last_article_that_is_left(self):
        with self.open({1: ARTICLES[1]}, values={"skipverifications": 1}) as q:
            q.select_node("1")
            q.command(DELETE_SELECTED)
            self.assertEqual((q.texts(), q.caption(), self.shown(q)),
                             ([], "No threads, or no current group selected", None))
            q.command(RETHREAD)
            self.assertEqual(q.texts(), [])
        self.assert_fine(q)

    def test_what_the_store_has_lost_can_be_deleted(self):
        with self.open(values={"skipverifications": 1}) as q:
            q.do("delete-stored <bob@x>")
            q.select_node("<bob@x>")
            q.command(DELETE_SELECTED)
            q.command(RETHREAD)
            self.assertEqual(self.names(q), ["ann", "carl", "eve", "dora", "finn"])
            self.assert_tree_true(q)
            self.assertEqual(self.counts(q), ["5/5"])
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["5/5"])
        self.assert_fine(q)


class Marking(Reading):
    def test_all_articles_from_the_menu(self):
        with self.open() as q:
            q.key("Ctrl+M")
            self.assertEqual(self.bold(q), [])
            self.assert_tree_true(q)
            self.assertEqual(q.groups(), [(GROUP, "checked", "0/6")])
            q.key("Ctrl+U")
            self.assertEqual(len(self.bold(q)), 9)
            self.assert_tree_true(q)
            q.key("Ctrl+M")
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["0/6"])
        self.assert_fine(q)
        self.assert_silent(q)

    def test_the_menus_of_articles_and_subjects(self):
        with self.open() as q:
            for node in ("<bob@x>", "1", "2", "<dora@x>"):
                q.context_menu(node, "")
            article = ["Delete Article", "Delete Thread", "Mark Read", "Mark Unread",
                       "Add To Killfile"]
            subject = ["Delete Article", "Delete Thread", "Mark Thread Read",
                       "Mark Thread Unread"]
            self.assertEqual([[entry["text"] for entry in menu["entries"]]
                              for menu in q.of("pop-up")], [article, subject, subject, article])
            q.select_node("1")
            q.do('expect-menu ""')
            q.do("context-menu")
            q.do("wait")
            self.assertEqual(len(q.of("pop-up")), 5)
        self.assert_fine(q)

    def test_one_article_and_one_thread(self):
        with self.open() as q:
            for node, entry, unread in (
                    ("<bob@x>", "Mark Read", 5), ("<bob@x>", "Mark Read", 5),
                    ("1", "Mark Thread Read", 2), ("<carl@x>", "Mark Unread", 3),
                    ("1", "Mark Thread Unread", 6), ("2", "Mark Thread Read", 5)):
                q.context_menu(node, entry)
                self.assertEqual(q.groups(), [(GROUP, "checked", "%d/6" % unread)],
                                 (node, entry))
                self.assert_tree_true(q)
        self.assert_fine(q)

    def test_marks_of_the_group_view_reach_the_tree(self):
        with self.open() as q:
            for command, word, count in ((MARK_READ, "read", 0), (MARK_UNREAD, "unread", 6)):
                q.do("tab group")
                q.expect("Mark articles in checked groups as %s?" % word, "yes")
                q.command(command)
                q.do("tab thread")
                self.assert_tree_true(q)
                self.assertEqual(q.groups(), [(GROUP, "checked", "%d/6" % count)])
        self.assert_fine(q)

    def test_the_shown_article_follows(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            q.key("Escape")
            q.key("Ctrl+U")
            self.assertEqual(len(self.bold(q)), 9)
            q.do("tab article")
            self.assertEqual(self.shown(q), "bob")
            self.assertEqual(q.groups(), [(GROUP, "checked", "5/6")], "shown again: read again")
            self.assert_tree_true(q)

    def test_marking_what_the_store_has_lost(self):
        with self.open() as q:
            q.do("delete-stored <bob@x>")
            q.context_menu("<bob@x>", "Mark Read")
            q.context_menu("1", "Mark Thread Read")
            q.key("Ctrl+M")
            q.command(RETHREAD)
            self.assertEqual(self.names(q), ["ann", "carl", "eve", "dora", "finn"])
            self.assert_tree_true(q)
            self.assertEqual(self.counts(q), ["0/5"])
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["0/5"])
        self.assert_fine(q)


class Servers(Reading):
    CATCH_UP = "Catch up to all news servers for this group?"
    RESET = "Reset all news server counts for this group?"

    def open_without_articles(self, **more):
        values = {"lastdownloaded": [1, 2, 3, 4], "lastonserver": [11, 12, 13, 14],
                  "selectedserver": 1}
        q = self.run_with(servers=[("one", 119), ("two", 119)], groups=["a.one", "a.two"],
                          values={**values, **more})
        q.open_group("a.two")
        return q

    def test_each_answer_moves_its_positions(self):
        for key, question, caption, answer, after in (
                ("Ctrl+Shift+M", self.CATCH_UP, "Mark Server Read", "yes", [1, 12, 3, 14]),
                ("Ctrl+Shift+M", self.CATCH_UP, "Mark Server Read", "no", [1, 2, 3, 14]),
                ("Ctrl+Shift+M", self.CATCH_UP, "Mark Server Read", "cancel", [1, 2, 3, 4]),
                ("Ctrl+Shift+U", self.RESET, "Mark Server Unread", "yes", [1, 0, 3, 0]),
                ("Ctrl+Shift+U", self.RESET, "Mark Server Unread", "no", [1, 2, 3, 0]),
                ("Ctrl+Shift+U", self.RESET, "Mark Server Unread", "cancel", [1, 2, 3, 4])):
            self.use_profile("-%s-%s" % (key[-1], answer))
            with self.subTest(key=key, answer=answer):
                with self.open_without_articles() as q:
                    q.expect(question, answer)
                    q.key(key)
                    box = q.of("box")[0]
                    self.assertEqual((box["caption"], box["text"], box["buttons"]),
                                     (caption, question, "yesnocancel"))
                self.assert_fine(q)
                back = self.read_back()
                self.assertEqual(back["lastdownloaded"][1], after)
                self.assertEqual(back["lastonserver"][1], [11, 12, 13, 14])

    def test_the_question_comes_even_without_verifications(self):
        with self.open_without_articles(skipverifications=1) as q:
            q.expect(self.CATCH_UP, "cancel")
            q.command(SERVER_READ)
        self.assert_fine(q)

    def test_the_caption_tells_what_is_left_on_the_server(self):
        with self.open(values={"maxarticles": 1000}) as q:
            self.assertEqual(q.caption(), "comp.test: 0 on server")
            q.expect(self.RESET, "yes")
            q.command(SERVER_UNREAD)
            q.do("tab group")
            q.do("tab thread")
            self.assertEqual(q.caption(), "comp.test: 6 on server")
            q.expect(self.CATCH_UP, "no")
            q.command(SERVER_READ)
            q.do("tab group")
            q.do("tab thread")
            self.assertEqual(q.caption(), "comp.test: 0 on server")
            q.do("tab group")
            fetched = len(self.server.fetched)
            q.connect()
            self.assertEqual(len(self.server.fetched), fetched, "caught up: nothing is new")
        self.assert_fine(q)


class Killing(Reading):
    LISTS = {1010: ["Kill if author contains:", "Require author to contain:",
                    "Don't check author"],
             1012: ["Kill if subject contains:", "Require subject to contain:",
                    "Don't check subject"]}

    def ask(self, q, line, texts):
        dialog = self.dialog(q, line, KILLFILE_DIALOG)
        for control, choices in self.LISTS.items():
            entry = self.control(dialog, control)
            self.assertEqual((entry["kind"], entry["choices"], entry["choice"]),
                             ("choice", choices, 0))
        self.assertEqual([self.control(dialog, c)["text"] for c in (1011, 1013)], texts)
        return dialog

    def entries(self, dump):
        return list(zip(dump["killfilegroups"][1], dump["killfiletexts"][1],
                        dump["killfilekills"][1], dump["killfileauthors"][1]))

    def test_from_the_article_its_author_is_offered_and_killed(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            self.ask(q, "key Ctrl+K", [author("bob"), "Re: Hello"])
            q.do('choose 1012 "Don\'t check subject"')
            q.do("wait")
            self.assertFalse(self.control(q.ask("dialog"), 1013)["visible"])
            q.do("set 1011 bob@x.example")
            q.do("press 1")
            q.do("wait")
            self.assertEqual(self.entries(q.registry_dump()), [(1, "bob@x.example", 1, 1)])
            self.assertEqual((self.shown(q), q.tab()), ("bob", "article"))
            self.server.groups[GROUP][7] = post("bob", "More of Bob", message_id="<bob2@x>")
            self.server.groups[GROUP][8] = post("gus", "More of Gus")
            q.do("tab group")
            q.connect()
            self.assertEqual(q.groups(), [(GROUP, "checked", "6/7")])
            q.do("tab thread")
            self.assertEqual(self.names(q), ORDER + ["gus"])
            self.assertIsNone(q.article("<bob2@x>"))
        self.assert_fine(q)

    def test_from_the_tree_by_the_node_and_by_the_menu(self):
        with self.open() as q:
            q.do('expect-menu "Add To Killfile"')
            self.ask(q, "context-menu <carl@x>", [author("carl"), "Re: Hello"])
            q.do("press 2")
            q.do("wait")
            self.ask(q, "key Ctrl+K", ["", ""])
            q.do('choose 1012 "Require subject to contain:"')
            q.do("set 1013 hello")
            q.do("press 1")
            q.do("wait")
            self.assertEqual(self.entries(q.registry_dump()), [(1, "hello", 0, 0)])
            self.server.groups[GROUP][7] = post("gus", "HELLO again")
            self.server.groups[GROUP][8] = post("hal", "Something else")
            q.do("tab group")
            q.connect()
            q.do("tab thread")
            self.assertIn("gus", self.names(q))
            self.assertNotIn("hal", self.names(q))
        self.assert_fine(q)

    def test_from_the_groups_an_entry_goes_to_all(self):
        groups = {"a.one": {1: post("ann", "Hello", group="a.one")},
                  "a.two": {1: post("bob", "Other", group="a.two")}}
        with self.download(groups=groups) as q:
            self.ask(q, "key Ctrl+K", ["", ""])
            self.assertEqual((self.control(q.ask("dialog"), 1015)["text"],
                              self.control(q.ask("dialog"), 1015)["visible"]),
                             ("A&dd to all group killfiles", True))
            q.do("tick 1015")
            q.do("set 1011 gus@")
            q.do("set 1013 spam")
            q.do("press 1")
            q.do("wait")
            self.assertEqual(self.entries(q.registry_dump()), [
                (1, "gus@", 1, 1), (2, "gus@", 1, 1), (1, "spam", 1, 0), (2, "spam", 1, 0)])
            self.server.groups["a.one"][2] = post("gus", "Hi", group="a.one")
            self.server.groups["a.two"][2] = post("hal", "No SPAM here", group="a.two")
            self.server.groups["a.two"][3] = post("ida", "Fine", group="a.two")
            q.connect()
            self.assertEqual([counts for _, _, counts in q.groups()], ["1/1", "2/2"])
        self.assert_fine(q)

    def test_nothing_is_added_without_a_text_or_with_cancel(self):
        with self.open() as q:
            q.open_node("<bob@x>")
            for lines in (["press 2"], ["key Escape"],
                          ['set 1011 ""', 'set 1013 ""', "press 1"]):
                self.ask(q, "command %d" % KILLFILE, [author("bob"), "Re: Hello"])
                for line in lines:
                    q.do(line)
                q.do("wait")
                dump = q.registry_dump()
                self.assertIn(dump.get("killfilecount", (0, 0))[1], (0, None))
        self.assert_fine(q)
        self.assertEqual(self.read_back()["killfilecount"][1], 0)


class Cancelling(Reading):
    def open_big(self, **keywords):
        values = {"maxarticles": 1000, "skipverifications": 1, **keywords.pop("values", {})}
        return self.download(thread_of(BIG), values=values, timeout=30, **keywords)

    def test_threading_leaves_the_counts_alone(self):
        with self.open_big() as q:
            self.assertEqual(self.counts(q), ["%d/%d" % (BIG, BIG)])
            for moment in (["0"], ["after", "2"], ["after", "150"], ["after", "400"]):
                q.do("cancel-progress " + " ".join(moment))
                q.open_group(GROUP)
                q.command(RETHREAD)
                q.do("cancel-progress never")
                tree = q.tree()
                self.assertTrue(all(row["kind"] == "subject" for row in tree["rows"]
                                    if row["depth"] == 0))
                self.assertEqual(self.counts(q), ["%d/%d" % (BIG, BIG)])
            q.do("tab thread")
            q.command(RETHREAD)
            self.assertEqual(len(self.names(q)), BIG)
            self.assert_tree_true(q)
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), ["%d/%d" % (BIG, BIG)])

    def test_marking_in_the_middle_keeps_counts_and_labels_in_step(self):
        with self.open_big() as q:
            q.open_group(GROUP)
            for moment, command in ((1, MARK_READ), (100, MARK_READ), (100, MARK_UNREAD)):
                q.do("cancel-progress after %d" % moment)
                q.command(command)
                q.do("cancel-progress never")
                self.assert_tree_true(q)
            unread = self.counts(q)
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), unread)
            q.open_group(GROUP)
            self.assert_tree_true(q)

    def test_marking_from_the_groups_in_the_middle(self):
        with self.open_big() as q:
            q.open_group(GROUP)
            q.do("tab group")
            q.do("cancel-progress after 100")
            q.command(MARK_READ)
            q.do("cancel-progress never")
            q.do("tab thread")
            self.assert_tree_true(q)
        self.assert_fine(q)

    @for_each("thread", "group")
    def test_deleting_in_the_middle_keeps_what_is_left(self, view):
        # With every group ticked all articles would go at once, with their files.
        groups = {GROUP: thread_of(BIG), "a.none": {}}
        with self.open_big(groups=groups) as q:
            q.do("untick a.none")
            q.open_group(GROUP)
            q.key("Ctrl+M")
            q.do("tab " + view)
            q.do("cancel-progress after 50")
            q.command(DELETE_READ)
            q.do("cancel-progress after 50")
            q.command(DELETE_ALL)
            q.do("cancel-progress never")
            q.do("tab thread")
            left = len(self.names(q))
            self.assertTrue(0 < left < BIG, left)
            self.assert_tree_true(q)
            counts = self.counts(q)
            self.assertEqual(counts, ["0/%d" % left, "0/0"])
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual(self.counts(q), counts)
            q.open_group(GROUP)
            self.assert_tree_true(q)

    def test_searching_stays_where_it_was(self):
        with self.open_big() as q:
            q.open_group(GROUP)
            q.open_node("<p1@x>")
            for moment in ("0", "after 1", "after 50"):
                self.dialog(q, "key Ctrl+F", FIND_DIALOG)
                q.do('set 1005 "nowhere"')
                q.do("press 1")
                q.do("wait")
                q.do("cancel-progress " + moment)
                q.key("Ctrl+3")
                q.do("cancel-progress never")
                self.assertEqual((self.shown(q), q.tab()), ("p1", "article"))
        self.assert_fine(q)
        self.assert_silent(q)

    @for_each(RETHREAD, MARK_READ, DELETE_ALL)
    def test_the_session_ends_in_the_middle(self, command):
        q = self.open_big()
        q.open_group(GROUP)
        q.do("command %d" % command)
        q.do("end-session")
        self.assertEqual((q.finish(), q.exit_code()), (0, 0))
        with self.run_quillet() as q:
            q.open_group(GROUP)
            self.assert_tree_true(q)
        self.assert_fine(q)


class Breaking(Reading):
    """Stores that fail or stop in the middle."""

    def setUp(self):
        super().setUp()
        self.use_filled_profile("big", self.fill)

    def fill(self):
        """A profile with many unread articles."""
        values = {"maxarticles": 1000, "skipverifications": 1}
        with self.download(thread_of(BIG), values=values) as q:
            pass
        self.assert_fine(q)

    def heal(self):
        """Whatever happened: a restart, a look at the threads, and everything agrees."""
        with self.run_quillet() as q:
            q.open_group(GROUP)
            self.assert_tree_true(q)
            ids = [row["id"] for row in q.tree()["rows"] if row["kind"] == "article"]
            read = len([i for i in ids if q.article(i)["read"]])
            self.assertEqual(self.counts(q), ["%d/%d" % (len(ids) - read, len(ids))])
        self.assert_fine(q)
        return len(ids), read

    @for_each(*((command, moment) for command in (MARK_READ, DELETE_READ, DELETE_ALL)
                for moment in (1, 40, 170)))
    def test_a_kill_in_the_middle_heals_with_the_next_threads(self, command, moment):
        q = self.run_quillet()
        q.open_group(GROUP)
        if command == DELETE_READ:
            q.key("Ctrl+M")
        q.do("progress-positions on")
        before = len(q.of("progress-position"))
        q.send("command %d" % command)
        while len(q.of("progress-position")) < before + moment and \
                q.next_event()["event"] != "groups-changed":
            pass
        q.kill()
        self.heal()

    def test_a_full_disk_in_the_middle_of_marking_is_told(self):
        sizes = {name: (self.news_folder / name).stat().st_size for name in DATABASES}
        with self.run_quillet(wrapper=file_size_limit(max(sizes.values()) // 4)) as q:
            # A write that fails in the middle leaves a file that needs repair.
            q.expect("A critical error occurred", "no", "optional", "times 9")
            q.open_group(GROUP)
            q.command(MARK_READ)
            q.key("Escape")
            q.open_group(GROUP)
            q.command(DELETE_ALL)
        self.assertEqual((q.status, q.exit_code(), q.errors()), (0, 0, ""))
        self.assertGreater(len(q.boxes()), 0)
        self.heal()


class Gone(Reading):
    """What the tree shows is no longer in the store."""

    def test_everything_taken_away_behind_the_tree(self):
        with self.download(thread_of(30), values={"skipverifications": 1}) as q:
            q.open_group(GROUP)
            for number in range(1, 31):
                q.do("delete-stored <p%d@x>" % number)
            q.open_node("1")
            q.key("Escape")
            for command in (MARK_READ, MARK_UNREAD):
                q.command(command)
            q.select_node("<p2@x>")
            q.command(DELETE_SELECTED)
            q.command(DELETE_READ)
            q.command(RETHREAD)
            self.assertEqual((q.texts(), q.chain(GROUP)), ([], []))
            self.assertEqual(self.counts(q), ["0/0"])
        self.assert_fine(q)


if __name__ == "__main__":
    main()
