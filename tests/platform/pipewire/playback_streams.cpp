#include "platform/pipewire/playback_streams.h"

#include <gtest/gtest.h>
#include <pipewire/filter.h>
#include <string>

namespace brindlemux::test {

struct PlaybackStreams::Stream {
  pw_filter* filter = nullptr;
  spa_hook listener = {};

  Stream(pw_core* core, const std::string& name) {
    static const pw_filter_events events = [] {
      pw_filter_events table = {};
      table.version = PW_VERSION_FILTER_EVENTS;
      return table;
    }();
    filter = pw_filter_new(
        core, name.c_str(),
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Stream/Output/Audio", PW_KEY_NODE_NAME, name.c_str(), nullptr));
    pw_filter_add_listener(filter, &listener, &events, this);
    for (const char* channel : {"FL", "FR"}) {
      pw_filter_add_port(filter, PW_DIRECTION_OUTPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 0,
                         pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, channel,
                                           PW_KEY_AUDIO_CHANNEL, channel, nullptr),
                         nullptr, 0);
    }
    EXPECT_EQ(pw_filter_connect(filter, PW_FILTER_FLAG_NONE, nullptr, 0), 0);
  }
  ~Stream() { pw_filter_destroy(filter); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
};

PlaybackStreams::PlaybackStreams(std::size_t count) {
  pw_init(nullptr, nullptr);
  loop_ = pw_thread_loop_new("streams", nullptr);
  context_ = pw_context_new(pw_thread_loop_get_loop(loop_), nullptr, 0);
  core_ = pw_context_connect(context_, nullptr, 0);
  EXPECT_NE(core_, nullptr);
  if (core_ == nullptr) return;
  for (std::size_t i = 0; i < count; ++i) {
    streams_.push_back(std::make_unique<Stream>(core_, "stream " + std::to_string(i)));
  }
  EXPECT_EQ(pw_thread_loop_start(loop_), 0);
}

PlaybackStreams::~PlaybackStreams() {
  pw_thread_loop_stop(loop_);
  streams_.clear();
  if (core_ != nullptr) pw_core_disconnect(core_);
  pw_context_destroy(context_);
  pw_thread_loop_destroy(loop_);
  pw_deinit();
}

void PlaybackStreams::keepFirst(std::size_t count) {
  pw_thread_loop_lock(loop_);
  streams_.resize(count);
  pw_thread_loop_unlock(loop_);
}

}  // namespace brindlemux::test
