#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/audio_test_support.h"
#include "engine/mix_bus.h"

// Short words for the graphs, the rings and the renders of a mix bus.

namespace brindlemux::test {

using CursorMap = std::unordered_map<UUID, std::int64_t>;

inline UUID identifier(std::uint8_t number) {
  UUID id;
  id.bytes[15] = number;
  return id;
}

inline const UUID first = identifier(1);
inline const UUID second = identifier(2);
inline const UUID speakers = identifier(11);
inline const UUID headphones = identifier(12);

inline SourceNodeConfig source(const UUID& id, float gain = 1.0F, std::vector<float> channelGains = {}) {
  return {.id = id, .kind = SystemAudioSource{}, .gain = gain, .channelGains = std::move(channelGains)};
}

inline SourceWire wire(const UUID& id, std::int64_t from, std::int64_t to) {
  return {.sourceID = id, .sourceChannel = from, .outputChannel = to};
}

inline MonitorNodeConfig monitor(const UUID& id, float gain = 1.0F, bool enabled = true) {
  return {.id = id, .deviceUID = "device", .name = "Device", .gain = gain, .enabled = enabled};
}

inline MonitorWire monitorWire(std::int64_t from, const UUID& id, std::int64_t to) {
  return {.outputChannel = from, .monitorID = id, .monitorChannel = to};
}

inline std::shared_ptr<SourceRing> makeRing(std::int64_t channels = 2) {
  return std::make_shared<SourceRing>(channels, captureRingFrames);
}

/// Appends `frames` frames that hold one value per channel.
inline void play(SourceRing& ring, const std::vector<float>& values, std::int64_t frames) {
  PlanarBuffers block(static_cast<std::int64_t>(values.size()), frames);
  for (std::size_t channel = 0; channel < values.size(); ++channel) {
    block[static_cast<std::int64_t>(channel)].assign(static_cast<std::size_t>(frames), values[channel]);
  }
  inRealtime([&] { ring.write(block.captured()); });
}

inline void renderVirtual(MixBus& bus, PlanarBuffers& buffers, std::int64_t frames) {
  inRealtime([&] { bus.renderVirtual(buffers.pointers(), frames); });
}

inline void renderMonitor(MixBus& bus, const UUID& id, PlanarBuffers& buffers, std::int64_t frames) {
  inRealtime([&] { bus.renderMonitor(id, buffers.pointers(), frames); });
}

}  // namespace brindlemux::test
