# SPDX-License-Identifier: GPL-3.0-or-later
"""Version and day of the newest release, from debian/changelog. Usage: release.py CHANGELOG. Standard
library only."""

import datetime
import email.utils
import re
import sys


def newest(changelog):
    """(version, datetime.date) of the first entry of the changelog's text."""
    version = re.match(r"\S+ \(([^)]+)\) ", changelog)
    day = re.search(r"^ -- .*>  (.*)$", changelog, re.MULTILINE)
    if not version or not day:
        raise ValueError("the changelog has no entry")
    when = email.utils.parsedate_to_datetime(day[1])
    return version[1], when.astimezone(datetime.timezone.utc).date()


def read_newest(path):
    with open(path, encoding="utf-8") as changelog:
        return newest(changelog.read())


if __name__ == "__main__":
    print(*read_newest(sys.argv[1]))
