#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Kills the program while an article is written, stored and posted, and looks at what the server has.

    writing_kills.py [--seed NUMBER] [--workers N] [--cut-every N] KILLS

Every worker has a profile, and a line to the server that can be cut after any byte: a real news
server when its packages are there, else a strict model of one. In every round an article is typed,
stored and sent; the program is killed at a random moment in between, or its line is cut. Then it is
started again, finishes what it offers, and connects until its queue is empty. The server must then
have every article once, as it was typed; one that nobody had time to keep may be missing. Every
other profile writes in the simple editor and mails its articles too, by a stand-in for sendmail,
which must have got each once as well.

First one post is cut off after every byte (or every Nth) that the program sends, and that it gets.
Prints the seed of every profile that was wrong; exits 1 when there was one.
"""

import argparse
import concurrent.futures
import email
import os
import pathlib
import random
import re
import shutil
import socket
import sys
import tempfile
import threading
import time

TESTS = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TESTS / "scenarios"), str(TESTS / "inn")]

# pylint: disable=wrong-import-position
from news_servers import LineReader, _Server  # noqa: E402
import inn_server  # noqa: E402
import quillet_script  # noqa: E402

PROGRAM = os.environ.get("QUILLET_SCRIPT", "quillet-script")
ROUNDS_OF_A_PROFILE = 10
CONNECT, NEW_ARTICLE = 40008, 40030
EDITOR, SIMPLE_EDITOR, TEXT, FIELD, VALUE, OK = 127, 128, 1014, 1063, 1065, 1
OFFER = "An article that you were writing was not finished."
SEPARATOR = "--- Begin body here ---\r\n"
# What a cut line brings.
LOSSES = ("socket destroyed\r\n",)
# What a killed run began goes on by itself, and is told of meanwhile.
HAND_OVER = "could not be sent: it is being handed over\r\n"


class Wrong(Exception):
    pass


# -- servers -------------------------------------------------------------------------------------

class ModelServer(_Server):
    """Takes posts, knows a second attempt by its Message-ID, and has no articles to give."""

    def __init__(self):
        self.posts = {}  # Message-ID: text
        super().__init__()

    def serve(self, client):
        reader = LineReader(client)
        client.sendall(b"200 news.example ready\r\n")
        while (line := reader.line()) not in (None, b"QUIT"):
            reply = b"500 what?"
            if line == b"POST":
                client.sendall(b"340 send it\r\n")
                reply = self._take(reader)
                if reply is None:
                    return
            elif line.startswith(b"GROUP "):
                reply = b"211 0 1 0 " + line[6:]
            client.sendall(reply + b"\r\n")

    def _take(self, reader):
        lines = []
        while (line := reader.line()) != b".":
            if line is None:
                return None  # a text without its end is none
            lines.append(line[1:] if line.startswith(b".") else line)
        text = b"".join(line + b"\r\n" for line in lines)
        message_id = re.search(rb"(?m)^Message-ID: (<\S+>)\r$", text).group(1)
        if message_id in self.posts:
            return b"441 435 Duplicate"
        self.posts[message_id] = text
        return b"240 taken"

    def bodies(self, group):
        """The bodies of all articles of the group."""
        field = b"\r\nNewsgroups: " + group.encode() + b"\r\n"
        return [text.partition(b"\r\n\r\n")[2] for text in self.posts.values() if field in text]


class RealServer:
    """A reader's view of INN."""

    def __init__(self, inn):
        self.inn = inn
        self.address = (inn.host, inn.port)
        self.read = {}  # group: {number: body}

    def bodies(self, group):
        read = self.read.setdefault(group, {})
        with socket.create_connection(self.address, timeout=60) as link:
            replies = link.makefile("rb")
            replies.readline()
            link.sendall(b"LISTGROUP " + group.encode() + b"\r\n")
            if not replies.readline().startswith(b"211"):
                raise Wrong("the server has no " + group)
            numbers = [int(line) for line in self._block(replies)]
            for number in numbers:
                if number in read:
                    continue
                link.sendall(b"BODY %d\r\n" % number)
                if replies.readline().startswith(b"222"):
                    read[number] = b"".join(self._block(replies))
            link.sendall(b"QUIT\r\n")
        return list(read.values())

    @staticmethod
    def _block(replies):
        lines = []
        while (line := replies.readline()) != b".\r\n":
            if not line:
                raise Wrong("the server closed")
            lines.append(line[1:] if line.startswith(b".") else line)
        return lines


