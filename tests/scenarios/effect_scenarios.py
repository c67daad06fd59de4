# SPDX-License-Identifier: GPL-3.0-or-later
"""What the settings do: each is changed in its page, and the program behaves by it at once."""

import os
import pathlib
import pwd
import shlex
import shutil
import stat
import subprocess

from news_servers import TranscriptServer
from settings import *
from settings_scenarios import choose, set_text

FAR = ("There is not enough free space on the selected store to download news. Either free some "
       "space or change the allowed percentage in the preferences.")
NO_LOG = ("There is no transaction log to save. The transaction log is created after you connect "
          "to your news server.")
PURGES = "This will delete all downloaded and posted news. Are you sure?"
COMPACTS = ("Compacting the databases may take some time. If you interrupt the compacting process, "
            "the databases may become corrupted. Are you sure you want to do this now?")


class Effects(Settings):
    def change(self, q, caption, *lines):
        """Opens the preferences, does that on the page, presses OK."""
        self.open_sheet(q, caption)
        for line in lines:
            q.do(line)
            q.do("wait")
        self.ok(q)

    def serve(self, articles=None, **keywords):
        """A running program whose only server has the articles; nothing is fetched yet."""
        self.server = NewsServer({GROUP: articles or ARTICLES})
        self.addCleanup(self.server.close)
        return self.run_with(servers=[self.server.address], groups=[GROUP], **keywords)


class Views(Effects):
    def test_font_of_the_group_list(self):
        with self.open() as q:
            q.do("tab group")
            fills = len(q.of("groups-changed"))
            self.change(q, "Group view options", choose(GROUP_FONT, "Courier New"),
                        choose(GROUP_SIZE, "enormous"))
            groups = q.ask("groups")
            self.assertEqual((groups["font"], groups["font_size"]), ("Courier New", 8))
            self.assertEqual([(row["name"], row["box"], row["counts"]) for row in groups["rows"]],
                             [(GROUP, "checked", "6/6")])
            self.assertGreater(len(q.of("groups-changed")), fills)
        self.assert_fine(q)

    def test_font_of_the_threads_keeps_what_is_open_and_selected(self):
        with self.open() as q:
            q.do("expand all")
            q.do("collapse 2")
            q.select_node("<carl@x>")
            before = q.tree()
            self.change(q, "Thread view options", choose(THREAD_FONT, "DejaVu Sans"),
                        choose(THREAD_SIZE, "tiny"))
            after = q.tree()
            self.assertEqual((after["font"], after["font_size"]), ("DejaVu Sans", 1))
            self.assertEqual(after["selected"], before["selected"])
            for row in ("path", "text", "bold", "expanded"):
                self.assertEqual([one[row] for one in after["rows"]],
                                 [one[row] for one in before["rows"]], row)
        self.assert_fine(q)

    def test_threads_off_and_the_other_way_round(self):
        with self.open() as q:
            ids = [row["id"] for row in q.tree()["rows"] if row["kind"] == "article"]
            self.assertEqual(max(row["depth"] for row in q.tree()["rows"]), 3)
            self.change(q, "Thread view options", "tick %d" % REVERSE)
            turned = [row["id"] for row in q.tree()["rows"] if row["kind"] == "article"]
            self.assertEqual(sorted(turned), sorted(ids))
            self.assertNotEqual(turned, ids)
            self.change(q, "Thread view options", "untick %d" % REVERSE)
            self.assertEqual([row["id"] for row in q.tree()["rows"] if row["kind"] == "article"],
                             ids)
            self.change(q, "Thread view options", "untick %d" % USE_THREADING)
            rows = [row for row in q.tree()["rows"] if row["kind"] == "article"]
            self.assertEqual(len(rows), 6)
            self.assertLess(max(row["depth"] for row in rows), 3)
        self.assert_fine(q)

    def test_fonts_and_colours_of_articles(self):
        with self.open() as q:
            q.open_node("<dora@x>")
            self.assertIn('<FONT COLOR="#C02020">', q.viewer()["source"])
            self.change(q, "Article view options", choose(ARTICLE_FONT, "Tahoma"),
                        choose(ARTICLE_SIZE, "huge"), choose(HEADER_FONT, "Courier New"),
                        choose(HEADER_SIZE, "enormous"), "untick %d" % COLOR_QUOTED)
            source = q.viewer()["source"]
            self.assertTrue(source.startswith('<FONT FACE="Tahoma" SIZE="7">'), source)
            self.assertNotIn("#C02020", source)
            header = q.ask("header")
            self.assertEqual((header["font"], header["pixels"]), ("Courier New", 24))
            self.change(q, "Article view options", choose(ARTICLE_FONT, "<default>"))
            self.assertTrue(q.viewer()["source"].startswith('<FONT SIZE="7">'))
            self.assertEqual(q.current()["id"], "<dora@x>")
        self.assert_fine(q)

    def test_all_headers_and_joined_lines(self):
        body = "One line\r\nand its end.\r\n"
        with self.open({1: post("ann", "Hello", body=body)}) as q:
            q.open_node("<ann@x>")
            self.assertNotIn("Message-ID:", q.viewer()["source"])
            self.assertIn("One line&nbsp;<br>and", q.viewer()["source"])
            self.change(q, "Article view options", "tick %d" % ALL_HEADERS, "tick %d" % NO_CRS)
            self.assertIn("Message-ID: &lt;ann@x&gt;", q.viewer()["source"])
            self.assertNotIn("One line&nbsp;<br>and", q.viewer()["source"])
        self.assert_fine(q)

    @for_each((LEFT, "left"), (RIGHT, "right"))
    def test_place_of_the_tabs(self, control, place):
        with self.open() as q:
            self.assertEqual(q.ask("tabs")["placement"], "bottom")
            self.change(q, "Advanced", "tick %d" % control)
            self.assertEqual(q.ask("tabs"), {"event": "tabs", "exists": True, "placement": place,
                                             "selected": "group"})
            self.assertEqual(q.groups(), [(GROUP, "checked", "6/6")])
            q.open_group(GROUP)
            self.assertEqual([text for _, text, _ in q.texts()][0], "4/4 Hello")
            self.change(q, "Advanced", "tick %d" % BOTTOM)
            self.assertEqual(q.ask("tabs")["placement"], "bottom")
        self.assert_fine(q)


