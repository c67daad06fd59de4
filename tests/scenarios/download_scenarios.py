# SPDX-License-Identifier: GPL-3.0-or-later
"""Whole connections against strict conversations: every line the program says is fixed here."""

import subprocess
import time

from news_servers import NewsServer, TranscriptServer, article
from scenario import *


def head(number, message_id=None, subject=None, extra=()):
    """Transcript lines of a HEAD reply."""
    message_id = message_id or "<a%d@example.org>" % number
    return "\n".join(["S: 221 %d %s" % (number, message_id),
                      "S: From: Ann <ann@example.org>",
                      "S: Subject: %s" % (subject or "Article %d" % number),
                      "S: Message-ID: %s" % message_id,
                      "S: Date: Sat, 21 Nov 2026 10:00:00 GMT"]
                     + ["S: " + line for line in extra] + ["S: ."])


def body(number, *lines):
    return "\n".join(["S: 222 %d <a%d@example.org>" % (number, number)]
                     + ["S: " + line for line in lines or ("Text %d" % number,)] + ["S: ."])


def fetch(command, number, message_id=None, **keywords):
    """Transcript lines of one article from its STAT or NEXT to its body."""
    message_id = message_id or "<a%d@example.org>" % number
    return "\n".join(["C: " + command, "S: 223 %d %s" % (number, message_id), "C: HEAD",
                      head(number, message_id, **keywords), "C: BODY", body(number)])


class Download(Scenario):
    def connect(self, transcripts, groups=("a.one",), values=None, log=False, expect=(), users=(),
                passwords=()):
        """One run that connects once for every transcript."""
        server = TranscriptServer(*transcripts)
        try:
            q = self.run_quillet(hold=True)
            q.configure(servers=[server.address], groups=list(groups), **(values or {}))
            if users:
                q.set_strings("authusers", users)
                q.set_strings("authpasses", passwords)
            q.start()
            with q:
                if log:
                    q.do("keep-transaction-log on")
                for _ in transcripts:
                    q.connect()
                self.collect(q, groups)
        finally:
            server.verify()
        return q

    def collect(self, q, groups):
        self.groups = q.groups()
        self.texts = q.progress_texts()
        self.log = q.transaction_log()
        self.chains = {group: q.chain(group) for group in groups}
        self.articles = {i: q.article(i) for ids in self.chains.values() for i in ids}
        self.status = q.status_text()


