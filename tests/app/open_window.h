#pragma once

#include <QGuiApplication>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/event_loop.h"
#include "app/find_item.h"
#include "app/qt_complaints.h"
#include "app/shell/brindlemux_app.h"
#include "app/simulated_program.h"
#include "app/temporary_defaults.h"
#include "app/tray/private_bus.h"

namespace brindlemux::test {

/// The program in a window, on a simulated audio server.
struct OpenWindow : SimulatedProgram {
  enum class Start { first, later };

  explicit OpenWindow(const std::vector<VirtualDeviceConfig>& devices, Start kind = Start::later,
                      const QDBusConnection& bus = noBus()) {
    hardware.installDriver(devices);
    open(kind, bus);
  }
  /// Without a driver.
  explicit OpenWindow(Start kind = Start::later) { open(kind, noBus()); }

  void open(Start kind, const QDBusConnection& bus) {
    MainWindow::chooseStyle();
    userDefaults = std::make_unique<UserDefaults>();
    if (kind == Start::later) userDefaults->setOnboardingSeen(true);
    app = std::make_unique<BrindlemuxApp>(start(), *userDefaults, scheduler, bus);
    if (!app->openWindow()) throw std::runtime_error("no window");
    if (!QTest::qWaitForWindowActive(window())) throw std::runtime_error("the window stays hidden");
  }

  QQuickWindow* window() const { return app->window(); }
  QQuickItem* item(const std::string& name) const {
    return window() != nullptr ? findItem(window()->contentItem(), QString::fromStdString(name)) : nullptr;
  }
  bool shows(const std::string& name) const { return item(name) != nullptr && item(name)->isVisible(); }
  bool hasFocus(const std::string& name) const { return item(name) != nullptr && item(name)->hasActiveFocus(); }
  QString text(const std::string& name) const {
    return item(name) != nullptr ? item(name)->property("text").toString() : QStringLiteral("no such item");
  }
  void click(const std::string& name) const {
    ASSERT_TRUE(eventually([&] { return shows(name) && item(name)->width() > 0; })) << name;
    const QQuickItem* target = item(name);
    const QPointF middle = target->mapToScene({target->width() / 2, target->height() / 2});
    QTest::mouseClick(window(), Qt::LeftButton, Qt::NoModifier, middle.toPoint());
  }
  void press(Qt::Key key) const { QTest::keyClick(window(), key); }

  QtComplaints complaints;
  TemporaryDefaults defaultsFolder;
  std::unique_ptr<UserDefaults> userDefaults;
  std::unique_ptr<BrindlemuxApp> app;
};

}  // namespace brindlemux::test
