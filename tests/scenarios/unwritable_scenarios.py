# SPDX-License-Identifier: GPL-3.0-or-later
"""Volumes that are full or read-only: what is told, and what is there afterwards."""

import errno
import os

from news_servers import NewsServer, article
from scenario import *

NO_ACCESS = ('Quillet CE may not write its databases in the folder "\\Quillet CE News". Please check the '
             "permissions of the folder and its files and start Quillet CE again.")
NO_ROOM = ("There is not enough free space to open the Quillet CE databases. Please free some space "
           "and start Quillet CE again.")
TOO_FULL = ("Store too full to continue. Adjust preferences or delete articles to download more "
            "news.\r\n")
MEGABYTE = 1 << 20


def mount(kind, megabytes, place):
    """Mounts a new, empty volume there; False where that is not possible."""
    place.mkdir(parents=True, exist_ok=True)
    if kind == "tmpfs":
        command = ["mount", "-t", "tmpfs", "-o", "size=%dm" % megabytes, "tmpfs", str(place)]
    else:
        image = place.with_name(place.name + ".image")
        with open(image, "wb") as file:
            file.truncate(megabytes * MEGABYTE)
        subprocess.run(["mkfs.ext4", "-q", "-F", str(image)], check=True)
        command = ["mount", "-o", "loop", str(image), str(place)]
    return subprocess.run(command, stderr=subprocess.DEVNULL, check=False).returncode == 0


def fill(path):
    """Writes until not a byte more fits."""
    with open(path, "wb", buffering=0) as file:
        for size in (65536, 4096, 512, 1):
            try:
                while True:
                    file.write(bytes(size))
            except OSError as error:
                if error.errno != errno.ENOSPC:
                    raise


class UnwritableVolume(Scenario):
    """A profile on a volume of its own."""

    def use_volume(self, kind, megabytes, place=None):
        place = place or self.profile
        if os.geteuid() != 0:
            self.skipTest("needs root to mount a volume")
        if not mount(kind, megabytes, place):
            self.skipTest("volumes cannot be mounted here")
        self.addCleanup(subprocess.run, ["umount", "-l", str(place)], check=False)

    def contents(self):
        return {path.name: path.read_bytes() for path in self.news_folder.iterdir()
                if path.is_file()}

    def start_server(self, megabytes):
        """Articles of several sizes, twice as much as the volume holds."""
        count = 400
        mean = 2 * megabytes * MEGABYTE // count
        line = "x" * 70 + "\r\n"
        self.bodies = {n: line * (mean * (1 + n % 7) // 4 // len(line)) for n in range(1, count + 1)}
        server = NewsServer({"a.one": {n: article(n, "a.one", body=body)
                                       for n, body in self.bodies.items()}})
        self.addCleanup(server.close)
        return server

    def body_of(self, message_id):
        return self.bodies[int(message_id[2:-len("@example.org>")])]

    def stored(self, q):
        """The Message-IDs in the group, each with the text that the server gave."""
        ids = q.chain("a.one")
        self.assertEqual(len(ids), len(set(ids)))
        for message_id in ids[:3] + ids[-3:] + ids[::17]:
            stored = q.article(message_id)
            self.assertIsNotNone(stored, message_id)
            self.assertTrue(stored["body"] + "\r\n" == self.body_of(message_id), message_id)
        self.assertEqual(q.groups(), [("a.one", "checked", "%d/%d" % (len(ids), len(ids)))])
        return ids

    @for_each(*((kind, size) for kind in ("tmpfs", "ext4") for size in (8, 40)))
    def test_a_store_that_refuses_for_lack_of_room_stops_the_download(self, kind, megabytes):
        self.use_volume(kind, megabytes)
        server = self.start_server(megabytes)
        with self.run_with(servers=[server.address], groups=["a.one"],
                           values={"maxarticles": 5000, "maxarticlesize": 4000,
                                   "maxstore": 100}) as q:
            q.connect()
            before = self.stored(q)
        self.assert_fine(q)
        self.assertEqual(q.boxes(), [("Error log", TOO_FULL, "ok")])
        # Half of the volume at least: it did not stop at the first article.
        size = sum(len(self.body_of(message_id)) for message_id in before)
        self.assertGreater(size, megabytes * MEGABYTE // 2)
        fill(self.profile / "filling")
        with self.run_quillet() as q:
            self.assertEqual(self.stored(q), before)
        self.assert_fine(q)
        (self.profile / "filling").unlink()
        with self.run_quillet() as q:
            self.assertEqual(self.stored(q), before)
        self.assert_fine(q)
        self.assert_silent(q)

    def fill_store(self, count, **values):
        """A store with that many articles."""
        self.bodies = {n: "Text of article.\r\n" * 50 for n in range(1, count + 1)}
        server = NewsServer({"a.one": {n: article(n, "a.one", body=body)
                                       for n, body in self.bodies.items()}})
        self.addCleanup(server.close)
        with self.run_with(servers=[server.address], groups=["a.one"],
                           values={"maxarticles": 5000, **values}) as q:
            q.connect()
            before = self.stored(q)
        self.assertEqual(len(before), count)
        return before

    def assert_only_told(self, q, text):
        """The program says this and ends; nothing is asked."""
        q.do("wait-for exit")
        self.assertEqual((q.finish(), q.exit_code(), q.errors()), (0, 0, ""))
        self.assertEqual(q.boxes(), [("Quillet", text, "ok")])

    @for_each("tmpfs", "ext4")
    def test_a_volume_that_may_not_be_written_is_said_and_nothing_is_touched(self, kind):
        self.use_volume(kind, 8, self.news_folder)
        stored = self.fill_store(20)
        before = self.contents()
        subprocess.run(["mount", "-o", "remount,ro", str(self.news_folder)], check=True)
        self.assert_only_told(self.run_quillet(), NO_ACCESS)
        self.assertEqual(self.contents(), before)
        subprocess.run(["mount", "-o", "remount,rw", str(self.news_folder)], check=True)
        with self.run_quillet() as q:
            self.assertEqual(self.stored(q), stored)
        self.assert_silent(q)

    @for_each("tmpfs", "ext4")
    def test_a_first_start_without_room_is_said_and_the_next_one_starts(self, kind):
        self.use_volume(kind, 8, self.news_folder)
        fill(self.news_folder / "filling")
        # The library keeps the header of a new file that it could not write.
        no_leaks = {"ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"}
        self.assert_only_told(self.run_quillet(env=no_leaks), NO_ROOM)
        (self.news_folder / "filling").unlink()
        with self.run_quillet() as q:
            q.do("wait")
        self.assert_fine(q)
        self.assert_silent(q)

    @for_each("tmpfs", "ext4")
    def test_a_store_that_was_not_closed_opens_without_room_too(self, kind):
        self.use_volume(kind, 8, self.news_folder)
        stored = self.fill_store(200)
        q = self.run_quillet()
        q.do("wait")
        q.do("maintain compress")
        q.do("delete-stored " + stored.pop())
        q.kill()
        fill(self.news_folder / "filling")
        for room in (False, True):
            if room:
                (self.news_folder / "filling").unlink()
            with self.run_quillet() as q:
                q.do("wait")
                for message_id in stored:
                    self.assertIsNotNone(q.article(message_id), message_id)
                self.assertLessEqual(set(stored), set(q.chain("a.one")))
            self.assert_fine(q)
            self.assertEqual({box["buttons"] for box in q.of("box")} - {"ok"}, set())
        self.assert_silent(q)


if __name__ == "__main__":
    main()
