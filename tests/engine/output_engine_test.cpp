#include "engine/output_engine.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numbers>
#include <ostream>
#include <random>

#include "engine/planar_buffer.h"
#include "engine/sample_rate_converter.h"
#include "platform/audio_router_error.h"
#include "support/engine_scene.h"
#include "support/realtime_guard.h"
#include "support/sine_fit.h"

namespace brindlemux {
namespace {

using test::outputDevice;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A render function that plays a sine of 997 Hz at 48000 Hz, inverted on odd channels, and notes what it was asked
/// for.
struct Player {
  std::vector<std::int64_t> calls;
  std::int64_t position = 0;
  bool wasCleared = true;

  RenderFunction function() {
    calls.reserve(10000);
    return [this](std::span<float* const> buffers, std::int64_t frames) {
      calls.push_back(frames);
      for (std::size_t channel = 0; channel < buffers.size(); ++channel) {
        for (std::int64_t frame = 0; frame < frames; ++frame) {
          float& sample = buffers[channel][frame];
          wasCleared = wasCleared && sample == 0;
          sample += sampleAt(position + frame, channel);
        }
      }
      position += frames;
    };
  }

  static float sampleAt(std::int64_t frame, std::size_t channel) {
    const double phase = 2 * std::numbers::pi * 997 * static_cast<double>(frame) / 48000;
    return static_cast<float>((channel % 2 == 0 ? 0.5 : -0.5) * std::sin(phase));
  }
};

class OutputEngineTest : public testing::Test, public test::EngineScene {
 protected:
  Player player;

  AudioObjectID addDevice(double rateHz, SampleRatePolicy policy, int polls = 0) {
    SimulatedDevice device = outputDevice("Speakers");
    device.nominalSampleRateHz = rateHz;
    device.ratePolicy = policy;
    device.pollsUntilAccepted = polls;
    return hardware.addDevice(device);
  }

  std::unique_ptr<OutputEngine> start(AudioObjectID device, std::int64_t channels = 2) {
    return std::make_unique<OutputEngine>(services, device, channels, 256, player.function());
  }

  std::string failureOf(AudioObjectID device) {
    try {
      start(device);
    } catch (const AudioRouterError& error) {
      return error.message();
    }
    return "started";
  }

  /// One callback on a device buffer of `capacityFrames` frames that holds 9 everywhere.
  static std::vector<float> render(OutputEngine& engine, std::uint32_t frames, std::int64_t capacityFrames) {
    std::vector<float> samples(static_cast<std::size_t>(engine.channels() * capacityFrames), 9.0F);
    const AudioBuffer buffer = {static_cast<std::uint32_t>(engine.channels()),
                                static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()};
    EXPECT_EQ(engine.performRender({&buffer, 1}, frames), noErr);
    return samples;
  }

  static std::vector<float> render(OutputEngine& engine, std::uint32_t frames) {
    return render(engine, frames, frames);
  }

