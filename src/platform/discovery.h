#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_device_info.h"
#include "platform/audio_hardware.h"
#include "platform/audio_process_info.h"
#include "platform/running_applications.h"

namespace brindlemux {

/// The program's view of the devices and processes of the audio server. Holds no state: every call asks afresh, and a
/// failure gives an empty list, zero or nothing. The hardware and the application look-up are borrowed.
///
/// Threads: any.
class Discovery {
 public:
  Discovery(const AudioHardware& hardware, const RunningApplications& applications)
      : hardware_(hardware), applications_(applications) {}

  /// In the server's order, unfiltered.
  std::vector<AudioDeviceInfo> listAudioDevices() const;

  /// Without the program itself and without silent helpers; playing ones first, then by name as people sort names.
  std::vector<AudioProcessInfo> listAudioProcesses() const;

  std::optional<std::string> getStringProperty(AudioObjectID object, FourCharCode selector) const;

  /// Errors: a sum beyond the signed 64-bit range is fatal.
  std::int64_t deviceChannelCount(AudioObjectID device, FourCharCode scope) const;

  std::optional<AudioObjectID> findDevice(std::string_view uid) const;
  std::optional<AudioObjectID> defaultDeviceID(FourCharCode selector) const;

  /// The nominal rate in Hz, or 0.
  double nominalSampleRate(AudioObjectID device) const;

  /// The rate in Hz that the device runs at, which the audio server may choose without the program's knowledge; the
  /// nominal one where it does not tell.
  double actualSampleRate(AudioObjectID device) const;

  /// The UID of a real output device that can clock a process tap: never a virtual device or a tap's aggregate.
  std::optional<std::string> tapClockOutputUID() const;

 private:
  const AudioHardware& hardware_;
  const RunningApplications& applications_;
};

}  // namespace brindlemux
