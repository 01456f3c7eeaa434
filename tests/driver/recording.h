#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/private_server.h"
#include "support/wav_file.h"

namespace brindlemux::test {

/// Comma-separated names of the discrete channels, "AUX0,AUX1,..."; FL,FR for two. As pw-cat's --channel-map takes
/// them.
std::string channelMap(std::size_t channels);

/// A recorder at work, by whatever command, that writes a 32-bit float WAV file.
class Recording {
 public:
  /// The file's path is added to the command.
  Recording(const PrivateServer& server, std::vector<std::string> command, const std::string& fileName);

  /// What is recorded until now.
  WavFile soFar() const;
  /// Waits until the last frames, as many as that, are a steady sound: no run of 100 zeros on the first channel, and
  /// every frame as the one 960 before it, which holds for tones of whole multiples of 50 Hz at 48000 Hz unless a block
  /// is lost or repeated. (A recorder that does not run in real time loses some on a busy machine.) These frames, or
  /// nothing at the deadline.
  std::optional<WavFile> waitForSound(std::size_t frames,
                                      std::chrono::milliseconds deadline = std::chrono::seconds(15)) const;
  /// Waits for that many more frames.
  bool waitForMore(std::size_t frames, std::chrono::milliseconds deadline = std::chrono::seconds(15)) const;
  /// Ends the recorder and returns all that it recorded.
  WavFile finish();
  pid_t pid() const noexcept { return process_->pid(); }

 private:
  std::filesystem::path path_;
  std::unique_ptr<ChildProcess> process_;
};

/// The commands, up to the file's name, of the recorders and players in use. A target is a node's name or serial.
std::vector<std::string> nativeRecorder(const std::string& target, std::size_t channels);
std::vector<std::string> pulseRecorder(const std::string& source, std::size_t channels);
std::vector<std::string> nativePlayer(const std::string& target, std::size_t channels);
std::vector<std::string> pulsePlayer(const std::string& sink, std::size_t channels);

/// The native command with a node name of its own.
std::vector<std::string> named(const std::string& name, std::vector<std::string> command);

/// Starts a player on samples that it writes into a file first.
std::unique_ptr<ChildProcess> play(const PrivateServer& server, std::vector<std::string> command,
                                   const WavFile& samples, const std::string& fileName);

}  // namespace brindlemux::test
