#include "model/graph_codec.h"

#include <algorithm>
#include <bit>
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "model/graph_codec_cases.h"
#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

using test::decoded;
using test::encodedText;
using test::errorWith;
using test::expectSame;
using test::firstID;
using test::fullGraph;
using test::graphWith;
using test::identifier;
using test::secondID;

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

}  // namespace
}  // namespace brindlemux
