#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "engine/tap.h"

namespace brindlemux {

/// Walks through a list of taps in runs: neighbours that share an output, none of which is out of range.
class TapRuns {
 public:
  TapRuns(std::span<const Tap> taps, std::int64_t channels, std::size_t outputs) noexcept
      : end_(taps.data() + taps.size()),
        channels_(static_cast<std::uint64_t>(channels)),
        outputs_(outputs),
        next_(taps.data()) {}

  /// Goes to the next run, of which `first` and `last` tell; false after the last one.
  [[gnu::always_inline]] bool next() noexcept {
    while (next_ != end_ && !(hasChannel(*next_) && static_cast<std::uint64_t>(next_->out) < outputs_)) ++next_;
    first = next_;
    while (next_ != end_ && next_->out == first->out && hasChannel(*next_)) ++next_;
    last = next_;
    return first != last;
  }

  const Tap* first = nullptr;
  const Tap* last = nullptr;

 private:
  // As unsigned numbers, negative channels are too large.
  bool hasChannel(const Tap& tap) const noexcept { return static_cast<std::uint64_t>(tap.src) < channels_; }

  const Tap* const end_;
  const std::uint64_t channels_;
  const std::uint64_t outputs_;
  const Tap* next_;
};

}  // namespace brindlemux
