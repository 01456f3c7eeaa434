#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/audio_buffer_list.h"
#include "platform/audio_types.h"
#include "platform/scheduler.h"
#include "platform/tap_description.h"

namespace brindlemux {

/// Handle of an I/O procedure; 0 is none.
using AudioDeviceIOProcID = std::uint64_t;
/// Handle of an audio unit; 0 is none.
using AudioUnitID = std::uint64_t;
/// Handle of an audio component; 0 is none.
using AudioComponentID = std::uint32_t;

/// Takes the input of one I/O cycle. Runs on the device's capture thread, one call at a time: it must not allocate,
/// block, throw or call back into AudioHardware. The buffers are valid until it returns.
using IOBlock = std::function<void(AudioBufferList input)>;

/// Fills the output of one I/O cycle, `frameCount` frames in every buffer. Runs on the unit's render thread under the
/// same rules as an IOBlock. Returns a status; anything but noErr plays silence.
using RenderCallback = std::function<OSStatus(AudioBufferList output, std::uint32_t frameCount)>;

inline constexpr FourCharCode kAudioUnitType_Output = fourCharCode("auou");
inline constexpr FourCharCode kAudioUnitSubType_HALOutput = fourCharCode("ahal");
inline constexpr FourCharCode kAudioUnitManufacturer_Apple = fourCharCode("appl");

inline constexpr std::uint32_t kAudioUnitProperty_StreamFormat = 8;            // StreamFormat
inline constexpr std::uint32_t kAudioUnitProperty_SetRenderCallback = 23;      // RenderCallback
inline constexpr std::uint32_t kAudioOutputUnitProperty_CurrentDevice = 2000;  // AudioObjectID
inline constexpr std::uint32_t kAudioOutputUnitProperty_EnableIO = 2003;       // unsigned 32-bit

enum class AudioUnitScope : std::uint32_t { global = 0, input = 1, output = 2 };

/// The value of an audio unit's property.
using AudioUnitPropertyValue = std::variant<std::uint32_t, StreamFormat, RenderCallback>;

/// The audio server as the program sees it: objects with properties, I/O procedures on devices, process taps, private
/// aggregate devices, and an output unit. Every logic above it is written once, against this interface.
///
/// Every call answers with a status and leaves its results untouched unless that is noErr. Nothing throws.
///
/// Threads: the main thread, except where said otherwise. A call may wait for one short round trip to the server.
/// `stopDevice`, `destroyIOProc`, `stopOutputUnit` and `disposeAudioUnit` return only when no callback of theirs is
/// running and none will start.
class AudioHardware {
 public:
  virtual ~AudioHardware() = default;

  // Properties. Threads: any.

  virtual bool hasProperty(AudioObjectID object, const AudioObjectPropertyAddress& address) const = 0;

  /// The size in bytes that the value has in the native layout: 4 a number or object ID, 8 a string, a rate or a
  /// dictionary, 4 an element of a list of IDs, 8 + 16 a buffer of a layout, 40 a stream format.
  virtual OSStatus propertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                    std::uint32_t& size) const = 0;

  /// `qualifier` is empty where the property takes none.
  virtual OSStatus propertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                const PropertyValue& qualifier, PropertyValue& value) const = 0;

  virtual OSStatus setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                   const PropertyValue& value) = 0;

  /// Calls `listener` through `queue` whenever the property may have changed. There is no removal: a listener lives as
  /// long as the hardware object and must tolerate late calls.
  virtual OSStatus addPropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                       Scheduler& queue, std::function<void()> listener) = 0;

  // I/O procedures on devices and aggregate devices.

  /// `queueLabel` names the serial queue on which `block` runs, where the platform has such queues.
  virtual OSStatus createIOProc(AudioObjectID device, std::string_view queueLabel, IOBlock block,
                                AudioDeviceIOProcID& procedure) = 0;
  virtual OSStatus destroyIOProc(AudioObjectID device, AudioDeviceIOProcID procedure) = 0;
  virtual OSStatus startDevice(AudioObjectID device, AudioDeviceIOProcID procedure) = 0;
  virtual OSStatus stopDevice(AudioObjectID device, AudioDeviceIOProcID procedure) = 0;

  // Process taps and the private aggregate devices that give them a clock.

  virtual OSStatus createProcessTap(const TapDescription& description, AudioObjectID& tap) = 0;
  virtual OSStatus destroyProcessTap(AudioObjectID tap) = 0;
  virtual OSStatus createAggregateDevice(const Dictionary& description, AudioObjectID& device) = 0;
  virtual OSStatus destroyAggregateDevice(AudioObjectID device) = 0;

  // The output unit.

  /// The component of this kind, or 0.
  virtual AudioComponentID findComponent(FourCharCode type, FourCharCode subType, FourCharCode manufacturer) const = 0;
  virtual OSStatus createAudioUnit(AudioComponentID component, AudioUnitID& unit) = 0;
  virtual OSStatus setAudioUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitScope scope,
                                        std::uint32_t element, AudioUnitPropertyValue value) = 0;
  virtual OSStatus initializeAudioUnit(AudioUnitID unit) = 0;
  virtual OSStatus startOutputUnit(AudioUnitID unit) = 0;
  virtual OSStatus stopOutputUnit(AudioUnitID unit) = 0;
  virtual OSStatus uninitializeAudioUnit(AudioUnitID unit) = 0;
  virtual OSStatus disposeAudioUnit(AudioUnitID unit) = 0;
};

}  // namespace brindlemux
