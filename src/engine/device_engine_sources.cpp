// The captures of a device engine's sources.
#include <algorithm>
#include <exception>
#include <unordered_set>

#include "engine/device_engine.h"
#include "engine/device_engine_runtimes.h"

namespace brindlemux {
namespace {

/// The process of an application that is worth tapping: one that plays, or else the first; null for none.
const AudioProcessInfo* chooseProcess(std::span<const AudioProcessInfo> processes, const std::string& bundleID) {
  const AudioProcessInfo* first = nullptr;
  for (const AudioProcessInfo& process : processes) {
    if (process.bundleID != bundleID) continue;
    if (process.isPlaying) return &process;
    if (first == nullptr) first = &process;
  }
  return first;
}

}  // namespace

void DeviceEngine::SourceRuntime::dropTap() {
  if (tapCapture == nullptr) return;
  tapCapture->cleanup();
  tapCapture = nullptr;
}

void DeviceEngine::SourceRuntime::dropMic() {
  if (micCapture == nullptr) return;
  micCapture->stop();
  micCapture = nullptr;
}

void DeviceEngine::SourceRuntime::stop() {
  dropTap();
  dropMic();
}

std::shared_ptr<SourceRing> DeviceEngine::SourceRuntime::ring() const {
  if (tapCapture != nullptr) return tapCapture->ring();
  if (micCapture != nullptr) return micCapture->ring();
  return nullptr;
}

void DeviceEngine::reconcileSources(std::span<const AudioProcessInfo> processes) {
  std::unordered_set<UUID> wanted;
  for (const SourceNodeConfig& source : graph_.sources) wanted.insert(source.id);
  std::erase_if(sourceRuntimes_, [&wanted](auto& entry) {
    if (wanted.contains(entry.first)) return false;
    entry.second->stop();
    return true;
  });
  // Disabled sources capture too, so that their meters stay live; the plan leaves them out.
  for (const SourceNodeConfig& source : graph_.sources) {
    std::unique_ptr<SourceRuntime>& runtime = sourceRuntimes_[source.id];
    if (runtime == nullptr) runtime = std::make_unique<SourceRuntime>();
    startCaptureIfNeeded(*runtime, source, processes);
  }
}

void DeviceEngine::startCaptureIfNeeded(SourceRuntime& runtime, const SourceNodeConfig& source,
                                        std::span<const AudioProcessInfo> processes) {
  const bool clockIsGone = runtime.tapCapture != nullptr && !runtime.tapCapture->clockUID().empty() &&
                           !services_.discovery.findDevice(runtime.tapCapture->clockUID());
  if (clockIsGone) runtime.dropTap();
  try {
    if (const auto* app = std::get_if<AppSource>(&source.kind)) {
      startAppCapture(runtime, *app, processes);
    } else if (const auto* mic = std::get_if<MicSource>(&source.kind)) {
      startMicCapture(runtime, *mic);
    } else if (runtime.tapCapture == nullptr) {
      runtime.tapCapture = std::make_unique<ProcessTapCapture>(services_, std::nullopt, bufferFrames(), counters_);
    }
  } catch (const std::exception& error) {
    lastError = error.what();
  }
}

void DeviceEngine::startAppCapture(SourceRuntime& runtime, const AppSource& app,
                                   std::span<const AudioProcessInfo> processes) {
  const bool isTapped = runtime.tapCapture != nullptr &&
                        std::any_of(processes.begin(), processes.end(), [&](const AudioProcessInfo& process) {
                          return process.bundleID == app.bundleID && process.pid == runtime.resolvedPID;
                        });
  if (isTapped) return;
  runtime.dropTap();
  const AudioProcessInfo* process = chooseProcess(processes, app.bundleID);
  if (process == nullptr) return;
  runtime.tapCapture = std::make_unique<ProcessTapCapture>(services_, std::vector<AudioObjectID>{process->id},
                                                           bufferFrames(), counters_);
  runtime.resolvedPID = process->pid;
}

void DeviceEngine::startMicCapture(SourceRuntime& runtime, const MicSource& mic) {
  const std::optional<AudioObjectID> device = services_.discovery.findDevice(mic.deviceUID);
  if (runtime.micCapture != nullptr) {
    if (device == runtime.resolvedMicDeviceID) return;
    runtime.dropMic();
    runtime.resolvedMicDeviceID = kAudioObjectUnknown;
  }
  if (!device) return;
  runtime.micCapture = std::make_unique<InputEngine>(services_, *device, bufferFrames(), counters_);
  runtime.resolvedMicDeviceID = *device;
}

MixBus::Rings DeviceEngine::runningRings() const {
  MixBus::Rings rings;
  for (const auto& [id, runtime] : sourceRuntimes_) {
    if (auto ring = runtime->ring()) rings.emplace(id, std::move(ring));
  }
  return rings;
}

}  // namespace brindlemux
