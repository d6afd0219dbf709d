#!/usr/bin/env bash
# Runs every ```sh block of a page, in one copy of examples/, as its reader would: a command that fails fails the test.
# usage: pages_test.sh PROGRAMS SOURCES PAGE...
set -euo pipefail
PATH=$1:$PATH
sources=$2
shift 2
room=$(mktemp -d)
trap 'rm -rf "$room"' EXIT
cp -r "$sources/examples/." "$room"
for page in "$@"; do
  awk '/^```sh$/ { on = 1; next } /^```/ { on = 0 } on' "$sources/$page" >"$room/commands"
  [ -s "$room/commands" ] || { echo "no commands in $page" >&2; exit 1; }
  # Without pipefail: a page may show the beginning of a long output.
  (cd "$room" && bash -eux commands) || { echo "$page shows what does not work" >&2; exit 1; }
done
