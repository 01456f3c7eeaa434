#include "platform/pipewire/server_connection.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <pipewire/mem.h>
#include <span>
#include <thread>
#include <vector>

#include "platform/pipewire/cycle_counter.h"
#include "platform/pipewire/filter_node.h"
#include "platform/pipewire/server_fixture.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

class SilentProcess final : public FilterProcess {
 public:
  void process(std::span<float* const>, std::span<float* const>, std::uint32_t) noexcept override {}
};

/// Makes nodes on each connection.
class Nodes final : public ServerConnection::Delegate {
 public:
  void serverConnected(pw_core* core) override {
    ++connections_;
    add(core);
  }
  void serverDisconnected() override { nodes_.clear(); }
  void serverUpdated() override {}

  /// Under the connection's lock.
  void add(pw_core* core) {
    const FilterShape shape = {
        .name = "node", .description = "Node", .inputPorts = 1, .latencyFrames = 1024, .latencyRateHz = 48000};
    nodes_.push_back(std::make_unique<FilterNode>(core, shape, process_, counter_, [] {}));
  }
  int connections() const { return connections_; }

 private:
  SilentProcess process_;
  CycleCounter counter_;
  std::atomic<int> connections_ = 0;
  std::vector<std::unique_ptr<FilterNode>> nodes_;
};

TEST_F(PipeWireServer, aConnectionThatHasLostCountOfItsMemoryIsMadeAnew) {
  Nodes delegate;
  ServerConnection connection(delegate);
  connection.start();
  EXPECT_EQ(delegate.connections(), 1);
  ASSERT_TRUE(connection.roundTrip(std::chrono::seconds(10)));
  {
    const ServerConnection::Lock guard(connection);
    // A block of the client's own takes the number that the server gives to its next one.
    pw_mempool* const pool = pw_core_get_mempool(connection.core());
    ASSERT_NE(pw_mempool_alloc(pool, PW_MEMBLOCK_FLAG_READWRITE, SPA_DATA_MemFd, 4096), nullptr);
    delegate.add(connection.core());
  }
  EXPECT_TRUE(waitUntil([&] { return delegate.connections() == 2; })) << server_.logs();
  // The new one counts right: it stays.
  ASSERT_TRUE(connection.roundTrip(std::chrono::seconds(10)));
  EXPECT_EQ(delegate.connections(), 2);
  connection.stop();
}

TEST_F(PipeWireServer, roundTripsThatMeetAllEnd) {
  Nodes delegate;
  ServerConnection connection(delegate);
  connection.start();
  std::atomic<int> ended = 0;
  std::vector<std::thread> threads;
  constexpr int threadCount = 4;
  constexpr int roundTrips = 200;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < roundTrips; ++j) ended += connection.roundTrip(std::chrono::seconds(10)) ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(ended, threadCount * roundTrips);
  connection.stop();
}

}  // namespace
}  // namespace brindlemux::test
