#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "costs/program.h"
#include "support/private_server.h"

namespace brindlemux::bench {

/// The routes to be built: for each device two applications, one microphone and two monitors, all in stereo at unity.
struct Routes {
  int devices = 1;
  int blockFrames = 256;
};

inline constexpr const char* applications[] = {"app-a", "app-b"};
inline constexpr const char* microphone = "mic";
inline constexpr const char* monitors[] = {"headphones", "earphones"};

/// The routes at work on a server.
class Build {
 public:
  virtual ~Build() = default;

  /// Whose processor time the routes cost, beside the server's own processes.
  virtual std::vector<pid_t> processes() const = 0;
  /// The links that the routes consist of once they are complete.
  virtual std::size_t links() const = 0;
  /// The port, "node:port", at which others record the first channel of a device; devices count from 0.
  virtual std::string capturePort(int device) const = 0;
};

enum class Builder {
  brindlemux,  ///< the program, its window hidden
  loopbacks,   ///< pw-loopback for each device, each source and each monitor, so that each has a volume of its own
  links        ///< pw-loopback for each device alone and pw-link for the rest: no volumes but the device's
};
std::string_view nameOf(Builder builder);

std::unique_ptr<Build> build(Builder builder, const Routes& routes, const test::PrivateServer& server,
                             const Display& display);

}  // namespace brindlemux::bench
