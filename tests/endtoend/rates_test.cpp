// The server's rate and block size change under a running route.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/graph_probe.h"
#include "endtoend/routing_session.h"

namespace brindlemux::test {
namespace {

constexpr std::int64_t askedFrames = 512;
/// What the probe listens to: the device's two channels and the monitor's.
constexpr std::size_t listeners = 4;

/// The microphone, which the probe plays into, to the device and the headphones.
class ServerClock {
 public:
  explicit ServerClock(int rateHz = 48000) : session_(2, "{}", RoutingSession::Program::absent, rateHz) {
    state().updateGraph(uid(), AppState::Persist::no, [&](DeviceGraph& graph) {
      const UUID microphone = program_.uuids.next();
      const UUID headphones = program_.uuids.next();
      graph.latencyFrames = askedFrames;
      graph.sources = {{.id = microphone, .kind = MicSource{"mic", "Microphone"}}};
      graph.monitors = {{.id = headphones, .deviceUID = "headphones", .name = "Headphones"}};
      for (const std::int64_t side : {0, 1}) {
        graph.wires.push_back({microphone, side, side});
        graph.monitorWires.push_back({side, headphones, side});
      }
    });
    link("probe.player:output_1", "mic:input_FL");
    link("probe.player:output_2", "mic:input_FR");
    link(uid() + ".source:capture_FL", "probe.listener:input_1");
    link(uid() + ".source:capture_FR", "probe.listener:input_2");
    link("headphones:monitor_FL", "probe.listener:input_3");
    link("headphones:monitor_FR", "probe.listener:input_4");
  }
  ~ServerClock() { state().shutdown(); }

  static std::string uid() { return RoutingSession::deviceUID; }
  AppState& state() { return program_.state; }
  const GraphProbe& probe() const { return *probe_; }
  std::string report() const { return session_.report(); }

  /// Writes one of the server's settings; 0 takes a forced one back.
  void set(const std::string& key, int value) {
    EXPECT_EQ(session_.server().run({"pw-metadata", "-n", "settings", "0", key, std::to_string(value)}).status, 0);
  }

  /// Waits until every listener has heard that many more frames.
  bool hear(std::int64_t frames) {
    std::vector<std::int64_t> wanted;
    for (std::size_t i = 0; i < listeners; ++i) wanted.push_back(probe_->heard(i) + frames);
    return eventually([&] {
      for (std::size_t i = 0; i < listeners; ++i) {
        if (probe_->heard(i) < wanted[i]) return false;
      }
      return true;
    });
  }

  /// What each listener has heard from a moment on.
  using Breaks = std::array<std::vector<GraphProbe::Break>, listeners>;
  using Counts = std::array<std::size_t, listeners>;
  Counts counts() const {
    Counts counts;
    for (std::size_t i = 0; i < listeners; ++i) counts[i] = probe_->breaks(i).size();
    return counts;
  }
  Breaks breaksSince(const Counts& from) const {
    Breaks breaks;
    for (std::size_t i = 0; i < listeners; ++i) {
      breaks[i] = probe_->breaks(i);
      breaks[i].erase(breaks[i].begin(), breaks[i].begin() + static_cast<std::ptrdiff_t>(from[i]));
    }
    return breaks;
  }

 private:
  void link(const std::string& output, const std::string& input) {
    EXPECT_TRUE(eventually([&] {
      return session_.server().run({"pw-link", output, input}).status == 0;
    })) << output
        << " to " << input << report();
  }

