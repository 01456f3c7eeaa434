#include "editor/graph_layout_model.h"

#include <QQuickWindow>
#include <algorithm>

#include "editor/port_anchor.h"

namespace brindlemux {

void GraphLayoutModel::setSpace(QQuickItem* space) {
  if (space_ == space) return;
  if (space_ != nullptr) space_->disconnect(this);
  space_ = space;
  if (space != nullptr) connect(space, &QQuickItem::windowChanged, this, &GraphLayoutModel::follow);
  follow(space != nullptr ? space->window() : nullptr);
  Q_EMIT spaceChanged();
  refresh();
}

void GraphLayoutModel::follow(QQuickWindow* window) {
  disconnect(frames_);
  // Emitted on this thread when the items are laid out and the scene graph has not yet asked what is to be drawn, so
  // that wires that are marked for drawing here appear in the same frame as the cards that moved.
  if (window != nullptr) frames_ = connect(window, &QQuickWindow::afterAnimating, this, &GraphLayoutModel::refresh);
}

std::optional<QPointF> GraphLayoutModel::position(const PortID& port) const {
  const auto found = positions_.find(port);
  return found != positions_.end() ? std::optional(found->second) : std::nullopt;
}

QQuickItem* GraphLayoutModel::view(const PortID& port) const {
  const auto found = std::find_if(anchors_.rbegin(), anchors_.rend(), [&](const PortAnchor* anchor) {
    return anchor->port() == port && space_ != nullptr && space_->isAncestorOf(anchor);
  });
  return found != anchors_.rend() ? (*found)->parentItem() : nullptr;
}

std::optional<PortID> GraphLayoutModel::port(const QQuickItem* view) const {
  const auto found = std::ranges::find(anchors_, view, [](const PortAnchor* anchor) { return anchor->parentItem(); });
  return view != nullptr && found != anchors_.end() ? std::optional((*found)->port()) : std::nullopt;
}

void GraphLayoutModel::add(PortAnchor& anchor) { anchors_.push_back(&anchor); }

void GraphLayoutModel::remove(PortAnchor& anchor) { std::erase(anchors_, &anchor); }

void GraphLayoutModel::refresh() {
  PortPositions positions;
  positions.reserve(anchors_.size());
  for (const PortAnchor* anchor : anchors_) {
    if (space_ == nullptr || !anchor->isVisible() || !space_->isAncestorOf(anchor)) continue;
    positions.insert_or_assign(anchor->port(),
                               anchor->mapToItem(space_, QPointF(anchor->width() / 2, anchor->height() / 2)));
  }
  if (positions == positions_) return;
  positions_ = std::move(positions);
  Q_EMIT positionsChanged();
}

}  // namespace brindlemux
