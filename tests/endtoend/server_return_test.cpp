#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <iostream>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/event_loop_watch.h"
#include "endtoend/noisy_desktop.h"
#include "endtoend/routing_session.h"
#include "support/process_size.h"
#include "support/repetitions.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* restartsVariable = "BRINDLEMUX_SERVER_RESTARTS";
double milliseconds(Clock::duration duration) { return std::chrono::duration<double, std::milli>(duration).count(); }

/// Restarts the server again and again; the program's size must not depend on how often.
template <typename Wait>
void restartAgainAndAgain(NoisyDesktop<Wait>& desktop, pid_t program, Wait wait) {
  ASSERT_TRUE(desktop.waitForWholeSound()) << testing::PrintToString(desktop.levels());
  // What is set up once is there after the first few.
  const int warmUps = isLongRun(restartsVariable) ? 8 : 2;
  for (int round = 0; round < warmUps; ++round) desktop.restart();
  const ProcessSize before = ProcessSize::of(program);
  std::vector<double> returns;
  const int restarts = repetitions(restartsVariable, 3);
  for (int round = 0; round < restarts && !testing::Test::HasFailure(); ++round) {
    const auto taken = desktop.restart();
    returns.push_back(milliseconds(taken.afterServer));
    if (isLongRun(restartsVariable)) {
      std::cout << "restart " << round + 1 << ": sound " << returns.back() << " ms after the server, "
                << milliseconds(taken.afterKill) << " ms after its end; resident "
                << ProcessSize::of(program).residentBytes / 1024 << " KiB" << std::endl;
    }
  }
  // A node has a few more or less with the neighbours that it happens to have.
  constexpr std::size_t neighbours = 8;
  EXPECT_TRUE(wait([&] { return ProcessSize::of(program).fileDescriptors <= before.fileDescriptors + neighbours; }, 5s))
      << ProcessSize::of(program).fileDescriptors << " descriptors, " << before.fileDescriptors << " before";
  if (!isLongRun(restartsVariable)) return;
  const ProcessSize after = ProcessSize::of(program);
  std::ranges::sort(returns);
  std::cout << restarts << " restarts: the sound came back after " << returns[returns.size() / 2]
            << " ms in the median, " << returns.back() << " ms at the most; resident " << before.residentBytes / 1024
            << " KiB before, " << after.residentBytes / 1024 << " after; descriptors " << before.fileDescriptors
            << " before, " << after.fileDescriptors << " after" << std::endl;
  EXPECT_LT(returns.back(), 2000);
  constexpr std::size_t noise = 4 << 20;
  EXPECT_LT(after.residentBytes, before.residentBytes + noise);
}

TEST(ServerReturn, bringsEverySoundBackToTheProgram) {
  RoutingSession session(noisyChannels, noisyGraph());
  const auto wait = [](auto condition, std::chrono::milliseconds deadline) { return waitUntil(condition, deadline); };
  NoisyDesktop desktop(session, wait);
  restartAgainAndAgain(desktop, session.program().pid(), wait);
}

TEST(ServerReturn, doesNotHoldTheEventLoop) {
  RoutingSession session(noisyChannels, noisyGraph(), RoutingSession::Program::absent);
  ControllerSession program(session);
  const auto wait = [&program](auto condition, std::chrono::milliseconds deadline) {
    if (eventually(condition, deadline)) return true;
    std::cout << "the program knows " << program.state.audioDevices().size() << " devices, "
              << program.state.virtualDevices().size() << " of them the driver's, which is "
              << (program.state.driverInstalled() ? "there" : "not there") << "; "
              << program.state.errorMessage().value_or("no error") << std::endl;
    return false;
  };
  NoisyDesktop desktop(session, wait);
  EventLoopWatch watch;
  restartAgainAndAgain(desktop, getpid(), wait);
  if (isLongRun(restartsVariable)) {
    std::cout << "the event loop was late by " << watch.longest().count() << " ms at the most" << std::endl;
    EXPECT_LT(watch.longest(), 500ms);
  }
  EXPECT_EQ(program.state.errorMessage(), std::nullopt) << program.state.errorMessage().value_or("");
  program.state.shutdown();
}

TEST(ServerReturn, isWaitedForByAProgramThatWasThereBefore) {
  RoutingSession session(noisyChannels, noisyGraph(), RoutingSession::Program::absent);
  const auto wait = [](auto condition, std::chrono::milliseconds deadline) { return waitUntil(condition, deadline); };
  NoisyDesktop desktop(session, wait);
  ASSERT_TRUE(session.server().stop());
  const auto program = session.startAgain();
  // As a program that has come up, it takes the file's lock.
  ASSERT_TRUE(waitUntil([&] {
    return std::filesystem::exists(session.file("programdata/Brindlemux/graphs.json.lock"));
  })) << program->error();
  session.server().start();
  EXPECT_TRUE(desktop.waitForWholeSound()) << testing::PrintToString(desktop.levels()) << session.report();
  EXPECT_EQ(program->stop(SIGTERM), 0) << program->error();
}

}  // namespace
}  // namespace brindlemux::test
