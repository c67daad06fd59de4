#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""That every source names its licence, in the first line that it can. Prints every file that does not
and exits 1; 0 when all do. Usage: licence.py [ROOT [FILE...]]; without files all that lie below the
root. Standard library only.
"""
import os
import sys

NAME = 'SPDX-License-Identifier: GPL-3.0-or-later'
STYLES = {'//': '// %s', '#': '# %s', '<!--': '<!-- %s -->'}
SUFFIXES = {'.cpp': '//', '.h': '//', '.py': '#', '.sh': '#', '.cmake': '#', '.bash': '#', '.fish': '#',
            '.zsh': '#', '.ui': '<!--', '.qrc': '<!--'}
# What a first line may be that has to stay the first one.
FIRST = ('#!', '<?xml', '#compdef')
# What is built, and data; what begins with a dot belongs to tools.
NOT_LOOKED_AT = ('build/', 'out/', 'demo/articles/', 'tests/data/', 'tests/fuzz/corpus/', '.')


def style_of(name, lines):
    """How the file writes a remark; None when it is no source."""
    base = os.path.basename(name)
    if name.startswith(NOT_LOOKED_AT):
        return None
    if base == 'CMakeLists.txt':
        return '#'
    if '.' not in base:
        return '#' if lines and lines[0].startswith('#!') else None
    return SUFFIXES.get(os.path.splitext(base)[1])


def is_named(name, text):
    """Whether the file is no source or has the line where it belongs."""
    lines = text.split('\n')
    style = style_of(name, lines)
    if style is None:
        return True
    place = 1 if lines[0].startswith(FIRST) else 0
    return len(lines) > place and lines[place] == STYLES[style] % NAME


def files_below(root):
    for folder, folders, names in os.walk(root):
        below = os.path.relpath(folder, root)
        prefix = '' if below == '.' else below + '/'
        folders[:] = [name for name in folders
                      if not (prefix + name + '/').startswith(NOT_LOOKED_AT)]
        yield from (prefix + name for name in names)


def find_nameless(root, names):
    nameless = []
    for name in sorted(set(names)):
        path = os.path.join(root, name)
        if not os.path.isfile(path):
            continue  # deleted, but not yet for git
        with open(path, encoding='utf-8', errors='replace', newline='') as source:
            if not is_named(name, source.read(4096)):
                nameless.append(name)
    return nameless


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.dirname(
        os.path.abspath(__file__)))
    names = sys.argv[2:] or files_below(root)
    nameless = find_nameless(root, names)
    for name in nameless:
        print('%s: its first line is not "%s"' % (name, NAME))
    return 1 if nameless else 0


if __name__ == '__main__':
    sys.exit(main())
