#include "driver/device_list.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "driver/server_streams.h"
#include "driver/stream_target.h"
#include "model/driver_payload.h"

namespace brindlemux::driver {

using namespace std::chrono_literals;

namespace {

// A session manager that has started links the streams that it finds within a few milliseconds, or not at all.
constexpr auto relinkInterval = 500ms;
constexpr int mostRelinkings = 6;

}  // namespace

DeviceList::DeviceList(pw_context& context)
    : context_(context),
      lost_(*pw_context_get_main_loop(&context), [this] { recreateLost(); }),
      handoverTimer_(*pw_context_get_main_loop(&context), [this] { stepHandovers(); }),
      relinkTimer_(*pw_context_get_main_loop(&context), [this] { relinkStreams(); }) {}

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
      handOver(*present);
      continue;
    }
    entry.device = std::move(present->device);
    if (entry.config.name != present->config.name) entry.device->rename(entry.config.name);
  }
  // What is left in the former list has been removed.
  entries_ = std::move(next);
  return true;
}

void DeviceList::recreateAll() {
  // Nobody is there to move a stream.
  handovers_.clear();
  handoverTimer_.stop();
  for (Entry& entry : entries_) {
    if (entry.device) remember(entry);
    entry.device.reset();
    entry.device = publish(entry.config);
  }
  if (former_.empty()) return;
  relinkTimer_.stop();
  relinkingsLeft_ = mostRelinkings;
  connect();
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

void DeviceList::remember(const Entry& entry) {
  former_[entry.device->sink().serial()] = {entry.config.uid, &PublishedDevice::sink};
  former_[entry.device->source().serial()] = {entry.config.uid, &PublishedDevice::source};
}

// The entry's nodes go once others have taken their place. There is room for it in the list.
void DeviceList::handOver(Entry& entry) {
  remember(entry);
  if (handovers_.empty()) connect();
  handovers_.emplace_back(entry.config.uid, std::move(entry.device));
  handoverTimer_.start(2ms);
}

// Anew, for the values as they are; unless the former connection has not got any yet.
void DeviceList::connect() {
  if (metadata_ && metadata_->connected() && !metadata_->ready()) return;
  metadata_.emplace(context_, [this] { sessionManagerReturned(); });
}

void DeviceList::sessionManagerReturned() {
  tellNewNumbers();
  if (relinkingsLeft_ > 0) relinkTimer_.start(relinkInterval);
}

void DeviceList::tellNewNumbers() {
  for (pw_impl_node* const stream : serverStreams(context_)) {
    const StreamTarget target(*stream, *metadata_);
    const auto role = target.serial() ? former_.find(*target.serial()) : former_.end();
    if (role == former_.end()) continue;
    const Entry* const entry = find(role->second.uid);
    // Where its handover is not over, that moves the stream.
    if (entry == nullptr || !entry->device || isHandedOver(role->second.uid)) continue;
    target.change(*metadata_, (*entry->device.*role->second.node)().serial());
  }
}

// Whether a stream asks for the device and is not linked to it.
bool DeviceList::isAwaited(const Entry& entry) const {
  return std::ranges::any_of(serverStreams(context_), [&](pw_impl_node* stream) {
    const StreamTarget target(*stream, *metadata_);
    const bool asks = target.is(entry.device->sink()) || target.is(entry.device->source()) ||
                      target.isNamed(entry.config.uid) ||
                      target.isNamed(entry.config.uid + std::string(driverSourceSuffix));
    return asks && !entry.device->isLinkedTo(stream);
  });
}

// A session manager that has been restarted often waits forever for a stream to take the layout that it has already. It
// asks once more, and then takes it for done, when the device that the stream is to be linked to is another one.
void DeviceList::relinkStreams() {
  bool waiting = false;
  handovers_.reserve(handovers_.size() + entries_.size());
  for (Entry& entry : entries_) {
    if (!entry.device || isHandedOver(entry.config.uid) || !isAwaited(entry)) continue;
    waiting = true;
    auto successor = publish(entry.config);
    if (!successor) continue;
    handOver(entry);
    entry.device = std::move(successor);
  }
  if (!waiting && handovers_.empty()) relinkingsLeft_ = 0;
  if (waiting) --relinkingsLeft_;
  if (relinkingsLeft_ == 0) relinkTimer_.stop();
}

bool DeviceList::isHandedOver(const std::string& uid) const {
  return std::ranges::any_of(handovers_, [&](const Handover& handover) { return handover.uid() == uid; });
}

void DeviceList::stepHandovers() {
  std::erase_if(handovers_, [this](Handover& handover) {
    const Entry* const entry = find(handover.uid());
    return handover.step(context_, *metadata_, entry == nullptr ? nullptr : entry->device.get());
  });
  if (handovers_.empty()) handoverTimer_.stop();
}

}  // namespace brindlemux::driver
