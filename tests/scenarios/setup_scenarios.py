# SPDX-License-Identifier: GPL-3.0-or-later
"""Quick Setup: at the first start, by its command, and everything that can be answered."""

from news_servers import NewsServer, article
from settings import *

GREETING = ('Welcome to Quillet CE! The Quick Setup Wizard will now prompt you for some basic '
            'configuration information. If you don\'t know what to enter, you can always come back '
            'to the Quick Setup Wizard by selecting "Quick Setup" from the "File" menu.')
DONE = ('That\'s all! Next, you\'ll probably want to add some groups to download. Select "New '
        'Group" from the "Group->Groups" menu. You can also look at the extensive list of '
        'configuration options in Quillet CE by selecting "Preferences" from the "File" menu.')
NO_SERVER = "You have not specified your news server."
NO_NAME = "You have not specified your full name."
NO_ADDRESS = "You have not specified your email address."


class QuickSetup(Settings):
    def first_start(self, answer="ok", *arguments, **keywords):
        q = self.run_quillet(*arguments, hold=True, **keywords)
        q.expect(GREETING, answer)
        q.start()
        return q

    def answer(self, q, server="news.example.org", name="Ann Author", address="ann@x.example"):
        q.wait_dialog(SETUP_1)
        q.set(SETUP_SERVER, server)
        q.set(SETUP_NAME, name)
        q.set(SETUP_ADDRESS, address)
        q.press(OK)

    def test_a_first_start_leads_to_a_server(self):
        self.use_profile("fresh")
        with self.run_with(servers=[("x", 119)]) as q:
            q.do("wait")
        factory = self.stored()
        self.use_profile("")
        with self.first_start() as q:
            self.answer(q)
            q.wait_dialog(SETUP_2)
            self.assertEqual(q.control(SETUP_METHOD)["choices"], ["<none>"])
            q.press(OK)
            self.assertEqual(q.boxes(), [("Quillet", GREETING, "ok"), ("Quillet", DONE, "ok")])
            self.assertEqual(q.registry("numservers"), 1, "stored at once")
        self.assert_fine(q)
        expected = dict(factory)
        expected.update(servers=("multi", ["news.example.org"]), fullname=("string", "Ann Author"),
                        returnmailaddress=("string", "ann@x.example"))
        self.assertEqual(self.stored(), expected)
        with self.run_quillet() as q:
            q.do("wait")
        self.assert_silent(q)

    def test_how_the_server_is_reached_can_be_said(self):
        with self.first_start() as q:
            q.wait_dialog(SETUP_1)
            self.assertEqual([q.text_of(SETUP_PORT), q.control(SETUP_SECURITY)["choice"],
                              q.text_of(SETUP_NOTE)], ["119", 0, ""])
            q.choose(SETUP_SECURITY, "TLS from the start")
            self.assertEqual(q.text_of(SETUP_PORT), "563")
            q.choose(SETUP_SECURITY, "STARTTLS")
            self.assertEqual(q.text_of(SETUP_PORT), "119")
            q.set(SETUP_PORT, "0")
            self.answer(q, "127.0.0.1")
            self.assertEqual(q.boxes()[-1][1], "The port must be a number from 1 to 65535.")
            q.set(SETUP_PORT, "8119")
            self.answer(q, "127.0.0.1")
            q.wait_dialog(SETUP_2)
            q.press(OK)
        self.assert_fine(q)
        stored = self.stored()
        self.assertEqual(stored["port"][1], [8119])
        self.assertEqual(stored["Extensions\\ServerSecurity\\127.0.0.1"], ("dword", 2))

    def test_the_greeting_is_a_question_with_cancel(self):
        with self.first_start("cancel") as q:
            q.do("wait")
            box = q.of("box")[0]
            self.assertEqual((box["caption"], box["text"], box["buttons"], box["topmost"]),
                             ("Quillet", GREETING, "okcancel", True))
            self.assertEqual(q.of("dialog"), [])
        self.assert_fine(q)
        self.assertEqual(self.stored()["numservers"], ("dword", 0))

    def test_what_the_pages_say(self):
        with self.first_start() as q:
            q.wait_dialog(SETUP_1)
            first = q.dialog()
            self.assertEqual(first["caption"], "Quillet CE Quick Setup")
            self.assertEqual(first["controls"][OK]["text"], "Next >>")
            self.assertEqual(first["controls"][CANCEL]["text"], "Cancel")
            self.assertEqual([first["controls"][control]["text"]
                              for control in (SETUP_SERVER, SETUP_NAME, SETUP_ADDRESS)], [""] * 3)
            self.answer(q)
            q.wait_dialog(SETUP_2)
            second = q.dialog()
            self.assertEqual(second["caption"], "Quillet CE Quick Setup")
            self.assertEqual([second["controls"][control]["text"]
                              for control in (OK, CANCEL, SETUP_BACK)],
                             ["Done", "Cancel", "<< Back"])
            q.press(CANCEL)
        self.assert_fine(q)

    def test_each_field_is_required_in_its_order(self):
        with self.first_start() as q:
            for server, name, address, complaint in (
                    ("", "", "", NO_SERVER), ("  ", "A", "a@x", NO_SERVER), ("s", "", "", NO_NAME),
                    ("s", " \t", "a@x", NO_NAME), ("s", "A", "", NO_ADDRESS),
                    ("s", "A", " ", NO_ADDRESS)):
                q.wait_dialog(SETUP_1)
                seen = len(q.boxes())
                self.answer(q, server, name, address)
                self.assertEqual(q.boxes()[seen:], [("Quillet", complaint, "ok")])
                self.assertEqual(q.dialog()["form"], SETUP_1)
            q.press(CANCEL)
        self.assert_fine(q)
        self.assertEqual(self.stored()["numservers"], ("dword", 0))

    @for_each("a b", "a\x01b", "a\ue000", "x" * 254, "y" * 100000)
    def test_what_is_no_server_is_refused(self, name):
        with self.first_start() as q:
            self.answer(q, name)
            self.assertEqual(len(q.boxes()), 2)
            self.assertTrue(q.boxes()[1][1].startswith("The name of a news server cannot "))
            self.assertEqual(q.dialog()["form"], SETUP_1)
            q.press(CANCEL)
        self.assert_fine(q)

    def test_texts_are_taken_without_line_ends_and_refused_when_too_long(self):
        with self.first_start() as q:
            for name, address in (("A", "z" * 1024), ("z" * 100000, "a@x")):
                self.answer(q, "s", name, address)
                self.assertEqual(q.boxes()[-1][1],
                                 "This text has %d characters, but only 1023 can be kept. Please "
                                 "shorten it." % max(len(name), len(address)))
                self.assertEqual(q.dialog()["form"], SETUP_1)
            self.answer(q, "\t news.example.org ", "A\r\nB", "z" * 1023)
            q.wait_dialog(SETUP_2)
            q.press(OK)
        self.assert_fine(q)
        stored = self.stored()
        self.assertEqual([stored[name][1] for name in ("servers", "fullname", "returnmailaddress")],
                         [["news.example.org"], "A  B", "z" * 1023])

    @for_each((1, "press"), (1, "close"), (2, "press"), (2, "close"))
    def test_cancel_on_either_page_changes_nothing(self, page, how):
        before = self.use_settings()
        with self.run_quillet() as q:
            q.expect(WELCOME, "ok")
            q.command(QUICK_SETUP)
            if page == 2:
                self.answer(q, "three.example.org", "You", "you@y.example")
                q.wait_dialog(SETUP_2)
            if how == "press":
                q.press(CANCEL)
            else:
                q.do("close-dialog")
                q.do("wait")
            self.assertEqual(len(q.boxes()), 1)
        self.assert_fine(q)
        self.assertEqual(self.stored(), before)

    def test_back_finds_what_was_typed(self):
        with self.first_start() as q:
            self.answer(q)
            q.wait_dialog(SETUP_2)
            q.press(SETUP_BACK)
            q.wait_dialog(SETUP_1)
            self.assertEqual([q.text_of(control)
                              for control in (SETUP_SERVER, SETUP_NAME, SETUP_ADDRESS)],
                             ["news.example.org", "Ann Author", "ann@x.example"])
            q.set(SETUP_SERVER, "other.example.org")
            q.press(OK)
            q.wait_dialog(SETUP_2)
            q.press(OK)
        self.assert_fine(q)
        self.assertEqual(self.stored()["servers"], ("multi", ["other.example.org"]))

    def test_the_command_adds_a_server_and_keeps_everything_else(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            q.expect(WELCOME, "ok")
            q.command("File/Quick Setup")
            self.answer(q, "three.example.org", "You", "you@y.example")
            q.wait_dialog(SETUP_2)
            q.press(OK)
            self.assertEqual([box[1] for box in q.boxes()], [GREETING], "there are groups")
        self.assert_fine(q)
        expected = dict(before)
        expected.update({
            "numservers": ("dword", 3), "selectedserver": ("dword", 2),
            "servers": ("multi", [SERVER_ONE, SERVER_TWO, "three.example.org"]),
            "port": ("binary", [1190, 1191, 119]),
            "authusers": ("multi", ["ann", "bob", "\ue000"]),
            "authpasses": ("multi", ["one", "two", "\ue000"]),
            "useauths": ("binary", [0, 0, 0]), "usentlms": ("binary", [0, 0, 0]),
            "lastdownloaded": ("binary", [7, 8, 9, 10, 0, 0]),
            "lastonserver": ("binary", [17, 18, 19, 20, 0, 0]),
            "fullname": ("string", "You"), "returnmailaddress": ("string", "you@y.example")})
        self.assertEqual(self.stored(), expected)

    def test_a_known_server_is_selected_not_added(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            q.expect(WELCOME, "ok")
            q.command(QUICK_SETUP)
            q.wait_dialog(SETUP_1)
            self.assertEqual([q.text_of(control)
                              for control in (SETUP_SERVER, SETUP_NAME, SETUP_ADDRESS)],
                             [SERVER_ONE, "Me", "me@x.example"])
            self.answer(q, SERVER_TWO, "Me", "me@x.example")
            q.wait_dialog(SETUP_2)
            q.press(OK)
        self.assert_fine(q)
        expected = dict(before)
        expected["selectedserver"] = ("dword", 1)
        self.assertEqual(self.stored(), expected)

    def test_a_scheduled_first_start_connects_before_it_asks(self):
        with self.first_start("cancel", "AppRunAtTime") as q:
            q.do("wait")
        self.assertEqual(q.status, 0, q.failure())
        self.assertIn(GREETING, [box[1] for box in q.boxes()])

    def test_end_of_the_session_at_every_place(self):
        for place in range(3):
            with self.subTest(place):
                self.use_profile("-%d" % place)
                q = self.run_quillet(hold=True)
                if place > 0:
                    q.expect(WELCOME, "ok")
                    q.start()
                    q.wait_dialog(SETUP_1)
                    if place > 1:
                        self.answer(q)
                        q.wait_dialog(SETUP_2)
                else:
                    q.expect(WELCOME, "cancel", "optional")
                    q.start()
                q.terminate()
                self.assertEqual(q.await_end(), 0)
                self.assertEqual(self.stored()["numservers"], ("dword", 0))

    def test_a_newcomer_gets_from_nothing_to_articles(self):
        server = NewsServer({GROUP: ARTICLES})
        self.addCleanup(server.close)
        with self.first_start() as q:
            self.answer(q, "127.0.0.1")
            q.wait_dialog(SETUP_2)
            q.press(OK)
            q.do('command "Group/Groups/New group"')
            q.wait_dialog(122)
            q.set(1001, GROUP)
            q.press(OK)
            self.open_sheet(q, "Server")
            q.set(PORT, str(server.port))
            self.ok(q)
            q.connect()
            self.assertEqual(q.groups(), [(GROUP, "checked", "6/6")])
        self.assert_fine(q)


class FirstSteps(Settings):
    """What an empty list says, from the empty profile to the first articles."""

    answer = QuickSetup.answer
    GUIDE_BOX = 1222

    def steps(self, q):
        """Which of the steps are done; None: there are none."""
        steps = q.ask("guide")["steps"]
        if not steps:
            return None
        self.assertEqual([(step["text"], step["command"]) for step in steps],
                         [("1. Tell Quillet your news server", 40061), ("2. Add a newsgroup", 40020),
                          ("3. Connect", 40008)])
        return [step["done"] for step in steps]

    def test_lead_from_nothing_to_the_first_articles(self):
        with NewsServer({"a.one": {n: article(n, "a.one") for n in (1, 2, 3)}}) as server:
            with self.run_quillet(hold=True) as q:
                q.expect(GREETING, "cancel")
                q.expect(GREETING, "ok")
                q.start()
                self.assertEqual(self.steps(q), [False, False, False])
                q.do("follow-step 3")  # the command's own message
                q.do("wait")
                self.assertTrue(q.boxes()[-1][1].startswith("You do not have any groups"))
                q.do("follow-step 1")
                q.wait_dialog(SETUP_1)
                q.set(SETUP_PORT, str(server.port))
                self.answer(q, "127.0.0.1")
                q.wait_dialog(SETUP_2)
                q.press(OK)
                self.assertEqual(q.boxes()[-1][1], DONE)
                self.assertEqual(self.steps(q), [True, False, False])
                q.do("follow-step 2")
                q.wait_dialog(122)
                q.set(1001, "a.one")
                q.press(OK)
                self.assertEqual(self.steps(q), [True, True, False])
                q.do("follow-step 3")
                q.do("wait")
                self.assertEqual(q.groups(), [("a.one", "checked", "3/3")])
                self.assertEqual(self.steps(q), None)
                q.expect("Really delete all articles in checked groups?", "yes")
                q.do("command 40015")
                q.do("wait")
                self.assertEqual(self.steps(q), [True, True, False])
        self.assert_fine(q)

    def test_are_there_with_groups_and_go_for_an_import(self):
        path = self.profile.parent / (self.profile.name + ".mbox")
        path.write_bytes(b"From x\nFrom: a@x.example\nSubject: s\nMessage-ID: <1@x>\n"
                         b"Newsgroups: a.one\n\ntext\n")
        with self.run_with(groups=["a.one"]) as q:
            self.assertEqual(self.steps(q), [True, True, False])
            q.do('expect-open "%s"' % path)
            q.do("command 40060")
            q.do("wait")
            self.assertEqual(q.groups(), [("a.one", "checked", "1/1")])
            self.assertEqual(self.steps(q), None)
        self.assert_fine(q)

    def test_are_switched_off_and_on(self):
        with self.run_with(groups=["a.one"], values={"Extensions\\startguide": 0}) as q:
            self.assertEqual(self.steps(q), None)
            for change, steps in (("tick", [True, True, False]), ("untick", None)):
                self.open_sheet(q, "Extensions")
                q.do("%s %d" % (change, self.GUIDE_BOX))
                q.press(OK)
                self.assertEqual(self.steps(q), steps)
        self.assert_fine(q)


if __name__ == "__main__":
    main()
