#include "platform/pipewire/server_properties.h"

#include <algorithm>
#include <chrono>
#include <pipewire/extensions/metadata.h>
#include <utility>
#include <variant>

#include "model/driver_payload.h"
#include "platform/driver_config.h"
#include "platform/pipewire/json_dictionary.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

/// The window stands still meanwhile: with all that goes with a command it must not take a second.
constexpr std::chrono::milliseconds answerTimeout{800};
/// How much of that may go into waiting for a device that changes. It takes some 20 ms on an idle machine.
constexpr std::chrono::milliseconds changeTimeout{500};

BufferLayout monoBuffers(std::size_t channels) { return {std::vector<std::uint32_t>(channels, 1)}; }

StreamFormat stereoFloat(double rateHz) {
  return {.sampleRate = rateHz,
          .formatID = kAudioFormatLinearPCM,
          .formatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked | kAudioFormatFlagIsNonInterleaved,
          .bytesPerPacket = 4,
          .framesPerPacket = 1,
          .bytesPerFrame = 4,
          .channelsPerFrame = 2,
          .bitsPerChannel = 32};
}

}  // namespace

OSStatus ServerProperties::read(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                const PropertyValue& qualifier, PropertyValue& value) {
  const auto guard = server_.lock();
  std::optional<PropertyValue> found;
  if (object == kAudioObjectSystemObject) {
    found = ofSystem(address.selector, qualifier);
  } else if (const DeviceRecord* const device = server_.device(object)) {
    found = ofDevice(*device, address);
    if (address.selector == kAudioDevicePropertyBufferFrameSize) found = server_.bufferFrames(object);
  } else if (const ProcessRecord* const process = server_.process(object)) {
    found = ofProcess(*process, address.selector);
  } else if (object != kAudioObjectUnknown && object == server_.driverID()) {
    found = ofDriver(address);
  } else if (streams_.hasTap(object)) {
    if (address.selector == kAudioTapPropertyFormat) found = stereoFloat(engineSampleRateHz);
  } else if (streams_.hasAggregate(object)) {
    if (address.selector == kAudioDevicePropertyNominalSampleRate) found = engineSampleRateHz;
    if (address.selector == kAudioDevicePropertyActualSampleRate) found = server_.graphRateHz();
    if (address.selector == kAudioDevicePropertyBufferFrameSize) found = server_.bufferFrames(object);
  } else {
    return kAudioHardwareBadObjectError;
  }
  if (!found) return kAudioHardwareUnknownPropertyError;
  value = std::move(*found);
  return noErr;
}

std::optional<PropertyValue> ServerProperties::ofSystem(FourCharCode selector, const PropertyValue& qualifier) {
  switch (selector) {
    case kAudioHardwarePropertyDevices: {
      std::vector<AudioObjectID> ids;
      for (const DeviceRecord& device : server_.devices()) ids.push_back(device.id);
      return ids;
    }
    case kAudioHardwarePropertyProcessObjectList: {
      std::vector<AudioObjectID> ids;
      for (const ProcessRecord& process : server_.processes()) ids.push_back(process.id);
      return ids;
    }
    case kAudioHardwarePropertyDefaultOutputDevice: {
      const DeviceRecord* const device = server_.defaultOutputDevice();
      return device == nullptr ? kAudioObjectUnknown : device->id;
    }
    case kAudioHardwarePropertyTranslateUIDToDevice: {
      const auto* const uid = std::get_if<std::string>(&qualifier);
      if (uid == nullptr) return std::nullopt;
      const DeviceRecord* const device = server_.deviceWithUID(*uid);
      return device == nullptr ? kAudioObjectUnknown : device->id;
    }
    case kAudioHardwarePropertyTranslateBundleIDToPlugIn: {
      const auto* const bundleID = std::get_if<std::string>(&qualifier);
      if (bundleID == nullptr) return std::nullopt;
      return *bundleID == driverBundleID ? server_.driverID() : kAudioObjectUnknown;
    }
    case kAudioHardwarePropertyTranslatePIDToProcessObject: {
      const auto* const pid = std::get_if<std::int32_t>(&qualifier);
      if (pid == nullptr) return std::nullopt;
      const ProcessRecord* const process = server_.processWithPID(*pid);
      return process == nullptr ? kAudioObjectUnknown : process->id;
    }
    default:
      return std::nullopt;
  }
}

