#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "model/driver_payload.h"
#include "support/private_server.h"
#include "support/server_dump.h"

namespace brindlemux::test {

/// A private server with the driver and one stand-in for a sound card, "card" and "card.microphone".
class DriverFixture : public testing::Test {
 protected:
  DriverFixture();

  /// Writes the list as a person would, with pw-metadata.
  void write(const std::vector<VirtualDeviceConfig>& devices);
  /// Whether the device's nodes have all their ports and are looped in the dump.
  static bool isUp(const ServerDump& dump, const VirtualDeviceConfig& device);
  /// Whether a stream of that name is linked to the node, on both channels of its own.
  static bool isLinked(const ServerDump& dump, const std::string& streamName, const ServerDump::Node& node);
  /// Writes the list and waits until every device in it is up.
  void publish(const std::vector<VirtualDeviceConfig>& devices);
  ServerDump dump() const { return ServerDump(server_); }

  PrivateServer server_;
};

}  // namespace brindlemux::test
