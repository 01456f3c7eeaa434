#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "model/graph_codec.h"
#include "model/graph_codec_cases.h"

namespace brindlemux {
namespace {

using test::decoded;
using test::errorIn;
using test::errorWith;
using test::expectSame;
using test::firstID;
using test::graphWith;
using test::identifier;
using test::secondID;
using test::sourceText;

TEST(GraphCodec, aGraphWithItsUIDAloneHasTheDefaults) {
  const DeviceGraphs graphs = decoded(R"({"u":{"deviceUID":"other"}})");
  ASSERT_TRUE(graphs.contains("u"));
  expectSame(graphs.at("u"), DeviceGraph("other"));
}

TEST(GraphCodec, nullCountsAsAbsentWhereThereIsADefault) {
  expectSame(graphWith(R"("enabled":null,"masterGain":null,"outputGains":null,"latencyFrames":null,
                          "sources":null,"wires":null,"monitors":null,"monitorWires":null)"),
             DeviceGraph("u"));
  const DeviceGraph graph = graphWith(std::string(R"("sources":[{"id":")") + firstID +
                                      R"(","kind":{"systemAudio":{}},"gain":null,"channelGains":null,"enabled":null}],
                                        "monitors":[{"id":")" +
                                      firstID + R"(","deviceUID":"d","name":"n","gain":null,"enabled":null}])");
  ASSERT_EQ(graph.sources.size(), 1U);
  EXPECT_EQ(graph.sources[0],
            (SourceNodeConfig{.id = identifier(firstID), .kind = SystemAudioSource{}, .channelGains = {}}));
  ASSERT_EQ(graph.monitors.size(), 1U);
  EXPECT_EQ(graph.monitors[0], (MonitorNodeConfig{.id = identifier(firstID), .deviceUID = "d", .name = "n"}));
}

TEST(GraphCodec, nullIsNoValueForARequiredMember) {
  EXPECT_EQ(errorIn(R"({"u":{"deviceUID":null}})").description(), "u.deviceUID: expected a string");
  EXPECT_EQ(errorIn(R"({"u":null})").description(), "u: expected an object");
  EXPECT_EQ(errorWith(R"("outputGains":[null])").description(), "u.outputGains[0]: expected a number");
  EXPECT_EQ(errorWith(sourceText("null")).description(), "u.sources[0].kind: expected an object");
  EXPECT_EQ(errorWith(sourceText(R"({"systemAudio":null})")).description(),
            "u.sources[0].kind.systemAudio: expected an object");
}

TEST(GraphCodec, everyRequiredMemberIsRequired) {
  EXPECT_EQ(errorIn(R"({"u":{}})").description(), "u.deviceUID: required, but missing");
  const std::string id = std::string("\"") + firstID + "\"";
  const std::vector<std::pair<std::string, std::string>> records = {
      {R"("sources":[{"kind":{"systemAudio":{}}}])", "u.sources[0].id"},
      {R"("sources":[{"id":)" + id + "}]", "u.sources[0].kind"},
      {sourceText(R"({"app":{"bundleID":"x"}})"), "u.sources[0].kind.app.name"},
      {sourceText(R"({"app":{"name":"x"}})"), "u.sources[0].kind.app.bundleID"},
      {sourceText(R"({"mic":{"deviceUID":"x"}})"), "u.sources[0].kind.mic.name"},
      {sourceText(R"({"mic":{"name":"x"}})"), "u.sources[0].kind.mic.deviceUID"},
      {R"("wires":[{"sourceChannel":0,"outputChannel":0}])", "u.wires[0].sourceID"},
      {R"("wires":[{"sourceID":)" + id + R"(,"outputChannel":0}])", "u.wires[0].sourceChannel"},
      {R"("wires":[{"sourceID":)" + id + R"(,"sourceChannel":0}])", "u.wires[0].outputChannel"},
      {R"("monitors":[{"deviceUID":"d","name":"n"}])", "u.monitors[0].id"},
      {R"("monitors":[{"id":)" + id + R"(,"name":"n"}])", "u.monitors[0].deviceUID"},
      {R"("monitors":[{"id":)" + id + R"(,"deviceUID":"d"}])", "u.monitors[0].name"},
      {R"("monitorWires":[{"monitorID":)" + id + R"(,"monitorChannel":0}])", "u.monitorWires[0].outputChannel"},
      {R"("monitorWires":[{"outputChannel":0,"monitorChannel":0}])", "u.monitorWires[0].monitorID"},
      {R"("monitorWires":[{"outputChannel":0,"monitorID":)" + id + "}]", "u.monitorWires[0].monitorChannel"},
  };
  for (const auto& [members, path] : records) {
    EXPECT_EQ(errorWith(members), (GraphCodingError{.path = path, .reason = "required, but missing"})) << members;
  }
}

