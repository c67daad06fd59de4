# SPDX-License-Identifier: GPL-3.0-or-later
"""A screen, a message bus and an accessibility bus of their own, and the program as a reader of the
screen finds it there: no keys, no mouse.

What is on display is read in a few rounds of questions that are all asked at once: one after the
other they would take minutes on a busy machine.
"""
import os
import subprocess
import tempfile
import time

from gi.repository import Gio, GLib

LIMIT = 30.0
LAUNCHERS = ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")
BUS = """<busconfig><type>session</type><listen>unix:tmpdir=%s</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
<allow own="*"/></policy></busconfig>"""

ROOT = "/org/a11y/atspi/accessible/root"
ATSPI = "org.a11y.atspi."
# By their bits.
STATES = (
    "invalid active armed busy checked collapsed defunct editable enabled expandable expanded "
    "focusable focused has-tooltip horizontal iconified modal multi-line multiselectable opaque "
    "pressed resizable selectable selected sensitive showing single-line stale transient vertical "
    "visible manages-descendants indeterminate required truncated animated invalid-entry "
    "supports-autocompletion selectable-text is-default visited checkable has-popup "
    "read-only").split()


def pump():
    """Takes what has arrived from the bus meanwhile."""
    while GLib.MainContext.default().iteration(False):
        pass


def wait_for(what, condition, tell=None):
    """The first true value of the condition; things that are just going are asked for again."""
    end = time.monotonic() + LIMIT
    problem = ""
    while True:
        pump()
        try:
            value = condition()
        except GLib.Error as error:
            value, problem = None, "\n" + str(error)
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError("timeout: " + what + problem + ("\n" + tell() if tell else ""))
        time.sleep(0.02)


