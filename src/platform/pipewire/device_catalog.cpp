#include "platform/pipewire/device_catalog.h"

#include <algorithm>
#include <map>
#include <optional>

#include "model/driver_payload.h"

namespace brindlemux {
namespace {

bool isSink(const ServerNode& node) { return node.mediaClass() == "Audio/Sink"; }
bool isDuplex(const ServerNode& node) { return node.mediaClass() == "Audio/Duplex"; }
bool isSource(const ServerNode& node) {
  return node.mediaClass() == "Audio/Source" || node.mediaClass() == "Audio/Source/Virtual";
}

/// The driver makes its nodes inside the server: one that has a client is somebody else's, whatever it says of itself.
std::string_view driverUID(const ServerNode& node) {
  return node.properties.value(PW_KEY_CLIENT_ID).empty() ? node.properties.value(driverNodeDeviceKey)
                                                         : std::string_view{};
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

/// A node of the driver with the ports that the program links, all of which have arrived.
struct Half {
  const ServerNode* node = nullptr;
  std::vector<const ServerPort*> ports;
};

/// The driver's nodes that carry one UID, in the order in which they were made.
struct Halves {
  std::vector<Half> sinks;
  std::vector<Half> sources;
};

struct Pair {
  Half sink;
  Half source;
};

/// The newest sink that has a source of its size, with the newest of those. A device that changes its channels has four
/// nodes for a while: the former two are one device until the latter two are.
std::optional<Pair> newestPair(const Halves& halves) {
  for (auto sink = halves.sinks.rbegin(); sink != halves.sinks.rend(); ++sink) {
    const auto source = std::find_if(halves.sources.rbegin(), halves.sources.rend(),
                                     [&](const Half& half) { return half.ports.size() == sink->ports.size(); });
    if (source != halves.sources.rend()) return Pair{*sink, *source};
  }
  return std::nullopt;
}

std::map<std::string_view, Pair> virtualPairs(const ServerMirror& mirror, const std::vector<const ServerNode*>& nodes) {
  std::map<std::string_view, Halves> halves;
  for (const ServerNode* node : nodes) {
    const std::string_view uid = driverUID(*node);
    if (uid.empty() || (!isSink(*node) && !isSource(*node))) continue;
    auto ports = completePorts(mirror, *node, isSink(*node) ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT);
    if (ports.empty()) continue;
    auto& side = isSink(*node) ? halves[uid].sinks : halves[uid].sources;
    side.push_back({node, std::move(ports)});
  }
  std::map<std::string_view, Pair> pairs;
  for (const auto& [uid, nodesOfUID] : halves) {
    if (auto pair = newestPair(nodesOfUID)) pairs.emplace(uid, std::move(*pair));
  }
  return pairs;
}

}  // namespace

std::vector<DeviceRecord> listDevices(const ServerMirror& mirror, ObjectIDs& ids) {
  std::vector<DeviceRecord> devices;
  std::map<std::string_view, std::size_t> positions;

  const auto add = [&](DeviceRecord device) {
    if (device.uid.empty() || (device.capturePorts.empty() && device.playbackPorts.empty())) return;
    devices.push_back(std::move(device));
  };

  const auto nodes = mirror.nodes();
  const auto pairs = virtualPairs(mirror, nodes);
  for (const ServerNode* node : nodes) {
    const std::string_view pairUID = driverUID(*node);
    if (!pairUID.empty()) {
      const auto pair = pairs.find(pairUID);
      if (pair == pairs.end() || node != pair->second.sink.node) continue;
      DeviceRecord device = recordOf(mirror, *node, pairUID, ids);
      device.isVirtual = true;
      device.playbackPorts = pair->second.sink.ports;
      device.capturePorts = pair->second.source.ports;
      add(std::move(device));
      continue;
    }
    if (!isSink(*node) && !isSource(*node) && !isDuplex(*node)) continue;
    // Whoever takes a virtual device's name does not become it, nor while it is away.
    if (node->name().starts_with(virtualDeviceUIDPrefix) || pairs.contains(node->name())) continue;
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
