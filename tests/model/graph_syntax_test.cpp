#include <cstddef>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "model/graph_codec.h"
#include "model/graph_codec_cases.h"

namespace brindlemux {
namespace {

using test::decoded;
using test::encodedText;
using test::errorIn;
using test::fullGraph;
using test::graphWith;

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
