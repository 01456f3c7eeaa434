#include "costs/player.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <vector>

#include "costs/chirp.h"

namespace brindlemux::bench {
namespace {

struct Player {
  pw_main_loop* loop = nullptr;
  pw_stream* stream = nullptr;
  std::vector<float> samples;
  std::size_t position = 0;
  std::atomic<bool> isSilent = false;
};

void onProcess(void* data) {
  auto* const self = static_cast<Player*>(data);
  pw_buffer* const buffer = pw_stream_dequeue_buffer(self->stream);
  if (buffer == nullptr) return;
  spa_data& block = buffer->buffer->datas[0];
  std::size_t frames = block.maxsize / (2 * sizeof(float));
  if (buffer->requested > 0) frames = std::min<std::size_t>(frames, buffer->requested);
  auto* out = static_cast<float*>(block.data);
  const bool isSilent = self->isSilent.load(std::memory_order_relaxed);
  for (std::size_t i = 0; i < frames && out != nullptr; ++i) {
    const float sample = isSilent ? 0.0F : self->samples[self->position];
    *out++ = sample;
    *out++ = sample;
    self->position = (self->position + 1) % self->samples.size();
  }
  block.chunk->offset = 0;
  block.chunk->stride = 2 * sizeof(float);
  block.chunk->size = static_cast<std::uint32_t>(frames * 2 * sizeof(float));
  pw_stream_queue_buffer(self->stream, buffer);
}

void onEnd(void* data, int /*number*/) { pw_main_loop_quit(static_cast<Player*>(data)->loop); }

void onSilence(void* data, int /*number*/) {
  auto* const self = static_cast<Player*>(data);
  self->isSilent = !self->isSilent;
}

}  // namespace

int play(const std::string& name, std::size_t chirp, Autoconnect autoconnect) {
  static constexpr pw_stream_events events = {.version = PW_VERSION_STREAM_EVENTS, .process = onProcess};
  pw_init(nullptr, nullptr);
  Player player;
  player.samples = chirpSamples(chirps[chirp]);
  player.loop = pw_main_loop_new(nullptr);
  pw_loop* const loop = pw_main_loop_get_loop(player.loop);
  pw_loop_add_signal(loop, SIGTERM, onEnd, &player);
  pw_loop_add_signal(loop, SIGINT, onEnd, &player);
  pw_loop_add_signal(loop, SIGUSR1, onSilence, &player);
  const std::string id = "bench." + name;
  // The stock client configuration of this name asks for a real-time data thread; the default one does not.
  pw_context* const context = pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
  pw_core* const core = pw_context_connect(
      context, pw_properties_new(PW_KEY_APP_NAME, name.c_str(), PW_KEY_APP_ID, id.c_str(), nullptr), 0);
  if (core == nullptr) return 1;
  player.stream = pw_stream_new(core, name.c_str(),
                                pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                                  PW_KEY_MEDIA_ROLE, "Music", PW_KEY_NODE_NAME, name.c_str(),
                                                  PW_KEY_APP_NAME, name.c_str(), PW_KEY_APP_ID, id.c_str(), nullptr));
  spa_hook listener{};
  pw_stream_add_listener(player.stream, &listener, &events, &player);
  std::uint8_t space[1024];
  spa_pod_builder builder = SPA_POD_BUILDER_INIT(space, sizeof space);
  spa_audio_info_raw format = {};
  format.format = SPA_AUDIO_FORMAT_F32;
  format.rate = sampleRateHz;
  format.channels = 2;
  format.position[0] = SPA_AUDIO_CHANNEL_FL;
  format.position[1] = SPA_AUDIO_CHANNEL_FR;
  const spa_pod* parameters[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
  auto flags = PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
  if (autoconnect == Autoconnect::yes) flags |= PW_STREAM_FLAG_AUTOCONNECT;
  const int status = pw_stream_connect(player.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
                                       static_cast<pw_stream_flags>(flags), parameters, 1);
  if (status < 0) return 1;
  pw_main_loop_run(player.loop);
  pw_stream_destroy(player.stream);
  pw_core_disconnect(core);
  pw_context_destroy(context);
  pw_main_loop_destroy(player.loop);
  pw_deinit();
  return 0;
}

}  // namespace brindlemux::bench
