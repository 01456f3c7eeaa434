#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "histories/random.h"
#include "histories/tone.h"
#include "support/engine_scene.h"

namespace brindlemux::history {

/// A device that may be plugged in.
struct Pluggable {
  std::string uid;
  bool isVirtual = false;
  bool hasInput = false;
  bool hasOutput = false;
  /// kAudioObjectUnknown while it is not there.
  AudioObjectID id = kAudioObjectUnknown;

  bool isPresent() const noexcept { return id != kAudioObjectUnknown; }
};

/// A process that runs.
struct RunningProcess {
  AudioObjectID id = kAudioObjectUnknown;
  std::int32_t pid = 0;
  std::string bundleID;
};

/// The machine around the engines: devices that are plugged in and out, processes that come and go, and time.
class World : public test::EngineScene {
 public:
  explicit World(Random& random);

  /// The device returns with a new ID, with channels and a rate of its kind. It may have been there.
  void plugIn(Pluggable& device, Random& random);
  void plugOut(Pluggable& device);
  /// The virtual device has this many channels when it is plugged in next.
  void setVirtualChannels(const std::string& uid, std::int64_t channels);
  void changeChannels(Pluggable& device, Random& random);
  /// Its blocks vary from here on, or not, and its clock runs off by some millionths, or not.
  void changePace(Pluggable& device, Random& random);
  /// All blocks take the length that was asked for last, and all clocks run alike.
  void evenPace();

  /// Whether the server makes output units, or answers success without one.
  void refuseUnits(bool refuses);

  void startProcess(Random& random);
  void quitProcess(std::size_t index);

  Pluggable* present(Random& random);
  const Pluggable* withUID(const std::string& uid) const;
  /// A process that runs or has run.
  const RunningProcess& known(AudioObjectID id) const { return known_.at(id); }
  /// The program's own process, or nothing while the server does not know it.
  const RunningProcess* ownProcess() const;
  /// The device that a tap's clock is taken from, or nothing: the default output where that is a real device, otherwise
  /// the first real device that has an output.
  std::optional<std::string> tapClock() const;
  void setDefaultOutput(AudioObjectID device);
  /// Which tone sounds from a device's input.
  std::int64_t toneOf(const std::string& uid) const;

  static const std::vector<std::string>& virtualUIDs();
  static const std::vector<std::string>& bundleIDs();

  std::vector<Pluggable> devices;
  std::vector<RunningProcess> processes;
  Solo solo;
  bool refusesUnits = false;

 private:
  void addProcess(SimulatedProcess process);
  SimulatedDevice record(const Pluggable& device, Random& random) const;

  std::vector<std::int64_t> virtualChannels_;
  std::map<AudioObjectID, RunningProcess> known_;
  AudioObjectID defaultOutput_ = kAudioObjectUnknown;
  /// Beyond what the kernel gives to processes, such as this one.
  std::int32_t lastPID_ = 100'000'000;
};

}  // namespace brindlemux::history
