#include "platform/pipewire/filter_node.h"

#include <algorithm>
#include <cstddef>
#include <pipewire/extensions/client-node.h>
#include <string_view>

#include "platform/pipewire/names.h"

namespace brindlemux {
namespace {

/// Where the search for one of the library's proxies ends. They are numbered from 0 up, in the gaps first.
constexpr std::uint32_t mostProxies = 1U << 16U;

/// The block that a node asks the server for, as a property of it.
std::string latencyText(std::uint32_t frames, std::uint32_t rateHz) {
  return std::to_string(frames) + "/" + std::to_string(rateHz);
}

}  // namespace

FilterNode::FilterNode(pw_core* core, const FilterShape& shape, FilterProcess& process, CycleCounter& counter,
                       std::function<void()> changed)
    : core_(core),
      dataLoop_(pw_context_get_data_loop(pw_core_get_context(core))),
      process_(&process),
      changed_(std::move(changed)),
      inputs_(shape.inputPorts),
      outputs_(shape.outputPorts),
      completed_(shape.inputPorts, std::vector<float>(maximumCycleFrames)),
      counter_(counter),
      settling_(shape.latencyFrames) {
  static constexpr pw_filter_events events = {
      .version = PW_VERSION_FILTER_EVENTS,
      .destroy = nullptr,
      .state_changed = onState,
      .io_changed = nullptr,
      .param_changed = nullptr,
      .add_buffer = nullptr,
      .remove_buffer = nullptr,
      .process = onProcess,
      .drained = nullptr,
      .command = nullptr,
  };
  pw_properties* const properties = pw_properties_new(
      PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Filter", PW_KEY_MEDIA_ROLE, "DSP", PW_KEY_NODE_NAME,
      shape.name.c_str(), PW_KEY_NODE_DESCRIPTION, shape.description.c_str(), PW_KEY_NODE_GROUP, schedulingGroup,
      PW_KEY_APP_NAME, applicationName, PW_KEY_APP_ID, applicationID, PW_KEY_APP_ICON_NAME, applicationID, nullptr);
  pw_properties_set(properties, PW_KEY_NODE_LATENCY, latencyText(shape.latencyFrames, shape.latencyRateHz).c_str());
  filter_ = pw_filter_new(core, shape.name.c_str(), properties);
  if (filter_ == nullptr) return;
  pw_filter_add_listener(filter_, &listener_, &events, this);
  addPorts(PW_DIRECTION_INPUT, shape.inputPorts, inputPorts_);
  addPorts(PW_DIRECTION_OUTPUT, shape.outputPorts, outputPorts_);
  const bool hasPorts = inputPorts_.size() == shape.inputPorts && outputPorts_.size() == shape.outputPorts;
  if (!hasPorts || pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0) {
    pw_filter_destroy(filter_);
    filter_ = nullptr;
  }
}

FilterNode::~FilterNode() {
  if (filter_ != nullptr) pw_filter_destroy(filter_);
}

void FilterNode::retire() {
  const auto leaveProcess = [](spa_loop* /*loop*/, bool /*async*/, std::uint32_t /*sequence*/, const void* /*data*/,
                               std::size_t /*size*/, void* self) {
    static_cast<FilterNode*>(self)->process_ = nullptr;
    return 0;
  };
  pw_data_loop_invoke(dataLoop_, leaveProcess, 0, nullptr, 0, true, this);
}

void FilterNode::deactivate() {
  // The filter has no working call for this, and does not show the proxy that has.
  for (std::uint32_t id = 0; id < mostProxies; ++id) {
    pw_proxy* const proxy = pw_core_find_proxy(core_, id);
    if (proxy == nullptr || pw_proxy_get_bound_id(proxy) != globalID()) continue;
    if (std::string_view(pw_proxy_get_type(proxy, nullptr)) != PW_TYPE_INTERFACE_ClientNode) continue;
    pw_client_node_set_active(reinterpret_cast<pw_client_node*>(proxy), false);
    return;
  }
}

void FilterNode::askForLatency(std::uint32_t frames, std::uint32_t rateHz) {
  if (filter_ == nullptr) return;
  const std::string text = latencyText(frames, rateHz);
  const spa_dict_item item = {.key = PW_KEY_NODE_LATENCY, .value = text.c_str()};
  const spa_dict latency = {.flags = 0, .n_items = 1, .items = &item};
  pw_filter_update_properties(filter_, nullptr, &latency);
}

std::uint32_t FilterNode::globalID() const {
  return filter_ == nullptr ? SPA_ID_INVALID : pw_filter_get_node_id(filter_);
}

void FilterNode::addPorts(pw_direction direction, std::uint32_t count, std::vector<void*>& ports) {
  const char* const kind = direction == PW_DIRECTION_INPUT ? "input" : "output";
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::string name = std::string(kind) + "_" + std::to_string(i + 1);
    void* const port = pw_filter_add_port(
        filter_, direction, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 0,
        pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, name.c_str(), nullptr),
        nullptr, 0);
    if (port == nullptr) return;
    ports.push_back(port);
  }
}

