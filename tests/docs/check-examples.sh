#!/usr/bin/env bash
# Runs what the documents show. A block marked "console" is a session: each line that begins with
# "$ " is run, and what follows up to the next one must be exactly what it prints. A block behind
# <!-- file: PATH --> must be that file. The sessions of a document share one shell, which begins in
# a copy of examples/ with the program on its path. What differs is said as FILE:LINE.
# usage: check-examples.sh PROGRAM [DOCUMENT...]     without documents: all in docs/ and examples/
set -euo pipefail
[ $# -ge 1 ] || { echo "usage: check-examples.sh PROGRAM [DOCUMENT...]" >&2; exit 2; }
program=$(realpath "$1")
shift
[ -x "$program" ] || { echo "check-examples.sh: $program is no program" >&2; exit 2; }
[ $# = 0 ] || documents=$(realpath "$@")
cd "$(dirname "$0")/../.."
documents=${documents:-$(find docs examples -name '*.md' | sort)}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin" "$work/tmp"
ln -s "$program" "$work/bin/odaxgen"

failures=0
checked=0
fail() { # fail FILE LINE TEXT
  echo "$1:$2: $3" >&2
  failures=$((failures + 1))
}

# blocks DOCUMENT: writes each block that is checked to $work/block.N and lists them as
# "N LINE console" or "N LINE file PATH".
blocks() {
  rm -f "$work"/block.*
  awk -v folder="$work" '
    /^<!-- file: .* -->$/ { path = $3; next }
    /^```/ && !inside {
      inside = 1
      kind = ($0 == "```console") ? "console" : (path != "" ? "file " path : "")
      if (kind != "") {
        out = folder "/block." ++count
        printf "" >out
        print count, FNR, kind
      }
      path = ""
      next
    }
    /^```$/ && inside { inside = 0; if (kind != "") close(out); next }
    inside && kind != "" { print >out; next }
    NF { path = "" }
  ' "$1"
}

# session N...: one shell for all console blocks of a document. Before each command its block and
# line are printed, so that the output can be told apart.
session() {
  local block
  # shellcheck disable=SC2016
  echo 'cd "$EXAMPLES" || exit'
  for block in "$@"; do
    awk -v block="$block" '
      /^\$ / { printf "echo; echo \"@@ %d %d\"\n%s\n", block, FNR, substr($0, 3) }
    ' "$work/block.$block"
  done
  echo true # whatever the last command says
}

# expected and got, command by command, in the same form: without blank lines at the end of each.
expected() {
  local block
  for block in "$@"; do
    awk -v block="$block" '
      /^\$ / { printf "@@ %d %d\n", block, FNR; next }
      { print }
    ' "$work/block.$block"
  done
}
tidied() { awk '
  /^$/ { blank++; next }
  /^@@ / { blank = 0 }
  { for (; blank > 0; blank--) print ""; print }
'; }

# Says the first command of each block whose output differs.
compare_sessions() { # compare_sessions DOCUMENT BLOCK LINE...
  local document=$1 block line part
  shift
  while [ $# -gt 0 ]; do
    block=$1 line=$2
    shift 2
    for part in expected got; do
      awk -v block="$block" '/^@@ / { inside = ($2 == block) } inside { print }' \
        "$work/$part" >"$work/$part.block"
    done
    checked=$((checked + $(grep -c '^@@ ' "$work/expected.block" || true)))
    cmp -s "$work/expected.block" "$work/got.block" && continue
    fail "$document" "$line" "this session prints something else (< document, > program):"
    diff "$work/expected.block" "$work/got.block" | grep '^[<>]' >&2 || true
  done
}

check_document() {
  local document=$1 number line kind path consoles=() places=()
  while read -r number line kind path; do
    if [ "$kind" = console ]; then
      consoles+=("$number") places+=("$number" "$line")
      continue
    fi
    checked=$((checked + 1))
    if [ ! -f "$path" ]; then
      fail "$document" "$line" "$path: there is no such file"
    elif ! diff "$work/block.$number" "$path" >"$work/diff"; then
      fail "$document" "$line" "this is not $path (< document, > file):"
      cat "$work/diff" >&2
    fi
  done < <(blocks "$document")
  [ ${#consoles[@]} -gt 0 ] || return 0

  rm -rf "$work/examples"
  cp -r examples "$work/examples"
  find "$work/examples" -name '*.odx' -delete
  expected "${consoles[@]}" | tidied >"$work/expected"
  session "${consoles[@]}" >"$work/script"
  env -i HOME="$work" PATH="$work/bin:/usr/local/bin:/usr/bin:/bin" LC_ALL=C.UTF-8 \
    TMPDIR="$work/tmp" EXAMPLES="$work/examples" bash "$work/script" </dev/null 2>&1 |
    tidied >"$work/got"
  compare_sessions "$document" "${places[@]}"
}

for document in $documents; do check_document "$document"; done
[ "$checked" -gt 0 ] || { echo "check-examples.sh: the documents show nothing to run" >&2; exit 1; }
[ "$failures" = 0 ] || exit 1
echo "$checked commands and files: as shown"