class Downloads(Effects):
    @for_each(([], [1, 2, 3]), (["tick %d" % NEWEST], [5, 6, 7]))
    def test_number_of_articles_and_where_they_begin(self, lines, fetched):
        with self.serve({n: post("n%d" % n, "S%d" % n) for n in range(1, 8)}) as q:
            self.change(q, "Storage options", set_text(MAX_ARTICLES, "3"))
            self.change(q, "Download options", *lines)
            q.connect()
            self.assertEqual([number for _, number in self.server.fetched], fetched)
        self.assert_fine(q)

    def test_beep(self):
        with self.serve() as q:
            q.connect()
            self.assertEqual(len(q.of("beep")), 1)
            self.change(q, "Download options", "untick %d" % BEEP)
            q.connect()
            self.assertEqual(len(q.of("beep")), 1)
        self.assert_fine(q)

    @for_each(("4", "Quillet notification: message exceeds maximum size.\r\n"), ("6", None))
    def test_size_of_articles(self, size, kept):
        body = ("x" * 70 + "\r\n") * 70  # 5,040 bytes
        with self.serve({1: post("ann", "Long", body=body)}) as q:
            self.change(q, "Storage options", set_text(MAX_ARTICLE_SIZE, size))
            q.connect()
            self.assertEqual(q.article("<ann@x>")["body"].strip(), (kept or body).strip())
        self.assert_fine(q)

    def test_headers_that_are_not_needed(self):
        extra = "X-Odd: 1\r\n"
        with self.serve({1: post("ann", "One", extra=extra)}) as q:
            q.connect()
            self.assertIn("X-Odd", q.article("<ann@x>")["headers"])
            self.change(q, "Storage options", "tick %d" % DISCARD_HEADERS)
            self.server.groups[GROUP][2] = post("bob", "Two", extra=extra)
            q.connect()
            self.assertNotIn("X-Odd", q.article("<bob@x>")["headers"])
        self.assert_fine(q)

    def test_share_of_the_store(self):
        with self.serve() as q:
            self.change(q, "Storage options", "slide %d 0" % MAX_STORE)
            q.connect()
            self.assertEqual(q.boxes(), [("Quillet", FAR, "ok")])
            self.assertEqual(self.server.connections, 0)
            self.change(q, "Storage options", "slide %d 100" % MAX_STORE)
            q.connect()
            self.assertEqual(q.groups(), [(GROUP, "checked", "6/6")])
        self.assert_fine(q)

    def test_compression_of_what_comes_and_of_what_is_there(self):
        long = {n: post("n%d" % n, "S%d" % n, body="All the same again.\r\n" * 100)
                for n in (1, 2)}
        with self.open(long, values={"showheaders": 1}) as q:
            texts = [q.article("<n%d@x>" % n)["body"] for n in (1, 2)]

            def compressed(name):
                q.do("tab thread")
                q.open_node("<%s@x>" % name)
                q.do("tap-header")
                q.do("wait-dialog %d" % HEADERS_DIALOG)
                shown = "".join(one["text"] for one in q.ask("dialog")["controls"])
                q.press(OK)
                return "X-Quillet-CompressedSavings: 0%" not in shown

            self.assertFalse(compressed("n1"))
            self.open_sheet(q, "Compression")
            q.press(COMPRESS_NOW)
            self.ok(q)
            self.assertTrue(compressed("n1"))
            self.assertTrue(compressed("n2"))
            self.assertEqual([q.article("<n%d@x>" % n)["body"] for n in (1, 2)], texts)
            self.open_sheet(q, "Compression")
            q.press(UNCOMPRESS_NOW)
            self.ok(q)
            self.assertFalse(compressed("n2"))
            self.assertEqual([q.article("<n%d@x>" % n)["body"] for n in (1, 2)], texts)
            self.change(q, "Compression", "tick %d" % USE_COMPRESSION)
            self.server.groups[GROUP][3] = post("n3", "S3", body="And again the same.\r\n" * 100)
            q.connect()
            q.open_group(GROUP)
            self.assertTrue(compressed("n3"))
            self.assertFalse(compressed("n1"))
        self.assert_fine(q)

    def test_a_rule_for_all_groups(self):
        with self.serve(values={"killfilecount": 0}) as q:
            q.command(40049)
            q.wait_dialog(KILLFILE_DIALOG)
            q.choose(1010, "Don't check author")
            q.set(1013, "Hello")
            q.press(OK)
            self.change(q, "Killfile", "tick %d" % REQUIRE)
            q.connect()
            self.assertEqual(sorted(q.chain(GROUP)), ["<ann@x>", "<bob@x>", "<carl@x>", "<eve@x>"])
        self.assert_fine(q)


