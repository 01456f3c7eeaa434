#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace brindlemux::test {

/// A sink or source that stands for hardware.
struct HardwareStandIn {
  std::string name;
  int channels = 2;
  std::string description;
};

struct PrivateServerOptions {
  enum class Driver { absent, loaded };

  Driver driver = Driver::loaded;
  /// The first one is the default.
  std::vector<HardwareStandIn> sinks = {};
  std::vector<HardwareStandIn> sources = {};
  int rateHz = 48000;
  int quantum = 1024;
  int minQuantum = 16;
  int maxQuantum = 2048;
};

/// What a program has answered.
struct RunResult {
  int status = 0;
  std::string output;
  std::string error;
};

/// A PipeWire, WirePlumber and pipewire-pulse of a test's own, in a temporary folder; nothing of the user's is touched.
///
/// Runs from construction until stop() or its end. Threads: the main thread (see ChildProcess).
class PrivateServer {
 public:
  /// Returns when clients can use it. Throws std::runtime_error, with what the server said, when it does not start.
  explicit PrivateServer(const PrivateServerOptions& options);

  /// Ends the servers; whether they ended by themselves, orderly, when asked to.
  bool stop();
  /// Starts them again in the same folder, after stop() or once they are not running after kill().
  void start();
  /// start() without its wait: they come up while the caller does something else.
  void begin();
  /// Kills the server itself, as a crash would. The others end with it; running() says when they have.
  void kill();
  /// Whether the server takes new clients.
  bool acceptsClients() const;
  bool running() { return script_ && script_->running(); }
  /// Restarts WirePlumber alone; returns whether a successor has taken its place and shown its default sink.
  bool restartSessionManager();

  /// The process of "pipewire", "wireplumber" or "pipewire-pulse".
  pid_t processId(const std::string& name) const;
  /// Waits until the servers have ended, which they all do when one of them ends by itself; what was said about it.
  std::string waitForEnd();

  /// What a client's environment needs.
  const std::map<std::string, std::string>& environment() const noexcept { return environment_; }
  /// Gives this process that environment, which makes it a client.
  void adoptEnvironment() const;
  /// The path of the server's socket, which clients of this process give as remote.name.
  std::string socket() const;
  /// The folder of the servers and their logs; tests may put their own files beside them.
  const std::filesystem::path& folder() const noexcept { return folder_.path(); }
  /// The logs of the servers, for a failure's message.
  std::string logs() const;

  /// Starts a client with the server's environment.
  std::unique_ptr<ChildProcess> launch(std::vector<std::string> arguments) const;
  /// Runs a client to its end; its status is 128 + SIGKILL when it does not come to one in time.
  RunResult run(std::vector<std::string> arguments,
                std::chrono::milliseconds deadline = std::chrono::seconds(10)) const;

 private:
  TemporaryFolder folder_;
  Command command_;
  std::unique_ptr<ChildProcess> script_;
  std::map<std::string, std::string> environment_;
};

}  // namespace brindlemux::test
