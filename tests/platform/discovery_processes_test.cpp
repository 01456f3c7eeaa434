#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/discovery_scene.h"

namespace brindlemux {
namespace {

using test::answering;
using test::DiscoveryTest;
using test::failing;
using test::failure;
using test::playingProcess;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> names(const std::vector<AudioProcessInfo>& processes) {
  std::vector<std::string> result;
  for (const AudioProcessInfo& process : processes) result.push_back(process.name);
  return result;
}

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
