#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <iostream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/graph_text.h"
#include "endtoend/levels.h"
#include "endtoend/numbered_samples.h"
#include "endtoend/patch.h"
#include "endtoend/plugged_device.h"
#include "endtoend/routing_session.h"
#include "support/repetitions.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* roundsVariable = "BRINDLEMUX_HOTPLUG_ROUNDS";

/// The application's channels to the first two of the device and to both outputs; an input's first to the third and its
/// second and its sixteenth to the fourth.
std::string interfaceGraph() {
  return graphText({{"latencyFrames", "2048"}},
                   {{applicationKind("pw-cat"), {{0, 0}, {1, 1}}}, {inputKind("usb-in"), {{0, 2}, {1, 3}, {15, 3}}}},
                   {{"headphones", {{0, 0}, {1, 1}}}, {"usb-out", {{0, 0}, {1, 1}, {1, 15}}}});
}

struct Profile {
  int channels;
  const char* positions;
  int rateHz;
};

constexpr std::array profiles = {
    Profile{.channels = 2, .positions = "FL,FR", .rateHz = 48000},
    Profile{.channels = 16, .positions = "", .rateHz = 48000},
    Profile{.channels = 1, .positions = "MONO", .rateHz = 44100},
    Profile{.channels = 6, .positions = "FL,FR,FC,LFE,RL,RR", .rateHz = 48000},
    Profile{.channels = 2, .positions = "", .rateHz = 96000},
    Profile{.channels = 16,
            .positions = "AUX0,AUX1,AUX2,AUX3,AUX4,AUX5,AUX6,AUX7,AUX8,AUX9,AUX10,AUX11,AUX12,AUX13,AUX14,AUX15",
            .rateHz = 44100},
};

/// The right is played at half the left's level: neither can be taken for the other.
constexpr float leftScale = 1.0F;
constexpr float rightScale = 0.5F;

/// Follows numbered samples on one port.
class Follower {
 public:
  explicit Follower(float scale) : scale_(scale) {}

  /// Threads: the port's.
  void hear(const float* samples, std::uint32_t frames) {
    for (std::uint32_t i = 0; i < frames; ++i) {
      const auto number = samples == nullptr ? std::nullopt : numberOf(samples[i], scale_);
      const bool follows = number && last_ && *number == numberAfter(*last_);
      inOrder_ = follows ? inOrder_ + 1 : 0;
      if (!follows) ++departures_;
      last_ = number;
    }
  }

  /// How many samples up to the latest one have followed one another.
  std::int64_t inOrder() const { return inOrder_; }
  /// How many did not follow the one before.
  std::int64_t departures() const { return departures_; }

 private:
  const float scale_;
  std::optional<std::uint32_t> last_;
  std::atomic<std::int64_t> inOrder_ = 0;
  std::atomic<std::int64_t> departures_ = 0;
};

/// Hears the device's four channels, the headphones' two, and three channels of the interface that comes and goes.
class Ears {
 public:
  static constexpr std::size_t interfacePorts = 3;

  std::array<Follower, 4> steady = {Follower(leftScale), Follower(rightScale), Follower(leftScale),
                                    Follower(rightScale)};
  std::array<std::atomic<float>, 2> fromInterface = {};
  std::array<Follower, interfacePorts> toInterface = {Follower(leftScale), Follower(rightScale), Follower(rightScale)};

 private:
  static std::vector<PatchedPort> ports() {
    const std::string device = std::string(RoutingSession::deviceUID) + ".source";
    return {{device, 0}, {device, 1},    {"headphones", 0}, {"headphones", 1}, {device, 2},
            {device, 3}, {"usb-out", 0}, {"usb-out", 1},    {"usb-out", 15}};
  }

  Patch patch_{
      "test-ears", ports(), {}, [this](std::span<float* const> inputs, std::span<float* const>, std::uint32_t frames) {
        for (std::size_t i = 0; i < 4; ++i) steady[i].hear(inputs[i], frames);
        for (std::size_t i = 0; i < 2; ++i) {
          const float* const samples = inputs[4 + i];
          fromInterface[i] = samples == nullptr ? 0.0F : samples[frames - 1];
        }
        for (std::size_t i = 0; i < interfacePorts; ++i) toInterface[i].hear(inputs[6 + i], frames);
      }};
};

/// The level that is fed into a channel of the interface.
float levelOf(int channel) { return 0.25F + 0.015625F * static_cast<float>(channel); }

