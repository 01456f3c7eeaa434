#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

namespace brindlemux::test {

/// Samples as they stand in a 32-bit float WAV file, unchanged to the last bit.
struct WavFile {
  int sampleRateHz = 48000;
  /// One vector for each channel, all of one length.
  std::vector<std::vector<float>> channels;

  std::size_t frames() const { return channels.empty() ? 0 : channels.front().size(); }
};

/// Throws std::runtime_error when it cannot be written.
void writeWav(const std::filesystem::path& path, const WavFile& wav);

/// Reads what pw-record, parecord or writeWav has written, also while it is still being recorded (then up to the last
/// whole frame). Nothing when there is no header yet or the samples are not 32-bit floats.
std::optional<WavFile> readWav(const std::filesystem::path& path);
/// The same of its last `mostFrames` frames alone, which costs no more for a longer file.
std::optional<WavFile> readWavEnd(const std::filesystem::path& path, std::size_t mostFrames);

}  // namespace brindlemux::test
