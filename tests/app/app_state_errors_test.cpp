#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/controller/app_state.h"
#include "app/simulated_program.h"

namespace brindlemux {
namespace {

using namespace std::chrono_literals;
using test::device;
using test::SimulatedProgram;
using testing::ElementsAre;

// The status -1 of the capture of a device's own input.
constexpr const char* inputFailure = "Creating input IOProc failed (OSStatus -1)";

/// One device whose own input cannot be captured, and the error lines that were shown.
struct FailingProgram : SimulatedProgram {
  FailingProgram() {
    hardware.installDriver({device("A")});
    fail();
    start();
    QObject::connect(state.get(), &AppState::errorMessageChanged, &receiver,
                     [this] { shown.push_back(state->errorMessage().value_or("none")); });
  }
  void fail() { hardware.journal().failEvery("createIOProc", -1); }
  void mend() { hardware.journal().clearFaults(); }
  /// The capture that was made runs no longer, so that the next pass makes one anew.
  void loseEngines() {
    fail();
    AppStateProbe::restartAllEngines(*state);
  }

  QObject receiver;
  std::vector<std::string> shown;
};

TEST(AppStateErrors, engineFailureIsShown) {
  FailingProgram program;
  EXPECT_EQ(program.state->errorMessage(), inputFailure);
  EXPECT_EQ(AppStateProbe::engineCount(*program.state), 1U);
}

TEST(AppStateErrors, repeatedFailureIsShownOnce) {
  FailingProgram program;
  program.advance(20s);
  EXPECT_THAT(program.shown, ElementsAre());
  EXPECT_EQ(program.state->engineStateTick(), 11);
}

TEST(AppStateErrors, failingEngineIsTriedAgain) {
  FailingProgram program;
  program.mend();
  program.advance(2s);
  EXPECT_THAT(program.hardware.liveResources(), ElementsAre("proc1 on " + device("A").uid + " running"));
}

TEST(AppStateErrors, lineStaysAfterCleanPass) {
  FailingProgram program;
  program.mend();
  program.advance(2s);
  EXPECT_EQ(program.state->errorMessage(), inputFailure);
  EXPECT_THAT(program.shown, ElementsAre());
}

TEST(AppStateErrors, sameFailureIsShownAgainAfterCleanPass) {
  FailingProgram program;
  program.mend();
  program.advance(2s);
  program.loseEngines();
  EXPECT_THAT(program.shown, ElementsAre(inputFailure));
  program.advance(2s);
  EXPECT_THAT(program.shown, ElementsAre(inputFailure));
}

TEST(AppStateErrors, cleanPassWithoutDevicesCountsToo) {
  FailingProgram program;
  program.publish({});
  program.state->reload();
  program.publish({device("B")});
  program.state->reload();
  EXPECT_THAT(program.shown, ElementsAre(inputFailure));
}

TEST(AppStateErrors, anotherFailureReplacesTheLine) {
  FailingProgram program;
  program.mend();
  program.hardware.journal().failEvery("createIOProc", -2);
  program.advance(2s);
  EXPECT_THAT(program.shown, ElementsAre("Creating input IOProc failed (OSStatus -2)"));
}

TEST(AppStateErrors, sameFailureOfTwoEnginesIsShownOnce) {
  FailingProgram program;
  program.publish({device("A"), device("B")});
  program.state->reload();
  program.advance(20s);
  EXPECT_THAT(program.shown, ElementsAre());
}

TEST(AppStateErrors, cleanPassNeedsEveryEngineToBeClean) {
  FailingProgram program;
  program.mend();
  program.hardware.journal().failEvery("createIOProc " + device("A").uid, -1);
  program.publish({device("A"), device("B")});
  program.state->reload();
  program.advance(20s);
  EXPECT_THAT(program.shown, ElementsAre());
}

TEST(AppStateErrors, dismissedFailureIsShownAgainWhileItLasts) {
  FailingProgram program;
  program.state->dismissError();
  EXPECT_EQ(program.state->errorMessage(), std::nullopt);
  program.advance(2s);
  EXPECT_THAT(program.shown, ElementsAre("none", inputFailure));
}

TEST(AppStateErrors, observerOfTheLineMayShutDown) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  AppState& state = program.start();
  QObject receiver;
  QObject::connect(&state, &AppState::errorMessageChanged, &receiver, [&state] { state.shutdown(); });
  program.hardware.journal().failEvery("createIOProc", -1);
  AppStateProbe::restartAllEngines(state);
  EXPECT_EQ(AppStateProbe::engineCount(state), 0U);
  EXPECT_THAT(program.hardware.liveResources(), ElementsAre());
}

TEST(AppStateErrors, observerOfTheLineMayReload) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  AppState& state = program.start();
  QObject receiver;
  QObject::connect(&state, &AppState::errorMessageChanged, &receiver, [&] {
    program.publish({device("C")});
    state.reload();
  });
  program.hardware.journal().failNext("createIOProc", -1);
  AppStateProbe::restartAllEngines(state);
  program.advance(2s);
  EXPECT_THAT(state.virtualDevices(), ElementsAre(device("C")));
  EXPECT_EQ(AppStateProbe::engineCount(state), 1U);
}

}  // namespace
}  // namespace brindlemux
