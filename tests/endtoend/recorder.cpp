#include "endtoend/recorder.h"

#include "support/wait_until.h"
#include "support/wav_file.h"

namespace brindlemux::test {
namespace {

/// A channel map that keeps more than two channels apart and in order.
std::string discreteMap(int channels, const std::string& prefix) {
  std::string map;
  for (int i = 0; i < channels; ++i) map += (i == 0 ? "" : ",") + prefix + std::to_string(i);
  return map;
}

std::vector<std::string> nativeCommand(Recorder::Of of, const std::string& target, int channels,
                                       const std::string& file) {
  std::vector<std::string> command = {"pw-record", "--target", target, "--format", "f32", "--rate", "48000"};
  command.insert(command.end(), {"--channels", std::to_string(channels)});
  if (channels > 2) command.insert(command.end(), {"--channel-map", discreteMap(channels, "AUX")});
  if (of == Recorder::Of::output) command.insert(command.end(), {"-P", "{ stream.capture.sink = true }"});
  command.push_back(file);
  return command;
}

std::vector<std::string> pulseCommand(Recorder::Of of, const std::string& target, int channels,
                                      const std::string& file) {
  std::vector<std::string> command = {"parecord", "-d", of == Recorder::Of::output ? target + ".monitor" : target};
  command.insert(command.end(), {"--format=float32le", "--rate=48000", "--channels=" + std::to_string(channels),
                                 "--latency-msec=50", "--file-format=wav"});
  if (channels > 2) command.push_back("--channel-map=" + discreteMap(channels, "aux"));
  command.push_back(file);
  return command;
}

}  // namespace

Recorder::Recorder(const RoutingSession& session, Interface interface, Of of, const std::string& target, int channels)
    : channels_(channels),
      file_(session.file(target + (of == Of::output ? ".output" : ".input") +
                         (interface == Interface::native ? ".native.wav" : ".pulse.wav"))) {
  process_ =
      session.launchUrgently(interface == Interface::native ? nativeCommand(of, target, channels, file_.string())
                                                            : pulseCommand(of, target, channels, file_.string()));
}

std::vector<std::vector<float>> Recorder::all() const {
  const auto wav = readWav(file_);
  if (!wav || wav->channels.size() != static_cast<std::size_t>(channels_)) {
    return std::vector<std::vector<float>>(static_cast<std::size_t>(channels_));
  }
  return wav->channels;
}

std::vector<std::vector<float>> Recorder::newest(std::size_t count) const {
  const auto wav = readWavEnd(file_, count);
  if (!wav || wav->channels.size() != static_cast<std::size_t>(channels_) || wav->frames() < count) {
    return std::vector<std::vector<float>>(static_cast<std::size_t>(channels_));
  }
  return wav->channels;
}

std::size_t Recorder::frames() const {
  std::error_code error;
  const auto bytes = std::filesystem::file_size(file_, error);
  return error ? 0 : bytes / (sizeof(float) * static_cast<std::size_t>(channels_));
}

bool Recorder::waitForFrames(std::size_t count, std::chrono::milliseconds deadline) const {
  return waitUntil([&] { return frames() >= count; }, deadline);
}

std::vector<std::vector<float>> Recorder::next(std::size_t count) const {
  const std::size_t start = frames();
  // The header counts for a few frames in the file's size.
  constexpr std::size_t headerFrames = 64;
  if (!waitForFrames(start + count + headerFrames)) {
    return std::vector<std::vector<float>>(static_cast<std::size_t>(channels_));
  }
  return newest(count);
}

}  // namespace brindlemux::test
