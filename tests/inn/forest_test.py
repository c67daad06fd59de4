#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Opens many small groups with tangled threads and compares each shown tree with the rules.

The stores are written without the program. Environment: QUILLET_SCRIPT, QUILLET_GDBM_DUMP,
QUILLET_GDBM_LOAD (programs), QUILLET_FORESTS (a folder for the profiles).
"""

import os
import random
import shutil
import struct
import subprocess
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, os.pardir, "scenarios"))
sys.path.insert(0, HERE)

# pylint: disable=wrong-import-position
import plain_tree  # noqa: E402
import quillet_script  # noqa: E402
import store_check  # noqa: E402

FORESTS = 200
SEED = 20240229
SOURCES = (b"news.a.example", b"news.b.example", b"<import>", b"News.A.example", b"caf\xe9")
NUMBERS = (0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 2147483647, 2147483648, 4294967295)
SUBJECTS = (b"Hello", b"Re: Hello", b"RE: re:  Hello", b"  Hello", b"hello", b"Re:hello", b"Re:",
            b"", b" ", b"re: re:re:   ", b"Re : Hello", b"\tHello", b"Gr\xfc\xdfe", b"Re: Gr\xfc\xdfe",
            b"\x80 Hello", b"Re", b"reHello", b"Hello ")
AUTHORS = (b"Ann <ann@example.org>", b"B\xf6b <bob@example.org>", b"", b"\x93Carl\x94")


class Forest:
    """The records of a store of many groups, newest articles with the highest chain numbers."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.articles = {}
        self.newsgroups = {}
        self.groups = ["forest.%03d" % i for i in range(FORESTS)]
        self.chain = 0
        # Message-IDs of groups made before; one article has none and can be no one's parent.
        self.elsewhere = [b""]
        self.add_article(b"", b"<0.0@forest>")
        for number, group in enumerate(self.groups):
            self.make_group(number, group)
        self.newsgroups[b"\xff"] = struct.pack("<I", self.chain + 1)

    def make_group(self, number, group):
        count = self.random.choice((0, 1, 2, 3, 5, 8, 12, 12, 20, 40))
        own = [b"<%d.%d@forest>" % (number, i) for i in range(count)]
        chain = []
        for message_id in own:
            self.add_article(message_id, self.parent_for(message_id, own), own)
            chain.append(message_id)
            if self.random.random() < 0.05:
                chain.append(self.random.choice(own[:len(chain)]))       # twice in one chain
            if self.random.random() < 0.1:
                chain.append(self.random.choice(self.elsewhere))         # posted to both groups
            if self.random.random() < 0.05:
                chain.append(b"<gone.%d@forest>" % self.chain)           # its article is missing
        self.elsewhere += own
        self.add_chain(group, chain)

    def parent_for(self, message_id, own):
        kind = self.random.random()
        if kind < 0.2:
            return b""
        if kind < 0.25:
            return b"<missing@forest>"
        if kind < 0.3:
            return message_id
        if kind < 0.35:
            return self.random.choice(self.elsewhere)
        if kind < 0.38:
            return self.random.choice(own).upper()
        return self.random.choice(own)          # earlier or later, so that circles come about

    def head_for(self, parent_id, own):
        """Most have References, folded here and there; the last one mostly is the parent."""
        if self.random.random() < 0.3:
            return b""
        ids = [self.random.choice((*own, b"<missing@forest>", b"<gone@forest>", b"<away@forest>"))
               for _ in range(self.random.randrange(5))]
        if self.random.random() < 0.7 and parent_id:
            ids.append(parent_id)
        field = b"References:"
        for one in ids:
            field += self.random.choice((b" ", b" ", b"\r\n ", b"\r\n\t")) + one
        return b"Path: forest\r\n" + field + b"\r\nLines: 1"

    def add_article(self, message_id, parent_id, own=()):
        pick = self.random.choice
        texts = (message_id, self.head_for(parent_id, own), b"text\r\n", parent_id, pick(SUBJECTS), pick(AUTHORS),
                 pick(SOURCES), b"", b"")
        words = struct.pack("<5I", 1, self.random.random() < 0.4, 1, 0, pick(NUMBERS))
        self.articles[message_id + b"\0"] = (words + b"".join(text + b"\0" for text in texts) +
                                             b"\0" * 4)

    def add_chain(self, group, chain):
        if not chain:
            return
        numbers = [0, *range(self.chain + 1, self.chain + 1 + len(chain)), 0]
        self.chain += len(chain)
        self.newsgroups[store_check.text_key(group)] = store_check.group_record(
            0, numbers[-2], group, "")
        for i, message_id in enumerate(chain, start=1):
            self.newsgroups[struct.pack("<I", numbers[i])] = store_check.group_record(
                numbers[i + 1], numbers[i - 1], group, message_id.decode("latin-1"))


