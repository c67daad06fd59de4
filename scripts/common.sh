# SPDX-License-Identifier: GPL-3.0-or-later
# Shared by ./run, ./test and ./bench/run: installing what is missing, configuring, building.
# Sourced with the repository root as the current folder.

fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

# as_root COMMAND...: directly for root, through sudo otherwise.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo > /dev/null; then
    sudo "$@"
  else
    fail "Installing packages needs root. Please run as root: $*"
  fi
}

# ensure_packages YES KIND...: installs the Debian packages of these kinds that are missing, saying
# which; asks first unless YES is 1.
ensure_packages() {
  local yes=$1 kind name missing=()
  shift
  for kind in "$@"; do
    while read -r name; do
      dpkg-query -W -f '${db:Status-Status}\n' "$name" 2> /dev/null | grep -qx installed ||
        missing+=("$name")
    done < <(sed -n "s/^$kind //p" packaging/packages.txt)
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  command -v apt-get > /dev/null ||
    fail "These packages are missing, and there is no apt-get to install them: ${missing[*]}"
  printf 'Missing packages: %s\n' "${missing[*]}"
  if [ "$yes" != 1 ]; then
    read -r -p 'Install them with apt-get now? [Y/n] ' answer ||
      fail 'Nobody answered. Use --yes to install without asking.'
    case $answer in
      '' | [Yy]*) ;;
      *) fail 'Nothing was installed.' ;;
    esac
  fi
  as_root env DEBIAN_FRONTEND=noninteractive apt-get update -q
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# The compiler cache serves every checkout, and precompiled headers too.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros

# configure FOLDER CMAKE-ARGUMENT...
configure() {
  local folder=$1
  shift
  cmake -S . -B "$folder" -G Ninja -DCMAKE_CXX_COMPILER_LAUNCHER=ccache "$@" > "$folder.log" 2>&1 ||
    { cat "$folder.log" >&2; fail "Configuring failed."; }
}

# build FOLDER CMAKE-ARGUMENT...: configures and builds everything that is switched on.
build() {
  configure "$@"
  ninja -C "$1"
}
