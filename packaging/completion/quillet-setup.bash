# SPDX-License-Identifier: GPL-3.0-or-later
# Completion of quillet-setup for bash.
_quillet_setup() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $before in
    --profile)
      compopt -o filenames 2> /dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
    --password-file)
      compopt -o filenames 2> /dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
    --security)
      mapfile -t COMPREPLY < <(compgen -W 'none tls starttls' -- "$word")
      return
      ;;
    --port)
      mapfile -t COMPREPLY < <(compgen -W '119 563' -- "$word")
      return
      ;;
    --server | --group | --user | --full-name | --address | --number)
      return
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W '--server --group --port --security --user --password-file
    --password-prompt --full-name --address --number --add --replace --profile --help --version' \
    -- "$word")
}
complete -F _quillet_setup quillet-setup
