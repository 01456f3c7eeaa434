#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace brindlemux {

/// An application that a person would recognise.
struct RunningApplication {
  std::optional<std::string> localizedName;
};

/// Looks running applications up by process. Threads: any.
class RunningApplications {
 public:
  virtual ~RunningApplications() = default;
  virtual std::optional<RunningApplication> withProcessID(std::int32_t pid) const = 0;
};

}  // namespace brindlemux