class OneGroup(Download):
    def test_three_articles_with_all_that_is_shown_logged_and_stored(self):
        q = self.connect(["\n".join([
            "S: 200 news.example.org ready",
            "C: GROUP a.one", "S: 211 3 5 7 a.one",
            fetch("STAT 5", 5), fetch("NEXT", 6, extra=["References: <x@y> <a5@example.org>"]),
            fetch("NEXT", 7),
            "C: QUIT"])], log=True)
        self.assert_fine(q)
        self.assert_silent(q)
        self.assertEqual(self.groups, [("a.one", "checked", "3/3")])
        self.assertEqual(self.chains["a.one"],
                         ["<a7@example.org>", "<a6@example.org>", "<a5@example.org>"])
        self.assertEqual(self.texts, [
            (1020, "Preparing to download..."),
            (1020, "Connecting..."), (1022, ""),
            (1022, "Connecting to host 127.0.0.1..."),
            (1020, "Connected to 127.0.0.1"), (1022, "Waiting for response..."),
            (1022, "200 news.example.org ready\r\n"),
            (1020, "Downloading from group a.one"), (1022, "article 5"),
            (1022, "article 5"), (1022, "article 6"), (1022, "article 7")])
        self.assertEqual(self.log, "".join([
            "Quillet CE 1.14r3 transaction log\r\n",
            "200 news.example.org ready\r\n", "200 news.example.org ready\r\n",
            "GROUP a.one\r\n", "211 3 5 7 a.one\r\n",
            "#(IS last count:0 first: 5 last: 7 curcount: 0 max: 50"
            " last: 0; starting with 5 getting 3)\r\n",
            "STAT 5\r\n", "223 5 <a5@example.org>\r\n", "HEAD\r\n", "BODY\r\n",
            "NEXT\r\n", "223 6 <a6@example.org>\r\n", "HEAD\r\n", "BODY\r\n",
            "NEXT\r\n", "223 7 <a7@example.org>\r\n", "HEAD\r\n", "BODY\r\n",
            "QUIT\r\n"]))
        stored = self.articles["<a6@example.org>"]
        self.assertEqual(
            {name: stored[name] for name in ("number", "read", "parent", "subject", "from",
                                             "date", "reply_to", "source", "headers", "body")},
            {"number": 6, "read": 0, "parent": "<a5@example.org>", "subject": "Article 6",
             "from": "Ann <ann@example.org>", "date": "Sat, 21 Nov 2026 10:00:00 GMT",
             "reply_to": "Ann <ann@example.org>", "source": "127.0.0.1",
             "headers": "References: <x@y> <a5@example.org>", "body": "Text 6"})
        self.assertEqual(len(q.of("beep")), 1)
        self.assertRegex(self.status, r"^3 new articles in 1 group, 0:0\d\.$")
        back = self.read_back()
        self.assertEqual((back["lastdownloaded"][1], back["lastonserver"][1]), ([7], [7]))

    def test_a_second_connection_fetches_only_what_is_new(self):
        first = "\n".join(["S: 201 no posting", "C: GROUP a.one", "S: 211 1 5 5 a.one",
                           fetch("STAT 5", 5), "C: QUIT"])
        second = "\n".join(["S: 200 hi", "C: GROUP a.one", "S: 211 2 5 6 a.one",
                            fetch("STAT 6", 6), "C: QUIT"])
        third = "\n".join(["S: 200 hi", "C: GROUP a.one", "S: 211 2 5 6 a.one", "C: QUIT"])
        q = self.connect([first, second, third])
        self.assert_fine(q)
        self.assertEqual(self.groups, [("a.one", "checked", "2/2")])

    def test_progress_is_saved_before_each_article(self):
        server = TranscriptServer("\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 2 5 6 a.one", fetch("STAT 5", 5),
            "C: NEXT", "S: 223 6 <a6@example.org>", "C: HEAD"]))
        q = self.run_with(servers=[server.address], groups=["a.one"])
        q.do("command 40008")
        q.do('wait-progress "article 6"')
        while b"HEAD" not in server.heard[-1:]:
            q.do("sleep 20")
        q.kill()
        server.verify()
        self.assertEqual(self.read_back()["lastdownloaded"][1], [6])

    def test_a_missing_start_is_scanned_for(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 3 5 9 a.one",
            "C: STAT 7", "S: 423 no such number",
            "C: STAT 5", "S: 223 5 <a5@example.org>",
            "C: NEXT", "S: 223 6 <a6@example.org>",
            "C: NEXT", "S: 223 9 <a9@example.org>",
            fetch("STAT 9", 9),
            "C: NEXT", "S: 421 no next",
            "C: QUIT"])], values={"lastdownloaded": [6], "lastonserver": [6]}, log=True)
        self.assert_fine(q)
        self.assertEqual(self.groups, [("a.one", "checked", "1/1")])
        self.assertIn((1022, "Article 7 does not exist on the server"), self.texts)
        self.assertIn((1022, "Scanning group for article 8 (found 6)"), self.texts)
        self.assertIn((1022, "Scanning group for article 8 (found 9)"), self.texts)
        self.assertIn("STAT 7\r\n423 no such number\r\n223 5", self.log)  # the scan is not logged
        self.assertEqual(self.read_back()["lastdownloaded"][1], [9])

    def test_a_renumbered_group_restarts_behind_its_first_article(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 2 1 2 a.one", fetch("STAT 2", 2), "C: QUIT"])],
            values={"lastdownloaded": [900], "lastonserver": [950]}, log=True)
        self.assert_fine(q)
        self.assertIn("max: 50(rollover) last: 1; starting with 2 getting 1)\r\n", self.log)
        back = self.read_back()
        self.assertEqual((back["lastdownloaded"][1], back["lastonserver"][1]), ([2], [2]))

    def test_a_position_beyond_the_server_is_corrected(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 9 1 9 a.one", fetch("STAT 9", 9), "C: QUIT"])],
            values={"lastdownloaded": [20], "lastonserver": [8]}, log=True)
        self.assert_fine(q)
        self.assertIn("max: 50(e) last: 8; starting with 9 getting 1)\r\n", self.log)

    def test_the_newest_window(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 901 100 1000 a.one",
            fetch("STAT 999", 999), fetch("NEXT", 1000), "C: QUIT"])],
            values={"downloadnewest": 1, "maxarticles": 2})
        self.assert_fine(q)
        self.assertEqual(self.groups, [("a.one", "checked", "2/2")])

    def test_headers_only_stores_empty_bodies(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 1 1 1 a.one",
            "C: STAT 1", "S: 223 1 <a1@example.org>", "C: HEAD", head(1), "C: QUIT"])],
            values={"downloadfull": 0})
        self.assert_fine(q)
        self.assertEqual(self.articles["<a1@example.org>"]["body"], "")

    def test_large_articles_become_notices(self):
        long_line = "x" * 1100
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 2 1 2 a.one",
            "C: STAT 1", "S: 223 1 <a1@example.org>", "C: HEAD", head(1, extra=["Lines: 1000"]),
            "C: NEXT", "S: 223 2 <a2@example.org>", "C: HEAD", head(2), "C: BODY",
            body(2, long_line), "C: QUIT"])], values={"maxarticlesize": 1})
        self.assert_fine(q)
        notice = "Quillet notification: message exceeds maximum size.\r\n"
        self.assertEqual([a["body"] for a in self.articles.values()], [notice, notice])
        self.assertIn((1022, "Skipping large article 1 (70k)"), self.texts)

    def test_dots_eight_bit_texts_and_an_empty_body_are_kept_as_they_came(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 2 1 2 a.one",
            "C: STAT 1", "S: 223 1 <a1@example.org>", "C: HEAD",
            head(1, subject="caf\u00e9 \u0080"), "C: BODY",
            body(1, "..dot", ".", "caf\u00e9").replace("S: .\n", "S: ..\n", 1),
            "C: NEXT", "S: 223 2 <a2@example.org>", "C: HEAD", head(2), "C: BODY",
            "S: 222 2 <a2@example.org>", "S: .", "C: QUIT"])])
        self.assert_fine(q)
        first = self.articles["<a1@example.org>"]
        self.assertEqual(first["subject"], "caf\u00e9 \u20ac")  # code page 1252
        self.assertEqual(first["body"], "..dot\r\n..\r\ncaf\u00e9")
        self.assertEqual(self.articles["<a2@example.org>"]["body"],
                         "Quillet notification: message has no body\r\n")


