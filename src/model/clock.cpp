#include "model/clock.h"

#include <thread>

namespace brindlemux {

double SystemClock::secondsSince1970() const {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void SystemClock::sleep(std::chrono::milliseconds duration) { std::this_thread::sleep_for(duration); }

}  // namespace brindlemux
