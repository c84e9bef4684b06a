#!/usr/bin/env bash
# Proves that check.sh notices what is missing: a program with all of it passes, and one that lacks
# a single thing is refused for that thing alone.
# usage: check-the-check.sh COMPILER
set -euo pipefail

[ $# = 1 ] || { echo "usage: check-the-check.sh COMPILER" >&2; exit 2; }
compiler=$1
check=$(dirname "$(realpath "$0")")/check.sh
[ "$(uname -s)" = Linux ] || exit 77
for tool in readelf nm; do
  command -v $tool >/dev/null || { echo "not checked: no $tool" >&2; exit 77; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/program.cpp" <<'END'
#include <cstdio>
#include <cstring>
#ifdef BOTH
__asm__(".section .both,\"awx\"\n.byte 0\n.previous");
#endif
int main(int count, char** arguments) {
  char copy[16];
  std::strcpy(copy, arguments[count - 1]);
  return std::puts(copy) < 0;
}
END

failures=0
compiled=(-O2 -fPIE -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
# The commas are the linker's.
# shellcheck disable=SC2054
linked=(-pie -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# expect WHAT FLAG...: built with these in addition, the program is refused for WHAT; "" is for none.
expect() {
  local what=$1 said
  "$compiler" "${compiled[@]}" "${linked[@]}" "${@:2}" "$work/program.cpp" -o "$work/program" 2>"$work/log" ||
    { cat "$work/log" >&2; exit 1; }
  said=$("$check" "$work/program" 2>&1 >/dev/null | sed "s,^$work/program: ,,") || true
  [ "$said" = "$what" ] && return
  echo "with '${*:2}': '$said' and not '$what'" >&2
  failures=$((failures + 1))
}

expect ''
expect 'neither a shared library nor position-independent
no position-independent program' -fno-pie -no-pie
expect 'no RELRO' -Wl,-z,norelro
expect 'names are not all bound at the start' -Wl,-z,lazy
expect 'the stack can be executed' -Wl,-z,execstack
expect 'a segment can be written to and executed' -DBOTH
expect 'libraries are looked for in folders of its own' -Wl,-rpath,/nowhere
expect 'no stack protector' -fno-stack-protector
expect 'no checked calls of the C library' -U_FORTIFY_SOURCE

# A static library: its objects tell.
"$compiler" "${compiled[@]}" -c "$work/program.cpp" -o "$work/program.o"
"$compiler" -O2 -fno-stack-protector -U_FORTIFY_SOURCE -c "$work/program.cpp" -o "$work/plain.o"
ar cr "$work/hardened.a" "$work/program.o"
ar cr "$work/plain.a" "$work/plain.o"
"$check" "$work/hardened.a" >/dev/null || failures=$((failures + 1))
! "$check" "$work/plain.a" 2>/dev/null || { echo "plain.a passes" >&2; failures=$((failures + 1)); }
! "$check" "$work/none" 2>/dev/null || { echo "a missing file passes" >&2; failures=$((failures + 1)); }
[ "$failures" = 0 ]