class Rules(Download):
    def test_a_killed_article_is_not_fetched(self):
        server = TranscriptServer("\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 2 1 2 a.one",
            "C: STAT 1", "S: 223 1 <a1@example.org>", "C: HEAD",
            head(1, subject="MAKE MONEY FAST"), fetch("NEXT", 2), "C: QUIT"]))
        q = self.run_quillet(hold=True)
        q.configure(servers=[server.address], groups=["a.one"], killfilecount=1,
                    killfilegroups=[1], killfilekills=[1], killfileauthors=[0])
        q.set_strings("killfiletexts", ["money"])
        q.start()
        with q:
            q.connect()
            self.collect(q, ["a.one"])
        server.verify()
        self.assert_fine(q)
        self.assertEqual(self.chains["a.one"], ["<a2@example.org>"])
        self.assertIn((1022, "Killed article 1"), self.texts)
        self.assertEqual(self.read_back()["lastdownloaded"][1], [2])

    def connect_to_a_cross_post(self, **keywords):
        """In a.two the article of a.one, and one of its own."""
        return self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 1 5 5 a.one",
            fetch("STAT 5", 5, message_id="<cross@example.org>"),
            "C: GROUP a.two", "S: 211 2 8 9 a.two",
            "C: STAT 8", "S: 223 8 <cross@example.org>", "C: HEAD", head(8, "<cross@example.org>"),
            fetch("NEXT", 9),
            "C: NEXT", "S: 421 no next", "C: QUIT"])], groups=("a.one", "a.two"), **keywords)

    def test_a_cross_post_is_stored_once_and_shown_in_both_groups(self):
        q = self.connect_to_a_cross_post()
        self.assert_fine(q)
        self.assertEqual(self.groups, [("a.one", "checked", "1/1"), ("a.two", "checked", "2/2")])
        self.assertEqual(self.chains, {"a.one": ["<cross@example.org>"],
                                       "a.two": ["<a9@example.org>", "<cross@example.org>"]})

    def test_without_the_extension_a_cross_post_is_in_its_first_group_alone(self):
        q = self.connect_to_a_cross_post(values={"Extensions\\crossposts": 0})
        self.assert_fine(q)
        self.assertEqual(self.groups, [("a.one", "checked", "1/1"), ("a.two", "checked", "1/1")])
        self.assertEqual(self.chains, {"a.one": ["<cross@example.org>"],
                                       "a.two": ["<a9@example.org>"]})

    def test_only_ticked_groups_in_list_order(self):
        server = TranscriptServer("\n".join([
            "S: 200 hi", "C: GROUP a.three", "S: 211 0 0 0 a.three",
            "C: GROUP a.one", "S: 211 0 0 0 a.one", "C: QUIT"]))
        with self.run_with(servers=[server.address],
                           groups=["a.three", "a.two", "a.one"]) as q:
            q.do("untick a.two")
            q.connect()
        server.verify()
        self.assert_fine(q)

    def test_every_group_full_is_said_instead_of_connecting(self):
        first = "\n".join(["S: 200 hi", "C: GROUP a.one", "S: 211 1 1 1 a.one",
                           fetch("STAT 1", 1), "C: QUIT"])
        server = TranscriptServer(first)
        with self.run_with(servers=[server.address], groups=["a.one"],
                           values={"maxarticles": 1}) as q:
            q.connect()
            q.connect()
        server.verify()
        self.assert_fine(q)
        self.assertEqual(q.boxes(), [(
            "Quillet", "Your preferences are set to store 1 articles per group, and the groups "
            "you have checked each have at least this many. Either delete some articles or raise "
            "the maximum number of articles to download in the preferences.", "ok")])


