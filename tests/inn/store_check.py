# SPDX-License-Identifier: GPL-3.0-or-later
"""Compares the files of a profile with a Model, byte by byte.

The databases are read with quillet-gdbm-dump, the registry with SQLite: neither uses the program.
"""

import os
import sqlite3
import struct
import subprocess

FOLDER = "data/Quillet CE News"


class Databases:
    """All records of the profile's databases, as they lie in the files."""

    def __init__(self, profile, dump_program):
        self.profile = profile
        self.dump_program = dump_program
        self.articles = self.read("Quillet articles.gdb")
        self.newsgroups = self.read("Quillet newsgroups.gdb")
        self.pending = self.read("Quillet pending posts.gdb")

    def read(self, name):
        done = subprocess.run([self.dump_program, os.path.join(self.profile, FOLDER, name)],
                              stdout=subprocess.PIPE, check=True)
        records = {}
        for line in done.stdout.decode("ascii").splitlines():
            key, value = line.split(" ")
            records[bytes.fromhex(key)] = bytes.fromhex(value)
        return records


def registry_value(profile, name):
    """The raw bytes of a value; None when it is missing."""
    path = "file:%s/registry.db?mode=ro" % profile
    with sqlite3.connect(path, uri=True) as database:
        rows = database.execute("SELECT data FROM registry_value WHERE folded = ?",
                                (name.lower(),)).fetchall()
    return rows[0][0] if rows else None


def registry_numbers(profile, name):
    data = registry_value(profile, name) or b""
    return list(struct.unpack("<%dI" % (len(data) // 4), data))


def text_key(text):
    return text.encode("latin-1") + b"\0"


def group_record(previous, following, group, message_id):
    return (struct.pack("<3I", 1, previous, following) + text_key(group) + text_key(message_id) +
            b"\0" * 4)


def expected_articles(model):
    records = {text_key(message_id): stored.record()
               for message_id, stored in model.stored.items()}
    for group in model.groups:
        records[text_key(group)] = struct.pack("<3I", 1, 0, len(model.chains[group]))
    return records


def expected_newsgroups(model):
    records = {}
    if model.next_chain > 1:
        records[b"\xff"] = struct.pack("<I", model.next_chain)
    for group, chain in model.chains.items():
        if not chain:
            continue
        numbers = [0] + [number for number, _ in chain] + [0]
        records[text_key(group)] = group_record(0, numbers[-2], group, "")
        for i, (number, message_id) in enumerate(chain, start=1):
            records[struct.pack("<I", number)] = group_record(numbers[i + 1], numbers[i - 1],
                                                              group, message_id)
    return records


def differences(found, expected, limit=5):
    """A few lines that say where two sets of records differ; empty when they do not."""
    lines = []
    for key in sorted(set(found) | set(expected)):
        if found.get(key) == expected.get(key):
            continue
        lines.append("key %r\n  found    %r\n  expected %r" %
                     (key, found.get(key), expected.get(key)))
        if len(lines) >= limit:
            lines.append("...")
            break
    return "\n".join(lines)


def walk_chain(newsgroups, group):
    """A group's (chain number, Message-ID) pairs, newest first, and how many of its records do not
    point back to the one before them. Fails on a record of another group or format."""
    head = newsgroups.get(text_key(group))
    entries, astray = [], 0
    newer, number = 0, struct.unpack_from("<I", head, 8)[0] if head else 0
    while number:
        record = newsgroups[struct.pack("<I", number)]
        form, previous, following = struct.unpack_from("<3I", record)
        name, message_id = record[12:-4].split(b"\0")[:2]
        if (form, name.decode("latin-1")) != (1, group):
            raise AssertionError("chain record %d of %s is %r" % (number, group, record))
        astray += previous != newer
        entries.append((number, message_id.decode("latin-1")))
        newer, number = number, following
    return entries, astray
