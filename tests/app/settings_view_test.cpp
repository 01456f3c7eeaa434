#include <gtest/gtest.h>
#include <ostream>

#include "app/open_window.h"
#include "app/shell/device_settings.h"
#include "app/shown.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;
using test::OpenWindow;

const std::string uidA = device("A").uid;

/// The window with the settings of one device over it.
struct OpenSettings : OpenWindow {
  explicit OpenSettings(const std::string& uid = uidA) : OpenWindow({device("A"), device("B")}) {
    state->setSettingsSheetUID(uid);
    if (!eventually([this] { return hasFocusedMode(); })) throw std::runtime_error("the settings stay closed");
  }

  bool hasFocusedMode() const {
    for (int row = 0; row < 4; ++row) {
      if (hasFocus(mode(row))) return true;
    }
    return false;
  }
  static std::string mode(int row) { return "settings.mode." + std::to_string(row); }
  bool isSelected(int row) const { return item(mode(row))->property("selected").toBool(); }
  /// The rows that are marked, which is one.
  std::vector<int> selectedModes() const {
    std::vector<int> rows;
    for (int row = 0; row < 4; ++row) {
      if (isSelected(row)) rows.push_back(row);
    }
    return rows;
  }
  std::int64_t latencyFrames() const { return state->graph(uidA).latencyFrames; }
};

TEST(SettingsView, showsARowForEveryMode) {
  const OpenSettings open;
  EXPECT_EQ(open.text("settings.deviceName"), "A");
  const std::vector<std::vector<QString>> expected = {
      {"Lowest (64)", "~1.3 ms IO · possible glitches on weaker Macs", "1.3 ms"},
      {"Low (128)", "~2.7 ms IO · good balance", "2.7 ms"},
      {"Balanced (256)", "~5.3 ms IO · stable", "5.3 ms"},
      {"Safe (512)", "~10.7 ms IO · maximum stability", "10.7 ms"}};
  for (int row = 0; row < 4; ++row) {
    const std::vector<QString> shown = {open.text(OpenSettings::mode(row) + ".label"),
                                        open.text(OpenSettings::mode(row) + ".description"),
                                        open.text(OpenSettings::mode(row) + ".duration")};
    EXPECT_EQ(shown, expected[static_cast<std::size_t>(row)]) << "row " << row;
  }
  EXPECT_EQ(open.text("settings.note"),
            "Applies to this device only. Lower = faster audio, but weaker Macs may glitch. Changing this briefly "
            "restarts this device's audio engine.");
  EXPECT_FALSE(open.shows("settings.granted"));
}

TEST(SettingsView, hasTheWordsAndSymbolsOfItsHeader) {
  const OpenSettings open;
  const QQuickItem* sheet = open.item("settings.note")->parentItem();
  EXPECT_THAT(test::shownTexts(*sheet), testing::IsSupersetOf({"A", "Settings", "AUDIO LATENCY"}));
  EXPECT_THAT(test::shownSymbols(*sheet),
              testing::ElementsAre("slider.horizontal.3", "xmark.circle.fill", "circle", "circle",
                                   "largecircle.fill.circle", "circle", "info.circle"));
  EXPECT_EQ(open.item("settings.close")->property("help").toString(), "Close");
}

TEST(SettingsView, marksTheModeOfTheGraph) {
  const OpenSettings open;
  // A new graph's 256.
  EXPECT_EQ(open.selectedModes(), std::vector<int>{2});
  EXPECT_EQ(open.item("settings.mode.2.symbol")->property("name").toString(), "largecircle.fill.circle");
  EXPECT_EQ(open.item("settings.mode.1.symbol")->property("name").toString(), "circle");
}

TEST(SettingsView, deviceWithoutAGraphIsMarkedLow) {
  const OpenSettings open("BrindlemuxAudio_UID_unknown");
  EXPECT_EQ(open.selectedModes(), std::vector<int>{1});
  EXPECT_EQ(open.text("settings.deviceName"), "Device");
}

