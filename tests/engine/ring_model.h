#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

// What one reader of one ring hears, worked out with whole numbers from the rules of rings alone.

namespace brindlemux::test {

/// The blocks of one device from the beginning of time.
struct BlockStream {
  std::vector<std::uint32_t> pattern;
  double rateHz = 48000;
  /// Whether it comes after a stream whose block ends at the same time.
  int rank = 0;

  std::int64_t position = 0;
  std::size_t blocks = 0;

  std::uint32_t block() const { return pattern[blocks % pattern.size()]; }
  std::pair<double, int> due() const { return {static_cast<double>(position + block()) * 48000.0 / rateHz, rank}; }
  void next() {
    position += block();
    ++blocks;
  }
};

/// For every frame that the reader plays until `end` (in frames at 48000 Hz) the frame of the writer that it hears, or
/// -1 for silence. The reader enters at time 0, and both cover the same ring of 96000 frames.
inline std::vector<std::int64_t> heardFrames(BlockStream writer, BlockStream reader, double end) {
  std::vector<std::int64_t> heard;
  std::int64_t head = 0;
  std::int64_t largestWrite = 0;
  std::int64_t cursor = -1;
  while (std::min(writer.due(), reader.due()).first <= end) {
    if (writer.due() < reader.due()) {
      largestWrite = std::max<std::int64_t>(largestWrite, std::min<std::int64_t>(writer.block(), 4096));
      head += writer.block();
      writer.next();
      continue;
    }
    const std::int64_t frames = reader.block();
    const std::int64_t lag = std::max(largestWrite, frames) + frames;
    const std::int64_t reset = std::min<std::int64_t>(lag, 4096);
    const std::int64_t slack = std::clamp<std::int64_t>(lag, 2400, 4096);
    const bool stays = cursor >= 0 && cursor <= head && head - cursor <= slack + reset;
    if (!stays) cursor = std::max<std::int64_t>(head - reset, 0);
    const std::int64_t available = std::min(head - cursor, frames);
    for (std::int64_t i = 0; i < frames; ++i) heard.push_back(i < available ? cursor + i : -1);
    cursor += available;
    reader.next();
  }
  return heard;
}

}  // namespace brindlemux::test
