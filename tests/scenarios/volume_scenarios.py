# SPDX-License-Identifier: GPL-3.0-or-later
"""Small volumes of their own: downloads, imports and conversions that fill them, and cards to which
the databases move. Needs the right to mount; skipped without it."""

import os
import pathlib
import pwd
import random
import subprocess

from import_scenarios import IMPORT, identity, message
from news_servers import NewsServer, article
from quillet_script import quoted
from settings import *

FULL = ("Store too full to continue. Adjust preferences or delete articles to download more "
        "news.\r\n")
NO_ROOM = ("There is not enough free space on the selected store to download news. Either free "
           "some space or change the allowed percentage in the preferences.")
NOT_REWRITTEN = "There is not enough free space to rewrite the databases. They stay as they are."
NOT_MOVED = "The databases could not be moved. They stay where they are."
REPLACE = "Databases already exist in new location.  Replace with old databases?"


class SmallVolume(Settings):
    def mount(self, kind, megabytes):
        """The profile lies on a volume of its own."""
        remove_profile(self.profile)
        self.volume = self.profile
        self.volume.mkdir()
        if kind == "tmpfs":
            words = ["-t", "tmpfs", "-o", "size=%dm" % megabytes, "none"]
        else:
            image = self.volume.parent / (self.volume.name + ".image")
            with open(image, "wb") as file:
                file.truncate(megabytes << 20)
            self.addCleanup(image.unlink)
            self.run_or_skip(["mkfs." + kind, "-q", "-F", str(image)])
            words = ["-o", "loop", str(image)]
        self.run_or_skip(["mount", *words, str(self.volume)])
        self.addCleanup(subprocess.run, ["umount", str(self.volume)], check=True)
        self.profile = self.volume / "profile"

    def run_or_skip(self, words):
        try:
            subprocess.run(words, check=True, capture_output=True)
        except (OSError, subprocess.CalledProcessError) as error:
            self.skipTest("%s: %s" % (words[0], error))

    def fill_up(self, left=0):
        """All of it but so many bytes."""
        filler = self.volume / "filler"
        with open(filler, "wb", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(1024))
            except OSError:
                pass
            file.truncate(max(0, file.tell() - left))
        return filler

    def run_import(self, q, text):
        path = self.volume.parent / (self.volume.name + ".mbox")
        path.write_text(text)
        self.addCleanup(path.unlink)
        q.do("expect-open " + quoted(str(path)))
        q.command(IMPORT)
        q.do("wait")

    def box_texts(self, q):
        return [text for _, text, *_ in q.boxes()]


class Downloads(SmallVolume):
    @for_each(("tmpfs", 8), ("tmpfs", 40), ("ext4", 8), ("ext4", 40))
    def test_full_volume_stops_the_download_and_keeps_what_came(self, kind, megabytes):
        self.mount(kind, megabytes)
        chance = random.Random(megabytes)
        lines = 10 * megabytes  # 8 and 40 MB hold some thousand articles each
        articles = {n: article(n, "a.one", body="\r\n".join(
            "x" * chance.randint(10, 70) for _ in range(chance.randint(1, lines))) + "\r\n")
            for n in range(1, 6001)}
        server = NewsServer({"a.one": articles})
        with self.run_with(servers=[server.address], groups=["a.one"], timeout=240,
                           values={"maxarticles": 20000, "maxarticlesize": 64}) as q:
            q.connect()
            stored = q.chain("a.one")
            self.assertEqual([text for _, text, *_ in q.boxes()], [FULL])
        self.assert_fine(q)
        self.assertGreater(len(stored), 500)
        self.assertLess(len(stored), len(articles))
        self.assertEqual(stored, ["<a%d@example.org>" % n for n in range(len(stored), 0, -1)])

        filler = self.fill_up()
        self.assert_all_there(stored, connects=True)
        filler.unlink()
        self.assert_all_there(stored, connects=False)

    def assert_all_there(self, stored, connects):
        with self.run_quillet(hold=True) as q:
            q.start()
            self.assertEqual(q.chain("a.one"), stored)
            count = "%d/%d" % (len(stored), len(stored))
            self.assertEqual(q.groups(), [("a.one", "checked", count)])
            self.assertIn("xxxxxxxxxx", q.article(stored[0])["body"])
            self.assert_silent(q)
            if connects:
                q.connect()
                self.assertEqual([text for _, text, *_ in q.boxes()], [NO_ROOM])
        self.assert_fine(q)


