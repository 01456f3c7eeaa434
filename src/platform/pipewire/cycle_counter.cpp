#include "platform/pipewire/cycle_counter.h"

#include <algorithm>

namespace brindlemux {

std::uint64_t CycleCounter::number(const spa_io_clock& clock) noexcept {
  auto seen = std::ranges::find_if(seen_, [&](const Seen& one) { return one.number > 0 && one.clockID == clock.id; });
  if (seen != seen_.end() && seen->position == clock.position && seen->nanoseconds == clock.nsec) return seen->number;
  // One that was not seen yet takes the place of the one that was left first.
  if (seen == seen_.end()) seen = std::ranges::min_element(seen_, {}, &Seen::number);
  *seen = {.clockID = clock.id, .position = clock.position, .nanoseconds = clock.nsec, .number = ++number_};
  return number_;
}

NodeCycles::Step NodeCycles::next(std::uint64_t number) noexcept {
  const std::optional<std::uint64_t> last = last_;
  if (last && number <= *last) return {.isRepeated = true};
  last_ = number;
  return {.missedCycles = last ? number - *last - 1 : 0};
}

bool BlockSettling::takesPart(std::uint32_t clockID, std::uint32_t cycleFrames) noexcept {
  if (clockID_ != clockID) left_ = mostOfAnotherDriver;
  clockID_ = clockID;
  if (cycleFrames > longest_ && left_ > 0) {
    --left_;
    return false;
  }
  left_ = mostOfTheSame;
  longest_ = std::max(askedFrames_, cycleFrames);
  return true;
}

}  // namespace brindlemux
