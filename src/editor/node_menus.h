#pragma once

#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/audio_device_info.h"
#include "platform/audio_process_info.h"

namespace brindlemux {

// What can be added to a graph.

/// The processes of each application once, by name as people sort names. Of processes with one bundle identifier the
/// first by name stands for all; a process without one is left out.
std::vector<AudioProcessInfo> dedupedProcesses(std::span<const AudioProcessInfo> processes);

/// The real devices with at least one input, or output, channel: neither the program's own virtual devices nor the
/// aggregates of its process taps.
std::vector<AudioDeviceInfo> inputDevices(std::span<const AudioDeviceInfo> devices,
                                          const std::set<std::string>& virtualDeviceUIDs);
std::vector<AudioDeviceInfo> outputDevices(std::span<const AudioDeviceInfo> devices,
                                           const std::set<std::string>& virtualDeviceUIDs);

}  // namespace brindlemux