class Imports(SmallVolume):
    @for_each(("tmpfs", 8), ("ext4", 8))
    def test_a_full_volume_ends_the_import_and_keeps_what_came(self, kind, megabytes):
        self.mount(kind, megabytes)
        count = 400
        archive = "".join(message(n, body=("x" * 70 + "\n") * 700) for n in range(1, count + 1))
        with self.run_with(groups=["alt.test"], timeout=240) as q:
            self.run_import(q, archive)
            stored = q.chain("alt.test")
            self.assertEqual(self.box_texts(q), [
                "There is no free space left for the databases. The import ended after %d articles."
                % len(stored)])
            self.assertEqual(q.groups()[0][2], "%d/%d" % (len(stored), len(stored)))
        self.assert_fine(q)
        self.assertGreater(len(stored), 30)
        self.assertLess(len(stored), count)
        self.assertEqual(stored, [identity(n) for n in range(len(stored), 0, -1)])
        with self.run_quillet(timeout=240) as q:
            self.assertEqual(q.chain("alt.test"), stored)
            for number in (1, len(stored)):
                self.assertEqual(q.article(identity(number))["body"].count("\n"), 700)
            self.assert_silent(q)
        self.assert_fine(q)


class Conversions(SmallVolume):
    # Of letters by chance a third can be saved.
    @for_each(("tmpfs", "compress"), ("ext4", "compress"), ("tmpfs", "uncompress"),
              ("ext4", "uncompress"), ("tmpfs", "compact"))
    def test_a_full_volume_is_told_and_nothing_is_lost(self, kind, what):
        self.mount(kind, 16)
        chance = random.Random(1)
        bodies = {n: "".join("".join(chance.choices("abcdefghijklmnopqrstuvwxyz", k=60)) + "\n"
                             for _ in range(300)) for n in range(1, 151)}
        control = {"compress": COMPRESS_NOW, "uncompress": UNCOMPRESS_NOW, "compact": COMPACT}[what]
        page = "Database Management" if what == "compact" else "Compression"
        with self.run_with(groups=["alt.test"], timeout=240,
                           values={"usecompression": int(what == "uncompress")}) as q:
            self.run_import(q, "".join(message(n, body=bodies[n]) for n in sorted(bodies)))
            self.assert_silent(q)
            filler = self.fill_up(left=1 << 20)
            self.open_sheet(q, page)
            q.expect("Compacting the databases", "yes", "optional")
            q.press(control)
            self.assertEqual(self.box_texts(q)[-1:], [NOT_REWRITTEN])
            self.assertEqual(sorted(os.listdir(self.news_folder))[0], DATABASES[0])
            filler.unlink()
            boxes = len(q.boxes())
            q.expect("Compacting the databases", "yes", "optional")
            q.press(control)
            self.assertLessEqual(len(q.boxes()) - boxes, int(what == "compact"))
            self.ok(q)
            self.assertEqual(len(q.chain("alt.test")), len(bodies))
            for number, body in bodies.items():
                self.assertEqual(q.article(identity(number))["body"], body.replace("\n", "\r\n"))
        self.assertEqual((q.status, q.errors()), (0, ""))


