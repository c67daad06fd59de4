# SPDX-License-Identifier: GPL-3.0-or-later
"""The figures of a connection: against a server of constant speed they are what the store has."""

import re
import time

from download_scenarios import fetch
from news_servers import NewsServer, TranscriptServer, article
from scenario import *

LINE = re.compile(r"group (\d+) of (\d+)(?:, article (\d+) of (\d+))?"
                  r"(?:, (\d+) articles? a (second|minute))?(?:, (\d+):(\d\d) left)?$")


def numbered(group, numbers):
    return {n: article(n, group, "<%s.%d@example.org>" % (group, n)) for n in numbers}


class Progress(Scenario):
    def run_against(self, server, groups, values=None, extensions=()):
        q = self.run_quillet(hold=True)
        q.configure(servers=[server.address], groups=list(groups), **(values or {}))
        for name in extensions:
            q.set_dword("Extensions\\" + name, 0)
        q.start()
        return q

    def watch(self, q):
        """Connects; (when, event) of all that was reported until it was over, and when that was."""
        seen = []
        begin = time.monotonic()
        q.send("command 40008")
        last = q.send("wait")
        while True:
            event = q.next_event()
            seen.append((time.monotonic() - begin, event))
            if event["event"] == "failure" or event["event"] == "done" and event["line"] == last:
                break
        over = [when for when, event in seen
                if event["event"] == "dialog-closed" and event["form"] == 120]
        return seen, over[-1]


class ServerOfConstantSpeed(Progress):
    def test_after_ten_seconds_the_time_left_is_right(self):
        groups = {"a.one": numbered("a.one", range(1, 61)), "a.two": numbered("a.two", range(1, 46)),
                  "a.three": numbered("a.three", range(1, 61))}
        with NewsServer(groups) as server:
            server.pause = 0.09
            with self.run_against(server, groups, {"maxarticles": 500}) as q:
                seen, over = self.watch(q)
                counts = [row[2] for row in q.groups()]
                status = q.status_text()
        self.assert_fine(q)
        self.assertEqual(counts, ["60/60", "45/45", "60/60"])
        self.assertRegex(status, r"^165 new articles in 3 groups, 0:\d\d\.$")
        self.assertLessEqual(abs(int(status[-3:-1]) - over), 3)
        right = []
        for when, event in seen:
            if event["event"] != "progress-figures":
                continue
            match = LINE.match(event["text"])
            self.assertIsNotNone(match, event)
            left = over - when
            if when < 10 or left < 2 or match[7] is None:
                continue
            shown = int(match[7]) * 60 + int(match[8])
            # The line has whole seconds.
            right.append(abs(shown - left) <= 0.3 * left + 0.5)
        self.assertGreater(len(right), 3)
        # A machine that has stood still for a moment is no server of constant speed.
        self.assertGreaterEqual(right.count(True), 0.8 * len(right), seen)

    def test_figures_are_what_the_store_has(self):
        groups = {"a.one": numbered("a.one", range(1, 21)), "a.two": numbered("a.two", range(1, 200))}
        with NewsServer(groups) as server:
            server.pause = 0.05
            with self.run_against(server, groups) as q:
                q.do("command 40008")
                q.do('wait-progress "group 2 of 2, article 1"')
                q.do("cancel-progress")
                q.do("wait")
                figures = [LINE.match(text) for text in q.progress_figures() if text]
                stored = {group: len(q.chain(group)) for group in groups}
                counts = [row[2] for row in q.groups()]
                status = q.status_text()
        self.assertNotIn(None, figures)
        self.assertEqual(stored["a.one"], 20)
        last = figures[-1]
        self.assertEqual((last[1], last[2], last[4]), ("2", "2", "50"))
        # One more may have come between the last look and the Cancel.
        self.assertIn(stored["a.two"] - int(last[3]), (0, 1, 2))
        self.assertEqual(counts, ["20/20", "%d/%d" % (stored["a.two"], stored["a.two"])])
        self.assertRegex(status, r"^%d new articles in 2 groups, 0:\d\d, cancelled\.$"
                         % (20 + stored["a.two"]))
        done = [int(match[3]) for match in figures if match[1] == "1" and match[3]]
        self.assertEqual(done, sorted(done), "never back")
        self.assertGreater(len(done), 2)

    def test_counts_of_the_list_grow_meanwhile(self):
        groups = {"a.one": numbered("a.one", range(1, 41))}
        with NewsServer(groups) as server:
            server.pause = 0.05
            for extensions in ((), ("progressline",)):
                self.use_profile("-".join(("counts",) + extensions))
                with self.run_against(server, groups, extensions=extensions) as q:
                    q.do("wait")
                    q.events.clear()
                    q.connect()
                self.assert_fine(q)
                kinds = [event["event"] for event in q.events]
                meanwhile = kinds[:kinds.index("dialog-closed")].count("groups-changed")
                if extensions:
                    self.assertEqual(meanwhile, 0)
                else:
                    self.assertGreaterEqual(meanwhile, 4)


