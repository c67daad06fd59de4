# SPDX-License-Identifier: GPL-3.0-or-later
"""Drives quillet-script: starts it, sends commands, collects what it reports.

    import quillet_script

    with quillet_script.Quillet(program, profile, hold=True) as q:
        q.configure(servers=[("127.0.0.1", port)], groups=["comp.test"])
        q.start()
        q.do("command 40008")            # Connect
        q.do("wait")                     # until the download is over
        print(q.groups())                # [("comp.test", "checked", "5/5")]
    assert q.status == 0

Standard library only. The commands and events are described in docs/script-front.md.
"""

import json
import os
import queue
import signal
import subprocess
import threading

DEFAULT_PROGRAM = os.environ.get("QUILLET_SCRIPT", "quillet-script")


class Failed(Exception):
    """The run ended with a failure, or did not say what was awaited."""


def quoted(text):
    """The text as one word of a command line, exact for every text."""
    out = ['"']
    for unit in utf16_units(text):
        if unit in (0x22, 0x5C):
            out.append("\\" + chr(unit))
        elif 0x20 <= unit < 0x7F:
            out.append(chr(unit))
        else:
            out.append("\\u%04x" % unit)
    out.append('"')
    return "".join(out)


def utf16_units(text):
    data = text.encode("utf-16-le", "surrogatepass")
    return [data[i] | data[i + 1] << 8 for i in range(0, len(data), 2)]


