#include "endtoend/routing_session.h"

#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/server_dump.h"
#include "support/wait_until.h"
#include "support/wav_file.h"

namespace brindlemux::test {
namespace {

PrivateServerOptions serverOptions(int rateHz) {
  PrivateServerOptions options;
  options.sinks = {{.name = "speakers", .channels = 2, .description = "Speakers"},
                   {.name = "headphones", .channels = 2, .description = "Headphones"}};
  options.sources = {{.name = "mic", .channels = 2, .description = "Microphone"}};
  options.rateHz = rateHz;
  return options;
}

/// Whether pw-link's list has `input` among the ports that stand below `output`.
bool isLinked(const std::string& list, const std::string& output, const std::string& input) {
  std::istringstream lines(list);
  std::string line;
  bool isBelowOutput = false;
  while (std::getline(lines, line)) {
    if (!line.starts_with("  ")) {
      isBelowOutput = line == output;
    } else if (isBelowOutput && line == "  |-> " + input) {
      return true;
    }
  }
  return false;
}

}  // namespace

RoutingSession::RoutingSession(int channels, const std::string& graphs, Program program, int rateHz)
    : server_(serverOptions(rateHz)) {
  const std::string uid = deviceUID;
  const std::string list =
      R"({"devices":[{"uid":")" + uid + R"(","name":"Test Device","channels":)" + std::to_string(channels) + "}]}";
  if (server_.run({"pw-metadata", "-n", "com.brindlemux.driver", "0", "bxcf", list, "Spa:String:JSON"}).status != 0) {
    throw std::runtime_error("the device's list cannot be written: " + server_.logs());
  }
  const std::string last = channels == 2 ? "FR" : "AUX" + std::to_string(channels - 1);
  if (!waitUntilLinked(uid + ":monitor_" + last, uid + ".source:input_" + last)) {
    throw std::runtime_error("the device is not there: " + server_.logs());
  }

  const auto data = file("programdata");
  std::filesystem::create_directories(data / "Brindlemux");
  std::ofstream(data / "Brindlemux" / "graphs.json") << graphs;
  command_ = {.arguments = {BRINDLEMUX_PROGRAM}, .environment = server_.environment()};
  command_.environment["XDG_DATA_HOME"] = data.string();
  command_.environment["QT_QPA_PLATFORM"] = "offscreen";
  command_.environment["QT_QUICK_BACKEND"] = "software";
  if (program == Program::runs) program_ = std::make_unique<ChildProcess>(command_);
}

RoutingSession::~RoutingSession() {
  if (program_) program_->stop(SIGTERM);
}

std::unique_ptr<ChildProcess> RoutingSession::startAgain(const std::map<std::string, std::string>& environment) const {
  Command command = command_;
  command.environment.insert(environment.begin(), environment.end());
  return std::make_unique<ChildProcess>(command);
}

std::filesystem::path RoutingSession::writeStereo(const std::string& name, std::vector<float> left,
                                                  std::vector<float> right) const {
  auto path = file(name);
  writeWav(path, {.sampleRateHz = 48000, .channels = {std::move(left), std::move(right)}});
  return path;
}

std::unique_ptr<ChildProcess> RoutingSession::launchUrgently(std::vector<std::string> arguments) const {
  // Players read their files and recorders write theirs on ordinary threads: on a busy machine they would be what tears
  // the sound. Where real-time scheduling is not allowed they run as they are.
  static const bool isAllowed = server_.run({"chrt", "--rr", "1", "true"}).status == 0;
  if (isAllowed) arguments.insert(arguments.begin(), {"chrt", "--rr", "1"});
  return server_.launch(std::move(arguments));
}

std::unique_ptr<ChildProcess> RoutingSession::play(const std::filesystem::path& file, const std::string& target) const {
  std::vector<std::string> arguments = {"pw-play"};
  if (!target.empty()) arguments.insert(arguments.end(), {"--target", target});
  arguments.push_back(file.string());
  return launchUrgently(std::move(arguments));
}

std::unique_ptr<ChildProcess> RoutingSession::playIntoMicrophone(const std::filesystem::path& file) const {
  // Target 0 keeps the session manager from linking the player to an output.
  auto player = play(file, "0");
  for (const std::string side : {"FL", "FR"}) {
    const bool isLinkedNow = waitUntil([&] {
      return server_.run({"pw-link", "pw-play:output_" + side, "mic:input_" + side}).status == 0;
    });
    if (!isLinkedNow) throw std::runtime_error("the microphone cannot be fed: " + report());
  }
  return player;
}

bool RoutingSession::waitUntilLinked(const std::string& output, const std::string& input,
                                     std::chrono::milliseconds deadline) const {
  return waitUntil([&] { return isLinked(server_.run({"pw-link", "-l"}).output, output, input); }, deadline);
}

std::map<std::int64_t, std::string> RoutingSession::programNodes() const {
  std::map<std::int64_t, std::string> nodes;
  const ServerDump dump(server_);
  for (const ServerDump::Node& node : dump.nodes()) {
    const std::string name = node.property("node.name");
    const bool isOurs =
        name.starts_with("brindlemux.output") || name.starts_with("brindlemux.input") || name == "brindlemux.tap";
    if (isOurs) nodes.emplace(node.serial, name);
  }
  return nodes;
}

std::filesystem::path RoutingSession::programPath(const std::string& name) const {
  const RunResult found = server_.run({"which", name});
  return found.output.substr(0, found.output.find('\n'));
}

std::string RoutingSession::report() const {
  std::string nodes;
  const ServerDump dump(server_);
  for (const ServerDump::Node& node : dump.nodes()) {
    nodes += "\n  " + node.property("node.name") + " " + node.state + ", " + std::to_string(node.inputPorts) + " in, " +
             std::to_string(node.outputPorts) + " out";
  }
  return "the program: " + (program_ ? program_->error() : "absent") + "\nthe nodes: " + nodes + "\n" +
         std::to_string(dump.links().size()) + " links\nthe servers: " + server_.logs();
}

}  // namespace brindlemux::test
