#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindlemux::test {

/// Samples that tell where they come from: every value of magnitude 0.25 to 0.75 that a float has there, in an order
/// that does not repeat for 2^24 frames. All of them lie below the limiter's knee of 0.9.
std::vector<float> numberedSamples(std::size_t frames, std::uint32_t seed);

/// Where in the order a sample of such a sound stands, that sample times `scale` being `sample`; nothing for others.
std::optional<std::uint32_t> numberOf(float sample, float scale = 1.0F);
/// The number that follows.
std::uint32_t numberAfter(std::uint32_t number);

/// How a recording follows what was played.
struct Comparison {
  std::size_t exactFrames = 0;        ///< from the start of the comparison to the first departure
  std::optional<std::size_t> offset;  ///< of the recording's start in what was played; nothing when it was not found
  std::string departure;              ///< what stands at the first departure, for a failure's message
};

/// Follows the recording from frame `start` on through what was played.
Comparison compare(const std::vector<float>& played, const std::vector<float>& recorded, std::size_t start);

/// Where a recording goes on with something else than the next frame that was played.
struct Departure {
  std::size_t at = 0;  ///< in frames of the recording
  std::string text;    ///< for a failure's message
};

/// The whole way of a recording through what was played, past its departures.
struct Course {
  std::optional<std::size_t> offset;  ///< as in Comparison
  std::size_t longestExact = 0;       ///< frames between two departures at most
  std::vector<Departure> departures;  ///< in their order; the last one is where what follows was never played
};

/// Follows the recording from frame `start` to its end.
Course followToTheEnd(const std::vector<float>& played, const std::vector<float>& recorded, std::size_t start);

}  // namespace brindlemux::test
