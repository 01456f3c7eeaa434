#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/running_applications.h"

namespace brindlemux {

/// Running applications from a table. Threads: one at a time.
class TableRunningApplications final : public RunningApplications {
 public:
  /// An application without a name is one that a person would not recognise by name.
  void set(std::int32_t pid, std::optional<std::string> localizedName) { table_[pid] = {std::move(localizedName)}; }
  void remove(std::int32_t pid) { table_.erase(pid); }

  std::optional<RunningApplication> withProcessID(std::int32_t pid) const override;

 private:
  std::map<std::int32_t, RunningApplication> table_;
};

}  // namespace brindlemux
