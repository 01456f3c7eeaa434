// The calls of AudioHardware on objects, procedures and taps: each is journaled, may be made to fail, and then acts on
// the simulated server's tables.
#include <algorithm>

#include "platform/dictionary_member.h"
#include "platform/driver_config.h"
#include "platform/simulated/property_text.h"
#include "platform/simulated/simulated_audio_hardware.h"

namespace brindlemux {
namespace {

std::string procLabel(AudioDeviceIOProcID procedure) { return "proc" + std::to_string(procedure); }

/// The selector, with the scope where it is not the global one.
std::string addressText(const AudioObjectPropertyAddress& address) {
  std::string text = propertyText(address.selector);
  if (address.scope != kAudioObjectPropertyScopeGlobal) text += ' ' + propertyText(address.scope);
  if (address.element != kAudioObjectPropertyElementMain) text += ' ' + std::to_string(address.element);
  return text;
}

std::string description(const TapDescription& tap) {
  std::string text = '"' + tap.name + '"';
  text += tap.selection == TapDescription::Selection::only ? " of" : " of all except";
  for (const AudioObjectID process : tap.processes) text += ' ' + std::to_string(process);
  text += tap.isPrivate ? ", private" : ", public";
  return text + ", mute " + std::to_string(static_cast<std::int32_t>(tap.muteBehavior));
}

/// The "uid" of every element of a list of dictionaries.
std::vector<std::string> uidsOf(const Dictionary& dictionary, const char* key) {
  std::vector<std::string> uids;
  const auto* list = member<DictionaryArray>(dictionary, key);
  if (list == nullptr) return uids;
  for (const DictionaryValue& element : *list) {
    const auto* entry = std::get_if<Dictionary>(&element.value);
    const auto* uid = entry == nullptr ? nullptr : member<std::string>(*entry, "uid");
    uids.push_back(uid == nullptr ? std::string() : *uid);
  }
  return uids;
}

}  // namespace

bool SimulatedAudioHardware::isDevice(AudioObjectID object) const {
  return objects_.device(object) != nullptr || objects_.aggregate(object) != nullptr;
}

bool SimulatedAudioHardware::hasProperty(AudioObjectID object, const AudioObjectPropertyAddress& address) const {
  const std::lock_guard guard(lock_);
  return objects_.hasProperty(object, address);
}

OSStatus SimulatedAudioHardware::propertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                                  std::uint32_t& size) const {
  const std::lock_guard guard(lock_);
  return journal_.read(address.selector, "propertyDataSize " + objects_.label(object) + ' ' + addressText(address),
                       [&] { return objects_.size(object, address, size); });
}

OSStatus SimulatedAudioHardware::propertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                              const PropertyValue& qualifier, PropertyValue& value) const {
  const std::lock_guard guard(lock_);
  std::string line = "propertyData " + objects_.label(object) + ' ' + addressText(address);
  if (qualifier != PropertyValue{}) line += " of " + propertyText(qualifier);
  return journal_.read(address.selector, std::move(line), [&] {
    if (address.selector == kAudioDevicePropertyNominalSampleRate) pollSampleRate(object);
    return objects_.value(object, address, qualifier, value);
  });
}

void SimulatedAudioHardware::pollSampleRate(AudioObjectID device) const {
  const auto pending = pendingRates_.find(device);
  if (pending == pendingRates_.end()) return;
  auto& [hertz, polls] = pending->second;
  if (--polls > 0) return;
  objects_.device(device)->nominalSampleRateHz = hertz;
  pendingRates_.erase(pending);
}

OSStatus SimulatedAudioHardware::setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                                 const PropertyValue& value) {
  const std::lock_guard guard(lock_);
  std::string line =
      "setPropertyData " + objects_.label(object) + ' ' + addressText(address) + " = " + propertyText(value);
  return journal_.change(std::move(line), [&](std::string&) -> OSStatus {
    if (!objects_.hasProperty(object, address)) {
      return isDevice(object) || object == driver_ ? kAudioHardwareUnknownPropertyError : kAudioHardwareBadObjectError;
    }
    if (object == driver_ && address == driverPropertyAddress) return configureDriver(value);
    SimulatedDevice* device = objects_.device(object);
    SimulatedAggregate* aggregate = objects_.aggregate(object);
    if (address.selector == kAudioDevicePropertyBufferFrameSize) {
      const auto* frames = std::get_if<std::uint32_t>(&value);
      if (frames == nullptr || *frames == 0) return kAudioHardwareIllegalOperationError;
      (device != nullptr ? device->bufferFrames : aggregate->bufferFrames) = *frames;
      return noErr;
    }
    if (address.selector == kAudioDevicePropertyNominalSampleRate && device != nullptr) {
      const auto* hertz = std::get_if<double>(&value);
      if (hertz == nullptr || !(*hertz > 0)) return kAudioHardwareIllegalOperationError;
      if (device->ratePolicy == SampleRatePolicy::refuses) return kAudioHardwareUnsupportedOperationError;
      const bool waits = device->ratePolicy == SampleRatePolicy::acceptsAfterPolls && device->pollsUntilAccepted > 0;
      if (waits) {
        pendingRates_[object] = {*hertz, device->pollsUntilAccepted};
      } else if (device->ratePolicy != SampleRatePolicy::fixed) {
        device->nominalSampleRateHz = *hertz;
      }
      return noErr;
    }
    return kAudioHardwareIllegalOperationError;
  });
}

