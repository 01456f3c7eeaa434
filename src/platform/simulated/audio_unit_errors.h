#pragma once

#include "platform/audio_types.h"

namespace brindlemux {

// What a simulated output unit answers to calls that its state or their arguments forbid.
inline constexpr OSStatus kAudioUnitErr_InvalidProperty = -10879;
inline constexpr OSStatus kAudioUnitErr_FormatNotSupported = -10868;
inline constexpr OSStatus kAudioUnitErr_Uninitialized = -10867;
inline constexpr OSStatus kAudioUnitErr_InvalidPropertyValue = -10851;
inline constexpr OSStatus kAudioUnitErr_Initialized = -10849;

}  // namespace brindlemux
