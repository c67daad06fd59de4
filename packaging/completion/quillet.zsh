#compdef quillet
# SPDX-License-Identifier: GPL-3.0-or-later
_arguments \
  '--profile[keep settings and articles in a folder]:folder:_files -/' \
  '(- *)--help[print the options]' \
  '(- *)--version[print the version]' \
  ':start:(AppRunAtTime)'
