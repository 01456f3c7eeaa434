#include "platform/simulated/simulated_audio_hardware.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/driver_config.h"
#include "platform/simulated/virtual_scheduler.h"
#include "support/hardware_client.h"
#include "support/simulated_scene.h"

namespace brindlemux {
namespace {

using test::constantSignal;
using test::inputDevice;
using test::loopbackDevice;
using test::outputDevice;
using test::playingProcess;
using test::positionSignal;
using test::SimulatedScene;
using testing::ElementsAre;
using testing::IsEmpty;

class SimulatedAudioHardwareTest : public testing::Test, public SimulatedScene {
 protected:
  AudioDeviceIOProcID capture(AudioObjectID device, std::vector<std::vector<float>>& buffers) {
    return test::startCapture(hardware, device, buffers);
  }
  AudioUnitID play(AudioObjectID device, std::uint32_t channels, float value) {
    return test::startConstant(hardware, device, channels, value);
  }
};

TEST_F(SimulatedAudioHardwareTest, inputArrivesBlockByBlockInTheDevicesLayout) {
  SimulatedDevice device = inputDevice("Microphone", 0, positionSignal);
  device.inputBuffers = {2, 1};
  device.bufferFrames = 4;
  std::vector<std::vector<float>> buffers;
  const AudioObjectID id = hardware.addDevice(device);
  capture(id, buffers);
  hardware.advance(3);
  EXPECT_THAT(buffers, IsEmpty());
  hardware.advance(2);
  ASSERT_EQ(buffers.size(), 2U);
  EXPECT_THAT(buffers[0], ElementsAre(0, 100000, 1, 100001, 2, 100002, 3, 100003));
  EXPECT_THAT(buffers[1], ElementsAre(200000, 200001, 200002, 200003));
}

// 480 frames at 48000 Hz are 441 at 44100: 4 blocks of 100 and an unfinished one.
TEST_F(SimulatedAudioHardwareTest, deviceRunsAtItsOwnRate) {
  SimulatedDevice device = inputDevice("Microphone", 1, positionSignal);
  device.nominalSampleRateHz = 44100;
  device.bufferFrames = 100;
  std::vector<std::vector<float>> buffers;
  capture(hardware.addDevice(device), buffers);
  hardware.advance(480);
  EXPECT_EQ(buffers.front().size(), 400U);
}

TEST_F(SimulatedAudioHardwareTest, positionsCountFromTheBeginningOfTime) {
  SimulatedDevice device = inputDevice("Microphone", 1, positionSignal);
  device.bufferFrames = 2;
  std::vector<std::vector<float>> buffers;
  const AudioObjectID id = hardware.addDevice(device);
  hardware.advance(1000);
  capture(id, buffers);
  hardware.advance(2);
  EXPECT_THAT(buffers.front(), ElementsAre(1000, 1001));
}

TEST_F(SimulatedAudioHardwareTest, outputsAreSummedAndSurplusChannelsDropped) {
  SimulatedDevice device = outputDevice("Speakers", 2);
  device.bufferFrames = 2;
  const AudioObjectID id = hardware.addDevice(device);
  play(id, 1, 0.25F);
  play(id, 4, 0.5F);
  hardware.advance(2);
  const auto output = hardware.takeOutput(id);
  ASSERT_EQ(output.size(), 2U);
  EXPECT_THAT(output[0], ElementsAre(0.75F, 0.75F));
  EXPECT_THAT(output[1], ElementsAre(0.5F, 0.5F));
  EXPECT_THAT(hardware.takeOutput(id), IsEmpty());
}

TEST_F(SimulatedAudioHardwareTest, loopbackHearsUnitsAndProcessesInTheSameCycle) {
  SimulatedDevice device = loopbackDevice("Virtual", 2);
  device.bufferFrames = 2;
  const AudioObjectID id = hardware.addDevice(device);
  SimulatedProcess process = playingProcess(7, std::nullopt, constantSignal(0.25F));
  process.outputUID = "Virtual";
  hardware.addProcess(process);
  play(id, 2, 0.5F);
  std::vector<std::vector<float>> buffers;
  capture(id, buffers);
  hardware.advance(2);
  EXPECT_THAT(buffers.front(), ElementsAre(0.75F, 0.75F, 0.75F, 0.75F));
}

TEST_F(SimulatedAudioHardwareTest, tapHearsItsSelectionOfPlayingProcesses) {
  hardware.addDevice(outputDevice("Speakers"));
  const AudioObjectID one = hardware.addProcess(playingProcess(1, std::nullopt, constantSignal(1)));
  hardware.addProcess(playingProcess(2, std::nullopt, constantSignal(2)));
  SimulatedProcess paused = playingProcess(3, std::nullopt, constantSignal(4));
  paused.isPlaying = false;
  hardware.addProcess(paused);

  const auto heard = [&](TapDescription::Selection selection) {
    TapDescription description;
    description.uuid = uuids.next();
    description.selection = selection;
    description.processes = {one};
    const AudioObjectID aggregate = test::addTapAggregate(hardware, description);
    std::vector<std::vector<float>> buffers;
    const auto procedure = capture(aggregate, buffers);
    hardware.advance(512);
    EXPECT_EQ(hardware.destroyIOProc(aggregate, procedure), noErr);
    return buffers.at(0).at(0);
  };
  EXPECT_EQ(heard(TapDescription::Selection::only), 1);
  EXPECT_EQ(heard(TapDescription::Selection::allExcept), 2);
}

TEST_F(SimulatedAudioHardwareTest, removedDeviceTakesItsProceduresAlong) {
  const AudioObjectID id = hardware.addDevice(inputDevice("Microphone"));
  std::vector<std::vector<float>> buffers;
  const auto procedure = capture(id, buffers);
  hardware.removeDevice(id);
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  EXPECT_NE(hardware.stopDevice(id, procedure), noErr);
  EXPECT_NE(hardware.addDevice(inputDevice("Microphone")), id);
}

TEST_F(SimulatedAudioHardwareTest, liveResourcesNameEverythingThatExists) {
  const AudioObjectID id = hardware.addDevice(loopbackDevice("Virtual"));
  std::vector<std::vector<float>> buffers;
  capture(id, buffers);
  play(id, 2, 0);
  AudioObjectID tap = 0;
  hardware.createProcessTap({}, tap);
  EXPECT_THAT(hardware.liveResources(), ElementsAre("proc1 on Virtual running", "unit1 on Virtual running", "tap1"));
}

TEST_F(SimulatedAudioHardwareTest, deviceListChangesArePostedToListeners) {
  VirtualScheduler scheduler;
  int calls = 0;
  hardware.addPropertyListener(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDevices), scheduler,
                               [&calls] { ++calls; });
  const AudioObjectID id = hardware.addDevice(outputDevice("Speakers"));
  hardware.removeDevice(id);
  EXPECT_EQ(calls, 0);
  scheduler.runPosted();
  EXPECT_EQ(calls, 2);
}

TEST_F(SimulatedAudioHardwareTest, rateIsAcceptedAtOnceAfterPollsOrNever) {
  const auto address = globalAddress(kAudioDevicePropertyNominalSampleRate);
  SimulatedDevice device = outputDevice("Speakers");
  device.nominalSampleRateHz = 44100;
  const AudioObjectID accepts = hardware.addDevice(device);
  device.ratePolicy = SampleRatePolicy::fixed;
  const AudioObjectID fixed = hardware.addDevice(device);
  device.ratePolicy = SampleRatePolicy::acceptsAfterPolls;
  device.pollsUntilAccepted = 3;
  const AudioObjectID slow = hardware.addDevice(device);
  for (const AudioObjectID id : {accepts, fixed, slow})
    EXPECT_EQ(hardware.setPropertyData(id, address, 48000.0), noErr);
  EXPECT_EQ(discovery.nominalSampleRate(accepts), 48000);
  EXPECT_EQ(discovery.nominalSampleRate(fixed), 44100);
  EXPECT_EQ(discovery.nominalSampleRate(slow), 44100);
  EXPECT_EQ(discovery.nominalSampleRate(slow), 44100);
  EXPECT_EQ(discovery.nominalSampleRate(slow), 48000);
}

TEST_F(SimulatedAudioHardwareTest, rateThatIsRefusedStaysAndIsAFailure) {
  SimulatedDevice device = outputDevice("Speakers");
  device.nominalSampleRateHz = 96000;
  device.ratePolicy = SampleRatePolicy::refuses;
  const AudioObjectID id = hardware.addDevice(device);
  EXPECT_EQ(hardware.setPropertyData(id, globalAddress(kAudioDevicePropertyNominalSampleRate), 48000.0),
            kAudioHardwareUnsupportedOperationError);
  EXPECT_EQ(discovery.nominalSampleRate(id), 96000);
}

TEST_F(SimulatedAudioHardwareTest, driverPublishesRenamesRecreatesAndRemoves) {
  hardware.installDriver();
  DriverConfig config(hardware);
  ASSERT_TRUE(config.writeDevices({{"A", "First", 2}, {"B", "Second", 2}}));
  const AudioObjectID first = hardware.deviceWithUID("A");
  const AudioObjectID second = hardware.deviceWithUID("B");
  ASSERT_NE(first, kAudioObjectUnknown);
  ASSERT_TRUE(config.writeDevices({{"A", "Renamed", 2}, {"B", "Second", 4}}));
  EXPECT_EQ(hardware.deviceWithUID("A"), first);
  EXPECT_EQ(hardware.device(first).name, "Renamed");
  EXPECT_NE(hardware.deviceWithUID("B"), second);
  EXPECT_EQ(discovery.deviceChannelCount(hardware.deviceWithUID("B"), kAudioObjectPropertyScopeInput), 4);
  ASSERT_TRUE(config.writeDevices({{"B", "Second", 4}}));
  EXPECT_EQ(hardware.deviceWithUID("A"), kAudioObjectUnknown);
}

TEST_F(SimulatedAudioHardwareTest, driverRefusesAListThatBreaksItsContract) {
  hardware.installDriver();
  DriverConfig config(hardware);
  EXPECT_FALSE(config.writeDevices({{"A", "", 2}}));
  EXPECT_FALSE(config.writeDevices({{"A", "First", 65}}));
  EXPECT_FALSE(config.writeDevices({{"A", "First", 2}, {"A", "Again", 2}}));
  EXPECT_EQ(hardware.deviceWithUID("A"), kAudioObjectUnknown);
}

TEST_F(SimulatedAudioHardwareTest, uninstallingTheDriverRemovesItsDevices) {
  hardware.installDriver({{"A", "First", 2}});
  hardware.uninstallDriver();
  EXPECT_EQ(hardware.deviceWithUID("A"), kAudioObjectUnknown);
  EXPECT_EQ(DriverConfig(hardware).pluginObjectID(), std::nullopt);
}

}  // namespace
}  // namespace brindlemux
