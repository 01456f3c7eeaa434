#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace brindlemux::driver {

/// Saves texts on a thread of its own, so that a slow disk does not hold up the server's main loop. Only the latest
/// text matters: those that came before it and are not begun yet are left out.
///
/// The thread exists from the first text on. The destructor has the last one saved before it returns.
/// Threads: save() from one thread; `action` runs on the other.
class BackgroundSaver {
 public:
  explicit BackgroundSaver(std::function<void(const std::string&)> action);
  ~BackgroundSaver();
  BackgroundSaver(const BackgroundSaver&) = delete;
  BackgroundSaver& operator=(const BackgroundSaver&) = delete;

  /// Throws std::system_error when no thread can be made; a later call tries again.
  void save(std::string text);

 private:
  void run();

  const std::function<void(const std::string&)> action_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<std::string> pending_;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace brindlemux::driver
