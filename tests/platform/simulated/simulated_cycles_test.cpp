// The I/O cycles of the simulated server in virtual time: blocks, rates, drift, channels and buffers.
#include "platform/simulated/simulated_cycles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>
#include <ostream>

#include "support/hardware_client.h"
#include "support/simulated_scene.h"

namespace brindlemux {
namespace {

using test::inputDevice;
using test::interleavedFormat;
using test::loopbackDevice;
using test::outputDevice;
using test::playingProcess;
using test::positionSignal;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SimulatedCyclesTest : public testing::Test, public test::SimulatedScene {
 protected:
  /// Notes the length of every block that a device hands over, and checks that its frames follow one another.
  struct Listener {
    std::vector<std::uint32_t> blocks;
    std::int64_t next = 0;
    bool inOrder = true;

    void hear(AudioBufferList input) {
      const AudioBuffer& buffer = input.front();
      const std::uint32_t frames = buffer.byteSize / (4 * buffer.channels);
      blocks.push_back(frames);
      for (std::uint32_t frame = 0; frame < frames; ++frame) {
        inOrder = inOrder && buffer.data[frame * buffer.channels] == static_cast<float>(next++);
      }
    }
  };

  AudioDeviceIOProcID listen(AudioObjectID device, Listener& listener) {
    return test::startProc(hardware, device, [&listener](AudioBufferList input) { listener.hear(input); });
  }

  /// A tap of everything on an aggregate clocked by "Speakers".
  AudioObjectID addAggregate() {
    TapDescription description;
    description.uuid = uuids.next();
    description.selection = TapDescription::Selection::allExcept;
    return test::addTapAggregate(hardware, description);
  }
};

// Blocks.

TEST_F(SimulatedCyclesTest, blocksFollowThePatternOverAndOver) {
  SimulatedDevice device = inputDevice("Microphone", 1, positionSignal);
  device.blockPattern = {1, 104, 7};
  Listener listener;
  listen(hardware.addDevice(device), listener);
  hardware.advance(1 + 104 + 7 + 1 + 104);
  EXPECT_THAT(listener.blocks, ElementsAre(1, 104, 7, 1, 104));
  hardware.advance(6);
  EXPECT_THAT(listener.blocks, SizeIs(5));
  hardware.advance(1);
  EXPECT_THAT(listener.blocks, ElementsAre(1, 104, 7, 1, 104, 7));
  EXPECT_TRUE(listener.inOrder);
}

TEST_F(SimulatedCyclesTest, bufferSizeThatIsSetDoesNotChangeAPattern) {
  SimulatedDevice device = inputDevice("Microphone", 1, positionSignal);
  device.blockPattern = {30};
  const AudioObjectID id = hardware.addDevice(device);
  EXPECT_EQ(hardware.setPropertyData(id, globalAddress(kAudioDevicePropertyBufferFrameSize), 256U), noErr);
  Listener listener;
  listen(id, listener);
  hardware.advance(60);
  EXPECT_THAT(listener.blocks, ElementsAre(30, 30));
}

TEST_F(SimulatedCyclesTest, bufferSizeThatIsSetCountsAtOnce) {
  const AudioObjectID id = hardware.addDevice(inputDevice("Microphone", 1, positionSignal));
  Listener listener;
  listen(id, listener);
  hardware.advance(512);
  EXPECT_EQ(hardware.setPropertyData(id, globalAddress(kAudioDevicePropertyBufferFrameSize), 32U), noErr);
  hardware.advance(64);
  EXPECT_THAT(listener.blocks, ElementsAre(512, 32, 32));
  EXPECT_TRUE(listener.inOrder);
}

TEST_F(SimulatedCyclesTest, howTimeIsCutDoesNotChangeTheCycles) {
  SimulatedDevice device = inputDevice("Microphone", 1, positionSignal);
  device.nominalSampleRateHz = 44100;
  device.blockPattern = {940, 139, 1};
  Listener whole;
  Listener pieces;
  listen(hardware.addDevice(device), whole);
  hardware.advance(48000);
  SimulatedScene other;
  test::startProc(other.hardware, other.hardware.addDevice(device),
                  [&pieces](AudioBufferList input) { pieces.hear(input); });
  for (int piece = 0; piece < 480; ++piece) other.hardware.advance(100);
  EXPECT_EQ(whole.blocks, pieces.blocks);
  EXPECT_TRUE(whole.inOrder);
}

TEST_F(SimulatedCyclesTest, tapsHaveAPatternOfTheirOwn) {
  hardware.addDevice(outputDevice("Speakers"));
  hardware.addProcess(playingProcess(1, std::nullopt, positionSignal));
  hardware.setTapBlockPattern({3, 5});
  Listener listener;
  listen(addAggregate(), listener);
  hardware.advance(11);
  EXPECT_THAT(listener.blocks, ElementsAre(3, 5, 3));
  EXPECT_TRUE(listener.inOrder);
}

TEST_F(SimulatedCyclesTest, blockWithoutFramesIsFatal) {
  SimulatedDevice device = inputDevice("Microphone", 1);
  device.blockPattern = {0};
  Listener listener;
  listen(hardware.addDevice(device), listener);
  EXPECT_DEATH(hardware.advance(1), "block without frames");
}

// Rates and drift.

struct Rate {
  double hertz;
  double driftPPM;
  std::int64_t framesInTenSeconds;

