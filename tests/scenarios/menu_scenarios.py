# SPDX-License-Identifier: GPL-3.0-or-later
"""Menus, buttons and accelerators of the three views, and moving between the views."""

from scenario import *


def item(depth, text, command, shortcut=None):
    entry = {"depth": depth, "text": text, "command": command}
    if shortcut:
        entry["shortcut"] = shortcut
    return entry


def sub(depth, text):
    return {"depth": depth, "text": text}


def line(depth):
    return {"depth": depth, "separator": True}


MARK = [
    sub(1, "Mark"),
    item(2, "Articles &read", 40024, "Ctrl+M"),
    item(2, "Articles &unread", 40025, "Ctrl+U"),
    line(2),
    item(2, "&Server read", 40026, "Ctrl+Shift+M"),
    item(2, "S&erver unread", 40027, "Ctrl+Shift+U"),
]

GROUP_MENU = [
    sub(0, "File"),
    item(1, "C&onnect", 40008, "Ctrl+1"),
    item(1, "&Import...", 40060),
    line(1),
    item(1, "&Quick Setup", 40061),
    item(1, "&Preferences", 40009),
    item(1, "&Close", 40001, "Ctrl+W"),
    sub(0, "Group"),
    sub(1, "Groups"),
    item(2, "&New group", 40020),
    item(2, "&Remove groups", 40021),
    line(2),
    item(2, "Select &all", 40012, "Ctrl+A"),
    item(2, "Select n&one", 40013),
    *MARK,
    sub(1, "Delete"),
    item(2, "&Read articles", 40014, "Ctrl+Alt+R"),
    item(2, "&All articles", 40015, "Ctrl+Alt+D"),
    sub(1, "Post"),
    item(2, "&New article", 40030, "Ctrl+N"),
    item(2, "&View post queue", 40029),
    item(1, "Add to &killfile", 40049, "Ctrl+K"),
    sub(0, "Help"),
    item(1, "&About...", 40010),
    item(1, "&User guide", 40082, "F1"),
]

THREAD_MENU = [
    sub(0, "File"),
    item(1, "&Preferences", 40009),
    item(1, "&Close", 40001, "Ctrl+W"),
    sub(0, "Thread"),
    *MARK,
    sub(1, "Delete"),
    item(2, "&Read articles", 40014, "Ctrl+Alt+R"),
    item(2, "&All articles", 40015, "Ctrl+Alt+D"),
    line(2),
    item(2, "&Selected article", 40053, "Ctrl+Alt+A"),
    item(2, "Selected &thread", 40028, "Ctrl+Alt+T"),
    item(1, "&Post new article", 40030, "Ctrl+N"),
    item(1, "Add to &killfile", 40049, "Ctrl+K"),
    item(1, "&Find", 40048, "Ctrl+F"),
    item(1, "&Rethread", 40062),
    sub(0, "Help"),
    item(1, "&About...", 40010),
    item(1, "&User guide", 40082, "F1"),
]

ARTICLE_MENU = [
    sub(0, "File"),
    item(1, "&Save as...", 40057, "Ctrl+S"),
    line(1),
    item(1, "&Preferences...", 40009),
    item(1, "&Close", 40001, "Ctrl+W"),
    sub(0, "Article"),
    sub(1, "Navigate"),
    item(2, "Previous &thread", 40018, "Ctrl+Up"),
    item(2, "&Previous article", 40017, "Ctrl+Left"),
    item(2, "&Next article", 40019, "Ctrl+Right"),
    item(2, "Next t&hread", 40016, "Ctrl+Down"),
    item(2, "Next &unread", 40081, "N"),
    item(1, "Mark &unread", 40025, "Ctrl+U"),
    sub(1, "Delete"),
    item(2, "&Article", 40011, "Ctrl+Alt+A"),
    item(2, "&Thread", 40028, "Ctrl+Alt+T"),
    sub(1, "Post"),
    item(2, "&New article", 40055),
    item(2, "&Reply", 40023, "Ctrl+R"),
    item(2, "&Forward via email", 40033, "Ctrl+E"),
    item(1, "Add to &killfile", 40049, "Ctrl+K"),
    item(1, "&Find", 40048, "Ctrl+F"),
    item(1, "Find &again", 40051, "Ctrl+3"),
    item(1, "ROT &13", 40022, "Ctrl+2"),
    item(1, "&Show headers", 40056),
    item(1, "&Toggle Auto-Remove CRs", 40064, "Ctrl+Shift+C"),
    item(1, "&Raw text", 40080, "Ctrl+Shift+R"),
    sub(0, "Help"),
    item(1, "&About...", 40010),
    item(1, "&User guide", 40082, "F1"),
]

