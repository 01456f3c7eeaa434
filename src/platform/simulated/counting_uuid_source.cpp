#include "platform/simulated/counting_uuid_source.h"

namespace brindlemux {

UUID CountingUUIDSource::next() { return identifier(++count_); }

UUID CountingUUIDSource::identifier(std::uint64_t count) noexcept {
  UUID id;
  for (std::size_t byte = id.bytes.size(); count != 0; count >>= 8U) {
    id.bytes[--byte] = static_cast<std::uint8_t>(count & 0xFFU);
  }
  return id;
}

}  // namespace brindlemux
