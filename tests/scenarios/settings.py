# SPDX-License-Identifier: GPL-3.0-or-later
"""What the scenarios of the settings share: pages, controls, and a profile in which every kind of
value is there."""

import os
import subprocess
import sys
import tempfile
import time

from reading import *

# The pages in their order; the place is what `prefspage` stores.
PAGES = ("Server", "Connection", "Reply information", "Signature", "Download options",
         "Storage options", "Compression", "Killfile", "Group view options", "Thread view options",
         "Article view options", "Scheduling", "Database Management", "Advanced",
         "Advanced:headers", "Advanced: Debugging", "Extensions")

OK, CANCEL = 1, 2
(SERVERS, ADD_SERVER, DELETE_SERVER, PORT, EXTRA_LOGIN, USER, PASSWORD, ENCRYPTED_LOGIN,
 ONE_SERVER) = range(1100, 1109)
SERVER_NAME, METHOD = 1110, 1111
SECURITY = 1212
RETURN_ADDRESS, FULL_NAME, QUOTE_TEXT, ATTRIBUTION, FULL_POST_VIEW = range(1112, 1117)
SIGNATURE, BEEP, NEWEST = 1117, 1118, 1119
(STORE_FULL, MAX_STORE, MAX_STORE_PERCENT, MAX_ARTICLE_SIZE, MAX_ARTICLES,
 DISCARD_HEADERS) = range(1120, 1126)
COMPRESSION_LIBRARY, USE_COMPRESSION, COMPRESS_NOW, UNCOMPRESS_NOW = range(1126, 1130)
(KILLFILE, KILL_SUBJECT, KILL_AUTHOR, KILL, REQUIRE, DELETE_ENTRY, DELETE_FROM_ALL,
 PROPAGATE) = range(1130, 1138)
GROUP_FONT, GROUP_SIZE, THREAD_FONT, THREAD_SIZE, USE_THREADING, REVERSE = range(1138, 1144)
(ARTICLE_FONT, ARTICLE_SIZE, HEADER_FONT, HEADER_SIZE, ALL_HEADERS, NO_CRS,
 COLOR_QUOTED) = range(1144, 1151)
AUTOMATIC, TIME, DELETE_READ, DELETE_ALL, DELETE_BEFORE, DELETE_ON_QUIT = range(1151, 1157)
DATABASES_LIST, STORE, PURGE, COMPACT = range(1157, 1161)
SKIP, LEFT, BOTTOM, RIGHT, CLEAR_TRANSPORT, RESET = range(1161, 1167)
EXTRA_HEADERS, KEEP_LOG, SAVE_LOG, LIBRARY_VERSION = 1167, 1168, 1169, 1170
MESSAGE_IDS, PASSWORD_STORE, IMPORT_PROGRESS = 1180, 1182, 1184
DECODE, CHARSETS, SILENCE, RETRIES, LOGIN_LATER, ADDRESSES = range(1200, 1212, 2)
CROSSPOSTS, ANCESTORS, RESTORE, GUIDE, FIGURES, READ_ON, ROW_DETAILS = range(1216, 1230, 2)

ADD_SERVER_DIALOG, SETUP_1, SETUP_2 = 141, 158, 159
SETUP_SERVER, SETUP_NAME, SETUP_ADDRESS, SETUP_METHOD, SETUP_BACK = range(1190, 1195)
SETUP_PORT, SETUP_SECURITY, SETUP_NOTE = 1213, 1214, 1215

QUICK_SETUP = 40061
DISCARDS = "Do you want to apply these changes? If you press No, the changes will be discarded."
NO_PHONE_BOOK = ("An unexpected error (cannot open phonebook) occurred in PrefsTenDlgProc.")

SERVER_ONE, SERVER_TWO = "one.example.org", "two.example.org"

# No network manager answers, wherever this runs.
NO_BUS = {"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"}


def empty(text):
    """As it stands in a stored list."""
    return text or "\ue000"


