# SPDX-License-Identifier: GPL-3.0-or-later
"""Two news servers for scenarios, on loopback and an ephemeral port.

TranscriptServer speaks one given conversation and notes every deviation from it. NewsServer serves
articles from memory to whatever is asked of it, for runs whose course is not known beforehand.
Standard library only.
"""

import socket
import threading
import time


class _Server:
    """Accepts connections one after the other and serves each on the accepting thread."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.connections = 0
        self._client = None
        self._closing = False
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.close()

    def close(self):
        self._closing = True
        for sock in (self._client, self.listener):
            if sock is not None:
                try:
                    sock.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass
        self.listener.close()
        self._thread.join(timeout=10)

    @property
    def address(self):
        return ("127.0.0.1", self.port)

    def _run(self):
        while not self._closing:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            self.connections += 1
            client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self._client = client
            with client:
                try:
                    self.serve(client)
                except OSError:
                    pass  # the client has gone; what it did before is what counts
            self._client = None

    def serve(self, client):
        raise NotImplementedError


class LineReader:
    """CR LF lines of a socket, without their ends; None at the end of the stream."""

    def __init__(self, sock):
        self.sock = sock
        self.pending = b""

    def line(self):
        while b"\r\n" not in self.pending:
            data = self.sock.recv(65536)
            if not data:
                return None
            self.pending += data
        line, self.pending = self.pending.split(b"\r\n", 1)
        return line


def parse_transcript(text):
    """[("S"|"C"|"CLOSE"|"RAW", bytes)] from lines like "S: 200 hello" and "C: QUIT".

    Leading blanks do not count. "S:" lines are sent with CR LF, "C:" lines are awaited, "CLOSE"
    closes the connection, "RAW: ..." sends Python escapes without a line end.
    """
    steps = []
    for raw in text.splitlines():
        line = raw.strip()
        if not line:
            continue
        if line == "CLOSE":
            steps.append(("CLOSE", b""))
        elif line.startswith("RAW:"):
            steps.append(("RAW", line[4:].strip().encode("ascii").decode("unicode_escape")
                          .encode("latin-1")))
        elif line[:2] in ("S:", "C:"):
            steps.append((line[0], line[2:].removeprefix(" ").encode("latin-1")))
        else:
            raise ValueError("bad transcript line: " + raw)
    return steps


class TranscriptServer(_Server):
    """Speaks the given conversations, one a connection. `errors` says how reality differed.

    After the last step of a conversation only QUIT and the end of the stream may follow.
    """

    def __init__(self, *transcripts):
        self.conversations = [parse_transcript(text) for text in transcripts]
        self.errors = []
        self.heard = []  # every line the client sent
        super().__init__()

    def serve(self, client):
        number = self.connections - 1
        if number >= len(self.conversations):
            self.errors.append("unexpected connection %d" % (number + 1))
            return
        reader = LineReader(client)
        batch = b""  # what follows each other is sent in one write, as servers do
        for kind, data in self.conversations[number]:
            if kind in ("S", "RAW"):
                batch += data + (b"\r\n" if kind == "S" else b"")
                continue
            client.sendall(batch)
            batch = b""
            if kind == "CLOSE":
                return
            line = reader.line()
            self.heard.append(line)
            if line != data:
                self.errors.append("expected %r, heard %r" % (data, line))
                return
        client.sendall(batch)
        line = reader.line()
        if line not in (None, b"QUIT"):
            self.errors.append("nothing was left to say, heard %r" % (line,))

    def verify(self):
        self.close()
        assert not self.errors, self.errors
        assert self.connections == len(self.conversations), (
            "%d of %d connections" % (self.connections, len(self.conversations)))


def article(number, group="comp.test", message_id=None, subject=None, body=None, extra=""):
    """(head, body) of an article, CR LF lines without terminators."""
    message_id = message_id or "<a%d@example.org>" % number
    head = ("From: Ann Author <ann@example.org>\r\nSubject: %s\r\nMessage-ID: %s\r\n"
            "Newsgroups: %s\r\nDate: Sat, 21 Nov 2026 10:%02d:00 GMT\r\n%s" % (
                subject or "Article %d" % number, message_id, group, number % 60, extra))
    return head, body if body is not None else "Text of article %d.\r\n" % number


class NewsServer(_Server):
    """groups: {name: {number: (head, body)}}, copied: `server.groups` may grow. Numbers that are
    not there give 423."""

    def __init__(self, groups, greeting="200 news.example.org ready"):
        self.groups = {name: dict(articles) for name, articles in groups.items()}
        self.greeting = greeting
        self.fetched = []  # (group, number) of every BODY served
        self.posted = []  # the text of every article sent, without terminator and added dots
        self.post_reply = "240 article posted"
        self.pause = 0  # seconds before each body
        super().__init__()

    def serve(self, client):
        reader = LineReader(client)
        client.sendall(self.greeting.encode("latin-1") + b"\r\n")
        group, numbers, current = None, [], None
        while True:
            line = reader.line()
            if line is None or line == b"QUIT":
                return
            verb, _, argument = line.decode("latin-1").partition(" ")
            if verb == "GROUP":
                if argument not in self.groups:
                    reply = "411 no such group\r\n"
                else:
                    group = argument
                    numbers = sorted(self.groups[group])
                    current = None
                    first, last = (numbers[0], numbers[-1]) if numbers else (0, 0)
                    reply = "211 %d %d %d %s\r\n" % (len(numbers), first, last, group)
            elif verb == "STAT":
                number = int(argument)
                if number in numbers:
                    current = number
                    reply = "223 %d %s\r\n" % (number, self._id(group, number))
                else:
                    reply = "423 no such number\r\n"
            elif verb == "NEXT":
                later = [n for n in numbers if current is not None and n > current]
                if later:
                    current = later[0]
                    reply = "223 %d %s\r\n" % (current, self._id(group, current))
                else:
                    reply = "421 no next article\r\n"
            elif verb in ("HEAD", "BODY") and current is not None:
                code = 221 if verb == "HEAD" else 222
                if verb == "BODY":
                    time.sleep(self.pause)
                    self.fetched.append((group, current))
                text = self.groups[group][current][0 if verb == "HEAD" else 1]
                reply = "%d %d %s\r\n%s.\r\n" % (code, current, self._id(group, current), text)
            elif verb == "POST":
                client.sendall(b"340 send it\r\n")
                lines = []
                while (text := reader.line()) not in (None, b"."):
                    lines.append(text[1:] if text.startswith(b".") else text)
                self.posted.append(b"".join(text + b"\r\n" for text in lines))
                reply = self.post_reply + "\r\n"
            else:
                reply = "500 what?\r\n"
            client.sendall(reply.encode("latin-1"))

    def _id(self, group, number):
        head = self.groups[group][number][0]
        for line in head.split("\r\n"):
            if line.lower().startswith("message-id:"):
                return line.split(":", 1)[1].strip()
        return "<0>"
