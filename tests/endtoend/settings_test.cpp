// What the settings of a device tell of the server.
#include <QQuickWindow>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "app/find_item.h"
#include "app/shell/main_window.h"
#include "app/shell/user_defaults.h"
#include "app/temporary_defaults.h"
#include "endtoend/controller_session.h"
#include "endtoend/routing_session.h"

namespace brindlemux::test {
namespace {

/// The settings of a device that the microphone is routed to, open in the program's window.
class SettingsSheet : public testing::Test {
 protected:
  void SetUp() override {
    state.updateGraph(uid, AppState::Persist::no, [&](DeviceGraph& graph) {
      const UUID microphone = program.uuids.next();
      graph.latencyFrames = askedFrames;
      graph.sources = {{.id = microphone, .kind = MicSource{"mic", "Microphone"}}};
      graph.wires = {{microphone, 0, 0}};
    });
    state.setSettingsSheetUID(uid);
  }
  void TearDown() override { state.shutdown(); }

  /// Forces the blocks of the whole server; 0 takes it back.
  void force(std::int64_t frames) {
    const std::string value = std::to_string(frames);
    EXPECT_EQ(session.server().run({"pw-metadata", "-n", "settings", "0", "clock.force-quantum", value}).status, 0);
  }
  /// What is told of the block in effect, and nothing where it is not shown.
  std::string told() const {
    const QQuickItem* const note = findItem(window.window()->contentItem(), QStringLiteral("settings.granted"));
    if (note == nullptr) return "there are no settings";
    return note->isVisible() ? note->property("text").toString().toStdString() : "";
  }

  static constexpr std::int64_t askedFrames = 512;
  const std::string uid = RoutingSession::deviceUID;
  RoutingSession session{2, "{}", RoutingSession::Program::absent};
  ControllerSession program{session};
  AppState& state = program.state;

 private:
  static UserDefaults& seen(UserDefaults& defaults) {
    MainWindow::chooseStyle();
    defaults.setOnboardingSeen(true);
    return defaults;
  }
  TemporaryDefaults folder;
  UserDefaults defaults;
  MainWindow window{state, seen(defaults)};
};

TEST_F(SettingsSheet, tellsTheBlockInEffectWhereItIsNotTheOneAskedFor) {
  ASSERT_TRUE(eventually([&] { return state.blockFrames(uid) == askedFrames && told().empty(); }))
      << told() << session.report();
  for (const std::int64_t frames : {2048, 64}) {
    force(frames);
    const std::string expected = "In effect: " + std::to_string(frames) +
                                 " frames. The audio server grants another block size than the one chosen.";
    EXPECT_TRUE(eventually([&] { return told() == expected; })) << told() << session.report();
  }
  force(0);
  EXPECT_TRUE(eventually([&] { return told().empty(); })) << told() << session.report();
}

}  // namespace
}  // namespace brindlemux::test