class PrivateBus:
    """A message bus of the test's own, system and session bus at once. Without Python's modules for
    it the test is skipped."""

    def __init__(self, test):
        self.test = test
        try:
            import dbus  # pylint: disable=import-outside-toplevel
            import dbusmock  # noqa: F401 pylint: disable=import-outside-toplevel,unused-import
        except ImportError as error:
            test.skipTest(str(error))
        self.dbus = dbus
        folder = tempfile.TemporaryDirectory()  # the name of a socket cannot be long
        test.addCleanup(folder.cleanup)
        address = "unix:path=%s/bus" % folder.name
        self.environment = {"DBUS_SYSTEM_BUS_ADDRESS": address,
                            "DBUS_SESSION_BUS_ADDRESS": address}
        with open(folder.name + "/bus.conf", "w", encoding="ascii") as file:
            # No services that the bus could start by itself.
            file.write('<busconfig><type>session</type><listen>%s</listen>'
                       '<policy context="default"><allow send_destination="*"/>'
                       '<allow receive_sender="*"/><allow own="*"/></policy></busconfig>' % address)
        self._spawn("dbus-daemon", "--nofork", "--nopidfile",
                    "--config-file=%s/bus.conf" % folder.name)
        self._until(lambda: os.path.exists(folder.name + "/bus"))
        self.connection = dbus.bus.BusConnection(address)
        test.addCleanup(self.connection.close)

    def serve(self, name, *words):
        """Runs a Python program that takes that name."""
        self._spawn(sys.executable, "-B", *words)
        self._until(lambda: self.connection.name_has_owner(name))

    def interface(self, name, path, interface):
        return self.dbus.Interface(self.connection.get_object(name, path), interface)

    def _spawn(self, *words):
        process = subprocess.Popen(words, env=dict(os.environ, **self.environment),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.test.addCleanup(process.wait)
        self.test.addCleanup(process.kill)

    def _until(self, condition):
        end = time.monotonic() + 30
        while not condition():
            self.test.assertLess(time.monotonic(), end)
            time.sleep(0.05)


class Settings(Reading):
    """Two servers with logins, two groups with progress, three killfile entries, and no setting of
    the factory's that could hide a wrong place."""

    def run_quillet(self, *arguments, env=None, **keywords):
        return super().run_quillet(*arguments, env=dict(NO_BUS, **(env or {})), **keywords)

    def use_settings(self):
        """The profile; returns {name: (type, value)} of what is stored."""
        remove_profile(self.profile)
        self.use_filled_profile("settings", self.fill)
        return self.stored()

    def fill(self):
        q = self.run_quillet(hold=True)
        q.configure(servers=[(SERVER_ONE, 1190), (SERVER_TWO, 1191)],
                    groups=["comp.test", "rec.gardens"], checked=[1, 0], fullname="Me",
                    returnmailaddress="me@x.example", quotestring="| ", attribution="$a in $i:",
                    signature="-- \r\nMe\r\n", extraheaders="X-A: 1\r\n", font="Liberation Serif",
                    groupfont="DejaVu Sans", threadfont="Not Installed",
                    articleheaderfont="Courier New", fontsize=4, groupfontsize=5, threadfontsize=6,
                    articleheaderfontsize=2, maxstore=97, maxarticles=60, maxarticlesize=9,
                    transport="sendmail", alwaystransport=1, downloadhr=5, downloadmn=4,
                    downloadsc=3, autodelete=2, lastdownloaded=[7, 8, 9, 10],
                    lastonserver=[17, 18, 19, 20], killfilecount=3, killfilegroups=[1, 2, 1],
                    killfilekills=[1, 0, 1], killfileauthors=[1, 0, 0])
        q.set_strings("authusers", ["ann", "bob"])
        q.set_strings("authpasses", ["one", "two"])
        q.set_strings("killfiletexts", ["spammer", "plants", "money"])
        q.start()
        self.assertEqual(q.finish(), 0)
        self.assert_silent(q)

    def stored(self):
        return {name: value[:2] for name, value in self.read_back().items()}

    def open_sheet(self, q, caption=None):
        q.command(PREFERENCES)
        q.do("wait-dialog")
        if caption:
            self.turn_to(q, caption)

    def turn_to(self, q, caption):
        """Brings the page to the front. That of the connections tells of the missing phone book."""
        q.do("page " + quillet_script.quoted(caption))
        q.do("wait")

    def ok(self, q):
        q.press(OK)
        self.assertTrue(self.is_closed(q))

    def cancel(self, q, apply=None):
        """Closes the sheet; `apply`: the answer to its question, None when nothing is asked."""
        if apply is not None:
            q.expect(DISCARDS, "yes" if apply else "no")
        q.press(CANCEL)
        self.assertTrue(self.is_closed(q))

    def is_closed(self, q):
        opened = [event["handle"] for event in q.of("dialog") if event["form"] == 0]
        closed = [event["handle"] for event in q.of("dialog-closed")]
        return opened[-1] in closed

    def shown_page(self, q):
        return q.ask("dialog")["page"]

    def page_control(self, q, control):
        """The control of the page in front."""
        return next(one for one in q.ask("dialog")["page_controls"] if one["id"] == control)

    def shown(self, q, *controls):
        """The texts of controls of the page in front; of a list the chosen entry."""
        texts = []
        for control in controls:
            state = self.page_control(q, control)
            chosen = state.get("choice", -1)
            texts.append(state["choices"][chosen] if chosen >= 0 else state["text"])
        return texts

    def changed(self, stored, caption, changes):
        """The stored values with these instead: numbers, texts, lists of texts or of numbers."""
        expected = dict(stored)
        expected["prefspage"] = ("dword", PAGES.index(caption))
        for name, value in changes.items():
            if isinstance(value, list):
                kind = "multi" if value and isinstance(value[0], str) else "binary"
            else:
                kind = "string" if isinstance(value, str) else "dword"
            expected[name] = (kind, value)
        return expected
