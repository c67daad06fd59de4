# SPDX-License-Identifier: GPL-3.0-or-later
"""Starting and ending."""

import stat

from scenario import *

DEFAULT_SIGNATURE_START = "-- \r\nPosted with Quillet (for PocketPC) from Brindle Software, Inc.\r\n"

# Every value of a profile that was never configured, but for the texts that the program words
# itself and the killfile's size.
FRESH_REGISTRY = {
    "version": ("dword", 2), "numgroups": ("dword", 0), "numrecips": ("dword", 0),
    "numservers": ("dword", 0), "selectedserver": ("dword", 0), "useautodownload": ("dword", 0),
    "keepheaders": ("dword", 1), "downloadfull": ("dword", 1), "onlinemode": ("dword", 0),
    "beepafter": ("dword", 1), "showheaders": ("dword", 0), "removecrs": ("dword", 0),
    "colorquoted": ("dword", 1), "maxstore": ("dword", 98), "maxarticles": ("dword", 50),
    "fontsize": ("dword", 2), "groupfontsize": ("dword", 3), "threadfontsize": ("dword", 3),
    "articleheaderfontsize": ("dword", 3), "maxarticlesize": ("dword", 4),
    "simplepost": ("dword", 1), "downloadhr": ("dword", 6), "downloadmn": ("dword", 0),
    "downloadsc": ("dword", 0), "killfilecount": ("dword", 0), "killfilesize": ("dword", 4),
    "prefspage": ("dword", 0), "skipverifications": ("dword", 0), "usethreading": ("dword", 1),
    "reversethread": ("dword", 0), "downloadnewest": ("dword", 0), "alwaystransport": ("dword", 0),
    "usecompression": ("dword", 0), "allserversareone": ("dword", 0), "sidetabs": ("dword", 0),
    "autodelete": ("dword", 0), "checked": ("binary", []), "groups": ("multi", []),
    "prevnames": ("multi", []), "prevemail": ("multi", []), "killfiletexts": ("multi", []),
    "attribution": ("string", "In message $i, $a wrote:"), "extraheaders": ("string", ""),
    "quotestring": ("string", "> "), "fullname": ("string", "My Name"),
    "font": ("string", "Arial"), "groupfont": ("string", "Tahoma"),
    "threadfont": ("string", "Tahoma"), "articleheaderfont": ("string", "Tahoma"),
    "conxmethod": ("string", "<none>"), "databasestore": ("string", ""),
    "transport": ("string", ""), "groupcb": ("binary", [0] * 10),
    "threadcb": ("binary", [0] * 10), "articlecb": ("binary", [0] * 10),
}


