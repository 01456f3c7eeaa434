#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brindlemux {

/// A 128-bit identifier of a node. The default value is all zeros.
struct UUID {
  std::array<std::uint8_t, 16> bytes{};

  /// The canonical 36 characters: upper-case hexadecimal digits in groups of 8-4-4-4-12 with hyphens.
  std::string string() const;

  /// Reads the canonical form in either case; anything else gives nothing.
  static std::optional<UUID> parse(std::string_view text) noexcept;

  friend auto operator<=>(const UUID&, const UUID&) = default;  // NOLINT(modernize-use-nullptr): its 0 is no pointer.
};

/// Where new identifiers come from.
class UUIDSource {
 public:
  virtual ~UUIDSource() = default;
  virtual UUID next() = 0;
};

/// Random version-4 identifiers from the operating system's generator. Threads: one at a time.
class RandomUUIDSource final : public UUIDSource {
 public:
  UUID next() override;
};

}  // namespace brindlemux

template <>
struct std::hash<brindlemux::UUID> {
  std::size_t operator()(const brindlemux::UUID& id) const noexcept;
};
