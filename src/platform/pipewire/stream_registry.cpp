#include "platform/pipewire/stream_registry.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "platform/dictionary_member.h"
#include "platform/pipewire/stream_processes.h"
#include "platform/pipewire/tap_wiring.h"

namespace brindlemux {

StreamRegistry::~StreamRegistry() {
  const auto guard = server_.lock();
  for (const auto& entry : procedures_) server_.routes().stop(entry.first);
  for (const auto& entry : units_) server_.routes().stop(entry.first);
}

OSStatus StreamRegistry::createTap(const TapDescription& description, AudioObjectID& tap) {
  const auto guard = server_.lock();
  for (const AudioObjectID process : description.processes) {
    if (!server_.isOrWasProcess(process)) return kAudioHardwareBadObjectError;
  }
  tap = server_.ids().fresh();
  taps_.emplace(tap, description);
  return noErr;
}

OSStatus StreamRegistry::destroyTap(AudioObjectID tap) {
  const auto guard = server_.lock();
  return taps_.erase(tap) > 0 ? noErr : kAudioHardwareBadObjectError;
}

const TapDescription* StreamRegistry::tapOf(const Dictionary& aggregate) const {
  const auto* const list = member<DictionaryArray>(aggregate, "taps");
  if (list == nullptr || list->empty()) return nullptr;
  const auto* const entry = std::get_if<Dictionary>(&list->front().value);
  const auto* const uid = entry == nullptr ? nullptr : member<std::string>(*entry, "uid");
  if (uid == nullptr) return nullptr;
  const auto found =
      std::find_if(taps_.begin(), taps_.end(), [&](const auto& tap) { return tap.second.uuid.string() == *uid; });
  return found == taps_.end() ? nullptr : &found->second;
}

OSStatus StreamRegistry::createAggregate(const Dictionary& description, AudioObjectID& device) {
  const auto guard = server_.lock();
  const auto* const clockUID = member<std::string>(description, "master");
  const bool hasClock = clockUID != nullptr && server_.deviceWithUID(*clockUID) != nullptr;
  if (!hasClock || tapOf(description) == nullptr || member<std::string>(description, "uid") == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  device = server_.ids().fresh();
  aggregates_.emplace(device, description);
  return noErr;
}

OSStatus StreamRegistry::destroyAggregate(AudioObjectID device) {
  const auto guard = server_.lock();
  return aggregates_.erase(device) > 0 ? noErr : kAudioHardwareBadDeviceError;
}

StreamRegistry::Procedure* StreamRegistry::find(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const auto found = procedures_.find(procedure);
  return found == procedures_.end() || found->second.device != device ? nullptr : &found->second;
}

OSStatus StreamRegistry::createProcedure(AudioObjectID device, IOBlock block, AudioDeviceIOProcID& procedure) {
  const auto guard = server_.lock();
  if (!aggregates_.contains(device) && server_.device(device) == nullptr) return kAudioHardwareBadDeviceError;
  procedure = nextHandle_++;
  procedures_.emplace(procedure, Procedure{device, std::move(block)});
  return noErr;
}

OSStatus StreamRegistry::destroyProcedure(AudioObjectID device, AudioDeviceIOProcID procedure) {
  if (find(device, procedure) == nullptr) return kAudioHardwareBadObjectError;
  stopProcedure(device, procedure);
  procedures_.erase(procedure);
  return noErr;
}

OSStatus StreamRegistry::startProcedure(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const auto guard = server_.lock();
  const Procedure* const found = find(device, procedure);
  if (found == nullptr) return kAudioHardwareBadObjectError;
  if (server_.routes().contains(procedure)) return noErr;

  RouteLife life = RouteLife::oneServer;
  FilterShape filter;
  std::unique_ptr<FilterProcess> process;
  Wiring wiring;
  if (const auto aggregate = aggregates_.find(device); aggregate != aggregates_.end()) {
    const TapDescription* const tap = tapOf(aggregate->second);
    if (tap == nullptr) return kAudioHardwareBadDeviceError;
    filter = shape(device, "brindlemux.tap", tap->name);
    filter.inputPorts = tapInputCount;
    process = std::make_unique<TapProcess>(found->block);
    wiring = tapWiring(*tap);
    life = RouteLife::returns;
  } else {
    const DeviceRecord* const record = server_.device(device);
    if (record == nullptr) return kAudioHardwareBadDeviceError;
    filter = shape(device, "brindlemux.input." + record->uid, "Brindlemux from " + record->name);
    filter.inputPorts = static_cast<std::uint32_t>(record->capturePorts.size());
    process = std::make_unique<CaptureProcess>(filter.inputPorts, found->block);
    wiring = deviceCaptureWiring(device);
  }
  const bool started =
      server_.routes().start(procedure, life, std::move(filter), std::move(process), std::move(wiring));
  return started ? noErr : kAudioHardwareNotRunningError;
}

OSStatus StreamRegistry::stopProcedure(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const auto guard = server_.lock();
  if (find(device, procedure) == nullptr) return kAudioHardwareBadObjectError;
  server_.routes().stop(procedure);
  return noErr;
}

StreamRegistry::Unit* StreamRegistry::find(AudioUnitID unit) {
  const auto found = units_.find(unit);
  return found == units_.end() ? nullptr : &found->second;
}

OSStatus StreamRegistry::createUnit(AudioUnitID& unit) {
  unit = nextHandle_++;
  units_.emplace(unit, Unit{});
  return noErr;
}

OSStatus StreamRegistry::setUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitPropertyValue value) {
  Unit* const found = find(unit);
  if (found == nullptr) return kAudioHardwareBadObjectError;
  if (found->isInitialized) return kAudioHardwareIllegalOperationError;
  switch (property) {
    case kAudioOutputUnitProperty_EnableIO:
      // An output unit here has its output side alone.
      return std::holds_alternative<std::uint32_t>(value) ? noErr : kAudioHardwareIllegalOperationError;
    case kAudioOutputUnitProperty_CurrentDevice: {
      const auto* const device = std::get_if<std::uint32_t>(&value);
      if (device == nullptr) return kAudioHardwareIllegalOperationError;
      const auto guard = server_.lock();
      if (server_.device(*device) == nullptr) return kAudioHardwareBadDeviceError;
      found->device = *device;
      return noErr;
    }
    case kAudioUnitProperty_StreamFormat: {
      const auto* const format = std::get_if<StreamFormat>(&value);
      constexpr std::uint32_t interleavedFloat = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
      if (format == nullptr || format->formatID != kAudioFormatLinearPCM || format->formatFlags != interleavedFloat ||
          format->bitsPerChannel != 32 || format->channelsPerFrame == 0) {
        return kAudioHardwareIllegalOperationError;
      }
      found->format = *format;
      return noErr;
    }
    case kAudioUnitProperty_SetRenderCallback: {
      auto* const render = std::get_if<RenderCallback>(&value);
      if (render == nullptr || !*render) return kAudioHardwareIllegalOperationError;
      found->render = std::move(*render);
      return noErr;
    }
    default:
      return kAudioHardwareUnknownPropertyError;
  }
}

OSStatus StreamRegistry::initializeUnit(AudioUnitID unit) {
  Unit* const found = find(unit);
  if (found == nullptr) return kAudioHardwareBadObjectError;
  if (found->device == kAudioObjectUnknown || found->format.channelsPerFrame == 0 || !found->render) {
    return kAudioHardwareIllegalOperationError;
  }
  found->isInitialized = true;
  return noErr;
}

OSStatus StreamRegistry::startUnit(AudioUnitID unit) {
  const auto guard = server_.lock();
  const Unit* const found = find(unit);
  if (found == nullptr) return kAudioHardwareBadObjectError;
  if (!found->isInitialized) return kAudioHardwareIllegalOperationError;
  if (server_.routes().contains(unit)) return noErr;
  const DeviceRecord* const device = server_.device(found->device);
  if (device == nullptr) return kAudioHardwareBadDeviceError;
  FilterShape filter = shape(found->device, "brindlemux.output." + device->uid, "Brindlemux to " + device->name);
  filter.outputPorts = found->format.channelsPerFrame;
  auto process = std::make_unique<PlaybackProcess>(filter.outputPorts, found->render);
  const bool started = server_.routes().start(unit, RouteLife::oneServer, std::move(filter), std::move(process),
                                              playbackWiring(found->device));
  return started ? noErr : kAudioHardwareNotRunningError;
}

OSStatus StreamRegistry::stopUnit(AudioUnitID unit) {
  const auto guard = server_.lock();
  if (find(unit) == nullptr) return kAudioHardwareBadObjectError;
  server_.routes().stop(unit);
  return noErr;
}

OSStatus StreamRegistry::uninitializeUnit(AudioUnitID unit) {
  Unit* const found = find(unit);
  if (found == nullptr) return kAudioHardwareBadObjectError;
  stopUnit(unit);
  found->isInitialized = false;
  return noErr;
}

OSStatus StreamRegistry::disposeUnit(AudioUnitID unit) {
  if (find(unit) == nullptr) return kAudioHardwareBadObjectError;
  stopUnit(unit);
  units_.erase(unit);
  return noErr;
}

FilterShape StreamRegistry::shape(AudioObjectID device, std::string_view name, std::string_view description) const {
  FilterShape filter;
  filter.name = name;
  filter.description = description;
  filter.latencyFrames = server_.bufferFrames(device);
  filter.latencyRateHz = static_cast<std::uint32_t>(std::lround(server_.graphRateHz()));
  return filter;
}

Wiring StreamRegistry::deviceCaptureWiring(AudioObjectID device) const {
  return [this, device](const OwnPorts& own, std::vector<LinkRequest>& links) {
    const DeviceRecord* const record = server_.device(device);
    if (record == nullptr) return;
    // The loop-back of a virtual device carries sound only while somebody plays into it, which keeps it awake by
    // itself.
    const LinkMode mode = record->isVirtual ? LinkMode::passive : LinkMode::waking;
    const std::size_t channels = std::min(record->capturePorts.size(), own.inputs.size());
    for (std::size_t i = 0; i < channels; ++i) links.push_back({record->capturePorts[i], own.inputs[i], mode});
  };
}

Wiring StreamRegistry::tapWiring(const TapDescription& tap) const {
  return [this, tap](const OwnPorts& own, std::vector<LinkRequest>& links) {
    if (own.inputs.size() != tapInputCount) return;
    TapPorts inputs;
    std::ranges::copy(own.inputs, inputs.begin());
    const bool isListed = tap.selection == TapDescription::Selection::only;
    const auto selection = isListed ? ServerState::Selection::only : ServerState::Selection::allExcept;
    const UnheardPorts unheard = isListed ? UnheardPorts::taken : UnheardPorts::omitted;
    const ServerMirror& mirror = server_.mirror();
    for (const ServerNode* node : server_.playbackNodes(selection, tap.processes)) {
      if (node->isJackClient()) {
        addJackLinks(mirror, *node, unheard, inputs, links);
      } else {
        addStreamLinks(mirror.ports(node->globalID, PW_DIRECTION_OUTPUT), node->streamChannels, inputs, links);
      }
    }
  };
}

Wiring StreamRegistry::playbackWiring(AudioObjectID device) const {
  return [this, device](const OwnPorts& own, std::vector<LinkRequest>& links) {
    const DeviceRecord* const record = server_.device(device);
    if (record == nullptr) return;
    const std::size_t channels = std::min(record->playbackPorts.size(), own.outputs.size());
    for (std::size_t i = 0; i < channels; ++i) {
      links.push_back({own.outputs[i], record->playbackPorts[i], LinkMode::waking});
    }
  };
}

}  // namespace brindlemux
