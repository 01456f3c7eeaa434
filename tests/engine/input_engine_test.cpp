#include "engine/input_engine.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

#include "engine/capture_path.h"
#include "platform/audio_router_error.h"
#include "support/engine_scene.h"
#include "support/realtime_guard.h"
#include "support/ring_reading.h"
#include "support/sine_fit.h"

namespace brindlemux {
namespace {

using test::inputDevice;
using test::outputDevice;
using test::positionSignal;
using testing::ElementsAre;
using testing::IsEmpty;

class InputEngineTest : public testing::Test, public test::EngineScene {
 protected:
  std::string failureOf(AudioObjectID device) {
    try {
      InputEngine engine(services, device, 256);
    } catch (const AudioRouterError& error) {
      return error.message();
    }
    return "started";
  }

  void setRate(AudioObjectID device, PropertyValue rate) {
    SimulatedAnswer answer;
    answer.value = std::move(rate);
    hardware.setAnswer(device, globalAddress(kAudioDevicePropertyNominalSampleRate), answer);
  }
};

TEST_F(InputEngineTest, startsAndStopsInAFixedOrder) {
  const AudioObjectID device = hardware.addDevice(inputDevice("Microphone"));
  hardware.journal().keepReads({kAudioDevicePropertyNominalSampleRate, kAudioDevicePropertyStreamConfiguration});
  InputEngine engine(services, device, 256);
  EXPECT_THAT(takeJournal(), ElementsAre("propertyData Microphone nsrt", "propertyDataSize Microphone slay inpt",
                                         "propertyData Microphone slay inpt", "setPropertyData Microphone fsiz = 256",
                                         "createIOProc Microphone on com.brindlemux.input-io -> proc1",
                                         "startDevice Microphone proc1"));
  engine.stop();
  EXPECT_THAT(takeJournal(), ElementsAre("stopDevice Microphone proc1", "destroyIOProc Microphone proc1"));
  engine.stop();
  EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(InputEngineTest, destructorStops) {
  const AudioObjectID device = hardware.addDevice(inputDevice("Microphone"));
  { InputEngine engine(services, device, 256); }
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

TEST_F(InputEngineTest, ringHasTheDevicesChannelsUpToSixteen) {
  EXPECT_EQ(InputEngine(services, hardware.addDevice(inputDevice("Six", 6)), 256).ring()->channels(), 6);
  EXPECT_EQ(InputEngine(services, hardware.addDevice(inputDevice("Many", 24)), 256).ring()->channels(), 16);
  EXPECT_EQ(InputEngine(services, hardware.addDevice(inputDevice("One", 1)), 256).ring()->capacity(), 96000);
}

TEST_F(InputEngineTest, captureReachesTheRing) {
  SimulatedDevice device = inputDevice("Microphone", 0, positionSignal);
  device.inputBuffers = {1, 1, 2};
  InputEngine engine(services, hardware.addDevice(device), 256);
  hardware.advance(256);
  ASSERT_EQ(engine.ring()->head(), 256);
  for (std::int64_t channel = 0; channel < 4; ++channel) {
    const auto samples = test::firstFrames(*engine.ring(), channel, 256);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      ASSERT_EQ(samples[i], positionSignal(static_cast<std::int64_t>(i), static_cast<std::uint32_t>(channel)));
    }
  }
}

// 4410 frames at 44100 Hz (0.1 s, less the unfinished block) reach the ring as 48000 Hz.
TEST_F(InputEngineTest, otherRateIsConverted) {
  SimulatedDevice device = inputDevice("Microphone", 1, [](std::int64_t frame, std::uint32_t) {
    return static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 997 * static_cast<double>(frame) / 44100));
  });
  device.nominalSampleRateHz = 44100;
  InputEngine engine(services, hardware.addDevice(device), 441);
  hardware.advance(2400);
  // 5 blocks: 2205 frames at 44100 Hz, of which 96 are still looked ahead at.
  EXPECT_NEAR(static_cast<double>(engine.ring()->head()), (2205.0 - 96.0) * 48000 / 44100, 2);
  const auto samples = test::firstFrames(*engine.ring(), 0, engine.ring()->head());
  EXPECT_GT(test::sineSignalToNoise(std::span(samples).subspan(300), 997, 48000), 120);
}

TEST_F(InputEngineTest, unknownRateFailsBeforeAnythingIsChanged) {
  const AudioObjectID device = hardware.addDevice(inputDevice("Microphone"));
  for (const PropertyValue& rate :
       {PropertyValue(0.0), PropertyValue(-1.0), PropertyValue(std::nan("")), PropertyValue(std::string("48000"))}) {
    setRate(device, rate);
    EXPECT_EQ(failureOf(device), "Could not determine device sample rate");
  }
  EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(InputEngineTest, deviceWithoutInputFails) {
  EXPECT_EQ(failureOf(hardware.addDevice(outputDevice("Speakers"))), "Device has no input channels");
  EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(InputEngineTest, impossibleFormatFails) {
  const AudioObjectID device = hardware.addDevice(inputDevice("Microphone"));
  setRate(device, std::numeric_limits<double>::infinity());
  EXPECT_EQ(failureOf(device), "Failed to prepare input buffer");
  EXPECT_THAT(takeJournal(), ElementsAre("setPropertyData Microphone fsiz = 256"));
}

TEST_F(InputEngineTest, refusedBufferSizeIsNoFailure) {
  const AudioObjectID device = hardware.addDevice(inputDevice("Microphone"));
  hardware.journal().failNext("setPropertyData Microphone fsiz", -50);
  EXPECT_EQ(failureOf(device), "started");
}

TEST_F(InputEngineTest, failingProcedureFails) {
  const AudioObjectID device = hardware.addDevice(inputDevice("Microphone"));
  hardware.journal().failNext("createIOProc", -50);
  EXPECT_EQ(failureOf(device), "Creating input IOProc failed (OSStatus -50)");
  EXPECT_THAT(takeJournal(), ElementsAre("setPropertyData Microphone fsiz = 256",
                                         "createIOProc Microphone on com.brindlemux.input-io ! -50"));
}

TEST_F(InputEngineTest, failingStartDestroysTheProcedure) {
  const AudioObjectID device = hardware.addDevice(inputDevice("Microphone"));
  hardware.journal().failNext("startDevice", -66);
  EXPECT_EQ(failureOf(device), "Starting input failed (OSStatus -66)");
  EXPECT_THAT(takeJournal(), ElementsAre("setPropertyData Microphone fsiz = 256",
                                         "createIOProc Microphone on com.brindlemux.input-io -> proc1",
                                         "startDevice Microphone proc1 ! -66", "destroyIOProc Microphone proc1"));
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

TEST_F(InputEngineTest, ringOutlivesTheCapture) {
  auto engine = std::make_unique<InputEngine>(services, hardware.addDevice(inputDevice("Microphone")), 256);
  hardware.advance(256);
  const std::shared_ptr<SourceRing> ring = engine->ring();
  engine = nullptr;
  hardware.advance(256);
  EXPECT_EQ(ring->head(), 256);
}

TEST(CapturePath, takingNeverAllocatesOrBlocks) {
  for (const double rate : {48000.0, 44100.0}) {
    CapturePath path(*standardFloatFormat(rate, 16), std::make_shared<SourceRing>(16, captureRingFrames));
    std::vector<float> samples(512 * 16, 0.5F);
    const AudioBuffer buffer = {16, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()};
    EXPECT_EQ(test::countedInRealtime([&] {
                for (int cycle = 0; cycle < 10; ++cycle) path.take({&buffer, 1});
              }),
              test::RealtimeCounts{});
  }
}

}  // namespace
}  // namespace brindlemux
