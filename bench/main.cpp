#include <benchmark/benchmark.h>
#include <cstdio>

#include "benches.h"
#include "table_reporter.h"

/// Prints every operation beside its bound. Takes the options of Google Benchmark, --benchmark_filter=REGEX among them.
int main(int argc, char** argv) {
  using namespace brindlemux::bench;
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
