#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/controller/app_services.h"
#include "app/controller/graph_table.h"
#include "app/controller/virtual_device_list_model.h"
#include "engine/device_engine.h"
#include "engine/meter_snapshot.h"
#include "model/device_graph.h"
#include "model/virtual_device_config.h"
#include "platform/audio_device_info.h"
#include "platform/audio_process_info.h"
#include "platform/driver_config.h"

namespace brindlemux {

/// The one controller: holds what the interface shows and an engine per virtual device, and keeps both in line with the
/// driver's device list, the graphs, and the devices and processes of the audio server.
///
/// Owns the engines and the timers; borrows the services. Every assignment of a published field emits its signal, also
/// when the value stays the same. In QML the devices are a list model, and text that is not there is empty.
///
/// Only its commands change the driver's list of devices, and only it writes the graphs file. The driver decides which
/// devices there are: a command hands it the whole list and, once it has accepted that, reads the list back; when it
/// refuses, nothing changes but `errorMessage`.
///
/// Threads: the main thread only. Nothing here throws.
class AppState : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The program makes the only one")
  Q_PROPERTY(
      brindlemux::VirtualDeviceListModel* virtualDevices READ virtualDeviceModel NOTIFY virtualDevicesChanged FINAL)
  Q_PROPERTY(QString selectedDeviceUID READ selectedDeviceUIDText WRITE setSelectedDeviceUIDText NOTIFY
                 selectedDeviceUIDChanged FINAL)
  Q_PROPERTY(QString errorMessage READ errorMessageText NOTIFY errorMessageChanged FINAL)
  Q_PROPERTY(bool driverInstalled READ driverInstalled NOTIFY driverInstalledChanged FINAL)
  Q_PROPERTY(QString settingsSheetUID READ settingsSheetUIDText WRITE setSettingsSheetUIDText NOTIFY
                 settingsSheetUIDChanged FINAL)

 public:
  static constexpr std::chrono::milliseconds refreshInterval{2000};
  static constexpr std::chrono::milliseconds meterInterval{120};
  /// How long the device list must be quiet before it is read again, and how long the audio server has to publish a
  /// device's new format.
  static constexpr std::chrono::milliseconds refreshDelay{300};

  static constexpr std::int64_t minimumChannels = 2;
  static constexpr std::int64_t maximumChannels = 16;

  /// Whether an edit of a graph goes to the graphs file too.
  enum class Persist { no, yes };

  /// Loads the graphs, reads the driver's devices, starts their engines, and from then on follows the audio server.
  explicit AppState(const AppServices& services, QObject* parent = nullptr);
  /// Releases what it holds. The orderly end is `shutdown`, which comes first.
  ~AppState() override;

  /// The driver's devices, in the driver's order.
  const std::vector<VirtualDeviceConfig>& virtualDevices() const noexcept { return virtualDevices_; }
  /// The same as rows that change in place. Lives as long as the controller.
  VirtualDeviceListModel* virtualDeviceModel() noexcept { return &virtualDeviceModel_; }
  std::set<std::string> virtualDeviceUIDs() const;

  /// The device that the detail area shows.
  const std::optional<std::string>& selectedDeviceUID() const noexcept { return selectedDeviceUID_; }
  void setSelectedDeviceUID(std::optional<std::string> uid);

  /// Every known graph, also of devices that do not exist at present.
  const DeviceGraphs& graphs() const noexcept { return graphs_.all(); }
  /// The graph of a device, the default one when it has none.
  DeviceGraph graph(const std::string& uid) const { return graphs_.graph(uid); }
  const std::vector<AudioProcessInfo>& processes() const noexcept { return processes_; }
  const std::vector<AudioDeviceInfo>& audioDevices() const noexcept { return audioDevices_; }

  /// The one line of trouble for the user.
  const std::optional<std::string>& errorMessage() const noexcept { return errorMessage_; }
  /// The user has read the line: the same trouble may be shown again.
  Q_INVOKABLE void dismissError();

  bool driverInstalled() const noexcept { return driverInstalled_; }
  /// The latest snapshot of every device that has an engine.
  const std::map<std::string, MeterSnapshot>& meters() const noexcept { return meters_; }
  /// The I/O block size that a device runs at, see DeviceEngine; nothing for a device without an engine.
  std::optional<std::int64_t> blockFrames(const std::string& uid) const;
  /// The rate in Hz that a device runs at, see DeviceEngine; nothing for a device without an engine.
  std::optional<double> sampleRateHz(const std::string& uid) const;
  /// What a device's engine has gone through since it started, see DeviceEngine; nothing for a device without an
  /// engine.
  std::optional<EngineStatistics> statistics(const std::string& uid) const;
  /// Whether the device's engine captures that source, or plays on that monitor. Changes with `engineStateTick`.
  bool isSourceActive(const std::string& uid, const UUID& source) const;
  bool isMonitorActive(const std::string& uid, const UUID& monitor) const;
  /// Counts the reconciliations of the engines and the edits of graphs.
  std::int64_t engineStateTick() const noexcept { return engineStateTick_; }

