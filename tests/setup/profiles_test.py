#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What quillet-setup makes of fresh profiles and of those of earlier builds."""

import pathlib
import unittest

from setup_case import HERE, SetupCase, number, numbers, text, texts

# pylint: disable=wrong-import-order
from news_servers import NewsServer  # noqa: E402

EARLIER = pathlib.Path(HERE.parent / "data/registry_of_an_earlier_build.txt")
EMPTY = "\ue000"  # how an empty entry of a list is stored
SECURITY = "\\Extensions\\ServerSecurity"


class Fresh(SetupCase):
    def test_it_writes_server_groups_and_numbers(self):
        said = self.assert_done("--server", "127.0.0.1", "--port", "1190", "--group", "a.b",
                                "--group", "c", "--number", "maxarticles=500")
        self.assertEqual(said, "Server 127.0.0.1 with 2 group(s) written to %s/registry.db\n"
                         % self.profile)
        values = self.values()
        for name, value in {
                "numservers": number(1), "numgroups": number(2), "maxarticles": number(500),
                "port": numbers(1190), "checked": numbers(1, 1), "lastdownloaded": numbers(0, 0),
                "useauths": numbers(0), "servers": texts("127.0.0.1"), "groups": texts("a.b", "c"),
                "authusers": texts(EMPTY)}.items():
            self.assertEqual(values[name], value, name)

    def test_values_may_stand_behind_an_equals_sign_and_blanks_around_names_go(self):
        self.assert_done("--server= s ", "--group= g\t", "--port=1")
        values = self.values()
        self.assertEqual((values["servers"], values["groups"], values["port"]),
                         (texts("s"), texts("g"), numbers(1)))

    def test_the_security_of_the_server_is_kept_and_the_usual_port_follows_it(self):
        for security, kept, port in (("none", None, 119), ("tls", 1, 563), ("starttls", 2, 119)):
            self.profile = self.folder / security
            self.assert_done("--server", "news.example.org", "--group", "g", "--security", security)
            self.assertEqual(self.values()["port"], numbers(port))
            self.assertEqual(self.values(SECURITY).get("news.example.org"),
                             kept and number(kept))
        self.profile = self.folder / "other"
        self.assert_done("--server", "s", "--group", "g", "--security", "tls", "--port", "8563")
        self.assertEqual(self.values()["port"], numbers(8563))

    def test_name_address_and_extensions(self):
        self.assert_done("--server", "s", "--group", "g", "--full-name", " Ann \u017b ",
                         "--address", "ann@mail.example", "--number", "autodelete=14", "--number",
                         "stalllimit=0", "--number", "readon=0")
        values = self.values()
        self.assertEqual((values["fullname"], values["returnmailaddress"], values["autodelete"]),
                         (text("Ann \u017b"), text("ann@mail.example"), number(14)))
        self.assertEqual(self.values("\\Extensions"),
                         {"stalllimit": number(0), "readon": number(0)})

    def test_the_program_takes_it_as_its_own(self):
        self.assert_done("--server", "s", "--group", "b", "--group", "a", "--number",
                         "maxarticles=77")
        with self.program() as q:
            q.do("wait")
            self.assertEqual([row[:2] for row in q.groups()], [("b", "checked"), ("a", "checked")])
            self.assertEqual(q.boxes(), [])
        self.assertEqual((q.status, q.exit_code()), (0, 0))
        self.assertEqual(self.values()["maxarticles"], number(77))


