#pragma once

#include <cstddef>
#include <memory>
#include <pipewire/pipewire.h>
#include <vector>

namespace brindlemux::test {

/// Playback streams of two channels that play to nobody: a crowd without the cost of its players.
///
/// Threads: the main thread; a thread of its own serves the connection.
class PlaybackStreams {
 public:
  /// Connects to the server of the environment.
  explicit PlaybackStreams(std::size_t count);
  ~PlaybackStreams();
  PlaybackStreams(const PlaybackStreams&) = delete;
  PlaybackStreams& operator=(const PlaybackStreams&) = delete;

  /// Ends the streams that were made last.
  void keepFirst(std::size_t count);

 private:
  struct Stream;

  pw_thread_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  std::vector<std::unique_ptr<Stream>> streams_;
};

}  // namespace brindlemux::test
