#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds the tree to its layers. Prints every line that breaks a rule and exits 1; 0 when there is none.

Looks at the includes of every source and at the link lines of every CMakeLists.txt, and compares them
with the table in scripts/layers.txt. What only some folders may use (the toolkit, the operating system,
clocks...) is the table RESERVED below. And every x.cpp has its x.h, unless it is a program's main file.
The linker would not do: of two static libraries the upper one comes first on the line, so that a lower
one which calls it links and runs.
"""
import argparse
import fnmatch
import os
import re
import sys
from dataclasses import dataclass, field
from pathlib import Path

TABLE = 'scripts/layers.txt'
NOT_LOOKED_AT = {'tests', 'build', 'out'}  # below the root; and whatever begins with a dot

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
MAIN = re.compile(r'^int main\(|^BENCHMARK_MAIN\(', re.MULTILINE)
CMAKE_CALL = re.compile(
    r'\b(quillet_library|quillet_program|add_executable|add_library|target_link_libraries)'
    r'\s*\(([^)]*)\)')


@dataclass
class Reserved:
    """What only those folders and files may use: a pattern of source lines, and one of link lines."""
    what: str
    line: re.Pattern
    link: re.Pattern
    places: tuple


NOTHING = re.compile(r'(?!)')
RESERVED = [
    Reserved('the toolkit', re.compile(r'^\s*#\s*include\s*(<Q[A-Z]|"ui_)'), re.compile(r'Qt\d*::'),
             ('qt', 'bench', 'res/generate_dialog_templates', 'res/form_ids', 'res/form_reader')),
    # Headers of C++ have no ".h".
    Reserved('the operating system',
             re.compile(r'^\s*#\s*include\s*<(?!gdbm\.h|bzlib\.h|gtest/|gmock/|gmime/|glib\.h|iconv\.h)'
                        r'[^>]*\.h>'),
             re.compile(r'PkgConfig::(?!GMIME)|\$\{CMAKE_DL_LIBS\}'),
             ('port/linux', 'qt', 'script', 'setup', 'demo', 'bench')),
    # The mails that leave are built by port/linux.
    Reserved('the library of message formats',
             re.compile(r'^\s*#\s*include\s*<(gmime/|glib\.h|iconv\.h)'), re.compile(r'PkgConfig::GMIME'),
             ('mime', 'port/linux')),
    Reserved('the libraries of the store', re.compile(r'^\s*#\s*include\s*<(gdbm|bzlib)\.h>'),
             re.compile(r'(gdbm|bz2)$'), ('store', 'bench')),
    Reserved('a test framework', re.compile(r'^\s*#\s*include\s*<(gtest|gmock)/'),
             re.compile(r'GTest::'), ('port/fake',)),
    Reserved('a service that belongs behind the port',
             re.compile(r'\b(getenv|setenv|system_clock|steady_clock::now|gettimeofday|localtime|fopen'
                        r'|ofstream|ifstream|fstream)\b|std::filesystem|<filesystem>'), NOTHING,
             ('port/linux', 'port/fake', 'qt', 'script', 'demo', 'bench')),
    Reserved('the abort flag; an operation that fails says so by its RunEnd',
             re.compile(r'\b(RequestAbort|gAbortRequested)\b'), NOTHING, ('base', 'bench')),
    # The program's files named here have texts that are no article's: names of groups (chains,
    # newsgroups), messages and versions of libraries (compression, databases), registry values
    # (multi_string); nntp/ has the server's lines, script/ tells the stored bytes one by one.
    Reserved('text shown of stored bytes, which mime/ makes', re.compile(r'\b(Widen|Narrow)\('), NOTHING,
             ('util', 'mime', 'port', 'port/common', 'port/linux', 'port/fake', 'nntp', 'script', 'bench',
              'store/chains', 'store/compression', 'store/databases', 'base/multi_string',
              'groups/newsgroups')),
]


class TableError(Exception):
    pass


@dataclass
class Layers:
    """The table: what a folder may include, and what single files may include besides."""
    folders: dict = field(default_factory=dict)
    files: dict = field(default_factory=dict)

    def allowed(self, source):
        """The folders that the source, given without its suffix, may include; None without a row."""
        folder = os.path.dirname(source)
        if folder not in self.folders:
            return None
        return {folder} | self.folders[folder] | self.files.get(source, set())


def read_table(root):
    layers = Layers()
    lines = (root / TABLE).read_text(encoding='utf-8').splitlines()
    for number, line in enumerate(lines, 1):
        line = line.split('#', 1)[0].strip()
        if not line:
            continue
        name, colon, rest = line.partition(':')
        if not colon:
            raise TableError(f'{TABLE}:{number}: no colon in "{line}"')
        for folder in rest.split():
            if folder not in layers.folders and not folder.startswith('tests/'):
                raise TableError(f'{TABLE}:{number}: "{folder}" is no row above this one')
        is_file = any((root / name).with_suffix(suffix).exists() for suffix in ('.cpp', '.h'))
        if not is_file and not (root / name).is_dir():
            raise TableError(f'{TABLE}:{number}: there is no folder and no file "{name}"')
        (layers.files if is_file else layers.folders)[name] = set(rest.split())
    return layers


def below(root, suffixes):
    """The files with those suffixes (or names), as paths relative to the root, sorted."""
    for folder, folders, names in os.walk(root):
        at_root = Path(folder) == root
        folders[:] = sorted(name for name in folders if not name.startswith('.')
                            and not (at_root and name in NOT_LOOKED_AT))
        for name in sorted(names):
            if name.endswith(suffixes):
                yield os.path.relpath(os.path.join(folder, name), root)


def check_reserved(stem, text, kind):
    """What is wrong with a line (kind "line") or with a linked library (kind "link")."""
    folder = os.path.dirname(stem)
    for rule in RESERVED:
        if getattr(rule, kind).search(text) and not {stem, folder} & set(rule.places):
            yield f'{rule.what}, which is for {", ".join(rule.places)}'


# Sources of which each is one function that a common header declares.
COMMON_HEADERS = {'app/pages/*_page': 'app/pages/page.h'}


def has_header(root, stem):
    common = [header for stems, header in COMMON_HEADERS.items() if fnmatch.fnmatch(stem, stems)]
    return any((root / header).exists() for header in [f'{stem}.h', *common])


def check_source(root, path, layers):
    stem = os.path.splitext(path)[0]
    allowed = layers.allowed(stem)
    if allowed is None:
        yield f'{path}: "{os.path.dirname(path)}" has no row in {TABLE}'
        return
    text = (root / path).read_text(encoding='utf-8')
    if path.endswith('.cpp') and not has_header(root, stem) and not MAIN.search(text):
        yield f'{path}: it has no {os.path.basename(stem)}.h'
    for number, line in enumerate(text.splitlines(), 1):
        where = f'{path}:{number}: {line.strip()}: '
        yield from (where + problem for problem in check_reserved(stem, line, 'line'))
        include = INCLUDE.match(line)
        if include is None or include[1].startswith('ui_'):
            continue
        if os.path.dirname(include[1]) not in allowed:
            yield where + f'{os.path.dirname(path)} may include {", ".join(sorted(allowed))}'


@dataclass
class Target:
    path: str  # of its CMakeLists.txt
    name: str
    library: bool = False
    stems: list = field(default_factory=list)
    links: list = field(default_factory=list)  # (line, library)


def read_call(path, text, call, targets):
    folder = os.path.dirname(path)
    words = [(text.count('\n', 0, call.start(2) + word.start()) + 1, word[0].strip('"'))
             for word in re.finditer(r'\S+', call[2])]
    if not words:
        return
    name = words[0][1]
    target = targets.setdefault((folder, name), Target(path, name))
    target.library |= call[1] in ('quillet_library', 'add_library')
    uses = call[1] == 'target_link_libraries'
    for line, word in words[1:]:
        if word in ('SOURCES', 'USES'):
            uses = word == 'USES'
        elif uses:
            target.links.append((line, word))
        elif word.endswith('.cpp'):
            target.stems.append(os.path.join(folder, os.path.splitext(word)[0]))


def read_targets(root):
    targets = {}
    for path in below(root, ('CMakeLists.txt',)):
        text = re.sub(r'#[^\n]*', '', (root / path).read_text(encoding='utf-8'))
        for call in CMAKE_CALL.finditer(text):
            read_call(path, text, call, targets)
    return list(targets.values())


def check_link(target, line, library, layers, owners):
    folder = os.path.dirname(target.path)
    stems = [stem for stem in target.stems if layers.allowed(stem)] or [os.path.join(folder, '')]
    where = f'{target.path}:{line}: {target.name} links {library}: '
    allowed = set().union(*(layers.allowed(stem) or set() for stem in stems))
    if library in owners and owners[library] not in allowed:
        yield where + f'it may link what lies in {", ".join(sorted(allowed))}'
    problems = [list(check_reserved(stem, library, 'link')) for stem in stems]
    if all(problems):
        yield where + problems[0][0]


def check_links(root, layers):
    targets = read_targets(root)
    owners = {target.name: os.path.dirname(target.path) for target in targets if target.library}
    for target in targets:
        for line, library in target.links:
            yield from check_link(target, line, library, layers, owners)


def check_tree(root):
    layers = read_table(root)
    sources = list(below(root, ('.cpp', '.h')))
    if not sources:
        raise TableError(f'{root}: there are no sources')
    for path in sources:
        yield from check_source(root, path, layers)
    yield from check_links(root, layers)


def find_problems(root):
    """What breaks the rules, one line each; a table that cannot be used is one of them."""
    try:
        return list(check_tree(root.resolve()))
    except (TableError, OSError) as error:
        return [str(error)]


def main():
    parser = argparse.ArgumentParser(description='Holds the tree to its layers.')
    parser.add_argument('--root', type=Path, default=Path(__file__).resolve().parent.parent,
                        help='the tree to look at')
    problems = find_problems(parser.parse_args().root)
    for problem in problems:
        print(problem)
    if not problems:
        print('Every folder includes and links what it may.')
    return 1 if problems else 0


if __name__ == '__main__':
    sys.exit(main())
