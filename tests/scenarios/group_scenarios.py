# SPDX-License-Identifier: GPL-3.0-or-later
"""The group list and the commands on the ticked groups."""

from scenario import *

NOT_TOPMOST_YES_NO = {"caption": "Quillet confirmation", "buttons": "yesno",
                      "icon": "exclamation", "topmost": False, "owner": "none"}


def names(q):
    return [name for name, _, _ in q.groups()]


def ticked(q):
    return [name for name, box, _ in q.groups() if box == "checked"]


class Boxes(Scenario):
    def test_select_all_none_and_toggle(self):
        with self.run_with(groups=["a.one", "a.two", "a.three"]) as q:
            q.do('command "Group/Groups/Select none"')
            self.assertEqual(ticked(q), [])
            q.do("tick a.two")
            q.do('button "Check/uncheck all"')
            self.assertEqual(ticked(q), ["a.one", "a.two", "a.three"])
            q.do("command 40050")
            self.assertEqual(ticked(q), [])
            q.do("key Ctrl+A")
            self.assertEqual(ticked(q), ["a.one", "a.two", "a.three"])
        self.assert_fine(q)

    def test_columns_and_texts(self):
        with self.run_with(groups=["a.one"]) as q:
            groups = q.ask("groups")
        self.assertEqual([(c["title"], c["centred"]) for c in groups["columns"]],
                         [("Newsgroup", False), ("Unread", True)])
        self.assertEqual(groups["rows"], [{"name": "a.one", "box": "checked", "counts": "0/0"}])

    def test_column_widths_are_saved_and_used_again(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("column 0 123")
            q.do("column 1 45")
        self.assertEqual(self.read_back()["columnWidths"][2], "7b0000002d000000")
        with self.run_quillet() as q:
            widths = [column["width"] for column in q.ask("groups")["columns"]]
        self.assertEqual(widths, [123, 45])

    def test_the_blank_toggles_the_selected_row(self):
        with self.run_with(groups=["a.one", "a.two"]) as q:
            q.do("select a.two")
            q.do("key Space")
            self.assertEqual(ticked(q), ["a.one"])


class NewGroup(Scenario):
    def add(self, q, text, button=1):
        before = len(q.of("dialog-closed"))
        q.do("command 40020")
        q.do("wait-dialog 122")
        q.do("set 1001 " + quillet_script.quoted(text))
        q.do("press %d" % button)
        q.do("wait-for dialog-closed %d" % (before + 1))
        q.do("wait")

    def test_the_dialog_and_an_accepted_name(self):
        with self.run_with(groups=["a.one"]) as q:
            q.do("untick a.one")
            self.add(q, "  comp.lang.c++ ")
            self.assertEqual(q.groups(), [("a.one", "unchecked", "0/0"),
                                          ("comp.lang.c++", "checked", "0/0")])
            self.assertEqual(q.registry("groups"), ["a.one", "comp.lang.c++"])
            self.assertEqual(q.registry("numgroups"), 2)
        self.assert_fine(q)
        self.assert_silent(q)
        dialog = q.of("dialog")[0]
        self.assertEqual((dialog["caption"], dialog["owner"]),
                         ("Subscribe to newsgroup", "main"))
        texts = [control["text"] for control in dialog["controls"]]
        self.assertIn("Group name to add:", texts)
        buttons = [(c["id"], c["text"].replace("&", "")) for c in dialog["controls"]
                   if c["kind"] == "button"]
        self.assertEqual(buttons, [(1, "OK"), (2, "Cancel")])
        self.assertEqual(self.read_back()["checked"][1], [0, 1])

    def test_cancel_adds_nothing(self):
        with self.run_with(groups=["a.one"]) as q:
            self.add(q, "a.two", button=2)
            self.assertEqual(names(q), ["a.one"])
        self.assert_silent(q)

    def test_return_accepts_and_escape_cancels(self):
        with self.run_with() as q:
            for key, text in (("Return", "a.one"), ("Escape", "a.two")):
                q.do("command 40020")
                q.do("wait-dialog 122")
                q.do("set 1001 " + text)
                q.do("key " + key)
                q.do("wait")
            self.assertEqual(names(q), ["a.one"])

    def test_each_bad_name_is_rejected_with_a_message_of_its_own(self):
        seen = {}
        with self.run_with(groups=["a.one"]) as q:
            for kind, text in (("empty", ""), ("only blanks", "   "), ("blank", "a two"),
                               ("comma", "a,b"), ("control", "a\tb"), ("control", "a\u0001b"),
                               ("present", "a.one")):
                boxes = len(q.boxes())
                self.add(q, text)
                self.assertEqual(len(q.boxes()), boxes + 1, kind)
                caption, message, answer = q.boxes()[-1]
                self.assertEqual((caption, answer), ("Quillet", "ok"))
                self.assertNotEqual(message, "")
                seen.setdefault(kind, message)
                self.assertEqual(names(q), ["a.one"], kind)
        self.assert_fine(q)
        self.assertEqual(self.read_back()["groups"][1], ["a.one"])
        self.assertNotEqual(seen["empty"], seen["present"])
        self.assertEqual(seen["empty"], seen["only blanks"])

    def test_names_beyond_ascii_survive_a_restart(self):
        name = "de.caf\u00e9.\u20ac"
        with self.run_with() as q:
            self.add(q, name)
        with self.run_quillet() as q:
            self.assertEqual(names(q), [name])

    def test_names_that_the_store_cannot_hold_are_refused(self):
        with self.run_with() as q:
            self.add(q, "\u65e5\u672c.\u20ac.\U0001f600")
            self.assertEqual(names(q), [])
        self.assertEqual([text for _, text, _ in q.boxes()], [
            "Some characters of this text cannot be used here: \u65e5 \u672c \U0001f600"])
        self.assert_fine(q)

    def test_the_window_takes_no_input_while_the_dialog_is_open(self):
        for refused in ("command 40012", "tick a.one", "select a.one", "tab thread", "close"):
            with self.subTest(refused):
                q = self.run_with(groups=["a.one"])
                q.do("command 40020")
                q.do("wait-dialog 122")
                with self.assertRaises(quillet_script.Failed):
                    q.do(refused)
                self.assertEqual(q.await_end(), 1)
                self.assertEqual(q.exit_code(), 0)


class RemoveGroups(Scenario):
    QUESTION = "Really delete the checked groups?"

    def test_two_adjacent_groups_go_at_once(self):
        with self.run_with(groups=["a.one", "a.two", "a.three", "a.four"]) as q:
            q.do("untick a.one a.four")
            q.expect(self.QUESTION, "yes")
            q.do("command 40021")
            self.assertEqual(q.groups(), [("a.one", "unchecked", "0/0"),
                                          ("a.four", "unchecked", "0/0")])
        self.assert_fine(q)
        box = q.of("box")[0]
        self.assertEqual({key: box[key] for key in NOT_TOPMOST_YES_NO}, NOT_TOPMOST_YES_NO)
        self.assertEqual(self.read_back()["groups"][1], ["a.one", "a.four"])

    def test_all_groups(self):
        with self.run_with(groups=["a.one", "a.two"]) as q:
            q.expect(self.QUESTION, "yes")
            q.do("command 40021")
            self.assertEqual(q.groups(), [])
        back = self.read_back()
        self.assertEqual((back["numgroups"][1], back["groups"][1]), (0, []))

    def test_no_keeps_everything(self):
        with self.run_with(groups=["a.one", "a.two"]) as q:
            q.expect(self.QUESTION, "no")
            q.do("command 40021")
            self.assertEqual(names(q), ["a.one", "a.two"])

    def test_confirmations_can_be_switched_off(self):
        with self.run_with(groups=["a.one"], values={"skipverifications": 1}) as q:
            q.do("command 40021")
            self.assertEqual(names(q), [])
        self.assert_fine(q)
        self.assert_silent(q)


class Marks(Scenario):
    QUESTIONS = {
        40024: "Mark articles in checked groups as read?",
        40025: "Mark articles in checked groups as unread?",
        40014: "Really delete read articles in checked groups?",
        40015: "Really delete all articles in checked groups?",
        40026: "This may cause Quillet CE to skip articles on the server. Are you sure?",
        40027: "This may cause Quillet CE to download duplicates of articles that it already "
               "has. Are you sure?",
    }

    def test_each_command_asks_its_question_and_no_does_nothing(self):
        with self.run_with(groups=["a.one"]) as q:
            for command, text in self.QUESTIONS.items():
                q.expect(text, "no")
                q.do("command %d" % command)
                q.do("wait")
                box = q.of("box")[-1]
                self.assertEqual(box["text"], text)
                self.assertEqual({key: box[key] for key in NOT_TOPMOST_YES_NO},
                                 NOT_TOPMOST_YES_NO)
        self.assert_fine(q)
        self.assertEqual(q.of("dialog"), [])
        self.assertEqual(len(q.boxes()), len(self.QUESTIONS))

    def test_marking_runs_under_its_title(self):
        with self.run_with(groups=["a.one"]) as q:
            for command, title in (
                    (40024, "Marking articles in checked groups as read..."),
                    (40025, "Marking articles in checked groups as unread...")):
                q.expect("Mark articles in checked groups", "yes")
                q.do("command %d" % command)
                q.do("wait")
                self.assertEqual(q.progress_texts(), [(1020, title)])
        self.assert_fine(q)

    def test_server_marks_say_how_many_groups_and_move_the_positions_of_all_servers(self):
        servers = [("one", 119), ("two", 119)]
        groups = ["a.one", "a.two"]
        q = self.run_with(servers=servers, groups=groups, values={
            "lastdownloaded": [1, 2, 3, 4], "lastonserver": [11, 12, 13, 14]})
        expected = []
        with q:
            q.do("untick a.one a.two")
            self.mark(q, 40026, expected, "Processed 0 groups.")
            q.do("tick a.two")
            self.mark(q, 40026, expected, "Processed 1 group.")
        self.assertEqual(self.read_back()["lastdownloaded"][1], [1, 12, 3, 14])
        with self.run_quillet() as q:
            q.do("tick a.one")
            self.mark(q, 40027, [], "Processed 2 groups.")
            self.assertEqual(q.registry("lastdownloaded"), [1, 12, 3, 14], "not written yet")
        back = self.read_back()
        self.assertEqual(back["lastdownloaded"][1], [0, 0, 0, 0])
        self.assertEqual(back["lastonserver"][1], [11, 12, 13, 14])

    def mark(self, q, command, seen, text):
        q.expect(self.QUESTIONS[command], "yes")
        q.do("command %d" % command)
        q.do("wait")
        box = q.of("box")[-1]
        self.assertEqual(
            (box["caption"], box["text"], box["buttons"], box["icon"], box["owner"]),
            ("Finished marking server(s) read/unread", text, "ok", "none", "main"))

    def test_the_keys_of_the_group_view_reach_the_commands(self):
        keys = {"Ctrl+M": 40024, "Ctrl+U": 40025, "Ctrl+Alt+R": 40014, "Ctrl+Alt+D": 40015,
                "Ctrl+Alt+M": 40026, "Ctrl+Alt+U": 40027}
        with self.run_with(groups=["a.one"]) as q:
            for key, command in keys.items():
                q.expect(self.QUESTIONS[command], "no")
                q.do("key " + key)
                q.do("wait")
            q.do("key Ctrl+Shift+M")  # shown in the menu, not bound
            q.do("key Ctrl+Shift+U")
            q.do("wait")
        self.assert_fine(q)
        self.assertEqual(len(q.boxes()), len(keys))


if __name__ == "__main__":
    main()
