#pragma once

#include <QBasicTimer>
#include <QPointer>
#include <QQuickItem>
#include <QRectF>
#include <QtQmlIntegration/qqmlintegration.h>
#include <unordered_set>

#include "app/controller/app_state.h"
#include "editor/graph_layout_model.h"
#include "editor/wire_drag.h"
#include "editor/wire_painter.h"
#include "editor/wire_scene.h"
#include "editor/wire_selection.h"

namespace brindlemux {

/// Draws every wire of one device's graph. It lies below the cards, and covers the canvas' content.
///
/// While sound flows it draws 30 times a second; otherwise only when something that it shows has changed, and never
/// while its window shows nothing. It draws pictures of its own making, so that the wires look the same on every
/// renderer, and none larger than `viewport`.
///
/// Threads: the main thread, and the render thread while that one waits. Borrows the controller, the layout, the drag.
class WiresLayer : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::AppState* appState READ appState WRITE setAppState NOTIFY subjectChanged REQUIRED FINAL)
  Q_PROPERTY(QString deviceUID READ deviceUID WRITE setDeviceUID NOTIFY subjectChanged REQUIRED FINAL)
  Q_PROPERTY(brindlemux::GraphLayoutModel* layout READ layout WRITE setLayout NOTIFY subjectChanged REQUIRED FINAL)
  Q_PROPERTY(brindlemux::WireDrag* drag READ drag WRITE setDrag NOTIFY subjectChanged FINAL)
  Q_PROPERTY(brindlemux::WireSelection selectedWire READ selectedWire WRITE setSelectedWire NOTIFY subjectChanged FINAL)
  /// The part of the content that can be seen, in the content's coordinates.
  Q_PROPERTY(QRectF viewport READ viewport WRITE setViewport NOTIFY viewportChanged FINAL)
  Q_PROPERTY(QColor accent READ accent WRITE setAccent NOTIFY paletteChanged FINAL)
  Q_PROPERTY(QColor activity READ activity WRITE setActivity NOTIFY paletteChanged FINAL)
  Q_PROPERTY(QColor selection READ selection WRITE setSelection NOTIFY paletteChanged FINAL)
  Q_PROPERTY(QColor secondary READ secondary WRITE setSecondary NOTIFY paletteChanged FINAL)
  /// Whether any wire carries sound.
  Q_PROPERTY(bool hasActivity READ hasActivity NOTIFY hasActivityChanged FINAL)

 public:
  /// A thirtieth of a second at the least, in whole milliseconds.
  static constexpr std::chrono::milliseconds frameInterval{34};

  explicit WiresLayer(QQuickItem* parent = nullptr);

  AppState* appState() const { return appState_; }
  void setAppState(AppState* appState);
  QString deviceUID() const { return deviceUID_; }
  void setDeviceUID(const QString& uid);
  GraphLayoutModel* layout() const { return layout_; }
  void setLayout(GraphLayoutModel* layout);
  WireDrag* drag() const { return drag_; }
  void setDrag(WireDrag* drag);
  const WireSelection& selectedWire() const { return selectedWire_; }
  void setSelectedWire(const WireSelection& wire);
  QRectF viewport() const { return viewport_; }
  void setViewport(const QRectF& viewport);

  QColor accent() const { return palette_.accent; }
  void setAccent(const QColor& colour) { setColour(palette_.accent, colour); }
  QColor activity() const { return palette_.activity; }
  void setActivity(const QColor& colour) { setColour(palette_.activity, colour); }
  QColor selection() const { return palette_.selection; }
  void setSelection(const QColor& colour) { setColour(palette_.selection, colour); }
  QColor secondary() const { return palette_.secondary; }
  void setSecondary(const QColor& colour) { setColour(palette_.secondary, colour); }

  /// The sources that are switched on.
  std::unordered_set<UUID> audibleSourceIDs() const;
  bool hasActivity() const noexcept { return hasActivity_; }

 Q_SIGNALS:
  void subjectChanged();
  void viewportChanged();
  void paletteChanged();
  void hasActivityChanged();

 protected:
  QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData*) override;
  void itemChange(ItemChange change, const ItemChangeData& value) override;
  void timerEvent(QTimerEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  DeviceGraph graph() const;
  void lookAgain();
  void metersChanged();
  /// Returns whether anything looks different.
  bool readScene();
  void runWhileNeeded();
  void setColour(QColor& member, const QColor& colour);

  QPointer<AppState> appState_;
  QString deviceUID_;
  QPointer<GraphLayoutModel> layout_;
  QPointer<WireDrag> drag_;
  WireSelection selectedWire_;
  QRectF viewport_;
  WirePalette palette_;

  bool hasActivity_ = false;
  DrawnWires wires_;
  QBasicTimer frames_;
  QPointer<QQuickWindow> shownIn_;
  WirePainter painter_;
};

}  // namespace brindlemux
