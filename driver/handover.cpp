#include "driver/handover.h"

#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "driver/guarded.h"

namespace brindlemux::driver {
namespace {

using namespace std::chrono_literals;

// Moving a stream takes a few milliseconds; a session manager that has not answered by then will not.
constexpr auto patience = 3s;

enum class Side { sink, source };

struct LinkedStream {
  pw_impl_node* stream;
  Side side;
};

bool isStream(pw_impl_node* node) {
  const char* const mediaClass = pw_properties_get(pw_impl_node_get_properties(node), PW_KEY_MEDIA_CLASS);
  return mediaClass != nullptr && std::string_view(mediaClass).starts_with("Stream/");
}

struct Search {
  const pw_impl_node* sink;
  const pw_impl_node* source;
  std::vector<LinkedStream> found;
};

int visitGlobal(void* data, pw_global* global) noexcept {
  if (!pw_global_is_type(global, PW_TYPE_INTERFACE_Link)) return 0;
  auto& search = *static_cast<Search*>(data);
  auto* const link = static_cast<pw_impl_link*>(pw_global_get_object(global));
  pw_impl_port* const outputPort = pw_impl_link_get_output(link);
  pw_impl_port* const inputPort = pw_impl_link_get_input(link);
  if (outputPort == nullptr || inputPort == nullptr) return 0;
  pw_impl_node* const output = pw_impl_port_get_node(outputPort);
  pw_impl_node* const input = pw_impl_port_get_node(inputPort);
  if (output == nullptr || input == nullptr) return 0;
  guarded("links", [&] {
    if (input == search.sink && isStream(output)) search.found.push_back({output, Side::sink});
    // A recording of what is played into the sink is linked to the sink's monitor.
    if (output == search.sink && isStream(input)) search.found.push_back({input, Side::sink});
    if (output == search.source && isStream(input)) search.found.push_back({input, Side::source});
  });
  return 0;
}

std::vector<LinkedStream> linkedStreams(pw_context& context, const PublishedDevice& device) {
  Search search = {device.sink().node(), device.source().node(), {}};
  pw_context_for_each_global(&context, visitGlobal, &search);
  return std::move(search.found);
}

}  // namespace

Handover::Handover(std::string uid, std::unique_ptr<PublishedDevice> old)
    : uid_(std::move(uid)), old_(std::move(old)), deadline_(std::chrono::steady_clock::now() + patience) {}

bool Handover::step(pw_context& context, DefaultMetadata& metadata, const PublishedDevice* successor) {
  if (successor == nullptr) return true;
  const auto streams = linkedStreams(context, *old_);
  if (streams.empty()) return true;
  if (std::chrono::steady_clock::now() >= deadline_) {
    pw_log_warn("brindlemux: %zu links were not moved when a device changed its channels", streams.size());
    return true;
  }
  // Before the successor's ports are there a stream has nothing to be linked to.
  if (!metadata.ready() || !successor->looped()) return false;
  for (const auto& [stream, side] : streams) {
    pw_global* const global = pw_impl_node_get_global(stream);
    if (global == nullptr || !asked_.insert(pw_global_get_serial(global)).second) continue;
    metadata.moveStream(pw_global_get_id(global),
                        side == Side::sink ? successor->sink().serial() : successor->source().serial());
  }
  return false;
}

}  // namespace brindlemux::driver
