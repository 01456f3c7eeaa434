#include "driver/stream_target.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace brindlemux::driver {
namespace {

// Outdated, but still in use: the session manager itself and older clients write ids.
constexpr const char* idKey = "target.node";
constexpr const char* idProperty = "node.target";
constexpr const char* noNode = "-1";

std::optional<std::uint64_t> wholeNumber(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

StreamTarget::StreamTarget(pw_impl_node& stream, const DefaultMetadata& metadata) : stream_(stream) {
  const pw_properties* const properties = pw_impl_node_get_properties(&stream);
  const std::uint32_t id = pw_global_get_id(pw_impl_node_get_global(&stream));
  // The first that is there decides, whether it is a number or not.
  take(metadata.value(id, PW_KEY_TARGET_OBJECT), Key::serial, Origin::metadata) ||
      take(metadata.value(id, idKey), Key::id, Origin::metadata) ||
      take(pw_properties_get(properties, PW_KEY_TARGET_OBJECT), Key::serial, Origin::stream) ||
      take(pw_properties_get(properties, idProperty), Key::id, Origin::stream);
}

bool StreamTarget::take(const char* value, Key key, Origin origin) {
  if (value == nullptr) return false;
  number_ = wholeNumber(value);
  if (!number_) name_ = value;
  key_ = key;
  origin_ = origin;
  return true;
}

bool StreamTarget::is(const ServerNode& node) const noexcept {
  if (!number_ || node.node() == nullptr) return false;
  return *number_ == (key_ == Key::serial ? node.serial() : pw_global_get_id(pw_impl_node_get_global(node.node())));
}

void StreamTarget::change(DefaultMetadata& metadata, std::uint64_t serial) const {
  const std::uint32_t id = pw_global_get_id(pw_impl_node_get_global(&stream_));
  metadata.set(id, PW_KEY_TARGET_OBJECT, std::to_string(serial).c_str());
  // Whoever chose the device by the stream's own properties did not choose it for the program's later ones. "No node"
  // in the outdated key makes the session manager forget; where the stream is linked is decided by the other one.
  if (origin_ == Origin::stream) metadata.set(id, idKey, noNode);
}

}  // namespace brindlemux::driver
