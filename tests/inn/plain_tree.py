# SPDX-License-Identifier: GPL-3.0-or-later
"""The thread tree of a group by its rules, one list operation after the other: slow and obvious.

Shares nothing with the program but the documented formats of the files. Standard library only.
"""

import functools
import operator
import re
import struct

import store_check


class Node:
    """An article, a subject node or the root. Texts are bytes."""

    def __init__(self, kind, subject=b""):
        self.kind = kind
        self.subject = subject
        self.parent = None
        self.children = []
        self.message_id = self.parent_id = self.source = self.author = b""
        self.forerunners = []                    # Message-IDs, the nearest first
        self.number = self.chain = 0
        self.read = False
        self.order = (self.source, self.number)  # what siblings are ordered by

    def below(self):
        """All nodes below this one, from the top."""
        nodes, waiting = [], list(reversed(self.children))
        while waiting:
            node = waiting.pop()
            nodes.append(node)
            waiting.extend(reversed(node.children))
        return nodes

    def articles(self):
        """The articles among this node and those below."""
        return [node for node in [self, *self.below()] if node.kind == "article"]


# -- Reading the files -------------------------------------------------------------------------


def article_node(record, message_id, chain):
    """The node of a stored article; its number is signed."""
    form, read, _, _, number = struct.unpack_from("<4Ii", record)
    if form != 1:
        raise AssertionError("an article of form %d" % form)
    texts = record[20:-4].split(b"\0")
    node = Node("article", texts[4])
    node.message_id, node.chain = message_id, chain
    node.forerunners = referenced(texts[1])[::-1]
    node.parent_id, node.author, node.source = texts[3], texts[5], texts[6]
    node.number, node.read = number, read != 0
    node.order = (node.source, node.number)
    return node


def referenced(head):
    """The Message-IDs of the whole References of a head, as they stand there."""
    field = re.search(rb"^references:(.*\n?(?:[ \t].*\n?)*)", head, re.IGNORECASE | re.MULTILINE)
    return re.findall(rb"<[^<>]*>", field.group(1)) if field else []


def group_articles(files, group):
    """The group's articles, newest first, without those that the store does not have."""
    nodes = []
    for chain, message_id in store_check.walk_chain(files.newsgroups, group)[0]:
        record = files.articles.get(store_check.text_key(message_id))
        if record is not None:
            nodes.append(article_node(record, message_id.encode("latin-1"), chain))
    return nodes


# -- Building ----------------------------------------------------------------------------------


def link_child(parent, child, reverse=False, after=None):
    child.parent = parent
    place = len(parent.children)
    if after is not None:
        place = parent.children.index(after) + 1
    else:
        comes_before = operator.gt if reverse else operator.lt
        for i, sibling in enumerate(parent.children):
            if comes_before(child.order, sibling.order):
                place = i
                break
    parent.children.insert(place, child)


def find_parent(index, node, ancestors, reading):
    """The parent of a node, None when it is not there, the node itself or below it.

    With `ancestors` it is the nearest forerunner of which that is not so; while articles are read
    nobody but the nearest is looked for.
    """
    wanted = (node.forerunners if ancestors else []) + [node.parent_id]
    for message_id in wanted[:1] if reading else wanted:
        found = index.get(message_id) if message_id else None
        if found is not None and found is not node and found not in node.below():
            return found
    return None


def link_articles(root, articles, threading, reverse, ancestors):
    index = {}
    for node in articles:
        if node.message_id:
            index[node.message_id] = node
        parent = find_parent(index, node, ancestors, True) if threading else None
        link_child(parent or root, node, reverse)
    return index


def link_late_parents(root, index, reverse, ancestors):
    place = 0
    while place < len(root.children):
        node = root.children[place]
        parent = find_parent(index, node, ancestors, False)
        if parent is None:
            place += 1
        else:
            root.children.remove(node)
            link_child(parent, node, reverse)


@functools.cache
def bare_subject(subject):
    subject = subject.lstrip(b" ")
    while subject[:3].lower() == b"re:":
        subject = subject[3:].lstrip(b" ")
    return subject


def gather_threads(root, threading, reverse):
    place = 0
    while place < len(root.children):
        thread = root.children[place]
        subject_node = Node("subject", thread.subject)
        subject_node.parent = root
        root.children[place] = subject_node
        link_child(subject_node, thread, reverse)
        last, wanted = thread, bare_subject(subject_node.subject)
        for other in root.children[place + 1:] if threading else []:
            if bare_subject(other.subject) == wanted:
                root.children.remove(other)
                link_child(subject_node, other, after=last)
                last = other
        place += 1


def build(articles, threading, reverse, ancestors=True):
    """The root over articles given newest first."""
    root = Node("root")
    index = link_articles(root, articles, threading, reverse, ancestors)
    if threading:
        link_late_parents(root, index, reverse, ancestors)
    gather_threads(root, threading, reverse)
    return root


# -- Showing -----------------------------------------------------------------------------------


# Code page 1252; the bytes it leaves free are control characters.
CODE_PAGE = [bytes([byte]).decode("cp1252", "ignore") or chr(byte) for byte in range(256)]


def widen(data):
    return "".join([CODE_PAGE[byte] for byte in data])


def row(node, depth):
    """What quillet-script tells of the node, but for its path, its item and whether it is open."""
    articles = node.articles()
    unread = sum(not article.read for article in articles)
    text = widen(node.author)
    read = node.read
    if node.kind == "subject":
        text = widen(node.subject)
        if len(articles) != 1:
            text = "%d/%d %s" % (unread, len(articles), text)
        read = unread == 0
    return {
        "depth": depth, "text": text, "bold": not read, "kind": node.kind,
        "id": widen(node.message_id),
        "subject": widen(node.subject), "from": widen(node.author), "source": widen(node.source),
        "number": node.number, "chain": node.chain, "read": read, "unread": unread,
        "total": len(articles),
    }


def depth_of(node):
    depth = -1
    while node.parent is not None:
        node = node.parent
        depth += 1
    return depth


def expected_rows(files, group, threading, reverse, ancestors=True):
    root = build(group_articles(files, group), threading, reverse, ancestors)
    return [row(node, depth_of(node)) for node in root.below()]


def difference(found_rows, expected):
    """Where the rows of a `tree` answer first differ; empty when they do not."""
    found = [{name: each.get(name) for name in wanted}
             for each, wanted in zip(found_rows, expected)]
    for place, (one, other) in enumerate(zip(found, expected)):
        if one != other:
            return "row %d\n  found    %r\n  expected %r" % (place, one, other)
    if len(found_rows) != len(expected):
        return "%d rows, expected %d" % (len(found_rows), len(expected))
    return ""
