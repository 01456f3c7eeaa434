#include "platform/simulated/simulated_io.h"

#include <algorithm>

#include "platform/simulated/audio_unit_errors.h"

namespace brindlemux {
namespace {

/// Interleaved 32-bit floats, as an output unit's client supplies them.
bool isInterleavedFloat(const StreamFormat& format) {
  return format.formatID == kAudioFormatLinearPCM &&
         format.formatFlags == (kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked) && format.sampleRate > 0 &&
         format.channelsPerFrame >= 1 && format.bitsPerChannel == 32 && format.framesPerPacket == 1 &&
         format.bytesPerFrame == 4 * format.channelsPerFrame && format.bytesPerPacket == format.bytesPerFrame;
}

OSStatus setEnableIO(SimulatedUnit& unit, AudioUnitScope scope, std::uint32_t element, bool enable) {
  if (scope == AudioUnitScope::input && element == 1) {
    unit.inputEnabled = enable;
  } else if (scope == AudioUnitScope::output && element == 0) {
    unit.outputEnabled = enable;
  } else {
    return kAudioUnitErr_InvalidProperty;
  }
  return noErr;
}

}  // namespace

SimulatedIOProc* SimulatedIO::find(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const auto found = procs_.find(procedure);
  return found == procs_.end() || found->second.device != device ? nullptr : &found->second;
}

SimulatedUnit* SimulatedIO::find(AudioUnitID unit) {
  const auto found = units_.find(unit);
  return found == units_.end() ? nullptr : &found->second;
}

void SimulatedIO::silence(SimulatedUnit& unit) {
  unit.running = false;
  if (unit.callback != nullptr) unit.callback->close();
}

AudioDeviceIOProcID SimulatedIO::addProc(AudioObjectID device, std::string_view queueLabel, IOBlock block) {
  auto gate = std::make_shared<CallbackGate<IOBlock>>(std::move(block));
  procs_.emplace(++lastProc_, SimulatedIOProc{device, std::string(queueLabel), std::move(gate), false});
  return lastProc_;
}

OSStatus SimulatedIO::destroyProc(AudioObjectID device, AudioDeviceIOProcID procedure) {
  const SimulatedIOProc* proc = find(device, procedure);
  if (proc == nullptr) return kAudioHardwareIllegalOperationError;
  proc->block->close();
  procs_.erase(procedure);
  return noErr;
}

OSStatus SimulatedIO::start(AudioObjectID device, AudioDeviceIOProcID procedure) {
  SimulatedIOProc* proc = find(device, procedure);
  if (proc == nullptr) return kAudioHardwareIllegalOperationError;
  proc->running = true;
  proc->block->open();
  return noErr;
}

OSStatus SimulatedIO::stop(AudioObjectID device, AudioDeviceIOProcID procedure) {
  SimulatedIOProc* proc = find(device, procedure);
  if (proc == nullptr) return kAudioHardwareIllegalOperationError;
  proc->running = false;
  proc->block->close();
  return noErr;
}

AudioUnitID SimulatedIO::addUnit() {
  units_.emplace(++lastUnit_, SimulatedUnit{});
  return lastUnit_;
}

OSStatus SimulatedIO::setUnitProperty(AudioUnitID unit, std::uint32_t property, AudioUnitScope scope,
                                      std::uint32_t element, AudioUnitPropertyValue value) {
  SimulatedUnit* target = find(unit);
  if (target == nullptr) return kAudioHardwareBadObjectError;
  if (target->initialized) return kAudioUnitErr_Initialized;
  if (property == kAudioOutputUnitProperty_EnableIO) {
    const auto* enable = std::get_if<std::uint32_t>(&value);
    return enable == nullptr ? kAudioUnitErr_InvalidPropertyValue : setEnableIO(*target, scope, element, *enable != 0);
  }
  if (property == kAudioOutputUnitProperty_CurrentDevice && scope == AudioUnitScope::global && element == 0) {
    const auto* device = std::get_if<std::uint32_t>(&value);
    if (device == nullptr) return kAudioUnitErr_InvalidPropertyValue;
    target->device = *device;
    return noErr;
  }
  if (property == kAudioUnitProperty_StreamFormat && scope == AudioUnitScope::input && element == 0) {
    const auto* format = std::get_if<StreamFormat>(&value);
    if (format == nullptr) return kAudioUnitErr_InvalidPropertyValue;
    if (!isInterleavedFloat(*format)) return kAudioUnitErr_FormatNotSupported;
    target->format = *format;
    return noErr;
  }
  if (property == kAudioUnitProperty_SetRenderCallback && scope == AudioUnitScope::input && element == 0) {
    auto* callback = std::get_if<RenderCallback>(&value);
    if (callback == nullptr || !*callback) return kAudioUnitErr_InvalidPropertyValue;
    target->callback = std::make_shared<CallbackGate<RenderCallback>>(std::move(*callback));
    return noErr;
  }
  return kAudioUnitErr_InvalidProperty;
}

OSStatus SimulatedIO::initialize(AudioUnitID unit) {
  SimulatedUnit* target = find(unit);
  if (target == nullptr) return kAudioHardwareBadObjectError;
  if (target->device == kAudioObjectUnknown) return kAudioHardwareBadDeviceError;
  if (target->format.channelsPerFrame == 0) return kAudioUnitErr_FormatNotSupported;
  target->initialized = true;
  return noErr;
}

OSStatus SimulatedIO::start(AudioUnitID unit) {
  SimulatedUnit* target = find(unit);
  if (target == nullptr) return kAudioHardwareBadObjectError;
  if (!target->initialized) return kAudioUnitErr_Uninitialized;
  target->running = true;
  if (target->callback != nullptr) target->callback->open();
  return noErr;
}

OSStatus SimulatedIO::stop(AudioUnitID unit) {
  SimulatedUnit* target = find(unit);
  if (target == nullptr) return kAudioHardwareBadObjectError;
  silence(*target);
  return noErr;
}

OSStatus SimulatedIO::uninitialize(AudioUnitID unit) {
  SimulatedUnit* target = find(unit);
  if (target == nullptr) return kAudioHardwareBadObjectError;
  silence(*target);
  target->initialized = false;
  return noErr;
}

OSStatus SimulatedIO::dispose(AudioUnitID unit) {
  SimulatedUnit* target = find(unit);
  if (target == nullptr) return kAudioHardwareBadObjectError;
  silence(*target);
  units_.erase(unit);
  return noErr;
}

void SimulatedIO::deviceWasRemoved(AudioObjectID device) {
  std::erase_if(procs_, [device](const auto& entry) {
    if (entry.second.device != device) return false;
    entry.second.block->close();
    return true;
  });
}

bool SimulatedIO::hasRunningProc(AudioObjectID device) const {
  return std::any_of(procs_.begin(), procs_.end(),
                     [device](const auto& entry) { return entry.second.running && entry.second.device == device; });
}

bool SimulatedIO::hasRunningUnit(AudioObjectID device) const {
  return std::any_of(units_.begin(), units_.end(),
                     [device](const auto& entry) { return entry.second.running && entry.second.device == device; });
}

}  // namespace brindlemux
