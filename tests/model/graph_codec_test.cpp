#include "model/graph_codec.h"

#include <bit>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

constexpr const char* firstID = "00112233-4455-6677-8899-AABBCCDDEEFF";
constexpr const char* secondID = "FFEEDDCC-BBAA-9988-7766-554433221100";

UUID identifier(const char* text) { return UUID::parse(text).value(); }

/// The graphs of a text that must be good.
DeviceGraphs decoded(const std::string& text) {
  auto result = decodeGraphs(text);
  if (const auto* error = std::get_if<GraphCodingError>(&result)) {
    ADD_FAILURE() << error->description() << " in " << text.substr(0, 200);
    return {};
  }
  return std::get<DeviceGraphs>(std::move(result));
}

/// The one graph of a text, whose members besides "deviceUID" are given.
DeviceGraph graphWith(const std::string& members) {
  const DeviceGraphs graphs = decoded(R"({"u":{"deviceUID":"u",)" + members + "}}");
  return graphs.contains("u") ? graphs.at("u") : DeviceGraph{};
}

GraphCodingError errorIn(const std::string& text) {
  const auto result = decodeGraphs(text);
  if (const auto* error = std::get_if<GraphCodingError>(&result)) return *error;
  ADD_FAILURE() << "accepted: " << text.substr(0, 200);
  return {};
}

GraphCodingError errorWith(const std::string& members) { return errorIn(R"({"u":{"deviceUID":"u",)" + members + "}}"); }

std::string encodedText(const DeviceGraphs& graphs) {
  const auto result = encodeGraphs(graphs);
  if (const auto* error = std::get_if<GraphCodingError>(&result)) {
    ADD_FAILURE() << error->description();
    return {};
  }
  return std::get<std::string>(result);
}

std::string sourceText(const std::string& kind) {
  return std::string(R"("sources":[{"id":")") + firstID + R"(","kind":)" + kind + "}]";
}

DeviceGraph fullGraph() {
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

void expectSame(const DeviceGraph& first, const DeviceGraph& second) {
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

TEST(GraphCodec, nothingIsAnEmptyObject) {
  EXPECT_EQ(encodedText({}), "{}\n");
  EXPECT_TRUE(decoded("{}").empty());
  EXPECT_TRUE(decoded(" \r\n\t{ } \n").empty());
}

TEST(GraphCodec, everyMemberIsWrittenSortedAndOnALineOfItsOwn) {
  DeviceGraph graph("b");
  graph.sources = {{.id = identifier(firstID), .kind = SystemAudioSource{}, .channelGains = {0.5F}}};
  graph.wires = {{.sourceID = identifier(firstID), .sourceChannel = 0, .outputChannel = 1}};
  graph.monitors = {{.id = identifier(secondID), .deviceUID = "d", .name = "n"}};
  graph.monitorWires = {{.outputChannel = 0, .monitorID = identifier(secondID), .monitorChannel = 1}};
  EXPECT_EQ(encodedText({{"b", graph}}), R"({
  "b": {
    "deviceUID": "b",
    "enabled": true,
    "latencyFrames": 256,
    "masterGain": 1.0,
    "monitorWires": [
      {
        "monitorChannel": 1,
        "monitorID": "FFEEDDCC-BBAA-9988-7766-554433221100",
        "outputChannel": 0
      }
    ],
    "monitors": [
      {
        "deviceUID": "d",
        "enabled": true,
        "gain": 1.0,
        "id": "FFEEDDCC-BBAA-9988-7766-554433221100",
        "name": "n"
      }
    ],
    "outputGains": [],
    "sources": [
      {
        "channelGains": [
          0.5
        ],
        "enabled": true,
        "gain": 1.0,
        "id": "00112233-4455-6677-8899-AABBCCDDEEFF",
        "kind": {
          "systemAudio": {}
        }
      }
    ],
    "wires": [
      {
        "outputChannel": 1,
        "sourceChannel": 0,
        "sourceID": "00112233-4455-6677-8899-AABBCCDDEEFF"
      }
    ]
  }
}
)");
}

TEST(GraphCodec, membersAreSortedByBytes) {
  // Upper case before lower case, and bytes beyond ASCII (here C3 A4) last.
  const std::string text = encodedText(
      {{"b", DeviceGraph("1")}, {"\xC3\xA4", DeviceGraph("2")}, {"B", DeviceGraph("3")}, {"a", DeviceGraph("4")}});
  const std::vector<std::size_t> positions = {text.find("\"B\": {"), text.find("\"a\": {"), text.find("\"b\": {"),
                                              text.find("\"\xC3\xA4\": {")};
  EXPECT_NE(positions.back(), std::string::npos);
  EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end())) << text;
}

