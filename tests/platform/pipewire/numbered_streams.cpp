#include "platform/pipewire/numbered_streams.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <pipewire/stream.h>
#include <spa/param/audio/format-utils.h>
#include <string_view>

#include "support/numbered_sound.h"

namespace brindlemux::test {
namespace {

std::uint32_t number(const spa_dict* properties, const char* key) {
  const char* const text = spa_dict_lookup(properties, key);
  return text == nullptr ? SPA_ID_INVALID : static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

std::string text(const spa_dict* properties, const char* key) {
  const char* const value = spa_dict_lookup(properties, key);
  return value == nullptr ? "" : value;
}

class LoopLock {
 public:
  explicit LoopLock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }
  ~LoopLock() { pw_thread_loop_unlock(loop_); }
  LoopLock(const LoopLock&) = delete;
  LoopLock& operator=(const LoopLock&) = delete;

 private:
  pw_thread_loop* loop_;
};

}  // namespace

struct NumberedStreams::Stream {
  pw_stream* stream = nullptr;
  spa_hook listener = {};
  const std::uint32_t channels;
  const std::uint32_t firstChannel;
  std::int64_t frame = 0;

  Stream(pw_core* core, std::uint32_t channelCount, std::uint32_t first) : channels(channelCount), firstChannel(first) {
    static const pw_stream_events events = [] {
      pw_stream_events table = {};
      table.version = PW_VERSION_STREAM_EVENTS;
      table.process = onProcess;
      return table;
    }();
    stream = pw_stream_new(core, "numbered",
                           pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                             PW_KEY_NODE_NAME, "numbered", nullptr));
    pw_stream_add_listener(stream, &listener, &events, this);
    spa_audio_info_raw format = {};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = 48000;
    format.channels = channels;
    format.position[0] = channels == 1 ? SPA_AUDIO_CHANNEL_MONO : SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::uint8_t memory[1024];
    spa_pod_builder builder = {};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_RT_PROCESS);
    EXPECT_EQ(pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &parameter, 1), 0);
  }
  ~Stream() { pw_stream_destroy(stream); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  static void onProcess(void* data) {
    auto* const self = static_cast<Stream*>(data);
    pw_buffer* const buffer = pw_stream_dequeue_buffer(self->stream);
    if (buffer == nullptr) return;
    spa_data& block = buffer->buffer->datas[0];
    const auto frameBytes = static_cast<std::uint32_t>(self->channels * sizeof(float));
    std::uint32_t frames = block.maxsize / frameBytes;
    if (buffer->requested > 0) frames = std::min(frames, static_cast<std::uint32_t>(buffer->requested));
    auto* out = static_cast<float*>(block.data);
    for (std::uint32_t i = 0; i < frames; ++i, ++self->frame) {
      for (std::uint32_t channel = 0; channel < self->channels; ++channel) {
        *out++ = numbered(self->frame, self->firstChannel + channel);
      }
    }
    block.chunk->offset = 0;
    block.chunk->stride = static_cast<std::int32_t>(frameBytes);
    block.chunk->size = frames * frameBytes;
    pw_stream_queue_buffer(self->stream, buffer);
  }
};

NumberedStreams::NumberedStreams() {
  static const pw_registry_events events = {
      .version = PW_VERSION_REGISTRY_EVENTS, .global = onGlobal, .global_remove = onGlobalRemove};
  pw_init(nullptr, nullptr);
  loop_ = pw_thread_loop_new("streams", nullptr);
  // As applications of sound have it: a data thread that the server's own may wait for.
  context_ = pw_context_new(pw_thread_loop_get_loop(loop_),
                            pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
  core_ = pw_context_connect(context_, nullptr, 0);
  EXPECT_NE(core_, nullptr);
  if (core_ == nullptr) return;
  registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
  pw_registry_add_listener(registry_, &registryListener_, &events, this);
  EXPECT_EQ(pw_thread_loop_start(loop_), 0);
}

NumberedStreams::~NumberedStreams() {
  pw_thread_loop_stop(loop_);
  stream_.reset();
  if (registry_ != nullptr) {
    spa_hook_remove(&registryListener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
  }
  if (core_ != nullptr) pw_core_disconnect(core_);
  pw_context_destroy(context_);
  pw_thread_loop_destroy(loop_);
  pw_deinit();
}

void NumberedStreams::open(std::uint32_t channels, std::uint32_t firstChannel) {
  const LoopLock guard(loop_);
  stream_.reset();
  stream_ = std::make_unique<Stream>(core_, channels, firstChannel);
}

void NumberedStreams::close() {
  const LoopLock guard(loop_);
  stream_.reset();
}

std::optional<NumberedStreams::Clock::time_point> NumberedStreams::portsAppeared(std::size_t ports) const {
  const LoopLock guard(loop_);
  const std::uint32_t node = pw_stream_get_node_id(stream_->stream);
  std::size_t count = 0;
  Clock::time_point last = {};
  for (const auto& [id, port] : outputPorts_) {
    if (port.first != node) continue;
    ++count;
    last = std::max(last, port.second);
  }
  return count == ports ? std::optional(last) : std::nullopt;
}

std::optional<NumberedStreams::Clock::time_point> NumberedStreams::linksAppeared(const std::string& node,
                                                                                 std::size_t links) const {
  const LoopLock guard(loop_);
  const std::uint32_t output = pw_stream_get_node_id(stream_->stream);
  std::size_t count = 0;
  Clock::time_point last = {};
  for (const auto& [id, link] : links_) {
    const auto input = nodes_.find(link.input);
    if (link.output != output || input == nodes_.end() || input->second != node) continue;
    ++count;
    last = std::max(last, link.time);
  }
  return count == links ? std::optional(last) : std::nullopt;
}

void NumberedStreams::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                               std::uint32_t /*version*/, const spa_dict* properties) {
  auto* const self = static_cast<NumberedStreams*>(data);
  const std::string_view kind = type;
  if (kind == PW_TYPE_INTERFACE_Node) {
    self->nodes_[id] = text(properties, PW_KEY_NODE_NAME);
  } else if (kind == PW_TYPE_INTERFACE_Port) {
    if (text(properties, PW_KEY_PORT_DIRECTION) != "out") return;
    self->outputPorts_[id] = {number(properties, PW_KEY_NODE_ID), Clock::now()};
  } else if (kind == PW_TYPE_INTERFACE_Link) {
    self->links_[id] = {.output = number(properties, PW_KEY_LINK_OUTPUT_NODE),
                        .input = number(properties, PW_KEY_LINK_INPUT_NODE),
                        .time = Clock::now()};
  }
}

void NumberedStreams::onGlobalRemove(void* data, std::uint32_t id) {
  auto* const self = static_cast<NumberedStreams*>(data);
  self->nodes_.erase(id);
  self->outputPorts_.erase(id);
  self->links_.erase(id);
}

}  // namespace brindlemux::test
