// A whole engine in virtual time whose devices have blocks, clocks and rates of their own.
#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numbers>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "engine/ring_model.h"
#include "engine/sounding_engine.h"
#include "support/hardware_client.h"
#include "support/sine_fit.h"

namespace brindlemux {
namespace {

using test::Break;
using test::breaksOf;
using test::countingFrom;
using test::inputDevice;
using test::loopbackDevice;
using test::numbered;
using test::outputDevice;
using test::playingProcess;
using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

class DeviceEnginePace : public test::SoundingEngine {};

// Blocks that vary, and clocks that drift.

/// Blocks of 1 to `most` frames.
std::vector<std::uint32_t> seededBlocks(std::uint32_t seed, std::uint32_t most) {
  std::mt19937 random(seed);
  std::vector<std::uint32_t> blocks(211);
  // Not a distribution of the library's, which may differ from one to another.
  std::generate(blocks.begin(), blocks.end(), [&] { return 1 + static_cast<std::uint32_t>(random()) % most; });
  return blocks;
}

struct Paces {
  std::string name;
  std::vector<std::uint32_t> source;
  std::vector<std::uint32_t> device;
  std::vector<std::uint32_t> monitor;
  double sourcePPM = 0;
  double devicePPM = 0;
  double monitorPPM = 0;

  friend std::ostream& operator<<(std::ostream& stream, const Paces& paces) { return stream << paces.name; }
};

class DeviceEnginePaces : public DeviceEnginePace, public testing::WithParamInterface<Paces> {
 protected:
  static constexpr std::int64_t seconds = 9;

