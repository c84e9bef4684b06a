#!/usr/bin/env bash
# Time and memory of reading job files back, one page and 600 MB beside each other: the example's
# page at eight bits without compression, once and seventy times. Both should take the same memory.
# usage: bench/reader-memory.sh FOLDER-OF-THE-PROGRAM
set -euo pipefail
program=$(cd "$1" && pwd)/odaxgen
example=$(cd "$(dirname "$0")/../examples/newsletter" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# write_job PAGES: the example's configuration with absolute paths and this many pages.
write_job() {
  local config=$work/$1-pages.cfg
  sed -e "s|newsletter.odx|$1-pages.odx|" -e "s|\"page-|\"$example/page-|" \
    -e "s|\"templates/|\"$example/templates/|" -e 's|^\(PixelDepth.\) = 2|\1 = 8|' \
    -e 's|^CompressionMode = .*|CompressionMode = 0|' "$example/newsletter.cfg" >"$config"
  for ((page = 2; page <= $1; ++page)); do
    printf '[Image]\n'
    for ink in K C M Y; do printf 'ImageFile%s = "%s/page-%s.tif"\n' $ink "$example" $ink; done
  done >>"$config"
  "$program" "$config" >/dev/null
}

# measure ARGUMENTS...: one line with seconds and the peak of resident memory.
measure() {
  local result
  result=$(/usr/bin/time -f '%e s %M KB' "$program" "$@" 2>&1 >/dev/null | tail -n 1)
  printf '  %-10s %s\n' "$1" "$result"
}

for pages in 1 70; do
  write_job $pages
  job=$work/$pages-pages
  echo "$pages page(s), $(($(stat -c %s "$job.odx") / 1000000)) MB"
  measure inspect "$job.odx"
  measure inspect "$job.odx" --commands --json
  measure verify "$job.cfg"
  measure render "$job.odx" -o "$work/pictures" --max-size 1000 --force
  measure render "$job.odx" -o "$work/pictures" --force
done
