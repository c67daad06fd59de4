# SPDX-License-Identifier: GPL-3.0-or-later
"""A second start, and the scheduled start."""

import datetime

from news_servers import NewsServer, article
from scenario import *

NO_GROUPS = ("You do not have any groups in the group list. Please add some groups (using "
             "Group->Groups->New group) and try again.")
NOTHING_TICKED = ("There are no groups selected for downloading. Please check the groups which "
                  "you would like to download and try again.")


class Instances(Scenario):
    def start_second(self, *arguments, download=False):
        """A start that hands over to the running instance and ends at once."""
        second = self.run_quillet(*arguments)
        second.do("wait-for exit")
        self.assertEqual(second.finish(), 0)
        self.assertEqual(second.exit_code(), 0)
        self.assertEqual([e["download"] for e in second.of("forwarded")], [download])
        self.assertEqual(second.of("window-created"), [])
        self.assert_silent(second)


class SecondStart(Instances):
    def test_raises_the_first_and_ends_with_zero(self):
        with self.run_with(groups=["a.one"]) as first:
            first.do("wait")
            self.start_second()
            first.do("wait-for window-raised")
            first.do("wait")
            self.assertEqual(first.of("dialog"), [])
        self.assert_fine(first)
        self.assert_silent(first)

    def test_another_profile_is_another_instance(self):
        with self.run_quillet() as first:
            first.do("wait")
            self.use_profile("-other")
            with self.run_quillet() as other:
                other.do("wait")
                self.assertEqual(len(other.of("window-shown")), 1)
        self.assert_fine(first)
        self.assert_fine(other)
        self.assertEqual(first.of("window-raised"), [])

    def test_a_killed_owner_leaves_nothing_that_hinders(self):
        q = self.run_quillet()
        q.do("wait")
        q.kill()
        with self.run_quillet() as q:
            q.do("wait")
        self.assert_fine(q)
        self.assertEqual(len(q.of("window-shown")), 1)

    def test_the_profile_is_free_again_after_the_end(self):
        self.prepare()
        self.prepare()

    def test_a_second_start_while_a_dialog_is_open_raises(self):
        with self.run_quillet() as first:
            first.do("command 40010")
            first.do("wait-dialog")
            self.start_second()
            first.do("wait-for window-raised")
            first.do("press 1")
        self.assert_fine(first)


class ScheduledStart(Instances):
    def server(self):
        return NewsServer({"a.one": {n: article(n, "a.one") for n in (1, 2, 3)}})

    def test_without_a_running_instance_starts_and_downloads(self):
        with self.server() as server:
            with self.run_with("AppRunAtTime", servers=[server.address], groups=["a.one"]) as q:
                self.assertEqual(q.groups(), [("a.one", "checked", "3/3")])
            self.assertEqual(server.connections, 1)
        self.assert_fine(q)
        self.assert_silent(q)

    def test_is_handed_to_the_running_instance_which_downloads(self):
        with self.server() as server:
            with self.run_with(servers=[server.address], groups=["a.one"]) as first:
                first.do("wait")
                self.start_second("AppRunAtTime", download=True)
                first.do("wait-for dialog-closed")
                self.assertEqual(first.groups(), [("a.one", "checked", "3/3")])
            self.assertEqual(server.connections, 1)
        self.assert_fine(first)
        self.assert_silent(first)

    def test_during_a_dialog_waits_for_its_end(self):
        with self.server() as server:
            with self.run_with(servers=[server.address], groups=["a.one"]) as first:
                first.do("command 40010")
                first.do("wait-dialog 121")
                self.start_second("AppRunAtTime", download=True)
                first.do("sleep 200")
                self.assertEqual(server.connections, 0)
                first.do("press 1")
                first.do("wait-for dialog-closed 2")
                self.assertEqual(first.groups(), [("a.one", "checked", "3/3")])
        self.assert_fine(first)

    def test_during_a_download_runs_after_it(self):
        with self.server() as server:
            with self.run_with(servers=[server.address], groups=["a.one"]) as first:
                first.do("command 40008")
                first.do("wait-progress")
                self.start_second("AppRunAtTime", download=True)
                first.do("wait-for dialog-closed 2")
                self.assertEqual(first.groups(), [("a.one", "checked", "3/3")])
            self.assertEqual(server.connections, 2)
        self.assert_fine(first)
        self.assert_silent(first)

    def test_errors_of_one_do_not_hold_up_the_next(self):
        """Nobody is there to press OK: the next run comes all the same and adds its errors."""
        refusal = "a.two: server reports error ('411 no such group\r\n')"
        with self.server() as server:
            with self.run_with(servers=[server.address], groups=["a.one", "a.two"]) as first:
                first.do("wait")
                for connections in (1, 2):
                    self.start_second("AppRunAtTime", download=True)
                    first.do("wait-for beep %d" % connections)
                    first.do("wait")
                    self.assertEqual(server.connections, connections)
                    first.do("dialog")
                    dialog = first.of("dialog")[-1]
                    self.assertEqual((dialog["caption"], dialog["modal"]), ("Error log", False))
                    texts = [c["text"] for c in dialog["controls"] if c["id"] == 1016]
                    self.assertEqual(texts, [connections * refusal])
                self.assertEqual(first.groups()[0], ("a.one", "checked", "3/3"))
                first.do("press 1")
                first.do("wait")
                self.start_second("AppRunAtTime", download=True)
                first.do("wait-for beep 3")
        self.assert_fine(first)  # it ends with the window open
        self.assert_silent(first)

    def test_without_a_user_manager_the_running_program_keeps_the_time(self):
        at = datetime.datetime.now() + datetime.timedelta(seconds=3)
        with self.server() as server:
            with self.run_with(servers=[server.address], groups=["a.one"],
                               values={"useautodownload": 1, "downloadhr": at.hour,
                                       "downloadmn": at.minute, "downloadsc": at.second}) as q:
                q.do("wait")
                self.assertEqual(server.connections, 0)
                q.do("wait-for dialog-closed")
                self.assertEqual(q.groups(), [("a.one", "checked", "3/3")])
                self.assertGreaterEqual(datetime.datetime.now(), at.replace(microsecond=0))
        self.assert_fine(q)
        self.assert_silent(q)

    def test_says_what_hinders_it_like_the_command(self):
        with self.run_with("AppRunAtTime") as q:
            q.do("wait")
        self.assert_fine(q)
        self.assertEqual(q.boxes(), [("Quillet", NO_GROUPS, "ok")])
        with self.run_with("AppRunAtTime", groups=["a.one"], servers=[("127.0.0.1", 9)]) as q:
            q.do("wait")
        first_boxes = q.boxes()
        self.assertEqual(first_boxes[0][1].split(" (")[0], "An unexpected error")
        with self.run_quillet() as q:
            q.do("untick a.one")
            q.do("command File/Connect")
            q.do("wait")
        self.assertEqual(q.boxes(), [("Quillet", NOTHING_TICKED, "ok")])


if __name__ == "__main__":
    main()
