#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace brindlemux::bench {

/// What went wrong on the server, as pw-top counts it.
struct ErrorCounts {
  /// Cycles of a driver that were not complete when the next began, since the server's start, by the driver's name.
  std::map<std::string, int> xruns;
  /// Cycles in which a node had not finished, since the probe's start, by the node's name.
  std::map<std::string, int> missed;
  /// Profiles that the server has sent.
  int profiles = 0;

  int totalXruns() const;
  int totalMissed() const;
};

/// Records several ports of the server in the same cycles, so that frames of the recordings with one index belong to
/// one moment; and counts the server's errors.
///
/// Threads: the main thread.
class Probe {
 public:
  /// Appears on the server as the node "probe" with ports input_1, input_2... and keeps up to `seconds` of each.
  Probe(const std::string& socket, std::size_t ports, int seconds);
  ~Probe();
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;

  /// Frames recorded until now.
  std::size_t frames() const;
  /// What port `port` has heard.
  std::vector<float> recording(std::size_t port) const;
  /// The length of the latest cycle in frames.
  std::uint32_t cycleFrames() const;
  ErrorCounts errors() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace brindlemux::bench
