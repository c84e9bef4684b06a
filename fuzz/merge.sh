#!/usr/bin/env bash
# merge.sh TARGET: replaces fuzz/corpus/TARGET by the inputs, of it and of what ./dev fuzz found,
# that reach all the code that all of them reach; the smallest ones, and not too many of them.
set -euo pipefail
cd "$(dirname "$0")/.."

most_files=250
most_file_bytes=16384
most_bytes=400000

name=$1
corpus=fuzz/corpus/$name
place=/tmp
if [ -w /dev/shm ]; then place=/dev/shm; fi
work=$(mktemp -d "$place/odaxgen-merge.XXXXXX")
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work
mkdir -p "$corpus" "build/fuzz/corpus/$name" "$work/merged" "$work/kept"
"build/asan/odaxgen-fuzz-$name" -set_cover_merge=1 -timeout=10 -rss_limit_mb=2048 \
  "$work/merged" "$corpus" "build/fuzz/corpus/$name" 2>"build/fuzz/$name-merge.log" ||
  { tail -n 20 "build/fuzz/$name-merge.log" >&2; exit 1; }

# Of too many, every n-th by size: small ones and large ones.
count=$(find "$work/merged" -type f | wc -l)
step=$(((count + most_files - 1) / most_files))
if [ "$step" -eq 0 ]; then step=1; fi
find "$work/merged" -type f -size -"$most_file_bytes"c -printf '%s %f\n' | sort -n |
  awk -v step="$step" -v most="$most_bytes" \
    'NR % step == 0 && (bytes += $1) <= most { print $2 }' |
  while read -r file; do cp "$work/merged/$file" "$work/kept/"; done
find "$corpus" -type f -regextype posix-extended -regex '.*/[0-9a-f]{40}' -delete
cp "$work/kept/"* "$corpus/"
echo "$name: $(find "$corpus" -type f | wc -l) inputs, $(du -sb "$corpus" | cut -f1) bytes"