# A lost connection ends the run.
NO_RETRIES = {"Extensions\\retries": 0}
ONE_ARTICLE = ["S: 200 hi", "C: GROUP a.one", "S: 211 2 1 2 a.one", "C: STAT 1",
               "S: 223 1 <a1@example.org>", "C: HEAD", head(1), "C: BODY", body(1), "C: NEXT"]


class Errors(Download):
    def error_boxes(self, q):
        return [(box["caption"], box["text"], box["buttons"], box["icon"], box["owner"])
                for box in q.of("box")]

    def test_a_refused_group_is_reported_at_the_end_and_the_next_one_fetched(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 411 no such group",
            "C: GROUP a.two", "S: 211 1 1 1 a.two", fetch("STAT 1", 1), "C: QUIT"])],
            groups=("a.one", "a.two"))
        self.assert_fine(q)
        self.assertEqual(self.error_boxes(q), [(
            "Error log", "a.one: server reports error ('411 no such group\r\n')",
            "ok", "none", "dialog")])
        self.assertEqual(self.groups[1], ("a.two", "checked", "1/1"))

    @for_each(*range(len(ONE_ARTICLE)))
    def test_a_server_that_closes_at_each_step(self, steps):
        q = self.connect(["\n".join(ONE_ARTICLE[:steps] + ["CLOSE"])], values=NO_RETRIES)
        self.assert_fine(q)
        boxes = self.error_boxes(q)
        self.assertGreater(len(boxes), 0)
        for box in boxes:
            self.assertEqual(box[0], "Error log")
            self.assertIn("socket destroyed\r\n", box[1])

    @for_each(
        ["C: STAT 1", "S: 500 what?", "C: QUIT"],
        ["C: STAT 1", "S: garbage", "C: QUIT"],
        ["C: STAT 1", "S: 223 1 <a@b>", "C: HEAD", "S: 430 none", "C: QUIT"],
        ["C: STAT 1", "S: 223 1 <a@b>", "C: HEAD", head(1), "C: BODY", "S: 430 none", "C: QUIT"])
    def test_replies_that_make_no_sense_end_the_group_or_the_run(self, lines):
        q = self.connect(["\n".join(["S: 200 hi", "C: GROUP a.one", "S: 211 1 1 1 a.one"] + lines)])
        self.assert_fine(q)
        self.assertEqual(self.chains["a.one"], [])

    @for_each("RAW: 200 " + "x" * 5000, "RAW: " + "\\x00" * 3000)
    def test_a_line_without_end_and_binary_floods_do_not_hang(self, raw):
        q = self.connect([raw + "\nCLOSE"], values=NO_RETRIES)
        self.assert_fine(q)

    def test_a_lost_connection_is_made_again_and_goes_on_where_it_was(self):
        server = TranscriptServer(
            "\n".join(ONE_ARTICLE + ["CLOSE"]),
            "\n".join(["S: 200 hi", "C: GROUP a.one", "S: 211 2 1 2 a.one", "C: STAT 1",
                       "S: 223 1 <a1@example.org>", fetch("NEXT", 2), "C: QUIT"]))
        with self.run_with(servers=[server.address], groups=["a.one"],
                           values={"Extensions\\retries": 1}) as q:
            q.connect()
            self.collect(q, ["a.one"])
        self.assert_fine(q)
        server.verify()
        self.assertEqual(self.chains["a.one"], ["<a2@example.org>", "<a1@example.org>"])
        self.assertEqual(self.error_boxes(q),
                         [("Error log", "socket destroyed\r\n", "ok", "none", "dialog")])
        said = [text for control, text in self.texts if control == 1022 and "lost" in text]
        self.assertEqual(said, ["The connection was lost. Trying again in %s..." % left
                                for left in ("5 seconds", "4 seconds", "3 seconds", "2 seconds",
                                             "1 second")])

    def test_cancel_ends_the_wait_for_another_attempt(self):
        server = TranscriptServer("S: 200 hi\nC: GROUP a.one\nCLOSE")
        with self.run_with(servers=[server.address], groups=["a.one"]) as q:
            q.send("command %d" % CONNECT)
            q.do('wait-progress "The connection was lost. Trying again in 5"')
            started = time.monotonic()
            q.do("cancel-progress")
            q.do("wait")
            self.assertLess(time.monotonic() - started, 4)  # and not the whole wait
        self.assert_fine(q)
        server.verify()

    def test_a_server_that_asks_for_a_login_later_gets_it(self):
        q = self.connect(["\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 480 who are you", "C: AUTHINFO USER ann",
            "S: 381 and", "C: AUTHINFO PASS secret", "S: 281 fine", "C: GROUP a.one",
            "S: 211 1 1 1 a.one", fetch("STAT 1", 1), "C: QUIT"])], users=["ann"],
            passwords=["secret"])
        self.assert_fine(q)
        self.assert_silent(q)
        self.assertEqual(self.chains["a.one"], ["<a1@example.org>"])

    def test_a_silent_server_is_said_to_be_silent(self):
        server = TranscriptServer("S: 200 hi\nC: GROUP a.one\nC: NEVER")
        with self.run_with(servers=[server.address], groups=["a.one"],
                           values={"Extensions\\stalllimit": 1, **NO_RETRIES}) as q:
            q.connect()
        self.assert_fine(q)
        server.close()
        self.assertEqual(self.error_boxes(q), [(
            "Error log", "The news server has not answered for 1 seconds.\r\n", "ok", "none",
            "dialog")])

    def test_no_server_listens(self):
        server = TranscriptServer()
        server.close()
        with self.run_with(servers=[server.address], groups=["a.one"]) as q:
            q.connect()
        self.assert_fine(q)
        self.assertEqual(self.error_boxes(q), [(
            "Quillet", "An unexpected error (connect: the news server refused the connection) "
            "occurred in OpenConnection.", "ok", "none", "dialog")])

    def test_an_unknown_host(self):
        with self.run_with(servers=[("no-such-host.invalid", 119)], groups=["a.one"]) as q:
            q.connect()
        self.assert_fine(q)
        self.assertEqual(self.error_boxes(q), [(
            "Error log", "Unable to find host no-such-host.invalid.\r\n", "ok", "none",
            "dialog")])

    def test_no_server_configured_and_no_method(self):
        with self.run_quillet(hold=True) as q:
            q.configure(groups=["a.one"])
            q.expect(WELCOME, "cancel")
            q.start()
            q.do("command %d" % CONNECT)
            q.do("wait-dialog")
            q.press(2)
        self.assert_fine(q)
        box = q.of("box")[1]
        self.assertEqual((box["caption"], box["text"], box["icon"]), (
            "Quillet CE not configured",
            "In order to connect, you need to supply a news server name.", "exclamation"))
        with self.run_with(groups=["a.one"], servers=[("127.0.0.1", 9)],
                           values={"conxmethod": ""}) as q:
            q.do("command %d" % CONNECT)
            q.do("wait-dialog")
            q.press(1)
            self.assertEqual(q.registry("conxmethod"), "<none>")
        self.assert_fine(q)

    def test_a_store_that_is_too_full_is_said_before_connecting(self):
        with self.run_with(groups=["a.one"], servers=[("127.0.0.1", 9)],
                           values={"maxstore": 0}) as q:
            q.connect()
        self.assert_fine(q)
        self.assertEqual(q.boxes(), [(
            "Quillet", "There is not enough free space on the selected store to download news. "
            "Either free some space or change the allowed percentage in the preferences.", "ok")])

    def test_a_server_that_wants_a_login_is_not_met_with_silence(self):
        with NewsServer({"a.one": {1: article(1, "a.one")}}) as server:
            with self.run_with(servers=[server.address], groups=["a.one"],
                               values={"useauths": [1]}) as q:
                q.connect()
        self.assert_fine(q)
        self.assertEqual(len(q.boxes()), 1)
        self.assertEqual(server.fetched, [])


