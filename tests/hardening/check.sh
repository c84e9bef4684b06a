#!/usr/bin/env bash
# Proves on built files that they are hardened: programs and shared libraries by what the loader
# makes of them, static libraries by the checks that their code calls.
# usage: check.sh FILE...
set -euo pipefail

[ $# -gt 0 ] || { echo "usage: check.sh FILE..." >&2; exit 2; }
# Other systems have other names for all of this.
[ "$(uname -s)" = Linux ] || { echo "not checked: this needs ELF files" >&2; exit 77; }
export LC_ALL=C

failures=0
fail() { # fail FILE WHAT
  echo "$1: $2" >&2
  failures=$((failures + 1))
}

# expect FILE WHAT TEXT PATTERN: TEXT has a line with PATTERN.
expect() { grep -qE "$4" <<<"$3" || fail "$1" "$2"; }
refuse() { ! grep -qE "$4" <<<"$3" || fail "$1" "$2"; }

# Undefined names of the C library: nm writes U and the name, in a linked file with its version.
check_calls() { # check_calls FILE NM-OPTION...
  local file=$1 names
  names=$(nm --undefined-only "${@:2}" "$file" 2>/dev/null | awk '$1 == "U" {print $2}')
  expect "$file" "no stack protector" "$names" '^__stack_chk_fail(_local)?(@|$)'
  expect "$file" "no checked calls of the C library" "$names" '^__[a-z0-9_]+_chk(@|$)'
}

check_linked() { # check_linked FILE
  local file=$1 header segments dynamic
  header=$(readelf -hW "$file")
  segments=$(readelf -lW "$file")
  dynamic=$(readelf -dW "$file")
  expect "$file" "neither a shared library nor position-independent" "$header" 'Type: +DYN'
  # A program with a loader has a place for it; of those the flag tells which can be anywhere.
  if grep -qE '^ +INTERP' <<<"$segments"; then
    expect "$file" "no position-independent program" "$dynamic" '\(FLAGS_1\).* PIE'
  fi
  expect "$file" "no RELRO" "$segments" '^ +GNU_RELRO '
  expect "$file" "names are not all bound at the start" "$dynamic" '\(FLAGS\).*BIND_NOW|\(BIND_NOW\)'
  expect "$file" "no word on the stack" "$segments" '^ +GNU_STACK '
  refuse "$file" "the stack can be executed" "$segments" '^ +GNU_STACK .* R?WE '
  refuse "$file" "a segment can be written to and executed" "$segments" '^ +LOAD .* R?WE '
  refuse "$file" "libraries are looked for in folders of its own" "$dynamic" '\((RPATH|RUNPATH)\)'
  check_calls "$file" --dynamic
}

for file; do
  [ -f "$file" ] || { fail "$file" "no such file"; continue; }
  before=$failures
  case $file in
    *.a) check_calls "$file" ;;
    *) check_linked "$file" ;;
  esac
  [ "$failures" != "$before" ] || echo "hardened: $file"
done
[ "$failures" = 0 ]
