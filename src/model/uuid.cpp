#include "model/uuid.h"

#include <cerrno>
#include <sys/random.h>

#include "model/fatal_error.h"

namespace brindlemux {
namespace {

bool isHyphenPosition(std::size_t position) {
  return position == 8 || position == 13 || position == 18 || position == 23;
}

int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

}  // namespace

std::string UUID::string() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (const std::uint8_t byte : bytes) {
    if (isHyphenPosition(text.size())) text.push_back('-');
    text.push_back(digits[byte >> 4U]);
    text.push_back(digits[byte & 0x0FU]);
  }
  return text;
}

std::optional<UUID> UUID::parse(std::string_view text) noexcept {
  if (text.size() != 36) return std::nullopt;
  UUID id;
  std::size_t nibble = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHyphenPosition(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const int value = hexValue(text[i]);
    if (value < 0) return std::nullopt;
    std::uint8_t& byte = id.bytes[nibble / 2];
    byte = static_cast<std::uint8_t>((static_cast<unsigned>(byte) << 4U) | static_cast<unsigned>(value));
    ++nibble;
  }
  return id;
}

UUID RandomUUIDSource::next() {
  UUID id;
  std::size_t filled = 0;
  while (filled < id.bytes.size()) {
    const ssize_t count = getrandom(id.bytes.data() + filled, id.bytes.size() - filled, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) fatalError("the operating system gives no random numbers");
    filled += static_cast<std::size_t>(count);
  }
  id.bytes[6] = static_cast<std::uint8_t>((id.bytes[6] & 0x0FU) | 0x40U);
  id.bytes[8] = static_cast<std::uint8_t>((id.bytes[8] & 0x3FU) | 0x80U);
  return id;
}

}  // namespace brindlemux

std::size_t std::hash<brindlemux::UUID>::operator()(const brindlemux::UUID& id) const noexcept {
  return std::hash<std::string_view>{}({reinterpret_cast<const char*>(id.bytes.data()), id.bytes.size()});
}
