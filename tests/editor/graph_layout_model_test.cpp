#include "editor/graph_layout_model.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

#include "app/event_loop.h"
#include "editor/port_anchor.h"

namespace brindlemux {
namespace {

using test::eventually;

/// A window of 400 by 300 with a scrolled space in it and a card with two ports in that.
struct LayoutWindow {
  LayoutWindow() {
    QQmlComponent component(view.engine());
    component.setData(R"(
      import QtQuick
      import Brindlemux.Editor
      Flickable {
        property alias layout: model
        property alias card: card
        property alias ports: ports
        width: 400; height: 300
        contentWidth: 2000; contentHeight: 1000
        GraphLayoutModel { id: model; space: space }
        Item {
          id: space
          width: 2000; height: 1000
          Item {
            id: card
            x: 100; y: 50
            Repeater {
              id: ports
              model: 2
              Item {
                id: view
                required property int index
                readonly property portID port: Ports.outputIn(index)
                x: 10; y: 20 * index
                width: 13; height: 13
                PortAnchor { anchors.fill: parent; port: view.port; layout: model }
              }
            }
          }
        }
      })",
                      QUrl());
    root.reset(qobject_cast<QQuickItem*>(component.create()));
    if (root == nullptr) throw std::runtime_error(component.errorString().toStdString());
    view.setContent(QUrl(), nullptr, root.get());
    layout = root->property("layout").value<GraphLayoutModel*>();
    card = root->property("card").value<QQuickItem*>();
    ports = root->property("ports").value<QQuickItem*>();
    view.resize(400, 300);
    view.show();
    if (!QTest::qWaitForWindowExposed(&view)) throw std::runtime_error("the window stays hidden");
  }

  bool becomes(const PortID& port, std::optional<QPointF> place) const {
    return eventually([&] { return layout->position(port) == place; });
  }

  QQuickView view;
  std::unique_ptr<QQuickItem> root;
  GraphLayoutModel* layout = nullptr;
  QQuickItem* card = nullptr;
  QQuickItem* ports = nullptr;
};

TEST(GraphLayoutModel, holdsTheCentreOfEveryPort) {
  const LayoutWindow window;
  // The card's place, the view's in it, half of 13.
  ASSERT_TRUE(window.becomes(PortID::outputIn(0), QPointF(100 + 10 + 6.5, 50 + 0 + 6.5)));
  EXPECT_TRUE(window.becomes(PortID::outputIn(1), QPointF(100 + 10 + 6.5, 50 + 20 + 6.5)));
  EXPECT_EQ(window.layout->positions().size(), 2U);
  EXPECT_EQ(window.layout->position(PortID::outputOut(0)), std::nullopt);
}

TEST(GraphLayoutModel, followsInTheFrameThatMovesTheCard) {
  const LayoutWindow window;
  ASSERT_TRUE(window.becomes(PortID::outputIn(0), QPointF(116.5, 56.5)));
  std::optional<QPointF> drawn;
  // What the scene graph is about to draw.
  QObject::connect(
      &window.view, &QQuickWindow::beforeSynchronizing, &window.view,
      [&] {
        if (!drawn) drawn = window.layout->position(PortID::outputIn(0));
      },
      Qt::DirectConnection);
  window.card->setX(300);
  ASSERT_TRUE(eventually([&] { return drawn.has_value(); }));
  EXPECT_EQ(*drawn, QPointF(316.5, 56.5));
}

TEST(GraphLayoutModel, keepsPortsThatAreScrolledOutOfSight) {
  const LayoutWindow window;
  ASSERT_TRUE(window.becomes(PortID::outputIn(0), QPointF(116.5, 56.5)));
  QSignalSpy frames(&window.view, &QQuickWindow::afterAnimating);
  window.root->setProperty("contentX", 900);
  ASSERT_TRUE(eventually([&] { return frames.count() > 0; }));
  EXPECT_EQ(window.layout->position(PortID::outputIn(0)), QPointF(116.5, 56.5));
}

TEST(GraphLayoutModel, forgetsPortsThatGoOrHide) {
  const LayoutWindow window;
  ASSERT_TRUE(window.becomes(PortID::outputIn(1), QPointF(116.5, 76.5)));
  window.ports->setProperty("model", 1);
  EXPECT_TRUE(window.becomes(PortID::outputIn(1), std::nullopt));
  EXPECT_EQ(window.layout->view(PortID::outputIn(1)), nullptr);
  EXPECT_NE(window.layout->view(PortID::outputIn(0)), nullptr);
  window.card->setVisible(false);
  EXPECT_TRUE(window.becomes(PortID::outputIn(0), std::nullopt));
}

TEST(GraphLayoutModel, tellsOnlyWhenSomethingMoved) {
  const LayoutWindow window;
  ASSERT_TRUE(window.becomes(PortID::outputIn(1), QPointF(116.5, 76.5)));
  QSignalSpy changes(window.layout, &GraphLayoutModel::positionsChanged);
  window.layout->refresh();
  EXPECT_EQ(changes.count(), 0);
  window.card->setY(51);
  window.layout->refresh();
  EXPECT_EQ(changes.count(), 1);
}

}  // namespace
}  // namespace brindlemux
