#include "platform/simulated/simulated_cycles.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace brindlemux {
namespace {

std::size_t channelCount(const std::vector<std::uint32_t>& buffers) {
  return std::accumulate(buffers.begin(), buffers.end(), std::size_t{0});
}

void clear(SimulatedCycles::Recording& block, std::size_t channels, std::int64_t frames) {
  block.assign(channels, std::vector<float>(static_cast<std::size_t>(frames), 0.0F));
}

void addSignal(SimulatedCycles::Recording& block, const SimulatedSignal& signal, std::int64_t position) {
  if (!signal) return;
  for (std::size_t channel = 0; channel < block.size(); ++channel) {
    std::int64_t frame = position;
    for (float& sample : block[channel]) sample += signal(frame++, static_cast<std::uint32_t>(channel));
  }
}

}  // namespace

void SimulatedCycles::advance(std::int64_t frames) {
  end_ += frames;
  while (true) {
    updateClocks();
    AudioObjectID next = kAudioObjectUnknown;
    for (const auto& [id, clock] : clocks_) {
      if (next == kAudioObjectUnknown ||
          std::pair(clock.due(), clock.rank) < std::pair(clocks_.at(next).due(), clocks_.at(next).rank)) {
        next = id;
      }
    }
    if (next == kAudioObjectUnknown || clocks_.at(next).due() > static_cast<double>(end_)) break;
    Clock& clock = clocks_.at(next);
    now_ = clock.due();
    const Clock cycle = clock;
    clock.position += clock.bufferFrames;
    runCycle(next, cycle);
  }
  now_ = static_cast<double>(end_);
}

SimulatedCycles::Recording SimulatedCycles::takeOutput(AudioObjectID device) {
  return std::exchange(recordings_[device], {});
}

void SimulatedCycles::deviceWasRemoved(AudioObjectID device) {
  clocks_.erase(device);
  recordings_.erase(device);
}

void SimulatedCycles::updateClocks() {
  for (const auto& [id, device] : objects_.devices()) updateClock(id, device.nominalSampleRateHz, device.bufferFrames);
  for (const auto& [id, aggregate] : objects_.aggregates()) {
    const bool clocked = objects_.device(objects_.deviceWithUID(aggregate.clockUID)) != nullptr;
    updateClock(id, clocked ? objects_.tapFormat().sampleRate : 0, aggregate.bufferFrames);
  }
}

void SimulatedCycles::updateClock(AudioObjectID object, double rateHz, std::uint32_t bufferFrames) {
  const bool active = rateHz > 0 && bufferFrames > 0 && (io_.hasRunningProc(object) || io_.hasRunningUnit(object));
  if (!active) {
    clocks_.erase(object);
    return;
  }
  const auto [entry, isNew] = clocks_.try_emplace(object);
  Clock& clock = entry->second;
  if (isNew || clock.rateHz != rateHz) {
    clock.rateHz = rateHz;
    clock.position = static_cast<std::int64_t>(std::floor(now_ * rateHz / 48000.0));
  }
  clock.bufferFrames = bufferFrames;
  clock.rank = rank(object);
}

int SimulatedCycles::rank(AudioObjectID object) {
  const SimulatedDevice* device = objects_.device(object);
  if (device == nullptr || !io_.hasRunningUnit(object)) return 0;
  return device->inputKind == SimulatedInput::loopback ? 1 : 2;
}

void SimulatedCycles::runCycle(AudioObjectID object, const Clock& clock) {
  const std::int64_t frames = clock.bufferFrames;
  if (const SimulatedDevice* device = objects_.device(object)) {
    renderOutput(object, *device, clock);
    fillInput(*device, clock);
    deliverInput(object, device->inputBuffers, frames);
  } else if (const SimulatedAggregate* aggregate = objects_.aggregate(object)) {
    const std::uint32_t channels = objects_.tapFormat().channelsPerFrame;
    const std::vector<std::uint32_t> buffers(aggregate->taps.size(), channels);
    clear(input_, 0, frames);
    for (const AudioObjectID tap : aggregate->taps) {
      if (const TapDescription* description = objects_.tap(tap)) fillTap(*description, clock);
    }
    deliverInput(object, buffers, frames);
  }
}

