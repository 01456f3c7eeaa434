// What the program's data thread asks of the kernel and of the allocator while its routes run on a real server.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "endtoend/allocation_counts.h"
#include "endtoend/graph_text.h"
#include "endtoend/levels.h"
#include "endtoend/routing_session.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

/// An application and a microphone to the device, and the device to the headphones.
std::string routedGraph() {
  return graphText({{"latencyFrames", "256"}}, {{applicationKind("pw-cat"), {{0, 0}}}, {inputKind("mic"), {{0, 1}}}},
                   {{"headphones", {{0, 0}, {1, 1}}}});
}

/// Counts in a file that the program shares, as allocation_watch.cpp does it there.
class SharedCounts {
 public:
  explicit SharedCounts(std::filesystem::path path) : path_(std::move(path)) {
    std::ofstream(path_) << std::string(sizeof(AllocationCounts), '\0');
    const int file = open(path_.c_str(), O_RDWR | O_CLOEXEC);
    void* const memory = mmap(nullptr, sizeof(AllocationCounts), PROT_READ, MAP_SHARED, file, 0);
    close(file);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    counts_ = static_cast<const AllocationCounts*>(memory);
  }
  ~SharedCounts() { munmap(const_cast<AllocationCounts*>(counts_), sizeof(AllocationCounts)); }
  SharedCounts(const SharedCounts&) = delete;
  SharedCounts& operator=(const SharedCounts&) = delete;

  const std::filesystem::path& path() const { return path_; }
  const AllocationCounts& now() const { return *counts_; }

 private:
  std::filesystem::path path_;
  const AllocationCounts* counts_ = nullptr;
};

class Realtime : public testing::Test {
 protected:
  /// Starts the program, and waits until all of its routes have been carrying sound for a while.
  void start(const std::map<std::string, std::string>& environment = {}) {
    player = session.play(session.writeStereo("tone.wav", sineTone(120 * second, 1000, 0.5, rate),
                                              sineTone(120 * second, 1500, 0.5, rate)));
    program = session.startAgain(environment);
    ASSERT_TRUE(session.waitUntilLinked("pw-play:output_FR", "brindlemux.tap:input_2") &&
                session.waitUntilLinked("mic:capture_FR", "brindlemux.input.mic:input_2") &&
                session.waitUntilLinked("brindlemux.output.headphones:output_2", "headphones:playback_FR"))
        << program->error() << session.report();
    ASSERT_TRUE(renderMore(blocksPerSecond)) << program->error();
  }

  /// How many blocks the program has rendered, as it says itself in a report that is asked for here; 0 without one.
  std::int64_t renderedBlocks() {
    const std::size_t before = program->error().size();
    program->signal(SIGUSR1);
    std::string report;
    const bool isTold = waitUntil([&] {
      report = program->error();
      return report.size() > before && report.ends_with('\n');
    });
    if (!isTold) return 0;
    const std::size_t end = report.rfind(" blocks rendered");
    if (end == std::string::npos) return 0;
    const std::size_t begin = report.rfind(' ', end - 1) + 1;
    return std::atoll(report.substr(begin, end - begin).c_str());
  }
  bool renderMore(std::int64_t blocks) {
    const std::int64_t wanted = renderedBlocks() + blocks;
    return waitUntil([&] { return renderedBlocks() >= wanted; }, std::chrono::seconds(30));
  }

  /// The program's one data thread.
  std::optional<pid_t> dataThread() const {
    std::optional<pid_t> found;
    const auto tasks = std::filesystem::path("/proc") / std::to_string(program->pid()) / "task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
      std::string name;
      std::getline(std::ifstream(task.path() / "comm"), name);
      if (name != "brindlemux-data") continue;
      EXPECT_FALSE(found) << "a second data thread";
      found = std::stoi(task.path().filename().string());
    }
    return found;
  }

  /// Of the device and its monitor, in blocks of 256 frames.
  static constexpr std::int64_t blocksPerSecond = 2 * 48000 / 256;
  RoutingSession session{2, routedGraph(), RoutingSession::Program::absent};
  std::unique_ptr<ChildProcess> player;
  std::unique_ptr<ChildProcess> program;
};

TEST_F(Realtime, theDataThreadNeitherAllocatesNorFrees) {
  const SharedCounts counts(session.file("allocations"));
  start({{"LD_PRELOAD", BRINDLEMUX_ALLOCATION_WATCH}, {"BRINDLEMUX_ALLOCATION_COUNTS", counts.path().string()}});
  EXPECT_EQ(counts.now().dataThreads, 1);
  const std::int64_t allocations = counts.now().allocations;
  const std::int64_t frees = counts.now().frees;
  const std::int64_t otherCalls = counts.now().otherCalls;
  ASSERT_TRUE(renderMore(2 * blocksPerSecond));
  EXPECT_EQ(counts.now().allocations, allocations);
  EXPECT_EQ(counts.now().frees, frees);
  // Other threads have gone on, or nothing is counted at all.
  EXPECT_GT(counts.now().otherCalls, otherCalls);
}

/// The name of the system call in a line of strace's, empty for a line that tells of something else.
std::string callOf(const std::string& line) {
  const std::size_t end = line.find('(');
  const bool isCall =
      end != std::string::npos && line.find_first_not_of("abcdefghijklmnopqrstuvwxyz_0123456789") == end;
  return isCall ? line.substr(0, end) : std::string();
}

// The server wakes the thread through a descriptor that it waits for and reads, and is told through another that is
// written: nothing else is due.
TEST_F(Realtime, theDataThreadMakesNoSystemCallButForTheServersWakeUps) {
  start();
  const auto thread = dataThread();
  ASSERT_TRUE(thread);
  const auto file = session.file("calls");
  const auto tracer = session.server().launch({"strace", "-qq", "-o", file.string(), "-p", std::to_string(*thread)});
  const auto traced = [&] { return std::filesystem::exists(file) ? std::filesystem::file_size(file) : 0; };
  const bool isTracing = waitUntil([&] { return traced() > 0 || !tracer->running(); });
  if (!tracer->running()) GTEST_SKIP() << "no thread may be traced here: " << tracer->error();
  ASSERT_TRUE(isTracing);
  ASSERT_TRUE(renderMore(2 * blocksPerSecond));
  tracer->stop(SIGINT);

  std::map<std::string, std::int64_t> calls;
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    const std::string call = callOf(line);
    // The last one is the call that the thread was in when the trace ended.
    if (call.empty() || line.find("<detached ...>") != std::string::npos) continue;
    ++calls[call];
    // A descriptor's counter is eight bytes.
    const bool isWakeUp = call == "epoll_wait" || call == "epoll_pwait" ||
                          ((call == "read" || call == "write") && line.find(", 8)") != std::string::npos);
    EXPECT_TRUE(isWakeUp) << line;
  }
  for (const auto& [call, count] : calls) std::cout << call << " " << count << "\n";
  EXPECT_GT(calls["write"], blocksPerSecond);
}

}  // namespace
}  // namespace brindlemux::test
