#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

#include "app/tray/status_notifier_item.h"
#include "app/tray/tray_menu.h"

class QDBusPendingCallWatcher;

namespace brindlemux {

/// The program's place in the desktop's tray. Offers the icon and its menu on the session's bus, registers them with
/// whatever keeps the tray, again each time that one comes anew, and knows whether a tray shows them.
///
/// Threads: the main thread. It never waits for the desktop.
/// Errors: without a bus or a tray nothing is shown, and `isShown` says so.
class Tray final : public QObject {
  Q_OBJECT

 public:
  explicit Tray(const QDBusConnection& bus, QObject* parent = nullptr);

  TrayMenu& menu() noexcept { return menu_; }
  /// Whether there is a tray, with the icon in it.
  bool isShown() const noexcept { return isShown_; }

 Q_SIGNALS:
  void isShownChanged();
  /// The icon itself was clicked, and the desktop showed no menu.
  void activated();

 private:
  void offer();
  void watcherChanged(const QString& name, const QString& former, const QString& current);
  void registerItem();
  void setShown(bool shown);

 private Q_SLOTS:
  void askForHost();
  void forgetTray();

 private:
  QDBusConnection bus_;
  const QString service_;
  TrayMenu menu_;
  StatusNotifierItem item_;
  QDBusServiceWatcher watcher_;
  /// Counts the trays that came and went, so that a late answer of a former one is known as such.
  int generation_ = 0;
  bool isRegistered_ = false;
  bool isShown_ = false;
};

}  // namespace brindlemux
