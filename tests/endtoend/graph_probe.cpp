#include "endtoend/graph_probe.h"

#include <algorithm>
#include <cmath>

namespace brindlemux::test {
namespace {

/// Numbers begin again after this many, a minute and a half at 96 kHz. As samples they lie from 0.25 to 0.75: exact in
/// a float, never silent, and below the limiter's knee of 0.9.
constexpr std::int64_t numberCount = 1 << 23;
constexpr float step = 1.0F / (1 << 24);
constexpr float firstSample = 0.25F;

float sampleOf(std::int64_t number) { return firstSample + static_cast<float>(number) * step; }

/// The number that a sample stands for, or -1 for a sample that was never played.
std::int64_t numberOf(float sample) {
  const auto number = static_cast<std::int64_t>(std::lround((sample - firstSample) / step));
  return number >= 0 && number < numberCount && sampleOf(number) == sample ? number : -1;
}

}  // namespace

const pw_filter_events GraphProbe::playEvents = [] {
  pw_filter_events events = {};
  events.version = PW_VERSION_FILTER_EVENTS;
  events.process = [](void* data, spa_io_position* position) { static_cast<GraphProbe*>(data)->play(*position); };
  return events;
}();

const pw_filter_events GraphProbe::listenEvents = [] {
  pw_filter_events events = {};
  events.version = PW_VERSION_FILTER_EVENTS;
  events.process = [](void* data, spa_io_position* position) { static_cast<GraphProbe*>(data)->listen(*position); };
  return events;
}();

GraphProbe::GraphProbe(const PrivateServer& server, std::size_t listeners)
    : client_(server, ServerClient::DataThread::realtime) {
  player_ = connect("probe.player", playEvents, playerHook_);
  listener_ = connect("probe.listener", listenEvents, listenerHook_);
  for (std::size_t i = 0; i < playerPorts_.size(); ++i) playerPorts_[i] = addPort(player_, PW_DIRECTION_OUTPUT, i + 1);
  for (std::size_t i = 0; i < listeners; ++i) {
    listeners_.push_back(std::make_unique<Listener>());
    listeners_.back()->port = addPort(listener_, PW_DIRECTION_INPUT, i + 1);
  }
  pw_filter_connect(player_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0);
  pw_filter_connect(listener_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0);
  client_.start();
}

GraphProbe::~GraphProbe() {
  client_.stop();
  pw_filter_destroy(player_);
  pw_filter_destroy(listener_);
}

pw_filter* GraphProbe::connect(const char* name, const pw_filter_events& events, spa_hook& hook) {
  // What a client of the JACK interface calls itself, which the session manager leaves alone.
  pw_filter* const filter =
      pw_filter_new(client_.core(), name,
                    pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Duplex", PW_KEY_MEDIA_ROLE,
                                      "DSP", PW_KEY_CLIENT_API, "jack", PW_KEY_NODE_NAME, name, nullptr));
  pw_filter_add_listener(filter, &hook, &events, this);
  return filter;
}

void* GraphProbe::addPort(pw_filter* filter, pw_direction direction, std::size_t number) {
  const std::string name = (direction == PW_DIRECTION_INPUT ? "input_" : "output_") + std::to_string(number);
  return pw_filter_add_port(
      filter, direction, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 0,
      pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, name.c_str(), nullptr), nullptr,
      0);
}

void GraphProbe::play(const spa_io_position& position) noexcept {
  const auto frames = static_cast<std::uint32_t>(position.clock.duration);
  const std::int64_t first = nextNumber_;
  nextNumber_ = (first + frames) % numberCount;
  for (void* port : playerPorts_) {
    auto* const samples = static_cast<float*>(pw_filter_get_dsp_buffer(port, frames));
    if (samples == nullptr) continue;
    for (std::uint32_t i = 0; i < frames; ++i) samples[i] = sampleOf((first + i) % numberCount);
  }
}

void GraphProbe::listen(const spa_io_position& position) noexcept {
  const auto frames = static_cast<std::uint32_t>(position.clock.duration);
  const auto now = std::chrono::steady_clock::now();
  const std::chrono::duration<double> latest(1.5 * std::max(frames, frames_.load()) / position.clock.rate.denom);
  if (frames_ != 0 && now - lastCycle_ > latest) ++stalls_;
  lastCycle_ = now;
  rateHz_ = position.clock.rate.denom;
  frames_ = frames;
  for (const auto& listener : listeners_) {
    listener->hear(static_cast<const float*>(pw_filter_get_dsp_buffer(listener->port, frames)), frames);
  }
}

void GraphProbe::Listener::hear(const float* samples, std::uint32_t frames) noexcept {
  std::int64_t position = heard.load();
  for (std::uint32_t i = 0; i < frames; ++i) {
    const float sample = samples == nullptr ? 0.0F : samples[i];
    const std::int64_t number = numberOf(sample);
    if (position == 0 && number < 0) continue;
    ++position;
    if (sample == 0.0F) {
      ++silent;
      continue;
    }
    const std::int64_t expected = (lastNumber + 1) % numberCount;
    if (position > 1 && (number != expected || silent > 0)) {
      const std::size_t count = breakCount.load();
      if (count < mostBreaks) {
        std::int64_t skipped = number < 0 ? 0 : number - expected;
        if (skipped > numberCount / 2) skipped -= numberCount;
        if (skipped < -numberCount / 2) skipped += numberCount;
        breaks[count] = {.at = position - 1 - silent, .silent = silent, .skipped = skipped, .isForeign = number < 0};
        breakCount.store(count + 1);
      }
    }
    silent = 0;
    lastNumber = number < 0 ? expected : number;
  }
  heard.store(position);
}

std::vector<GraphProbe::Break> GraphProbe::breaks(std::size_t listener) const {
  const Listener& asked = *listeners_[listener];
  return {asked.breaks.begin(), asked.breaks.begin() + static_cast<std::ptrdiff_t>(asked.breakCount.load())};
}

std::string GraphProbe::Break::text() const {
  return "at " + std::to_string(at) + ": " + std::to_string(silent) + " silent, " + std::to_string(skipped) +
         " skipped" + (isForeign ? ", then what was never played" : "");
}

}  // namespace brindlemux::test