class Servers(Effects):
    def add_server(self, q, name, port):
        self.open_sheet(q, "Server")
        q.do("press %d" % ADD_SERVER)
        q.wait_dialog(ADD_SERVER_DIALOG)
        q.set(SERVER_NAME, name)
        q.press(OK)
        q.do(set_text(PORT, str(port)))
        self.ok(q)

    def test_another_server_and_another_port(self):
        other = NewsServer({GROUP: {1: post("gus", "There")}})
        self.addCleanup(other.close)
        with self.serve() as q:
            q.connect()
            self.add_server(q, "localhost", other.port)
            q.connect()
            self.assertEqual((self.server.connections, other.connections), (1, 1))
            self.assertIn("<gus@x>", q.chain(GROUP))
            self.change(q, "Server", choose(SERVERS, "127.0.0.1"))
            q.connect()
            self.assertEqual((self.server.connections, other.connections), (2, 1))
            self.assert_silent(q)
        self.assert_fine(q)

    @for_each((False, 1), (True, 0))
    def test_servers_with_the_same_numbers_share_their_progress(self, as_one, walks):
        other = NewsServer({GROUP: ARTICLES})
        self.addCleanup(other.close)
        with self.serve(values={"maxarticles": 100}) as q:
            self.add_server(q, "localhost", other.port)
            self.change(q, "Server", choose(SERVERS, "127.0.0.1"),
                        *(["tick %d" % ONE_SERVER] if as_one else []))
            self.change(q, "Advanced: Debugging", "tick %d" % KEEP_LOG)
            q.connect()
            self.change(q, "Server", choose(SERVERS, "localhost"))
            q.connect()
            self.assertEqual(other.connections, 1)
            self.assertEqual(q.transaction_log().count("STAT 1\r\n"), walks)
            self.assertEqual(q.groups(), [(GROUP, "checked", "6/6")])
        self.assert_fine(q)

    def test_login_with_what_was_typed(self):
        server = TranscriptServer("""S: 200 ready
            C: AUTHINFO USER ann
            S: 381 more
            C: AUTHINFO PASS pass word
            S: 481 no""")
        with self.run_with(servers=[server.address], groups=[GROUP]) as q:
            self.change(q, "Server", "tick %d" % EXTRA_LOGIN, set_text(USER, "ann"),
                        set_text(PASSWORD, "pass word"))
            q.connect()
            self.assertIn("I sent AUTHINFO, and the server responded '481 no", q.error_log())
        server.verify()