BUTTONS = {
    "group": [{"command": 40008, "tooltip": "Connect"},
              {"command": 40050, "tooltip": "Check/uncheck all"}],
    "thread": [{"command": 40048, "tooltip": "Find"}],
    "article": [],
}

# The group view binds the server marks to Ctrl+Alt though its menu shows Ctrl+Shift.
ACCELERATORS = {
    "group": {
        "Ctrl+1": 40008, "Ctrl+A": 40012, "Ctrl+Alt+D": 40015, "Ctrl+K": 40049, "Ctrl+M": 40024,
        "Ctrl+Alt+M": 40026, "Ctrl+N": 40030, "Ctrl+Alt+R": 40014, "Ctrl+U": 40025,
        "Ctrl+Alt+U": 40027, "Ctrl+W": 40001, "F1": 40082},
    "thread": {
        "Ctrl+Alt+A": 40053, "Ctrl+Alt+D": 40015, "Ctrl+F": 40048, "Ctrl+K": 40049,
        "Ctrl+M": 40024, "Ctrl+Shift+M": 40026, "Ctrl+N": 40030, "Ctrl+Alt+R": 40014,
        "Ctrl+Alt+T": 40028, "Ctrl+U": 40025, "Ctrl+Shift+U": 40027, "Ctrl+W": 40001,
        "F1": 40082},
    "article": {
        "Ctrl+2": 40022, "Ctrl+3": 40051, "Ctrl+Alt+A": 40011, "Ctrl+C": 40066,
        "Ctrl+Shift+C": 40064, "Ctrl+E": 40033, "Ctrl+F": 40048, "Ctrl+K": 40049,
        "Ctrl+R": 40023, "Ctrl+Shift+R": 40080, "Ctrl+S": 40057, "Ctrl+Alt+T": 40028, "Ctrl+U": 40025,
        "Ctrl+Down": 40016, "Ctrl+Left": 40017, "Ctrl+Right": 40019, "Ctrl+Up": 40018,
        "Ctrl+W": 40001, "F1": 40082},
}


class Menus(Scenario):
    def test_trees_buttons_and_keys_of_the_three_views(self):
        with self.run_quillet() as q:
            for view, tree in (("group", GROUP_MENU), ("thread", THREAD_MENU),
                               ("article", ARTICLE_MENU)):
                q.do("tab " + view)
                menu = q.ask("menu")
                self.assertEqual(menu["view"], view)
                self.assertEqual(menu["entries"], tree)
                self.assertEqual(menu["buttons"], BUTTONS[view])
                keys = {entry["key"]: entry["command"] for entry in menu["accelerators"]}
                self.assertEqual(keys, ACCELERATORS[view])
                self.assertEqual(len(keys), len(menu["accelerators"]))
        self.assert_fine(q)

    def test_about_box_closes_with_its_ok(self):
        with self.run_quillet() as q:
            q.do("command Help/About")
            q.do("wait-dialog 121")
            dialog = q.ask("dialog")
            self.assertEqual(dialog["caption"], "About Quillet CE")
            texts = " ".join(c["text"] for c in dialog["controls"])
            for part in ("Quillet CE", "GPL-3.0-or-later", "F1", "man quillet", "gdbm 1.", "bzip2 1.",
                         "SQLite 3.", "OpenSSL 3.", "GMime 3."):
                self.assertIn(part, texts)
            q.do("press 1")
            q.do("wait")
            self.assertEqual(len(q.of("dialog-closed")), 1)
            q.do("command 40010")
            q.do("wait-dialog 121")
            q.do("key Escape")
            q.do("wait")
            self.assertEqual(len(q.of("dialog-closed")), 2)
        self.assert_fine(q)

    def test_f1_asks_for_the_guide_in_each_view_and_in_a_dialog(self):
        with self.run_quillet() as q:
            for view in ("group", "thread", "article"):
                q.do("tab " + view)
                q.do("key F1")
                q.do("wait")
            q.do("command 40010")
            q.do("wait-dialog 121")
            q.do("key F1")
            q.do("key Escape")
            q.do("wait")
        self.assertEqual(len(q.of("guide")), 4)

    def test_preferences_command_opens_the_sheet_from_each_view(self):
        with self.run_quillet() as q:
            for view in ("group", "thread", "article"):
                q.do("tab " + view)
                q.do("command File/Preferences")
                q.do("wait-dialog")
                self.assertEqual(q.ask("dialog")["caption"], "Quillet CE Preferences")
                q.press(2)
                self.assertEqual(q.tab(), view)
        self.assert_fine(q)
        self.assert_silent(q)