std::optional<PropertyValue> ServerProperties::ofDevice(const DeviceRecord& device,
                                                        const AudioObjectPropertyAddress& address) {
  switch (address.selector) {
    case kAudioDevicePropertyDeviceUID:
      return device.uid;
    case kAudioObjectPropertyName:
      return device.name;
    case kAudioDevicePropertyNominalSampleRate:
      // One rate drives every node of the program's, so that a frame that comes in is a frame that goes out, whatever
      // the rate is and whenever it changes. Counting frames as those of the engine's rate leaves every sample as it
      // is; converting to that rate and back would only cost sound and time.
      return engineSampleRateHz;
    case kAudioDevicePropertyActualSampleRate:
      return server_.graphRateHz();
    case kAudioDevicePropertyStreamConfiguration:
      if (address.scope == kAudioObjectPropertyScopeInput) return monoBuffers(device.capturePorts.size());
      if (address.scope == kAudioObjectPropertyScopeOutput) return monoBuffers(device.playbackPorts.size());
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

std::optional<PropertyValue> ServerProperties::ofProcess(const ProcessRecord& process, FourCharCode selector) {
  switch (selector) {
    case kAudioProcessPropertyPID:
      return process.pid;
    case kAudioProcessPropertyIsRunningOutput:
      return std::uint32_t{process.isPlaying ? 1U : 0U};
    case kAudioProcessPropertyBundleID:
      if (process.bundleID.empty()) return std::nullopt;
      return process.bundleID;
    default:
      return std::nullopt;
  }
}

std::optional<PropertyValue> ServerProperties::ofDriver(const AudioObjectPropertyAddress& address) {
  if (address != driverPropertyAddress) return std::nullopt;
  const auto& values = server_.driverMetadata()->values;
  const auto text = values.find(driverPropertyKey);
  if (text == values.end()) return PropertyValue{};
  auto dictionary = dictionaryFromJSON(text->second);
  return dictionary ? PropertyValue{std::move(*dictionary)} : PropertyValue{};
}

OSStatus ServerProperties::write(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                 const PropertyValue& value) {
  bool isDevice = false;
  {
    const auto guard = server_.lock();
    isDevice = server_.device(object) != nullptr || streams_.hasAggregate(object);
    if (!isDevice && (object == kAudioObjectUnknown || object != server_.driverID())) {
      return kAudioHardwareBadObjectError;
    }
    if (isDevice && address.selector == kAudioDevicePropertyBufferFrameSize) {
      const auto* const frames = std::get_if<std::uint32_t>(&value);
      if (frames == nullptr || *frames == 0) return kAudioHardwareIllegalOperationError;
      server_.setBufferFrames(object, *frames);
      return noErr;
    }
  }
  if (isDevice && address.selector == kAudioDevicePropertyNominalSampleRate) return writeNominalRate(value);
  if (!isDevice && address == driverPropertyAddress) return writeDriverList(value);
  return kAudioHardwareUnknownPropertyError;
}

OSStatus ServerProperties::writeNominalRate(const PropertyValue& value) {
  const auto guard = server_.lock();
  const auto* const rateHz = std::get_if<double>(&value);
  if (rateHz == nullptr) return kAudioHardwareIllegalOperationError;
  // One rate drives the whole graph, and it is the user's: it is never forced on other applications.
  return *rateHz == engineSampleRateHz ? noErr : kAudioHardwareUnsupportedOperationError;
}

OSStatus ServerProperties::writeDriverList(const PropertyValue& value) {
  const auto* const dictionary = std::get_if<DictionaryValue>(&value);
  if (dictionary == nullptr) return kAudioHardwareIllegalOperationError;
  const std::string text = jsonFromDictionary(*dictionary);
  const auto start = std::chrono::steady_clock::now();
  {
    const auto guard = server_.lock();
    const ServerMetadata* const driver = server_.driverMetadata();
    if (driver == nullptr || driver->proxy == nullptr) return kAudioHardwareNotRunningError;
    pw_metadata_set_property(reinterpret_cast<pw_metadata*>(driver->proxy), PW_ID_CORE, driverPropertyKey.data(),
                             "Spa:String:JSON", text.c_str());
  }
  if (!server_.roundTrip(answerTimeout)) return kAudioHardwareNotRunningError;
  const OSStatus status = statusOfWrite(text);
  if (status != noErr) return status;
  // A device that changes its channels is about to be another one: who opened it now would have to open it again.
  const auto now = std::chrono::steady_clock::now();
  server_.waitUntil([&] { return !isAnyChanging(text); }, std::min(now + changeTimeout, start + answerTimeout));
  return noErr;
}

// The driver answers a write by showing the list in force: this one where it accepts it.
OSStatus ServerProperties::statusOfWrite(const std::string& text) const {
  const auto guard = server_.lock();
  const ServerMetadata* const driver = server_.driverMetadata();
  if (driver == nullptr) return kAudioHardwareNotRunningError;
  const auto shown = driver->values.find(driverPropertyKey);
  const bool isAccepted = shown != driver->values.end() && isSameJSON(shown->second, text);
  return isAccepted ? noErr : kAudioHardwareIllegalOperationError;
}

bool ServerProperties::isAnyChanging(const std::string& text) const {
  const auto decoded = decodeDriverPayload(text);
  const auto* const configs = std::get_if<std::vector<VirtualDeviceConfig>>(&decoded);
  return configs != nullptr && std::ranges::any_of(*configs, [this](const VirtualDeviceConfig& config) {
           const DeviceRecord* const device = server_.deviceWithUID(config.uid);
           return device != nullptr && std::cmp_not_equal(device->playbackPorts.size(), config.channels);
         });
}

}  // namespace brindlemux
