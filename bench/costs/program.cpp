#include "costs/program.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <stdexcept>

#include "model/driver_payload.h"
#include "model/graph_codec.h"
#include "support/wait_until.h"

namespace brindlemux::bench {
namespace {

using namespace std::chrono_literals;

std::string deviceList(const DeviceGraphs& graphs, int channels) {
  std::vector<VirtualDeviceConfig> devices;
  for (const auto& entry : graphs) {
    const std::string& uid = entry.first;
    devices.push_back({.uid = uid, .name = "Device " + uid.substr(uid.size() - 1), .channels = channels});
  }
  return encodeDriverPayload(devices);
}

}  // namespace

Display::Display()
    : server_({{"Xvfb", "-displayfd", "1", "-screen", "0", "2560x1440x24", "-nolisten", "tcp", "-noreset"}}) {
  test::waitUntil([this] { return server_.output().ends_with("\n") || !server_.running(); });
  if (!server_.output().ends_with("\n")) throw std::runtime_error("no display: " + server_.error());
}

std::string Display::name() const { return ":" + server_.output().substr(0, server_.output().find('\n')); }

Program::Program(const test::PrivateServer& server, const Display& display, const DeviceGraphs& graphs, int channels,
                 const std::map<std::string, std::string>& environment)
    : server_(server), display_(display.name()) {
  const std::string list = deviceList(graphs, channels);
  if (server.run({"pw-metadata", "-n", "com.brindlemux.driver", "0", "bxcf", list, "Spa:String:JSON"}).status != 0) {
    throw std::runtime_error("the devices' list cannot be written: " + server.logs());
  }
  const auto data = server.folder() / "program";
  std::filesystem::create_directories(data / "Brindlemux");
  std::ofstream(data / "Brindlemux" / "graphs.json") << std::get<std::string>(encodeGraphs(graphs));
  std::ofstream(data / "Brindlemux" / "Brindlemux.conf") << "[General]\nonboarding.seen=true\n";
  test::Command command{.arguments = {BRINDLEMUX_PROGRAM}, .environment = server.environment()};
  for (const auto& [name, value] : environment) command.environment[name] = value;
  command.environment["XDG_DATA_HOME"] = data.string();
  command.environment["XDG_CONFIG_HOME"] = data.string();
  command.environment["DISPLAY"] = display_;
  command.environment["QT_QPA_PLATFORM"] = "xcb";
  command.environment["QT_QUICK_BACKEND"] = "software";
  process_ = std::make_unique<test::ChildProcess>(command);
  if (!test::waitUntil([this] { return !window().empty(); }, 30s)) {
    throw std::runtime_error("the program shows no window: " + said());
  }
}

Program::~Program() { process_->stop(SIGTERM); }

std::string Program::window() const {
  const std::string found = server_
                                .run({"env", "DISPLAY=" + display_, "xdotool", "search", "--onlyvisible", "--classname",
                                      "com.brindlemux.Brindlemux"})
                                .output;
  return found.substr(0, found.find('\n'));
}

void Program::hideWindow() const {
  server_.run({"env", "DISPLAY=" + display_, "xdotool", "windowunmap", "--sync", window()});
  if (!test::waitUntil([this] { return window().empty(); })) throw std::runtime_error("the window stays");
}

}  // namespace brindlemux::bench
