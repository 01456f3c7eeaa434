#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/device_graph.h"
#include "support/child_process.h"
#include "support/private_server.h"

namespace brindlemux::bench {

/// A display that nobody sees.
class Display {
 public:
  Display();
  std::string name() const;

 private:
  test::ChildProcess server_;
};

/// The program on a private server, with the devices and graphs that it finds there.
class Program {
 public:
  /// Gives the driver a device for each graph, with that many channels, and starts the program. Returns once its window
  /// is there. `environment` is added to the program's.
  Program(const test::PrivateServer& server, const Display& display, const DeviceGraphs& graphs, int channels,
          const std::map<std::string, std::string>& environment = {});
  ~Program();

  pid_t pid() const noexcept { return process_->pid(); }
  /// Takes the window from the display, as when it is minimised.
  void hideWindow() const;
  /// What it has said on standard error until now.
  std::string said() const { return process_->error(); }

 private:
  std::string window() const;

  const test::PrivateServer& server_;
  std::string display_;
  std::unique_ptr<test::ChildProcess> process_;
};

}  // namespace brindlemux::bench