struct Nearest {
  std::int64_t frames;
  int row;

  friend void PrintTo(const Nearest& nearest, std::ostream* stream) { *stream << nearest.frames << " frames"; }
};

class SettingsViewNearest : public testing::TestWithParam<Nearest> {};

TEST_P(SettingsViewNearest, isMarked) {
  const OpenSettings open;
  open.state->updateGraph(uidA, AppState::Persist::no,
                          [](DeviceGraph& graph) { graph.latencyFrames = GetParam().frames; });
  EXPECT_EQ(open.selectedModes(), std::vector<int>{GetParam().row});
}

// A tie goes to the smaller mode: 96 is as far from 64 as from 128.
INSTANTIATE_TEST_SUITE_P(Frames, SettingsViewNearest,
                         testing::Values(Nearest{0, 0}, Nearest{96, 0}, Nearest{97, 1}, Nearest{192, 1},
                                         Nearest{193, 2}, Nearest{384, 2}, Nearest{385, 3}, Nearest{4096, 3},
                                         Nearest{std::numeric_limits<std::int64_t>::min(), 0},
                                         Nearest{std::numeric_limits<std::int64_t>::max(), 3}),
                         [](const auto& test) { return "case" + std::to_string(test.index); });

TEST(SettingsView, clickOnARowChoosesAndSaves) {
  OpenSettings open;
  open.click("settings.mode.0");
  EXPECT_EQ(open.latencyFrames(), 64);
  EXPECT_EQ(open.selectedModes(), std::vector<int>{0});
  open.state->waitUntilSaved();
  EXPECT_EQ(open.graphStore.load().at(uidA).latencyFrames, 64);
  // The sheet stays, and the other device keeps its own.
  EXPECT_TRUE(open.shows("settings.close"));
  EXPECT_EQ(open.state->graph(device("B").uid).latencyFrames, 256);
}

TEST(SettingsView, choosingAnotherModeRestartsTheEngineAndTheSameOneDoesNot) {
  OpenSettings open;
  const auto stops = [&open] {
    const std::vector<std::string>& lines = open.hardware.journal().lines();
    return std::ranges::count_if(lines, [](const std::string& line) { return line.starts_with("stopDevice"); });
  };
  const auto before = stops();
  open.click("settings.mode.2");
  EXPECT_EQ(stops(), before);
  open.click("settings.mode.3");
  EXPECT_EQ(stops(), before + 1);
  EXPECT_EQ(open.latencyFrames(), 512);
}

TEST(SettingsView, keyboardDoesItAll) {
  const OpenSettings open;
  ASSERT_TRUE(open.hasFocus("settings.mode.2"));
  open.press(Qt::Key_Down);
  EXPECT_TRUE(open.hasFocus("settings.mode.3"));
  open.press(Qt::Key_Space);
  EXPECT_EQ(open.latencyFrames(), 512);
  open.press(Qt::Key_Up);
  open.press(Qt::Key_Up);
  open.press(Qt::Key_Return);
  EXPECT_EQ(open.latencyFrames(), 128);
  open.press(Qt::Key_Escape);
  EXPECT_TRUE(eventually([&] { return !open.shows("settings.close"); }));
  EXPECT_EQ(open.state->settingsSheetUID(), std::nullopt);
}

TEST(SettingsView, arrowsStopAtTheFirstAndTheLastRow) {
  const OpenSettings open;
  for (int presses = 0; presses < 5; ++presses) open.press(Qt::Key_Down);
  EXPECT_TRUE(open.hasFocus("settings.mode.3"));
  for (int presses = 0; presses < 3; ++presses) open.press(Qt::Key_Up);
  EXPECT_TRUE(open.hasFocus("settings.mode.0"));
  open.press(Qt::Key_Up);
  EXPECT_TRUE(open.hasFocus("settings.mode.0"));
  // They lead to a row and choose none.
  EXPECT_EQ(open.latencyFrames(), 256);
}

