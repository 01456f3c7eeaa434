#pragma once

#include <QAccessible>
#include <QCursor>
#include <QQuickItem>
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
#include "app/shell/main_window.h"
#include "app/simulated_program.h"
#include "app/temporary_defaults.h"

namespace brindlemux::test {

/// The program's window on a simulated server with a player, a microphone and two outputs, and a hand for pointer and
/// keyboard.
struct EditorWindow : SimulatedProgram {
  explicit EditorWindow(const std::vector<VirtualDeviceConfig>& devices = {device("A"), device("B", 4)}) {
    hardware.installDriver(devices);
    hardware.addDevice(output("Speakers", "Studio Speakers"));
    hardware.addDevice(input("Microphone", "Desk Microphone", 1));
    hardware.addProcess({.pid = 100, .bundleID = "com.example.Player", .isPlaying = true});
    applications.set(100, "Player");
    MainWindow::chooseStyle();
    defaults = std::make_unique<UserDefaults>();
    defaults->setOnboardingSeen(true);
    main = std::make_unique<MainWindow>(start(), *defaults);
    if (window() == nullptr) throw std::runtime_error("no window: " + complaints.text());
    if (!QTest::qWaitForWindowExposed(window())) throw std::runtime_error("the window stays hidden");
    // Far from everything that shows that the pointer is over it.
    QTest::mouseMove(window(), QPoint(600, 890));
  }

  QQuickWindow* window() const { return main->window(); }
  DeviceGraph graph() const { return state->graph(device("A").uid); }
  template <typename Mutation>
  void edit(Mutation mutation) {
    state->updateGraph(device("A").uid, AppState::Persist::yes, mutation);
  }

  QQuickItem* seek(const std::string& name) const {
    return findItem(window()->contentItem(), QString::fromStdString(name));
  }
  QQuickItem* item(const std::string& name) const {
    if (!eventually([&] { return seek(name) != nullptr; })) throw std::runtime_error("no item " + name);
    return seek(name);
  }
  bool shows(const std::string& name) const { return seek(name) != nullptr && seek(name)->isVisible(); }
  bool comesToShow(const std::string& name) const {
    return eventually([&] { return shows(name); });
  }
  QVariant property(const std::string& name, const char* property) const { return item(name)->property(property); }
  std::string text(const std::string& name) const { return property(name, "text").toString().toStdString(); }
  QAccessibleInterface* accessible(const std::string& name) const {
    return QAccessible::queryAccessibleInterface(item(name));
  }

  /// Has a frame drawn, before which everything gets its place.
  void settle() const {
    bool isDrawn = false;
    const auto frame = QObject::connect(window(), &QQuickWindow::frameSwapped, [&] { isDrawn = true; });
    window()->update();
    if (!eventually([&] { return isDrawn; })) throw std::runtime_error("nothing is drawn");
    QObject::disconnect(frame);
  }
  QPoint middle(const std::string& name) const {
    const QQuickItem* target = item(name);
    settle();
    if (!eventually([&] { return target->isVisible() && target->width() > 0 && target->height() > 0; }))
      throw std::runtime_error(name + " is not shown");
    return target->mapToScene({target->width() / 2, target->height() / 2}).toPoint();
  }
  void hover(const std::string& name) const { QTest::mouseMove(window(), middle(name)); }
  void click(const std::string& name) const {
    QTest::mouseClick(window(), Qt::LeftButton, Qt::NoModifier, middle(name));
  }
  void doubleClick(const std::string& name) const {
    const QPoint at = middle(name);
    QTest::mouseClick(window(), Qt::LeftButton, Qt::NoModifier, at);
    QTest::mouseDClick(window(), Qt::LeftButton, Qt::NoModifier, at);
  }
  void press(QPoint at) const { QTest::mousePress(window(), Qt::LeftButton, Qt::NoModifier, at); }
  void move(QPoint at) const { QTest::mouseMove(window(), at); }
  void release(QPoint at) const { QTest::mouseRelease(window(), Qt::LeftButton, Qt::NoModifier, at); }
  void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
    QTest::keyClick(window(), key, modifiers);
  }
  void type(const QString& text) const {
    for (const QChar letter : text) QTest::keyClick(window(), letter.toLatin1());
  }
  void focus(const std::string& name) const { item(name)->forceActiveFocus(Qt::TabFocusReason); }
  bool hasFocus(const std::string& name) const { return item(name)->hasActiveFocus(); }

  QtComplaints complaints;
  TemporaryDefaults defaultsFolder;
  std::unique_ptr<UserDefaults> defaults;
  std::unique_ptr<MainWindow> main;
};

inline SourceNodeConfig player(std::uint8_t number, const std::string& name = "Player") {
  SourceNodeConfig source;
  source.id = UUID{{number}};
  source.kind = AppSource{"com.example.Player", name};
  return source;
}

inline MonitorNodeConfig speakers(std::uint8_t number, const std::string& name = "Studio Speakers") {
  MonitorNodeConfig monitor;
  monitor.id = UUID{{number}};
  monitor.deviceUID = "Speakers";
  monitor.name = name;
  return monitor;
}

}  // namespace brindlemux::test
