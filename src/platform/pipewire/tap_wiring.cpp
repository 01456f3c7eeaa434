#include "platform/pipewire/tap_wiring.h"

#include <algorithm>
#include <string_view>

namespace brindlemux {
namespace {

const ServerPort* withChannel(std::span<const ServerPort* const> ports, std::string_view channel) {
  const auto found =
      std::find_if(ports.begin(), ports.end(), [&](const ServerPort* port) { return port->channel == channel; });
  return found == ports.end() ? nullptr : *found;
}

}  // namespace

void addTapLinks(std::span<const ServerPort* const> stream, const ServerPort& left, const ServerPort& right,
                 std::vector<LinkRequest>& links) {
  if (stream.empty()) return;
  const ServerPort* toLeft = withChannel(stream, "FL");
  const ServerPort* toRight = withChannel(stream, "FR");
  if (toLeft == nullptr || toRight == nullptr) {
    const ServerPort* const mono = withChannel(stream, "MONO");
    toLeft = mono != nullptr ? mono : stream.front();
    toRight = mono != nullptr ? mono : stream[std::min<std::size_t>(1, stream.size() - 1)];
  }
  links.push_back({.output = toLeft, .input = &left, .mode = LinkMode::passive});
  links.push_back({.output = toRight, .input = &right, .mode = LinkMode::passive});
}

}  // namespace brindlemux
