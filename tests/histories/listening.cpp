#include "histories/listening.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>
#include <utility>

#include "histories/expected_sound.h"
#include "histories/violation.h"

namespace brindlemux::history {
namespace {

/// Long enough for every device to run some cycles.
constexpr std::int64_t startingFrames = 9600;
/// Longer than any reader lags, and than a conversion's filter rings.
constexpr std::int64_t settlingFrames = 9600;
constexpr std::int64_t listeningFrames = 4800;
/// Rounding in the conversions and in the limiter.
constexpr double tolerance = 4e-6;

/// The rings that run; every source whose capture runs is metered.
RingChannels ringsOf(const Routing& routing) {
  RingChannels rings;
  for (const auto& [id, peaks] : routing.engine->meterSnapshot().sourcePeaks) rings[id] = std::ssize(peaks);
  return rings;
}

ExpectedSound expectedSound(const History& history) {
  ExpectedSound expected(history);
  for (const Routing& routing : history.routings()) {
    if (routing.engine != nullptr) expected.addEngine(routing, ringsOf(routing));
  }
  expected.addProcesses();
  expected.addMonitors();
  return expected;
}

/// What runs, for the reader of a failure.
std::string description(const History& history) {
  std::ostringstream text;
  for (const Pluggable& device : history.world().devices) {
    if (!device.isPresent()) continue;
    const SimulatedDevice& record = *history.world().hardware.objects().device(device.id);
    text << "\n    " << device.uid << " at " << record.nominalSampleRateHz << " Hz in blocks of "
         << record.bufferFrames;
  }
  text << "\n    taps at " << history.world().hardware.objects().tapFormat().sampleRate << " Hz";
  for (const Routing& routing : history.routings()) {
    text << "\n  " << routing.uid << " runs";
    for (const std::string& line : runningOf(history.world(), routing.owned).details) text << "\n    " << line;
  }
  return text.str();
}

/// What may be wrong: a reader that starts right behind its writer runs dry a few times before it lags far enough, so
/// that up to a share of the frames differs.
enum class Allowed { nothing, aGap, gaps };

double allowedShare(Allowed allowed) {
  switch (allowed) {
    case Allowed::nothing:
      return 0;
    case Allowed::aGap:
      // A missing frame, and what a filter on either side makes of it.
      return 0.1;
    case Allowed::gaps:
      break;
  }
  return 0.5;
}

/// What is wrong with the sound of a device, one line a channel; nothing where all is well.
std::string differences(const Pluggable& device, const SimulatedCycles::Recording& heard, const Levels& levels,
                        Allowed allowed) {
  std::ostringstream text;
  for (std::size_t channel = 0; channel < heard.size(); ++channel) {
    const double level = channel < levels.size() ? levels[channel] : 0.0;
    const auto differs = [level](float sample) {
      return !(std::fabs(static_cast<double>(sample) - level) <= tolerance * std::max(1.0, level));
    };
    const std::vector<float>& samples = heard[channel];
    const auto first = std::find_if(samples.begin(), samples.end(), differs);
    const auto count = std::count_if(first, samples.end(), differs);
    if (static_cast<double>(count) <= allowedShare(allowed) * static_cast<double>(samples.size())) continue;
    text << "\n    " << device.uid << ", channel " << channel << ", shall be heard at " << level << " and differs in "
         << count << " of " << samples.size() << " frames, first in frame " << first - samples.begin() << " with "
         << *first;
  }
  return text.str();
}

/// Whether anything runs at another rate than the engines.
bool isConverting(const World& world) {
  const SimulatedObjects& objects = world.hardware.objects();
  return objects.tapFormat().sampleRate != 48000 ||
         std::any_of(objects.devices().begin(), objects.devices().end(),
                     [](const auto& entry) { return entry.second.nominalSampleRateHz != 48000; });
}

/// The devices into which a unit plays.
std::set<AudioObjectID> playedInto(const World& world) {
  std::set<AudioObjectID> devices;
  for (const auto& entry : world.hardware.io().units()) {
    if (entry.second.running) devices.insert(entry.second.device);
  }
  return devices;
}

void expectSound(History& history, Allowed allowed) {
  World& world = history.world();
  for (const Pluggable& device : world.devices) {
    if (device.isPresent()) world.hardware.takeOutput(device.id);
  }
  world.hardware.advance(listeningFrames);
  const ExpectedSound expected = expectedSound(history);
  const std::set<AudioObjectID> played = playedInto(world);
  std::string text;
  for (const Pluggable& device : world.devices) {
    if (!device.isPresent()) continue;
    const auto heard = world.hardware.takeOutput(device.id);
    const SimulatedDevice& record = world.hardware.device(device.id);
    if (played.contains(device.id) && !record.outputBuffers.empty()) {
      const auto frames = static_cast<std::int64_t>(listeningFrames * record.nominalSampleRateHz / 48000);
      const bool goesOn = !heard.empty() && std::ssize(heard.front()) >= frames - record.bufferFrames;
      if (!goesOn) text += "\n    " + device.uid + " stands still";
    }
    const auto levels = expected.levels().find(device.uid);
    text += differences(device, heard, levels == expected.levels().end() ? Levels{} : levels->second, allowed);
  }
  require(text.empty(), "the sound is not what the graphs make of it" + text + description(history));
}

}  // namespace

void listen(History& history) {
  World& world = history.world();
  world.hardware.advance(startingFrames);
  expectSound(history, Allowed::gaps);
  // A monitor asks its device for other blocks when it is made, which a capture of the same device gets too.
  history.repositionReaders(History::Readers::monitors);
  world.hardware.advance(startingFrames);
  history.repositionReaders(History::Readers::sources);
  world.hardware.advance(settlingFrames);
  // The distance at which readers start goes by the largest block, but what a conversion hands over or pulls for a
  // block varies by a frame or so: a reader may run dry by that much, and then lags by that much more.
  if (isConverting(world)) expectSound(history, Allowed::aGap);
  expectSound(history, Allowed::nothing);
}

void listenToEachChannel(History& history) {
  World& world = history.world();
  std::set<std::pair<std::int64_t, std::uint32_t>> channels;
  for (const Routing& routing : history.routings()) {
    for (const SourceNodeConfig& source : routing.graph.sources) {
      const auto* mic = std::get_if<MicSource>(&source.kind);
      if (mic == nullptr) continue;
      for (const SourceWire& wire : routing.graph.wires) {
        if (wire.sourceID != source.id || wire.sourceChannel < 0) continue;
        channels.emplace(world.toneOf(mic->deviceUID), static_cast<std::uint32_t>(wire.sourceChannel));
      }
    }
  }
  for (const RunningProcess& process : world.processes) {
    for (const std::uint32_t channel : {0U, 1U}) channels.emplace(process.pid, channel);
  }
  for (const auto& [tone, channel] : channels) {
    world.solo = ToneChannel{tone, channel};
    listen(history);
  }
  world.solo.reset();
}

}  // namespace brindlemux::history
