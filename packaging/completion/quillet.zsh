#compdef quillet
_arguments \
  '--profile[keep settings and articles in a folder]:folder:_files -/' \
  '(- *)--help[print the options]' \
  '(- *)--version[print the version]' \
  ':start:(AppRunAtTime)'
