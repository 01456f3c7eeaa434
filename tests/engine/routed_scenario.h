#pragma once

#include <algorithm>
#include <cctype>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "engine/device_engine.h"
#include "support/engine_scene.h"
#include "support/hardware_client.h"

namespace brindlemux::test {

/// At which rate the scenario's devices run, and so whether every stream is converted.
enum class ScenarioRates { engine, other };

/// How a tap's clock is found.
enum class ScenarioClock { defaultOutput, firstOutput };

/// An engine with everything that it can run at once: an input device, an application, the whole system's audio, the
/// virtual output, its loop-back and two monitors. Each source has an output channel to itself, so that every route is
/// heard alone.
class RoutedScenario : public EngineScene {
 public:
  explicit RoutedScenario(ScenarioRates rates = ScenarioRates::engine,
                          ScenarioClock clockChoice = ScenarioClock::defaultOutput)
      : converts_(rates == ScenarioRates::other) {
    virtualDevice = hardware.addDevice(atRate(loopbackDevice("BrindlemuxAudio_UID_A", 4), 44100));
    hardware.addDevice(atRate(inputDevice("Microphone", 2, constantSignal(microphoneLevel)), 44100));
    speakers = hardware.addDevice(atRate(outputDevice("Speakers"), 96000));
    headphones = hardware.addDevice(atRate(outputDevice("Headphones"), 44100));
    if (clockChoice == ScenarioClock::defaultOutput) hardware.setDefaultOutputDevice(speakers);
    hardware.addProcess(playingProcess(100, "com.example.Player", constantSignal(playerLevel)));
    hardware.addProcess(playingProcess(101, "com.example.Other", constantSignal(otherLevel)));
    if (converts_) hardware.setTapFormat(interleavedFormat(44100, 2));
    routeEverything();
    engine = std::make_unique<DeviceEngine>("BrindlemuxAudio_UID_A", graph, services);
  }

  /// Brings the engine into line with `graph` and the server.
  void reconcile() {
    const auto processes = discovery.listAudioProcesses();
    const auto devices = discovery.listAudioDevices();
    reconcile(processes, devices);
  }
  void reconcile(const std::vector<AudioProcessInfo>& processes, const std::vector<AudioDeviceInfo>& devices) {
    engine->setGraph(graph);
    engine->reconcile(4, processes, devices);
  }

  /// What exists on the server, without the numbers that differ from run to run, sorted.
  std::vector<std::string> resources() const {
    std::vector<std::string> lines = hardware.liveResources();
    for (std::string& line : lines) std::erase_if(line, [](unsigned char letter) { return std::isdigit(letter) != 0; });
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  /// Lets time pass, and expects every route to be heard without a gap once it has settled, at the level that its gains
  /// make.
  void expectSound(const std::string& context) {
    hardware.advance(settlingFrames);
    for (const AudioObjectID device : {virtualDevice, speakers, headphones}) hardware.takeOutput(device);
    hardware.advance(2400);
    const float microphone = microphoneLevel * 0.5F;
    const float player = playerLevel;
    const float system = (playerLevel + otherLevel) * 0.25F;
    expectOutput(virtualDevice, {microphone, player, system, 0}, context + ": virtual device");
    expectOutput(speakers, {microphone, player}, context + ": speakers");
    expectOutput(headphones, {system * 0.5F, microphone * 0.5F}, context + ": headphones");
  }

  AudioObjectID virtualDevice = kAudioObjectUnknown;
  AudioObjectID speakers = kAudioObjectUnknown;
  AudioObjectID headphones = kAudioObjectUnknown;
  DeviceGraph graph{"BrindlemuxAudio_UID_A"};
  std::unique_ptr<DeviceEngine> engine;

  SimulatedDevice atRate(SimulatedDevice device, double hertz) const {
    if (!converts_) return device;
    device.nominalSampleRateHz = hertz;
    device.ratePolicy = SampleRatePolicy::fixed;
    return device;
  }

 private:
  /// A reader that starts too close behind its writer runs dry a few times until it lags far enough.
  static constexpr std::int64_t settlingFrames = 14400;
  static constexpr float microphoneLevel = 0.25F;
  static constexpr float playerLevel = 0.125F;
  static constexpr float otherLevel = 0.5F;

  void routeEverything() {
    const UUID microphone = addSource(1, MicSource{"Microphone", "Microphone"}, 0.5F);
    const UUID player = addSource(2, AppSource{"com.example.Player", "Player"}, 1.0F);
    const UUID system = addSource(3, SystemAudioSource{}, 0.25F);
    graph.wires = {{microphone, 0, 0}, {player, 1, 1}, {system, 0, 2}};
    const UUID first = addMonitor(4, "Speakers", 1.0F);
    const UUID second = addMonitor(5, "Headphones", 0.5F);
    graph.monitorWires = {{0, first, 0}, {1, first, 1}, {2, second, 0}, {0, second, 1}};
  }

  UUID addSource(std::uint64_t number, SourceKindConfig kind, float gain) {
    SourceNodeConfig& source = graph.sources.emplace_back();
    source.id = CountingUUIDSource::identifier(1000 + number);
    source.kind = std::move(kind);
    source.gain = gain;
    return source.id;
  }

  UUID addMonitor(std::uint64_t number, const std::string& device, float gain) {
    MonitorNodeConfig& monitor = graph.monitors.emplace_back();
    monitor.id = CountingUUIDSource::identifier(1000 + number);
    monitor.deviceUID = device;
    monitor.gain = gain;
    return monitor.id;
  }

  /// A conversion changes a constant by rounding only.
  void expectOutput(AudioObjectID device, const std::vector<float>& levels, const std::string& context) {
    const float tolerance = converts_ ? 1e-6F : 0.0F;
    const auto output = hardware.takeOutput(device);
    ASSERT_EQ(output.size(), levels.size()) << context;
    for (std::size_t channel = 0; channel < levels.size(); ++channel) {
      ASSERT_GT(output[channel].size(), 1500U) << context;
      for (const float sample : output[channel]) {
        ASSERT_LE(std::fabs(sample - levels[channel]), tolerance)
            << context << ", channel " << channel << ": " << sample << " instead of " << levels[channel];
      }
    }
  }

  bool converts_ = false;
};

}  // namespace brindlemux::test
