#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Makes the corpus of fuzz_certificate anew, with the openssl program: certificates of every kind that
# a stranger may send, small ones. The keys are thrown away.
set -euo pipefail
corpus=$(cd "$(dirname "$0")" && pwd)/corpus/certificate
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$corpus"
openssl genpkey -algorithm ED25519 -out "$work/key.pem" 2>/dev/null

# certificate NAME SUBJECT [EXTENSION...]
certificate() {
  local name=$1 subject=$2
  shift 2
  {
    printf '[req]\ndistinguished_name=none\nprompt=no\nstring_mask=%s\nutf8=yes\n' "${mask:-utf8only}"
    printf 'x509_extensions=more\n[none]\n[more]\n'
    printf '%s\n' "$@"
  } > "$work/config"
  openssl req -x509 -new -key "$work/key.pem" -config "$work/config" -utf8 -subj "$subject" \
    -days 3650 -outform DER -out "$corpus/$name"
}

certificate plain '/CN=news.example.org' 'subjectAltName=DNS:news.example.org'
certificate common_name '/O=Example/CN=news.example.org' 'basicConstraints=CA:FALSE'
certificate organisation '/O=Example Ltd' 'subjectAltName=DNS:a.example'
certificate many_names '/CN=many' 'subjectAltName=DNS:*.a.example,DNS:b.example,IP:192.0.2.7,IP:2001:db8::7,email:a@b.example,URI:news://c.example,DNS:d.example'
certificate authority '/CN=Authority' 'basicConstraints=critical,CA:TRUE' 'keyUsage=critical,keyCertSign'
certificate right_to_left $'/CN=news\u202egro.elpmaxe' 'subjectAltName=DNS:xn--bcher-kva.example'
certificate long_name "/CN=$(printf 'a%.0s' {1..64})" "subjectAltName=DNS:news.example.org.$(printf 'a%.0s' {1..60}).$(printf 'b%.0s' {1..60}).example"
# A name with a NUL in it, and an address of three bytes.
certificate nul_in_name '/CN=nul' 'subjectAltName=DER:30:0F:82:0D:6E:65:77:73:00:65:76:69:6C:2E:6F:72:67'
certificate short_address '/CN=short' 'subjectAltName=DER:30:05:87:03:C0:00:02'
certificate no_names '/CN=none' 'subjectAltName=DER:30:00'
certificate not_names '/CN=bad' 'subjectAltName=DER:04:03:61:62:63'
head -c 100 "$corpus/plain" > "$corpus/cut"
mask=default certificate two_byte_letters $'/CN=\u65e5\u672c' 'basicConstraints=CA:FALSE'