TEST(GraphCodec, kindsAreObjectsNamedAfterTheirCase) {
  DeviceGraph graph("u");
  graph.sources = {{.id = {}, .kind = AppSource{.bundleID = "x", .name = "y"}, .channelGains = {}},
                   {.id = {}, .kind = MicSource{.deviceUID = "x", .name = "y"}, .channelGains = {}}};
  std::string text = encodedText({{"u", graph}});
  std::erase_if(text, [](char character) { return character == ' ' || character == '\n'; });
  EXPECT_NE(text.find(R"("kind":{"app":{"bundleID":"x","name":"y"}})"), std::string::npos) << text;
  EXPECT_NE(text.find(R"("kind":{"mic":{"deviceUID":"x","name":"y"}})"), std::string::npos) << text;
}

TEST(GraphCodec, whatIsWrittenReadsBackTheSame) {
  const DeviceGraphs graphs = {{"device", fullGraph()}, {"", DeviceGraph("")}};
  const std::string text = encodedText(graphs);
  const DeviceGraphs again = decoded(text);
  ASSERT_EQ(again.size(), 2U);
  expectSame(again.at("device"), graphs.at("device"));
  expectSame(again.at(""), graphs.at(""));
  EXPECT_EQ(encodedText(again), text);
}

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

TEST(GraphCodec, integersCoverTheWholeSignedRange) {
  const std::vector<std::pair<std::string, std::int64_t>> integers = {
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
      {"-1", -1},
      {"0", 0},
      {"-0", 0},
      {"9007199254740993", 9007199254740993},  // 2^53 + 1, which no 64-bit float holds
      {"256.0", 256},
      {"2.56e2", 256},
      {"-5e0", -5},
      {"9007199254740991.0", 9007199254740991},  // 2^53 - 1
  };
  for (const auto& [text, value] : integers) {
    EXPECT_EQ(graphWith("\"latencyFrames\":" + text).latencyFrames, value) << text;
  }
}

TEST(GraphCodec, whatIsNoSignedIntegerIsRefused) {
  for (const char* text : {"9223372036854775808", "18446744073709551615", "18446744073709551616",
                           "-9223372036854775809", "0.5", "-256.25", "1e19", "9007199254740992.0", "1e300"}) {
    EXPECT_EQ(errorWith(std::string("\"latencyFrames\":") + text).path, "u.latencyFrames") << text;
  }
}

TEST(GraphCodec, gainsAreReadFromAnyNumber) {
  const std::vector<std::pair<std::string, float>> gains = {
      {"0", 0.0F},
      {"2", 2.0F},
      {"-3", -3.0F},
      {"0.1", 0.1F},
      {"1E-1", 0.1F},
      {"18446744073709551616", 0x1p64F},
      {"16777217", 16777216.0F},                   // a tie of 16777216 and 16777218: the even one
      {"3.4028234663852886e38", 0x1.fffffep127F},  // the largest
      {"3.4028235e38", 0x1.fffffep127F},           // just above it, rounds to it
      {"1.401298464324817e-45", 0x1p-149F},        // the smallest
      {"1e-60", 0.0F},
      {"1e-400", 0.0F},
  };
  for (const auto& [text, value] : gains) EXPECT_EQ(graphWith("\"masterGain\":" + text).masterGain, value) << text;
}

TEST(GraphCodec, aGainBeyondTheRangeIsRefused) {
  // 3.4028235677973366e38 is the middle between the largest float and what would come next, and rounds up.
  for (const char* text : {"3.4028235677973366e38", "-3.4028235677973366e38", "1e39", "1e308"}) {
    EXPECT_EQ(errorWith(std::string("\"masterGain\":") + text).description(), "u.masterGain: number out of range");
  }
  EXPECT_FALSE(errorWith(R"("masterGain":1e400)").reason.empty());
  EXPECT_FALSE(errorWith(R"("masterGain":-1e400)").reason.empty());
}

/// The text after "masterGain" of a graph with this gain.
std::string writtenGain(float gain) {
  DeviceGraph graph("u");
  graph.masterGain = gain;
  const std::string text = encodedText({{"u", graph}});
  const std::string label = "\"masterGain\": ";
  const std::size_t begin = text.find(label) + label.size();
  return text.substr(begin, text.find(',', begin) - begin);
}