TEST(GraphCodec, typesAreNotConverted) {
  for (const char* members : {R"("enabled":1)",
                              R"("enabled":"true")",
                              R"("masterGain":"1")",
                              R"("masterGain":true)",
                              R"("outputGains":1)",
                              R"("outputGains":{})",
                              R"("outputGains":["1"])",
                              R"("outputGains":[[1]])",
                              R"("latencyFrames":"256")",
                              R"("latencyFrames":true)",
                              R"("latencyFrames":[256])",
                              R"("latencyFrames":{})",
                              R"("sources":{})",
                              R"("sources":[1])",
                              R"("sources":[[]])",
                              R"("wires":"")",
                              R"("wires":[""])",
                              R"("monitors":false)",
                              R"("monitors":[0.5])",
                              R"("monitorWires":0)",
                              R"("monitorWires":[true])",
                              R"("sources":[{"id":1,"kind":{"systemAudio":{}}}])",
                              R"("sources":[{"id":"","kind":{"systemAudio":{}}}])",
                              R"("sources":[{"id":"0011223344556677-8899-AABBCCDDEEFF","kind":{"systemAudio":{}}}])"}) {
    EXPECT_FALSE(errorWith(members).path.empty()) << members;
  }
  EXPECT_EQ(errorIn(R"({"u":{"deviceUID":1}})").description(), "u.deviceUID: expected a string");
  EXPECT_EQ(errorIn(R"({"u":[]})").description(), "u: expected an object");
  EXPECT_EQ(errorIn(R"({"u":1})").description(), "u: expected an object");
}

TEST(GraphCodec, absentMembersOfNodesHaveTheirDefaults) {
  const DeviceGraph graph = graphWith(sourceText(R"({"systemAudio":{}})") + R"(,"monitors":[{"id":")" + secondID +
                                      R"(","deviceUID":"d","name":"n"}])");
  ASSERT_EQ(graph.sources.size(), 1U);
  EXPECT_EQ(graph.sources[0].gain, 1.0F);
  EXPECT_TRUE(graph.sources[0].channelGains.empty());
  EXPECT_TRUE(graph.sources[0].enabled);
  ASSERT_EQ(graph.monitors.size(), 1U);
  EXPECT_EQ(graph.monitors[0].gain, 1.0F);
  EXPECT_TRUE(graph.monitors[0].enabled);
}

/// An array of one record whose members are all good but for one, which has another value.
std::string recordWith(const std::vector<std::pair<std::string, std::string>>& good, const std::string& name,
                       const std::string& value) {
  std::string text = "[{";
  for (const auto& [member, usual] : good) {
    text += "\"" + member + "\":" + (member == name ? value : usual) + ",";
  }
  text.back() = '}';
  return text + "]";
}

