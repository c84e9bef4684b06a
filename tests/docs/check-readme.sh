#!/usr/bin/env bash
# Runs the commands of README.md as it shows them: everything in ```sh blocks, in their order, in one
# shell that stops at the first failure, in a fresh folder that stands for the checkout.
# usage: check-readme.sh PROGRAM   the built command
set -euo pipefail
program=$(realpath "$1")
cd "$(dirname "$0")/../.."
source=$PWD

for tool in gs ps2pdf; do
  command -v "$tool" >/dev/null || { echo "needs $tool (Debian: ghostscript)"; exit 1; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/build/release" "$work/tmp"
ln -s "$program" "$work/build/release/odaxgen"
ps2pdf -dSAFER examples/newsletter/page.ps "$work/page.pdf"

awk '/^```sh$/ { inside = 1; next } /^```/ { inside = 0 } inside' README.md >"$work/commands"
count=$(grep -c '^odaxgen' "$work/commands")
[ "$count" -ge 10 ] || { echo "README.md shows only $count commands"; exit 1; }

cd "$work"
if ! TMPDIR=$work/tmp bash -eu -o pipefail -x commands >said 2>&1; then
  cat said
  exit 1
fi
grep -q ': identical$' said
for job in first mine; do
  [ -s "$job/pictures/page-1.png" ] || { echo "no picture of the job $job"; exit 1; }
done
# The page is the PDF's and not the starter's: A5 at 300 dpi.
grep -q '^1 page, 4 planes, 17,340,160 pixels: identical$' said || { cat said; exit 1; }

# The two commands of a newcomer are what CI runs.
grep -q '^\./dev run ' "$source/README.md"
grep -q '^\./dev test ' "$source/README.md"
grep -q '^\./dev test$' "$source/.ci/run"
echo "ran $count commands of README.md"
