#include "editor/graph_editor.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/simulated_program.h"
#include "editor/node_menu_models.h"

namespace brindlemux {
namespace {

using test::constantSignal;
using test::device;
using test::input;
using test::output;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

SimulatedDevice microphone(std::uint32_t channels) {
  SimulatedDevice device = input("Microphone", "Microphone", channels);
  device.input = constantSignal(0.25F);
  return device;
}

/// An editor of the first of two devices, its models under Qt's own examination.
struct Editing : test::SimulatedProgram {
  explicit Editing(std::int64_t channels = 2) {
    hardware.installDriver({device("A", channels), device("B")});
    hardware.addDevice(output("Speakers", "Speakers"));
    microphoneID = hardware.addDevice(microphone(2));
    hardware.addProcess({.pid = 100, .bundleID = "com.example.Player", .isPlaying = true});
    applications.set(100, "Player");
    editor.setAppState(&start());
    editor.setDeviceUID(QString::fromStdString(device("A").uid));
    for (KeyedListModel* model : {editor.sources(), editor.monitors()})
      QObject::connect(model, &QAbstractItemModel::modelReset, [] { FAIL() << "the model was reset"; });
  }

  DeviceGraph graph() const { return state->graph(device("A").uid); }
  QVariant source(int row, int role) { return editor.sources()->index(row).data(role); }
  QVariant monitor(int row, int role) { return editor.monitors()->index(row).data(role); }
  QString sourceID(int row) { return source(row, nodeIDRole).toString(); }
  QString monitorID(int row) { return monitor(row, nodeIDRole).toString(); }
  QList<double> peaks(int row) { return source(row, peaksRole).value<QList<double>>(); }

