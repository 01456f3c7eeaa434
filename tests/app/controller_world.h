#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/controller_step.h"
#include "app/simulated_program.h"

namespace brindlemux::test {

/// A promise of the controller that does not hold; the text says which.
class BrokenPromise : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A simulated program beside what it should show, run, save and report, both led through the same steps.
class ControllerWorld {
 public:
  ControllerWorld();
  ~ControllerWorld();
  ControllerWorld(const ControllerWorld&) = delete;
  ControllerWorld& operator=(const ControllerWorld&) = delete;

  /// Throws BrokenPromise when something is not as it should be after the step.
  void play(const ControllerStep& step);

  /// Mends all that is broken and ends the program. Throws BrokenPromise when the sound does not come back, or when
  /// something is left behind.
  void end();

 private:
  class Files;
  class CountingLog;

  std::string someUID(std::uint32_t choice) const;
  bool acceptsWrites() const { return isDriverThere_ && !refusesWrites_; }
  void expectRefusal(const char* message) { expectedErrors_.emplace_back(message); }
  void expectReload();
  void expectSave();
  void followDriver();
  void followPass();
  void noteFailures(std::set<std::string>& uids);

  void create();
  void remove(const std::string& uid);
  void rename(const std::string& uid, std::uint32_t choice);
  void setChannels(const std::string& uid, int channels);
  void edit(const ControllerStep& step);
  void setWritesRefused(bool refused);
  void setCapturesFailing(bool failing);
  void setDriverThere(bool there);
  void writeFromElsewhere(std::uint32_t choice, std::uint32_t number);
  void setPlugged(std::uint32_t choice, bool plugged);
  void setPlaying(std::uint32_t choice, bool playing);
  void applyFaults();
  void mendAll();

  void check(bool holds, const std::string& promise) const;
  void checkState();
  void checkFile();
  void checkEngines();
  std::multiset<std::string> wantedResources() const;
  std::multiset<std::string> runningResources() const;

  SimulatedProgram program_;
  std::unique_ptr<Files> files_;
  std::unique_ptr<CountingLog> log_;
  GraphStore store_;
  QObject receiver_;

  // What should be.
  std::vector<VirtualDeviceConfig> driverList_;
  std::vector<VirtualDeviceConfig> devices_;
  DeviceGraphs graphs_;
  DeviceGraphs saved_;
  std::vector<std::string> expectedErrors_;
  std::optional<std::string> lastReported_;
  int expectedLogLines_ = 0;

  // What has been seen.
  std::vector<std::string> errors_;
  std::set<std::string> failedBetweenPasses_;
  bool isInPass_ = false;

  bool isDriverThere_ = true;
  bool refusesWrites_ = false;
  bool failsCaptures_ = false;
};

}  // namespace brindlemux::test
