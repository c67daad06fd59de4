# SPDX-License-Identifier: GPL-3.0-or-later
"""The preferences in the window: what each control stores, and how the sheet ends."""

from settings import *

CLEARED = ("The default email transport has been cleared. You will be prompted to choose a new "
           "email transport when you next send email from within Quillet CE.")
NO_STORE = ("The desktop's password store does not answer. Until Quillet CE is started again, passwords "
            "that are kept there cannot be used, and others are kept in the preferences.")
DEFAULTS = "Really reset preferences to defaults?"
KILLFILE_TOO = "Do you also want to reset your killfile?"

SIZES = ["tiny", "very small", "small", "medium", "large", "very large", "huge", "enormous"]
FONTS = ["Courier New", "DejaVu Sans", "Liberation Serif", "Tahoma"]


def set_text(control, text):
    return "set %d %s" % (control, quillet_script.quoted(text))


def choose(control, text):
    return "choose %d %s" % (control, quillet_script.quoted(text))


# (page, what the user does there, what is stored then)
EACH_CONTROL = [
    ("Server", choose(SERVERS, SERVER_TWO), {"selectedserver": 1}),
    ("Server", set_text(PORT, "563"), {"port": [563, 1191]}),
    ("Server", choose(SECURITY, "STARTTLS"), {"Extensions\\ServerSecurity\\" + SERVER_ONE: 2}),
    ("Server", "tick %d" % EXTRA_LOGIN, {"useauths": [1, 0]}),
    ("Server", set_text(USER, "dora"), {"authusers": ["dora", "bob"]}),
    ("Server", set_text(PASSWORD, "pass word"), {"authpasses": ["pass word", "two"]}),
    ("Server", "tick %d" % ENCRYPTED_LOGIN, {"usentlms": [1, 0]}),
    ("Server", "tick %d" % ONE_SERVER, {"allserversareone": 1}),
    ("Reply information", set_text(RETURN_ADDRESS, "you@y.example"),
     {"returnmailaddress": "you@y.example"}),
    ("Reply information", set_text(FULL_NAME, "Zo\u00eb \U0001f600"),
     {"fullname": "Zo\u00eb \U0001f600"}),
    ("Reply information", set_text(QUOTE_TEXT, "> "), {"quotestring": "> "}),
    ("Reply information", set_text(ATTRIBUTION, ""), {"attribution": ""}),
    ("Reply information", "tick %d" % FULL_POST_VIEW, {"simplepost": 0}),
    ("Signature", set_text(SIGNATURE, "-- \nYou\n"), {"signature": "-- \r\nYou\r\n"}),
    ("Download options", "untick %d" % BEEP, {"beepafter": 0}),
    ("Download options", "tick %d" % NEWEST, {"downloadnewest": 1}),
    ("Storage options", "slide %d 40" % MAX_STORE, {"maxstore": 40}),
    ("Storage options", set_text(MAX_ARTICLE_SIZE, "64"), {"maxarticlesize": 64}),
    ("Storage options", set_text(MAX_ARTICLES, "500"), {"maxarticles": 500}),
    ("Storage options", "tick %d" % DISCARD_HEADERS, {"keepheaders": 0}),
    ("Compression", "tick %d" % USE_COMPRESSION, {"usecompression": 1}),
    ("Group view options", choose(GROUP_FONT, "Courier New"), {"groupfont": "Courier New"}),
    ("Group view options", choose(GROUP_SIZE, "tiny"), {"groupfontsize": 1}),
    ("Thread view options", choose(THREAD_FONT, "Tahoma"), {"threadfont": "Tahoma"}),
    ("Thread view options", choose(THREAD_SIZE, "enormous"), {"threadfontsize": 8}),
    ("Thread view options", "untick %d" % USE_THREADING, {"usethreading": 0}),
    ("Thread view options", "tick %d" % REVERSE, {"reversethread": 1}),
    ("Article view options", choose(ARTICLE_FONT, "<default>"), {"font": "<default>"}),
    ("Article view options", choose(ARTICLE_SIZE, "large"), {"fontsize": 5}),
    ("Article view options", choose(HEADER_FONT, "<default>"), {"articleheaderfont": "<default>"}),
    ("Article view options", choose(HEADER_SIZE, "huge"), {"articleheaderfontsize": 7}),
    ("Article view options", "tick %d" % ALL_HEADERS, {"showheaders": 1}),
    ("Article view options", "tick %d" % NO_CRS, {"removecrs": 1}),
    ("Article view options", "untick %d" % COLOR_QUOTED, {"colorquoted": 0}),
    ("Scheduling", "tick %d" % AUTOMATIC, {"useautodownload": 1}),
    ("Scheduling", "set-time %d 23 59 58" % TIME,
     {"downloadhr": 23, "downloadmn": 59, "downloadsc": 58}),
    ("Scheduling", "tick %d" % DELETE_ALL, {"autodelete": 0}),
    ("Scheduling", "tick %d" % DELETE_BEFORE, {"autodelete": 2 + 4}),
    ("Scheduling", "tick %d" % DELETE_ON_QUIT, {"autodelete": 2 + 8}),
    ("Advanced", "tick %d" % SKIP, {"skipverifications": 1}),
    ("Advanced", "tick %d" % LEFT, {"sidetabs": 1}),
    ("Advanced", "tick %d" % RIGHT, {"sidetabs": 2}),
    ("Advanced", "press %d" % CLEAR_TRANSPORT, {"transport": ""}),
    ("Advanced:headers", set_text(EXTRA_HEADERS, "X-B: 2\nX-C: 3\n"),
     {"extraheaders": "X-B: 2\r\nX-C: 3\r\n"}),
    ("Advanced: Debugging", "tick %d" % KEEP_LOG, {}),
    ("Extensions", "untick %d" % MESSAGE_IDS, {"Extensions\\postmessageids": 0}),
    ("Extensions", "tick %d" % PASSWORD_STORE, {"Extensions\\passwordstore": 1}),
    ("Extensions", "untick %d" % IMPORT_PROGRESS, {"Extensions\\importprogress": 0}),
    ("Extensions", "untick %d" % DECODE, {"Extensions\\decodemime": 0}),
    ("Extensions", "untick %d" % CHARSETS, {"Extensions\\postcharsets": 0}),
    ("Extensions", set_text(SILENCE, "30"), {"Extensions\\stalllimit": 30}),
    ("Extensions", set_text(RETRIES, "0"), {"Extensions\\retries": 0}),
    ("Extensions", "untick %d" % LOGIN_LATER, {"Extensions\\loginlater": 0}),
    ("Extensions", "untick %d" % ADDRESSES, {"Extensions\\alladdresses": 0}),
    ("Extensions", "untick %d" % CROSSPOSTS, {"Extensions\\crossposts": 0}),
    ("Extensions", "untick %d" % ANCESTORS, {"Extensions\\ancestors": 0}),
    ("Extensions", "untick %d" % RESTORE, {"Extensions\\restoreplace": 0}),
    ("Extensions", "untick %d" % GUIDE, {"Extensions\\startguide": 0}),
    ("Extensions", "untick %d" % FIGURES, {"Extensions\\progressline": 0}),
    ("Extensions", "untick %d" % READ_ON, {"Extensions\\readon": 0}),
    ("Extensions", "untick %d" % ROW_DETAILS, {"Extensions\\rowdetails": 0}),
]


