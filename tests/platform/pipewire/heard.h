#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "platform/audio_hardware.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"

namespace brindlemux::test {

/// Stands for the level of a tone that must not be heard.
inline constexpr double silenceDb = -70;

/// What a tap hears, left and right, in stretches of half a second.
class Heard {
 public:
  /// The levels of some tones on the left and on the right, in dB, by their frequencies.
  using Levels = std::map<double, std::array<double, 2>>;

  Heard() {
    for (auto& side : sides_) side.resize(frames);
  }

  /// What the tap's procedure does. Writes a stretch, and then nothing until the next one is asked for.
  IOBlock recorder() {
    return [this](AudioBufferList input) {
      const std::size_t length = input[0].byteSize / sizeof(float);
      std::size_t at = at_;
      if (at == frames) return;
      for (std::size_t i = 0; i < length && at < frames; ++i, ++at) {
        for (std::size_t side = 0; side < 2; ++side) sides_[side][at] = input[side].data[i];
      }
      at_ = at;
    };
  }

  /// Listens until a whole stretch has these levels, as the first ones have not: one link is made after the other, and
  /// a busy machine loses sound whatever the program does. What is different in the last stretch, or nothing.
  std::string differencesFrom(const Levels& expected) {
    std::string differences = "nothing is heard";
    waitUntil(
        [&] {
          if (at_ < frames) return false;
          differences = compare(expected);
          if (!differences.empty()) at_ = 0;
          return differences.empty();
        },
        std::chrono::seconds(20));
    return differences;
  }

 private:
  std::string compare(const Levels& expected) const {
    std::string differences;
    for (const auto& [frequencyHz, levels] : expected) {
      for (std::size_t side = 0; side < 2; ++side) {
        const double level = toneLevelDb(sides_[side], frequencyHz, 48000);
        if (levels[side] == silenceDb ? level < silenceDb : std::abs(level - levels[side]) < 0.05) continue;
        differences += std::to_string(frequencyHz) + " Hz, side " + std::to_string(side) + ": " +
                       std::to_string(level) + " dB instead of " + std::to_string(levels[side]) + "\n";
      }
    }
    return differences;
  }

  static constexpr std::size_t frames = 24000;
  std::array<std::vector<float>, 2> sides_;
  std::atomic<std::size_t> at_ = 0;
};

}  // namespace brindlemux::test
