#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "fuzz/fuzz_target.h"
#include "fuzz/scripted_server.h"
#include "platform/pipewire/device_catalog.h"
#include "platform/pipewire/process_catalog.h"
#include "platform/pipewire/tap_wiring.h"

using namespace brindlemux;
using test::require;

namespace {

constexpr std::size_t mostLines = 400;

void checkDevices(const ServerMirror& mirror, ObjectIDs& ids) {
  std::set<std::string> uids;
  std::set<AudioObjectID> numbers;
  for (const DeviceRecord& device : listDevices(mirror, ids)) {
    require(!device.uid.empty(), "a device has a UID");
    require(uids.insert(device.uid).second, "a UID is one device");
    require(numbers.insert(device.id).second, "a number is one device");
    require(!device.capturePorts.empty() || !device.playbackPorts.empty(), "a device has channels");
    for (const ServerPort* port : device.capturePorts) {
      require(port->direction == PW_DIRECTION_OUTPUT, "sound is captured from outputs");
    }
    for (const ServerPort* port : device.playbackPorts) {
      require(port->direction == PW_DIRECTION_INPUT, "sound is played into inputs");
    }
  }
}

void checkTap(const ServerMirror& mirror, const ServerNode& node) {
  std::array<ServerPort, tapInputCount> inputs;
  TapPorts tap = {};
  for (std::size_t i = 0; i < tapInputCount; ++i) tap[i] = &inputs[i];
  const auto ports = mirror.ports(node.globalID, PW_DIRECTION_OUTPUT);

  std::vector<LinkRequest> links;
  addStreamLinks(ports, node.streamChannels, tap, links);
  for (const LinkRequest& link : links) {
    require(std::ranges::find(ports, link.output) != ports.end(), "a tap takes from the stream alone");
  }
  const std::size_t most = tapInputCount * std::max<std::size_t>(1, ports.size());
  require(links.size() <= most, "no port is linked twice to one input");
  for (const UnheardPorts unheard : {UnheardPorts::omitted, UnheardPorts::taken}) {
    links.clear();
    addJackLinks(mirror, node, unheard, tap, links);
    for (const LinkRequest& link : links) require(link.output->isAudio, "a tap takes sound alone");
  }
}

void checkProcesses(const ServerMirror& mirror, ProcessCatalog& catalog) {
  std::set<std::int32_t> pids;
  std::set<AudioObjectID> numbers;
  std::set<const ServerNode*> owned;
  for (const ProcessRecord& process : catalog.list()) {
    const bool isStandIn = process.pid <= -100;
    require(process.pid > 0 || isStandIn, "a process has a number, or a stand-in for one");
    require(!isStandIn || !process.bundleID.empty(), "a stand-in belongs to a named sandbox");
    require(pids.insert(process.pid).second, "a process is listed once");
    require(numbers.insert(process.id).second, "a number is one process");
    for (const ServerNode* node : process.playbackNodes) {
      require(owned.insert(node).second, "a stream has one process");
      checkTap(mirror, *node);
    }
  }
  for (const ServerNode* node : catalog.playbackNodesWithoutProcess()) {
    require(owned.insert(node).second, "a stream without a process has none");
  }
}

}  // namespace

// What the program makes of objects and properties that other clients of the server publish.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ObjectIDs ids;
  static const DesktopEntries entries({});
  ServerMirror mirror([] {});
  test::ScriptedServer server(mirror);
  ProcessCatalog catalog(mirror, ids, entries);

  std::string_view text = test::textOf(data, size);
  for (std::size_t lines = 0; lines < mostLines && !text.empty(); ++lines) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    server.say(line);
    if (line != "?" && !text.empty()) continue;
    checkDevices(mirror, ids);
    checkProcesses(mirror, catalog);
  }
  return 0;
}
