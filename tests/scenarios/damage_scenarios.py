# SPDX-License-Identifier: GPL-3.0-or-later
"""Profiles that are damaged, locked, full or cannot be written: what the user is told and what stays."""

import fcntl
import os
import random
import signal
import socket
import stat

from news_servers import NewsServer, article
from scenario import *

OFFER = ("Quillet CE was unable to open its GDBM databases; they are probably corrupted. Would "
         "you like Quillet CE to delete them automatically?")


IN_USE = ("The Quillet CE databases are in use by another program. Please close it and start Quillet "
          "CE again.")
NO_ACCESS = ('Quillet CE may not write its databases in the folder "\\Quillet CE News". Please check the '
             "permissions of the folder and its files and start Quillet CE again.")

NO_DATABASES = {
    "random": random.Random(1).randbytes(20000),
    "other program": b"SQLite format 3\0" + bytes(5000),
    "one byte": b"\xce",
}


def bind_socket(path):
    """Leaves a socket of that name behind."""
    with socket.socket(socket.AF_UNIX) as server:
        here = os.open(path.parent, os.O_RDONLY)  # the whole path may be longer than a socket's
        try:
            server.bind("/proc/self/fd/%d/%s" % (here, path.name))
        finally:
            os.close(here)


class Damage(Scenario):
    """A profile with three downloaded articles."""

    def setUp(self):
        super().setUp()
        self.use_filled_profile("three", self.fill)

    def fill(self):
        with NewsServer({"a.one": {n: article(n, "a.one") for n in range(1, 8)}}) as server:
            with self.run_with(servers=[server.address], groups=["a.one"],
                               values={"maxarticles": 3}) as q:
                q.connect()
                self.assertEqual(q.groups(), [("a.one", "checked", "3/3")])
        self.assert_fine(q)

    def path(self, name):
        return self.news_folder / name

    def names(self):
        return sorted(p.name for p in self.news_folder.iterdir())


