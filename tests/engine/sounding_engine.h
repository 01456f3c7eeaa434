#pragma once

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <utility>
#include <vector>

#include "support/numbered_sound.h"
#include "support/realtime_guard.h"
#include "support/routed_engine.h"

namespace brindlemux::test {

/// An engine in virtual time whose every callback must neither allocate nor block.
class SoundingEngine : public ::testing::Test, public RoutedEngine {
 protected:
  AudioObjectID virtualDevice = kAudioObjectUnknown;
  AudioObjectID speakers = kAudioObjectUnknown;
  AudioObjectID microphone = kAudioObjectUnknown;
  RealtimeCounts counts;

  SoundingEngine() {
    hardware.setCallbackRunner([this](const std::function<void()>& callback) {
      const RealtimeCounts more = countedInRealtime(callback);
      counts.allocations += more.allocations;
      counts.frees += more.frees;
      counts.blockingLocks += more.blockingLocks;
    });
  }

  /// No callback allocated or blocked, and nothing failed.
  void TearDown() override {
    EXPECT_EQ(counts, RealtimeCounts{});
    EXPECT_EQ(engine.lastError, std::nullopt);
  }

  void addVirtual(std::uint32_t channels = 2) {
    deviceChannels = channels;
    virtualDevice = hardware.addDevice(loopbackDevice(virtualUID, channels));
  }
  void addSpeakers(std::uint32_t channels = 2) { speakers = hardware.addDevice(outputDevice("Speakers", channels)); }
  void addMicrophone(std::uint32_t channels = 2, SimulatedSignal signal = numbered) {
    microphone = hardware.addDevice(inputDevice("Microphone", channels, std::move(signal)));
  }

  std::vector<std::int64_t> heard(AudioObjectID device, std::uint32_t channel = 0) {
    return framesOf(hardware.takeOutput(device).at(channel), channel);
  }
};

inline std::vector<std::int64_t> countingFrom(std::int64_t first, std::int64_t count) {
  std::vector<std::int64_t> frames(static_cast<std::size_t>(count));
  std::iota(frames.begin(), frames.end(), first);
  return frames;
}

}  // namespace brindlemux::test
