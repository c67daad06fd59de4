#compdef quillet-script
# SPDX-License-Identifier: GPL-3.0-or-later
_arguments \
  '(--xdg)--profile[keep settings and articles in a folder]:folder:_files -/' \
  "(--profile)--xdg[use the user's own folders]" \
  '--work-area[usable screen area]:size:(240x320 480x640 1280x800)' \
  '--log[write the same lines to a file]:file:_files' \
  '--timeout[time limit of every wait]:seconds:' \
  '--hold[do not start the program before the line "start"]' \
  '(- *)--help[print the options]' \
  '(- *)--version[print the version]' \
  ':start:(AppRunAtTime)'
