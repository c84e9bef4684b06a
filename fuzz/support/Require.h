// Require - what a fuzz target asserts: the process ends where it does not hold, and the fuzzer
// keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: does not hold: %s\n", what);
  std::abort();
}
