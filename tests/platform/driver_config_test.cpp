#include "platform/driver_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

#include "support/simulated_scene.h"

namespace brindlemux {
namespace {

using test::SimulatedScene;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class DriverConfigTest : public testing::Test, public SimulatedScene {
 protected:
  DriverConfig config{hardware};

  void answerWith(PropertyValue value) {
    SimulatedAnswer answer;
    answer.value = std::move(value);
    hardware.setAnswer(hardware.driver(), driverPropertyAddress, std::move(answer));
  }
  void answerWithElements(DictionaryArray elements) {
    answerWith(DictionaryValue(Dictionary{{"devices", std::move(elements)}}));
  }
};

Dictionary element(const std::string& uid, DictionaryValue channels) {
  return {{"uid", uid}, {"name", uid + " name"}, {"channels", std::move(channels)}};
}

VirtualDeviceConfig device(const std::string& uid, std::int64_t channels) { return {uid, uid + " name", channels}; }

TEST_F(DriverConfigTest, withoutTheDriverNothingIsFoundReadOrWritten) {
  EXPECT_EQ(config.pluginObjectID(), std::nullopt);
  EXPECT_EQ(config.readDevices(), std::nullopt);
  EXPECT_FALSE(config.writeDevices({device("A", 2)}));
  EXPECT_THAT(hardware.journal().lines(), IsEmpty());
}

TEST_F(DriverConfigTest, findsTheDriverByItsIdentity) {
  const AudioObjectID driver = hardware.installDriver();
  hardware.journal().keepReads({kAudioHardwarePropertyTranslateBundleIDToPlugIn});
  EXPECT_EQ(config.pluginObjectID(), driver);
  EXPECT_THAT(hardware.journal().lines(), ElementsAre("propertyData system bidp of \"com.brindlemux.driver\""));
  hardware.journal().failNext("propertyData system bidp", -50);
  EXPECT_EQ(config.pluginObjectID(), std::nullopt);
}

TEST_F(DriverConfigTest, driverThatIsNoObjectIsNotFound) {
  hardware.installDriver({device("A", 2)});
  const std::vector<PropertyValue> values = {std::monostate{}, kAudioObjectUnknown, std::int32_t{2},
                                             std::string("driver")};
  for (const PropertyValue& value : values) {
    SimulatedAnswer answer;
    answer.value = value;
    hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslateBundleIDToPlugIn),
                       answer);
    EXPECT_EQ(config.pluginObjectID(), std::nullopt);
    EXPECT_EQ(config.readDevices(), std::nullopt);
    EXPECT_FALSE(config.writeDevices({}));
  }
  EXPECT_THAT(hardware.journal().lines(), IsEmpty());
}

// Counts at the ends of their type are read too.
TEST_F(DriverConfigTest, countsOfAnySizeAreMadeEven) {
  hardware.installDriver();
  answerWithElements({element("least", std::numeric_limits<std::int64_t>::min()),
                      element("most", std::numeric_limits<std::int64_t>::max())});
  EXPECT_THAT(config.readDevices(), Optional(ElementsAre(device("least", 2), device("most", 16))));
}

// Two elements may describe the same device; it is not for the reader to choose.
TEST_F(DriverConfigTest, repeatedElementsAreKept) {
  hardware.installDriver();
  answerWithElements({element("A", std::int64_t{2}), element("A", std::int64_t{4})});
  EXPECT_THAT(config.readDevices(), Optional(ElementsAre(device("A", 2), device("A", 4))));
}

TEST_F(DriverConfigTest, anEmptyListIsNotAMissingOne) {
  hardware.installDriver();
  EXPECT_EQ(config.readDevices(), std::nullopt);
  answerWithElements({});
  EXPECT_THAT(config.readDevices(), Optional(IsEmpty()));
}

TEST_F(DriverConfigTest, readsDevicesInOrderAndMakesCountsEven) {
  hardware.installDriver();
  const std::vector<std::pair<std::int64_t, std::int64_t>> counts = {{-4, 2}, {0, 2},   {1, 2},   {2, 2},   {3, 2},
                                                                     {7, 6},  {15, 14}, {16, 16}, {17, 16}, {64, 16}};
  DictionaryArray elements;
  std::vector<VirtualDeviceConfig> expected;
  for (const auto& [reported, read] : counts) {
    elements.emplace_back(element(std::to_string(reported), reported));
    expected.push_back(device(std::to_string(reported), read));
  }
  answerWithElements(elements);
  EXPECT_EQ(config.readDevices(), expected);
}

