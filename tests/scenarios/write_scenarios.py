# SPDX-License-Identifier: GPL-3.0-or-later
"""Writing articles: both editors, what is checked, the draft, the queue, and life beside an editor."""

import re
import shutil
import signal
import time

from reading import *

NEW_ARTICLE, NEW_FROM_ARTICLE, REPLY, FORWARD, VIEW_QUEUE = 40030, 40055, 40023, 40033, 40029
FULL, SIMPLE, PENDING, READDRESS, RECIPIENTS = 127, 128, 129, 132, 131
OK, CANCEL, TEXT, ROUTE, FIELD, VALUE, PICK, POSTS, STATUS = (
    1, 2, 1014, 1048, 1063, 1065, 1066, 1067, 1068)
SUBJECT_FIELD, GROUPS_FIELD, EMAIL_FIELD = "Subject:", "Newsgroups:", "Email to:"

SEPARATOR = "--- Begin body here ---\r\n"
DISCARD = "Discard this article?"
OFFER = ("An article that you were writing was not finished. Do you want to continue writing it?")
UNFINISHED = "The article that you are writing is not finished."
WRITER = {"fullname": "Me", "returnmailaddress": "me@x.example", "signature": "-- \r\nMe\r\n"}
FROM = 'From: "Me" <me@x.example>\r\n'


class Writing(Reading):
    def full(self, **keywords):
        return self.open(values=dict(WRITER, simplepost=0), **keywords)

    def simple(self, **keywords):
        return self.open(values=dict(WRITER, simplepost=1), **keywords)

    def close_editor(self, q):
        q.expect(DISCARD, "yes", "optional")
        q.press(CANCEL)

    def await_draft(self, q, text):
        """The draft with that in it is on the disk."""
        end = time.monotonic() + 20
        while True:
            draft = q.draft()
            if draft and text in draft["text"]:
                return draft
            self.assertLess(time.monotonic(), end, draft)
            time.sleep(0.1)