void SimulatedCycles::renderOutput(AudioObjectID id, const SimulatedDevice& device, const Clock& clock) {
  clear(output_, channelCount(device.outputBuffers), clock.bufferFrames);
  for (const auto& [unitID, unit] : io_.units()) {
    if (unit.running && unit.outputEnabled && unit.device == id) addUnit(unit, clock.bufferFrames);
  }
  addPlayingProcesses(device, clock);
  if (!device.recordsOutput) return;
  Recording& recording = recordings_[id];
  recording.resize(output_.size());
  for (std::size_t channel = 0; channel < output_.size(); ++channel) {
    recording[channel].insert(recording[channel].end(), output_[channel].begin(), output_[channel].end());
  }
}

void SimulatedCycles::addUnit(const SimulatedUnit& unit, std::int64_t frames) {
  if (!unit.callback) return;
  const std::size_t channels = unit.format.channelsPerFrame;
  interleaved_.assign(channels * static_cast<std::size_t>(frames), 0.0F);
  const AudioBuffer buffer = {unit.format.channelsPerFrame,
                              static_cast<std::uint32_t>(interleaved_.size() * sizeof(float)), interleaved_.data()};
  if (unit.callback({&buffer, 1}, static_cast<std::uint32_t>(frames)) != noErr) return;
  for (std::size_t channel = 0; channel < std::min(channels, output_.size()); ++channel) {
    const float* sample = interleaved_.data() + channel;
    for (float& mixed : output_[channel]) {
      mixed += *sample;
      sample += channels;
    }
  }
}

void SimulatedCycles::addPlayingProcesses(const SimulatedDevice& device, const Clock& clock) {
  for (const auto& [id, process] : objects_.processes()) {
    if (process.isPlaying && device.uid && process.outputUID == *device.uid) {
      addSignal(output_, process.audio, clock.position);
    }
  }
}

void SimulatedCycles::fillInput(const SimulatedDevice& device, const Clock& clock) {
  clear(input_, channelCount(device.inputBuffers), clock.bufferFrames);
  if (device.inputKind == SimulatedInput::signal) {
    addSignal(input_, device.input, clock.position);
    return;
  }
  std::copy_n(output_.begin(), std::min(input_.size(), output_.size()), input_.begin());
}

void SimulatedCycles::fillTap(const TapDescription& tap, const Clock& clock) {
  Recording mix;
  clear(mix, objects_.tapFormat().channelsPerFrame, clock.bufferFrames);
  for (const auto& [id, process] : objects_.processes()) {
    const bool listed = std::find(tap.processes.begin(), tap.processes.end(), id) != tap.processes.end();
    const bool heard = listed == (tap.selection == TapDescription::Selection::only);
    if (heard && process.isPlaying) addSignal(mix, process.audio, clock.position);
  }
  std::move(mix.begin(), mix.end(), std::back_inserter(input_));
}

void SimulatedCycles::deliverInput(AudioObjectID object, std::span<const std::uint32_t> channelsPerBuffer,
                                   std::int64_t frames) {
  if (!io_.hasRunningProc(object)) return;
  interleaved_.resize(input_.size() * static_cast<std::size_t>(frames));
  std::vector<AudioBuffer> buffers;
  float* write = interleaved_.data();
  std::size_t firstChannel = 0;
  for (const std::uint32_t channels : channelsPerBuffer) {
    buffers.push_back(
        {channels, static_cast<std::uint32_t>(static_cast<std::size_t>(frames) * channels * sizeof(float)), write});
    for (std::size_t frame = 0; frame < static_cast<std::size_t>(frames); ++frame) {
      for (std::size_t channel = 0; channel < channels; ++channel) {
        *write++ = input_[firstChannel + channel][frame];
      }
    }
    firstChannel += channels;
  }
  for (const auto& [id, proc] : io_.procs()) {
    if (proc.running && proc.device == object) proc.block(buffers);
  }
}

}  // namespace brindlemux
