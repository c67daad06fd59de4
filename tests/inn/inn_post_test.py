#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Posts through a real news server with the whole program, and reads the articles back.

Environment: QUILLET_SCRIPT, QUILLET_SETUP, QUILLET_GDBM_DUMP, QUILLET_GDBM_LOAD (programs),
QUILLET_INN_CACHE (package files).
"""

import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE] + [os.path.join(HERE, os.pardir, name) for name in ("scenarios", "support")]

# pylint: disable=wrong-import-position
import inn_server  # noqa: E402
import post_model  # noqa: E402
import quillet_script  # noqa: E402
import side_by_side  # noqa: E402
import store_check  # noqa: E402

MODERATED = "post.moderated"
LIMIT = 300000
ADDRESS = "writer@example.org"


def read_article(inn, message_id):
    """(header, body) as the server has it, or nothing; lines end in CR LF."""
    with socket.create_connection((inn.host, inn.port), timeout=60) as link:
        replies = link.makefile("rb")
        replies.readline()
        link.sendall(b"ARTICLE " + message_id + b"\r\n")
        if not replies.readline().startswith(b"220"):
            return None
        lines = []
        for line in replies:
            if line == b".\r\n":
                break
            lines.append(line[1:] if line.startswith(b".") else line)
        link.sendall(b"QUIT\r\n")
    header, _, body = b"".join(lines).partition(b"\r\n\r\n")
    return header + b"\r\n", body


class InnPost(side_by_side.Test):
    maxDiff = None
    folder = inn = None

    def setUp(self):
        name = self.id().rsplit(".", maxsplit=1)[-1]
        self.profile = os.path.join(self.folder, name)
        self.group = "post." + re.sub("^test_", "", name).replace("_", "-")
        self.key = b"2024%d" % zlib.crc32(name.encode())
        self.prepare(self.inn.port)

    def prepare(self, port, group=None):
        command = [os.environ["QUILLET_SETUP"], "--profile", self.profile, "--server",
                   self.inn.host, "--port", str(port), "--group", group or self.group,
                   "--number", "maxarticles=1000", "--number", "maxarticlesize=1000"]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)

    def post(self, body=b"text\r\n", headers=None, subject=b"s", key=None):
        if headers is None:
            headers = self.headers(subject)
        return post_model.Post(key or self.key, headers, body, subject)

    def headers(self, subject=b"s", groups=None, more=b""):
        return (b'From: "The Writer" <writer@example.org>\r\nSubject: ' + subject +
                b"\r\nNewsgroups: " + (groups or self.group).encode() + b"\r\n" + more)

    def message_id(self, key=None):
        mark = store_check.registry_value(self.profile, "postmessageidmark")
        return b"<%s.%08x@example.org>" % (key or self.key, int.from_bytes(mark, "little"))

    def connect(self, posts, expect_queue=()):
        """One connection with those posts in the queue; returns the boxes that came."""
        if posts is not None:
            post_model.write_queue(self.profile, posts, os.environ["QUILLET_GDBM_LOAD"])
        with quillet_script.Quillet(os.environ["QUILLET_SCRIPT"], self.profile, timeout=150,
                                    hold=True) as q:
            q.set_string("returnmailaddress", ADDRESS)
            q.start()
            q.do("keep-transaction-log on")
            q.connect()
            self.log = q.transaction_log()
            self.status = q.status_text()
        self.assertEqual((q.status, q.failure(), q.errors()), (0, None, ""))
        left = post_model.queued_keys(self.profile, os.environ["QUILLET_GDBM_DUMP"])
        self.assertEqual(sorted(left), sorted(expect_queue))
        self.marks = {key: value[4] for key, value in left.items()}
        return [(caption, text) for caption, text, _ in q.boxes()]

    # -- checking ----------------------------------------------------------------------------

    def assert_on_server(self, post, message_id=None):
        """Body to the byte, and every header field that was sent."""
        message_id = message_id or self.message_id(post.key)
        found = read_article(self.inn, message_id)
        self.assertIsNotNone(found, message_id)
        header, body = found
        own = b"message-id:" in post.headers.lower()
        self.assertEqual(body, post.body_sent())
        sent = post.header_sent(None if own else message_id)
        fields = re.findall(rb"(?ms)^[^ \t].*?\r\n(?![ \t])", sent)
        self.assertGreater(len(fields), 3)
        for field in fields:
            # This one the server spells its own way.
            field = re.sub(rb"(?i)^message-id:", b"Message-ID:", field)
            self.assertIn(b"\r\n" + field, b"\r\n" + header)

    def assert_downloaded(self, post, message_id=None):
        """The program has fetched it again; what it keeps has its dots doubled."""
        files = store_check.Databases(self.profile, os.environ["QUILLET_GDBM_DUMP"])
        record = files.articles[(message_id or self.message_id(post.key)) + b"\0"]
        strings = record[20:-4].split(b"\0")
        stuffed = re.sub(rb"(?m)^\.", b"..", post.body_sent())
        self.assertEqual(strings[2] + b"\r\n", stuffed)
        self.assertEqual(strings[4], post.subject)

    def assert_goes_out(self, post):
        self.assertEqual(self.connect([post]), [])
        self.assertRegex(self.status, r", 1 posted, 0:\d\d\.$")
        self.assert_on_server(post)
        self.assert_downloaded(post)

    def assert_refused(self, post, code, text):
        boxes = self.connect([post], [post.key])
        self.assertEqual(len(boxes), 1)
        self.assertEqual(boxes[0][0], "Error log")
        self.assertRegex(boxes[0][1], "^Article rejected by server: %s .*%s.*\r\n\r\n$" % (code, text))
        self.assertEqual(self.marks, {post.key: 1})
        self.assertIsNone(read_article(self.inn, self.message_id(post.key)))
        reply = store_check.registry_value(self.profile, "reply").decode("utf-16-le")
        self.assertEqual(boxes[0][1], "Article rejected by server: %s\r\n\r\n" % reply[:-1])


class Accepted(InnPost):
    def test_new_article(self):
        self.assert_goes_out(self.post(b"One line.\r\n\r\nAnother.\r\n-- \r\nThe Writer\r\n"))

    def test_body_without_a_line_end(self):
        self.assert_goes_out(self.post(b"no end"))

    def test_eight_bit(self):
        body = b"Gr\xfc\xdfe, \x80 5.-\r\n" + bytes(range(0xa0, 0x100)) + b"\r\n"
        more = b"MIME-Version: 1.0\r\nContent-Type: text/plain; charset=windows-1252\r\n" \
               b"Content-Transfer-Encoding: 8bit\r\n"
        self.assert_goes_out(self.post(body, self.headers(more=more)))

    def test_every_language(self):
        subject = "=?UTF-8?B?zprOsc67zrfOvM6tzrPOsQ==?=".encode()
        headers = (b"From: =?UTF-8?B?zqPOv8+Gzq/OsQ==?= <writer@example.org>\r\nSubject: " + subject +
                   b"\r\nNewsgroups: " + self.group.encode() + b"\r\nMIME-Version: 1.0\r\n"
                   b"Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n")
        body = "Γειά, 日本語 😀\r\n.\r\n.سلام\r\n\r\ncafe\u0301\r\n".encode("utf-8")
        self.assert_goes_out(self.post(body, headers, subject))

    def test_long_lines_of_wide_characters(self):
        more = (b"MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
                b"Content-Transfer-Encoding: 8bit\r\n")
        post = self.post(("日" * 37 + " " + "日" * 400 + "\r\n").encode("utf-8"),
                         self.headers(more=more))
        self.assertEqual(self.connect([post]), [])
        header, body = read_article(self.inn, self.message_id())
        self.assertIn(more, header)
        self.assertEqual(body.decode("utf-8"),
                         "日" * 37 + "\r\n" + "日" * 332 + "\r\n" + "日" * 68 + "\r\n\r\n")

    def test_dots(self):
        self.assert_goes_out(self.post(b".\r\n..\r\n.x\r\n...\r\n .\r\nx\r\n.\r\n"))

    def test_long_lines(self):
        words = b"".join(b"%d " % n for n in range(3000))
        body = words + b"\r\n" + b"x" * 1200 + b"\r\n" + b"y" * 100 + b" " + b"z" * 900 + b"\r\n"
        self.assert_goes_out(self.post(body + b"> " + words + b"\r\n"))

    def test_folded_header(self):
        references = b" ".join(b"<%d.abcdefghijklmnop@example.org>" % n for n in range(24))
        self.assert_goes_out(self.post(headers=self.headers(
            more=b"References: " + references + b"\r\n")))

    def test_many_in_one_connection(self):
        posts = [self.post(b"number %d\r\n" % n, key=self.key + b"%d" % n) for n in range(40)]
        self.assertEqual(self.connect(posts), [])
        for post in posts:
            self.assert_on_server(post)
            self.assert_downloaded(post)

    def test_megabyte_in_short_lines(self):
        line = b"seventy characters of text, so that nobody has to break any of them\r\n"
        self.assert_goes_out(self.post(line * ((LIMIT - 5000) // len(line))))

    def test_reply_is_a_child(self):
        self.assert_goes_out(self.post(b"the question\r\n", subject=b"A question"))
        parent = self.message_id()
        reply = self.post(b"> the question\r\nthe answer\r\n",
                          self.headers(b"Re: A question",
                                       more=b"References: " + parent + b"\r\n"),
                          b"Re: A question", self.key + b"1")
        self.assert_goes_out(reply)
        with quillet_script.Quillet(os.environ["QUILLET_SCRIPT"], self.profile) as q:
            q.open_group(self.group)
            rows = [row for row in q.tree()["rows"] if row["kind"] == "article"]
        self.assertEqual([row["depth"] for row in rows], [1, 2])

    def test_cross_post(self):
        other = "post.cross-other"
        post = self.post(headers=self.headers(groups=self.group + "," + other))
        self.assert_goes_out(post)
        header, _ = read_article(self.inn, self.message_id())
        xref = re.search(rb"(?m)^Xref: (.*)\r$", header).group(1)
        self.assertEqual({part.split(b":")[0].decode() for part in xref.split()[1:]},
                         {self.group, other})

    def test_own_message_id(self):
        message_id = b"<own.%s@example.org>" % self.key
        post = self.post(headers=self.headers(more=b"Message-id: " + message_id + b"\r\n"))
        self.assertEqual(self.connect([post]), [])
        self.assert_on_server(post, message_id)
        self.assert_downloaded(post, message_id)

    def test_second_attempt_is_known(self):
        post = self.post()
        self.assert_goes_out(post)
        # The reply was lost: the post is in the queue as before.
        self.assertEqual(self.connect([post]), [])
        self.assertIn("441 435", self.log)
        self.assertIn("The server has this article already: it leaves the queue.\r\n", self.log)
        self.assert_on_server(post)
        with quillet_script.Quillet(os.environ["QUILLET_SCRIPT"], self.profile) as q:
            self.assertEqual(len(q.chain(self.group)), 1)

    def test_moderated_group(self):
        post = self.post(b"for the moderator\r\n", self.headers(groups=MODERATED))
        self.assertEqual(self.connect([post]), [])
        for _ in range(100):
            if os.path.exists(self.inn.moderated_mail):
                break
            time.sleep(0.1)
        with open(self.inn.moderated_mail, "rb") as file:
            mail = file.read().replace(b"\r\n", b"\n")
        self.assertIn(b"\nfor the moderator\n", mail)
        self.assertIn(b"\nMessage-ID: " + self.message_id() + b"\n", mail)
        self.assertIsNone(read_article(self.inn, self.message_id()))


class Refused(InnPost):
    def test_over_the_limit(self):
        self.assert_refused(self.post(b"x" * 70 + b"\r\n" + b"a line of text\r\n" * (LIMIT // 15)),
                            441, "")

    def test_unknown_group(self):
        self.assert_refused(self.post(headers=self.headers(groups="no.such.group")), 441, "group")

    def test_no_subject(self):
        headers = b"From: writer@example.org\r\nNewsgroups: " + self.group.encode() + b"\r\n"
        self.assert_refused(self.post(headers=headers), 441, "Subject")

    def test_header_without_a_colon(self):
        self.assert_refused(self.post(headers=self.headers(more=b"no colon\r\n")), 441, "")

    def test_refused_one_leaves_the_others_alone(self):
        bad = self.post(headers=self.headers(groups="no.such.group"), key=self.key + b"0")
        good = [self.post(b"%d\r\n" % n, key=self.key + b"%d" % n) for n in range(1, 6)]
        boxes = self.connect([bad] + good, [bad.key])
        self.assertEqual(len(boxes), 1)
        for post in good:
            self.assert_on_server(post)
        # Mended by its writer, it goes out.
        mended = self.post(b"mended\r\n", key=bad.key)
        self.assertEqual(self.connect([mended]), [])
        self.assert_on_server(mended)

    def test_posting_not_allowed(self):
        shutil.rmtree(self.profile)
        self.prepare(self.inn.reader_without_posting())
        posts = [self.post(key=self.key + b"%d" % n) for n in range(2)]
        boxes = self.connect(posts, [post.key for post in posts])
        self.assertEqual(boxes, [("Error log", "The news server does not allow posting. Skipping "
                                               "queued posts.\r\n")])
        self.assertNotIn("POST", self.log)
        self.assertIn("GROUP " + self.group, self.log)
        self.assertEqual(set(self.marks.values()), {0})


def group_names():
    names = [MODERATED, "post.cross-other"]
    for case in (Accepted, Refused):
        names += ["post." + name[5:].replace("_", "-") for name in vars(case)
                  if name.startswith("test_")]
    return names


def main():
    with tempfile.TemporaryDirectory(prefix="quillet-inn-post-") as folder, \
            inn_server.InnServer(os.environ["QUILLET_INN_CACHE"], group_names(),
                                 moderated=[MODERATED], localmaxartsize=str(LIMIT)) as inn:
        InnPost.folder, InnPost.inn = folder, inn
        side_by_side.main()


if __name__ == "__main__":
    main()
