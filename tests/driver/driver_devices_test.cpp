#include <gtest/gtest.h>
#include <string>

#include "driver/driver_fixture.h"
#include "driver/property_client.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

class DriverDevices : public DriverFixture {};

TEST_F(DriverDevices, everyEntryIsALoopedPairWithItsChannels) {
  publish({{"two", "Two", 2}, {"four", "Four", 4}, {"sixteen", "Sixteen", 16}, {"one", "One", 1}, {"odd", "Odd", 7}});
  const ServerDump current = dump();
  for (const auto& [uid, positions] :
       {std::pair{"two", "FL,FR"}, std::pair{"four", "AUX0,AUX1,AUX2,AUX3"}, std::pair{"one", "MONO"}}) {
    EXPECT_EQ(current.node(uid)->property("audio.position"), positions);
  }
}

TEST_F(DriverDevices, bothNodesCarryTheDevicesProperties) {
  publish({{"BrindlemuxAudio_UID_1", "A name, \"quoted\" – ü", 2}});
  const ServerDump current = dump();
  const auto sink = current.node("BrindlemuxAudio_UID_1");
  const auto source = current.node("BrindlemuxAudio_UID_1.source");
  ASSERT_TRUE(sink && source);
  EXPECT_EQ(sink->property("media.class"), "Audio/Sink");
  EXPECT_EQ(source->property("media.class"), "Audio/Source/Virtual");
  for (const auto* node : {&*sink, &*source}) {
    EXPECT_EQ(node->property("node.description"), "A name, \"quoted\" – ü");
    EXPECT_EQ(node->property("brindlemux.device.uid"), "BrindlemuxAudio_UID_1");
    EXPECT_EQ(node->property("application.icon-name"), "com.brindlemux.Brindlemux");
    EXPECT_EQ(node->property("monitor.channel-volumes"), "true");
    EXPECT_EQ(node->property("node.group"), "");
    EXPECT_EQ(node->property("priority.session"), "");
  }
}

TEST_F(DriverDevices, theClockOfTheGroupIsThere) {
  const auto clock = dump().node("brindlemux.clock");
  ASSERT_TRUE(clock);
  EXPECT_EQ(clock->property("node.group"), "brindlemux");
  EXPECT_EQ(clock->property("priority.driver"), "1");
}

TEST_F(DriverDevices, addingAndRemovingLeavesOthersUntouched) {
  publish({{"a", "A", 2}, {"b", "B", 2}});
  const auto before = dump().node("b");
  publish({{"c", "C", 4}, {"b", "B", 2}});
  ASSERT_TRUE(waitUntil([&] { return !dump().node("a") && !dump().node("a.source"); }));
  const ServerDump current = dump();
  EXPECT_EQ(current.node("b")->serial, before->serial);
  EXPECT_TRUE(current.node("c"));
  publish({});
  ASSERT_TRUE(waitUntil([&] { return !dump().node("b") && !dump().node("c.source"); }));
  // The card, its microphone and the program's clock are left; no link is.
  EXPECT_TRUE(dump().node("card"));
  EXPECT_TRUE(dump().links().empty());
}

TEST_F(DriverDevices, renamingKeepsTheNodes) {
  publish({{"a", "Before", 2}});
  const ServerDump before = dump();
  publish({{"a", "After", 2}});
  const ServerDump after = dump();
  for (const char* name : {"a", "a.source"}) {
    ASSERT_TRUE(before.node(name) && after.node(name));
    EXPECT_EQ(after.node(name)->id, before.node(name)->id);
    EXPECT_EQ(after.node(name)->serial, before.node(name)->serial);
    EXPECT_EQ(after.node(name)->property("node.description"), "After");
  }
}

TEST_F(DriverDevices, pulseClientsSeeTheName) {
  publish({{"a", "Before", 2}});
  publish({{"a", "After", 2}});
  for (const char* kind : {"sinks", "sources"}) {
    ASSERT_TRUE(waitUntil([&] {
      return server_.run({"pactl", "list", kind}).output.find("Description: After\n") != std::string::npos;
    })) << kind;
  }
}

TEST_F(DriverDevices, neverBecomeTheDefaultWhileThereIsACard) {
  publish({{"a", "A", 2}, {"b", "B", 16}});
  const std::string defaults = server_.run({"pw-metadata", "0"}).output;
  EXPECT_NE(defaults.find("key:'default.audio.sink' value:'{\"name\":\"card\"}'"), std::string::npos) << defaults;
  EXPECT_NE(defaults.find("key:'default.audio.source' value:'{\"name\":\"card.microphone\"}'"), std::string::npos)
      << defaults;
}

TEST_F(DriverDevices, areThereBeforeTheWritersReply) {
  PropertyClient client(server_);
  client.write(R"({"devices":[{"uid":"a","name":"A","channels":2}]})");
  EXPECT_TRUE(dump().node("a"));
  EXPECT_TRUE(dump().node("a.source"));
}

TEST_F(DriverDevices, aRemovedLoopLinkIsMadeAgain) {
  publish({{"a", "A", 2}});
  EXPECT_EQ(server_.run({"pw-link", "-d", "a:monitor_FL", "a.source:input_FL"}).status, 0);
  EXPECT_TRUE(waitUntil([&] { return isUp(dump(), {"a", "A", 2}); }));
}

TEST_F(DriverDevices, aChangeOfChannelsReplacesTheNodes) {
  publish({{"a", "A", 2}, {"b", "B", 2}});
  const ServerDump before = dump();
  publish({{"a", "A", 16}, {"b", "B", 2}});
  const ServerDump after = dump();
  EXPECT_NE(after.node("a")->serial, before.node("a")->serial);
  EXPECT_EQ(after.node("b")->serial, before.node("b")->serial);
  publish({{"a", "A", 2}, {"b", "B", 2}});
}

}  // namespace
}  // namespace brindlemux::test