class Quillet:
    """One run of the program. Leaving the `with` block ends it as the end of the input does."""

    def __init__(self, program=None, profile=None, arguments=(), hold=False, work_area=None,
                 timeout=60, env=None, options=(), wrapper=()):
        self.events = []         # every event so far, in order
        self.status = None       # exit status, once it has ended
        self.timeout = timeout
        self.lines_sent = 0
        # `wrapper`: words of a program that becomes the program, such as prlimit or env.
        command = [*wrapper, program or DEFAULT_PROGRAM, "--timeout", str(timeout)]
        if profile is not None:
            command += ["--profile", str(profile)]
        if work_area:
            command += ["--work-area", work_area]
        if hold:
            command.append("--hold")
        command += list(options) + list(arguments)
        self.process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            env=dict(os.environ, **(env or {})))
        self._queue = queue.Queue()
        self._stderr = []
        self._threads = [threading.Thread(target=self._read_events, daemon=True),
                         threading.Thread(target=self._read_errors, daemon=True)]
        for thread in self._threads:
            thread.start()

    def __enter__(self):
        return self

    def __exit__(self, kind, value, trace):
        if kind is None:
            self.finish()
        else:
            self.kill()

    # Sending and receiving.

    def send(self, line):
        """Sends one command and does not wait for it; returns its line number."""
        if "\n" in line:
            raise ValueError("one command a line")
        self.lines_sent += 1
        try:
            self.process.stdin.write(line.encode("utf-8") + b"\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            pass  # the run has ended; its events say why
        return self.lines_sent

    def do(self, line):
        """Sends one command, waits until it is done, returns what was reported meanwhile."""
        return self.await_done(self.send(line))

    def await_done(self, number):
        """Waits until the command of that line is done; returns what was reported meanwhile."""
        seen = []
        while True:
            event = self.next_event()
            if event is None:
                raise Failed("the run ended before line %d was done: %s\n%s" % (
                    number, self.failure(), self.errors()))
            seen.append(event)
            if event["event"] == "failure":
                raise Failed(json.dumps(event))
            if event["event"] == "done" and event["line"] == number:
                return seen

    def next_event(self):
        """The next event, None when the run has ended. Fails after the time limit."""
        try:
            event = self._queue.get(timeout=self.timeout + 30)
        except queue.Empty:
            raise Failed("nothing was reported for %d seconds" % (self.timeout + 30)) from None
        if event is not None:
            self.events.append(event)
        else:
            self._queue.put(None)
        return event

    def ask(self, line, kind=None):
        """Sends a question and returns its answer."""
        kind = kind or line.split()[0]
        answers = [event for event in self.do(line) if event["event"] == kind]
        if not answers:
            raise Failed("no answer to " + line)
        return answers[-1]

    # Life cycle.

    def start(self):
        self.do("start")

    def finish(self):
        """Ends the input and waits for the end; returns the exit status."""
        if self.status is None:
            try:
                self.process.stdin.close()
            except BrokenPipeError:
                pass
            self.await_end()
        return self.status

    def await_end(self):
        """Waits for the end without closing anything; returns the exit status."""
        while self.next_event() is not None:
            pass
        self.status = self.process.wait(timeout=self.timeout)
        self._join()
        return self.status

    def terminate(self):
        self.process.send_signal(signal.SIGTERM)

    def kill(self):
        """kill -9."""
        if self.process.poll() is None:
            self.process.kill()
        self.status = self.process.wait()
        self._join()

    def _join(self):
        for thread in self._threads:
            thread.join(timeout=10)
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            try:
                stream.close()
            except BrokenPipeError:
                pass

    # What was reported.

    def of(self, kind):
        """All events of that kind so far."""
        return [event for event in self.events if event["event"] == kind]

    def boxes(self):
        """(caption, text, answer) of every box so far."""
        return [(box["caption"], box["text"], box["answer"]) for box in self.of("box")]

    def failure(self):
        failures = self.of("failure")
        return failures[-1] if failures else None

    def exit_code(self):
        """The exit code of the program itself."""
        exits = self.of("exit")
        return exits[-1]["code"] if exits else None

    def errors(self):
        """What came on standard error."""
        return "".join(self._stderr)

    # Shorthands.

    def groups(self):
        """(name, box, counts) of every row."""
        return [(row["name"], row["box"], row["counts"]) for row in self.ask("groups")["rows"]]

    def status_text(self):
        return self.ask("status")["text"]

    def registry(self, name):
        """The decoded value, None when it is missing."""
        event = self.ask("registry " + quoted(name))
        return event["value"] if event["found"] else None

    def registry_dump(self):
        """{name: (type, value, hex)} of all values."""
        return {event["name"]: (event["type"], event["value"], event["hex"])
                for event in self.do("registry-dump") if event["event"] == "registry"}

    def transaction_log(self):
        return self.ask("transaction-log")["text"]

    def error_log(self):
        return self.ask("error-log")["text"]

    def progress_texts(self):
        """(control, text) of everything shown in a progress dialog since the last question."""
        return [(entry["control"], entry["text"]) for entry in self.ask("progress")["texts"]]

    def progress_figures(self):
        """Every line of figures that was shown, in order."""
        return [event["text"] for event in self.of("progress-figures")]

    def chain(self, group):
        """Message-IDs stored in the group, newest first."""
        return self.ask("chain " + quoted(group))["articles"]

    def queue(self):
        """The queued posts as dictionaries, in the database's order."""
        return self.ask("queue")["posts"]

    def outbox(self):
        """The mail that has not left, as dictionaries."""
        return self.ask("outbox")["mails"]

    def draft(self):
        """The draft of the article that is being written, None when there is none."""
        event = self.ask("draft")
        return event if event["exists"] else None

    # Dialogs and windows with forms, the editors among them.

    def dialog(self, form=None):
        """The whole answer to `dialog`, with `controls` as a dictionary by id."""
        event = dict(self.ask("dialog" + ("" if form is None else " %d" % form)))
        event["controls"] = {one["id"]: one for one in event["controls"]}
        return event

    def control(self, control, form=None):
        return self.dialog(form)["controls"][control]

    def text_of(self, control, form=None):
        return self.control(control, form)["text"]

    def set(self, control, text):
        return self.do("set %d %s" % (control, quoted(text)))

    def type(self, control, text, place=None):
        """Types at the caret, or at a place first clicked on: a number or "end"."""
        return self.do("type %d %s%s" % (control, quoted(text),
                                         "" if place is None else " %s" % place))

    def caret(self, control, place, selected=0):
        return self.do("caret %d %s %d" % (control, place, selected))

    def press(self, control):
        """Presses a button of the open dialog and waits."""
        return self.do("press %d" % control) + self.do("wait")

    def choose(self, control, text):
        return self.do("choose %d %s" % (control, quoted(text))) + self.do("wait")

    def press_for_menu(self, control, entry):
        """Presses a button that opens a menu, and chooses the entry; returns the menu's entries."""
        self.do("expect-menu " + quoted(entry))
        return [event for event in self.press(control) if event["event"] == "pop-up"][-1]["entries"]

    def row_menu(self, control, text, entry):
        """Chooses an entry of the menu of a list's row, and waits."""
        self.do("expect-menu " + quoted(entry))
        return self.do("row-menu %d %s" % (control, quoted(text))) + self.do("wait")

    def front(self, window):
        return self.do("front %s" % window)

    def wait_dialog(self, form):
        return self.do("wait-dialog %d" % form)

    def article(self, message_id):
        """The stored article as a dictionary, None when there is none."""
        event = self.ask("article " + quoted(message_id))
        return event if event["found"] else None

    def expect(self, prefix, answer, *more):
        self.do(" ".join(["expect", quoted(prefix), answer] + list(more)))

    def connect(self):
        """Connects and waits until the download is over."""
        return self.do("command 40008") + self.do("wait")

    # The thread view and the article view.

    def open_group(self, name):
        return self.do("open-group " + quoted(name))

    def select_node(self, node):
        return self.do("select-node " + quoted(node))

    def open_node(self, node):
        """Opens a node given by its path ("1.2") or its Message-ID, and waits."""
        return self.do("open-node " + quoted(node)) + self.do("wait")

    def context_menu(self, node, entry):
        """Chooses an entry of the node's menu, and waits."""
        self.do("expect-menu " + quoted(entry))
        return self.do("context-menu " + quoted(node)) + self.do("wait")

    def tree(self):
        """The whole answer to `tree`."""
        return self.ask("tree")

    def texts(self):
        """(depth, text, bold) of every row of the tree."""
        return [(row["depth"], row["text"], row["bold"]) for row in self.tree()["rows"]]

    def caption(self):
        return self.ask("caption")["text"]

    def viewer(self):
        """The whole answer to `viewer`."""
        return self.ask("viewer")

    def header(self):
        """The four texts of the header bar: left and right of each line."""
        lines = self.ask("header")["lines"]
        return tuple(line[side] for line in lines for side in ("left", "right"))

    def current(self):
        """The whole answer to `current`."""
        return self.ask("current")

    def tab(self):
        return self.ask("tabs")["selected"]

    def command(self, command):
        """Sends a command, by number or menu path, and waits."""
        return self.do("command " + quoted(str(command))) + self.do("wait")

    def key(self, combination):
        return self.do("key " + combination) + self.do("wait")

    def expect_save(self, path):
        self.do("expect-save " + quoted(path or ""))

    # Settings, written into the registry before the start.

    def set_dword(self, name, value):
        self.do("registry-set %s dword %d" % (quoted(name), value))

    def set_string(self, name, text):
        self.do("registry-set %s string %s" % (quoted(name), quoted(text)))

    def set_strings(self, name, texts):
        self.do(" ".join(["registry-set", quoted(name), "multi"] + [quoted(t) for t in texts]))

    def set_numbers(self, name, numbers):
        self.do(" ".join(["registry-set", quoted(name), "numbers"] + [str(n) for n in numbers]))

    def configure(self, servers=(), groups=(), checked=None, **values):
        """Writes servers [(host, port)], groups [name] and further values into the registry.

        All groups are ticked unless `checked` says otherwise. Further keyword arguments are
        registry values: numbers become DWORDs, texts strings.
        """
        checked = [1] * len(groups) if checked is None else checked
        self.set_dword("version", 2)
        self.set_dword("numservers", len(servers))
        if servers:
            self.set_strings("servers", [host for host, _ in servers])
            self.set_numbers("port", [port for _, port in servers])
            self.set_strings("authusers", [""] * len(servers))
            self.set_strings("authpasses", [""] * len(servers))
            self.set_numbers("useauths", [0] * len(servers))
            self.set_numbers("usentlms", [0] * len(servers))
        self.set_dword("numgroups", len(groups))
        if groups:
            self.set_strings("groups", groups)
            self.set_numbers("checked", checked)
        for name, value in values.items():
            if isinstance(value, str):
                self.set_string(name, value)
            elif isinstance(value, (list, tuple)):
                self.set_numbers(name, value)
            else:
                self.set_dword(name, value)

    def _read_events(self):
        for line in self.process.stdout:
            try:
                self._queue.put(json.loads(line))
            except ValueError:
                self._queue.put({"event": "failure", "reason": "not-json", "line": 0,
                                 "text": line.decode("utf-8", "replace")})
        self._queue.put(None)

    def _read_errors(self):
        for line in self.process.stderr:
            self._stderr.append(line.decode("utf-8", "replace"))
