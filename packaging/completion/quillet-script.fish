# SPDX-License-Identifier: GPL-3.0-or-later
complete -c quillet-script -f
complete -c quillet-script -l profile -r -a '(__fish_complete_directories)' -d 'Keep settings and articles in a folder'
complete -c quillet-script -l xdg -d 'Use the user\'s own folders'
complete -c quillet-script -l work-area -x -a '240x320 480x640 1280x800' -d 'Usable screen area'
complete -c quillet-script -l log -r -F -d 'Write the same lines to a file'
complete -c quillet-script -l timeout -x -d 'Time limit of every wait in seconds'
complete -c quillet-script -l hold -d 'Do not start the program before the line "start"'
complete -c quillet-script -l help -d 'Print the options'
complete -c quillet-script -l version -d 'Print the version'
complete -c quillet-script -a AppRunAtTime -d 'Start a download'