class FullEditor(Writing):
    def test_a_new_article_goes_to_all_ticked_groups(self):
        with self.download(groups={"a.one": {}, "b.two": {}, "c.three": {}},
                           values=dict(WRITER, simplepost=0)) as q:
            q.do("untick c.three")
            q.command(NEW_ARTICLE)
            self.assertEqual(q.text_of(TEXT), FROM + "Subject: \r\nNewsgroups: a.one,b.two\r\n\r\n"
                             + SEPARATOR + "-- \r\nMe\r\n\r\n")
            self.assertFalse(q.control(ROUTE)["visible"], "only a reply has other ways")
            q.press(CANCEL)
            self.assertEqual(q.of("dialog-closed")[-1]["form"], FULL)
            self.assert_silent(q)
            self.assertEqual(q.queue(), [])
        self.assert_fine(q)

    def test_a_reply_quotes_and_keeps_its_references(self):
        with self.full() as q:
            q.open_node("<carl@x>")
            q.command(REPLY)
            self.assertEqual(q.text_of(TEXT), FROM + "Subject: Re: Hello\r\nNewsgroups: comp.test\r\n"
                             + SEPARATOR + "In message <carl@x>, Carl <carl@x.example> wrote:\r\n"
                             "> Text of carl.\r\n-- \r\nMe\r\n")
            q.type(TEXT, "More.\r\n", "end")
            q.press(OK)
            posts = q.queue()
            self.assertEqual(len(posts), 1)
            self.assertEqual(posts[0]["headers"], FROM + "Subject: Re: Hello\r\nNewsgroups: comp.test"
                             "\r\nReferences: <ann@x> <bob@x> <carl@x>\r\n")
            self.assertEqual(posts[0]["newsgroups"], "comp.test")
            self.assertEqual(posts[0]["subject"], "Re: Hello")
            self.assertTrue(posts[0]["body"].endswith("-- \r\nMe\r\nMore.\r\n"))
            self.assertIsNone(q.draft())
            self.assert_silent(q)
        self.assert_fine(q)

    def test_ways_of_a_reply_are_a_menu_with_a_check_mark(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            entries = q.press_for_menu(ROUTE, "")
            self.assertEqual(entries, [
                {"command": 40034, "text": "Reply via &post", "checked": True},
                {"command": 40035, "text": "Reply via &email"},
                {"command": 40036, "text": "Reply via &both"},
                {"separator": True},
                {"command": 40038, "text": "&Forward via email"}])
            q.do("expect-menu " + quillet_script.quoted("Reply via &both"))
            q.do("press %d" % ROUTE)
            q.wait_dialog(READDRESS)
            q.set(1073, "ann@x.example")
            q.press(OK)
            entries = q.press_for_menu(ROUTE, "")
            self.assertEqual([e["text"] for e in entries if e.get("checked")], ["Reply via &both"])
            self.assertEqual(entries[-2:], [
                {"separator": True}, {"command": 40037, "text": "&Readdress email"}])
            self.close_editor(q)
        self.assert_fine(q)

    def test_a_forward_is_addressed_to_the_author(self):
        with self.full() as q:
            q.open_node("<dora@x>")
            q.command(FORWARD)
            entries = q.press_for_menu(ROUTE, "&Readdress email")
            self.assertEqual([e["text"] for e in entries if e.get("checked")],
                             ["&Forward via email"])
            self.assertEqual(q.text_of(1073), "dora@x.example")
            q.press(CANCEL)
            self.close_editor(q)
            self.assertEqual(q.queue(), [])
        self.assert_fine(q)

    def test_what_is_wrong_is_said_and_everything_stays(self):
        head = FROM + "Subject: S\r\nNewsgroups: a.b\r\n"
        with self.full() as q:
            q.do("tab group")
            q.command(NEW_ARTICLE)
            for text, complaint in (
                    ("X Y: z\r\n" + SEPARATOR + "b",
                     "One or more headers contain spaces before a colon."),
                    (": z\r\n" + SEPARATOR + "b",
                     "One or more header lines begin with colons, which is not allowed."),
                    ("Subject:z\r\n" + SEPARATOR + "b",
                     "One or more header lines do not have a space after their first colon."),
                    ("Subject\r\n" + SEPARATOR + "b",
                     "One or more header lines do not contain colons."),
                    (SEPARATOR + "b", "There are no headers."),
                    (head + "b: c", "The '--- Begin body here ---' line is missing."),
                    (FROM + "Subject: S\r\n" + SEPARATOR + "b",
                     "The 'Newsgroups:' header is missing or invalid."),
                    (FROM + "Subject: S\r\nNewsgroups: a.b, c.d\r\n" + SEPARATOR + "b",
                     "The newsgroups line is invalid. Newsgroups must be separated by commas; the "
                     "only space that is allowed should follow the colon."),
                    (head + SEPARATOR, "The article has no body."),
                    (FROM + "Subject: \r\nNewsgroups: a.b\r\n" + SEPARATOR + "b",
                     "The article has no subject.")):
                with self.subTest(complaint):
                    q.set(TEXT, text)
                    q.press(OK)
                    self.assertEqual(q.boxes()[-1], ("Quillet", complaint, "ok"))
                    self.assertEqual(q.text_of(TEXT), text)
            self.assertEqual(q.queue(), [])
            q.set(TEXT, head + SEPARATOR + "b")
            q.press(OK)
            self.assertEqual([post["headers"] for post in q.queue()], [head])
            self.assertEqual(q.of("dialog-closed")[-1]["form"], FULL)
        self.assert_fine(q)

    def test_control_enter_is_ok_and_enter_is_not(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.key("Return")
            self.assertEqual(q.queue(), [])
            q.key("Ctrl+Return")
            self.assertEqual(len(q.queue()), 1)
        self.assert_fine(q)

    def test_cancel_asks_only_when_something_would_be_lost(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.press(CANCEL)
            self.assert_silent(q)
            q.command(REPLY)
            q.type(TEXT, "x")
            q.expect(DISCARD, "no")
            q.key("Escape")
            self.assertEqual(q.text_of(TEXT)[0], "x")
            q.expect(DISCARD, "yes")
            q.do("close-dialog")
            q.do("wait")
            self.assertEqual(q.of("dialog-closed")[-1]["form"], FULL)
            self.assertIsNone(q.draft())
        self.assert_fine(q)


class SimpleEditor(Writing):
    def field(self, q):
        control = q.control(FIELD)
        return control["choices"][control["choice"]]

    def test_fields_keep_what_was_typed(self):
        with self.simple() as q:
            q.do("tab group")
            q.command(NEW_ARTICLE)
            dialog = q.dialog()
            self.assertEqual((dialog["form"], dialog["modal"]), (SIMPLE, False))
            self.assertEqual(dialog["controls"][FIELD]["choices"],
                             [EMAIL_FIELD, GROUPS_FIELD, SUBJECT_FIELD])
            self.assertEqual(self.field(q), SUBJECT_FIELD)
            q.set(VALUE, "A subject")
            q.choose(FIELD, GROUPS_FIELD)
            self.assertEqual(q.text_of(VALUE), "comp.test")
            q.set(VALUE, "comp.test, misc.test")
            q.choose(FIELD, SUBJECT_FIELD)
            self.assertEqual(q.text_of(VALUE), "A subject")
            q.set(TEXT, "Body.\r\n")
            q.press(OK)
            self.assertEqual([(post["headers"], post["body"]) for post in q.queue()],
                             [(FROM + "Subject: A subject\r\nNewsgroups: comp.test,misc.test\r\n",
                               "Body.\r\n")])
            self.assert_silent(q)
        self.assert_fine(q)

    def test_missing_parts_are_asked_for_one_by_one(self):
        texts = ["The article has no body. Do you want to cancel this post?",
                 "The article has no subject. Do you want to cancel this post?",
                 "The article has no valid recipients. Do you want to cancel this post?"]
        with self.simple() as q:
            q.do("tab group")
            q.command(NEW_ARTICLE)
            q.choose(FIELD, GROUPS_FIELD)
            q.set(VALUE, "")
            q.set(TEXT, "")
            for i, field in enumerate((GROUPS_FIELD, SUBJECT_FIELD, GROUPS_FIELD)):
                for text in texts[:i]:
                    q.expect(text, "no")
                q.expect(texts[i], "yes")
                q.press(OK)
                self.assertEqual(q.boxes()[-1], ("Quillet CE", texts[i], "yes"))
                self.assertEqual(self.field(q), field)
            for text in texts:
                q.expect(text, "no")
            q.press(OK)
            self.assertEqual(q.of("dialog-closed")[-1]["form"], SIMPLE, "nothing is left to do")
            self.assertEqual(q.queue(), [])
        self.assert_fine(q)


class Drafts(Writing):
    def write_and_die(self):
        with self.full() as q:
            q.open_node("<bob@x>")
            q.command(REPLY)
            q.type(TEXT, "An important thought.\r\n", "end")
            self.await_draft(q, "important thought")
            q.process.send_signal(signal.SIGKILL)
            q.kill()

    def test_what_a_kill_left_is_offered_and_finished(self):
        self.write_and_die()
        with self.start_expecting(OFFER, "yes") as q:
            q.wait_dialog(FULL)
            self.assertTrue(q.text_of(TEXT).endswith("An important thought.\r\n"))
            q.press(OK)
            posts = q.queue()
            self.assertEqual(len(posts), 1)
            self.assertIn("References: <ann@x> <bob@x>\r\n", posts[0]["headers"])
            self.assertIsNone(q.draft())
        self.assert_fine(q)
        with self.run_quillet() as q:
            q.do("wait")
            self.assert_silent(q)
            self.assertEqual(len(q.queue()), 1)
        self.assert_fine(q)

    def test_the_simple_editor_comes_back_with_all_its_fields(self):
        with self.simple() as q:
            q.do("tab group")
            q.command(NEW_ARTICLE)
            q.set(VALUE, "Unfinished business")
            q.choose(FIELD, GROUPS_FIELD)
            q.set(VALUE, "misc.test")
            q.set(TEXT, "Half.")
            q.caret(TEXT, 2)
            end = time.monotonic() + 20
            while (q.draft() or {"text": ""})["text"] != "Half.":
                self.assertLess(time.monotonic(), end)
                time.sleep(0.1)
            q.kill()
        with self.start_expecting(OFFER, "yes") as q:
            q.wait_dialog(SIMPLE)
            control = q.control(FIELD)
            self.assertEqual(control["choices"][control["choice"]], GROUPS_FIELD)
            self.assertEqual(q.text_of(VALUE), "misc.test")
            self.assertEqual(q.text_of(TEXT), "Half.")
            q.choose(FIELD, SUBJECT_FIELD)
            self.assertEqual(q.text_of(VALUE), "Unfinished business")
            q.press(OK)
            self.assertEqual([(post["subject"], post["newsgroups"]) for post in q.queue()],
                             [("Unfinished business", "misc.test")])
        self.assert_fine(q)

    def test_an_offer_that_is_declined_is_not_made_again(self):
        self.write_and_die()
        with self.start_expecting(OFFER, "no") as q:
            q.do("wait")
            self.assertIsNone(q.draft())
            self.assertNotIn(SIMPLE, [dialog["form"] for dialog in q.of("dialog")])
        self.assert_fine(q)
        with self.run_quillet() as q:
            q.do("wait")
            self.assert_silent(q)
        self.assert_fine(q)

    def test_quitting_asks_and_keeps_the_article(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.type(TEXT, "Later.", "end")
            q.expect(UNFINISHED, "no")
            q.do("close")
            q.do("wait")
            self.assertTrue(q.text_of(TEXT).endswith("Later."))
            q.expect(UNFINISHED, "yes")
        self.assert_fine(q)
        with self.start_expecting(OFFER, "yes") as q:
            q.wait_dialog(FULL)
            self.assertTrue(q.text_of(TEXT).endswith("Later."))
            self.close_editor(q)
        self.assert_fine(q)


class Queue(Writing):
    def queue_two(self, q):
        for node in ("<ann@x>", "<dora@x>"):
            q.open_node(node)
            q.command(REPLY)
            q.press(OK)
            q.do("tab thread")
        self.assertEqual(sorted(post["subject"] for post in q.queue()), ["Re: Hello", "Re: Other"])
        q.do("tab group")

    def open_queue(self, q):
        q.do("command %d" % VIEW_QUEUE)
        q.wait_dialog(PENDING)
        return [row["texts"][0] for row in q.control(POSTS)["rows"]]

    def test_a_queued_post_is_edited_in_its_place(self):
        with self.full() as q:
            self.queue_two(q)
            keys = [post["key"] for post in q.queue()]
            self.assertEqual(sorted(self.open_queue(q)), ["Re: Hello", "Re: Other"])
            q.do('expect-menu "Edit"')
            q.do('row-menu %d "Re: Other"' % POSTS)
            q.wait_dialog(FULL)
            text = q.text_of(TEXT, FULL)
            self.assertNotIn("References:", text)
            self.assertFalse(q.control(ROUTE, FULL)["visible"])
            q.set(TEXT, text.replace("Subject: Re: Other", "Subject: Changed"))
            q.press(OK)
            self.assertEqual(sorted(row["texts"][0] for row in q.control(POSTS)["rows"]),
                             ["Changed", "Re: Hello"], "the list comes back")
            q.press(CANCEL)
            self.assertEqual([post["key"] for post in q.queue()], keys)
            changed = [post for post in q.queue() if post["subject"] == "Changed"]
            self.assertIn("References: <dora@x>\r\n", changed[0]["headers"])
        self.assert_fine(q)

    def test_the_second_tap_on_a_row_edits_it(self):
        with self.full() as q:
            self.queue_two(q)
            self.open_queue(q)
            q.choose(POSTS, "Re: Hello")
            self.assertEqual(q.dialog()["form"], PENDING)
            q.do('choose %d "Re: Hello"' % POSTS)
            q.wait_dialog(FULL)
            q.press(CANCEL)
            q.press(OK)
        self.assert_fine(q)

    def test_deleting_asks_and_the_last_one_closes_the_list(self):
        with self.full() as q:
            self.queue_two(q)
            self.open_queue(q)
            q.expect("Really delete post from database?", "no")
            q.row_menu(POSTS, "Re: Hello", "Delete")
            self.assertEqual(len(q.control(POSTS)["rows"]), 2)
            q.expect("Really delete post from database?", "yes")
            q.row_menu(POSTS, "Re: Hello", "Delete")
            self.assertEqual([row["texts"] for row in q.control(POSTS)["rows"]], [["Re: Other"]])
            q.expect("Really delete post from database?", "yes")
            q.do('choose %d "Re: Other"' % POSTS)
            q.key("Delete")
            self.assertEqual(q.queue(), [])
            self.assertEqual(q.of("dialog-closed")[-1]["form"], PENDING)
            q.do("select " + GROUP)  # nothing takes the input any more
        self.assert_fine(q)

    def test_an_empty_queue_is_an_empty_list(self):
        with self.full() as q:
            q.do("tab group")
            self.assertEqual(self.open_queue(q), [])
            q.press(OK)
        self.assert_fine(q)

    def test_a_refused_post_shows_the_reply_and_leaves_when_it_is_taken(self):
        with self.full() as q:
            self.queue_two(q)
            self.server.post_reply = "441 too many colours"
            q.connect()
            self.assertEqual([(post["refused"], post["refusal"]) for post in q.queue()],
                             [(True, "441 too many colours")] * 2)
            self.open_queue(q)
            row = q.control(POSTS)["rows"][0]
            self.assertTrue(row["marked"])
            self.assertIn("441 too many colours", row["tool_tip"])
            self.assertIn("441 too many colours", q.text_of(STATUS))
            q.press(CANCEL)
            self.server.post_reply = "240 article posted"
            q.connect()
            self.assertEqual(q.queue(), [])
            self.assertEqual(len(self.server.posted), 4)
        self.assertEqual(q.status, 0, q.failure())


class Mail(Writing):
    """With a home of its own, and stubs in place of mail programs."""

    def machine(self, programs=(), accounts=(), contacts=""):
        """The environment of a machine with these mail programs, accounts and one address book."""
        home = self.profile.parent / (self.profile.name + " home")
        shutil.rmtree(home, ignore_errors=True)
        (home / "bin").mkdir(parents=True)
        (home / ".contacts").mkdir()
        (home / ".contacts" / "book.vcf").write_text(contacts)
        for program in programs:
            stub = home / "bin" / program
            stub.write_text("#!/bin/sh\necho \"$@\" >> '%s/arguments'\ncat >> '%s/%s.sent'\n"
                            % (home, home, program))
            stub.chmod(0o755)
        if accounts:
            config = home / ".msmtprc"
            config.write_text("".join("account %s\nhost mail.example\nfrom %s@x.example\n"
                                      % (name, name) for name in accounts))
            config.chmod(0o600)
        self.home = home
        return {"HOME": str(home), "XDG_CONFIG_HOME": str(home / ".config"),
                "XDG_DATA_HOME": str(home / ".local/share"), "XDG_DATA_DIRS": str(home / "none"),
                "XDG_CONFIG_DIRS": str(home / "none"), "PATH": "%s/bin:/usr/bin:/bin" % home}

    def sent(self, program):
        path = self.home / (program + ".sent")
        return path.read_text() if path.exists() else ""

    def forward_to(self, q, recipients, body="See below.\r\n"):
        """Writes a forward of dora's article and presses OK, without waiting."""
        q.do("tab thread")
        q.open_node("<dora@x>")
        q.command(FORWARD)
        q.do("expect-menu " + quillet_script.quoted("&Readdress email"))
        q.do("press %d" % ROUTE)
        q.wait_dialog(READDRESS)
        q.set(1073, recipients)
        q.press(OK)
        q.type(TEXT, body, "end")
        q.do("press %d" % OK)

    def test_a_forward_leaves_by_the_only_mail_program(self):
        with self.full(env=self.machine(["sendmail"])) as q:
            self.forward_to(q, "ann@y.example")
            q.do("wait")
            self.assertEqual(q.outbox(), [])
            self.assertEqual(q.queue(), [])
            self.assert_silent(q)
        self.assert_fine(q)
        mail = self.sent("sendmail")
        for part in ("To: ann@y.example\n", "Subject: Re: Other\n", "See below.\n",
                     "X-Newsreader: Quillet CE 1.14r3\n", "> > quoted\n"):
            self.assertIn(part, mail.replace("\r\n", "\n"))
        self.assertNotIn("Newsgroups:", mail)

    def test_without_a_mail_program_it_waits_with_a_warning(self):
        with self.full(env=self.machine()) as q:
            self.forward_to(q, "ann@y.example")
            q.do("wait")
            self.assertTrue(q.boxes()[0][1].startswith(
                "Quillet CE cannot find any user-defined email transports"), q.boxes())
            mails = q.outbox()
            self.assertEqual([(mail["service"], mail["to"], mail["subject"]) for mail in mails],
                             [("Internet Mail", "ann@y.example", "Re: Other")])
            self.assertIn("See below.", mails[0]["message"])
            self.assertNotEqual(mails[0]["reason"], "")

    def test_the_transport_is_asked_for_until_always_is_ticked(self):
        with self.full(env=self.machine(["msmtp"], accounts=["home", "work"])) as q:
            self.forward_to(q, "ann@y.example")
            q.wait_dialog(130)
            dialog = q.dialog()
            choice = [one for one in dialog["controls"].values() if one["kind"] == "choice"][0]
            box = [one for one in dialog["controls"].values() if one["kind"] == "check"][0]
            self.assertEqual(len(choice["choices"]), 2, choice)
            self.assertEqual(choice["choice"], 0)
            work = [name for name in choice["choices"] if "work" in name][0]
            q.choose(choice["id"], work)
            q.do("tick %d" % box["id"])
            q.press(OK)
            self.assertEqual(q.outbox(), [])
            self.forward_to(q, "bob@y.example")
            q.do("wait")
            self.assertEqual(len({one["handle"] for one in q.of("dialog") if one["form"] == 130}), 1)
            self.assertEqual(q.outbox(), [])
            # "Clear email transport" on its page.
            q.command(PREFERENCES)
            q.do("wait-dialog")
            q.do("page Advanced")
            q.press(1165)
            q.press(OK)
            self.forward_to(q, "carl@y.example")
            q.wait_dialog(130)
            q.press(OK)
            self.assertEqual(q.outbox(), [])
        self.assert_fine(q)
        self.assertEqual(self.sent("msmtp").count("From: work@x.example"), 2)
        self.assertEqual(self.sent("msmtp").count("From: home@x.example"), 1)

    def test_recipients_are_found_and_ticked_in_the_contacts(self):
        book = "".join("BEGIN:VCARD\r\nVERSION:3.0\r\nN:%s;%s;;;\r\nFN:x\r\nEMAIL:%s\r\n"
                       "END:VCARD\r\n" % entry for entry in (
                           ("Zola", "Ann", "ann@y.example"), ("Abel", "Bob", "bob@y.example"),
                           ("Marsh", "Carl", "carl@y.example")))
        with self.full(env=self.machine(contacts=book)) as q:
            q.open_node("<dora@x>")
            q.command(FORWARD)
            q.do("expect-menu " + quillet_script.quoted("&Readdress email"))
            q.do("press %d" % ROUTE)
            q.wait_dialog(READDRESS)
            q.do("press 1074")
            q.wait_dialog(RECIPIENTS)
            self.assertEqual([row["texts"] for row in q.control(1072)["rows"]], [
                ["Abel, Bob", "bob@y.example"], ["Marsh, Carl", "carl@y.example"],
                ["Zola, Ann", "ann@y.example"]])
            q.do('tick-row 1072 "Abel, Bob"')
            q.set(1071, "zol")
            q.do("wait")
            self.assertEqual([row["texts"][0] for row in q.control(1072)["rows"]], ["Zola, Ann"])
            q.do('tick-row 1072 "Zola, Ann"')
            q.press(OK)
            self.assertEqual(q.text_of(1073), "bob@y.example, ann@y.example")
            q.press(OK)
            self.close_editor(q)
        self.assert_fine(q)

    def test_mail_wants_a_subject_and_a_separator_and_no_more(self):
        with self.full(env=self.machine(["sendmail"])) as q:
            q.open_node("<dora@x>")
            q.command(FORWARD)
            for text, complaint in (
                    ("From: x\r\n" + SEPARATOR + "b",
                     "The 'Subject:' header could not be found."),
                    ("Subject: s\r\nb", "The '--- Begin body here ---' line is missing.")):
                q.set(TEXT, text)
                q.press(OK)
                self.assertEqual(q.boxes()[-1], ("Quillet: header error", complaint, "ok"))
                self.assertEqual(q.text_of(TEXT), text)
            q.set(TEXT, "Subject: s\r\n" + SEPARATOR + "b")
            q.press(OK)
            self.assertEqual(q.of("dialog-closed")[-1]["form"], FULL)
        self.assert_fine(q)
        self.assertEqual(self.sent("sendmail").count("Subject: s"), 1)

    def test_the_simple_editor_mails_and_posts_and_remembers(self):
        with self.simple(env=self.machine(["sendmail"])) as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.choose(FIELD, EMAIL_FIELD)
            q.set(VALUE, "ann@x.example")
            q.press(OK)
            self.assertEqual([post["subject"] for post in q.queue()], ["Re: Hello"])
            self.assertEqual(q.outbox(), [])
            q.command(REPLY)
            q.choose(FIELD, EMAIL_FIELD)
            self.assertEqual(q.control(VALUE)["choices"], ["ann@x.example"])
            q.press(CANCEL)
        self.assert_fine(q)
        self.assertIn("> Text of ann.", self.sent("sendmail"))


def received(text):
    """A text as a server that speaks UTF-8 gives it, for the articles of NewsServer."""
    return text.encode("utf-8").decode("latin-1")


class EveryLanguage(Writing):
    MIME = ("MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
            "Content-Transfer-Encoding: 8bit\r\n")
    # One paragraph, a quoted one, and a line that begins with a dot.
    FLOWED = post(
        "ann", "=?UTF-8?B?zqnOvM6tzrPOsQ==?=", extra=MIME.replace("UTF-8", "UTF-8; format=flowed"),
        body=received("Καλημέρα κόσμε, \r\n" * 5 + "τέλος.\r\n> παλιό \r\n> κείμενο\r\n..τελεία\r\n"))
    QUOTED = ("In message <ann@x>, Ann <ann@x.example> wrote:\r\n"
              "> Καλημέρα κόσμε, Καλημέρα κόσμε, Καλημέρα κόσμε, Καλημέρα κόσμε,\r\n"
              "> Καλημέρα κόσμε, τέλος.\r\n>> παλιό κείμενο\r\n> .τελεία\r\n")

    def reply(self, simple, **extensions):
        values = {"fullname": "Σοφία", "simplepost": int(simple), "signature": "-- \r\nΣ\r\n"}
        values.update({"Extensions\\" + name: value for name, value in extensions.items()})
        q = self.open({1: self.FLOWED}, values=dict(WRITER, **values))
        q.open_node("<ann@x>")
        q.command(REPLY)
        return q

    def test_a_reply_to_flowed_utf_8_is_posted_and_read_again(self):
        answer = "Είναι 日本語 😀 ﾀ.\r\n.\r\n"
        for simple in (False, True):
            self.use_profile("simple" if simple else "full")
            with self.subTest(simple=simple), self.reply(simple) as q:
                self.assertTrue(q.text_of(TEXT).endswith(self.QUOTED + "-- \r\nΣ\r\n"),
                                q.text_of(TEXT))
                q.type(TEXT, answer, "end")
                q.press(OK)
                self.assertEqual(q.boxes(), [])
                q.connect()
                head, _, body = self.server.posted[-1].partition(b"\r\n\r\n")
                head = re.sub(rb"Message-ID: <([^>]*)>\r\n", b"", head + b"\r\n")
                self.assertEqual(head.decode("ascii"), (
                    "From: =?UTF-8?B?zqPOv8+Gzq/OsQ==?= <me@x.example>\r\n"
                    "Subject: Re: =?UTF-8?B?zqnOvM6tzrPOsQ==?=\r\nNewsgroups: comp.test\r\n"
                    "References: <ann@x>\r\n" + self.MIME + "X-Newsreader: Quillet CE 1.14r3\r\n"))
                self.assertEqual(body.decode("utf-8"),
                                 self.QUOTED + "-- \r\nΣ\r\n" + answer + "\r\n")
                self.server.groups[GROUP][2] = tuple(
                    text.decode("latin-1") for text in (
                        head + b"Message-ID: <back@x>\r\n", body.replace(b"\r\n.", b"\r\n..")))
                q.connect()
                q.open_group(GROUP)
                q.open_node("<back@x>")
                shown = q.viewer()["source"]
                for line in ("Καλημέρα κόσμε, τέλος.", "Είναι 日本語 😀 ﾀ."):
                    self.assertIn(line, shown)
                self.assertIn("/2 Ωμέγα", q.tree()["rows"][0]["text"])
            self.assert_fine(q)

    def test_switched_off_a_reply_has_the_bytes_that_it_quotes(self):
        with self.reply(False, postcharsets=0, postmessageids=0) as q:
            self.assertIn("Subject: Re: =?UTF-8?B?zqnOvM6tzrPOsQ==?=\r\n", q.text_of(TEXT))
            q.press(OK)
            self.assertIn("Some characters of this text cannot be used here", q.boxes()[0][1])
            q.connect()
            head, _, body = self.server.posted[-1].partition(b"\r\n\r\n")
            self.assertEqual(head, (
                b'From: "?????" <me@x.example>\r\nSubject: Re: =?UTF-8?B?zqnOvM6tzrPOsQ==?=\r\n'
                b"Newsgroups: comp.test\r\nReferences: <ann@x>\r\n"
                b"X-Newsreader: Quillet CE 1.14r3"))
            self.assertEqual(body, ("In message <ann@x>, Ann <ann@x.example> wrote:\r\n"
                             + "> Καλημέρα κόσμε, \r\n" * 5 + "> τέλος.\r\n> > παλιό \r\n> > κείμενο"
                             "\r\n> ..τελεία\r\n-- \r\n?\r\n\r\n").encode("utf-8"))
        self.assert_fine(q)

    def test_plain_ascii_goes_out_the_same_with_it_and_without(self):
        sent = []
        for on in (0, 1):
            self.use_profile("on" if on else "off")
            with self.open(values=dict(WRITER, simplepost=0,
                                       **{"Extensions\\postcharsets": on})) as q:
                q.open_node("<carl@x>")
                q.command(REPLY)
                q.type(TEXT, "word " * 60 + "\r\n.\r\n" + "x" * 1200, "end")
                q.press(OK)
                q.connect()
                sent.append(re.sub(rb"Message-ID: <[^>]*>", b"", self.server.posted[-1]))
        self.assertEqual(sent[0], sent[1])
        self.assertNotIn(b"MIME", sent[0])

    def test_names_of_groups_and_addresses_must_be_ascii(self):
        with self.full() as q:
            q.do("tab group")
            q.command(NEW_ARTICLE)
            for head, complaint in (
                    (FROM + "Subject: s\r\nNewsgroups: λέξη\r\n",
                     "The header 'Newsgroups:' can hold plain ASCII characters only. Please take the "
                     "other characters out of it."),
                    ("From: Σοφία <σοφία@x>\r\nSubject: s\r\nNewsgroups: a.b\r\n",
                     "The address in the header 'From:' can hold plain ASCII characters only. Please "
                     "take the other characters out of it."),
                    (FROM + "Subject: s\r\nNewsgroups: a.b\r\nΛέξη: x\r\n",
                     "One or more header lines have characters before their first colon that are not "
                     "plain ASCII."),
                    (FROM + "Subject: s\r\nNewsgroups: a.b\r\nContent-Type: text/plain; "
                     "charset=ISO-8859-1\r\n",
                     "The article cannot be written in the character set 'ISO-8859-1', which its "
                     "header 'Content-Type:' names. Please name UTF-8 there, or remove that header.")):
                with self.subTest(complaint):
                    q.set(TEXT, head + SEPARATOR + "Σ\r\n")
                    q.press(OK)
                    self.assertEqual(q.boxes()[-1][1], complaint)
                    self.assertEqual(q.dialog()["form"], FULL)
            self.close_editor(q)
            self.assertEqual(q.queue(), [])
        self.assert_fine(q)


class BesideAnEditor(Writing):
    def test_the_rest_of_the_program_lives_on(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.type(TEXT, "Mine.", "end")
            q.do("tab thread")
            q.open_node("<dora@x>")
            self.assertEqual(q.current()["id"], "<dora@x>")
            q.do("tab group")
            q.do("untick " + GROUP)
            q.do("tick " + GROUP)
            self.server.groups[GROUP][7] = post("gus", "New")
            q.connect()
            self.assertEqual(len(q.chain(GROUP)), 7)
            self.assertEqual(self.server.posted, [], "what is being written is not sent")
            self.assertTrue(q.text_of(TEXT).endswith("Mine."))
            q.press(OK)
            self.assertEqual(len(q.queue()), 1)
        self.assertEqual(q.status, 0, q.failure())

    def test_a_scheduled_connection_leaves_the_editor_alone(self):
        with self.full() as q:
            for node in ("<ann@x>", "<bob@x>"):
                q.do("tab thread")
                q.open_node(node)
                q.command(REPLY)
                if node == "<ann@x>":
                    q.press(OK)
            q.type(TEXT, "Half a sen", "end")
            self.server.groups[GROUP][7] = post("gus", "New")
            second = self.run_quillet("AppRunAtTime")
            second.do("wait-for exit")
            self.assertEqual(second.finish(), 0)
            end = time.monotonic() + 20
            while (GROUP, 7) not in self.server.fetched:
                self.assertLess(time.monotonic(), end)
                time.sleep(0.05)
            q.do("wait")
            self.assertEqual(len(self.server.posted), 1)
            self.assertEqual(q.queue(), [])
            self.assertEqual(len(q.chain(GROUP)), 7)
            q.type(TEXT, "tence", "end")
            self.assertTrue(q.text_of(TEXT).endswith("Half a sentence"))
            q.press(OK)
            self.assertEqual(len(q.queue()), 1)
        self.assertEqual(q.status, 0, q.failure())

    def test_only_one_article_is_written_at_a_time(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.front("main")
            q.command(NEW_FROM_ARTICLE)
            self.assertTrue(q.boxes()[-1][1].startswith("You are already writing an article."))
            self.assertEqual(len([e for e in q.of("dialog") if e["form"] == FULL]), 1)
            self.close_editor(q)
        self.assert_fine(q)

    def test_a_dialog_over_the_editor_takes_all_input(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.do("expect-menu " + quillet_script.quoted("Reply via &email"))
            q.do("press %d" % ROUTE)
            q.wait_dialog(READDRESS)
            number = q.send("command %d" % NEW_FROM_ARTICLE)
            with self.assertRaises(quillet_script.Failed):
                q.await_done(number)
            self.assertEqual(q.failure()["reason"], "refused")
            q.await_end()

    def test_keys_go_to_the_window_in_front(self):
        with self.full() as q:
            q.open_node("<ann@x>")
            q.command(REPLY)
            q.front("main")
            q.key("Escape")
            self.assertEqual(q.tab(), "thread", "the main window's key")
            self.assertEqual(q.dialog()["form"], FULL)
            q.front(FULL)
            q.key("Escape")
            self.assertEqual(q.of("dialog-closed")[-1]["form"], FULL)
        self.assert_fine(q)


class Script(Writing):
    def test_values_below_the_key_go_by_their_paths(self):
        with self.run_quillet(hold=True) as q:
            q.set_dword("Extensions\\postmessageids", 0)
            q.set_string("a", "x")
            q.set_string("\\PMail\\ServiceInfo\\Work\\svcKey", "SMTP")
            self.assertEqual(q.registry("Extensions\\postmessageids"), 0)
            self.assertEqual(q.registry("extensions\\POSTMESSAGEIDS"), 0)
            self.assertEqual(q.registry("\\PMail\\ServiceInfo\\Work\\svcKey"), "SMTP")
            self.assertIsNone(q.registry("Extensions\\missing"))
            self.assertIsNone(q.registry("Nowhere\\postmessageids"))
            self.assertEqual(list(q.registry_dump()), ["a", "Extensions\\postmessageids"])
            self.assertEqual(q.of("registry-end")[-1]["count"], 2)
        self.assert_fine(q)

    def test_typing_goes_to_the_caret(self):
        with self.full() as q:
            q.do("tab group")
            q.command(NEW_ARTICLE)
            q.set(TEXT, "one\r\ntwo")
            q.type(TEXT, "!", "end")
            q.type(TEXT, "0 ", 0)
            q.caret(TEXT, 2, 3)
            q.type(TEXT, "1")
            self.assertEqual(q.text_of(TEXT), "0 1\r\ntwo!")
            self.assertEqual((q.control(TEXT)["caret"], q.control(TEXT)["changed"]), (3, True))
            self.close_editor(q)
        self.assert_fine(q)


if __name__ == "__main__":
    main()
