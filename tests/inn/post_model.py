# SPDX-License-Identifier: GPL-3.0-or-later
"""Queued posts and what must be sent for them, without the program: the columns of a body, folded and
stuffed lines, the record of a queued post."""

import os
import struct
import subprocess

PENDING = "data/Quillet CE News/Quillet pending posts.gdb"
READER = b"X-Newsreader: Quillet CE 1.14r3\r\n"
BLANK, CR, LF, DOT = b" "[0], b"\r"[0], b"\n"[0], b"."[0]


class Post:
    def __init__(self, key, headers, body, subject=b"s"):
        self.key = key
        self.headers = headers
        self.body = body
        self.subject = subject

    def record(self):
        strings = [self.key, self.headers, self.body, b"", self.subject, b"", b"", b"", b""]
        return struct.pack("<5I", 1, 0, 0, 0, 0) + b"".join(s + b"\0" for s in strings) + b"\0" * 4

    def header_sent(self, message_id=None):
        """The lines as they leave the program, without the empty one."""
        line = b"Message-ID: " + message_id + b"\r\n" if message_id else b""
        return sent_lines(self.headers, True) + line + READER

    def body_sent(self):
        """With the empty line that ends every post, without dot-stuffing."""
        return sent_lines(wrapped(self.body), False) + b"\r\n"


def wrapped(text):
    breaks, column = set(), 0
    for at, char in enumerate(text):
        if char in (CR, LF):
            column = 0
            continue
        column += 1
        follows = text[at + 1:at + 2]
        if 73 <= column <= 79 and char == BLANK and follows not in (b"", b" ", b"\r"):
            breaks.add(at)
            column = 0
        elif column == 80:
            found = text.rfind(b" ", at - 79, at - 7)
            if found >= 0:
                breaks.add(found)
                column = at - found
    return b"".join(b"\r\n" if at in breaks else bytes((char,)) for at, char in enumerate(text))


def sent_lines(text, is_header):
    """Each line as it reaches the server, which takes one of two dots away again."""
    out = b""
    for line in text.split(b"\n"):
        if not line:
            continue
        while len(line) > 500:
            found = line.rfind(b" ", 1, 500)
            out += line[:found if found > 0 else 499] + b"\r\n"
            line = line[found if found > 0 else 499:]
            if found > 0:
                line = b"\t" + line[1:] if is_header else line[1:]
        out += line + (b"\n" if line.endswith(b"\r") else b"\r\n")
    return out


def write_queue(profile, posts, load_program):
    """Makes the file of queued posts of a profile; the program must not run."""
    path = os.path.join(profile, PENDING)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    lines = "".join("%s %s\n" % ((post.key + b"\0").hex(), post.record().hex()) for post in posts)
    subprocess.run([load_program, path], input=lines.encode("ascii"), check=True)


def queued_keys(profile, dump_program):
    done = subprocess.run([dump_program, os.path.join(profile, PENDING)], stdout=subprocess.PIPE,
                          check=True)
    return {bytes.fromhex(line.split(b" ")[0].decode())[:-1]: bytes.fromhex(
        line.split(b" ")[1].decode()) for line in done.stdout.splitlines()}
