#pragma once

#include <cstdint>

#include "model/uuid.h"

namespace brindlemux {

/// Identifiers that count up: 00000000-0000-0000-0000-000000000001 is the first. Threads: one at a time.
class CountingUUIDSource final : public UUIDSource {
 public:
  UUID next() override;

  /// The identifier that the `count`-th call makes; the first call is number 1.
  static UUID identifier(std::uint64_t count) noexcept;

 private:
  std::uint64_t count_ = 0;
};

}  // namespace brindlemux
