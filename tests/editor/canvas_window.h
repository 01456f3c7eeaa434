#pragma once

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <memory>
#include <stdexcept>
#include <string>

#include "app/event_loop.h"
#include "app/find_item.h"
#include "app/simulated_program.h"
#include "editor/editor_samples.h"
#include "editor/graph_layout_model.h"
#include "editor/wire_drag.h"
#include "editor/wire_selection.h"

namespace brindlemux::test {

/// A window with the canvas of the device "A" in it, and the controller behind it.
struct CanvasWindow : SimulatedProgram {
  static constexpr const char* source = R"(
    import QtQuick
    import QtQuick.Window
    import Brindlemux.Controller
    import Brindlemux.Editor
    Window {
      id: root
      required property AppState appState
      required property string uid
      property alias canvas: canvas
      visible: true
      color: "black"
      GraphEditor { id: graphEditor; appState: root.appState; deviceUID: root.uid }
      property real inset: 0
      GraphCanvasView {
        id: canvas
        anchors.fill: parent
        anchors.leftMargin: root.inset
        anchors.topMargin: root.inset
        editor: graphEditor
      }
    })";

  explicit CanvasWindow(const DeviceGraph& graph = {}, std::int64_t channels = 2, QSize size = {1000, 700}) {
    hardware.installDriver({device("A", channels), device("B", channels)});
    start();
    edit([&](DeviceGraph& edited) {
      edited = graph;
      edited.deviceUID = uid;
    });
    open(size);
  }

  void open(QSize size) {
    QQmlComponent component(&engine);
    component.setData(source, QUrl());
    if (component.isError()) throw std::runtime_error(component.errorString().toStdString());
    window.reset(qobject_cast<QQuickWindow*>(
        component.createWithInitialProperties({{"appState", QVariant::fromValue(state.get())},
                                               {"uid", QString::fromStdString(uid)},
                                               {"width", size.width()},
                                               {"height", size.height()}})));
    if (window == nullptr) throw std::runtime_error(component.errorString().toStdString());
    if (!QTest::qWaitForWindowExposed(window.get())) throw std::runtime_error("the window stays hidden");
    canvas = window->property("canvas").value<QQuickItem*>();
    space = item("canvas.space");
    layout = space->findChild<GraphLayoutModel*>();
    if (layout == nullptr) layout = canvas->findChild<GraphLayoutModel*>();
    if (!eventually([&] { return layout->position(PortID::outputIn(0)).has_value(); }))
      throw std::runtime_error("the canvas is not laid out");
  }

  template <typename Mutation>
  void edit(Mutation mutation) {
    state->updateGraph(uid, AppState::Persist::yes, mutation);
  }
  DeviceGraph graph() const { return state->graph(uid); }
  void play(const MeterSnapshot& meters) { AppStateProbe::setMeters(*state, uid, meters); }

  QQuickItem* item(const std::string& name) const {
    QQuickItem* found = findItem(window->contentItem(), QString::fromStdString(name));
    if (found == nullptr) throw std::runtime_error("no item " + name);
    return found;
  }
  bool shows(const std::string& name) const {
    const QQuickItem* found = findItem(window->contentItem(), QString::fromStdString(name));
    return found != nullptr && found->isVisible();
  }

  QPointF place(const PortID& port) const {
    if (!eventually([&] { return layout->position(port).has_value(); })) throw std::runtime_error("no such port");
    return *layout->position(port);
  }
  QPoint inWindow(QPointF point) const { return space->mapToScene(point).toPoint(); }

  void press(QPointF point) const { QTest::mousePress(window.get(), Qt::LeftButton, Qt::NoModifier, inWindow(point)); }
  void move(QPointF point) const { QTest::mouseMove(window.get(), inWindow(point)); }
  void release(QPointF point) const {
    QTest::mouseRelease(window.get(), Qt::LeftButton, Qt::NoModifier, inWindow(point));
  }
  void click(QPointF point) const { QTest::mouseClick(window.get(), Qt::LeftButton, Qt::NoModifier, inWindow(point)); }
  void doubleClick(QPointF point) const {
    QTest::mouseClick(window.get(), Qt::LeftButton, Qt::NoModifier, inWindow(point));
    QTest::mouseDClick(window.get(), Qt::LeftButton, Qt::NoModifier, inWindow(point));
  }
  /// A drag as a hand does it, by way of a point between.
  void drag(QPointF from, QPointF to) const {
    press(from);
    move(from + QPointF(6, 3));
    move((from + to) / 2);
    move(to);
    release(to);
  }
  void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const { QTest::keyClick(window.get(), key, modifiers); }

  WireDrag& wireDrag() const { return *canvas->findChild<WireDrag*>(); }
  WireSelection selected() const { return canvas->property("selectedWire").value<WireSelection>(); }

  const std::string uid = device("A").uid;
  QQmlEngine engine;
  std::unique_ptr<QQuickWindow> window;
  QQuickItem* canvas = nullptr;
  QQuickItem* space = nullptr;
  GraphLayoutModel* layout = nullptr;
};

}  // namespace brindlemux::test