class Session:
    """Screen, window manager and buses; `environment` is for the programs in it."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.processes = []
        self.environment = {name: value for name, value in os.environ.items() if name not in (
            "WAYLAND_DISPLAY", "AT_SPI_BUS_ADDRESS", "NO_AT_BRIDGE", "QT_ACCESSIBILITY")}
        self.environment["TZ"] = "UTC"  # dates are told in the local time
        self.environment.update(
            HOME=self.folder.name, XDG_RUNTIME_DIR=self.folder.name, GSETTINGS_BACKEND="memory",
            QT_QPA_PLATFORM="xcb", QT_SCALE_FACTOR="1", LC_ALL="C.UTF-8",
            DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nonexistent", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"):
            self.environment.pop(name, None)
        try:
            self._start_screen()
            self._start_buses()
        except BaseException:
            self.close()
            raise

    def _run(self, *command, **options):
        process = subprocess.Popen(command, env=self.environment, stderr=subprocess.DEVNULL,
                                   **options)
        self.processes.append(process)
        return process

    def _start_screen(self):
        read, write = os.pipe()
        self._run("Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten",
                  "tcp", "-noreset", pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as number:
            self.environment["DISPLAY"] = ":" + number.readline().strip()
        ready = os.path.join(self.folder.name, "managed")
        self._run("openbox", "--sm-disable", "--startup", "touch " + ready,
                  stdout=subprocess.DEVNULL)
        wait_for("window manager", lambda: os.path.exists(ready))

    def _start_buses(self):
        config = os.path.join(self.folder.name, "bus.conf")
        with open(config, "w", encoding="utf-8") as file:
            file.write(BUS % self.folder.name)
        bus = self._run("dbus-daemon", "--config-file=" + config, "--nofork", "--print-address",
                        stdout=subprocess.PIPE, text=True)
        address = bus.stdout.readline().strip()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        self._run(next(filter(os.path.exists, LAUNCHERS)), "--launch-immediately",
                  stdout=subprocess.DEVNULL)
        connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
            Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        address = wait_for("accessibility bus", lambda: connection.call_sync(
            "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
            Gio.DBusCallFlags.NONE, -1, None).unpack()[0])
        self.bus = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
            Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)

    def ask(self, questions):
        """The answers to [(bus name, path, interface, method, arguments)], asked all at once."""
        answers = [None] * len(questions)
        left = len(questions)

        def answered(bus, result, index):
            nonlocal left
            left -= 1
            try:
                answers[index] = bus.call_finish(result).unpack()
            except GLib.Error as error:
                answers[index] = error
        for index, (name, path, interface, method, arguments) in enumerate(questions):
            self.bus.call(name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE,
                          int(LIMIT * 1000), None, answered, index)
        while left > 0:
            GLib.MainContext.default().iteration(True)
        for answer in answers:
            if isinstance(answer, GLib.Error):
                raise answer
        return answers

    def applications(self):
        """(bus name, path) of the programs on the bus."""
        return self.ask([("org.a11y.atspi.Registry", ROOT, ATSPI + "Accessible", "GetChildren",
                          None)])[0][0]

    def process_of(self, name):
        return self.ask([("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                          "GetConnectionUnixProcessID", GLib.Variant("(s)", (name,)))])[0][0]

    def close(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.terminate()
                process.wait(LIMIT)
        self.folder.cleanup()


class Item:
    """What one object said of itself, and those below it that are on display."""

    def __init__(self, session, address):
        self.session, self.address = session, tuple(address)
        self.children = []
        self.actions, self.text, self.value = [], None, None

    def question(self, interface, method, arguments=None):
        return (*self.address, ATSPI + interface, method, arguments)

    def property(self, interface, name):
        return (*self.address, "org.freedesktop.DBus.Properties", "Get",
                GLib.Variant("(ss)", (ATSPI + interface, name)))

    def questions(self):
        return [self.question("Accessible", method) for method in (
            "GetRoleName", "GetState", "GetInterfaces", "GetChildren")] + [
                self.property("Accessible", name) for name in ("Name", "Description")]

    def take(self, role, state, interfaces, children, name, description):
        self.role = role[0]
        bits = state[0][0] | state[0][1] << 32
        self.states = {name for bit, name in enumerate(STATES) if bits >> bit & 1}
        self.interfaces = {name.removeprefix(ATSPI) for name in interfaces[0]}
        self.name, self.description = name[0], description[0]
        self.below = [Item(self.session, address) for address in children[0]]

    def details(self):
        """Further questions, and what to do with the answers."""
        found = []
        if "Action" in self.interfaces:
            found.append((self.question("Action", "GetActions"), lambda answer: setattr(
                self, "actions", [action[0] for action in answer[0]])))
        if "Text" in self.interfaces:
            found.append((self.question("Text", "GetText", GLib.Variant("(ii)", (0, -1))),
                          lambda answer: setattr(self, "text", answer[0])))
        if "Value" in self.interfaces:
            found.append((self.property("Value", "CurrentValue"),
                          lambda answer: setattr(self, "value", answer[0])))
        return found

    def all(self):
        yield self
        for child in self.children:
            yield from child.all()

    def do(self, action):
        assert action in self.actions, (self.role, self.name, self.actions)
        self.session.ask([self.question(
            "Action", "DoAction", GLib.Variant("(i)", (self.actions.index(action),)))])

    def set_text(self, text):
        self.session.ask([self.question(
            "EditableText", "SetTextContents", GLib.Variant("(s)", (text,)))])


def read(session, address):
    """The object with all that is on display below it."""
    root = Item(session, address)
    level = [root]
    while level:
        questions = [item.questions() for item in level]
        answers = iter(session.ask([one for asked in questions for one in asked]))
        for item in level:
            item.take(*(next(answers) for _ in range(6)))
        # The program itself and its windows are always asked.
        shown = [item for item in level if item is root or "showing" in item.states]
        details = [detail for item in shown for detail in item.details()]
        for (_, take), answer in zip(details, session.ask([asked for asked, _ in details])):
            take(answer)
        level = [child for item in shown for child in item.below]
        for item in shown:
            item.children = item.below
    for item in list(root.all()):
        item.children = [child for child in item.children if "showing" in child.states]
    return root


class Program:
    """The program on that bus. Leaving the `with` block ends it."""

    def __init__(self, session, quillet, profile, **environment):
        self.session = session
        self.process = subprocess.Popen(
            [quillet, "--profile", profile], env=dict(session.environment, **environment),
            stderr=subprocess.PIPE, text=True)
        self.address = None

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        if self.process.poll() is None:
            self.process.terminate()
            self.process.communicate(timeout=LIMIT)

    def await_root(self):
        def find():
            for address in self.session.applications():
                if self.session.process_of(address[0]) == self.process.pid:
                    self.address = address
                    return bool(self.read().children)
            return False
        wait_for("program on the accessibility bus", find)

    def read(self):
        return read(self.session, self.address)

    def window(self, name):
        """The open window of that name, once it has the focus."""
        def active():
            for window in self.read().children:
                if window.name == name and "active" in window.states:
                    return window
            return None
        return wait_for("window " + name, active, self.names)

    def names(self):
        return "\n".join("%s %r %s %s" % (item.role, item.name, sorted(item.states), item.actions)
                         for item in self.read().all())

    def items(self, role, start=""):
        """Those on display with that name, else those whose name begins so."""
        found = [item for item in self.read().all()
                 if item.role == role and item.name.startswith(start)]
        return [item for item in found if item.name == start] or found

    def find(self, role, start=""):
        return wait_for("%s %r" % (role, start), lambda: self.items(role, start), self.names)[-1]

    def act(self, role, start, action="Press"):
        """As a reader of the screen does: by the name of what can be done."""
        self.find(role, start).do(action)

    def choose(self, *titles):
        """A command of the menus: all but the last title open a menu."""
        for title in titles[:-1]:
            self.act("menu item", title, "ShowMenu")
        self.act("menu item", titles[-1])

    def gone(self, name):
        wait_for("end of " + name,
                 lambda: all(window.name != name for window in self.read().children))
