// odaxgen-bench-kernels - bytes per second of each kernel and of its plain twin, over rows as they
// come. Takes the options of Google Benchmark, such as --benchmark_filter=hxrc.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

#include "KernelTable.h"

namespace {

void run(benchmark::State& state, const bench::Kernel& kernel, bench::KernelCall call,
         bench::RowKind kind) {
  const bench::KernelInput in = kernel.prepare(kind);
  bench::KernelOutput out = bench::makeOutput(kernel);
  for ([[maybe_unused]] auto unused : state) {
    call(in, &out);
    benchmark::DoNotOptimize(out.rows[0].data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(kernel.rowBytes));
}

void add(const bench::Kernel& kernel, bench::RowKind kind) {
  for (const bool isFast : {false, true}) {
    const std::string name = bench::nameOf(kernel, kind) + (isFast ? "/fast" : "/plain");
    benchmark::RegisterBenchmark(name.c_str(), run, kernel, isFast ? kernel.fast : kernel.plain,
                                 kind);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const bench::Kernel& kernel : bench::kernels()) {
    for (const bench::RowKind kind : bench::kindsFor(kernel)) {
      // What is measured here is compiled as it ships, which the tests are not.
      if (!bench::isSameAsPlain(kernel, kernel.prepare(kind))) {
        std::fprintf(stderr, "odaxgen-bench-kernels: %s differs from its plain twin\n",
                     bench::nameOf(kernel, kind).c_str());
        return 1;
      }
      add(kernel, kind);
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
