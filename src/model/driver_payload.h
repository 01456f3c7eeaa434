#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "model/virtual_device_config.h"

namespace brindlemux {

/// The identity of the driver, and the name of the metadata object that it publishes on a PipeWire server.
inline constexpr std::string_view driverBundleID = "com.brindlemux.driver";
/// The driver's one property: its whole configuration.
inline constexpr std::string_view driverPropertyKey = "bxcf";
/// Every virtual device's UID begins with this.
inline constexpr std::string_view virtualDeviceUIDPrefix = "BrindlemuxAudio_UID";
/// What a device's source is called beside its sink, which is called by the UID alone.
inline constexpr std::string_view driverSourceSuffix = ".source";
/// Node property that both nodes of a virtual device carry; its value is the device's UID.
inline constexpr std::string_view driverNodeDeviceKey = "brindlemux.device.uid";

/// Limits that no real list comes near; they keep a hostile payload from exhausting the audio server.
inline constexpr std::size_t driverPayloadMostBytes = 1 << 20;
inline constexpr std::size_t driverPayloadMostDevices = 256;
/// In UTF-8. Both are shown to every client of the server, in properties that are not made for more.
inline constexpr std::size_t driverPayloadMostUIDBytes = 256;
inline constexpr std::size_t driverPayloadMostNameBytes = 1024;

/// Why a payload is refused, in one sentence.
struct PayloadError {
  std::string reason;
};

/// The driver's property as JSON text: {"devices":[{"uid","name","channels"}, ...]}, on one line, in list order.
/// Ill-formed UTF-8 in a record becomes U+FFFD.
std::string encodeDriverPayload(const std::vector<VirtualDeviceConfig>& devices);

/// Reads the text as the driver accepts it: an object with the array "devices", each element an object with "uid" and
/// "name" as non-empty strings without control characters and "channels" as an integer from 1 to 64; other members are
/// ignored. No UID is there twice, and none is another one with `driverSourceSuffix`: a node would have to carry both
/// names. Anything else, ill-formed UTF-8, trailing text and what exceeds the limits above included, is refused whole.
std::variant<std::vector<VirtualDeviceConfig>, PayloadError> decodeDriverPayload(std::string_view text);

}  // namespace brindlemux
