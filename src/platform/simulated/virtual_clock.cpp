#include "platform/simulated/virtual_clock.h"

namespace brindlemux {

void VirtualClock::sleep(std::chrono::milliseconds duration) {
  advance(duration);
  slept_ += duration;
  ++sleeps_;
}

}  // namespace brindlemux
