#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>

#include "app/controller/app_state.h"

namespace brindlemux {

/// One virtual device, followed by its UID, for views that show a single device. `exists` is false while no device has
/// that UID; the other values are then empty.
///
/// Threads: the main thread. Borrows the controller.
class VirtualDeviceRecord : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::AppState* appState READ appState WRITE setAppState NOTIFY changed REQUIRED FINAL)
  Q_PROPERTY(QString uid READ uid WRITE setUID NOTIFY changed REQUIRED FINAL)
  Q_PROPERTY(bool exists READ exists NOTIFY changed FINAL)
  Q_PROPERTY(QString name READ name NOTIFY changed FINAL)
  Q_PROPERTY(int channels READ channels NOTIFY changed FINAL)
  Q_PROPERTY(bool enabled READ enabled NOTIFY changed FINAL)
  Q_PROPERTY(int sourceCount READ sourceCount NOTIFY changed FINAL)

 public:
  using QObject::QObject;

  AppState* appState() const { return appState_; }
  void setAppState(AppState* appState);
  QString uid() const { return uid_; }
  void setUID(const QString& uid);
  bool exists() const { return device().has_value(); }
  QString name() const;
  /// 0 while there is no such device.
  int channels() const;
  /// Whether the device's graph is on, and how many sources it has.
  bool enabled() const;
  int sourceCount() const;

  /// Switches the graph and looks at once what that starts or stops.
  Q_INVOKABLE void setEnabled(bool enabled);

 Q_SIGNALS:
  void changed();

 private:
  std::optional<VirtualDeviceConfig> device() const;

  QPointer<AppState> appState_;
  QString uid_;
};

}  // namespace brindlemux
