# SPDX-License-Identifier: GPL-3.0-or-later
"""The Markdown of the documents, as much of it as they use: headings, paragraphs, lists, tables,
indented and fenced code, pictures, and `code`, **bold**, *emphasis* and [links](to). Shared by what
makes pages of them. Standard library only.
"""

import re

INLINE = re.compile(r"`([^`]+)`|\*\*(.+?)\*\*|\*([^*\s](?:[^*]*[^*\s])?)\*|\[([^\]]+)\]\(([^)\s]+)\)")
PICTURE = re.compile(r"!\[([^\]]*)\]\(([^)\s]+)\)")
ITEM = re.compile(r"(-|\d+\.) (.*)")
FENCE = "```"


class Unknown(Exception):
    """A document has something that its readers do not know."""


def cells(row):
    """The cells of a table's row; a bar in a text is written with a backslash."""
    return [cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", row.strip())[1:-1]]


def kind_of(line, kind):
    """What a line that is not blank belongs to, below one that belongs to `kind`."""
    bare = line.strip()
    if line.startswith("#"):
        return "heading"
    if line.startswith("    ") and kind not in ("item", "table"):
        return "code"
    if bare.startswith("|"):
        return "table"
    if ITEM.match(bare):
        return "item"
    return kind if kind in ("item", "text") else "text"


def blocks(lines):
    """(kind, lines) of each run of lines that belong together; blanks in front do not count. Kinds are
    heading, code, table, item and text; a block that begins as no document does is Unknown."""
    kind, held, fenced = None, [], False
    for line in lines + [""]:
        fence = line.startswith(FENCE)
        if fenced and not fence:
            held.append(line)
            continue
        bare = line.strip()
        new = kind_of(line, kind) if bare and not fence else None
        starts = new in ("heading", "item") and (line.startswith("#") or ITEM.match(bare))
        if new != kind or starts:
            if held:
                yield kind, held
            held = []
        kind, fenced = new, fence and not fenced
        if fenced:
            kind = "code"
        elif new:
            held.append(line[4:] if new == "code" else bare)
    if fenced:
        raise Unknown("code without an end")


def heading(line):
    """(level, title)."""
    mark, title = line.split(" ", 1)
    if mark not in ("#", "##", "###"):
        raise Unknown(line)
    return len(mark), title


def item(lines):
    """(mark, first line, further lines) of a list's entry."""
    mark, first = ITEM.match(lines[0]).groups()
    return mark, first, lines[1:]


def paragraph(lines):
    """The text of a paragraph."""
    if lines[0].startswith((">", "<", "* ", "+ ")):
        raise Unknown(lines[0])
    return " ".join(lines)