class DatabaseFiles(Damage):
    @for_each(*DATABASES)
    def test_an_empty_file_is_made_new_without_a_word(self, name):
        self.path(name).write_bytes(b"")
        with self.run_quillet() as q:
            q.do("wait")
        self.assert_fine(q)
        self.assert_silent(q)
        self.assertEqual(self.names(), sorted(DATABASES))

    @for_each(*((kind, name) for kind in NO_DATABASES for name in DATABASES))
    def test_what_cannot_be_read_is_set_aside_and_said_once(self, kind, name):
        data = NO_DATABASES[kind]
        self.path(name).write_bytes(data)
        with self.run_quillet() as q:
            q.do("wait")
            self.assertEqual([g[0] for g in q.groups()], ["a.one"])
        self.assert_fine(q)
        boxes = q.of("box")
        self.assertEqual(len(boxes), 1)
        self.assertEqual(boxes[0]["buttons"], "ok")
        self.assertIn(name, boxes[0]["text"])
        others = [n for n in self.names() if n not in DATABASES]
        self.assertEqual(len(others), 1)
        self.assertEqual(self.path(others[0]).read_bytes(), data)
        with self.run_quillet() as q:
            q.do("wait")
        self.assert_fine(q)
        self.assert_silent(q)

    @for_each(-1, "half", 4096, 100, 10)
    def test_a_file_cut_anywhere_neither_crashes_nor_asks(self, part):
        data = self.path(ARTICLES).read_bytes()
        self.path(ARTICLES).write_bytes(data[:len(data) // 2 if part == "half" else part])
        with self.run_quillet() as q:
            q.do("wait")
            for message_id in q.chain("a.one"):
                q.do("article " + quillet_script.quoted(message_id))
        self.assert_fine(q)
        self.assertEqual({box["buttons"] for box in q.of("box")} - {"ok"}, set())

    @for_each(*range(20))
    def test_bytes_changed_anywhere_neither_crash_nor_hang(self, seed):
        original = {name: self.path(name).read_bytes() for name in DATABASES}
        chance = random.Random(seed)
        self.use_profile("")
        self.prepare(servers=[("127.0.0.1", 9)], groups=["a.one"])
        for name, data in original.items():
            changed = bytearray(data)
            for _ in range(chance.choice((1, 10, 200))):
                changed[chance.randrange(len(changed))] = chance.randrange(256)
            self.path(name).write_bytes(changed)
        with self.run_quillet(hold=True, timeout=30) as q:
            q.do('expect "Quillet CE was unable to open" no optional')
            q.do('expect "A critical error occurred" no optional times 9')
            q.start()
            q.do("wait")
            if q.exit_code() is None:
                q.chain("a.one")
        self.assert_fine(q)
        self.assertEqual(q.exit_code(), 0)

    def contents(self):
        return {path.name: path.read_bytes() if path.is_file() else None
                for path in self.news_folder.iterdir()}

    def assert_only_told(self, q, text):
        """The program says this and ends; nothing is asked."""
        q.do("wait-for exit")
        self.assertEqual((q.finish(), q.exit_code(), q.errors()), (0, 0, ""))
        self.assertEqual(q.boxes(), [("Quillet", text, "ok")])

    @for_each(*((name, kind) for name in DATABASES for kind in (fcntl.LOCK_EX, fcntl.LOCK_SH)))
    def test_a_file_that_another_program_holds_is_said_and_not_touched(self, name, kind):
        before = self.contents()
        with open(self.path(name), "rb+") as held:
            fcntl.flock(held, kind)
            self.assert_only_told(self.run_quillet(), IN_USE)
        self.assertEqual(self.contents(), before)
        with self.run_quillet() as q:
            self.assertEqual(q.groups(), [("a.one", "checked", "3/3")])
        self.assert_silent(q)

    def as_somebody(self):
        """A wrapper for runs by a user to whom rights apply, who owns the profile."""
        if os.geteuid() != 0:
            return []
        wrapper = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
        for path in (self.profile, *self.profile.rglob("*")):
            os.chown(path, 65534, 65534)
        reachable = subprocess.run([*wrapper, "test", "-x", PROGRAM, "-a", "-w", str(self.profile)],
                                   check=False).returncode == 0
        if not reachable:
            self.skipTest("another user cannot get at the program or the profile")
        return wrapper

    @for_each(*DATABASES, "")
    def test_what_may_not_be_written_is_said_and_not_touched(self, name):
        before = self.contents()
        wrapper = self.as_somebody()
        path = self.path(name) if name else self.news_folder
        mode = stat.S_IMODE(path.stat().st_mode)
        path.chmod(mode & ~0o222)
        self.assert_only_told(self.run_quillet(wrapper=wrapper), NO_ACCESS)
        self.assertEqual(self.contents(), before)
        path.chmod(mode)
        with self.run_quillet(wrapper=wrapper) as q:
            self.assertEqual(q.groups(), [("a.one", "checked", "3/3")])
        self.assert_silent(q)

    @for_each(0, 5000)
    def test_a_file_cut_under_the_running_program_ends_it_with_a_message(self, size):
        q = self.run_quillet()
        q.do("wait")
        os.truncate(self.path(ARTICLES), size)
        for number in (1, 2, 3):
            q.send("article <a%d@example.org>" % number)
        q.process.wait(timeout=60)
        while q.next_event() is not None:
            pass
        q.kill()
        self.assertIn(ARTICLES, q.errors())
        self.assertNotIn(q.status, (0, -signal.SIGBUS))
        # Said once more where there is a display, and not again.
        for times in (1, 0):
            with self.run_quillet() as q:
                q.do("wait")
            self.assert_fine(q)
            said = [text for _, text, _ in q.boxes() if ARTICLES in text and "shorter" in text]
            self.assertEqual(len(said), times, q.boxes())

    def put_a_folder(self, name):
        """Nothing that the program could recover."""
        self.path(name).unlink()
        self.path(name).mkdir()

    def test_an_unanswered_offer_is_named_and_ends_the_run(self):
        self.put_a_folder(PENDING_POSTS)
        before = self.contents()
        q = self.run_quillet()
        self.assertEqual(q.await_end(), 1)
        self.assertEqual((q.failure()["reason"], q.failure()["text"]),
                         ("unannounced-question", OFFER))
        self.assertEqual(self.contents(), before)

    def test_no_leaves_everything_as_it_is(self):
        self.put_a_folder(PENDING_POSTS)
        before = self.contents()
        q = self.start_expecting(OFFER, "no")
        q.do("wait-for exit")
        self.assertEqual((q.finish(), q.exit_code()), (0, 0))
        self.assertEqual(q.boxes(), [
            ("OpenGDBMDatabases", "(unknown error)", "ok"),
            ("Quillet confirmation", OFFER, "no"),
            ("Quillet", "Quillet CE will now exit.", "ok")])
        offer = q.of("box")[1]
        self.assertEqual((offer["icon"], offer["topmost"]), ("none", False))
        self.assertEqual(self.contents(), before)

    def test_yes_sets_aside_and_the_next_start_makes_new_ones(self):
        self.put_a_folder(PENDING_POSTS)
        kept = [self.path(name).read_bytes() for name in (ARTICLES, NEWSGROUPS)]
        q = self.start_expecting(OFFER, "yes")
        q.do("wait-for exit")
        self.assertEqual((q.finish(), q.exit_code()), (0, 0))
        self.assertEqual(q.boxes()[-1], (
            "Quillet", "Done. You will need to re-launch Quillet CE to create new databases.",
            "ok"))
        self.assertEqual([n for n in self.names() if n in DATABASES], [])
        for name, data in zip((ARTICLES, NEWSGROUPS), kept):
            aside = [n for n in self.names() if n.startswith(name + " 20")]
            self.assertEqual([self.path(n).read_bytes() for n in aside], [data])
        with self.run_quillet() as q:
            self.assertEqual(q.groups(), [("a.one", "checked", "0/0")])
        self.assert_silent(q)


class Registry(Damage):
    def test_a_registry_of_random_bytes_is_kept_aside_and_told(self):
        data = random.Random(2).randbytes(30000)
        (self.profile / "registry.db").write_bytes(data)
        for leftover in ("registry.db-wal", "registry.db-shm"):
            (self.profile / leftover).unlink(missing_ok=True)
        q = self.start_expecting(WELCOME, "cancel")
        q.do("wait")
        q.finish()
        self.assertEqual(q.exit_code(), 0)
        self.assertEqual(q.status, 0)
        kept = [p.name for p in self.profile.iterdir()
                if p.is_file() and p.read_bytes() == data]
        self.assertEqual(len(kept), 1, "the damaged file is still there")
        self.assertNotEqual(kept[0], "registry.db")
        self.assertEqual([box[1] for box in q.boxes()][:1], [
            'The stored preferences were damaged. They have been kept as "%s", and Quillet CE '
            "starts with its default preferences." % (self.profile / kept[0])])

    @for_each("folder", "pipe", "link", "socket")
    def test_a_registry_that_cannot_be_read_ends_the_start(self, kind):
        for leftover in self.profile.glob("registry.db*"):
            leftover.unlink()
        path = self.profile / "registry.db"
        make, wrong = {
            "folder": (path.mkdir, "is not a regular file"),
            "pipe": (lambda: os.mkfifo(path), "is not a regular file"),
            "link": (lambda: path.symlink_to("nowhere"), "is a link that leads nowhere"),
            "socket": (lambda: bind_socket(path), "is not a regular file"),
        }[kind]
        make()
        kind_before = path.lstat().st_mode
        q = self.run_quillet()
        q.do("wait-for exit")
        self.assertEqual((q.finish(), q.exit_code()), (0, 1))
        self.assertEqual([box[1] for box in q.boxes()], [
            'Quillet CE cannot read its preferences, because "%s" %s. Quillet CE will now exit.'
            % (path, wrong)])
        self.assertEqual(path.lstat().st_mode, kind_before)
        self.assertEqual([p.name for p in self.profile.glob("registry.db*")], ["registry.db"])


class FullDisk(Damage):
    def test_a_full_disk_stops_the_download_and_loses_nothing(self):
        size = max(path.stat().st_size for path in self.news_folder.iterdir())
        big = NewsServer({"a.one": {n: article(n, "a.one", body="x" * 70 + "\r\n" + "y" * 3000
                                               + "\r\n") for n in range(4, 60)}})
        self.addCleanup(big.close)
        with self.run_quillet(hold=True) as q:
            q.set_numbers("port", [big.port])
            q.set_dword("maxarticles", 100)
        with self.run_quillet(wrapper=file_size_limit(size)) as q:
            # A write that fails in the middle leaves a file that needs repair.
            q.do('expect "A critical error occurred" no optional times 9')
            q.connect()
        self.assertEqual((q.status, q.exit_code(), q.errors()), (0, 0, ""))
        self.assertGreater(len(q.boxes()), 0)
        with self.run_quillet() as q:
            kept = q.chain("a.one")
            for number in (1, 2, 3):
                self.assertIn("<a%d@example.org>" % number, kept)
            for message_id in kept:
                self.assertIsNotNone(q.article(message_id), message_id)
            self.assertEqual(q.groups()[0][2], "%d/%d" % (len(kept), len(kept)))
        self.assert_fine(q)
        self.assert_silent(q)

    def test_settings_that_cannot_be_saved_are_told_in_one_box(self):
        q = self.run_quillet(wrapper=file_size_limit(0))
        q.do("wait")
        q.do("untick a.one")
        q.finish()
        self.assertEqual((q.status, q.exit_code()), (0, 0))
        self.assertEqual(len(q.boxes()), 1, q.boxes())
        with self.run_quillet() as q:
            self.assertEqual(q.groups(), [("a.one", "checked", "3/3")])
        self.assert_fine(q)


class Profiles(Scenario):
    def test_a_profile_that_cannot_be_made_is_a_clear_error(self):
        self.profile.parent.mkdir(parents=True, exist_ok=True)
        blocked = self.profile.with_name(self.profile.name + "-file")
        blocked.write_bytes(b"")
        for profile in (blocked / "inside", "/proc/quillet-profile", blocked):
            with self.subTest(profile):
                q = quillet_script.Quillet(PROGRAM, profile)
                self.assertEqual(q.await_end(), 2)
                self.assertIn("cannot create the folder", q.errors())
        blocked.unlink()

    def test_a_file_in_the_place_of_the_news_folder(self):
        (self.profile / "data").mkdir(parents=True)
        self.news_folder.write_bytes(b"not a folder")
        q = self.start_expecting(OFFER, "no", "optional")
        q.finish()
        self.assertEqual(q.status, 0, q.events)
        self.assertEqual(q.exit_code(), 0)
        self.assertGreater(len(q.boxes()), 0)
        self.assertEqual(self.news_folder.read_bytes(), b"not a folder")


if __name__ == "__main__":
    main()
