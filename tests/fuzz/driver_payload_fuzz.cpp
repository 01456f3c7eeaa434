#include <set>
#include <string>

#include "fuzz/fuzz_target.h"
#include "model/driver_payload.h"

using namespace brindlemux;
using test::require;

// What the driver, inside the audio server, makes of a list that any client may write.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto decoded = decodeDriverPayload(test::textOf(data, size));
  if (const auto* error = std::get_if<PayloadError>(&decoded)) {
    require(!error->reason.empty(), "a refusal has a reason");
    return 0;
  }
  const auto& devices = std::get<std::vector<VirtualDeviceConfig>>(decoded);
  require(devices.size() <= driverPayloadMostDevices, "a list has a limit");
  std::set<std::string> nodes;
  for (const VirtualDeviceConfig& device : devices) {
    require(!device.uid.empty() && device.uid.size() <= driverPayloadMostUIDBytes, "a UID has a limit");
    require(!device.name.empty() && device.name.size() <= driverPayloadMostNameBytes, "a name has a limit");
    require(device.channels >= 1 && device.channels <= 64, "channels have a range");
    require(nodes.insert(device.uid).second, "each node has a name of its own");
    require(nodes.insert(device.uid + std::string(driverSourceSuffix)).second, "each node has a name of its own");
  }
  const std::string shown = encodeDriverPayload(devices);
  const auto again = decodeDriverPayload(shown);
  require(std::holds_alternative<std::vector<VirtualDeviceConfig>>(again), "what is shown would be accepted");
  require(std::get<std::vector<VirtualDeviceConfig>>(again) == devices, "what is shown is what was accepted");
  return 0;
}
