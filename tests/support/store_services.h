#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/clock.h"
#include "model/file_locations.h"
#include "model/system_log.h"

// What a GraphStore borrows, in forms that a test can look into.

namespace brindlemux::test {

struct FolderLocations final : FileLocations {
  explicit FolderLocations(std::filesystem::path path) : folder(std::move(path)) {}
  std::filesystem::path applicationSupport() const override { return folder; }
  std::filesystem::path folder;
};

/// It is always the same time, and nothing waits.
struct FixedClock final : Clock {
  explicit FixedClock(double time = 0) : now(time) {}
  double secondsSince1970() const override { return now; }
  void sleep(std::chrono::milliseconds) override {}
  double now;
};

struct CollectingLog final : SystemLog {
  void write(std::string_view text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;
};

}  // namespace brindlemux::test
