#include "driver/driver_fixture.h"

#include <algorithm>

#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

PrivateServerOptions options() {
  PrivateServerOptions result;
  result.sinks = {{"card", 2, "Card"}};
  result.sources = {{"card.microphone", 2, "Microphone"}};
  return result;
}

}  // namespace

DriverFixture::DriverFixture() : server_(options()) {}

void DriverFixture::write(const std::vector<VirtualDeviceConfig>& devices) {
  const RunResult result =
      server_.run({"pw-metadata", "-n", std::string(driverBundleID), "0", std::string(driverPropertyKey),
                   encodeDriverPayload(devices), "Spa:String:JSON"});
  ASSERT_EQ(result.status, 0) << result.error;
}

bool DriverFixture::isUp(const ServerDump& dump, const VirtualDeviceConfig& device) {
  const auto sink = dump.node(device.uid);
  const auto source = dump.node(device.uid + ".source");
  return sink && source && sink->inputPorts == device.channels && sink->outputPorts == device.channels &&
         source->inputPorts == device.channels && source->outputPorts == device.channels &&
         dump.linkCount(*sink, *source) == device.channels;
}

bool DriverFixture::isLinked(const ServerDump& dump, const std::string& streamName, const ServerDump::Node& node) {
  return std::ranges::any_of(dump.nodesNamed(streamName), [&](const ServerDump::Node& stream) {
    return dump.linkCount(stream, node) + dump.linkCount(node, stream) >= 2;
  });
}

void DriverFixture::publish(const std::vector<VirtualDeviceConfig>& devices) {
  write(devices);
  ASSERT_TRUE(waitUntil([&] {
    const ServerDump current = dump();
    return std::ranges::all_of(devices, [&](const auto& device) { return isUp(current, device); });
  })) << server_.logs();
}

}  // namespace brindlemux::test
