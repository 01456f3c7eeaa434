#include "model/driver_payload.h"

#include <gtest/gtest.h>
#include <string>
#include <variant>
#include <vector>

namespace brindlemux {
namespace {

using Devices = std::vector<VirtualDeviceConfig>;

bool refused(std::string_view text) { return std::holds_alternative<PayloadError>(decodeDriverPayload(text)); }

Devices accepted(std::string_view text) {
  const auto result = decodeDriverPayload(text);
  if (const auto* error = std::get_if<PayloadError>(&result)) {
    ADD_FAILURE() << "refused: " << error->reason;
    return {};
  }
  return std::get<Devices>(result);
}

std::string withChannels(const std::string& channels) {
  return R"({"devices":[{"uid":"a","name":"A","channels":)" + channels + "}]}";
}

std::string withName(const std::string& name) {
  return R"({"devices":[{"uid":"a","name":")" + name + R"(","channels":2}]})";
}

TEST(DriverPayload, emptyListIsAnEmptyArray) {
  EXPECT_EQ(encodeDriverPayload({}), R"({"devices":[]})");
  EXPECT_EQ(accepted(R"({"devices":[]})"), Devices{});
}

TEST(DriverPayload, encodesOnOneLineInListOrder) {
  EXPECT_EQ(
      encodeDriverPayload({{"b", "Second \"B\"\n", 16}, {"a", "First", 2}}),
      R"({"devices":[{"uid":"b","name":"Second \"B\"\n","channels":16},{"uid":"a","name":"First","channels":2}]})");
}

TEST(DriverPayload, encodesValuesUnchanged) {
  EXPECT_EQ(encodeDriverPayload({{"a", "", -7}}), R"({"devices":[{"uid":"a","name":"","channels":-7}]})");
}

TEST(DriverPayload, encodesIllFormedTextAsReplacementCharacters) {
  EXPECT_EQ(encodeDriverPayload({{"a", "x\xFFy", 2}}),
            "{\"devices\":[{\"uid\":\"a\",\"name\":\"x\xEF\xBF\xBDy\",\"channels\":2}]}");
}

TEST(DriverPayload, decodesWhatItEncodes) {
  const Devices devices = {{"BrindlemuxAudio_UID_1", "Grüße 🎧 \\ \"quoted\"", 2}, {"x", "y", 1}, {"z", "y", 64}};
  EXPECT_EQ(accepted(encodeDriverPayload(devices)), devices);
}

TEST(DriverPayload, ignoresOtherMembersAndWhitespace) {
  EXPECT_EQ(accepted(" {\n \"version\" : [1,{\"a\":null}], \"devices\" : [ {\"channels\":4,\"extra\":{},\"name\":\"A\","
                     "\"uid\":\"a\"} ] }\t\n"),
            (Devices{{"a", "A", 4}}));
}

TEST(DriverPayload, refusesWhatIsNotJson) {
  for (const char* text : {"", " ", "devices", "{", "{\"devices\":[}", "{\"devices\":[],}", "{'devices':[]}",
                           "{\"devices\":[]} x", "{\"devices\":[]}{}", "{\"devices\":[]}]", "{\"devices\":[] // c\n}",
                           "\xEF\xBB\xBF{\"devices\":[]}", "{\"devices\":[],\"n\":NaN}"}) {
    EXPECT_TRUE(refused(text)) << text;
  }
  EXPECT_TRUE(refused(std::string_view("{\"devices\":[]}\0", 15)));
  EXPECT_TRUE(refused(std::string_view("{\"devices\":[]}\0 more", 20)));
}

TEST(DriverPayload, refusesOtherShapes) {
  for (const char* text :
       {"null", "[]", "7", "\"devices\"", "{}", R"({"devices":null})", R"({"devices":{}})", R"({"Devices":[]})",
        R"({"devices":[1]})", R"({"devices":[[]]})", R"({"devices":[null]})", R"({"devices":[{}]})",
        R"({"devices":[{"uid":"a","name":"A"}]})", R"({"devices":[{"uid":"a","channels":2}]})",
        R"({"devices":[{"name":"A","channels":2}]})", R"({"devices":[{"uid":1,"name":"A","channels":2}]})",
        R"({"devices":[{"uid":"a","name":["A"],"channels":2}]})", R"({"devices":[{"uid":"","name":"A","channels":2}]})",
        R"({"devices":[{"uid":"a","name":"","channels":2}]})"}) {
    EXPECT_TRUE(refused(text)) << text;
  }
}

TEST(DriverPayload, oneBadElementRefusesTheWholeList) {
  EXPECT_TRUE(refused(R"({"devices":[{"uid":"a","name":"A","channels":2},{"uid":"b","name":"B","channels":"2"}]})"));
}

TEST(DriverPayload, channelsIsAnIntegerFromOneToSixtyFour) {
  for (const char* channels : {"1", "2", "7", "64"}) {
    EXPECT_EQ(accepted(withChannels(channels)), (Devices{{"a", "A", std::stol(channels)}}));
  }
  for (const char* channels :
       {"0", "-1", "65", "2.0", "2.5", "2e0", "\"2\"", "true", "null", "[2]", "9223372036854775808",
        "18446744073709551615", "18446744073709551617", "-9223372036854775808", "1e400", "02", "+2", "0x2"}) {
    EXPECT_TRUE(refused(withChannels(channels))) << channels;
  }
}

