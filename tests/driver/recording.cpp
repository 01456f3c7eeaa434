#include "driver/recording.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <utility>

#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

// 48000 Hz / 50 Hz. A lost or repeated block of 256, 512 or 1024 frames shifts the sound by no whole period.
constexpr std::size_t periodFrames = 960;
constexpr float rounding = 1e-6f;

std::string pulseChannelMap(std::size_t channels) {
  if (channels == 2) return "front-left,front-right";
  std::string map = channelMap(channels);
  std::ranges::transform(map, map.begin(),
                         [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return map;
}

std::vector<std::string> nativeCommand(const char* program, const std::string& target, std::size_t channels) {
  std::vector<std::string> command = {program, "--format=f32", "--rate=48000", "--channels=" + std::to_string(channels),
                                      "--channel-map=" + channelMap(channels)};
  if (!target.empty()) command.push_back("--target=" + target);
  return command;
}

}  // namespace

std::string channelMap(std::size_t channels) {
  if (channels == 2) return "FL,FR";
  std::string map;
  for (std::size_t channel = 0; channel < channels; ++channel) {
    map += (channel == 0 ? "AUX" : ",AUX") + std::to_string(channel);
  }
  return map;
}

Recording::Recording(const PrivateServer& server, std::vector<std::string> command, const std::string& fileName)
    : path_(server.folder() / fileName) {
  command.push_back(path_.string());
  process_ = server.launch(std::move(command));
}

WavFile Recording::soFar() const { return readWav(path_).value_or(WavFile{}); }

std::optional<WavFile> Recording::waitForSound(std::size_t frames, std::chrono::milliseconds deadline) const {
  WavFile end;
  const auto isSteady = [&] {
    end = soFar();
    if (end.frames() < frames + periodFrames) return false;
    const std::size_t start = end.frames() - frames;
    for (const auto& channel : end.channels) {
      for (std::size_t frame = start; frame < channel.size(); ++frame) {
        if (std::abs(channel[frame] - channel[frame - periodFrames]) > rounding) return false;
      }
    }
    for (auto& channel : end.channels)
      channel.erase(channel.begin(), channel.begin() + static_cast<std::ptrdiff_t>(start));
    const std::vector<float> zeros(100);
    const auto& first = end.channels.front();
    return std::search(first.begin(), first.end(), zeros.begin(), zeros.end()) == first.end();
  };
  if (!waitUntil(isSteady, deadline)) return std::nullopt;
  return end;
}

bool Recording::waitForMore(std::size_t frames, std::chrono::milliseconds deadline) const {
  const std::size_t wanted = soFar().frames() + frames;
  return waitUntil([&] { return soFar().frames() >= wanted; }, deadline);
}

WavFile Recording::finish() {
  process_->stop(SIGINT);
  return soFar();
}

std::vector<std::string> nativeRecorder(const std::string& target, std::size_t channels) {
  return nativeCommand("pw-record", target, channels);
}

std::vector<std::string> nativePlayer(const std::string& target, std::size_t channels) {
  return nativeCommand("pw-play", target, channels);
}

std::vector<std::string> pulseRecorder(const std::string& source, std::size_t channels) {
  return {"parecord",
          "--file-format=wav",
          "--format=float32le",
          "--rate=48000",
          "--channels=" + std::to_string(channels),
          "--channel-map=" + pulseChannelMap(channels),
          "--device=" + source};
}

std::vector<std::string> pulsePlayer(const std::string& sink, std::size_t channels) {
  return {"paplay", "--channel-map=" + pulseChannelMap(channels), "--device=" + sink};
}

std::vector<std::string> named(const std::string& name, std::vector<std::string> command) {
  command.push_back("--properties={\"node.name\":\"" + name + "\"}");
  return command;
}

std::unique_ptr<ChildProcess> play(const PrivateServer& server, std::vector<std::string> command,
                                   const WavFile& samples, const std::string& fileName) {
  const auto path = server.folder() / fileName;
  writeWav(path, samples);
  command.push_back(path.string());
  return server.launch(std::move(command));
}

}  // namespace brindlemux::test
