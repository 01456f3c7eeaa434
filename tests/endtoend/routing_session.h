#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/private_server.h"

namespace brindlemux::test {

/// The program at work on a private server: two outputs and an input that stand for hardware ("speakers", the default,
/// "headphones" and "mic"), one virtual device, and a graphs file. Players and recorders are the server's own tools.
///
/// Threads: the main thread.
class RoutingSession {
 public:
  static constexpr const char* deviceUID = "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F";

  /// Whether the program is started at once; a test may also play its part itself.
  enum class Program { runs, absent };

  /// Publishes a device of that many channels, writes `graphs` as the text of the graphs file, and starts the program.
  /// `rateHz` is the server's. Returns when the device can be used. Throws std::runtime_error when it cannot.
  RoutingSession(int channels, const std::string& graphs, Program program = Program::runs, int rateHz = 48000);
  ~RoutingSession();

  PrivateServer& server() noexcept { return server_; }
  ChildProcess& program() noexcept { return *program_; }
  /// Starts the program, once more where one runs; `environment` is added to its own.
  std::unique_ptr<ChildProcess> startAgain(const std::map<std::string, std::string>& environment = {}) const;

  /// A file of the session's own.
  std::filesystem::path file(const std::string& name) const { return server_.folder() / name; }

  /// Writes a float WAV file of two channels and returns its path.
  std::filesystem::path writeStereo(const std::string& name, std::vector<float> left, std::vector<float> right) const;

  /// Starts a player or recorder, ahead of the machine's other work where that is allowed.
  std::unique_ptr<ChildProcess> launchUrgently(std::vector<std::string> arguments) const;

  /// Plays a file through the native interface into the default output, or into `target`.
  std::unique_ptr<ChildProcess> play(const std::filesystem::path& file, const std::string& target = {}) const;

  /// Plays a file into the input that stands for a microphone, which has no neighbour that would play into it by
  /// itself. Throws std::runtime_error when the two cannot be linked.
  std::unique_ptr<ChildProcess> playIntoMicrophone(const std::filesystem::path& file) const;

  /// Waits until a port is linked to another, both named "node:port", as pw-link shows them.
  bool waitUntilLinked(const std::string& output, const std::string& input,
                       std::chrono::milliseconds deadline = std::chrono::seconds(10)) const;

  /// The program's own nodes, by their serial numbers, which the server never uses twice; the driver's are not among
  /// them.
  std::map<std::int64_t, std::string> programNodes() const;

  /// Where a program is that is found through PATH.
  std::filesystem::path programPath(const std::string& name) const;

  /// What has gone wrong, for a failure's message: the program's standard error and the servers' logs.
  std::string report() const;

 private:
  PrivateServer server_;
  Command command_;
  std::unique_ptr<ChildProcess> program_;
};

}  // namespace brindlemux::test
