#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace brindlemux::history {

/// Scatters the bits of a number: different numbers give unrelated ones. Source: the finaliser of SplitMix64.
constexpr std::uint64_t scattered(std::uint64_t number) noexcept {
  number += 0x9E3779B97F4A7C15U;
  number = (number ^ (number >> 30U)) * 0xBF58476D1CE4E5B9U;
  number = (number ^ (number >> 27U)) * 0x94D049BB133111EBU;
  return number ^ (number >> 31U);
}

/// Random numbers that are the same with every compiler and library. Each step of a history has a stream of its own, so
/// that its choices do not depend on how many the steps before it made.
class Random {
 public:
  Random(std::uint64_t seed, std::uint64_t stream) noexcept : state_(scattered(seed) ^ scattered(~stream)) {}

  std::uint64_t next() noexcept { return scattered(state_++); }

  /// 0 to limit - 1; limit is at least 1.
  std::int64_t below(std::int64_t limit) noexcept {
    return static_cast<std::int64_t>(next() % static_cast<std::uint64_t>(limit));
  }
  std::int64_t between(std::int64_t first, std::int64_t last) noexcept { return first + below(last - first + 1); }

  bool chance(std::int64_t percent) noexcept { return below(100) < percent; }

  /// One of the elements; there is at least one.
  template <typename Element>
  const Element& oneOf(const std::vector<Element>& elements) noexcept {
    return elements[static_cast<std::size_t>(below(static_cast<std::int64_t>(elements.size())))];
  }
  template <typename Element>
  Element& oneOf(std::vector<Element>& elements) noexcept {
    return elements[static_cast<std::size_t>(below(static_cast<std::int64_t>(elements.size())))];
  }

 private:
  std::uint64_t state_;
};

}  // namespace brindlemux::history
