#pragma once

#include <span>
#include <vector>

#include "platform/pipewire/port_linker.h"
#include "platform/pipewire/server_mirror.h"

namespace brindlemux {

/// Adds the links that bring one stream, given by its output ports in channel order, to a tap's left and right inputs.
/// The stream's own layout follows the device that it plays to: front left and right go to their sides, a mono channel
/// to both, and channels without such positions by their order.
void addTapLinks(std::span<const ServerPort* const> stream, const ServerPort& left, const ServerPort& right,
                 std::vector<LinkRequest>& links);

}  // namespace brindlemux
