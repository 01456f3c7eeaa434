#include "app/controller/app_state.h"

#include <algorithm>
#include <utility>

namespace brindlemux {
namespace {

QString textOf(const std::optional<std::string>& text) { return text ? QString::fromStdString(*text) : QString(); }

std::optional<std::string> optionalOf(const QString& text) {
  return text.isEmpty() ? std::nullopt : std::optional(text.toStdString());
}

}  // namespace

AppState::AppState(const AppServices& services, QObject* parent)
    : QObject(parent), services_(services), driver_(services.engine.hardware), graphs_(services.graphStore) {
  reload();
  refreshTimer_ = services_.scheduler.every(refreshInterval, [this] { refreshEnvironment(); });
  meterTimer_ = services_.scheduler.every(meterInterval, [this] { refreshMeters(); });
  // A listener stays registered for as long as the hardware lives, which is longer than the controller does.
  devicesListener_ = [controller = QPointer(this)] {
    if (controller) controller->deviceListChanged();
  };
  // Where the server refuses the listener, the refresh timer still finds every change.
  services_.engine.hardware.addPropertyListener(kAudioObjectSystemObject, {kAudioHardwarePropertyDevices},
                                                services_.scheduler, devicesListener_);
}

AppState::~AppState() = default;

std::set<std::string> AppState::virtualDeviceUIDs() const {
  std::set<std::string> uids;
  for (const VirtualDeviceConfig& device : virtualDevices_) uids.insert(device.uid);
  return uids;
}

const VirtualDeviceConfig* AppState::findDevice(const std::string& uid) const {
  const auto found = std::ranges::find(virtualDevices_, uid, &VirtualDeviceConfig::uid);
  return found != virtualDevices_.end() ? &*found : nullptr;
}

void AppState::reload() {
  setDriverInstalled(driver_.pluginObjectID().has_value());
  if (!driverInstalled_) {
    setVirtualDevices({});
    return;
  }
  if (auto devices = driver_.readDevices()) setVirtualDevices(std::move(*devices));
  if (!selectedDeviceUID_ || !virtualDeviceUIDs().contains(*selectedDeviceUID_)) {
    setSelectedDeviceUID(virtualDevices_.empty() ? std::nullopt : std::optional(virtualDevices_.front().uid));
  }
  // Observers of a published field may call back and replace the list that is walked, here and below: walk a copy.
  const std::vector<VirtualDeviceConfig> devices = virtualDevices_;
  for (const VirtualDeviceConfig& device : devices) {
    if (!graphs_.contains(device.uid)) setGraph(device.uid, DeviceGraph(device.uid));
  }
  refreshEnvironment();
}

void AppState::refreshEnvironment() {
  if (isShutDown_) return;
  const bool found = driver_.pluginObjectID().has_value();
  if (found != driverInstalled_) {
    setDriverInstalled(found);
    reload();
    return;
  }
  if (!driverInstalled_) return;
  if (isListInDoubt_) {
    const auto devices = driver_.readDevices();
    if (devices && *devices != virtualDevices_) {
      reload();
      return;
    }
  }
  setProcesses(services_.engine.discovery.listAudioProcesses());
  setAudioDevices(services_.engine.discovery.listAudioDevices());
  reconcileEngines();
}

void AppState::reconcileEngines() {
  discardEnginesExcept(virtualDeviceUIDs());
  bool errorSeen = false;
  const std::vector<VirtualDeviceConfig> devices = virtualDevices_;
  for (const VirtualDeviceConfig& device : devices) {
    // An observer of the error line may end the program.
    if (isShutDown_) return;
    const DeviceGraph wanted = graph(device.uid);
    DeviceEngine& engine = engineFor(device.uid, wanted);
    engine.setGraph(wanted);
    engine.reconcile(device.channels, processes_, audioDevices_);
    // Taken from the engine before it is published, since an observer may remove the engine.
    if (const auto error = std::exchange(engine.lastError, std::nullopt)) {
      errorSeen = true;
      reportEngineError(*error);
    }
  }
  if (!errorSeen) lastReportedError_.reset();
  setEngineStateTick(engineStateTick_ + 1);
}

void AppState::discardEnginesExcept(const std::set<std::string>& uids) {
  std::erase_if(engines_, [&](const auto& entry) {
    if (uids.contains(entry.first)) return false;
    entry.second->stopAll();
    return true;
  });
}

void AppState::discardEngine(const std::string& uid) {
  const auto found = engines_.find(uid);
  if (found == engines_.end()) return;
  found->second->stopAll();
  engines_.erase(found);
}

DeviceEngine& AppState::engineFor(const std::string& uid, const DeviceGraph& graph) {
  std::unique_ptr<DeviceEngine>& engine = engines_[uid];
  if (!engine) engine = std::make_unique<DeviceEngine>(uid, graph, services_.engine);
  return *engine;
}

void AppState::reportEngineError(const std::string& message) {
  if (lastReportedError_ == message) return;
  lastReportedError_ = message;
  setErrorMessage(message);
}

void AppState::restartAllEngines() {
  discardEnginesExcept({});
  refreshEnvironment();
}

void AppState::refreshMeters() {
  std::map<std::string, MeterSnapshot> meters;
  for (const auto& [uid, engine] : engines_) meters.emplace(uid, engine->meterSnapshot());
  meters_ = std::move(meters);
  Q_EMIT metersChanged();
}

std::optional<std::int64_t> AppState::blockFrames(const std::string& uid) const {
  const auto found = engines_.find(uid);
  return found != engines_.end() ? found->second->blockFrames() : std::nullopt;
}

std::optional<double> AppState::sampleRateHz(const std::string& uid) const {
  const auto found = engines_.find(uid);
  return found != engines_.end() ? found->second->sampleRateHz() : std::nullopt;
}

std::optional<EngineStatistics> AppState::statistics(const std::string& uid) const {
  const auto found = engines_.find(uid);
  return found != engines_.end() ? std::optional(found->second->statistics()) : std::nullopt;
}

bool AppState::isSourceActive(const std::string& uid, const UUID& source) const {
  const auto engine = engines_.find(uid);
  return engine != engines_.end() && engine->second->isCapturing(source);
}

bool AppState::isMonitorActive(const std::string& uid, const UUID& monitor) const {
  const auto engine = engines_.find(uid);
  return engine != engines_.end() && engine->second->isPlaying(monitor);
}

void AppState::deviceListChanged() {
  if (isShutDown_) return;
  if (refreshDebounce_) refreshDebounce_->cancel();
  refreshDebounce_ = services_.scheduler.after(refreshDelay, [this] { refreshEnvironment(); });
}

void AppState::shutdown() {
  isShutDown_ = true;
  if (refreshDebounce_) refreshDebounce_->cancel();
  if (refreshTimer_) refreshTimer_->cancel();
  if (meterTimer_) meterTimer_->cancel();
  delayedRefreshes_.clear();
  for (const auto& [uid, engine] : engines_) engine->stopAll();
  engines_.clear();
  // Last, since a slow disk shall not keep the sound running.
  graphs_.waitUntilSaved();
}

void AppState::dismissError() {
  lastReportedError_.reset();
  setErrorMessage(std::nullopt);
}

void AppState::setVirtualDevices(std::vector<VirtualDeviceConfig> devices) {
  virtualDevices_ = std::move(devices);
  virtualDeviceModel_.assign(virtualDevices_);
  Q_EMIT virtualDevicesChanged();
}

void AppState::setSelectedDeviceUID(std::optional<std::string> uid) {
  selectedDeviceUID_ = std::move(uid);
  Q_EMIT selectedDeviceUIDChanged();
}

void AppState::setGraph(const std::string& uid, DeviceGraph graph) {
  graphs_.set(uid, std::move(graph));
  Q_EMIT graphsChanged();
}

void AppState::setProcesses(std::vector<AudioProcessInfo> processes) {
  processes_ = std::move(processes);
  Q_EMIT processesChanged();
}

void AppState::setAudioDevices(std::vector<AudioDeviceInfo> devices) {
  audioDevices_ = std::move(devices);
  Q_EMIT audioDevicesChanged();
}

void AppState::setErrorMessage(std::optional<std::string> message) {
  errorMessage_ = std::move(message);
  Q_EMIT errorMessageChanged();
}

void AppState::setDriverInstalled(bool installed) {
  driverInstalled_ = installed;
  Q_EMIT driverInstalledChanged();
}

void AppState::setEngineStateTick(std::int64_t tick) {
  engineStateTick_ = tick;
  Q_EMIT engineStateTickChanged();
}

void AppState::setSettingsSheetUID(std::optional<std::string> uid) {
  settingsSheetUID_ = std::move(uid);
  Q_EMIT settingsSheetUIDChanged();
}

QString AppState::selectedDeviceUIDText() const { return textOf(selectedDeviceUID_); }
void AppState::setSelectedDeviceUIDText(const QString& uid) { setSelectedDeviceUID(optionalOf(uid)); }
QString AppState::errorMessageText() const { return textOf(errorMessage_); }
QString AppState::settingsSheetUIDText() const { return textOf(settingsSheetUID_); }
void AppState::setSettingsSheetUIDText(const QString& uid) { setSettingsSheetUID(optionalOf(uid)); }

}  // namespace brindlemux
