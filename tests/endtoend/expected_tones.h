#pragma once

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "endtoend/levels.h"
#include "endtoend/recorder.h"
#include "support/tone_analysis.h"

namespace brindlemux::test {

struct ExpectedTone {
  std::size_t channel = 0;
  double frequencyHz = 0;
  double amplitude = 0;  ///< 0 for a tone that must not be heard
};

/// What is different in one second of a recording, or nothing.
inline std::string differences(const std::vector<std::vector<float>>& heard,
                               const std::vector<ExpectedTone>& expected) {
  constexpr double silenceDb = -100;  // what the analysis can tell apart
  std::string text;
  for (const ExpectedTone& tone : expected) {
    const double level = toneLevelDb(heard[tone.channel], tone.frequencyHz, rate);
    const bool isRight =
        tone.amplitude == 0 ? level < silenceDb : std::abs(level - decibels(tone.amplitude)) <= toleranceDb;
    if (isRight) continue;
    text += "channel " + std::to_string(tone.channel) + ", " + std::to_string(tone.frequencyHz) +
            " Hz: " + std::to_string(level) + " dB\n";
  }
  return text;
}

/// What is different in the next second of a recording, or nothing.
inline std::string differencesInNext(const Recorder& recorder, const std::vector<ExpectedTone>& expected) {
  const auto heard = recorder.next(second);
  return heard.front().empty() ? "nothing is recorded" : differences(heard, expected);
}

}  // namespace brindlemux::test