TEST(DriverPayload, refusesOneUidTwice) {
  EXPECT_TRUE(refused(R"({"devices":[{"uid":"a","name":"A","channels":2},{"uid":"a","name":"B","channels":4}]})"));
  EXPECT_TRUE(refused(R"({"devices":[{"uid":"a","name":"A","channels":2},{"uid":"\u0061","name":"A","channels":2}]})"));
  EXPECT_EQ(accepted(R"({"devices":[{"uid":"a","name":"A","channels":2},{"uid":"A","name":"A","channels":2}]})").size(),
            2u);
}

TEST(DriverPayload, refusesAUidThatAnothersSourceIsCalledBy) {
  const VirtualDeviceConfig a = {"a", "A", 2};
  const VirtualDeviceConfig source = {"a.source", "B", 2};
  EXPECT_TRUE(refused(encodeDriverPayload({a, source})));
  EXPECT_TRUE(refused(encodeDriverPayload({source, {"b", "B", 2}, a})));
  EXPECT_EQ(accepted(encodeDriverPayload({source})), Devices{source});
  const Devices apart = {a, {"a.sources", "A", 2}, {"A.source", "A", 2}, {".source", "A", 2}, {"a.b.source", "A", 2}};
  EXPECT_EQ(accepted(encodeDriverPayload(apart)), apart);
}

TEST(DriverPayload, refusesLongerUidsAndNamesThanTheLimits) {
  const VirtualDeviceConfig longest = {std::string(driverPayloadMostUIDBytes, 'u'),
                                       std::string(driverPayloadMostNameBytes, 'n'), 2};
  EXPECT_EQ(accepted(encodeDriverPayload({longest})), Devices{longest});
  EXPECT_TRUE(refused(encodeDriverPayload({{longest.uid + "u", "n", 2}})));
  EXPECT_TRUE(refused(encodeDriverPayload({{"u", longest.name + "n", 2}})));
}

TEST(DriverPayload, takesNamesInAnyScript) {
  // Combining marks, right to left, joiners, planes beyond the first, a noncharacter, the last code point of all.
  const Devices devices = {{"u", "e\u0301", 2},
                           {"v", "\u05E9\u05DC\u05D5\u05DD \u200F\u202E", 2},
                           {"w", "\U0001F468\u200D\U0001F469\u200D\U0001F467", 2},
                           {"x", "\uFFFE\U0010FFFF", 2},
                           {"\u97F3 1", "<b>&amp; {\"}' %s $HOME", 2}};
  EXPECT_EQ(accepted(encodeDriverPayload(devices)), devices);
}

TEST(DriverPayload, refusesControlCharacters) {
  for (const char* name : {R"(a\nb)", R"(\u0000)", R"(a\u001f)", R"(\u007f)", R"(\u0080)", R"(x\u009f)", "\xC2\x85"}) {
    EXPECT_TRUE(refused(withName(name))) << name;
  }
  // U+00A0, and U+00E0 whose last byte is in the range of the control characters' last bytes only after C2.
  EXPECT_EQ(accepted(withName("\xC2\xA0\xC3\x80")), (Devices{{"a", "\xC2\xA0\xC3\x80", 2}}));
}

TEST(DriverPayload, refusesIllFormedUtf8) {
  for (const char* name : {"\xFF", "\xC0\xAF", "\xE2\x82", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", R"(\ud800)",
                           R"(\udc00\ud800)", R"(\ud83cx)"}) {
    EXPECT_TRUE(refused(withName(name))) << name;
  }
}

TEST(DriverPayload, refusesDeepNestingWithoutUsingTheStack) {
  // Half a million levels in each shape stay below the limit on the text, so that only the depth can refuse them.
  const std::size_t levels = 500'000;
  EXPECT_TRUE(refused(std::string(levels, '[')));
  EXPECT_TRUE(refused(std::string(levels, '[') + std::string(levels, ']')));
  EXPECT_TRUE(refused(R"({"devices":[],"x":)" + std::string(levels, '[') + std::string(levels, ']') + "}"));
  std::string objects;
  for (std::size_t i = 0; i < 150'000; ++i) objects += "{\"x\":";
  EXPECT_TRUE(refused(objects));
  EXPECT_TRUE(refused(R"({"devices":)" + objects + "1" + std::string(150'000, '}') + "}"));
  // The object is level 1: 15 arrays inside it are the 16th level.
  EXPECT_EQ(accepted(R"({"devices":[],"x":)" + std::string(15, '[') + std::string(15, ']') + "}"), Devices{});
}

TEST(DriverPayload, refusesTextBeyondTheLimit) {
  const std::string text = R"({"devices":[]})";
  EXPECT_EQ(accepted(text + std::string(driverPayloadMostBytes - text.size(), ' ')), Devices{});
  EXPECT_TRUE(refused(text + std::string(driverPayloadMostBytes - text.size() + 1, ' ')));
}

TEST(DriverPayload, refusesMoreDevicesThanTheLimit) {
  Devices devices;
  for (std::size_t i = 0; i < driverPayloadMostDevices; ++i) devices.push_back({"uid" + std::to_string(i), "n", 2});
  EXPECT_EQ(accepted(encodeDriverPayload(devices)), devices);
  devices.push_back({"one more", "n", 2});
  EXPECT_TRUE(refused(encodeDriverPayload(devices)));
}

}  // namespace
}  // namespace brindlemux