class PasswordStore(Effects):
    """With a mocked store of the desktop's."""

    LOGIN = """S: 200 ready
        C: AUTHINFO USER ann
        S: 381 more
        C: AUTHINFO PASS sesame
        S: 281 welcome
        C: GROUP comp.test
        S: 411 none
        C: QUIT"""

    def setUp(self):
        super().setUp()
        self.bus = PrivateBus(self)
        self.bus.serve("org.freedesktop.secrets", str(
            pathlib.Path(__file__).resolve().parents[1] / "port" / "secret_service_mock.py"))
        self.store = self.bus.interface("org.freedesktop.secrets", "/org/freedesktop/secrets",
                                        "quillet.Mock")

    def kept(self):
        return [str(text).split("=", 1)[1] for text in self.store.Texts()]

    def test_passwords_go_there_and_come_back(self):
        server = TranscriptServer(self.LOGIN, self.LOGIN, self.LOGIN)
        with self.run_with(servers=[server.address], groups=[GROUP],
                           env=self.bus.environment) as q:
            self.change(q, "Server", "tick %d" % EXTRA_LOGIN, set_text(USER, "ann"),
                        set_text(PASSWORD, "sesame"))
            self.assertEqual((q.registry("authpasses"), self.kept()), (["sesame"], []))
            self.change(q, "Extensions", "tick %d" % PASSWORD_STORE)
            self.assertEqual((q.registry("authpasses"), self.kept()), (["\ue000"], ["sesame"]))
            q.connect()
        self.assertNotIn(b"sesame", b"".join(
            path.read_bytes() for path in self.profile.glob("registry.db*")).replace(b"\0", b""))
        with self.run_quillet(env=self.bus.environment) as q:
            self.open_sheet(q, "Server")
            self.assertEqual(self.shown(q, PASSWORD), ["sesame"])
            self.cancel(q)
            q.connect()
            self.change(q, "Extensions", "untick %d" % PASSWORD_STORE)
            self.assertEqual((q.registry("authpasses"), self.kept()), (["sesame"], []))
        with self.run_quillet(env=self.bus.environment) as q:
            q.connect()
        server.verify()

    def test_a_password_that_is_changed_or_deleted_is_so_in_the_store(self):
        with self.run_with(servers=[("a", 119), ("b", 119)], groups=[GROUP],
                           env=self.bus.environment) as q:
            self.change(q, "Extensions", "tick %d" % PASSWORD_STORE)
            self.change(q, "Server", set_text(PASSWORD, "one"), choose(SERVERS, "b"),
                        set_text(PASSWORD, "two"))
            self.assertEqual(sorted(self.kept()), ["one", "two"])
            self.change(q, "Server", set_text(PASSWORD, "three"))
            self.assertEqual(sorted(self.kept()), ["one", "three"])
            self.change(q, "Server", "press %d" % DELETE_SERVER)
            self.assertEqual(self.kept(), ["one"])
            self.assert_silent(q)
        self.assert_fine(q)


