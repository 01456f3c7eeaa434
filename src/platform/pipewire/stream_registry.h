#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/audio_hardware.h"
#include "platform/pipewire/server_state.h"

namespace brindlemux {

/// The program's I/O procedures, output units, process taps and aggregate devices, and the routes that run them.
///
/// Threads: the main thread; takes the server's lock where it needs it. `hasTap` and `hasAggregate` any, under that
/// lock, which every change of taps and aggregates takes.
class StreamRegistry {
 public:
  explicit StreamRegistry(ServerState& server) : server_(server) {}
  /// Stops whatever runs: the wiring of a route looks at the registry for as long as the route is there.
  ~StreamRegistry();
  StreamRegistry(const StreamRegistry&) = delete;
  StreamRegistry& operator=(const StreamRegistry&) = delete;

  OSStatus createTap(const TapDescription& description, AudioObjectID& tap);
  OSStatus destroyTap(AudioObjectID tap);
  bool hasTap(AudioObjectID tap) const { return taps_.contains(tap); }

  OSStatus createAggregate(const Dictionary& description, AudioObjectID& device);
  OSStatus destroyAggregate(AudioObjectID device);
  bool hasAggregate(AudioObjectID device) const { return aggregates_.contains(device); }

  OSStatus createProcedure(AudioObjectID device, IOBlock block, AudioDeviceIOProcID& procedure);
  OSStatus destroyProcedure(AudioObjectID device, AudioDeviceIOProcID procedure);
  OSStatus startProcedure(AudioObjectID device, AudioDeviceIOProcID procedure);
  OSStatus stopProcedure(AudioObjectID device, AudioDeviceIOProcID procedure);

  OSStatus createUnit(AudioUnitID& unit);
  OSStatus setUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitPropertyValue value);
  OSStatus initializeUnit(AudioUnitID unit);
  OSStatus startUnit(AudioUnitID unit);
  OSStatus stopUnit(AudioUnitID unit);
  OSStatus uninitializeUnit(AudioUnitID unit);
  OSStatus disposeUnit(AudioUnitID unit);

 private:
  struct Procedure {
    AudioObjectID device = kAudioObjectUnknown;
    IOBlock block;
  };
  struct Unit {
    AudioObjectID device = kAudioObjectUnknown;
    StreamFormat format;
    RenderCallback render;
    bool isInitialized = false;
  };

  Procedure* find(AudioObjectID device, AudioDeviceIOProcID procedure);
  Unit* find(AudioUnitID unit);
  const TapDescription* tapOf(const Dictionary& aggregate) const;
  FilterShape shape(AudioObjectID device, std::string_view name, std::string_view description) const;
  Wiring deviceCaptureWiring(AudioObjectID device) const;
  Wiring tapWiring(const TapDescription& tap) const;
  Wiring playbackWiring(AudioObjectID device) const;

  ServerState& server_;
  std::map<AudioObjectID, TapDescription> taps_;
  std::map<AudioObjectID, Dictionary> aggregates_;
  std::map<AudioDeviceIOProcID, Procedure> procedures_;
  std::map<AudioUnitID, Unit> units_;
  /// Procedures and units share one sequence of handles, which also name their routes.
  std::uint64_t nextHandle_ = 1;
};

}  // namespace brindlemux
