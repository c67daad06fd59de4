#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Makes the documents that the program opens: pages of HTML with their pictures. Usage:
make_guide.py FOLDER DOCUMENT...

Each DOCUMENT.md becomes FOLDER/DOCUMENT.html; links between them and the pictures that they show are
kept, every other link must lead into the web. The pages need nothing from the network and follow the
desktop's colours. Standard library only.
"""

import html
import pathlib
import re
import shutil
import sys

from documents import INLINE, PICTURE, Unknown, blocks, cells, heading, item, paragraph

STYLE = """:root { color-scheme: light dark; }
body { font-family: sans-serif; line-height: 1.45; max-width: 46em; margin: 1em auto; padding: 0 1em; }
pre { overflow-x: auto; margin-left: 2em; }
table { border-collapse: collapse; }
th, td { border: 1px solid #8888; padding: 0.2em 0.6em; text-align: left; vertical-align: top; }
img { max-width: 100%; height: auto; }"""


def anchor(title):
    """What a link to a heading names, the same as where the document itself is shown."""
    return re.sub(r"[^a-z0-9 -]", "", title.lower()).replace(" ", "-")


class Page:
    """One document on its way to HTML. `pages` are the names of all documents."""

    def __init__(self, pages):
        self.pages = pages
        self.pictures = []
        self.title = ""
        self.anchors = {}

    def target(self, link):
        name, mark, place = link.partition("#")
        if name.startswith(("https://", "http://")) or not name:
            return link
        if not name.endswith(".md") or name[:-3] not in self.pages:
            raise Unknown("a link to " + link)
        return name[:-3] + ".html" + mark + place

    def picture(self, match):
        if "/" in match[2] and not re.fullmatch(r"[\w-]+/[\w.-]+", match[2]):
            raise Unknown("a picture " + match[2])
        self.pictures.append(match[2])
        return '<img src="%s" alt="%s">' % (html.escape(match[2]), html.escape(match[1]))

    def inline(self, text):
        out, at = [], 0
        for match in re.finditer("%s|(%s)" % (INLINE.pattern, PICTURE.pattern), text):
            out.append(html.escape(text[at:match.start()], quote=False))
            code, bold, emphasis, link, target, shown = match.groups()[:6]
            if shown is not None:
                out.append(self.picture(PICTURE.match(shown)))
            elif code is not None:
                out.append("<code>%s</code>" % html.escape(code, quote=False))
            elif bold is not None:
                out.append("<b>%s</b>" % html.escape(bold, quote=False))
            elif emphasis is not None:
                out.append("<i>%s</i>" % html.escape(emphasis, quote=False))
            else:
                out.append('<a href="%s">%s</a>' % (html.escape(self.target(target)),
                                                    self.inline(link)))
            at = match.end()
        return "".join(out) + html.escape(text[at:], quote=False)

    def heading(self, lines):
        level, title = heading(lines[0])
        self.title = self.title or title
        name = anchor(title)
        self.anchors[name] = earlier = self.anchors.get(name, -1) + 1
        name += "-%d" % earlier if earlier else ""
        return '<h%d id="%s">%s</h%d>' % (level, name, self.inline(title), level)

    def code(self, lines):
        return "<pre><code>%s</code></pre>" % html.escape("\n".join(lines), quote=False)

    def row(self, tag, line):
        return "<tr>%s</tr>" % "".join("<%s>%s</%s>" % (tag, self.inline(cell), tag)
                                       for cell in cells(line))

    def table(self, lines):
        head = [self.row("th", lines[0])] if any(cells(lines[0])) else []
        return "\n".join(["<table>", *head, *(self.row("td", line) for line in lines[2:]), "</table>"])

    def item(self, lines):
        _, first, more = item(lines)
        told = first.startswith("**") and first.endswith("**") and more
        return "<li>%s</li>" % (self.inline(first) + "<br>\n" + self.inline(" ".join(more)) if told
                                else self.inline(" ".join([first] + more)))

    def text(self, lines):
        return "<p>%s</p>" % self.inline(paragraph(lines))

    def body(self, document):
        """Entries that follow each other make one list."""
        out, list_tag = [], None
        for kind, lines in blocks(document.splitlines()):
            tag = ("ul" if lines[0].startswith("-") else "ol") if kind == "item" else None
            if tag != list_tag:
                out += ["</%s>" % list_tag] if list_tag else []
                out += ["<%s>" % tag] if tag else []
            list_tag = tag
            out.append(getattr(self, kind)(lines))
        return "\n".join(out + (["</%s>" % list_tag] if list_tag else []))

    def whole(self, document):
        body = self.body(document)
        return ('<!DOCTYPE html>\n<html lang="en">\n<head>\n<meta charset="utf-8">\n'
                '<meta name="viewport" content="width=device-width">\n'
                "<title>%s</title>\n<style>\n%s\n</style>\n</head>\n<body>\n%s\n</body>\n</html>\n"
                % (html.escape(self.title), STYLE, body))


def make(folder, documents):
    pages = {document.stem for document in documents}
    folder.mkdir(parents=True, exist_ok=True)
    for document in documents:
        page = Page(pages)
        made = page.whole(document.read_text(encoding="utf-8"))
        for picture in page.pictures:
            (folder / picture).parent.mkdir(exist_ok=True)
            shutil.copyfile(document.parent / picture, folder / picture)
        (folder / (document.stem + ".html")).write_text(made, encoding="utf-8")


if __name__ == "__main__":
    make(pathlib.Path(sys.argv[1]), [pathlib.Path(name) for name in sys.argv[2:]])
