#include "driver/device_introduction.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <spa/utils/string.h>
#include <system_error>

namespace brindlemux::driver {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 3s;
// By the first it has the ports' information. By the others it has taken them in, which it does between two messages.
constexpr int answersWanted = 3;

int findDefaultMetadata(void* data, pw_global* global) noexcept {
  if (!pw_global_is_type(global, PW_TYPE_INTERFACE_Metadata)) return 0;
  const pw_properties* const properties = pw_global_get_properties(global);
  if (!spa_streq(pw_properties_get(properties, PW_KEY_METADATA_NAME), "default")) return 0;
  *static_cast<const char**>(data) = pw_properties_get(properties, PW_KEY_CLIENT_ID);
  return 1;
}

// The session manager is the client that implements the metadata object "default".
pw_impl_client* sessionManager(pw_context& context) {
  const char* text = nullptr;
  pw_context_for_each_global(&context, findDefaultMetadata, &text);
  std::uint32_t id = SPA_ID_INVALID;
  if (text == nullptr || std::from_chars(text, text + std::strlen(text), id).ec != std::errc()) return nullptr;
  pw_global* const global = pw_context_find_global(&context, id);
  if (global == nullptr || !pw_global_is_type(global, PW_TYPE_INTERFACE_Client)) return nullptr;
  return static_cast<pw_impl_client*>(pw_global_get_object(global));
}

int isOfClient(void* client, pw_resource* resource) noexcept {
  return pw_resource_get_client(resource) == client ? 1 : 0;
}

bool hasAskedFor(pw_context& context, pw_impl_client& client, pw_impl_port* port) {
  pw_global* const global = pw_context_find_global(&context, pw_impl_port_get_info(port)->id);
  return global != nullptr && pw_global_for_each_resource(global, isOfClient, &client) != 0;
}

bool hasAskedForAll(pw_context& context, pw_impl_client& client, const PublishedDevice& device) {
  for (const ServerNode* const node : {&device.sink(), &device.source()}) {
    for (const pw_direction direction : {PW_DIRECTION_INPUT, PW_DIRECTION_OUTPUT}) {
      const auto ports = node->ports(direction);
      if (!std::ranges::all_of(ports, [&](pw_impl_port* port) { return hasAskedFor(context, client, port); })) {
        return false;
      }
    }
  }
  return true;
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

bool DeviceIntroduction::step(pw_context& context, const PublishedDevice& device) {
  const auto now = std::chrono::steady_clock::now();
  if (!deadline_) deadline_ = now + patience;
  if (now >= *deadline_) return true;
  pw_impl_client* const client = sessionManager(context);
  if (client == nullptr) return false;
  if (!hasAskedForAll(context, *client, device)) {
    // Ports have been replaced: what has been answered was about the former ones.
    forgetConnection();
    return false;
  }
  if (answers_ >= answersWanted) return true;
  pw_resource* const connection = pw_impl_client_get_core_resource(client);
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