class TransactionLog(Effects):
    def test_is_kept_and_saved_when_asked_for(self):
        path = self.profile / "log.txt"
        with self.serve() as q:
            self.open_sheet(q, "Advanced: Debugging")
            q.press(SAVE_LOG)
            self.assertEqual(q.boxes(), [("Quillet", NO_LOG, "ok")])
            self.cancel(q)
            self.change(q, "Advanced: Debugging", "tick %d" % KEEP_LOG)
            q.connect()
            self.open_sheet(q, "Advanced: Debugging")
            q.expect_save(str(path))
            q.press(SAVE_LOG)
            self.cancel(q)
            dialog = q.of("save-dialog")[-1]
            self.assertEqual((dialog["title"], dialog["default_name"]),
                             ("Save trans log as", "translog.txt"))
            text = path.read_bytes()
            self.assertEqual(text.decode("ascii"), q.transaction_log())
            self.assertIn(b"GROUP comp.test\r\n", text)
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600)
        self.assert_fine(q)

    def test_the_saved_file_has_no_password(self):
        path = self.profile / "log.txt"
        server = TranscriptServer("""S: 200 ready
            C: AUTHINFO USER ann
            S: 381 more
            C: AUTHINFO PASS sesame
            S: 281 welcome
            C: GROUP comp.test
            S: 411 none
            C: QUIT""")
        with self.run_with(servers=[server.address], groups=[GROUP]) as q:
            self.change(q, "Server", "tick %d" % EXTRA_LOGIN, set_text(USER, "ann"),
                        set_text(PASSWORD, "sesame"))
            self.change(q, "Advanced: Debugging", "tick %d" % KEEP_LOG)
            q.connect()
            self.assertIn("AUTHINFO PASS sesame\r\n", q.transaction_log())
            self.open_sheet(q, "Advanced: Debugging")
            q.expect_save(str(path))
            q.press(SAVE_LOG)
            self.cancel(q)
            saved = path.read_text("ascii")
            self.assertNotIn("sesame", saved)
            self.assertRegex(saved, r"AUTHINFO PASS \*+\n")

    def test_ends_with_the_run_and_when_switched_off(self):
        with self.serve() as q:
            self.change(q, "Advanced: Debugging", "tick %d" % KEEP_LOG)
        with self.run_quillet() as q:
            self.open_sheet(q, "Advanced: Debugging")
            self.assertFalse(self.page_control(q, KEEP_LOG)["checked"])
            self.cancel(q)
        self.assert_fine(q)


class Writing(Effects):
    def test_replies_are_made_of_what_was_entered(self):
        with self.open() as q:
            self.change(q, "Reply information", set_text(RETURN_ADDRESS, "you@y.example"),
                        set_text(FULL_NAME, "You"), set_text(QUOTE_TEXT, "# "),
                        set_text(ATTRIBUTION, "$a in $i:"), "tick %d" % FULL_POST_VIEW)
            self.change(q, "Signature", set_text(SIGNATURE, "-- \nYours\n"))
            self.change(q, "Advanced:headers", set_text(EXTRA_HEADERS, "X-A: 1\n"))
            q.open_node("<carl@x>")
            q.command(40023)
            self.assertEqual(q.text_of(1014), 'From: "You" <you@y.example>\r\n'
                             "Subject: Re: Hello\r\nNewsgroups: comp.test\r\nX-A: 1\r\n"
                             "--- Begin body here ---\r\nCarl <carl@x.example> in <carl@x>:\r\n"
                             "# Text of carl.\r\n-- \r\nYours\r\n")
            q.press(CANCEL)
            self.change(q, "Reply information", "untick %d" % FULL_POST_VIEW)
            q.command(40023)
            self.assertEqual(q.dialog()["form"], 128)
            q.press(CANCEL)
        self.assert_fine(q)


    def test_what_was_entered_may_be_in_any_language(self):
        with self.open() as q:
            self.change(q, "Reply information", set_text(RETURN_ADDRESS, "you@y.example"),
                        set_text(FULL_NAME, "\u65e5\u672c"), set_text(QUOTE_TEXT, "\u2503 "),
                        set_text(ATTRIBUTION, "\u0397 $a \u03ad\u03b3\u03c1\u03b1\u03c8\u03b5:"),
                        "tick %d" % FULL_POST_VIEW)
            self.change(q, "Signature", set_text(SIGNATURE, "-- \n\U0001f600\n"))
            self.change(q, "Advanced:headers", set_text(EXTRA_HEADERS, "Organization: Z\u00fcrich\n"))
            q.open_node("<carl@x>")
            q.command(40023)
            q.press(OK)
            self.assertEqual(q.boxes(), [])
            post = q.queue()[0]
            self.assertEqual(post["headers"], (
                "From: =?UTF-8?B?5pel5pys?= <you@y.example>\r\nSubject: Re: Hello\r\n"
                "Newsgroups: comp.test\r\nOrganization: =?UTF-8?Q?Z=C3=BCrich?=\r\n"
                "References: <ann@x> <bob@x> <carl@x>\r\nMIME-Version: 1.0\r\n"
                "Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n"))
            q.connect()
            self.assertIn("\u0397 Carl <carl@x.example> \u03ad\u03b3\u03c1\u03b1\u03c8\u03b5:\r\n"
                          "\u2503 Text of carl.\r\n-- \r\n\U0001f600\r\n".encode("utf-8"),
                          self.server.posted[-1])
        self.assert_fine(q)

    def test_message_ids_of_posts_can_be_left_to_the_server(self):
        with self.open() as q:
            for line, has_one in (("untick", False), ("tick", True)):
                self.change(q, "Extensions", "%s %d" % (line, MESSAGE_IDS))
                q.do("tab thread")
                q.open_node("<carl@x>")
                q.command(40023)
                q.press(OK)
                q.connect()
                post_sent = self.server.posted[-1].decode("latin-1")
                self.assertIn("Subject: Re: Hello\r\n", post_sent)
                self.assertEqual("\r\nMessage-ID: <" in post_sent, has_one, post_sent)
            self.assertEqual(len(self.server.posted), 2)
        self.assert_fine(q)


