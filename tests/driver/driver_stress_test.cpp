#include <algorithm>
#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "driver/driver_fixture.h"
#include "driver/loop_probe.h"
#include "driver/property_client.h"
#include "driver/recording.h"
#include "support/repetitions.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using Devices = std::vector<VirtualDeviceConfig>;

// Keeps every core busy.
class Load {
 public:
  Load() {
    for (unsigned core = 0; core < std::max(1U, std::thread::hardware_concurrency()); ++core) {
      threads_.emplace_back([this] {
        while (!ending_.load(std::memory_order_relaxed)) {
        }
      });
    }
  }
  ~Load() {
    ending_.store(true);
    for (std::thread& thread : threads_) thread.join();
  }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

 private:
  std::atomic<bool> ending_ = false;
  std::vector<std::thread> threads_;
};

// Another list: each of five devices is there or not, with a name and a number of channels of its own.
Devices randomList(std::mt19937& random) {
  const std::vector<int> channels = {1, 2, 2, 2, 4, 6, 8, 16};
  Devices devices;
  for (const char* uid : {"a", "b", "c", "d", "e"}) {
    if (random() % 4 == 0) continue;
    devices.push_back({uid, "Name " + std::to_string(random() % 10), channels[random() % channels.size()]});
  }
  std::ranges::shuffle(devices, random);
  return devices;
}

class DriverStress : public DriverFixture {};

TEST_F(DriverStress, theServerAndTheSessionManagerLive) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  publish({{"a", "A", 2}, {"b", "B", 2}});
  // None of them ends by itself, or fills the disk.
  const LoopProbe byName(server_, "a", "a.source");
  const LoopProbe bySerial(server_, "b", std::to_string(dump().node("b.source")->serial));
  const auto pulsePlayer = server_.launch({"pacat", "--playback", "--raw", "--device=b", "/dev/zero"});
  const auto pulseRecorder = server_.launch({"sh", "-c", "exec parec --raw --device=a.source >/dev/null"});
  ASSERT_TRUE(byName.waitForMore(4800) && bySerial.waitForMore(4800));
  const pid_t sessionManager = server_.processId("wireplumber");

  PropertyClient client(server_);
  {
    const Load load;
    const int rounds = repetitions("BRINDLEMUX_STRESS_ROUNDS", 25);
    for (int round = 0; round < rounds; ++round) {
      const Devices devices = randomList(random);
      ASSERT_EQ(client.write(encodeDriverPayload(devices)), encodeDriverPayload(devices)) << "round " << round;
      ASSERT_TRUE(server_.running()) << "round " << round << server_.logs();
      // Some changes come while the one before is still under way, some when all is settled.
      if (round % 4 != 3) continue;
      ASSERT_TRUE(waitUntil(
          [&] {
            const ServerDump current = dump();
            return std::ranges::all_of(devices, [&](const auto& device) { return isUp(current, device); });
          },
          std::chrono::seconds(30)))
          << "round " << round << server_.logs();
    }
  }
  EXPECT_EQ(server_.processId("wireplumber"), sessionManager);
  EXPECT_EQ(kill(sessionManager, 0), 0);
  publish({{"a", "A", 2}});
  Recording last(server_, named("last", nativeRecorder("a.source", 2)), "last.wav");
  EXPECT_TRUE(waitUntil([&] {
    const ServerDump current = dump();
    const auto source = current.node("a.source");
    return source && isLinked(current, "last", *source);
  })) << server_.logs();
  EXPECT_TRUE(server_.stop()) << server_.logs();
}

}  // namespace
}  // namespace brindlemux::test
