#pragma once

#include <QObject>
#include <functional>
#include <map>
#include <string>

#include "app/controller/app_state.h"
#include "app/tray/tray_menu.h"

namespace brindlemux {

/// What stands in the tray's menu: a switch per virtual device, and the way to the window and out of the program. Keeps
/// the menu in line with the controller. Borrows both.
///
/// Threads: the main thread.
class MenuBarContent final : public QObject {
  Q_OBJECT

 public:
  MenuBarContent(AppState& state, TrayMenu& menu, QObject* parent = nullptr);
  ~MenuBarContent() override;

 Q_SIGNALS:
  void openWindow();
  void quit();

 private:
  void update();
  void choose(int id);
  void switchDevice(const std::string& uid);
  int idOf(const std::string& uid);

  AppState& state_;
  TrayMenu& menu_;
  /// Ids are kept, so that an entry stays the same one while devices come and go.
  std::map<std::string, int> deviceIds_;
};

}  // namespace brindlemux
