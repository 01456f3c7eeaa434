// The property side of the simulated server's objects.
#include <algorithm>

#include "model/driver_payload.h"
#include "platform/driver_config.h"
#include "platform/property_size.h"
#include "platform/simulated/simulated_objects.h"

namespace brindlemux {
namespace {

std::optional<PropertyValue> text(const std::optional<std::string>& value) {
  if (!value) return std::nullopt;
  return PropertyValue(*value);
}

}  // namespace

void SimulatedObjects::setAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                 SimulatedAnswer answer) {
  answers_[{object, address}] = std::move(answer);
}

void SimulatedObjects::clearAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address) {
  answers_.erase({object, address});
}

const SimulatedAnswer* SimulatedObjects::answer(AudioObjectID object, const AudioObjectPropertyAddress& address) const {
  const auto found = answers_.find({object, address});
  return found == answers_.end() ? nullptr : &found->second;
}

bool SimulatedObjects::hasProperty(AudioObjectID object, const AudioObjectPropertyAddress& address) const {
  if (!exists(object)) return false;
  const SimulatedAnswer* instead = answer(object, address);
  if (instead != nullptr && instead->presence == SimulatedAnswer::Presence::absent) return false;
  if (instead != nullptr && instead->value) return true;
  return trueValue(object, address, {}).has_value();
}

OSStatus SimulatedObjects::size(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                std::uint32_t& byteSize) const {
  PropertyValue current;
  const OSStatus status = value(object, address, {}, current);
  if (status != noErr) return status;
  const SimulatedAnswer* instead = answer(object, address);
  byteSize = instead != nullptr && instead->byteSize ? *instead->byteSize : propertySize(current);
  return noErr;
}

OSStatus SimulatedObjects::value(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                 const PropertyValue& qualifier, PropertyValue& value) const {
  if (!exists(object)) return kAudioHardwareBadObjectError;
  if (const SimulatedAnswer* instead = answer(object, address)) {
    if (instead->presence == SimulatedAnswer::Presence::absent) return kAudioHardwareUnknownPropertyError;
    if (instead->status != noErr) return instead->status;
    if (instead->value) {
      value = *instead->value;
      return noErr;
    }
  }
  Value current = trueValue(object, address, qualifier);
  if (!current) return kAudioHardwareUnknownPropertyError;
  value = std::move(*current);
  return noErr;
}

SimulatedObjects::Value SimulatedObjects::trueValue(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                                    const PropertyValue& qualifier) const {
  if (address.element != kAudioObjectPropertyElementMain) return std::nullopt;
  if (const auto found = devices_.find(object); found != devices_.end()) return deviceValue(found->second, address);
  if (const auto found = aggregates_.find(object); found != aggregates_.end()) {
    return aggregateValue(found->second, address);
  }
  if (address.scope != kAudioObjectPropertyScopeGlobal) return std::nullopt;
  if (object == kAudioObjectSystemObject) return systemValue(address, qualifier);
  if (const auto found = processes_.find(object); found != processes_.end()) {
    return processValue(found->second, address.selector);
  }
  if (taps_.contains(object) && address.selector == kAudioTapPropertyFormat) return tapFormat_;
  if (plugIns_.contains(object) && address == driverPropertyAddress) return plugInConfiguration_;
  return std::nullopt;
}

