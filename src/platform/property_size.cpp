#include "platform/property_size.h"

#include <type_traits>
#include <variant>

namespace brindlemux {

std::uint32_t propertySize(const PropertyValue& value) noexcept {
  return std::visit(
      [](const auto& held) -> std::uint32_t {
        using Held = std::remove_cvref_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::uint32_t> || std::is_same_v<Held, std::int32_t>) {
          return 4;
        } else if constexpr (std::is_same_v<Held, std::vector<AudioObjectID>>) {
          return static_cast<std::uint32_t>(4 * held.size());
        } else if constexpr (std::is_same_v<Held, BufferLayout>) {
          return static_cast<std::uint32_t>(8 + 16 * held.channelsPerBuffer.size());
        } else if constexpr (std::is_same_v<Held, StreamFormat>) {
          return 40;
        } else {
          return 8;
        }
      },
      value);
}

}  // namespace brindlemux
