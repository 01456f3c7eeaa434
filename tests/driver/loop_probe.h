#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <pipewire/pipewire.h>
#include <string>
#include <vector>

#include "support/private_server.h"
#include "support/server_client.h"

namespace brindlemux::test {

/// Plays numbered samples into one node and records another, both in real-time callbacks of this process: what the
/// recording lacks was lost between the two, and not because a command-line tool was scheduled late.
///
/// Sample n is n steps on the left and -n steps on the right, exactly. Threads: one; the callbacks have their own.
class LoopProbe {
 public:
  /// Throws std::runtime_error when there is no server.
  LoopProbe(const PrivateServer& server, const std::string& playTarget, const std::string& recordTarget);
  ~LoopProbe();
  LoopProbe(const LoopProbe&) = delete;
  LoopProbe& operator=(const LoopProbe&) = delete;

  /// How many frames have been recorded from the first sound on.
  std::size_t framesHeard() const noexcept { return heard_.load(); }
  /// Waits for that many more frames of sound; false at the deadline.
  bool waitForMore(std::size_t frames) const;
  /// The first frame heard that does not continue the one before it, to the bit, in words; empty when all do.
  std::string firstBreak() const;
  /// Whether a real-time callback ever came more than half a period late while it was heard.
  bool stalled() const noexcept { return stalled_.load(); }

 private:
  static const pw_stream_events playEvents;
  static const pw_stream_events recordEvents;
  pw_stream* connect(pw_direction direction, const std::string& target, const pw_stream_events& events,
                     spa_hook& listener);
  void play() noexcept;
  void record() noexcept;

  ServerClient client_;
  pw_stream* player_ = nullptr;
  pw_stream* recorder_ = nullptr;
  spa_hook playerListener_ = {};
  spa_hook recorderListener_ = {};
  std::uint32_t nextNumber_ = 1;
  std::vector<float> left_;
  std::vector<float> right_;
  std::chrono::steady_clock::time_point lastCallback_;
  std::atomic<std::size_t> heard_ = 0;
  std::atomic<bool> stalled_ = false;
};

/// Plays and records numbered samples while `disturb` runs; not one may be lost. A machine that does not run a
/// real-time thread for tens of milliseconds loses a period whatever the driver does: such a measurement says nothing
/// and is made again, a few times.
template <typename Disturb>
void expectUnbroken(const PrivateServer& server, const std::string& playTarget, const std::string& recordTarget,
                    Disturb&& disturb) {
  // Half a second before the disturbance.
  constexpr std::size_t undisturbedFrames = 24000;
  std::string lastBreak;
  for (int attempt = 0; attempt < 5; ++attempt) {
    const LoopProbe probe(server, playTarget, recordTarget);
    ASSERT_TRUE(probe.waitForMore(undisturbedFrames));
    disturb(probe);
    lastBreak = probe.firstBreak();
    if (lastBreak.empty() || !probe.stalled()) break;
  }
  EXPECT_EQ(lastBreak, "");
}

}  // namespace brindlemux::test
