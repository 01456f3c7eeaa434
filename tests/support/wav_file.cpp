#include "support/wav_file.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/file_contents.h"

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

std::optional<WavFile> readWav(const std::filesystem::path& path) {
  const std::string bytes = contentOf(path);
  if (bytes.size() < 12 || !bytes.starts_with("RIFF")) return std::nullopt;
  WavFile wav;
  std::size_t channels = 0;
  for (std::size_t offset = 12; offset + 8 <= bytes.size();) {
    const std::string_view name(bytes.data() + offset, 4);
    const auto size = numberAt<std::uint32_t>(bytes, offset + 4);
    const std::size_t start = offset + 8;
    const std::size_t rest = bytes.size() - start;
    if (name == "fmt ") {
      if (rest < 16) return std::nullopt;
      auto format = numberAt<std::uint16_t>(bytes, start);
      // The format proper is the beginning of the identifier at the end of the extensible header.
      if (format == extensibleFormat && rest >= 26) format = numberAt<std::uint16_t>(bytes, start + 24);
      channels = numberAt<std::uint16_t>(bytes, start + 2);
      wav.sampleRateHz = static_cast<int>(numberAt<std::uint32_t>(bytes, start + 4));
      if (format != floatFormat || numberAt<std::uint16_t>(bytes, start + 14) != 32 || channels == 0) {
        return std::nullopt;
      }
    } else if (name == "data") {
      if (channels == 0) return std::nullopt;
      // Until the recorder ends, the header does not know the size.
      const std::size_t dataBytes = size == 0 || size > rest ? rest : size;
      const std::size_t frames = dataBytes / (channels * sizeof(float));
      wav.channels.assign(channels, std::vector<float>(frames));
      for (std::size_t frame = 0; frame < frames; ++frame) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
          wav.channels[channel][frame] = numberAt<float>(bytes, start + (frame * channels + channel) * sizeof(float));
        }
      }
      return wav;
    }
    offset = start + size + size % 2;
  }
  return std::nullopt;
}

}  // namespace brindlemux::test
