#include "model/virtual_device_config.h"

#include "model/hash_combine.h"

std::size_t std::hash<brindlemux::VirtualDeviceConfig>::operator()(
    const brindlemux::VirtualDeviceConfig& device) const noexcept {
  return brindlemux::hashOf(device.uid, device.name, device.channels);
}
