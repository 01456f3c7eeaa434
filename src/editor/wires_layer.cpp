#include "editor/wires_layer.h"

#include <QQuickWindow>
#include <algorithm>
#include <chrono>

#include "editor/wire_activity.h"
#include "editor/wires_node.h"

namespace brindlemux {
namespace {

/// Above this many per wire that is drawn, the painter is asked to forget.
constexpr std::size_t keptMasks = 4;

}  // namespace

WiresLayer::WiresLayer(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void WiresLayer::setAppState(AppState* appState) {
  if (appState_ == appState) return;
  if (appState_ != nullptr) appState_->disconnect(this);
  appState_ = appState;
  if (appState != nullptr) {
    connect(appState, &AppState::graphsChanged, this, &WiresLayer::lookAgain);
    connect(appState, &AppState::virtualDevicesChanged, this, &WiresLayer::lookAgain);
    connect(appState, &AppState::metersChanged, this, &WiresLayer::metersChanged);
  }
  Q_EMIT subjectChanged();
  lookAgain();
}

void WiresLayer::setDeviceUID(const QString& uid) {
  if (deviceUID_ == uid) return;
  deviceUID_ = uid;
  Q_EMIT subjectChanged();
  lookAgain();
}

void WiresLayer::setLayout(GraphLayoutModel* layout) {
  if (layout_ == layout) return;
  if (layout_ != nullptr) layout_->disconnect(this);
  layout_ = layout;
  if (layout != nullptr) connect(layout, &GraphLayoutModel::positionsChanged, this, &WiresLayer::lookAgain);
  Q_EMIT subjectChanged();
  lookAgain();
}

void WiresLayer::setDrag(WireDrag* drag) {
  if (drag_ == drag) return;
  if (drag_ != nullptr) drag_->disconnect(this);
  drag_ = drag;
  if (drag != nullptr) connect(drag, &WireDrag::changed, this, &WiresLayer::lookAgain);
  Q_EMIT subjectChanged();
  lookAgain();
}

void WiresLayer::setSelectedWire(const WireSelection& wire) {
  if (selectedWire_ == wire) return;
  selectedWire_ = wire;
  Q_EMIT subjectChanged();
  lookAgain();
}

void WiresLayer::setViewport(const QRectF& viewport) {
  if (viewport_ == viewport) return;
  viewport_ = viewport;
  Q_EMIT viewportChanged();
  update();
}

void WiresLayer::setColour(QColor& member, const QColor& colour) {
  if (member == colour) return;
  member = colour;
  Q_EMIT paletteChanged();
  update();
}

DeviceGraph WiresLayer::graph() const {
  return appState_ != nullptr ? appState_->graph(deviceUID_.toStdString()) : DeviceGraph();
}

std::unordered_set<UUID> WiresLayer::audibleSourceIDs() const { return brindlemux::audibleSourceIDs(graph()); }

void WiresLayer::lookAgain() {
  const bool isDifferent = readScene();
  runWhileNeeded();
  if (isDifferent) update();
}

void WiresLayer::metersChanged() {
  const bool isDifferent = readScene();
  runWhileNeeded();
  // While sound flows the next frame comes by itself.
  if (isDifferent && !frames_.isActive()) update();
}

bool WiresLayer::readScene() {
  const AppState* state = appState_;
  if (state == nullptr || layout_ == nullptr) return false;
  const std::string uid = deviceUID_.toStdString();
  const DeviceGraph device = graph();
  const auto& devices = state->virtualDevices();
  const auto config = std::ranges::find(devices, uid, &VirtualDeviceConfig::uid);
  const std::int64_t channels = config != devices.end() ? config->channels : 0;
  const auto meters = state->meters().find(uid);
  const WireScene scene{.graph = device,
                        .deviceChannels = channels,
                        .positions = layout_->positions(),
                        .selectedWire = selectedWire_,
                        .dragLine = drag_ != nullptr ? drag_->line() : std::nullopt,
                        .meters = meters != state->meters().end() ? &meters->second : nullptr};
  const bool isActive = brindlemux::hasActivity(device, channels, scene.meters);
  if (isActive != hasActivity_) {
    hasActivity_ = isActive;
    Q_EMIT hasActivityChanged();
  }
  DrawnWires wires = DrawnWires::of(scene);
  if (wires == wires_) return false;
  wires_ = std::move(wires);
  return true;
}

void WiresLayer::runWhileNeeded() {
  const bool isShown = isVisible() && shownIn_ != nullptr && shownIn_->isExposed();
  if (hasActivity_ && isShown) {
    if (!frames_.isActive()) frames_.start(static_cast<int>(frameInterval.count()), Qt::PreciseTimer, this);
  } else {
    frames_.stop();
  }
}

void WiresLayer::timerEvent(QTimerEvent* event) {
  if (event->timerId() == frames_.timerId()) {
    update();
  } else {
    QQuickItem::timerEvent(event);
  }
}

void WiresLayer::itemChange(ItemChange change, const ItemChangeData& value) {
  QQuickItem::itemChange(change, value);
  if (change == ItemSceneChange) {
    if (shownIn_ != nullptr) shownIn_->removeEventFilter(this);
    shownIn_ = value.window;
    if (shownIn_ != nullptr) shownIn_->installEventFilter(this);
  }
  if (change == ItemDevicePixelRatioHasChanged) update();
  if (change == ItemSceneChange || change == ItemVisibleHasChanged) runWhileNeeded();
}

bool WiresLayer::eventFilter(QObject* watched, QEvent* event) {
  // The window knows whether it is exposed once it has seen the event, hence afterwards.
  if (watched == shownIn_ && event->type() == QEvent::Expose)
    QMetaObject::invokeMethod(this, &WiresLayer::runWhileNeeded, Qt::QueuedConnection);
  return QQuickItem::eventFilter(watched, event);
}

QSGNode* WiresLayer::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
  auto* pictures = node != nullptr ? static_cast<WiresNode*>(node) : new WiresNode;
  painter_.setScale(window()->effectiveDevicePixelRatio());
  painter_.setPalette(palette_);
  const double phase = animationPhase(std::chrono::steady_clock::now().time_since_epoch());
  pictures->show(wires_, viewport_, phase, painter_, palette_, *window());
  const std::size_t drawn = wires_.toOutput.size() + wires_.fromOutput.size() + wires_.drag.size();
  if (painter_.keptCount() > keptMasks * (drawn + 1)) painter_.forgetOthers(wires_);
  return pictures;
}

}  // namespace brindlemux