class Line:
    """A port that leads to the server, and is cut after so many bytes of either direction."""

    def __init__(self, target):
        self.target = target
        self.sent = self.received = None  # bytes until the cut of the next connection
        self.passed = [0, 0]              # of the last connection, by direction
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.address = self._listener.getsockname()
        threading.Thread(target=self._accept, daemon=True).start()

    def cut_next(self, sent=None, received=None):
        self.sent, self.received = sent, received

    def close(self):
        self._listener.close()

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
                server = socket.create_connection(self.target)
            except OSError:
                return
            limits = (self.sent, self.received)
            self.cut_next()
            self.passed = passed = [0, 0]
            pairs = ((client, server), (server, client))
            for way, (source, goal) in enumerate(pairs):
                goal.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                threading.Thread(target=self._pump, daemon=True,
                                 args=(source, goal, passed, way, limits[way])).start()

    @staticmethod
    def _pump(source, goal, passed, way, limit):
        try:
            while limit is None or passed[way] < limit:
                data = source.recv(65536 if limit is None else min(65536, limit - passed[way]))
                if not data:
                    break
                goal.sendall(data)
                passed[way] += len(data)
        except OSError:
            pass
        for end in (source, goal):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass


# -- a profile -----------------------------------------------------------------------------------

class Article:
    def __init__(self, token, group, pieces):
        self.head = ('From: "Me" <me@x.example>\r\nSubject: %s\r\nNewsgroups: %s\r\n' %
                     (token, group))
        self.token = token
        self.group = group
        self.pieces = pieces  # as they are typed, one after the other
        self.must = False     # nothing may lose it any more

    @property
    def text(self):
        return self.head + SEPARATOR + "".join(self.pieces)

    @property
    def body(self):
        """As the server gives it: every post ends with an empty line."""
        return "".join(self.pieces).encode("utf-8") + b"\r\n"


