#include "app/shell/menu_bar_content.h"

#include <algorithm>

namespace brindlemux {
namespace {

constexpr int openId = 1;
constexpr int quitId = 2;
constexpr int dividerId = 3;
constexpr int noDevicesId = 4;
constexpr int firstDeviceId = 10;

}  // namespace

MenuBarContent::MenuBarContent(AppState& state, TrayMenu& menu, QObject* parent)
    : QObject(parent), state_(state), menu_(menu) {
  menu_.onChosen = [this](int id) { choose(id); };
  connect(&state_, &AppState::virtualDevicesChanged, this, &MenuBarContent::update);
  connect(&state_, &AppState::graphsChanged, this, &MenuBarContent::update);
  update();
}

MenuBarContent::~MenuBarContent() { menu_.onChosen = nullptr; }

int MenuBarContent::idOf(const std::string& uid) {
  return deviceIds_.try_emplace(uid, firstDeviceId + static_cast<int>(deviceIds_.size())).first->second;
}

void MenuBarContent::update() {
  using Kind = MenuEntry::Kind;
  std::vector<MenuEntry> entries;
  for (const VirtualDeviceConfig& device : state_.virtualDevices()) {
    entries.push_back({.id = idOf(device.uid),
                       .kind = Kind::toggle,
                       .label = QString::fromStdString(device.name),
                       .isOn = state_.graph(device.uid).enabled});
  }
  if (entries.empty()) {
    entries.push_back({.id = noDevicesId, .kind = Kind::text, .label = QStringLiteral("No virtual devices")});
  }
  entries.push_back({.id = dividerId, .kind = Kind::divider});
  entries.push_back({.id = openId, .kind = Kind::action, .label = QStringLiteral("Open Brindlemux")});
  entries.push_back({.id = quitId, .kind = Kind::action, .label = QStringLiteral("Quit Brindlemux")});
  menu_.setEntries(std::move(entries));
}

void MenuBarContent::choose(int id) {
  if (id == openId) Q_EMIT openWindow();
  if (id == quitId) Q_EMIT quit();
  const auto device = std::ranges::find(deviceIds_, id, [](const auto& entry) { return entry.second; });
  if (device != deviceIds_.end()) switchDevice(device->first);
}

void MenuBarContent::switchDevice(const std::string& uid) {
  const bool enabled = !state_.graph(uid).enabled;
  state_.updateGraph(uid, AppState::Persist::yes, [enabled](DeviceGraph& graph) { graph.enabled = enabled; });
  state_.refreshEnvironment();
}

}  // namespace brindlemux
