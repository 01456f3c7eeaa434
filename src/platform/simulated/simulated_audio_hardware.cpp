#include "platform/simulated/simulated_audio_hardware.h"

#include <algorithm>
#include <set>

#include "model/driver_payload.h"
#include "model/fatal_error.h"
#include "platform/dictionary_member.h"

namespace brindlemux {
namespace {

SimulatedDevice virtualDevice(const VirtualDeviceConfig& config, double rateHz) {
  SimulatedDevice device;
  device.uid = config.uid;
  device.name = config.name;
  device.inputBuffers = {static_cast<std::uint32_t>(config.channels)};
  device.outputBuffers = device.inputBuffers;
  device.nominalSampleRateHz = rateHz;
  device.inputKind = SimulatedInput::loopback;
  return device;
}

/// The device that one element of the driver's list describes, or nothing for one that the driver refuses.
std::optional<VirtualDeviceConfig> acceptedDevice(const DictionaryValue& element) {
  const auto* dictionary = std::get_if<Dictionary>(&element.value);
  if (dictionary == nullptr) return std::nullopt;
  const auto* uid = member<std::string>(*dictionary, "uid");
  const auto* name = member<std::string>(*dictionary, "name");
  const auto* channels = member<std::int64_t>(*dictionary, "channels");
  if (uid == nullptr || name == nullptr || channels == nullptr) return std::nullopt;
  if (uid->empty() || name->empty() || *channels < 1 || *channels > 64) return std::nullopt;
  return VirtualDeviceConfig{.uid = *uid, .name = *name, .channels = *channels};
}

std::optional<std::vector<VirtualDeviceConfig>> acceptedDevices(const PropertyValue& value) {
  const auto* reference = std::get_if<DictionaryValue>(&value);
  const auto* dictionary = reference == nullptr ? nullptr : std::get_if<Dictionary>(&reference->value);
  const auto* elements = dictionary == nullptr ? nullptr : member<DictionaryArray>(*dictionary, "devices");
  if (elements == nullptr) return std::nullopt;
  std::vector<VirtualDeviceConfig> devices;
  std::set<std::string> uids;
  for (const DictionaryValue& element : *elements) {
    auto device = acceptedDevice(element);
    if (!device || !uids.insert(device->uid).second) return std::nullopt;
    devices.push_back(std::move(*device));
  }
  return devices;
}

PropertyValue configuration(const std::vector<VirtualDeviceConfig>& devices) {
  DictionaryArray elements;
  for (const VirtualDeviceConfig& device : devices) {
    elements.emplace_back(Dictionary{{"uid", device.uid}, {"name", device.name}, {"channels", device.channels}});
  }
  return DictionaryValue(Dictionary{{"devices", std::move(elements)}});
}

}  // namespace

SimulatedAudioHardware::SimulatedAudioHardware() : cycles_(lock_, objects_, io_) {
  StreamFormat format;
  format.sampleRate = 48000;
  format.formatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
  format.bytesPerPacket = 8;
  format.framesPerPacket = 1;
  format.bytesPerFrame = 8;
  format.channelsPerFrame = 2;
  format.bitsPerChannel = 32;
  objects_.setTapFormat(format);
}

AudioObjectID SimulatedAudioHardware::addDevice(SimulatedDevice device) {
  const std::lock_guard guard(lock_);
  return add(std::move(device));
}

void SimulatedAudioHardware::removeDevice(AudioObjectID device) {
  const std::lock_guard guard(lock_);
  remove(device);
}

AudioObjectID SimulatedAudioHardware::add(SimulatedDevice device) {
  const AudioObjectID id = objects_.add(std::move(device));
  notifyDeviceList();
  return id;
}

void SimulatedAudioHardware::remove(AudioObjectID device) {
  if (objects_.device(device) == nullptr) return;
  io_.deviceWasRemoved(device);
  cycles_.deviceWasRemoved(device);
  pendingRates_.erase(device);
  objects_.remove(device);
  notifyDeviceList();
}

SimulatedDevice& SimulatedAudioHardware::device(AudioObjectID device) {
  SimulatedDevice* found = objects_.device(device);
  if (found == nullptr) fatalError("no such simulated device");
  return *found;
}

SimulatedProcess& SimulatedAudioHardware::process(AudioObjectID process) {
  SimulatedProcess* found = objects_.process(process);
  if (found == nullptr) fatalError("no such simulated process");
  return *found;
}

AudioObjectID SimulatedAudioHardware::deviceWithUID(std::string_view uid) const {
  const std::lock_guard guard(lock_);
  return objects_.deviceWithUID(uid);
}

AudioObjectID SimulatedAudioHardware::addProcess(SimulatedProcess process) {
  const std::lock_guard guard(lock_);
  return objects_.add(std::move(process));
}

void SimulatedAudioHardware::removeProcess(AudioObjectID process) {
  const std::lock_guard guard(lock_);
  objects_.remove(process);
}

void SimulatedAudioHardware::setDefaultOutputDevice(AudioObjectID device) {
  const std::lock_guard guard(lock_);
  objects_.setDefaultOutputDevice(device);
}

void SimulatedAudioHardware::setTapFormat(const StreamFormat& format) {
  const std::lock_guard guard(lock_);
  objects_.setTapFormat(format);
}

void SimulatedAudioHardware::setTapBlockPattern(std::vector<std::uint32_t> frames) {
  const std::lock_guard guard(lock_);
  objects_.setTapBlockPattern(std::move(frames));
}

void SimulatedAudioHardware::setAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                       SimulatedAnswer answer) {
  const std::lock_guard guard(lock_);
  objects_.setAnswer(object, address, std::move(answer));
}

