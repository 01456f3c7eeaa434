#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace brindlemux::bench {

/// How one recording follows others.
struct Delays {
  /// By how many frames each origin comes later at the far end.
  std::vector<std::size_t> frames;
  /// Blocks whose sound is not that of the origins, each later by its delay, to 60 dB below.
  std::size_t blocksOff = 0;
  std::size_t blocks = 0;
};

/// Finds each origin in the far recording by correlation over one whole chirp, then follows them block by block. All
/// recordings are of the same moments.
Delays delaysOf(std::span<const std::vector<float>> origins, const std::vector<float>& far, std::size_t blockFrames);

/// The same for origins that resemble each other, as devices with the same sources do: correlation finds but one delay
/// for all of them. Of that one, and of whole numbers of blocks for each, these are the delays that leave the least
/// over.
Delays delaysOfAlike(std::span<const std::vector<float>> origins, const std::vector<float>& far,
                     std::size_t blockFrames);

}  // namespace brindlemux::bench
