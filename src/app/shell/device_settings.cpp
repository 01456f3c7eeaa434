#include "app/shell/device_settings.h"

#include <algorithm>

#include "engine/device_engine.h"

namespace brindlemux {
namespace {

/// Assumed of a device without a graph, for which nobody has chosen anything yet.
constexpr std::int64_t framesWithoutGraph = 128;
constexpr double framesPerMillisecond = 48.0;

QString text(std::string_view utf8) { return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())); }

}  // namespace

LatencyModeRow LatencyModeRow::of(LatencyMode mode) {
  return {.label = text(brindlemux::label(mode)),
          .description = text(brindlemux::description(mode)),
          .duration = QStringLiteral("%1 ms").arg(static_cast<double>(mode) / framesPerMillisecond, 0, 'f', 1)};
}

void DeviceSettings::setAppState(AppState* appState) {
  if (appState_ == appState) return;
  if (appState_) disconnect(appState_, nullptr, this, nullptr);
  appState_ = appState;
  if (appState_) {
    connect(appState_, &AppState::virtualDevicesChanged, this, &DeviceSettings::changed);
    connect(appState_, &AppState::graphsChanged, this, &DeviceSettings::changed);
    connect(appState_, &AppState::metersChanged, this, &DeviceSettings::readBlockSize);
  }
  Q_EMIT changed();
  readBlockSize();
}

void DeviceSettings::setDeviceUID(const QString& uid) {
  if (deviceUID_ == uid) return;
  deviceUID_ = uid;
  Q_EMIT changed();
  readBlockSize();
}

QString DeviceSettings::deviceName() const {
  if (appState_) {
    const auto& devices = appState_->virtualDevices();
    const auto found = std::ranges::find(devices, deviceUID_.toStdString(), &VirtualDeviceConfig::uid);
    if (found != devices.end()) return QString::fromStdString(found->name);
  }
  return QStringLiteral("Device");
}

QList<LatencyModeRow> DeviceSettings::modes() const {
  QList<LatencyModeRow> rows;
  for (const LatencyMode mode : allLatencyModes) rows.append(LatencyModeRow::of(mode));
  return rows;
}

std::int64_t DeviceSettings::latencyFrames() const {
  if (!appState_) return framesWithoutGraph;
  const auto found = appState_->graphs().find(deviceUID_.toStdString());
  return found != appState_->graphs().end() ? found->second.latencyFrames : framesWithoutGraph;
}

int DeviceSettings::selectedMode() const {
  // Every mode lies within the limits, so that they change nothing about which one is nearest.
  const LatencyMode nearest = nearestLatencyMode(DeviceEngine::clampedBufferFrames(latencyFrames()));
  return static_cast<int>(std::ranges::find(allLatencyModes, nearest) - allLatencyModes.begin());
}

void DeviceSettings::choose(int row) {
  if (!appState_ || row < 0 || row >= static_cast<int>(allLatencyModes.size())) return;
  const auto frames = static_cast<std::int64_t>(allLatencyModes[static_cast<std::size_t>(row)]);
  appState_->updateGraph(deviceUID_.toStdString(), AppState::Persist::yes,
                         [frames](DeviceGraph& graph) { graph.latencyFrames = frames; });
}

void DeviceSettings::readBlockSize() {
  const auto granted = appState_ ? appState_->blockFrames(deviceUID_.toStdString()) : std::nullopt;
  const bool differs = granted && *granted != DeviceEngine::clampedBufferFrames(latencyFrames());
  const int frames = differs ? static_cast<int>(*granted) : 0;
  if (frames == differingFrames_) return;
  differingFrames_ = frames;
  Q_EMIT differingFramesChanged();
}

}  // namespace brindlemux
