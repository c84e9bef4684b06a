#!/usr/bin/env bash
# Holds the manual pages against the program, in both directions: each subcommand and option of its
# help is in odaxgen(1), each that odaxgen(1) describes is in the help; each key and symbol that the
# configuration reader knows is in odaxgen.cfg(5).
# usage: check.sh PROGRAM | check.sh --lint
set -euo pipefail
cd "$(dirname "$0")/../.."
# shellcheck source=tests/support/help-words.sh
. tests/support/help-words.sh

page=man/odaxgen.1
failures=0

fail() {
  echo "$*" >&2
  failures=$((failures + 1))
}

# Warnings of mandoc and of groff; either is skipped where it is not installed.
lint() {
  local page linters=0
  if command -v mandoc >/dev/null; then
    linters=1
    mandoc -Tlint -W warning man/*.[1-8] || fail "mandoc has warnings"
  else
    echo "not checked: mandoc is not installed"
  fi
  if command -v groff >/dev/null; then
    linters=$((linters + 1))
    for page in man/*.[1-8]; do
      local said
      said=$(groff -mandoc -ww -z -Tutf8 -Kutf8 "$page" 2>&1)
      [ -z "$said" ] || fail "$page: $said"
    done
  else
    echo "not checked: groff is not installed"
  fi
  [ "$linters" -gt 0 ] || exit 77 # what ctest takes for skipped
}

# described_options SUBCOMMAND: the options of its list in odaxgen(1); of the list that stands in
# front of all subcommands when it is empty.
described_options() {
  awk -v wanted="$1" '
    /^\.Sh / { inside = ($2 == "DESCRIPTION") && wanted == ""; next }
    /^\.Ss / { inside = ($2 == wanted); next }
    inside && /^\.It / { print }' "$page" |
    { grep -oE 'Fl [^ ]+' || true; } | sed 's/^Fl /-/' | sort -u
}

described_subcommands() { sed -nE 's/^\.Ss ([a-z]+)$/\1/p' "$page" | sort; }

compare() { # compare WHAT HELP PAGE: two lists of words, one per line
  local word
  while read -r word; do
    fail "$1 $word is not in $page"
  done < <(comm -23 <(echo "$2") <(echo "$3") | sed '/^$/d')
  while read -r word; do
    fail "$1 $word is in $page and not in the help"
  done < <(comm -13 <(echo "$2") <(echo "$3") | sed '/^$/d')
}

check_options() {
  local program=$1 subcommand subcommands
  subcommands=$(subcommands_of "$program")
  [ -n "$subcommands" ] || fail "the help of $program names no subcommand"
  compare subcommand "$subcommands" "$(described_subcommands)"
  compare "odaxgen:" "$(options_of "$program")" "$(described_options '')"
  for subcommand in $subcommands; do
    grep -qx "\.Cm $subcommand" "$page" || fail "$subcommand is not in the synopsis of $page"
    # --help is described once for all.
    compare "$subcommand:" \
      "$(options_of "$program" "$subcommand" | grep -vxE -e '-h|--help')" \
      "$(described_options "$subcommand")"
  done
}

check_keys() {
  local word words
  words=$(grep -ohE '"[A-Z][A-Za-z0-9]+"' Tools/src/odaxgen/CFGKeys.cpp | tr -d '"' | sort -u
    grep -ohE 'hxraster_id_val_[a-z_]+' -r Tools/src/odaxgen | sort -u
    sed -nE 's/^ +\{"([A-Za-z0-9]+)", [0-9]+, "[a-z ]+"\},$/\1/p' Tools/src/jobreader/Inks.h |
      while read -r word; do
        echo "ImageFile$word"
        echo "PixelDepth$word"
        [ "$word" = G ] || echo "IndexLevel$word"
      done)
  # 15 keys without an ink, 13 symbols, 44 keys of the inks.
  [ "$(wc -l <<<"$words")" -ge 72 ] || fail "only $(wc -l <<<"$words") keys found in the sources"
  for word in $words; do
    grep -qwF -e "$word" man/odaxgen.cfg.5 || fail "$word is not in man/odaxgen.cfg.5"
  done
}

if [ "${1:-}" = --lint ]; then
  lint
else
  check_options "$1"
  check_keys
fi
if [ "$failures" -gt 0 ]; then
  echo "$failures faults in the manual pages" >&2
  exit 1
fi
echo "the manual pages are right"
