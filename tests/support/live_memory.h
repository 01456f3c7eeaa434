#pragma once

#include <cstdint>
#include <ostream>

namespace brindlemux::test {

/// What the C++ code of the whole process, its libraries included, has allocated and not freed.
struct LiveMemory {
  std::int64_t blocks = 0;
  std::int64_t bytes = 0;

  friend LiveMemory operator-(const LiveMemory& left, const LiveMemory& right) {
    return {left.blocks - right.blocks, left.bytes - right.bytes};
  }
  friend std::ostream& operator<<(std::ostream& stream, const LiveMemory& memory) {
    return stream << memory.blocks << " blocks of " << memory.bytes << " bytes";
  }
};

/// At this moment. Other threads that allocate meanwhile make it inexact.
LiveMemory liveMemory() noexcept;

}  // namespace brindlemux::test