class Scheduling(Effects):
    def units(self):
        """Where the timer is written, and the environment in which it can be."""
        folder = self.profile / "session"
        for name in ("run/systemd", "bin", "config"):
            (folder / name).mkdir(parents=True)
        (folder / "run/systemd/private").write_text("")
        control = folder / "bin/systemctl"
        control.write_text("#!/bin/sh\nexit 0\n")
        control.chmod(0o755)
        return folder / "config/systemd/user", {
            "XDG_RUNTIME_DIR": str(folder / "run"), "XDG_CONFIG_HOME": str(folder / "config"),
            "PATH": "%s:/usr/bin:/bin" % (folder / "bin")}

    def test_the_daily_download_is_registered_and_cancelled_at_once(self):
        units, environment = self.units()
        with self.serve(env=environment) as q:
            self.assertEqual(list(units.glob("*.timer")), [])
            self.change(q, "Scheduling", "tick %d" % AUTOMATIC, "set-time %d 23 59 58" % TIME)
            timers = list(units.glob("quillet-download*.timer"))
            self.assertEqual(len(timers), 1)
            self.assertIn("OnCalendar=*-*-* 23:59:58\n", timers[0].read_text())
            self.change(q, "Scheduling", "set-time %d 0 0 0" % TIME)
            self.assertIn("OnCalendar=*-*-* 00:00:00\n", timers[0].read_text())
            self.change(q, "Scheduling", "untick %d" % AUTOMATIC)
            self.assertEqual(list(units.glob("*.timer")), [])
        self.assert_fine(q)

    def test_deleting_before_a_download(self):
        with self.open() as q:
            q.open_node("<ann@x>")
            self.change(q, "Scheduling", "tick %d" % DELETE_BEFORE, "tick %d" % DELETE_READ)
            q.connect()
            self.assertNotIn("<ann@x>", q.chain(GROUP))
            self.assertEqual(len(q.chain(GROUP)), 5)
            self.change(q, "Scheduling", "tick %d" % DELETE_ALL)
            q.connect()
            self.assertEqual(q.chain(GROUP), [])
            self.assert_silent(q)
        self.assert_fine(q)

    def test_deleting_at_the_end(self):
        with self.open() as q:
            q.open_node("<ann@x>")
            self.change(q, "Scheduling", "tick %d" % DELETE_ON_QUIT, "tick %d" % DELETE_READ)
            self.assertEqual(len(q.chain(GROUP)), 6)
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assertEqual(len(q.chain(GROUP)), 5)
        self.assert_fine(q)


