#include "platform/discovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/simulated_scene.h"

namespace brindlemux {
namespace {

using test::globalAddress;
using test::inputDevice;
using test::outputDevice;
using test::playingProcess;
using test::SimulatedScene;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr OSStatus failure = -50;

SimulatedAnswer answering(PropertyValue value) {
  SimulatedAnswer answer;
  answer.value = std::move(value);
  return answer;
}

SimulatedAnswer failing() {
  SimulatedAnswer answer;
  answer.status = failure;
  return answer;
}

std::vector<std::string> names(const std::vector<AudioProcessInfo>& processes) {
  std::vector<std::string> result;
  for (const AudioProcessInfo& process : processes) result.push_back(process.name);
  return result;
}

class DiscoveryTest : public testing::Test, public SimulatedScene {};

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

// Processes.

TEST_F(DiscoveryTest, neverListsTheProgramItself) {
  hardware.addProcess(playingProcess(getpid(), "com.example.Self"));
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
}

TEST_F(DiscoveryTest, silentProcessWithoutApplicationIsNotListed) {
  SimulatedProcess helper = playingProcess(100, "com.example.Helper");
  helper.isPlaying = false;
  hardware.addProcess(helper);
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
  applications.set(100, "Helper");
  EXPECT_THAT(names(discovery.listAudioProcesses()), ElementsAre("Helper"));
}

TEST_F(DiscoveryTest, namesAProcessByApplicationThenBundleThenPID) {
  applications.set(101, "Localized");
  applications.set(102, std::nullopt);
  hardware.addProcess(playingProcess(101, "com.example.Ignored"));
  hardware.addProcess(playingProcess(102, "com.example.Nameless"));
  hardware.addProcess(playingProcess(103, "com.example.Player"));
  hardware.addProcess(playingProcess(1234));
  EXPECT_THAT(names(discovery.listAudioProcesses()), ElementsAre("Localized", "Nameless", "PID 1234", "Player"));
}

TEST_F(DiscoveryTest, bundleIDWithoutAnyComponentFallsBackToThePID) {
  hardware.addProcess(playingProcess(7, "com.example."));
  hardware.addProcess(playingProcess(8, "..."));
  hardware.addProcess(playingProcess(9, "Whole"));
  EXPECT_THAT(names(discovery.listAudioProcesses()), ElementsAre("example", "PID 8", "Whole"));
}

TEST_F(DiscoveryTest, playingProcessesComeFirstThenNamesWithoutRegardToCase) {
  const auto add = [this](std::int32_t pid, const std::string& name, bool isPlaying) {
    SimulatedProcess process = playingProcess(pid);
    process.isPlaying = isPlaying;
    applications.set(pid, name);
    hardware.addProcess(process);
  };
  add(1, "alpha", false);
  add(2, "Zulu", true);
  add(3, "bravo", true);
  add(4, "BRAVO", true);
  add(5, "Alpha", true);
  EXPECT_THAT(names(discovery.listAudioProcesses()), ElementsAre("Alpha", "bravo", "BRAVO", "Zulu", "alpha"));
}

TEST_F(DiscoveryTest, processRecordCarriesEveryField) {
  const AudioObjectID id = hardware.addProcess(playingProcess(100, "com.example.Player"));
  EXPECT_THAT(discovery.listAudioProcesses(),
              ElementsAre(AudioProcessInfo{id, 100, "Player", "com.example.Player", true}));
}

TEST_F(DiscoveryTest, unreadablePIDSkipsTheProcess) {
  const AudioObjectID id = hardware.addProcess(playingProcess(100));
  hardware.setAnswer(id, globalAddress(kAudioProcessPropertyPID), failing());
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
  // An unsigned number is not a process identifier.
  hardware.setAnswer(id, globalAddress(kAudioProcessPropertyPID), answering(100U));
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
}

TEST_F(DiscoveryTest, unreadablePlayingStateCountsAsSilent) {
  const AudioObjectID id = hardware.addProcess(playingProcess(100, "com.example.Player"));
  hardware.setAnswer(id, globalAddress(kAudioProcessPropertyIsRunningOutput), failing());
  applications.set(100, "Player");
  EXPECT_THAT(discovery.listAudioProcesses(),
              ElementsAre(AudioProcessInfo{id, 100, "Player", "com.example.Player", false}));
}

TEST_F(DiscoveryTest, failingProcessListGivesNoProcesses) {
  hardware.addProcess(playingProcess(100));
  hardware.journal().failNext("propertyDataSize system prs#", failure);
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
  hardware.journal().failNext("propertyData system prs#", failure);
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
  EXPECT_EQ(discovery.listAudioProcesses().size(), 1U);
}

TEST_F(DiscoveryTest, emptyProcessListIsNotRead) {
  hardware.journal().keepReads({kAudioHardwarePropertyProcessObjectList});
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
  EXPECT_THAT(hardware.journal().lines(), ElementsAre("propertyDataSize system prs#"));
}

}  // namespace
}  // namespace brindlemux
