#!/usr/bin/env bash
# Asks bash's completions what a user would, with the built programs on the path.
# usage: completion_test.sh PROGRAMS SOURCES
set -euo pipefail
PATH=$1:$PATH
cd "$2"
. completions/bash/modforge
. completions/bash/coffdump

# expect "line so far" "completions": a blank at the end of the line begins a new word, as for readline.
expect() {
  read -ra COMP_WORDS <<<"${1//=/ = }"
  [[ $1 != *' ' ]] || COMP_WORDS+=('')
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  if [[ $1 == modforge* ]]; then _modforge; else _modforge_companion; fi || true  # compopt fails outside readline
  [ "${COMPREPLY[*]}" = "$2" ] || { echo "'$1' gave '${COMPREPLY[*]}', not '$2'" >&2; exit 1; }
}

expect 'velmdump ch' 'check'
expect 'velmdump imports --ag' '--against'
expect 'velmdump map --outp' '--output'
expect 'velmdump check examples/blink.o' 'examples/blink.out'
expect 'coffdump ent' 'entries'
expect 'coffdump --heade' '--headers'
expect 'modforge -f' '-fc'
expect 'modforge -e=examples/audio.ent' 'examples/audio.entries'
expect 'modforge -p=' '300 512 768 1024'
expect 'modforge examples/audio.o' 'examples/audio.out'
