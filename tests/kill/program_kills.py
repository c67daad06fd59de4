#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Kills the whole program at random moments, and compares what the next starts make of the store.

    program_kills.py [--seed NUMBER] [--workers N] KILLS

Every worker has a profile and a news server of its own. The program is killed in its first start,
a download, a deletion, while it marks, compacts or converts; it is started again, and once more
with a connection. What a log of the server's side says was stored must be there after the first of
the two, or be on the list of lost articles; after the second everything that the server has must
be there, but for what the user deleted. Prints the seed of every profile that was wrong; exits 1
when there was one. Standard library only.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scenarios"))

# pylint: disable=wrong-import-position
from news_servers import LineReader, _Server, article  # noqa: E402
import quillet_script  # noqa: E402

PROGRAM = os.environ.get("QUILLET_SCRIPT", "quillet-script")
STORE_CHECK = os.environ.get("QUILLET_STORE_CHECK", "quillet-store-check")
GROUPS = ["alt.test", "comp.lang.misc", "a.b"]
KILLS_OF_A_PROFILE = 12
CONNECT, DELETE_READ, DELETE_ALL, MARK_READ, MARK_UNREAD = 40008, 40014, 40015, 40024, 40025

ABSENT, STORED, UNDECIDED = "absent", "stored", "undecided"


class ObservedServer(_Server):
    """Serves articles, by number and by Message-ID, and tells which of them the program must have
    stored: it asks for the next thing only when the article before it is in the store."""

    def __init__(self):
        self.groups = {group: {} for group in GROUPS}  # {number: (Message-ID, head, body)}
        self.by_id = {}
        self.stored = set()
        self.reached = dict.fromkeys(GROUPS, 0)  # the number told last
        self._under_way = None
        super().__init__()

    def forget(self):
        """A new run of the program begins."""
        self._under_way = None
        self.stored = set()

    def add(self, group, number, message_id, head, body):
        self.by_id[message_id] = self.groups[group][number] = (message_id, head, body)

    def serve(self, client):
        reader = LineReader(client)
        client.sendall(b"200 news.example ready\r\n")
        group, current = None, None
        while True:
            line = reader.line()
            if line is None:
                return
            verb, _, argument = line.decode("latin-1").partition(" ")
            if verb != "BODY" and not (verb in ("NEXT", "STAT") and self._under_way):
                self._note_stored()
            if verb == "QUIT":
                return
            if verb == "GROUP":
                group, current = argument, None
                numbers = self.groups[group]
                reply = "211 %d %d %d %s\r\n" % (len(numbers), min(numbers, default=0),
                                                 max(numbers, default=0), group)
            elif verb in ("STAT", "NEXT"):
                wanted = int(argument) if verb == "STAT" else (current or 0) + 1
                if wanted in self.groups[group]:
                    current = self.reached[group] = wanted
                    reply = "223 %d %s\r\n" % (current, self.groups[group][current][0])
                else:
                    reply = "423 no such number\r\n" if verb == "STAT" else "421 no next\r\n"
            elif verb in ("HEAD", "BODY"):
                reply = self._text(verb, argument, group, current)
            else:
                reply = "500 what?\r\n"
            client.sendall(reply.encode("latin-1"))

    def _text(self, verb, argument, group, current):
        chosen = self.by_id.get(argument) if argument else self.groups[group].get(current)
        if chosen is None:
            return "430 no such article\r\n"
        if verb == "BODY":
            self._under_way = chosen[0]
        number = 0 if argument else current
        code, text = (221, chosen[1]) if verb == "HEAD" else (222, chosen[2])
        return "%d %d %s\r\n%s.\r\n" % (code, number, chosen[0], text)

    def _note_stored(self):
        if self._under_way:
            self.stored.add(self._under_way)
            self._under_way = None


class Wrong(Exception):
    pass