TEST_F(DriverConfigTest, malformedElementsAreDroppedAndTheRestKept) {
  hardware.installDriver();
  answerWithElements({
      element("A", std::int64_t{2}),
      element("text", std::string("2")),
      element("fraction", 2.0),
      element("truth", true),
      element("nothing", DictionaryValue()),
      element("list", DictionaryArray{std::int64_t{2}}),
      Dictionary{{"uid", DictionaryValue()}, {"name", std::string("n")}, {"channels", std::int64_t{2}}},
      Dictionary{{"uid", std::string("u")}, {"name", std::int64_t{1}}, {"channels", std::int64_t{2}}},
      Dictionary{{"name", std::string("no UID")}, {"channels", std::int64_t{2}}},
      Dictionary{{"uid", std::string("no name")}, {"channels", std::int64_t{2}}},
      Dictionary{{"uid", std::int64_t{1}}, {"name", std::string("n")}, {"channels", std::int64_t{2}}},
      Dictionary{{"uid", std::string("no channels")}, {"name", std::string("n")}},
      Dictionary{},
      element("B", std::int64_t{4}),
  });
  EXPECT_THAT(config.readDevices(), Optional(ElementsAre(device("A", 2), device("B", 4))));
}

TEST_F(DriverConfigTest, unknownMembersAreIgnored) {
  hardware.installDriver();
  Dictionary extended = element("A", std::int64_t{2});
  extended["icon"] = std::string("waves");
  answerWith(DictionaryValue(Dictionary{{"devices", DictionaryArray{extended}}, {"version", std::int64_t{2}}}));
  EXPECT_THAT(config.readDevices(), Optional(ElementsAre(device("A", 2))));
}

TEST_F(DriverConfigTest, valueThatIsNoListOfDictionariesGivesNothing) {
  hardware.installDriver();
  const std::vector<PropertyValue> values = {
      std::monostate{},
      std::string("{}"),
      7U,
      DictionaryValue(),
      DictionaryValue(DictionaryArray{}),
      DictionaryValue(Dictionary{}),
      DictionaryValue(Dictionary{{"devices", std::string("none")}}),
      DictionaryValue(Dictionary{{"devices", Dictionary{}}}),
      DictionaryValue(Dictionary{{"devices", DictionaryArray{element("A", std::int64_t{2}), std::string("B")}}}),
  };
  for (const PropertyValue& value : values) {
    answerWith(value);
    EXPECT_EQ(config.readDevices(), std::nullopt);
  }
}

TEST_F(DriverConfigTest, failingReadGivesNothing) {
  hardware.installDriver({device("A", 2)});
  hardware.journal().failNext("propertyData driver bxcf", -50);
  EXPECT_EQ(config.readDevices(), std::nullopt);
  EXPECT_THAT(config.readDevices(), Optional(ElementsAre(device("A", 2))));
}

TEST_F(DriverConfigTest, writesTheRecordsUnchangedInOrder) {
  hardware.installDriver();
  EXPECT_TRUE(config.writeDevices({device("B", 7), device("A", 64)}));
  EXPECT_THAT(hardware.journal().lines(),
              ElementsAre("setPropertyData driver bxcf = {devices: [{channels: 7 name: \"B name\" uid: \"B\"} "
                          "{channels: 64 name: \"A name\" uid: \"A\"}]}"));
  EXPECT_THAT(config.readDevices(), Optional(ElementsAre(device("B", 6), device("A", 16))));
}

TEST_F(DriverConfigTest, anEmptyListIsWrittenToo) {
  hardware.installDriver({device("A", 2)});
  EXPECT_TRUE(config.writeDevices({}));
  EXPECT_THAT(hardware.journal().lines(), ElementsAre("setPropertyData driver bxcf = {devices: []}"));
  EXPECT_THAT(config.readDevices(), Optional(IsEmpty()));
  EXPECT_EQ(hardware.deviceWithUID("A"), kAudioObjectUnknown);
}

TEST_F(DriverConfigTest, refusedWriteIsReportedAndChangesNothing) {
  hardware.installDriver({device("A", 2)});
  hardware.journal().failNext("setPropertyData driver bxcf", -50);
  EXPECT_FALSE(config.writeDevices({}));
  EXPECT_THAT(config.readDevices(), Optional(ElementsAre(device("A", 2))));
}

}  // namespace
}  // namespace brindlemux
