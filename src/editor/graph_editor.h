#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>
#include <functional>
#include <optional>

#include "app/controller/app_state.h"
#include "app/controller/keyed_list_model.h"
#include "editor/node_rows.h"

namespace brindlemux {

/// The graph of one virtual device as its cards show it, and the edits that they make. Nodes are rows of two list
/// models (`NodeRole`) that stay while other nodes come and go; a meter tick changes peaks and nothing else.
///
/// Every edit is one update of the graph that is saved at once. It finds its node by identifier; a node that is gone by
/// then is left alone. Without a controller everything is empty and nothing is edited.
///
/// Threads: the main thread. Borrows the controller.
class GraphEditor : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged REQUIRED FINAL)
  Q_PROPERTY(QString deviceUID READ deviceUID WRITE setDeviceUID NOTIFY deviceUIDChanged REQUIRED FINAL)
  Q_PROPERTY(int deviceChannels READ deviceChannels NOTIFY deviceChannelsChanged FINAL)
  Q_PROPERTY(brindlemux::KeyedListModel* sources READ sources CONSTANT FINAL)
  Q_PROPERTY(brindlemux::KeyedListModel* monitors READ monitors CONSTANT FINAL)
  Q_PROPERTY(double masterGain READ masterGain NOTIFY masterGainChanged FINAL)
  Q_PROPERTY(QList<int> connectedInputs READ connectedInputs NOTIFY connectionsChanged FINAL)
  Q_PROPERTY(QList<int> connectedOutputs READ connectedOutputs NOTIFY connectionsChanged FINAL)
  Q_PROPERTY(QList<double> outputPeaks READ outputPeaks NOTIFY outputPeaksChanged FINAL)
  Q_PROPERTY(QList<double> passThruPeaks READ passThruPeaks NOTIFY passThruPeaksChanged FINAL)
  Q_PROPERTY(bool canRemoveChannelPair READ canRemoveChannelPair NOTIFY deviceChannelsChanged FINAL)
  Q_PROPERTY(bool canAddChannelPair READ canAddChannelPair NOTIFY deviceChannelsChanged FINAL)

 public:
  explicit GraphEditor(QObject* parent = nullptr);

  AppState* appState() const { return appState_; }
  void setAppState(AppState* appState);
  QString deviceUID() const { return QString::fromStdString(uid_); }
  void setDeviceUID(const QString& uid);

  /// 0 while there is no such device.
  int deviceChannels() const noexcept { return deviceChannels_; }
  KeyedListModel* sources() noexcept { return &sources_; }
  KeyedListModel* monitors() noexcept { return &monitors_; }
  double masterGain() const noexcept { return masterGain_; }
  /// The output channels with a source wire, and those with a monitor wire.
  QList<int> connectedInputs() const { return connectedInputs_; }
  QList<int> connectedOutputs() const { return connectedOutputs_; }
  /// Linear, per output channel; empty while nothing is metered.
  Peaks outputPeaks() const { return outputPeaks_; }
  Peaks passThruPeaks() const { return passThruPeaks_; }
  bool canRemoveChannelPair() const noexcept { return deviceChannels_ > AppState::minimumChannels; }
  bool canAddChannelPair() const noexcept { return deviceChannels_ < AppState::maximumChannels; }

  Q_INVOKABLE void addAppSource(const QString& bundleID, const QString& name);
  Q_INVOKABLE void addMicSource(const QString& deviceUID, const QString& name);
  Q_INVOKABLE void addSystemSource();
  Q_INVOKABLE void removeSource(const QString& nodeID);
  Q_INVOKABLE void setSourceGain(const QString& nodeID, double gain);
  Q_INVOKABLE void setSourceEnabled(const QString& nodeID, bool enabled);

  Q_INVOKABLE void addMonitor(const QString& deviceUID, const QString& name);
  Q_INVOKABLE void removeMonitor(const QString& nodeID);
  Q_INVOKABLE void setMonitorGain(const QString& nodeID, double gain);
  Q_INVOKABLE void setMonitorEnabled(const QString& nodeID, bool enabled);

  Q_INVOKABLE void setMasterGain(double gain);
  Q_INVOKABLE void addChannelPair();
  Q_INVOKABLE void removeChannelPair();

 Q_SIGNALS:
  void appStateChanged();
  void deviceUIDChanged();
  void deviceChannelsChanged();
  void masterGainChanged();
  void connectionsChanged();
  void outputPeaksChanged();
  void passThruPeaksChanged();

 private:
  using Mutation = std::function<void(DeviceGraph&)>;

  void refresh();
  void refreshMeters();
  void addSource(const SourceKindConfig& kind);
  void update(const Mutation& mutation);
  void updateNode(const QString& nodeID, const std::function<void(DeviceGraph&, const UUID&)>& mutation);

  QPointer<AppState> appState_;
  std::string uid_;
  int deviceChannels_ = 0;
  KeyedListModel sources_;
  KeyedListModel monitors_;
  double masterGain_ = 1.0;
  QList<int> connectedInputs_;
  QList<int> connectedOutputs_;
  Peaks outputPeaks_;
  Peaks passThruPeaks_;
};

}  // namespace brindlemux
