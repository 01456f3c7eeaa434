#include "engine/device_engine.h"

#include <algorithm>
#include <exception>
#include <unordered_set>
#include <utility>

#include "engine/device_engine_runtimes.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

constexpr std::int64_t minimumBufferFrames = 32;
constexpr std::int64_t maximumBufferFrames = 4096;

}  // namespace

DeviceEngine::DeviceEngine(std::string deviceUID, DeviceGraph graph, const EngineServices& services)
    : deviceUID_(std::move(deviceUID)), services_(services), graph_(std::move(graph)) {}

DeviceEngine::~DeviceEngine() { stopAll(); }

std::int64_t DeviceEngine::clampedBufferFrames(std::int64_t latencyFrames) noexcept {
  return std::clamp(latencyFrames, minimumBufferFrames, maximumBufferFrames);
}

void DeviceEngine::reconcile(std::int64_t deviceChannels, std::span<const AudioProcessInfo> processes,
                             std::span<const AudioDeviceInfo> audioDevices) {
  deviceChannels_ = deviceChannels;
  const std::optional<AudioObjectID> found = services_.discovery.findDevice(deviceUID_);
  const AudioObjectID previous = std::exchange(virtualDeviceID_, found.value_or(kAudioObjectUnknown));
  if (!graph_.enabled || !found) {
    stopAll();
    return;
  }
  if (!std::exchange(isRunning_, true)) counters_->reset();
  const bool deviceChanged = virtualDeviceID_ != previous;
  reconcileSources(processes);
  reconcileVirtualOutput(deviceChanged);
  reconcileLoopback(deviceChanged);
  reconcileMonitors(audioDevices);
  rebuildPlans();
}

void DeviceEngine::reconcileVirtualOutput(bool deviceChanged) {
  const bool isWanted = !graph_.wires.empty();
  const bool fits = !deviceChanged && virtualOutput_ != nullptr && virtualOutput_->channels() == deviceChannels_;
  if (fits && isWanted) return;
  if (virtualOutput_ != nullptr) virtualOutput_->stop();
  virtualOutput_ = nullptr;
  if (!isWanted) return;
  try {
    virtualOutput_ = std::make_unique<OutputEngine>(
        services_, virtualDeviceID_, deviceChannels_, bufferFrames(),
        [bus = bus_](std::span<float* const> buffers, std::int64_t frames) { bus->renderVirtual(buffers, frames); },
        counters_);
  } catch (const std::exception& error) {
    lastError = error.what();
  }
}

void DeviceEngine::reconcileLoopback(bool deviceChanged) {
  if (deviceChanged) {
    bus_->dropMonitorInputRing();
    if (deviceInputCapture_ != nullptr) deviceInputCapture_->stop();
    deviceInputCapture_ = nullptr;
  }
  if (deviceInputCapture_ != nullptr) return;
  try {
    deviceInputCapture_ = std::make_unique<InputEngine>(services_, virtualDeviceID_, bufferFrames(), counters_);
    bus_->setMonitorInputRing(deviceInputCapture_->ring());
  } catch (const std::exception& error) {
    lastError = error.what();
  }
}

void DeviceEngine::reconcileMonitors(std::span<const AudioDeviceInfo> audioDevices) {
  std::unordered_set<UUID> enabled;
  for (const MonitorNodeConfig& monitor : graph_.monitors) {
    if (monitor.enabled) enabled.insert(monitor.id);
  }
  std::erase_if(monitorOutputs_, [&enabled](auto& entry) {
    if (enabled.contains(entry.first)) return false;
    entry.second.output->stop();
    return true;
  });
  for (const MonitorNodeConfig& monitor : graph_.monitors) {
    if (monitor.enabled) reconcileMonitor(monitor, audioDevices);
  }
}

void DeviceEngine::reconcileMonitor(const MonitorNodeConfig& monitor, std::span<const AudioDeviceInfo> audioDevices) {
  const auto device = std::find_if(audioDevices.begin(), audioDevices.end(),
                                   [&monitor](const AudioDeviceInfo& info) { return info.uid == monitor.deviceUID; });
  const bool isPresent = device != audioDevices.end();
  const std::int64_t channels = isPresent ? std::clamp<std::int64_t>(device->outputChannels, 1, maximumChannels) : 2;

  if (const auto running = monitorOutputs_.find(monitor.id); running != monitorOutputs_.end()) {
    const MonitorRuntime& runtime = running->second;
    if (isPresent && runtime.channels == channels && runtime.deviceID == device->id) return;
    runtime.output->stop();
    monitorOutputs_.erase(running);
  }
  if (!isPresent) return;
  try {
    auto output = std::make_unique<OutputEngine>(
        services_, device->id, channels, bufferFrames(),
        [bus = bus_, id = monitor.id](std::span<float* const> buffers, std::int64_t frames) {
          bus->renderMonitor(id, buffers, frames);
        },
        counters_);
    monitorOutputs_[monitor.id] = {std::move(output), channels, device->id};
  } catch (const std::exception& error) {
    lastError = error.what();
  }
}

void DeviceEngine::rebuildPlans() { bus_->rebuildPlans(graph_, runningRings(), deviceChannels_); }

void DeviceEngine::stopAll() {
  for (auto& entry : monitorOutputs_) entry.second.output->stop();
  monitorOutputs_.clear();
  if (virtualOutput_ != nullptr) virtualOutput_->stop();
  virtualOutput_ = nullptr;
  bus_->dropMonitorInputRing();
  if (deviceInputCapture_ != nullptr) deviceInputCapture_->stop();
  deviceInputCapture_ = nullptr;
  for (auto& entry : sourceRuntimes_) entry.second->stop();
  sourceRuntimes_.clear();
  bus_->clear();
  isRunning_ = false;
}

bool DeviceEngine::isCapturing(const UUID& source) const {
  const auto runtime = sourceRuntimes_.find(source);
  return runtime != sourceRuntimes_.end() && runtime->second->isCapturing();
}

bool DeviceEngine::isPlaying(const UUID& monitor) const { return monitorOutputs_.contains(monitor); }

MeterSnapshot DeviceEngine::meterSnapshot() {
  SourceRing* loopback = deviceInputCapture_ == nullptr ? nullptr : deviceInputCapture_->ring().get();
  return meter_.snapshot(runningRings(), *bus_, loopback);
}

std::optional<double> DeviceEngine::sampleRateHz() const {
  return isRunning_ ? std::optional(services_.discovery.actualSampleRate(virtualDeviceID_)) : std::nullopt;
}

std::optional<std::int64_t> DeviceEngine::blockFrames() const noexcept {
  std::int64_t frames = virtualOutput_ != nullptr ? virtualOutput_->blockFrames() : 0;
  if (frames == 0 && deviceInputCapture_ != nullptr) frames = deviceInputCapture_->blockFrames();
  return frames > 0 ? std::optional(frames) : std::nullopt;
}

}  // namespace brindlemux
