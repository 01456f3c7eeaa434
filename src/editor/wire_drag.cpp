#include "editor/wire_drag.h"

#include "editor/drop_search.h"

namespace brindlemux {

void WireDrag::setEditor(WireEditor* editor) {
  if (editor_ == editor) return;
  editor_ = editor;
  if (editor != nullptr) {
    const auto follow = [this, editor] {
      end();
      if (AppState* appState = editor->appState())
        QObject::connect(appState, &AppState::virtualDevicesChanged, this, &WireDrag::endIfDeviceIsGone,
                         Qt::UniqueConnection);
      if (GraphLayoutModel* layout = editor->layout())
        QObject::connect(layout, &GraphLayoutModel::positionsChanged, this, &WireDrag::endIfPortIsGone,
                         Qt::UniqueConnection);
    };
    QObject::connect(editor, &WireEditor::targetChanged, this, follow);
    follow();
  }
  Q_EMIT editorChanged();
}

const PortPositions& WireDrag::positions() const {
  static const PortPositions nowhere;
  const WireEditor* editor = editor_;
  return editor != nullptr ? editor->positions() : nowhere;
}

QQuickItem* WireDrag::viewOf(const PortID& port) const {
  const WireEditor* editor = editor_;
  const GraphLayoutModel* layout = editor != nullptr ? editor->layout() : nullptr;
  return layout != nullptr ? layout->view(port) : nullptr;
}

std::optional<PortID> WireDrag::portOf(const QQuickItem* view) const {
  const WireEditor* editor = editor_;
  const GraphLayoutModel* layout = editor != nullptr ? editor->layout() : nullptr;
  return layout != nullptr ? layout->port(view) : std::nullopt;
}

std::optional<PortID> WireDrag::target() const {
  return state_ ? dropTarget(positions(), state_->from, state_->point) : std::nullopt;
}

QPointF WireDrag::targetPoint() const {
  const std::optional<PortID> port = target();
  return port ? positions().at(*port) : QPointF();
}

bool WireDrag::disconnects() const {
  const WireEditor* editor = editor_;
  const std::optional<PortID> port = target();
  return port && editor != nullptr && editor->isConnected(state_->from, *port);
}

std::optional<WireEnds> WireDrag::line() const {
  if (!state_) return std::nullopt;
  const auto from = positions().find(state_->from);
  return from != positions().end() ? std::optional(WireEnds{from->second, state_->point}) : std::nullopt;
}

void WireDrag::portDragChanged(const PortID& port, QPointF point) {
  if (cancelled_ == port || !takesWires(port) || editor_ == nullptr || !editor_->isPortPresent(port)) return;
  cancelled_.reset();
  state_ = State{port, point};
  Q_EMIT changed();
}

void WireDrag::portDragEnded(const PortID& port, QPointF point) {
  if (cancelled_ == port) cancelled_.reset();
  if (!state_ || state_->from != port) return;
  state_->point = point;
  WireEditor* editor = editor_;
  if (editor == nullptr) return end();
  if (GraphLayoutModel* layout = editor->layout()) layout->refresh();
  // Reading the places again may have found that the port is gone, which ends the drag.
  if (const std::optional<PortID> found = target()) editor->connectPorts(port, *found);
  end();
}

void WireDrag::portDragCancelled(const PortID& port) {
  if (cancelled_ == port) cancelled_.reset();
  if (state_ && state_->from == port) end();
}

void WireDrag::cancel() {
  if (!state_) return;
  cancelled_ = state_->from;
  end();
}

void WireDrag::endIfPortIsGone() {
  // A port that is gone reports no release.
  if (cancelled_ && !positions().contains(*cancelled_)) cancelled_.reset();
  if (state_ && !positions().contains(state_->from)) end();
  if (state_) Q_EMIT changed();
}

void WireDrag::endIfDeviceIsGone() {
  if (state_ && editor_ != nullptr && !editor_->isDevicePresent()) cancel();
}

void WireDrag::end() {
  if (!state_) return;
  state_.reset();
  Q_EMIT changed();
}

}  // namespace brindlemux
