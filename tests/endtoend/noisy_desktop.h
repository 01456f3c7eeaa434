#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "endtoend/controller_session.h"
#include "endtoend/graph_text.h"
#include "endtoend/levels.h"
#include "endtoend/patch.h"
#include "endtoend/routing_session.h"
#include "support/child_process.h"

namespace brindlemux::test {

inline constexpr int noisyChannels = 6;

/// An application of that identity, a microphone and all system audio, each to two channels of the device; the
/// application's left and the microphone's left to the headphones.
inline std::string noisyGraph(const std::string& application = "pw-cat") {
  return graphText({{"latencyFrames", "1024"}},
                   {{applicationKind(application), {{0, 0}, {1, 1}}},
                    {inputKind("mic"), {{0, 2}, {1, 3}}},
                    {systemAudioKind(), {{0, 4}, {1, 5}}}},
                   {{"headphones", {{0, 0}, {2, 1}}}});
}

inline constexpr float playedLeft = 0.25F;
inline constexpr float playedRight = -0.125F;
inline constexpr float spokenLeft = 0.3F;
inline constexpr float spokenRight = -0.4F;
/// The device's channels, then the headphones'.
inline const std::vector<float> wholeSound = {playedLeft, playedRight, spokenLeft, spokenRight,
                                              playedLeft, playedRight, playedLeft, spokenLeft};

inline std::vector<PatchedPort> listenedPorts() {
  std::vector<PatchedPort> ports;
  for (std::size_t i = 0; i < noisyChannels; ++i)
    ports.push_back({std::string(RoutingSession::deviceUID) + ".source", i});
  for (std::size_t i = 0; i < 2; ++i) ports.push_back({"headphones", i});
  return ports;
}

/// A desktop on which an application plays and somebody speaks, whatever becomes of the server. `wait` runs what the
/// program needs until a condition holds.
template <typename Wait>
class NoisyDesktop {
 public:
  NoisyDesktop(RoutingSession& session, Wait wait, std::string player = "pw-play")
      : session_(session), wait_(wait), tool_(std::move(player)) {
    constexpr std::size_t length = 100 * second;
    file_ = session.writeStereo("levels.wav", std::vector<float>(length, playedLeft),
                                std::vector<float>(length, playedRight));
  }

  /// A player ends with its server; like a person it is started again and again.
  bool waitForWholeSound(std::chrono::milliseconds deadline = std::chrono::seconds(30)) {
    return wait_(
        [this] {
          if (!player_ || !player_->running()) player_ = session_.launchUrgently({tool_, file_.string()});
          return meter_.levels() == wholeSound;
        },
        deadline);
  }

  using Clock = std::chrono::steady_clock;
  struct Return {
    Clock::duration afterServer;
    Clock::duration afterKill;
  };

  /// Kills the server, starts another one and waits for the sound.
  Return restart() {
    PrivateServer& server = session_.server();
    const auto killed = Clock::now();
    server.kill();
    EXPECT_TRUE(wait_([&] { return !server.running(); }, std::chrono::seconds(30))) << session_.report();
    meter_.forget();
    server.begin();
    EXPECT_TRUE(wait_([&] { return server.acceptsClients(); }, std::chrono::seconds(30))) << session_.report();
    const auto returned = Clock::now();
    EXPECT_TRUE(waitForWholeSound()) << testing::PrintToString(meter_.levels()) << session_.report();
    const auto now = Clock::now();
    return {.afterServer = now - returned, .afterKill = now - killed};
  }

  std::vector<float> levels() const { return meter_.levels(); }

 private:
  RoutingSession& session_;
  ControllerSession::Environment environment_{session_};
  Wait wait_;
  const std::string tool_;
  LevelSource speaker_{"test-speaker", {{"mic", 0}, {"mic", 1}}, {spokenLeft, spokenRight}};
  LevelMeter meter_{"test-meter", listenedPorts()};
  std::filesystem::path file_;
  std::unique_ptr<ChildProcess> player_;
};

}  // namespace brindlemux::test
