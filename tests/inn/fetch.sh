#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Downloads the packages of the test news server into a folder, once. Nothing is installed.
# usage: fetch.sh FOLDER
set -euo pipefail
[ $# -eq 1 ] || { sed -n 3p "$0" >&2; exit 2; }
mkdir -p "$1"
exec /usr/bin/python3 "$(dirname "$0")/inn_server.py" --fetch "$1"
