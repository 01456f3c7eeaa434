#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "benches.h"
#include "bounds.h"
#include "engine/mix_bus.h"
#include "engine/planar_buffer.h"
#include "engine/unfair_lock.h"
#include "side_by_side.h"

namespace brindlemux::bench {
namespace {

UUID identifier(std::size_t number) {
  UUID id;
  id.bytes[0] = static_cast<std::uint8_t>(number);
  id.bytes[15] = static_cast<std::uint8_t>(number * 37);
  return id;
}

enum class Wiring { eachPairToOnePair, everythingToEverything };

/// Stereo sources whose signals cancel each other out in pairs, so that the outputs never fill up and the limiter finds
/// nothing to do, however often they are mixed.
struct Bench {
  Bench(std::size_t sources, std::int64_t channels, std::int64_t ringFrames, Wiring wiring)
      : graph("device"), outputs(channels, 512), deviceChannels(channels) {
    for (std::size_t i = 0; i < sources; ++i) {
      const UUID id = identifier(i);
      graph.sources.push_back({.id = id, .kind = SystemAudioSource{}, .channelGains = {}});
      rings.emplace(id, std::make_shared<SourceRing>(2, ringFrames));
      for (std::int64_t source = 0; source < 2; ++source) {
        const std::int64_t pair = 2 * (static_cast<std::int64_t>(i / 2) % (channels / 2));
        for (std::int64_t output = 0; output < channels; ++output) {
          if (wiring == Wiring::eachPairToOnePair && output != pair + source) continue;
          graph.wires.push_back({.sourceID = id, .sourceChannel = source, .outputChannel = output});
        }
      }
    }
    bus.rebuildPlans(graph, rings, channels);
  }

  void write(std::int64_t frames) {
    const std::vector<float> up(static_cast<std::size_t>(frames), 0.25F);
    const std::vector<float> down(static_cast<std::size_t>(frames), -0.25F);
    for (std::size_t i = 0; i < graph.sources.size(); ++i) {
      const std::array<const float*, 1> block = {i % 2 == 0 ? up.data() : down.data()};
      rings.at(graph.sources[i].id)->write({.frames = frames, .planar = block});
    }
  }

  DeviceGraph graph;
  MixBus::Rings rings;
  MixBus bus;
  PlanarBuffer outputs;
  const std::int64_t deviceChannels;
};

void addRendering(std::int64_t frames, std::optional<double> atLeast) {
  // What is written between two measurements is as much as the rings hold, and all of it fits the first-level cache,
  // though not beside as much memory of the bound's: each has run on its own right before it is measured.
  constexpr std::int64_t ringFrames = 512;
  constexpr std::int64_t sources = 8;
  const auto bench = std::make_shared<Bench>(sources, 2, ringFrames, Wiring::eachPairToOnePair);
  // Cancels itself out likewise, since it is added to the same outputs.
  const auto boundRings = std::make_shared<AlignedFloats>(2 * sources * ringFrames, 0.25F);
  for (std::size_t i = 0; i < boundRings->size(); ++i) {
    if (i / (2 * ringFrames) % 2 == 1) (*boundRings)[i] = -0.25F;
  }
  Comparison comparison;
  comparison.what = "renderVirtual, 8 stereo sources, " + std::to_string(frames) + " frames";
  comparison.operation = [bench, frames](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) bench->bus.renderVirtual(bench->outputs.channels(), frames);
  };
  comparison.prepare = [bench, operation = comparison.operation, frames] {
    bench->write(ringFrames);
    operation(ringFrames / frames);
    bench->write(ringFrames);
  };
  const auto triad = boundedKernels().back().bounds.triad;
  const auto source = [bench, boundRings, frames, triad](std::int64_t number, std::int64_t time) {
    for (std::int64_t channel = 0; channel < 2; ++channel) {
      triad(bench->outputs.channel(channel), boundRings->data() + (2 * number + channel) * ringFrames + time * frames,
            frames);
    }
  };
  comparison.bound = [source](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      for (std::int64_t number = 0; number < sources; ++number) source(number, i);
    }
  };
  comparison.prepareBound = [bound = comparison.bound, frames] { bound(ringFrames / frames); };
  comparison.times = ringFrames / frames;
  Comparison locked = comparison;
  comparison.atLeast = atLeast;
  compare(std::move(comparison));

  // What no rendering can do better than: the plan's lock, one for each ring, and the meters'.
  locked.what = "locks around the bound alone, 8 stereo sources, " + std::to_string(frames) + " frames";
  const auto locks = std::make_shared<std::array<UnfairLock, sources + 2>>();
  locked.operation = [source, locks](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      {
        const std::lock_guard plan((*locks)[sources]);
        for (std::int64_t number = 0; number < sources; ++number) {
          const std::lock_guard ring((*locks)[static_cast<std::size_t>(number)]);
          source(number, i);
        }
      }
      const std::lock_guard meters((*locks)[sources + 1]);
    }
  };
  locked.prepare = [operation = locked.operation, frames] { operation(ringFrames / frames); };
  compare(std::move(locked));
}

void addShareOfBlock(const std::string& what, Wiring wiring) {
  constexpr std::int64_t frames = 64;
  const auto bench = std::make_shared<Bench>(64, 16, captureRingFrames, wiring);
  Comparison comparison;
  comparison.what = "percent of a 64-frame block, 64 sources to 16 outputs, " + what;
  comparison.prepare = [bench] { bench->write(frames); };
  comparison.operation = [bench](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) bench->bus.renderVirtual(bench->outputs.channels(), frames);
  };
  comparison.times = 1;
  comparison.figure = Comparison::Figure::percentOfBlock;
  compare(std::move(comparison));
}

void addRebuilding() {
  // 64 sources of 2 channels into 2 outputs: 256 wires.
  const auto bench = std::make_shared<Bench>(64, 2, 512, Wiring::everythingToEverything);
  Comparison comparison;
  comparison.what = "rebuildPlans ns, 64 sources, " + std::to_string(bench->graph.wires.size()) + " wires";
  comparison.operation = [bench](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) bench->bus.rebuildPlans(bench->graph, bench->rings, bench->deviceChannels);
  };
  comparison.times = 1;
  comparison.figure = Comparison::Figure::nanoseconds;
  comparison.atMost = 100'000;
  compare(std::move(comparison));
}

}  // namespace

void registerBus() {
  addRendering(64, std::nullopt);
  for (const std::int64_t frames : {128, 256, 512}) addRendering(frames, 0.55);
  addShareOfBlock("a pair to a pair", Wiring::eachPairToOnePair);
  addShareOfBlock("everything to everything", Wiring::everythingToEverything);
  addRebuilding();
}

}  // namespace brindlemux::bench
