#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Shows the program at work with a news server of its own: a throw-away profile, sample articles.
# With a display it opens the window; without one it drives a whole connection by script, opens a
# group and reads, tells in plain words what was seen, and leaves pictures of the window in ./out.
# usage: run_demo.sh BUILD-FOLDER
set -euo pipefail
[ $# -eq 1 ] || { printf 'usage: run_demo.sh BUILD-FOLDER\n' >&2; exit 2; }
build=$(cd "$1" && pwd)
source_folder=$(cd "$(dirname "$0")/.." && pwd)
groups=(quillet.welcome quillet.test.threads rec.gardens.balcony comp.lang.misc.demo
  world.letters.demo)

work=$(mktemp -d "${TMPDIR:-/tmp}/quillet-demo.XXXXXX")
profile=$work/profile
writer='A Reader'
reply=40023
server=

clean_up() {
  if [ -n "$server" ]; then
    kill "$server" 2> /dev/null || true
    wait "$server" 2> /dev/null || true
  fi
  rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

# Starts the server and sets `port`, where it speaks TLS. The program trusts the server's throw-away
# authority for as long as the demonstration lasts, and nobody else does.
start_server() {
  "$build/demo/quillet-demo-server" --articles "$source_folder/demo/articles" --die-with-parent \
    --tls-port 0 --authority "$work/authority.pem" > "$work/server.log" 2>&1 &
  server=$!
  export SSL_CERT_FILE=$work/authority.pem
  port=
  for _ in $(seq 100); do
    port=$(sed -n 's/^TLS on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$work/server.log")
    [ -z "$port" ] || return 0
    kill -0 "$server" 2> /dev/null || break
    sleep 0.1
  done
  printf 'The demo server did not start:\n' >&2
  cat "$work/server.log" >&2
  exit 1
}

write_settings() {
  local group arguments=()
  for group in "${groups[@]}"; do arguments+=(--group "$group"); done
  # Each part begins in the list of groups, not where the one before left off.
  "$build/setup/quillet-setup" --profile "$profile" --server 127.0.0.1 --port "$port" \
    --security tls --number restoreplace=0 \
    "${arguments[@]}" > "$work/setup.log"
}

show_window() {
  printf 'A news server with sample articles runs on this machine, with TLS at port %s.\n' "$port"
  printf 'Choose File, Connect (Ctrl+1) in the window to fetch them, then open a group with Return\n'
  printf 'or a double click; lesson 11 of quillet.welcome tells how to read on from there.\n'
  "$build/qt/quillet" --profile "$profile" || return $?
}

# run_script NAME LINE...: one run of the program; what was reported goes to NAME.
run_script() {
  local log=$1
  shift
  printf '%s\n' "$@" close |
    "$build/script/quillet-script" --profile "$profile" --timeout 120 > "$log" || {
    printf 'The script reported a failure:\n' >&2
    cat "$log" >&2
    exit 1
  }
}

# connect_by_script NAME: one whole connection.
connect_by_script() {
  run_script "$1" 'command "File/Connect"' wait groups status
}

# tree_rows FILE: the rows of the last tree that was told, indented, the unread ones with a star.
tree_rows() {
  grep '^{"event":"tree",' "$1" | tail -n 1 |
    grep -o '"depth":[0-9]*,"text":"\([^"\\]\|\\.\)*","bold":[a-z]*' |
    while IFS= read -r row; do
      local depth=${row#*:} text=${row#*\"text\":\"} star=' '
      depth=${depth%%,*}
      text=${text%\",\"bold\"*}
      text=${text//\\\"/\"}
      case $row in *true) star='*' ;; esac
      printf '  %s %*s%s\n' "$star" $((depth * 3)) '' "$text"
    done
}

# header_lines FILE N: the header bar as it was told the Nth time.
header_lines() {
  grep '^{"event":"header",' "$1" | sed -n "$2p" |
    grep -o '"left":"[^"]*","right":"[^"]*"' |
    sed 's/^"left":"\([^"]*\)","right":"\([^"]*\)"$/  | \1   [\2]/'
}

# text_lines FILE N: the viewer's text as it was told the Nth time, without its tags.
text_lines() {
  grep '^{"event":"viewer",' "$1" | sed -n "$2p" |
    sed 's/^.*"source":"\(.*\)","plain_text".*$/\1/; s/&nbsp;<br>/\n/g' |
    sed 's/<[^>]*>//g; s/&lt;/</g; s/&gt;/>/g; s/&amp;/\&/g; s/\\"/"/g; s/\\\\/\\/g; s/^/  | /'
}

read_by_script() {
  local log=$work/reading.log group=comp.lang.misc.demo
  printf '\nOpening %s, * is unread:\n' "$group"
  run_script "$log" "open-group $group" tree \
    'open-node <l.joke.1@demo.example.net>' header viewer \
    'command "Article/Navigate/Previous article"' header viewer \
    'command "Article/ROT 13"' viewer 'key Escape' tree groups
  tree_rows <(grep -m 1 '^{"event":"tree",' "$log")
  printf '\nReading one of them:\n'
  header_lines "$log" 1
  text_lines "$log" 1
  printf '\nThe article before it, where the punch line is turned by thirteen letters:\n'
  header_lines "$log" 2
  text_lines "$log" 2
  printf '\nThe same with Article, ROT 13:\n'
  text_lines "$log" 3 | sed -n '3,4p'
  printf '\nBack to the threads, the two are read:\n'
  tree_rows "$log" | grep -A 3 'Two threads'
}

# Two letters of other scripts, and the picture that came with one of them.
read_letters_by_script() {
  local log=$work/letters.log group=world.letters.demo
  printf '\nOpening %s, letters in many languages:\n' "$group"
  run_script "$log" "open-group $group" tree \
    'open-node <w.greek@demo.example.net>' header viewer 'key Escape' \
    'open-node <w.picture@demo.example.net>' header viewer \
    "expect-save \"$work/sakura.png\"" 'follow "attachment:0"'
  tree_rows <(grep -m 1 '^{"event":"tree",' "$log" | in_letters) | sed -n '1,7p'
  printf '\nA letter in Greek:\n'
  header_lines <(in_letters < "$log") 1
  text_lines <(in_letters < "$log") 1
  printf '\nA letter in Japanese, with a picture:\n'
  header_lines <(in_letters < "$log") 2
  text_lines <(in_letters < "$log") 2
  [ "$(head -c 4 "$work/sakura.png" | tail -c 3)" = PNG ] || {
    printf 'The picture was not saved.\n' >&2
    exit 1
  }
  printf '  the picture was saved: %d bytes\n' "$(wc -c < "$work/sakura.png")"
}

# in_letters: what was reported, with the characters that it names by their numbers.
in_letters() {
  /usr/bin/python3 -c '
import re, sys
pair = re.compile(r"\\u(d[89ab][0-9a-f]{2})\\u(d[c-f][0-9a-f]{2})", re.I)
one = re.compile(r"\\u([0-9a-f]{4})", re.I)
text = sys.stdin.read()
text = pair.sub(lambda m: chr(0x10000 + ((int(m[1], 16) & 0x3FF) << 10) + (int(m[2], 16) & 0x3FF)), text)
sys.stdout.buffer.write(one.sub(lambda m: chr(int(m[1], 16)), text).encode("utf-8", "replace"))'
}

# rows FILE: "name unread total" of every group in what was reported.
rows() {
  grep '^{"event":"groups",' "$1" | tail -n 1 |
    grep -o '"name":"[^"]*","box":"[^"]*","counts":"[0-9]*/[0-9]*"' |
    sed 's|^"name":"\([^"]*\)".*"counts":"\([0-9]*\)/\([0-9]*\)"$|\1 \2 \3|'
}

tell() {
  local name unread total sum=0
  while read -r name unread total; do
    printf '  %-22s %3d articles fetched, %d of them unread\n' "$name" "$total" "$unread"
    sum=$((sum + total))
  done < <(rows "$1")
  printf '  %-22s %3d articles\n' 'together' "$sum"
}

# assert_fetched FILE: every group got something.
assert_fetched() {
  local name unread total count=0
  while read -r name unread total; do
    [ "$total" -gt 0 ] || { printf 'Nothing was fetched into %s.\n' "$name" >&2; exit 1; }
    count=$((count + 1))
  done < <(rows "$1")
  [ "$count" -eq ${#groups[@]} ] || { printf 'Groups are missing.\n' >&2; exit 1; }
}

drive_by_script() {
  printf 'There is no display, so a script uses the program in your place.\n\n'
  printf 'Connecting to 127.0.0.1:%s by TLS with %d groups ticked...\n' "$port" ${#groups[@]}
  connect_by_script "$work/first.log"
  assert_fetched "$work/first.log"
  tell "$work/first.log"
  printf '\nConnecting once more...\n'
  connect_by_script "$work/second.log"
  if [ "$(rows "$work/first.log")" = "$(rows "$work/second.log")" ]; then
    printf '  nothing new: what is here is not fetched again\n'
  else
    printf 'The second connection changed the counts.\n' >&2
    exit 1
  fi
  read_by_script
  read_letters_by_script
  write_by_script
  take_pictures
}

# post_rows FILE: "subject (groups)" of every queued post that was told last.
post_rows() {
  grep '^{"event":"queue",' "$1" | tail -n 1 |
    grep -o '"subject":"[^"]*","newsgroups":"[^"]*"' |
    sed 's/^"subject":"\([^"]*\)","newsgroups":"\([^"]*\)"$/  | \1 (\2)/'
}

# Answers an article, looks at what waits, sends it on a second connection and finds it again.
write_by_script() {
  local log=$work/writing.log group=comp.lang.misc.demo
  set_value fullname string "$writer"
  set_value returnmailaddress string reader@demo.example.net
  printf '\nAnswering the joke...\n'
  run_script "$log" "open-group $group" 'open-node <l.joke.1@demo.example.net>' \
    "command $reply" wait 'wait-dialog 128' \
    'type 1014 "I have told it at breakfast, and am still being looked at.\r\n" end' \
    'press 1' wait queue
  post_rows "$log"
  [ -n "$(post_rows "$log")" ] || { printf 'Nothing waits to be posted.\n' >&2; exit 1; }
  take_writing_pictures
  printf '\nConnecting to post it...\n'
  connect_by_script "$work/third.log"
  run_script "$log" 'command "File/Connect"' wait queue "open-group $group" tree
  [ -z "$(post_rows "$log")" ] || { printf 'The article was not posted.\n' >&2; exit 1; }
  printf '  it is among the threads, below what it answers:\n'
  tree_rows "$log" | grep -B 4 "^  [* ] \{10\}\"$writer\"" || {
    printf 'The answer did not come back in its place.\n' >&2
    exit 1
  }
}

# set_value NAME TYPE VALUE: a setting of the profile.
set_value() {
  printf 'registry-set %s %s "%s"\n' "$@" |
    "$build/script/quillet-script" --profile "$profile" --hold > "$work/setting.log"
}

# Both editors on an answer, and the queue.
take_writing_pictures() {
  local answer=(--open comp.lang.misc.demo --expand --article 3 --dialog reply)
  mkdir -p out
  set_value simplepost dword 0
  take_picture "${answer[@]}" --name post-full
  set_value simplepost dword 1
  take_picture "${answer[@]}" --name post-simple
  take_picture --dialog queue --name queue
}

# take_picture OPTION...: pictures of the window in every size.
take_picture() {
  QT_QPA_PLATFORM=offscreen "$build/qt/quillet-screenshot" --profile "$profile" --out out "$@" > \
    "$work/pictures.log" 2>&1 || {
    printf 'The pictures could not be made:\n' >&2
    cat "$work/pictures.log" >&2
    exit 1
  }
}

take_pictures() {
  mkdir -p out
  take_picture
  take_picture --open quillet.test.threads --expand
  take_picture --open comp.lang.misc.demo --expand --article 3
  take_picture --open world.letters.demo --expand --article 2 --name letters
  printf '\nPictures of the window:\n'
  local picture
  for picture in out/*.png; do printf '  %s\n' "$picture"; done
}

start_server
write_settings
if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  show_window
else
  drive_by_script
fi