  RoutingSession session_;
  ControllerSession program_{session_};
  std::unique_ptr<GraphProbe> probe_ = std::make_unique<GraphProbe>(session_.server(), listeners);
};

std::string describe(const ServerClock::Breaks& breaks) {
  std::string words;
  for (std::size_t i = 0; i < listeners; ++i) {
    for (const GraphProbe::Break& found : breaks[i])
      words += "listener " + std::to_string(i) + " " + found.text() + "\n";
  }
  return words;
}

/// Whether each listener has heard one disturbance at most, no longer than that many frames from its begin to its end.
bool isOneDisturbance(const ServerClock::Breaks& breaks, std::int64_t mostFrames) {
  return std::ranges::all_of(breaks, [mostFrames](const auto& heard) {
    return heard.empty() || heard.back().at + heard.back().silent - heard.front().at <= mostFrames;
  });
}

/// Nothing is heard twice, and nothing that was never played.
bool areOrderly(const ServerClock::Breaks& breaks) {
  return std::ranges::all_of(breaks, [](const auto& heard) {
    return std::ranges::all_of(heard,
                               [](const GraphProbe::Break& found) { return !found.isForeign && found.skipped >= 0; });
  });
}

/// One of the server's settings, and what the probe sees of it.
struct Setting {
  const char* key;
  std::uint32_t (GraphProbe::*inEffect)() const noexcept;
  bool stopsNodes;  ///< for the change, so that a pause then is no fault of the machine's
};
constexpr Setting forcedRate = {"clock.force-rate", &GraphProbe::rateHz, true};
constexpr Setting forcedBlock = {"clock.force-quantum", &GraphProbe::frames, false};

/// Makes the change and listens until some time after. Nothing when the server does not make it.
std::optional<ServerClock::Breaks> breaksOfChange(ServerClock& clock, const Setting& setting, int value,
                                                  bool& stalled) {
  const GraphProbe& probe = clock.probe();
  const auto before = clock.counts();
  std::int64_t stalls = probe.stalls();
  clock.set(setting.key, value);
  if (!eventually([&] { return (probe.*setting.inEffect)() == static_cast<std::uint32_t>(value); })) return {};
  if (setting.stopsNodes) stalls = probe.stalls();
  // Several of the longest blocks, half a second at 48 kHz.
  if (!clock.hear(4 * 8192)) return {};
  stalled = probe.stalls() != stalls;
  return clock.breaksSince(before);
}

/// Changes a setting of the server's to each of the values in turn. Every change may disturb the listeners once, for
/// `mostFrames` at most; then all is unbroken again, to the last bit. A machine that does not run a real-time thread in
/// time loses sound whatever the program does: such a measurement says nothing and is made again, a few times.
void expectOneDisturbanceEach(ServerClock& clock, const Setting& setting, const std::vector<int>& values,
                              std::int64_t mostFrames) {
  int measured = 0;
  int previous = values.back();
  for (const int value : values) {
    bool isFaultless = false;
    std::string fault;
    for (int attempt = 0; attempt < 3 && !isFaultless && fault.empty(); ++attempt) {
      bool stalled = false;
      if (attempt > 0) {
        ASSERT_TRUE(breaksOfChange(clock, setting, previous, stalled)) << previous << clock.report();
      }
      const auto breaks = breaksOfChange(clock, setting, value, stalled);
      ASSERT_TRUE(breaks) << value << clock.report();
      isFaultless = areOrderly(*breaks) && isOneDisturbance(*breaks, mostFrames);
      if (!isFaultless && !stalled) fault = describe(*breaks);
    }
    if (isFaultless) ++measured;
    EXPECT_EQ(fault, "") << setting.key << " " << value << "\n" << fault;
    if (!isFaultless && fault.empty()) std::cout << setting.key << " " << value << ": the machine is too busy\n";
    previous = value;
  }
  EXPECT_GT(measured, 0);
}

TEST(ServerRates, aChangeDisturbsOnceAtMost) {
  ServerClock clock;
  ASSERT_TRUE(clock.hear(48000)) << clock.report();
  // The server stops every node, and starts them one after the other: a fifth of a second at the highest rate.
  expectOneDisturbanceEach(clock, forcedRate, {44100, 48000, 96000, 44100, 96000, 48000}, 96000 / 5);
}

TEST(ServerRates, theBlockAskedForStaysInFrames) {
  ServerClock clock;
  ASSERT_TRUE(clock.hear(48000)) << clock.report();
  EXPECT_EQ(clock.state().sampleRateHz(ServerClock::uid()), 48000);
  for (const int rateHz : {44100, 96000, 48000}) {
    clock.set("clock.force-rate", rateHz);
    EXPECT_TRUE(eventually([&] {
      return clock.state().sampleRateHz(ServerClock::uid()) == rateHz &&
             clock.state().blockFrames(ServerClock::uid()) == askedFrames;
    })) << rateHz
        << " Hz: blocks of " << clock.state().blockFrames(ServerClock::uid()).value_or(0) << " frames at "
        << clock.state().sampleRateHz(ServerClock::uid()).value_or(0) << " Hz";
  }
}

class ServerRate : public testing::TestWithParam<int> {};

TEST_P(ServerRate, isTheRoutesOwnToTheLastBit) {
  ServerClock clock(GetParam());
  ASSERT_TRUE(clock.hear(GetParam())) << clock.report();
  EXPECT_EQ(clock.probe().rateHz(), static_cast<std::uint32_t>(GetParam()));
  EXPECT_EQ(clock.state().sampleRateHz(ServerClock::uid()), GetParam());
  bool isUnbroken = false;
  bool stalled = true;
  std::string fault;
  for (int attempt = 0; attempt < 5 && stalled && !isUnbroken; ++attempt) {
    const auto before = clock.counts();
    const std::int64_t stalls = clock.probe().stalls();
    ASSERT_TRUE(clock.hear(GetParam())) << clock.report();
    stalled = clock.probe().stalls() != stalls;
    fault = describe(clock.breaksSince(before));
    isUnbroken = fault.empty();
  }
  if (stalled && !isUnbroken) GTEST_SKIP() << "the machine is too busy to tell";
  EXPECT_EQ(fault, "");
}

INSTANTIATE_TEST_SUITE_P(Rates, ServerRate, testing::Values(44100, 48000, 96000),
                         [](const auto& test) { return std::to_string(test.param); });

TEST(ServerBlocks, aChangeDisturbsOnceAtMost) {
  ServerClock clock;
  ASSERT_TRUE(clock.hear(48000)) << clock.report();
  // Two of the longest blocks.
  expectOneDisturbanceEach(clock, forcedBlock, {32, 8192, 64, 4096, 1024, 128, 2048, 256}, 2 * 8192);
}

TEST(ServerBlocks, whatIsInEffectIsKnown) {
  ServerClock clock;
  ASSERT_TRUE(clock.hear(48000)) << clock.report();
  EXPECT_EQ(clock.state().blockFrames(ServerClock::uid()), askedFrames);
  for (const int frames : {2048, 64, 8192}) {
    clock.set("clock.force-quantum", frames);
    EXPECT_TRUE(eventually([&] { return clock.state().blockFrames(ServerClock::uid()) == frames; })) << frames;
  }
}

}  // namespace
}  // namespace brindlemux::test