class DemoServer(Download):
    GROUPS = ["gen.one", "gen.two", "gen.three"]

    def setUp(self):
        super().setUp()
        options = [option for group in self.GROUPS for option in ("--group", group)]
        server = subprocess.Popen([DEMO_SERVER, "--generate", "300", "--seed", "7",
                                   "--die-with-parent"] + options, stdout=subprocess.PIPE)
        self.addCleanup(server.stdout.close)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        self.port = int(server.stdout.readline().split(b":")[-1])

    def test_generated_articles_come_whole_and_once(self):
        with self.run_with(servers=[("127.0.0.1", self.port)], groups=self.GROUPS,
                           values={"maxarticles": 1000, "maxarticlesize": 1000}) as q:
            q.connect()
            chains = {group: q.chain(group) for group in self.GROUPS}
            self.assertEqual([g[2] for g in q.groups()],
                             ["%d/%d" % (len(c), len(c)) for c in chains.values()])
            ids = {message_id for chain in chains.values() for message_id in chain}
            self.assertEqual(len(ids), 300)
            for message_id in ids:
                stored = q.article(message_id)
                self.assertNotEqual(stored["subject"], "<no subject>")
                self.assertFalse(stored["body"].startswith("Quillet notification: message exc"))
            # The end is reached: a second connection brings nothing.
            q.connect()
            self.assertEqual({group: q.chain(group) for group in self.GROUPS}, chains)
        self.assert_fine(q)
        self.assert_silent(q)