class Start(Scenario):
    def test_empty_profile_asks_for_its_setup_and_leaves_a_complete_profile(self):
        with self.start_expecting(WELCOME, "cancel") as q:
            q.do("wait")
            self.assertEqual(q.groups(), [])
            self.assertEqual(q.status_text(), "0 articles queued for posting")
        self.assert_fine(q)
        self.assertEqual(len(q.boxes()), 1)
        self.assertEqual(q.exit_code(), 0)
        self.assertEqual(sorted(p.name for p in self.news_folder.iterdir()), sorted(DATABASES))
        for folder in (self.profile, self.profile / "data", self.news_folder):
            self.assertEqual(stat.S_IMODE(folder.stat().st_mode), 0o700, folder)
        for name in DATABASES:
            path = self.news_folder / name
            self.assertGreater(path.stat().st_size, 0)
            self.assertEqual(path.stat().st_mode & 0o007 & ~0o004, 0, "writable for others")
        self.assertEqual(stat.S_IMODE((self.profile / "registry.db").stat().st_mode), 0o600)

    def test_fresh_registry_holds_every_value_with_its_type_and_default(self):
        with self.start_expecting(WELCOME, "cancel") as q:
            q.do("wait")
        found = self.read_back()
        for name, expected in FRESH_REGISTRY.items():
            self.assertIn(name, found)
            self.assertEqual(found[name][:2], expected, name)
        self.assertTrue(found["signature"][1].startswith(DEFAULT_SIGNATURE_START))
        self.assertTrue(found["signature"][1].endswith("\r\n"))
        self.assertEqual(found["columnWidths"][0], "dword")
        self.assertEqual(len(found["columnWidths"][2]), 16)
        rest = set(found) - set(FRESH_REGISTRY)
        self.assertEqual(rest, {"signature", "columnWidths", "returnmailaddress"})

    def test_window_has_the_work_area_less_the_menu_bar(self):
        with self.run_quillet(work_area="800x600") as q:
            window = q.ask("window")
        self.assertEqual((window["title"], window["class"], window["width"], window["height"]),
                         ("Quillet CE 1.14r3", "Quillet CE", 800, 574))
        self.assertTrue(window["visible"])

    def test_end_of_input_before_the_program_is_up_ends_it_properly(self):
        with self.run_quillet() as q:
            pass
        self.assert_fine(q)
        self.assertEqual(q.exit_code(), 0)
        self.assertTrue((self.profile / "registry.db").exists())

    def test_second_start_finds_everything_as_it_was(self):
        self.prepare(servers=[("127.0.0.1", 1190), ("news.example.org", 119)],
                     groups=["comp.test", "de.caf\u00e9", ""], values={"fullname": "\u20ac \U0001f600"})
        first = self.read_back()
        with self.run_quillet() as q:
            self.assertEqual(q.groups(), [("comp.test", "checked", "0/0"),
                                          ("de.caf\u00e9", "checked", "0/0"),
                                          ("", "checked", "0/0")])
        self.assert_fine(q)
        self.assert_silent(q)
        self.assertEqual(self.read_back(), first)
        self.assertEqual(first["port"][1], [1190, 119])
        self.assertEqual(first["fullname"][1], "\u20ac \U0001f600")

    def test_close_command_and_key_end_the_program(self):
        for line in ("command 40001", "command File/Close", "key Ctrl+W", "close"):
            with self.subTest(line):
                q = self.run_quillet()
                q.do(line)
                q.do("wait-for exit")
                self.assertEqual(q.finish(), 0)
                self.assertEqual(q.exit_code(), 0)

    def test_check_marks_are_saved_at_the_end(self):
        with self.run_with(groups=["a.one", "a.two", "a.three"]) as q:
            q.do("untick a.two")
        self.assertEqual(self.read_back()["checked"][1], [1, 0, 1])

    def test_end_of_the_session_saves_without_questions_or_deletion(self):
        q = self.run_with(groups=["a.one", "a.two"], values={"autodelete": 8})
        q.do("untick a.one")
        q.do("end-session")
        q.do("wait-for exit")
        self.assertEqual(q.finish(), 0)
        self.assert_silent(q)
        self.assertEqual(self.read_back()["checked"][1], [0, 1])

    def test_sigterm_saves_and_ends(self):
        q = self.run_with(groups=["a.one", "a.two"])
        q.do("untick a.two")
        q.do("wait")
        q.terminate()
        self.assertEqual(q.await_end(), 0)
        self.assertEqual(q.exit_code(), 0)
        self.assert_silent(q)
        self.assertEqual(self.read_back()["checked"][1], [1, 0])

    def test_sigterm_while_a_dialog_is_open_saves_and_ends(self):
        q = self.run_with(groups=["a.one"])
        q.do("untick a.one")
        q.do("command 40020")
        q.do("wait-dialog 122")
        q.terminate()
        self.assertEqual(q.await_end(), 0)
        self.assertEqual(self.read_back()["checked"][1], [0])

    def test_sigterm_before_the_start_and_after_the_end_ends_the_front(self):
        q = self.run_quillet(hold=True)
        q.do("registry-set fullname string Ann")
        q.terminate()
        self.assertEqual(q.await_end(), 0)
        self.assertEqual(q.of("window-created"), [])
        q = self.start_expecting(WELCOME, "cancel")
        q.do("close")
        q.do("wait-for exit")
        q.terminate()
        self.assertEqual(q.await_end(), 0)

    def test_end_of_input_cancels_an_open_dialog(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("command 40020")
            q.do("wait-dialog 122")
            q.do('set 1001 "a.two"')
        self.assert_fine(q)
        self.assertEqual(self.read_back()["groups"][1], ["a.one"])

    def test_kill_and_restart_keeps_the_groups_and_asks_nothing(self):
        self.prepare(groups=["a.one", "a.two"])
        q = self.run_quillet()
        q.do("untick a.one")
        q.do("wait")
        q.kill()
        with self.run_quillet() as q:
            self.assertEqual([g[0] for g in q.groups()], ["a.one", "a.two"])
        self.assert_fine(q)
        self.assert_silent(q)

    def test_newer_registry_is_reported_once_and_loads(self):
        with self.run_with(groups=["a.one"], values={"version": 3, "fullname": "Ann"}) as q:
            self.assertEqual(q.groups(), [("a.one", "checked", "0/0")])
            self.assertEqual(q.registry("version"), 3)
        self.assert_fine(q)
        self.assertEqual(q.boxes(), [(
            "Quillet",
            "The preferences on this machine are newer than the version of Quillet CE that you "
            "are using. Continuing may have unexpected results unless you reset your preferences "
            "to their default values.", "ok")])
        self.assertEqual(self.read_back()["version"][1], 2)
        self.assertEqual(self.read_back()["fullname"][1], "Ann")

    def test_old_login_layout_is_converted_and_reported(self):
        q = self.run_quillet(hold=True)
        q.set_dword("version", 1)
        q.set_dword("numservers", 2)
        q.set_strings("servers", ["one", "two"])
        q.set_dword("useauth", 1)
        q.set_string("authuser", "ann")
        q.set_string("authpass", "secret")
        q.start()
        q.do("wait")
        self.assertEqual(q.finish(), 0)
        self.assertEqual(q.boxes(), [(
            "Quillet",
            "The news server login preferences have changed, and your old entries have been "
            "converted. If you have multiple news servers, you should make sure that the login "
            "credentials are correct for each server.", "ok")])
        after = self.read_back()
        self.assertEqual(after["version"][1], 2)
        self.assertEqual(after["authusers"][1], ["ann", "ann"])
        self.assertEqual(after["authpasses"][1], ["secret", "secret"])
        self.assertEqual(after["useauths"][1], [1, 1])
        self.assertEqual(after["authuser"][1], "ann", "old values stay")

    def test_wrong_types_sizes_and_counts_in_the_registry_do_not_hinder_the_start(self):
        q = self.run_quillet(hold=True)
        q.do("registry-set numgroups dword 3")
        q.do("registry-set groups multi a.one")
        q.do("registry-set checked binary 010000")
        q.do("registry-set numservers string \"many\"")
        q.do("registry-set maxarticles binary ff")
        q.do("registry-set fullname dword 7")
        q.do("registry-set killfilecount dword 4000000000")
        q.do("registry-set columnWidths raw 4 00")
        q.expect(WELCOME, "cancel")
        q.start()
        self.assertEqual([g[0] for g in q.groups()], ["a.one", "", ""])
        self.assertEqual(q.finish(), 0)

    def test_unknown_arguments_are_refused_with_the_usage_status(self):
        for arguments in (["--frobnicate"], ["AppRunSometime"], ["AppRunAtTime", "twice"]):
            with self.subTest(arguments):
                q = self.run_quillet(*arguments)
                self.assertEqual(q.await_end(), 2)
                self.assertNotEqual(q.errors(), "")
                self.assertFalse(self.profile.exists())


if __name__ == "__main__":
    main()