# What is said by then.
SAID = {"press %d" % CLEAR_TRANSPORT: CLEARED, "tick %d" % PASSWORD_STORE: NO_STORE}


# Tried elsewhere: what needs a phone book, cards or entries of the killfile, what is on already, and
# buttons that do something at once.
TRIED_ELSEWHERE = {METHOD, STORE, DELETE_READ, BOTTOM, *range(KILLFILE, PROPAGATE + 1), ADD_SERVER,
                   DELETE_SERVER, COMPRESS_NOW, UNCOMPRESS_NOW, PURGE, COMPACT, RESET, SAVE_LOG}


class Controls(Settings):
    def test_no_control_is_forgotten_here(self):
        self.use_settings()
        controls = set()
        with self.run_quillet() as q:
            self.open_sheet(q)
            for caption in PAGES:
                self.turn_to(q, caption)
                controls |= {(caption, one["id"]) for one in q.ask("dialog")["page_controls"]
                             if one["kind"] not in ("text", "other") and one["id"] != DATABASES_LIST}
            self.cancel(q)
        tried = {(caption, int(line.split()[1])) for caption, line, _ in EACH_CONTROL}
        self.assertEqual(tried - controls, set())
        self.assertEqual({one for one in controls - tried if one[1] not in TRIED_ELSEWHERE}, set())

    @for_each(*EACH_CONTROL)
    def test_ok_stores_what_was_changed_and_nothing_else(self, caption, line, changes):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, caption)
            q.do(line)
            self.ok(q)
            self.assertEqual([text for _, text, _ in q.boxes()],
                             [SAID[line]] if line in SAID else [])
        self.assert_fine(q)
        expected = self.changed(before, caption, changes)
        self.assertEqual(self.stored(), expected)
        with self.run_quillet() as q:
            q.do("wait")
        self.assert_fine(q)
        self.assertEqual(self.stored(), expected, "after another start")

    @for_each(*EACH_CONTROL)
    def test_cancel_asks_once_and_does_as_it_is_told(self, caption, line, changes):
        before = self.use_settings()
        for apply in (False, True):
            with self.run_quillet() as q:
                self.open_sheet(q, caption)
                q.do(line)
                self.cancel(q, apply)
                questions = [box for box in q.boxes() if box[1] == DISCARDS]
                self.assertEqual(questions, [
                    ("Quillet confirmation", DISCARDS, "yes" if apply else "no")])
            self.assert_fine(q)
            self.assertEqual(self.stored(), self.changed(before, caption, changes if apply else {}))

    @for_each(*PAGES)
    def test_a_page_that_nobody_changed_stores_nothing_and_asks_nothing(self, caption):
        before = self.use_settings()
        for end in (self.ok, self.cancel):
            with self.run_quillet() as q:
                self.open_sheet(q, caption)
                end(q)
                self.assertEqual([text for _, text, _ in q.boxes()],
                                 [NO_PHONE_BOOK] if caption == "Connection" else [])
            self.assert_fine(q)
            self.assertEqual(self.stored(), self.changed(before, caption, {}))

    def test_turning_all_pages_changes_nothing(self):
        before = self.use_settings()
        for end in (self.ok, self.cancel):
            with self.run_quillet() as q:
                self.open_sheet(q)
                for caption in PAGES + PAGES[::-1] + PAGES:
                    self.turn_to(q, caption)
                end(q)
                self.assertEqual([text for _, text, _ in q.boxes()], [NO_PHONE_BOOK])
            self.assert_fine(q)
            self.assertEqual(self.stored(), self.changed(before, PAGES[-1], {}))

    def test_changes_on_several_pages_are_taken_together(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Extensions")
            for caption, line, _ in EACH_CONTROL[::-1]:
                if line.startswith("press") or choose(SERVERS, SERVER_TWO) == line:
                    continue
                self.turn_to(q, caption)
                q.do(line)
            self.ok(q)
            self.assertEqual([text for _, text, _ in q.boxes()], [NO_STORE])
        self.assert_fine(q)
        changes = {}
        for _, _, one in EACH_CONTROL:
            changes.update(one)
        for name in ("selectedserver", "transport"):
            del changes[name]
        changes.update(sidetabs=1, autodelete=4 + 8)
        self.assertEqual(self.stored(), self.changed(before, "Server", changes))

    def test_what_each_page_shows(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            self.assertEqual(self.shown(q, SERVERS, PORT, USER, PASSWORD),
                             [SERVER_ONE, "1190", "ann", "one"])
            self.assertEqual(self.page_control(q, SERVERS)["choices"], [SERVER_ONE, SERVER_TWO])
            self.turn_to(q, "Reply information")
            self.assertEqual(self.shown(q, RETURN_ADDRESS, FULL_NAME, QUOTE_TEXT, ATTRIBUTION),
                             ["me@x.example", "Me", "| ", "$a in $i:"])
            self.assertFalse(self.page_control(q, FULL_POST_VIEW)["checked"])
            self.turn_to(q, "Signature")
            self.assertEqual(self.shown(q, SIGNATURE), ["-- \r\nMe\r\n"])
            self.turn_to(q, "Storage options")
            self.assertEqual(self.shown(q, MAX_STORE_PERCENT, MAX_ARTICLE_SIZE, MAX_ARTICLES),
                             ["97%", "9", "60"])
            self.assertRegex(self.shown(q, STORE_FULL)[0], r"^Store is currently \d+% full\.$")
            slider = self.page_control(q, MAX_STORE)
            self.assertEqual((slider["lower"], slider["upper"], slider["position"]), (0, 100, 97))
            q.do("slide %d 12" % MAX_STORE)
            self.assertEqual(self.shown(q, MAX_STORE_PERCENT), ["12%"])
            self.turn_to(q, "Compression")
            self.assertRegex(self.shown(q, COMPRESSION_LIBRARY)[0],
                             r"^bzip2 dll information: 1\.\d")
            self.turn_to(q, "Group view options")
            self.assertEqual(self.page_control(q, GROUP_FONT)["choices"], FONTS)
            self.assertEqual(self.page_control(q, GROUP_SIZE)["choices"], SIZES)
            self.assertEqual(self.shown(q, GROUP_FONT, GROUP_SIZE), ["DejaVu Sans", "large"])
            self.turn_to(q, "Thread view options")
            self.assertEqual(self.shown(q, THREAD_FONT, THREAD_SIZE),
                             ["Not Installed", "very large"])
            self.assertEqual(sorted(self.page_control(q, THREAD_FONT)["choices"]),
                             sorted(FONTS + ["Not Installed"]))
            self.turn_to(q, "Article view options")
            for control in (ARTICLE_FONT, HEADER_FONT):
                self.assertEqual(self.page_control(q, control)["choices"], ["<default>"] + FONTS)
            self.assertEqual(self.shown(q, ARTICLE_FONT, ARTICLE_SIZE, HEADER_FONT, HEADER_SIZE),
                             ["Liberation Serif", "medium", "Courier New", "very small"])
            self.turn_to(q, "Scheduling")
            time = self.page_control(q, TIME)
            self.assertEqual((time["hour"], time["minute"], time["second"]), (5, 4, 3))
            self.assertEqual([self.page_control(q, control)["checked"] for control in (
                AUTOMATIC, DELETE_READ, DELETE_ALL, DELETE_BEFORE, DELETE_ON_QUIT)],
                [False, True, False, False, False])
            self.turn_to(q, "Database Management")
            self.assertEqual([row["texts"][0] for row in
                              self.page_control(q, DATABASES_LIST)["rows"]],
                             ["Articles", "Newsgroup index", "Pending posts"])
            self.assertEqual(self.page_control(q, STORE)["choices"][0], "Internal")
            self.turn_to(q, "Advanced: Debugging")
            self.assertRegex(self.shown(q, LIBRARY_VERSION)[0],
                             r"^Loaded GDBMce\.dll version: 'GDBM version 1\..*'$")
            self.cancel(q, False)
        self.assert_fine(q)


class Sheet(Settings):
    def test_it_has_all_pages_in_their_order(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q)
            sheet = q.ask("dialog")
            self.assertEqual((sheet["caption"], tuple(sheet["pages"]), sheet["page"]),
                             ("Quillet CE Preferences", PAGES, 0))
            self.cancel(q)
        self.assert_fine(q)

    @for_each(*PAGES)
    def test_the_page_shown_last_comes_again_however_the_sheet_ended(self, caption):
        self.use_settings()
        page = PAGES.index(caption)
        with self.run_quillet() as q:
            self.open_sheet(q, caption)
            self.cancel(q)
            self.assertEqual(q.registry("prefspage"), 0, "stored at the end only")
            self.open_sheet(q)
            self.assertEqual(self.shown_page(q), page)
            self.ok(q)
            self.assertEqual(q.registry("prefspage"), page)
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.open_sheet(q)
            self.assertEqual(self.shown_page(q), page)
            self.cancel(q)
        self.assertEqual([box[1] for box in q.boxes() if box[1] != NO_PHONE_BOOK], [])

    def test_a_change_that_is_taken_back_is_no_question(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Reply information")
            q.do(set_text(FULL_NAME, "You"))
            q.do(set_text(FULL_NAME, "Me"))
            self.cancel(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Reply information", {}))

    def test_a_change_on_a_page_that_was_left_is_asked_for(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Reply information")
            q.do(set_text(FULL_NAME, "You"))
            self.turn_to(q, "Signature")
            self.cancel(q, True)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Signature", {"fullname": "You"}))

    def test_without_confirmations_cancel_discards(self):
        self.use_settings()
        with self.run_quillet(hold=True) as q:
            q.set_dword("skipverifications", 1)
            q.start()
            self.open_sheet(q, "Reply information")
            q.do(set_text(FULL_NAME, "You"))
            q.press(CANCEL)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored()["fullname"], ("string", "Me"))

    def test_boxes_ticked_before_it_opens_are_no_change_and_are_not_lost(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            q.do("tick rec.gardens")
            self.open_sheet(q, "Reply information")
            q.do(set_text(FULL_NAME, "You"))
            self.ok(q)
            self.assertEqual(q.groups(), [("comp.test", "checked", "0/0"),
                                          ("rec.gardens", "checked", "0/0")])
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Reply information", {
            "fullname": "You", "checked": [1, 1]}))

    def test_end_of_the_session_leaves_the_settings_as_they_were(self):
        before = self.use_settings()
        q = self.run_quillet()
        self.open_sheet(q, "Reply information")
        q.do(set_text(FULL_NAME, "You"))
        q.terminate()
        self.assertEqual(q.await_end(), 0)
        self.assertEqual(self.stored()["fullname"], before["fullname"])


class Reset(Settings):
    # What the factory settings are, besides the texts that the program words itself.
    FACTORY = {
        "numservers": 0, "selectedserver": 0, "fullname": "My Name",
        "attribution": "In message $i, $a wrote:", "extraheaders": "", "quotestring": "> ",
        "font": "Arial", "groupfont": "Tahoma", "threadfont": "Tahoma",
        "articleheaderfont": "Tahoma", "fontsize": 2, "groupfontsize": 3, "threadfontsize": 3,
        "articleheaderfontsize": 3, "maxstore": 98, "maxarticles": 50, "maxarticlesize": 4,
        "alwaystransport": 0, "downloadhr": 6, "downloadmn": 0, "downloadsc": 0, "autodelete": 0,
        "prefspage": 0,
        "signature": "Posted with Quillet (for Windows CE) from Brindle Software, Inc.\r\n"
                     "All the news that fits in your pocket: http://www.brindle.example/\r\n",
        "returnmailaddress": "yourname@brindle.example",
    }
    NO_KILLFILE = {"killfilecount": 0, "killfilesize": 4, "killfiletexts": []}

    def reset(self, killfile):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Advanced")
            q.expect(DEFAULTS, "yes")
            q.expect(KILLFILE_TOO, "yes" if killfile else "no")
            q.press(RESET)
            self.ok(q)
            self.assertEqual([box[1] for box in q.boxes()], [DEFAULTS, KILLFILE_TOO])
        self.assert_fine(q)
        expected = self.changed(before, "Advanced", self.FACTORY)
        if killfile:
            for name, value in self.NO_KILLFILE.items():
                expected[name] = ("multi" if value == [] else "dword", value)
        return expected, self.stored()

    def test_all_but_groups_killfile_and_recipients(self):
        expected, stored = self.reset(False)
        self.assertEqual(stored, expected)

    def test_the_killfile_too(self):
        expected, stored = self.reset(True)
        self.assertEqual(stored, expected)

    def test_no_to_the_first_question_resets_nothing(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Advanced")
            q.expect(DEFAULTS, "no")
            q.press(RESET)
            self.ok(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Advanced", {}))

    def test_cancel_forgets_it_without_a_question(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Advanced")
            q.expect(DEFAULTS, "yes")
            q.expect(KILLFILE_TOO, "yes")
            q.press(RESET)
            self.cancel(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Advanced", {}))


class ServerPage(Settings):
    def add(self, q, name):
        q.do("press %d" % ADD_SERVER)
        q.wait_dialog(ADD_SERVER_DIALOG)
        q.set(SERVER_NAME, name)
        q.press(OK)

    def test_a_new_server_has_defaults_and_its_place_in_every_list(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            self.add(q, "  news.three.example\t")
            self.assertEqual(self.shown(q, SERVERS, PORT, USER, PASSWORD),
                             ["news.three.example", "119", "", ""])
            q.do(set_text(PORT, "8119"))
            self.ok(q)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Server", {
            "numservers": 3, "servers": [SERVER_ONE, SERVER_TWO, "news.three.example"],
            "port": [1190, 1191, 8119], "authusers": ["ann", "bob", "\ue000"],
            "authpasses": ["one", "two", "\ue000"], "useauths": [0, 0, 0], "usentlms": [0, 0, 0],
            "selectedserver": 2, "lastdownloaded": [7, 8, 9, 10, 0, 0],
            "lastonserver": [17, 18, 19, 20, 0, 0]}))

    def test_what_is_no_name_of_a_server_is_refused_and_the_dialog_stays(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            q.do("press %d" % ADD_SERVER)
            q.wait_dialog(ADD_SERVER_DIALOG)
            blanks = "The name of a news server cannot have blanks or control characters in it."
            for name, complaint in (
                    ("", "Please enter the name of the news server."),
                    (" \t ", "Please enter the name of the news server."),
                    ("a b", blanks), ("a\u00a0b", blanks), ("a\tb", blanks), ("a\x01b", blanks),
                    ("a\x7fb", blanks), ("a\u0085b", blanks), ("a\0b", blanks),
                    ("a\r\nb", blanks), ("\ue000", blanks), ("a\ue000", blanks),
                    ("x" * 254, "The name of a news server cannot be longer than 253 characters."),
                    ("x" * 100000,
                     "The name of a news server cannot be longer than 253 characters."),
                    (SERVER_TWO, 'The news server "%s" is in the list already.' % SERVER_TWO),
                    (" TWO.Example.ORG ",
                     'The news server "TWO.Example.ORG" is in the list already.')):
                seen = len(q.boxes())
                q.set(SERVER_NAME, name)
                q.press(OK)
                self.assertEqual(q.boxes()[seen:], [("Quillet", complaint, "ok")], repr(name[:80]))
                self.assertEqual(q.dialog()["form"], ADD_SERVER_DIALOG)
            q.press(CANCEL)
            self.cancel(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Server", {}))

    def test_names_of_all_lengths_up_to_the_longest_are_taken(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            for name in ("x", "y" * 253, "news.ex\u00e4mple.org", "[2001:db8::1]"):
                self.add(q, name)
            self.ok(q)
            self.assert_silent(q)
        self.assertEqual(self.stored()["servers"][1], [
            SERVER_ONE, SERVER_TWO, "x", "y" * 253, "news.ex\u00e4mple.org", "[2001:db8::1]"])

    def test_deleting_takes_the_server_out_of_every_list(self):
        before = self.use_settings()
        question = ('Really delete the news server "%s"? Quillet CE forgets how far it has '
                    'downloaded the groups from it.' % SERVER_ONE)
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            q.expect(question, "no")
            q.press(DELETE_SERVER)
            self.assertEqual(self.page_control(q, SERVERS)["choices"], [SERVER_ONE, SERVER_TWO])
            q.expect(question, "yes")
            q.press(DELETE_SERVER)
            self.assertEqual(self.shown(q, SERVERS, PORT, USER), [SERVER_TWO, "1191", "bob"])
            self.ok(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Server", {
            "numservers": 1, "servers": [SERVER_TWO], "port": [1191], "authusers": ["bob"],
            "authpasses": ["two"], "useauths": [0], "usentlms": [0], "selectedserver": 0,
            "lastdownloaded": [9, 10], "lastonserver": [19, 20]}))

    def test_a_server_without_progress_is_deleted_without_a_question(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            self.add(q, "three")
            q.press(DELETE_SERVER)
            self.assertEqual(self.shown(q, SERVERS), [SERVER_TWO])
            self.ok(q)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Server", {"selectedserver": 1}))

    def test_without_servers_the_page_says_so_by_what_can_be_used(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            for server in (SERVER_ONE, SERVER_TWO):
                q.expect('Really delete the news server "%s"?' % server, "yes")
                q.press(DELETE_SERVER)
            for control in (SERVERS, DELETE_SERVER, PORT, EXTRA_LOGIN, USER, PASSWORD,
                            ENCRYPTED_LOGIN):
                self.assertIs(self.page_control(q, control).get("enabled"), False, control)
            for control in (ADD_SERVER, ONE_SERVER):
                self.assertIsNone(self.page_control(q, control).get("enabled"), control)
            self.ok(q)
            self.assertEqual(q.registry("numservers"), 0)
            self.open_sheet(q, "Server")
            self.add(q, "new.example")
            self.ok(q)
        self.assert_fine(q)
        stored = self.stored()
        self.assertEqual([stored[name][1] for name in ("numservers", "servers", "port",
                                                       "lastdownloaded")],
                         [1, ["new.example"], [119], [0, 0]])

    def test_what_was_typed_for_a_server_is_kept_while_another_is_shown(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            q.do(set_text(PORT, "81"))
            q.do(set_text(USER, "first"))
            q.do("tick %d" % EXTRA_LOGIN)
            q.choose(SERVERS, SERVER_TWO)
            self.assertEqual(self.shown(q, PORT, USER, PASSWORD), ["1191", "bob", "two"])
            self.assertFalse(self.page_control(q, EXTRA_LOGIN)["checked"])
            q.do(set_text(PASSWORD, "second"))
            q.do("tick %d" % ENCRYPTED_LOGIN)
            q.choose(SERVERS, SERVER_ONE)
            self.assertEqual(self.shown(q, PORT, USER, PASSWORD), ["81", "first", "one"])
            self.assertTrue(self.page_control(q, EXTRA_LOGIN)["checked"])
            q.choose(SERVERS, SERVER_TWO)
            self.turn_to(q, "Signature")
            self.turn_to(q, "Server")
            self.assertEqual(self.page_control(q, PASSWORD)["text"], "second")
            self.ok(q)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Server", {
            "port": [81, 1191], "authusers": ["first", "bob"], "authpasses": ["one", "second"],
            "useauths": [1, 0], "usentlms": [0, 1], "selectedserver": 1}))

    def test_a_wrong_port_keeps_its_server_in_front(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Server")
            q.do(set_text(PORT, "0"))
            q.choose(SERVERS, SERVER_TWO)
            self.assertEqual(q.boxes(), [
                ("Quillet", "The port must be a number from 1 to 65535.", "ok")])
            self.assertEqual(self.shown(q, SERVERS, PORT),
                             [SERVER_ONE, "0"])
            q.do(set_text(PORT, "65535"))
            q.choose(SERVERS, SERVER_TWO)
            self.ok(q)
        self.assert_fine(q)
        self.assertEqual(self.stored()["port"], ("binary", [65535, 1191]))

    def test_connecting_without_a_server_opens_its_page(self):
        with self.run_quillet(hold=True) as q:
            q.configure(groups=["comp.test"], prefspage=5)
            q.expect(WELCOME, "cancel")
            q.start()
            q.do("wait")
            q.do("command %d" % CONNECT)
            q.do("wait-dialog")
            self.assertEqual(q.boxes()[-1], (
                "Quillet CE not configured",
                "In order to connect, you need to supply a news server name.", "ok"))
            self.assertEqual(self.shown_page(q), 0)
            self.cancel(q)
        self.assert_fine(q)

    def test_connecting_without_a_method_opens_its_page(self):
        self.use_settings()
        with self.run_quillet(hold=True) as q:
            q.set_string("conxmethod", "")
            q.start()
            q.do("command %d" % CONNECT)
            q.do("wait-dialog")
            self.assertIn(("Quillet CE not configured",
                           "In order to connect, you need to select a connection method.", "ok"),
                          q.boxes())
            self.assertEqual(self.shown_page(q), 1)
            self.assertEqual(self.shown(q, METHOD), ["<none>"])
            self.ok(q)
        self.assert_fine(q)
        self.assertEqual(self.stored()["conxmethod"], ("string", "<none>"))


class ConnectionPage(Settings):
    """With a network manager that has two connections to dial."""

    DIALS = ("work", "vpn"), ("Mobil \u00e4", "gsm")

    def setUp(self):
        super().setUp()
        name = "org.freedesktop.NetworkManager"
        self.bus = PrivateBus(self)
        self.bus.serve(name, "-m", "dbusmock", "--template", "networkmanager")
        settings = self.bus.interface(name, "/org/freedesktop/NetworkManager/Settings",
                                      name + ".Settings")
        for entry, kind in self.DIALS + (("cable", "802-3-ethernet"),):
            settings.AddConnection({
                "ipv4": {"method": "auto"},
                "connection": {"id": entry, "type": kind, "timestamp": self.bus.dbus.UInt64(7),
                               "autoconnect": False}})

    def test_what_can_be_dialled_is_offered_and_stored(self):
        before = self.use_settings()
        with self.run_quillet(env=self.bus.environment) as q:
            self.open_sheet(q, "Connection")
            self.assertEqual(self.page_control(q, METHOD)["choices"],
                             ["Mobil \u00e4", "work", "<none>"])
            self.assertEqual(self.shown(q, METHOD), ["<none>"])
            q.choose(METHOD, "work")
            self.ok(q)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Connection", {"conxmethod": "work"}))
        with self.run_quillet() as q:
            self.open_sheet(q)
            self.assertEqual(self.shown_page(q), 1)
            self.assertEqual(self.page_control(q, METHOD)["choices"], ["work", "<none>"],
                             "kept though nobody knows it")
            self.assertEqual([box[1] for box in q.boxes()], [NO_PHONE_BOOK])
            self.cancel(q)
        self.assert_fine(q)

    def test_quick_setup_offers_them_too(self):
        with self.run_quillet(hold=True, env=self.bus.environment) as q:
            q.expect(WELCOME, "ok")
            q.start()
            q.wait_dialog(SETUP_1)
            for control, text in ((SETUP_SERVER, "s"), (SETUP_NAME, "A"), (SETUP_ADDRESS, "a@x")):
                q.set(control, text)
            q.press(OK)
            q.wait_dialog(SETUP_2)
            self.assertEqual(q.control(SETUP_METHOD)["choices"],
                             ["Mobil \u00e4", "work", "<none>"])
            q.choose(SETUP_METHOD, "Mobil \u00e4")
            q.press(SETUP_BACK)
            q.wait_dialog(SETUP_1)
            q.press(OK)
            q.wait_dialog(SETUP_2)
            state = q.control(SETUP_METHOD)
            self.assertEqual(state["choices"][state["choice"]], "Mobil \u00e4")
            q.press(OK)
        self.assert_fine(q)
        self.assertEqual(self.stored()["conxmethod"], ("string", "Mobil \u00e4"))


class KillfilePage(Settings):
    BEFORE = [("spammer", "auth.", "kill"), ("plants", "subj.", "req."), ("money", "subj.", "kill")]

    def rows(self, q):
        return [tuple(row["texts"]) for row in self.page_control(q, KILLFILE)["rows"]]

    def entries(self):
        """(group, text, kill, author) as they are stored."""
        stored = self.stored()
        return list(zip(*(stored["killfile" + name][1]
                          for name in ("groups", "texts", "kills", "authors"))))

    def do(self, row, control):
        """Selects the row, presses the button; returns the rows, and the entries after OK."""
        self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Killfile")
            self.assertEqual(self.rows(q), self.BEFORE)
            q.choose(KILLFILE, row)
            q.do("%s %d" % ("press" if control >= DELETE_ENTRY else "tick", control))
            q.do("wait")
            rows = self.rows(q)
            self.ok(q)
            self.boxes = q.boxes()
        self.assert_fine(q)
        return rows, self.entries()

    def test_kind(self):
        rows, entries = self.do("money", REQUIRE)
        self.assertEqual(rows, self.BEFORE[:2] + [("money", "subj.", "req.")])
        self.assertEqual(entries, [(1, "spammer", 1, 1), (2, "plants", 0, 0), (1, "money", 0, 0)])
        rows, entries = self.do("plants", KILL)
        self.assertEqual(rows[1], ("plants", "subj.", "kill"))
        self.assertEqual(entries, [(1, "spammer", 1, 1), (2, "plants", 1, 0), (1, "money", 1, 0)])

    def test_type(self):
        rows, entries = self.do("money", KILL_AUTHOR)
        self.assertEqual(rows, self.BEFORE[:2] + [("money", "auth.", "kill")])
        self.assertEqual(entries, [(1, "spammer", 1, 1), (2, "plants", 0, 0), (1, "money", 1, 1)])
        rows, entries = self.do("spammer", KILL_SUBJECT)
        self.assertEqual(sorted(entries),
                         [(1, "money", 1, 0), (1, "spammer", 1, 0), (2, "plants", 0, 0)])

    def test_delete(self):
        rows, entries = self.do("plants", DELETE_ENTRY)
        self.assertEqual(rows, [self.BEFORE[0], self.BEFORE[2]])
        self.assertEqual(entries, [(1, "spammer", 1, 1), (1, "money", 1, 0)])

    def test_propagate_and_delete_from_all(self):
        rows, entries = self.do("money", PROPAGATE)
        self.assertEqual(rows, self.BEFORE + [("money", "subj.", "kill")])
        self.assertEqual(entries, [(1, "spammer", 1, 1), (2, "plants", 0, 0), (1, "money", 1, 0),
                                   (2, "money", 1, 0)])
        with self.run_quillet() as q:
            self.open_sheet(q, "Killfile")
            q.choose(KILLFILE, "money")
            q.press(DELETE_FROM_ALL)
            self.assertEqual(self.rows(q), self.BEFORE[:2])
            self.ok(q)
        self.assertEqual(self.entries(), [(1, "spammer", 1, 1), (2, "plants", 0, 0)])

    def test_cancel_leaves_the_killfile_as_it_was(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Killfile")
            q.press(DELETE_ENTRY)
            self.cancel(q, False)
        self.assert_fine(q)
        self.assertEqual(self.entries(),
                         [(1, "spammer", 1, 1), (2, "plants", 0, 0), (1, "money", 1, 0)])

    def test_the_opposite_of_an_entry_is_a_duplicate(self):
        self.use_settings()
        with self.run_quillet(hold=True) as q:
            q.set_dword("killfilecount", 2)
            q.set_strings("killfiletexts", ["a", "a"])
            q.set_numbers("killfilegroups", [1, 1])
            q.set_numbers("killfilekills", [1, 0])
            q.set_numbers("killfileauthors", [0, 0])
            q.start()
            self.open_sheet(q, "Killfile")
            q.do("tick %d" % REQUIRE)
            q.do("wait")
            self.assertEqual(q.boxes(), [
                ("Duplicate Entry", "An entry with that combination already exists", "ok")])
            self.assertTrue(self.page_control(q, KILL)["checked"])
            self.cancel(q)
        self.assert_fine(q)

    def test_an_empty_killfile_leaves_nothing_to_press(self):
        self.prepare(servers=[(SERVER_ONE, 119)], groups=["comp.test"])
        with self.run_quillet() as q:
            self.open_sheet(q, "Killfile")
            self.assertEqual(self.rows(q), [])
            for control in range(KILL_SUBJECT, PROPAGATE + 1):
                self.assertIs(self.page_control(q, control).get("enabled"), False, control)
            self.cancel(q)
        self.assert_fine(q)


class BadInput(Settings):
    SIZE = "The maximum article size must be a number from 1 to 4194303."
    COUNT = "The maximum article count must be a number from 1 to 4294967295."
    PORT_TEXT = "The port must be a number from 1 to 65535."

    @for_each(*((caption, control, complaint, text)
                for caption, control, complaint in (
                    ("Server", PORT, PORT_TEXT),
                    ("Storage options", MAX_ARTICLE_SIZE, SIZE),
                    ("Storage options", MAX_ARTICLES, COUNT))
                for text in ("", " ", "abc", "5x", "-1", "+5", "1.5", "1e3", "1000000000000",
                             "99999999999999999999999999", "\u0663", "5\r\n6", "5\0",
                             "9" * 100000)))
    def test_what_is_no_number_is_refused_and_the_page_stays(self, caption, control, complaint,
                                                             text):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, caption)
            q.do(set_text(control, text))
            q.press(OK)
            self.assertFalse(self.is_closed(q))
            self.turn_to(q, "Signature")
            self.assertEqual(self.shown_page(q), PAGES.index(caption))
            self.assertEqual(q.boxes(), [("Quillet", complaint, "ok")] * 2)
            self.cancel(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, caption, {}))

    @for_each((MAX_ARTICLE_SIZE, "maxarticlesize", "0", 1),
              (MAX_ARTICLE_SIZE, "maxarticlesize", "4194303", 4194303),
              (MAX_ARTICLES, "maxarticles", "0", 1),
              (MAX_ARTICLES, "maxarticles", "000", 1),
              (MAX_ARTICLES, "maxarticles", " 7 ", 7),
              (MAX_ARTICLES, "maxarticles", "0070", 70))
    def test_nought_counts_as_one(self, control, name, text, number):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Storage options")
            q.do(set_text(control, text))
            self.ok(q)
            self.assert_silent(q)
        self.assertEqual(self.stored(), self.changed(before, "Storage options", {name: number}))

    # One line: no line ends. All: nothing behind a NUL, no mark of an empty entry in front.
    @for_each(("a\r\nb", "a  b"), ("a\0b", "a"), ("\ue000a", "a"), ("\ue000", ""),
              ("a\ue000", "a\ue000"), ("x" * 1023, "x" * 1023), ("x\0" + "y" * 100000, "x"),
              ("\U0001f600" * 511 + "x", "\U0001f600" * 511 + "x"), ("\ud800", "\ud800"), ("", ""))
    def test_texts_are_stored_as_they_can_be_read_back(self, typed, kept):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, "Reply information")
            q.do(set_text(FULL_NAME, typed))
            self.ok(q)
            self.assert_silent(q)
        self.assert_fine(q)
        expected = self.changed(before, "Reply information", {"fullname": kept})
        self.assertEqual(self.stored(), expected)
        with self.run_quillet() as q:
            self.open_sheet(q, "Reply information")
            self.assertEqual(self.page_control(q, FULL_NAME)["text"], kept)
            self.cancel(q)
        self.assertEqual(self.stored(), expected)

    @for_each(*((caption, control, length) for length in (1024, 100000) for caption, control in (
        ("Server", USER), ("Server", PASSWORD), ("Reply information", RETURN_ADDRESS),
        ("Reply information", FULL_NAME), ("Reply information", QUOTE_TEXT),
        ("Reply information", ATTRIBUTION), ("Advanced:headers", EXTRA_HEADERS))))
    def test_what_would_not_be_read_back_is_refused_and_the_page_stays(self, caption, control,
                                                                       length):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.open_sheet(q, caption)
            q.do(set_text(control, "x" * length))
            q.press(OK)
            self.assertFalse(self.is_closed(q))
            self.assertEqual(q.boxes(), [(
                "Quillet", "This text has %d characters, but only 1023 can be kept. Please shorten "
                "it." % length, "ok")])
            self.assertEqual(self.page_control(q, control)["text"], "x" * length)
            self.cancel(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, caption, {}))

    @for_each((USER, "authusers", ["", "bob"]), (PASSWORD, "authpasses", ["", "two"]))
    def test_texts_of_servers_keep_the_lists_in_step(self, control, name, others):
        before = self.use_settings()
        for typed, kept in (("\ue000x", "x"), ("a\0b", "a"), ("a\r\nb", "a  b"), ("", ""),
                            ("y" * 1023, "y" * 1023)):
            with self.run_quillet() as q:
                self.open_sheet(q, "Server")
                q.do(set_text(control, typed))
                self.ok(q)
                self.assert_silent(q)
            self.assert_fine(q)
            self.assertEqual(self.stored(), self.changed(before, "Server", {
                name: [empty(kept), others[1]]}))

    def test_a_long_signature_is_kept_and_warned_of(self):
        before = self.use_settings()
        warning = ("Warning",
                   "Your signature contains more than the recommended four lines of text.", "ok")
        for text, warnings in (("1\r\n2\r\n3\r\n4", []), ("1\r\n2\r\n3\r\n4\r\n", [warning])):
            with self.run_quillet() as q:
                self.open_sheet(q, "Signature")
                q.do(set_text(SIGNATURE, text))
                self.ok(q)
                self.assertEqual(q.boxes(), warnings)
            self.assert_fine(q)
            self.assertEqual(self.stored(), self.changed(before, "Signature", {"signature": text}))

    def test_a_signature_is_taken_up_to_2047_characters(self):
        before = self.use_settings()
        note = 1195
        with self.run_quillet() as q:
            self.open_sheet(q, "Signature")
            self.assertFalse(self.page_control(q, note)["visible"])
            q.do(set_text(SIGNATURE, "z" * 100000))
            q.do("wait")
            self.assertTrue(self.page_control(q, note)["visible"])
            self.ok(q)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Signature", {
            "signature": "z" * 2047}))

    def test_a_registry_of_a_newer_version_can_be_edited_and_reset(self):
        self.use_settings()
        newer = "The preferences on this machine are newer than the version of Quillet CE"
        with self.run_quillet(hold=True) as q:
            q.set_dword("version", 3)
            q.set_string("futuresetting", "kept")
            q.start()
            self.open_sheet(q, "Reply information")
            q.do(set_text(FULL_NAME, "You"))
            self.ok(q)
            self.assertEqual([box[1][:len(newer)] for box in q.boxes()], [newer])
        self.assert_fine(q)
        stored = self.stored()
        self.assertEqual([stored[name][1] for name in ("version", "fullname", "futuresetting")],
                         [2, "You", "kept"])


if __name__ == "__main__":
    main()
