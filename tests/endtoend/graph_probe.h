#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <string>
#include <vector>

#include "support/private_server.h"
#include "support/server_client.h"

namespace brindlemux::test {

/// Plays numbered frames and listens to what becomes of them, in real-time callbacks of this process, frame by frame of
/// the server's own cycles: nothing between the two is resampled, whatever the rate is, and nothing is lost because a
/// tool wrote its file late.
///
/// It plays on "probe.player:output_1" and "output_2", the same on both, and is an application that is named by this
/// process's binary. It listens on "probe.listener:input_1" and so on. The caller links them.
///
/// Threads: one; the callbacks have their own.
class GraphProbe {
 public:
  /// Throws std::runtime_error when there is no server.
  GraphProbe(const PrivateServer& server, std::size_t listeners);
  ~GraphProbe();
  GraphProbe(const GraphProbe&) = delete;
  GraphProbe& operator=(const GraphProbe&) = delete;

  /// One stretch that does not continue what was heard before: silence, or a jump to another number, or both.
  struct Break {
    std::int64_t at = 0;       ///< frames heard before it
    std::int64_t silent = 0;   ///< frames of silence
    std::int64_t skipped = 0;  ///< frames left out, or repeated where it is negative
    bool isForeign = false;    ///< what followed was never played

    std::string text() const;
  };

  /// Frames of one listener's since its first sound, silence among them. Threads: any.
  std::int64_t heard(std::size_t listener) const { return listeners_[listener]->heard.load(); }
  /// The breaks of one listener so far, the first 1000 of them.
  std::vector<Break> breaks(std::size_t listener) const;

  /// Of the last cycle, in Hz and frames.
  std::uint32_t rateHz() const noexcept { return rateHz_.load(); }
  std::uint32_t frames() const noexcept { return frames_.load(); }
  /// How often a cycle came more than half a period late: the machine has then not run some real-time thread in time,
  /// and what is lost is no fault of the route's.
  std::int64_t stalls() const noexcept { return stalls_.load(); }

 private:
  static constexpr std::size_t mostBreaks = 1000;
  struct Listener {
    void* port = nullptr;
    std::atomic<std::int64_t> heard{0};
    std::array<Break, mostBreaks> breaks;
    std::atomic<std::size_t> breakCount{0};
    std::int64_t lastNumber = -1;
    std::int64_t silent = 0;

    void hear(const float* samples, std::uint32_t frames) noexcept;
  };
  static const pw_filter_events playEvents;
  static const pw_filter_events listenEvents;
  pw_filter* connect(const char* name, const pw_filter_events& events, spa_hook& hook);
  void* addPort(pw_filter* filter, pw_direction direction, std::size_t number);
  void play(const spa_io_position& position) noexcept;
  void listen(const spa_io_position& position) noexcept;

  ServerClient client_;
  pw_filter* player_ = nullptr;
  pw_filter* listener_ = nullptr;
  spa_hook playerHook_ = {};
  spa_hook listenerHook_ = {};
  std::array<void*, 2> playerPorts_ = {};
  std::vector<std::unique_ptr<Listener>> listeners_;
  std::int64_t nextNumber_ = 0;
  std::chrono::steady_clock::time_point lastCycle_;
  std::atomic<std::uint32_t> rateHz_{0};
  std::atomic<std::uint32_t> frames_{0};
  std::atomic<std::int64_t> stalls_{0};
};

}  // namespace brindlemux::test
