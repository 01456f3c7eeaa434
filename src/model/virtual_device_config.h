#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace brindlemux {

/// One virtual device that the driver publishes. Its identity is `uid`.
struct VirtualDeviceConfig {
  std::string uid;
  std::string name;
  /// Output channels: even and 2 to 16 once read back from the driver, any value before.
  std::int64_t channels = 2;

  friend bool operator==(const VirtualDeviceConfig&, const VirtualDeviceConfig&) = default;
};

}  // namespace brindlemux

template <>
struct std::hash<brindlemux::VirtualDeviceConfig> {
  std::size_t operator()(const brindlemux::VirtualDeviceConfig& device) const noexcept;
};