class Profile:
    def __init__(self, folder, seed, server, group, mails=False):
        self.folder = folder
        self.mails = mails
        self.machine = folder.with_name(folder.name + ".machine")
        self.random = random.Random(seed)
        self.server = server
        self.group = group
        self.line = Line(server.address)
        self.articles = {}  # token: Article
        self.took = {}      # seconds of the deeds when nothing kills them
        self.remove()
        self.make_machine()
        with self.start(hold=True) as q:
            q.configure(servers=[self.line.address], groups=[group], maxarticles=5000,
                        simplepost=int(mails), skipverifications=1, fullname="Me",
                        returnmailaddress="me@x.example", signature="", alwaystransport=1,
                        transport="sendmail", **{"Extensions\\retries": 0})

    def make_machine(self):
        """A home without a mail program but the stand-in, which keeps what it gets."""
        (self.machine / "bin").mkdir(parents=True)
        (self.machine / "sent").mkdir()
        stub = self.machine / "bin/sendmail"
        stub.write_text("#!/bin/sh\ncd '%s' && cat > .$$ && mv .$$ sent/$$.$(date +%%s%%N)\n" %
                        self.machine)
        stub.chmod(0o755)

    def remove(self):
        for folder in (self.folder, self.machine):
            shutil.rmtree(folder, ignore_errors=True)

    def close(self):
        self.line.close()

    def start(self, **keywords):
        home = {name: str(self.machine) for name in (
            "HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_DIRS")}
        home["PATH"] = "%s:/usr/bin:/bin" % (self.machine / "bin")
        return quillet_script.Quillet(PROGRAM, self.folder, env=home, **keywords)

    def new_article(self):
        token = "t%d.%s" % (len(self.articles), self.group)
        pieces = [token + "\r\n"]
        for _ in range(self.random.randrange(1, 6)):
            pieces.append(self.random.choice((
                "Some words of a line.\r\n", ".\r\n", ".. dots\r\n", "\r\n", "> quoted\r\n",
                "caf\xe9 " * self.random.randrange(1, 12) + "\r\n",
                "x" * self.random.randrange(1, 70) + "\r\n")))
        article = Article(token, self.group, pieces + ["The end of " + token + ".\r\n"])
        self.articles[token] = article
        return article

    # The deeds. Nothing is waited for: the program may be killed at any moment of them.

    def send_fields(self, q, article):
        for field, value in (("Email to:", "ann@x.example"), ("Newsgroups:", article.group),
                             ("Subject:", article.token)):
            q.send("choose %d %s" % (FIELD, quillet_script.quoted(field)))
            q.send("set %d %s" % (VALUE, quillet_script.quoted(value)))

    def send_typing(self, q, article):
        q.send("command %d" % NEW_ARTICLE)
        if self.mails:
            self.send_fields(q, article)
            q.send('set %d ""' % TEXT)
        else:
            q.send("set %d %s" % (TEXT, quillet_script.quoted(article.head + SEPARATOR)))
        for piece in article.pieces:
            q.send("type %d %s end" % (TEXT, quillet_script.quoted(piece)))

    def send_ok(self, q):
        q.send("press %d" % OK)

    def send_connect(self, q):
        q.send("command %d" % CONNECT)

    def await_draft(self, q, article):
        end = time.monotonic() + 20
        while True:
            draft = q.draft()
            if draft and article.pieces[-1] in draft["text"]:
                article.must = True
                return
            if time.monotonic() > end:
                raise Wrong("no draft of %s was kept" % article.token)
            time.sleep(0.05)

    def deed_write(self, q, article):
        """From the first key to the end of the connection."""
        self.send_typing(q, article)
        self.send_ok(q)
        self.send_connect(q)

    def deed_finish(self, q, article):
        """The draft is kept: from OK to the end of the connection."""
        del article
        self.send_ok(q)
        self.send_connect(q)

    def deed_post(self, q, article):
        """The post is in the queue: the connection alone."""
        del article
        self.send_connect(q)

    def prepare(self, q, name, article):
        if name == "write":
            return
        self.send_typing(q, article)
        if name == "finish":
            self.await_draft(q, article)
        else:
            q.do("press %d" % OK)
            q.do("wait")
            if [post["subject"] for post in q.queue()].count(article.token) != 1:
                raise Wrong("%s is not in the queue after OK" % article.token)
            article.must = True

    # One round.

    def round(self, name):
        article = self.new_article()
        cuts = self.random.randrange(4) == 0
        q = self.start()
        try:
            q.do("wait")
            self.prepare(q, name, article)
            if cuts:
                self.cut_somewhere(article)
            started = time.monotonic()
            getattr(self, "deed_" + name)(q, article)
            if name not in self.took or cuts:
                q.do("wait")
                article.must = True
                if not cuts:
                    self.took[name] = time.monotonic() - started
            else:
                time.sleep(self.random.uniform(0, 1.05) * self.took[name])
        finally:
            q.kill()
        self.line.cut_next()
        self.settle(article)
        self.compare()

    def cut_somewhere(self, article):
        if self.random.randrange(2):
            self.line.cut_next(sent=self.random.randrange(250 + len(article.text)))
        else:
            self.line.cut_next(received=self.random.randrange(200))

    def settle(self, article):
        """What the next start offers is finished, and all is sent."""
        with self.start(hold=True) as q:
            q.expect(OFFER, "yes", "optional")
            q.start()
            q.do("wait")
            if any(text.startswith(OFFER) for _, text, _ in q.boxes()):
                self.finish_draft(q, article)
                article.must = True
            elif not article.must:
                article.must = article.token in [post["subject"] for post in q.queue()]
            self.connect_until_empty(q)
            self.await_mail(q)
        if (q.status, q.failure(), q.errors()) != (0, None, ""):
            raise Wrong("the start after it was not fine: %s" % [q.status, q.failure(), q.errors()])
        boxes = [text for _, text, _ in q.boxes()
                 if not text.startswith(OFFER) and not text.endswith(HAND_OVER)]
        if boxes:
            raise Wrong("boxes came: %s" % boxes)

    def finish_draft(self, q, article):
        form = SIMPLE_EDITOR if self.mails else EDITOR
        q.wait_dialog(form)
        if article.must and article.pieces[-1] not in q.text_of(TEXT, form):
            raise Wrong("the draft of %s lacks its end" % article.token)
        if self.mails:
            self.send_fields(q, article)
        q.set(TEXT, "".join(article.pieces) if self.mails else article.text)
        q.press(OK)

    def await_mail(self, q):
        """Nothing of the mail stays behind; what a kill interrupted goes on by itself."""
        end = time.monotonic() + 30
        while mails := q.outbox():
            if time.monotonic() > end:
                raise Wrong("mail stays in the outbox: %s" % mails)
            time.sleep(0.1)
            q.connect()

    def sent_mail(self):
        """{subject: [body]} of what the stand-in has got."""
        sent = {}
        for path in (self.machine / "sent").iterdir():
            message = email.message_from_bytes(path.read_bytes())
            charset = message.get_content_charset("ascii")
            body = message.get_payload(decode=True).decode(charset)
            sent.setdefault(message["Subject"], []).append(body.replace("\r\n", "\n").rstrip("\n"))
        return sent

    def compare_mail(self, posted):
        sent = self.sent_mail()
        for token, article in self.articles.items():
            bodies = sent.pop(token, [])
            if len(bodies) != posted[token]:
                raise Wrong("%s was mailed %d times and posted %d times" % (
                    token, len(bodies), posted[token]))
            wanted = "".join(article.pieces).replace("\r\n", "\n").rstrip("\n")
            if bodies and bodies[0] != wanted:
                raise Wrong("%s was not mailed as it was typed: %r" % (token, bodies[0]))
        if sent:
            raise Wrong("mail that nobody wrote: %s" % sorted(sent))

    def connect_until_empty(self, q):
        for _ in range(4):
            q.connect()
            if not q.queue():
                return
        raise Wrong("the queue does not become empty: %s" % q.queue())

    def compare(self):
        """Every article is there once."""
        bodies = self.server.bodies(self.group)
        posted = {}
        for token, article in self.articles.items():
            found = [body for body in bodies if body.startswith(token.encode() + b"\r\n")]
            posted[token] = len(found)
            if len(found) > 1:
                raise Wrong("%s is there %d times" % (token, len(found)))
            if not found and article.must:
                raise Wrong("%s is missing" % token)
            if found and found[0] != article.body:
                raise Wrong("%s is not what was typed: %r" % (token, found[0]))
        if len(bodies) > len(self.articles):
            raise Wrong("the server has articles that nobody wrote")
        if self.mails:
            self.compare_mail(posted)

    def run(self, kills):
        for number in range(1, kills + 1):
            name = self.random.choice(("write", "finish", "finish", "post", "post"))
            try:
                self.round(name)
            except (Wrong, quillet_script.Failed) as fault:
                return number, "%s (round %d, %s)" % (fault, number, name)
        return kills, None

    # Every byte of one post.

    def cut_everywhere(self, step):
        """Returns how many cuts there were."""
        with self.start() as q:
            q.do("wait")
            whole = self.cut_one(q, {})
            cuts = [{"sent": at} for at in range(0, whole[0], step)]
            cuts += [{"received": at} for at in range(0, whole[1], step)]
            for cut in cuts:
                self.cut_one(q, cut)
        if (q.status, q.failure(), q.errors()) != (0, None, ""):
            raise Wrong("cutting did not end well: %s" % [q.status, q.failure(), q.errors()])
        texts = {text for _, text, _ in q.boxes()}
        if not texts <= set(LOSSES):
            raise Wrong("boxes came: %s" % texts)
        self.compare()
        return len(cuts)

    def cut_one(self, q, cut):
        """The bytes of a dialogue that was cut there, and then repeated until it came through."""
        token = "t%d.%s" % (len(self.articles), self.group)
        article = self.articles[token] = Article(token, self.group, [token + "\r\n", ".\r\n"])
        article.must = True
        q.do("command %d" % NEW_ARTICLE)
        q.set(TEXT, article.text)
        q.press(OK)
        self.line.cut_next(**cut)
        q.connect()
        passed = tuple(self.line.passed)
        self.line.cut_next()
        if q.queue():
            self.connect_until_empty(q)
        return passed


