#include "driver/published_device.h"

#include <algorithm>
#include <string>

#include "driver/server_streams.h"
#include "model/driver_payload.h"

namespace brindlemux::driver {
namespace {

// One and two channels are what every client understands as mono and stereo. More have no positions that would make
// clients mix them up or down: they are discrete.
std::string positions(std::size_t channels) {
  if (channels == 1) return "MONO";
  if (channels == 2) return "FL,FR";
  std::string list = "AUX0";
  for (std::size_t channel = 1; channel < channels; ++channel) list += ",AUX" + std::to_string(channel);
  return list;
}

// No node.group: a node that joins a running group before it is configured crashes the server. No priority.session: a
// virtual device never becomes the default by itself. No application.name: the session manager remembers volumes by it,
// and would give every device the volume of the one that was changed last.
NodeProperties nodeProperties(const VirtualDeviceConfig& config, std::size_t channels, const char* nodeName,
                              const char* mediaClass) {
  return {
      {"factory.name", "support.null-audio-sink"},
      {PW_KEY_NODE_NAME, nodeName},
      {PW_KEY_NODE_DESCRIPTION, config.name},
      {PW_KEY_MEDIA_CLASS, mediaClass},
      {PW_KEY_AUDIO_CHANNELS, std::to_string(channels)},
      {"audio.position", positions(channels)},
      // Without it the volume of the device would not act on what is recorded from it.
      {"monitor.channel-volumes", "true"},
      {PW_KEY_NODE_VIRTUAL, "true"},
      {PW_KEY_APP_ICON_NAME, "com.brindlemux.Brindlemux"},
      {PW_KEY_DEVICE_ICON_NAME, "com.brindlemux.Brindlemux"},
      {driverNodeDeviceKey.data(), config.uid},
  };
}

}  // namespace

std::unique_ptr<PublishedDevice> PublishedDevice::create(pw_context& context, const VirtualDeviceConfig& config,
                                                         std::function<void()> lost) {
  const auto channels = static_cast<std::size_t>(config.channels);
  std::unique_ptr<PublishedDevice> device(new PublishedDevice(context, channels));
  const ServerNode::Events events = {[&event = device->portsChanged_] { event.signal(); }, std::move(lost)};
  device->sink_ = ServerNode::create(context, "adapter",
                                     nodeProperties(config, channels, config.uid.c_str(), "Audio/Sink"), events);
  if (!device->sink_) return nullptr;
  device->source_ = ServerNode::create(
      context, "adapter",
      nodeProperties(config, channels, (config.uid + std::string(driverSourceSuffix)).c_str(), "Audio/Source/Virtual"),
      events);
  if (!device->source_) return nullptr;
  device->portsChanged_.signal();
  return device;
}

PublishedDevice::PublishedDevice(pw_context& context, std::size_t channels)
    : context_(context), portsChanged_(*pw_context_get_main_loop(&context), [this] { link(); }) {
  for (std::size_t channel = 0; channel < channels; ++channel) {
    links_.push_back(std::make_unique<ChannelLink>([this] { portsChanged_.signal(); }));
  }
}

void PublishedDevice::rename(const std::string& name) {
  sink_->setProperty(PW_KEY_NODE_DESCRIPTION, name);
  source_->setProperty(PW_KEY_NODE_DESCRIPTION, name);
}

bool PublishedDevice::complete() const noexcept { return sink_->node() != nullptr && source_->node() != nullptr; }

bool PublishedDevice::looped() const noexcept {
  return std::ranges::all_of(links_, [](const auto& link) { return link->up(); });
}

bool PublishedDevice::isLinkedTo(const pw_impl_node* node) const {
  return areLinked(context_, node, sink_->node()) || areLinked(context_, node, source_->node());
}

void PublishedDevice::link() {
  if (looped()) return;
  const auto outputs = sink_->ports(PW_DIRECTION_OUTPUT);
  const auto inputs = source_->ports(PW_DIRECTION_INPUT);
  // Ports of one node come one by one: until all are there, their order does not tell their channel.
  if (outputs.size() != links_.size() || inputs.size() != links_.size()) return;
  for (std::size_t channel = 0; channel < links_.size(); ++channel) {
    if (!links_[channel]->up()) links_[channel]->connect(context_, *outputs[channel], *inputs[channel]);
  }
}

}  // namespace brindlemux::driver