SimulatedObjects::Value SimulatedObjects::systemValue(const AudioObjectPropertyAddress& address,
                                                      const PropertyValue& qualifier) const {
  std::vector<AudioObjectID> ids;
  switch (address.selector) {
    case kAudioHardwarePropertyDevices:
      for (const auto& entry : devices_) ids.push_back(entry.first);
      for (const auto& entry : aggregates_) ids.push_back(entry.first);
      std::sort(ids.begin(), ids.end());
      return ids;
    case kAudioHardwarePropertyProcessObjectList:
      for (const auto& entry : processes_) ids.push_back(entry.first);
      return ids;
    case kAudioHardwarePropertyDefaultOutputDevice:
      return defaultOutputDevice_;
    case kAudioHardwarePropertyTranslateUIDToDevice: {
      const auto* uid = std::get_if<std::string>(&qualifier);
      return uid == nullptr ? kAudioObjectUnknown : deviceWithUID(*uid);
    }
    case kAudioHardwarePropertyTranslateBundleIDToPlugIn: {
      const auto* bundleID = std::get_if<std::string>(&qualifier);
      for (const auto& [id, known] : plugIns_) {
        if (bundleID != nullptr && known == *bundleID) return id;
      }
      return kAudioObjectUnknown;
    }
    case kAudioHardwarePropertyTranslatePIDToProcessObject: {
      const auto* pid = std::get_if<std::int32_t>(&qualifier);
      for (const auto& [id, process] : processes_) {
        if (pid != nullptr && process.pid == *pid) return id;
      }
      return kAudioObjectUnknown;
    }
    default:
      return std::nullopt;
  }
}

SimulatedObjects::Value SimulatedObjects::deviceValue(const SimulatedDevice& device,
                                                      const AudioObjectPropertyAddress& address) const {
  if (address.selector == kAudioDevicePropertyStreamConfiguration) {
    if (address.scope == kAudioObjectPropertyScopeInput) return BufferLayout{device.inputBuffers};
    if (address.scope == kAudioObjectPropertyScopeOutput) return BufferLayout{device.outputBuffers};
    return std::nullopt;
  }
  if (address.scope != kAudioObjectPropertyScopeGlobal) return std::nullopt;
  switch (address.selector) {
    case kAudioDevicePropertyDeviceUID:
      return text(device.uid);
    case kAudioObjectPropertyName:
      return text(device.name);
    case kAudioDevicePropertyNominalSampleRate:
      return device.nominalSampleRateHz;
    case kAudioDevicePropertyBufferFrameSize:
      return device.bufferFrames;
    default:
      return std::nullopt;
  }
}

SimulatedObjects::Value SimulatedObjects::processValue(const SimulatedProcess& process, FourCharCode selector) const {
  switch (selector) {
    case kAudioProcessPropertyPID:
      return process.pid;
    case kAudioProcessPropertyBundleID:
      return text(process.bundleID);
    case kAudioProcessPropertyIsRunningOutput:
      return process.isPlaying ? 1U : 0U;
    default:
      return std::nullopt;
  }
}

SimulatedObjects::Value SimulatedObjects::aggregateValue(const SimulatedAggregate& aggregate,
                                                         const AudioObjectPropertyAddress& address) const {
  const auto clock = devices_.find(deviceWithUID(aggregate.clockUID));
  if (address.selector == kAudioDevicePropertyStreamConfiguration) {
    if (address.scope == kAudioObjectPropertyScopeInput) {
      BufferLayout layout;
      const std::vector<std::uint32_t> buffers = tapBuffers();
      for (std::size_t tap = 0; tap < aggregate.taps.size(); ++tap) {
        layout.channelsPerBuffer.insert(layout.channelsPerBuffer.end(), buffers.begin(), buffers.end());
      }
      return layout;
    }
    if (address.scope != kAudioObjectPropertyScopeOutput) return std::nullopt;
    return BufferLayout{clock == devices_.end() ? std::vector<std::uint32_t>{} : clock->second.outputBuffers};
  }
  if (address.scope != kAudioObjectPropertyScopeGlobal) return std::nullopt;
  switch (address.selector) {
    case kAudioDevicePropertyDeviceUID:
      return aggregate.uid;
    case kAudioObjectPropertyName:
      return aggregate.name;
    case kAudioDevicePropertyNominalSampleRate:
      if (clock == devices_.end()) return std::nullopt;
      return clock->second.nominalSampleRateHz;
    case kAudioDevicePropertyBufferFrameSize:
      return aggregate.bufferFrames;
    default:
      return std::nullopt;
  }
}

}  // namespace brindlemux
