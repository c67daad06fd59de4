# SPDX-License-Identifier: GPL-3.0-or-later
"""What the reading scenarios share: six small articles, downloaded and opened."""

from news_servers import NewsServer
from scenario import *

# Commands of the thread and the article view.
DELETE_SHOWN, DELETE_READ, DELETE_ALL, DELETE_THREAD, DELETE_SELECTED = (
    40011, 40014, 40015, 40028, 40053)
NEXT_THREAD, PREVIOUS_ARTICLE, PREVIOUS_THREAD, NEXT_ARTICLE = 40016, 40017, 40018, 40019
ROT13, MARK_READ, MARK_UNREAD, SERVER_READ, SERVER_UNREAD = 40022, 40024, 40025, 40026, 40027
FIND, KILLFILE, FIND_AGAIN, SHOW_HEADERS, SAVE_AS = 40048, 40049, 40051, 40056, 40057
RETHREAD, REMOVE_CRS, PLAIN_TEXT = 40062, 40064, 40067

PROGRESS_DIALOG, FIND_DIALOG, HEADERS_DIALOG, KILLFILE_DIALOG = 120, 123, 124, 125

GROUP = "comp.test"


def post(name, subject, references="", body=None, group=GROUP, extra="", message_id=None):
    """(head, body) of an article <name@x> by Name <name@x.example>."""
    head = ("From: %s <%s@x.example>\r\nSubject: %s\r\nMessage-ID: %s\r\nNewsgroups: %s\r\n"
            "Date: Sat, 21 Nov 2026 10:00:00 GMT\r\n" % (
                name.capitalize(), name, subject, message_id or "<%s@x>" % name, group))
    if references:
        head += "References: %s\r\n" % references
    return head + extra, "Text of %s.\r\n" % name if body is None else body


def author(name):
    return "%s <%s@x.example>" % (name.capitalize(), name)


# Read in this order: ann, bob, carl, eve (one subject), dora, finn.
ARTICLES = {
    1: post("ann", "Hello"),
    2: post("bob", "Re: Hello", "<ann@x>"),
    3: post("carl", "Re: Hello", "<ann@x> <bob@x>"),
    4: post("dora", "Other", body="Look at http://www.example.org/a?b=1&c=<2>.\r\n"
                                  "> quoted\r\nA \"needle\" & more.\r\n-- \r\nDora\r\n"),
    5: post("eve", "RE: re:  Hello", "<gone@x>"),
    6: post("finn", "Last"),
}
ORDER = ["ann", "bob", "carl", "eve", "dora", "finn"]
ROWS = [(0, "4/4 Hello"), (1, author("ann")), (2, author("bob")), (3, author("carl")),
        (1, author("eve")), (0, "Other"), (1, author("dora")), (0, "Last"), (1, author("finn"))]


def html(text):
    """The fragment of a text without quotes and links, in the factory font."""
    return '<FONT FACE="Arial" SIZE="2">%s&nbsp;<br></FONT>' % text.replace("\r\n", "&nbsp;<br>")


class Reading(Scenario):
    """A server with the articles, and a program that has fetched them."""

    def download(self, articles=None, groups=None, values=None, **keywords):
        """A running program that has fetched everything. `groups`: {name: {number: article}}."""
        groups = groups or {GROUP: articles or ARTICLES}
        self.server = NewsServer(groups)
        self.addCleanup(self.server.close)
        q = self.run_with(servers=[self.server.address], groups=list(groups), values=values,
                          **keywords)
        q.connect()
        return q

    def open(self, articles=None, **keywords):
        """The same with the first group opened."""
        q = self.download(articles, **keywords)
        q.open_group(list(self.server.groups)[0])
        return q

    def counts(self, q):
        """The counts column of every group, from the group view."""
        if q.tab() != "group":
            q.do("tab group")
        return [counts for _, _, counts in q.groups()]

    def bold(self, q):
        """The authors of the unread articles and the labels of the unread threads, in order."""
        return [text for _, text, bold in q.texts() if bold]

    def shown(self, q):
        """The name of the article in the article view, None when there is none."""
        current = q.current()
        return current["id"][1:].split("@")[0] if current["exists"] else None

    def names(self, q):
        """The names of the articles in the tree, from the top."""
        return [row["id"][1:].split("@")[0] for row in q.tree()["rows"]
                if row["kind"] == "article"]

    def assert_tree_true(self, q):
        """What the tree shows agrees with itself, with the store and with the group's counts."""
        tree = q.tree()
        top = [row for row in tree["rows"] if row["depth"] == 0]
        articles = [row for row in tree["rows"] if row["kind"] == "article"]
        for row in articles:
            stored = q.article(row["id"])
            self.assertIsNotNone(stored, row)
            self.assertEqual(row["read"], stored["read"] != 0, row)
            self.assertEqual((row["text"], row["bold"]), (row["from"], not row["read"]), row)
        for row in top:
            self.assertEqual(row["kind"], "subject")
            label = row["subject"]
            if row["total"] != 1:
                label = "%d/%d %s" % (row["unread"], row["total"], label)
            self.assertEqual((row["text"], row["bold"]), (label, row["unread"] > 0), row)
        group = tree["caption"].split(":")[0]
        unread, total = sum(r["unread"] for r in top), sum(r["total"] for r in top)
        self.assertEqual((unread, total),
                         (len([r for r in articles if not r["read"]]), len(articles)))
        if articles:
            self.assertEqual(sorted(r["id"] for r in articles), sorted(q.chain(group)))
            self.assertIn((group, "%d/%d" % (unread, total)),
                          [(name, counts) for name, _, counts in q.groups()])
        return tree

    def dialog(self, q, line, form):
        """Sends a command that opens a dialog; returns it."""
        q.do(line)
        q.do("wait-dialog %d" % form)
        return q.ask("dialog")

    def control(self, dialog, control):
        return next(one for one in dialog["controls"] if one["id"] == control)
