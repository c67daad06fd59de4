# SPDX-License-Identifier: GPL-3.0-or-later
# Completion of quillet-script for bash.
_quillet_script() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $before in
    --profile)
      compopt -o filenames 2> /dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
    --log)
      compopt -o filenames 2> /dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
    --work-area)
      mapfile -t COMPREPLY < <(compgen -W '240x320 480x640 1280x800' -- "$word")
      return
      ;;
    --timeout)
      return
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W '--profile --xdg --work-area --log --timeout --hold --help
    --version AppRunAtTime' -- "$word")
}
complete -F _quillet_script quillet-script
