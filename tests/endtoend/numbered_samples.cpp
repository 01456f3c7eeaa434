#include "endtoend/numbered_samples.h"

#include <algorithm>
#include <cmath>

namespace brindlemux::test {
namespace {

/// What a recording has from frame `at` on, where it should have gone on with frame `expected` of what was played.
std::string describeDeparture(const std::vector<float>& played, std::size_t expected,
                              const std::vector<float>& recorded, std::size_t at) {
  std::size_t silent = 0;
  while (at + silent < recorded.size() && recorded[at + silent] == 0.0F) ++silent;
  std::string text =
      "at frame " + std::to_string(expected) + " of the player: " + std::to_string(silent) + " of silence";
  if (at + silent == recorded.size()) return text + " to the end";
  const auto resumed = std::find(played.begin(), played.end(), recorded[at + silent]);
  if (resumed == played.end()) return text + ", then what was never played";
  return text + ", then frame " + std::to_string(resumed - played.begin());
}

}  // namespace

std::uint32_t numberAfter(std::uint32_t number) {
  // A full-period generator modulo 2^24: multiplier - 1 divisible by 4, odd increment.
  return (number * 1140671485U + 12820163U) & 0xFFFFFFU;
}

std::vector<float> numberedSamples(std::size_t frames, std::uint32_t seed) {
  std::vector<float> samples(frames);
  std::uint32_t number = seed;
  for (float& sample : samples) {
    number = numberAfter(number);
    const float magnitude = 0.25F + static_cast<float>(number >> 1U) / static_cast<float>(1U << 24U);
    sample = (number & 1U) != 0 ? magnitude : -magnitude;
  }
  return samples;
}

std::optional<std::uint32_t> numberOf(float sample, float scale) {
  const float steps = (std::abs(sample / scale) - 0.25F) * static_cast<float>(1U << 24U);
  const bool isNumbered = steps >= 0 && steps < static_cast<float>(1U << 23U) && steps == std::floor(steps);
  if (!isNumbered) return std::nullopt;
  return (static_cast<std::uint32_t>(steps) << 1U) | (sample > 0 ? 1U : 0U);
}

Comparison compare(const std::vector<float>& played, const std::vector<float>& recorded, std::size_t start) {
  Comparison result;
  const auto found = std::find(played.begin(), played.end(), recorded[start]);
  if (found == played.end()) return result;
  result.offset = static_cast<std::size_t>(found - played.begin());
  const std::size_t length = std::min(played.size() - *result.offset, recorded.size() - start);
  std::size_t& exact = result.exactFrames;
  while (exact < length && played[*result.offset + exact] == recorded[start + exact]) ++exact;
  if (exact < length) result.departure = describeDeparture(played, *result.offset + exact, recorded, start + exact);
  return result;
}

Course followToTheEnd(const std::vector<float>& played, const std::vector<float>& recorded, std::size_t start) {
  Course course;
  std::size_t at = start;
  while (at < recorded.size()) {
    const Comparison part = compare(played, recorded, at);
    if (at == start) course.offset = part.offset;
    if (!part.offset) {
      course.departures.push_back({.at = at, .text = "something that was never played"});
      break;
    }
    course.longestExact = std::max(course.longestExact, part.exactFrames);
    at += part.exactFrames;
    if (at == recorded.size()) break;
    course.departures.push_back({.at = at, .text = part.departure});
    while (at < recorded.size() && recorded[at] == 0.0F) ++at;
  }
  return course;
}

}  // namespace brindlemux::test
