// What happens when the program is started while it runs. No audio server is needed for that.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sysexits.h>
#include <vector>

#include "support/child_process.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

constexpr const char* unreachableLine = "Brindlemux: it is running already, and its window cannot be reached\n";
/// Twice what a second program waits for an answer, for a machine that is busy.
constexpr std::chrono::seconds deadline{20};

class SecondStart : public testing::Test {
 protected:
  /// Starts the program for a data folder, in a session with a runtime folder of its own or a shared one.
  std::unique_ptr<ChildProcess> start(const std::string& data = "data", const std::string& runtime = "run") {
    std::filesystem::create_directories(folder_.path() / runtime);
    std::filesystem::permissions(folder_.path() / runtime, std::filesystem::perms::owner_all);
    return std::make_unique<ChildProcess>(
        Command{.arguments = {BRINDLEMUX_PROGRAM},
                .environment = {{"XDG_DATA_HOME", (folder_.path() / data).string()},
                                {"XDG_RUNTIME_DIR", (folder_.path() / runtime).string()},
                                {"QT_QPA_PLATFORM", "offscreen"},
                                {"QT_QUICK_BACKEND", "software"}}});
  }

  std::filesystem::path lockFile(const std::string& data = "data") const {
    return folder_.path() / data / "Brindlemux" / "graphs.json.lock";
  }
  /// Where the program that works on the data folder can be reached; empty for nowhere.
  std::string address(const std::string& data = "data") const { return contentOf(lockFile(data)); }
  bool waitForAddressOtherThan(const std::string& old, const std::string& data = "data") const {
    return waitUntil([&] { return !address(data).empty() && address(data) != old; }, deadline);
  }

  /// Starts the program as the first one, and waits until a second one would find it.
  std::unique_ptr<ChildProcess> startFirst(const std::string& data = "data", const std::string& runtime = "run") {
    const std::string before = address(data);
    auto first = start(data, runtime);
    EXPECT_TRUE(waitForAddressOtherThan(before, data)) << first->error();
    return first;
  }

  void expectHandedOver(ChildProcess& second, ChildProcess& first) {
    EXPECT_EQ(second.wait(deadline), EXIT_SUCCESS) << second.error();
    EXPECT_EQ(second.error(), "");
    EXPECT_TRUE(first.running());
  }

  std::size_t socketsIn(const std::string& runtime) const {
    const auto entries = std::filesystem::directory_iterator(folder_.path() / runtime);
    return static_cast<std::size_t>(
        std::ranges::count_if(entries, [](const auto& entry) { return entry.is_socket(); }));
  }

  TemporaryFolder folder_;
};

TEST_F(SecondStart, endsAndLeavesTheFirstRunning) {
  const auto first = startFirst();
  const auto second = start();
  expectHandedOver(*second, *first);
  const auto third = start();
  expectHandedOver(*third, *first);
  EXPECT_EQ(first->stop(SIGTERM), EXIT_SUCCESS);
  EXPECT_EQ(socketsIn("run"), 0U);
}

TEST_F(SecondStart, whileTheFirstStillStartsIsTheSame) {
  const auto first = start();
  // The lock is taken before anything can be answered.
  ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(lockFile()); }, deadline));
  const auto second = start();
  expectHandedOver(*second, *first);
}

TEST_F(SecondStart, ofSeveralAtOnceOneRuns) {
  std::vector<std::unique_ptr<ChildProcess>> programs;
  for (int count = 0; count < 4; ++count) programs.push_back(start());
  const auto running = [&] {
    return std::ranges::count_if(programs, [](auto& program) { return program->running(); });
  };
  EXPECT_TRUE(waitUntil([&] { return running() == 1; }, deadline));
  for (const auto& program : programs) {
    if (program->running()) program->signal(SIGTERM);
    EXPECT_EQ(program->wait(deadline), EXIT_SUCCESS) << program->error();
  }
}

TEST_F(SecondStart, afterAKilledFirstRunsAndCleansUp) {
  const auto killed = startFirst();
  const std::string leftOver = address();
  killed->signal(SIGKILL);
  ASSERT_TRUE(killed->wait(deadline).has_value());
  ASSERT_TRUE(std::filesystem::exists(leftOver));
  const auto first = startFirst();
  EXPECT_TRUE(first->running());
  EXPECT_FALSE(std::filesystem::exists(leftOver));
  const auto second = start();
  expectHandedOver(*second, *first);
}

