#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/simulated/simulated_signal.h"

namespace brindlemux {

/// What a simulated device does when it is told to run at another rate.
enum class SampleRatePolicy {
  accepts,            ///< runs at the rate at once
  acceptsAfterPolls,  ///< runs at it once its rate has been read `pollsUntilAccepted` times
  fixed,              ///< answers success and keeps its rate
  refuses             ///< answers a failure and keeps its rate
};

/// Where a simulated device's input comes from.
enum class SimulatedInput {
  signal,   ///< its `input` signal; silence for none
  loopback  ///< what is played into it, in the same I/O cycle
};

/// One device of the simulated server.
struct SimulatedDevice {
  std::optional<std::string> uid;
  std::optional<std::string> name;
  std::vector<std::uint32_t> inputBuffers;   ///< channels of each buffer of an I/O cycle
  std::vector<std::uint32_t> outputBuffers;  ///< likewise
  double nominalSampleRateHz = 48000;
  SampleRatePolicy ratePolicy = SampleRatePolicy::accepts;
  int pollsUntilAccepted = 0;
  std::uint32_t bufferFrames = 512;
  /// The lengths of its I/O blocks, in turn and over again; none for blocks of `bufferFrames`. Each is at least 1.
  std::vector<std::uint32_t> blockPattern;
  double driftPPM = 0;  ///< how much faster its clock runs than virtual time, in millionths
  SimulatedInput inputKind = SimulatedInput::signal;
  SimulatedSignal input;
  bool recordsOutput = true;  ///< keeps everything that is played into it until it is taken
};

}  // namespace brindlemux
