#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Every process-wide variable of the program takes part in ResetProgram.

A variable is what a source of the program defines at the top level under a name gName. Its own source
has to name it between "const ResetAtEnd kReset(" and the end of that statement. Prints every variable
that is missing there; fails when there is one, or when a planted one is not noticed.
"""
import pathlib
import re
import sys

FOLDERS = "util mime base store killfile nntp thread article groups app post".split()
# Kept from run to run, for the reason that stands beside each of them.
KEPT = {
    "mime/decoding.cpp": {"gDecoding"},  # put back by base/extensions
    "base/changes.cpp": {"gNoted"},  # a clock: only differences matter
    "base/reset.cpp": {"gFirst"},  # the list of the resets themselves
    "store/gdbm_library.cpp": {"gGdbm"},  # once bound the library stays bound
}
# A mutex or a condition has no state between runs.
STATELESS = re.compile(r"std::(mutex|condition_variable)\b")
DEFINITION = re.compile(r"^(?!extern\b|return\b|using\b)[A-Za-z_][\w:<>,\s*&]*?[\s&*>](g[A-Z]\w*)\s*(?:=|;|\{)", re.M)
RESET = re.compile(r"^const ResetAtEnd kReset\((.*?)\);\n(?=\n|\})", re.M | re.S)


def missing(name, source):
    source = re.sub(r"//[^\n]*", "", source)
    reset = " ".join(RESET.findall(source))
    # A reset may be one function of the source.
    for function in re.findall(r"^\w+$", reset):
        body = re.search(r"^void %s\(\) \{\n(.*?)^\}" % function, source, re.M | re.S)
        reset += body.group(1) if body else ""
    for match in DEFINITION.finditer(source):
        variable = match.group(1)
        if STATELESS.match(match.group(0)) or variable in KEPT.get(name, set()):
            continue
        if not re.search(r"\b%s\b" % variable, reset):
            yield variable


def planted():
    forgotten = "namespace {\nint gKept = 1;\nstd::vector<int> gLost;\n\nconst ResetAtEnd kReset([] { gKept = 1; });\n\n}\n"
    return list(missing("planted.cpp", forgotten)) == ["gLost"]


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    found = False
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*.cpp")):
            name = str(path.relative_to(root))
            for variable in missing(name, path.read_text()):
                print(f"{name}: {variable} is not put back by ResetProgram")
                found = True
    if not planted():
        print("a planted variable was not noticed")
        found = True
    if not found:
        print("Every variable is put back.")
    return 1 if found else 0


sys.exit(main())