class Earlier(SetupCase):
    """Two servers and three groups, with progress, a killfile and other settings."""

    def setUp(self):
        super().setUp()
        with self.program(hold=True) as q:
            for line in EARLIER.read_text(encoding="ascii").splitlines():
                if not line.startswith("#"):
                    q.do("registry-set %s raw %s %s" % tuple(line.split()))
        self.before = self.values()

    def assert_changed(self, changed):
        after = self.values()
        self.assertEqual({name: value for name, value in after.items()
                          if self.before.get(name) != value}, changed)
        self.assertEqual(set(self.before) - set(after), set())

    def test_a_group_is_added_and_all_else_stays(self):
        self.assert_done("--add", "--group", "new.one")
        self.assert_changed({
            "numgroups": number(4), "groups": texts("misc.test", EMPTY, "de.alt.caf\u00e9",
                                                    "new.one"),
            "checked": numbers(1, 0, 1, 1),
            "lastdownloaded": numbers(101, 102, 103, 201, 202, 203, 0, 0),
            "lastonserver": (3, self.before["lastonserver"][1] + b"\0" * 8)})

    def test_a_server_is_added_behind_the_others_and_is_not_selected(self):
        said = self.assert_done("--add", "--server", "third.example", "--security", "tls", "--user",
                                "me")
        self.assertEqual(said, "Server third.example with 0 group(s) written to %s/registry.db\n"
                         % self.profile)
        values = self.values()
        self.assertEqual(values["servers"],
                         texts("news.one.example", "news.two.example", "third.example"))
        self.assertEqual(values["authusers"], texts("reader", EMPTY, "me"))
        self.assertEqual(values["authpasses"], texts("pa ss\u20ac", EMPTY, EMPTY))
        self.assertEqual(values["port"], numbers(119, 1119, 563))
        self.assertEqual(values["useauths"], numbers(1, 0, 1))
        self.assertEqual(values["usentlms"], numbers(0, 1, 0))
        self.assertEqual(values["selectedserver"], number(1))
        self.assertEqual(values["lastdownloaded"],
                         (3, self.before["lastdownloaded"][1] + b"\0" * 12))
        self.assertEqual(self.values(SECURITY), {"third.example": number(1)})
        for name in ("killfilegroups", "killfiletexts", "groups", "signature", "maxarticles"):
            self.assertEqual(values[name], self.before[name], name)

    def test_another_configuration_takes_the_place_and_what_stays_keeps_its_progress(self):
        self.assert_done("--replace", "--server", "NEWS.two.example", "--group", "new.one", "--group",
                         "de.alt.caf\u00e9")
        values = self.values()
        self.assertEqual(values["servers"], texts("news.two.example"))
        self.assertEqual(values["groups"], texts("de.alt.caf\u00e9", "new.one"))
        self.assertEqual(values["checked"], numbers(1, 1))
        self.assertEqual(values["port"], numbers(119))
        self.assertEqual((values["useauths"], values["usentlms"]), (numbers(0), numbers(0)))
        self.assertEqual(values["selectedserver"], number(0))
        self.assertEqual(values["lastdownloaded"], numbers(203, 0))
        # Entries of groups that went go with them, those of others follow their group.
        self.assertEqual(values["killfilecount"], number(2))
        self.assertEqual(values["killfilegroups"], numbers(1, 1))
        self.assertEqual(values["killfileauthors"], numbers(1, 0))
        for name in ("signature", "maxarticles", "prevemail", "fullname", "groupcb"):
            self.assertEqual(values[name], self.before[name], name)

    def test_a_server_of_another_name_begins_anew(self):
        self.assert_done("--replace", "--server", "other.example", "--group", "misc.test")
        values = self.values()
        self.assertEqual((values["servers"], values["groups"], values["lastdownloaded"]),
                         (texts("other.example"), texts("misc.test"), numbers(0)))
        self.assertEqual(values["authpasses"], texts(EMPTY))

    def test_a_server_that_was_secured_is_so_no_more_when_that_is_asked_for(self):
        self.assert_done("--replace", "--server", "s", "--group", "g", "--security", "tls")
        self.assert_done("--replace", "--server", "s", "--group", "g")
        self.assertEqual(self.values(SECURITY), {"s": number(0)})
        self.assertEqual(self.values()["port"], numbers(119))

    def test_the_program_opens_what_was_changed(self):
        self.assert_done("--add", "--server", "third.example", "--group", "new.one")
        with self.program() as q:
            q.do("wait")
            self.assertEqual([row[0] for row in q.groups()],
                             ["misc.test", "", "de.alt.caf\u00e9", "new.one"])
        self.assertEqual((q.status, q.exit_code()), (0, 0))


class Articles(SetupCase):
    """Of a program that has fetched some."""

    ARTICLES = {n: ("From: a@b.example\r\nSubject: %d\r\nMessage-ID: <%d@x>\r\n" % (n, n), "T.\r\n")
                for n in range(1, 4)}

    def groups_after(self, act):
        with self.program() as q:
            act(q)
            groups = q.groups()
            self.assertEqual(q.boxes(), [])
        self.assertEqual((q.status, q.exit_code()), (0, 0))
        return groups

    def test_those_of_a_group_that_went_are_there_again_when_it_comes_back(self):
        with NewsServer({"one": self.ARTICLES, "two": {}}) as server:
            configuration = ("--server", "127.0.0.1", "--port", str(server.port))
            self.assert_done(*configuration, "--group", "one")
            self.assertEqual(self.groups_after(lambda q: q.connect()), [("one", "checked", "3/3")])
            self.assert_done("--replace", *configuration, "--group", "two")
            self.assertEqual(self.groups_after(lambda q: q.connect()), [("two", "checked", "0/0")])
            self.assert_done("--add", "--group", "one")
            self.assertEqual(self.groups_after(lambda q: q.do("wait")),
                             [("two", "checked", "0/0"), ("one", "checked", "3/3")])
            # They are known: nothing comes twice.
            self.assertEqual(self.groups_after(lambda q: q.connect())[1], ("one", "checked", "3/3"))
            self.assertEqual(server.fetched, [("one", 1), ("one", 2), ("one", 3)])


class VeryOld(SetupCase):
    def test_logins_of_the_first_layout_are_converted_and_that_is_told(self):
        with self.program(hold=True) as q:
            for line in ("version dword 1", "numservers dword 1", "numgroups dword 1",
                         'servers multi "s"', 'groups multi "g"', "useauth dword 1",
                         'authuser string "old"', 'authpass string "pw"'):
                q.do("registry-set " + line)
        done = self.run_setup("--add", "--group", "h")
        self.assertEqual(done.returncode, 0)
        self.assertTrue(done.stderr.startswith(
            "quillet-setup: The news server login preferences have changed"), done.stderr)
        values = self.values()
        self.assertEqual((values["version"], values["groups"], values["authusers"]),
                         (number(2), texts("g", "h"), texts("old")))


if __name__ == "__main__":
    unittest.main()
