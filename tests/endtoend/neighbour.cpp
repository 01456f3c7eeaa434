// A client of the audio server that others would rather not have beside them:
//
//   neighbour STREAMS CHANNELS SAMPLE [links]
//
// Plays that many streams of that many channels, all samples the same ("nan" and "inf" are some too). With "links" the
// session manager links them; without it they only stand there. A stream of 0 channels is a player without a port.
// Says "ready" once the server knows them all, and runs until it is told to end.
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <string>
#include <vector>

// The server's interface is called through macros that cast.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace {

pw_main_loop* loop = nullptr;

struct Stream {
  float sample = 0;
  std::uint32_t channels = 0;
  pw_stream* stream = nullptr;
};

void fill(void* data) {
  auto& self = *static_cast<Stream*>(data);
  pw_buffer* const buffer = pw_stream_dequeue_buffer(self.stream);
  if (buffer == nullptr) return;
  spa_data& memory = buffer->buffer->datas[0];
  const std::uint32_t stride = self.channels * static_cast<std::uint32_t>(sizeof(float));
  std::uint32_t frames = memory.maxsize / stride;
  if (buffer->requested > 0 && buffer->requested < frames) frames = static_cast<std::uint32_t>(buffer->requested);
  for (std::uint32_t i = 0; i < frames * self.channels; ++i) static_cast<float*>(memory.data)[i] = self.sample;
  *memory.chunk = {.offset = 0, .size = frames * stride, .stride = static_cast<std::int32_t>(stride), .flags = 0};
  pw_stream_queue_buffer(self.stream, buffer);
}

void play(pw_core* core, Stream& self, bool links) {
  static const pw_stream_events events = [] {
    pw_stream_events table = {};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.process = fill;
    return table;
  }();
  static spa_hook listeners[4096];
  static int count = 0;
  self.stream = pw_stream_new(core, "neighbour",
                              pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                                PW_KEY_MEDIA_ROLE, "Music", nullptr));
  pw_stream_add_listener(self.stream, &listeners[count++ % 4096], &events, &self);
  spa_audio_info_raw info = {};
  info.format = SPA_AUDIO_FORMAT_F32;
  info.rate = 48000;
  info.channels = self.channels;
  for (std::uint32_t i = 0; i < self.channels && i < SPA_AUDIO_MAX_CHANNELS; ++i) {
    info.position[i] = self.channels == 2 ? SPA_AUDIO_CHANNEL_FL + i : SPA_AUDIO_CHANNEL_AUX0 + i;
  }
  std::vector<std::uint8_t> memory(4096);
  spa_pod_builder builder = {};
  spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
  const spa_pod* format = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
  const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS |
                                                  (links ? PW_STREAM_FLAG_AUTOCONNECT : 0));
  pw_stream_connect(self.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &format, 1);
}

void standWithoutPorts(pw_core* core) {
  pw_filter* const filter =
      pw_filter_new(core, "neighbour", pw_properties_new(PW_KEY_MEDIA_CLASS, "Stream/Output/Audio", nullptr));
  pw_filter_connect(filter, static_cast<pw_filter_flags>(0), nullptr, 0);
}

void quit(void*, int) { pw_main_loop_quit(loop); }

void sayReady(void*, std::uint32_t id, int) {
  if (id != PW_ID_CORE) return;
  std::puts("ready");
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return std::fprintf(stderr, "usage: neighbour STREAMS CHANNELS SAMPLE [links]\n"), 2;
  pw_init(nullptr, nullptr);
  loop = pw_main_loop_new(nullptr);
  pw_loop* const events = pw_main_loop_get_loop(loop);
  for (const int signal : {SIGTERM, SIGINT}) pw_loop_add_signal(events, signal, quit, nullptr);
  pw_context* const context = pw_context_new(events, nullptr, 0);
  pw_core* const core = pw_context_connect(context, nullptr, 0);
  if (core == nullptr) return std::fprintf(stderr, "no server\n"), 1;

  const auto channels = static_cast<std::uint32_t>(std::atoi(argv[2]));
  std::vector<std::unique_ptr<Stream>> streams;
  for (int i = std::atoi(argv[1]); i > 0; --i) {
    if (channels == 0) {
      standWithoutPorts(core);
      continue;
    }
    streams.push_back(std::make_unique<Stream>(Stream{std::strtof(argv[3], nullptr), channels, nullptr}));
    play(core, *streams.back(), argc > 4);
  }
  static const pw_core_events coreEvents = [] {
    pw_core_events table = {};
    table.version = PW_VERSION_CORE_EVENTS;
    table.done = sayReady;
    return table;
  }();
  spa_hook listener = {};
  pw_core_add_listener(core, &listener, &coreEvents, nullptr);
  pw_core_sync(core, PW_ID_CORE, 0);
  pw_main_loop_run(loop);
  pw_core_disconnect(core);
  pw_context_destroy(context);
  pw_main_loop_destroy(loop);
  return 0;
}
