#include "editor/graph_editor.h"

#include <algorithm>

#include "editor/node_channels.h"

namespace brindlemux {
namespace {

int channelsOf(const std::vector<VirtualDeviceConfig>& devices, const std::string& uid) {
  const auto device = std::ranges::find(devices, uid, &VirtualDeviceConfig::uid);
  return device != devices.end() ? static_cast<int>(device->channels) : 0;
}

/// The latest peaks; empty where the device has no engine.
MeterSnapshot snapshotOf(const AppState& state, const std::string& uid) {
  const auto found = state.meters().find(uid);
  return found != state.meters().end() ? found->second : MeterSnapshot{};
}

Peaks sourcePeaks(const MeterSnapshot& snapshot, const UUID& id) {
  const auto found = snapshot.sourcePeaks.find(id);
  return found != snapshot.sourcePeaks.end() ? peaksOf(found->second) : Peaks();
}

}  // namespace

GraphEditor::GraphEditor(QObject* parent) : QObject(parent), sources_(nodeRoles()), monitors_(nodeRoles()) {}

void GraphEditor::setAppState(AppState* appState) {
  if (appState_ == appState) return;
  if (appState_) disconnect(appState_, nullptr, this, nullptr);
  appState_ = appState;
  if (appState_) {
    for (const auto signal : {&AppState::virtualDevicesChanged, &AppState::graphsChanged,
                              &AppState::audioDevicesChanged, &AppState::engineStateTickChanged})
      connect(appState_, signal, this, &GraphEditor::refresh);
    connect(appState_, &AppState::metersChanged, this, &GraphEditor::refreshMeters);
  }
  Q_EMIT appStateChanged();
  refresh();
  refreshMeters();
}

void GraphEditor::setDeviceUID(const QString& uid) {
  if (uid_ == uid.toStdString()) return;
  uid_ = uid.toStdString();
  Q_EMIT deviceUIDChanged();
  refresh();
  refreshMeters();
}

void GraphEditor::refresh() {
  const AppState* state = appState_;
  const DeviceGraph graph = state != nullptr ? state->graph(uid_) : DeviceGraph(uid_);
  const int channels = state != nullptr ? channelsOf(state->virtualDevices(), uid_) : 0;
  if (std::exchange(deviceChannels_, channels) != channels) Q_EMIT deviceChannelsChanged();
  const double gain = static_cast<double>(graph.masterGain);
  if (std::exchange(masterGain_, gain) != gain) Q_EMIT masterGainChanged();

  const QList<int> inputs = channelNumbers(brindlemux::connectedInputs(graph));
  const QList<int> outputs = channelNumbers(brindlemux::connectedOutputs(graph));
  const bool isRewired = inputs != connectedInputs_ || outputs != connectedOutputs_;
  connectedInputs_ = inputs;
  connectedOutputs_ = outputs;
  if (isRewired) Q_EMIT connectionsChanged();

  QList<KeyedListModel::Row> sources;
  QList<KeyedListModel::Row> monitors;
  if (state != nullptr) {
    const MeterSnapshot snapshot = snapshotOf(*state, uid_);
    for (const SourceNodeConfig& source : graph.sources) {
      sources.append(sourceRow(graph, source, state->isSourceActive(uid_, source.id), sourcePeaks(snapshot, source.id),
                               state->audioDevices()));
    }
    for (const MonitorNodeConfig& monitor : graph.monitors)
      monitors.append(monitorRow(graph, monitor, state->isMonitorActive(uid_, monitor.id), state->audioDevices()));
  }
  sources_.assign(sources);
  monitors_.assign(monitors);
}

void GraphEditor::refreshMeters() {
  const AppState* state = appState_;
  if (state == nullptr) return;
  const MeterSnapshot snapshot = snapshotOf(*state, uid_);
  const Peaks outputs = peaksOf(snapshot.outputPeaks);
  if (std::exchange(outputPeaks_, outputs) != outputs) Q_EMIT outputPeaksChanged();
  const Peaks passThru = peaksOf(snapshot.passThruPeaks);
  if (std::exchange(passThruPeaks_, passThru) != passThru) Q_EMIT passThruPeaksChanged();

  const DeviceGraph graph = state->graph(uid_);
  for (const SourceNodeConfig& source : graph.sources) {
    const auto row = sources_.rowOf(QString::fromStdString(source.id.string()));
    if (!row) continue;
    const Peaks peaks = sourcePeaks(snapshot, source.id);
    sources_.setValue(*row, peaksRole, QVariant::fromValue(peaks));
    // An input device may turn out to have more channels than it said.
    sources_.setValue(*row, channelsRole,
                      static_cast<int>(channelCount(source.kind, state->audioDevices(), peaks.size())));
  }
}

}  // namespace brindlemux
