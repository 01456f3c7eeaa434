#include "platform/audio_device_info.h"

#include "model/hash_combine.h"

std::size_t std::hash<brindlemux::AudioDeviceInfo>::operator()(
    const brindlemux::AudioDeviceInfo& device) const noexcept {
  return brindlemux::hashOf(device.id, device.uid, device.name, device.inputChannels, device.outputChannels);
}
