# SPDX-License-Identifier: GPL-3.0-or-later
"""Links to newsgroups and articles: given at the start, by a later start, while something is open."""

import subprocess

from news_servers import NewsServer, article
from scenario import *

QUESTION = ('The link leads to the newsgroup "%s", which is not in your list. Would you like to add it? Its '
            "articles come with the next connection to your news server.")
FOREIGN = 'The link names the news server "%s", which is not one of yours. '
NOT_STORED = ("The article of this link is not stored here. Articles come when you connect, from the "
              "newsgroups in your list; an old one may not be on the server any more.")
ONE_GROUP = ('The link "%s" does not name one newsgroup. Quillet CE opens links to one newsgroup or one '
             "article.")
DAMAGED = ('Quillet CE cannot open the link "%s", because it is damaged or does not lead to a newsgroup or '
           "an article.")
TOO_LONG = ("Quillet CE cannot open this link, because it is too long for a link to a newsgroup or an "
            "article.")


class Links(Scenario):
    def give(self, q, link):
        q.do('give-link "%s"' % link.replace("\\", "\\\\").replace('"', '\\"'))
        q.do("wait")

    def texts(self, q):
        return [box[1] for box in q.boxes()]


class Groups(Links):
    def test_another_group_is_offered_and_added_as_by_hand(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do('expect "The link leads to the newsgroup" yes')
            self.give(q, "news:b.two")
            self.assertEqual(q.groups(), [("a.one", "checked", "0/0"), ("b.two", "checked", "0/0")])
            self.assertEqual(q.ask("groups")["selected"], 1)
            self.assertEqual(q.ask("tabs")["selected"], "group")
        self.assert_fine(q)
        box = q.of("box")[-1]
        self.assertEqual((box["caption"], box["text"], box["buttons"]),
                         ("Quillet confirmation", QUESTION % "b.two", "yesno"))
        with self.run_quillet() as q:
            self.assertEqual(q.registry("groups"), ["a.one", "b.two"])

    def test_no_leaves_everything_as_it_is(self):
        with self.run_with(groups=["a.one"], values={"skipverifications": 1}) as q:
            q.do('expect "The link leads to the newsgroup" no')
            self.give(q, "news:b.two")
            self.assertEqual(q.groups(), [("a.one", "checked", "0/0")])
        self.assert_fine(q)

    def test_group_of_the_list_is_opened_from_any_view(self):
        with self.run_with(groups=["a.one", "b.two"]) as q:
            for link in ("news:b.two", "news:a.one", "NEWS:b%2Etwo"):
                self.give(q, link)
                self.assertEqual(q.ask("tabs")["selected"], "thread")
            self.assertEqual(q.ask("current")["group"], 1)
            self.assertEqual(q.ask("groups")["selected"], 1)
        self.assert_fine(q)
        self.assertEqual(self.texts(q), [])

    def test_server_that_is_not_configured_is_named_and_not_added(self):
        with self.run_with(groups=["a.one"], servers=[("127.0.0.1", 9)]) as q:
            q.do('expect "The link names the news server" no')
            self.give(q, "news://elsewhere.example:8119/b.two")
            self.give(q, "nntp://elsewhere.example/a.one")
            self.give(q, "news://127.0.0.1:10/a.one")
            for own in ("news://127.0.0.1/a.one", "nntp://127.0.0.1:9/a.one"):
                self.give(q, own)
            self.assertEqual(q.ask("tabs")["selected"], "thread")
            self.assertEqual(q.registry("servers"), ["127.0.0.1"])
        self.assert_fine(q)
        own = "This is the newsgroup as your own servers have it."
        self.assertEqual(self.texts(q), [
            FOREIGN % "elsewhere.example:8119" + QUESTION % "b.two",
            FOREIGN % "elsewhere.example" + own, FOREIGN % "127.0.0.1:10" + own])

    def test_what_is_no_link_to_one_group_is_said_and_nothing_done(self):
        long = "news:" + 5000 * "a"
        told = [("news:*", ONE_GROUP), ("news:", ONE_GROUP), ("nntp://127.0.0.1/a.*", ONE_GROUP),
                ("news:a b", DAMAGED), ("news:%", DAMAGED), ("news:a%00b", DAMAGED),
                ("news:a%0D%0Ab", DAMAGED), ("nntp:a.one", DAMAGED), ("http://x/", DAMAGED),
                ("", DAMAGED), ('news:"a"', DAMAGED), ("--help", DAMAGED)]
        with self.run_with(groups=["a.one"]) as q:
            for link, _ in told:
                self.give(q, link)
            self.give(q, long)
            self.assertEqual(q.groups(), [("a.one", "checked", "0/0")])
            self.assertEqual(q.ask("tabs")["selected"], "group")
        self.assert_fine(q)
        self.assertEqual(self.texts(q), [text % link for link, text in told] + [TOO_LONG])

    def test_foreign_text_in_a_box_is_one_short_line(self):
        with self.run_with() as q:
            q.do('give-link "news:a\\r\\nb\\u202Ec %s"' % (300 * "d"))
            q.do("wait")
        self.assertEqual(self.texts(q), [DAMAGED % ("news:a  bc " + 189 * "d" + "...")])

    def test_name_that_cannot_be_stored_is_judged_as_in_the_dialog(self):
        with self.run_with() as q:
            self.give(q, "news:%CE%B1.test")
            self.assertEqual(q.groups(), [])
        self.assertEqual(self.texts(q), ["Some characters of this text cannot be used here: \u03b1"])

    def test_group_that_looks_like_an_option_is_a_group(self):
        with self.run_with() as q:
            q.do('expect "The link leads to the newsgroup" yes')
            self.give(q, "news:--help")
            self.assertEqual(q.groups(), [("--help", "checked", "0/0")])
        self.assert_fine(q)


class Articles(Links):
    def setUp(self):
        super().setUp()
        self.server = NewsServer({
            "a.one": {n: article(n, "a.one") for n in (1, 2)},
            "b.two": {n: article(n, "b.two") for n in (5, 6, 7)}})
        self.addCleanup(self.server.close)

    def filled(self):
        q = self.run_with(servers=[self.server.address], groups=["a.one", "b.two"])
        q.connect()
        return q

    def test_stored_article_is_opened_in_its_group(self):
        with self.filled() as q:
            newest = q.chain("b.two")[0]
            self.give(q, "news:" + newest.strip("<>"))
            self.assertEqual(q.ask("tabs")["selected"], "article")
            current = q.ask("current")
            self.assertEqual((current["id"], current["group"], current["tree_group"], current["read"]),
                             (newest, 1, 1, 1))
            self.assertEqual(q.ask("groups")["selected"], 1)
            q.do("tab thread")
            self.assertEqual(q.ask("tree")["selected"], current["node"])
            self.give(q, "news://elsewhere.example/" + q.chain("a.one")[1].strip("<>"))
            self.assertEqual(q.ask("current")["group"], 0)
            self.assertEqual(q.groups(), [("a.one", "checked", "1/2"), ("b.two", "checked", "2/3")])
        self.assert_fine(q)
        self.assertEqual(self.texts(q), [])

    def test_article_that_is_not_stored_is_said(self):
        with self.filled() as q:
            self.give(q, "news:nobody@nowhere.example")
            self.give(q, "news://elsewhere.example/nobody@nowhere.example")
            self.assertEqual(q.ask("tabs")["selected"], "group")
        self.assert_fine(q)
        self.assertEqual(self.texts(q), [NOT_STORED, FOREIGN % "elsewhere.example" + NOT_STORED])

    def test_article_is_found_by_the_number_of_its_server(self):
        host = "nntp://%s:%d/" % self.server.address
        with self.filled() as q:
            self.give(q, host + "b.two/6")
            current = q.ask("current")
            self.assertEqual((current["id"], current["group"]), (q.chain("b.two")[1], 1))
            self.give(q, host + "b.two/99")
            self.give(q, host + "b.two/4294967302")  # 6 in 32 bits
            self.give(q, "nntp://elsewhere.example/b.two/6")
            self.assertEqual(q.ask("tabs")["selected"], "thread")
        self.assert_fine(q)
        self.assertEqual(self.texts(q), [
            NOT_STORED, NOT_STORED,
            FOREIGN % "elsewhere.example" + "Each server counts the articles of a newsgroup in its own way, "
            "so that the one of this link cannot be found."])

    def test_article_of_no_group_is_not_there(self):
        with self.filled() as q:
            newest = q.chain("b.two")[0]
            q.do("delete-stored %s" % newest)
            self.give(q, "news:" + newest.strip("<>"))
        self.assertEqual(self.texts(q), [NOT_STORED])


class Starts(Links):
    def test_link_of_the_first_start_is_opened_after_quick_setup(self):
        with self.run_quillet("news:b.two", hold=True) as q:
            q.do('expect "Welcome to Quillet CE!" cancel')
            q.do('expect "The link leads to the newsgroup" yes')
            q.do("start")
            q.do("wait")
            self.assertEqual(q.groups(), [("b.two", "checked", "0/0")])
        self.assert_fine(q)
        self.assertEqual([text.split("!")[0] for text in self.texts(q)],
                         ["Welcome to Quillet CE", QUESTION % "b.two"])

    def test_link_of_the_first_start_goes_before_the_place_where_the_user_was(self):
        with self.run_with(groups=["a.one", "b.two"]) as q:
            q.do("open-group a.one")
        with self.run_quillet("news:b.two") as q:
            q.do("wait")
            self.assertEqual(q.ask("tabs")["selected"], "thread")
            self.assertEqual(q.ask("current")["group"], 1)
            self.assertEqual(q.ask("groups")["selected"], 1)
        self.assert_fine(q)

    def second(self, *arguments):
        second = self.run_quillet(*arguments)
        second.do("wait-for exit")
        self.assertEqual(second.finish(), 0)
        return second.of("forwarded")

    def test_later_start_hands_its_link_over(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("wait")
            self.assertEqual(self.second("news:a.one")[0]["link"], "news:a.one")
            q.do("wait-for window-raised")
            q.do("wait")
            self.assertEqual(q.ask("tabs")["selected"], "thread")
            self.second("--", "news:" + 60000 * "\u00e4")  # what an argument may hold
            q.do("wait-for box")
            q.do("wait")
        self.assert_fine(q)
        self.assertEqual(self.texts(q), [TOO_LONG])

    def test_link_waits_for_the_end_of_a_dialog(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("command 40010")
            q.do("wait-dialog 121")
            self.second("news:a.one")
            q.do("wait-for window-raised")
            q.do("sleep 200")
            self.assertEqual(q.ask("tabs")["selected"], "group")
            q.do("press 1")
            q.do("wait")
            self.assertEqual(q.ask("tabs")["selected"], "thread")
        self.assert_fine(q)

    def test_links_wait_for_the_end_of_a_connection(self):
        with NewsServer({"a.one": {n: article(n, "a.one") for n in (1, 2, 3)}}) as server:
            with self.run_with(servers=[server.address], groups=["a.one"]) as q:
                q.do('expect "The link leads to the newsgroup" yes')
                q.do("command 40008")
                q.do("wait-progress")
                q.do("give-link news:b.two")
                q.do("give-link news:a.one")
                q.do("wait")
                self.assertEqual(q.groups(), [("a.one", "checked", "3/3"), ("b.two", "checked", "0/0")])
                self.assertEqual(q.ask("tabs")["selected"], "thread")
        self.assert_fine(q)

    def test_wrong_arguments_are_named(self):
        for arguments, error in (
                (["news:a", "news:b"], "a link must be the only argument besides options"),
                (["AppRunAtTime", "news:a"], "a link must be the only argument besides options"),
                (["news:a", "AppRunAtTime"], "unknown argument 'AppRunAtTime'"),
                (["--", "--help"], "unknown argument '--help'"),
                (["-style", "news:a"], "unknown argument '-style'"),
                (["-platform=x"], "unknown argument '-platform=x'"),
                (["snews:a"], "unknown argument 'snews:a'"),
                ([""], "unknown argument ''"),
                ([b"\xff\x1b[2J"], "unknown argument '\ufffd\ufffd[2J'")):
            ended = subprocess.run([PROGRAM, "--profile", self.profile, *arguments], text=True,
                                   encoding="utf-8", capture_output=True, check=False, timeout=60)
            self.assertEqual(ended.returncode, 2)
            self.assertEqual(ended.stderr, "quillet-script: %s\n" % error)


if __name__ == "__main__":
    main()
