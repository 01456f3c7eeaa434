#include "app/controller/virtual_device_record.h"

#include <algorithm>

namespace brindlemux {

void VirtualDeviceRecord::setAppState(AppState* appState) {
  if (appState_ == appState) return;
  if (appState_) disconnect(appState_, nullptr, this, nullptr);
  appState_ = appState;
  if (appState_) {
    connect(appState_, &AppState::virtualDevicesChanged, this, &VirtualDeviceRecord::changed);
    connect(appState_, &AppState::graphsChanged, this, &VirtualDeviceRecord::changed);
  }
  Q_EMIT changed();
}

void VirtualDeviceRecord::setUID(const QString& uid) {
  if (uid_ == uid) return;
  uid_ = uid;
  Q_EMIT changed();
}

QString VirtualDeviceRecord::name() const {
  const auto found = device();
  return found ? QString::fromStdString(found->name) : QString();
}

int VirtualDeviceRecord::channels() const {
  const auto found = device();
  // A device has 2 to 16.
  return found ? static_cast<int>(found->channels) : 0;
}

bool VirtualDeviceRecord::enabled() const { return exists() && appState_->graph(uid_.toStdString()).enabled; }

int VirtualDeviceRecord::sourceCount() const {
  return exists() ? static_cast<int>(appState_->graph(uid_.toStdString()).sources.size()) : 0;
}

void VirtualDeviceRecord::setEnabled(bool enabled) {
  if (!exists()) return;
  appState_->updateGraph(uid_.toStdString(), AppState::Persist::yes,
                         [enabled](DeviceGraph& graph) { graph.enabled = enabled; });
  appState_->refreshEnvironment();
}

std::optional<VirtualDeviceConfig> VirtualDeviceRecord::device() const {
  if (!appState_) return std::nullopt;
  const auto& devices = appState_->virtualDevices();
  const auto found = std::ranges::find(devices, uid_.toStdString(), &VirtualDeviceConfig::uid);
  return found != devices.end() ? std::optional(*found) : std::nullopt;
}

}  // namespace brindlemux