TEST(GraphCodec, everyMemberOfEveryRecordHasOneType) {
  using Members = std::vector<std::pair<std::string, std::string>>;
  const std::string id = std::string("\"") + firstID + "\"";
  const std::vector<std::pair<std::string, Members>> records = {
      {"sources",
       {{"id", id}, {"kind", R"({"systemAudio":{}})"}, {"gain", "1"}, {"channelGains", "[1]"}, {"enabled", "true"}}},
      {"wires", {{"sourceID", id}, {"sourceChannel", "0"}, {"outputChannel", "0"}}},
      {"monitors", {{"id", id}, {"deviceUID", "\"d\""}, {"name", "\"n\""}, {"gain", "1"}, {"enabled", "true"}}},
      {"monitorWires", {{"outputChannel", "0"}, {"monitorID", id}, {"monitorChannel", "0"}}},
  };
  for (const auto& [record, members] : records) {
    const std::string prefix = "\"" + record + "\":";
    graphWith(prefix + recordWith(members, "", ""));
    for (const auto& [name, usual] : members) {
      for (const std::string value : {"true", "1", "1.5", "\"x\"", "[]", "{\"x\":1}", "[[]]"}) {
        // Of the kind that the member has: a Boolean, a number, a text that is no identifier, a list.
        const bool isGain = name == "gain" && (value == "1" || value == "1.5");
        const bool isChannel = name.ends_with("Channel") && value == "1";
        const bool isText = (name == "deviceUID" || name == "name") && value == "\"x\"";
        const bool isList = name == "channelGains" && value == "[]";
        if (isGain || isChannel || isText || isList || (name == "enabled" && value == "true")) {
          graphWith(prefix + recordWith(members, name, value));
        } else {
          const GraphCodingError error = errorWith(prefix + recordWith(members, name, value));
          EXPECT_TRUE(error.path.starts_with("u." + record + "[0]." + name)) << error.path << " for " << value;
        }
      }
    }
  }
  for (const std::string kind : {"app", "mic"}) {
    const std::string uid = kind == "app" ? "bundleID" : "deviceUID";
    for (const std::string value : {"true", "1", "null", "[]", "{}"}) {
      const std::string path = "u.sources[0].kind." + kind + ".";
      EXPECT_EQ(errorWith(sourceText("{\"" + kind + "\":{\"" + uid + "\":" + value + ",\"name\":\"n\"}}")).path,
                path + uid);
      EXPECT_EQ(errorWith(sourceText("{\"" + kind + "\":{\"" + uid + "\":\"x\",\"name\":" + value + "}}")).path,
                path + "name");
    }
  }
}

TEST(GraphCodec, oneBadGraphSpoilsTheText) {
  EXPECT_EQ(errorIn(R"({"a":{"deviceUID":"a"},"b":{},"c":{"deviceUID":"c"}})").path, "b.deviceUID");
}

TEST(GraphCodec, unknownMembersAreIgnored) {
  expectSame(graphWith(R"("Enabled":false,"version":1e300,"extra":{"a":[1,{"b":null}]},"":[])"), DeviceGraph("u"));
  const DeviceGraph graph = graphWith(sourceText(R"({"systemAudio":{"x":1},"comment":7,"App":{}})"));
  ASSERT_EQ(graph.sources.size(), 1U);
  EXPECT_EQ(graph.sources[0].kind, SourceKindConfig(SystemAudioSource{}));
}

TEST(GraphCodec, aKindHasExactlyOneCase) {
  const GraphCodingError expected = {.path = "u.sources[0].kind",
                                     .reason = "Invalid number of keys found, expected one."};
  for (const char* kind :
       {"{}", R"({"App":{}})", R"({"application":{"bundleID":"x","name":"y"}})",
        R"({"systemAudio":{},"mic":{"deviceUID":"x","name":"y"}})", R"({"app":{},"systemAudio":{}})",
        R"({"app":null,"systemAudio":{}})",
        R"({"app":{"bundleID":"x","name":"y"},"mic":{"deviceUID":"x","name":"y"},"systemAudio":{}})"}) {
    EXPECT_EQ(errorWith(sourceText(kind)), expected) << kind;
  }
}

TEST(GraphCodec, theValueOfACaseIsAnObject) {
  for (const char* name : {"app", "mic", "systemAudio"}) {
    for (const char* value : {"null", "true", "1", "\"\"", "[]"}) {
      const std::string kind = std::string("{\"") + name + "\":" + value + "}";
      EXPECT_EQ(errorWith(sourceText(kind)).description(),
                std::string("u.sources[0].kind.") + name + ": expected an object");
    }
  }
  EXPECT_EQ(errorWith(sourceText("\"systemAudio\"")).description(), "u.sources[0].kind: expected an object");
}

TEST(GraphCodec, identifiersAreReadInEitherCase) {
  const DeviceGraph graph =
      graphWith(R"("wires":[{"sourceID":"00112233-4455-6677-8899-aabbccddeeff","sourceChannel":0,"outputChannel":0}])");
  ASSERT_EQ(graph.wires.size(), 1U);
  EXPECT_EQ(graph.wires[0].sourceID, identifier(firstID));
}

}  // namespace
}  // namespace brindlemux
