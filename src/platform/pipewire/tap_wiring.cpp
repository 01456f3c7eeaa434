#include "platform/pipewire/tap_wiring.h"

#include <algorithm>

namespace brindlemux {
namespace {

struct Place {
  std::string_view position;
  TapInput input;
};

// A channel between two speakers goes to both. The first two channels without a position are a stereo pair.
constexpr Place places[] = {
    {"FL", TapInput::left},           {"FR", TapInput::right},          {"MONO", TapInput::left},
    {"MONO", TapInput::right},        {"FC", TapInput::centre},         {"FLC", TapInput::left},
    {"FRC", TapInput::right},         {"SL", TapInput::leftSurround},   {"SR", TapInput::rightSurround},
    {"RL", TapInput::leftSurround},   {"RR", TapInput::rightSurround},  {"RC", TapInput::leftSurround},
    {"RC", TapInput::rightSurround},  {"RLC", TapInput::leftSurround},  {"RRC", TapInput::rightSurround},
    {"TFL", TapInput::leftSurround},  {"TFR", TapInput::rightSurround}, {"TRL", TapInput::leftSurround},
    {"TRR", TapInput::rightSurround}, {"AUX0", TapInput::left},         {"AUX1", TapInput::right},
};

const ServerPort* withChannel(std::span<const ServerPort* const> ports, std::string_view channel) {
  const auto found =
      std::find_if(ports.begin(), ports.end(), [&](const ServerPort* port) { return port->channel == channel; });
  return found == ports.end() ? nullptr : *found;
}

void addLink(const ServerPort& output, TapInput input, const TapPorts& tap, std::vector<LinkRequest>& links) {
  links.push_back({.output = &output, .input = tap[static_cast<std::size_t>(input)], .mode = LinkMode::passive});
}

/// By their order: the first to the left, the second, or else the first too, to the right.
void addOrderedLinks(std::span<const ServerPort* const> ports, const TapPorts& tap, std::vector<LinkRequest>& links) {
  if (ports.empty()) return;
  addLink(*ports.front(), TapInput::left, tap, links);
  addLink(*ports[std::min<std::size_t>(1, ports.size() - 1)], TapInput::right, tap, links);
}

bool playsToADevice(const ServerMirror& mirror, const ServerLink& link) {
  const ServerNode* const to = mirror.node(link.inputNode);
  return to != nullptr && (to->mediaClass() == "Audio/Sink" || to->mediaClass() == "Audio/Duplex");
}

bool isSurround(std::span<const ServerPort* const> stream) {
  return std::any_of(stream.begin(), stream.end(), [](const ServerPort* port) {
    return port->channel == "FC" || port->channel == "RC" || port->channel == "RL" || port->channel == "SL";
  });
}

}  // namespace

void addPositionedLinks(std::span<const TappedPort> ports, const TapPorts& tap, std::vector<LinkRequest>& links) {
  const auto first = static_cast<std::ptrdiff_t>(links.size());
  for (const TappedPort& port : ports) {
    for (const Place& place : places) {
      if (place.position != port.position) continue;
      const ServerPort* const input = tap[static_cast<std::size_t>(place.input)];
      const bool isThere = std::any_of(links.begin() + first, links.end(), [&](const LinkRequest& link) {
        return link.output == port.port && link.input == input;
      });
      if (!isThere) addLink(*port.port, place.input, tap, links);
    }
  }
}

void addStreamLinks(std::span<const ServerPort* const> stream, std::uint32_t channels, const TapPorts& tap,
                    std::vector<LinkRequest>& links) {
  if (channels > 2 && isSurround(stream)) {
    std::vector<TappedPort> positioned;
    for (const ServerPort* port : stream) positioned.push_back({port, port->channel});
    addPositionedLinks(positioned, tap, links);
    return;
  }
  const ServerPort* const left = withChannel(stream, "FL");
  const ServerPort* const right = withChannel(stream, "FR");
  const ServerPort* const mono = withChannel(stream, "MONO");
  if (left != nullptr && right != nullptr) {
    addLink(*left, TapInput::left, tap, links);
    addLink(*right, TapInput::right, tap, links);
  } else if (mono != nullptr) {
    addOrderedLinks({&mono, 1}, tap, links);
  } else {
    addOrderedLinks(stream, tap, links);
  }
}

void addJackLinks(const ServerMirror& mirror, const ServerNode& client, UnheardPorts unheard, const TapPorts& tap,
                  std::vector<LinkRequest>& links) {
  std::vector<TappedPort> positioned;
  for (const ServerLink& link : mirror.linksFrom(client.globalID)) {
    const ServerPort* const from = mirror.port(link.outputPort);
    const ServerPort* const to = mirror.port(link.inputPort);
    if (from == nullptr || to == nullptr || !from->isAudio || !playsToADevice(mirror, link)) continue;
    positioned.push_back({from, to->channel});
  }
  if (!positioned.empty()) {
    addPositionedLinks(positioned, tap, links);
  } else if (unheard == UnheardPorts::taken) {
    auto ports = mirror.ports(client.globalID, PW_DIRECTION_OUTPUT);
    std::erase_if(ports, [](const ServerPort* port) { return !port->isAudio; });
    addOrderedLinks(ports, tap, links);
  }
}

}  // namespace brindlemux
