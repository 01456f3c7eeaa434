#pragma once

#include <benchmark/benchmark.h>
#include <vector>

namespace brindlemux::bench {

/// Prints the medians of a comparison's runs as one line: its time, its bound's, the figure, and the floor or ceiling
/// beside it.
class TableReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  /// How many figures missed their floor or ceiling.
  int shortfalls() const { return shortfalls_; }

 private:
  int shortfalls_ = 0;
};

}  // namespace brindlemux::bench
