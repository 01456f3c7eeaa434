#include "platform/discovery.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/discovery_scene.h"

namespace brindlemux {
namespace {

using test::answering;
using test::DiscoveryTest;
using test::failing;
using test::failure;
using test::inputDevice;
using test::outputDevice;
using test::playingProcess;
using testing::ElementsAre;
using testing::IsEmpty;

// Devices.

TEST_F(DiscoveryTest, noDevicesGiveAnEmptyList) { EXPECT_THAT(discovery.listAudioDevices(), IsEmpty()); }

TEST_F(DiscoveryTest, devicesComeInTheServersOrderWithTheirChannelSums) {
  SimulatedDevice interface = outputDevice("Interface");
  interface.inputBuffers = {2, 2, 1};
  interface.outputBuffers = {8, 8};
  const AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  const AudioObjectID interfaceID = hardware.addDevice(interface);
  // 2 + 2 + 1 = 5 inputs, 8 + 8 = 16 outputs.
  EXPECT_THAT(discovery.listAudioDevices(),
              ElementsAre(AudioDeviceInfo{speakers, "Speakers", "Speakers name", 0, 2},
                          AudioDeviceInfo{interfaceID, "Interface", "Interface name", 5, 16}));
}

TEST_F(DiscoveryTest, virtualDevicesAndTapAggregatesAreNotFilteredOut) {
  hardware.addDevice(outputDevice("BrindlemuxAudio_UID_1"));
  hardware.addDevice(outputDevice("com.brindlemux.tap.1"));
  EXPECT_EQ(discovery.listAudioDevices().size(), 2U);
}

TEST_F(DiscoveryTest, deviceWithoutUIDOrNameIsNotListed) {
  SimulatedDevice noUID = outputDevice("A");
  noUID.uid = std::nullopt;
  SimulatedDevice noName = outputDevice("B");
  noName.name = std::nullopt;
  hardware.addDevice(noUID);
  hardware.addDevice(noName);
  hardware.addDevice(outputDevice("C"));
  const auto devices = discovery.listAudioDevices();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices.front().uid, "C");
}

TEST_F(DiscoveryTest, deviceWhoseUIDOrNameReadsAsNullOrFailsIsNotListed) {
  const AudioObjectID nullUID = hardware.addDevice(outputDevice("A"));
  hardware.setAnswer(nullUID, globalAddress(kAudioDevicePropertyDeviceUID), answering(std::monostate{}));
  const AudioObjectID failingName = hardware.addDevice(outputDevice("B"));
  hardware.setAnswer(failingName, globalAddress(kAudioObjectPropertyName), failing());
  const AudioObjectID numericName = hardware.addDevice(outputDevice("C"));
  hardware.setAnswer(numericName, globalAddress(kAudioObjectPropertyName), answering(7U));
  EXPECT_THAT(discovery.listAudioDevices(), IsEmpty());
}

TEST_F(DiscoveryTest, unreadableStreamConfigurationCountsAsNoChannels) {
  const AudioObjectID id = hardware.addDevice(outputDevice("Speakers"));
  hardware.setAnswer(id, {kAudioDevicePropertyStreamConfiguration, kAudioObjectPropertyScopeOutput, 0}, failing());
  EXPECT_THAT(discovery.listAudioDevices(), ElementsAre(AudioDeviceInfo{id, "Speakers", "Speakers name", 0, 0}));
}

TEST_F(DiscoveryTest, failingDeviceListGivesNoDevices) {
  hardware.addDevice(outputDevice("Speakers"));
  hardware.journal().failNext("propertyDataSize system dev#", failure);
  EXPECT_THAT(discovery.listAudioDevices(), IsEmpty());
  hardware.journal().failNext("propertyData system dev#", failure);
  EXPECT_THAT(discovery.listAudioDevices(), IsEmpty());
  EXPECT_EQ(discovery.listAudioDevices().size(), 1U);
}

TEST_F(DiscoveryTest, listsOfAnotherTypeAreFailedReads) {
  hardware.addDevice(outputDevice("Speakers"));
  hardware.addProcess(playingProcess(100));
  const std::vector<PropertyValue> values = {std::monostate{}, 7U, std::string("list"), BufferLayout{{2}}};
  for (const PropertyValue& value : values) {
    hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDevices), answering(value));
    hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyProcessObjectList),
                       answering(value));
    EXPECT_THAT(discovery.listAudioDevices(), IsEmpty());
    EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
  }
}

TEST_F(DiscoveryTest, deviceThatGoesWhileItIsListedIsLeftOut) {
  const AudioObjectID gone = hardware.addDevice(outputDevice("Gone"));
  const AudioObjectID there = hardware.addDevice(outputDevice("There"));
  hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDevices),
                     answering(std::vector<AudioObjectID>{gone, there}));
  hardware.removeDevice(gone);
  EXPECT_THAT(discovery.listAudioDevices(), ElementsAre(AudioDeviceInfo{there, "There", "There name", 0, 2}));
}