class Hotplug : public testing::Test {
 protected:
  void startPlayer(std::size_t seconds) {
    auto left = numberedSamples(seconds * second, 1);
    auto right = numberedSamples(seconds * second, 5000000);
    for (float& sample : right) sample *= rightScale;
    player_ = session_.play(session_.writeStereo("numbered.wav", std::move(left), std::move(right)));
  }

  bool isListed(const std::string& uid) const {
    return std::ranges::any_of(program_.state.audioDevices(), [&](const auto& device) { return device.uid == uid; });
  }

  void unplug() {
    feed_.reset();
    input_.reset();
    output_.reset();
  }
  void plug(const Profile& profile) {
    output_ = std::make_unique<PluggedDevice>(
        PluggedShape{"usb-out", "Audio/Sink", profile.channels, profile.positions, profile.rateHz});
    input_ = std::make_unique<PluggedDevice>(
        PluggedShape{"usb-in", "Audio/Source/Virtual", profile.channels, profile.positions, profile.rateHz});
    std::vector<PatchedPort> ports;
    std::vector<float> levels;
    for (int channel = 0; channel < profile.channels; ++channel) {
      ports.push_back({"usb-in", static_cast<std::size_t>(channel)});
      levels.push_back(levelOf(channel));
    }
    feed_ = std::make_unique<LevelSource>("test-feed", std::move(ports), std::move(levels));
  }

  /// Whether the interface is heard in the device, and the device in the interface, in the right channels.
  bool isWhole(const Profile& profile) const {
    const float third = levelOf(0);
    const float fourth = (profile.channels > 1 ? levelOf(1) : 0.0F) + (profile.channels > 15 ? levelOf(15) : 0.0F);
    const auto isNear = [](float level, float expected) { return std::abs(level - expected) < 1e-4F; };
    if (!isNear(ears_.fromInterface[0], third) || !isNear(ears_.fromInterface[1], fourth)) return false;
    constexpr auto longEnough = static_cast<std::int64_t>(second / 5);
    if (ears_.toInterface[0].inOrder() < longEnough) return false;
    if (profile.channels > 1 && ears_.toInterface[1].inOrder() < longEnough) return false;
    return profile.channels < 16 || ears_.toInterface[2].inOrder() >= longEnough;
  }
  std::string whatIsHeard() const {
    std::string text = "from the interface: " + std::to_string(ears_.fromInterface[0]) + " " +
                       std::to_string(ears_.fromInterface[1]) + "; to it, in order:";
    for (const Follower& follower : ears_.toInterface) text += " " + std::to_string(follower.inOrder());
    return text + "\n" + session_.report();
  }

  RoutingSession session_{4, interfaceGraph(), RoutingSession::Program::absent};
  ControllerSession program_{session_};
  Ears ears_;
  std::unique_ptr<ChildProcess> player_;
  std::unique_ptr<PluggedDevice> input_;
  std::unique_ptr<PluggedDevice> output_;
  std::unique_ptr<LevelSource> feed_;
};

TEST_F(Hotplug, ofAnInterfaceIsNotHeardInOtherWires) {
  const int rounds = repetitions(roundsVariable, 5);
  startPlayer(60 + 6 * static_cast<std::size_t>(rounds));
  plug(profiles[0]);
  const auto isSteady = [&] {
    return std::ranges::all_of(ears_.steady, [](const Follower& follower) {
      return follower.inOrder() > static_cast<std::int64_t>(2 * second);
    });
  };
  ASSERT_TRUE(eventually([&] { return isSteady() && isWhole(profiles[0]); })) << whatIsHeard();
  std::array<std::int64_t, 4> before = {};
  std::ranges::transform(ears_.steady, before.begin(), &Follower::departures);

  for (int round = 1; round <= rounds && !HasFailure(); ++round) {
    const Profile& profile = profiles[static_cast<std::size_t>(round) % profiles.size()];
    unplug();
    // Every other time it is back before the program has noticed: another profile of the same device.
    if (round % 2 == 0) {
      ASSERT_TRUE(eventually([&] { return !isListed("usb-in") && !isListed("usb-out"); })) << session_.report();
    }
    plug(profile);
    ASSERT_TRUE(eventually([&] { return isWhole(profile); })) << "round " << round << "\n" << whatIsHeard();
    for (std::size_t i = 0; i < before.size(); ++i) {
      EXPECT_EQ(ears_.steady[i].departures(), before[i]) << "round " << round << ", port " << i;
    }
  }
  EXPECT_TRUE(isSteady());
  if (isLongRun(roundsVariable)) {
    std::cout << rounds << " rounds; the other wires in order for " << ears_.steady[0].inOrder() / 48000 << " s"
              << std::endl;
  }
  program_.state.shutdown();
}

}  // namespace
}  // namespace brindlemux::test