TEST(SettingsView, tabStaysWithinTheSheet) {
  const OpenSettings open;
  std::set<QQuickItem*> seen;
  for (int presses = 0; presses < 12; ++presses) {
    open.press(Qt::Key_Tab);
    seen.insert(open.window()->activeFocusItem());
  }
  for (int presses = 0; presses < 12; ++presses) {
    QTest::keyClick(open.window(), Qt::Key_Backtab, Qt::ShiftModifier);
    seen.insert(open.window()->activeFocusItem());
  }
  // Four rows and the button that closes.
  EXPECT_EQ(seen.size(), 5U);
  EXPECT_TRUE(seen.contains(open.item("settings.close")));
}

TEST(SettingsView, whatIsBehindTakesNoClick) {
  const OpenSettings open;
  open.state->setSelectedDeviceUID(uidA);
  const QQuickItem* row = open.item("device." + device("B").uid);
  ASSERT_NE(row, nullptr);
  QTest::mouseClick(open.window(), Qt::LeftButton, Qt::NoModifier, row->mapToScene({20, 20}).toPoint());
  EXPECT_EQ(open.state->selectedDeviceUID(), uidA);
  EXPECT_TRUE(open.shows("settings.close"));
}

TEST(SettingsView, closeButtonClosesAndTheFocusReturns) {
  OpenWindow open({device("A"), device("B")});
  const std::string row = "device." + device("B").uid;
  ASSERT_TRUE(eventually([&] { return open.shows(row); }));
  open.item(row)->forceActiveFocus();
  open.state->setSettingsSheetUID(uidA);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("settings.mode.2"); }));
  open.click("settings.close");
  EXPECT_EQ(open.state->settingsSheetUID(), std::nullopt);
  EXPECT_TRUE(eventually([&] { return open.hasFocus(row); }));
  // It opens again, for any device.
  open.state->setSettingsSheetUID(device("B").uid);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("settings.mode.2"); }));
  EXPECT_EQ(open.text("settings.deviceName"), "B");
}

TEST(SettingsView, nameFollowsTheDevice) {
  const OpenSettings open;
  open.state->renameVirtualDevice(QString::fromStdString(uidA), "<i>Other</i>");
  EXPECT_EQ(open.text("settings.deviceName"), "<i>Other</i>");
  open.state->deleteVirtualDevice(QString::fromStdString(uidA));
  EXPECT_EQ(open.text("settings.deviceName"), "Device");
  EXPECT_EQ(open.selectedModes(), std::vector<int>{1});
}

TEST(SettingsView, saysWhatTheServerGrantsWhereThatDiffers) {
  OpenSettings open;
  const AudioObjectID id = open.hardware.deviceWithUID(uidA);
  open.hardware.advance(2048);
  open.advance(AppState::meterInterval);
  EXPECT_FALSE(open.shows("settings.granted"));
  open.hardware.device(id).bufferFrames = 1024;
  open.hardware.advance(4096);
  open.advance(AppState::meterInterval);
  ASSERT_TRUE(open.shows("settings.granted"));
  EXPECT_EQ(open.text("settings.granted"),
            "In effect: 1024 frames. The audio server grants another block size than the one chosen.");
  open.click("settings.mode.3");
  open.hardware.advance(2048);
  open.advance(AppState::meterInterval);
  EXPECT_FALSE(open.shows("settings.granted"));
}

TEST(DeviceSettings, rowThatThereIsNotIsIgnored) {
  OpenWindow open({device("A")});
  DeviceSettings settings;
  settings.setAppState(open.state.get());
  settings.setDeviceUID(QString::fromStdString(uidA));
  settings.choose(-1);
  settings.choose(4);
  EXPECT_EQ(open.state->graph(uidA).latencyFrames, 256);
}

}  // namespace
}  // namespace brindlemux
