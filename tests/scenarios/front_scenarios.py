# SPDX-License-Identifier: GPL-3.0-or-later
"""The scripted front itself: what it refuses, how it fails, what it reports."""

import json
import time

import news_servers
from scenario import *


class Failures(Scenario):
    def run_script(self, *lines, hold=False, timeout=20, arguments=()):
        q = self.run_quillet(*arguments, hold=hold, timeout=timeout)
        for line in lines:
            q.send(line)
        q.finish()
        return q

    def assert_failed(self, q, status, reason, text=None, line=None):
        failure = q.failure()
        self.assertEqual((q.status, failure["reason"]), (status, reason), failure)
        if text is not None:
            self.assertEqual(failure["text"], text)
        if line is not None:
            self.assertEqual(failure["line"], line)
        self.assertEqual(q.events[-1], {"event": "end", "status": status})
        self.assertEqual(q.exit_code(), 0, "the program itself ended properly")

    def test_unknown_commands_and_malformed_lines_are_usage_errors(self):
        for lines, reason, text, number in (
                (["wait", "frobnicate 1"], "unknown-command", "frobnicate", 2),
                (["# comment", "", "WAIT"], "unknown-command", "WAIT", 3),
                (['set 1001 "open'], "usage", "no closing quote", 1),
                (["tick"], "usage", "wrong number of words for tick", 1),
                (["sleep soon"], "usage", "not a number: soon", 1),
                (["key Ctrl+Nothing"], "usage", "no such key: Ctrl+Nothing", 1),
                (["tab mail"], "usage", "no such tab: mail", 1),
                (["maintain roof"], "usage", "no such maintenance: roof", 1),
                (["expect x maybe"], "usage", "not an answer: maybe", 1),
                (["expect x yes often"], "usage", "neither optional nor times N: often", 1),
                (["registry-set a dword x"], "usage", "not a registry value", 1),
                (["registry-set a raw 99 00"], "usage", "not a registry value", 1),
                (["expect-open /" + "x" * 259], "usage",
                 "no open dialog returns a path of more than 259 characters", 1),
                (["timeout 0"], "usage", "not a time limit", 1)):
            with self.subTest(lines):
                q = self.run_script(*lines)
                self.assert_failed(q, 2, reason, text, number)

    def test_an_unannounced_question_is_named_and_answered_no(self):
        q = self.run_with(groups=["a.one"])
        q.send("command 40021")
        q.send("wait")
        q.finish()
        self.assert_failed(q, 1, "unannounced-question", "Really delete the checked groups?")
        self.assertEqual(q.boxes(), [
            ("Quillet confirmation", "Really delete the checked groups?", "no")])
        self.assertEqual(self.read_back()["groups"][1], ["a.one"])

    def test_an_announcement_that_was_not_used_fails_the_run(self):
        q = self.run_script('expect "Never asked" yes')
        self.assert_failed(q, 1, "unused-announcement", "Never asked")
        q = self.run_script('expect "Never asked" yes optional')
        self.assert_fine(q)

    def test_each_announcement_is_used_once_or_as_often_as_it_says(self):
        q = self.run_with(groups=["a.one"])
        with q:
            q.do('expect "Really delete the" no times 2')
            q.do("command 40021")
            q.do("command 40021")
            q.do("wait")
        self.assert_fine(q)
        q = self.run_quillet()
        q.send('expect "Really delete the" no')
        q.send("command 40021")
        q.send("command 40021")
        q.send("wait")
        q.finish()
        self.assert_failed(q, 1, "unannounced-question")

    def test_an_answer_without_a_button_fails(self):
        q = self.run_with(groups=["a.one"])
        q.send('expect "Really delete" ok')
        q.send("command 40021")
        q.send("wait")
        q.finish()
        self.assert_failed(q, 1, "no-such-button")

    def test_what_is_not_there_is_named(self):
        for line, text in (
                ("tick a.none", "no such group: a.none"),
                ("activate a.none", "no such group: a.none"),
                ("command File/Eject", "no such item in the menu: File/Eject"),
                ("button Eject", "no such button in the menu bar: Eject")):
            with self.subTest(line):
                self.assert_failed(self.run_script(line), 1, "missing", text, 1)
        for line, text in (
                ("set 77 x", "the open dialog takes no text in control 77"),
                ("set 1 x", "the open dialog takes no text in control 1"),
                ("press 1001", "the open dialog has no button 1001"),
                ("choose 1001 x", "the open dialog offers no choice in control 1001"),
                ("tick 1001", "the open dialog has no such check box: 1001")):
            with self.subTest(line):
                q = self.run_script("command 40020", "wait-dialog 122", line)
                self.assert_failed(q, 1, "missing", text, 3)

    def test_dialog_commands_need_a_dialog(self):
        for line in ("set 1001 x", "press 1", "dialog", "close-dialog", "choose 1 x"):
            with self.subTest(line):
                self.assert_failed(self.run_script(line), 1, "refused", "no dialog is open")
        self.assert_failed(self.run_script("cancel-progress"), 1, "refused",
                           "no progress dialog is up")

    def test_an_open_dialog_is_named_when_it_takes_the_input(self):
        q = self.run_script("command 40020", "wait-dialog 122", "tab thread")
        self.assert_failed(q, 1, "refused",
                           "a dialog takes the input: 122 Subscribe to newsgroup", 3)

    def test_input_after_the_end_is_refused_and_questions_still_answered(self):
        q = self.run_quillet()
        q.do("close")
        q.do("wait-for exit")
        self.assertEqual(q.registry("version"), 2)
        self.assertFalse(q.ask("window")["exists"])
        q.send("command 40010")
        q.finish()
        self.assert_failed(q, 1, "refused", "the program has ended")

    def test_a_wait_that_takes_too_long_names_what_was_waited_for(self):
        started = time.monotonic()
        q = self.run_script("timeout 1", "wait-dialog 122")
        self.assertEqual((q.status, q.failure()["text"]), (3, "waited 1000 ms for dialog 122"))
        self.assertLess(time.monotonic() - started, 10)
        q = self.run_script("wait-for beep 2", timeout=1)
        self.assertEqual((q.status, q.failure()["text"]), (3, "waited 1000 ms for event beep"))

    def test_held_programs_take_only_what_needs_no_program(self):
        q = self.run_script("tick a.one", hold=True)
        self.assertEqual((q.status, q.failure()["text"]), (1, "the program has not started"))
        q = self.run_script("registry-set fullname string Ann", "registry fullname", "end",
                            hold=True)
        self.assert_fine(q)
        self.assertEqual(q.of("registry")[0]["value"], "Ann")
        self.assertEqual(q.of("window-created"), [])
        q = self.run_script("start", "start", hold=True)
        self.assert_failed(q, 1, "refused", "the program was started before", 2)

    def test_options_that_make_no_sense(self):
        for options in (["--work-area", "big"], ["--timeout", "0"], ["--timeout"], ["--log", ""],
                        ["--profile", "second"], ["--xdg"]):
            with self.subTest(options):
                q = self.run_quillet(options=options)
                self.assertEqual(q.await_end(), 2)
                self.assertNotEqual(q.errors(), "")
        q = quillet_script.Quillet(PROGRAM, None)
        self.assertEqual((q.await_end(), q.errors()),
                         (2, "quillet-script: either --profile DIR or --xdg is needed\n"))

    def test_help_and_version(self):
        for option, expected in (("--help", "Usage: quillet-script"), ("--version", "1.14r3")):
            done = subprocess.run([PROGRAM, option], stdout=subprocess.PIPE, check=True)
            self.assertIn(expected, done.stdout.decode())


