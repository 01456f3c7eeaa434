#include "engine/process_tap_capture.h"

#include <algorithm>
#include <unistd.h>

#include "engine/capture_path.h"
#include "platform/audio_router_error.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

constexpr std::string_view queueLabel = "com.brindlemux.tap-io";
constexpr std::int64_t tapRingChannels = 2;

/// The audio server's object for this very program, or nothing when the server does not know it.
std::optional<AudioObjectID> ownProcessObject(const AudioHardware& hardware) {
  PropertyValue value;
  const OSStatus status =
      hardware.propertyData(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslatePIDToProcessObject),
                            std::int32_t{getpid()}, value);
  const auto* object = std::get_if<AudioObjectID>(&value);
  if (status != noErr || object == nullptr || *object == kAudioObjectUnknown) return std::nullopt;
  return *object;
}

StreamFormat readTapFormat(const AudioHardware& hardware, AudioObjectID tap) {
  PropertyValue value;
  OSStatus status = hardware.propertyData(tap, globalAddress(kAudioTapPropertyFormat), {}, value);
  const auto* format = std::get_if<StreamFormat>(&value);
  if (status == noErr && format == nullptr) status = kAudioHardwareUnspecifiedError;
  check(status, "Reading tap format");
  return *format;
}

/// The private device that runs the tap on the clock of a real one and corrects the drift between them.
Dictionary aggregateDescription(const UUID& aggregate, const std::string& clockUID, const UUID& tap) {
  return {
      {"name", std::string("Brindlemux Tap Aggregate")},
      {"uid", "com.brindlemux.tap." + aggregate.string()},
      {"private", true},
      {"master", clockUID},
      {"subdevices", DictionaryArray{Dictionary{{"uid", clockUID}}}},
      {"tapautostart", true},
      {"taps", DictionaryArray{Dictionary{{"uid", tap.string()}, {"drift", true}}}},
  };
}

}  // namespace

struct ProcessTapCapture::State {
  State(const EngineServices& engineServices, std::shared_ptr<EngineCounters> counters)
      : services(engineServices),
        ring(std::make_shared<SourceRing>(tapRingChannels, captureRingFrames, fastestKernels(), std::move(counters))) {}

  const EngineServices services;
  const std::shared_ptr<SourceRing> ring;
  std::string clockUID;
  AudioObjectID tap = kAudioObjectUnknown;
  AudioObjectID aggregate = kAudioObjectUnknown;
  AudioDeviceIOProcID ioProc = 0;

  TapDescription describeTap(std::optional<std::vector<AudioObjectID>> processes) const;
  void start(const TapDescription& description, std::int64_t bufferFrames);
};

TapDescription ProcessTapCapture::State::describeTap(std::optional<std::vector<AudioObjectID>> processes) const {
  TapDescription description;
  description.uuid = services.uuids.next();
  description.name = "Brindlemux Tap";
  description.isPrivate = true;
  description.muteBehavior = TapMuteBehavior::unmuted;
  if (processes) {
    description.selection = TapDescription::Selection::only;
    description.processes = std::move(*processes);
    return description;
  }
  // Hearing ourselves would feed every mix back into itself.
  description.selection = TapDescription::Selection::allExcept;
  if (const auto own = ownProcessObject(services.hardware)) description.processes = {*own};
  return description;
}

void ProcessTapCapture::State::start(const TapDescription& description, std::int64_t bufferFrames) {
  AudioHardware& hardware = services.hardware;
  const StreamFormat tapFormat = readTapFormat(hardware, tap);
  auto clock = services.discovery.tapClockOutputUID();
  if (!clock) throw AudioRouterError("No hardware output device found for tap clock");
  clockUID = std::move(*clock);
  check(hardware.createAggregateDevice(aggregateDescription(services.uuids.next(), clockUID, description.uuid),
                                       aggregate),
        "Creating aggregate device");
  hardware.setPropertyData(aggregate, globalAddress(kAudioDevicePropertyBufferFrameSize),
                           static_cast<std::uint32_t>(bufferFrames));
  const auto format = standardFloatFormat(tapFormat.sampleRate, std::max<std::int64_t>(tapFormat.channelsPerFrame, 1));
  if (!format) throw AudioRouterError("Failed to prepare tap buffer");
  // Shared with the block alone: a server that refuses to stop it finds a way into a ring that nobody reads.
  const auto path = std::make_shared<CapturePath>(*format, ring);
  check(hardware.createIOProc(
            aggregate, queueLabel, [path](AudioBufferList input) { path->take(input); }, ioProc),
        "Creating tap IOProc");
  check(hardware.startDevice(aggregate, ioProc), "Starting tap IO");
}

ProcessTapCapture::ProcessTapCapture(const EngineServices& services,
                                     std::optional<std::vector<AudioObjectID>> processObjectIDs,
                                     std::int64_t bufferFrames, std::shared_ptr<EngineCounters> counters)
    : state_(std::make_unique<State>(services, std::move(counters))) {
  const TapDescription description = state_->describeTap(std::move(processObjectIDs));
  check(services.hardware.createProcessTap(description, state_->tap), "Creating process tap");
  try {
    state_->start(description, bufferFrames);
  } catch (...) {
    cleanup();
    throw;
  }
}

ProcessTapCapture::~ProcessTapCapture() { cleanup(); }

const std::shared_ptr<SourceRing>& ProcessTapCapture::ring() const noexcept { return state_->ring; }

const std::string& ProcessTapCapture::clockUID() const noexcept { return state_->clockUID; }

void ProcessTapCapture::cleanup() {
  AudioHardware& hardware = state_->services.hardware;
  if (state_->ioProc != 0 && state_->aggregate != kAudioObjectUnknown) {
    hardware.stopDevice(state_->aggregate, state_->ioProc);
    hardware.destroyIOProc(state_->aggregate, state_->ioProc);
    state_->ioProc = 0;
  }
  if (state_->aggregate != kAudioObjectUnknown) {
    hardware.destroyAggregateDevice(state_->aggregate);
    state_->aggregate = kAudioObjectUnknown;
  }
  if (state_->tap != kAudioObjectUnknown) {
    hardware.destroyProcessTap(state_->tap);
    state_->tap = kAudioObjectUnknown;
  }
}

}  // namespace brindlemux
