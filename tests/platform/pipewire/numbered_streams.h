#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <pipewire/pipewire.h>
#include <string>
#include <vector>

namespace brindlemux::test {

/// Playback streams that one process opens one after the other, as an application does for every sound, and what the
/// registry shows of them. A stream's channels play numbered samples (support/numbered_sound.h), its frames numbered
/// from 0, the channels from `firstChannel` on.
///
/// Threads: the main thread; a thread of its own serves the connection.
class NumberedStreams {
 public:
  using Clock = std::chrono::steady_clock;

  /// Connects to the server of the environment.
  NumberedStreams();
  ~NumberedStreams();
  NumberedStreams(const NumberedStreams&) = delete;
  NumberedStreams& operator=(const NumberedStreams&) = delete;

  /// Opens a stream of one or two channels at 48000 Hz; the one before, if there is one, ends in the same moment.
  void open(std::uint32_t channels, std::uint32_t firstChannel);
  void close();

  /// When the stream's ports had all appeared, as many as its output has.
  std::optional<Clock::time_point> portsAppeared(std::size_t ports) const;
  /// When so many links led from the stream to a node of that name.
  std::optional<Clock::time_point> linksAppeared(const std::string& node, std::size_t links) const;

 private:
  struct Stream;
  struct Link {
    std::uint32_t output = 0;
    std::uint32_t input = 0;
    Clock::time_point time;
  };
  static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type, std::uint32_t version,
                       const spa_dict* properties);
  static void onGlobalRemove(void* data, std::uint32_t id);

  pw_thread_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  pw_registry* registry_ = nullptr;
  spa_hook registryListener_ = {};
  std::map<std::uint32_t, std::string> nodes_;
  std::map<std::uint32_t, std::pair<std::uint32_t, Clock::time_point>> outputPorts_;
  std::map<std::uint32_t, Link> links_;
  std::unique_ptr<Stream> stream_;
};

}  // namespace brindlemux::test
