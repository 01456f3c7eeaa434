#include "platform/pipewire/cycle_counter.h"

#include <utility>

namespace brindlemux {

std::uint64_t CycleCounter::number(const spa_io_clock& clock) noexcept {
  const bool isSame = clock.id == clockID_ && clock.position == position_ && clock.nsec == nanoseconds_;
  if (number_ > 0 && isSame) return number_;
  clockID_ = clock.id;
  position_ = clock.position;
  nanoseconds_ = clock.nsec;
  return ++number_;
}

NodeCycles::Step NodeCycles::next(std::uint64_t number) noexcept {
  const std::optional<std::uint64_t> last = std::exchange(last_, number);
  if (!last) return {};
  if (number == *last) return {.isRepeated = true};
  return {.missedCycles = number - *last - 1};
}

}  // namespace brindlemux