// 11 bytes hold two whole IDs; 3 bytes hold none.
TEST_F(DiscoveryTest, deviceListHoldsWholeIDsOnly) {
  for (const char* uid : {"A", "B", "C"}) hardware.addDevice(outputDevice(uid));
  SimulatedAnswer answer;
  answer.byteSize = 11;
  hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDevices), answer);
  EXPECT_EQ(discovery.listAudioDevices().size(), 2U);
  answer.byteSize = 3;
  hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDevices), answer);
  EXPECT_THAT(discovery.listAudioDevices(), IsEmpty());
}

TEST_F(DiscoveryTest, readsOneDeviceInAFixedOrder) {
  hardware.addDevice(outputDevice("Speakers"));
  hardware.journal().keepReads({kAudioHardwarePropertyDevices, kAudioDevicePropertyDeviceUID, kAudioObjectPropertyName,
                                kAudioDevicePropertyStreamConfiguration});
  discovery.listAudioDevices();
  EXPECT_THAT(hardware.journal().lines(),
              ElementsAre("propertyDataSize system dev#", "propertyData system dev#", "propertyData Speakers uid ",
                          "propertyData Speakers lnam", "propertyDataSize Speakers slay inpt",
                          "propertyData Speakers slay inpt", "propertyDataSize Speakers slay outp",
                          "propertyData Speakers slay outp"));
}

// Look-ups.

TEST_F(DiscoveryTest, findsADeviceByUID) {
  const AudioObjectID id = hardware.addDevice(outputDevice("Speakers"));
  EXPECT_EQ(discovery.findDevice("Speakers"), id);
  EXPECT_EQ(discovery.findDevice("speakers"), std::nullopt);
  hardware.journal().failNext("propertyData system uidd", failure);
  EXPECT_EQ(discovery.findDevice("Speakers"), std::nullopt);
}

TEST_F(DiscoveryTest, defaultDeviceIsNoneForNoDeviceOrAFailure) {
  EXPECT_EQ(discovery.defaultDeviceID(kAudioHardwarePropertyDefaultOutputDevice), std::nullopt);
  const AudioObjectID id = hardware.addDevice(outputDevice("Speakers"));
  hardware.setDefaultOutputDevice(id);
  EXPECT_EQ(discovery.defaultDeviceID(kAudioHardwarePropertyDefaultOutputDevice), id);
  hardware.journal().failNext("propertyData system dOut", failure);
  EXPECT_EQ(discovery.defaultDeviceID(kAudioHardwarePropertyDefaultOutputDevice), std::nullopt);
}

TEST_F(DiscoveryTest, lookUpsThatAnswerWithAnotherTypeFindNothing) {
  hardware.setDefaultOutputDevice(hardware.addDevice(outputDevice("Speakers")));
  const std::vector<PropertyValue> values = {std::monostate{}, std::string("Speakers"), std::int32_t{2}, 2.0};
  for (const PropertyValue& value : values) {
    for (const FourCharCode selector :
         {kAudioHardwarePropertyTranslateUIDToDevice, kAudioHardwarePropertyDefaultOutputDevice}) {
      hardware.setAnswer(kAudioObjectSystemObject, globalAddress(selector), answering(value));
    }
    EXPECT_EQ(discovery.findDevice("Speakers"), std::nullopt);
    EXPECT_EQ(discovery.defaultDeviceID(kAudioHardwarePropertyDefaultOutputDevice), std::nullopt);
  }
}

TEST_F(DiscoveryTest, layoutOfAnotherTypeHasNoChannels) {
  const AudioObjectID id = hardware.addDevice(outputDevice("Speakers"));
  hardware.setAnswer(id, {kAudioDevicePropertyStreamConfiguration, kAudioObjectPropertyScopeOutput, 0}, answering(2U));
  EXPECT_EQ(discovery.deviceChannelCount(id, kAudioObjectPropertyScopeOutput), 0);
}

// 3 * (2^32 - 1) fits into 64 bits.
TEST_F(DiscoveryTest, channelsAreSummedIn64Bits) {
  SimulatedDevice device = outputDevice("Large");
  device.outputBuffers = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
  const AudioObjectID id = hardware.addDevice(device);
  EXPECT_EQ(discovery.deviceChannelCount(id, kAudioObjectPropertyScopeOutput), 12884901885);
}

TEST_F(DiscoveryTest, nominalRateOfAnUnreadableDeviceIsZero) {
  const AudioObjectID id = hardware.addDevice(outputDevice("Speakers"));
  EXPECT_EQ(discovery.nominalSampleRate(id), 48000);
  hardware.setAnswer(id, globalAddress(kAudioDevicePropertyNominalSampleRate), answering(std::string("fast")));
  EXPECT_EQ(discovery.nominalSampleRate(id), 0);
  EXPECT_EQ(discovery.nominalSampleRate(id + 1), 0);
}

