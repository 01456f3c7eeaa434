#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/audio_types.h"
#include "platform/simulated/simulated_answer.h"
#include "platform/simulated/simulated_device.h"
#include "platform/simulated/simulated_process.h"
#include "platform/tap_description.h"

namespace brindlemux {

/// A private aggregate device of the simulated server.
struct SimulatedAggregate {
  Dictionary description;
  std::string uid;
  std::string name;
  std::string clockUID;
  std::vector<AudioObjectID> taps;
  std::uint32_t bufferFrames = 512;
};

/// The objects of a simulated server and the values of their properties. Object IDs count up and are never reused.
///
/// Threads: one at a time.
class SimulatedObjects {
 public:
  AudioObjectID add(SimulatedDevice device);
  AudioObjectID add(SimulatedProcess process);
  AudioObjectID add(TapDescription description);
  AudioObjectID add(SimulatedAggregate aggregate);
  AudioObjectID addPlugIn(std::string bundleID);
  /// Removes an object of any kind; an unknown one is ignored.
  void remove(AudioObjectID object);

  SimulatedDevice* device(AudioObjectID object);
  SimulatedProcess* process(AudioObjectID object);
  SimulatedAggregate* aggregate(AudioObjectID object);
  const SimulatedDevice* device(AudioObjectID object) const;
  const SimulatedAggregate* aggregate(AudioObjectID object) const;
  const TapDescription* tap(AudioObjectID object) const;

  const std::map<AudioObjectID, SimulatedDevice>& devices() const noexcept { return devices_; }
  const std::map<AudioObjectID, SimulatedProcess>& processes() const noexcept { return processes_; }
  const std::map<AudioObjectID, TapDescription>& taps() const noexcept { return taps_; }
  const std::map<AudioObjectID, SimulatedAggregate>& aggregates() const noexcept { return aggregates_; }

  /// The device or aggregate with this UID, or kAudioObjectUnknown.
  AudioObjectID deviceWithUID(std::string_view uid) const;
  /// The tap whose description has this UUID, or kAudioObjectUnknown.
  AudioObjectID tapWithUUID(std::string_view uuid) const;

  void setDefaultOutputDevice(AudioObjectID device) { defaultOutputDevice_ = device; }
  void setTapFormat(const StreamFormat& format) { tapFormat_ = format; }
  const StreamFormat& tapFormat() const noexcept { return tapFormat_; }
  /// The channels of each buffer in which one tap hands its sound over.
  std::vector<std::uint32_t> tapBuffers() const;
  void setTapBlockPattern(std::vector<std::uint32_t> frames) { tapBlockPattern_ = std::move(frames); }
  const std::vector<std::uint32_t>& tapBlockPattern() const noexcept { return tapBlockPattern_; }
  /// The value of the plug-in object's own property, none for a null reference.
  void setPlugInConfiguration(PropertyValue value) { plugInConfiguration_ = std::move(value); }

  void setAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address, SimulatedAnswer answer);
  void clearAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address);

  bool hasProperty(AudioObjectID object, const AudioObjectPropertyAddress& address) const;
  OSStatus size(AudioObjectID object, const AudioObjectPropertyAddress& address, std::uint32_t& byteSize) const;
  OSStatus value(AudioObjectID object, const AudioObjectPropertyAddress& address, const PropertyValue& qualifier,
                 PropertyValue& value) const;

  /// What the journal calls an object: a device's UID, otherwise its kind and number. Known beyond its removal.
  std::string label(AudioObjectID object) const;

 private:
  using Value = std::optional<PropertyValue>;

  AudioObjectID named(std::string label);
  bool exists(AudioObjectID object) const;
  const SimulatedAnswer* answer(AudioObjectID object, const AudioObjectPropertyAddress& address) const;
  Value trueValue(AudioObjectID object, const AudioObjectPropertyAddress& address,
                  const PropertyValue& qualifier) const;
  Value systemValue(const AudioObjectPropertyAddress& address, const PropertyValue& qualifier) const;
  Value deviceValue(const SimulatedDevice& device, const AudioObjectPropertyAddress& address) const;
  Value processValue(const SimulatedProcess& process, FourCharCode selector) const;
  Value aggregateValue(const SimulatedAggregate& aggregate, const AudioObjectPropertyAddress& address) const;

  AudioObjectID lastID_ = kAudioObjectSystemObject;
  std::map<AudioObjectID, std::string> labels_;
  std::map<AudioObjectID, SimulatedDevice> devices_;
  std::map<AudioObjectID, SimulatedProcess> processes_;
  std::map<AudioObjectID, TapDescription> taps_;
  std::map<AudioObjectID, SimulatedAggregate> aggregates_;
  std::map<AudioObjectID, std::string> plugIns_;
  std::map<std::pair<AudioObjectID, AudioObjectPropertyAddress>, SimulatedAnswer> answers_;
  AudioObjectID defaultOutputDevice_ = kAudioObjectUnknown;
  StreamFormat tapFormat_;
  std::vector<std::uint32_t> tapBlockPattern_;
  PropertyValue plugInConfiguration_;
  std::int64_t tapCount_ = 0;
  std::int64_t aggregateCount_ = 0;
};

}  // namespace brindlemux
