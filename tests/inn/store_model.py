# SPDX-License-Identifier: GPL-3.0-or-later
"""What a download must leave behind, worked out from the manifest alone.

ServerModel numbers the articles as the server does; Model plays the download of the ticked groups
with the rules of the store and says which records, chains, counts and progress values follow. It
shares nothing with the program but the documented formats. Standard library only.
"""

import json
import struct

HEAD_LIMIT = 10240
TOO_LARGE = b"Quillet notification: message exceeds maximum size.\r\n"
NO_BODY = b"Quillet notification: message has no body\r\n"


def read_manifest(path):
    with open(path, encoding="ascii") as file:
        return [json.loads(line) for line in file]


class ServerModel:
    """Article numbers and server-made header lines of a server that was fed the rows in order.

    A server with a path host adds its name to Path and an Xref line at the end of the head; without
    one it serves the articles as they came.
    """

    def __init__(self, groups, pathhost=None):
        self.pathhost = pathhost
        self.articles = {group: [] for group in groups}
        self.numbers = {}

    def feed(self, rows):
        for row in rows:
            places = []
            for group in row["groups"]:
                self.articles[group].append(row)
                places.append((group, len(self.articles[group])))
            self.numbers[row["message_id"]] = places

    def last(self, group):
        return len(self.articles[group])

    def xref(self, row):
        places = ["%s:%d" % place for place in self.numbers[row["message_id"]]]
        return "Xref: %s %s" % (self.pathhost, " ".join(places))

    def kept_text(self, row):
        """The head text a reader keeps, as bytes: lines as received, joined by line feeds."""
        lines = list(row["kept"])
        if self.pathhost:
            lines = ["Path: %s!%s" % (self.pathhost, line[6:]) if line.startswith("Path: ")
                     else line for line in lines] + [self.xref(row)]
        # Each line keeps its carriage return but the last of the head, whose line end is part of
        # the end mark.
        text = "\r\n".join(lines)
        if lines and not self.pathhost and not row["last_line_kept"]:
            text += "\r"
        return text.encode("latin-1")

    def head_size(self, row):
        size = row["head_size"]
        if self.pathhost:
            size += len(self.pathhost) + 1 + len(self.xref(row)) + 2
        return size


class Stored:
    """One article as it must be stored."""

    def __init__(self, server, row, number, source, max_size):
        self.row = row
        self.number = number
        self.body = stored_body(row, max_size)
        self.headers = server.kept_text(row)
        self.source = source

    def record(self):
        row = self.row
        strings = [row["message_id"].encode("latin-1"), self.headers, self.body]
        strings += [row[name].encode("latin-1") for name in ("parent_id", "subject", "from")]
        strings.append(self.source.encode("latin-1"))
        strings += [row[name].encode("latin-1") for name in ("date", "reply_to")]
        words = struct.pack("<5I", 1, 0, 1, 0, self.number)
        return words + b"".join(text + b"\0" for text in strings) + b"\0" * 4


def stored_body(row, max_size):
    if row["lines_header"] * 72 // 1024 > max_size or row["body_size"] >= max_size * 1024 - 1:
        return TOO_LARGE
    return row["body"].encode("latin-1") or NO_BODY


class Model:
    """The store and the progress values of one profile, played along."""

    def __init__(self, server, groups, source, max_articles, max_size, cross_posts=True):
        self.server = server
        self.groups = list(groups)
        self.source = source
        self.max_articles = max_articles
        self.max_size = max_size
        self.cross_posts = cross_posts
        self.stored = {}
        self.chains = {group: [] for group in groups}   # (chain number, message id), oldest first
        self.chained = {group: set() for group in groups}  # the same without numbers and order
        self.next_chain = 1
        self.lastdownloaded = dict.fromkeys(groups, 0)
        self.lastonserver = dict.fromkeys(groups, 0)
        self.heads = 0                                   # HEAD commands of the last run

    def download(self):
        self.heads = 0
        for group in self.groups:
            self.download_group(group)

    def download_group(self, group):
        last = self.server.last(group)
        self.lastonserver[group] = last
        number = self.lastdownloaded[group] + 1
        remaining = min(last - number + 1, self.max_articles - len(self.chains[group]))
        while remaining > 0 and number <= last:
            self.lastdownloaded[group] = number
            self.heads += 1
            if self.take(group, number):
                remaining -= 1
            number += 1

    def take(self, group, number):
        """Whether the article counts: one that is there already does not."""
        row = self.server.articles[group][number - 1]
        if self.server.head_size(row) >= HEAD_LIMIT - 1:
            return True
        if row["message_id"] in self.stored:
            if self.cross_posts and row["message_id"] not in self.chained[group]:
                self.chain(group, row)
            return False
        self.stored[row["message_id"]] = Stored(self.server, row, number, self.source,
                                                self.max_size)
        self.chain(group, row)
        return True

    def chain(self, group, row):
        self.chains[group].append((self.next_chain, row["message_id"]))
        self.chained[group].add(row["message_id"])
        self.next_chain += 1
