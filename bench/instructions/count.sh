#!/usr/bin/env bash
# count.sh TREE [--update]: counts the instructions that each kernel and each small job needs for a
# byte of its rows, with the programs built in TREE, and holds them against limits.txt: fails when
# one needs more, says when one needs far less. With --update writes the limits anew.
#
# Instructions are the same in every run, unlike times. What they depend on is kept away: the C
# library is told to choose none of its functions by the processor, and what a process needs before
# its first page cancels out, since each job is counted with one page and with two.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tree=$(cd "$1" && pwd)
update=${2:-}
limits=$here/limits.txt
work=$tree/instructions

compiler=$("$tree/odaxgen-bench-instructions" --compiler)
meant=$(sed -n 's/^built by //p' "$limits")
if [ -z "$update" ] && [ -z "$meant" ]; then
  echo "instructions: there are no limits yet; ./dev instructions --update writes them" >&2
  exit 1
fi
if [ -z "$update" ] && [ "$compiler" != "$meant" ]; then
  echo "instructions: skipped, since the limits are for $meant and this is $compiler"
  exit 0
fi
if [ "$compiler" = another ]; then
  echo "instructions: only builds by GCC with glibc on x86-64 have limits" >&2
  exit 2
fi

# Baseline functions of the C library, and no other way of copying beyond some size.
export GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX2,-AVX,-BMI2,-RTM,-ERMS,-FSRM,-SSSE3,-SSE4_1,-SSE4_2,-AVX_Fast_Unaligned_Load:glibc.cpu.x86_non_temporal_threshold=0x10000000
rm -rf "$work"
mkdir -p "$work/kernels" "$work/jobs"

# Each kernel leaves a file with its name and its sum.
valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$work/kernels/out" \
  "$tree/odaxgen-bench-instructions" >"$work/kernels.log" 2>&1 ||
  { cat "$work/kernels.log" >&2; exit 1; }
awk '/^desc: Trigger: Client Request: / { name = $NF } /^totals: / { print name, $2 }' \
  "$work"/kernels/out.* | grep / | sort >"$work/kernels.sums"
"$tree/odaxgen-bench-instructions" --bytes | sort >"$work/kernels.bytes"

# count_job NAME: the sums of both jobs, as many at a time as there are cores.
count_job() {
  valgrind --tool=callgrind --callgrind-out-file="$1.out" "$tree/odaxgen" "$1.cfg" \
    2>"$1.log" >/dev/null || { cat "$1.log" >&2; exit 1; }
  sed -n 's/.*Collected : //p' "$1.log" >"$1.sum"
}
export -f count_job
export tree
"$tree/odaxgen-bench-small-jobs" "$work/jobs" "$here/../../examples/newsletter/templates" |
  sort >"$work/jobs.bytes"
find "$work/jobs" -name '*.cfg' | sed 's/\.cfg$//' |
  xargs -P "$(getconf _NPROCESSORS_ONLN)" -I{} bash -c 'count_job {}'
while read -r job _; do
  echo "$job $(($(cat "$work/jobs/$job-2.sum") - $(cat "$work/jobs/$job-1.sum")))"
done <"$work/jobs.bytes" >"$work/jobs.sums"

{
  join "$work/kernels.sums" "$work/kernels.bytes"
  join "$work/jobs.sums" "$work/jobs.bytes"
} >"$work/counted"

if [ "$update" = --update ]; then
  {
    sed '/^built by /,$d' "$limits"
    echo "built by $compiler"
    awk '{ printf "%s %.3g\n", $1, 1.1 * $2 / $3 }' "$work/counted"
  } >"$work/limits.txt"
  mv "$work/limits.txt" "$limits"
fi

awk -v limits="$limits" '
  BEGIN {
    while ((getline line < limits) > 0) {
      if (line ~ /^#/ || line ~ /^built by / || split(line, part, " ") != 2) continue
      limit[part[1]] = part[2]
    }
    printf "%-28s %12s %10s %10s %10s\n", "counted", "instructions", "bytes", "per byte", "limit"
  }
  {
    each = $2 / $3
    note = ""
    if (!($1 in limit)) { note = "  has no limit"; ++failed }
    else if (each > limit[$1]) { note = "  TOO MANY"; ++failed }
    else if (each < 0.75 * limit[$1] / 1.1) { note = "  far below: the limit could be lowered"; ++low }
    seen[$1] = 1
    printf "%-28s %12d %10d %10.4g %10s%s\n", $1, $2, $3, each, limit[$1], note
  }
  END {
    for (name in limit) if (!(name in seen)) { print name " has a limit and was not counted"; ++failed }
    if (low) print low " far below: ./dev instructions --update, if that is to stay"
    if (failed) print failed " above their limits or without one"
    exit failed > 0
  }' "$work/counted"
