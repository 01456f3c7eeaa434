#include <atomic>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "contract/audio_hardware_contract.h"

namespace brindlemux::test {
namespace {

// Properties.

TEST_P(AudioHardwareContract, unknownObjectAnswersWithAStatusAndLeavesResultsUntouched) {
  expectUnreadable(noSuchObject, globalAddress(kAudioDevicePropertyDeviceUID));
  expectUnreadable(kAudioObjectUnknown, globalAddress(kAudioDevicePropertyDeviceUID));
  AudioDeviceIOProcID procedure = 77;
  EXPECT_NE(hardware.createIOProc(
                noSuchObject, "contract", [](AudioBufferList) {}, procedure),
            noErr);
  EXPECT_EQ(procedure, 77U);
  EXPECT_NE(hardware.startDevice(noSuchObject, 1), noErr);
  EXPECT_NE(hardware.stopDevice(noSuchObject, 1), noErr);
  EXPECT_NE(hardware.destroyIOProc(noSuchObject, 1), noErr);
  EXPECT_NE(hardware.destroyProcessTap(noSuchObject), noErr);
  EXPECT_NE(hardware.destroyAggregateDevice(noSuchObject), noErr);
}

TEST_P(AudioHardwareContract, unknownPropertyAnswersWithAStatusAndLeavesResultsUntouched) {
  for (const AudioObjectID object :
       {kAudioObjectSystemObject, server->outputDevice(), server->inputDevice(), server->playingProcess()}) {
    expectUnreadable(object, globalAddress(noSuchSelector));
  }
}

TEST_P(AudioHardwareContract, propertiesOfOneKindOfObjectAreNotThoseOfAnother) {
  EXPECT_FALSE(hardware.hasProperty(server->outputDevice(), globalAddress(kAudioHardwarePropertyDevices)));
  EXPECT_FALSE(hardware.hasProperty(kAudioObjectSystemObject, globalAddress(kAudioDevicePropertyDeviceUID)));
  EXPECT_FALSE(hardware.hasProperty(server->playingProcess(), globalAddress(kAudioDevicePropertyNominalSampleRate)));
}

TEST_P(AudioHardwareContract, deviceListHoldsTheDevicesInWholeIDs) {
  const auto address = globalAddress(kAudioHardwarePropertyDevices);
  const auto devices = read<std::vector<AudioObjectID>>(kAudioObjectSystemObject, address);
  EXPECT_THAT(devices, testing::Contains(server->outputDevice()));
  EXPECT_THAT(devices, testing::Contains(server->inputDevice()));
  EXPECT_EQ(sizeOf(kAudioObjectSystemObject, address), 4 * devices.size());
  EXPECT_EQ(std::set(devices.begin(), devices.end()).size(), devices.size());
}

TEST_P(AudioHardwareContract, deviceDescribesItself) {
  const AudioObjectID device = server->outputDevice();
  EXPECT_FALSE(uidOf(device).empty());
  EXPECT_FALSE(read<std::string>(device, globalAddress(kAudioObjectPropertyName)).empty());
  EXPECT_GT(read<double>(device, globalAddress(kAudioDevicePropertyNominalSampleRate)), 0);
  EXPECT_GT(read<std::uint32_t>(device, globalAddress(kAudioDevicePropertyBufferFrameSize)), 0U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioDevicePropertyDeviceUID)), 8U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioObjectPropertyName)), 8U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioDevicePropertyNominalSampleRate)), 8U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioDevicePropertyBufferFrameSize)), 4U);
}

TEST_P(AudioHardwareContract, streamConfigurationCountsChannelsByDirection) {
  const auto channels = [&](AudioObjectID device, FourCharCode scope) {
    const AudioObjectPropertyAddress address = {kAudioDevicePropertyStreamConfiguration, scope, 0};
    const auto layout = read<BufferLayout>(device, address);
    EXPECT_EQ(sizeOf(device, address), 8 + 16 * layout.channelsPerBuffer.size());
    std::uint32_t sum = 0;
    for (const std::uint32_t count : layout.channelsPerBuffer) sum += count;
    return sum;
  };
  EXPECT_GE(channels(server->outputDevice(), kAudioObjectPropertyScopeOutput), 2U);
  EXPECT_GE(channels(server->inputDevice(), kAudioObjectPropertyScopeInput), 1U);
}

