#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "app/started_program.h"

namespace brindlemux {
namespace {

using test::device;
using test::Everything;
using test::SimulatedProgram;
using test::Started;
using test::text;
using test::uidA;
using test::uidB;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::MatchesRegex;
using testing::SizeIs;

// Creating.

TEST(CreateVirtualDevice, firstDeviceIsNumberedOneSavedAndSelected) {
  Started program;
  program.state->createVirtualDevice();
  const std::string uid = "BrindlemuxAudio_UID_" + CountingUUIDSource::identifier(1).string();
  EXPECT_THAT(program.state->virtualDevices(),
              ElementsAre(VirtualDeviceConfig{.uid = uid, .name = "Brindlemux Device 1", .channels = 2}));
  EXPECT_EQ(program.state->selectedDeviceUID(), uid);
  EXPECT_EQ(program.state->errorMessage(), std::nullopt);
  EXPECT_EQ(AppStateProbe::engineCount(*program.state), 1U);
  ASSERT_THAT(program.savedGraphs(), ElementsAre(Key(uid)));
  const DeviceGraph saved = program.savedGraphs().at(uid);
  EXPECT_EQ(saved, DeviceGraph(uid));
  EXPECT_TRUE(saved.enabled);
  EXPECT_EQ(saved.latencyFrames, 256);
  EXPECT_EQ(saved.masterGain, 1.0F);
}

TEST(CreateVirtualDevice, identifiersAreFreshUppercaseUUIDs) {
  SimulatedProgram program;
  program.hardware.installDriver();
  RandomUUIDSource random;
  AppState state({.engine = {program.hardware, program.discovery, program.clock, random},
                  .graphStore = program.graphStore,
                  .scheduler = program.scheduler});
  std::set<std::string> uids;
  for (int count = 0; count < 20; ++count) {
    state.createVirtualDevice();
    EXPECT_THAT(*state.selectedDeviceUID(),
                MatchesRegex("BrindlemuxAudio_UID_"
                             "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    uids.insert(*state.selectedDeviceUID());
  }
  EXPECT_THAT(uids, SizeIs(20));
}

TEST(CreateVirtualDevice, isAppendedAfterTheOthers) {
  Started program({device("B", 8), device("A")});
  program.state->createVirtualDevice();
  ASSERT_THAT(program.state->virtualDevices(), SizeIs(3));
  EXPECT_EQ(program.state->virtualDevices()[0], device("B", 8));
  EXPECT_EQ(program.state->virtualDevices()[1], device("A"));
  EXPECT_EQ(program.state->virtualDevices()[2].name, "Brindlemux Device 3");
  EXPECT_EQ(program.driverWrites(), 1);
}

TEST(CreateVirtualDevice, numberIsThatOfTheListsEnd) {
  Started program;
  program.state->createVirtualDevice();
  program.state->createVirtualDevice();
  program.state->deleteVirtualDevice(text(program.state->virtualDevices()[0].uid));
  program.state->createVirtualDevice();
  ASSERT_THAT(program.state->virtualDevices(), SizeIs(2));
  EXPECT_EQ(program.state->virtualDevices()[0].name, "Brindlemux Device 2");
  EXPECT_EQ(program.state->virtualDevices()[1].name, "Brindlemux Device 2");
  EXPECT_NE(program.state->virtualDevices()[0].uid, program.state->virtualDevices()[1].uid);
}

TEST(CreateVirtualDevice, savesBeforeItReadsTheListBack) {
  Started program;
  std::vector<std::string> fileAt;
  QObject receiver;
  const auto note = [&] { fileAt.push_back(program.graphsFile().empty() ? "unsaved" : "saved"); };
  QObject::connect(program.state.get(), &AppState::graphsChanged, &receiver, note);
  QObject::connect(program.state.get(), &AppState::driverInstalledChanged, &receiver, note);
  program.state->createVirtualDevice();
  EXPECT_THAT(fileAt, ElementsAre("unsaved", "saved"));
  // The first device is selected by the reading back, the created one at the end: here they are the same.
  EXPECT_THAT(program.signals->take(),
              ElementsAre("graphs", "driverInstalled", "virtualDevices", "selectedDeviceUID", "processes",
                          "audioDevices", "engineStateTick", "selectedDeviceUID"));
}

TEST(CreateVirtualDevice, savesTheDefaultGraphsOfOtherDevicesToo) {
  Started program({device("A")});
  EXPECT_EQ(program.graphsFile(), "");
  program.state->createVirtualDevice();
  EXPECT_EQ(program.savedGraphs(), program.state->graphs());
  EXPECT_THAT(program.savedGraphs(), SizeIs(2));
}

TEST(CreateVirtualDevice, refusedWriteChangesNothing) {
  Started program({device("A"), device("B")});
  const Everything before(program);
  program.refuseWrites();
  program.state->createVirtualDevice();
  EXPECT_EQ(program.state->errorMessage(), "Failed to create virtual device");
  EXPECT_EQ(Everything(program), before);
  EXPECT_THAT(program.signals->take(), ElementsAre("errorMessage"));
}

TEST(CreateVirtualDevice, refusalIsShownAgainEachTime) {
  Started program({device("A")});
  program.refuseWrites();
  program.state->createVirtualDevice();
  program.state->dismissError();
  program.state->createVirtualDevice();
  EXPECT_EQ(program.state->errorMessage(), "Failed to create virtual device");
}

TEST(CreateVirtualDevice, writeThatTheServerCarriesOutTooLateIsShown) {
  Started program({device("A")});
  program.refuseWrites();
  program.state->createVirtualDevice();
  ASSERT_THAT(program.state->virtualDevices(), ElementsAre(device("A")));
  program.hardware.journal().clearFaults();
  program.publish({device("A"), device("Late")});
  program.advance(AppState::refreshInterval);
  EXPECT_THAT(program.state->virtualDevices(), ElementsAre(device("A"), device("Late")));
  EXPECT_TRUE(program.state->graphs().contains(device("Late").uid));
  EXPECT_EQ(AppStateProbe::engineCount(*program.state), 2U);
}

TEST(CreateVirtualDevice, failsWithoutDriver) {
  SimulatedProgram program;
  program.start();
  program.state->createVirtualDevice();
  EXPECT_EQ(program.state->errorMessage(), "Failed to create virtual device");
  EXPECT_THAT(program.state->graphs(), IsEmpty());
}

// Deleting.

TEST(DeleteVirtualDevice, removesDeviceEngineAndGraph) {
  Started program({device("A"), device("B"), device("C")});
  program.wireEveryOutput(uidB, 2);
  program.state->deleteVirtualDevice(text(uidB));
  EXPECT_THAT(program.state->virtualDevices(), ElementsAre(device("A"), device("C")));
  EXPECT_EQ(AppStateProbe::engineCount(*program.state), 2U);
  EXPECT_FALSE(program.state->graphs().contains(uidB));
  EXPECT_EQ(program.savedGraphs(), program.state->graphs());
  EXPECT_THAT(program.hardware.liveResources(), testing::Not(testing::Contains(HasSubstr(uidB))));
}

TEST(DeleteVirtualDevice, happensInOrder) {
  Started program({device("A"), device("B")});
  program.state->updateGraph(uidA, AppState::Persist::yes, [](DeviceGraph&) {});
  program.signals->take();
  std::vector<std::string> seen;
  QObject receiver;
  const auto note = [&](const std::string& what) {
    seen.push_back(what + (AppStateProbe::engine(*program.state, uidA) ? ", engine" : ", no engine") +
                   (program.savedGraphs().contains(uidA) ? ", in file" : ", not in file"));
  };
  QObject::connect(program.state.get(), &AppState::graphsChanged, &receiver, [&] { note("graphs"); });
  QObject::connect(program.state.get(), &AppState::driverInstalledChanged, &receiver, [&] { note("reload"); });
  program.state->deleteVirtualDevice(text(uidA));
  EXPECT_THAT(seen, ElementsAre("graphs, no engine, in file", "reload, no engine, not in file"));
  EXPECT_THAT(program.signals->take(), ElementsAre("graphs", "driverInstalled", "virtualDevices", "selectedDeviceUID",
                                                   "processes", "audioDevices", "engineStateTick"));
}

TEST(DeleteVirtualDevice, selectionMovesToFirstRemainingDevice) {
  Started program({device("A"), device("B"), device("C")});
  program.state->setSelectedDeviceUID(uidB);
  program.state->deleteVirtualDevice(text(uidB));
  EXPECT_EQ(program.state->selectedDeviceUID(), uidA);
  program.state->deleteVirtualDevice(text(device("C").uid));
  EXPECT_EQ(program.state->selectedDeviceUID(), uidA);
  program.state->deleteVirtualDevice(text(uidA));
  EXPECT_EQ(program.state->selectedDeviceUID(), std::nullopt);
  EXPECT_THAT(program.state->virtualDevices(), IsEmpty());
  EXPECT_THAT(program.savedGraphs(), IsEmpty());
  EXPECT_EQ(program.state->errorMessage(), std::nullopt);
}

TEST(DeleteVirtualDevice, unknownDeviceIsWrittenTooAndLosesItsGraph) {
  Started program({device("A")});
  program.state->updateGraph(uidB, AppState::Persist::yes, [](DeviceGraph&) {});
  program.hardware.journal().take();
  program.state->deleteVirtualDevice(text(uidB));
  EXPECT_EQ(program.driverWrites(), 1);
  EXPECT_THAT(program.state->virtualDevices(), ElementsAre(device("A")));
  EXPECT_THAT(program.savedGraphs(), ElementsAre(Key(uidA)));
}

TEST(DeleteVirtualDevice, identifierMayBePartOfTheListThatGoes) {
  Started program({device("A"), device("B")});
  program.state->deleteVirtualDevice(
      program.state->virtualDeviceModel()
          ->data(program.state->virtualDeviceModel()->index(0), VirtualDeviceListModel::uidRole)
          .toString());
  EXPECT_THAT(program.state->virtualDevices(), ElementsAre(device("B")));
}

TEST(DeleteVirtualDevice, refusedWriteChangesNothing) {
  Started program({device("A"), device("B")});
  program.wireEveryOutput(uidA, 2);
  const Everything before(program);
  program.refuseWrites();
  program.state->deleteVirtualDevice(text(uidA));
  EXPECT_EQ(program.state->errorMessage(), "Failed to delete virtual device");
  EXPECT_EQ(Everything(program), before);
  EXPECT_THAT(program.signals->take(), ElementsAre("errorMessage"));
}

// Renaming.

TEST(RenameVirtualDevice, touchesTheNameAlone) {
  Started program({device("A", 4), device("B")});
  program.wireEveryOutput(uidA, 4);
  const Everything before(program);
  program.state->renameVirtualDevice(text(uidA), QStringLiteral("Stream"));
  EXPECT_THAT(program.state->virtualDevices(),
              ElementsAre(VirtualDeviceConfig{.uid = uidA, .name = "Stream", .channels = 4}, device("B")));
  const Everything after(program);
  EXPECT_EQ(after.graphs, before.graphs);
  EXPECT_EQ(after.file, before.file);
  EXPECT_EQ(after.resources, before.resources);
  EXPECT_EQ(after.selected, before.selected);
  EXPECT_EQ(program.driverWrites(), 1);
  EXPECT_THAT(program.signals->take(),
              ElementsAre("driverInstalled", "virtualDevices", "processes", "audioDevices", "engineStateTick"));
}

TEST(RenameVirtualDevice, whiteSpaceAroundTheNameIsDropped) {
  Started program({device("A")});
  program.state->renameVirtualDevice(text(uidA),
                                     QStringLiteral(" \t\r\n\u00A0\u2003\u2028\u2029\u0085 My  Stream \u3000\n\v\f "));
  EXPECT_EQ(program.state->virtualDevices()[0].name, "My  Stream");
}

TEST(RenameVirtualDevice, emptyNameIsIgnored) {
  Started program({device("A")});
  const Everything before(program);
  for (const QString& name : {QString(), QStringLiteral("   "), QStringLiteral("\n\t \u2003")}) {
    program.state->renameVirtualDevice(text(uidA), name);
  }
  EXPECT_EQ(Everything(program), before);
  EXPECT_EQ(program.driverWrites(), 0);
  EXPECT_THAT(program.signals->take(), IsEmpty());
}

TEST(RenameVirtualDevice, sameNameAndUnknownDeviceAreIgnored) {
  Started program({device("A")});
  program.state->renameVirtualDevice(text(uidA), QStringLiteral(" A\n"));
  program.state->renameVirtualDevice(text(uidB), QStringLiteral("Stream"));
  EXPECT_EQ(program.driverWrites(), 0);
  EXPECT_THAT(program.signals->take(), IsEmpty());
}

TEST(RenameVirtualDevice, nameOfAnotherDeviceIsAllowed) {
  Started program({device("A"), device("B")});
  program.state->renameVirtualDevice(text(uidB), QStringLiteral("A"));
  EXPECT_EQ(program.state->virtualDevices()[1].name, "A");
}

TEST(RenameVirtualDevice, refusedWriteChangesNothing) {
  Started program({device("A")});
  const Everything before(program);
  program.refuseWrites();
  program.state->renameVirtualDevice(text(uidA), QStringLiteral("Stream"));
  EXPECT_EQ(program.state->errorMessage(), "Failed to rename device");
  EXPECT_EQ(Everything(program), before);
  EXPECT_THAT(program.signals->take(), ElementsAre("errorMessage"));
}

// All of them.

TEST(DeviceCommands, areReachedFromQml) {
  Started program;
  const auto invoke = [&](const char* method, auto... arguments) {
    return QMetaObject::invokeMethod(program.state.get(), method, Qt::DirectConnection, arguments...);
  };
  EXPECT_TRUE(invoke("createVirtualDevice"));
  const QString uid = text(*program.state->selectedDeviceUID());
  EXPECT_TRUE(invoke("renameVirtualDevice", Q_ARG(QString, uid), Q_ARG(QString, QStringLiteral("Stream"))));
  EXPECT_TRUE(invoke("setChannels", Q_ARG(QString, uid), Q_ARG(int, 4)));
  EXPECT_THAT(program.state->virtualDevices(),
              ElementsAre(VirtualDeviceConfig{.uid = uid.toStdString(), .name = "Stream", .channels = 4}));
  EXPECT_TRUE(invoke("deleteVirtualDevice", Q_ARG(QString, uid)));
  EXPECT_THAT(program.state->virtualDevices(), IsEmpty());
}

TEST(DeviceCommands, failedSaveDoesNotUndoTheWrite) {
  Started program({device("A", 4)});
  // A folder in the file's place: no save can succeed.
  std::filesystem::create_directories(program.graphStore.fileURL());
  program.state->createVirtualDevice();
  program.state->setChannels(text(uidA), 2);
  program.state->renameVirtualDevice(text(uidA), QStringLiteral("Stream"));
  EXPECT_THAT(program.state->virtualDevices(), SizeIs(2));
  EXPECT_EQ(program.state->virtualDevices()[0], (VirtualDeviceConfig{.uid = uidA, .name = "Stream", .channels = 2}));
  program.state->deleteVirtualDevice(text(uidA));
  EXPECT_THAT(program.state->virtualDevices(), SizeIs(1));
  EXPECT_EQ(program.state->errorMessage(), std::nullopt);
}

}  // namespace
}  // namespace brindlemux
