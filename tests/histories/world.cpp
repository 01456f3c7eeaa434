#include "histories/world.h"

#include <algorithm>
#include <unistd.h>

#include "support/hardware_client.h"

namespace brindlemux::history {
namespace {

using Buffers = std::vector<std::uint32_t>;

/// What a kind of device may be when it is plugged in.
struct Kind {
  std::string uid;
  std::vector<Buffers> inputs;
  std::vector<Buffers> outputs;
};

/// A device that is both captured and played into keeps its rate, as all of these do once they are plugged in, but for
/// the television: a capture learns its device's rate once, and an output that changes it would not be heard of.
const std::vector<Kind>& kinds() {
  static const std::vector<Kind> all = {
      {"Microphone", {{1}}, {{}}},
      {"Line", {{2}, {1, 1}}, {{}}},
      {"Interface", {{6}, {2, 2, 2}, {4}, {1, 3}}, {{8}, {2}, {4, 2}}},
      {"Console", {{20}, {3}}, {{}}},
      {"Speakers", {{}}, {{2}}},
      {"Headphones", {{}}, {{2}, {1}}},
      {"Television", {{}}, {{8}, {2}}},
      {"Hall", {{}}, {{32}, {16}}},
  };
  return all;
}

constexpr std::int64_t ownTone = 0;
constexpr std::int64_t firstDeviceTone = 1;

std::size_t virtualIndex(const std::string& uid) {
  const auto& uids = World::virtualUIDs();
  return static_cast<std::size_t>(std::find(uids.begin(), uids.end(), uid) - uids.begin());
}

}  // namespace

const std::vector<std::string>& World::virtualUIDs() {
  static const std::vector<std::string> uids = {"BrindlemuxAudio_UID_A", "BrindlemuxAudio_UID_B",
                                                "BrindlemuxAudio_UID_C"};
  return uids;
}

const std::vector<std::string>& World::bundleIDs() {
  static const std::vector<std::string> ids = {"com.example.Player", "com.example.Browser", "org.example.Game",
                                               "org.example.call"};
  return ids;
}

World::World(Random& random) : virtualChannels_(virtualUIDs().size(), 2) {
  for (const Kind& kind : kinds()) {
    const auto isSome = [](const Buffers& buffers) { return !buffers.empty(); };
    devices.push_back({kind.uid, false, std::any_of(kind.inputs.begin(), kind.inputs.end(), isSome),
                       std::any_of(kind.outputs.begin(), kind.outputs.end(), isSome), kAudioObjectUnknown});
  }
  for (const std::string& uid : virtualUIDs()) devices.push_back({uid, true, true, true, kAudioObjectUnknown});
  for (Pluggable& device : devices) {
    if (device.isVirtual || random.chance(60)) plugIn(device, random);
  }
  StreamFormat tapFormat = test::interleavedFormat(48000, 2);
  if (random.chance(30)) tapFormat.sampleRate = random.chance(50) ? 44100 : 96000;
  if (random.chance(20)) tapFormat.formatFlags |= kAudioFormatFlagIsNonInterleaved;
  hardware.setTapFormat(tapFormat);
  if (random.chance(30)) hardware.setTapBlockPattern({104, 139, 940});
  if (random.chance(50)) {
    // The program itself plays, and must never be heard.
    addProcess(test::playingProcess(getpid(), "com.brindlemux.app", Tone(ownTone, solo)));
  }
}

void World::addProcess(SimulatedProcess process) {
  RunningProcess running = {kAudioObjectUnknown, process.pid, process.bundleID.value_or("")};
  running.id = hardware.addProcess(std::move(process));
  known_.emplace(running.id, running);
  processes.push_back(std::move(running));
}

const RunningProcess* World::ownProcess() const {
  const auto found = std::find_if(processes.begin(), processes.end(),
                                  [](const RunningProcess& process) { return process.pid == getpid(); });
  return found == processes.end() ? nullptr : &*found;
}

std::optional<std::string> World::tapClock() const {
  std::map<AudioObjectID, std::string> candidates;
  for (const Pluggable& device : devices) {
    if (!device.isPresent() || device.isVirtual) continue;
    if (device.id == defaultOutput_) return device.uid;
    if (!hardware.objects().device(device.id)->outputBuffers.empty()) candidates.emplace(device.id, device.uid);
  }
  if (candidates.empty()) return std::nullopt;
  return candidates.begin()->second;
}

void World::setDefaultOutput(AudioObjectID device) {
  defaultOutput_ = device;
  hardware.setDefaultOutputDevice(device);
}

std::int64_t World::toneOf(const std::string& uid) const {
  const auto found =
      std::find_if(devices.begin(), devices.end(), [&uid](const Pluggable& device) { return device.uid == uid; });
  return firstDeviceTone + (found - devices.begin());
}

SimulatedDevice World::record(const Pluggable& device, Random& random) const {
  SimulatedDevice made = test::namedDevice(device.uid);
  made.bufferFrames = 512;
  made.ratePolicy = SampleRatePolicy::fixed;
  if (device.isVirtual) {
    made.inputBuffers = {static_cast<std::uint32_t>(virtualChannels_[virtualIndex(device.uid)])};
    made.outputBuffers = made.inputBuffers;
    made.inputKind = SimulatedInput::loopback;
    if (random.chance(15)) made.nominalSampleRateHz = 44100;
    return made;
  }
  const auto kind =
      std::find_if(kinds().begin(), kinds().end(), [&device](const Kind& entry) { return entry.uid == device.uid; });
  made.inputBuffers = random.oneOf(kind->inputs);
  made.outputBuffers = random.oneOf(kind->outputs);
  made.input = Tone(toneOf(device.uid), solo);
  if (random.chance(30)) made.nominalSampleRateHz = random.chance(60) ? 44100 : 96000;
  if (random.chance(20)) made.ratePolicy = SampleRatePolicy::refuses;
  if (device.uid == "Television") {
    made.ratePolicy = SampleRatePolicy::acceptsAfterPolls;
    made.pollsUntilAccepted = static_cast<int>(random.below(5));
  }
  return made;
}

void World::plugIn(Pluggable& device, Random& random) {
  plugOut(device);
  device.id = hardware.addDevice(record(device, random));
}

void World::plugOut(Pluggable& device) {
  hardware.removeDevice(device.id);
  device.id = kAudioObjectUnknown;
}

void World::setVirtualChannels(const std::string& uid, std::int64_t channels) {
  virtualChannels_[virtualIndex(uid)] = channels;
}

void World::changeChannels(Pluggable& device, Random& random) {
  const SimulatedDevice wanted = record(device, random);
  SimulatedDevice& current = hardware.device(device.id);
  current.inputBuffers = wanted.inputBuffers;
  current.outputBuffers = wanted.outputBuffers;
}

void World::changePace(Pluggable& device, Random& random) {
  static const std::vector<std::vector<std::uint32_t>> patterns = {{},   {1},       {104}, {139, 104}, {512, 1, 940},
                                                                   {64}, {480, 481}};
  SimulatedDevice& current = hardware.device(device.id);
  current.blockPattern = random.oneOf(patterns);
  current.driftPPM = random.chance(50) ? 0.0 : static_cast<double>(random.between(-300, 300));
}

void World::evenPace() {
  for (const Pluggable& device : devices) {
    if (!device.isPresent()) continue;
    hardware.device(device.id).blockPattern.clear();
    hardware.device(device.id).driftPPM = 0;
  }
  hardware.setTapBlockPattern({});
}

void World::refuseUnits(bool refuses) {
  refusesUnits = refuses;
  using enum SimulatedAudioHardware::UnitCreation;
  hardware.setUnitCreation(refuses ? succeedsWithoutUnit : makes);
}

void World::startProcess(Random& random) {
  const std::int32_t pid = ++lastPID_;
  const std::string& bundleID = random.oneOf(bundleIDs());
  SimulatedProcess process = test::playingProcess(pid, bundleID, Tone(pid, solo));
  process.isPlaying = random.chance(60);
  if (random.chance(40)) process.outputUID = random.oneOf(devices).uid;
  if (random.chance(80)) applications.set(pid, bundleID + (random.chance(50) ? " helper" : ""));
  addProcess(std::move(process));
}

void World::quitProcess(std::size_t index) {
  hardware.removeProcess(processes[index].id);
  applications.remove(processes[index].pid);
  processes.erase(processes.begin() + static_cast<std::ptrdiff_t>(index));
}

Pluggable* World::present(Random& random) {
  std::vector<Pluggable*> there;
  for (Pluggable& device : devices) {
    if (device.isPresent()) there.push_back(&device);
  }
  return there.empty() ? nullptr : random.oneOf(there);
}

const Pluggable* World::withUID(const std::string& uid) const {
  const auto found =
      std::find_if(devices.begin(), devices.end(), [&uid](const Pluggable& device) { return device.uid == uid; });
  return found == devices.end() ? nullptr : &*found;
}

}  // namespace brindlemux::history
