#include "engine/engine_meter.h"

#include <algorithm>
#include <cstddef>

namespace brindlemux {
namespace {

/// The limiter keeps the mix below 1.0, so that only a very hot one comes this close.
constexpr float clipThreshold = 0.999F;
constexpr std::int64_t clipHoldSnapshots = 12;

/// What the memory of the mix keeps from one snapshot to the next.
constexpr float mixDecay = 0.7F;
// The engine's own mix returns through the device later than it was metered; a loop-back counts as foreign only when it
// exceeds the remembered mix by this factor and by this floor.
constexpr float passThruMargin = 1.6F;
constexpr float passThruFloor = 0.015F;

}  // namespace

MeterSnapshot EngineMeter::snapshot(const MixBus::Rings& sources, MixBus& bus, SourceRing* loopback) {
  MeterSnapshot snapshot;
  for (const auto& [id, ring] : sources) {
    if (ring != nullptr) snapshot.sourcePeaks.emplace(id, ring->takePeaks());
  }

  snapshot.outputPeaks = bus.takeOutputPeaks();
  std::vector<float>& output = snapshot.outputPeaks;
  const std::size_t channels = output.size();

  if (clipHold_.size() != channels) clipHold_.assign(channels, 0);
  snapshot.outputClip.resize(channels);
  for (std::size_t channel = 0; channel < channels; ++channel) {
    std::int64_t& hold = clipHold_[channel];
    if (output[channel] >= clipThreshold) {
      hold = clipHoldSnapshots;
    } else if (hold > 0) {
      --hold;
    }
    snapshot.outputClip[channel] = hold > 0;
  }

  if (recentMixMax_.size() != channels) recentMixMax_.assign(channels, 0.0F);
  for (std::size_t channel = 0; channel < channels; ++channel) {
    recentMixMax_[channel] = std::max(recentMixMax_[channel] * mixDecay, output[channel]);
  }

  snapshot.passThruPeaks.resize(channels);
  if (loopback == nullptr) return snapshot;
  const std::vector<float> input = loopback->takePeaks();
  for (std::size_t channel = 0; channel < std::min(input.size(), channels); ++channel) {
    if (input[channel] > recentMixMax_[channel] * passThruMargin + passThruFloor) {
      snapshot.passThruPeaks[channel] = input[channel];
    }
    output[channel] = std::max(output[channel], input[channel]);
  }
  return snapshot;
}

}  // namespace brindlemux
