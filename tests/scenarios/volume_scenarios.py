"""Downloads onto small volumes of their own. Needs the right to mount; skipped without it."""

import random
import subprocess

from news_servers import NewsServer, article
from scenario import *

FULL = ("Store too full to continue. Adjust preferences or delete articles to download more "
        "news.\r\n")
NO_ROOM = ("There is not enough free space on the selected store to download news. Either free "
           "some space or change the allowed percentage in the preferences.")


class SmallVolume(Scenario):
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

    def fill_up(self):
        filler = self.volume / "filler"
        with open(filler, "wb", buffering=0) as file:
            try:
                while True:
                    file.write(bytes(1024))
            except OSError:
                pass
        return filler

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


if __name__ == "__main__":
    main()
