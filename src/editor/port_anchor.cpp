#include "editor/port_anchor.h"

namespace brindlemux {

PortAnchor::~PortAnchor() {
  if (layout_ != nullptr) layout_->remove(*this);
}

void PortAnchor::setPort(const PortID& port) {
  if (port_ == port) return;
  port_ = port;
  Q_EMIT portChanged();
}

void PortAnchor::setLayout(GraphLayoutModel* layout) {
  if (layout_ == layout) return;
  if (layout_ != nullptr) layout_->remove(*this);
  layout_ = layout;
  if (layout_ != nullptr) layout_->add(*this);
  Q_EMIT layoutChanged();
}

}  // namespace brindlemux