class Reports(Scenario):
    def test_the_log_file_has_the_same_lines(self):
        log = str(self.profile) + ".log"
        with self.run_quillet(options=["--log", log]) as q:
            q.do("wait")
        with open(log, encoding="ascii") as lines:
            self.assertEqual([json.loads(line) for line in lines], q.events)

    def test_every_text_comes_back_exactly(self):
        text = "\x01\t\"\\\r\n\x7f \u00e9 \ue000 \ud83d lone \U0001f600 \ufffe"
        with self.run_quillet(hold=True) as q:
            q.set_string("fullname", text)
            q.set_strings("groups", ["", text, "x"])
            event = q.ask("registry fullname")
            # An empty entry of a list is stored as U+E000.
            self.assertEqual(q.registry("groups"), ["\ue000", text, "x"])
        self.assertEqual(event["value"], text)
        units = "".join("%02x%02x" % (u & 255, u >> 8)
                        for u in quillet_script.utf16_units(text + "\0"))
        self.assertEqual(event["hex"], units)

    def test_registry_values_of_every_kind(self):
        with self.run_quillet(hold=True) as q:
            q.do("registry-set a dword 4294967295")
            q.do("registry-set b numbers 1 2 3")
            q.do("registry-set c binary 00ff7f")
            q.do("registry-set d multi")
            q.do("registry-set e raw 4 0102")
            q.do("registry-set g raw 1 610062")
            dump = q.registry_dump()
            self.assertIsNone(q.registry("missing"))
            self.assertEqual(q.of("registry-end")[-1]["count"], 6)
        self.assertEqual(dump, {
            "a": ("dword", 4294967295, "ffffffff"),
            "b": ("binary", [1, 2, 3], "010000000200000003000000"),
            "c": ("binary", None, "00ff7f"),
            "d": ("multi", [], "00000000"),
            "e": ("dword", None, "0102"),
            "g": ("string", None, "610062")})

    def test_positions_and_the_wait_cursor_are_reported_on_demand(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("command 40013")
            q.do("tick a.one")
            self.assertEqual(q.of("wait-cursor"), [])
            q.do("wait-cursor on")
            q.expect("Mark articles", "no")
            q.do("command 40024")
            q.do("wait")
            self.assertEqual([e["depth"] for e in q.of("wait-cursor")], [1, 0])

    def test_the_output_may_go_away_and_the_program_still_saves(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("wait")
        read_end, write_end = os.pipe()
        process = subprocess.Popen([PROGRAM, "--profile", str(self.profile)],
                                   stdin=subprocess.PIPE, stdout=write_end)
        os.close(write_end)
        os.close(read_end)
        process.stdin.write(b"untick a.one\n")
        process.stdin.close()
        self.assertEqual(process.wait(timeout=20), 0)
        self.assertEqual(self.read_back()["checked"][1], [0])


class Sheet(Scenario):
    """The commands of a property sheet, which is reported with its pages."""

    PAGES = ["Server", "Connection", "Reply information", "Signature", "Download options",
             "Storage options", "Compression", "Killfile", "Group view options",
             "Thread view options", "Article view options", "Scheduling", "Database Management",
             "Advanced", "Advanced:headers", "Advanced: Debugging", "Extensions"]

    def start_opened(self):
        q = self.run_with(servers=[("x.example", 119)], groups=["a.one"],
                          values={"prefspage": 5})
        q.do("command 40009")
        q.do("wait-dialog")
        return q

    def test_the_sheet_tells_its_pages_and_the_controls_of_the_one_in_front(self):
        with self.start_opened() as q:
            sheet = q.ask("dialog")
            self.assertEqual((sheet["form"], sheet["caption"], sheet["modal"]),
                             (0, "Quillet CE Preferences", True))
            self.assertEqual(sheet["pages"], self.PAGES)
            self.assertEqual((sheet["page"], sheet["page_form"]), (5, 146))
            self.assertEqual([one["id"] for one in sheet["controls"]], [1, 2])
            slider = next(one for one in sheet["page_controls"] if one["id"] == 1121)
            self.assertEqual((slider["kind"], slider["lower"], slider["upper"]),
                             ("slider", 0, 100))
            q.do('page "Scheduling"')
            sheet = q.ask("dialog")
            self.assertEqual((sheet["page"], sheet["page_form"]), (11, 152))
            q.do("set-time 1152 1 2 3")
            time = next(one for one in q.ask("dialog")["page_controls"] if one["id"] == 1152)
            self.assertEqual((time["kind"], time["hour"], time["minute"], time["second"]),
                             ("time", 1, 2, 3))
            q.do("press 1")
            q.do("wait")
            self.assertEqual(q.registry("downloadsc"), 3)
        self.assert_fine(q)

    @for_each(
        (["slide 1121 101"], "missing", "the open dialog does not go there with control 1121"),
        (["slide 1120 5"], "missing", "the open dialog does not go there with control 1120"),
        (["slide 1125 5"], "missing", "the open dialog does not go there with control 1125"),
        (["set-time 1152 1 2 3"], "missing", "the open dialog takes no such time in control 1152"),
        (['page "Scheduling"', "set-time 1152 24 0 0"], "missing",
         "the open dialog takes no such time in control 1152"),
        (['page "Nowhere"'], "missing", "the open dialog has no page Nowhere"),
        (['page "server"'], "missing", "the open dialog has no page server"),
        (["press 1169"], "missing", "the open dialog has no button 1169"),
        (["tick a.one"], "refused", "a dialog takes the input: 0 Quillet CE Preferences"),
        (["command 40013"], "refused", "a dialog takes the input: 0 Quillet CE Preferences"),
        (["press 2", "wait", "command 40061"], "unannounced-question",
         "Welcome to Quillet CE! The Quick Setup Wizard will now prompt you for some basic "
         "configuration information. If you don't know what to enter, you can always come back to "
         "the Quick Setup Wizard by selecting \"Quick Setup\" from the \"File\" menu."))
    def test_what_the_page_in_front_does_not_have_is_refused(self, lines, reason, text):
        q = self.start_opened()
        for line in lines:
            q.send(line)
        q.send("wait")
        self.assertEqual(q.finish(), 1)
        self.assertEqual((q.failure()["reason"], q.failure()["text"]), (reason, text))
        self.assertEqual(q.exit_code(), 0)


class Reading(Scenario):
    """The commands of the thread and the article view, and what they refuse."""

    def start_opened(self):
        """A run with the tree of two articles shown: (hello (ann)) (other (bob))."""
        server = news_servers.NewsServer({"a.one": {
            1: news_servers.article(1, "a.one", "<ann@x>", "Hello", "See http://x.example/.\r\n"),
            2: news_servers.article(2, "a.one", "<bob@x>", "Other")}})
        self.addCleanup(server.close)
        q = self.run_with(servers=[server.address], groups=["a.one"])
        q.connect()
        q.open_group("a.one")
        return q

    @for_each(
        (["select-node 3"], "missing", "no such node in the tree: 3"),
        (["open-node 1.2"], "missing", "no such node in the tree: 1.2"),
        (["open-node <carl@x>"], "missing", "no such node in the tree: <carl@x>"),
        (["select-node id:ann"], "missing", "no such node in the tree: id:ann"),
        (["expand 1.1"], "refused", "the window does not take this input now"),
        (["tab group", "select-node 1"], "refused",
         "the window does not take this input now"),
        (["tap-header"], "refused", "the window does not take this input now"),
        (["open-node 1", 'tool "Reply"'], "missing", "no such button in the toolbar: Reply"),
        (["open-node 1", "follow http://y.example/"], "missing",
         "the article view shows no such link: http://y.example/"),
        (["open-group a.two"], "missing", "no such group: a.two"),
        (["delete-stored <carl@x>"], "missing", "no such article is stored: <carl@x>"),
        (["context-menu 1"], "unannounced-menu", ""),
        (['expect-menu "Copy"', "context-menu 1"], "no-such-entry", "Copy"),
        (['expect-menu "Copy"'], "unused-announcement", "Copy"),
        (["expect-save /x"], "unused-announcement", "/x"),
        (["expect-open /x"], "unused-announcement", "/x"),
        (["expect-save /x", "tab group", "command 40060"], "unannounced-open-dialog",
         "Import file"),
        (["open-node 1", "command 40057"], "unannounced-save-dialog", "Save article as"),
        (["command 40048", "wait-dialog", "open-node 1"], "refused",
         "a dialog takes the input: 123 Find"))
    def test_what_is_not_there_or_not_shown_is_refused(self, lines, reason, text):
        q = self.start_opened()
        for line in lines:
            q.send(line)
        q.send("wait")
        self.assertEqual(q.finish(), 1)
        self.assertEqual((q.failure()["reason"], q.failure()["text"]), (reason, text))
        self.assertEqual(q.exit_code(), 0)

    def test_the_databases_are_rewritten_as_asked(self):
        packed = b"BZh1"
        with self.start_opened() as q:
            before = q.article("<ann@x>")
            for how, form in (("compress", True), ("compact", True), ("uncompress", False)):
                inode = (self.news_folder / ARTICLES).stat().st_ino
                q.do("maintain " + how)
                self.assertNotEqual((self.news_folder / ARTICLES).stat().st_ino, inode)
                self.assertEqual(packed in (self.news_folder / ARTICLES).read_bytes(), form, how)
                self.assertEqual(q.article("<ann@x>"), before)
        self.assert_fine(q)

    def test_nodes_by_path_and_by_message_id(self):
        with self.start_opened() as q:
            for word, path in (("2", "2"), ("1.1", "1.1"), ("<bob@x>", "2.1"),
                               ("id:<ann@x>", "1.1")):
                q.select_node(word)
                self.assertEqual(q.tree()["selected"], path)
        self.assert_fine(q)

    def test_rows_are_expanded_and_collapsed(self):
        with self.start_opened() as q:
            for line, expanded in (("expand 1", ["1"]), ("expand all", ["1", "2"]),
                                   ("collapse 2", ["1"]), ("collapse all", [])):
                q.do(line)
                self.assertEqual([r["path"] for r in q.tree()["rows"] if r["expanded"]], expanded)
        self.assert_fine(q)

    def test_a_link_of_the_article_and_one_of_the_scripts_own(self):
        with self.start_opened() as q:
            q.open_node("1")
            q.do("follow http://x.example/")
            q.do('link "ftp://x.example/"')
            q.do("wait")
        self.assertEqual([e["target"] for e in q.of("link")],
                         ["http://x.example/", "ftp://x.example/"])

    def test_a_dump_of_many_rows_takes_no_time(self):
        count = 3000
        server = news_servers.NewsServer({"a.one": {
            n: news_servers.article(n, "a.one", subject="Thread %d" % n)
            for n in range(1, count + 1)}})
        self.addCleanup(server.close)
        with self.run_with(servers=[server.address], groups=["a.one"],
                           values={"maxarticles": 100000}) as q:
            q.connect()
            q.open_group("a.one")
            start = time.monotonic()
            rows = q.tree()["rows"]
            self.assertLess(time.monotonic() - start, 5)
            self.assertEqual(len(rows), 2 * count)
            self.assertEqual((rows[-1]["path"], rows[-1]["id"]),
                             ("%d.1" % count, "<a%d@example.org>" % count))
        self.assert_fine(q)


if __name__ == "__main__":
    main()
