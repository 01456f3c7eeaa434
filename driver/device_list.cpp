#include "driver/device_list.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace brindlemux::driver {

using namespace std::chrono_literals;

DeviceList::DeviceList(pw_context& context)
    : context_(context),
      lost_(*pw_context_get_main_loop(&context), [this] { recreateLost(); }),
      handoverTimer_(*pw_context_get_main_loop(&context), [this] { stepHandovers(); }) {}

std::vector<VirtualDeviceConfig> DeviceList::configs() const {
  std::vector<VirtualDeviceConfig> configs;
  for (const Entry& entry : entries_) configs.push_back(entry.config);
  return configs;
}

bool DeviceList::apply(const std::vector<VirtualDeviceConfig>& configs) {
  // First everything that can fail: the nodes that are missing. They go again if one of them does.
  std::vector<Entry> next;
  for (const VirtualDeviceConfig& config : configs) {
    const Entry* const present = find(config.uid);
    const bool keep = present != nullptr && present->device && present->config.channels == config.channels;
    next.push_back({config, keep ? nullptr : publish(config)});
    if (!keep && !next.back().device) return false;
  }
  handovers_.reserve(handovers_.size() + entries_.size());

  for (Entry& entry : next) {
    Entry* const present = find(entry.config.uid);
    if (present == nullptr || !present->device) continue;
    if (entry.device) {
      handovers_.emplace_back(entry.config.uid, std::move(present->device));
      continue;
    }
    entry.device = std::move(present->device);
    if (entry.config.name != present->config.name) entry.device->rename(entry.config.name);
  }
  // What is left in the former list has been removed.
  entries_ = std::move(next);
  if (!handovers_.empty()) {
    if (!metadata_) metadata_.emplace(context_);
    handoverTimer_.start(2ms, LoopTimer::Repeat::always);
  }
  return true;
}

void DeviceList::recreateAll() {
  for (Entry& entry : entries_) {
    entry.device.reset();
    entry.device = publish(entry.config);
  }
}

std::unique_ptr<PublishedDevice> DeviceList::publish(const VirtualDeviceConfig& config) {
  return PublishedDevice::create(context_, config, [this] { lost_.signal(); });
}

DeviceList::Entry* DeviceList::find(const std::string& uid) {
  const auto entry = std::ranges::find(entries_, uid, [](const Entry& candidate) { return candidate.config.uid; });
  return entry == entries_.end() ? nullptr : &*entry;
}

void DeviceList::recreateLost() {
  for (Entry& entry : entries_) {
    if (entry.device && entry.device->complete()) continue;
    entry.device.reset();
    entry.device = publish(entry.config);
  }
}

void DeviceList::stepHandovers() {
  std::erase_if(handovers_, [this](Handover& handover) {
    const Entry* const entry = find(handover.uid());
    return handover.step(context_, *metadata_, entry == nullptr ? nullptr : entry->device.get());
  });
  if (!handovers_.empty()) return;
  handoverTimer_.stop();
  metadata_.reset();
}

}  // namespace brindlemux::driver