TEST_F(DiscoveryTest, channelCountOfAnEmptyConfigurationIsZeroWithoutAnotherRead) {
  const AudioObjectID id = hardware.addDevice(outputDevice("Speakers"));
  SimulatedAnswer empty;
  empty.byteSize = 0;
  hardware.setAnswer(id, {kAudioDevicePropertyStreamConfiguration, kAudioObjectPropertyScopeOutput, 0}, empty);
  hardware.journal().keepReads({kAudioDevicePropertyStreamConfiguration});
  EXPECT_EQ(discovery.deviceChannelCount(id, kAudioObjectPropertyScopeOutput), 0);
  EXPECT_THAT(hardware.journal().lines(), ElementsAre("propertyDataSize Speakers slay outp"));
}

TEST_F(DiscoveryTest, stringPropertyThatIsAbsentIsNotRead) {
  const AudioObjectID id = hardware.addProcess(playingProcess(100));
  hardware.journal().keepReads({kAudioProcessPropertyBundleID});
  EXPECT_EQ(discovery.getStringProperty(id, kAudioProcessPropertyBundleID), std::nullopt);
  EXPECT_THAT(hardware.journal().lines(), IsEmpty());
}

// The clock of process taps.

TEST_F(DiscoveryTest, defaultOutputClocksTaps) {
  hardware.addDevice(outputDevice("First"));
  hardware.setDefaultOutputDevice(hardware.addDevice(outputDevice("Default")));
  EXPECT_EQ(discovery.tapClockOutputUID(), "Default");
}

TEST_F(DiscoveryTest, virtualDeviceNeverClocksATap) {
  hardware.setDefaultOutputDevice(hardware.addDevice(outputDevice("Prefix BrindlemuxAudio_UID_1")));
  hardware.addDevice(outputDevice("com.brindlemux.tap.1"));
  hardware.addDevice(inputDevice("Microphone"));
  EXPECT_EQ(discovery.tapClockOutputUID(), std::nullopt);
  hardware.addDevice(outputDevice("Speakers"));
  hardware.addDevice(outputDevice("More speakers"));
  EXPECT_EQ(discovery.tapClockOutputUID(), "Speakers");
}

TEST_F(DiscoveryTest, tapAggregateAsDefaultIsPassedOver) {
  hardware.setDefaultOutputDevice(hardware.addDevice(outputDevice("com.brindlemux.tap.1")));
  hardware.addDevice(outputDevice("Speakers"));
  EXPECT_EQ(discovery.tapClockOutputUID(), "Speakers");
}

TEST_F(DiscoveryTest, clockTestsAreCaseSensitiveAndTheTapTestIsAPrefix) {
  const AudioObjectID lowerCase = hardware.addDevice(outputDevice("brindlemuxaudio_uid_1"));
  hardware.setDefaultOutputDevice(lowerCase);
  EXPECT_EQ(discovery.tapClockOutputUID(), "brindlemuxaudio_uid_1");
  hardware.setDefaultOutputDevice(hardware.addDevice(outputDevice("not com.brindlemux.tap.1")));
  EXPECT_EQ(discovery.tapClockOutputUID(), "not com.brindlemux.tap.1");
}

TEST_F(DiscoveryTest, defaultDeviceWithoutAReadableUIDIsPassedOver) {
  const AudioObjectID nameless = hardware.addDevice(outputDevice("Default"));
  hardware.setDefaultOutputDevice(nameless);
  hardware.addDevice(outputDevice("Speakers"));
  hardware.setAnswer(nameless, globalAddress(kAudioDevicePropertyDeviceUID), failing());
  EXPECT_EQ(discovery.tapClockOutputUID(), "Speakers");
  hardware.journal().failNext("propertyData system dOut", failure);
  EXPECT_EQ(discovery.tapClockOutputUID(), "Speakers");
}

// The server says that it is for output; nobody counts its channels.
TEST_F(DiscoveryTest, defaultOutputClocksTapsWhateverItsChannels) {
  hardware.addDevice(outputDevice("Speakers"));
  hardware.setDefaultOutputDevice(hardware.addDevice(outputDevice("Default", 0)));
  EXPECT_EQ(discovery.tapClockOutputUID(), "Default");
}

TEST_F(DiscoveryTest, deviceWithoutOutputChannelsIsPassedOver) {
  hardware.addDevice(outputDevice("Silent", 0));
  hardware.addDevice(outputDevice("Mono", 1));
  EXPECT_EQ(discovery.tapClockOutputUID(), "Mono");
}

}  // namespace
}  // namespace brindlemux
