#include "editor/node_menus.h"

#include <algorithm>
#include <string_view>

#include "platform/localized_name_order.h"

namespace brindlemux {
namespace {

constexpr std::string_view tapPrefix = "com.brindlemux.tap.";

std::vector<AudioDeviceInfo> realDevices(std::span<const AudioDeviceInfo> devices,
                                         const std::set<std::string>& virtualDeviceUIDs,
                                         std::int64_t AudioDeviceInfo::*channels) {
  std::vector<AudioDeviceInfo> real;
  std::copy_if(devices.begin(), devices.end(), std::back_inserter(real), [&](const AudioDeviceInfo& device) {
    return device.*channels > 0 && !virtualDeviceUIDs.contains(device.uid) && !device.uid.starts_with(tapPrefix);
  });
  return real;
}

}  // namespace

std::vector<AudioProcessInfo> dedupedProcesses(std::span<const AudioProcessInfo> processes) {
  std::vector<AudioProcessInfo> sorted(processes.begin(), processes.end());
  const LocalizedNameOrder order;
  std::stable_sort(sorted.begin(), sorted.end(), [&order](const AudioProcessInfo& left, const AudioProcessInfo& right) {
    return order(left.name, right.name);
  });
  std::set<std::string> seen;
  std::erase_if(sorted, [&seen](const AudioProcessInfo& process) {
    return process.bundleID.value_or("").empty() || !seen.insert(*process.bundleID).second;
  });
  return sorted;
}

std::vector<AudioDeviceInfo> inputDevices(std::span<const AudioDeviceInfo> devices,
                                          const std::set<std::string>& virtualDeviceUIDs) {
  return realDevices(devices, virtualDeviceUIDs, &AudioDeviceInfo::inputChannels);
}

std::vector<AudioDeviceInfo> outputDevices(std::span<const AudioDeviceInfo> devices,
                                           const std::set<std::string>& virtualDeviceUIDs) {
  return realDevices(devices, virtualDeviceUIDs, &AudioDeviceInfo::outputChannels);
}

}  // namespace brindlemux
