#include "platform/pipewire/device_catalog.h"

#include <algorithm>
#include <map>

#include "model/driver_payload.h"

namespace brindlemux {
namespace {

bool isSink(const ServerNode& node) { return node.mediaClass() == "Audio/Sink"; }
bool isDuplex(const ServerNode& node) { return node.mediaClass() == "Audio/Duplex"; }
bool isSource(const ServerNode& node) {
  return node.mediaClass() == "Audio/Source" || node.mediaClass() == "Audio/Source/Virtual";
}

/// All ports of one direction, or none while some that the node has announced are still to come.
std::vector<const ServerPort*> completePorts(const ServerMirror& mirror, const ServerNode& node,
                                             pw_direction direction) {
  auto ports = mirror.ports(node.globalID, direction);
  const std::uint32_t announced = direction == PW_DIRECTION_INPUT ? node.inputPortCount : node.outputPortCount;
  if (!node.described || ports.size() < announced) ports.clear();
  return ports;
}

DeviceRecord recordOf(const ServerMirror& mirror, const ServerNode& node, std::string_view uid, ObjectIDs& ids) {
  DeviceRecord device;
  device.id = ids.of("device", mirror.session(), node.serial);
  device.uid = uid;
  const std::string_view description = node.properties.value(PW_KEY_NODE_DESCRIPTION);
  device.name = description.empty() ? node.name() : description;
  return device;
}

/// Nodes of the driver that belong to one UID; the newest of each kind.
struct Pair {
  const ServerNode* sink = nullptr;
  const ServerNode* source = nullptr;
};

}  // namespace

std::vector<DeviceRecord> listDevices(const ServerMirror& mirror, ObjectIDs& ids) {
  std::vector<DeviceRecord> devices;
  std::map<std::string_view, Pair> pairs;
  std::map<std::string_view, std::size_t> positions;

  const auto add = [&](DeviceRecord device) {
    if (device.uid.empty() || (device.capturePorts.empty() && device.playbackPorts.empty())) return;
    devices.push_back(std::move(device));
  };

  const auto nodes = mirror.nodes();
  for (const ServerNode* node : nodes) {
    const std::string_view uid = node->properties.value(driverNodeDeviceKey);
    if (uid.empty()) continue;
    if (isSink(*node)) pairs[uid].sink = node;
    if (isSource(*node)) pairs[uid].source = node;
  }

  for (const ServerNode* node : nodes) {
    const std::string_view pairUID = node->properties.value(driverNodeDeviceKey);
    if (!pairUID.empty()) {
      const Pair& pair = pairs[pairUID];
      if (node != pair.sink || pair.source == nullptr) continue;
      DeviceRecord device = recordOf(mirror, *node, pairUID, ids);
      device.isVirtual = true;
      device.playbackPorts = completePorts(mirror, *pair.sink, PW_DIRECTION_INPUT);
      device.capturePorts = completePorts(mirror, *pair.source, PW_DIRECTION_OUTPUT);
      if (!device.playbackPorts.empty() && !device.capturePorts.empty()) add(std::move(device));
      continue;
    }
    if (!isSink(*node) && !isSource(*node) && !isDuplex(*node)) continue;
    DeviceRecord device = recordOf(mirror, *node, node->name(), ids);
    if (!isSource(*node)) device.playbackPorts = completePorts(mirror, *node, PW_DIRECTION_INPUT);
    if (!isSink(*node)) device.capturePorts = completePorts(mirror, *node, PW_DIRECTION_OUTPUT);
    add(std::move(device));
  }

  // Of several devices with one UID the newest counts.
  std::vector<DeviceRecord> unique;
  for (std::size_t i = 0; i < devices.size(); ++i) positions[devices[i].uid] = i;
  for (std::size_t i = 0; i < devices.size(); ++i) {
    if (positions[devices[i].uid] == i) unique.push_back(devices[i]);
  }
  return unique;
}

}  // namespace brindlemux
