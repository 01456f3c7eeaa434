#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "model/uuid.h"

namespace brindlemux {

/// The audio of one application. `name` is its display name at the time it was added.
struct AppSource {
  std::string bundleID;
  std::string name;
  friend bool operator==(const AppSource&, const AppSource&) = default;
};

/// One input device. `name` is its display name at the time it was added.
struct MicSource {
  std::string deviceUID;
  std::string name;
  friend bool operator==(const MicSource&, const MicSource&) = default;
};

/// All system audio.
struct SystemAudioSource {
  friend bool operator==(const SystemAudioSource&, const SystemAudioSource&) = default;
};

/// What a source captures. Two kinds are equal only when the case and every value are.
using SourceKindConfig = std::variant<AppSource, MicSource, SystemAudioSource>;

/// One source node. Gains are linear.
struct SourceNodeConfig {
  UUID id;
  SourceKindConfig kind;
  /// Applies to every source channel that has no entry in `channelGains`.
  float gain = 1.0F;
  /// Indexed by source channel; an entry replaces `gain` for its channel.
  std::vector<float> channelGains;
  bool enabled = true;

  friend bool operator==(const SourceNodeConfig&, const SourceNodeConfig&) = default;
};

/// A wire from a source channel to an output channel of the virtual device; channels count from 0.
struct SourceWire {
  UUID sourceID;
  std::int64_t sourceChannel = 0;
  std::int64_t outputChannel = 0;

  friend bool operator==(const SourceWire&, const SourceWire&) = default;
};

/// A real output device that plays what the virtual device carries. `gain` is linear.
struct MonitorNodeConfig {
  UUID id;
  std::string deviceUID;
  std::string name;
  float gain = 1.0F;
  bool enabled = true;

  friend bool operator==(const MonitorNodeConfig&, const MonitorNodeConfig&) = default;
};

/// A wire from an output channel of the virtual device to a monitor channel; channels count from 0.
struct MonitorWire {
  std::int64_t outputChannel = 0;
  UUID monitorID;
  std::int64_t monitorChannel = 0;

  friend bool operator==(const MonitorWire&, const MonitorWire&) = default;
};

/// The routing graph of one virtual device. A plain record: it enforces nothing, so a wire may name a node that is not
/// there or a channel beyond a device's count, and every reader tolerates that.
struct DeviceGraph {
  DeviceGraph() = default;
  /// The graph of a device that has none yet.
  explicit DeviceGraph(std::string uid) : deviceUID(std::move(uid)) {}

  std::string deviceUID;
  bool enabled = true;
  float masterGain = 1.0F;
  /// Indexed by output channel; a channel without an entry has gain 1.0.
  std::vector<float> outputGains;
  /// I/O buffer size in frames; any integer that was read from disk.
  std::int64_t latencyFrames = 256;
  std::vector<SourceNodeConfig> sources;
  std::vector<SourceWire> wires;
  std::vector<MonitorNodeConfig> monitors;
  std::vector<MonitorWire> monitorWires;

  /// The wires that a newly added source receives: a stereo pair on the first two outputs at the most.
  /// Errors: a negative count is fatal.
  static std::vector<SourceWire> defaultWires(const SourceNodeConfig& source, std::int64_t outputChannels);

  /// The wires that a newly added monitor receives: outputs 0 and 1 to its channels 0 and 1 at the most.
  /// Errors: a negative count is fatal.
  static std::vector<MonitorWire> defaultMonitorWires(const MonitorNodeConfig& monitor, std::int64_t outputChannels,
                                                      std::int64_t monitorChannels);
};

/// Every known graph, keyed by device UID.
using DeviceGraphs = std::map<std::string, DeviceGraph>;

}  // namespace brindlemux

template <>
struct std::hash<brindlemux::SourceKindConfig> {
  std::size_t operator()(const brindlemux::SourceKindConfig& kind) const noexcept;
};
template <>
struct std::hash<brindlemux::SourceNodeConfig> {
  std::size_t operator()(const brindlemux::SourceNodeConfig& source) const noexcept;
};
template <>
struct std::hash<brindlemux::SourceWire> {
  std::size_t operator()(const brindlemux::SourceWire& wire) const noexcept;
};
template <>
struct std::hash<brindlemux::MonitorNodeConfig> {
  std::size_t operator()(const brindlemux::MonitorNodeConfig& monitor) const noexcept;
};
template <>
struct std::hash<brindlemux::MonitorWire> {
  std::size_t operator()(const brindlemux::MonitorWire& wire) const noexcept;
};