class Views(Scenario):
    def selected(self, q):
        return q.ask("tabs")["selected"]

    def test_escape_goes_back_one_view_at_a_time(self):
        with self.run_quillet() as q:
            q.do("tab article")
            for expected in ("thread", "group", "group"):
                q.do("key Escape")
                self.assertEqual(self.selected(q), expected)

    def test_the_silent_key_goes_back_like_escape(self):
        with self.run_quillet() as q:
            q.do("tab thread")
            q.do("key F24")
            self.assertEqual(self.selected(q), "group")

    def test_escape_in_a_dialog_leaves_the_view(self):
        with self.run_quillet() as q:
            q.do("tab thread")
            q.do("command 40010")
            q.do("wait-dialog")
            q.do("key Escape")
            self.assertEqual(self.selected(q), "thread")

    def test_opening_a_group_shows_the_thread_view(self):
        for lines in (["activate a.two"], ["select a.two", "key Return"],
                      ["select a.two", "tab thread"]):
            with self.subTest(lines), self.run_with(groups=["a.one", "a.two"]) as q:
                for line_of_script in lines:
                    q.do(line_of_script)
                self.assertEqual(self.selected(q), "thread")
                q.do("key Escape")
                self.assertEqual(self.selected(q), "group")
                self.assertEqual(q.ask("groups")["selected"], 1)

    def test_a_key_of_another_view_does_nothing(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("tab thread")
            q.do("key Ctrl+A")  # "select all" in the group view only
            q.do("key Ctrl+Alt+M")  # asks a question in the group view
            q.do("key Ctrl+Shift+M")  # the thread view's own
            q.do("wait")
        self.assert_fine(q)
        self.assert_silent(q)

    def test_tabs_stand_where_sidetabs_says(self):
        for sidetabs, placement in ((0, "bottom"), (1, "left"), (2, "right"), (7, "bottom")):
            with self.subTest(sidetabs), self.run_with(values={"sidetabs": sidetabs}) as q:
                tabs = q.ask("tabs")
                self.assertEqual((tabs["exists"], tabs["placement"]), (True, placement))

    def test_article_view_leaves_room_for_its_toolbar_and_follows_the_window(self):
        with self.run_quillet(work_area="240x320") as q:
            self.assertEqual(q.ask("window")["tab_area"], {"width": 240, "height": 294})
            q.do("tab article")
            self.assertEqual(q.ask("window")["tab_area"], {"width": 240, "height": 268})
            q.do("resize 1920x1054")
            window = q.ask("window")
            self.assertEqual(window["tab_area"], {"width": 1920, "height": 1028})
            self.assertEqual(window["inside"], {"width": 1920, "height": 1054})
            q.do("tab group")
            self.assertEqual(q.ask("window")["tab_area"], {"width": 1920, "height": 1054})

    def test_links_go_to_the_opener_and_empty_ones_nowhere(self):
        with self.run_quillet() as q:
            q.do("tab article")
            q.do('link "http://www.example.org/a?b=c"')
            q.do('link ""')
            q.do("wait")
        self.assert_fine(q)
        self.assertEqual([(e["target"], e["opened"]) for e in q.of("link")],
                         [("http://www.example.org/a?b=c", True)])


if __name__ == "__main__":
    main()
