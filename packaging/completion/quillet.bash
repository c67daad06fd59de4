# SPDX-License-Identifier: GPL-3.0-or-later
# Completion of quillet for bash.
_quillet() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $before in
    --profile)
      compopt -o filenames 2> /dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W '--profile --help --version AppRunAtTime' -- "$word")
}
complete -F _quillet quillet
