#include "driver/server_clients.h"

#include <charconv>
#include <spa/utils/string.h>
#include <string_view>
#include <system_error>

#include "driver/guarded.h"

namespace brindlemux::driver {
namespace {

int findDefaultMetadata(void* data, pw_global* global) noexcept {
  if (!pw_global_is_type(global, PW_TYPE_INTERFACE_Metadata)) return 0;
  const pw_properties* const properties = pw_global_get_properties(global);
  if (!spa_streq(pw_properties_get(properties, PW_KEY_METADATA_NAME), "default")) return 0;
  *static_cast<const char**>(data) = pw_properties_get(properties, PW_KEY_CLIENT_ID);
  return 1;
}

int collectClient(void* data, pw_resource* resource) noexcept {
  pw_impl_client* const client = pw_resource_get_client(resource);
  pw_global* const global = pw_impl_client_get_global(client);
  if (global == nullptr) return 0;
  auto& clients = *static_cast<std::map<std::uint64_t, pw_impl_client*>*>(data);
  guarded("clients", [&] { clients.emplace(pw_global_get_serial(global), client); });
  return 0;
}

struct Search {
  const pw_impl_client* client;
};

int isOfClient(void* data, pw_resource* resource) noexcept {
  return pw_resource_get_client(resource) == static_cast<const Search*>(data)->client ? 1 : 0;
}

}  // namespace

pw_impl_client* sessionManager(pw_context& context) {
  const char* found = nullptr;
  pw_context_for_each_global(&context, findDefaultMetadata, &found);
  const std::string_view text = found == nullptr ? "" : found;
  std::uint32_t id = SPA_ID_INVALID;
  if (std::from_chars(text.data(), text.data() + text.size(), id).ec != std::errc()) return nullptr;
  pw_global* const global = pw_context_find_global(&context, id);
  if (global == nullptr || !pw_global_is_type(global, PW_TYPE_INTERFACE_Client)) return nullptr;
  return static_cast<pw_impl_client*>(pw_global_get_object(global));
}

std::map<std::uint64_t, pw_impl_client*> boundClients(pw_global* object) {
  std::map<std::uint64_t, pw_impl_client*> clients;
  if (object != nullptr) pw_global_for_each_resource(object, collectClient, &clients);
  return clients;
}

bool hasBound(const pw_impl_client& client, pw_global* object) {
  Search search = {&client};
  return object != nullptr && pw_global_for_each_resource(object, isOfClient, &search) != 0;
}

pw_global* portGlobal(pw_impl_port& port) {
  pw_impl_node* const node = pw_impl_port_get_node(&port);
  if (node == nullptr) return nullptr;
  pw_global* const global = pw_context_find_global(pw_impl_node_get_context(node), pw_impl_port_get_info(&port)->id);
  return global != nullptr && pw_global_get_object(global) == &port ? global : nullptr;
}

}  // namespace brindlemux::driver
