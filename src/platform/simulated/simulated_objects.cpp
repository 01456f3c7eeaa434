#include "platform/simulated/simulated_objects.h"

#include <algorithm>

namespace brindlemux {
namespace {

template <typename Table>
auto find(Table& table, AudioObjectID object) -> decltype(&table.begin()->second) {
  const auto found = table.find(object);
  return found == table.end() ? nullptr : &found->second;
}

}  // namespace

AudioObjectID SimulatedObjects::named(std::string label) {
  labels_[++lastID_] = std::move(label);
  return lastID_;
}

AudioObjectID SimulatedObjects::add(SimulatedDevice device) {
  const AudioObjectID id = named(device.uid.value_or("device without UID"));
  devices_.emplace(id, std::move(device));
  return id;
}

AudioObjectID SimulatedObjects::add(SimulatedProcess process) {
  const AudioObjectID id = named("process " + std::to_string(process.pid));
  processes_.emplace(id, std::move(process));
  return id;
}

AudioObjectID SimulatedObjects::add(TapDescription description) {
  const AudioObjectID id = named("tap" + std::to_string(++tapCount_));
  taps_.emplace(id, std::move(description));
  return id;
}

AudioObjectID SimulatedObjects::add(SimulatedAggregate aggregate) {
  const AudioObjectID id = named("aggregate" + std::to_string(++aggregateCount_));
  aggregates_.emplace(id, std::move(aggregate));
  return id;
}

AudioObjectID SimulatedObjects::addPlugIn(std::string bundleID) {
  const AudioObjectID id = named("driver");
  plugIns_.emplace(id, std::move(bundleID));
  return id;
}

void SimulatedObjects::remove(AudioObjectID object) {
  devices_.erase(object);
  processes_.erase(object);
  taps_.erase(object);
  aggregates_.erase(object);
  plugIns_.erase(object);
  if (defaultOutputDevice_ == object) defaultOutputDevice_ = kAudioObjectUnknown;
}

SimulatedDevice* SimulatedObjects::device(AudioObjectID object) { return find(devices_, object); }

SimulatedProcess* SimulatedObjects::process(AudioObjectID object) { return find(processes_, object); }

SimulatedAggregate* SimulatedObjects::aggregate(AudioObjectID object) { return find(aggregates_, object); }

const SimulatedDevice* SimulatedObjects::device(AudioObjectID object) const { return find(devices_, object); }

const SimulatedAggregate* SimulatedObjects::aggregate(AudioObjectID object) const { return find(aggregates_, object); }

const TapDescription* SimulatedObjects::tap(AudioObjectID object) const { return find(taps_, object); }

std::vector<std::uint32_t> SimulatedObjects::tapBuffers() const {
  const bool isPlanar = (tapFormat_.formatFlags & kAudioFormatFlagIsNonInterleaved) != 0;
  if (isPlanar) return std::vector<std::uint32_t>(tapFormat_.channelsPerFrame, 1);
  return {tapFormat_.channelsPerFrame};
}

AudioObjectID SimulatedObjects::deviceWithUID(std::string_view uid) const {
  for (const auto& [id, device] : devices_) {
    if (device.uid == uid) return id;
  }
  for (const auto& [id, aggregate] : aggregates_) {
    if (aggregate.uid == uid) return id;
  }
  return kAudioObjectUnknown;
}

AudioObjectID SimulatedObjects::tapWithUUID(std::string_view uuid) const {
  for (const auto& [id, description] : taps_) {
    if (description.uuid.string() == uuid) return id;
  }
  return kAudioObjectUnknown;
}

std::string SimulatedObjects::label(AudioObjectID object) const {
  if (object == kAudioObjectSystemObject) return "system";
  const auto found = labels_.find(object);
  return found == labels_.end() ? "object " + std::to_string(object) : found->second;
}

bool SimulatedObjects::exists(AudioObjectID object) const {
  return object == kAudioObjectSystemObject || devices_.contains(object) || processes_.contains(object) ||
         taps_.contains(object) || aggregates_.contains(object) || plugIns_.contains(object);
}

}  // namespace brindlemux
