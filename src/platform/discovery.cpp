#include "platform/discovery.h"

#include <algorithm>
#include <unistd.h>

#include "model/driver_payload.h"
#include "model/fatal_error.h"
#include "platform/localized_name_order.h"

namespace brindlemux {
namespace {

constexpr std::string_view tapAggregateUIDPrefix = "com.brindlemux.tap.";

/// The property's value where the read succeeds with this type; a value of another type is a failed read.
template <typename Value>
std::optional<Value> read(const AudioHardware& hardware, AudioObjectID object,
                          const AudioObjectPropertyAddress& address, const PropertyValue& qualifier = {}) {
  PropertyValue value;
  if (hardware.propertyData(object, address, qualifier, value) != noErr) return std::nullopt;
  Value* typed = std::get_if<Value>(&value);
  if (typed == nullptr) return std::nullopt;
  return std::move(*typed);
}

/// The IDs of a list property, no more of them than its announced size holds.
std::vector<AudioObjectID> readIDs(const AudioHardware& hardware, const AudioObjectPropertyAddress& address,
                                   std::uint32_t byteSize) {
  auto ids = read<std::vector<AudioObjectID>>(hardware, kAudioObjectSystemObject, address);
  if (!ids) return {};
  ids->resize(std::min<std::size_t>(ids->size(), byteSize / sizeof(AudioObjectID)));
  return std::move(*ids);
}

std::optional<AudioObjectID> knownObject(std::optional<AudioObjectID> object) {
  return object == kAudioObjectUnknown ? std::nullopt : object;
}

bool canClockTap(std::string_view uid) {
  return uid.find(virtualDeviceUIDPrefix) == std::string_view::npos && !uid.starts_with(tapAggregateUIDPrefix);
}

/// The last part of a dotted identifier that is not empty.
std::string_view lastComponent(std::string_view identifier) {
  while (identifier.ends_with('.')) identifier.remove_suffix(1);
  const std::size_t dot = identifier.rfind('.');
  return dot == std::string_view::npos ? identifier : identifier.substr(dot + 1);
}

std::string fallbackName(const AudioProcessInfo& process) {
  const std::string_view component = process.bundleID ? lastComponent(*process.bundleID) : std::string_view{};
  return component.empty() ? "PID " + std::to_string(process.pid) : std::string(component);
}

}  // namespace

std::vector<AudioDeviceInfo> Discovery::listAudioDevices() const {
  const AudioObjectPropertyAddress address = globalAddress(kAudioHardwarePropertyDevices);
  std::uint32_t byteSize = 0;
  if (hardware_.propertyDataSize(kAudioObjectSystemObject, address, byteSize) != noErr) return {};

  std::vector<AudioDeviceInfo> devices;
  for (const AudioObjectID id : readIDs(hardware_, address, byteSize)) {
    std::optional<std::string> uid = getStringProperty(id, kAudioDevicePropertyDeviceUID);
    if (!uid) continue;
    std::optional<std::string> name = getStringProperty(id, kAudioObjectPropertyName);
    if (!name) continue;
    AudioDeviceInfo& device = devices.emplace_back();
    device.id = id;
    device.uid = std::move(*uid);
    device.name = std::move(*name);
    device.inputChannels = deviceChannelCount(id, kAudioObjectPropertyScopeInput);
    device.outputChannels = deviceChannelCount(id, kAudioObjectPropertyScopeOutput);
  }
  return devices;
}

std::vector<AudioProcessInfo> Discovery::listAudioProcesses() const {
  const std::int32_t ownPID = getpid();
  const AudioObjectPropertyAddress address = globalAddress(kAudioHardwarePropertyProcessObjectList);
  std::uint32_t byteSize = 0;
  if (hardware_.propertyDataSize(kAudioObjectSystemObject, address, byteSize) != noErr || byteSize == 0) return {};

  std::vector<AudioProcessInfo> processes;
  for (const AudioObjectID id : readIDs(hardware_, address, byteSize)) {
    const auto pid = read<std::int32_t>(hardware_, id, globalAddress(kAudioProcessPropertyPID));
    if (!pid || *pid == ownPID) continue;
    AudioProcessInfo process;
    process.id = id;
    process.pid = *pid;
    process.bundleID = getStringProperty(id, kAudioProcessPropertyBundleID);
    process.isPlaying =
        read<std::uint32_t>(hardware_, id, globalAddress(kAudioProcessPropertyIsRunningOutput)).value_or(0) != 0;

    const std::optional<RunningApplication> application = applications_.withProcessID(*pid);
    if (!application && !process.isPlaying) continue;
    if (application && application->localizedName) {
      process.name = *application->localizedName;
    } else {
      process.name = fallbackName(process);
    }
    processes.push_back(std::move(process));
  }

  const LocalizedNameOrder precedes;
  std::stable_sort(processes.begin(), processes.end(),
                   [&precedes](const AudioProcessInfo& left, const AudioProcessInfo& right) {
                     if (left.isPlaying != right.isPlaying) return left.isPlaying;
                     return precedes(left.name, right.name);
                   });
  return processes;
}

std::optional<std::string> Discovery::getStringProperty(AudioObjectID object, FourCharCode selector) const {
  const AudioObjectPropertyAddress address = globalAddress(selector);
  if (!hardware_.hasProperty(object, address)) return std::nullopt;
  return read<std::string>(hardware_, object, address);
}

std::int64_t Discovery::deviceChannelCount(AudioObjectID device, FourCharCode scope) const {
  const AudioObjectPropertyAddress address = {kAudioDevicePropertyStreamConfiguration, scope,
                                              kAudioObjectPropertyElementMain};
  std::uint32_t byteSize = 0;
  if (hardware_.propertyDataSize(device, address, byteSize) != noErr || byteSize == 0) return 0;
  const auto layout = read<BufferLayout>(hardware_, device, address);
  if (!layout) return 0;
  std::int64_t sum = 0;
  for (const std::uint32_t channels : layout->channelsPerBuffer) {
    if (__builtin_add_overflow(sum, std::int64_t{channels}, &sum)) fatalError("overflow of a device's channel count");
  }
  return sum;
}

std::optional<AudioObjectID> Discovery::findDevice(std::string_view uid) const {
  return knownObject(read<AudioObjectID>(hardware_, kAudioObjectSystemObject,
                                         globalAddress(kAudioHardwarePropertyTranslateUIDToDevice), std::string(uid)));
}

std::optional<AudioObjectID> Discovery::defaultDeviceID(FourCharCode selector) const {
  return knownObject(read<AudioObjectID>(hardware_, kAudioObjectSystemObject, globalAddress(selector)));
}

double Discovery::nominalSampleRate(AudioObjectID device) const {
  return read<double>(hardware_, device, globalAddress(kAudioDevicePropertyNominalSampleRate)).value_or(0);
}

double Discovery::actualSampleRate(AudioObjectID device) const {
  const auto actual = read<double>(hardware_, device, globalAddress(kAudioDevicePropertyActualSampleRate));
  return actual ? *actual : nominalSampleRate(device);
}

std::optional<std::string> Discovery::tapClockOutputUID() const {
  if (const auto device = defaultDeviceID(kAudioHardwarePropertyDefaultOutputDevice)) {
    auto uid = getStringProperty(*device, kAudioDevicePropertyDeviceUID);
    if (uid && canClockTap(*uid)) return uid;
  }
  for (AudioDeviceInfo& device : listAudioDevices()) {
    if (device.outputChannels >= 1 && canClockTap(device.uid)) return std::move(device.uid);
  }
  return std::nullopt;
}

}  // namespace brindlemux
