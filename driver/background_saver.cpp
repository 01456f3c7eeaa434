#include "driver/background_saver.h"

#include <csignal>
#include <utility>

namespace brindlemux::driver {
namespace {

/// While it exists, threads that are made begin with all signals blocked: those of the server are for its main loop.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_ = {};
};

}  // namespace

BackgroundSaver::BackgroundSaver(std::function<void(const std::string&)> action) : action_(std::move(action)) {}

BackgroundSaver::~BackgroundSaver() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void BackgroundSaver::save(std::string text) {
  {
    const std::lock_guard lock(mutex_);
    pending_ = std::move(text);
  }
  changed_.notify_one();
  if (thread_.joinable()) return;
  const SignalsBlocked blocked;
  thread_ = std::thread([this] { run(); });
}

void BackgroundSaver::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return pending_ || ending_; });
    if (!pending_) return;
    const std::string text = *std::exchange(pending_, std::nullopt);
    lock.unlock();
    action_(text);
    lock.lock();
  }
}

}  // namespace brindlemux::driver
