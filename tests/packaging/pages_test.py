#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The pages of HTML made from the documents, and what is known of a release. Usage: pages_test.py
REPOSITORY"""

import datetime
import html.parser
import pathlib
import re
import sys
import tempfile
import unittest

REPOSITORY = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(REPOSITORY / "packaging"))

# pylint: disable=wrong-import-position
import documents  # noqa: E402
import make_guide  # noqa: E402
import release  # noqa: E402

GUIDE = ["user-guide", "mail", "registry"]  # as packaging/CMakeLists.txt has them


class Reader(html.parser.HTMLParser):
    """What a page has: its text, anchors, links, pictures. Unbalanced tags are an error."""

    EMPTY = ("meta", "br", "img")

    def __init__(self, page):
        super().__init__()
        self.open, self.words, self.anchors, self.links, self.pictures = [], [], [], [], []
        self.feed(page)
        if self.open:
            raise ValueError("not closed: %s" % self.open)

    def handle_starttag(self, tag, attrs):
        if tag not in self.EMPTY:
            self.open.append(tag)
        attrs = dict(attrs)
        self.anchors += [attrs["id"]] if "id" in attrs else []
        self.links += [attrs["href"]] if tag == "a" else []
        self.pictures += [attrs["src"]] if tag == "img" else []

    def handle_endtag(self, tag):
        if self.open.pop() != tag:
            raise ValueError("%s at %s" % (tag, self.getpos()))

    def handle_data(self, data):
        if "style" not in self.open:
            self.words.append(data)


def body(text, pages=("x",)):
    return make_guide.Page(set(pages)).body(text)


class Pages(unittest.TestCase):
    def test_marks_become_tags_and_all_else_is_text(self):
        self.assertEqual(
            body("# T & <T>\n\nSome *soft* and **hard** `a<b>&`,\n[a `link`](x.md#y) \"q\".\n"),
            '<h1 id="t--t">T &amp; &lt;T&gt;</h1>\n<p>Some <i>soft</i> and <b>hard</b> '
            '<code>a&lt;b&gt;&amp;</code>, <a href="x.html#y">a <code>link</code></a> "q".</p>')

    def test_lists_tables_and_code(self):
        self.assertEqual(body("- a\n  b\n- **M.**\n  Why.\n\n1. c\n\nText.\n"),
                         "<ul>\n<li>a b</li>\n<li><b>M.</b><br>\nWhy.</li>\n</ul>\n"
                         "<ol>\n<li>c</li>\n</ol>\n<p>Text.</p>")
        self.assertEqual(body("| k | v |\n|---|---|\n| `a\\|b` | c |\n"),
                         "<table>\n<tr><th>k</th><th>v</th></tr>\n"
                         "<tr><td><code>a|b</code></td><td>c</td></tr>\n</table>")
        self.assertEqual(body("| | |\n|---|---|\n| a | b |\n"),
                         "<table>\n<tr><td>a</td><td>b</td></tr>\n</table>")
        self.assertEqual(body("    a <b>\n    **c**\n\n```\n# d\n\ne\n```\n"),
                         "<pre><code>a &lt;b&gt;\n**c**</code></pre>\n"
                         "<pre><code># d\n\ne</code></pre>")

    def test_a_title_that_comes_again_has_an_anchor_of_its_own(self):
        self.assertEqual(Reader(body("# A b\n\n## C\n\n## A b\n\n## A b\n")).anchors,
                         ["a-b", "c", "a-b-1", "a-b-2"])

    def test_links_that_lead_nowhere_are_errors(self):
        for link in ("y.md", "x.txt", "../x.md", "/etc/passwd"):
            with self.assertRaises(documents.Unknown, msg=link):
                body("[a](%s)\n" % link)
        self.assertIn('href="https://a.example/?b&amp;c"', body("[a](https://a.example/?b&c)\n"))
        self.assertIn('href="#top"', body("[a](#top)\n"))

    def test_pictures_come_along(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "in/settings").mkdir(parents=True)
            (folder / "in/settings/a.png").write_bytes(b"picture")
            document = folder / "in/x.md"
            document.write_text("# X\n\n![A \"page\"](settings/a.png)\n", encoding="utf-8")
            make_guide.make(folder / "out", [document])
            page = Reader((folder / "out/x.html").read_text(encoding="utf-8"))
            self.assertEqual(page.pictures, ["settings/a.png"])
            self.assertEqual((folder / "out/settings/a.png").read_bytes(), b"picture")
        with self.assertRaises(documents.Unknown):
            body("![a](../a.png)\n")

    def test_the_guide_is_whole_and_its_links_lead_somewhere(self):
        with tempfile.TemporaryDirectory() as folder:
            make_guide.make(pathlib.Path(folder),
                            [REPOSITORY / "docs" / (name + ".md") for name in GUIDE])
            pages = {path.name: Reader(path.read_text(encoding="utf-8"))
                     for path in pathlib.Path(folder).glob("*.html")}
            self.assertEqual(sorted(pages), ["mail.html", "registry.html", "user-guide.html"])
            for name, page in pages.items():
                self.assertEqual(len(page.anchors), len(set(page.anchors)), name)
                for link in page.links:
                    if not link.startswith("https://"):
                        target, _, anchor = link.partition("#")
                        self.assertIn(anchor or pages[target].anchors[0],
                                      pages[target or name].anchors, link)
                shown = "".join(page.words)
                self.assertNotIn("**", shown)
                self.assertNotIn("](", shown)
            guide = pages["user-guide.html"]
            self.assertIn("troubleshooting", guide.anchors)
            source = (REPOSITORY / "docs/user-guide.md").read_text(encoding="utf-8")
            headings = re.findall(r"^#+ (.*)$", source, re.MULTILINE)
            self.assertEqual([make_guide.anchor(heading) for heading in headings],
                             [re.sub(r"-\d$", "", anchor) for anchor in guide.anchors])


class Release(unittest.TestCase):
    def test_version_and_day_are_those_of_the_first_entry(self):
        self.assertEqual(release.newest(
            "quillet (2.0) unstable; urgency=medium\n\n  * A.\n\n"
            " -- A <a@b.example>  Fri, 01 Jan 2027 00:30:00 +0100\n\n"
            "quillet (1.0) unstable; urgency=medium\n\n"
            " -- A <a@b.example>  Thu, 01 Jan 2026 12:00:00 +0000\n"),
            ("2.0", datetime.date(2026, 12, 31)))
        with self.assertRaises(ValueError):
            release.newest("nothing\n")

    def test_the_changelog_has_the_version_that_the_program_tells(self):
        told = re.search(r'kVersionText = "(.*)"',
                         (REPOSITORY / "util/version.h").read_text(encoding="utf-8"))
        self.assertEqual(release.read_newest(REPOSITORY / "debian/changelog")[0], told[1])


if __name__ == "__main__":
    unittest.main()
