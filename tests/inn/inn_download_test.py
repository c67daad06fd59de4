#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Downloads from a real news server with the whole program and checks all that was stored, and the
thread trees that it then shows.

Environment: QUILLET_SCRIPT, QUILLET_GENERATE, QUILLET_SETUP, QUILLET_GDBM_DUMP (programs),
QUILLET_INN_CACHE (package files).
"""

import os
import shutil
import struct
import subprocess
import sys
import tempfile
import threading

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE] + [os.path.join(HERE, os.pardir, name) for name in ("scenarios", "support")]

# pylint: disable=wrong-import-position
import inn_server  # noqa: E402
import plain_tree  # noqa: E402
import quillet_script  # noqa: E402
import side_by_side  # noqa: E402
import store_check  # noqa: E402
import store_model  # noqa: E402

GROUPS = ("feed.alpha", "feed.beta", "feed.gamma")
FIRST_COUNT, LATER_COUNT = 5000, 150
SEED = 7
ALL_ARTICLES, LARGE_SIZE = 100000, 64
CONNECT = "command 40008"


def generate(folder, first, count):
    """Makes the articles of that stretch: (stream bytes, manifest rows)."""
    stream, manifest = os.path.join(folder, "stream"), os.path.join(folder, "manifest")
    command = [os.environ["QUILLET_GENERATE"], "--seed", str(SEED), "--tangled", "--first", str(first),
               "--count", str(count), "--stream", stream, "--manifest", manifest]
    for group in GROUPS:
        command += ["--group", group]
    subprocess.run(command, check=True)
    with open(stream, "rb") as file:
        return file.read(), store_model.read_manifest(manifest)


class InnDownload(side_by_side.Test):
    """The server is fed once, by `main`; every test has a profile of its own."""

    maxDiff = None
    folder = inn = server = None
    complete = None
    completing = threading.Lock()

    def setUp(self):
        self.profile = os.path.join(self.folder, self.id().rsplit(".", maxsplit=1)[-1])

    # -- running -----------------------------------------------------------------------------

    def prepare_profile(self, cross_posts=True, **numbers):
        command = [os.environ["QUILLET_SETUP"], "--profile", self.profile, "--server",
                   self.inn.host, "--port", str(self.inn.port)]
        for group in GROUPS:
            command += ["--group", group]
        for name, value in numbers.items():
            command += ["--number", "%s=%d" % (name, value)]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        if not cross_posts:
            with self.quillet(hold=True) as q:
                q.set_dword("Extensions\\crossposts", 0)
                q.start()

    def quillet(self, **keywords):
        return quillet_script.Quillet(os.environ["QUILLET_SCRIPT"], self.profile, timeout=150,
                                      **keywords)

    def connect_once(self):
        """One whole run that connects; returns its transaction log."""
        with self.quillet() as q:
            q.do("keep-transaction-log on")
            q.do(CONNECT)
            q.do("wait")
            log = q.transaction_log()
            counts = q.groups()
        self.assert_ended_well(q)
        self.shown = counts
        return log

    def copy_complete_profile(self):
        """A copy of a profile that has everything, which is downloaded once; returns the log."""
        with self.completing:
            if InnDownload.complete is None:
                profile, self.profile = self.profile, os.path.join(self.folder, "complete")
                self.prepare_profile(maxarticles=ALL_ARTICLES, maxarticlesize=LARGE_SIZE)
                log = self.connect_once()
                InnDownload.complete = (self.profile, log, self.shown)
                self.profile = profile
        original, log, self.shown = self.complete
        shutil.copytree(original, self.profile)
        return log

    def model(self, max_articles=ALL_ARTICLES, max_size=LARGE_SIZE, cross_posts=True):
        return store_model.Model(self.server, GROUPS, self.inn.host, max_articles, max_size,
                                 cross_posts)

    # -- checking ----------------------------------------------------------------------------

    def assert_same(self, found, expected):
        self.assertEqual(store_check.differences(found, expected), "")

    def assert_progress(self, model):
        self.assertEqual(store_check.registry_numbers(self.profile, "lastdownloaded"),
                         [model.lastdownloaded[group] for group in GROUPS])
        self.assertEqual(store_check.registry_numbers(self.profile, "lastonserver"),
                         [model.lastonserver[group] for group in GROUPS])

    def assert_as_modelled(self, model):
        files = store_check.Databases(self.profile, os.environ["QUILLET_GDBM_DUMP"])
        self.assert_same(files.articles, store_check.expected_articles(model))
        self.assert_same(files.newsgroups, store_check.expected_newsgroups(model))
        self.assertEqual(files.pending, {})
        self.assert_progress(model)
        self.assertEqual([counts for _, _, counts in self.shown],
                         ["%d/%d" % ((len(model.chains[group]),) * 2) for group in GROUPS])

    def assert_complete(self, model, missing_allowed):
        """After interruptions: all that the model holds, but for the articles in flight then."""
        files = store_check.Databases(self.profile, os.environ["QUILLET_GDBM_DUMP"])
        articles = {key: value for key, value in files.articles.items() if b"<" in key}
        wanted = {key: value for key, value in store_check.expected_articles(model).items()
                  if b"<" in key}
        missing = {key[:-1].decode("latin-1") for key in set(wanted) - set(articles)}
        self.assertLessEqual(missing, missing_allowed)
        self.assert_same(articles, {key: wanted[key] for key in articles})
        for group in GROUPS:
            self.assert_chain(model, files, group, missing_allowed)
        self.assert_progress(model)

    def assert_chain(self, model, files, group, missing_allowed):
        entries, astray = store_check.walk_chain(files.newsgroups, group)
        # A link back that was not written yet is the one thing a kill may leave behind.
        self.assertLessEqual(astray, len(missing_allowed))
        chain = [entry for _, entry in entries][::-1]
        wanted = [entry for _, entry in model.chains[group]]
        self.assertEqual([entry for entry in wanted if entry not in missing_allowed],
                         [entry for entry in chain if entry not in missing_allowed])
        counts = struct.unpack("<3I", files.articles[store_check.text_key(group)])
        self.assertEqual(counts, (1, 0, len(chain)))

    def assert_ended_well(self, q):
        self.assertEqual((q.status, q.failure(), q.errors(), q.boxes()), (0, None, "", []))

    def in_flight(self):
        """Message-IDs of the articles that the registry says were reached last."""
        numbers = store_check.registry_numbers(self.profile, "lastdownloaded")
        return {self.server.articles[group][number - 1]["message_id"]
                for group, number in zip(GROUPS, numbers) if number}


class Downloads(InnDownload):
    def test_everything_is_stored_to_the_byte(self):
        model = self.model()
        model.download()
        log = self.copy_complete_profile()
        self.assertEqual(log.count("HEAD\r\n"), model.heads)
        self.assert_as_modelled(model)

    def test_the_default_limits_are_kept(self):
        self.prepare_profile()
        model = self.model(max_articles=50, max_size=4)
        model.download()
        log = self.connect_once()
        self.assertEqual(log.count("HEAD\r\n"), model.heads)
        # What is stored already comes on top of the fifty that are fetched.
        lengths = [len(chain) for chain in model.chains.values()]
        self.assertEqual((lengths[0], len(model.stored)), (50, 150))
        self.assertGreater(sum(lengths), 150)
        self.assert_as_modelled(model)

    def test_without_cross_posts_an_article_is_in_its_first_group_alone(self):
        self.prepare_profile(cross_posts=False)
        model = self.model(max_articles=50, max_size=4, cross_posts=False)
        model.download()
        log = self.connect_once()
        self.assertEqual(log.count("HEAD\r\n"), model.heads)
        self.assertEqual([len(chain) for chain in model.chains.values()], [50, 50, 50])
        self.assert_as_modelled(model)

    def test_a_killed_run_is_resumed(self):
        self.prepare_profile(maxarticles=ALL_ARTICLES, maxarticlesize=LARGE_SIZE)
        reached = set()
        for texts in (300, 900, 1500):
            q = self.quillet()
            q.do("wait")
            q.send(CONNECT)
            q.do("wait-for progress-text %d" % texts)
            q.kill()
            reached |= self.in_flight()
        model = self.model()
        model.download()
        self.connect_once()
        self.assert_complete(model, reached)

    def test_a_cancelled_run_is_resumed(self):
        self.prepare_profile(maxarticles=ALL_ARTICLES, maxarticlesize=LARGE_SIZE)
        reached = set()
        for changes in (400, 1234):
            with self.quillet() as q:
                q.do("cancel-progress after %d" % changes)
                q.do(CONNECT)
                q.do("wait")
            self.assertEqual((q.status, q.failure(), q.boxes()), (0, None, []))
            reached |= self.in_flight()
        model = self.model()
        model.download()
        self.connect_once()
        self.assert_complete(model, reached)


class Trees(InnDownload):
    def open_groups(self, q):
        trees = {}
        for group in GROUPS:
            q.open_group(group)
            trees[group] = q.tree()
        return trees

    def read_some_of(self, group):
        """Reads articles and marks threads: the shown tree keeps in step without a rebuild."""
        with self.quillet(hold=True) as q:
            # The expected trees are made of the stored bytes.
            q.set_dword("Extensions\\decodemime", 0)
            q.start()
            q.open_group(group)
            rows = q.tree()["rows"]
            threads = [row for row in rows if row["depth"] == 0]
            longest = max(threads, key=lambda row: row["total"])
            q.context_menu(longest["path"], "Mark Thread Read")
            single = next(row for row in threads if row["total"] == 1)
            q.context_menu(single["path"] + ".1", "Mark Read")
            for row in rows[5:400:40]:
                q.open_node(row["path"])
                q.do("tab thread")
            tree = q.tree()
        self.assert_ended_well(q)
        self.assert_trees({group: tree}, 1, 0)
        return longest["total"] + 1

    def read_some(self):
        # One group after the other: what is read in one is read in all that have it.
        expected_read = sum(self.read_some_of(group) for group in GROUPS)
        with self.quillet() as q:
            self.open_groups(q)
            q.do("tab group")
            self.shown = q.groups()
        files = store_check.Databases(self.profile, os.environ["QUILLET_GDBM_DUMP"])
        articles = {group: plain_tree.group_articles(files, group) for group in GROUPS}
        read = {group: sum(one.read for one in articles[group]) for group in GROUPS}
        self.assertGreater(sum(read.values()), expected_read)
        self.assertEqual([counts for _, _, counts in self.shown],
                         ["%d/%d" % (len(articles[group]) - read[group], len(articles[group]))
                          for group in GROUPS])

    def assert_trees(self, trees, threading, reverse, ancestors=1):
        files = store_check.Databases(self.profile, os.environ["QUILLET_GDBM_DUMP"])
        shown = 0
        for group, tree in trees.items():
            expected = plain_tree.expected_rows(files, group, bool(threading), bool(reverse),
                                                bool(ancestors))
            self.assertEqual(plain_tree.difference(tree["rows"], expected), "")
            self.assertEqual(tree["caption"], "%s: 0 on server" % group)
            shown += sum(row["kind"] == "article" for row in expected)
        return shown

    def test_shown_trees_follow_the_rules_in_every_order(self):
        self.copy_complete_profile()
        self.read_some()
        for threading, reverse, ancestors in ((1, 0, 1), (1, 1, 1), (1, 1, 0), (0, 0, 1), (0, 1, 1)):
            with self.quillet(hold=True) as q:
                q.set_dword("Extensions\\ancestors", ancestors)
                q.set_dword("usethreading", threading)
                q.set_dword("reversethread", reverse)
                q.start()
                trees = self.open_groups(q)
            self.assert_ended_well(q)
            with self.subTest(threading=threading, reverse=reverse, ancestors=ancestors):
                shown = self.assert_trees(trees, threading, reverse, ancestors)
                self.assertGreater(shown, FIRST_COUNT - 20)


class MoreArticles(InnDownload):
    """It feeds the server more, and what the others expect is what was there before."""

    alone = True

    def test_the_second_run_fetches_only_what_is_new(self):
        self.copy_complete_profile()
        model = self.model()
        model.download()
        stream, rows = generate(self.folder, FIRST_COUNT, LATER_COUNT)
        self.inn.feed(stream)
        self.server.feed(rows)
        model.download()
        self.assertGreaterEqual(model.heads, LATER_COUNT)
        self.assertLess(model.heads, 2 * LATER_COUNT)
        log = self.connect_once()
        self.assertEqual(log.count("HEAD\r\n"), model.heads)
        self.assert_as_modelled(model)
        model.download()
        self.assertEqual(self.connect_once().count("HEAD\r\n"), 0)
        self.assert_as_modelled(model)


def main():
    with tempfile.TemporaryDirectory(prefix="quillet-inn-test-") as folder, \
            inn_server.InnServer(os.environ["QUILLET_INN_CACHE"], GROUPS) as inn:
        stream, rows = generate(folder, 0, FIRST_COUNT)
        inn.feed(stream)
        server = store_model.ServerModel(GROUPS, inn_server.PATHHOST)
        server.feed(rows)
        InnDownload.folder, InnDownload.inn, InnDownload.server = folder, inn, server
        side_by_side.main()


if __name__ == "__main__":
    main()
