#pragma once

#include <QObject>
#include <string>
#include <utility>
#include <vector>

#include "app/controller/app_state.h"

namespace brindlemux::test {

/// Names every signal of a controller in the order in which they come.
class SignalLog {
 public:
  explicit SignalLog(AppState& state) {
    const auto follow = [&](auto signal, const char* name) {
      QObject::connect(&state, signal, &receiver_, [this, name] { names.emplace_back(name); });
    };
    follow(&AppState::virtualDevicesChanged, "virtualDevices");
    follow(&AppState::selectedDeviceUIDChanged, "selectedDeviceUID");
    follow(&AppState::graphsChanged, "graphs");
    follow(&AppState::processesChanged, "processes");
    follow(&AppState::audioDevicesChanged, "audioDevices");
    follow(&AppState::errorMessageChanged, "errorMessage");
    follow(&AppState::driverInstalledChanged, "driverInstalled");
    follow(&AppState::metersChanged, "meters");
    follow(&AppState::engineStateTickChanged, "engineStateTick");
    follow(&AppState::settingsSheetUIDChanged, "settingsSheetUID");
  }

  std::vector<std::string> take() { return std::exchange(names, {}); }

  std::vector<std::string> names;

 private:
  QObject receiver_;
};

}  // namespace brindlemux::test
