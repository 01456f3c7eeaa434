#include <QStringList>
#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/routing_session.h"
#include "support/server_dump.h"

namespace brindlemux::test {
namespace {

QString text(const std::string& string) { return QString::fromStdString(string); }

/// The program on a server whose driver has one device of 8 channels, in this process.
class DeviceCommands : public testing::Test {
 protected:
  void SetUp() override {
    // The capture of the device's own input.
    ASSERT_TRUE(eventually([&] { return session.programNodes().size() == 1; })) << session.report();
  }

  std::optional<ServerDump::Node> node(const std::string& name) { return ServerDump(session.server()).node(name); }
  std::string descriptionOf(const std::string& name) {
    const auto found = node(name);
    return found ? found->property("node.description") : "no node";
  }
  std::int64_t serialOf(const std::string& name) {
    const auto found = node(name);
    return found ? found->serial : 0;
  }
  /// The program's nodes that stand on a device.
  std::ptrdiff_t nodesOn(const std::string& wanted) const {
    return std::ranges::count_if(session.programNodes(), [&wanted](const auto& entry) {
      return entry.second.find(wanted) != std::string::npos;
    });
  }
  /// As the program knows the device; without a UID when it does not.
  VirtualDeviceConfig device(const std::string& wanted) const {
    const auto& devices = state.virtualDevices();
    const auto found = std::ranges::find(devices, wanted, &VirtualDeviceConfig::uid);
    return found != devices.end() ? *found : VirtualDeviceConfig{};
  }

  RoutingSession session{8, "{}", RoutingSession::Program::absent};
  ControllerSession program{session};
  AppState& state = program.state;
  const std::string uid = RoutingSession::deviceUID;
};

TEST_F(DeviceCommands, startsWithTheDriversDevice) {
  EXPECT_TRUE(state.driverInstalled());
  EXPECT_EQ(device(uid), (VirtualDeviceConfig{.uid = uid, .name = "Test Device", .channels = 8}));
  EXPECT_EQ(state.selectedDeviceUID(), uid);
}

TEST_F(DeviceCommands, createdDeviceIsPublishedAndItsEngineRuns) {
  state.createVirtualDevice();
  EXPECT_EQ(state.errorMessage(), std::nullopt);
  const std::string created = state.selectedDeviceUID().value_or("none");
  EXPECT_EQ(device(created).name, "Brindlemux Device 2");
  EXPECT_TRUE(eventually([&] { return node(created) && node(created + ".source") && nodesOn(created) == 1; }))
      << session.report();
  EXPECT_EQ(descriptionOf(created), "Brindlemux Device 2");
}

TEST_F(DeviceCommands, deletedDeviceAndItsNodesGo) {
  state.deleteVirtualDevice(text(uid));
  EXPECT_TRUE(state.virtualDevices().empty());
  EXPECT_EQ(state.selectedDeviceUID(), std::nullopt);
  EXPECT_TRUE(eventually([&] { return !node(uid) && !node(uid + ".source") && session.programNodes().empty(); }))
      << session.report();
}

TEST_F(DeviceCommands, renamedDeviceKeepsItsNodes) {
  const auto before = session.programNodes();
  const auto serial = serialOf(uid);
  ASSERT_NE(serial, 0);
  state.renameVirtualDevice(text(uid), QStringLiteral(" My Stream\n"));
  EXPECT_EQ(device(uid).name, "My Stream");
  EXPECT_TRUE(eventually([&] { return descriptionOf(uid) == "My Stream"; })) << session.report();
  EXPECT_EQ(serialOf(uid), serial);
  EXPECT_EQ(session.programNodes(), before);
}

TEST_F(DeviceCommands, narrowedDeviceRunsWithItsNewChannels) {
  const UUID mic = program.uuids.next();
  state.updateGraph(uid, AppState::Persist::yes, [&mic](DeviceGraph& graph) {
    graph.sources = {{.id = mic, .kind = MicSource{"mic", "Microphone"}}};
    for (std::int64_t output = 0; output < 8; ++output) graph.wires.push_back({mic, output % 2, output});
    graph.outputGains.assign(8, 0.5F);
  });
  // The microphone, the device's output and its own input.
  ASSERT_TRUE(eventually([&] { return session.programNodes().size() == 3; })) << session.report();
  // A person who changes a number has not asked for a message.
  QStringList errors;
  QObject::connect(&state, &AppState::errorMessageChanged, &state, [&] {
    if (state.errorMessage()) errors << text(*state.errorMessage());
  });
  state.setChannels(text(uid), 4);
  EXPECT_EQ(device(uid).channels, 4);
  EXPECT_EQ(state.graph(uid).wires.size(), 4U);
  EXPECT_EQ(state.graph(uid).outputGains.size(), 8U);
  const auto isLinked = [&](int channel) {
    const std::string number = std::to_string(channel);
    return session.waitUntilLinked("brindlemux.output." + uid + ":output_" + std::to_string(channel + 1),
                                   uid + ":playback_AUX" + number, std::chrono::milliseconds(0));
  };
  EXPECT_TRUE(eventually([&] { return node(uid) && session.programNodes().size() == 3 && isLinked(3); }))
      << session.report();
  EXPECT_FALSE(isLinked(4));
  const std::int64_t tick = state.engineStateTick();
  ASSERT_TRUE(eventually([&] { return state.engineStateTick() >= tick + 2; }));
  EXPECT_TRUE(errors.isEmpty()) << errors.join("; ").toStdString();
}

TEST_F(DeviceCommands, withoutServerFailAndWorkAgainWithIt) {
  ASSERT_TRUE(session.server().stop());
  ASSERT_TRUE(eventually([&] { return !state.driverInstalled(); })) << session.report();
  EXPECT_TRUE(state.virtualDevices().empty());
  state.createVirtualDevice();
  EXPECT_EQ(state.errorMessage(), "Failed to create virtual device");
  state.dismissError();
  session.server().start();
  ASSERT_TRUE(eventually([&] { return state.driverInstalled(); })) << session.report();
  const std::size_t before = state.virtualDevices().size();
  state.createVirtualDevice();
  EXPECT_EQ(state.errorMessage(), std::nullopt) << state.errorMessage().value_or("");
  EXPECT_EQ(state.virtualDevices().size(), before + 1);
}

}  // namespace
}  // namespace brindlemux::test
