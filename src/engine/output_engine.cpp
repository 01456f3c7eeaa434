#include "engine/output_engine.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "engine/planar_buffer.h"
#include "engine/sample_rate_converter.h"
#include "platform/audio_router_error.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

/// The most frames rendered or converted per step.
constexpr std::int64_t maxFrames = 8192;
/// 48 kHz frames beyond the computed need that a conversion may pull, so that its own granularity never starves it.
constexpr std::int64_t budgetMarginFrames = 64;
constexpr int maxConversionsPerCallback = 4;
constexpr int maxRatePolls = 50;
constexpr std::chrono::milliseconds ratePollInterval{20};

constexpr AudioObjectPropertyAddress global(FourCharCode selector) {
  return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

/// The device's rate once it has been asked for the engine's.
double settledSampleRate(const EngineServices& services, AudioObjectID device) {
  double sampleRateHz = services.discovery.nominalSampleRate(device);
  if (sampleRateHz != engineSampleRateHz) {
    services.hardware.setPropertyData(device, global(kAudioDevicePropertyNominalSampleRate), engineSampleRateHz);
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

/// A stretch of silence, once.
class Silence final : public ConverterSource {
 public:
  Silence(std::span<float* const> cleared, std::int64_t frames)
      : channels_(cleared.begin(), cleared.end()), frames_(frames) {}

  ConverterInput pull(std::int64_t) noexcept override {
    return {.channels = channels_, .frames = std::exchange(frames_, 0)};
  }

 private:
  const std::vector<const float*> channels_;
  std::int64_t frames_;
};

}  // namespace

struct OutputEngine::State final : ConverterSource {
  State(const EngineServices& services, AudioObjectID device, std::int64_t channelCount, RenderFunction renderFunction,
        std::shared_ptr<EngineCounters> engineCounters);

  void setUpConversion(double deviceRateHz);
  void createUnit();
  static void configureUnit(const std::shared_ptr<State>& state, double deviceRateHz);
  void stop();

  OSStatus performRender(AudioBufferList output, std::uint32_t frameCount) noexcept;
  void renderBlock(float* target, std::int64_t frames) noexcept;
  void renderConverted(float* target, std::int64_t frames) noexcept;
  std::int64_t deliver(const PlanarBuffer& source, std::int64_t offset, std::int64_t frames, float* target) noexcept;
  void renderInto48k(std::int64_t frames, PlanarBuffer& target) noexcept;
  ConverterInput pull(std::int64_t requested) noexcept override;

  AudioHardware& hardware;
  const AudioObjectID device;
  const std::int64_t channels;
  AudioUnitID unit = 0;
  RenderFunction render;
  const std::shared_ptr<EngineCounters> counters;
  PlanarBuffer scratch;
  std::atomic<bool> stopped = false;
  std::atomic<std::int64_t> blockFrames = 0;

  std::unique_ptr<SampleRateConverter> converter;
  PlanarBuffer converterInput;
  PlanarBuffer converterOutput;
  std::int64_t converterInputBudget = 0;
  double inputPerOutputFrame = 1.0;
  PlanarBuffer carry;
  std::int64_t carryCount = 0;
  std::int64_t carryOffset = 0;
};

OutputEngine::State::State(const EngineServices& services, AudioObjectID deviceID, std::int64_t channelCount,
                           RenderFunction renderFunction, std::shared_ptr<EngineCounters> engineCounters)
    : hardware(services.hardware),
      device(deviceID),
      channels(std::clamp<std::int64_t>(channelCount, 1, 16)),
      render(std::move(renderFunction)),
      counters(std::move(engineCounters)) {}

void OutputEngine::State::setUpConversion(double deviceRateHz) {
  const auto engineFormat = standardFloatFormat(engineSampleRateHz, channels);
  const auto deviceFormat = standardFloatFormat(deviceRateHz, channels);
  if (engineFormat && deviceFormat) {
    converter = SampleRateConverter::make(engineFormat->sampleRateHz, deviceFormat->sampleRateHz, channels);
  }
  if (converter == nullptr) {
    const std::string wholeRate = std::to_string(std::trunc(deviceRateHz));
    throw AudioRouterError("Device runs at " + wholeRate.substr(0, wholeRate.find('.')) +
                           " Hz and 48 kHz conversion setup failed");
  }
  converterInput = PlanarBuffer(channels, maxFrames);
  converterOutput = PlanarBuffer(channels, maxFrames);
  inputPerOutputFrame = engineSampleRateHz / deviceRateHz;
  // The filter looks ahead into silence at first. A first callback that had to fill it would pull that much more than
  // those after it, and leave the reader of a ring too close behind its writer.
  Silence silence(converterInput.channels(), SampleRateConverter::lookAheadFrames(engineSampleRateHz, deviceRateHz));
  converter->convert(silence, converterOutput.channels(), maxFrames);
  carry = PlanarBuffer(channels, maxFrames);
}

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
  const std::int64_t frames = std::min({std::int64_t{frameCount}, maxFrames, heldFrames});
  if (frames < 1) return noErr;
  blockFrames.store(frameCount, std::memory_order_relaxed);
  const auto begin = std::chrono::steady_clock::now();
  renderBlock(target.data, frames);
  counters->noteRender(std::chrono::steady_clock::now() - begin);
  return noErr;
}

void OutputEngine::State::renderBlock(float* target, std::int64_t frames) noexcept {
  if (converter != nullptr) {
    renderConverted(target, frames);
    return;
  }
  renderInto48k(frames, scratch);
  deliver(scratch, 0, frames, target);
}

void OutputEngine::State::renderConverted(float* target, std::int64_t frames) noexcept {
  std::int64_t delivered = deliver(carry, carryOffset, std::min(frames, carryCount), target);
  const bool carryWasUsedUp = carryCount <= frames;
  carryCount -= delivered;
  carryOffset = carryWasUsedUp ? 0 : carryOffset + delivered;

  for (int conversion = 0; conversion < maxConversionsPerCallback && delivered < frames; ++conversion) {
    const std::int64_t needed = frames - delivered;
    converterInputBudget =
        static_cast<std::int64_t>(std::ceil(inputPerOutputFrame * static_cast<double>(needed))) + budgetMarginFrames;
    const std::int64_t produced = converter->convert(*this, converterOutput.channels(), maxFrames);
    const std::int64_t used = deliver(converterOutput, 0, std::min(produced, needed), target + delivered * channels);
    delivered += used;
    if (produced == used) continue;
    carryCount = produced - used;
    carryOffset = 0;
    for (std::int64_t channel = 0; channel < channels; ++channel) {
      std::copy_n(converterOutput.channel(channel) + used, carryCount, carry.channel(channel));
    }
  }
}

/// Interleaves frames of a planar buffer into the device's. Returns how many.
std::int64_t OutputEngine::State::deliver(const PlanarBuffer& source, std::int64_t offset, std::int64_t frames,
                                          float* target) noexcept {
  for (std::int64_t channel = 0; channel < channels && frames > 0; ++channel) {
    const float* from = source.channel(channel) + offset;
    float* to = target + channel;
    for (std::int64_t frame = 0; frame < frames; ++frame) to[frame * channels] = from[frame];
  }
  return frames;
}

void OutputEngine::State::renderInto48k(std::int64_t frames, PlanarBuffer& target) noexcept {
  target.clear(frames);
  render(target.channels(), frames);
}

ConverterInput OutputEngine::State::pull(std::int64_t requested) noexcept {
  if (converterInputBudget < 1) return {};
  const std::int64_t frames = std::min({requested, maxFrames, converterInputBudget});
  renderInto48k(frames, converterInput);
  converterInputBudget -= frames;
  return {.channels = converterInput.channels(), .frames = frames};
}

OutputEngine::OutputEngine(const EngineServices& services, AudioObjectID device, std::int64_t channels,
                           std::int64_t bufferFrames, RenderFunction render, std::shared_ptr<EngineCounters> counters)
    : state_(std::make_shared<State>(services, device, channels, std::move(render), std::move(counters))) {
  const double deviceRateHz = settledSampleRate(services, device);
  services.hardware.setPropertyData(device, global(kAudioDevicePropertyBufferFrameSize),
                                    static_cast<std::uint32_t>(bufferFrames));
  state_->scratch = PlanarBuffer(state_->channels, maxFrames);
  if (deviceRateHz != engineSampleRateHz) state_->setUpConversion(deviceRateHz);
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