OSStatus SimulatedAudioHardware::addPropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                                     Scheduler& queue, std::function<void()> listener) {
  const std::lock_guard guard(lock_);
  return journal_.change("addPropertyListener " + objects_.label(object) + ' ' + addressText(address),
                         [&](std::string&) -> OSStatus {
                           if (!objects_.hasProperty(object, address)) return kAudioHardwareUnknownPropertyError;
                           listeners_.push_back({object, address, &queue, std::move(listener)});
                           return noErr;
                         });
}

OSStatus SimulatedAudioHardware::createIOProc(AudioObjectID device, std::string_view queueLabel, IOBlock block,
                                              AudioDeviceIOProcID& procedure) {
  const std::lock_guard guard(lock_);
  return journal_.change("createIOProc " + objects_.label(device) + " on " + std::string(queueLabel),
                         [&](std::string& result) -> OSStatus {
                           if (!isDevice(device)) return kAudioHardwareBadDeviceError;
                           procedure = io_.addProc(device, queueLabel, std::move(block));
                           result = procLabel(procedure);
                           return noErr;
                         });
}

OSStatus SimulatedAudioHardware::destroyIOProc(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const std::lock_guard guard(lock_);
  return journal_.change("destroyIOProc " + objects_.label(device) + ' ' + procLabel(procedure), [&](std::string&) {
    return isDevice(device) ? io_.destroyProc(device, procedure) : kAudioHardwareBadDeviceError;
  });
}

OSStatus SimulatedAudioHardware::startDevice(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const std::lock_guard guard(lock_);
  return journal_.change("startDevice " + objects_.label(device) + ' ' + procLabel(procedure), [&](std::string&) {
    return isDevice(device) ? io_.start(device, procedure) : kAudioHardwareBadDeviceError;
  });
}

OSStatus SimulatedAudioHardware::stopDevice(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const std::lock_guard guard(lock_);
  return journal_.change("stopDevice " + objects_.label(device) + ' ' + procLabel(procedure), [&](std::string&) {
    return isDevice(device) ? io_.stop(device, procedure) : kAudioHardwareBadDeviceError;
  });
}

OSStatus SimulatedAudioHardware::createProcessTap(const TapDescription& tapDescription, AudioObjectID& tap) {
  const std::lock_guard guard(lock_);
  return journal_.change("createProcessTap " + description(tapDescription), [&](std::string& result) -> OSStatus {
    for (const AudioObjectID process : tapDescription.processes) {
      if (objects_.process(process) == nullptr) return kAudioHardwareBadObjectError;
    }
    tap = objects_.add(tapDescription);
    result = objects_.label(tap);
    return noErr;
  });
}

OSStatus SimulatedAudioHardware::destroyProcessTap(AudioObjectID tap) {
  const std::lock_guard guard(lock_);
  return journal_.change("destroyProcessTap " + objects_.label(tap), [&](std::string&) -> OSStatus {
    if (objects_.tap(tap) == nullptr) return kAudioHardwareBadObjectError;
    objects_.remove(tap);
    return noErr;
  });
}

OSStatus SimulatedAudioHardware::createAggregateDevice(const Dictionary& dictionary, AudioObjectID& device) {
  const std::lock_guard guard(lock_);
  return journal_.change("createAggregateDevice " + propertyText(DictionaryValue(dictionary)),
                         [&](std::string& result) -> OSStatus {
                           const auto* uid = member<std::string>(dictionary, "uid");
                           const auto* name = member<std::string>(dictionary, "name");
                           const auto* clock = member<std::string>(dictionary, "master");
                           if (uid == nullptr || uid->empty() || objects_.deviceWithUID(*uid) != kAudioObjectUnknown ||
                               name == nullptr || clock == nullptr) {
                             return kAudioHardwareIllegalOperationError;
                           }
                           SimulatedAggregate aggregate;
                           aggregate.description = dictionary;
                           aggregate.uid = *uid;
                           aggregate.name = *name;
                           aggregate.clockUID = *clock;
                           const std::vector<std::string> members = uidsOf(dictionary, "subdevices");
                           if (std::find(members.begin(), members.end(), *clock) == members.end())
                             return kAudioHardwareBadDeviceError;
                           for (const std::string& subdevice : members) {
                             if (objects_.device(objects_.deviceWithUID(subdevice)) == nullptr)
                               return kAudioHardwareBadDeviceError;
                           }
                           for (const std::string& tap : uidsOf(dictionary, "taps")) {
                             aggregate.taps.push_back(objects_.tapWithUUID(tap));
                             if (aggregate.taps.back() == kAudioObjectUnknown) return kAudioHardwareBadObjectError;
                           }
                           device = objects_.add(std::move(aggregate));
                           result = objects_.label(device);
                           notifyDeviceList();
                           return noErr;
                         });
}

OSStatus SimulatedAudioHardware::destroyAggregateDevice(AudioObjectID device) {
  const std::lock_guard guard(lock_);
  return journal_.change("destroyAggregateDevice " + objects_.label(device), [&](std::string&) -> OSStatus {
    if (objects_.aggregate(device) == nullptr) return kAudioHardwareBadDeviceError;
    io_.deviceWasRemoved(device);
    cycles_.deviceWasRemoved(device);
    objects_.remove(device);
    notifyDeviceList();
    return noErr;
  });
}

}  // namespace brindlemux
