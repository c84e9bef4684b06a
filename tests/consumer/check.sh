#!/usr/bin/env bash
# Installs the static and the shared library into fresh folders and builds a program against each,
# by find_package and by pkg-config; each program must run and report the code of a missing job.
set -euo pipefail
cd "$(dirname "$0")/../.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

expect_code() { # expect_code PROGRAM: the job does not exist, so the code is -3
  local said
  said=$("$1" 2>/dev/null | tail -n 1) || true
  [ "$said" = "code -3" ] || { echo "$1 said '$said'"; exit 1; }
}

# The shared library is the one that the packages ship, so that nothing is compiled a third time.
for kind in release package; do
  prefix=$work/$kind
  tree=build/$kind
  [ -f "$tree/CMakeCache.txt" ] || cmake --preset "$kind" >/dev/null
  cmake --build "$tree" --parallel "$(getconf _NPROCESSORS_ONLN)" >/dev/null
  cmake --install "$tree" --prefix "$prefix" >/dev/null

  # A prefix given at install time is what the package must be found under after a move as well.
  cmake -S tests/consumer -B "$work/$kind-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$work/$kind-build" >/dev/null
  expect_code "$work/$kind-build/consumer"

  pc=$(dirname "$(find "$prefix" -name odaxgen.pc)")
  flags=$(PKG_CONFIG_PATH=$pc pkg-config --define-variable=prefix="$prefix" --cflags --libs odaxgen)
  # The flags are words on purpose.
  # shellcheck disable=SC2086
  ${CXX:-c++} tests/consumer/consumer.cpp -o "$work/$kind-pc" $flags -Wl,-rpath,"$(dirname "$pc")"
  expect_code "$work/$kind-pc"
  echo "installed and used: $kind"
done

# The same program from C's point of view: the entry by name, and nothing else to be seen.
symbols=$(nm -D --defined-only "$(find "$work/package" -name 'libodaxgen.so')" | awk '{print $3}')
[ "$symbols" = makeODAXData ] || { echo "the shared library exports: $symbols"; exit 1; }
echo "exported: makeODAXData"
