#include "platform/pipewire/json_dictionary.h"

#include <gtest/gtest.h>
#include <string>

namespace brindlemux {
namespace {

Dictionary objectFrom(std::string_view text) {
  const auto value = dictionaryFromJSON(text);
  EXPECT_TRUE(value.has_value());
  return std::get<Dictionary>(value->value);
}

TEST(JsonDictionary, readsEveryKindOfValue) {
  const Dictionary object = objectFrom(R"({"a":true,"b":-7,"c":0.5,"d":"é","e":[1,"x"],"f":{"g":null}})");
  EXPECT_EQ(object.at("a"), DictionaryValue(true));
  EXPECT_EQ(object.at("b"), DictionaryValue(std::int64_t{-7}));
  EXPECT_EQ(object.at("c"), DictionaryValue(0.5));
  EXPECT_EQ(object.at("d"), DictionaryValue(std::string("é")));
  EXPECT_EQ(object.at("e"), DictionaryValue(DictionaryArray{std::int64_t{1}, std::string("x")}));
  EXPECT_EQ(std::get<Dictionary>(object.at("f").value).at("g"), DictionaryValue());
}

TEST(JsonDictionary, integersKeepTheWholeSignedRange) {
  const Dictionary object = objectFrom(R"({"low":-9223372036854775808,"high":9223372036854775807})");
  EXPECT_EQ(object.at("low"), DictionaryValue(std::int64_t{INT64_MIN}));
  EXPECT_EQ(object.at("high"), DictionaryValue(std::int64_t{INT64_MAX}));
}

TEST(JsonDictionary, refusesWhatIsNotJSON) {
  for (const char* text : {"", "{", "{\"a\":}", "devices", "{} {}", "{\"a\":\"\xff\"}"}) {
    EXPECT_FALSE(dictionaryFromJSON(text).has_value()) << text;
  }
}

TEST(JsonDictionary, refusesDeepNesting) {
  // Thirty-two levels are read, a hundred thousand are not.
  EXPECT_TRUE(dictionaryFromJSON(std::string(31, '[') + "[]" + std::string(31, ']')).has_value());
  EXPECT_FALSE(dictionaryFromJSON(std::string(100000, '[') + std::string(100000, ']')).has_value());
}

TEST(JsonDictionary, writesMembersInOrderOnOneLine) {
  const DictionaryValue value =
      Dictionary{{"uid", std::string("u")}, {"channels", std::int64_t{4}}, {"name", std::string("Zoë \"1\"\n")}};
  EXPECT_EQ(jsonFromDictionary(value), R"({"channels":4,"name":"Zoë \"1\"\n","uid":"u"})");
}

TEST(JsonDictionary, comparesValuesAndNotTexts) {
  EXPECT_TRUE(isSameJSON(R"({"a":1,"b":[2]})", "{ \"b\": [2], \"a\": 1 }"));
  EXPECT_FALSE(isSameJSON(R"({"a":1})", R"({"a":2})"));
  EXPECT_FALSE(isSameJSON("nothing", "nothing"));
}

}  // namespace
}  // namespace brindlemux
