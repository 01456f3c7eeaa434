#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_types.h"

namespace brindlemux::test {

/// What one part of an engine consists of, in the order in which an engine starts them.
enum class EnginePart { input, tap, output };

/// The resources of a part on the server, in the words of RoutedScenario::resources().
inline std::vector<std::string> resourcesOf(EnginePart part, const std::string& device) {
  switch (part) {
    case EnginePart::input:
      return {"proc on " + device + " running"};
    case EnginePart::tap:
      return {"tap", "aggregate", "proc on aggregate running"};
    case EnginePart::output:
      return {"unit on " + device + " running"};
  }
  return {};
}

/// What the engine must say when one call fails while it starts a part, or nothing for a call whose failure it takes in
/// its stride.
inline std::optional<std::string> promisedMessage(EnginePart part, std::string_view line, OSStatus status) {
  struct Rule {
    EnginePart part;
    std::string_view call;
    std::string_view detail;
    std::string_view step;
  };
  using enum EnginePart;
  // Calls whose status is part of the message.
  static constexpr auto checked = std::to_array<Rule>({
      {input, "createIOProc", "", "Creating input IOProc"},
      {input, "startDevice", "", "Starting input"},
      {tap, "createProcessTap", "", "Creating process tap"},
      {tap, "propertyData ", " tfmt", "Reading tap format"},
      {tap, "createAggregateDevice", "", "Creating aggregate device"},
      {tap, "createIOProc", "", "Creating tap IOProc"},
      {tap, "startDevice", "", "Starting tap IO"},
      {output, "createAudioUnit", "", "Creating audio unit"},
      {output, "setAudioUnitProperty", " CurrentDevice ", "Setting output device"},
      {output, "setAudioUnitProperty", " StreamFormat ", "Setting client format"},
      {output, "setAudioUnitProperty", " SetRenderCallback ", "Setting render callback"},
      {output, "initializeAudioUnit", "", "Initializing audio unit"},
      {output, "startOutputUnit", "", "Starting audio unit"},
  });
  // Answers that the part cannot do without.
  static constexpr auto needed = std::to_array<Rule>({
      {input, "propertyData ", " nsrt", "Could not determine device sample rate"},
      {input, "propertyDataSize ", " slay inpt", "Device has no input channels"},
      {input, "propertyData ", " slay inpt", "Device has no input channels"},
      {tap, "propertyDataSize system dev#", "", "No hardware output device found for tap clock"},
      {tap, "propertyData system dev#", "", "No hardware output device found for tap clock"},
      {output, "findComponent", "", "HAL output component not found"},
  });
  const auto applies = [&](const Rule& rule) {
    return rule.part == part && line.starts_with(rule.call) && line.find(rule.detail) != std::string_view::npos;
  };
  for (const Rule& rule : checked) {
    if (applies(rule)) return std::string(rule.step) + " failed (OSStatus " + std::to_string(status) + ")";
  }
  for (const Rule& rule : needed) {
    if (applies(rule)) return std::string(rule.step);
  }
  return std::nullopt;
}

/// The resource that stays, stopped, when the server refuses a call that releases it: the engine asks once. `before` is
/// what was there, as SimulatedAudioHardware::liveResources() tells it. A procedure of an aggregate goes with that.
inline std::optional<std::string> leftBehind(const std::string& line, const std::vector<std::string>& before) {
  const bool releases = line.starts_with("destroy") || line.starts_with("disposeAudioUnit");
  if (!releases || line.starts_with("destroyIOProc aggregate")) return std::nullopt;
  const std::string object = line.substr(line.rfind(' ') + 1);
  for (const std::string& resource : before) {
    if (resource != object && !resource.starts_with(object + " ")) continue;
    const std::size_t running = resource.rfind(" running");
    return running == std::string::npos ? resource : resource.substr(0, running);
  }
  return std::nullopt;
}

}  // namespace brindlemux::test
