#pragma once

#include <span>
#include <utility>
#include <vector>

#include "app/controller/keyed_list_model.h"
#include "model/device_graph.h"
#include "platform/audio_device_info.h"

namespace brindlemux {

// The rows from which the node cards are made, keyed by the node's identifier.

/// Roles of a source's row. A monitor's row has them too, without a subtitle and without peaks.
enum NodeRole {
  nodeIDRole = KeyedListModel::firstRole,
  nameRole,
  symbolRole,
  subtitleRole,
  isActiveRole,
  isEnabledRole,
  gainRole,
  channelsRole,
  peaksRole,
  connectedChannelsRole
};

/// The names of the roles, in their order.
QList<QByteArray> nodeRoles();

/// Linear peaks per channel, as QML takes them.
using Peaks = QList<double>;
inline Peaks peaksOf(const std::vector<float>& peaks) { return {peaks.begin(), peaks.end()}; }

KeyedListModel::Row sourceRow(const DeviceGraph& graph, const SourceNodeConfig& source, bool isActive,
                              const Peaks& peaks, std::span<const AudioDeviceInfo> devices);
KeyedListModel::Row monitorRow(const DeviceGraph& graph, const MonitorNodeConfig& monitor, bool isActive,
                               std::span<const AudioDeviceInfo> devices);

/// Channel numbers as QML takes them, without those that are too large for it, which no card has.
template <typename Channels>
QList<int> channelNumbers(const Channels& channels) {
  QList<int> numbers;
  for (const auto channel : channels) {
    if (std::in_range<int>(channel)) numbers.append(static_cast<int>(channel));
  }
  return numbers;
}

}  // namespace brindlemux