TEST_F(SecondStart, afterAnOrderlyEndRuns) {
  EXPECT_EQ(startFirst()->stop(SIGTERM), EXIT_SUCCESS);
  const auto first = startFirst();
  const auto second = start();
  expectHandedOver(*second, *first);
}

TEST_F(SecondStart, withOtherDataRunsBeside) {
  const auto one = startFirst("data");
  const auto other = startFirst("other");
  const auto second = start("data");
  expectHandedOver(*second, *one);
  const auto otherSecond = start("other");
  expectHandedOver(*otherSecond, *other);
}

TEST_F(SecondStart, ofAnotherUserRunsBeside) {
  const auto one = startFirst("data", "run");
  const auto other = startFirst("their-data", "their-run");
  EXPECT_EQ(socketsIn("run"), 1U);
  EXPECT_EQ(socketsIn("their-run"), 1U);
  EXPECT_TRUE(one->running());
  EXPECT_TRUE(other->running());
}

TEST_F(SecondStart, fromAnotherSessionOfTheUserFindsTheFirst) {
  const auto first = startFirst("data", "run");
  const auto second = start("data", "other-run");
  expectHandedOver(*second, *first);
}

TEST_F(SecondStart, saysSoWhenTheFirstDoesNotAnswer) {
  const auto first = startFirst();
  first->signal(SIGSTOP);
  const auto second = start();
  EXPECT_EQ(second->wait(deadline), EX_UNAVAILABLE);
  EXPECT_EQ(second->error(), unreachableLine);
  first->signal(SIGCONT);
  const auto third = start();
  expectHandedOver(*third, *first);
}

TEST_F(SecondStart, saysSoWhenTheFirstCannotBeFound) {
  const auto first = startFirst();
  std::filesystem::remove(address());
  const auto second = start();
  EXPECT_EQ(second->wait(deadline), EX_UNAVAILABLE);
  EXPECT_EQ(second->error(), unreachableLine);
  EXPECT_TRUE(first->running());
}

TEST_F(SecondStart, takesOverFromAFirstThatEndsMeanwhile) {
  const auto first = startFirst();
  const std::string before = address();
  first->signal(SIGSTOP);
  const auto second = start();
  // While the second one asks it, or just before.
  first->signal(SIGKILL);
  EXPECT_TRUE(waitForAddressOtherThan(before));
  EXPECT_TRUE(second->running()) << second->error();
}

TEST_F(SecondStart, copiedLockFileLeadsNobodyAstray) {
  const auto first = startFirst("data");
  std::filesystem::create_directories(lockFile("copy").parent_path());
  std::filesystem::copy(lockFile("data"), lockFile("copy"));
  // Works on a file of its own, and leaves the socket alone that it finds in the copy.
  const auto other = startFirst("copy");
  EXPECT_TRUE(other->running());
  const auto second = start("data");
  expectHandedOver(*second, *first);
}

TEST_F(SecondStart, withoutARuntimeFolderFindsTheFirstToo) {
  // A path too long for a socket.
  const std::string runtime = "run-" + std::string(100, 'x');
  const auto first = startFirst("data", runtime);
  EXPECT_EQ(std::filesystem::path(address()).parent_path(), lockFile().parent_path());
  const auto second = start("data", runtime);
  expectHandedOver(*second, *first);
}

TEST_F(SecondStart, whereNoLockCanBeMadeTheProgramRuns) {
  // A file where the program's folder should be.
  std::filesystem::create_directories(folder_.path() / "data");
  std::ofstream(folder_.path() / "data" / "Brindlemux") << "x";
  const auto first = start();
  const std::string line = "Brindlemux: " + lockFile().string() + " cannot be locked\n";
  EXPECT_TRUE(waitUntil([&] { return first->error().find(line) != std::string::npos; }, deadline)) << first->error();
  EXPECT_TRUE(first->running());
  EXPECT_EQ(first->stop(SIGTERM), EXIT_SUCCESS);
}

}  // namespace
}  // namespace brindlemux::test
