#include "platform/discovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/simulated_scene.h"

namespace brindlemux {
namespace {

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

// By code points "Zither" < "apple" < "Ärger".
TEST_F(DiscoveryTest, processesAreSortedAsPeopleSortNames) {
  const auto add = [this](std::int32_t pid, const std::string& name) {
    applications.set(pid, name);
    hardware.addProcess(playingProcess(pid));
  };
  add(1, "Zither");
  add(2, "apple");
  add(3, "\u00C4rger");
  add(4, "banjo");
  EXPECT_THAT(names(discovery.listAudioProcesses()), ElementsAre("apple", "\u00C4rger", "banjo", "Zither"));
}

TEST_F(DiscoveryTest, unreadableBundleIDCountsAsNone) {
  const AudioObjectID id = hardware.addProcess(playingProcess(100, "com.example.Player"));
  const std::vector<SimulatedAnswer> answers = {failing(), answering(std::monostate{}), answering(7U)};
  for (const SimulatedAnswer& answer : answers) {
    hardware.setAnswer(id, globalAddress(kAudioProcessPropertyBundleID), answer);
    EXPECT_THAT(discovery.listAudioProcesses(), ElementsAre(AudioProcessInfo{id, 100, "PID 100", std::nullopt, true}));
  }
}

TEST_F(DiscoveryTest, anyPlayingStateButZeroCounts) {
  const AudioObjectID id = hardware.addProcess(playingProcess(100, "com.example.Player"));
  applications.set(100, "Player");
  const std::vector<std::pair<PropertyValue, bool>> states = {
      {0U, false}, {2U, true}, {0xFFFFFFFF, true}, {std::int32_t{1}, false}, {std::monostate{}, false}};
  for (const auto& [state, isPlaying] : states) {
    hardware.setAnswer(id, globalAddress(kAudioProcessPropertyIsRunningOutput), answering(state));
    EXPECT_EQ(discovery.listAudioProcesses().at(0).isPlaying, isPlaying);
  }
}

// 7 bytes hold one whole ID; 3 hold none.
TEST_F(DiscoveryTest, processListHoldsWholeIDsOnly) {
  hardware.addProcess(playingProcess(100));
  hardware.addProcess(playingProcess(101));
  SimulatedAnswer answer;
  answer.byteSize = 7;
  hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyProcessObjectList), answer);
  EXPECT_THAT(names(discovery.listAudioProcesses()), ElementsAre("PID 100"));
  answer.byteSize = 3;
  hardware.setAnswer(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyProcessObjectList), answer);
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
}

TEST_F(DiscoveryTest, readsOneProcessInAFixedOrder) {
  hardware.addProcess(playingProcess(100, "com.example.Player"));
  hardware.journal().keepReads({kAudioHardwarePropertyProcessObjectList, kAudioProcessPropertyPID,
                                kAudioProcessPropertyBundleID, kAudioProcessPropertyIsRunningOutput});
  discovery.listAudioProcesses();
  EXPECT_THAT(hardware.journal().lines(),
              ElementsAre("propertyDataSize system prs#", "propertyData system prs#", "propertyData process 100 ppid",
                          "propertyData process 100 pbid", "propertyData process 100 piro"));
}

TEST_F(DiscoveryTest, emptyProcessListIsNotRead) {
  hardware.journal().keepReads({kAudioHardwarePropertyProcessObjectList});
  EXPECT_THAT(discovery.listAudioProcesses(), IsEmpty());
  EXPECT_THAT(hardware.journal().lines(), ElementsAre("propertyDataSize system prs#"));
}

}  // namespace
}  // namespace brindlemux
