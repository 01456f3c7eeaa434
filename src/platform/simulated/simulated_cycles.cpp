#include "platform/simulated/simulated_cycles.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "model/fatal_error.h"

namespace brindlemux {

void SimulatedCycles::advance(std::int64_t frames) {
  std::unique_lock guard(lock_);
  end_ += frames;
  while (true) {
    updateClocks();
    const AudioObjectID next = nextDue();
    if (next == kAudioObjectUnknown || clocks_.at(next).due() > static_cast<double>(end_)) break;
    Clock& clock = clocks_.at(next);
    now_ = std::max(now_, clock.due());
    begin(next, clock, cycle_);
    guard.unlock();
    cycle_.run(runner_);
    guard.lock();
    record(next, cycle_);
  }
  now_ = static_cast<double>(end_);
}

std::vector<AudioObjectID> SimulatedCycles::runningClocks() {
  const std::lock_guard guard(lock_);
  updateClocks();
  std::vector<AudioObjectID> running;
  for (const auto& entry : clocks_) running.push_back(entry.first);
  return running;
}

void SimulatedCycles::runUntil(std::int64_t end, AudioObjectID object, SimulatedCycle& cycle) {
  std::unique_lock guard(lock_);
  while (true) {
    // What plays may stop, or the device go, while its cycle runs.
    updateClock(object);
    const auto clock = clocks_.find(object);
    if (clock == clocks_.end() || clock->second.due() > static_cast<double>(end)) return;
    begin(object, clock->second, cycle);
    guard.unlock();
    cycle.run(runner_);
    guard.lock();
    record(object, cycle);
  }
}

void SimulatedCycles::arriveAt(std::int64_t end) {
  const std::lock_guard guard(lock_);
  end_ = end;
  now_ = static_cast<double>(end);
}

SimulatedCycles::Recording SimulatedCycles::takeOutput(AudioObjectID device) {
  return std::exchange(recordings_[device], {});
}

void SimulatedCycles::deviceWasRemoved(AudioObjectID device) {
  clocks_.erase(device);
  recordings_.erase(device);
}

void SimulatedCycles::updateClocks() {
  for (const auto& [id, device] : objects_.devices()) updateClock(id, paceOf(device));
  for (const auto& [id, aggregate] : objects_.aggregates()) updateClock(id, paceOf(aggregate));
}

void SimulatedCycles::updateClock(AudioObjectID object) {
  if (const SimulatedDevice* device = objects_.device(object)) {
    updateClock(object, paceOf(*device));
  } else if (const SimulatedAggregate* aggregate = objects_.aggregate(object)) {
    updateClock(object, paceOf(*aggregate));
  }
}

SimulatedCycles::Pace SimulatedCycles::paceOf(const SimulatedDevice& device) const {
  return {device.nominalSampleRateHz, device.driftPPM, device.bufferFrames, &device.blockPattern};
}

/// A tap follows the clock of its aggregate's device, at its own rate.
SimulatedCycles::Pace SimulatedCycles::paceOf(const SimulatedAggregate& aggregate) const {
  const SimulatedDevice* clock = objects_.device(objects_.deviceWithUID(aggregate.clockUID));
  if (clock == nullptr) return {};
  return {objects_.tapFormat().sampleRate, clock->driftPPM, aggregate.bufferFrames, &objects_.tapBlockPattern()};
}

void SimulatedCycles::updateClock(AudioObjectID object, const Pace& pace) {
  const bool active =
      pace.nominalHz > 0 && pace.bufferFrames > 0 && (io_.hasRunningProc(object) || io_.hasRunningUnit(object));
  if (!active) {
    clocks_.erase(object);
    return;
  }
  const double rateHz = pace.nominalHz * (1.0 + pace.driftPPM * 1e-6);
  const auto [entry, isNew] = clocks_.try_emplace(object);
  Clock& clock = entry->second;
  if (isNew || clock.nominalHz != pace.nominalHz) {
    const std::size_t blocks = clock.blocks;
    clock = {.nominalHz = pace.nominalHz, .rateHz = rateHz, .blocks = blocks};
    clock.position = static_cast<std::int64_t>(std::floor(now_ * rateHz / 48000.0));
  } else if (clock.rateHz != rateHz) {
    clock.originTime = clock.timeOf(clock.position);
    clock.originPosition = clock.position;
    clock.rateHz = rateHz;
  }
  const std::vector<std::uint32_t>& pattern = *pace.blockPattern;
  clock.blockFrames = pattern.empty() ? pace.bufferFrames : pattern[clock.blocks % pattern.size()];
  if (clock.blockFrames == 0) fatalError("a simulated I/O block without frames");
  clock.rank = rank(object);
}

int SimulatedCycles::rank(AudioObjectID object) const {
  const SimulatedDevice* device = objects_.device(object);
  if (device == nullptr || !io_.hasRunningUnit(object)) return 0;
  return device->inputKind == SimulatedInput::loopback ? 1 : 2;
}

AudioObjectID SimulatedCycles::nextDue() const {
  const auto next = std::min_element(clocks_.begin(), clocks_.end(), [](const auto& left, const auto& right) {
    return std::pair(left.second.due(), left.second.rank) < std::pair(right.second.due(), right.second.rank);
  });
  return next == clocks_.end() ? kAudioObjectUnknown : next->first;
}

void SimulatedCycles::begin(AudioObjectID object, Clock& clock, SimulatedCycle& cycle) {
  cycle.take(objects_, io_, object, clock.position, clock.blockFrames);
  clock.position += clock.blockFrames;
  ++clock.blocks;
}

void SimulatedCycles::record(AudioObjectID object, const SimulatedCycle& cycle) {
  const SimulatedDevice* device = objects_.device(object);
  if (device == nullptr || !device->recordsOutput) return;
  Recording& recording = recordings_[object];
  recording.resize(cycle.output().size());
  for (std::size_t channel = 0; channel < recording.size(); ++channel) {
    const std::vector<float>& block = cycle.output()[channel];
    recording[channel].insert(recording[channel].end(), block.begin(), block.end());
  }
}

}  // namespace brindlemux
