#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/pipewire/port_linker.h"
#include "platform/pipewire/server_mirror.h"

namespace brindlemux {

/// The inputs of a tap's node. How they become left and right stands at `TapProcess`.
enum class TapInput : std::uint8_t { left, right, centre, leftSurround, rightSurround };
inline constexpr std::size_t tapInputCount = 5;

/// A tap node's input ports, in the order of `TapInput`.
using TapPorts = std::array<const ServerPort*, tapInputCount>;

/// An output port of an application and the position of what it plays: "FL", "MONO", "AUX0", empty where unknown.
struct TappedPort {
  const ServerPort* port = nullptr;
  std::string_view position;
};

/// The links that bring one stream, given by its output ports in channel order, to a tap. `channels` is the number of
/// channels that the application itself plays, 0 where it is not known.
///
/// The ports follow the layout of the device that the stream plays to. An application of one or two channels is
/// complete in the front left and right, or in a mono channel: whatever else the server derives from them for a larger
/// device would be heard twice. More channels are taken by their positions, without the low-frequency effects; channels
/// without positions by their order.
void addStreamLinks(std::span<const ServerPort* const> stream, std::uint32_t channels, const TapPorts& tap,
                    std::vector<LinkRequest>& links);

/// The links that bring ports of known positions to a tap. A port that has none is left out, and nothing is linked
/// twice.
void addPositionedLinks(std::span<const TappedPort> ports, const TapPorts& tap, std::vector<LinkRequest>& links);

/// What a tap takes of a JACK client that plays to no device, but to other clients at the most.
enum class UnheardPorts {
  omitted,  ///< nothing: who plays it to a device in the end is tapped for it
  taken     ///< its first two outputs
};

/// The links that bring a client of the JACK interface to a tap: the ports that play to a device, each to the place of
/// the device's channel.
void addJackLinks(const ServerMirror& mirror, const ServerNode& client, UnheardPorts unheard, const TapPorts& tap,
                  std::vector<LinkRequest>& links);

}  // namespace brindlemux
