#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "endtoend/routing_session.h"
#include "support/child_process.h"

namespace brindlemux::test {

/// A tool of the server's that records 32-bit floats at 48000 Hz to a file.
///
/// Threads: the main thread.
class Recorder {
 public:
  enum class Interface {
    native,  ///< pw-record
    pulse    ///< parecord
  };
  enum class Of {
    input,  ///< what a device delivers
    output  ///< what is played into a device
  };

  /// Starts recording the node `target`. Channels of a device of more than two are taken as they come, in order.
  Recorder(const RoutingSession& session, Interface interface, Of of, const std::string& target, int channels);

  /// Waits until that many frames have been recorded in all.
  bool waitForFrames(std::size_t frames, std::chrono::milliseconds deadline = std::chrono::seconds(20)) const;

  /// Waits for `frames` more frames and returns them, one vector a channel; empty ones when they do not come in time.
  std::vector<std::vector<float>> next(std::size_t frames) const;

  /// The newest `frames` frames, one vector a channel; empty ones as long as there are fewer.
  std::vector<std::vector<float>> newest(std::size_t frames) const;

  /// Everything until now, one vector a channel.
  std::vector<std::vector<float>> all() const;

  std::size_t frames() const;

 private:
  int channels_;
  std::filesystem::path file_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace brindlemux::test
