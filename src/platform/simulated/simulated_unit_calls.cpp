// The calls of AudioHardware on output units.
#include "platform/simulated/audio_unit_errors.h"
#include "platform/simulated/property_text.h"
#include "platform/simulated/simulated_audio_hardware.h"

namespace brindlemux {
namespace {

constexpr AudioComponentID outputComponent = 1;

std::string unitLabel(AudioUnitID unit) { return "unit" + std::to_string(unit); }

std::string unitPropertyText(std::uint32_t property) {
  switch (property) {
    case kAudioUnitProperty_StreamFormat:
      return "StreamFormat";
    case kAudioUnitProperty_SetRenderCallback:
      return "SetRenderCallback";
    case kAudioOutputUnitProperty_CurrentDevice:
      return "CurrentDevice";
    case kAudioOutputUnitProperty_EnableIO:
      return "EnableIO";
    default:
      return "property " + std::to_string(property);
  }
}

std::string scopeText(AudioUnitScope scope) {
  switch (scope) {
    case AudioUnitScope::global:
      return "global";
    case AudioUnitScope::input:
      return "input";
    case AudioUnitScope::output:
      return "output";
  }
  return "no scope";
}

}  // namespace

AudioComponentID SimulatedAudioHardware::findComponent(FourCharCode type, FourCharCode subType,
                                                       FourCharCode manufacturer) const {
  const std::lock_guard guard(lock_);
  AudioComponentID component = 0;
  journal_.read(type,
                "findComponent " + propertyText(type) + ' ' + propertyText(subType) + ' ' + propertyText(manufacturer),
                [&]() -> OSStatus {
                  const bool known = type == kAudioUnitType_Output && subType == kAudioUnitSubType_HALOutput &&
                                     manufacturer == kAudioUnitManufacturer_Apple;
                  component = known ? outputComponent : 0;
                  return noErr;
                });
  return component;
}

OSStatus SimulatedAudioHardware::createAudioUnit(AudioComponentID component, AudioUnitID& unit) {
  const std::lock_guard guard(lock_);
  return journal_.change("createAudioUnit " + std::to_string(component), [&](std::string& result) -> OSStatus {
    if (component != outputComponent) return kAudioHardwareBadObjectError;
    if (unitCreation_ == UnitCreation::succeedsWithoutUnit) return noErr;
    unit = io_.addUnit();
    result = unitLabel(unit);
    return noErr;
  });
}

OSStatus SimulatedAudioHardware::setAudioUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitScope scope,
                                                      std::uint32_t element, AudioUnitPropertyValue value) {
  const std::lock_guard guard(lock_);
  std::string line = "setAudioUnitProperty " + unitLabel(unit) + ' ' + unitPropertyText(property) + ' ' +
                     scopeText(scope) + ' ' + std::to_string(element) + " = ";
  if (const auto* number = std::get_if<std::uint32_t>(&value)) {
    line += property == kAudioOutputUnitProperty_CurrentDevice ? objects_.label(*number) : std::to_string(*number);
  } else if (const auto* format = std::get_if<StreamFormat>(&value)) {
    line += propertyText(PropertyValue(*format));
  } else {
    line += "callback";
  }
  return journal_.change(std::move(line), [&](std::string&) -> OSStatus {
    const auto* device = std::get_if<std::uint32_t>(&value);
    if (property == kAudioOutputUnitProperty_CurrentDevice && device != nullptr && !isDevice(*device)) {
      return kAudioUnitErr_InvalidPropertyValue;
    }
    return io_.setUnitProperty(unit, property, scope, element, std::move(value));
  });
}

OSStatus SimulatedAudioHardware::initializeAudioUnit(AudioUnitID unit) {
  const std::lock_guard guard(lock_);
  return journal_.change("initializeAudioUnit " + unitLabel(unit), [&](std::string&) { return io_.initialize(unit); });
}

OSStatus SimulatedAudioHardware::startOutputUnit(AudioUnitID unit) {
  const std::lock_guard guard(lock_);
  return journal_.change("startOutputUnit " + unitLabel(unit), [&](std::string&) { return io_.start(unit); });
}

OSStatus SimulatedAudioHardware::stopOutputUnit(AudioUnitID unit) {
  const std::lock_guard guard(lock_);
  return journal_.change("stopOutputUnit " + unitLabel(unit), [&](std::string&) { return io_.stop(unit); });
}

OSStatus SimulatedAudioHardware::uninitializeAudioUnit(AudioUnitID unit) {
  const std::lock_guard guard(lock_);
  return journal_.change("uninitializeAudioUnit " + unitLabel(unit),
                         [&](std::string&) { return io_.uninitialize(unit); });
}

OSStatus SimulatedAudioHardware::disposeAudioUnit(AudioUnitID unit) {
  const std::lock_guard guard(lock_);
  return journal_.change("disposeAudioUnit " + unitLabel(unit), [&](std::string&) { return io_.dispose(unit); });
}

}  // namespace brindlemux
