#pragma once

#include <cstdint>

namespace brindlemux {

/// Four characters in one number, the first in the highest byte.
using FourCharCode = std::uint32_t;

consteval FourCharCode fourCharCode(const char (&text)[5]) {
  FourCharCode code = 0;
  for (int i = 0; i < 4; ++i) {
    code = (code << 8U) | static_cast<unsigned char>(text[i]);
  }
  return code;
}

}  // namespace brindlemux
