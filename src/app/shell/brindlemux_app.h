#pragma once

#include <QDBusConnection>
#include <QObject>
#include <chrono>
#include <memory>

#include "app/controller/app_state.h"
#include "app/shell/main_window.h"
#include "app/shell/menu_bar_content.h"
#include "app/shell/user_defaults.h"
#include "app/tray/tray.h"
#include "platform/scheduler.h"

namespace brindlemux {

/// The frame of the program: its one window and its icon in the tray. While a tray shows the icon, closing the window
/// leaves the routes running; while none does, it ends the program. Borrows what it is made from.
///
/// Threads: the main thread; one at a time, and not without an application object.
class BrindlemuxApp final : public QObject {
  Q_OBJECT

 public:
  /// How long a tray may be away, for a restart of the desktop's panel say, before the window comes back so that there
  /// is a way to the program.
  static constexpr std::chrono::milliseconds trayPatience{5000};

  BrindlemuxApp(AppState& state, UserDefaults& defaults, Scheduler& scheduler, const QDBusConnection& sessionBus);
  ~BrindlemuxApp() override;

  /// Brings the window to the front; opens one where there is none. False when it cannot be made, with the reason on
  /// standard error.
  bool openWindow();
  /// Ends the event loop, whatever is open.
  void quit();

  /// The open window, or none.
  QQuickWindow* window() const;
  Tray& tray() noexcept { return tray_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void windowClosed();
  void tellOfTray();
  void trayChanged();

  AppState& state_;
  UserDefaults& defaults_;
  Scheduler& scheduler_;
  QDBusConnection bus_;
  Tray tray_;
  MenuBarContent menu_;
  std::unique_ptr<MainWindow> window_;
  std::unique_ptr<ScheduledWork> reopening_;
};

}  // namespace brindlemux
