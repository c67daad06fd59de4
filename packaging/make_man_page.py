#!/usr/bin/env python3
"""Makes the man page of quillet from the users' guide. Usage: make_man_page.py GUIDE VERSION OUTPUT

It knows as much of Markdown as the guide uses: headings, paragraphs, lists, tables, indented code, and
`code`, **bold**, *emphasis* and [links](to). Everything else that begins like mark-up is an error, so
that the page never shows mark-up by accident. Standard library only.
"""

import re
import sys

NAME = "quillet \\- offline newsreader"
INLINE = re.compile(r"`([^`]+)`|\*\*(.+?)\*\*|\*([^*\s](?:[^*]*[^*\s])?)\*|\[([^\]]+)\]\([^)\s]+\)")


class Unknown(Exception):
    """The guide has something that this script does not know."""


def plain(text):
    """The text as roff shows it literally."""
    text = text.replace("\u2026", "...").replace("\\", "\\e").replace("-", "\\-")
    text = text.replace("'", "\\(aq").replace("`", "\\(ga").replace("^", "\\(ha").replace("~", "\\(ti")
    if not text.isascii():
        raise Unknown("a character beyond ASCII: " + text)
    return text


def inline(text):
    """One paragraph's text with fonts; never begins like a request."""
    out, at = [], 0
    for match in INLINE.finditer(text):
        out.append(plain(text[at:match.start()]))
        code, bold, emphasis, link = match.groups()
        if code is not None or bold is not None:
            out.append("\\fB%s\\fP" % plain(code if code is not None else bold))
        else:
            out.append("\\fI%s\\fP" % plain(emphasis) if emphasis is not None else inline(link))
        at = match.end()
    out.append(plain(text[at:]))
    line = "".join(out)
    return "\\&" + line if line.startswith((".", "\\(aq")) else line


def quoted(text):
    """A heading as one argument of a request."""
    return '"%s"' % inline(text).replace('"', "\\(dq")


def cells(row):
    return [cell.strip() for cell in row.strip().strip("|").split("|")]


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


def blocks(lines):
    """(kind, lines) of each run of lines that belong together; blanks in front do not count."""
    kind, held = None, []
    for line in lines + [""]:
        bare = line.strip()
        if not bare:
            new = None
        elif line.startswith("#"):
            new = "heading"
        elif line.startswith("    ") and kind not in ("item", "table"):
            new = "code"
        elif bare.startswith("|"):
            new = "table"
        elif re.match(r"(- |\d+\. )", bare):
            new = "item"
        else:
            new = kind if kind in ("item", "text") else "text"
        starts = new in ("heading", "item") and re.match(r"(#|- |\d+\. )", bare)
        if new != kind or starts:
            if held:
                yield kind, held
            held = []
        kind = new
        if new:
            held.append(line[4:] if new == "code" else bare)


def item(lines):
    """A list's entry: a message with its explanation, or text behind a bullet or a number."""
    mark, first = re.match(r"(-|\d+\.) (.*)", lines[0]).groups()
    if re.fullmatch(r"\*\*.+\*\*", first) and len(lines) > 1:
        return [".TP", inline(first), inline(" ".join(lines[1:]))]
    tag = "\\(bu" if mark == "-" else mark
    return [".IP %s 3" % tag, inline(" ".join([first] + lines[1:]))]


def page(guide, version):
    out = ['.\\" Made from docs/user-guide.md; changes belong there.',
           '.TH QUILLET 1 "" "Quillet CE %s" "User Commands"' % version, ".nh", ".ad l",
           ".SH NAME", NAME, ".SH SYNOPSIS", ".B quillet",
           "[\\fB\\-\\-profile\\fP \\fIDIR\\fP] [\\fBAppRunAtTime\\fP]", ".SH DESCRIPTION"]
    for kind, lines in blocks(guide.splitlines()):
        if kind == "heading":
            mark, title = lines[0].split(" ", 1)
            if mark not in ("#", "##", "###"):
                raise Unknown(lines[0])
            if mark != "#":
                out += [(".SH " if mark == "##" else ".SS ")
                        + quoted(title.upper() if mark == "##" else title)]
        elif kind == "code":
            out += [".PP", ".RS 4", ".nf", *map(inline, lines), ".fi", ".RE"]
        elif kind == "table":
            out += table(lines)
        elif kind == "item":
            out += item(lines)
        else:
            if lines[0].startswith((">", "<", "!", "* ", "+ ")):
                raise Unknown(lines[0])
            out += [".PP", inline(" ".join(lines))]
    return "\n".join(out) + "\n"


def main():
    guide, version, output = sys.argv[1:]
    with open(guide, encoding="utf-8") as source:
        text = page(source.read(), version)
    with open(output, "w", encoding="ascii") as target:
        target.write(text)


if __name__ == "__main__":
    main()
