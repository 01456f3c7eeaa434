#include "platform/standard_float_format.h"

#include <algorithm>
#include <cmath>

namespace brindlemux {
namespace {

constexpr std::uint32_t discreteInOrderTag = 0x930000;

}  // namespace

std::uint32_t AudioFormat::layoutTag() const noexcept {
  if (layout == Layout::standard) return 0;
  return discreteInOrderTag | (static_cast<std::uint32_t>(channels) & 0xFFFFU);
}

std::optional<AudioFormat> standardFloatFormat(double sampleRateHz, std::int64_t channels) noexcept {
  if (!std::isfinite(sampleRateHz) || sampleRateHz <= 0) return std::nullopt;
  return AudioFormat{
      .sampleRateHz = sampleRateHz,
      .channels = std::clamp<std::int64_t>(channels, 1, maximumChannels),
      .layout = channels <= 2 ? AudioFormat::Layout::standard : AudioFormat::Layout::discreteInOrder,
  };
}

}  // namespace brindlemux
