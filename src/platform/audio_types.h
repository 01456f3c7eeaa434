#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/four_char_code.h"

namespace brindlemux {

/// Names one object of the audio server (the system, a device, a process, a tap, a plug-in); never reused in a run.
using AudioObjectID = std::uint32_t;
inline constexpr AudioObjectID kAudioObjectUnknown = 0;
inline constexpr AudioObjectID kAudioObjectSystemObject = 1;

/// The result of a call to the audio server; `noErr` is success, everything else a failure.
using OSStatus = std::int32_t;
inline constexpr OSStatus noErr = 0;
inline constexpr OSStatus kAudioHardwareNotRunningError = static_cast<OSStatus>(fourCharCode("stop"));
inline constexpr OSStatus kAudioHardwareUnspecifiedError = static_cast<OSStatus>(fourCharCode("what"));
inline constexpr OSStatus kAudioHardwareUnknownPropertyError = static_cast<OSStatus>(fourCharCode("who?"));
inline constexpr OSStatus kAudioHardwareIllegalOperationError = static_cast<OSStatus>(fourCharCode("nope"));
inline constexpr OSStatus kAudioHardwareUnsupportedOperationError = static_cast<OSStatus>(fourCharCode("unop"));
inline constexpr OSStatus kAudioHardwareBadObjectError = static_cast<OSStatus>(fourCharCode("!obj"));
inline constexpr OSStatus kAudioHardwareBadDeviceError = static_cast<OSStatus>(fourCharCode("!dev"));

/// Which property of an object is meant.
struct AudioObjectPropertyAddress {
  FourCharCode selector = 0;
  FourCharCode scope = fourCharCode("glob");
  std::uint32_t element = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): takes the zero that a defaulted comparison is compared with for a pointer.
  friend auto operator<=>(const AudioObjectPropertyAddress&, const AudioObjectPropertyAddress&) = default;
};

inline constexpr FourCharCode kAudioObjectPropertyScopeGlobal = fourCharCode("glob");
inline constexpr FourCharCode kAudioObjectPropertyScopeInput = fourCharCode("inpt");
inline constexpr FourCharCode kAudioObjectPropertyScopeOutput = fourCharCode("outp");
inline constexpr std::uint32_t kAudioObjectPropertyElementMain = 0;

/// The address of a property that has neither a direction nor elements.
constexpr AudioObjectPropertyAddress globalAddress(FourCharCode selector) noexcept {
  return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

// Properties of the system object. The value's type stands behind each.
inline constexpr FourCharCode kAudioHardwarePropertyDevices = fourCharCode("dev#");                      // list of IDs
inline constexpr FourCharCode kAudioHardwarePropertyDefaultOutputDevice = fourCharCode("dOut");          // ID
inline constexpr FourCharCode kAudioHardwarePropertyTranslateUIDToDevice = fourCharCode("uidd");         // ID; string
inline constexpr FourCharCode kAudioHardwarePropertyTranslateBundleIDToPlugIn = fourCharCode("bidp");    // ID; string
inline constexpr FourCharCode kAudioHardwarePropertyTranslatePIDToProcessObject = fourCharCode("id2p");  // ID; number
inline constexpr FourCharCode kAudioHardwarePropertyProcessObjectList = fourCharCode("prs#");            // list of IDs

// Properties of devices.
inline constexpr FourCharCode kAudioObjectPropertyName = fourCharCode("lnam");                 // string
inline constexpr FourCharCode kAudioDevicePropertyDeviceUID = fourCharCode("uid ");            // string
inline constexpr FourCharCode kAudioDevicePropertyStreamConfiguration = fourCharCode("slay");  // BufferLayout
inline constexpr FourCharCode kAudioDevicePropertyNominalSampleRate = fourCharCode("nsrt");    // double, Hz
inline constexpr FourCharCode kAudioDevicePropertyActualSampleRate = fourCharCode("asrt");     // double, Hz
inline constexpr FourCharCode kAudioDevicePropertyBufferFrameSize = fourCharCode("fsiz");      // 32-bit, frames

// Properties of process objects.
inline constexpr FourCharCode kAudioProcessPropertyPID = fourCharCode("ppid");              // signed 32-bit
inline constexpr FourCharCode kAudioProcessPropertyBundleID = fourCharCode("pbid");         // string
inline constexpr FourCharCode kAudioProcessPropertyIsRunningOutput = fourCharCode("piro");  // unsigned 32-bit

// Properties of process taps.
inline constexpr FourCharCode kAudioTapPropertyFormat = fourCharCode("tfmt");  // StreamFormat

/// The channel count of each buffer that a device hands over per I/O cycle.
struct BufferLayout {
  std::vector<std::uint32_t> channelsPerBuffer;
  friend bool operator==(const BufferLayout&, const BufferLayout&) = default;
};

inline constexpr FourCharCode kAudioFormatLinearPCM = fourCharCode("lpcm");
inline constexpr std::uint32_t kAudioFormatFlagIsFloat = 1U << 0U;
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 1U << 3U;
inline constexpr std::uint32_t kAudioFormatFlagIsNonInterleaved = 1U << 5U;

/// How samples lie in memory.
struct StreamFormat {
  double sampleRate = 0;  ///< Hz
  FourCharCode formatID = kAudioFormatLinearPCM;
  std::uint32_t formatFlags = 0;
  std::uint32_t bytesPerPacket = 0;
  std::uint32_t framesPerPacket = 0;
  std::uint32_t bytesPerFrame = 0;
  std::uint32_t channelsPerFrame = 0;
  std::uint32_t bitsPerChannel = 0;

  friend bool operator==(const StreamFormat&, const StreamFormat&) = default;
};

struct DictionaryValue;
/// A property list with string keys.
using Dictionary = std::map<std::string, DictionaryValue>;
/// An array of a property list.
using DictionaryArray = std::vector<DictionaryValue>;

/// One value of a property list.
struct DictionaryValue {
  using Variant = std::variant<std::monostate, bool, std::int64_t, double, std::string, DictionaryArray, Dictionary>;
  Variant value;

  DictionaryValue() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): property lists are written out as literals.
  template <typename T>
  requires std::constructible_from<Variant, T&&> &&
      (!std::same_as<std::remove_cvref_t<T>, DictionaryValue>)DictionaryValue(T&& from)
      : value(std::forward<T>(from)) {}

  friend bool operator==(const DictionaryValue&, const DictionaryValue&) = default;
};

/// The value of a property; empty stands for a null reference.
using PropertyValue = std::variant<std::monostate, std::uint32_t, std::int32_t, double, std::string,
                                   std::vector<AudioObjectID>, BufferLayout, StreamFormat, DictionaryValue>;

}  // namespace brindlemux