class Profile:
    """A profile, its server, and what must be in its store."""

    def __init__(self, folder, seed):
        self.folder = folder
        self.random = random.Random(seed)
        self.server = ObservedServer()
        self.expected = {}   # Message-ID: [group, state, read (None: either)]
        self.deleted = set()
        self.optional = set()  # deleted, and may come back
        self.lost = 0        # articles that were on the list, so far
        self.subjects = []   # the groups that the deed is about
        # Seconds that each deed needs when nothing kills it.
        self.took = {"first_start": 0.15}
        shutil.rmtree(folder, ignore_errors=True)
        keep = self.random.choice((1, 1, 1, 0))
        compress = self.random.choice((0, 0, 1))
        with self.start(hold=True) as q:
            q.configure(servers=[self.server.address], groups=GROUPS, maxarticles=5000,
                        keepheaders=keep, usecompression=compress)
            # What is sent at the start must not meet the last group on its way back.
            q.set_dword("Extensions\\restoreplace", 0)

    @property
    def news_folder(self):
        return self.folder / "data" / "Quillet CE News"

    def start(self, **keywords):
        return quillet_script.Quillet(PROGRAM, self.folder, **keywords)

    def feed(self, most):
        """The server gets new articles, some to a thread."""
        for group in GROUPS:
            last = max(self.server.groups[group], default=0)
            for number in range(last + 1, last + 1 + self.random.randrange(most)):
                message_id = "<%d@%s.example>" % (number, group)
                line = "x" * self.random.randrange(60) + "\r\n"
                head, body = article(number, group, message_id, "Thread %d" % (number // 8),
                                     "Text of article.\r\n" + line * self.random.randrange(30))
                self.server.add(group, number, message_id, head, body)
                self.expected[message_id] = [group, ABSENT, 0]

    # The deeds: what is sent to the program, and what it means for the store.

    def deed_first_start(self, q):
        del q

    def deed_download(self, q):
        q.send("command %d" % CONNECT)

    def deed_delete_read(self, q):
        q.send('expect "Really delete" yes optional')
        q.send("command %d" % DELETE_READ)

    def deed_delete_all(self, q):
        for group in GROUPS:
            q.send(("tick " if group in self.subjects else "untick ") + group)
        q.send('expect "Really delete" yes optional')
        q.send("command %d" % DELETE_ALL)

    def deed_mark(self, q):
        q.open_group(self.subjects[0])
        rows = [row["path"] for row in q.tree()["rows"] if row["kind"] == "subject"]
        if rows:
            q.select_node(self.random.choice(rows))
            q.send("command %d" % self.random.choice((MARK_READ, MARK_READ, MARK_UNREAD)))

    def deed_compact(self, q):
        q.send("maintain compact")

    def deed_convert(self, q):
        q.send("maintain " + self.random.choice(("compress", "uncompress")))

    def begin(self, name):
        """Decides on what, and what may happen from now on."""
        self.subjects = [self.random.choice(GROUPS)]
        if name == "delete_all" and self.random.randrange(4) == 0:
            self.subjects = GROUPS
        self.server.forget()
        if name == "download":
            self.feed(300 if not self.expected else 60)

    def after(self, name, finished):
        """What is expected after a deed that was finished, or killed at some moment."""
        for message_id, entry in self.expected.items():
            group, state, read = entry
            if name == "download" and state == ABSENT and message_id not in self.deleted:
                known = finished and message_id not in self.optional
                known = known or message_id in self.server.stored
                entry[1] = STORED if known else UNDECIDED
            elif state == STORED and ((name == "delete_read" and read) or
                                      (name == "delete_all" and group in self.subjects)):
                entry[1] = ABSENT if finished else UNDECIDED
                if finished:
                    self.deleted.add(message_id)
            elif name == "mark" and group in self.subjects:
                entry[2] = None

    # One kill and what follows.

    def round(self, name):
        self.begin(name)
        finished = name not in self.took or self.random.randrange(6) == 0
        q = self.start()
        try:
            if name != "first_start":
                q.do("wait")
            started = time.monotonic()
            getattr(self, "deed_" + name)(q)
            if finished:
                q.do("wait")
                self.took[name] = max(self.took.get(name, 0.03), time.monotonic() - started)
            else:
                time.sleep(self.random.uniform(0, 1.05) * self.took[name])
        finally:
            q.kill()
        self.after(name, finished)
        self.reopen(name)
        if self.random.randrange(3) == 0:
            self.delete_group(self.random.choice(GROUPS))
        self.connect()

    def reopen(self, name):
        with self.start() as q:
            q.do("wait")
            shown = {name: counts for name, _, counts in q.groups()}
        self.expect_quiet(q)
        found = self.check()
        self.lost += len(found["lost"])
        self.compare_counts(found, shown)
        for message_id, (group, state, read) in self.expected.items():
            stored = found["articles"].get(message_id)
            if stored is None and state == STORED and message_id not in found["lost"]:
                raise Wrong("%s is missing" % message_id)
            if stored is not None and state == ABSENT:
                raise Wrong("%s has come back" % message_id)
            if stored is not None and read is not None and stored["read"] != bool(read):
                raise Wrong("%s is %s" % (message_id, "read" if stored["read"] else "unread"))
            if stored is not None and message_id not in found["chains"].get(group, ()):
                raise Wrong("%s left its group" % message_id)
        if name in ("delete_read", "delete_all"):
            self.deleted |= {m for m, entry in self.expected.items() if entry[1] == UNDECIDED
                             and m not in found["articles"] and m not in found["lost"]}
        self.settle(found)

    def delete_group(self, group):
        """The user deletes what is there before the next connection."""
        self.subjects = [group]
        with self.start() as q:
            q.do("wait")
            self.deed_delete_all(q)
            q.do("wait")
        self.expect_quiet(q)
        self.after("delete_all", True)
        # The last number of a group is asked for once more after a kill, so this one may come back;
        # the program may have been killed before it heard of the very last.
        reached = self.server.reached[group]
        again = {"<%d@%s.example>" % (number, group) for number in (reached, reached - 1)}
        self.deleted -= again
        self.optional |= again

    def settle(self, found):
        for message_id, entry in self.expected.items():
            stored = found["articles"].get(message_id)
            if message_id in found["lost"]:
                entry[1:] = [STORED, None]
            else:
                entry[1:] = [STORED, int(stored["read"])] if stored else [ABSENT, 0]

    def connect(self):
        """After one more connection nothing is missing."""
        with self.start() as q:
            q.do("wait")
            for group in GROUPS:
                q.do("tick " + group)
            q.connect()
            shown = {name: counts for name, _, counts in q.groups()}
        self.expect_quiet(q)
        found = self.check()
        self.compare_counts(found, shown)
        for message_id in self.expected:
            there = message_id in found["articles"]
            if not there and message_id not in self.deleted | self.optional:
                raise Wrong("%s is missing after the connection" % message_id)
            if there and message_id in self.deleted:
                raise Wrong("%s was deleted and has come back" % message_id)
        if found["lost"]:
            raise Wrong("still lost: %s" % sorted(found["lost"]))
        self.settle(found)

    def expect_quiet(self, q):
        boxes = [box for box in q.boxes() if not box[1].startswith("Really delete")]
        if (q.status, q.failure(), boxes, q.errors()) != (0, None, [], ""):
            raise Wrong("the start was not quiet: %s" % [q.status, q.failure(), q.boxes(), q.errors()])

    def check(self):
        done = subprocess.run([STORE_CHECK, str(self.news_folder)], stdout=subprocess.PIPE,
                              check=True)
        found = json.loads(done.stdout)
        if found["faults"]:
            raise Wrong("; ".join(found["faults"][:6]))
        return found

    def compare_counts(self, found, shown):
        for group in GROUPS:
            chain = found["chains"].get(group, [])
            read = sum(found["articles"][m]["read"] for m in chain)
            if shown[group] != "%d/%d" % (len(chain) - read, len(chain)):
                raise Wrong("%s shows %s and has %d/%d" % (group, shown[group], len(chain) - read,
                                                          len(chain)))

    def run(self, kills):
        """Runs that many kills; returns how many were made and what was wrong, if anything."""
        deeds = ["first_start"] + [self.random.choice(
            ("download", "download", "mark", "delete_read", "delete_all", "compact", "convert"))
            for _ in range(kills - 1)]
        for number, name in enumerate(deeds, start=1):
            try:
                self.round(name)
            except (Wrong, quillet_script.Failed) as fault:
                return number, "%s (kill %d, %s)" % (fault, number, name)
        return kills, None


class Tally:
    def __init__(self, kills):
        self.left = kills
        self.made = 0
        self.lost = 0
        self.wrong = 0
        self.lock = threading.Lock()

    def take(self):
        with self.lock:
            share = min(self.left, KILLS_OF_A_PROFILE)
            self.left -= share
            return share


def work(tally, folder, seeds):
    while True:
        share = tally.take()
        if share == 0 or tally.wrong >= 20:
            return
        seed = seeds.pop()
        profile = Profile(folder / str(seed), seed)
        try:
            made, fault = profile.run(share)
        finally:
            profile.server.close()
        with tally.lock:
            tally.made += made
            tally.lost += profile.lost
            if fault:
                tally.left += share - made
                tally.wrong += 1
                print("seed %d: %s; kept in %s" % (seed, fault, profile.folder), flush=True)
            else:
                shutil.rmtree(profile.folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(10 ** 6))
    parser.add_argument("--workers", type=int, default=3)
    parser.add_argument("kills", type=int)
    options = parser.parse_args()
    print("seed %d" % options.seed, flush=True)
    # No run reaches the user's own session bus or user manager.
    for variable in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"):
        os.environ.pop(variable, None)
    folder = pathlib.Path(os.environ.get("QUILLET_KILLS") or tempfile.mkdtemp(prefix="quillet-"))
    seeds = list(range(options.seed + options.kills, options.seed - 1, -1))
    tally = Tally(options.kills)
    with concurrent.futures.ThreadPoolExecutor(options.workers) as pool:
        for done in [pool.submit(work, tally, folder, seeds) for _ in range(options.workers)]:
            done.result()
    print("%d kills of the program; %d articles lost and fetched again; %d profiles wrong" % (
        tally.made, tally.lost, tally.wrong))
    return 0 if tally.wrong == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
