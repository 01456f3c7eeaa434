#include "app/controller_world.h"

#include <algorithm>
#include <map>
#include <regex>

#include "app/controller/app_state.h"
#include "support/graph_equality.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;
using Kind = ControllerStep::Kind;

constexpr const char* captureFailure = "Creating input IOProc failed (OSStatus -1)";
constexpr std::int32_t firstPID = 100;

QString text(const std::string& string) { return QString::fromStdString(string); }

/// Names as a person types them, and what is left of them.
constexpr std::array<std::pair<const char*, const char*>, 5> names = {{{"Stream", "Stream"},
                                                                       {"  Call\n", "Call"},
                                                                       {" \t ", ""},
                                                                       {"", ""},
                                                                       {"Brindlemux Device 1", "Brindlemux Device 1"}}};

}  // namespace

/// A data folder into which writing fails when a test wants it to. The flag is read on the thread that saves.
class ControllerWorld::Files final : public FileLocations {
 public:
  Files() { std::ofstream(folder_.applicationSupport() / "file") << "no folder"; }
  std::filesystem::path applicationSupport() const override {
    return fails ? folder_.applicationSupport() / "file" : folder_.applicationSupport();
  }

  std::atomic<bool> fails = false;

 private:
  TemporaryLocations folder_;
};

class ControllerWorld::CountingLog final : public SystemLog {
 public:
  void write(std::string_view) override { ++lines; }
  std::atomic<int> lines = 0;
};

ControllerWorld::ControllerWorld()
    : files_(std::make_unique<Files>()),
      log_(std::make_unique<CountingLog>()),
      store_(*files_, program_.clock, *log_),
      driverList_{device("A", 2), device("B", 8)} {
  SimulatedAudioHardware& hardware = program_.hardware;
  hardware.installDriver(driverList_);
  hardware.setDefaultOutputDevice(hardware.addDevice(output("main", "Main")));
  program_.state = std::make_unique<AppState>(
      AppServices{.engine = program_.services().engine, .graphStore = store_, .scheduler = program_.scheduler});
  hardware.journal().take();
  AppState* state = program_.state.get();
  QObject::connect(state, &AppState::errorMessageChanged, &receiver_, [this, state] {
    if (state->errorMessage()) errors_.push_back(*state->errorMessage());
  });
  QObject::connect(state, &AppState::audioDevicesChanged, &receiver_, [this] {
    noteFailures(failedBetweenPasses_);
    isInPass_ = true;
  });
  QObject::connect(state, &AppState::engineStateTickChanged, &receiver_, [this] {
    if (isInPass_) {
      followPass();
    } else {
      noteFailures(failedBetweenPasses_);
    }
    isInPass_ = false;
  });
  expectReload();
  checkState();
}

ControllerWorld::~ControllerWorld() {
  // Before what it borrows.
  program_.state.reset();
}

void ControllerWorld::play(const ControllerStep& step) {
  const auto [first, second, third] = step.choices;
  AppState& state = *program_.state;
  switch (step.kind) {
    case Kind::create:
      create();
      break;
    case Kind::remove:
      remove(someUID(first));
      break;
    case Kind::rename:
      rename(someUID(first), second);
      break;
    case Kind::setChannels:
      setChannels(someUID(first), 2 * (static_cast<int>(second % 12) - 2));
      break;
    case Kind::edit:
      edit(step);
      break;
    case Kind::reload:
      state.reload();
      followDriver();
      break;
    case Kind::dismissError:
      state.dismissError();
      lastReported_.reset();
      break;
    case Kind::wait:
      program_.advance(std::chrono::milliseconds(first % 3000));
      break;
    case Kind::refuseWrites:
      setWritesRefused(first % 2 == 0);
      break;
    case Kind::failSaves:
      state.waitUntilSaved();
      files_->fails = first % 2 == 0;
      break;
    case Kind::failCaptures:
      setCapturesFailing(first % 2 == 0);
      break;
    case Kind::takeDriver:
      setDriverThere(first % 3 != 0);
      break;
    case Kind::otherWriter:
      writeFromElsewhere(first, step.number);
      break;
    case Kind::plug:
      setPlugged(second, first % 2 == 0);
      break;
    case Kind::play:
      setPlaying(second, first % 2 == 0);
      break;
    case Kind::mendAll:
    case Kind::count:
      mendAll();
      break;
  }
  checkState();
}

