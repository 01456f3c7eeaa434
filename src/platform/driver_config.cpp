#include "platform/driver_config.h"

#include <algorithm>
#include <string>

#include "platform/dictionary_member.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

std::optional<VirtualDeviceConfig> deviceFrom(const Dictionary& element) {
  const auto* uid = member<std::string>(element, "uid");
  const auto* name = member<std::string>(element, "name");
  const auto* channels = member<std::int64_t>(element, "channels");
  if (uid == nullptr || name == nullptr || channels == nullptr) return std::nullopt;
  // Mixes are built from stereo pairs, so an odd count that a driver may report loses its last channel.
  return VirtualDeviceConfig{.uid = *uid,
                             .name = *name,
                             .channels = std::clamp<std::int64_t>(*channels, 2, maximumChannels) & ~std::int64_t{1}};
}

bool holdsOnlyDictionaries(const DictionaryArray& array) {
  return std::all_of(array.begin(), array.end(),
                     [](const DictionaryValue& element) { return std::holds_alternative<Dictionary>(element.value); });
}

}  // namespace

std::optional<AudioObjectID> DriverConfig::pluginObjectID() const {
  constexpr AudioObjectPropertyAddress address = globalAddress(kAudioHardwarePropertyTranslateBundleIDToPlugIn);
  PropertyValue value;
  if (hardware_.propertyData(kAudioObjectSystemObject, address, std::string(driverBundleID), value) != noErr) {
    return std::nullopt;
  }
  const auto* plugin = std::get_if<AudioObjectID>(&value);
  if (plugin == nullptr || *plugin == kAudioObjectUnknown) return std::nullopt;
  return *plugin;
}

std::optional<std::vector<VirtualDeviceConfig>> DriverConfig::readDevices() const {
  const std::optional<AudioObjectID> plugin = pluginObjectID();
  if (!plugin) return std::nullopt;
  PropertyValue value;
  if (hardware_.propertyData(*plugin, driverPropertyAddress, {}, value) != noErr) return std::nullopt;
  const auto* reference = std::get_if<DictionaryValue>(&value);
  const auto* dictionary = reference == nullptr ? nullptr : std::get_if<Dictionary>(&reference->value);
  if (dictionary == nullptr) return std::nullopt;
  const auto* elements = member<DictionaryArray>(*dictionary, "devices");
  if (elements == nullptr || !holdsOnlyDictionaries(*elements)) return std::nullopt;

  std::vector<VirtualDeviceConfig> devices;
  for (const DictionaryValue& element : *elements) {
    if (auto device = deviceFrom(std::get<Dictionary>(element.value))) devices.push_back(std::move(*device));
  }
  return devices;
}

bool DriverConfig::writeDevices(const std::vector<VirtualDeviceConfig>& devices) {
  const std::optional<AudioObjectID> plugin = pluginObjectID();
  if (!plugin) return false;
  DictionaryArray elements;
  elements.reserve(devices.size());
  for (const VirtualDeviceConfig& device : devices) {
    elements.emplace_back(Dictionary{{"uid", device.uid}, {"name", device.name}, {"channels", device.channels}});
  }
  const DictionaryValue configuration = Dictionary{{"devices", std::move(elements)}};
  return hardware_.setPropertyData(*plugin, driverPropertyAddress, configuration) == noErr;
}

}  // namespace brindlemux
