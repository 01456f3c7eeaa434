#include "app/controller_step.h"

#include <algorithm>
#include <random>
#include <utility>

#include "model/uuid.h"
#include "platform/simulated/counting_uuid_source.h"

namespace brindlemux::test {
namespace {

/// Edits come most often: they are what a person does all day.
constexpr std::uint32_t oddsOfAnEdit = 3;  // in 6

constexpr std::array<const char*, static_cast<std::size_t>(ControllerStep::Kind::count)> kindNames = {
    "create",       "remove",    "rename",       "setChannels", "edit",        "reload", "dismissError", "wait",
    "refuseWrites", "failSaves", "failCaptures", "takeDriver",  "otherWriter", "plug",   "play",         "mendAll"};

constexpr std::int64_t mostChannels = 18;  // beyond what a device can have

template <typename List>
auto chosen(List& list, std::uint32_t choice) {
  return list.empty() ? list.end() : list.begin() + static_cast<std::ptrdiff_t>(choice % list.size());
}

float gainOf(std::uint32_t choice) { return static_cast<float>(choice % 200) / 100.0F; }

SourceKindConfig kindOf(std::uint32_t choice) {
  const std::uint32_t which = choice / 3 % 2;
  if (choice % 3 == 0) return MicSource{pluggableInputs[which], "Input"};
  if (choice % 3 == 1) return AppSource{applications[which], "Application"};
  return SystemAudioSource{};
}

void addWire(DeviceGraph& graph, std::uint32_t first, std::uint32_t second) {
  const std::int64_t output = second % mostChannels;
  const auto source = chosen(graph.sources, first);
  const auto monitor = chosen(graph.monitors, first);
  if (second % 3 == 0 && monitor != graph.monitors.end()) {
    graph.monitorWires.push_back({output, monitor->id, first % 2});
  } else if (source != graph.sources.end()) {
    graph.wires.push_back({source->id, first % 2, output});
  }
}

void removeNode(DeviceGraph& graph, std::uint32_t first, std::uint32_t second) {
  if (const auto source = chosen(graph.sources, first); second % 2 == 0 && source != graph.sources.end()) {
    std::erase_if(graph.wires, [id = source->id](const SourceWire& wire) { return wire.sourceID == id; });
    graph.sources.erase(source);
  } else if (const auto monitor = chosen(graph.monitors, first); monitor != graph.monitors.end()) {
    std::erase_if(graph.monitorWires, [id = monitor->id](const MonitorWire& wire) { return wire.monitorID == id; });
    graph.monitors.erase(monitor);
  }
}

void switchNode(DeviceGraph& graph, std::uint32_t first, std::uint32_t second) {
  if (const auto source = chosen(graph.sources, first); second % 2 == 0 && source != graph.sources.end()) {
    source->enabled = !source->enabled;
  } else if (const auto monitor = chosen(graph.monitors, first); monitor != graph.monitors.end()) {
    monitor->enabled = !monitor->enabled;
  }
}

void moveGain(DeviceGraph& graph, std::uint32_t first, std::uint32_t second) {
  const auto source = chosen(graph.sources, first);
  if (source == graph.sources.end()) {
    graph.masterGain = gainOf(second);
  } else if (second % 2 == 0) {
    source->gain = gainOf(second);
  } else {
    source->channelGains.assign(first % 3, gainOf(second));
  }
}

}  // namespace

ControllerHistory randomHistory(std::uint32_t seed, std::size_t steps) {
  // The distributions of the standard library differ between implementations; the generator does not.
  std::mt19937 random(seed);
  ControllerHistory history;
  for (std::uint32_t number = 1; number <= steps; ++number) {
    ControllerStep step{.number = number,
                        .choices = {static_cast<std::uint32_t>(random()), static_cast<std::uint32_t>(random()),
                                    static_cast<std::uint32_t>(random())}};
    const auto kinds = static_cast<std::uint32_t>(ControllerStep::Kind::count);
    step.kind =
        random() % 6 < oddsOfAnEdit ? ControllerStep::Kind::edit : static_cast<ControllerStep::Kind>(random() % kinds);
    history.push_back(step);
  }
  return history;
}

std::string describe(const ControllerHistory& history) {
  std::string text;
  for (const ControllerStep& step : history) {
    text += std::to_string(step.number) + " " + kindNames[static_cast<std::size_t>(step.kind)];
    for (const std::uint32_t choice : step.choices) text += " " + std::to_string(choice);
    text += "\n";
  }
  return text;
}

void applyEdit(const ControllerStep& step, DeviceGraph& graph) {
  const auto [which, first, second] = step.choices;
  const UUID id = CountingUUIDSource::identifier(1'000'000 + step.number);
  switch (which / 16 % 12) {
    case 0:
      graph.sources.push_back({.id = id, .kind = kindOf(first)});
      graph.wires.push_back({id, 0, second % mostChannels});
      break;
    case 1:
      graph.monitors.push_back({.id = id, .deviceUID = pluggableOutputs[first % 2], .name = "Output"});
      break;
    case 2:
      removeNode(graph, first, second);
      break;
    case 3:
    case 4:
      addWire(graph, first, second);
      break;
    case 5:
      if (const auto wire = chosen(graph.wires, first); wire != graph.wires.end()) graph.wires.erase(wire);
      break;
    case 6:
      switchNode(graph, first, second);
      break;
    case 7:
    case 8:
      moveGain(graph, first, second);
      break;
    case 9:
      graph.outputGains.assign(first % mostChannels, gainOf(second));
      break;
    case 10:
      graph.latencyFrames = std::int64_t{64} << first % 4;
      if (graph.sources.size() > 1) std::swap(graph.sources.front(), graph.sources.back());
      break;
    default:
      graph.enabled = !graph.enabled;
  }
}

}  // namespace brindlemux::test
