#include "editor/wire_keys.h"

#include <algorithm>
#include <cmath>

namespace brindlemux {
namespace {

std::optional<Direction> directionOf(int key) {
  switch (key) {
    case Qt::Key_Left:
      return Direction::left;
    case Qt::Key_Right:
      return Direction::right;
    case Qt::Key_Up:
      return Direction::up;
    case Qt::Key_Down:
      return Direction::down;
    default:
      return std::nullopt;
  }
}

}  // namespace

void WireKeys::setDrag(WireDrag* drag) {
  if (drag_ == drag) return;
  if (drag_ != nullptr) drag_->disconnect(this);
  drag_ = drag;
  if (drag != nullptr) connect(drag, &WireDrag::changed, this, &WireKeys::followDrag);
  Q_EMIT dragChanged();
}

const PortPositions& WireKeys::positions() const {
  static const PortPositions nowhere;
  const WireDrag* drag = drag_;
  return drag != nullptr ? drag->positions() : nowhere;
}

QQuickItem* WireKeys::targetView() const {
  const WireDrag* drag = drag_;
  return drag != nullptr && target_ ? drag->viewOf(*target_) : nullptr;
}

bool WireKeys::begin(const PortID& port) {
  const auto start = positions().find(port);
  const std::vector<PortID> ports = compatiblePorts(positions(), port);
  if (start == positions().end() || ports.empty()) return false;
  const auto nearest = std::ranges::min_element(
      ports, {}, [&](const PortID& other) { return std::abs(positions().at(other).y() - start->second.y()); });
  from_ = port;
  aim(*nearest);
  return isActive();
}

bool WireKeys::press(int key) {
  if (!isActive()) return false;
  if (key == Qt::Key_Tab || key == Qt::Key_Down) {
    step(1);
  } else if (key == Qt::Key_Backtab || key == Qt::Key_Up) {
    step(-1);
  } else if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) {
    finish();
  } else if (key == Qt::Key_Escape) {
    cancel();
  } else {
    // The remaining arrows have nowhere to lead; other keys are for others.
    return key == Qt::Key_Left || key == Qt::Key_Right;
  }
  return true;
}

void WireKeys::step(int by) {
  const std::vector<PortID> ports = compatiblePorts(positions(), *from_);
  if (ports.empty()) return cancel();
  const auto count = static_cast<std::ptrdiff_t>(ports.size());
  const auto at = target_ ? std::ranges::find(ports, *target_) - ports.begin() : count;
  const std::ptrdiff_t next = at == count ? 0 : (at + by + count) % count;
  aim(ports[static_cast<std::size_t>(next)]);
}

void WireKeys::aim(const PortID& port) {
  target_ = port;
  WireDrag* drag = drag_;
  if (drag != nullptr) drag->portDragChanged(*from_, positions().at(port));
  // A port that may not be dragged has no wire to give.
  if (drag == nullptr || !drag->isActive()) from_.reset();
  if (!from_) target_.reset();
  Q_EMIT changed();
}

void WireKeys::finish() {
  const std::optional<PortID> from = std::exchange(from_, std::nullopt);
  const std::optional<PortID> target = std::exchange(target_, std::nullopt);
  if (WireDrag* drag = drag_) {
    if (from && target && positions().contains(*target)) {
      drag->portDragEnded(*from, positions().at(*target));
    } else {
      drag->abandon();
    }
  }
  Q_EMIT changed();
}

void WireKeys::cancel() {
  if (!isActive()) return;
  from_.reset();
  target_.reset();
  if (WireDrag* drag = drag_) drag->abandon();
  Q_EMIT changed();
}

void WireKeys::followDrag() {
  if (!isActive()) return;
  const WireDrag* drag = drag_;
  if (drag == nullptr || !drag->isActive() || drag->from() != *from_) {
    from_.reset();
    target_.reset();
    Q_EMIT changed();
    return;
  }
  // A card that moves takes the end of the wire with it; one that goes leaves it to the next.
  const auto place = target_ ? positions().find(*target_) : positions().end();
  if (place == positions().end()) {
    step(1);
  } else if (drag->line() && drag->line()->to != place->second) {
    aim(*target_);
  }
}

bool WireKeys::moveFocus(int key, QQuickItem* focused) {
  const std::optional<Direction> direction = directionOf(key);
  const WireDrag* drag = drag_;
  if (!direction || drag == nullptr) return false;
  const std::optional<PortID> port = drag->portOf(focused);
  const std::optional<PortID> next = port ? portBeside(positions(), *port, *direction) : std::nullopt;
  QQuickItem* view = next ? drag->viewOf(*next) : nullptr;
  if (view != nullptr) view->forceActiveFocus(Qt::TabFocusReason);
  return view != nullptr;
}

}  // namespace brindlemux
