#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/audio_hardware.h"
#include "platform/simulated/callback_gate.h"

namespace brindlemux {

/// One I/O procedure.
struct SimulatedIOProc {
  AudioObjectID device = kAudioObjectUnknown;
  std::string queueLabel;
  /// Shared with the cycles that are under way, which may outlast the procedure.
  std::shared_ptr<CallbackGate<IOBlock>> block;
  bool running = false;
};

/// One output unit.
struct SimulatedUnit {
  AudioObjectID device = kAudioObjectUnknown;
  StreamFormat format;
  /// Shared with the cycles that are under way, which may outlast the unit; none until it is set.
  std::shared_ptr<CallbackGate<RenderCallback>> callback;
  bool inputEnabled = false;
  bool outputEnabled = true;
  bool initialized = false;
  bool running = false;
};

/// The I/O procedures and output units of a simulated server, and what each of their states allows. Handles count up
/// and are never reused. What is stopped or removed is called no more once the call returns.
///
/// Threads: one at a time, while callbacks run on any.
class SimulatedIO {
 public:
  AudioDeviceIOProcID addProc(AudioObjectID device, std::string_view queueLabel, IOBlock block);
  OSStatus destroyProc(AudioObjectID device, AudioDeviceIOProcID procedure);
  OSStatus start(AudioObjectID device, AudioDeviceIOProcID procedure);
  OSStatus stop(AudioObjectID device, AudioDeviceIOProcID procedure);

  AudioUnitID addUnit();
  OSStatus setUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitScope scope, std::uint32_t element,
                           AudioUnitPropertyValue value);
  OSStatus initialize(AudioUnitID unit);
  OSStatus start(AudioUnitID unit);
  OSStatus stop(AudioUnitID unit);
  OSStatus uninitialize(AudioUnitID unit);
  OSStatus dispose(AudioUnitID unit);

  /// Procedures go with their device; units stay, silent, until they are disposed.
  void deviceWasRemoved(AudioObjectID device);

  const std::map<AudioDeviceIOProcID, SimulatedIOProc>& procs() const noexcept { return procs_; }
  const std::map<AudioUnitID, SimulatedUnit>& units() const noexcept { return units_; }

  bool hasRunningProc(AudioObjectID device) const;
  bool hasRunningUnit(AudioObjectID device) const;

 private:
  SimulatedIOProc* find(AudioObjectID device, AudioDeviceIOProcID procedure);
  SimulatedUnit* find(AudioUnitID unit);
  static void silence(SimulatedUnit& unit);

  std::map<AudioDeviceIOProcID, SimulatedIOProc> procs_;
  std::map<AudioUnitID, SimulatedUnit> units_;
  AudioDeviceIOProcID lastProc_ = 0;
  AudioUnitID lastUnit_ = 0;
};

}  // namespace brindlemux
