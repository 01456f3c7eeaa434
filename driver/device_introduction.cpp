#include "driver/device_introduction.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "driver/server_clients.h"

namespace brindlemux::driver {
namespace {

// By the first it has the objects' information. By the others it has taken that in, which the session manager does
// between two messages.
constexpr int answersWanted = 3;

std::vector<pw_impl_port*> allPorts(const ServerNode& node) {
  auto ports = node.ports(PW_DIRECTION_INPUT);
  const auto outputs = node.ports(PW_DIRECTION_OUTPUT);
  ports.insert(ports.end(), outputs.begin(), outputs.end());
  return ports;
}

bool hasAskedFor(const pw_impl_client& client, const ServerNode& node) {
  return node.node() != nullptr && hasBound(client, pw_impl_node_get_global(node.node()));
}

bool hasAskedForAsMuch(const pw_impl_client& client, DeviceIntroduction::Interest interest, const ServerNode& former,
                       const ServerNode& node) {
  const auto hasBoundPort = [&client](pw_impl_port* port) { return hasBound(client, portGlobal(*port)); };
  const bool all = interest == DeviceIntroduction::Interest::everything;
  if ((all || hasAskedFor(client, former)) && !hasAskedFor(client, node)) return false;
  const bool wantsPorts = all || std::ranges::any_of(allPorts(former), hasBoundPort);
  return !wantsPorts || std::ranges::all_of(allPorts(node), hasBoundPort);
}

}  // namespace

const pw_resource_events DeviceIntroduction::connectionEvents = [] {
  pw_resource_events events = {};
  events.version = PW_VERSION_RESOURCE_EVENTS;
  events.destroy = [](void* data) { static_cast<DeviceIntroduction*>(data)->forgetConnection(); };
  events.pong = [](void* data, int sequence) {
    auto& self = *static_cast<DeviceIntroduction*>(data);
    if (sequence != self.awaited_) return;
    self.awaited_ = noAnswer;
    ++self.answers_;
  };
  return events;
}();

DeviceIntroduction::DeviceIntroduction(std::chrono::milliseconds patience)
    : deadline_(std::chrono::steady_clock::now() + patience) {}

bool DeviceIntroduction::step(pw_impl_client& client, Interest interest, const PublishedDevice& former,
                              const PublishedDevice& device) {
  if (std::chrono::steady_clock::now() >= deadline_) return true;
  if (!hasAskedForAsMuch(client, interest, former.sink(), device.sink()) ||
      !hasAskedForAsMuch(client, interest, former.source(), device.source())) {
    // Ports may have been replaced: what has been answered was about the former ones.
    forgetConnection();
    return false;
  }
  if (answers_ >= answersWanted) return true;
  pw_resource* const connection = pw_impl_client_get_core_resource(&client);
  if (connection != nullptr) ask(*connection);
  return false;
}

// A client answers in its turn: with the answer it has taken in all that it was told before.
void DeviceIntroduction::ask(pw_resource& connection) {
  if (connection_ != &connection) {
    forgetConnection();
    connection_ = &connection;
    pw_resource_add_listener(&connection, &listener_, &connectionEvents, this);
  }
  if (awaited_ == noAnswer) awaited_ = pw_resource_ping(&connection, 0);
}

void DeviceIntroduction::forgetConnection() {
  if (connection_ != nullptr) spa_hook_remove(&listener_);
  connection_ = nullptr;
  awaited_ = noAnswer;
  answers_ = 0;
}

}  // namespace brindlemux::driver
