#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>
#include <cstdint>

#include "app/controller/app_state.h"
#include "model/latency_mode.h"

namespace brindlemux {

/// What one line of the list of latency modes says.
struct LatencyModeRow {
  Q_GADGET
  QML_VALUE_TYPE(latencyModeRow)
  Q_PROPERTY(QString label MEMBER label CONSTANT FINAL)
  Q_PROPERTY(QString description MEMBER description CONSTANT FINAL)
  Q_PROPERTY(QString duration MEMBER duration CONSTANT FINAL)

 public:
  QString label;
  QString description;
  /// How long one block lasts at 48 kHz.
  QString duration;

  static LatencyModeRow of(LatencyMode mode);
};

/// The settings of one device, as its sheet shows and changes them. Needs the controller and a UID, which may be that
/// of a device that does not exist.
///
/// Threads: the main thread.
class DeviceSettings : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::AppState* appState READ appState WRITE setAppState NOTIFY changed REQUIRED FINAL)
  Q_PROPERTY(QString deviceUID READ deviceUID WRITE setDeviceUID NOTIFY changed REQUIRED FINAL)
  Q_PROPERTY(QString deviceName READ deviceName NOTIFY changed FINAL)
  Q_PROPERTY(QList<brindlemux::LatencyModeRow> modes READ modes CONSTANT FINAL)
  Q_PROPERTY(int selectedMode READ selectedMode NOTIFY changed FINAL)
  Q_PROPERTY(int differingFrames READ differingFrames NOTIFY differingFramesChanged FINAL)

 public:
  explicit DeviceSettings(QObject* parent = nullptr) : QObject(parent) {}

  AppState* appState() const noexcept { return appState_; }
  void setAppState(AppState* appState);
  QString deviceUID() const { return deviceUID_; }
  void setDeviceUID(const QString& uid);

  QString deviceName() const;
  /// One line per latency mode, in their order.
  QList<LatencyModeRow> modes() const;
  /// The line whose mode is nearest to the graph's frame count.
  int selectedMode() const;
  /// The block size in frames that the audio server runs the device with, where that is another one than asked for;
  /// otherwise, and while nothing runs, 0.
  int differingFrames() const noexcept { return differingFrames_; }

  /// Sets the frame count of that line's mode. A line that there is not is ignored.
  Q_INVOKABLE void choose(int row);

 Q_SIGNALS:
  void changed();
  void differingFramesChanged();

 private:
  std::int64_t latencyFrames() const;
  void readBlockSize();

  QPointer<AppState> appState_;
  QString deviceUID_;
  int differingFrames_ = 0;
};

}  // namespace brindlemux
