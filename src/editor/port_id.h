#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "model/uuid.h"

namespace brindlemux {

/// One port of the canvas. Two are equal when the kind, the node and the channel are. In QML it is the value type
/// `portID`; the singleton `Ports` makes them there.
class PortID {
  Q_GADGET
  QML_VALUE_TYPE(portID)
  Q_PROPERTY(brindlemux::PortID::Kind kind READ kind CONSTANT FINAL)
  Q_PROPERTY(QString nodeID READ nodeID CONSTANT FINAL)
  Q_PROPERTY(int channel READ channelNumber CONSTANT FINAL)

 public:
  enum class Kind {
    /// A channel of a source, on its card.
    sourceOut,
    /// The input side of an output channel of the virtual device.
    outputIn,
    /// The output side of an output channel.
    outputOut,
    /// A channel of a monitor, on its card.
    monitorIn,
    /// A channel that applications play into the virtual device itself.
    passThruOut
  };
  Q_ENUM(Kind)

  /// A port that no card has.
  PortID() = default;

  /// Channels count from 0.
  static PortID sourceOut(const UUID& sourceID, std::int64_t channel) { return {Kind::sourceOut, sourceID, channel}; }
  static PortID outputIn(std::int64_t channel) { return {Kind::outputIn, {}, channel}; }
  static PortID outputOut(std::int64_t channel) { return {Kind::outputOut, {}, channel}; }
  static PortID monitorIn(const UUID& monitorID, std::int64_t channel) { return {Kind::monitorIn, monitorID, channel}; }
  static PortID passThruOut(std::int64_t channel) { return {Kind::passThruOut, {}, channel}; }

  Kind kind() const noexcept { return kind_; }
  /// The source's or the monitor's identifier; all zeros for the other kinds.
  const UUID& node() const noexcept { return node_; }
  /// The same as text; empty for the other kinds.
  QString nodeID() const;
  std::int64_t channel() const noexcept { return channel_; }
  int channelNumber() const noexcept { return static_cast<int>(channel_); }
  /// Whether sound leaves here.
  bool isOutput() const noexcept;

  friend bool operator==(const PortID&, const PortID&) = default;

 private:
  PortID(Kind kind, const UUID& node, std::int64_t channel) : kind_(kind), node_(node), channel_(channel) {}

  Kind kind_ = Kind::outputIn;
  UUID node_;
  std::int64_t channel_ = -1;
};

}  // namespace brindlemux

template <>
struct std::hash<brindlemux::PortID> {
  std::size_t operator()(const brindlemux::PortID& port) const noexcept;
};