  void SetUp() override {
    const Paces& paces = GetParam();
    SimulatedDevice mic = inputDevice("Microphone", 2, numbered);
    mic.blockPattern = paces.source;
    mic.driftPPM = paces.sourcePPM;
    hardware.addDevice(mic);
    SimulatedDevice device = loopbackDevice(virtualUID);
    device.blockPattern = paces.device;
    device.driftPPM = paces.devicePPM;
    virtualDevice = hardware.addDevice(device);
    SimulatedDevice monitor = outputDevice("Speakers");
    monitor.blockPattern = paces.monitor;
    monitor.driftPPM = paces.monitorPPM;
    speakers = hardware.addDevice(monitor);
    addMic(1);
    addMonitor(2);
    reconcile();
  }
};

double driftingRate(double driftPPM) { return 48000.0 * (1.0 + driftPPM * 1e-6); }

TEST_P(DeviceEnginePaces, whatIsHeardIsWhatTheRulesOfRingsSay) {
  const Paces& paces = GetParam();
  hardware.advance(seconds * 48000);
  const test::BlockStream source = {paces.source, driftingRate(paces.sourcePPM), 0};
  const test::BlockStream device = {paces.device, driftingRate(paces.devicePPM), 1};
  const test::BlockStream monitor = {paces.monitor, driftingRate(paces.monitorPPM), 2};
  const auto played = test::heardFrames(source, device, seconds * 48000);
  auto monitored = test::heardFrames(device, monitor, seconds * 48000);
  for (std::int64_t& frame : monitored) frame = frame < 0 ? frame : played[static_cast<std::size_t>(frame)];
  ASSERT_EQ(heard(virtualDevice, 1), played);
  ASSERT_EQ(heard(speakers, 0), monitored);
}

INSTANTIATE_TEST_SUITE_P(
    Paces, DeviceEnginePaces,
    testing::Values(Paces{"equal", {256}, {256}, {256}}, Paces{"smallInLarge", {64}, {512}, {2048}},
                    Paces{"largeInSmall", {2048}, {512}, {32}},
                    Paces{"odd", {1, 104, 139, 940, 8192}, {940, 139, 1}, {104, 8192, 139}},
                    Paces{"single", {1}, {1}, {3}}, Paces{"longest", {16384}, {8192}, {4096}},
                    Paces{"seeded1", seededBlocks(1, 512), seededBlocks(2, 512), seededBlocks(3, 512)},
                    Paces{"seeded2", seededBlocks(4, 4096), seededBlocks(5, 1024), seededBlocks(6, 8192)},
                    Paces{"drifting", {256}, {256}, {256}, 300, -200, 100},
                    Paces{"driftingFast", {256}, {256}, {256}, 20000, 0, -15000},
                    Paces{"driftingSlow", {256}, {256}, {256}, -20000, 0, 15000},
                    Paces{"everything", seededBlocks(7, 900), seededBlocks(8, 600), seededBlocks(9, 1200), 8000, -5000,
                          9000}),
    [](const auto& instance) { return instance.param.name; });

class DeviceEngineSteadyPace : public DeviceEnginePaces {};

// Without drift a reader only ever waits: what it once lacked, it plays later.
TEST_P(DeviceEngineSteadyPace, noFrameIsLostOrRepeated) {
  hardware.advance(seconds * 48000);
  for (const AudioObjectID device : {virtualDevice, speakers}) {
    const auto frames = heard(device);
    EXPECT_THAT(frames, Each(Ge(test::silence)));
    for (const Break& gap : breaksOf(frames)) EXPECT_EQ(gap.skipped, 0) << gap.at;
    // Once it has waited long enough for the longest block, it waits no more.
    const auto last = std::span(frames).last(48000);
    EXPECT_THAT(breaksOf(last), IsEmpty());
    EXPECT_THAT(std::vector(last.begin(), last.end()), Each(Ge(0)));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Paces, DeviceEngineSteadyPace,
    testing::Values(Paces{"equal", {256}, {256}, {256}}, Paces{"smallInLarge", {64}, {512}, {2048}},
                    Paces{"largeInSmall", {2048}, {512}, {32}},
                    Paces{"odd", {1, 104, 139, 940}, {940, 139, 1}, {104, 139}}, Paces{"single", {1}, {1}, {3}},
                    Paces{"seeded1", seededBlocks(1, 512), seededBlocks(2, 512), seededBlocks(3, 512)},
                    Paces{"seeded2", seededBlocks(4, 1024), seededBlocks(5, 256), seededBlocks(6, 1024)}),
    [](const auto& instance) { return instance.param.name; });

// A source that runs 1% fast gains a block of 256 frames on its reader every 25600 frames. The reader is moved when its
// lag passes 2400 + 512: at twelve blocks, 3072 frames, to 512, and so it skips 2560 frames each time.
TEST_F(DeviceEnginePace, readerOfAFastSourceSkipsAtTheBound) {
  SimulatedDevice mic = inputDevice("Microphone", 2, numbered);
  mic.driftPPM = 10000;
  hardware.addDevice(mic);
  addVirtual();
  addMic(1);
  reconcile();
  hardware.advance(9 * 48000);
  const auto breaks = breaksOf(heard(virtualDevice));
  ASSERT_THAT(breaks, SizeIs(1));
  EXPECT_EQ(breaks[0].silent, 0);
  EXPECT_EQ(breaks[0].skipped, 2560);
}

// A source that runs 1% slow lacks a block every 25600 frames; nothing is skipped or repeated.
TEST_F(DeviceEnginePace, readerOfASlowSourceWaitsForABlock) {
  SimulatedDevice mic = inputDevice("Microphone", 2, numbered);
  mic.driftPPM = -10000;
  hardware.addDevice(mic);
  addVirtual();
  addMic(1);
  reconcile();
  hardware.advance(9 * 48000);
  const auto breaks = breaksOf(heard(virtualDevice));
  // 432000 / 25600 = 16.9
  EXPECT_THAT(breaks, SizeIs(AllOf(Ge(16U), Le(17U))));
  for (const Break& gap : breaks) EXPECT_EQ(gap, (Break{gap.at, 256, 0}));
}

// A tap is clocked by the output device; one that runs with the virtual device's clock never drifts from it.
TEST_F(DeviceEnginePace, tapDriftsWithItsClockAlone) {
  SimulatedDevice clockDevice = outputDevice("Speakers");
  clockDevice.driftPPM = 10000;
  hardware.addDevice(clockDevice);
  SimulatedDevice device = loopbackDevice(virtualUID);
  device.driftPPM = 10000;
  virtualDevice = hardware.addDevice(device);
  hardware.addProcess(playingProcess(100, "com.example.Player", numbered));
  addApp(1);
  reconcile();
  hardware.advance(9 * 48000);
  EXPECT_THAT(breaksOf(heard(virtualDevice)), IsEmpty());
}

// Other rates.

constexpr double toneHz = 997;

SimulatedSignal tone(double sampleRateHz) {
  return [sampleRateHz](std::int64_t frame, std::uint32_t channel) {
    const double phase = 2 * std::numbers::pi * toneHz * static_cast<double>(frame) / sampleRateHz;
    return static_cast<float>((channel % 2 == 0 ? 0.5 : -0.25) * std::sin(phase));
  };
}

/// The greatest distance of the samples from the tone that runs `delayFrames` frames (of their rate) late.
float distanceFromTone(std::span<const float> samples, std::uint32_t channel, double sampleRateHz, double delayFrames,
                       std::size_t from) {
  const double amplitude = channel % 2 == 0 ? 0.5 : -0.25;
  float distance = 0;
  for (std::size_t i = from; i < samples.size(); ++i) {
    const double phase = 2 * std::numbers::pi * toneHz * (static_cast<double>(i) - delayFrames) / sampleRateHz;
    distance = std::max(distance, std::abs(samples[i] - static_cast<float>(amplitude * std::sin(phase))));
  }
  return distance;
}

struct Rates {
  double source;
  double device;
  double monitor;

  friend void PrintTo(const Rates& rates, std::ostream* stream) {
    *stream << rates.source << " Hz to " << rates.device << " Hz to " << rates.monitor << " Hz";
  }
};

class DeviceEngineRates : public DeviceEnginePace, public testing::WithParamInterface<Rates> {
 protected:
  static SimulatedDevice at(SimulatedDevice device, double sampleRateHz) {
    device.nominalSampleRateHz = sampleRateHz;
    device.ratePolicy = SampleRatePolicy::refuses;
    device.bufferFrames = 256;
    return device;
  }
};

// Each conversion, and each wait for a block, delays the tone by a time that stays as it is: from the first second to
// the fifth no sample leaves the tone. A lost or repeated frame would leave it by 0.5 * 2 * pi * 997 / 48000 = 0.065.
TEST_P(DeviceEngineRates, theToneGoesThroughUnbroken) {
  const auto [sourceHz, deviceHz, monitorHz] = GetParam();
  hardware.addDevice(at(inputDevice("Microphone", 2, tone(sourceHz)), sourceHz));
  virtualDevice = hardware.addDevice(at(loopbackDevice(virtualUID), deviceHz));
  speakers = hardware.addDevice(at(outputDevice("Speakers"), monitorHz));
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.advance(5 * 48000);
  for (const auto& [device, rateHz] : {std::pair(virtualDevice, deviceHz), std::pair(speakers, monitorHz)}) {
    const auto output = hardware.takeOutput(device);
    const auto second = static_cast<std::size_t>(rateHz);
    ASSERT_GT(output.at(0).size(), 4 * second);
    for (std::uint32_t channel = 0; channel < 2; ++channel) {
      const auto samples = std::span(output[channel]).subspan(second);
      EXPECT_GT(test::sineSignalToNoise(samples, toneHz, rateHz), 120) << rateHz << " Hz, channel " << channel;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, DeviceEngineRates,
                         testing::Values(Rates{44100, 48000, 48000}, Rates{96000, 48000, 48000},
                                         Rates{48000, 44100, 48000}, Rates{48000, 48000, 44100},
                                         Rates{48000, 48000, 96000}, Rates{44100, 96000, 44100},
                                         Rates{96000, 44100, 96000}, Rates{44100, 44100, 44100}));

// Output begins with the first input frame, and the device waits for whole blocks of 256: the delay is a whole number
// of frames, the same on both channels.
TEST_F(DeviceEnginePace, convertedSourceIsDelayedByWholeFrames) {
  SimulatedDevice device = inputDevice("Microphone", 2, tone(44100));
  device.nominalSampleRateHz = 44100;
  hardware.addDevice(device);
  addVirtual();
  addMic(1);
  reconcile();
  hardware.advance(48000 * 3);
  const auto output = hardware.takeOutput(virtualDevice);
  std::vector<int> delays;
  for (int delay = 0; delay < 4800; ++delay) {
    if (distanceFromTone(std::span(output[0]).first(49000), 0, 48000, delay, 48000) < 1e-5F) delays.push_back(delay);
  }
  // 48000 frames hold 997 whole periods and no fewer, so there is one answer within 4800.
  ASSERT_THAT(delays, SizeIs(1));
  EXPECT_LT(distanceFromTone(output[0], 0, 48000, delays[0], 48000), 1e-5F);
  EXPECT_LT(distanceFromTone(output[1], 1, 48000, delays[0], 48000), 1e-5F);
}

TEST_F(DeviceEnginePace, tapOfAnotherRateGoesThroughUnbroken) {
  for (const double rateHz : {44100.0, 96000.0}) {
    test::RoutedEngine route;
    route.hardware.setTapFormat(test::interleavedFormat(rateHz, 2));
    const AudioObjectID device = route.hardware.addDevice(loopbackDevice(virtualUID));
    route.hardware.addDevice(outputDevice("Speakers"));
    route.hardware.addProcess(playingProcess(100, "com.example.Player", tone(rateHz)));
    route.addApp(1);
    route.reconcile();
    route.hardware.advance(4 * 48000);
    const auto output = route.hardware.takeOutput(device);
    EXPECT_GT(test::sineSignalToNoise(std::span(output.at(0)).subspan(48000), toneHz, 48000), 120) << rateHz;
  }
}

// The rate is asked for when the output starts; 48000 Hz comes after seven polls, and nothing is converted.
TEST_F(DeviceEnginePace, deviceThatTakesTheRateLateIsHeardSampleBySample) {
  addMicrophone();
  SimulatedDevice device = loopbackDevice(virtualUID);
  device.nominalSampleRateHz = 44100;
  device.ratePolicy = SampleRatePolicy::acceptsAfterPolls;
  device.pollsUntilAccepted = 7;
  virtualDevice = hardware.addDevice(device);
  addMic(1);
  reconcile();
  EXPECT_EQ(clock.sleeps(), 7);
  hardware.advance(4800);
  EXPECT_EQ(heard(virtualDevice), countingFrom(0, 18 * 256));
}

}  // namespace
}  // namespace brindlemux
