#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# A form whose ids are not those of the header fails the build, with its file and the id: the tool is
# run over small forms with one thing wrong in each.
set -u
tool=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
failed=0

cat > ids.h <<'H'
constexpr std::uint32_t kControlOk = 1;

constexpr std::uint32_t kDialogName = 200;
constexpr std::uint32_t kControlName = 2001;

constexpr std::uint32_t kDialogColour = 201;
constexpr std::uint32_t kControlColour = 2002;
H

# form NAME DIALOG CONTROL...
form() {
  local name=$1 dialog=$2 control
  shift 2
  {
    printf '<ui version="4.0"><class>%s</class><widget class="QDialog" name="%s">' "$name" "$name"
    printf '<property name="dialogId" stdset="0"><UInt>%s</UInt></property>' "$dialog"
    for control; do
      printf '<widget class="QLineEdit" name="c%s">' "$control"
      printf '<property name="controlId" stdset="0"><UInt>%s</UInt></property></widget>' "$control"
    done
    printf '</widget></ui>\n'
  } > "$name.ui"
}

# expect WHAT TEXT...: the tool fails and says every text; without a text it goes well.
expect() {
  local what=$1 text output status wanted
  shift
  wanted=$(($# > 0))
  output=$("$tool" Some templates.cpp forms.cpp ids.h ./*.ui 2>&1)
  status=$?
  if [ $status -ne $wanted ]; then
    printf '%s: status %s\n%s\n' "$what" "$status" "$output"
    failed=1
  fi
  for text; do
    case $output in
      *"$text"*) ;;
      *)
        printf '%s: does not say "%s" but:\n%s\n' "$what" "$text" "$output"
        failed=1
        ;;
    esac
  done
  form name 200 1 2001
  form colour 201 1 2002
}

form name 200 1 2001
form colour 201 1 2002
expect 'all is well'
form name 200 1 2001 2003
expect 'a control without a constant' 'name.ui: control 2003 has no constant'
form name 200 1 2001 2002
expect 'a control of another dialog' 'name.ui: control 2002 has no constant'
form name 200 1
expect 'a constant without a control' 'kControlName = 2001 is in no form of its dialog'
form name 202 1 2001
expect 'a dialog without a constant' 'name.ui: dialog 202 has no constant' \
  'kDialogName = 200 is the dialog of 0 forms'
form name 201 1 2002
expect 'a dialog that is there twice' 'kDialogColour = 201 is the dialog of 2 forms'
form name 200 1 2001 2001
expect 'a control that is there twice' 'name.ui: control 2001 is there twice'
printf '<ui version="4.0"><class>name</class><widget class="QDialog" name="n"></widget></ui>\n' > name.ui
expect 'a form without an id' 'name.ui: no dialogId'

[ $failed -eq 0 ] && printf 'Every wrong id is named.\n'
exit $failed