void ControllerWorld::end() {
  mendAll();
  create();
  checkState();
  check(saved_ == graphs_, "the file has every graph once everything works again");
  program_.state->shutdown();
  check(program_.hardware.liveResources().empty(), "nothing runs after the end");
  check(program_.scheduler.scheduledCount() == 0, "nothing is scheduled after the end");
  program_.advance(10s);
  check(program_.hardware.liveResources().empty(), "nothing starts after the end");
}

/// A device that exists, or that has existed, or that never has.
std::string ControllerWorld::someUID(std::uint32_t choice) const {
  if (choice % 16 == 0) return device("Unknown").uid;
  if (!devices_.empty() && choice % 4 != 0) return devices_[choice / 16 % devices_.size()].uid;
  if (graphs_.empty()) return device("A").uid;
  return std::next(graphs_.begin(), static_cast<std::ptrdiff_t>(choice / 16 % graphs_.size()))->first;
}

// The commands: what the program is told, and what should come of it.

void ControllerWorld::create() {
  const std::string name = "Brindlemux Device " + std::to_string(devices_.size() + 1);
  program_.state->createVirtualDevice();
  if (!acceptsWrites()) return expectRefusal("Failed to create virtual device");
  const std::string uid = program_.state->selectedDeviceUID().value_or("none");
  check(uid.starts_with("BrindlemuxAudio_UID_") && !graphs_.contains(uid), "a created device is selected");
  driverList_.push_back({.uid = uid, .name = name, .channels = 2});
  graphs_.emplace(uid, DeviceGraph(uid));
  expectSave();
  expectReload();
}

void ControllerWorld::remove(const std::string& uid) {
  // What an engine that goes had to report goes with it.
  if (acceptsWrites()) failedBetweenPasses_.erase(uid);
  program_.state->deleteVirtualDevice(text(uid));
  if (!acceptsWrites()) return expectRefusal("Failed to delete virtual device");
  std::erase_if(driverList_, [&uid](const VirtualDeviceConfig& device) { return device.uid == uid; });
  graphs_.erase(uid);
  expectSave();
  expectReload();
}

void ControllerWorld::rename(const std::string& uid, std::uint32_t choice) {
  const auto& [typed, kept] = names[choice % names.size()];
  program_.state->renameVirtualDevice(text(uid), QString::fromUtf8(typed));
  const auto renamed = std::ranges::find(devices_, uid, &VirtualDeviceConfig::uid);
  if (renamed == devices_.end() || std::string(kept).empty() || renamed->name == kept) return;
  if (!acceptsWrites()) return expectRefusal("Failed to rename device");
  std::ranges::find(driverList_, uid, &VirtualDeviceConfig::uid)->name = kept;
  expectReload();
}

void ControllerWorld::setChannels(const std::string& uid, int channels) {
  const std::int64_t count = std::clamp(channels, 2, 16);
  const auto changed = std::ranges::find(devices_, uid, &VirtualDeviceConfig::uid);
  const bool isChange = changed != devices_.end() && changed->channels != count;
  if (isChange && acceptsWrites()) failedBetweenPasses_.erase(uid);
  program_.state->setChannels(text(uid), channels);
  if (!isChange) return;
  if (!acceptsWrites()) return expectRefusal("Failed to change channel count");
  std::ranges::find(driverList_, uid, &VirtualDeviceConfig::uid)->channels = count;
  DeviceGraph& graph = graphs_.try_emplace(uid, DeviceGraph(uid)).first->second;
  std::erase_if(graph.wires, [count](const SourceWire& wire) { return wire.outputChannel >= count; });
  std::erase_if(graph.monitorWires, [count](const MonitorWire& wire) { return wire.outputChannel >= count; });
  expectSave();
  expectReload();
}

void ControllerWorld::edit(const ControllerStep& step) {
  const std::string uid = someUID(step.choices[0]);
  const auto persist = step.choices[0] / 1024 % 8 == 0 ? AppState::Persist::no : AppState::Persist::yes;
  const auto tick = program_.state->engineStateTick();
  program_.state->updateGraph(uid, persist, [&step](DeviceGraph& graph) { applyEdit(step, graph); });
  check(program_.state->engineStateTick() == tick + 1, "an edit counts once");
  applyEdit(step, graphs_.try_emplace(uid, DeviceGraph(uid)).first->second);
  if (persist == AppState::Persist::yes) expectSave();
}

