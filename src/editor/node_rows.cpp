#include "editor/node_rows.h"

#include "editor/node_channels.h"
#include "editor/node_texts.h"

namespace brindlemux {
namespace {

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

}  // namespace

QList<QByteArray> nodeRoles() {
  return {"nodeID",    "name", "symbol",   "subtitle", "isActive",
          "isEnabled", "gain", "channels", "peaks",    "connectedChannels"};
}

KeyedListModel::Row sourceRow(const DeviceGraph& graph, const SourceNodeConfig& source, bool isActive,
                              const Peaks& peaks, std::span<const AudioDeviceInfo> devices) {
  return {text(source.id.string()),
          text(sourceName(source.kind)),
          text(sourceSymbol(source.kind)),
          text(sourceSubtitle(source.enabled, isActive)),
          isActive,
          source.enabled,
          static_cast<double>(source.gain),
          static_cast<int>(channelCount(source.kind, devices, peaks.size())),
          QVariant::fromValue(peaks),
          QVariant::fromValue(channelNumbers(connectedSourceChannels(graph, source.id)))};
}

KeyedListModel::Row monitorRow(const DeviceGraph& graph, const MonitorNodeConfig& monitor, bool isActive,
                               std::span<const AudioDeviceInfo> devices) {
  return {text(monitor.id.string()),
          text(monitor.name),
          QStringLiteral("hifispeaker.fill"),
          QString(),
          isActive,
          monitor.enabled,
          static_cast<double>(monitor.gain),
          static_cast<int>(monitorChannels(monitor.deviceUID, devices)),
          QVariant::fromValue(Peaks()),
          QVariant::fromValue(channelNumbers(connectedMonitorChannels(graph, monitor.id)))};
}

}  // namespace brindlemux