class Maintenance(Effects):
    def sizes(self, q):
        return [row["texts"][1] for row in self.page_control(q, DATABASES_LIST)["rows"]]

    def test_purging_asks_and_leaves_nothing(self):
        with self.open() as q:
            q.open_node("<ann@x>")
            self.open_sheet(q, "Database Management")
            q.expect(PURGES, "no")
            q.press(PURGE)
            self.assertEqual(len(q.chain(GROUP)), 6)
            q.expect(PURGES, "yes")
            q.press(PURGE)
            self.assertEqual(q.chain(GROUP), [])
            self.cancel(q)
            self.assertFalse(q.current()["exists"])
            q.do("tab group")
            self.assertEqual(q.groups(), [(GROUP, "checked", "0/0")])
            self.assert_tree_empty(q)
        self.assert_fine(q)

    def assert_tree_empty(self, q):
        q.do("tab thread")
        self.assertEqual(q.tree()["rows"], [])

    def test_compacting_asks_and_keeps_everything(self):
        big = {n: post("n%d" % n, "S%d" % n, body="%d\r\n" % n * 600) for n in range(1, 41)}
        with self.open(big, values={"maxarticles": 100, "autodelete": 2}) as q:
            q.expect("Mark articles", "yes", "optional")
            q.command(MARK_READ)
            for n in (41, 42):
                self.server.groups[GROUP][n] = post("n%d" % n, "S%d" % n)
            q.connect()
            q.open_group(GROUP)
            q.expect("Really delete all read articles?", "yes")
            q.command(40014)
            left = q.chain(GROUP)
            self.open_sheet(q, "Database Management")
            before = (self.news_folder / "Quillet articles.gdb").stat().st_size
            q.expect(COMPACTS, "no")
            q.press(COMPACT)
            self.assertEqual((self.news_folder / "Quillet articles.gdb").stat().st_size, before)
            q.expect(COMPACTS, "yes")
            q.press(COMPACT)
            size = (self.news_folder / "Quillet articles.gdb").stat().st_size
            self.assertLess(size, before)
            self.cancel(q)
            self.assertEqual(q.chain(GROUP), left)
            self.assertEqual(len(left), 2)
        self.assert_fine(q)


