#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/virtual_device_config.h"
#include "platform/audio_hardware.h"
#include "platform/simulated/call_journal.h"
#include "platform/simulated/simulated_cycles.h"
#include "platform/simulated/simulated_io.h"
#include "platform/simulated/simulated_objects.h"
#include "platform/simulated/simulated_threads.h"

namespace brindlemux {

/// An audio server in memory: devices, processes and the driver are a table that a test fills, sound flows when the
/// test advances virtual time, every call is journaled, and any call can be made to fail.
///
/// Threads: everything on one, where callbacks run inside advance(); with startThreads() they run on threads of the
/// server's own instead, and the calls of AudioHardware may come from several.
class SimulatedAudioHardware final : public AudioHardware {
 public:
  SimulatedAudioHardware();

  // The scene.

  AudioObjectID addDevice(SimulatedDevice device);
  /// Its I/O procedures go with it. An unknown one is ignored.
  void removeDevice(AudioObjectID device);
  /// The record of a device or process that is there, to read and to change while no threads run; anything else is
  /// fatal.
  SimulatedDevice& device(AudioObjectID device);
  SimulatedProcess& process(AudioObjectID process);
  AudioObjectID deviceWithUID(std::string_view uid) const;

  AudioObjectID addProcess(SimulatedProcess process);
  void removeProcess(AudioObjectID process);
  void setDefaultOutputDevice(AudioObjectID device);
  void setTapFormat(const StreamFormat& format);
  /// The lengths of the I/O blocks of every tap's aggregate device, as a device has them.
  void setTapBlockPattern(std::vector<std::uint32_t> frames);

  /// Installs the driver with a list that it publishes at once; its configuration starts as null when the list is
  /// empty.
  AudioObjectID installDriver(const std::vector<VirtualDeviceConfig>& devices = {});
  /// Takes the driver away with its devices.
  void uninstallDriver();
  AudioObjectID driver() const noexcept { return driver_; }
  /// The rate of the devices that the driver publishes from here on.
  void setDriverSampleRate(double hertz) { driverSampleRateHz_ = hertz; }

  void setAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address, SimulatedAnswer answer);
  void clearAnswer(AudioObjectID object, const AudioObjectPropertyAddress& address);

  /// Whether createAudioUnit makes a unit, or answers success without one.
  enum class UnitCreation { makes, succeedsWithoutUnit };
  void setUnitCreation(UnitCreation creation) { unitCreation_ = creation; }

  // What happened.

  /// To be read while no other thread calls.
  CallJournal& journal() noexcept { return journal_; }
  /// A line for every I/O procedure, unit, tap and aggregate that exists, running ones marked; none when nothing
  /// leaked.
  std::vector<std::string> liveResources() const;
  const SimulatedObjects& objects() const noexcept { return objects_; }
  const SimulatedIO& io() const noexcept { return io_; }

  // Time, in frames at 48000 Hz.

  /// Runs every I/O cycle that falls due, in order. Fatal while threads run.
  void advance(std::int64_t frames);
  std::int64_t now() const;
  /// What has been played into the device since the last call, channel by channel.
  SimulatedCycles::Recording takeOutput(AudioObjectID device);
  /// What runs every callback of the program, to be set before any runs.
  void setCallbackRunner(CallbackRunner runner) { cycles_.setCallbackRunner(std::move(runner)); }

  /// Lets time pass by itself, on other threads, until stopThreads() or the end.
  void startThreads(SimulatedThreads::Model model);
  void stopThreads() { threads_.reset(); }

  // AudioHardware.

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
  struct Listener {
    AudioObjectID object = kAudioObjectUnknown;
    AudioObjectPropertyAddress address;
    Scheduler* queue = nullptr;
    std::function<void()> callback;
  };

  // With the lock held.
  AudioObjectID add(SimulatedDevice device);
  void remove(AudioObjectID device);
  bool isDevice(AudioObjectID object) const;
  void pollSampleRate(AudioObjectID device) const;
  OSStatus configureDriver(const PropertyValue& value);
  void publish(const std::vector<VirtualDeviceConfig>& devices);
  void notifyDeviceList();

  /// Guards everything but what runs the callbacks; never held while one runs.
  mutable std::mutex lock_;
  // Reads are const to their callers, but they are journaled, and a rate may be accepted after so many of them.
  mutable CallJournal journal_;
  mutable SimulatedObjects objects_;
  mutable std::map<AudioObjectID, std::pair<double, int>> pendingRates_;
  SimulatedIO io_;
  SimulatedCycles cycles_;
  std::vector<Listener> listeners_;
  AudioObjectID driver_ = kAudioObjectUnknown;
  std::vector<std::string> publishedUIDs_;
  double driverSampleRateHz_ = 48000;
  UnitCreation unitCreation_ = UnitCreation::makes;
  /// Ends before anything that its threads use.
  std::optional<SimulatedThreads> threads_;
};

}  // namespace brindlemux
