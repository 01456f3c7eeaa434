#include "engine/output_engine.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <utility>

#include "engine/converted_render.h"
#include "engine/planar_buffer.h"
#include "platform/audio_router_error.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

constexpr int maxRatePolls = 50;
constexpr std::chrono::milliseconds ratePollInterval{20};

/// The device's rate once it has been asked for the engine's.
double settledSampleRate(const EngineServices& services, AudioObjectID device) {
  double sampleRateHz = services.discovery.nominalSampleRate(device);
  if (sampleRateHz != engineSampleRateHz) {
    services.hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyNominalSampleRate), engineSampleRateHz);
    for (int poll = 0; poll < maxRatePolls && sampleRateHz != engineSampleRateHz; ++poll) {
      services.clock.sleep(ratePollInterval);
      sampleRateHz = services.discovery.nominalSampleRate(device);
    }
  }
  return sampleRateHz > 0 ? sampleRateHz : engineSampleRateHz;
}

StreamFormat interleavedFloatFormat(double sampleRateHz, std::int64_t channels) {
  const auto channelCount = static_cast<std::uint32_t>(channels);
  StreamFormat format;
  format.sampleRate = sampleRateHz;
  format.formatID = kAudioFormatLinearPCM;
  format.formatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
  format.bytesPerPacket = 4 * channelCount;
  format.framesPerPacket = 1;
  format.bytesPerFrame = 4 * channelCount;
  format.channelsPerFrame = channelCount;
  format.bitsPerChannel = 32;
  return format;
}

}  // namespace

struct OutputEngine::State {
  State(const EngineServices& services, AudioObjectID device, std::int64_t channelCount, RenderFunction renderFunction,
        std::shared_ptr<EngineCounters> engineCounters);

  void createUnit();
  static void configureUnit(const std::shared_ptr<State>& state, double deviceRateHz);
  void stop();

  OSStatus performRender(AudioBufferList output, std::uint32_t frameCount) noexcept;
  void renderBlock(float* target, std::int64_t frames) noexcept;

  AudioHardware& hardware;
  const AudioObjectID device;
  const std::int64_t channels;
  AudioUnitID unit = 0;
  RenderFunction render;
  const std::shared_ptr<EngineCounters> counters;
  PlanarBuffer scratch;
  /// For a device that refuses the engine's rate.
  std::unique_ptr<ConvertedRender> converted;
  std::atomic<bool> stopped = false;
  std::atomic<std::int64_t> blockFrames = 0;
};

OutputEngine::State::State(const EngineServices& services, AudioObjectID deviceID, std::int64_t channelCount,
                           RenderFunction renderFunction, std::shared_ptr<EngineCounters> engineCounters)
    : hardware(services.hardware),
      device(deviceID),
      channels(std::clamp<std::int64_t>(channelCount, 1, maximumChannels)),
      render(std::move(renderFunction)),
      counters(std::move(engineCounters)) {}

void OutputEngine::State::createUnit() {
  const AudioComponentID component =
      hardware.findComponent(kAudioUnitType_Output, kAudioUnitSubType_HALOutput, kAudioUnitManufacturer_Apple);
  if (component == 0) throw AudioRouterError("HAL output component not found");
  check(hardware.createAudioUnit(component, unit), "Creating audio unit");
  if (unit == 0) throw AudioRouterError("Audio unit was not created");
}

void OutputEngine::State::configureUnit(const std::shared_ptr<State>& state, double deviceRateHz) {
  AudioHardware& hardware = state->hardware;
  const AudioUnitID unit = state->unit;
  hardware.setAudioUnitProperty(unit, kAudioOutputUnitProperty_EnableIO, AudioUnitScope::input, 1, 0U);
  hardware.setAudioUnitProperty(unit, kAudioOutputUnitProperty_EnableIO, AudioUnitScope::output, 0, 1U);
  check(hardware.setAudioUnitProperty(unit, kAudioOutputUnitProperty_CurrentDevice, AudioUnitScope::global, 0,
                                      state->device),
        "Setting output device");
  check(hardware.setAudioUnitProperty(unit, kAudioUnitProperty_StreamFormat, AudioUnitScope::input, 0,
                                      interleavedFloatFormat(deviceRateHz, state->channels)),
        "Setting client format");
  const RenderCallback callback = [state](AudioBufferList output, std::uint32_t frameCount) {
    return state->performRender(output, frameCount);
  };
  check(hardware.setAudioUnitProperty(unit, kAudioUnitProperty_SetRenderCallback, AudioUnitScope::input, 0, callback),
        "Setting render callback");
  check(hardware.initializeAudioUnit(unit), "Initializing audio unit");
  check(hardware.startOutputUnit(unit), "Starting audio unit");
}

void OutputEngine::State::stop() {
  if (stopped.exchange(true)) return;
  if (unit == 0) return;
  hardware.stopOutputUnit(unit);
  hardware.uninitializeAudioUnit(unit);
  hardware.disposeAudioUnit(unit);
  unit = 0;
}

OSStatus OutputEngine::State::performRender(AudioBufferList output, std::uint32_t frameCount) noexcept {
  if (output.empty() || output.front().data == nullptr) return noErr;
  const AudioBuffer& target = output.front();
  std::memset(target.data, 0, target.byteSize);
  if (stopped) return noErr;
  const std::int64_t heldFrames = target.byteSize / (std::int64_t{sizeof(float)} * channels);
  const std::int64_t frames = std::min({std::int64_t{frameCount}, maximumRenderFrames, heldFrames});
  if (frames < 1) return noErr;
  blockFrames.store(frameCount, std::memory_order_relaxed);
  const auto begin = std::chrono::steady_clock::now();
  renderBlock(target.data, frames);
  counters->noteRender(std::chrono::steady_clock::now() - begin);
  return noErr;
}

void OutputEngine::State::renderBlock(float* target, std::int64_t frames) noexcept {
  if (converted != nullptr) {
    converted->fill(target, frames);
    return;
  }
  scratch.clear(frames);
  render(scratch.channels(), frames);
  scratch.interleave(0, frames, target);
}

OutputEngine::OutputEngine(const EngineServices& services, AudioObjectID device, std::int64_t channels,
                           std::int64_t bufferFrames, RenderFunction render, std::shared_ptr<EngineCounters> counters)
    : state_(std::make_shared<State>(services, device, channels, std::move(render), std::move(counters))) {
  const double deviceRateHz = settledSampleRate(services, device);
  services.hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyBufferFrameSize),
                                    static_cast<std::uint32_t>(bufferFrames));
  state_->scratch = PlanarBuffer(state_->channels, maximumRenderFrames);
  if (deviceRateHz != engineSampleRateHz) {
    state_->converted = std::make_unique<ConvertedRender>(state_->render, deviceRateHz, state_->channels);
  }
  state_->createUnit();
  try {
    State::configureUnit(state_, deviceRateHz);
  } catch (...) {
    services.hardware.disposeAudioUnit(state_->unit);
    throw;
  }
}

OutputEngine::~OutputEngine() { stop(); }

std::int64_t OutputEngine::channels() const noexcept { return state_->channels; }

std::int64_t OutputEngine::blockFrames() const noexcept { return state_->blockFrames.load(std::memory_order_relaxed); }

void OutputEngine::stop() { state_->stop(); }

OSStatus OutputEngine::performRender(AudioBufferList output, std::uint32_t frameCount) noexcept {
  return state_->performRender(output, frameCount);
}

}  // namespace brindlemux
