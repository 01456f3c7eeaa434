#include "editor/node_menus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindlemux {
namespace {

using testing::ElementsAre;

AudioProcessInfo process(const std::string& name, std::optional<std::string> bundleID, std::int32_t pid = 1) {
  return {.id = 1, .pid = pid, .name = name, .bundleID = std::move(bundleID), .isPlaying = true};
}

std::vector<std::string> applications(const std::vector<AudioProcessInfo>& processes) {
  std::vector<std::string> names;
  for (const AudioProcessInfo& process : dedupedProcesses(processes)) names.push_back(process.name);
  return names;
}

AudioDeviceInfo device(const std::string& uid, std::int64_t inputChannels, std::int64_t outputChannels) {
  return {.id = 7, .uid = uid, .name = uid, .inputChannels = inputChannels, .outputChannels = outputChannels};
}

std::vector<std::string> uids(const std::vector<AudioDeviceInfo>& devices) {
  std::vector<std::string> uids;
  for (const AudioDeviceInfo& device : devices) uids.push_back(device.uid);
  return uids;
}

const std::vector<AudioDeviceInfo> devices = {device("Speakers", 0, 2),
                                              device("Microphone", 1, 0),
                                              device("Interface", 8, 10),
                                              device("Nothing", 0, 0),
                                              device("BrindlemuxAudio_UID", 2, 2),
                                              device("com.brindlemux.tap.1", 2, 2),
                                              device("com.brindlemux.tape", 2, 2)};
const std::set<std::string> virtualDevices = {"BrindlemuxAudio_UID"};

TEST(DedupedProcesses, areSortedWithoutRegardToCase) {
  EXPECT_THAT(applications({process("beta", "b"), process("Alpha", "a"), process("Gamma", "g"), process("Äther", "e")}),
              ElementsAre("Alpha", "Äther", "beta", "Gamma"));
}

TEST(DedupedProcesses, oneApplicationIsNamedAfterItsFirstProcess) {
  EXPECT_THAT(applications({process("Player Helper", "player"), process("Player", "player"), process("Other", "o")}),
              ElementsAre("Other", "Player"));
}

TEST(DedupedProcesses, equalNamesKeepTheirOrder) {
  const auto found = dedupedProcesses(std::vector{process("Same", "z", 1), process("same", "a", 2)});
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].pid, 1);
  EXPECT_EQ(found[1].pid, 2);
}

TEST(DedupedProcesses, processWithoutABundleIdentifierIsNotOffered) {
  EXPECT_THAT(applications({process("Nameless", std::nullopt), process("Empty", ""), process("Player", "player")}),
              ElementsAre("Player"));
}

TEST(InputDevices, areRealDevicesWithInputs) {
  EXPECT_THAT(uids(inputDevices(devices, virtualDevices)),
              ElementsAre("Microphone", "Interface", "com.brindlemux.tape"));
}

TEST(OutputDevices, areRealDevicesWithOutputs) {
  EXPECT_THAT(uids(outputDevices(devices, virtualDevices)),
              ElementsAre("Speakers", "Interface", "com.brindlemux.tape"));
}

}  // namespace
}  // namespace brindlemux
