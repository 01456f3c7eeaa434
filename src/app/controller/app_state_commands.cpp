// The controller's commands: the set of virtual devices, and the edits of their graphs.
#include <algorithm>
#include <utility>

#include "app/controller/app_state.h"
#include "app/controller/structural_change.h"

namespace brindlemux {
namespace {

constexpr const char* newDeviceUIDPrefix = "BrindlemuxAudio_UID_";
constexpr const char* newDeviceNamePrefix = "Brindlemux Device ";
constexpr std::int64_t newDeviceChannels = 2;

}  // namespace

void AppState::createVirtualDevice() {
  // The number is that of the list's end, not the lowest that is free: only the UID tells devices apart.
  const std::string number = std::to_string(virtualDevices_.size() + 1);
  const VirtualDeviceConfig created{.uid = newDeviceUIDPrefix + services_.engine.uuids.next().string(),
                                    .name = newDeviceNamePrefix + number,
                                    .channels = newDeviceChannels};
  std::vector<VirtualDeviceConfig> devices = virtualDevices_;
  devices.push_back(created);
  if (!writeDevices(devices, "Failed to create virtual device")) return;
  setGraph(created.uid, DeviceGraph(created.uid));
  graphs_.save();
  reload();
  setSelectedDeviceUID(created.uid);
}

void AppState::deleteVirtualDevice(const QString& uidText) {
  const std::string uid = uidText.toStdString();
  std::vector<VirtualDeviceConfig> devices = virtualDevices_;
  std::erase_if(devices, [&uid](const VirtualDeviceConfig& device) { return device.uid == uid; });
  if (!writeDevices(devices, "Failed to delete virtual device")) return;
  discardEngine(uid);
  graphs_.erase(uid);
  Q_EMIT graphsChanged();
  graphs_.save();
  reload();
}

void AppState::renameVirtualDevice(const QString& uidText, const QString& nameText) {
  const std::string uid = uidText.toStdString();
  const std::string name = nameText.trimmed().toStdString();
  const VirtualDeviceConfig* device = findDevice(uid);
  if (name.empty() || device == nullptr || device->name == name) return;
  std::vector<VirtualDeviceConfig> devices = virtualDevices_;
  std::ranges::find(devices, uid, &VirtualDeviceConfig::uid)->name = name;
  if (writeDevices(devices, "Failed to rename device")) reload();
}

void AppState::setChannels(const QString& uidText, int channels) {
  const std::string uid = uidText.toStdString();
  const std::int64_t count = std::clamp<std::int64_t>(channels, minimumChannels, maximumChannels);
  const VirtualDeviceConfig* device = findDevice(uid);
  if (device == nullptr || device->channels == count) return;
  std::vector<VirtualDeviceConfig> devices = virtualDevices_;
  std::ranges::find(devices, uid, &VirtualDeviceConfig::uid)->channels = count;
  if (!writeDevices(devices, "Failed to change channel count")) return;
  // The device has another format: its engine is made anew by the reload below.
  discardEngine(uid);
  DeviceGraph narrowed = graph(uid);
  const auto isGone = [count](const auto& wire) { return wire.outputChannel >= count; };
  std::erase_if(narrowed.wires, isGone);
  std::erase_if(narrowed.monitorWires, isGone);
  setGraph(uid, std::move(narrowed));
  graphs_.save();
  reload();
  refreshLater();
}

bool AppState::writeDevices(const std::vector<VirtualDeviceConfig>& devices, const char* failure) {
  isListInDoubt_ = !driver_.writeDevices(devices);
  if (!isListInDoubt_) return true;
  setErrorMessage(failure);
  return false;
}

void AppState::refreshLater() {
  if (isShutDown_) return;
  const auto entry = delayedRefreshes_.emplace(delayedRefreshes_.end());
  *entry = services_.scheduler.after(refreshDelay, [this, entry] {
    delayedRefreshes_.erase(entry);
    refreshEnvironment();
  });
}

void AppState::updateGraph(const std::string& uid, Persist persist, const std::function<void(DeviceGraph&)>& mutation) {
  // The caller's text may be part of what this replaces.
  const std::string deviceUID = uid;  // NOLINT(performance-unnecessary-copy-initialization): hence the copy.
  const bool isKnown = graphs_.contains(deviceUID);
  const DeviceGraph previous = graph(deviceUID);
  DeviceGraph edited = previous;
  mutation(edited);
  setGraph(deviceUID, edited);
  if (persist == Persist::yes) graphs_.save();

  // Looked up after the announcement above, whose observers may have removed either.
  const auto engine = engines_.find(deviceUID);
  if (engine != engines_.end()) {
    if (!isKnown || isStructuralChange(previous, edited)) engine->second->stopAll();
    if (const VirtualDeviceConfig* device = findDevice(deviceUID)) {
      engine->second->setGraph(edited);
      engine->second->reconcile(device->channels, processes_, audioDevices_);
    }
  }
  setEngineStateTick(engineStateTick_ + 1);
}

}  // namespace brindlemux
