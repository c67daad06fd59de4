#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Makes the man page of a program from its document. Usage:
make_man_page.py PROGRAM DOCUMENT CHANGELOG OUTPUT

It knows the mark-up of documents.py but for pictures. Everything else that begins like mark-up is an
error, so that the page never shows mark-up by accident. Standard library only.
"""

import re
import sys
from dataclasses import dataclass

from documents import INLINE, PICTURE, Unknown, blocks, cells, heading, item, paragraph
from release import read_newest


@dataclass
class Page:
    """What the document does not say: one line for lists of pages, and the synopsis, which the
    program's help has too."""
    what: str
    synopsis: list


PAGES = {
    "quillet": Page("offline newsreader", ["quillet [--profile DIR] [AppRunAtTime | LINK]"]),
    "quillet-script": Page("offline newsreader driven by commands",
                           ["quillet-script --profile DIR [OPTION...] [AppRunAtTime | LINK]"]),
    "quillet-setup": Page("offline newsreader configured by script",
                          ["quillet-setup --server NAME --group NAME [OPTION...]",
                           "quillet-setup --add [--server NAME] [--group NAME...] [OPTION...]"]),
}


def plain(text):
    """The text as roff shows it literally."""
    text = text.replace("\u2026", "...").replace("\\", "\\e").replace("-", "\\-")
    text = text.replace("'", "\\(aq").replace("`", "\\(ga").replace("^", "\\(ha").replace("~", "\\(ti")
    if not text.isascii():
        raise Unknown("a character beyond ASCII: " + text)
    return text


def breakable(text):
    """Literal text that may go on in a new line behind a comma, as long ones without blanks must."""
    return re.sub(r",(?=\S)", r",\\:", plain(text)) if len(text) > 40 else plain(text)


def inline(text):
    """One paragraph's text with fonts; never begins like a request."""
    out, at = [], 0
    for match in INLINE.finditer(text):
        out.append(plain(text[at:match.start()]))
        code, bold, emphasis, link, _ = match.groups()
        if code is not None or bold is not None:
            out.append("\\fB%s\\fP" % breakable(code if code is not None else bold))
        else:
            out.append("\\fI%s\\fP" % plain(emphasis) if emphasis is not None else inline(link))
        at = match.end()
    out.append(plain(text[at:]))
    line = "".join(out)
    return "\\&" + line if line.startswith((".", "\\(aq")) else line


def quoted(text):
    """A heading as one argument of a request."""
    return '"%s"' % inline(text).replace('"', "\\(dq")


def table(rows):
    """A row becomes an entry: its first cell is the tag, the others are its text."""
    head = cells(rows[0])
    out = []
    for row in rows[2:]:
        tag, *rest = cells(row)
        out += [".TP", inline(tag)]
        for title, cell in zip(head[1:], rest):
            named = "%s: %s" % (title, cell) if len(rest) > 1 and title else cell
            out += [inline(named)] if cell is rest[0] else [".br", inline(named)]
    return out + [".PP"]


def entry(lines):
    """A list's entry: a message with its explanation, or text behind a bullet or a number."""
    mark, first, more = item(lines)
    if first.startswith("**") and first.endswith("**") and first.count("**") == 2 and more:
        return [".TP", inline(first), inline(" ".join(more))]
    return [".IP %s 3" % ("\\(bu" if mark == "-" else mark), inline(" ".join([first] + more))]


def code(lines):
    return [".PP", ".RS 4", ".nf", *map(code_line, lines), ".fi", ".RE"]


def code_line(line):
    """Nothing is mark-up there."""
    text = plain(line)
    return "\\&" + text if text.startswith((".", "\\(aq")) else text


def section(line):
    level, title = heading(line)
    if level == 1:
        return []  # the name of the page
    return [(".SH " if level == 2 else ".SS ") + quoted(title.upper() if level == 2 else title)]


def text(lines):
    joined = paragraph(lines)
    if PICTURE.search(joined):
        raise Unknown(joined)
    return [".PP", inline(joined)]


WRITERS = {"heading": lambda lines: section(lines[0]), "code": code, "table": table, "item": entry,
           "text": text}


def usage(line):
    """A synopsis with what is written as it stands in bold, and what stands for something in italics."""
    def font(match):
        return "\\f%s%s\\fP" % ("I" if match[0].isupper() else "B", plain(match[0]))
    return re.sub(r"[A-Za-z-]{2,}", font, line)


def without_idle_breaks(lines):
    """The lines without new paragraphs where one begins anyway."""
    out = []
    for line, after in zip(lines, lines[1:] + [".SH"]):
        begins_anyway = after.startswith((".SH", ".SS", ".PP", ".TP", ".IP"))
        if line != ".PP" or not (begins_anyway or out[-1].startswith((".SH", ".SS"))):
            out.append(line)
    return out


def page(program, document, version, day):
    about = PAGES[program]
    out = ['.\\" Made from a document below docs/; changes belong there.',
           '.TH %s 1 %s "Quillet CE %s" "User Commands"' % (plain(program.upper()), day, version),
           ".nh", ".ad l", ".SH NAME", "%s \\- %s" % (plain(program), about.what), ".SH SYNOPSIS",
           *"\n.br\n".join(map(usage, about.synopsis)).split("\n"), ".SH DESCRIPTION"]
    for kind, lines in blocks(document.splitlines()):
        out += WRITERS[kind](lines)
    return "\n".join(without_idle_breaks(out)) + "\n"


def main():
    program, document, changelog, output = sys.argv[1:]
    with open(document, encoding="utf-8") as source:
        made = page(program, source.read(), *read_newest(changelog))
    with open(output, "w", encoding="ascii") as target:
        target.write(made)


if __name__ == "__main__":
    main()
