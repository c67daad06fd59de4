#compdef quillet-setup
# SPDX-License-Identifier: GPL-3.0-or-later
_arguments \
  '--server[name of the news server]:name:_hosts' \
  '*--group[a newsgroup to fetch]:name:' \
  '--port[its port]:number:(119 563)' \
  '--security[how the connection is secured]:security:(none tls starttls)' \
  '--user[log in by that name]:name:' \
  '(--password-prompt)--password-file[its first line is the password]:file:_files' \
  '(--password-file)--password-prompt[ask for the password]' \
  '--full-name[your name in articles]:name:' \
  '--address[your address in articles]:address:' \
  '*--number[another setting]:NAME=VALUE:' \
  '(--replace)--add[add to what is configured]' \
  '(--add)--replace[take the place of what is configured]' \
  '--profile[keep settings and articles in a folder]:folder:_files -/' \
  '(- *)--help[print the options]' \
  '(- *)--version[print the version]'
