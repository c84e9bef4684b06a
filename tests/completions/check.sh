#!/usr/bin/env bash
# Tries the completions of bash, zsh and fish, and holds each against the program's help: every
# subcommand and every long option must be offered. A shell that is not installed is left out, but
# the words of the help are looked for in its file all the same.
# usage: check.sh PROGRAM
set -euo pipefail
folder=$(cd "$(dirname "$0")/../.." && pwd)
# shellcheck source=tests/support/help-words.sh
. "$folder/tests/support/help-words.sh"
program=$(realpath "$1")
failures=0

fail() {
  echo "$*" >&2
  failures=$((failures + 1))
}

# Files to complete, and the program under its name.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin" "$work/jobs" "$work/jobs/pictures"
ln -s "$program" "$work/bin/odaxgen"
PATH=$work/bin:$PATH
cd "$work/jobs"
touch poster.cfg poster.odx poster.dat 'my poster.cfg' notes.txt

# The three shells: complete_SHELL WORD... prints what is offered for the last word, one per line.
complete_bash() {
  bash --norc -c '
    . "$1"
    shift
    COMP_WORDS=(odaxgen "$@") COMP_CWORD=$#
    _odaxgen odaxgen "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf "%s\n" "${COMPREPLY[@]}"' bash "$folder/completions/odaxgen.bash" "$@"
}

# shellcheck disable=SC2016 # for fish to expand
complete_fish() {
  HOME=$work fish --no-config -c '
    source $argv[1]
    complete -C "odaxgen $argv[2]"' "$folder/completions/odaxgen.fish" "$*" | cut -f 1
}

# A second zsh on a terminal of its own; the list of matches is caught where it would be shown.
complete_zsh() {
  HOME=$work timeout 60 zsh -f "$folder/tests/completions/complete.zsh" "$folder/completions" "odaxgen $*"
}

# expect SHELL 'WORDS' WANTED...: the words of the line, "" at its end for an empty last one. WANTED
# must be offered; with a "!" in front it must not.
expect() {
  local shell=$1 line=$2 offered wanted words
  shift 2
  read -ra words <<<"$line"
  [[ -n $line && $line != *' ' ]] || words+=('')
  if [ "$shell" = bash ]; then
    offered=$(complete_bash "${words[@]}")
  else
    offered=$("complete_$shell" "$line")
  fi
  offered=${offered//\/$'\n'/$'\n'} # of folders only some shells show the slash
  offered=${offered%/}
  for wanted in "$@"; do
    if [[ $wanted == '!'* ]]; then
      ! grep -qxF -e "${wanted#!}" <<<"$offered" ||
        fail "$shell: 'odaxgen $line' offers ${wanted#!}"
    else
      grep -qxF -e "$wanted" <<<"$offered" ||
        fail "$shell: 'odaxgen $line' does not offer $wanted, only: ${offered//$'\n'/ }"
    fi
  done
}

check_shell() {
  local shell=$1 subcommand option codes=()
  expect "$shell" 've' verify '!render'
  # shellcheck disable=SC2046 # words on purpose
  expect "$shell" '' poster.cfg $(subcommands_of "$program")
  expect "$shell" 'verify p' poster.cfg
  expect "$shell" 'inspect p' poster.odx poster.dat
  expect "$shell" 'inspect --config p' poster.cfg
  expect "$shell" 'render poster.odx -o ' pictures '!poster.cfg'
  expect "$shell" 'render --ink P' PBK Pgy
  expect "$shell" 'verify --' '!--config'
  if subcommands_of "$program" | grep -qx explain; then
    mapfile -t codes < <(odaxgen explain --list | sed -nE 's/^ *-([0-9]+) .*/\1/p')
    [ ${#codes[@]} -gt 0 ] || fail "explain --list has no codes"
    expect "$shell" 'explain ' "${codes[@]}"
  fi
  for subcommand in '' $(subcommands_of "$program"); do
    # shellcheck disable=SC2046 # words on purpose
    expect "$shell" "${subcommand:+$subcommand }--" $(long_options "$subcommand")
  done
}

# shellcheck disable=SC2086 # no word at all without a subcommand
long_options() { options_of "$program" $1 | grep '^--'; }

# Without the shell: its file has a part for each subcommand, which has the words of the options.
part_of() { # part_of SHELL SUBCOMMAND
  if [ "$1" = zsh ]; then
    if [ -z "$2" ]; then
      cat "$folder/completions/_odaxgen"
    else
      sed -n "/^    $2)/,/;;/p;/local -a help/p;/local config/p" "$folder/completions/_odaxgen"
    fi
  else
    grep -e "__odaxgen_in ${2:-none}" -e "-a ${2:-none} " -e '-l help' -e '-l version' \
      "$folder/completions/odaxgen.fish"
  fi
}

# shellcheck disable=SC2016 # a variable of zsh
check_words() {
  local shell=$1 subcommand option
  for subcommand in '' $(subcommands_of "$program"); do
    for option in $(long_options "$subcommand"); do
      [ "$shell" = fish ] && option="-l ${option#--}"
      part_of "$shell" "$subcommand" | sed 's/\$config/--config/' | grep -qF -e "$option" ||
        fail "$shell: $subcommand has no $option"
    done
  done
}

check_shell bash
for shell in zsh fish; do
  check_words "$shell"
  if command -v "$shell" >/dev/null; then
    check_shell "$shell"
  else
    echo "only the words are checked: $shell is not installed"
  fi
done
[ "$failures" -eq 0 ] || exit 1
echo "the completions are right"