class Cards(SmallVolume):
    def setUp(self):
        super().setUp()
        self.name = "quillet-%d-%s" % (os.getpid(), self.id().rpartition(".")[2][-12:])
        self.card = pathlib.Path("/media") / pwd.getpwuid(os.getuid()).pw_name / self.name

    def insert(self, megabytes, options=""):
        try:
            self.card.mkdir(parents=True)
        except OSError as error:
            self.skipTest(str(error))
        self.addCleanup(self.card.rmdir)
        self.run_or_skip(["mount", "-t", "tmpfs", "-o", "size=%dm%s" % (megabytes, options), "none",
                          str(self.card)])
        self.addCleanup(subprocess.run, ["umount", "-l", str(self.card)], check=True)

    def archive(self):
        return "".join(message(n, body=("x" * 70 + "\n") * 700) for n in range(1, 41))

    def move_to(self, q, store):
        self.open_sheet(q, "Database Management")
        q.choose(STORE, store)
        self.ok(q)
        q.do("wait")

    def assert_stored(self, q):
        self.assertEqual(q.chain("alt.test"), [identity(n) for n in range(40, 0, -1)])
        self.assertEqual(q.article(identity(40))["body"].count("\n"), 700)
        self.assertEqual(q.groups()[0][2], "40/40")

    def open(self):
        q = self.run_with(groups=["alt.test"], timeout=240)
        self.volume = self.profile
        self.run_import(q, self.archive())
        return q

    def test_the_databases_move_to_a_card_and_back(self):
        self.insert(16)
        with self.open() as q:
            self.move_to(q, self.name)
            self.assert_stored(q)
            self.assertEqual(os.listdir(self.news_folder), [])
            self.assertTrue((self.card / "Quillet CE News" / DATABASES[0]).exists())
        self.assert_fine(q)
        with self.run_quillet(timeout=240) as q:
            self.assert_stored(q)
            self.move_to(q, "Internal")
            self.assert_stored(q)
            self.assertEqual(os.listdir(self.card / "Quillet CE News"), [])
            self.assert_silent(q)
        self.assert_fine(q)

    def test_a_card_that_is_too_small_gets_nothing(self):
        self.insert(1)
        with self.open() as q:
            self.move_to(q, self.name)
            self.assertEqual(self.box_texts(q), [NOT_MOVED])
            self.assert_stored(q)
            self.assertEqual(os.listdir(self.card / "Quillet CE News"), [])
        self.assert_fine(q)
        self.assertEqual(self.read_back()["databasestore"][1], "")

    def test_a_card_that_is_read_only_is_not_offered(self):
        self.insert(16, ",ro")
        with self.run_with(groups=["alt.test"]) as q:
            self.open_sheet(q, "Database Management")
            self.assertNotIn(self.name, self.page_control(q, STORE)["choices"])
            self.cancel(q)
        self.assert_fine(q)

    def test_what_lies_on_a_card_stays_when_it_shall_not_be_replaced(self):
        self.insert(16)
        with self.open() as q:
            folder = self.card / "Quillet CE News"
            folder.mkdir()
            for name in DATABASES:
                (folder / name).write_bytes(b"somebody's")
            q.expect(REPLACE, "no")
            self.move_to(q, self.name)
            self.assert_stored(q)
            self.assertEqual({(folder / name).read_bytes() for name in DATABASES}, {b"somebody's"})
        self.assert_fine(q)
        self.assertEqual(self.read_back()["databasestore"][1], "")

    def test_a_card_that_was_pulled_out_leaves_main_memory(self):
        self.insert(16)
        with self.open() as q:
            self.move_to(q, self.name)
        self.assert_fine(q)
        subprocess.run(["umount", str(self.card)], check=True)
        with self.run_quillet() as q:
            self.assertEqual(q.groups()[0][2], "0/0")
            self.open_sheet(q, "Database Management")
            self.assertEqual(self.page_control(q, STORE)["choices"][0], "Internal")
            self.cancel(q)
        self.assert_fine(q)
        self.run_or_skip(["mount", "-t", "tmpfs", "none", str(self.card)])


if __name__ == "__main__":
    main()
