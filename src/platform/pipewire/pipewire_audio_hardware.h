#pragma once

#include <memory>

#include "platform/audio_hardware.h"
#include "platform/running_applications.h"

namespace brindlemux {

/// The audio server on a PipeWire desktop. Devices are nodes of the session, the driver's plug-in object is its
/// metadata object, taps, I/O procedures and output units are nodes of the program's own, linked port by port.
///
/// Connects at construction and waits for the server's first answer, at most two seconds; without a server it goes on
/// trying. With the server a tap comes back by itself; its devices come back under other IDs, so that whoever started a
/// procedure or a unit on one starts it anew. Nothing of it outlives the object.
class PipeWireAudioHardware final : public AudioHardware {
 public:
  PipeWireAudioHardware();
  ~PipeWireAudioHardware() override;
  PipeWireAudioHardware(const PipeWireAudioHardware&) = delete;
  PipeWireAudioHardware& operator=(const PipeWireAudioHardware&) = delete;

  /// Names of the processes that have or had an audio stream.
  const RunningApplications& runningApplications() const;

  bool hasProperty(AudioObjectID object, const AudioObjectPropertyAddress& address) const override;
  OSStatus propertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                            std::uint32_t& size) const override;
  OSStatus propertyData(AudioObjectID object, const AudioObjectPropertyAddress& address, const PropertyValue& qualifier,
                        PropertyValue& value) const override;
  OSStatus setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                           const PropertyValue& value) override;
  OSStatus addPropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address, Scheduler& queue,
                               std::function<void()> listener) override;

  OSStatus createIOProc(AudioObjectID device, std::string_view queueLabel, IOBlock block,
                        AudioDeviceIOProcID& procedure) override;
  OSStatus destroyIOProc(AudioObjectID device, AudioDeviceIOProcID procedure) override;
  OSStatus startDevice(AudioObjectID device, AudioDeviceIOProcID procedure) override;
  OSStatus stopDevice(AudioObjectID device, AudioDeviceIOProcID procedure) override;

  OSStatus createProcessTap(const TapDescription& description, AudioObjectID& tap) override;
  OSStatus destroyProcessTap(AudioObjectID tap) override;
  OSStatus createAggregateDevice(const Dictionary& description, AudioObjectID& device) override;
  OSStatus destroyAggregateDevice(AudioObjectID device) override;

  AudioComponentID findComponent(FourCharCode type, FourCharCode subType, FourCharCode manufacturer) const override;
  OSStatus createAudioUnit(AudioComponentID component, AudioUnitID& unit) override;
  OSStatus setAudioUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitScope scope, std::uint32_t element,
                                AudioUnitPropertyValue value) override;
  OSStatus initializeAudioUnit(AudioUnitID unit) override;
  OSStatus startOutputUnit(AudioUnitID unit) override;
  OSStatus stopOutputUnit(AudioUnitID unit) override;
  OSStatus uninitializeAudioUnit(AudioUnitID unit) override;
  OSStatus disposeAudioUnit(AudioUnitID unit) override;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace brindlemux