  static std::vector<float> channel(const std::vector<float>& interleaved, std::size_t channel, std::size_t channels) {
    std::vector<float> samples;
    for (std::size_t i = channel; i < interleaved.size(); i += channels) samples.push_back(interleaved[i]);
    return samples;
  }
};

// Construction.

TEST_F(OutputEngineTest, startsAndStopsInAFixedOrder) {
  const AudioObjectID device = hardware.addDevice(outputDevice("Speakers"));
  hardware.journal().keepReads({kAudioDevicePropertyNominalSampleRate, kAudioUnitType_Output});
  const auto engine = start(device);
  EXPECT_THAT(
      takeJournal(),
      ElementsAre("propertyData Speakers nsrt", "setPropertyData Speakers fsiz = 256", "findComponent auou ahal appl",
                  "createAudioUnit 1 -> unit1", "setAudioUnitProperty unit1 EnableIO input 1 = 0",
                  "setAudioUnitProperty unit1 EnableIO output 0 = 1",
                  "setAudioUnitProperty unit1 CurrentDevice global 0 = Speakers",
                  "setAudioUnitProperty unit1 StreamFormat input 0 = lpcm flags 9, 48000 Hz, 2 channels, "
                  "32 bits, 8 bytes/frame, 8 bytes/packet, 1 frames/packet",
                  "setAudioUnitProperty unit1 SetRenderCallback input 0 = callback", "initializeAudioUnit unit1",
                  "startOutputUnit unit1"));
  engine->stop();
  EXPECT_THAT(takeJournal(),
              ElementsAre("stopOutputUnit unit1", "uninitializeAudioUnit unit1", "disposeAudioUnit unit1"));
  engine->stop();
  EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(OutputEngineTest, destructorStops) {
  start(hardware.addDevice(outputDevice("Speakers"))).reset();
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

TEST_F(OutputEngineTest, stoppedEngineIsNeverCalledAgain) {
  const AudioObjectID device = hardware.addDevice(outputDevice("Speakers"));
  const auto engine = start(device);
  hardware.advance(256);
  EXPECT_THAT(player.calls, ElementsAre(256));
  engine->stop();
  hardware.advance(2560);
  EXPECT_THAT(player.calls, ElementsAre(256));
}

TEST_F(OutputEngineTest, channelsAreClampedToOneToSixteen) {
  const AudioObjectID device = hardware.addDevice(outputDevice("Speakers"));
  EXPECT_EQ(start(device, -3)->channels(), 1);
  EXPECT_EQ(start(device, 0)->channels(), 1);
  EXPECT_EQ(start(device, 16)->channels(), 16);
  EXPECT_EQ(start(device, 40)->channels(), 16);
}

TEST_F(OutputEngineTest, deviceAtAnotherRateIsSwitched) {
  const AudioObjectID device = addDevice(44100, SampleRatePolicy::accepts);
  hardware.journal().keepReads({kAudioDevicePropertyNominalSampleRate});
  const auto engine = start(device);
  const auto lines = takeJournal();
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 4),
              ElementsAre("propertyData Speakers nsrt", "setPropertyData Speakers nsrt = 48000",
                          "propertyData Speakers nsrt", "setPropertyData Speakers fsiz = 256"));
  EXPECT_EQ(clock.sleeps(), 1);
  EXPECT_EQ(clock.slept(), std::chrono::milliseconds(20));
  render(*engine, 512);
  EXPECT_THAT(player.calls, ElementsAre(512));
}

TEST_F(OutputEngineTest, deviceThatAcceptsAfterSeveralPollsIsUsedWithoutConversion) {
  const auto engine = start(addDevice(44100, SampleRatePolicy::acceptsAfterPolls, 7));
  EXPECT_EQ(clock.sleeps(), 7);
  render(*engine, 512);
  EXPECT_THAT(player.calls, ElementsAre(512));
}

TEST_F(OutputEngineTest, deviceThatAcceptsAtTheLastPollIsUsedWithoutConversion) {
  const auto engine = start(addDevice(44100, SampleRatePolicy::acceptsAfterPolls, 50));
  EXPECT_EQ(clock.sleeps(), 50);
  render(*engine, 512);
  EXPECT_THAT(player.calls, ElementsAre(512));
}

TEST_F(OutputEngineTest, deviceThatAcceptsTooLateIsConverted) {
  start(addDevice(44100, SampleRatePolicy::acceptsAfterPolls, 51));
  EXPECT_EQ(clock.sleeps(), 50);
  EXPECT_EQ(clock.slept(), std::chrono::seconds(1));
  EXPECT_THAT(takeJournal(), testing::Contains(HasSubstr("StreamFormat input 0 = lpcm flags 9, 44100 Hz")));
}

TEST_F(OutputEngineTest, deviceThatRefusesTheRateIsPolledAndConverted) {
  start(addDevice(96000, SampleRatePolicy::refuses));
  EXPECT_EQ(clock.sleeps(), 50);
  const auto lines = takeJournal();
  EXPECT_THAT(lines.front(), HasSubstr("setPropertyData Speakers nsrt = 48000 ! "));
  EXPECT_THAT(lines, testing::Contains(HasSubstr("StreamFormat input 0 = lpcm flags 9, 96000 Hz")));
}

// The rate that counts is the last one read, whatever it was at first.
TEST_F(OutputEngineTest, deviceThatSettlesOnAThirdRateIsConvertedToThat) {
  const AudioObjectID device = addDevice(44100, SampleRatePolicy::fixed);
  class SettlingClock final : public Clock {
   public:
    explicit SettlingClock(std::function<void()> settle) : settle_(std::move(settle)) {}
    double secondsSince1970() const override { return 0; }
    void sleep(std::chrono::milliseconds) override {
      if (++sleeps == 10) settle_();
    }
    int sleeps = 0;

   private:
    std::function<void()> settle_;
  } settling([&] { hardware.device(device).nominalSampleRateHz = 88200; });
  const OutputEngine engine({hardware, discovery, settling, uuids}, device, 2, 256, player.function());
  EXPECT_EQ(settling.sleeps, 50);
  EXPECT_THAT(takeJournal(), testing::Contains(HasSubstr("StreamFormat input 0 = lpcm flags 9, 88200 Hz")));
}

TEST_F(OutputEngineTest, rateThatIsNotPositiveCountsAsTheEngines) {
  const AudioObjectID device = hardware.addDevice(outputDevice("Speakers"));
  for (const PropertyValue& rate :
       {PropertyValue(0.0), PropertyValue(-1.0), PropertyValue(std::nan("")), PropertyValue(7U)}) {
    SimulatedAnswer answer;
    answer.value = rate;
    hardware.setAnswer(device, globalAddress(kAudioDevicePropertyNominalSampleRate), answer);
    takeJournal();
    start(device);
    EXPECT_THAT(takeJournal(), testing::Contains(HasSubstr("StreamFormat input 0 = lpcm flags 9, 48000 Hz")));
  }
}

TEST_F(OutputEngineTest, rateThatCannotBeConvertedFailsBeforeAUnitIsMade) {
  EXPECT_EQ(failureOf(addDevice(100, SampleRatePolicy::fixed)),
            "Device runs at 100 Hz and 48 kHz conversion setup failed");
  // A fraction of a hertz is cut off.
  EXPECT_EQ(failureOf(addDevice(100.75, SampleRatePolicy::fixed)),
            "Device runs at 100 Hz and 48 kHz conversion setup failed");
  EXPECT_THAT(takeJournal(), testing::Not(testing::Contains(HasSubstr("createAudioUnit"))));
}

TEST_F(OutputEngineTest, missingComponentFails) {
  const AudioObjectID device = hardware.addDevice(outputDevice("Speakers"));
  hardware.journal().failNext("findComponent", -50);
  EXPECT_EQ(failureOf(device), "HAL output component not found");
  EXPECT_THAT(takeJournal(), ElementsAre("setPropertyData Speakers fsiz = 256"));
}

TEST_F(OutputEngineTest, successWithoutAUnitFails) {
  hardware.setUnitCreation(SimulatedAudioHardware::UnitCreation::succeedsWithoutUnit);
  EXPECT_EQ(failureOf(hardware.addDevice(outputDevice("Speakers"))), "Audio unit was not created");
  EXPECT_THAT(takeJournal(), ElementsAre("setPropertyData Speakers fsiz = 256", "createAudioUnit 1"));
}

TEST_F(OutputEngineTest, uncheckedStepsMayFail) {
  const AudioObjectID device = addDevice(44100, SampleRatePolicy::accepts);
  hardware.journal().failEvery("setPropertyData", -50);
  hardware.journal().failEvery("setAudioUnitProperty unit1 EnableIO", -50);
  EXPECT_EQ(failureOf(device), "started");
}

struct Step {
  std::string name;
  std::string call;
  std::string what;
  bool disposes;

