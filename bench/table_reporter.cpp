#include "table_reporter.h"

#include <cstdio>
#include <optional>
#include <string>

namespace brindlemux::bench {
namespace {

std::optional<double> counter(const benchmark::BenchmarkReporter::Run& run, const char* name) {
  const auto found = run.counters.find(name);
  if (found == run.counters.end()) return std::nullopt;
  return found->second.value;
}

std::string cell(std::optional<double> value, int decimals, const char* relation = "") {
  if (!value) return "";
  char text[64];
  std::snprintf(text, sizeof text, "%s%.*f", relation, decimals, *value);
  return text;
}

void printRow(const char* what, const char* time, const char* bound, const char* figure, const char* asked,
              const char* verdict) {
  std::printf("%-58s %11s %10s %9s  %-9s %s\n", what, time, bound, figure, asked, verdict);
}

}  // namespace

bool TableReporter::ReportContext(const Context& context) {
  PrintBasicContext(&GetErrorStream(), context);
  printRow("Median of five runs", "time ns", "bound ns", "figure", "asked", "");
  return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.aggregate_name != "median") continue;
    const std::optional<double> figure = counter(run, "figure");
    const std::optional<double> atLeast = counter(run, "at_least");
    const std::optional<double> atMost = counter(run, "at_most");
    const bool isShort = (atLeast && *figure < *atLeast) || (atMost && *figure > *atMost);
    if (isShort) ++shortfalls_;
    const std::string asked = atLeast ? cell(atLeast, 2, ">= ") : cell(atMost, 2, "<= ");
    printRow(run.run_name.function_name.c_str(), cell(counter(run, "ns"), 1).c_str(),
             cell(counter(run, "bound_ns"), 1).c_str(), cell(figure, 2).c_str(), asked.c_str(),
             asked.empty() ? "" : (isShort ? "short" : "holds"));
  }
  std::fflush(stdout);
}

}  // namespace brindlemux::bench
