#include "platform/simulated/table_running_applications.h"

namespace brindlemux {

std::optional<RunningApplication> TableRunningApplications::withProcessID(std::int32_t pid) const {
  const auto found = table_.find(pid);
  if (found == table_.end()) return std::nullopt;
  return found->second;
}

}  // namespace brindlemux
