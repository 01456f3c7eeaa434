#pragma once

#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include "app/controller/app_state.h"
#include "app/shell/user_defaults.h"

namespace brindlemux {

/// The program's window and the QML engine that draws it. Borrows the controller and the defaults, which must outlive
/// it.
///
/// Threads: the main thread.
class MainWindow {
 public:
  /// Before the application object is made: the style that the window's controls are built on.
  static void chooseStyle();

  MainWindow(AppState& state, UserDefaults& defaults);

  /// The window, or none when it could not be made; the reason is then on standard error.
  QQuickWindow* window() const;

 private:
  QQmlApplicationEngine engine_;
};

}  // namespace brindlemux
