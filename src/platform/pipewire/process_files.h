#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace brindlemux {

/// What the kernel's files tell of a process. Everything is empty for a process that is gone or cannot be seen.
///
/// Threads: any.
class ProcessFiles {
 public:
  /// `folder` is where the kernel shows its processes.
  explicit ProcessFiles(std::filesystem::path folder = "/proc") : folder_(std::move(folder)) {}

  /// When the process started, in the kernel's ticks: tells a process from an earlier one with its number.
  std::string startTime(std::int32_t pid) const;
  std::filesystem::path executable(std::int32_t pid) const;
  std::optional<std::int32_t> parent(std::int32_t pid) const;

 private:
  /// The field at `index` of the status line behind the command's name.
  std::string statusField(std::int32_t pid, int index) const;

  std::filesystem::path folder_;
};

}  // namespace brindlemux