class Cards(Effects):
    """Cards are folders mounted where nobody but the program sees them."""

    MOVES = "Databases already exist in new location.  Replace with old databases?"
    STAYS = "The databases could not be moved. They stay where they are."

    def setUp(self):
        super().setUp()
        done = subprocess.run([*self.cards(), "true"], capture_output=True, check=False)
        if done.returncode != 0:
            self.skipTest("unshare, mount: %s" % done.stderr.decode())

    def cards(self, **options):
        """Words before the program: with these cards, name and how it is mounted. A card without a
        word of its own is a folder beside the profile and outlives the run."""
        words = ["mount -t tmpfs none /media"]
        for name, how in options.items():
            folder = self.profile.parent / (self.profile.name + "-" + name)
            folder.mkdir(exist_ok=True)
            place = "/media/%s/%s" % (pwd.getpwuid(0).pw_name, name)
            words.append("mkdir -p " + place)
            if how == "full":
                words.append("mount -t tmpfs -o size=8k none " + place)
            else:
                words.append("mount --bind %s %s" % (shlex.quote(str(folder)), place))
            if how == "read-only":
                words.append("mount -o remount,bind,ro " + place)
        user = [] if os.geteuid() == 0 else ["--map-root-user"]
        return ["unshare", *user, "--mount", "--propagation", "private", "sh", "-c",
                " && ".join(words) + ' && exec "$@"', "sh"]

    def card_files(self, name):
        folder = self.profile.parent / (self.profile.name + "-" + name) / "Quillet CE News"
        return sorted(path.name for path in folder.glob("*.gdb")) if folder.exists() else None

    def own_files(self):
        return sorted(path.name for path in self.news_folder.glob("*.gdb"))

    def forget_cards(self):
        for folder in self.profile.parent.glob(self.profile.name + "-*"):
            shutil.rmtree(folder)

    def fetched(self, **options):
        """A running program that has fetched everything, with these cards."""
        self.forget_cards()
        return self.download(wrapper=self.cards(**options))

    def move(self, q, place):
        self.change(q, "Database Management", choose(STORE, place))

    def assert_all_there(self, q):
        self.assertEqual(len(q.chain(GROUP)), 6)
        self.assertEqual(q.article("<ann@x>")["body"], "Text of ann.")

    def test_articles_move_to_a_card_and_back(self):
        with self.fetched(Card="", Other="") as q:
            self.open_sheet(q, "Database Management")
            self.assertEqual(self.page_control(q, STORE)["choices"], ["Internal", "Card", "Other"])
            self.assertEqual(self.shown(q, STORE), ["Internal"])
            self.cancel(q)
            self.move(q, "Card")
            self.assertEqual((self.own_files(), self.card_files("Card")), ([], sorted(DATABASES)))
            self.assertEqual(q.registry("databasestore"), "Card")
            self.assert_all_there(q)
        self.assert_fine(q)
        with self.run_quillet(wrapper=self.cards(Card="", Other="")) as q:
            self.assert_all_there(q)
            self.move(q, "Other")
            self.assertEqual((self.card_files("Card"), self.card_files("Other")),
                             ([], sorted(DATABASES)))
            self.move(q, "Internal")
            self.assertEqual((self.card_files("Other"), self.own_files()), ([], sorted(DATABASES)))
            self.assertEqual(q.registry("databasestore"), "")
            self.assert_all_there(q)
            self.assert_silent(q)
        self.assert_fine(q)

    def test_what_a_card_has_is_replaced_or_nothing_changes(self):
        with self.fetched(Card="") as q:
            self.move(q, "Card")
        with self.run_quillet() as q:
            self.assertEqual(q.chain(GROUP), [], "the card is out")
        self.assert_fine(q)
        with self.run_quillet(wrapper=self.cards(Card="")) as q:
            self.assertEqual(q.registry("databasestore"), "")
            q.expect(self.MOVES, "no")
            self.move(q, "Card")
            self.assertEqual(q.registry("databasestore"), "")
            self.assertEqual(q.chain(GROUP), [])
            self.open_sheet(q, "Database Management")
            self.assertEqual(self.shown(q, STORE), ["Internal"])
            self.cancel(q)
            q.expect(self.MOVES, "yes")
            self.move(q, "Card")
            self.assertEqual(q.registry("databasestore"), "Card")
            self.assertEqual(q.chain(GROUP), [])
        self.assert_fine(q)

    def test_articles_of_a_card_come_back_after_a_start_without_it(self):
        with self.fetched(Card="") as q:
            self.move(q, "Card")
        with self.run_quillet() as q:
            q.do("wait")
        self.assert_fine(q)
        card = self.profile.parent / (self.profile.name + "-Card") / "Quillet CE News"
        for path in card.iterdir():
            shutil.copy(path, self.news_folder)
        with self.run_quillet(wrapper=self.cards(Card="")) as q:
            self.assert_all_there(q)
            q.expect(self.MOVES, "yes")
            self.move(q, "Card")
            self.assertEqual((self.own_files(), self.card_files("Card")), ([], sorted(DATABASES)))
            self.assert_all_there(q)
            self.assertEqual(len(q.boxes()), 1)
        self.assert_fine(q)

    def test_a_card_that_cannot_be_written_is_not_offered(self):
        with self.fetched(Card="read-only") as q:
            self.open_sheet(q, "Database Management")
            self.assertEqual(self.page_control(q, STORE)["choices"], ["Internal"])
            self.cancel(q)
        self.assert_fine(q)

    def test_a_card_that_is_too_small_changes_nothing(self):
        with self.fetched(Card="full") as q:
            self.move(q, "Card")
            self.assertEqual([box[1] for box in q.boxes()], [self.STAYS])
            self.assertEqual(q.registry("databasestore"), "")
            self.assertEqual(self.own_files(), sorted(DATABASES))
            self.assert_all_there(q)
            self.open_sheet(q, "Database Management")
            self.assertEqual(self.shown(q, STORE), ["Internal"])
            self.cancel(q)
        self.assert_fine(q)
        with self.run_quillet() as q:
            self.assert_all_there(q)
        self.assert_fine(q)


class Confirmations(Effects):
    def test_can_be_skipped(self):
        with self.open() as q:
            self.change(q, "Advanced", "tick %d" % SKIP)
            q.command(40015)
            self.assertEqual(q.chain(GROUP), [])
            self.assert_silent(q)
            self.change(q, "Advanced", "untick %d" % SKIP)
            q.do("tab group")
            q.expect("Mark articles in checked groups as read?", "no")
            q.command(MARK_READ)
        self.assert_fine(q)


if __name__ == "__main__":
    main()
