#pragma once

#include <QObject>
#include <QtQmlIntegration/qqmlintegration.h>
#include <variant>

#include "model/device_graph.h"

namespace brindlemux {

/// The wire that a view shows as selected: a source's, a monitor's, or none. It is a value, so that a wire that is
/// gone leaves a selection that matches nothing. In QML it is the value type `wireSelection`, none by default.
class WireSelection {
  Q_GADGET
  QML_VALUE_TYPE(wireSelection)
  Q_PROPERTY(bool exists READ exists CONSTANT FINAL)

 public:
  WireSelection() = default;
  static WireSelection source(const SourceWire& wire) { return WireSelection(wire); }
  static WireSelection monitor(const MonitorWire& wire) { return WireSelection(wire); }

  bool exists() const noexcept { return !std::holds_alternative<std::monostate>(wire_); }
  /// The selected wire, or null when the selection is none or of the other case.
  const SourceWire* sourceWire() const noexcept { return std::get_if<SourceWire>(&wire_); }
  const MonitorWire* monitorWire() const noexcept { return std::get_if<MonitorWire>(&wire_); }

  friend bool operator==(const WireSelection&, const WireSelection&) = default;

 private:
  using Wire = std::variant<std::monostate, SourceWire, MonitorWire>;
  explicit WireSelection(const Wire& wire) : wire_(wire) {}

  Wire wire_;
};

}  // namespace brindlemux
