// A whole engine in virtual time, sample by sample: captures, rings, mix, loop-back and monitors.
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <vector>

#include "engine/sounding_engine.h"
#include "support/hardware_client.h"

namespace brindlemux {
namespace {

using test::countingFrom;
using test::framesOf;
using test::inputDevice;
using test::loopbackDevice;
using test::numbered;
using test::outputDevice;
using test::playingProcess;
using testing::Each;

class DeviceEngineSound : public test::SoundingEngine {};

// Channels and layouts.

struct Layout {
  std::uint32_t channels;
  std::vector<std::uint32_t> buffers;

  friend void PrintTo(const Layout& layout, std::ostream* stream) {
    *stream << layout.channels << " channels in buffers of " << testing::PrintToString(layout.buffers);
  }
};

class DeviceEngineSoundLayout : public DeviceEngineSound, public testing::WithParamInterface<Layout> {};

// All blocks are of 256 frames and fall due together, the capture's first: the device plays frame i at its frame i, and
// so does the monitor. Rings and mixes have 16 channels at the most.
TEST_P(DeviceEngineSoundLayout, everySampleOfEveryChannelArrives) {
  const auto [channels, buffers] = GetParam();
  const std::uint32_t mixed = std::min(channels, 16U);
  SimulatedDevice device = inputDevice("Microphone", 0, numbered);
  device.inputBuffers = buffers;
  hardware.addDevice(device);
  addVirtual(mixed);
  addSpeakers(channels);
  addMic(1, "Microphone", channels);
  addMonitor(2, "Speakers", channels);
  reconcile();
  hardware.advance(48000);
  const auto expected = countingFrom(0, 187 * 256);
  const auto output = hardware.takeOutput(virtualDevice);
  const auto monitor = hardware.takeOutput(speakers);
  ASSERT_EQ(output.size(), mixed);
  ASSERT_EQ(monitor.size(), channels);
  for (std::uint32_t channel = 0; channel < mixed; ++channel) {
    ASSERT_EQ(framesOf(output[channel], channel), expected) << channel;
    ASSERT_EQ(framesOf(monitor[channel], channel), expected) << channel;
  }
  for (std::uint32_t channel = mixed; channel < channels; ++channel) ASSERT_THAT(monitor[channel], Each(0.0F));
}

INSTANTIATE_TEST_SUITE_P(Layouts, DeviceEngineSoundLayout,
                         testing::Values(Layout{1, {1}}, Layout{2, {2}}, Layout{2, {1, 1}}, Layout{3, {2, 1}},
                                         Layout{16, {16}}, Layout{16, std::vector<std::uint32_t>(16, 1)},
                                         Layout{32, {32}}, Layout{32, {16, 16}},
                                         Layout{32, std::vector<std::uint32_t>(32, 1)}));

TEST_F(DeviceEngineSound, monoInputIsHeardOnBothChannelsWhenBothAreWired) {
  addMicrophone(1);
  addVirtual();
  const UUID mic = addMic(1, "Microphone", 1);
  graph.wires.push_back({mic, 0, 1});
  reconcile();
  hardware.advance(4800);
  const auto output = hardware.takeOutput(virtualDevice);
  EXPECT_EQ(output[0], output[1]);
  EXPECT_EQ(framesOf(output[1], 0), countingFrom(0, 18 * 256));
}

TEST_F(DeviceEngineSound, tapIsHeardSampleBySampleFromPlanarAndInterleavedTaps) {
  for (const std::uint32_t flags : {0U, kAudioFormatFlagIsNonInterleaved}) {
    test::RoutedEngine route;
    StreamFormat format = test::interleavedFormat(48000, 2);
    format.formatFlags |= flags;
    route.hardware.setTapFormat(format);
    const AudioObjectID device = route.hardware.addDevice(loopbackDevice(virtualUID));
    route.hardware.addDevice(outputDevice("Speakers"));
    route.hardware.addProcess(playingProcess(100, "com.example.Player", numbered));
    route.addApp(1);
    route.reconcile();
    route.hardware.advance(4800);
    const auto output = route.hardware.takeOutput(device);
    EXPECT_EQ(framesOf(output.at(0), 0), countingFrom(0, 18 * 256));
    EXPECT_EQ(framesOf(output.at(1), 1), countingFrom(0, 18 * 256));
  }
}

// A device beyond 16 channels has its output replaced by every reconcile, between two blocks.
TEST_F(DeviceEngineSound, deviceOf32ChannelsPlaysOnThroughEveryReconcile) {
  addMicrophone(32);
  addVirtual(32);
  addMic(1, "Microphone", 32);
  for (int round = 0; round < 10; ++round) {
    reconcile();
    hardware.advance(1000);
  }
  const auto output = hardware.takeOutput(virtualDevice);
  ASSERT_EQ(output.size(), 32U);
  for (std::uint32_t channel = 0; channel < 16; ++channel) {
    ASSERT_EQ(framesOf(output[channel], channel), countingFrom(0, 39 * 256)) << channel;
  }
  EXPECT_THAT(output[16], Each(0.0F));
}

TEST_F(DeviceEngineSound, monitorOnADeviceWithoutChannelsDisturbsNobody) {
  addMicrophone();
  addVirtual();
  addSpeakers();
  hardware.addDevice(inputDevice("No output"));
  addMic(1);
  addMonitor(2, "No output");
  addMonitor(3);
  reconcile();
  hardware.advance(4800);
  EXPECT_EQ(heard(speakers), countingFrom(0, 18 * 256));
}

// The mix.

// Gains are powers of two, so that every product and sum below is exact.
TEST_F(DeviceEngineSound, sourcesAreScaledAndSummed) {
  addMicrophone();
  addVirtual();
  hardware.addDevice(outputDevice("Speakers"));
  hardware.addProcess(playingProcess(100, "com.example.Player", [](std::int64_t frame, std::uint32_t channel) {
    return (channel == 0 ? 0.25F : -0.25F) + static_cast<float>(frame) * 0x1p-22F;
  }));
  addMic(1);
  graph.sources[0].gain = 0.5F;
  addApp(2);
  graph.sources[1].gain = 0.25F;
  graph.wires.push_back({graph.sources[1].id, 1, 0});
  graph.masterGain = 0.5F;
  graph.outputGains = {1.0F, 2.0F};
  reconcile();
  hardware.advance(4800);
  const auto output = hardware.takeOutput(virtualDevice);
  ASSERT_EQ(output[0].size(), 18U * 256U);
  for (std::size_t i = 0; i < output[0].size(); ++i) {
    const auto frame = static_cast<std::int64_t>(i);
    const float ramp = static_cast<float>(frame) * 0x1p-22F;
    ASSERT_EQ(output[0][i], 0.25F * numbered(frame, 0) + 0.125F * (0.25F + ramp) + 0.125F * (ramp - 0.25F)) << i;
    ASSERT_EQ(output[1][i], 0.5F * numbered(frame, 1) + 0.25F * (ramp - 0.25F)) << i;
  }
}

TEST_F(DeviceEngineSound, changesOfGainAreExactFromOneBlockToTheNext) {
  addMicrophone();
  addVirtual();
  addSpeakers();
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.advance(2560);
  graph.masterGain = 0.5F;
  reconcile();
  hardware.advance(2560);
  graph.monitors[0].gain = 2.0F;
  reconcile();
  hardware.advance(2560);
  const auto output = hardware.takeOutput(virtualDevice).at(0);
  const auto monitor = hardware.takeOutput(speakers).at(0);
  ASSERT_EQ(output.size(), 7680U);
  for (std::size_t i = 0; i < output.size(); ++i) {
    const float sample = numbered(static_cast<std::int64_t>(i), 0);
    ASSERT_EQ(output[i], i < 2560 ? sample : 0.5F * sample) << i;
    ASSERT_EQ(monitor[i], i < 2560 || i >= 5120 ? sample : 0.5F * sample) << i;
  }
}

TEST_F(DeviceEngineSound, editsOfOtherNodesDisturbNobody) {
  addMicrophone();
  addVirtual();
  addSpeakers();
  hardware.addDevice(inputDevice("Other", 2));
  hardware.addDevice(outputDevice("More speakers"));
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.advance(1000);
  addMic(3, "Other");
  reconcile();
  hardware.advance(1000);
  addMonitor(4, "More speakers");
  reconcile();
  hardware.advance(1000);
  graph.sources.pop_back();
  graph.monitors.pop_back();
  reconcile();
  hardware.advance(1000);
  EXPECT_EQ(heard(virtualDevice), countingFrom(0, 15 * 256));
  EXPECT_EQ(heard(speakers), countingFrom(0, 15 * 256));
}

TEST_F(DeviceEngineSound, monitorHearsWhatOthersPlayIntoTheDeviceToo) {
  addMicrophone();
  addVirtual();
  addSpeakers();
  SimulatedProcess foreign = playingProcess(300, std::nullopt, test::constantSignal(0.125F));
  foreign.outputUID = virtualUID;
  hardware.addProcess(foreign);
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.advance(4800);
  const auto monitor = hardware.takeOutput(speakers).at(1);
  ASSERT_EQ(monitor.size(), 18U * 256U);
  for (std::size_t i = 0; i < monitor.size(); ++i) {
    ASSERT_EQ(monitor[i], numbered(static_cast<std::int64_t>(i), 1) + 0.125F) << i;
  }
}

// Where readers enter.

// The microphone has run for 40 blocks of 256 frames when the device begins to play: with the reader's first block the
// newest frame is 41 * 256 - 1, and it enters (256 + 256) frames behind.
TEST_F(DeviceEngineSound, sourceThatIsWiredLateIsHeardFromTheResetDistanceOn) {
  addMicrophone();
  addVirtual();
  addMic(1);
  graph.wires.clear();
  reconcile();
  hardware.advance(40 * 256);
  graph.wires = {{test::node(1), 0, 0}};
  reconcile();
  hardware.takeOutput(virtualDevice);
  hardware.advance(100 * 256);
  EXPECT_EQ(heard(virtualDevice), countingFrom(41 * 256 - 512, 100 * 256));
}

TEST_F(DeviceEngineSound, sourceThatIsSwitchedOffAndOnIsHeardFromTheResetDistanceOn) {
  addMicrophone();
  addVirtual();
  addMic(1);
  reconcile();
  hardware.advance(10 * 256);
  graph.sources[0].enabled = false;
  reconcile();
  hardware.advance(10 * 256);
  graph.sources[0].enabled = true;
  reconcile();
  hardware.advance(10 * 256);
  auto expected = countingFrom(0, 10 * 256);
  expected.insert(expected.end(), 10 * 256, test::silence);
  const auto later = countingFrom(21 * 256 - 512, 10 * 256);
  expected.insert(expected.end(), later.begin(), later.end());
  EXPECT_EQ(heard(virtualDevice), expected);
}

TEST_F(DeviceEngineSound, recreatedDeviceIsHeardAndMonitoredFromItsFirstBlockOn) {
  addMicrophone();
  addVirtual();
  addSpeakers();
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.advance(100 * 256);
  hardware.removeDevice(virtualDevice);
  addVirtual();
  reconcile();
  hardware.takeOutput(speakers);
  hardware.advance(100 * 256);
  // The source keeps its cursor; the monitor enters a ring that begins anew.
  EXPECT_EQ(heard(virtualDevice), countingFrom(100 * 256, 100 * 256));
  EXPECT_EQ(heard(speakers), countingFrom(100 * 256, 100 * 256));
}

}  // namespace
}  // namespace brindlemux
