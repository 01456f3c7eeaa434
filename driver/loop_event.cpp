#include "driver/loop_event.h"

#include <cerrno>
#include <cstdint>
#include <new>
#include <utility>

#include "driver/guarded.h"

namespace brindlemux::driver {

LoopEvent::LoopEvent(pw_loop& loop, std::function<void()> action) : loop_(loop), action_(std::move(action)) {
  const auto run = [](void* data, std::uint64_t) {
    guarded("event", [data] { static_cast<LoopEvent*>(data)->action_(); });
  };
  source_ = pw_loop_add_event(&loop_, run, this);
  if (source_ == nullptr) throw std::bad_alloc();
}

LoopEvent::~LoopEvent() { pw_loop_destroy_source(&loop_, source_); }

void LoopEvent::signal() noexcept { pw_loop_signal_event(&loop_, source_); }

}  // namespace brindlemux::driver