  /// The device whose settings are open.
  const std::optional<std::string>& settingsSheetUID() const noexcept { return settingsSheetUID_; }
  void setSettingsSheetUID(std::optional<std::string> uid);

  /// Reads the driver's device list again, mends the selection, gives every device a graph, refreshes the environment.
  Q_INVOKABLE void reload();

  /// Looks for the driver, reads the devices and processes of the audio server, and reconciles the engines.
  Q_INVOKABLE void refreshEnvironment();

  /// Adds a device of two channels named by its number, with an empty graph, and selects it.
  Q_INVOKABLE void createVirtualDevice();

  /// Removes the device, its engine and its graph.
  Q_INVOKABLE void deleteVirtualDevice(const QString& uid);

  /// Gives the device a name, without the white space around it. An empty name and an unknown device are ignored.
  Q_INVOKABLE void renameVirtualDevice(const QString& uid, const QString& name);

  /// Gives the device that many channels, within the bounds above, with a new engine. Wires on channels that are gone
  /// are dropped; gains stay. An unknown device is ignored.
  Q_INVOKABLE void setChannels(const QString& uid, int channels);

  /// Edits the graph of a device, known or not, and brings the device's engine in line: what it runs starts anew when
  /// the edit is structural, and plays on otherwise (`isStructuralChange`). Saves once per call, without waiting for
  /// the disk; a save that fails is told to the log alone.
  ///
  /// `mutation` may change every field; it neither throws nor calls back into the controller.
  void updateGraph(const std::string& uid, Persist persist, const std::function<void(DeviceGraph&)>& mutation);

  /// Returns when every save until now is in the graphs file, or has failed.
  void waitUntilSaved() { graphs_.waitUntilSaved(); }

  /// An identifier for a node that is added to a graph.
  UUID newNodeID() { return services_.engine.uuids.next(); }

  /// Stops every timer and every engine, for good, and waits until everything is saved. Idempotent.
  void shutdown();

 Q_SIGNALS:
  void virtualDevicesChanged();
  void selectedDeviceUIDChanged();
  void graphsChanged();
  void processesChanged();
  void audioDevicesChanged();
  void errorMessageChanged();
  void driverInstalledChanged();
  void metersChanged();
  void engineStateTickChanged();
  void settingsSheetUIDChanged();

 private:
  friend class AppStateProbe;  // tests reach the operations below through it

  void reconcileEngines();
  void restartAllEngines();
  void refreshMeters();
  void deviceListChanged();
  void discardEnginesExcept(const std::set<std::string>& uids);
  void discardEngine(const std::string& uid);
  DeviceEngine& engineFor(const std::string& uid, const DeviceGraph& graph);
  void reportEngineError(const std::string& message);
  const VirtualDeviceConfig* findDevice(const std::string& uid) const;
  /// Hands the driver its list; when it refuses, `failure` is the error line. A server that does not answer in time may
  /// still carry the write out: until a write succeeds, refreshes compare the list with the driver's.
  bool writeDevices(const std::vector<VirtualDeviceConfig>& devices, const char* failure);
  void setGraph(const std::string& uid, DeviceGraph graph);
  void refreshLater();

  void setVirtualDevices(std::vector<VirtualDeviceConfig> devices);
  void setProcesses(std::vector<AudioProcessInfo> processes);
  void setAudioDevices(std::vector<AudioDeviceInfo> devices);
  void setErrorMessage(std::optional<std::string> message);
  void setDriverInstalled(bool installed);
  void setEngineStateTick(std::int64_t tick);

  QString selectedDeviceUIDText() const;
  void setSelectedDeviceUIDText(const QString& uid);
  QString errorMessageText() const;
  QString settingsSheetUIDText() const;
  void setSettingsSheetUIDText(const QString& uid);

  const AppServices services_;
  DriverConfig driver_;

  std::vector<VirtualDeviceConfig> virtualDevices_;
  VirtualDeviceListModel virtualDeviceModel_;
  std::optional<std::string> selectedDeviceUID_;
  GraphTable graphs_;
  std::vector<AudioProcessInfo> processes_;
  std::vector<AudioDeviceInfo> audioDevices_;
  std::optional<std::string> errorMessage_;
  bool driverInstalled_ = true;
  std::map<std::string, MeterSnapshot> meters_;
  std::int64_t engineStateTick_ = 0;
  std::optional<std::string> settingsSheetUID_;

  std::map<std::string, std::unique_ptr<DeviceEngine>> engines_;
  std::unique_ptr<ScheduledWork> refreshTimer_;
  std::unique_ptr<ScheduledWork> meterTimer_;
  std::optional<std::string> lastReportedError_;
  std::function<void()> devicesListener_;
  std::unique_ptr<ScheduledWork> refreshDebounce_;
  std::list<std::unique_ptr<ScheduledWork>> delayedRefreshes_;
  bool isListInDoubt_ = false;
  bool isShutDown_ = false;
};

}  // namespace brindlemux
