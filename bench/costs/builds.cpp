#include "costs/builds.h"

#include <stdexcept>

#include "support/wait_until.h"

namespace brindlemux::bench {
namespace {

UUID identifier(int device, int node) {
  UUID id;
  id.bytes[0] = static_cast<std::uint8_t>(device + 1);
  id.bytes[15] = static_cast<std::uint8_t>(node + 1);
  return id;
}

std::string deviceUID(int device) {
  return "BrindlemuxAudio_UID_00000000-0000-4000-8000-00000000000" + std::to_string(device + 1);
}

DeviceGraph graphOf(int device, int blockFrames) {
  DeviceGraph graph(deviceUID(device));
  graph.latencyFrames = blockFrames;
  int node = 0;
  for (const std::string name : applications) {
    graph.sources.push_back({.id = identifier(device, node++), .kind = AppSource{"bench." + name, name}});
  }
  graph.sources.push_back({.id = identifier(device, node++), .kind = MicSource{microphone, microphone}});
  for (const SourceNodeConfig& source : graph.sources) {
    for (const std::int64_t channel : {0, 1}) graph.wires.push_back({source.id, channel, channel});
  }
  for (const char* const name : monitors) {
    graph.monitors.push_back({.id = identifier(device, node++), .deviceUID = name, .name = name});
    for (const std::int64_t channel : {0, 1})
      graph.monitorWires.push_back({channel, graph.monitors.back().id, channel});
  }
  return graph;
}

class BrindlemuxBuild final : public Build {
 public:
  BrindlemuxBuild(const Routes& routes, const test::PrivateServer& server, const Display& display)
      : devices_(static_cast<std::size_t>(routes.devices)), program_(server, display, graphs(routes), 2) {
    program_.hideWindow();
  }

  std::vector<pid_t> processes() const override { return {program_.pid()}; }
  // Three sources, the device's input, its loop, its output and two monitors, of two channels each.
  std::size_t links() const override { return devices_ * 2 * 8; }
  std::string capturePort(int device) const override { return deviceUID(device) + ".source:capture_FL"; }

 private:
  static DeviceGraphs graphs(const Routes& routes) {
    DeviceGraphs all;
    for (int device = 0; device < routes.devices; ++device) {
      all.emplace(deviceUID(device), graphOf(device, routes.blockFrames));
    }
    return all;
  }

  std::size_t devices_;
  Program program_;
};

/// What pw-loopback and pw-link make.
class ToolBuild : public Build {
 public:
  ToolBuild(const Routes& routes, const test::PrivateServer& server)
      : server_(server), latency_("node.latency=" + std::to_string(routes.blockFrames) + "/48000") {}

  std::vector<pid_t> processes() const override {
    std::vector<pid_t> all;
    for (const auto& loopback : loopbacks_) all.push_back(loopback->pid());
    return all;
  }
  std::size_t links() const override { return links_; }
  std::string capturePort(int device) const override { return nameOf(device) + ".source:capture_FL"; }

 protected:
  static std::string nameOf(int device) { return "device-" + std::to_string(device + 1); }

  /// A device that others can play to and record from.
  void addDevice(int device) {
    const std::string name = nameOf(device);
    const std::string sink = "{ media.class=Audio/Sink node.name=" + name + " " + latency_ + " }";
    const std::string source = "{ media.class=Audio/Source node.name=" + name + ".source " + latency_ + " }";
    start({"-n", name, "--capture-props", sink, "--playback-props", source});
    // What names a target that is not there yet is linked to the default one.
    const bool isThere = test::waitUntil([&] {
      const std::string ports = server_.run({"pw-link", "-io"}).output;
      return ports.find(name + ":playback_FR") != std::string::npos &&
             ports.find(name + ".source:capture_FR") != std::string::npos;
    });
    if (!isThere) throw std::runtime_error("there is no " + name);
  }

  void start(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"pw-loopback"};
    for (const std::string& argument : arguments) command.push_back(argument);
    loopbacks_.push_back(server_.launch(std::move(command)));
  }

  void link(const std::string& output, const std::string& input) {
    for (const char* const side : {"FL", "FR"}) linkPorts(output + side, input + side);
  }
  void countLinks(std::size_t more) { links_ += more; }

  const test::PrivateServer& server_;
  const std::string latency_;

 private:
  /// The ports may take a moment to appear.
  void linkPorts(const std::string& output, const std::string& input) {
    const bool isLinked = test::waitUntil([&] { return server_.run({"pw-link", output, input}).status == 0; });
    if (!isLinked) throw std::runtime_error("cannot link " + output + " to " + input);
    ++links_;
  }

  std::vector<std::unique_ptr<test::ChildProcess>> loopbacks_;
  std::size_t links_ = 0;
};

class LoopbackBuild final : public ToolBuild {
 public:
  LoopbackBuild(const Routes& routes, const test::PrivateServer& server) : ToolBuild(routes, server) {
    for (int device = 0; device < routes.devices; ++device) {
      addDevice(device);
      for (const std::string name : applications) addApplication(device, name);
      addRoute(device, microphone, microphone, nameOf(device));
      for (const std::string name : monitors) addRoute(device, name, nameOf(device) + ".source", name);
    }
  }

 private:
  std::string routeName(int device, const std::string& what) const { return nameOf(device) + "." + what; }

  void addApplication(int device, const std::string& name) {
    const std::string route = routeName(device, name);
    // The application's own output stays as it is: only its ports are linked here as well.
    start({"-n", route, "-P", nameOf(device), "--capture-props", "{ node.autoconnect=false " + latency_ + " }",
           "--playback-props", "{ " + latency_ + " }"});
    link(name + ":output_", "input." + route + ":input_");
    countLinks(2);
  }
  void addRoute(int device, const std::string& what, const std::string& from, const std::string& to) {
    start({"-n", routeName(device, what), "-C", from, "-P", to, "--capture-props", "{ " + latency_ + " }",
           "--playback-props", "{ " + latency_ + " }"});
    countLinks(4);
  }
};

class LinkBuild final : public ToolBuild {
 public:
  LinkBuild(const Routes& routes, const test::PrivateServer& server) : ToolBuild(routes, server) {
    for (int device = 0; device < routes.devices; ++device) {
      const std::string name = nameOf(device);
      addDevice(device);
      for (const std::string application : applications) link(application + ":output_", name + ":playback_");
      link(std::string(microphone) + ":capture_", name + ":playback_");
      for (const std::string monitor : monitors) link(name + ".source:capture_", monitor + ":playback_");
    }
  }
};

}  // namespace

std::string_view nameOf(Builder builder) {
  switch (builder) {
    case Builder::brindlemux:
      return "brindlemux";
    case Builder::loopbacks:
      return "pw-loopback";
    case Builder::links:
      return "pw-link";
  }
  return {};
}

std::unique_ptr<Build> build(Builder builder, const Routes& routes, const test::PrivateServer& server,
                             const Display& display) {
  switch (builder) {
    case Builder::brindlemux:
      return std::make_unique<BrindlemuxBuild>(routes, server, display);
    case Builder::loopbacks:
      return std::make_unique<LoopbackBuild>(routes, server);
    case Builder::links:
      return std::make_unique<LinkBuild>(routes, server);
  }
  return nullptr;
}

}  // namespace brindlemux::bench