  friend void PrintTo(const Rate& rate, std::ostream* stream) {
    *stream << rate.hertz << " Hz and " << rate.driftPPM << " ppm";
  }
};

class SimulatedCyclesRate : public SimulatedCyclesTest, public testing::WithParamInterface<Rate> {};

TEST_P(SimulatedCyclesRate, setsTheFramesOfTenSeconds) {
  SimulatedDevice device = inputDevice("Microphone", 1, positionSignal);
  device.nominalSampleRateHz = GetParam().hertz;
  device.driftPPM = GetParam().driftPPM;
  device.blockPattern = {10};
  Listener listener;
  listen(hardware.addDevice(device), listener);
  hardware.advance(480000);
  EXPECT_EQ(listener.next, GetParam().framesInTenSeconds);
  EXPECT_TRUE(listener.inOrder);
}

// In whole blocks of 10: 10 s at 48000 * (1 + 50e-6) are 480024 frames, at 44100 * (1 - 1000e-6) 440559.
INSTANTIATE_TEST_SUITE_P(Rates, SimulatedCyclesRate,
                         testing::Values(Rate{44100, 0, 441000}, Rate{48000, 0, 480000}, Rate{96000, 0, 960000},
                                         Rate{48000, 50, 480020}, Rate{48000, -50, 479970},
                                         Rate{44100, -1000, 440550}));

TEST_F(SimulatedCyclesTest, clockThatBeginsToDriftLosesNoFrame) {
  const AudioObjectID id = hardware.addDevice(inputDevice("Microphone", 1, positionSignal));
  Listener listener;
  listen(id, listener);
  for (const double driftPPM : {0.0, 2000.0, -3000.0}) {
    hardware.device(id).driftPPM = driftPPM;
    hardware.advance(512 * 100);
  }
  // 300 blocks at the middle of the three rates are 153600 frames: 51.2 more, 153.6 less, in whole blocks of 512.
  EXPECT_EQ(listener.next, 299 * 512);
  EXPECT_TRUE(listener.inOrder);
}

TEST_F(SimulatedCyclesTest, tapDriftsWithTheDeviceThatClocksIt) {
  SimulatedDevice speakers = outputDevice("Speakers");
  speakers.driftPPM = 10000;
  hardware.addDevice(speakers);
  hardware.setTapBlockPattern({10});
  Listener listener;
  listen(addAggregate(), listener);
  hardware.advance(48000);
  // 48000 * 1.01
  EXPECT_THAT(listener.blocks, SizeIs(4848));
}

// Channels and buffers.

TEST_F(SimulatedCyclesTest, inputOfAnyLayoutArrivesChannelByChannel) {
  const std::vector<std::vector<std::uint32_t>> layouts = {
      {1}, {2}, {1, 1}, {16}, {32}, std::vector<std::uint32_t>(32, 1), {2, 0, 1}, {8, 8}};
  for (const std::vector<std::uint32_t>& layout : layouts) {
    SimulatedDevice device = inputDevice("Microphone", 0, positionSignal);
    device.inputBuffers = layout;
    device.bufferFrames = 4;
    const AudioObjectID id = hardware.addDevice(device);
    std::vector<std::vector<float>> buffers;
    const std::int64_t first = hardware.now();
    test::startCapture(hardware, id, buffers);
    hardware.advance(4);
    ASSERT_EQ(buffers.size(), layout.size());
    std::uint32_t channel = 0;
    for (std::size_t buffer = 0; buffer < layout.size(); ++buffer) {
      ASSERT_EQ(buffers[buffer].size(), 4 * layout[buffer]);
      for (std::uint32_t i = 0; i < layout[buffer]; ++i, ++channel) {
        for (std::uint32_t frame = 0; frame < 4; ++frame) {
          ASSERT_EQ(buffers[buffer][frame * layout[buffer] + i], positionSignal(first + frame, channel));
        }
      }
    }
    hardware.removeDevice(id);
  }
}

TEST_F(SimulatedCyclesTest, deviceWithoutChannelsHasCyclesWithoutSound) {
  SimulatedDevice device = outputDevice("Nothing");
  device.outputBuffers = {};
  const AudioObjectID id = hardware.addDevice(device);
  int cycles = 0;
  test::startProc(hardware, id, [&cycles](AudioBufferList input) {
    EXPECT_TRUE(input.empty());
    ++cycles;
  });
  test::startConstant(hardware, id, 2, 0.5F);
  hardware.advance(1024);
  EXPECT_EQ(cycles, 2);
  EXPECT_THAT(hardware.takeOutput(id), IsEmpty());
}

TEST_F(SimulatedCyclesTest, outputInSeveralBuffersIsOneRowOfChannels) {
  SimulatedDevice device = outputDevice("Speakers");
  device.outputBuffers = {1, 1, 30};
  const AudioObjectID id = hardware.addDevice(device);
  test::startConstant(hardware, id, 16, 0.5F);
  hardware.advance(512);
  const auto output = hardware.takeOutput(id);
  ASSERT_EQ(output.size(), 32U);
  EXPECT_THAT(output[15], Each(0.5F));
  EXPECT_THAT(output[16], testing::AllOf(SizeIs(512), Each(0.0F)));
}

TEST_F(SimulatedCyclesTest, planarTapHandsOverABufferPerChannel) {
  hardware.addDevice(outputDevice("Speakers"));
  hardware.addProcess(playingProcess(1, std::nullopt, positionSignal));
  StreamFormat format = interleavedFormat(48000, 2);
  format.formatFlags |= kAudioFormatFlagIsNonInterleaved;
  format.bytesPerFrame = format.bytesPerPacket = 4;
  hardware.setTapFormat(format);
  hardware.setTapBlockPattern({2});
  const AudioObjectID aggregate = addAggregate();
  EXPECT_EQ(discovery.deviceChannelCount(aggregate, kAudioObjectPropertyScopeInput), 2);
  std::vector<std::vector<float>> buffers;
  test::startCapture(hardware, aggregate, buffers);
  hardware.advance(2);
  ASSERT_EQ(buffers.size(), 2U);
  EXPECT_THAT(buffers[0], ElementsAre(0, 1));
  EXPECT_THAT(buffers[1], ElementsAre(100000, 100001));
}

// Order.

TEST_F(SimulatedCyclesTest, capturesRunBeforeTheLoopBackAndThatBeforeOtherOutputs) {
  const AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  const AudioObjectID loopback = hardware.addDevice(loopbackDevice("Virtual"));
  const AudioObjectID microphone = hardware.addDevice(inputDevice("Microphone"));
  std::vector<std::string> order;
  const auto note = [&order](const char* name) {
    return [&order, name](auto&&...) {
      order.emplace_back(name);
      return noErr;
    };
  };
  test::startUnit(hardware, speakers, 2, note("speakers"));
  test::startUnit(hardware, loopback, 2, note("loop-back out"));
  test::startProc(hardware, loopback, note("loop-back in"));
  test::startProc(hardware, microphone, note("microphone"));
  hardware.advance(512);
  EXPECT_THAT(order, ElementsAre("microphone", "loop-back out", "loop-back in", "speakers"));
}

TEST_F(SimulatedCyclesTest, runnerRunsEveryCallback) {
  int calls = 0;
  hardware.setCallbackRunner([&calls](const std::function<void()>& callback) {
    ++calls;
    callback();
  });
  const AudioObjectID id = hardware.addDevice(loopbackDevice("Virtual"));
  std::vector<std::vector<float>> buffers;
  test::startCapture(hardware, id, buffers);
  test::startConstant(hardware, id, 2, 0.5F);
  hardware.advance(1024);
  EXPECT_EQ(calls, 4);
  EXPECT_THAT(buffers.at(0), testing::AllOf(SizeIs(2048), Each(0.5F)));
}

}  // namespace
}  // namespace brindlemux
