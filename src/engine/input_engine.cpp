#include "engine/input_engine.h"

#include <algorithm>
#include <utility>

#include "engine/capture_path.h"
#include "platform/audio_router_error.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

constexpr std::string_view queueLabel = "com.brindlemux.input-io";

}  // namespace

struct InputEngine::State {
  State(AudioHardware& audioHardware, AudioObjectID deviceID, std::shared_ptr<EngineCounters> engineCounters)
      : hardware(audioHardware), device(deviceID), counters(std::move(engineCounters)) {}

  AudioHardware& hardware;
  const AudioObjectID device;
  const std::shared_ptr<EngineCounters> counters;
  std::shared_ptr<SourceRing> ring;
  /// Shared with the block alone: a server that refuses to stop it finds a way into a ring that nobody reads.
  std::shared_ptr<CapturePath> path;
  AudioDeviceIOProcID ioProc = 0;
  bool stopped = false;

  void start(const Discovery& discovery, std::int64_t bufferFrames);
};

void InputEngine::State::start(const Discovery& discovery, std::int64_t bufferFrames) {
  const double sampleRateHz = discovery.nominalSampleRate(device);
  if (!(sampleRateHz > 0)) throw AudioRouterError("Could not determine device sample rate");
  const std::int64_t deviceChannels = discovery.deviceChannelCount(device, kAudioObjectPropertyScopeInput);
  if (deviceChannels < 1) throw AudioRouterError("Device has no input channels");
  ring = std::make_shared<SourceRing>(std::min(deviceChannels, maximumChannels), captureRingFrames, fastestKernels(),
                                      counters);
  hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyBufferFrameSize),
                           static_cast<std::uint32_t>(bufferFrames));
  const auto format = standardFloatFormat(sampleRateHz, ring->channels());
  if (!format) throw AudioRouterError("Failed to prepare input buffer");
  path = std::make_shared<CapturePath>(*format, ring);
  check(hardware.createIOProc(
            device, queueLabel, [path = path](AudioBufferList input) { path->take(input); }, ioProc),
        "Creating input IOProc");
  const OSStatus status = hardware.startDevice(device, ioProc);
  if (status == noErr) return;
  hardware.destroyIOProc(device, ioProc);
  ioProc = 0;
  check(status, "Starting input");
}

InputEngine::InputEngine(const EngineServices& services, AudioObjectID device, std::int64_t bufferFrames,
                         std::shared_ptr<EngineCounters> counters)
    : state_(std::make_unique<State>(services.hardware, device, std::move(counters))) {
  state_->start(services.discovery, bufferFrames);
}

InputEngine::~InputEngine() { stop(); }

const std::shared_ptr<SourceRing>& InputEngine::ring() const noexcept { return state_->ring; }

std::int64_t InputEngine::blockFrames() const noexcept { return state_->path->blockFrames(); }

void InputEngine::stop() {
  if (state_->stopped) return;
  state_->stopped = true;
  if (state_->ioProc == 0) return;
  state_->hardware.stopDevice(state_->device, state_->ioProc);
  state_->hardware.destroyIOProc(state_->device, state_->ioProc);
  state_->ioProc = 0;
}

}  // namespace brindlemux