class AfterDownload(Download):
    """Commands that need stored articles."""

    def setUp(self):
        super().setUp()
        self.server = NewsServer({
            "a.one": {n: article(n, "a.one", "<o%d@example.org>" % n) for n in (1, 2, 3)},
            "a.two": {n: article(n, "a.two", "<t%d@example.org>" % n) for n in (1, 2)}})
        self.addCleanup(self.server.close)

    def downloaded(self, **keywords):
        q = self.run_with(servers=[self.server.address], groups=["a.one", "a.two"], **keywords)
        q.connect()
        self.assertEqual(q.groups(), [("a.one", "checked", "3/3"), ("a.two", "checked", "2/2")])
        return q

    def test_marking_deleting_read_and_deleting_all(self):
        with self.downloaded() as q:
            q.do("untick a.two")
            q.expect("Mark articles in checked groups as read?", "yes")
            q.do("command 40024")
            self.assertEqual([g[2] for g in q.groups()], ["0/3", "2/2"])
            q.do("tick a.two")
            q.expect("Really delete read articles in checked groups?", "yes")
            q.do("command 40014")
            self.assertEqual([g[2] for g in q.groups()], ["0/0", "2/2"])
            self.assertIn((1022, "Deleting in a.one (1/2)"), q.progress_texts())
            q.expect("Mark articles in checked groups as unread?", "yes")
            q.do("command 40025")
            self.assertEqual([g[2] for g in q.groups()], ["0/0", "2/2"])
            q.expect("Really delete all articles in checked groups?", "yes")
            q.do("command 40015")
            self.assertEqual([g[2] for g in q.groups()], ["0/0", "0/0"])
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual([g[2] for g in q.groups()], ["0/0", "0/0"])

    def test_marks_survive_a_restart(self):
        with self.downloaded() as q:
            q.expect("Mark articles in checked groups as read?", "yes")
            q.do("command 40024")
        with self.run_quillet() as q:
            self.assertEqual([g[2] for g in q.groups()], ["0/3", "0/2"])
            self.assertNotEqual(q.article("<o2@example.org>")["read"], 0)

    def test_an_aborted_mark_keeps_what_was_done(self):
        with self.downloaded() as q:
            q.do("cancel-progress after 3")
            q.expect("Mark articles in checked groups as read?", "yes")
            q.do("command 40024")
            q.do("wait")
            self.assertEqual(len(q.of("progress-cancelled")), 1)
            unread = int(q.groups()[0][2].split("/")[0])
            self.assertIn(unread, (1, 2))
        with self.run_quillet() as q:
            self.assertEqual(q.groups()[0][2], "%d/3" % unread)
            self.assertEqual(q.groups()[1][2], "2/2")

    def test_removing_a_group_removes_its_articles(self):
        with self.downloaded() as q:
            q.do("untick a.two")
            q.expect("Really delete the checked groups?", "yes")
            q.do("command 40021")
            self.assertEqual(q.groups(), [("a.two", "unchecked", "2/2")])
            self.assertIsNone(q.article("<o1@example.org>"))
            self.assertIsNotNone(q.article("<t1@example.org>"))
            self.assertEqual(q.registry("lastdownloaded"), [2])
        self.assert_fine(q)

    # 8: when the program quits; 2: only read articles. Boxes do not count.
    @for_each((8, ["0/0", "0/0"]), (8 + 2, ["0/0", "2/2"]))
    def test_closing_with_autodelete_deletes_first_and_asks_nothing(self, autodelete, left):
        with self.downloaded(values={"autodelete": autodelete}) as q:
            q.do("untick a.two")
            q.expect("Mark articles in checked groups as read?", "yes")
            q.do("command 40024")
            q.do("command 40013")
        self.assert_fine(q)
        self.assertEqual(len(q.boxes()), 1)
        with self.run_quillet() as q:
            self.assertEqual([g[2] for g in q.groups()], left)

    def test_automatic_deletion_before_a_download(self):
        with self.downloaded(values={"autodelete": 4}) as q:
            q.do("progress")
            q.connect()
            texts = q.progress_texts()
            self.assertIn((1020, "Preparing to download..."), texts)
            self.assertEqual([g[2] for g in q.groups()], ["0/0", "0/0"])
        self.assert_fine(q)
        self.assert_silent(q)

    @for_each("signal", "desktop")
    def test_end_of_the_session_during_a_download_saves_what_is_there(self, end):
        stall = TranscriptServer("\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 2 1 2 a.one", fetch("STAT 1", 1),
            "C: NEXT", "S: 223 2 <a2@example.org>", "C: HEAD", "C: NEVER"]))
        self.addCleanup(stall.close)
        q = self.run_with(servers=[stall.address], groups=["a.one"])
        q.do("command 40008")
        q.do('wait-progress "article 2"')
        if end == "signal":
            q.terminate()
            self.assertEqual(q.await_end(), 0)
        else:
            q.do("end-session")
            q.do("wait-for exit")
            self.assertEqual(q.finish(), 0)
        with self.run_quillet() as q:
            self.assertEqual(q.groups(), [("a.one", "checked", "1/1")])
        self.assert_silent(q)


if __name__ == "__main__":
    main()