class AtTheEnd(Progress):
    def test_what_is_missing_or_there_already_is_not_counted_as_new(self):
        same = article(3, "a.two", "<a.one.2@example.org>")
        groups = {"a.one": numbered("a.one", (1, 2, 5)),
                  "a.two": {**numbered("a.two", (1, 2)), 3: same}}
        with NewsServer(groups) as server:
            with self.run_against(server, groups, extensions=["crossposts"]) as q:
                q.connect()
                self.assertRegex(q.status_text(), r"^5 new articles in 2 groups, 0:0\d\.$")
                stored = sum(len(q.chain(group)) for group in groups)
                self.assertEqual(stored, 5)
                q.connect()
                self.assertRegex(q.status_text(), r"^No new articles, 0:0\d\.$")
        self.assert_fine(q)

    def test_an_article_that_is_added_to_a_further_group_is_new_there(self):
        groups = {"a.one": numbered("a.one", (1, 2)), "a.two": numbered("a.two", (1,))}
        groups["a.two"][2] = groups["a.one"][2]
        with NewsServer(groups) as server:
            with self.run_against(server, groups) as q:
                q.connect()
                self.assertEqual([row[2] for row in q.groups()], ["2/2", "2/2"])
                self.assertRegex(q.status_text(), r"^4 new articles in 2 groups, 0:0\d\.$")
        self.assert_fine(q)

    def test_one_article_in_one_group(self):
        groups = {"a.one": numbered("a.one", (1,)), "a.two": {}}
        with NewsServer(groups) as server:
            with self.run_against(server, groups) as q:
                q.connect()
                self.assertRegex(q.status_text(), r"^1 new article in 1 group, 0:0\d\.$")
        self.assert_fine(q)

    def test_reading_takes_the_stated_text_back(self):
        groups = {"a.one": numbered("a.one", (1, 2))}
        with NewsServer(groups) as server:
            with self.run_against(server, groups) as q:
                q.connect()
                q.do("command 40012")
                self.assertRegex(q.status_text(), "^2 new articles")
                q.expect("Mark articles", "yes")
                q.do("command 40024")
                self.assertEqual(q.status_text(), "0 articles queued for posting")
        self.assert_fine(q)

    def test_a_server_that_is_not_there_is_said(self):
        with NewsServer({}) as server:
            address = server.address
        q = self.run_quillet(hold=True)
        q.configure(servers=[address], groups=["a.one"])
        q.start()
        with q:
            q.do("command 40008")
            q.do("wait")
            self.assertRegex(q.status_text(), r"^No new articles, 0:0\d, no connection\.$")

    def test_the_wire_is_to_the_letter(self):
        conversation = "\n".join([
            "S: 200 hi", "C: GROUP a.one", "S: 211 2 5 6 a.one", fetch("STAT 5", 5),
            fetch("NEXT", 6), "C: GROUP a.two", "S: 411 no such group", "C: QUIT"])
        for extensions in ((), ("progressline",)):
            self.use_profile("-".join(("letter",) + extensions))
            server = TranscriptServer(conversation)
            q = self.run_against(server, ["a.one", "a.two"], extensions=extensions)
            with q:
                q.connect()
                status = q.status_text()
                figures = q.progress_figures()
            server.verify()
            self.assertEqual(q.exit_code(), 0)
            if extensions:
                self.assertEqual((status, figures), ("0 articles queued for posting", []))
            else:
                self.assertRegex(status, r"^2 new articles in 1 group, 0:0\d\.$")


if __name__ == "__main__":
    main()
