#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "model/file_locations.h"
#include "model/graph_store.h"
#include "model/system_log.h"
#include "platform/driver_config.h"
#include "platform/simulated/virtual_scheduler.h"
#include "support/file_contents.h"
#include "support/simulated_scene.h"
#include "support/temporary_folder.h"

namespace brindlemux {

/// Reaches what the controller keeps to itself.
class AppStateProbe {
 public:
  static void restartAllEngines(AppState& state) { state.restartAllEngines(); }
  static void setMeters(AppState& state, const std::string& uid, const MeterSnapshot& meters) {
    state.meters_.insert_or_assign(uid, meters);
    Q_EMIT state.metersChanged();
  }
  static std::size_t engineCount(const AppState& state) { return state.engines_.size(); }
  static const DeviceEngine* engine(const AppState& state, const std::string& uid) {
    const auto found = state.engines_.find(uid);
    return found != state.engines_.end() ? found->second.get() : nullptr;
  }
  static void forgetGraph(AppState& state, const std::string& uid) { state.graphs_.erase(uid); }
  static void forgetEngine(AppState& state, const std::string& uid) { state.engines_.erase(uid); }
};

namespace test {

/// A data folder of a test's own, removed with everything in it. It is in memory where that can be had: thousands of
/// saves shall not wait for a disk.
class TemporaryLocations final : public FileLocations {
 public:
  std::filesystem::path applicationSupport() const override { return folder_.path(); }

 private:
  static std::filesystem::path parent() {
    std::error_code error;
    const std::filesystem::path memory = "/dev/shm";
    return std::filesystem::is_directory(memory, error) ? memory : std::filesystem::temp_directory_path();
  }

  TemporaryFolder folder_{parent()};
};

class SilentLog final : public SystemLog {
 public:
  void write(std::string_view) override {}
};

/// A stereo output.
inline SimulatedDevice output(const std::string& uid, const std::string& name) {
  SimulatedDevice device;
  device.uid = uid;
  device.name = name;
  device.outputBuffers = {2};
  return device;
}

/// An input.
inline SimulatedDevice input(const std::string& uid, const std::string& name, std::uint32_t channels = 2) {
  SimulatedDevice device;
  device.uid = uid;
  device.name = name;
  device.inputBuffers = {channels};
  return device;
}

/// What a property answers that cannot be read.
inline SimulatedAnswer unreadable() {
  SimulatedAnswer answer;
  answer.status = kAudioHardwareUnspecifiedError;
  return answer;
}

/// Everything that a controller borrows, simulated, and the controller itself once a test starts it.
struct SimulatedProgram : SimulatedScene {
  VirtualScheduler scheduler;
  TemporaryLocations locations;
  SilentLog log;
  GraphStore graphStore{locations, clock, log};
  std::unique_ptr<AppState> state;

  AppServices services() {
    return {.engine = {.hardware = hardware, .discovery = discovery, .clock = clock, .uuids = uuids},
            .graphStore = graphStore,
            .scheduler = scheduler};
  }

  AppState& start() {
    state = std::make_unique<AppState>(services());
    return *state;
  }

  void advance(std::chrono::milliseconds duration) { scheduler.advance(duration); }

  /// Has the driver publish this list, also an empty one.
  void publish(const std::vector<VirtualDeviceConfig>& devices) {
    if (!DriverConfig(hardware).writeDevices(devices)) throw std::logic_error("the driver refused the list");
  }

  /// The graphs that the file holds.
  DeviceGraphs savedGraphs() {
    waitUntilSaved();
    return graphStore.load();
  }

  /// The driver answers writes of its list with this status until it is mended.
  void refuseWrites() {
    hardware.journal().failEvery("setPropertyData " + driverLabel(), kAudioHardwareUnspecifiedError);
  }
  /// How many times the list was written to the driver since the journal was taken, accepted or not.
  std::ptrdiff_t driverWrites() {
    return std::ranges::count_if(hardware.journal().lines(), [](const std::string& line) {
      return line.starts_with("setPropertyData " + driverLabel());
    });
  }
  static std::string driverLabel() { return "driver bxcf"; }

  /// The system announces a change of its device list while nothing changes.
  void announceDevices() { hardware.removeDevice(hardware.addDevice(output("passing", "Passing"))); }

  void waitUntilSaved() const {
    if (state) state->waitUntilSaved();
  }
  void writeGraphsFile(std::string_view text) {
    std::filesystem::create_directories(graphStore.fileURL().parent_path());
    writeFile(graphStore.fileURL(), text);
  }
  std::string graphsFile() const {
    waitUntilSaved();
    return contentOf(graphStore.fileURL());
  }
};

inline VirtualDeviceConfig device(const std::string& name, std::int64_t channels = 2) {
  return {.uid = "BrindlemuxAudio_UID_" + name, .name = name, .channels = channels};
}

}  // namespace test
}  // namespace brindlemux
