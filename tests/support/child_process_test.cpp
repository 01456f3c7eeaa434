#include "support/child_process.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;

TEST(ChildProcess, givesOutputErrorAndStatus) {
  ChildProcess process({{"sh", "-c", "echo out; echo err >&2; cat; exit 7"}});
  EXPECT_EQ(process.wait(10s), 7);
  EXPECT_EQ(process.output(), "out\n");
  EXPECT_EQ(process.error(), "err\n");
}

TEST(ChildProcess, addsToTheEnvironment) {
  ChildProcess process({{"sh", "-c", "printf %s \"$GREETING:${PATH:+path}\""}, {{"GREETING", "hello world"}}});
  EXPECT_EQ(process.wait(10s), 0);
  EXPECT_EQ(process.output(), "hello world:path");
}

TEST(ChildProcess, writesOutputToAFile) {
  const TemporaryFolder folder;
  const auto path = folder.path() / "output";
  ChildProcess process({{"echo", "text"}, {}, path});
  EXPECT_EQ(process.wait(10s), 0);
  std::string line;
  std::getline(std::ifstream(path) >> std::ws, line);
  EXPECT_EQ(line, "text");
  EXPECT_EQ(process.output(), "");
}

TEST(ChildProcess, aMissingProgramEndsWith127) {
  EXPECT_EQ(ChildProcess({{"/there/is/no/such/program"}}).wait(10s), 127);
}

TEST(ChildProcess, stopGivesTheSignalsStatus) {
  ChildProcess process({{"sleep", "1000"}});
  EXPECT_TRUE(process.running());
  EXPECT_EQ(process.wait(20ms), std::nullopt);
  EXPECT_EQ(process.stop(SIGINT), 128 + SIGINT);
  EXPECT_FALSE(process.running());
}

TEST(ChildProcess, stopsWhereThisProcessHoldsTheSignalBack) {
  sigset_t held;
  sigset_t former;
  sigemptyset(&held);
  sigaddset(&held, SIGTERM);
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &held, &former), 0);
  ChildProcess process({{"sleep", "1000"}});
  pthread_sigmask(SIG_SETMASK, &former, nullptr);
  EXPECT_EQ(process.stop(SIGTERM), 128 + SIGTERM);
}

TEST(ChildProcess, killsTheGroupOfOneThatDoesNotStop) {
  // The shell ignores the signal, and so does the sleep that it waits for.
  ChildProcess process({{"sh", "-c", "trap '' TERM; sleep 1000 & echo $!; wait"}});
  ASSERT_TRUE(waitUntil([&] { return process.output().ends_with("\n"); }));
  const pid_t grandchild = std::stoi(process.output());
  EXPECT_EQ(kill(grandchild, 0), 0);
  EXPECT_EQ(process.stop(SIGTERM, 50ms), 128 + SIGKILL);
  // It may remain as a zombie of whoever inherits it, which a test cannot reap.
  EXPECT_TRUE(waitUntil([&] {
    std::ifstream status("/proc/" + std::to_string(grandchild) + "/stat");
    std::string number, name, state;
    return !(status >> number >> name >> state) || state == "Z";
  }));
}

}  // namespace
}  // namespace brindlemux::test
