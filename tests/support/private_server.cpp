#include "support/private_server.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "support/file_contents.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;

// Lines of `export NAME=VALUE`, the value quoted with backslashes where a shell needs it.
std::map<std::string, std::string> readEnvironment(const std::filesystem::path& path) {
  std::map<std::string, std::string> environment;
  std::ifstream file(path);
  const std::string start = "export ";
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find('=');
    if (!line.starts_with(start) || equals == std::string::npos) continue;
    std::string value;
    for (std::size_t i = equals + 1; i < line.size(); ++i) {
      if (line[i] == '\\' && i + 1 < line.size()) ++i;
      value += line[i];
    }
    environment[line.substr(start.size(), equals - start.size())] = value;
  }
  return environment;
}

std::string standIn(const HardwareStandIn& device) {
  return device.name + ":" + std::to_string(device.channels) + ":" + device.description;
}

}  // namespace

PrivateServer::PrivateServer(const PrivateServerOptions& options) {
  auto& arguments = command_.arguments;
  arguments = {BRINDLEMUX_SOURCE_DIR "/scripts/private-audio-server.sh", (folder() / "server").string()};
  const auto add = [&arguments](const char* option, const std::string& value) {
    arguments.emplace_back(option);
    arguments.push_back(value);
  };
  if (options.driver == PrivateServerOptions::Driver::loaded) add("--driver-dir", BRINDLEMUX_LIBRARY_DIR);
  for (const HardwareStandIn& sink : options.sinks) add("--sink", standIn(sink));
  for (const HardwareStandIn& source : options.sources) add("--source", standIn(source));
  add("--rate", std::to_string(options.rateHz));
  add("--quantum", std::to_string(options.quantum));
  add("--min-quantum", std::to_string(options.minQuantum));
  add("--max-quantum", std::to_string(options.maxQuantum));
#ifdef BRINDLEMUX_SERVER_WRAPPER
  command_.environment["PRIVATE_AUDIO_SERVER_WRAPPER"] = BRINDLEMUX_SERVER_WRAPPER;
#endif
  start();
}

void PrivateServer::begin() { script_ = std::make_unique<ChildProcess>(command_); }

void PrivateServer::start() {
  begin();
  // The script gives up by itself after 20 seconds, with a reason.
  waitUntil([this] { return script_->output() == "ready\n" || !script_->running(); }, 30s);
  if (script_->output() != "ready\n") {
    script_->stop(SIGTERM);
    throw std::runtime_error("the private server did not start: " + script_->error() + logs());
  }
  environment_ = readEnvironment(folder() / "server" / "environment");
}

bool PrivateServer::stop() {
  if (!script_) return true;
  const int status = script_->running() ? script_->stop(SIGTERM, 15s) : -1;
  script_.reset();
  return status == 0;
}

void PrivateServer::kill() { ::kill(processId("pipewire"), SIGKILL); }

bool PrivateServer::acceptsClients() const {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = socket();
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const bool isAccepted = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return isAccepted;
}

bool PrivateServer::restartSessionManager() {
  const pid_t before = processId("wireplumber");
  script_->signal(SIGUSR1);
  return waitUntil([&] { return processId("wireplumber") != before; }) && waitUntil([this] {
           return run({"pw-metadata", "0"}).output.find("default.audio.sink") != std::string::npos;
         });
}

pid_t PrivateServer::processId(const std::string& name) const {
  return std::stoi(contentOf(folder() / "server" / (name + ".pid")));
}

std::string PrivateServer::waitForEnd() {
  script_->wait(15s);
  return script_->error();
}

std::string PrivateServer::socket() const { return (folder() / "server" / "run" / "pipewire-0").string(); }

std::string PrivateServer::logs() const {
  std::string text;
  for (const char* name : {"pipewire", "wireplumber", "pipewire-pulse"}) {
    text += std::string("\n--- ") + name + "\n" + contentOf(folder() / "server" / "log" / (std::string(name) + ".log"));
  }
  return text;
}

void PrivateServer::adoptEnvironment() const {
  for (const auto& [name, value] : environment_) setenv(name.c_str(), value.c_str(), 1);
}

std::unique_ptr<ChildProcess> PrivateServer::launch(std::vector<std::string> arguments) const {
  return std::make_unique<ChildProcess>(Command{std::move(arguments), environment_, {}});
}

RunResult PrivateServer::run(std::vector<std::string> arguments, std::chrono::milliseconds deadline) const {
  const auto process = launch(std::move(arguments));
  auto status = process->wait(deadline);
  if (!status) status = process->stop(SIGKILL);
  return {*status, process->output(), process->error()};
}

}  // namespace brindlemux::test
