# The words of the command's own help, for scripts that hold other texts against it. To be sourced.
# shellcheck shell=bash

# subcommands_of PROGRAM: the indented words of its help that have a help of their own.
subcommands_of() {
  local word
  "$1" --help | sed -nE 's/^ +([a-z]+)( .*)?$/\1/p' | sort -u | while read -r word; do
    if "$1" "$word" --help 2>/dev/null | grep -q "^Usage: odaxgen $word\b"; then echo "$word"; fi
  done
}

# options_of PROGRAM [SUBCOMMAND]: its options, short and long ones.
options_of() {
  local program=$1
  shift
  "$program" "$@" --help | sed -nE 's/^ +(-.*)$/\1/p' | sed -E 's/, +/,/g; s/[ =].*//' |
    tr , '\n' | sort -u
}
