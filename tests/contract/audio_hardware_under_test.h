#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "platform/audio_hardware.h"

namespace brindlemux::test {

/// One audio server with a known scene, for tests of what every AudioHardware must do. Each test gets one of its own.
///
/// The scene holds an output device of two or more channels, an input device of one or more, and a process that plays.
class AudioHardwareUnderTest {
 public:
  virtual ~AudioHardwareUnderTest() = default;

  virtual AudioHardware& hardware() = 0;
  /// Where listeners are called; its work runs while waitUntil() waits.
  virtual Scheduler& queue() = 0;

  virtual AudioObjectID outputDevice() = 0;
  virtual AudioObjectID inputDevice() = 0;
  virtual AudioObjectID playingProcess() = 0;
  virtual std::int32_t playingProcessPID() = 0;

  /// Makes an output device with this UID appear, or go. Returns at once; the server's list may follow later.
  virtual void plug(const std::string& uid) = 0;
  virtual void unplug(const std::string& uid) = 0;

  /// Lets time pass until the condition holds. Returns false when it did not within the implementation's deadline.
  virtual bool waitUntil(const std::function<bool()>& condition) = 0;
};

/// Makes servers under test; the name tells which implementation a failing test ran on.
struct AudioHardwareFactory {
  std::string name;
  std::function<std::unique_ptr<AudioHardwareUnderTest>()> make;

  friend void PrintTo(const AudioHardwareFactory& factory, std::ostream* stream) { *stream << factory.name; }
};

}  // namespace brindlemux::test
