#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "driver/driver_fixture.h"
#include "driver/property_client.h"
#include "support/file_contents.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using Devices = std::vector<VirtualDeviceConfig>;

const Devices two = {{"BrindlemuxAudio_UID_B", "Second \u97F3", 4}, {"BrindlemuxAudio_UID_A", "First", 2}};

class DriverPersistence : public DriverFixture {
 protected:
  std::filesystem::path file() const { return server_.folder() / "server" / "state" / "brindlemux" / "devices.json"; }
  std::string content() const { return contentOf(file()); }
};

TEST_F(DriverPersistence, theListSurvivesTheServersRestart) {
  publish(two);
  ASSERT_TRUE(server_.stop());
  server_.start();
  // They are there for the first client that asks, and become usable as the session manager configures them.
  EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload(two));
  EXPECT_TRUE(waitUntil([&] {
    const ServerDump current = dump();
    return isUp(current, two[0]) && isUp(current, two[1]);
  }));
  EXPECT_EQ(dump().node(two[0].uid)->property("node.description"), two[0].name);
}

TEST_F(DriverPersistence, theListSurvivesTheServersDeath) {
  publish(two);
  ASSERT_TRUE(waitUntil([&] { return content() == encodeDriverPayload(two); }));
  kill(server_.processId("pipewire"), SIGKILL);
  server_.waitForEnd();
  server_.stop();
  server_.start();
  EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload(two));
}

TEST_F(DriverPersistence, whatIsRefusedIsNotSaved) {
  publish(two);
  PropertyClient client(server_);
  client.write(R"({"devices":[{"uid":"x","name":"X","channels":0}]})");
  ASSERT_TRUE(server_.stop());
  EXPECT_EQ(content(), encodeDriverPayload(two));
}

TEST_F(DriverPersistence, anEmptyListIsKeptToo) {
  publish(two);
  publish({});
  ASSERT_TRUE(server_.stop());
  server_.start();
  EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload({}));
  EXPECT_FALSE(dump().node(two[0].uid));
}

TEST_F(DriverPersistence, aFileThatHoldsNoListIsSetAside) {
  publish(two);
  ASSERT_TRUE(server_.stop());
  std::ofstream(file()) << "{\"devices\":[";
  server_.start();
  EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload({}));
  EXPECT_FALSE(std::filesystem::exists(file()));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file().parent_path()), {}), 1);
  publish(two);
  EXPECT_TRUE(waitUntil([&] { return content() == encodeDriverPayload(two); }));
}

TEST_F(DriverPersistence, aFolderThatCannotBeWrittenKeepsNobodyFromTheirDevices) {
  std::filesystem::remove_all(file().parent_path());
  std::ofstream(file().parent_path()) << "in the way";
  publish(two);
  EXPECT_TRUE(server_.running());
}

}  // namespace
}  // namespace brindlemux::test
