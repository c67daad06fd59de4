# SPDX-License-Identifier: GPL-3.0-or-later
"""Cancel and kill at every moment of a download: nothing that was stored is lost."""

import concurrent.futures
import time

from news_servers import NewsServer, article
from scenario import *

GROUPS = ["a.one", "a.two"]


def articles():
    """Three articles and a hole in one group; in the other one of its own and a cross-post."""
    one = {n: article(n, "a.one", "<o%d@example.org>" % n) for n in (1, 2, 4)}
    two = {8: article(8, "a.two", "<t8@example.org>"), 9: one[2], 10: article(10, "a.two", "<t10@example.org>")}
    return {"a.one": one, "a.two": two}


ALL = {"a.one": {"<o1@example.org>", "<o2@example.org>", "<o4@example.org>"},
       "a.two": {"<t8@example.org>", "<o2@example.org>", "<t10@example.org>"}}


class Interrupted(Scenario):
    """Runs many interrupted downloads side by side, each in a profile of its own."""

    def profile_for(self, number):
        return "%s-%03d" % (self.profile, number)

    def start(self, profile, server, **keywords):
        return quillet_script.Quillet(PROGRAM, profile, **keywords)

    def prepare_profile(self, number, server):
        profile = self.profile_for(number)
        shutil.rmtree(profile, ignore_errors=True)
        q = quillet_script.Quillet(PROGRAM, profile, hold=True)
        q.configure(servers=[server.address], groups=GROUPS)
        return profile, q

    def stored(self, q):
        """{group: ids}, every one of them readable."""
        found = {}
        for group in GROUPS:
            ids = q.chain(group)
            self.assertEqual(len(ids), len(set(ids)), ids)
            for message_id in ids:
                stored = q.article(message_id)
                self.assertIsNotNone(stored, message_id)
                self.assertTrue(stored["body"].startswith("Text of article"), stored)
            found[group] = set(ids)
        return found

    def resume(self, profile, before, quiet=True):
        """Restarts: nothing lost, counts right; a further full run completes the set."""
        with quillet_script.Quillet(PROGRAM, profile) as q:
            found = self.stored(q)
            for group in GROUPS:
                self.assertLessEqual(before[group], found[group])
            self.assertEqual([g[2] for g in q.groups()],
                             ["%d/%d" % (len(found[g]), len(found[g])) for g in GROUPS])
            q.connect()
            complete = self.stored(q)
            for group in GROUPS:
                self.assertLessEqual(found[group], complete[group])
        self.assertEqual((q.status, q.failure()), (0, None))
        if quiet:
            self.assertEqual(q.boxes(), [])
        return found, complete

    def missing(self, complete):
        return sum(len(ALL[group] - complete[group]) for group in GROUPS)


class CancelAtEveryChange(Interrupted):
    def cancelled_run(self, number):
        """True when the run was cancelled, False when it had ended before."""
        with NewsServer(articles()) as server:
            profile, q = self.prepare_profile(number, server)
            q.start()
            with q:
                q.do("cancel-progress after %d" % number)
                q.connect()
                found = self.stored(q)
                # The list shows what is stored, at once and without a restart.
                self.assertEqual([g[2] for g in q.groups()],
                                 ["%d/%d" % (len(found[g]), len(found[g])) for g in GROUPS])
            self.assertEqual((q.status, q.failure()), (0, None), number)
            # A cancelled run ends in silence.
            self.assertEqual(q.boxes(), [], number)
            cancelled = bool(q.of("progress-cancelled"))
            if cancelled:
                aborting = [e["text"] for e in q.of("progress-text")]
                self.assertIn("Aborting; please wait.", aborting)
            else:
                self.assertEqual(found, ALL)
            _, complete = self.resume(profile, found)
            # What was cut off is fetched again.
            self.assertEqual(self.missing(complete), 0, number)
            return cancelled

    def test_nothing_stored_is_lost_and_a_later_run_completes(self):
        first = 0
        with concurrent.futures.ThreadPoolExecutor(max_workers=8) as pool:
            while True:
                results = list(pool.map(self.cancelled_run, range(first, first + 8)))
                if not all(results):
                    break
                first += 8
                self.assertLess(first, 200, "a run this short has no such number of changes")
        self.assertGreater(first, 8)
        # Once it is over it stays over.
        self.assertEqual(results, sorted(results, reverse=True))


class KillAtAnyMoment(Interrupted):
    def killed_run(self, number):
        with NewsServer(articles()) as server:
            profile, q = self.prepare_profile(number, server)
            q.start()
            q.do("command 40008")
            time.sleep(0.004 * number)
            q.kill()
            found, complete = self.resume(profile, {group: set() for group in GROUPS})
            self.assertEqual(self.missing(complete), 0, number)
            return found

    def test_a_killed_program_starts_again_with_what_it_had(self):
        with concurrent.futures.ThreadPoolExecutor(max_workers=6) as pool:
            list(pool.map(self.killed_run, range(0, 24)))

    def test_killed_again_and_again_the_set_completes(self):
        with NewsServer(articles()) as server:
            profile, q = self.prepare_profile(0, server)
            q.start()
            for delay in (0.0, 0.01, 0.02, 0.03, 0.05):
                q.do("command 40008")
                time.sleep(delay)
                q.kill()
                q = quillet_script.Quillet(PROGRAM, profile)
            q.connect()
            with q:
                complete = self.stored(q)
            self.assertEqual(q.boxes(), [])
            self.assertEqual(self.missing(complete), 0)


class CancelNow(Interrupted):
    def test_cancel_while_the_server_keeps_silent(self):
        """A receive that waits is not a hanging window: Cancel answers, the dialog goes."""
        silent = NewsServer({}, greeting="")
        silent.serve = lambda client: client.recv(1) and None
        self.addCleanup(silent.close)
        with self.run_with(servers=[silent.address], groups=["a.one"]) as q:
            q.do("command 40008")
            q.do('wait-progress "Waiting for response..."')
            started = time.monotonic()
            q.do("cancel-progress")
            q.do("wait-for dialog-closed")
            q.do("wait")  # the program is there again, though the server has said nothing
            self.assertLess(time.monotonic() - started, 5)
            self.assertIn((1022, "Aborting; please wait."), q.progress_texts())
        self.assertEqual(q.status, 0)
        self.assert_silent(q)

    def test_a_second_press_is_not_possible(self):
        silent = NewsServer({}, greeting="")
        silent.serve = lambda client: client.recv(1) and None
        self.addCleanup(silent.close)
        q = self.run_with(servers=[silent.address], groups=["a.one"])
        q.do("command 40008")
        q.do('wait-progress "Waiting for response..."')
        q.do("cancel-progress")
        q.do("wait-for dialog-closed")
        with self.assertRaises(quillet_script.Failed):
            q.do("cancel-progress")
        self.assertEqual(q.await_end(), 1)


if __name__ == "__main__":
    main()
