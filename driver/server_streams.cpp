#include "driver/server_streams.h"

#include <string_view>

#include "driver/guarded.h"

namespace brindlemux::driver {
namespace {

int collectStream(void* data, pw_global* global) noexcept {
  if (!pw_global_is_type(global, PW_TYPE_INTERFACE_Node)) return 0;
  auto* const node = static_cast<pw_impl_node*>(pw_global_get_object(global));
  const char* const mediaClass = pw_properties_get(pw_impl_node_get_properties(node), PW_KEY_MEDIA_CLASS);
  if (mediaClass == nullptr || !std::string_view(mediaClass).starts_with("Stream/")) return 0;
  guarded("streams", [&] { static_cast<std::vector<pw_impl_node*>*>(data)->push_back(node); });
  return 0;
}

struct Pair {
  const pw_impl_node* one;
  const pw_impl_node* other;
};

// The server ends the enumeration at what is not 0.
int findLink(void* data, pw_global* global) noexcept {
  if (!pw_global_is_type(global, PW_TYPE_INTERFACE_Link)) return 0;
  auto* const link = static_cast<pw_impl_link*>(pw_global_get_object(global));
  pw_impl_port* const outputPort = pw_impl_link_get_output(link);
  pw_impl_port* const inputPort = pw_impl_link_get_input(link);
  if (outputPort == nullptr || inputPort == nullptr) return 0;
  const auto& [one, other] = *static_cast<const Pair*>(data);
  const pw_impl_node* const output = pw_impl_port_get_node(outputPort);
  const pw_impl_node* const input = pw_impl_port_get_node(inputPort);
  return (output == one && input == other) || (output == other && input == one) ? 1 : 0;
}

}  // namespace

std::vector<pw_impl_node*> serverStreams(pw_context& context) {
  std::vector<pw_impl_node*> streams;
  pw_context_for_each_global(&context, collectStream, &streams);
  return streams;
}

bool areLinked(pw_context& context, const pw_impl_node* one, const pw_impl_node* other) {
  Pair pair = {one, other};
  return pw_context_for_each_global(&context, findLink, &pair) != 0;
}

}  // namespace brindlemux::driver
