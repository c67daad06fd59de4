#!/usr/bin/env bash
# Shows the program at work with a news server of its own: a throw-away profile, sample articles.
# With a display it opens the window; without one it drives a whole connection by script, tells in
# plain words what came of it, and leaves pictures of the window in ./out.
# usage: run_demo.sh BUILD-FOLDER
set -euo pipefail
[ $# -eq 1 ] || { printf 'usage: run_demo.sh BUILD-FOLDER\n' >&2; exit 2; }
build=$(cd "$1" && pwd)
source_folder=$(cd "$(dirname "$0")/.." && pwd)
groups=(quillet.welcome quillet.test.threads rec.gardens.balcony comp.lang.misc.demo)

work=$(mktemp -d "${TMPDIR:-/tmp}/quillet-demo.XXXXXX")
profile=$work/profile
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

# Starts the server and sets `port`.
start_server() {
  "$build/demo/quillet-demo-server" --articles "$source_folder/demo/articles" --die-with-parent \
    > "$work/server.log" 2>&1 &
  server=$!
  port=
  for _ in $(seq 100); do
    port=$(sed -n 's/^listening on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$work/server.log")
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
  "$build/demo/quillet-setup" --profile "$profile" --server 127.0.0.1 --port "$port" \
    "${arguments[@]}" > "$work/setup.log"
}

show_window() {
  printf 'A news server with sample articles runs on this machine at port %s.\n' "$port"
  printf 'Choose File, Connect (Ctrl+1) in the window to fetch them.\n'
  "$build/qt/quillet" --profile "$profile" || return $?
}

# connect_by_script NAME: one whole connection; what was reported goes to NAME.
connect_by_script() {
  printf '%s\n' 'command "File/Connect"' wait groups status close |
    "$build/script/quillet-script" --profile "$profile" --timeout 120 > "$1" || {
    printf 'The script reported a failure:\n' >&2
    cat "$1" >&2
    exit 1
  }
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
  printf 'Connecting to 127.0.0.1:%s with %d groups ticked...\n' "$port" ${#groups[@]}
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
  take_pictures
}

take_pictures() {
  mkdir -p out
  QT_QPA_PLATFORM=offscreen "$build/qt/quillet-screenshot" --profile "$profile" --out out > \
    "$work/pictures.log" 2>&1 || {
    printf 'The pictures could not be made:\n' >&2
    cat "$work/pictures.log" >&2
    exit 1
  }
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