# -- many of them --------------------------------------------------------------------------------

class Tally:
    def __init__(self, kills):
        self.left = kills
        self.made = self.wrong = 0
        self.lock = threading.Lock()

    def take(self):
        with self.lock:
            share = min(self.left, ROUNDS_OF_A_PROFILE)
            self.left -= share
            return share

    def count(self, made, fault, seed, folder):
        with self.lock:
            self.made += made
            if fault:
                self.wrong += 1
                print("seed %d: %s; kept in %s" % (seed, fault, folder), flush=True)


def work(tally, folder, seeds, make_server, groups):
    while (share := tally.take()) and tally.wrong < 20:
        seed, group = seeds.pop(), groups.pop()
        server = make_server()
        profile = Profile(folder / str(seed), seed, server, group, mails=seed % 2 == 1)
        try:
            made, fault = profile.run(share)
        finally:
            profile.close()
        tally.count(made, fault, seed, profile.folder)
        if not fault:
            profile.remove()


def run_all(options, folder, make_server, groups):
    tally = Tally(options.kills)
    cut = Profile(folder / "cut", options.seed, make_server(), groups.pop())
    try:
        print("%d cuts of one dialogue" % cut.cut_everywhere(options.cut_every), flush=True)
        cut.remove()
    except (Wrong, quillet_script.Failed) as fault:
        tally.count(0, fault, options.seed, cut.folder)
    finally:
        cut.close()
    seeds = list(range(options.seed + options.kills, options.seed - 1, -1))
    with concurrent.futures.ThreadPoolExecutor(options.workers) as pool:
        for done in [pool.submit(work, tally, folder, seeds, make_server, groups)
                     for _ in range(options.workers)]:
            done.result()
    print("%d articles under kills and cuts; %d profiles wrong" % (tally.made, tally.wrong))
    return 0 if tally.wrong == 0 else 1


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(10 ** 6))
    parser.add_argument("--workers", type=int, default=3)
    parser.add_argument("--cut-every", type=int, default=1)
    parser.add_argument("kills", type=int)
    options = parser.parse_args()
    print("seed %d" % options.seed, flush=True)
    # No run reaches the user's own session bus or user manager.
    for variable in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"):
        os.environ.pop(variable, None)
    folder = pathlib.Path(os.environ.get("QUILLET_KILLS") or tempfile.mkdtemp(prefix="quillet-"))
    groups = ["kill.g%d" % n for n in range(options.kills // ROUNDS_OF_A_PROFILE + 2)]
    try:
        inn = inn_server.InnServer(os.environ.get("QUILLET_INN_CACHE", ""), groups)
        inn.__enter__()
    except (inn_server.InnError, OSError) as missing:
        print("a model serves, since there is no news server: %s" % missing, flush=True)
        return run_all(options, folder, ModelServer, groups)
    try:
        return run_all(options, folder, lambda: RealServer(inn), list(groups))
    finally:
        inn.stop()


if __name__ == "__main__":
    sys.exit(main())
