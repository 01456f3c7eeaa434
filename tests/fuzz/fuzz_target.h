#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// Reads one input. Returns 0; whatever ends the process in it is a fault found.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace brindlemux::test {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process where a promise does not hold, whatever the input was.
inline void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

}  // namespace brindlemux::test
