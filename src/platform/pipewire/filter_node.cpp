#include "platform/pipewire/filter_node.h"

#include <algorithm>

#include "platform/pipewire/names.h"

namespace brindlemux {
namespace {

void fetchBuffers(std::span<void* const> ports, std::span<float*> buffers, std::uint32_t frames) {
  for (std::size_t i = 0; i < ports.size(); ++i) {
    buffers[i] = static_cast<float*>(pw_filter_get_dsp_buffer(ports[i], frames));
  }
}

}  // namespace

FilterNode::FilterNode(pw_core* core, const FilterShape& shape, FilterProcess& process, CycleCounter& counter,
                       std::function<void()> changed)
    : process_(process),
      changed_(std::move(changed)),
      inputs_(shape.inputPorts),
      outputs_(shape.outputPorts),
      counter_(counter) {
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
  pw_properties_setf(properties, PW_KEY_NODE_LATENCY, "%u/%u", shape.latencyFrames, shape.latencyRateHz);
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

void FilterNode::onState(void* data, pw_filter_state /*old*/, pw_filter_state /*state*/, const char* /*error*/) {
  static_cast<FilterNode*>(data)->changed_();
}

void FilterNode::onProcess(void* data, spa_io_position* position) {
  auto* const self = static_cast<FilterNode*>(data);
  if (position == nullptr) return;
  const auto frames = static_cast<std::uint32_t>(std::min<std::uint64_t>(position->clock.duration, maximumCycleFrames));
  self->cycleRateHz_.store(position->clock.rate.denom, std::memory_order_relaxed);
  self->cycleFrames_.store(frames, std::memory_order_relaxed);
  fetchBuffers(self->inputPorts_, self->inputs_, frames);
  fetchBuffers(self->outputPorts_, self->outputs_, frames);
  const NodeCycles::Step step = self->cycles_.next(self->counter_.number(position->clock));
  if (step.isRepeated) {
    // Its sound has been taken and given already.
    for (float* const output : self->outputs_) {
      if (output != nullptr) std::fill_n(output, frames, 0.0F);
    }
    return;
  }
  if (step.missedCycles > 0) self->process_.missed(step.missedCycles * frames);
  self->process_.process(self->inputs_, self->outputs_, frames);
}

}  // namespace brindlemux
