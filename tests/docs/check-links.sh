#!/usr/bin/env bash
# Holds the documents against the repository: every relative link of every *.md file leads to a
# file that is there, and its anchor to a heading of it; every path in backticks that begins with
# docs/, Tools/, tests/ or examples/ is there as well, and every warning in backticks and brackets,
# such as [no-rows], is one of the program. What does not hold is said as FILE:LINE.
# usage: check-links.sh [FOLDER]     the repository, or another folder with documents
set -euo pipefail
root=${1:-$(dirname "$0")/../..}
cd "$root"

in_repository() { git rev-parse --is-inside-work-tree >/dev/null 2>&1; }

documents() {
  if in_repository; then
    git ls-files --cached --others --exclude-standard -- '*.md' | sort -u |
      while read -r file; do [ ! -e "$file" ] || echo "$file"; done
  else
    find . -name '*.md' -not -path './build/*' | sed 's|^\./||' | sort
  fi
}

# What a checkout does not have although it may be here, such as files that a job writes.
is_ignored() { in_repository && git check-ignore -q -- "$1"; }

# facts FILE...: "anchor FILE NAME", "link FILE LINE TARGET", "path FILE LINE PATH" and "warning FILE
# LINE WORD", separated by tabs. Code blocks have none of them, code spans no links.
facts() {
  awk '
    function without_spans(text) {
      gsub(/`[^`]*`/, "", text)
      return text
    }
    # As GitHub names the headings of a document: lower case, blanks become "-", everything else but
    # letters, digits, "-" and "_" goes; a name that is taken gets a number.
    function anchor_of(heading,    name, count) {
      while (match(heading, /\]\([^)]*\)/))
        heading = substr(heading, 1, RSTART - 1) substr(heading, RSTART + RLENGTH)
      name = tolower(heading)
      gsub(/[^a-z0-9 _-]/, "", name)
      gsub(/ /, "-", name)
      count = seen[FILENAME, name]++
      return count == 0 ? name : name "-" count
    }
    function print_matches(kind, text, pattern, opening, closing,    found) {
      while (match(text, pattern)) {
        found = substr(text, RSTART + opening, RLENGTH - opening - closing)
        print kind "\t" FILENAME "\t" FNR "\t" found
        text = substr(text, RSTART + RLENGTH)
      }
    }
    FNR == 1 { fence = "" }
    match($0, /^ *(```+|~~~+)/) {
      marks = substr($0, RSTART, RLENGTH)
      gsub(/ /, "", marks)
      if (fence == "") { fence = marks; next }
      if (index(marks, fence) == 1) { fence = ""; next }
    }
    fence != "" { next }
    /^#+ / {
      heading = $0
      sub(/^#+ +/, "", heading)
      sub(/ +#* *$/, "", heading)
      print "anchor\t" FILENAME "\t" anchor_of(heading)
    }
    {
      prose = without_spans($0)
      print_matches("link", prose, "\\]\\([^) ]*", 2, 0)
      print_matches("link", prose, "(src|href)=\"[^\"]*\"", 0, 1)
      if (match(prose, /^ *\[[^]]+\]: +[^ ]+/)) {
        target = substr(prose, RSTART, RLENGTH)
        sub(/^ *\[[^]]+\]: +/, "", target)
        print "link\t" FILENAME "\t" FNR "\t" target
      }
      if (match(prose, /<a (name|id)="[^"]*"/)) {
        name = substr(prose, RSTART, RLENGTH)
        gsub(/^.*="|"$/, "", name)
        print "anchor\t" FILENAME "\t" name
      }
      print_matches("path", $0, "`(docs|Tools|tests|examples)/[^` ]*`", 1, 1)
      print_matches("warning", $0, "`\\[[a-z0-9]+(-[a-z0-9]+)+\\]`", 2, 2)
    }
  ' "$@"
}

failures=0
links=0
fail() { # fail FILE LINE TEXT
  echo "$1:$2: $3" >&2
  failures=$((failures + 1))
}

# Where a link of a document leads, from the root; empty when that is outside of it.
resolved() { # resolved DOCUMENT PATH
  local path
  path=$(realpath -m --relative-to=. -- "$(dirname "$1")/$2")
  case $path in ../* | ..) ;; *) echo "$path" ;; esac
}

has_anchor() { grep -qxF -- "anchor	$1	$2" <<<"$all_facts"; }

check_link() { # check_link DOCUMENT LINE TARGET
  local document=$1 line=$2 target=$3 path anchor=''
  target=${target#*=\"}
  target=${target#<}
  target=${target%>}
  case $target in
    '') fail "$document" "$line" "a link that leads nowhere" && return ;;
    [a-z]*://* | mailto:*) return ;;
  esac
  links=$((links + 1))
  path=${target%%#*}
  [ "$path" = "$target" ] || anchor=${target#*#}
  if [ -n "$path" ]; then path=$(resolved "$document" "$path"); else path=$document; fi
  if [ -z "$path" ] || [ ! -e "$path" ]; then
    fail "$document" "$line" "$target: there is no such file"
  elif is_ignored "$path"; then
    fail "$document" "$line" "$target: is not part of the repository"
  elif [ -n "$anchor" ] && [[ $path == *.md ]] && ! has_anchor "$path" "$anchor"; then
    fail "$document" "$line" "$target: $path has no such heading"
  fi
}

check_path() { # check_path DOCUMENT LINE PATH
  links=$((links + 1))
  # A module may be named without its extension; NAME and <name> stand for any.
  case $3 in *'<'* | *NAME*) return ;; esac
  [ -e "$3" ] || [ -e "$3.h" ] || compgen -G "$3" >/dev/null || is_ignored "$3" ||
    fail "$1" "$2" "$3: there is no such file"
}

check_warning() { # check_warning DOCUMENT LINE WORD
  links=$((links + 1))
  grep -rqF -- "\"$3\"" Tools/src/jobcheck || fail "$1" "$2" "$3: there is no such warning"
}

mapfile -t files < <(documents)
[ ${#files[@]} -gt 0 ] || { echo "check-links.sh: no documents in $PWD" >&2; exit 1; }
all_facts=$(facts "${files[@]}")
while IFS=$'\t' read -r kind document line text; do
  case $kind in
    link) check_link "$document" "$line" "$text" ;;
    path) check_path "$document" "$line" "$text" ;;
    warning) check_warning "$document" "$line" "$text" ;;
  esac
done <<<"$all_facts"

[ "$links" -gt 0 ] || { echo "check-links.sh: found no links in $PWD" >&2; exit 1; }
[ "$failures" = 0 ] || { echo "$failures of $links links, paths and warnings lead nowhere" >&2; exit 1; }
echo "${#files[@]} documents, $links links, paths and warnings: all there"
