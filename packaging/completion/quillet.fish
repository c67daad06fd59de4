# SPDX-License-Identifier: GPL-3.0-or-later
complete -c quillet -f
complete -c quillet -l profile -r -a '(__fish_complete_directories)' -d 'Keep settings and articles in a folder'
complete -c quillet -l help -d 'Print the options'
complete -c quillet -l version -d 'Print the version'
complete -c quillet -a AppRunAtTime -d 'Start a download'