  friend void PrintTo(const Step& step, std::ostream* stream) { *stream << step.call; }
};

class OutputEngineFailure : public OutputEngineTest, public testing::WithParamInterface<Step> {};

TEST_P(OutputEngineFailure, namesTheStepAndLeavesNothingBehind) {
  const AudioObjectID device = hardware.addDevice(outputDevice("Speakers"));
  hardware.journal().failNext(GetParam().call, -50);
  EXPECT_EQ(failureOf(device), GetParam().what + " failed (OSStatus -50)");
  EXPECT_EQ(hardware.journal().pendingFaults(), 0U);
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  const auto lines = takeJournal();
  if (GetParam().disposes) {
    EXPECT_EQ(lines.back(), "disposeAudioUnit unit1");
    EXPECT_THAT(lines[lines.size() - 2], HasSubstr(" ! -50"));
  } else {
    EXPECT_THAT(lines.back(), HasSubstr(" ! -50"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Steps, OutputEngineFailure,
    testing::Values(Step{"create", "createAudioUnit", "Creating audio unit", false},
                    Step{"device", "setAudioUnitProperty unit1 CurrentDevice", "Setting output device", true},
                    Step{"format", "setAudioUnitProperty unit1 StreamFormat", "Setting client format", true},
                    Step{"callback", "setAudioUnitProperty unit1 SetRenderCallback", "Setting render callback", true},
                    Step{"initialize", "initializeAudioUnit", "Initializing audio unit", true},
                    Step{"start", "startOutputUnit", "Starting audio unit", true}),
    [](const auto& instance) { return instance.param.name; });

// Rendering without conversion.

TEST_F(OutputEngineTest, channelsAreInterleavedAndTheRestIsSilent) {
  const auto engine = start(hardware.addDevice(outputDevice("Speakers")), 3);
  const auto samples = render(*engine, 4, 6);
  for (std::size_t frame = 0; frame < 4; ++frame) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      EXPECT_EQ(samples[3 * frame + channel], Player::sampleAt(static_cast<std::int64_t>(frame), channel));
    }
  }
  EXPECT_THAT(std::vector(samples.begin() + 12, samples.end()), Each(0.0F));
}

TEST_F(OutputEngineTest, buffersAreClearedForEveryCallback) {
  const auto engine = start(hardware.addDevice(outputDevice("Speakers")));
  for (const std::uint32_t frames : {512U, 64U, 512U}) render(*engine, frames);
  EXPECT_TRUE(player.wasCleared);
}

TEST_F(OutputEngineTest, longCallbackRenders8192FramesAndLeavesTheRestSilent) {
  const auto engine = start(hardware.addDevice(outputDevice("Speakers")));
  const auto samples = render(*engine, 10000);
  EXPECT_THAT(player.calls, ElementsAre(8192));
  EXPECT_EQ(samples[2 * 8191], Player::sampleAt(8191, 0));
  EXPECT_THAT(std::vector(samples.begin() + 2 * 8192, samples.end()), Each(0.0F));
}

TEST_F(OutputEngineTest, callbackForNoFramesClearsTheBufferOnly) {
  const auto engine = start(hardware.addDevice(outputDevice("Speakers")));
  EXPECT_THAT(render(*engine, 0, 4), Each(0.0F));
  EXPECT_THAT(player.calls, IsEmpty());
}

TEST_F(OutputEngineTest, callbackWithoutABufferRendersNothing) {
  const auto engine = start(hardware.addDevice(outputDevice("Speakers")));
  EXPECT_EQ(engine->performRender({}, 512), noErr);
  const AudioBuffer missing = {2, 4096, nullptr};
  EXPECT_EQ(engine->performRender({&missing, 1}, 512), noErr);
  EXPECT_THAT(player.calls, IsEmpty());
}

TEST_F(OutputEngineTest, bufferThatIsTooShortIsNotOverrun) {
  const auto engine = start(hardware.addDevice(outputDevice("Speakers")));
  const auto samples = render(*engine, 512, 100);
  EXPECT_THAT(player.calls, ElementsAre(100));
  EXPECT_EQ(samples.size(), 200U);
}

// Rendering with conversion. 48000 / 44100 = 1.08843...

// ceil(1.08843 * 512) + 64 = 558 + 64 = 622, in the first callback as in every other: the filter looks ahead into
// silence.
TEST_F(OutputEngineTest, conversionPullsNoMoreThanItsBudget) {
  const auto engine = start(addDevice(44100, SampleRatePolicy::fixed));
  render(*engine, 512);
  EXPECT_THAT(player.calls, ElementsAre(622));
}

// The filter needs a few frames more than it began with, about 4, and (622 - 4) / 1.08843 - 512 = 55.8 are carried.
TEST_F(OutputEngineTest, carriedFramesAreDeliveredBeforeAnythingIsRendered) {
  const auto engine = start(addDevice(44100, SampleRatePolicy::fixed));
  render(*engine, 512);
  player.calls.clear();
  render(*engine, 32);
  EXPECT_THAT(player.calls, IsEmpty());
  render(*engine, 32);
  ASSERT_EQ(player.calls.size(), 1U);
  // About 55.8 - 32 = 23.8 are left, 8.2 are needed: ceil(1.08843 * 8.2) + 64 = 73.
  EXPECT_NEAR(static_cast<double>(player.calls[0]), 73, 2);
}

// At a sixth of the rate the filter looks 576 frames ahead, far more than the 6 + 64 that one frame may pull.
TEST_F(OutputEngineTest, shortFirstCallbackPullsItsBudgetOnce) {
  const auto engine = start(addDevice(8000, SampleRatePolicy::fixed));
  render(*engine, 1);
  EXPECT_THAT(player.calls, ElementsAre(70));
}

TEST_F(OutputEngineTest, longConvertedCallbackRenders8192FramesAndLeavesTheRestSilent) {
  const auto engine = start(addDevice(44100, SampleRatePolicy::fixed));
  const auto samples = render(*engine, 10000);
  EXPECT_NE(samples[2 * 8191], 0.0F);
  EXPECT_THAT(std::vector(samples.begin() + 2 * 8192, samples.end()), Each(0.0F));
  // No pull is longer than a buffer: ceil(1.08843 * 8192) + 64 = 8981 come in two.
  ASSERT_GE(player.calls.size(), 2U);
  EXPECT_EQ(player.calls[0], 8192);
  EXPECT_LE(player.calls[1], 8981 - 8192);
}

class OutputEngineConversion : public OutputEngineTest, public testing::WithParamInterface<double> {};

// Whatever the callbacks' sizes, the device hears the 48 kHz stream converted in one piece, after as much silence as
// the filter looks ahead.
TEST_P(OutputEngineConversion, nothingIsLostOrRepeatedBetweenCallbacks) {
  const double rateHz = GetParam();
  const auto engine = start(addDevice(rateHz, SampleRatePolicy::fixed));
  std::mt19937 random(7);
  std::vector<float> heard;
  for (int callback = 0; callback < 300; ++callback) {
    const auto frames = std::uniform_int_distribution<std::uint32_t>(1, 1500)(random);
    const auto block = channel(render(*engine, frames), 0, 2);
    heard.insert(heard.end(), block.begin(), block.end());
  }

  class Stream final : public ConverterSource {
   public:
    ConverterInput pull(std::int64_t frames) noexcept override {
      const std::int64_t count = std::min<std::int64_t>(frames, std::ssize(samples_));
      for (std::int64_t i = 0; i < count; ++i) {
        samples_[static_cast<std::size_t>(i)] = position_ + i < 0 ? 0.0F : Player::sampleAt(position_ + i, 0);
      }
      position_ += count;
      return {.channels = pointers_, .frames = count};
    }

    explicit Stream(std::int64_t silence) : position_(-silence) {}

   private:
    std::vector<float> samples_ = std::vector<float>(4096);
    std::array<const float*, 1> pointers_{samples_.data()};
    std::int64_t position_;
  };
  Stream stream(SampleRateConverter::lookAheadFrames(48000, rateHz));
  const auto converter = SampleRateConverter::make(48000, rateHz, 1);
  PlanarBuffer expected(1, std::ssize(heard));
  ASSERT_EQ(converter->convert(stream, expected.channels(), std::ssize(heard)), std::ssize(heard));
  for (std::size_t i = 0; i < heard.size(); ++i) ASSERT_NEAR(heard[i], expected.channel(0)[i], 1e-6F) << i;
}

INSTANTIATE_TEST_SUITE_P(Rates, OutputEngineConversion, testing::Values(44100, 96000, 192000, 32000, 16000, 44056));

TEST_F(OutputEngineTest, convertedSineStaysClean) {
  const AudioObjectID device = addDevice(44100, SampleRatePolicy::fixed);
  const auto engine = start(device);
  hardware.advance(48000 * 2);
  const auto output = hardware.takeOutput(device);
  // 2 s at 44100 Hz in whole blocks of 256 frames: 344 blocks.
  ASSERT_EQ(output[0].size(), 344U * 256U);
  EXPECT_GT(test::sineSignalToNoise(std::span(output[0]).subspan(4410), 997, 44100), 120);
  EXPECT_GT(test::sineSignalToNoise(std::span(output[1]).subspan(4410), 997, 44100), 120);
}

// Real time.

TEST_F(OutputEngineTest, renderingNeverAllocatesOrBlocks) {
  const RenderFunction ramp = [](std::span<float* const> buffers, std::int64_t frames) {
    for (float* buffer : buffers) std::fill_n(buffer, frames, 0.5F);
  };
  for (const double rateHz : {48000.0, 44100.0, 192000.0}) {
    SimulatedDevice device = outputDevice("Speakers");
    device.nominalSampleRateHz = rateHz;
    device.ratePolicy = SampleRatePolicy::fixed;
    OutputEngine engine(services, hardware.addDevice(device), 16, 256, ramp);
    std::vector<float> samples(10000 * 16);
    const AudioBuffer buffer = {16, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()};
    EXPECT_EQ(test::countedInRealtime([&] {
                for (const std::uint32_t frames : {512U, 1U, 10000U, 64U}) engine.performRender({&buffer, 1}, frames);
              }),
              test::RealtimeCounts{});
  }
}

}  // namespace
}  // namespace brindlemux
