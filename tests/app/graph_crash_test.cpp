#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <new>
#include <random>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "app/controller/graph_writer.h"
#include "support/file_contents.h"
#include "support/repetitions.h"
#include "support/store_services.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace brindlemux {
namespace {

/// The steps of a slider that is dragged, by a program that is killed now and then and started again.
constexpr std::int64_t steps = 2000;

/// The map of one step: two graphs that say the same, and enough beside it that the file is more than one block.
GraphWriter::Changes mapOf(std::int64_t step) {
  GraphWriter::Changes changes;
  for (const char* uid : {"BrindlemuxAudio_UID_1", "BrindlemuxAudio_UID_2"}) {
    DeviceGraph graph(uid);
    graph.latencyFrames = step;
    graph.wires.resize(100, SourceWire{.sourceID = {}, .sourceChannel = step, .outputChannel = step});
    changes.emplace(uid, std::move(graph));
  }
  return changes;
}

/// The step whose map the file holds; nothing when it holds none of them.
std::optional<std::int64_t> stepOf(const DeviceGraphs& graphs) {
  if (graphs.empty()) return std::nullopt;
  const std::int64_t step = graphs.begin()->second.latencyFrames;
  const auto expected = mapOf(step);
  const bool isWhole = graphs.size() == expected.size() && std::ranges::all_of(graphs, [&](const auto& entry) {
                         const auto same = expected.find(entry.first);
                         return same != expected.end() && same->second->wires == entry.second.wires &&
                                same->second->latencyFrames == entry.second.latencyFrames;
                       });
  return isWhole ? std::optional(step) : std::nullopt;
}

class GraphCrash : public testing::Test {
 protected:
  GraphCrash()
      : handedOver_(*new (mmap(nullptr, sizeof(std::atomic<std::int64_t>), PROT_READ | PROT_WRITE,
                               MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<std::int64_t>(0)) {}
  ~GraphCrash() override { munmap(&handedOver_, sizeof(handedOver_)); }

  /// Drags on from `from` in a process of its own.
  pid_t startDrag(std::int64_t from) {
    const pid_t child = fork();
    if (child != 0) return child;
    {
      GraphWriter writer(store_, store_.load());
      for (std::int64_t step = from + 1; step <= steps; ++step) {
        writer.save(mapOf(step));
        handedOver_ = step;
        // No further ahead of the disk than a person could be.
        if (step % 8 == 0) writer.wait();
      }
    }
    _exit(0);
  }

  test::TemporaryFolder folder_;
  test::FolderLocations locations_{folder_.path()};
  test::FixedClock clock_;
  StandardErrorLog log_;
  GraphStore store_{locations_, clock_, log_};
  /// The last step that the drag has handed over; shared with its process.
  std::atomic<std::int64_t>& handedOver_;
};

TEST_F(GraphCrash, aDragThatIsKilledAtAnyTimeLeavesTheMapOfOneOfItsSteps) {
  const auto seed = static_cast<std::uint64_t>(getpid());
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 random(seed);
  const int rounds = test::repetitions("BRINDLEMUX_CRASHES", 20);
  std::int64_t saved = 0;
  int killed = 0;
  for (int round = 0; round < rounds; ++round) {
    // On average the rounds share the drag between them; a long run has several.
    if (saved >= steps) saved = 0;
    const std::int64_t left = steps - saved;
    const std::int64_t due = saved + 1 + static_cast<std::int64_t>(random() % 200) % left;
    handedOver_ = saved;
    const pid_t drag = startDrag(saved);
    ASSERT_GT(drag, 0);
    EXPECT_TRUE(test::waitUntil([&] { return handedOver_ >= due; }, std::chrono::seconds(60)));
    // Anywhere in the save that goes on.
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 3000);
    while (std::chrono::steady_clock::now() < end) std::this_thread::yield();
    kill(drag, SIGKILL);
    int status = 0;
    waitpid(drag, &status, 0);
    killed += WIFSIGNALED(status) ? 1 : 0;

    const DeviceGraphs graphs = store_.load();
    const auto folder = store_.fileURL().parent_path();
    if (saved == 0 && !std::filesystem::exists(folder)) continue;  // before the first save had made it
    const auto names = test::namesIn(folder);
    for (const std::string& name : names) EXPECT_EQ(name.find("corrupt"), std::string::npos) << name;
    if (graphs.empty() && saved == 0) continue;  // before the first save was done
    const auto step = stepOf(graphs);
    ASSERT_TRUE(step.has_value()) << "round " << round;
    EXPECT_GE(*step, std::max<std::int64_t>(saved, 1));
    EXPECT_LE(*step, steps);
    saved = *step;
  }
  EXPECT_GT(killed, rounds / 2);
  std::printf("%d drags killed\n", killed);
}

}  // namespace
}  // namespace brindlemux