TEST(GraphCodec, gainsAreWrittenShort) {
  EXPECT_EQ(writtenGain(0.1F), "0.1");
  EXPECT_EQ(writtenGain(0.7F), "0.7");
  EXPECT_EQ(writtenGain(1.0F), "1.0");
  EXPECT_EQ(writtenGain(0.0F), "0.0");
  EXPECT_EQ(writtenGain(-0.0F), "-0.0");
  EXPECT_EQ(writtenGain(1.0F / 3.0F), "0.33333334");
}

TEST(GraphCodec, gainsReadBackToTheSameBits) {
  std::vector<float> gains = {0x1p-149F,      0x1.fffffcp-127F, 0x1p-126F,    0x1.fffffep127F,
                              0x1.fffffep-1F, 0x1.000002p0F,    8.5899346e9F, 1e10F,
                              3.0F,           123456.79F};
  std::mt19937 random(20240229);
  while (gains.size() < 20000) {
    const float gain = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (gain - gain == 0.0F) gains.push_back(gain);
  }
  DeviceGraph graph("u");
  graph.outputGains = gains;
  const DeviceGraphs again = decoded(encodedText({{"u", graph}}));
  const std::vector<float>& back = again.at("u").outputGains;
  ASSERT_EQ(back.size(), gains.size());
  for (std::size_t i = 0; i < gains.size(); ++i) {
    EXPECT_EQ(std::bit_cast<std::uint32_t>(back[i]), std::bit_cast<std::uint32_t>(gains[i])) << gains[i];
  }
}

TEST(GraphCodec, aGainThatIsNotFiniteCannotBeWritten) {
  for (const float gain : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                           std::numeric_limits<float>::quiet_NaN()}) {
    const auto pathOfError = [](const DeviceGraph& graph) {
      const auto result = encodeGraphs({{"u", graph}});
      const auto* error = std::get_if<GraphCodingError>(&result);
      return error != nullptr ? error->path : "none";
    };
    DeviceGraph graph = fullGraph();
    graph.masterGain = gain;
    EXPECT_EQ(pathOfError(graph), "u.masterGain");
    graph = fullGraph();
    graph.outputGains[1] = gain;
    EXPECT_EQ(pathOfError(graph), "u.outputGains[1]");
    graph = fullGraph();
    graph.sources[1].gain = gain;
    EXPECT_EQ(pathOfError(graph), "u.sources[1].gain");
    graph = fullGraph();
    graph.sources[0].channelGains[0] = gain;
    EXPECT_EQ(pathOfError(graph), "u.sources[0].channelGains[0]");
    graph = fullGraph();
    graph.monitors[0].gain = gain;
    EXPECT_EQ(pathOfError(graph), "u.monitors[0].gain");
  }
}

TEST(GraphCodec, aNameThatIsNotUTF8IsWrittenWithReplacements) {
  DeviceGraph graph("u");
  graph.sources = {{.id = {}, .kind = AppSource{.bundleID = "x", .name = "a\xFFz"}, .channelGains = {}}};
  const DeviceGraphs again = decoded(encodedText({{"u", graph}}));
  EXPECT_EQ(std::get<AppSource>(again.at("u").sources.at(0).kind).name, "a\xEF\xBF\xBDz");
}

/// A locale with a decimal comma, made for the occasion, in force until this goes.
class DecimalCommaLocale {
 public:
  DecimalCommaLocale() {
    const std::string name = "lt_LT.UTF-8";
    const std::string command = "localedef -i lt_LT -f UTF-8 '" + (folder_.path() / name).string() + "'";
    // Warnings make for an exit status of 1, although the locale is there.
    static_cast<void>(std::system(command.c_str()));
    setenv("LOCPATH", folder_.path().c_str(), 1);
    inForce_ = std::setlocale(LC_ALL, name.c_str()) != nullptr;
  }
  ~DecimalCommaLocale() {
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
  }
  DecimalCommaLocale(const DecimalCommaLocale&) = delete;
  DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;

  bool inForce() const { return inForce_; }

 private:
  test::TemporaryFolder folder_;
  bool inForce_ = false;
};

TEST(GraphCodec, theLocaleDoesNotMatter) {
  const DecimalCommaLocale locale;
  ASSERT_TRUE(locale.inForce());
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  EXPECT_EQ(writtenGain(0.1F), "0.1");
  EXPECT_EQ(graphWith(R"("masterGain":0.25)").masterGain, 0.25F);
}

TEST(GraphCodec, aByteOrderMarkIsSkipped) {
  EXPECT_TRUE(decoded("\xEF\xBB\xBF{}").empty());
  EXPECT_EQ(decoded("\xEF\xBB\xBF{\"u\":{\"deviceUID\":\"u\"}}").size(), 1U);
}