void SimulatedAudioHardware::clearAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address) {
  const std::lock_guard guard(lock_);
  objects_.clearAnswer(object, address);
}

void SimulatedAudioHardware::advance(std::int64_t frames) {
  if (threads_) fatalError("time passes by itself");
  cycles_.advance(frames);
}

std::int64_t SimulatedAudioHardware::now() const {
  const std::lock_guard guard(lock_);
  return cycles_.now();
}

SimulatedCycles::Recording SimulatedAudioHardware::takeOutput(AudioObjectID device) {
  const std::lock_guard guard(lock_);
  return cycles_.takeOutput(device);
}

void SimulatedAudioHardware::startThreads(SimulatedThreads::Model model) {
  threads_.reset();
  threads_.emplace(cycles_, cycles_.now(), model);
}

AudioObjectID SimulatedAudioHardware::installDriver(const std::vector<VirtualDeviceConfig>& devices) {
  const std::lock_guard guard(lock_);
  if (driver_ == kAudioObjectUnknown) driver_ = objects_.addPlugIn(std::string(driverBundleID));
  objects_.setPlugInConfiguration(devices.empty() ? PropertyValue{} : configuration(devices));
  publish(devices);
  return driver_;
}

void SimulatedAudioHardware::uninstallDriver() {
  const std::lock_guard guard(lock_);
  publish({});
  objects_.remove(driver_);
  driver_ = kAudioObjectUnknown;
}

std::vector<std::string> SimulatedAudioHardware::liveResources() const {
  const std::lock_guard guard(lock_);
  std::vector<std::string> lines;
  const auto add = [&lines](std::string line, bool running) {
    lines.push_back(std::move(line) + (running ? " running" : ""));
  };
  for (const auto& [id, proc] : io_.procs()) {
    add("proc" + std::to_string(id) + " on " + objects_.label(proc.device), proc.running);
  }
  for (const auto& [id, unit] : io_.units()) {
    add("unit" + std::to_string(id) + " on " + objects_.label(unit.device), unit.running);
  }
  for (const auto& [id, tap] : objects_.taps()) add(objects_.label(id), false);
  for (const auto& [id, aggregate] : objects_.aggregates()) add(objects_.label(id), false);
  return lines;
}

OSStatus SimulatedAudioHardware::configureDriver(const PropertyValue& value) {
  const auto devices = acceptedDevices(value);
  if (!devices) return kAudioHardwareIllegalOperationError;
  objects_.setPlugInConfiguration(value);
  publish(*devices);
  return noErr;
}

void SimulatedAudioHardware::publish(const std::vector<VirtualDeviceConfig>& devices) {
  for (const std::string& uid : publishedUIDs_) {
    const bool stays = std::any_of(devices.begin(), devices.end(),
                                   [&uid](const VirtualDeviceConfig& config) { return config.uid == uid; });
    if (!stays) remove(objects_.deviceWithUID(uid));
  }
  publishedUIDs_.clear();
  for (const VirtualDeviceConfig& config : devices) {
    publishedUIDs_.push_back(config.uid);
    const AudioObjectID known = objects_.deviceWithUID(config.uid);
    SimulatedDevice* current = objects_.device(known);
    const SimulatedDevice wanted = virtualDevice(config, driverSampleRateHz_);
    if (current != nullptr && current->outputBuffers == wanted.outputBuffers) {
      if (current->name == wanted.name) continue;
      current->name = wanted.name;
      notifyDeviceList();
      continue;
    }
    remove(known);
    add(wanted);
  }
}

void SimulatedAudioHardware::notifyDeviceList() {
  for (const Listener& listener : listeners_) {
    if (listener.object == kAudioObjectSystemObject && listener.address.selector == kAudioHardwarePropertyDevices) {
      listener.queue->post(listener.callback);
    }
  }
}

}  // namespace brindlemux
