#include "platform/pipewire/server_state.h"

#include <algorithm>

#include "model/driver_payload.h"
#include "platform/pipewire/metadata_values.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

constexpr std::chrono::milliseconds startTimeout{1000};
constexpr std::uint32_t defaultBufferFrames = 256;

std::optional<double> positiveNumber(const ServerMetadata* metadata, std::string_view key) {
  if (metadata == nullptr) return std::nullopt;
  const auto found = metadata->values.find(key);
  return found == metadata->values.end() ? std::nullopt : positiveNumberIn(found->second);
}

template <typename Record, typename Predicate>
const Record* firstOf(const std::vector<Record>& records, Predicate&& predicate) {
  const auto found = std::find_if(records.begin(), records.end(), predicate);
  return found == records.end() ? nullptr : &*found;
}

}  // namespace

ServerState::ServerState()
    : entries_(DesktopEntries::userFolders()),
      connection_(*this),
      mirror_([this] { connection_.signalUpdate(); }),
      routes_([this] { connection_.signalUpdate(); }),
      processCatalog_(mirror_, ids_, entries_) {
  connection_.start();
  // The first answer brings the objects, the second what they tell of themselves.
  if (connection_.roundTrip(startTimeout)) connection_.roundTrip(startTimeout);
}

ServerState::~ServerState() { connection_.stop(); }

const std::vector<DeviceRecord>& ServerState::devices() {
  if (devicesRevision_ != mirror_.revision()) {
    devices_ = listDevices(mirror_, ids_);
    devicesRevision_ = mirror_.revision();
    for (const DeviceRecord& device : devices_) {
      if (device.isVirtual) virtualUIDs_.try_emplace(device.id, device.uid);
    }
  }
  return devices_;
}

const DeviceRecord* ServerState::device(AudioObjectID id) {
  const DeviceRecord* const found = firstOf(devices(), [&](const DeviceRecord& device) { return device.id == id; });
  if (found != nullptr) return found;
  const auto former = virtualUIDs_.find(id);
  return former == virtualUIDs_.end() ? nullptr : deviceWithUID(former->second);
}

const DeviceRecord* ServerState::deviceWithUID(std::string_view uid) {
  return firstOf(devices(), [&](const DeviceRecord& device) { return device.uid == uid; });
}

const DeviceRecord* ServerState::defaultOutputDevice() {
  const ServerMetadata* const defaults = mirror_.metadata("default");
  if (defaults == nullptr) return nullptr;
  const auto value = defaults->values.find("default.audio.sink");
  if (value == defaults->values.end()) return nullptr;
  const auto name = nodeNameIn(value->second);
  return name ? deviceWithUID(*name) : nullptr;
}

const std::vector<ProcessRecord>& ServerState::processes() {
  if (processesRevision_ != mirror_.revision()) {
    processes_ = processCatalog_.list();
    processesRevision_ = mirror_.revision();
    for (const ProcessRecord& process : processes_) everListed_.insert(process.id);
  }
  return processes_;
}

const ProcessRecord* ServerState::process(AudioObjectID id) {
  return firstOf(processes(), [&](const ProcessRecord& process) { return process.id == id; });
}

const ProcessRecord* ServerState::processWithPID(std::int32_t pid) {
  return firstOf(processes(), [&](const ProcessRecord& process) { return process.pid == pid; });
}

bool ServerState::isOrWasProcess(AudioObjectID id) { return process(id) != nullptr || everListed_.contains(id); }

std::vector<const ServerNode*> ServerState::playbackNodes(Selection selection,
                                                          const std::vector<AudioObjectID>& listed) {
  std::vector<const ServerNode*> streams;
  for (const ProcessRecord& process : processes()) {
    const bool isListed = std::find(listed.begin(), listed.end(), process.id) != listed.end();
    if (isListed != (selection == Selection::only)) continue;
    streams.insert(streams.end(), process.playbackNodes.begin(), process.playbackNodes.end());
  }
  if (selection == Selection::allExcept) {
    const auto strays = processCatalog_.playbackNodesWithoutProcess();
    streams.insert(streams.end(), strays.begin(), strays.end());
  }
  return streams;
}

const ServerMetadata* ServerState::driverMetadata() const { return mirror_.metadata(driverBundleID); }

AudioObjectID ServerState::driverID() {
  const ServerMetadata* const driver = driverMetadata();
  // Its list comes a moment after the object. Who found a driver without one would take it for a driver without
  // devices, and not look again.
  return driver == nullptr || !driver->values.contains(driverPropertyKey)
             ? kAudioObjectUnknown
             : ids_.of("driver", mirror_.session(), driver->serial);
}

double ServerState::graphRateHz() const {
  if (const std::uint32_t running = routes_.cycleRateHz(); running > 0) return running;
  const ServerMetadata* const settings = mirror_.metadata("settings");
  if (const auto forced = positiveNumber(settings, "clock.force-rate")) return *forced;
  return positiveNumber(settings, "clock.rate").value_or(engineSampleRateHz);
}

std::uint32_t ServerState::bufferFrames(AudioObjectID device) const {
  const auto found = bufferFrames_.find(device);
  return found == bufferFrames_.end() ? defaultBufferFrames : found->second;
}

void ServerState::addDeviceListener(Scheduler& queue, std::function<void()> listener) {
  const auto guard = lock();
  listeners_.push_back({&queue, std::move(listener)});
}

std::optional<RunningApplication> ServerState::withProcessID(std::int32_t pid) const {
  const auto guard = lock();
  // Deriving the records from the mirror fills a cache; nothing that a caller can see changes.
  const ProcessRecord* const process = const_cast<ServerState*>(this)->processWithPID(pid);
  if (process == nullptr || process->displayName.empty()) return std::nullopt;
  return RunningApplication{process->displayName};
}

void ServerState::serverConnected(pw_core* core) {
  mirror_.attach(core);
  routes_.connect(core);
}

void ServerState::serverDisconnected() {
  routes_.disconnect();
  mirror_.detach();
  virtualUIDs_.clear();
}

void ServerState::serverUpdated() {
  routes_.relink(mirror_);
  DeviceSignature signature;
  for (const DeviceRecord& device : devices()) {
    signature.emplace_back(device.id, device.capturePorts.size(), device.playbackPorts.size());
  }
  if (signature == announced_) return;
  announced_ = std::move(signature);
  for (const Listener& listener : listeners_) listener.queue->post(listener.callback);
}

}  // namespace brindlemux