TEST(GraphCodec, escapesAreRead) {
  const DeviceGraphs graphs = decoded(R"({"\u0075\ud83c\udfa7":{"deviceUID":"\"\\\/\b\f\n\r\t\u0000"}})");
  ASSERT_TRUE(graphs.contains("u\xF0\x9F\x8E\xA7"));
  EXPECT_EQ(graphs.begin()->second.deviceUID, std::string("\"\\/\b\f\n\r\t\0", 9));
}

TEST(GraphCodec, ofAMemberThatIsThereTwiceTheLastCounts) {
  EXPECT_EQ(graphWith(R"("latencyFrames":64,"latencyFrames":128)").latencyFrames, 128);
}

TEST(GraphCodec, whatIsNoJSONObjectIsRefused) {
  const std::vector<std::string> texts = {
      "", " ", "[]", "[{}]", "null", "1", "\"{}\"", "{", "}", "{}{}", "{},", "{} x", "{\"a\"}", "{\"a\":}", "{a:{}}",
      "{'a':{}}", "{\"u\":{\"deviceUID\":\"u\"},}", "// c\n{}", "{\"a\":NaN}", "{\"a\":01}", "{\"a\":+1}", "{\"a\":.5}",
      "{\"a\":\"\n\"}", "\xEF\xBB{}", "\xFE\xFF", std::string("\xFF\xFE{\0}\0", 6), std::string("{\0}", 3),
      std::string("{}\0", 3), std::string("{}\0garbage", 10), std::string(5, '\0'),
      // Surrogates without their partner, escaped and as bytes; an overlong form; a byte that never occurs.
      R"({"\ud800":{}})", R"({"\udc00":{}})", R"({"\ud800\u0041":{}})", R"({"\ud800\ud800":{}})",
      "{\"\xED\xA0\x80\":{}}", "{\"\xC0\xAF\":{}}", "{\"\xFF\":{}}", R"({"\u12":{}})", R"({"\x41":{}})"};
  for (const std::string& text : texts) EXPECT_FALSE(errorIn(text).reason.empty()) << text;
}

TEST(GraphCodec, nestingIsBounded) {
  const auto nested = [](std::size_t levels) {
    return R"({"u":{"deviceUID":"u","x":)" + std::string(levels, '[') + std::string(levels, ']') + "}}";
  };
  // The outermost object, the graph and these make 512, with or without a value inside.
  EXPECT_EQ(decoded(nested(510)).size(), 1U);
  EXPECT_EQ(
      decoded(R"({"u":{"deviceUID":"u","x":)" + std::string(510, '[') + "0" + std::string(510, ']') + "}}").size(), 1U);
  EXPECT_EQ(errorIn(nested(511)).reason, "nested too deeply");
  EXPECT_EQ(errorIn(nested(1'000'000)).reason, "nested too deeply");
  std::string objects;
  for (int i = 0; i < 1'000'000; ++i) objects += R"({"a":)";
  EXPECT_EQ(errorIn(objects).reason, "nested too deeply");
}

TEST(GraphCodec, theNumberOfValuesIsBounded) {
  std::string text = R"({"u":{"deviceUID":"u","x":[0)";
  for (int i = 0; i < 4'000'000; ++i) text += ",0";
  text += "]}}";
  EXPECT_EQ(errorIn(text).reason, "too many values");
}

TEST(GraphCodec, anyTruncationIsRefused) {
  const std::string text = encodedText({{"device", fullGraph()}});
  for (std::size_t length = 0; length + 2 <= text.size(); ++length) {
    EXPECT_TRUE(std::holds_alternative<GraphCodingError>(decodeGraphs(text.substr(0, length)))) << length;
  }
}

TEST(GraphCodec, randomDamageIsReadOrRefusedButNeverMore) {
  const std::string text = encodedText({{"device", fullGraph()}});
  std::mt19937 random(7);
  int refused = 0;
  for (int round = 0; round < 5000; ++round) {
    std::string damaged = text;
    for (int change = 0; change < 3; ++change) damaged[random() % damaged.size()] = static_cast<char>(random());
    const auto result = decodeGraphs(damaged);
    if (const auto* graphs = std::get_if<DeviceGraphs>(&result)) {
      // What is accepted can be written again.
      EXPECT_TRUE(std::holds_alternative<std::string>(encodeGraphs(*graphs)));
    } else {
      ++refused;
    }
  }
  EXPECT_GT(refused, 4000);
}

}  // namespace
}  // namespace brindlemux
