#include <benchmark/benchmark.h>
#include <cstdio>
#include <malloc.h>

#include "benches.h"
#include "table_reporter.h"

/// Prints every operation beside its bound. Takes the options of Google Benchmark, --benchmark_filter=REGEX among them.
int main(int argc, char** argv) {
  using namespace brindlemux::bench;
  // Large memory then always begins at the same place of a page: whether a write and a later read meet at the same
  // place of their pages, which costs time, does not differ between an operation and its bound.
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  registerKernels();
  registerMixing();
  registerWriting();
  registerLimiting();
  registerBus();
  registerLock();
  registerSaving();
  TableReporter table;
  benchmark::RunSpecifiedBenchmarks(&table);
  std::printf("%d short of what is asked\n", table.shortfalls());
  return 0;
}