void ControllerWorld::expectSave() {
  if (files_->fails) {
    ++expectedLogLines_;
  } else {
    saved_ = graphs_;
  }
}

void ControllerWorld::expectReload() {
  devices_ = driverList_;
  for (const VirtualDeviceConfig& device : devices_) graphs_.try_emplace(device.uid, DeviceGraph(device.uid));
}

void ControllerWorld::followDriver() {
  if (isDriverThere_) {
    expectReload();
  } else {
    devices_.clear();
  }
}

// What happens around the program. Each lets so much time pass that the program has noticed.

void ControllerWorld::setWritesRefused(bool refused) {
  refusesWrites_ = refused;
  applyFaults();
}

void ControllerWorld::setCapturesFailing(bool failing) {
  failsCaptures_ = failing;
  applyFaults();
  program_.advance(2s);
}

void ControllerWorld::applyFaults() {
  CallJournal& journal = program_.hardware.journal();
  journal.clearFaults();
  if (refusesWrites_) journal.failEvery("setPropertyData driver", kAudioHardwareUnspecifiedError);
  // The captures of the devices' own inputs.
  if (failsCaptures_) journal.failEvery("createIOProc BrindlemuxAudio", -1);
}

void ControllerWorld::setDriverThere(bool there) {
  if (there == isDriverThere_) return;
  isDriverThere_ = there;
  if (there) {
    program_.hardware.installDriver(driverList_);
  } else {
    program_.hardware.uninstallDriver();
  }
  program_.advance(2s);
  followDriver();
}

/// Another program gives the driver a list: with a device more, one less, one that has changed, or in another order.
void ControllerWorld::writeFromElsewhere(std::uint32_t choice, std::uint32_t number) {
  if (!isDriverThere_) return;
  // Never to an empty list: installing the driver with that would be a driver that has no list yet.
  if (choice % 4 == 0 || driverList_.size() < 2) {
    driverList_.insert(driverList_.begin(), device("Elsewhere" + std::to_string(number), 4));
  } else if (choice % 4 == 1) {
    driverList_.erase(driverList_.begin() + choice / 4 % static_cast<std::ptrdiff_t>(driverList_.size()));
  } else if (choice % 4 == 2) {
    VirtualDeviceConfig& changed = driverList_[choice / 4 % driverList_.size()];
    changed.channels = changed.channels == 2 ? 6 : 2;
    changed.name += "!";
  } else {
    std::ranges::reverse(driverList_);
  }
  program_.hardware.installDriver(driverList_);
  program_.state->reload();
  followDriver();
}

void ControllerWorld::setPlugged(std::uint32_t choice, bool plugged) {
  const bool isOutput = choice % 2 == 0;
  const std::string uid = isOutput ? pluggableOutputs[choice / 2 % 2] : pluggableInputs[choice / 2 % 2];
  SimulatedAudioHardware& hardware = program_.hardware;
  const AudioObjectID there = hardware.deviceWithUID(uid);
  if (plugged == (there != kAudioObjectUnknown)) return;
  if (plugged) {
    hardware.addDevice(isOutput ? output(uid, uid) : input(uid, uid));
  } else {
    hardware.removeDevice(there);
  }
  program_.advance(300ms);
}

void ControllerWorld::setPlaying(std::uint32_t choice, bool playing) {
  const std::int32_t pid = firstPID + static_cast<std::int32_t>(choice % applications.size());
  SimulatedAudioHardware& hardware = program_.hardware;
  PropertyValue found;
  const bool isPlaying =
      hardware.propertyData(kAudioObjectSystemObject, {kAudioHardwarePropertyTranslatePIDToProcessObject}, pid,
                            found) == noErr &&
      std::get<AudioObjectID>(found) != kAudioObjectUnknown;
  if (playing == isPlaying) return;
  if (playing) {
    SimulatedProcess process;
    process.pid = pid;
    process.bundleID = applications[choice % applications.size()];
    process.isPlaying = true;
    hardware.addProcess(process);
    program_.applications.set(pid, *process.bundleID);
  } else {
    hardware.removeProcess(std::get<AudioObjectID>(found));
  }
  program_.advance(2s);
}

void ControllerWorld::mendAll() {
  program_.state->waitUntilSaved();
  files_->fails = false;
  setWritesRefused(false);
  setCapturesFailing(false);
  setDriverThere(true);
}

// What the engines report.

