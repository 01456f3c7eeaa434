#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace brindlemux {

/// Mixes one value's hash into a running one.
inline void hashCombine(std::size_t& seed, std::size_t value) noexcept {
  seed ^= value + 0x9E3779B97F4A7C15ULL + (seed << 6U) + (seed >> 2U);
}

/// The hash of several values, in order.
template <typename... Values>
std::size_t hashOf(const Values&... values) noexcept {
  std::size_t seed = sizeof...(values);
  (hashCombine(seed, std::hash<Values>{}(values)), ...);
  return seed;
}

/// The hash of a sequence, in order.
template <typename Value>
std::size_t hashOfAll(const std::vector<Value>& values) noexcept {
  std::size_t seed = values.size();
  for (const Value& value : values) hashCombine(seed, std::hash<Value>{}(value));
  return seed;
}

}  // namespace brindlemux
