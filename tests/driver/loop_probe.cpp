#include "driver/loop_probe.h"

#include <algorithm>
#include <spa/param/audio/format-utils.h>

#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

constexpr int sampleRateHz = 48000;
// Two minutes, below the 2^24 numbers that a float tells apart.
constexpr std::size_t mostFrames = 120 * sampleRateHz;
constexpr float step = 1.0f / (1 << 24);

}  // namespace

const pw_stream_events LoopProbe::playEvents = [] {
  pw_stream_events events = {};
  events.version = PW_VERSION_STREAM_EVENTS;
  events.process = [](void* data) { static_cast<LoopProbe*>(data)->play(); };
  return events;
}();

const pw_stream_events LoopProbe::recordEvents = [] {
  pw_stream_events events = {};
  events.version = PW_VERSION_STREAM_EVENTS;
  events.process = [](void* data) { static_cast<LoopProbe*>(data)->record(); };
  return events;
}();

LoopProbe::LoopProbe(const PrivateServer& server, const std::string& playTarget, const std::string& recordTarget)
    : client_(server, ServerClient::DataThread::realtime), left_(mostFrames), right_(mostFrames) {
  player_ = connect(PW_DIRECTION_OUTPUT, playTarget, playEvents, playerListener_);
  recorder_ = connect(PW_DIRECTION_INPUT, recordTarget, recordEvents, recorderListener_);
  client_.start();
}

LoopProbe::~LoopProbe() {
  client_.stop();
  pw_stream_destroy(player_);
  pw_stream_destroy(recorder_);
}

pw_stream* LoopProbe::connect(pw_direction direction, const std::string& target, const pw_stream_events& events,
                              spa_hook& listener) {
  const char* const name = direction == PW_DIRECTION_OUTPUT ? "probe.player" : "probe.recorder";
  pw_stream* const stream =
      pw_stream_new(client_.core(), name,
                    pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY,
                                      direction == PW_DIRECTION_OUTPUT ? "Playback" : "Capture", PW_KEY_NODE_NAME, name,
                                      PW_KEY_TARGET_OBJECT, target.c_str(), nullptr));
  pw_stream_add_listener(stream, &listener, &events, this);
  spa_audio_info_raw format = {};
  format.format = SPA_AUDIO_FORMAT_F32P;
  format.rate = sampleRateHz;
  format.channels = 2;
  format.position[0] = SPA_AUDIO_CHANNEL_FL;
  format.position[1] = SPA_AUDIO_CHANNEL_FR;
  std::uint8_t buffer[1024];
  spa_pod_builder builder = {};
  spa_pod_builder_init(&builder, buffer, sizeof buffer);
  const spa_pod* parameters[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
  const auto flags =
      static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
  pw_stream_connect(stream, direction, PW_ID_ANY, flags, parameters, 1);
  return stream;
}

void LoopProbe::play() noexcept {
  pw_buffer* const buffer = pw_stream_dequeue_buffer(player_);
  if (buffer == nullptr) return;
  spa_data* const channels = buffer->buffer->datas;
  std::size_t frames = channels[0].maxsize / sizeof(float);
  if (buffer->requested != 0) frames = std::min(frames, static_cast<std::size_t>(buffer->requested));
  for (std::size_t frame = 0; frame < frames; ++frame, ++nextNumber_) {
    const float sample = static_cast<float>(nextNumber_) * step;
    static_cast<float*>(channels[0].data)[frame] = sample;
    static_cast<float*>(channels[1].data)[frame] = -sample;
  }
  for (int channel = 0; channel < 2; ++channel) {
    channels[channel].chunk->offset = 0;
    channels[channel].chunk->stride = sizeof(float);
    channels[channel].chunk->size = static_cast<std::uint32_t>(frames * sizeof(float));
  }
  pw_stream_queue_buffer(player_, buffer);
}

void LoopProbe::record() noexcept {
  pw_buffer* const buffer = pw_stream_dequeue_buffer(recorder_);
  if (buffer == nullptr) return;
  const spa_data* const channels = buffer->buffer->datas;
  const float* samples[2];
  for (int channel = 0; channel < 2; ++channel) {
    samples[channel] =
        static_cast<const float*>(channels[channel].data) + channels[channel].chunk->offset / sizeof(float);
  }
  const std::size_t frames = channels[0].chunk->size / sizeof(float);
  std::size_t heard = heard_.load();
  const auto now = std::chrono::steady_clock::now();
  const std::chrono::duration<double> latest(1.5 * static_cast<double>(frames) / sampleRateHz);
  if (heard > 0 && now - lastCallback_ > latest) stalled_.store(true);
  lastCallback_ = now;
  for (std::size_t frame = 0; frame < frames; ++frame) {
    // What comes before the first sound is not part of the recording.
    if ((heard == 0 && samples[0][frame] == 0) || heard == mostFrames) continue;
    left_[heard] = samples[0][frame];
    right_[heard] = samples[1][frame];
    ++heard;
  }
  heard_.store(heard);
  pw_stream_queue_buffer(recorder_, buffer);
}

bool LoopProbe::waitForMore(std::size_t frames) const {
  const std::size_t wanted = framesHeard() + frames;
  return waitUntil([&] { return framesHeard() >= wanted; });
}

std::string LoopProbe::firstBreak() const {
  const std::size_t heard = framesHeard();
  for (std::size_t frame = 0; frame < heard; ++frame) {
    const float expected = frame == 0 ? left_[0] : left_[frame - 1] + step;
    if (left_[frame] == expected && right_[frame] == -expected) continue;
    return "frame " + std::to_string(frame) + " of " + std::to_string(heard) + ": number " +
           std::to_string(left_[frame] / step) + " instead of " + std::to_string(expected / step);
  }
  return {};
}

}  // namespace brindlemux::test
