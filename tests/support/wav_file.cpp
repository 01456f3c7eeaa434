#include "support/wav_file.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brindlemux::test {
namespace {

static_assert(std::endian::native == std::endian::little, "samples are copied as they are");

constexpr std::uint16_t floatFormat = 3;
constexpr std::uint16_t extensibleFormat = 0xFFFE;

template <typename Number>
void append(std::string& bytes, Number number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

template <typename Number>
Number numberAt(std::string_view bytes, std::size_t offset) {
  Number number = {};
  std::memcpy(&number, bytes.data() + offset, sizeof number);
  return number;
}

/// Where a file's samples are, as far as there are any yet.
struct Samples {
  int sampleRateHz = 0;
  std::size_t channels = 0;
  std::size_t start = 0;
  std::size_t frames = 0;

  std::size_t frameBytes() const { return channels * sizeof(float); }
};

/// The bytes of a file from an offset on, or as many as there are.
std::string bytesAt(std::ifstream& file, std::size_t offset, std::size_t count) {
  std::string bytes(count, '\0');
  file.clear();
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(bytes.data(), static_cast<std::streamsize>(count));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

std::optional<Samples> findSamples(std::ifstream& file) {
  file.seekg(0, std::ios::end);
  const auto end = static_cast<std::size_t>(std::max<std::streamoff>(file.tellg(), 0));
  if (end < 12 || !bytesAt(file, 0, 4).starts_with("RIFF")) return std::nullopt;
  Samples samples;
  for (std::size_t offset = 12; offset + 8 <= end;) {
    // A chunk's name and size, and of the one that tells the format as much as is needed.
    const std::string bytes = bytesAt(file, offset, 8 + 26);
    if (bytes.size() < 8) return std::nullopt;
    const auto size = numberAt<std::uint32_t>(bytes, 4);
    const std::size_t start = offset + 8;
    if (bytes.starts_with("fmt ")) {
      if (bytes.size() < 8 + 16) return std::nullopt;
      auto format = numberAt<std::uint16_t>(bytes, 8);
      // The format proper is the beginning of the identifier at the end of the extensible header.
      if (format == extensibleFormat && bytes.size() >= 8 + 26) format = numberAt<std::uint16_t>(bytes, 8 + 24);
      samples.channels = numberAt<std::uint16_t>(bytes, 8 + 2);
      samples.sampleRateHz = static_cast<int>(numberAt<std::uint32_t>(bytes, 8 + 4));
      if (format != floatFormat || numberAt<std::uint16_t>(bytes, 8 + 14) != 32) return std::nullopt;
    } else if (bytes.starts_with("data")) {
      if (samples.channels == 0) return std::nullopt;
      // Until the recorder ends, the header does not know the size.
      const std::size_t rest = end - start;
      samples.start = start;
      samples.frames = (size == 0 || size > rest ? rest : size) / samples.frameBytes();
      return samples;
    }
    offset = start + size + size % 2;
  }
  return std::nullopt;
}

}  // namespace

void writeWav(const std::filesystem::path& path, const WavFile& wav) {
  const auto channels = static_cast<std::uint16_t>(wav.channels.size());
  const auto rate = static_cast<std::uint32_t>(wav.sampleRateHz);
  const auto frameBytes = static_cast<std::uint16_t>(channels * sizeof(float));
  const auto dataBytes = static_cast<std::uint32_t>(wav.frames() * frameBytes);
  std::string bytes = "RIFF";
  append(bytes, 4 + 8 + 16 + 8 + dataBytes);
  bytes += "WAVEfmt ";
  append(bytes, std::uint32_t{16});
  append(bytes, floatFormat);
  append(bytes, channels);
  append(bytes, rate);
  append(bytes, rate * frameBytes);
  append(bytes, frameBytes);
  append(bytes, std::uint16_t{8 * sizeof(float)});
  bytes += "data";
  append(bytes, dataBytes);
  for (std::size_t frame = 0; frame < wav.frames(); ++frame) {
    for (const auto& channel : wav.channels) append(bytes, channel[frame]);
  }
  std::ofstream file(path, std::ios::binary);
  if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
    throw std::runtime_error("cannot write " + path.string());
  }
}

std::optional<WavFile> readWavEnd(const std::filesystem::path& path, std::size_t mostFrames) {
  std::ifstream file(path, std::ios::binary);
  const auto samples = findSamples(file);
  if (!samples) return std::nullopt;
  const std::size_t frames = std::min(samples->frames, mostFrames);
  const std::size_t start = samples->start + (samples->frames - frames) * samples->frameBytes();
  const std::string bytes = bytesAt(file, start, frames * samples->frameBytes());
  if (bytes.size() != frames * samples->frameBytes()) return std::nullopt;
  WavFile wav;
  wav.sampleRateHz = samples->sampleRateHz;
  wav.channels.assign(samples->channels, std::vector<float>(frames));
  for (std::size_t frame = 0; frame < frames; ++frame) {
    for (std::size_t channel = 0; channel < samples->channels; ++channel) {
      wav.channels[channel][frame] = numberAt<float>(bytes, (frame * samples->channels + channel) * sizeof(float));
    }
  }
  return wav;
}

std::optional<WavFile> readWav(const std::filesystem::path& path) {
  return readWavEnd(path, std::numeric_limits<std::size_t>::max());
}

}  // namespace brindlemux::test