void FilterNode::onState(void* data, pw_filter_state /*old*/, pw_filter_state state, const char* /*error*/) {
  auto* const self = static_cast<FilterNode*>(data);
  const bool isThere = state == PW_FILTER_STATE_PAUSED || state == PW_FILTER_STATE_STREAMING;
  self->wasThere_ = self->wasThere_ || isThere;
  if (state <= PW_FILTER_STATE_UNCONNECTED) {
    // One that the server has never made would be refused again.
    self->isLost_ = self->wasThere_;
    self->isRefused_ = !self->wasThere_;
  }
  self->changed_();
}

/// What a port has for this cycle, null when nothing is linked to it. In the cycle in which the server's blocks grow, a
/// neighbour's buffer may hold one of the old length, with older sound behind it: the rest is silence.
float* FilterNode::inputSamples(std::size_t port, std::uint32_t frames) noexcept {
  pw_buffer* const buffer = pw_filter_dequeue_buffer(inputPorts_[port]);
  if (buffer == nullptr) return nullptr;
  const spa_data& data = buffer->buffer->datas[0];
  const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
  const std::uint32_t held =
      std::min(data.chunk->size, data.maxsize - offset) / static_cast<std::uint32_t>(sizeof(float));
  auto* samples =
      data.data == nullptr ? nullptr : reinterpret_cast<float*>(static_cast<std::byte*>(data.data) + offset);
  pw_filter_queue_buffer(inputPorts_[port], buffer);
  if (samples == nullptr || held >= frames) return samples;
  std::vector<float>& completed = completed_[port];
  std::copy_n(samples, held, completed.begin());
  std::fill(completed.begin() + held, completed.begin() + frames, 0.0F);
  return completed.data();
}

void FilterNode::playSilence(std::uint32_t frames) noexcept {
  for (float* const output : outputs_) {
    if (output != nullptr) std::fill_n(output, frames, 0.0F);
  }
}

void FilterNode::onProcess(void* data, spa_io_position* position) {
  auto* const self = static_cast<FilterNode*>(data);
  if (position == nullptr) return;
  const auto frames = static_cast<std::uint32_t>(std::min<std::uint64_t>(position->clock.duration, maximumCycleFrames));
  const std::uint32_t rateHz = position->clock.rate.denom;
  const std::uint32_t previousHz = self->cycleRateHz_.exchange(rateHz, std::memory_order_relaxed);
  self->cycleFrames_.store(frames, std::memory_order_relaxed);
  if (previousHz != rateHz && previousHz != 0) self->changed_();
  for (std::size_t i = 0; i < self->inputs_.size(); ++i) self->inputs_[i] = self->inputSamples(i, frames);
  for (std::size_t i = 0; i < self->outputs_.size(); ++i) {
    self->outputs_[i] = static_cast<float*>(pw_filter_get_dsp_buffer(self->outputPorts_[i], frames));
  }
  // One that is retired may go on under a driver that the others have left: its cycles are none that they miss.
  if (self->process_ == nullptr) return self->playSilence(frames);
  const NodeCycles::Step step = self->cycles_.next(self->counter_.number(position->clock));
  // In a repeated call its sound has been taken and given already.
  const bool takesPart = !step.isRepeated && self->settling_.takesPart(position->clock.id, frames);
  if (!takesPart) return self->playSilence(frames);
  if (self->hasTakenPart_ && step.missedCycles > 0) self->process_->missed(step.missedCycles * frames);
  self->hasTakenPart_ = true;
  self->process_->process(self->inputs_, self->outputs_, frames);
}

}  // namespace brindlemux