  AudioObjectID microphoneID = kAudioObjectUnknown;
  GraphEditor editor;
  QAbstractItemModelTester sourcesTester{editor.sources(), QAbstractItemModelTester::FailureReportingMode::Fatal};
  QAbstractItemModelTester monitorsTester{editor.monitors(), QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST(GraphEditor, isEmptyWithoutAController) {
  GraphEditor editor;
  editor.setDeviceUID("nothing");
  editor.addSystemSource();
  editor.setMasterGain(2);
  editor.addChannelPair();
  EXPECT_EQ(editor.deviceChannels(), 0);
  EXPECT_EQ(editor.sources()->rowCount(), 0);
  EXPECT_EQ(editor.masterGain(), 1.0);
}

TEST(GraphEditor, addedSourceIsARowAndIsSaved) {
  Editing program;
  program.editor.addAppSource("com.example.Player", "Player");
  ASSERT_EQ(program.editor.sources()->rowCount(), 1);
  EXPECT_EQ(program.source(0, nameRole), "Player");
  EXPECT_EQ(program.source(0, symbolRole), "app.badge");
  EXPECT_EQ(program.source(0, subtitleRole), "Capturing audio");
  EXPECT_EQ(program.source(0, isActiveRole), true);
  EXPECT_EQ(program.source(0, isEnabledRole), true);
  EXPECT_EQ(program.source(0, gainRole), 1.0);
  EXPECT_EQ(program.source(0, channelsRole), 2);
  EXPECT_EQ(program.source(0, connectedChannelsRole).value<QList<int>>(), (QList<int>{0, 1}));
  EXPECT_EQ(program.editor.connectedInputs(), (QList<int>{0, 1}));
  EXPECT_THAT(program.graphsFile(), testing::HasSubstr("com.example.Player"));
}

TEST(GraphEditor, sameSourceMayBeAddedAgain) {
  Editing program;
  program.editor.addSystemSource();
  program.editor.addSystemSource();
  ASSERT_EQ(program.editor.sources()->rowCount(), 2);
  EXPECT_NE(program.sourceID(0), program.sourceID(1));
}

TEST(GraphEditor, sourceWithoutItsApplicationIsInactive) {
  Editing program;
  program.editor.addAppSource("com.example.Absent", "Absent");
  EXPECT_EQ(program.source(0, isActiveRole), false);
  EXPECT_EQ(program.source(0, subtitleRole), "Source inactive (app not running?)");
}

TEST(GraphEditor, sourceBecomesActiveWithItsApplication) {
  Editing program;
  program.editor.addAppSource("com.example.Later", "Later");
  QSignalSpy changes(program.editor.sources(), &QAbstractItemModel::dataChanged);
  program.hardware.addProcess({.pid = 200, .bundleID = "com.example.Later", .isPlaying = true});
  program.applications.set(200, "Later");
  program.state->refreshEnvironment();
  ASSERT_EQ(changes.size(), 1);
  EXPECT_THAT(changes[0][2].value<QList<int>>(), ElementsAre(subtitleRole, isActiveRole));
}

TEST(GraphEditor, addedMonitorIsWiredAndPlays) {
  Editing program;
  program.editor.addMonitor("Speakers", "Speakers");
  ASSERT_EQ(program.editor.monitors()->rowCount(), 1);
  EXPECT_EQ(program.monitor(0, nameRole), "Speakers");
  EXPECT_EQ(program.monitor(0, isActiveRole), true);
  EXPECT_EQ(program.monitor(0, channelsRole), 2);
  EXPECT_EQ(program.editor.connectedOutputs(), (QList<int>{0, 1}));
  EXPECT_THAT(program.graph().monitorWires, SizeIs(2));
}

TEST(GraphEditor, monitorOfAMissingDeviceHasTwoChannelsAndIsInactive) {
  Editing program;
  program.editor.addMonitor("Absent", "Absent");
  EXPECT_EQ(program.monitor(0, channelsRole), 2);
  EXPECT_EQ(program.monitor(0, isActiveRole), false);
}

TEST(GraphEditor, gainChangesOneRoleOfOneRow) {
  Editing program;
  program.editor.addSystemSource();
  program.editor.addSystemSource();
  QSignalSpy changes(program.editor.sources(), &QAbstractItemModel::dataChanged);
  program.editor.setSourceGain(program.sourceID(1), 0.1);
  ASSERT_EQ(changes.size(), 1);
  EXPECT_EQ(changes[0][0].toModelIndex().row(), 1);
  EXPECT_THAT(changes[0][2].value<QList<int>>(), ElementsAre(gainRole));
  EXPECT_EQ(program.graph().sources[1].gain, 0.1F);
  EXPECT_EQ(program.source(1, gainRole), static_cast<double>(0.1F));
}

TEST(GraphEditor, gainKeepsCapturesAndOutputsRunning) {
  Editing program;
  program.editor.addAppSource("com.example.Player", "Player");
  program.editor.addMonitor("Speakers", "Speakers");
  const auto running = program.hardware.liveResources();
  program.editor.setSourceGain(program.sourceID(0), 0.5);
  program.editor.setMonitorGain(program.monitorID(0), 2);
  program.editor.setMasterGain(0.25);
  EXPECT_EQ(program.hardware.liveResources(), running);
  EXPECT_EQ(program.graph().monitors[0].gain, 2.0F);
  EXPECT_EQ(program.graph().masterGain, 0.25F);
  EXPECT_EQ(program.editor.masterGain(), 0.25);
}

TEST(GraphEditor, switchesReachTheirNode) {
  Editing program;
  program.editor.addSystemSource();
  program.editor.addMonitor("Speakers", "Speakers");
  program.editor.setSourceEnabled(program.sourceID(0), false);
  EXPECT_EQ(program.source(0, subtitleRole), "Disabled");
  EXPECT_EQ(program.source(0, isEnabledRole), false);
  program.editor.setMonitorEnabled(program.monitorID(0), false);
  EXPECT_EQ(program.monitor(0, isEnabledRole), false);
  EXPECT_EQ(program.monitor(0, isActiveRole), false);
  program.editor.setMonitorEnabled(program.monitorID(0), true);
  EXPECT_EQ(program.monitor(0, isActiveRole), true);
}

TEST(GraphEditor, removalKeepsTheOtherRows) {
  Editing program;
  for (int count = 0; count < 3; ++count) program.editor.addSystemSource();
  const QPersistentModelIndex last = program.editor.sources()->index(2);
  const QString id = program.sourceID(2);
  program.editor.removeSource(program.sourceID(1));
  EXPECT_EQ(last.row(), 1);
  EXPECT_EQ(last.data(nodeIDRole), id);
  EXPECT_THAT(program.graph().wires, SizeIs(4));
  program.editor.addMonitor("Speakers", "Speakers");
  program.editor.removeMonitor(program.monitorID(0));
  EXPECT_EQ(program.editor.monitors()->rowCount(), 0);
  EXPECT_THAT(program.graph().monitorWires, IsEmpty());
}

TEST(GraphEditor, editOfANodeThatIsGoneChangesNothing) {
  Editing program;
  program.editor.addSystemSource();
  program.editor.addSystemSource();
  const QString gone = program.sourceID(0);
  program.editor.removeSource(gone);
  const DeviceGraph before = program.graph();
  program.editor.setSourceGain(gone, 0);
  program.editor.setSourceEnabled(gone, false);
  program.editor.setMonitorGain(gone, 0);
  program.editor.setSourceGain("no identifier", 0);
  EXPECT_EQ(program.graph().sources, before.sources);
}

TEST(GraphEditor, meterTickChangesPeaksAlone) {
  Editing program;
  program.editor.addMicSource("Microphone", "Microphone");
  program.editor.addSystemSource();
  program.advance(AppState::meterInterval);
  QSignalSpy changes(program.editor.sources(), &QAbstractItemModel::dataChanged);
  QSignalSpy outputs(&program.editor, &GraphEditor::outputPeaksChanged);
  QSignalSpy others(&program.editor, &GraphEditor::connectionsChanged);
  program.hardware.advance(4800);
  program.advance(AppState::meterInterval);
  ASSERT_EQ(changes.size(), 1);
  EXPECT_EQ(changes[0][0].toModelIndex().row(), 0);
  EXPECT_THAT(changes[0][2].value<QList<int>>(), ElementsAre(peaksRole));
  EXPECT_THAT(program.peaks(0), ElementsAre(0.25, 0.25));
  EXPECT_EQ(outputs.size(), 1);
  EXPECT_EQ(others.size(), 0);
  ASSERT_THAT(program.editor.outputPeaks(), SizeIs(2));
  EXPECT_GT(program.editor.outputPeaks()[0], 0.2);
  EXPECT_THAT(program.editor.passThruPeaks(), SizeIs(2));
}

TEST(GraphEditor, silentMetersChangeNothing) {
  Editing program;
  program.editor.addSystemSource();
  program.advance(AppState::meterInterval);
  QSignalSpy changes(program.editor.sources(), &QAbstractItemModel::dataChanged);
  QSignalSpy outputs(&program.editor, &GraphEditor::outputPeaksChanged);
  program.advance(AppState::meterInterval);
  EXPECT_EQ(changes.size() + outputs.size(), 0);
}

TEST(GraphEditor, inputDeviceThatVanishesKeepsTwoRows) {
  Editing program;
  program.hardware.removeDevice(program.microphoneID);
  program.microphoneID = program.hardware.addDevice(microphone(20));
  program.state->refreshEnvironment();
  program.editor.addMicSource("Microphone", "Microphone");
  EXPECT_EQ(program.source(0, channelsRole), 16);
  program.hardware.removeDevice(program.microphoneID);
  program.state->refreshEnvironment();
  EXPECT_EQ(program.source(0, channelsRole), 2);
  EXPECT_EQ(program.source(0, isActiveRole), false);
}

TEST(GraphEditor, channelPairsStayWithinTwoAndSixteen) {
  Editing program;
  EXPECT_EQ(program.editor.deviceChannels(), 2);
  EXPECT_FALSE(program.editor.canRemoveChannelPair());
  program.editor.removeChannelPair();
  EXPECT_EQ(program.editor.deviceChannels(), 2);
  for (int channels = 4; channels <= 16; channels += 2) {
    EXPECT_TRUE(program.editor.canAddChannelPair());
    program.editor.addChannelPair();
    EXPECT_EQ(program.editor.deviceChannels(), channels);
  }
  EXPECT_FALSE(program.editor.canAddChannelPair());
  program.editor.addChannelPair();
  EXPECT_EQ(program.editor.deviceChannels(), 16);
  program.editor.removeChannelPair();
  EXPECT_EQ(program.editor.deviceChannels(), 14);
}

TEST(GraphEditor, anotherDeviceHasItsOwnNodes) {
  Editing program;
  program.editor.addSystemSource();
  program.editor.setDeviceUID(QString::fromStdString(device("B").uid));
  EXPECT_EQ(program.editor.sources()->rowCount(), 0);
  EXPECT_THAT(program.editor.connectedInputs(), IsEmpty());
}

TEST(NodeMenuModels, offerApplicationsInputsAndSystemAudio) {
  Editing program;
  NodeMenuModels menus;
  menus.setAppState(program.state.get());
  const auto column = [](KeyedListModel* model, qsizetype place) {
    std::vector<std::string> values;
    for (const auto& row : model->rows()) values.push_back(row[place].toString().toStdString());
    return values;
  };
  EXPECT_THAT(column(menus.sources(), 1), ElementsAre("Applications", "Input Devices", "Special"));
  EXPECT_THAT(column(menus.sources(), 2), ElementsAre("Player", "Microphone", "System Audio"));
  EXPECT_THAT(column(menus.sources(), 4), ElementsAre("app", "mic", "systemAudio"));
  EXPECT_THAT(column(menus.sources(), 5), ElementsAre("com.example.Player", "Microphone", ""));
  EXPECT_THAT(column(menus.monitors(), 2), ElementsAre("Speakers"));
  EXPECT_THAT(column(menus.monitors(), 5), ElementsAre("Speakers"));
}

TEST(NodeMenuModels, changeInPlaceWhileTheyAreOpen) {
  Editing program;
  NodeMenuModels menus;
  menus.setAppState(program.state.get());
  const QAbstractItemModelTester tester(menus.sources(), QAbstractItemModelTester::FailureReportingMode::Fatal);
  const QPersistentModelIndex special = menus.sources()->index(2);
  program.hardware.addProcess({.pid = 200, .bundleID = "com.example.Browser", .isPlaying = true});
  program.applications.set(200, "Browser");
  program.hardware.removeDevice(program.microphoneID);
  program.state->refreshEnvironment();
  EXPECT_EQ(special.row(), 3);
  EXPECT_EQ(menus.sources()->rows()[0][2], "Browser");
  // Says that there is none, and cannot be chosen.
  EXPECT_EQ(menus.sources()->rows()[2][2], "No input devices");
  EXPECT_EQ(menus.sources()->rows()[2][4], "");
}

}  // namespace
}  // namespace brindlemux