def write_database(path, records):
    lines = "".join("%s %s\n" % (key.hex(), value.hex()) for key, value in records.items())
    subprocess.run([os.environ["QUILLET_GDBM_LOAD"], path], input=lines.encode("ascii"), check=True)


class ForestTest(unittest.TestCase):
    """One store for all; every arrangement has a copy of it, since opening a group heals it."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = os.environ["QUILLET_FORESTS"]
        shutil.rmtree(cls.folder, ignore_errors=True)
        cls.forest = Forest(SEED)
        cls.original = os.path.join(cls.folder, "original")
        news = os.path.join(cls.original, store_check.FOLDER)
        os.makedirs(news)
        write_database(os.path.join(news, "Quillet articles.gdb"), cls.forest.articles)
        write_database(os.path.join(news, "Quillet newsgroups.gdb"), cls.forest.newsgroups)
        write_database(os.path.join(news, "Quillet pending posts.gdb"), {})

    def open_all(self, name, threading, reverse, ancestors):
        """Opens every group in a copy of the store; returns its folder and the rows shown."""
        profile = os.path.join(self.folder, name)
        shutil.copytree(self.original, profile)
        shown = {}
        with quillet_script.Quillet(os.environ["QUILLET_SCRIPT"], profile, hold=True,
                                    timeout=150) as q:
            q.configure(servers=[("127.0.0.1", 1)], groups=self.forest.groups,
                        usethreading=threading, reversethread=reverse,
                        **{"Extensions\\ancestors": ancestors})
            q.start()
            for group in self.forest.groups:
                q.open_group(group)
                shown[group] = q.tree()["rows"]
            counts = {group: text for group, _, text in q.groups()}
        self.assertEqual((q.status, q.failure(), q.errors(), q.boxes()), (0, None, "", []))
        return profile, shown, counts

    def check(self, name, threading, reverse, ancestors=1):
        profile, shown, counts = self.open_all(name, threading, reverse, ancestors)
        before = store_check.Databases(self.original, os.environ["QUILLET_GDBM_DUMP"])
        after = store_check.Databases(profile, os.environ["QUILLET_GDBM_DUMP"])
        for group in self.forest.groups:
            with self.subTest(group=group):
                articles = plain_tree.group_articles(before, group)
                rows = plain_tree.expected_rows(before, group, bool(threading), bool(reverse),
                                                bool(ancestors))
                self.assertEqual(plain_tree.difference(shown[group], rows), "")
                unread = sum(not article.read for article in articles)
                self.assertEqual(counts[group], "%d/%d" % (unread, len(articles)))
                entries, astray = store_check.walk_chain(after.newsgroups, group)
                self.assertEqual(astray, 0)
                self.assertEqual([number for number, _ in entries],
                                 [article.chain for article in articles])

    def test_the_forests_are_tangled(self):
        """What the other tests stand on."""
        files = store_check.Databases(self.original, os.environ["QUILLET_GDBM_DUMP"])
        seen = dict.fromkeys(("circles", "merged", "late", "several sources", "missing", "deep"), 0)
        for group in self.forest.groups:
            articles = plain_tree.group_articles(files, group)
            parents = {article.message_id: article.parent_id for article in articles}
            entries = store_check.walk_chain(files.newsgroups, group)[0]
            seen["missing"] += len(entries) - len(articles)
            seen["several sources"] += len({article.source for article in articles}) > 1
            seen["circles"] += sum(parents.get(parents.get(one)) == one != parents.get(one)
                                   for one in parents)
            root = plain_tree.build(articles, True, False)
            seen["merged"] += sum(len(node.children) > 1 for node in root.children)
            seen["deep"] += sum(plain_tree.depth_of(node) > 4 for node in root.below())
            order = [article.message_id for article in articles]
            seen["late"] += sum(parents[one] in order[order.index(one) + 1:] for one in parents)
        for name, count in seen.items():
            self.assertGreater(count, 20, name)

    def test_threads(self):
        self.check("threads", 1, 0)

    def test_threads_by_the_stored_parents_alone(self):
        self.check("parents", 1, 0, ancestors=0)

    def test_threads_newest_first(self):
        self.check("threads-reversed", 1, 1)

    def test_lists(self):
        self.check("lists", 0, 0)

    def test_lists_newest_first(self):
        self.check("lists-reversed", 0, 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