void ControllerWorld::noteFailures(std::set<std::string>& uids) {
  static const std::regex failure("createIOProc (BrindlemuxAudio\\S*) .* ! .*");
  for (const std::string& line : program_.hardware.journal().take()) {
    std::smatch match;
    if (std::regex_match(line, match, failure)) uids.insert(match[1]);
  }
}

void ControllerWorld::followPass() {
  std::set<std::string> failed = std::exchange(failedBetweenPasses_, {});
  noteFailures(failed);
  const bool isErrorSeen = std::ranges::any_of(program_.state->virtualDevices(),
                                               [&failed](const auto& device) { return failed.contains(device.uid); });
  if (!isErrorSeen) {
    lastReported_.reset();
  } else if (lastReported_ != captureFailure) {
    lastReported_ = captureFailure;
    expectedErrors_.emplace_back(captureFailure);
  }
}

// What must hold.

void ControllerWorld::check(bool holds, const std::string& promise) const {
  if (!holds) throw BrokenPromise(promise);
}

void ControllerWorld::checkState() {
  const AppState& state = *program_.state;
  check(state.driverInstalled() == isDriverThere_, "the driver's presence is known");
  check(state.virtualDevices() == devices_, "the devices are those of the driver");
  check(state.graphs() == graphs_, "the graphs are as they were edited");
  check(errors_ == expectedErrors_, "every error is shown once per occurrence, and nothing else");
  if (isDriverThere_) {
    const auto& selected = state.selectedDeviceUID();
    check(devices_.empty() ? !selected : selected && state.virtualDeviceUIDs().contains(*selected),
          "a device is selected as long as there is one");
    checkEngines();
  }
  checkFile();
}

void ControllerWorld::checkFile() {
  program_.state->waitUntilSaved();
  check(log_->lines == expectedLogLines_, "every failed save is told to the log once");
  const bool fails = files_->fails.exchange(false);
  const bool isAsSaved = store_.load() == saved_;
  files_->fails = fails;
  check(isAsSaved, "the file holds the graphs of the last save that succeeded");
}

void ControllerWorld::checkEngines() {
  check(AppStateProbe::engineCount(*program_.state) == devices_.size(), "every device has an engine, and no other");
  for (const VirtualDeviceConfig& device : devices_) {
    const DeviceEngine* engine = AppStateProbe::engine(*program_.state, device.uid);
    check(engine != nullptr && engine->graph() == graphs_.at(device.uid), "every engine works by its device's graph");
  }
  if (!failsCaptures_) check(runningResources() == wantedResources(), "what runs is what the graphs ask for");
}

std::multiset<std::string> ControllerWorld::wantedResources() const {
  std::multiset<std::string> wanted;
  const auto isThere = [this](const std::string& uid) {
    return program_.hardware.deviceWithUID(uid) != kAudioObjectUnknown;
  };
  const auto& processes = program_.state->processes();
  for (const VirtualDeviceConfig& device : devices_) {
    const DeviceGraph& graph = graphs_.at(device.uid);
    if (!graph.enabled) continue;
    wanted.insert("proc on " + device.uid + " running");
    if (!graph.wires.empty()) wanted.insert("unit on " + device.uid + " running");
    for (const SourceNodeConfig& source : graph.sources) {
      const auto* mic = std::get_if<MicSource>(&source.kind);
      const auto* app = std::get_if<AppSource>(&source.kind);
      if (mic != nullptr && isThere(mic->deviceUID)) wanted.insert("proc on " + mic->deviceUID + " running");
      const bool isTapped =
          mic == nullptr && (app == nullptr || std::ranges::any_of(processes, [app](const AudioProcessInfo& process) {
                               return process.bundleID == app->bundleID;
                             }));
      if (isTapped) wanted.insert({"tap", "aggregate", "proc on aggregate running"});
    }
    for (const MonitorNodeConfig& monitor : graph.monitors) {
      if (monitor.enabled && isThere(monitor.deviceUID)) wanted.insert("unit on " + monitor.deviceUID + " running");
    }
  }
  return wanted;
}

/// The server's resources without their numbers.
std::multiset<std::string> ControllerWorld::runningResources() const {
  static const std::regex number("(proc|unit|tap|aggregate)[0-9]+");
  std::multiset<std::string> running;
  for (const std::string& line : program_.hardware.liveResources()) {
    running.insert(std::regex_replace(line, number, "$1"));
  }
  return running;
}

}  // namespace brindlemux::test
