// odaxgen-bench-instructions - runs kernels for callgrind to count their instructions.
//
//   odaxgen-bench-instructions [KERNEL [KIND]]   each kernel over a row of each kind
//   odaxgen-bench-instructions --bytes           the row's bytes of each, one per line
//   odaxgen-bench-instructions --compiler        what the numbers belong to
//
// Under callgrind every run of a kernel is counted by itself: what it dumps is named after it.
// Without callgrind nothing is printed.
#include <valgrind/callgrind.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "KernelTable.h"
#ifdef __GLIBC__
#include <gnu/libc-version.h>
#endif

namespace {

void count(const bench::Kernel& kernel, bench::RowKind kind) {
  const bench::KernelInput in = kernel.prepare(kind);
  bench::KernelOutput out = bench::makeOutput(kernel);
  // The first call finds the functions of the C library; it is not counted.
  kernel.fast(in, &out);
  const std::string name =
      std::string(kernel.name) + "/" + std::string(bench::kRowKindNames[static_cast<size_t>(kind)]);
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  kernel.fast(in, &out);
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(name.c_str());
}

// Other compilers, C libraries and processors need other numbers of instructions.
void printCompiler() {
#if defined(__GNUC__) && !defined(__clang__) && defined(__GLIBC__) && defined(__x86_64__)
  std::printf("gcc-%d.%d glibc-%s x86-64\n", __GNUC__, __GNUC_MINOR__, gnu_get_libc_version());
#else
  std::printf("another\n");
#endif
}

bool isMeant(std::string_view name, int argc, char** argv, int at) {
  return argc <= at || name == argv[at];
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view option = argc == 2 ? argv[1] : "";
  if (option == "--compiler") {
    printCompiler();
    return 0;
  }
  bool isKnown = false;
  for (const bench::Kernel& kernel : bench::kernels()) {
    for (const bench::RowKind kind : bench::kindsFor(kernel)) {
      if (option == "--bytes") {
        std::printf("%s %zu\n", bench::nameOf(kernel, kind).c_str(), kernel.rowBytes);
      } else if (!isMeant(kernel.name, argc, argv, 1) ||
                 !isMeant(bench::kRowKindNames[static_cast<size_t>(kind)], argc, argv, 2)) {
        continue;
      } else {
        count(kernel, kind);
      }
      isKnown = true;
    }
  }
  if (isKnown) return 0;
  std::fprintf(stderr, "odaxgen-bench-instructions: no such kernel or kind\n");
  return 2;
}
