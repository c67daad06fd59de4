# SPDX-License-Identifier: GPL-3.0-or-later
"""Passwords in the desktop's password store: the switch on its page, several starts, a store that
is locked or away."""

import os
import subprocess
import sys
import tempfile
import time

from settings import *

MOCK = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))),
                    "port", "secret_service_mock.py")
SERVICE, ROOT = "org.freedesktop.secrets", "/org/freedesktop/secrets"
# Without services that the bus could start by itself.
BUS = """<busconfig><type>session</type><listen>%s</listen><policy context="default">
<allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy></busconfig>"""
LOCKED = ("The desktop's password store stays locked. Until Quillet CE is started again, passwords "
          "that are kept there cannot be used, and others are kept in the preferences.")
SILENT = LOCKED.replace("stays locked", "does not answer")


class PasswordStore(Settings):
    def setUp(self):
        super().setUp()
        try:
            import dbus  # pylint: disable=import-outside-toplevel
        except ImportError as error:
            self.skipTest(str(error))
        folder = tempfile.TemporaryDirectory()  # the name of a socket cannot be long
        self.addCleanup(folder.cleanup)
        address = "unix:path=%s/bus" % folder.name
        self.env = {"DBUS_SESSION_BUS_ADDRESS": address}
        with open(folder.name + "/bus.conf", "w", encoding="utf-8") as config:
            config.write(BUS % address)
        self.spawn("dbus-daemon", "--nofork", "--nopidfile",
                   "--config-file=%s/bus.conf" % folder.name)
        self.until(lambda: os.path.exists(folder.name + "/bus"))
        self.service = self.spawn(sys.executable, "-B", MOCK)
        self.bus = dbus.bus.BusConnection(address)
        self.addCleanup(self.bus.close)
        self.until(lambda: self.bus.name_has_owner(SERVICE))
        self.mock = dbus.Interface(self.bus.get_object(SERVICE, ROOT), "quillet.Mock")

    def spawn(self, *words):
        process = subprocess.Popen(words, env=dict(os.environ, **self.env),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def until(self, condition):
        end = time.monotonic() + 30
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.05)

    def run_quillet(self, *arguments, env=None, **keywords):
        return super().run_quillet(*arguments, env=dict(self.env, **(env or {})), **keywords)

    def switch(self, q, on):
        self.open_sheet(q, "Extensions")
        q.do("%s %d" % ("tick" if on else "untick", PASSWORD_STORE))
        self.ok(q)

    def type_password(self, q, text):
        self.open_sheet(q, "Server")
        q.set(PASSWORD, text)
        self.ok(q)

    def passwords_shown(self, q):
        self.open_sheet(q, "Server")
        shown = []
        for server in (SERVER_ONE, SERVER_TWO):
            q.choose(SERVERS, server)
            shown += self.shown(q, PASSWORD)
        self.cancel(q, apply=False)
        return shown

    @staticmethod
    def told(q):
        q.do("wait")
        return [text for _, text, _ in q.boxes() if text != DISCARDS]

    def in_registry(self):
        return self.stored()["authpasses"][1]

    def kept(self):
        return [str(text) for text in self.mock.Texts()]

    def test_there_and_back_by_the_switch(self):
        before = self.use_settings()
        with self.run_quillet() as q:
            self.switch(q, True)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Extensions", {
            "Extensions\\passwordstore": 1, "authpasses": [empty(""), empty("")],
            "passwordset": 1}))
        self.assertEqual(self.kept(), ["Quillet CE: ann at one.example.org=one",
                                       "Quillet CE: bob at two.example.org=two"])
        with self.run_quillet() as q:
            self.assertEqual(self.passwords_shown(q), ["one", "two"])
            self.type_password(q, "n\u00e9w")
            self.assertEqual(self.told(q), [])
        self.assert_fine(q)
        self.assertEqual(self.in_registry(), [empty(""), empty("")])
        self.assertEqual(len(self.kept()), 2)
        with self.run_quillet() as q:
            self.switch(q, False)
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Extensions", {
            "Extensions\\passwordstore": 0, "authpasses": ["n\u00e9w", "two"], "passwordset": 0}))
        self.assertEqual(self.kept(), [])
        self.assertEqual(self.mock.Prompts(), 0)

    def test_off_nobody_is_asked(self):
        self.mock.Lock()
        before = self.use_settings()
        with self.run_quillet() as q:
            self.type_password(q, "new")
            self.assert_silent(q)
        self.assert_fine(q)
        self.assertEqual(self.stored(), self.changed(before, "Server", {
            "authpasses": ["new", "two"]}))
        self.assertEqual((self.kept(), self.mock.Prompts()), ([], 0))

    def test_the_user_is_asked_once_in_a_run(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.switch(q, True)
        self.mock.Lock()
        self.mock.Answer("dismiss")
        with self.run_quillet() as q:
            self.assertEqual(self.told(q), [LOCKED])
            self.assertEqual(self.passwords_shown(q), ["", ""])
            for password in "typed", "typed again":
                self.type_password(q, password)
            self.assertEqual(self.told(q), [LOCKED])
        self.assert_fine(q)
        self.assertEqual(self.mock.Prompts(), 1)
        self.assertEqual(self.in_registry(), ["typed again", empty("")])
        self.mock.Answer("accept")
        with self.run_quillet() as q:
            self.assertEqual(self.passwords_shown(q), ["typed again", "two"])
            self.assertEqual(self.told(q), [])
        self.assert_fine(q)
        self.assertEqual(self.mock.Prompts(), 2)
        self.assertEqual(self.in_registry(), [empty(""), empty("")])

    def test_a_store_that_has_gone_is_told_once_and_loses_nothing(self):
        self.use_settings()
        with self.run_quillet() as q:
            self.switch(q, True)
            self.service.kill()
            self.until(lambda: not self.bus.name_has_owner(SERVICE))
            for password in "new", "newer":
                self.type_password(q, password)
            self.assertEqual(self.told(q), [SILENT])
        self.assert_fine(q)
        self.assertEqual(self.in_registry(), ["newer", "two"])


if __name__ == "__main__":
    main()
