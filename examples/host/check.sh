#!/usr/bin/env bash
# Builds the two hosts against an installed library and runs the newsletter job in each.
# usage: check.sh PREFIX     where `cmake --install ... --prefix PREFIX` has put it
set -euo pipefail
[ $# = 1 ] || { echo "usage: check.sh PREFIX" >&2; exit 2; }
prefix=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
job=$here/../newsletter

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "check.sh: $*" >&2
  exit 1
}

# configuration NAME: the newsletter job with absolute paths, since templates would start at the
# folder of the program, writing to NAME.odx.
configuration() {
  sed -E -e "s|\"([^\"]*\.(xml\|tif))\"|\"$job/\1\"|" \
    -e "s|^OutFilePath.*|OutFilePath = \"$work/$1.odx\"|" "$job/newsletter.cfg" >"$work/$1.cfg"
}

expect() { # expect TEXT FILE
  grep -qF -- "$1" "$2" || { cat "$2" >&2; fail "'$1' is missing above"; }
}

verify() { # verify NAME: with the command, where the prefix has it
  [ -x "$prefix/bin/odaxgen" ] || return 0
  "$prefix/bin/odaxgen" verify "$work/$1.cfg"
}

build_hosts() {
  cmake -S "$here" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" &&
    cmake --build "$work/build"
}
if ! build_hosts >"$work/log" 2>&1; then
  cat "$work/log" >&2
  fail "the hosts cannot be built"
fi

# A failed job between two that are done; the echo of the settings does not reach the terminal.
for name in linked again; do configuration $name; done
(cd "$work" && build/link-host linked.cfg missing.cfg again.cfg) >"$work/said" 2>&1 &&
  fail "link-host does not report the missing configuration"
expect "linked.cfg: done" "$work/said"
expect "missing.cfg: failed, code -3" "$work/said"
expect "Can't open file" "$work/said"
expect "again.cfg: done" "$work/said"
if grep -q "The Parameters you set" "$work/said"; then fail "link-host lets the echo through"; fi
cmp "$work/linked.odx" "$work/again.odx"
verify linked
echo "link-host: done"

library=$(find "$prefix" \( -name libodaxgen.so -o -name libodaxgen.dylib \) | head -n 1)
if [ -z "$library" ]; then
  echo "load-host: built, not run: there is no shared library in $prefix"
  exit 0
fi
configuration loaded
(cd "$work" && build/load-host "$library" loaded.cfg) >"$work/said" 2>&1 ||
  { cat "$work/said" >&2; fail "load-host failed"; }
expect "done." "$work/said"
cmp "$work/linked.odx" "$work/loaded.odx"
(cd "$work" && build/load-host "$library" missing.cfg) >"$work/said" 2>&1 &&
  fail "load-host does not report the missing configuration"
expect "missing.cfg: failed, code -3" "$work/said"
echo "load-host: done"
