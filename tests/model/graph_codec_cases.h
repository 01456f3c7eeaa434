#pragma once

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <variant>

#include "model/graph_codec.h"

// Texts and graphs for the tests of the coding, and what becomes of them.

namespace brindlemux::test {

inline constexpr const char* firstID = "00112233-4455-6677-8899-AABBCCDDEEFF";
inline constexpr const char* secondID = "FFEEDDCC-BBAA-9988-7766-554433221100";

inline UUID identifier(const char* text) { return UUID::parse(text).value(); }

/// The graphs of a text that must be good.
inline DeviceGraphs decoded(const std::string& text) {
  auto result = decodeGraphs(text);
  if (const auto* error = std::get_if<GraphCodingError>(&result)) {
    ADD_FAILURE() << error->description() << " in " << text.substr(0, 200);
    return {};
  }
  return std::get<DeviceGraphs>(std::move(result));
}

/// The one graph of a text, whose members besides "deviceUID" are given.
inline DeviceGraph graphWith(const std::string& members) {
  const DeviceGraphs graphs = decoded(R"({"u":{"deviceUID":"u",)" + members + "}}");
  return graphs.contains("u") ? graphs.at("u") : DeviceGraph{};
}

inline GraphCodingError errorIn(const std::string& text) {
  const auto result = decodeGraphs(text);
  if (const auto* error = std::get_if<GraphCodingError>(&result)) return *error;
  ADD_FAILURE() << "accepted: " << text.substr(0, 200);
  return {};
}

inline GraphCodingError errorWith(const std::string& members) {
  return errorIn(R"({"u":{"deviceUID":"u",)" + members + "}}");
}

inline std::string encodedText(const DeviceGraphs& graphs) {
  const auto result = encodeGraphs(graphs);
  if (const auto* error = std::get_if<GraphCodingError>(&result)) {
    ADD_FAILURE() << error->description();
    return {};
  }
  return std::get<std::string>(result);
}

inline std::string sourceText(const std::string& kind) {
  return std::string(R"("sources":[{"id":")") + firstID + R"(","kind":)" + kind + "}]";
}

inline DeviceGraph fullGraph() {
  DeviceGraph graph("device");
  graph.enabled = false;
  graph.masterGain = 0.1F;
  graph.outputGains = {0.0F, 1.0F, 2.5F};
  graph.latencyFrames = -9223372036854775807 - 1;
  graph.sources = {
      {.id = identifier(firstID),
       .kind = AppSource{.bundleID = "com.example.player", .name = "Gr\xC5\xABtis \"quoted\" \\ / \n\t\x01"},
       .gain = 0.3F,
       .channelGains = {1.0F / 3.0F},
       .enabled = false},
      {.id = identifier(secondID), .kind = MicSource{.deviceUID = "mic", .name = ""}, .channelGains = {}},
      {.id = identifier(secondID), .kind = SystemAudioSource{}, .channelGains = {}},
  };
  graph.wires = {{.sourceID = identifier(secondID), .sourceChannel = 1, .outputChannel = -1},
                 {.sourceID = identifier(firstID), .sourceChannel = 9223372036854775807, .outputChannel = 0}};
  graph.monitors = {{.id = identifier(firstID), .deviceUID = "speakers", .name = "S", .gain = 0.7F, .enabled = false}};
  graph.monitorWires = {{.outputChannel = 3, .monitorID = identifier(firstID), .monitorChannel = 4}};
  return graph;
}

inline void expectSame(const DeviceGraph& first, const DeviceGraph& second) {
  EXPECT_EQ(first.deviceUID, second.deviceUID);
  EXPECT_EQ(first.enabled, second.enabled);
  EXPECT_EQ(first.masterGain, second.masterGain);
  EXPECT_EQ(first.outputGains, second.outputGains);
  EXPECT_EQ(first.latencyFrames, second.latencyFrames);
  EXPECT_EQ(first.sources, second.sources);
  EXPECT_EQ(first.wires, second.wires);
  EXPECT_EQ(first.monitors, second.monitors);
  EXPECT_EQ(first.monitorWires, second.monitorWires);
}

}  // namespace brindlemux::test