TEST_P(AudioHardwareContract, uidTranslatesToItsDeviceAndAnUnknownOneToNone) {
  EXPECT_EQ(deviceWithUID(uidOf(server->outputDevice())), server->outputDevice());
  EXPECT_EQ(deviceWithUID(uidOf(server->inputDevice())), server->inputDevice());
  EXPECT_EQ(deviceWithUID("no such UID"), kAudioObjectUnknown);
  EXPECT_EQ(deviceWithUID(""), kAudioObjectUnknown);
}

TEST_P(AudioHardwareContract, unknownPlugInAndProcessTranslateToNone) {
  EXPECT_EQ(
      read<AudioObjectID>(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslateBundleIDToPlugIn),
                          std::string("com.example.NoSuchPlugIn")),
      kAudioObjectUnknown);
  EXPECT_EQ(read<AudioObjectID>(kAudioObjectSystemObject,
                                globalAddress(kAudioHardwarePropertyTranslatePIDToProcessObject), std::int32_t{-2}),
            kAudioObjectUnknown);
}

TEST_P(AudioHardwareContract, processDescribesItself) {
  const AudioObjectID process = server->playingProcess();
  const auto list = globalAddress(kAudioHardwarePropertyProcessObjectList);
  const auto processes = read<std::vector<AudioObjectID>>(kAudioObjectSystemObject, list);
  EXPECT_THAT(processes, testing::Contains(process));
  EXPECT_EQ(sizeOf(kAudioObjectSystemObject, list), 4 * processes.size());
  EXPECT_EQ(read<std::int32_t>(process, globalAddress(kAudioProcessPropertyPID)), server->playingProcessPID());
  EXPECT_NE(read<std::uint32_t>(process, globalAddress(kAudioProcessPropertyIsRunningOutput)), 0U);
  EXPECT_EQ(
      read<AudioObjectID>(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslatePIDToProcessObject),
                          server->playingProcessPID()),
      process);
}

TEST_P(AudioHardwareContract, valueOfAnotherTypeIsRefused) {
  const AudioObjectID device = server->outputDevice();
  EXPECT_NE(
      hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyNominalSampleRate), std::string("48000")),
      noErr);
  EXPECT_NE(hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyBufferFrameSize), 256.0), noErr);
  EXPECT_NE(hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyBufferFrameSize), 0U), noErr);
}

TEST_P(AudioHardwareContract, descriptionsCannotBeWritten) {
  const AudioObjectID device = server->outputDevice();
  const std::string uid = uidOf(device);
  EXPECT_NE(hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyDeviceUID), std::string("other")),
            noErr);
  EXPECT_EQ(uidOf(device), uid);
}

// Devices come and go.

TEST_P(AudioHardwareContract, replacedDeviceGetsANewID) {
  const std::string uid = "contract.device";
  std::set<AudioObjectID> ids;
  for (int round = 0; round < 3; ++round) {
    server->plug(uid);
    ASSERT_TRUE(server->waitUntil([&] { return deviceWithUID(uid) != kAudioObjectUnknown; }));
    const AudioObjectID id = deviceWithUID(uid);
    EXPECT_TRUE(ids.insert(id).second) << "an ID was reused";
    server->unplug(uid);
    ASSERT_TRUE(server->waitUntil([&] { return deviceWithUID(uid) == kAudioObjectUnknown; }));
    expectUnreadable(id, globalAddress(kAudioDevicePropertyDeviceUID));
  }
}

TEST_P(AudioHardwareContract, deviceListListenerIsCalledThroughItsQueue) {
  auto calls = std::make_shared<std::atomic<int>>(0);
  ASSERT_EQ(hardware.addPropertyListener(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDevices),
                                         server->queue(), [calls] { ++*calls; }),
            noErr);
  server->plug("contract.device");
  EXPECT_TRUE(server->waitUntil([&] { return *calls >= 1; }));
  ASSERT_TRUE(server->waitUntil([&] { return deviceWithUID("contract.device") != kAudioObjectUnknown; }));
  const int before = *calls;
  server->unplug("contract.device");
  EXPECT_TRUE(server->waitUntil([&] { return *calls > before; }));
}

}  // namespace
}  // namespace brindlemux::test
