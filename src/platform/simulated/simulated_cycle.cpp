#include "platform/simulated/simulated_cycle.h"

#include <algorithm>
#include <numeric>

namespace brindlemux {
namespace {

std::size_t channelCount(const std::vector<std::uint32_t>& buffers) {
  return std::accumulate(buffers.begin(), buffers.end(), std::size_t{0});
}

void clear(SimulatedCycle::Block& block, std::size_t channels, std::int64_t frames) {
  block.resize(channels);
  for (std::vector<float>& channel : block) channel.assign(static_cast<std::size_t>(frames), 0.0F);
}

void addSignal(std::span<std::vector<float>> block, const SimulatedSignal& signal, std::int64_t position) {
  if (!signal) return;
  for (std::size_t channel = 0; channel < block.size(); ++channel) {
    std::int64_t frame = position;
    for (float& sample : block[channel]) sample += signal(frame++, static_cast<std::uint32_t>(channel));
  }
}

}  // namespace

void SimulatedCycle::take(const SimulatedObjects& objects, const SimulatedIO& io, AudioObjectID object,
                          std::int64_t position, std::int64_t frames) {
  position_ = position;
  frames_ = frames;
  outputChannels_ = 0;
  inputKind_ = SimulatedInput::signal;
  inputBuffers_.clear();
  units_.clear();
  played_.clear();
  heard_.clear();
  procs_.clear();
  for (const auto& [id, proc] : io.procs()) {
    if (proc.running && proc.device == object) procs_.push_back(proc.block);
  }
  if (const SimulatedDevice* device = objects.device(object)) {
    takeDevice(objects, io, object, *device);
  } else if (const SimulatedAggregate* aggregate = objects.aggregate(object)) {
    for (const AudioObjectID tap : aggregate->taps) {
      if (const TapDescription* description = objects.tap(tap)) takeTap(objects, *description);
    }
  }
}

void SimulatedCycle::takeDevice(const SimulatedObjects& objects, const SimulatedIO& io, AudioObjectID id,
                                const SimulatedDevice& device) {
  outputChannels_ = channelCount(device.outputBuffers);
  inputKind_ = device.inputKind;
  inputBuffers_ = device.inputBuffers;
  if (inputKind_ == SimulatedInput::signal) heard_.push_back({device.input});
  for (const auto& [unitID, unit] : io.units()) {
    const bool plays = unit.running && unit.outputEnabled && unit.device == id && unit.callback != nullptr;
    if (plays) units_.push_back({unit.callback, unit.format.channelsPerFrame});
  }
  for (const auto& [processID, process] : objects.processes()) {
    if (process.isPlaying && device.uid && process.outputUID == *device.uid) played_.push_back(process.audio);
  }
}

void SimulatedCycle::takeTap(const SimulatedObjects& objects, const TapDescription& tap) {
  const std::vector<std::uint32_t> buffers = objects.tapBuffers();
  inputBuffers_.insert(inputBuffers_.end(), buffers.begin(), buffers.end());
  std::vector<SimulatedSignal>& signals = heard_.emplace_back();
  for (const auto& [id, process] : objects.processes()) {
    const bool listed = std::find(tap.processes.begin(), tap.processes.end(), id) != tap.processes.end();
    const bool heard = listed == (tap.selection == TapDescription::Selection::only);
    if (heard && process.isPlaying) signals.push_back(process.audio);
  }
}

void SimulatedCycle::run(const CallbackRunner& runner) {
  clear(output_, outputChannels_, frames_);
  for (const Unit& unit : units_) addUnit(unit, runner);
  for (const SimulatedSignal& signal : played_) addSignal(output_, signal, position_);
  if (procs_.empty()) return;
  fillInput();
  deliverInput(runner);
}

void SimulatedCycle::addUnit(const Unit& unit, const CallbackRunner& runner) {
  const std::size_t channels = unit.channels;
  interleaved_.assign(channels * static_cast<std::size_t>(frames_), 0.0F);
  const AudioBuffer buffer = {unit.channels, static_cast<std::uint32_t>(interleaved_.size() * sizeof(float)),
                              interleaved_.data()};
  OSStatus status = kAudioHardwareNotRunningError;
  unit.callback->pass([&](const RenderCallback& callback) {
    runner([&] { status = callback({&buffer, 1}, static_cast<std::uint32_t>(frames_)); });
  });
  if (status != noErr) return;
  for (std::size_t channel = 0; channel < std::min(channels, output_.size()); ++channel) {
    const float* sample = interleaved_.data() + channel;
    for (float& mixed : output_[channel]) {
      mixed += *sample;
      sample += channels;
    }
  }
}

void SimulatedCycle::fillInput() {
  clear(input_, channelCount(inputBuffers_), frames_);
  if (inputKind_ == SimulatedInput::loopback) {
    std::copy_n(output_.begin(), std::min(input_.size(), output_.size()), input_.begin());
    return;
  }
  if (heard_.empty()) return;
  const std::size_t channelsEach = input_.size() / heard_.size();
  for (std::size_t i = 0; i < heard_.size(); ++i) {
    for (const SimulatedSignal& signal : heard_[i]) {
      addSignal(std::span(input_).subspan(i * channelsEach, channelsEach), signal, position_);
    }
  }
}

void SimulatedCycle::deliverInput(const CallbackRunner& runner) {
  interleaved_.resize(input_.size() * static_cast<std::size_t>(frames_));
  std::vector<AudioBuffer> buffers;
  float* write = interleaved_.data();
  std::size_t firstChannel = 0;
  for (const std::uint32_t channels : inputBuffers_) {
    buffers.push_back(
        {channels, static_cast<std::uint32_t>(static_cast<std::size_t>(frames_) * channels * sizeof(float)), write});
    for (std::size_t frame = 0; frame < static_cast<std::size_t>(frames_); ++frame) {
      for (std::size_t channel = 0; channel < channels; ++channel) {
        *write++ = input_[firstChannel + channel][frame];
      }
    }
    firstChannel += channels;
  }
  for (const auto& proc : procs_) {
    proc->pass([&](const IOBlock& block) { runner([&] { block(buffers); }); });
  }
}

}  // namespace brindlemux
