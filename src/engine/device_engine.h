#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "engine/engine_counters.h"
#include "engine/engine_meter.h"
#include "engine/engine_services.h"
#include "engine/engine_statistics.h"
#include "engine/input_engine.h"
#include "engine/meter_snapshot.h"
#include "engine/mix_bus.h"
#include "engine/output_engine.h"
#include "engine/process_tap_capture.h"
#include "model/device_graph.h"
#include "platform/audio_device_info.h"
#include "platform/audio_process_info.h"

namespace brindlemux {

/// The running counterpart of one virtual device's graph: a capture per source, an output into the virtual device, a
/// capture of the device's own input, and an output per monitor. Owns all of them; borrows the services.
///
/// Threads: the main thread, but for the renders of its bus. Nothing here throws: what fails to start is left out and
/// its message kept in `lastError`.
class DeviceEngine {
 public:
  /// Starts nothing.
  DeviceEngine(std::string deviceUID, DeviceGraph graph, const EngineServices& services);
  ~DeviceEngine();
  DeviceEngine(const DeviceEngine&) = delete;
  DeviceEngine& operator=(const DeviceEngine&) = delete;

  const std::string& deviceUID() const noexcept { return deviceUID_; }

  void setGraph(const DeviceGraph& graph) { graph_ = graph; }
  const DeviceGraph& graph() const noexcept { return graph_; }

  /// Brings what runs into line with the graph and the environment, then recompiles the plans: keeps what still fits,
  /// replaces what does not, starts what is missing. A disabled graph or a missing device stops everything.
  void reconcile(std::int64_t deviceChannels, std::span<const AudioProcessInfo> processes,
                 std::span<const AudioDeviceInfo> audioDevices);

  /// Stops and releases everything. Idempotent.
  void stopAll();

  MeterSnapshot meterSnapshot();

  /// The I/O block size that the device runs at, in frames of its own rate, as of its last block. The audio server may
  /// grant another one than asked for. Nothing before the first block, and while nothing runs.
  std::optional<std::int64_t> blockFrames() const noexcept;

  /// The rate in Hz that the device runs at, where the engine's own is asked for. Nothing while nothing runs.
  std::optional<double> sampleRateHz() const;

  /// What has happened since the engine last started, which is when it began to run something after nothing ran. Zeros
  /// before. What has been counted stays until the next start.
  EngineStatistics statistics() const noexcept { return counters_->statistics(); }

  /// The I/O block size that is asked for where a graph says `latencyFrames`.
  static std::int64_t clampedBufferFrames(std::int64_t latencyFrames) noexcept;

  /// Whether the source's capture runs, or the monitor's output does; false for a node that is not in the graph.
  bool isCapturing(const UUID& source) const;
  bool isPlaying(const UUID& monitor) const;

  /// The most recent failure to start something; the engine sets it and never clears it.
  std::optional<std::string> lastError;

 private:
  struct SourceRuntime;
  struct MonitorRuntime;

  void reconcileSources(std::span<const AudioProcessInfo> processes);
  void startCaptureIfNeeded(SourceRuntime& runtime, const SourceNodeConfig& source,
                            std::span<const AudioProcessInfo> processes);
  void startAppCapture(SourceRuntime& runtime, const AppSource& app, std::span<const AudioProcessInfo> processes);
  void startMicCapture(SourceRuntime& runtime, const MicSource& mic);
  void reconcileVirtualOutput(bool deviceChanged);
  void reconcileLoopback(bool deviceChanged);
  void reconcileMonitors(std::span<const AudioDeviceInfo> audioDevices);
  void reconcileMonitor(const MonitorNodeConfig& monitor, std::span<const AudioDeviceInfo> audioDevices);
  void rebuildPlans();
  MixBus::Rings runningRings() const;
  std::int64_t bufferFrames() const noexcept { return clampedBufferFrames(graph_.latencyFrames); }

  const std::string deviceUID_;
  const EngineServices services_;
  DeviceGraph graph_;
  std::int64_t deviceChannels_ = 2;
  AudioObjectID virtualDeviceID_ = kAudioObjectUnknown;
  /// Shared with the outputs' render functions, one of which a server may go on calling that refuses to stop it.
  const std::shared_ptr<MixBus> bus_ = std::make_shared<MixBus>();
  EngineMeter meter_;
  /// Shared with what counts, for the same reason.
  const std::shared_ptr<EngineCounters> counters_ = std::make_shared<EngineCounters>();
  bool isRunning_ = false;
  std::unordered_map<UUID, std::unique_ptr<SourceRuntime>> sourceRuntimes_;
  std::unique_ptr<InputEngine> deviceInputCapture_;
  std::unique_ptr<OutputEngine> virtualOutput_;
  std::unordered_map<UUID, MonitorRuntime> monitorOutputs_;
};

}  // namespace brindlemux
