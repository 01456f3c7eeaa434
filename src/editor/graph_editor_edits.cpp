// The edits of a graph editor.
#include "editor/graph_editor.h"
#include "editor/graph_edits.h"
#include "editor/node_channels.h"

namespace brindlemux {

void GraphEditor::update(const Mutation& mutation) {
  if (appState_) appState_->updateGraph(uid_, AppState::Persist::yes, mutation);
}

void GraphEditor::updateNode(const QString& nodeID, const std::function<void(DeviceGraph&, const UUID&)>& mutation) {
  const std::optional<UUID> id = UUID::parse(nodeID.toStdString());
  if (id) update([&](DeviceGraph& graph) { mutation(graph, *id); });
}

void GraphEditor::addSource(const SourceKindConfig& kind) {
  if (!appState_) return;
  const UUID id = appState_->newNodeID();
  update([&](DeviceGraph& graph) { brindlemux::addSource(graph, id, kind, deviceChannels_); });
}

void GraphEditor::addAppSource(const QString& bundleID, const QString& name) {
  addSource(AppSource{bundleID.toStdString(), name.toStdString()});
}

void GraphEditor::addMicSource(const QString& deviceUID, const QString& name) {
  addSource(MicSource{deviceUID.toStdString(), name.toStdString()});
}

void GraphEditor::addSystemSource() { addSource(SystemAudioSource{}); }

void GraphEditor::addMonitor(const QString& deviceUID, const QString& name) {
  if (!appState_) return;
  const UUID id = appState_->newNodeID();
  const std::string uid = deviceUID.toStdString();
  const std::int64_t channels = monitorChannels(uid, appState_->audioDevices());
  update([&](DeviceGraph& graph) {
    brindlemux::addMonitor(graph, id, uid, name.toStdString(), deviceChannels_, channels);
  });
}

void GraphEditor::removeSource(const QString& nodeID) { updateNode(nodeID, brindlemux::removeSource); }

void GraphEditor::removeMonitor(const QString& nodeID) { updateNode(nodeID, brindlemux::removeMonitor); }

void GraphEditor::setSourceGain(const QString& nodeID, double gain) {
  updateNode(nodeID, [gain](DeviceGraph& graph, const UUID& id) {
    brindlemux::setSourceGain(graph, id, static_cast<float>(gain));
  });
}

void GraphEditor::setMonitorGain(const QString& nodeID, double gain) {
  updateNode(nodeID, [gain](DeviceGraph& graph, const UUID& id) {
    brindlemux::setMonitorGain(graph, id, static_cast<float>(gain));
  });
}

void GraphEditor::setSourceEnabled(const QString& nodeID, bool enabled) {
  updateNode(nodeID,
             [enabled](DeviceGraph& graph, const UUID& id) { brindlemux::setSourceEnabled(graph, id, enabled); });
}

void GraphEditor::setMonitorEnabled(const QString& nodeID, bool enabled) {
  updateNode(nodeID,
             [enabled](DeviceGraph& graph, const UUID& id) { brindlemux::setMonitorEnabled(graph, id, enabled); });
  // Its device may have come or gone since the last look.
  if (appState_) appState_->refreshEnvironment();
}

void GraphEditor::setMasterGain(double gain) {
  update([gain](DeviceGraph& graph) { graph.masterGain = static_cast<float>(gain); });
}

void GraphEditor::addChannelPair() {
  if (appState_ && canAddChannelPair()) appState_->setChannels(deviceUID(), deviceChannels_ + 2);
}

void GraphEditor::removeChannelPair() {
  if (appState_ && canRemoveChannelPair()) appState_->setChannels(deviceUID(), deviceChannels_ - 2);
}

}  // namespace brindlemux
