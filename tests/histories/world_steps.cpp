#include <array>

#include "histories/steps.h"

namespace brindlemux::history {
namespace {

std::string plugIn(History& history, Random& random) {
  Pluggable& device = random.oneOf(history.world().devices);
  const bool wasThere = device.isPresent();
  history.world().plugIn(device, random);
  return (wasThere ? "replug " : "plug in ") + device.uid;
}

std::string plugOut(History& history, Random& random) {
  Pluggable* device = history.world().present(random);
  if (device == nullptr) return {};
  history.world().plugOut(*device);
  return "plug out " + device->uid;
}

/// The driver is told another channel count, and makes the device anew at once or a little later.
std::string changeVirtualChannels(History& history, Random& random) {
  Routing& routing = random.oneOf(history.routings());
  routing.channels = 2 * random.between(1, random.chance(10) ? 8 : 3);
  history.world().setVirtualChannels(routing.uid, routing.channels);
  if (random.chance(60)) {
    for (Pluggable& device : history.world().devices) {
      if (device.uid == routing.uid) history.world().plugIn(device, random);
    }
  }
  return "channels of " + routing.uid + ": " + std::to_string(routing.channels);
}

std::string changeChannels(History& history, Random& random) {
  Pluggable* device = history.world().present(random);
  if (device == nullptr || device->isVirtual) return {};
  history.world().changeChannels(*device, random);
  return "change channels of " + device->uid;
}

std::string changeDefaultOutput(History& history, Random& random) {
  const Pluggable* device = history.world().present(random);
  if (device == nullptr || !device->hasOutput) return {};
  history.world().setDefaultOutput(device->id);
  return "default output " + device->uid;
}

std::string startProcess(History& history, Random& random) {
  if (history.world().processes.size() >= 8) return {};
  history.world().startProcess(random);
  return "start " + history.world().processes.back().bundleID;
}

/// The program itself, which comes first where it is known, stays as it is.
std::int64_t anyProcess(History& history, Random& random) {
  const World& world = history.world();
  const std::int64_t first = world.ownProcess() == nullptr ? 0 : 1;
  const std::int64_t count = std::ssize(world.processes) - first;
  return count == 0 ? -1 : first + random.below(count);
}

std::string quitProcess(History& history, Random& random) {
  const std::int64_t index = anyProcess(history, random);
  if (index < 0) return {};
  const std::string bundleID = history.world().processes[static_cast<std::size_t>(index)].bundleID;
  history.world().quitProcess(static_cast<std::size_t>(index));
  return "quit " + bundleID;
}

std::string playOrPause(History& history, Random& random) {
  const std::int64_t index = anyProcess(history, random);
  if (index < 0) return {};
  const RunningProcess& process = history.world().processes[static_cast<std::size_t>(index)];
  bool& isPlaying = history.world().hardware.process(process.id).isPlaying;
  isPlaying = !isPlaying;
  return (isPlaying ? "play " : "pause ") + process.bundleID;
}

std::string moveProcess(History& history, Random& random) {
  const std::int64_t index = anyProcess(history, random);
  if (index < 0) return {};
  const RunningProcess& process = history.world().processes[static_cast<std::size_t>(index)];
  const std::string& uid = random.oneOf(history.world().devices).uid;
  history.world().hardware.process(process.id).outputUID = uid;
  return "move " + process.bundleID + " to " + uid;
}

std::string changePace(History& history, Random& random) {
  Pluggable* device = history.world().present(random);
  if (device == nullptr) return {};
  history.world().changePace(*device, random);
  return "change the pace of " + device->uid;
}

std::string advance(History& history, Random& random) {
  static const std::vector<std::int64_t> lengths = {1, 64, 104, 139, 256, 512, 940, 2048};
  const std::int64_t frames = random.oneOf(lengths);
  history.advance(frames);
  return "advance " + std::to_string(frames);
}

std::string settle(History& history, Random&) {
  history.settleAndListen();
  return "settle and listen";
}

}  // namespace

std::span<const Step> worldSteps() {
  static constexpr auto steps = std::to_array<Step>({{90, plugIn},
                                                     {25, plugOut},
                                                     {15, changeVirtualChannels},
                                                     {15, changeChannels},
                                                     {15, changeDefaultOutput},
                                                     {35, startProcess},
                                                     {30, quitProcess},
                                                     {40, playOrPause},
                                                     {15, moveProcess},
                                                     {15, changePace},
                                                     {200, advance},
                                                     {5, settle}});
  return steps;
}

}  // namespace brindlemux::history
